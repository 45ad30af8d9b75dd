#include "vantora/views/promotionview/promotionview_p.h"

#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/itemlayout_p.h"

#include <QTextBlock>
#include <QTextCursor>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Vantora {

PromotionView::PromotionView(QQuickItem *parent) : QQuickItem(parent) { }

void PromotionView::configureForImage(const Promotion &promotion, bool /*flip*/)
{
    m_imageMode = true;
    m_imageView = new ImageView;
    fillParent(m_imageView, this);
    VTAServiceManager::shared().getImage(promotion.smart_tv_img.value_or(QString()), this,
                                         [this](QImage image, std::optional<ServiceError>) {
                                             if (m_imageView && !image.isNull())
                                                 m_imageView->setImage(image);
                                         });
}

QString PromotionView::markup(const QString &content)
{
    // Qt ignores a font size without a unit, so the size carries one.
    return u"<span style=\"font-family: '-apple-system', 'HelveticaNeue'; font-size: 32px\">"_s
        + content + u"</span>"_s;
}

void PromotionView::configureForText(const Promotion &promotion, bool /*flip*/)
{
    m_imageMode = false;
    m_textView = new RichTextView(this);
    m_textView->setParent(this);
    connect(this, &QQuickItem::widthChanged, m_textView, [this] { layOutText(); });
    connect(this, &QQuickItem::heightChanged, m_textView, [this] { layOutText(); });
    QTextDocument &document = m_textView->document();
    document.setDocumentMargin(12);
    document.setHtml(markup(promotion.content));

    // A content that ends in a paragraph or a break leaves empty lines at the end: drop two.
    for (int i = 0; i < 2; ++i) {
        QTextCursor end(&document);
        end.movePosition(QTextCursor::End);
        const bool emptyLastBlock = end.block().length() == 1 && end.block().previous().isValid();
        const QChar last = document.characterAt(end.position() - 1);
        if (!emptyLastBlock && last != QChar::LineSeparator)
            break;
        end.deletePreviousChar();
    }

    QTextCursor first(&document);
    first.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor);
    // The background the text starts on: its own, or that of the paragraph it starts in.
    QBrush background = first.charFormat().background();
    if (background.style() == Qt::NoBrush)
        background = document.firstBlock().blockFormat().background();
    if (background.style() != Qt::NoBrush)
        m_textView->setBackgroundColor(background.color());
    layOutText();
}

// Full width, as tall as the text (at most the view), centred vertically.
void PromotionView::layOutText()
{
    m_textView->setWidth(width());
    m_textView->documentChanged();
    const qreal height = std::min(m_textView->implicitHeight(), this->height());
    m_textView->setHeight(height);
    m_textView->setY((this->height() - height) / 2);
}

} // namespace Vantora
