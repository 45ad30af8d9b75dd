#include "vantora/toolkit/richtextview_p.h"

#include <QAbstractTextDocumentLayout>
#include <QPainter>

namespace Vantora {

RichTextView::RichTextView(QQuickItem *parent) : QQuickPaintedItem(parent)
{
    m_document.setDocumentMargin(0);
}

void RichTextView::documentChanged()
{
    m_document.setTextWidth(width() > 0 ? width() : -1);
    setImplicitSize(m_document.idealWidth(), m_document.size().height());
    update();
}

void RichTextView::setBackgroundColor(const QColor &color)
{
    if (m_background == color)
        return;
    m_background = color;
    update();
    Q_EMIT backgroundColorChanged();
}

void RichTextView::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickPaintedItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.width() != oldGeometry.width())
        documentChanged();
}

void RichTextView::paint(QPainter *painter)
{
    painter->fillRect(boundingRect(), m_background);
    QAbstractTextDocumentLayout::PaintContext context;
    m_document.documentLayout()->draw(painter, context);
}

} // namespace Vantora
