#pragma once

#include <QEasingCurve>
#include <QVariant>

#include <chrono>

class QObject;
class QPropertyAnimation;

namespace Vantora {

/// The television platform's ease-in-ease-out, the curve of every card and button animation.
QEasingCurve easeInOut();

/// Animates `target`'s `property` to `to` over `duration` with easeInOut(), starting now; the
/// animation belongs to `owner` and deletes itself once finished.
QPropertyAnimation *animateProperty(QObject *target, const char *property, const QVariant &to,
                                    std::chrono::milliseconds duration, QObject *owner);

} // namespace Vantora
