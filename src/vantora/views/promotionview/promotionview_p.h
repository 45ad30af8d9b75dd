#pragma once

#include "vantora/toolkit/imageview_p.h"
#include "vantora/toolkit/richtextview_p.h"

#include <vantora/records/promotion.h>

#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace Vantora {

/// A sponsor's promotion beside a card: its picture, scaled to fit and centred, or its text as
/// formatted by the sponsor, on the background colour the text starts with. Made in code by the
/// card; a layout cannot create one.
class PromotionView : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("init(coder:) has not been implemented")

public:
    explicit PromotionView(QQuickItem *parent = nullptr);

    /// Shows the promotion's picture once the service has loaded it; an empty area until then, and
    /// for a promotion without one.
    void configureForImage(const Promotion &promotion, bool flip);
    /// Shows the promotion's content as 32-pixel rich text, without trailing empty lines.
    void configureForText(const Promotion &promotion, bool flip);

    ImageView *imageView() const { return m_imageView; }
    RichTextView *textView() const { return m_textView; }
    bool imageMode() const { return m_imageMode; }

    /// The markup a promotion's content is shown in.
    static QString markup(const QString &content);

private:
    void layOutText();

    QPointer<RichTextView> m_textView;
    QPointer<ImageView> m_imageView;
    bool m_imageMode = false;
};

} // namespace Vantora
