#include "vantora/toolkit/animation_p.h"

#include <QPointF>
#include <QPropertyAnimation>

namespace Vantora {

QEasingCurve easeInOut()
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment(QPointF(0.42, 0), QPointF(0.58, 1), QPointF(1, 1));
    return curve;
}

QPropertyAnimation *animateProperty(QObject *target, const char *property, const QVariant &to,
                                    std::chrono::milliseconds duration, QObject *owner)
{
    auto *animation = new QPropertyAnimation(target, property, owner);
    animation->setDuration(int(duration.count()));
    animation->setEasingCurve(easeInOut());
    animation->setStartValue(target->property(property)); // explicit, so that it can be moved
    animation->setEndValue(to);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
    return animation;
}

} // namespace Vantora
