#include <vantora/views/interactionview/vtainteractionview.h>

#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/animation_p.h"
#include "vantora/toolkit/checkedmath_p.h"
#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/focusnavigation_p.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/imageview_p.h"
#include "vantora/toolkit/itemlayout_p.h"
#include "vantora/toolkit/numbertext_p.h"
#include "vantora/toolkit/outlets_p.h"
#include "vantora/toolkit/scheduler_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include "vantora/views/interactiondelegate_p.h"
#include "vantora/views/promotionview/promotionview_p.h"
#include "vantora/views/viewslogging_p.h"
#include "vantora/views/viewtag_p.h"

#include <QKeyEvent>

#include <limits>

Q_LOGGING_CATEGORY(Vantora::lcViews, "vantora.views", QtInfoMsg)

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

bool hasText(const std::optional<QString> &text)
{
    return text && !text->isEmpty();
}

} // namespace

class VTAInteractionViewPrivate
{
public:
    QPointer<Vantora::ImageView> mainIcon;
    QPointer<QQuickItem> titleLabel;
    QPointer<QQuickItem> answerStack;
    QPointer<QQuickItem> indicator;
    QPointer<Vantora::ImageView> backgroundView;
    QPointer<QQuickItem> mainContainer;
    QPointer<QQuickItem> infoContainer;
    QPointer<QQuickItem> promotionContainer;
    QPointer<QQuickItem> promotionFlipContainer;
    QPointer<QQuickItem> scrollView;
    QPointer<QQuickItem> promotionFlipHolder; ///< where a flipping promotion sits, if not all over
    QPointer<VTAInfoView> infoView;
    QPointer<Vantora::PromotionView> promotionView;
    QPointer<QObject> delegate;
    QString identifier;
    Vantora::InteractionState state = Vantora::InteractionState::active;
    bool didAnswer = false;
    qint64 time = 0;
    Vantora::TimerId clockTimer = 0;
    bool isClosing = false;
    qint64 tag = 0;
    Vantora::FocusNavigator navigator;
    bool showsEnd = false; ///< the column is kept scrolled to its end, where the result is

    explicit VTAInteractionViewPrivate(QQuickItem *card) : navigator(card) { }
};

VTAInteractionView::VTAInteractionView(QQuickItem *parent)
    : QQuickItem(parent), d_ptr(std::make_unique<VTAInteractionViewPrivate>(this))
{
    setFlag(ItemIsFocusScope);
}

VTAInteractionView::~VTAInteractionView()
{
    Q_D(VTAInteractionView);
    Scheduler::instance().cancel(d->clockTimer);
}

QObject *VTAInteractionView::delegateObject() const
{
    return d_func()->delegate;
}

QString VTAInteractionView::identifier() const
{
    return d_func()->identifier;
}

void VTAInteractionView::setIdentifier(const QString &identifier)
{
    d_func()->identifier = identifier;
}

InteractionState VTAInteractionView::state() const
{
    return d_func()->state;
}

bool VTAInteractionView::didAnswer() const
{
    return d_func()->didAnswer;
}

void VTAInteractionView::setDidAnswer(bool answered)
{
    d_func()->didAnswer = answered;
}

qint64 VTAInteractionView::time() const
{
    return d_func()->time;
}

void VTAInteractionView::setTime(qint64 seconds)
{
    d_func()->time = seconds;
}

bool VTAInteractionView::isClosing() const
{
    return d_func()->isClosing;
}

void VTAInteractionView::setClosing(bool closing)
{
    d_func()->isClosing = closing;
}

qint64 VTAInteractionView::tag() const
{
    return d_func()->tag;
}

VTAInfoView *VTAInteractionView::infoView() const
{
    return d_func()->infoView;
}

ImageView *VTAInteractionView::mainIcon() const
{
    return d_func()->mainIcon;
}

QQuickItem *VTAInteractionView::titleLabel() const
{
    return d_func()->titleLabel;
}

QQuickItem *VTAInteractionView::answerStack() const
{
    return d_func()->answerStack;
}

QQuickItem *VTAInteractionView::indicator() const
{
    return d_func()->indicator;
}

ImageView *VTAInteractionView::backgroundView() const
{
    return d_func()->backgroundView;
}

QQuickItem *VTAInteractionView::mainContainer() const
{
    return d_func()->mainContainer;
}

QQuickItem *VTAInteractionView::infoContainer() const
{
    return d_func()->infoContainer;
}

QQuickItem *VTAInteractionView::promotionContainer() const
{
    return d_func()->promotionContainer;
}

QQuickItem *VTAInteractionView::promotionFlipContainer() const
{
    return d_func()->promotionFlipContainer;
}

QQuickItem *VTAInteractionView::scrollView() const
{
    return d_func()->scrollView;
}

PromotionView *VTAInteractionView::promotionView() const
{
    return d_func()->promotionView;
}

