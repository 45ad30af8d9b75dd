#include "vantora/views/rating/vtaratingview_p.h"

#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/checkedmath_p.h"
#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/numbertext_p.h"
#include "vantora/toolkit/outlets_p.h"
#include "vantora/toolkit/scheduler_p.h"
#include "vantora/toolkit/viewloader_p.h"

#include <QKeyEvent>
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

VTARatingView::VTARatingView(QQuickItem *parent) : VTAInteractionView(parent) { }

void VTARatingView::componentComplete()
{
    VTAInteractionView::componentComplete();
    Outlets(this)
        .bind(m_resultContainer, "resultContainer")
        .bind(m_starIcon, "starIcon")
        .bind(m_averageLabel, "averageLabel")
        .bind(m_outOfLabel, "outOfLabel")
        .bind(m_maxLabel, "maxLabel");
    if (m_starIcon->image().isNull())
        m_starIcon->setImage(starSymbol());
}

VTARatingAnswerView *VTARatingView::createAnswerView()
{
    return fromNib<VTARatingAnswerView>();
}

void VTARatingView::configure(const Rating &rating, const std::optional<QString> &previousAnswer,
                              qint64 time, const VTAPointsInfo &pointsInfo,
                              const std::optional<DesignInfo> &designInfo)
{
    stampTag();
    m_rating = rating;
    setIdentifier(rating.id);
    setTime(time);
    setDidAnswer(previousAnswer.has_value());
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
        m_answerViews.append(row);
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
            rating.icon, this, [this](QImage image, std::optional<ServiceError>) {
                if (image.isNull())
                    return;
                for (VTARatingAnswerView *row : std::as_const(m_answerViews))
                    row->button()->setImage(image);
                m_starIcon->setImage(image);
            });
    }
    didLoadRating();
}

void VTARatingView::arrangeSteps()
{
    const qsizetype count = m_answerViews.size();
    if (count == 0)
        return;
    QQuickItem *stack = answerStack();
    const qreal spacing = stack->property("spacing").toReal();
    const qreal gaps = spacing * qreal(count - 1);
    // Room on every side for a focused step, which grows.
    const qreal margin = 16;
    const qreal fitting = (stack->width() - 2 * margin - gaps) / qreal(count);
    for (VTARatingAnswerView *row : std::as_const(m_answerViews)) {
        const qreal side = std::min({row->width(), row->height(), fitting});
        row->setSize(QSizeF(side, side));
    }
    const qreal line = m_answerViews.first()->width() * qreal(count) + gaps;
    stack->setProperty("leftPadding", (stack->width() - line) / 2);
    stack->setProperty("topPadding", margin);
    stack->setProperty("bottomPadding", margin);
    // Place them now rather than at the next frame, so that focus and scrolling see them.
    QMetaObject::invokeMethod(stack, "forceLayout");
}

void VTARatingView::actionAnswer(FocusTvButton *sender)
{
    if (didAnswer())
        return;
    const auto row =
        std::find_if(m_answerViews.cbegin(), m_answerViews.cend(),
                     [sender](VTARatingAnswerView *r) { return r->button() == sender; });
    if (row == m_answerViews.cend() || !m_rating)
        return;
    setDidAnswer(true);
    const qint64 value = (*row)->tag();
    sender->setSelected(true);
    for (VTARatingAnswerView *each : std::as_const(m_answerViews))
        each->setButtonStyleCompleted(value >= each->tag());

    if (InteractionDelegate *overlay = delegate()) {
        if (const std::optional<QString> token = overlay->userToken()) {
            // The reply belongs to the overlay: it records the rating even if the card is gone.
            VTAServiceManager::shared().answerRating(
                *token, overlay->channelID(), overlay->broadcaster(), m_rating->id, value,
                delegateObject(), overlay->didSelectRatingAnswer(value, m_rating->id));
        }
        overlay->handleInteractionCompleted(false);
    }
    updateStats(value);
    showStats();
    applyState(InteractionState::completed);
    if (hasActiveFocus())
        focusPreferredItem();
    if (!m_rating->showPromotionAtStart())
        showPromotionIfNeeded(*m_rating);
    didAnswerRating();
}

void VTARatingView::updateStats(qint64 answer)
{
    if (!m_rating)
        return;
    if (m_rating->totalPeople)
        m_rating->totalPeople = checkedAdd(*m_rating->totalPeople, 1, "rating people");
    if (m_rating->totalPoints)
        m_rating->totalPoints = checkedAdd(*m_rating->totalPoints, answer, "rating points");
    m_rating->averageRate =
        double(m_rating->totalPoints.value_or(0)) / double(m_rating->totalPeople.value_or(1));
}

void VTARatingView::showStats()
{
    answerStack()->setVisible(false);
    m_resultContainer->setVisible(true);
    const double average = m_rating ? m_rating->averageRate.value_or(0) : 0;
    m_averageLabel->setProperty("text", formatOneDecimal(average));
    m_maxLabel->setProperty("text", QString::number(m_rating ? m_rating->max() : 0));
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
    if (!m_rating)
        return;
    const qint64 people = rating.totalPeople.value_or(0);
    if (people < 1 || (m_rating->totalPeople && people <= *m_rating->totalPeople))
        return;
    m_rating->averageRate = rating.averageRate;
    m_rating->totalPeople = rating.totalPeople;
    m_rating->totalPoints = rating.totalPoints;
    if (didAnswer())
        showStats();
}

AnalyticsInfo VTARatingView::getAnalyticsInfo() const
{
    AnalyticsInfo info{u"Rating"_s, std::nullopt, std::nullopt};
    if (!m_rating)
        return info;
    info.submodule = m_rating->id;
    if (const std::optional<Promotion> promotion = m_rating->getPromotion();
        promotion && promotion->sponsor)
        info.sponsor = promotion->sponsor->name;
    return info;
}

QQuickItem *VTARatingView::preferredFocusItem() const
{
    if (state() == InteractionState::active && !m_answerViews.isEmpty())
        return m_answerViews.last();
    return infoView() ? infoView()->closeButton() : mainContainer();
}

void VTARatingView::applyDesign(const std::optional<DesignInfo> &design)
{
    VTAInteractionView::applyDesign(design);
    if (!design)
        return;
    if (const auto text = colorFromHex(design->textColor.value_or(QString()))) {
        for (QQuickItem *label : {m_outOfLabel, m_averageLabel, m_maxLabel})
            label->setProperty("color", *text);
    }
}

void VTARatingView::keyPressEvent(QKeyEvent *event)
{
    // The remote moves along the steps, up to the info bar and back down.
    const auto focused =
        std::find_if(m_answerViews.cbegin(), m_answerViews.cend(),
                     [](VTARatingAnswerView *row) { return row->hasActiveFocus(); });
    const bool onStep = focused != m_answerViews.cend() && answerStack()->isVisible();
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Right:
        if (onStep) {
            const qsizetype index = focused - m_answerViews.cbegin();
            const qsizetype next = index + (event->key() == Qt::Key_Left ? -1 : 1);
            if (next >= 0 && next < m_answerViews.size())
                m_answerViews.at(next)->forceActiveFocus();
            event->accept();
            return;
        }
        break;
    case Qt::Key_Up:
        if (onStep && infoView()) {
            infoView()->closeButton()->forceActiveFocus();
            event->accept();
            return;
        }
        break;
    case Qt::Key_Down:
        if (!onStep && infoView() && window()
            && infoView()->isAncestorOf(window()->activeFocusItem())) {
            focusPreferredItem();
            event->accept();
            return;
        }
        break;
    default:
        break;
    }
    VTAInteractionView::keyPressEvent(event);
}
