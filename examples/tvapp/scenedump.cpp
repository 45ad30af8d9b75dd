#include "scenedump.h"

#include <QJsonArray>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTextDocumentFragment>

#include <cmath>

namespace {

// QQuickText's textFormat values.
constexpr int plainTextFormat = 0;
constexpr int richTextFormat = 1;
constexpr int markdownTextFormat = 3;

QString shownText(const QQuickItem *item)
{
    const QString text = item->property("text").toString();
    const int format = item->property("textFormat").toInt();
    if (format == plainTextFormat || format == markdownTextFormat)
        return text;
    if (format == richTextFormat || Qt::mightBeRichText(text))
        return QTextDocumentFragment::fromHtml(text).toPlainText();
    return text;
}

void collect(QQuickItem *item, qreal opacity, QRectF clip, QList<VisibleText> &out)
{
    if (!item->isVisible())
        return;
    opacity *= item->opacity();
    if (opacity < 0.01)
        return;
    const QRectF rect = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
    if (item->clip())
        clip = clip.intersected(rect);
    if (clip.isEmpty())
        return;
    if (item->inherits("QQuickText")) {
        const QString text = shownText(item);
        if (!text.trimmed().isEmpty() && rect.intersects(clip))
            out.append({item, item->objectName(), text, rect});
    }
    // childItems() is in stacking order, so the list reads in painting order.
    for (QQuickItem *child : item->childItems())
        collect(child, opacity, clip, out);
}

} // namespace

QList<VisibleText> visibleTexts(QQuickWindow *window)
{
    QList<VisibleText> texts;
    const QRectF screen(QPointF(0, 0), QSizeF(window->size()));
    collect(window->contentItem(), 1.0, screen, texts);
    return texts;
}

QJsonObject sceneDump(QQuickWindow *window, double videoTime, bool playing)
{
    QJsonArray texts;
    QJsonObject focus;
    QStringList focusTexts;
    QQuickItem *focused = window->activeFocusItem();
    if (focused) {
        focus.insert(QStringLiteral("class"),
                     QString::fromLatin1(focused->metaObject()->className()));
        focus.insert(QStringLiteral("name"), focused->objectName());
    }
    for (const VisibleText &text : visibleTexts(window)) {
        if (focused && (text.item == focused || focused->isAncestorOf(text.item)))
            focusTexts.append(text.text);
        texts.append(QJsonObject{{QStringLiteral("name"), text.name},
                                 {QStringLiteral("text"), text.text},
                                 {QStringLiteral("x"), std::round(text.rect.x())},
                                 {QStringLiteral("y"), std::round(text.rect.y())},
                                 {QStringLiteral("width"), std::round(text.rect.width())},
                                 {QStringLiteral("height"), std::round(text.rect.height())}});
    }
    if (focused)
        focus.insert(QStringLiteral("texts"), QJsonArray::fromStringList(focusTexts));
    return {{QStringLiteral("videoTime"), std::round(videoTime * 10.0) / 10.0},
            {QStringLiteral("playing"), playing},
            {QStringLiteral("focus"), focus},
            {QStringLiteral("texts"), texts}};
}
