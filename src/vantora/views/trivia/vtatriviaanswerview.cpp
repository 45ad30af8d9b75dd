#include "vantora/views/trivia/vtatriviaanswerview_p.h"

#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/outlets_p.h"
#include "vantora/views/answerimage_p.h"
#include "vantora/views/trivia/answermarks_p.h"

using namespace Vantora;

VTATriviaAnswerView::VTATriviaAnswerView(QQuickItem *parent) : QQuickItem(parent)
{
    // The row stands for its button: focusing the row focuses the button.
    setFlag(ItemIsFocusScope);
    setActiveFocusOnTab(true);
}

void VTATriviaAnswerView::componentComplete()
{
    QQuickItem::componentComplete();
    Outlets(this)
        .bind(m_button, "button")
        .bindOptional(m_titleLabel, "titleLabel")
        .bindOptional(m_checkMarkView, "checkMarkView")
        .bindOptional(m_imageView, "imageView")
        .bindOptional(m_imageColumn, "imageColumn");
    m_button->updateView();
}

QString VTATriviaAnswerView::title() const
{
    const QString text = m_titleLabel ? m_titleLabel->property("text").toString() : QString();
    return text.isEmpty() ? m_button->title() : text;
}

void VTATriviaAnswerView::setTitle(const QString &title)
{
    if (m_titleLabel)
        m_titleLabel->setProperty("text", title);
    else
        m_button->setTitle(title);
}

void VTATriviaAnswerView::markDone(const TriviaAnswer &userAnswerInfo)
{
    const QString answer = title();
    if (answer == userAnswerInfo.correctAnswer.answer) {
        showMark(answerMarkImage(AnswerMark::checkmark));
        setButtonStyleCorrect();
        return;
    }
    showMark(answerMarkImage(AnswerMark::xmark));
    if (!answer.isEmpty() && answer == userAnswerInfo.answer)
        setButtonStyleIncorrect();
}

void VTATriviaAnswerView::showMark(const QImage &mark)
{
    if (m_checkMarkView) {
        m_checkMarkView->setImage(mark);
        m_checkMarkView->setVisible(true);
    } else {
        m_button->setImage(mark);
    }
}

void VTATriviaAnswerView::setImage(const std::optional<QString> &urlString)
{
    if (!urlString)
        return;
    QPointer<VTATriviaAnswerView> row(this);
    VTAServiceManager::shared().getImage(*urlString, this,
                                         [row](QImage image, std::optional<ServiceError>) {
                                             if (row && !image.isNull())
                                                 row->showImage(image);
                                         });
}

void VTATriviaAnswerView::showImage(const QImage &image)
{
    if (m_imageView) {
        m_imageView->setTintColor(QColor()); // its own colours, never tinted
        m_imageView->setImage(fitAnswerImage(image));
    }
}

void VTATriviaAnswerView::setButtonStyleNormal()
{
    m_button->normalTitleColor = Qt::white;
    m_button->updateView();
}

void VTATriviaAnswerView::setButtonStyleCorrect()
{
    setButtonStyle(correctColor());
}

void VTATriviaAnswerView::setButtonStyleIncorrect()
{
    setButtonStyle(wrongColor());
}

void VTATriviaAnswerView::setButtonStyle(const QColor &color)
{
    if (m_titleLabel)
        m_titleLabel->setProperty("color", color);
    if (m_checkMarkView)
        m_checkMarkView->setTintColor(color);
}

void VTATriviaAnswerView::applyDesign(const std::optional<DesignInfo> &designInfo)
{
    if (!designInfo)
        return;
    if (const auto text = colorFromHex(designInfo->textColor.value_or(QString()))) {
        if (m_titleLabel)
            m_titleLabel->setProperty("color", *text);
        m_button->normalTitleColor = *text;
    }
    if (const auto button = colorFromHex(designInfo->backgroundButton.value_or(QString())))
        m_button->focusedBackgroundColor = *button;
    m_button->updateView();
}
