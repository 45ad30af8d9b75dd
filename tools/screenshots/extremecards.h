#pragma once

#include <QList>
#include <QString>

#include <chrono>
#include <functional>

class QQuickItem;

namespace Vantora {
class VirtualTimeScheduler;
}

namespace Vantora::Extreme {

/// One card or notice with the content real broadcasters write: long answers, six of them, long
/// questions, words without a break, no logo or a wide one, tall pictures.
struct Scene
{
    QString name;
    /// Puts the view on `stage` (a 1080-line design area, as the overlay's), configured and
    /// placed where the overlay places it, with the remote's focus; the stage owns it.
    std::function<QQuickItem *(QQuickItem *stage)> make;
    /// How long the view needs in (virtual) time to reach the look the scene shows.
    std::chrono::milliseconds settle{2000};
};

/// Installs a transport that serves the scenes' pictures as a media host would. For tools and
/// tests only: it replaces the backend.
void servePictures();

/// Every scene, in a stable order.
QList<Scene> scenes();

/// Puts `scene` on `stage` and plays it for its settle time in frames, as a window would: each
/// frame advances `clock`, lays the items out and delivers what that set off. Returns the view.
QQuickItem *play(const Scene &scene, QQuickItem *stage, VirtualTimeScheduler &clock);

/// The design size of the overlay's stage for a player of `width` × `height` pixels, and the
/// scale from it to the player: the overlay's own rule, 1080 lines and room for a whole card.
struct Stage
{
    qreal width;
    qreal height;
    qreal scale;
};
Stage stageFor(qreal width, qreal height);

} // namespace Vantora::Extreme
