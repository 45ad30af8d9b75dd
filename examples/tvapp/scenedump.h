#pragma once

#include <QJsonObject>
#include <QList>
#include <QPointer>
#include <QQuickItem>
#include <QRectF>
#include <QString>

class QQuickWindow;

/// A text that a viewer can see: a Text item that is visible, not fully transparent and at
/// least partly inside the window and every clipping item around it.
struct VisibleText
{
    QPointer<QQuickItem> item;
    QString name; ///< the item's objectName, often empty
    QString text; ///< plain text; rich text is turned into what it shows
    QRectF rect; ///< in window coordinates
};

/// Reads the window's item tree as it is now, in painting order.
QList<VisibleText> visibleTexts(QQuickWindow *window);

/// The visible texts and the item that has the remote's focus with the texts inside it, as a
/// JSON object: {"videoTime": 47.5, "playing": false, "focus": {"class", "name", "texts"},
///  "texts": [{"name", "text", "x", "y", "width", "height"}, ...]}
QJsonObject sceneDump(QQuickWindow *window, double videoTime, bool playing);
