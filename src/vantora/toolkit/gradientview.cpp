#include "vantora/toolkit/gradientview_p.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

namespace Vantora {

GradientView::GradientView(QQuickItem *parent) : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
}

template <class T>
void GradientView::change(T &member, const T &value)
{
    if (member == value)
        return;
    member = value;
    update();
    Q_EMIT lookChanged();
}

void GradientView::setStartColor(const QColor &color)
{
    change(m_startColor, color);
}

void GradientView::setEndColor(const QColor &color)
{
    change(m_endColor, color);
}

void GradientView::setStartPoint(QPointF point)
{
    change(m_startPoint, point);
}

void GradientView::setEndPoint(QPointF point)
{
    change(m_endPoint, point);
}

void GradientView::setCornerRadius(qreal radius)
{
    change(m_cornerRadius, radius);
}

void GradientView::paint(QPainter *painter)
{
    const QRectF bounds = boundingRect();
    if (bounds.isEmpty())
        return;
    QPainterPath shape;
    shape.addRoundedRect(bounds, m_cornerRadius, m_cornerRadius);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setClipPath(shape);

    // Drawn in the unit square, then stretched over the item, so that the gradient's geometry
    // follows the item's proportions.
    QLinearGradient gradient(m_startPoint, m_endPoint);
    gradient.setColorAt(0, m_startColor);
    gradient.setColorAt(1, m_endColor);
    painter->scale(bounds.width(), bounds.height());
    painter->fillRect(QRectF(0, 0, 1, 1), gradient);
}

} // namespace Vantora
