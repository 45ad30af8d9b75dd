#include <vantora/views/poll/vtapollanswerview.h>

#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/animation_p.h"
#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/numbertext_p.h"
#include "vantora/toolkit/outlets_p.h"
#include "vantora/views/answerimage_p.h"

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

class VTAPollAnswerViewPrivate
{
public:
    QPointer<Vantora::FocusTvButton> button;
    QPointer<QQuickItem> statsLabel;
    QPointer<QQuickItem> statsBar;
    QString statsType;
    qint64 votes = 0;
    qint64 totalVotes = 0;
    std::optional<QString> answer;
};

VTAPollAnswerView::VTAPollAnswerView(QQuickItem *parent)
    : QQuickItem(parent), d_ptr(std::make_unique<VTAPollAnswerViewPrivate>())
{
    // The row stands for its button: focusing the row focuses the button.
    setFlag(ItemIsFocusScope);
    setActiveFocusOnTab(true);
}

VTAPollAnswerView::~VTAPollAnswerView() = default;

FocusTvButton *VTAPollAnswerView::button() const
{
    return d_func()->button;
}

QQuickItem *VTAPollAnswerView::statsLabel() const
{
    return d_func()->statsLabel;
}

QQuickItem *VTAPollAnswerView::statsBar() const
{
    return d_func()->statsBar;
}

QString VTAPollAnswerView::statsType() const
{
    return d_func()->statsType;
}

qint64 VTAPollAnswerView::votes() const
{
    return d_func()->votes;
}

qint64 VTAPollAnswerView::totalVotes() const
{
    return d_func()->totalVotes;
}

const std::optional<QString> &VTAPollAnswerView::answer() const
{
    return d_func()->answer;
}

void VTAPollAnswerView::componentComplete()
{
    Q_D(VTAPollAnswerView);
    QQuickItem::componentComplete();
    Outlets(this)
        .bind(d->button, "button")
        .bind(d->statsLabel, "statsLabel")
        .bindOptional(d->statsBar, "statsBar");
    if (d->statsBar)
        d->statsBar->setWidth(0);
}

void VTAPollAnswerView::configure(const PollAnswer &answer, qint64 totalVotes, bool didAnswer,
                                  const QString &type, const std::optional<DesignInfo> &designInfo)
{
    Q_D(VTAPollAnswerView);
    d->button->setTitle(answer.answer);
    d->answer = answer.answer;
    d->statsType = type;
    setStats(answer.totals.value_or(0), totalVotes);
    d->statsLabel->setVisible(didAnswer);
    if (answer.image && !answer.image->isEmpty()) {
        QPointer<VTAPollAnswerView> row(this);
        VTAServiceManager::shared().getImage(*answer.image, this,
                                             [row](QImage image, std::optional<ServiceError>) {
                                                 if (row && !image.isNull())
                                                     row->button()->setImage(fitAnswerImage(image));
                                             });
    }
    applyDesign(designInfo);
}

void VTAPollAnswerView::setStats(qint64 votes, qint64 totalVotes)
{
    Q_D(VTAPollAnswerView);
    d->votes = votes;
    d->totalVotes = totalVotes;
    const double percent = totalVotes == 0 ? 0.0 : double(votes) / double(totalVotes) * 100.0;
    const QString percentText = formatDecimal(percent, 1, 1);
    QString text;
    if (d->statsType == "percentage"_L1)
        text = percentText + u"%"_s;
    else if (d->statsType == "numbers"_L1)
        text = QString::number(votes);
    else
        text = QString::number(votes) + u" - "_s + percentText + u"%"_s;
    d->statsLabel->setProperty("text", text);
    if (d->statsBar) {
        const qreal share = std::clamp(percent / 100.0, 0.0, 1.0);
        animateProperty(d->statsBar, "width", share * d->button->width(), 600ms, this);
    }
}

void VTAPollAnswerView::applyDesign(const std::optional<DesignInfo> &designInfo)
{
    Q_D(VTAPollAnswerView);
    if (!designInfo)
        return;
    if (const auto text = colorFromHex(designInfo->textColor.value_or(QString()))) {
        d->statsLabel->setProperty("color", *text);
        d->button->normalTitleColor = *text;
        d->button->updateView();
        d->button->focusedTitleColor = *text;
        d->button->updateView();
    }
    if (const auto button = colorFromHex(designInfo->backgroundButton.value_or(QString()))) {
        d->button->focusedBackgroundColor = *button;
        d->button->updateView();
    }
}