void VTAInteractionView::componentComplete()
{
    Q_D(VTAInteractionView);
    QQuickItem::componentComplete();
    Outlets(this)
        .bind(d->mainIcon, "mainIcon")
        .bind(d->titleLabel, "titleLabel")
        .bind(d->answerStack, "answerStack")
        .bind(d->indicator, "indicator")
        .bind(d->backgroundView, "backgroundView")
        .bind(d->mainContainer, "mainContainer")
        .bind(d->infoContainer, "infoContainer")
        .bind(d->promotionContainer, "promotionContainer")
        .bind(d->promotionFlipContainer, "promotionFlipContainer")
        .bind(d->scrollView, "scrollView")
        .bindOptional(d->promotionFlipHolder, "promotionFlipHolder");
    // A picture that arrives, a result that replaces the answers: what was in view stays there.
    if (auto *content = d->scrollView->property("contentItem").value<QQuickItem *>()) {
        for (QQuickItem *column : content->childItems())
            connect(column, &QQuickItem::heightChanged, this, &VTAInteractionView::followContent,
                    Qt::QueuedConnection);
    }
    d->infoView = createInfo();
    if (!d->infoView)
        return;
    fillParent(d->infoView, d->infoContainer);
    connect(d->infoView->closeButton(), &FocusTvButton::primaryActionTriggered, this,
            &VTAInteractionView::closeTap);
    connect(d->infoView->accountButton(), &FocusTvButton::primaryActionTriggered, this,
            &VTAInteractionView::accountTap);
}

VTAInfoView *VTAInteractionView::createInfo()
{
    return fromNib<VTAInfoView>();
}

void VTAInteractionView::setDelegate(QObject *delegate)
{
    Q_D(VTAInteractionView);
    d->delegate = delegate;
}

InteractionDelegate *VTAInteractionView::delegate() const
{
    Q_D(const VTAInteractionView);
    return qobject_cast<InteractionDelegate *>(d->delegate.get());
}

void VTAInteractionView::stampTag()
{
    Q_D(VTAInteractionView);
    d->tag = nextViewTag();
}

void VTAInteractionView::applyState(InteractionState state)
{
    Q_D(VTAInteractionView);
    d->state = state;
    const bool active = state == InteractionState::active;
    const bool loading = state == InteractionState::loading;
    if (d->infoView) {
        d->infoView->timerView()->setVisible(active);
        d->infoView->pointsView()->setVisible(!active);
    }
    d->mainIcon->setVisible(!loading);
    d->indicator->setVisible(loading);
    d->indicator->setProperty("running", loading);
    if (state == InteractionState::completed)
        markDone();
}

void VTAInteractionView::startTimer()
{
    Q_D(VTAInteractionView);
    Scheduler &scheduler = Scheduler::instance();
    scheduler.cancel(d->clockTimer);
    d->clockTimer = scheduler.every(std::chrono::seconds{1}, this, [this] { tick(); });
}

void VTAInteractionView::beginConfigure(const QString &identifier, qint64 time, bool answered)
{
    stampTag();
    setIdentifier(identifier);
    setTime(time);
    setDidAnswer(answered);
}

void VTAInteractionView::stopTimer()
{
    Q_D(VTAInteractionView);
    Scheduler::instance().cancel(d->clockTimer);
    d->clockTimer = 0;
}

void VTAInteractionView::tick()
{
    Q_D(VTAInteractionView);
    d->time = checkedSubtract(d->time, qint64{1}, "countdown");
    displayTime();
    if (d->time != 0)
        return;
    Scheduler::instance().cancel(d->clockTimer);
    d->clockTimer = 0;
    if (d->state == InteractionState::active && !d->isClosing) {
        if (InteractionDelegate *overlay = delegate())
            overlay->closeInteraction(this, false);
    }
}

void VTAInteractionView::displayTime()
{
    Q_D(VTAInteractionView);
    if (!d->infoView)
        return;
    const qint64 minutes = d->time / 60;
    const qint64 seconds = d->time % 60;
    const bool long_ = d->time >= 60 || d->time <= -60;
    d->infoView->timerLabel1()->setProperty(
        "text", long_ ? QString::number(minutes) + u"m"_s : QString::number(d->time));
    d->infoView->timerLabel2()->setProperty(
        "text", long_ ? QString::number(seconds) + u" SEC"_s : u"SEC"_s);
}

void VTAInteractionView::closeIfCompleted()
{
    Q_D(VTAInteractionView);
    if (d->state != InteractionState::completed || d->isClosing)
        return;
    if (InteractionDelegate *overlay = delegate())
        overlay->closeInteraction(this, false);
}

void VTAInteractionView::closeTap()
{
    Q_D(VTAInteractionView);
    if (d->isClosing)
        return;
    InteractionDelegate *overlay = delegate();
    if (!overlay)
        return;
    if (d->state == InteractionState::active) // leaving without an answer
        overlay->sendAnalyticsEvent(getAnalyticsInfo(), u"close"_s, true);
    overlay->closeInteraction(this, true);
}

