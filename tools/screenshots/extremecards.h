#pragma once

#include "vantora/toolkit/virtualtimescheduler_p.h"

#include <QList>
#include <QQuickItem>
#include <QQuickWindow>
#include <QString>

#include <chrono>
#include <functional>

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

/// A TV player's window of a given size in virtual time, with the overlay's stage on it: 1080
/// design lines scaled to the window, with room for a whole card.
class Player
{
public:
    explicit Player(QSize size);

    /// Puts `scene` on the stage and plays it for its settle time in frames, as a window would:
    /// each frame advances the clock, lays the items out and delivers what that set off.
    QQuickItem *play(const Scene &scene);

    VirtualTimeScheduler clock;
    QQuickWindow window;
    QQuickItem stage;
};

} // namespace Vantora::Extreme
