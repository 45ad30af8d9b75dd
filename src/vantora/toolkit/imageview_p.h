#pragma once

#include <QImage>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace Vantora {

/// Shows an image that the code hands over (loaded by the service, or drawn), scaled to fit and
/// centred, proportions kept; nothing while it has none. Its implicit size is the image's own.
/// Optionally recoloured, for monochrome symbols drawn in the design's colours.
class ImageView : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QImage image READ image WRITE setImage NOTIFY imageChanged FINAL)
    Q_PROPERTY(QColor tintColor READ tintColor WRITE setTintColor NOTIFY imageChanged FINAL)

public:
    explicit ImageView(QQuickItem *parent = nullptr);

    QImage image() const { return m_image; }
    void setImage(const QImage &image);
    /// Invalid (the default) keeps the image's own colours.
    QColor tintColor() const { return m_tintColor; }
    void setTintColor(const QColor &color);

    /// Where the image lands inside the item.
    QRectF imageRect() const;

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void imageChanged();

private:
    QImage m_image;
    QColor m_tintColor;
};

} // namespace Vantora
