#include <vantora/views/trivia/vtatriviaanswerview.h>

#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/imageview_p.h"
#include "vantora/toolkit/outlets_p.h"
#include "vantora/views/answerimage_p.h"
#include "vantora/views/trivia/answermarks_p.h"

using namespace Vantora;

class VTATriviaAnswerViewPrivate
{
public:
    QPointer<Vantora::FocusTvButton> button;
    QPointer<QQuickItem> titleLabel;
    QPointer<Vantora::ImageView> checkMarkView;
    QPointer<Vantora::ImageView> imageView;
    QPointer<QQuickItem> imageColumn;
};

VTATriviaAnswerView::VTATriviaAnswerView(QQuickItem *parent)
    : QQuickItem(parent), d_ptr(std::make_unique<VTATriviaAnswerViewPrivate>())
{
    // The row stands for its button: focusing the row focuses the button.
    setFlag(ItemIsFocusScope);
    setActiveFocusOnTab(true);
}

VTATriviaAnswerView::~VTATriviaAnswerView() = default;

FocusTvButton *VTATriviaAnswerView::button() const
{
    return d_func()->button;
}

QQuickItem *VTATriviaAnswerView::titleLabel() const
{
    return d_func()->titleLabel;
}

ImageView *VTATriviaAnswerView::checkMarkView() const
{
    return d_func()->checkMarkView;
}

ImageView *VTATriviaAnswerView::imageView() const
{
    return d_func()->imageView;
}

QQuickItem *VTATriviaAnswerView::imageColumn() const
{
    return d_func()->imageColumn;
}

void VTATriviaAnswerView::componentComplete()
{
    Q_D(VTATriviaAnswerView);
    QQuickItem::componentComplete();
    Outlets(this)
        .bind(d->button, "button")
        .bindOptional(d->titleLabel, "titleLabel")
        .bindOptional(d->checkMarkView, "checkMarkView")
        .bindOptional(d->imageView, "imageView")
        .bindOptional(d->imageColumn, "imageColumn");
    d->button->updateView();
}

QString VTATriviaAnswerView::title() const
{
    Q_D(const VTATriviaAnswerView);
    const QString text = d->titleLabel ? d->titleLabel->property("text").toString() : QString();
    return text.isEmpty() ? d->button->title() : text;
}

void VTATriviaAnswerView::setTitle(const QString &title)
{
    Q_D(VTATriviaAnswerView);
    if (d->titleLabel)
        d->titleLabel->setProperty("text", title);
    else
        d->button->setTitle(title);
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
    Q_D(VTATriviaAnswerView);
    if (d->checkMarkView) {
        d->checkMarkView->setImage(mark);
        d->checkMarkView->setVisible(true);
    } else {
        d->button->setImage(mark);
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
    Q_D(VTATriviaAnswerView);
    if (d->imageView) {
        d->imageView->setTintColor(QColor()); // its own colours, never tinted
        d->imageView->setImage(fitAnswerImage(image));
    }
}

void VTATriviaAnswerView::setButtonStyleNormal()
{
    Q_D(VTATriviaAnswerView);
    d->button->normalTitleColor = Qt::white;
    d->button->updateView();
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
    Q_D(VTATriviaAnswerView);
    if (d->titleLabel)
        d->titleLabel->setProperty("color", color);
    if (d->checkMarkView)
        d->checkMarkView->setTintColor(color);
}

void VTATriviaAnswerView::applyDesign(const std::optional<DesignInfo> &designInfo)
{
    Q_D(VTATriviaAnswerView);
    if (!designInfo)
        return;
    if (const auto text = colorFromHex(designInfo->textColor.value_or(QString()))) {
        if (d->titleLabel)
            d->titleLabel->setProperty("color", *text);
        d->button->normalTitleColor = *text;
    }
    if (const auto button = colorFromHex(designInfo->backgroundButton.value_or(QString())))
        d->button->focusedBackgroundColor = *button;
    d->button->updateView();
}
