#include "vantora/views/interactionview/vtainteractionview_p.h"

#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/animation_p.h"
#include "vantora/toolkit/checkedmath_p.h"
#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/itemlayout_p.h"
#include "vantora/toolkit/numbertext_p.h"
#include "vantora/toolkit/outlets_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include "vantora/views/viewtag_p.h"

#include <QKeyEvent>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

bool hasText(const std::optional<QString> &text)
{
    return text && !text->isEmpty();
}

} // namespace

VTAInteractionView::VTAInteractionView(QQuickItem *parent) : QQuickItem(parent)
{
    setFlag(ItemIsFocusScope);
}

VTAInteractionView::~VTAInteractionView()
{
    Scheduler::instance().cancel(m_clockTimer);
}

void VTAInteractionView::componentComplete()
{
    QQuickItem::componentComplete();
    Outlets(this)
        .bind(m_mainIcon, "mainIcon")
        .bind(m_titleLabel, "titleLabel")
        .bind(m_answerStack, "answerStack")
        .bind(m_indicator, "indicator")
        .bind(m_backgroundView, "backgroundView")
        .bind(m_mainContainer, "mainContainer")
        .bind(m_infoContainer, "infoContainer")
        .bind(m_promotionContainer, "promotionContainer")
        .bind(m_promotionFlipContainer, "promotionFlipContainer")
        .bind(m_scrollView, "scrollView")
        .bindOptional(m_promotionFlipHolder, "promotionFlipHolder");
    m_infoView = createInfo();
    if (!m_infoView)
        return;
    fillParent(m_infoView, m_infoContainer);
    connect(m_infoView->closeButton(), &FocusTvButton::primaryActionTriggered, this,
            &VTAInteractionView::closeTap);
    connect(m_infoView->accountButton(), &FocusTvButton::primaryActionTriggered, this,
            &VTAInteractionView::accountTap);
}

VTAInfoView *VTAInteractionView::createInfo()
{
    return fromNib<VTAInfoView>();
}

void VTAInteractionView::setDelegate(QObject *delegate)
{
    m_delegate = delegate;
}

InteractionDelegate *VTAInteractionView::delegate() const
{
    return qobject_cast<InteractionDelegate *>(m_delegate.get());
}

void VTAInteractionView::stampTag()
{
    m_tag = nextViewTag();
}

void VTAInteractionView::applyState(InteractionState state)
{
    m_state = state;
    const bool active = state == InteractionState::active;
    const bool loading = state == InteractionState::loading;
    if (m_infoView) {
        m_infoView->timerView()->setVisible(active);
        m_infoView->pointsView()->setVisible(!active);
    }
    m_mainIcon->setVisible(!loading);
    m_indicator->setVisible(loading);
    m_indicator->setProperty("running", loading);
    if (state == InteractionState::completed)
        markDone();
}

void VTAInteractionView::startTimer()
{
    Scheduler &scheduler = Scheduler::instance();
    scheduler.cancel(m_clockTimer);
    m_clockTimer = scheduler.every(std::chrono::seconds{1}, this, [this] { tick(); });
}

void VTAInteractionView::stopTimer()
{
    Scheduler::instance().cancel(m_clockTimer);
    m_clockTimer = 0;
}

void VTAInteractionView::tick()
{
    m_time = checkedSubtract(m_time, qint64{1}, "countdown");
    displayTime();
    if (m_time != 0)
        return;
    Scheduler::instance().cancel(m_clockTimer);
    m_clockTimer = 0;
    if (m_state == InteractionState::active && !m_isClosing) {
        if (InteractionDelegate *overlay = delegate())
            overlay->closeInteraction(this, false);
    }
}

void VTAInteractionView::displayTime()
{
    if (!m_infoView)
        return;
    const qint64 minutes = m_time / 60;
    const qint64 seconds = m_time % 60;
    const bool long_ = m_time >= 60 || m_time <= -60;
    m_infoView->timerLabel1()->setProperty(
        "text", long_ ? QString::number(minutes) + u"m"_s : QString::number(m_time));
    m_infoView->timerLabel2()->setProperty("text",
                                           long_ ? QString::number(seconds) + u" SEC"_s : u"SEC"_s);
}

void VTAInteractionView::closeIfCompleted()
{
    if (m_state != InteractionState::completed || m_isClosing)
        return;
    if (InteractionDelegate *overlay = delegate())
        overlay->closeInteraction(this, false);
}

void VTAInteractionView::closeTap()
{
    if (m_isClosing)
        return;
    InteractionDelegate *overlay = delegate();
    if (!overlay)
        return;
    if (m_state == InteractionState::active) // leaving without an answer
        overlay->sendAnalyticsEvent(getAnalyticsInfo(), u"close"_s, true);
    overlay->closeInteraction(this, true);
}

void VTAInteractionView::accountTap() { }

