#pragma once

#include <QColor>
#include <QPointF>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace Vantora {

/// A rounded rectangle filled with a two-colour linear gradient whose start and end points are
/// in unit coordinates of the item: (0, 0) → (1, 1) runs corner to corner whatever the item's
/// proportions, its bands parallel to the other diagonal. Equal colours make a flat fill.
class GradientView : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor startColor READ startColor WRITE setStartColor NOTIFY lookChanged FINAL)
    Q_PROPERTY(QColor endColor READ endColor WRITE setEndColor NOTIFY lookChanged FINAL)
    Q_PROPERTY(QPointF startPoint READ startPoint WRITE setStartPoint NOTIFY lookChanged FINAL)
    Q_PROPERTY(QPointF endPoint READ endPoint WRITE setEndPoint NOTIFY lookChanged FINAL)
    Q_PROPERTY(qreal cornerRadius READ cornerRadius WRITE setCornerRadius NOTIFY lookChanged FINAL)

public:
    explicit GradientView(QQuickItem *parent = nullptr);

    QColor startColor() const { return m_startColor; }
    void setStartColor(const QColor &color);
    QColor endColor() const { return m_endColor; }
    void setEndColor(const QColor &color);
    QPointF startPoint() const { return m_startPoint; }
    void setStartPoint(QPointF point);
    QPointF endPoint() const { return m_endPoint; }
    void setEndPoint(QPointF point);
    qreal cornerRadius() const { return m_cornerRadius; }
    void setCornerRadius(qreal radius);

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void lookChanged();

private:
    template <class T>
    void change(T &member, const T &value);

    QColor m_startColor = Qt::white;
    QColor m_endColor = Qt::white;
    QPointF m_startPoint{0, 0};
    QPointF m_endPoint{1, 1};
    qreal m_cornerRadius = 0;
};

} // namespace Vantora
