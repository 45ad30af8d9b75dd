#include "vantora/toolkit/imageview_p.h"

#include <QPainter>

namespace Vantora {

ImageView::ImageView(QQuickItem *parent) : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
}

void ImageView::setImage(const QImage &image)
{
    m_image = image;
    // Its own size in design pixels, for layouts that show it as large as it is.
    setImplicitSize(image.deviceIndependentSize().width(), image.deviceIndependentSize().height());
    update();
    Q_EMIT imageChanged();
}

void ImageView::setTintColor(const QColor &color)
{
    if (m_tintColor == color)
        return;
    m_tintColor = color;
    update();
    Q_EMIT imageChanged();
}

QRectF ImageView::imageRect() const
{
    if (m_image.isNull() || width() <= 0 || height() <= 0)
        return {};
    QSizeF size = m_image.size();
    size.scale(width(), height(), Qt::KeepAspectRatio);
    return QRectF(QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), size);
}

void ImageView::paint(QPainter *painter)
{
    const QRectF target = imageRect();
    if (target.isEmpty())
        return;
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    if (!m_tintColor.isValid()) {
        painter->drawImage(target, m_image);
        return;
    }
    QImage tinted = m_image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QPainter recolour(&tinted);
    recolour.setCompositionMode(QPainter::CompositionMode_SourceIn);
    recolour.fillRect(tinted.rect(), m_tintColor);
    recolour.end();
    painter->drawImage(target, tinted);
}

} // namespace Vantora
