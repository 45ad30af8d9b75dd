#include <vantora/views/rating/vtaratingview.h>

#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/checkedmath_p.h"
#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/imageview_p.h"
#include "vantora/toolkit/numbertext_p.h"
#include "vantora/toolkit/outlets_p.h"
#include "vantora/toolkit/scheduler_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include "vantora/views/interactiondelegate_p.h"
#include "vantora/views/viewslogging_p.h"

#include <QPainter>
#include <QPainterPath>
#include <QQuickWindow>

#include <algorithm>
#include <cmath>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

// The symbol beside the average when the rating brings no icon of its own: a gold five-pointed
// star.
QImage starSymbol()
{
    constexpr int size = 128;
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainterPath star;
    for (int i = 0; i < 10; ++i) {
        const double radius = i % 2 == 0 ? size * 0.48 : size * 0.2;
        const double angle = -M_PI / 2 + i * M_PI / 5;
        const QPointF point(size / 2.0 + radius * std::cos(angle),
                            size * 0.53 + radius * std::sin(angle));
        if (i == 0)
            star.moveTo(point);
        else
            star.lineTo(point);
    }
    star.closeSubpath();
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(star, QColor(0xFF, 0xB3, 0x00));
    return image;
}

} // namespace

class VTARatingViewPrivate
{
public:
    QPointer<QQuickItem> resultContainer;
    QPointer<Vantora::ImageView> starIcon;
    QPointer<QQuickItem> averageLabel;
    QPointer<QQuickItem> outOfLabel;
    QPointer<QQuickItem> maxLabel;
    QList<VTARatingAnswerView *> answerViews;
    std::optional<Vantora::Rating> rating;
};

VTARatingView::VTARatingView(QQuickItem *parent)
    : VTAInteractionView(parent), d_ptr(std::make_unique<VTARatingViewPrivate>())
{ }

VTARatingView::~VTARatingView() = default;

const std::optional<Rating> &VTARatingView::rating() const
{
    return d_func()->rating;
}

const QList<VTARatingAnswerView *> &VTARatingView::answerViews() const
{
    return d_func()->answerViews;
}

QQuickItem *VTARatingView::resultContainer() const
{
    return d_func()->resultContainer;
}

ImageView *VTARatingView::starIcon() const
{
    return d_func()->starIcon;
}

QQuickItem *VTARatingView::averageLabel() const
{
    return d_func()->averageLabel;
}

QQuickItem *VTARatingView::outOfLabel() const
{
    return d_func()->outOfLabel;
}

QQuickItem *VTARatingView::maxLabel() const
{
    return d_func()->maxLabel;
}

void VTARatingView::componentComplete()
{
    Q_D(VTARatingView);
    VTAInteractionView::componentComplete();
    Outlets(this)
        .bind(d->resultContainer, "resultContainer")
        .bind(d->starIcon, "starIcon")
        .bind(d->averageLabel, "averageLabel")
        .bind(d->outOfLabel, "outOfLabel")
        .bind(d->maxLabel, "maxLabel");
    if (d->starIcon->image().isNull())
        d->starIcon->setImage(starSymbol());
}

VTARatingAnswerView *VTARatingView::createAnswerView()
{
    return fromNib<VTARatingAnswerView>();
}

void VTARatingView::configure(const Rating &rating, const std::optional<QString> &previousAnswer,
                              qint64 time, const VTAPointsInfo &pointsInfo,
                              const std::optional<DesignInfo> &designInfo)
{
    Q_D(VTARatingView);
    beginConfigure(rating.id, time, previousAnswer.has_value());
    d->rating = rating;
    titleLabel()->setProperty("text", rating.name);
    preparePromotion(rating.getPromotion());

    // A scale of zero or fewer steps has no rows; the card then offers only its close button.
    for (qint64 value = 1; value <= rating.max(); ++value) {
        VTARatingAnswerView *row = createAnswerView();
        row->setParent(answerStack()); // the stack's items are not owned by it otherwise
        row->setParentItem(answerStack());
        row->setTag(value);
        row->applyDesign(designInfo);
        connect(row->button(), &FocusTvButton::primaryActionTriggered, this,
                [this, button = row->button()] { actionAnswer(button); });
        if (rating.icon.isEmpty())
            row->button()->setTitle(QString::number(value));
        d->answerViews.append(row);
    }
    arrangeSteps();

    if (didAnswer()) {
        applyState(InteractionState::completed);
    } else {
        applyState(InteractionState::active);
        displayTime();
        startTimer();
    }
    applyDesign(designInfo);
    updatePoints(pointsInfo);
    if (rating.showPromotionAtStart() || didAnswer())
        showPromotionIfNeeded(rating);
    if (didAnswer())
        showStats();
    if (!rating.icon.isEmpty()) {
        VTAServiceManager::shared().getImage(
            rating.icon, this, [d](QImage image, std::optional<ServiceError>) {
                if (image.isNull())
                    return;
                for (VTARatingAnswerView *row : std::as_const(d->answerViews))
                    row->button()->setImage(image);
                d->starIcon->setImage(image);
            });
    }
    didLoadRating();
}

