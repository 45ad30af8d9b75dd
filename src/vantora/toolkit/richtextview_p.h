#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QTextDocument>
#include <QtQml/qqmlregistration.h>

namespace Vantora {

/// Shows a rich-text document as Qt's rich-text subset draws it: no scripts, and nothing the
/// markup names is fetched. Its height follows the text at its width.
class RichTextView : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor backgroundColor READ backgroundColor WRITE setBackgroundColor NOTIFY
                   backgroundColorChanged FINAL)

public:
    explicit RichTextView(QQuickItem *parent = nullptr);

    QTextDocument &document() { return m_document; }
    /// Call after changing the document: lays it out again at the item's width.
    void documentChanged();

    QColor backgroundColor() const { return m_background; }
    void setBackgroundColor(const QColor &color);

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void backgroundColorChanged();

protected:
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;

private:
    QTextDocument m_document;
    QColor m_background = Qt::transparent;
};

} // namespace Vantora