void VTAInteractionView::updatePoints(const VTAPointsInfo &points)
{
    if (!m_infoView)
        return;
    m_infoView->pointsLabel()->setProperty("text", formatDecimal(points.totalCredits, 0, 1));
    m_infoView->levelLabel()->setProperty("text", QString::number(points.level));
}

void VTAInteractionView::applyDesign(const std::optional<DesignInfo> &design)
{
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
        service.getImage(*design->backgroundImage, this, showIn(m_backgroundView));
    if (hasText(design->backgroundLogo))
        service.getImage(*design->backgroundLogo, this, showIn(m_mainIcon));
    if (const auto text = colorFromHex(design->textColor.value_or(QString()))) {
        m_titleLabel->setProperty("color", *text);
        if (m_infoView)
            m_infoView->setTextColor(*text);
    }
    if (const auto button = colorFromHex(design->backgroundButton.value_or(QString()));
        button && m_infoView) {
        for (FocusTvButton *target : {m_infoView->accountButton(), m_infoView->closeButton()}) {
            target->focusedBackgroundColor = *button;
            target->updateView();
        }
    }
}

void VTAInteractionView::preparePromotion(const std::optional<Promotion> &promotion)
{
    if (!promotion)
        return;
    const QString &kind = promotion->viewType.value;
    if (kind != "display"_L1 && kind != "flip"_L1)
        return;
    const bool flip = kind == "flip"_L1;
    QQuickItem *container = flip ? m_promotionFlipContainer : m_promotionContainer;
    container->setVisible(false);
    delete m_promotionView;
    m_promotionView = new PromotionView;
    fillParent(m_promotionView,
               flip && m_promotionFlipHolder ? m_promotionFlipHolder.get() : container);
    if (flip)
        m_promotionView->configureForText(*promotion, true);
    else
        m_promotionView->configureForImage(*promotion, false);
}

void VTAInteractionView::showPromotion(const std::optional<Promotion> &promotion)
{
    if (!promotion || !m_promotionView)
        return;
    const QString &kind = promotion->viewType.value;
    if (kind == "display"_L1) {
        const qreal finalX = m_promotionView->x();
        m_promotionView->setX(finalX + width());
        m_promotionContainer->setVisible(true);
        animateProperty(m_promotionView, "x", finalX, 500ms, this);
    } else if (kind == "flip"_L1) {
        m_promotionFlipContainer->setVisible(true);
        m_promotionView->setScale(0);
        animateProperty(m_promotionView, "scale", 1.0, 400ms, this);
        animateProperty(m_promotionFlipContainer, "color", QColor::fromRgbF(0, 0, 0, 0.6f), 400ms,
                        this);
    }
}

AnalyticsInfo VTAInteractionView::getAnalyticsInfo() const
{
    return {};
}

QQuickItem *VTAInteractionView::preferredFocusItem() const
{
    if (m_state == InteractionState::active) {
        const QList<QQuickItem *> answers = m_answerStack->childItems();
        for (QQuickItem *answer : answers) {
            if (answer->isVisible() && answer->activeFocusOnTab())
                return answer;
        }
    }
    if (m_infoView)
        return m_infoView->closeButton();
    return m_mainContainer;
}

void VTAInteractionView::focusPreferredItem()
{
    if (QQuickItem *item = preferredFocusItem())
        item->forceActiveFocus();
}

bool VTAInteractionView::moveAnswerFocus(int step)
{
    QList<QQuickItem *> answers;
    for (QQuickItem *answer : m_answerStack->childItems()) {
        if (answer->isVisible() && answer->activeFocusOnTab())
            answers.append(answer);
    }
    qsizetype current = -1;
    for (qsizetype i = 0; i < answers.size(); ++i) {
        if (answers[i]->hasActiveFocus())
            current = i;
    }
    const qsizetype next = current + step;
    if (current < 0 || next < 0 || next >= answers.size())
        return false;
    QQuickItem *answer = answers[next];
    answer->forceActiveFocus();
    // Keep the focused answer inside the scrolling area, as the platform's scroll views do.
    const qreal top = m_answerStack->mapFromItem(answer, QPointF(0, 0)).y() + m_answerStack->y();
    const qreal visible = m_scrollView->height();
    const qreal contentY = m_scrollView->property("contentY").toReal();
    if (top < contentY)
        m_scrollView->setProperty("contentY", top);
    else if (top + answer->height() > contentY + visible)
        m_scrollView->setProperty("contentY", top + answer->height() - visible);
    return true;
}

void VTAInteractionView::keyPressEvent(QKeyEvent *event)
{
    int step = 0;
    switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Left:
        step = -1;
        break;
    case Qt::Key_Down:
    case Qt::Key_Right:
        step = 1;
        break;
    default:
        break;
    }
    if (step != 0 && moveAnswerFocus(step)) {
        event->accept();
        return;
    }
    QQuickItem::keyPressEvent(event);
}