void VTAInteractionView::accountTap() { }

void VTAInteractionView::updatePoints(const VTAPointsInfo &points)
{
    Q_D(VTAInteractionView);
    if (!d->infoView)
        return;
    d->infoView->pointsLabel()->setProperty("text", formatDecimal(points.totalCredits, 0, 1));
    d->infoView->levelLabel()->setProperty("text", QString::number(points.level));
}

void VTAInteractionView::applyDesign(const std::optional<DesignInfo> &design)
{
    Q_D(VTAInteractionView);
    if (!design)
        return;
    VTAServiceManager &service = VTAServiceManager::shared();
    const auto showIn = [](QPointer<ImageView> target) {
        return [target](QImage image, std::optional<ServiceError>) {
            if (target)
                target->setImage(image);
        };
    };
    if (hasText(design->backgroundImage))
        service.getImage(*design->backgroundImage, this, showIn(d->backgroundView));
    if (hasText(design->backgroundLogo))
        service.getImage(*design->backgroundLogo, this, showIn(d->mainIcon));
    if (const auto text = colorFromHex(design->textColor.value_or(QString()))) {
        d->titleLabel->setProperty("color", *text);
        if (d->infoView)
            d->infoView->setTextColor(*text);
    }
    if (const auto button = colorFromHex(design->backgroundButton.value_or(QString()));
        button && d->infoView) {
        for (FocusTvButton *target : {d->infoView->accountButton(), d->infoView->closeButton()}) {
            target->focusedBackgroundColor = *button;
            target->updateView();
        }
    }
}

void VTAInteractionView::preparePromotion(const std::optional<Promotion> &promotion)
{
    Q_D(VTAInteractionView);
    if (!promotion)
        return;
    const QString &kind = promotion->viewType.value;
    if (kind != "display"_L1 && kind != "flip"_L1)
        return;
    const bool flip = kind == "flip"_L1;
    QQuickItem *container = flip ? d->promotionFlipContainer : d->promotionContainer;
    container->setVisible(false);
    delete d->promotionView;
    d->promotionView = new PromotionView;
    fillParent(d->promotionView,
               flip && d->promotionFlipHolder ? d->promotionFlipHolder.get() : container);
    if (flip)
        d->promotionView->configureForText(*promotion, true);
    else
        d->promotionView->configureForImage(*promotion, false);
}

void VTAInteractionView::showPromotion(const std::optional<Promotion> &promotion)
{
    Q_D(VTAInteractionView);
    if (!promotion || !d->promotionView)
        return;
    const QString &kind = promotion->viewType.value;
    if (kind == "display"_L1) {
        const qreal finalX = d->promotionView->x();
        d->promotionView->setX(finalX + width());
        d->promotionContainer->setVisible(true);
        animateProperty(d->promotionView, "x", finalX, 500ms, this);
    } else if (kind == "flip"_L1) {
        d->promotionFlipContainer->setVisible(true);
        d->promotionView->setScale(0);
        animateProperty(d->promotionView, "scale", 1.0, 400ms, this);
        animateProperty(d->promotionFlipContainer, "color", QColor::fromRgbF(0, 0, 0, 0.6f), 400ms,
                        this);
    }
}

AnalyticsInfo VTAInteractionView::getAnalyticsInfo() const
{
    return {};
}

QQuickItem *VTAInteractionView::preferredFocusItem() const
{
    Q_D(const VTAInteractionView);
    if (d->state == InteractionState::active) {
        const QList<QQuickItem *> answers = d->answerStack->childItems();
        for (QQuickItem *answer : answers) {
            if (answer->isVisible() && answer->activeFocusOnTab())
                return answer;
        }
    }
    if (d->infoView)
        return d->infoView->closeButton();
    return d->mainContainer;
}

void VTAInteractionView::focusPreferredItem()
{
    Q_D(VTAInteractionView);
    QQuickItem *item = preferredFocusItem();
    if (!item)
        return;
    item->forceActiveFocus();
    // The question on an open card, the result on a completed one.
    d->showsEnd = d->state == InteractionState::completed;
    followContent();
}

void VTAInteractionView::followContent()
{
    Q_D(VTAInteractionView);
    QQuickItem *focused = FocusNavigator::focusedControl(this);
    if (focused && d->scrollView->isAncestorOf(focused))
        scrollIntoView(focused);
    else
        scrollTo(d->scrollView, d->showsEnd ? std::numeric_limits<qreal>::infinity() : 0.0);
}

void VTAInteractionView::keyPressEvent(QKeyEvent *event)
{
    Q_D(VTAInteractionView);
    const std::optional<FocusDirection> direction = focusDirection(event->key());
    if (direction && d->navigator.move(*direction)) {
        // Out of the answers, the card shows its top: the question.
        d->showsEnd = false;
        followContent();
        event->accept();
        return;
    }
    QQuickItem::keyPressEvent(event);
}