void VTARatingView::arrangeSteps()
{
    Q_D(VTARatingView);
    const qsizetype count = d->answerViews.size();
    if (count == 0)
        return;
    QQuickItem *stack = answerStack();
    const qreal spacing = stack->property("spacing").toReal();
    const qreal gaps = spacing * qreal(count - 1);
    // Room on every side for a focused step, which grows.
    const qreal margin = 16;
    const qreal fitting = (stack->width() - 2 * margin - gaps) / qreal(count);
    for (VTARatingAnswerView *row : std::as_const(d->answerViews)) {
        const qreal side = std::min({row->width(), row->height(), fitting});
        row->setSize(QSizeF(side, side));
    }
    const qreal line = d->answerViews.first()->width() * qreal(count) + gaps;
    stack->setProperty("leftPadding", (stack->width() - line) / 2);
    stack->setProperty("topPadding", margin);
    stack->setProperty("bottomPadding", margin);
    // Place them now rather than at the next frame, so that focus and scrolling see them.
    QMetaObject::invokeMethod(stack, "forceLayout");
}

void VTARatingView::actionAnswer(FocusTvButton *sender)
{
    Q_D(VTARatingView);
    if (didAnswer())
        return;
    const auto row =
        std::find_if(d->answerViews.cbegin(), d->answerViews.cend(),
                     [sender](VTARatingAnswerView *r) { return r->button() == sender; });
    if (row == d->answerViews.cend() || !d->rating)
        return;
    setDidAnswer(true);
    const qint64 value = (*row)->tag();
    sender->setSelected(true);
    for (VTARatingAnswerView *each : std::as_const(d->answerViews))
        each->setButtonStyleCompleted(value >= each->tag());

    if (InteractionDelegate *overlay = delegate()) {
        if (const std::optional<QString> token = overlay->userToken()) {
            // The reply belongs to the overlay: it records the rating even if the card is gone.
            VTAServiceManager::shared().answerRating(
                *token, overlay->channelID(), overlay->broadcaster(), d->rating->id, value,
                delegateObject(), overlay->didSelectRatingAnswer(value, d->rating->id));
        } else {
            qCDebug(lcViews) << "the rating of" << d->rating->id
                             << "stays on this screen: no viewer";
        }
        overlay->handleInteractionCompleted(false);
    }
    updateStats(value);
    showStats();
    applyState(InteractionState::completed);
    if (hasActiveFocus())
        focusPreferredItem();
    if (!d->rating->showPromotionAtStart())
        showPromotionIfNeeded(*d->rating);
    didAnswerRating();
}

void VTARatingView::updateStats(qint64 answer)
{
    Q_D(VTARatingView);
    if (!d->rating)
        return;
    if (d->rating->totalPeople)
        d->rating->totalPeople = checkedAdd(*d->rating->totalPeople, 1, "rating people");
    if (d->rating->totalPoints)
        d->rating->totalPoints = checkedAdd(*d->rating->totalPoints, answer, "rating points");
    d->rating->averageRate =
        double(d->rating->totalPoints.value_or(0)) / double(d->rating->totalPeople.value_or(1));
}

void VTARatingView::showStats()
{
    Q_D(VTARatingView);
    answerStack()->setVisible(false);
    d->resultContainer->setVisible(true);
    const double average = d->rating ? d->rating->averageRate.value_or(0) : 0;
    d->averageLabel->setProperty("text", formatOneDecimal(average));
    d->maxLabel->setProperty("text", QString::number(d->rating ? d->rating->max() : 0));
}

void VTARatingView::showPromotionIfNeeded(const Rating &rating)
{
    const std::optional<Promotion> promotion = rating.getPromotion();
    if (!promotion)
        return;
    const auto delay = promotion->viewType.value == "display"_L1 ? 800ms : 3000ms;
    Scheduler::instance().after(delay, this, [this, promotion] { showPromotion(promotion); });
}

void VTARatingView::updateInfo(const Rating &rating)
{
    Q_D(VTARatingView);
    if (!d->rating)
        return;
    const qint64 people = rating.totalPeople.value_or(0);
    if (people < 1 || (d->rating->totalPeople && people <= *d->rating->totalPeople))
        return;
    d->rating->averageRate = rating.averageRate;
    d->rating->totalPeople = rating.totalPeople;
    d->rating->totalPoints = rating.totalPoints;
    if (didAnswer())
        showStats();
}

AnalyticsInfo VTARatingView::getAnalyticsInfo() const
{
    Q_D(const VTARatingView);
    AnalyticsInfo info{u"Rating"_s, std::nullopt, std::nullopt};
    if (!d->rating)
        return info;
    info.submodule = d->rating->id;
    if (const std::optional<Promotion> promotion = d->rating->getPromotion();
        promotion && promotion->sponsor)
        info.sponsor = promotion->sponsor->name;
    return info;
}

QQuickItem *VTARatingView::preferredFocusItem() const
{
    Q_D(const VTARatingView);
    if (state() == InteractionState::active && !d->answerViews.isEmpty())
        return d->answerViews.last();
    return infoView() ? infoView()->closeButton() : mainContainer();
}

void VTARatingView::applyDesign(const std::optional<DesignInfo> &design)
{
    Q_D(VTARatingView);
    VTAInteractionView::applyDesign(design);
    if (!design)
        return;
    if (const auto text = colorFromHex(design->textColor.value_or(QString()))) {
        for (QQuickItem *label : {d->outOfLabel, d->averageLabel, d->maxLabel})
            label->setProperty("color", *text);
    }
}
