#include "vantora/views/poll/vtapollview_p.h"

#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/checkedmath_p.h"
#include "vantora/toolkit/fatal_p.h"
#include "vantora/toolkit/viewloader_p.h"

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

VTAPollView::VTAPollView(QQuickItem *parent) : VTAInteractionView(parent) { }

VTAPollAnswerView *VTAPollView::createAnswerView()
{
    return fromNib<VTAPollAnswerView>();
}

void VTAPollView::configure(const Poll &poll, const std::optional<QString> &previousAnswer,
                            qint64 time, const VTAPointsInfo &pointsInfo,
                            const std::optional<DesignInfo> &designInfo)
{
    stampTag();
    m_poll = poll;
    setIdentifier(poll.id);
    setTime(time);
    setDidAnswer(previousAnswer.has_value());
    m_didEnd = poll.status != "active"_L1;
    titleLabel()->setProperty("text",
                              m_didEnd ? poll.question + u" [POLL CLOSED]"_s : poll.question);
    preparePromotion(poll.getPromotion());

    m_totalVotes = 0;
    for (const PollAnswer &answer : poll.answers)
        m_totalVotes = checkedAdd(m_totalVotes, answer.totals.value_or(0), "poll votes");
    scrollView()->setClip(true);

    const bool finished = didAnswer() || m_didEnd;
    for (const PollAnswer &answer : poll.answers) {
        VTAPollAnswerView *row = createAnswerView();
        row->setParent(this);
        row->setWidth(answerStack()->width());
        row->configure(answer, m_totalVotes, finished, poll.viewType, designInfo);
        if (finished)
            row->setButtonStyleCompleted(previousAnswer && answer.answer == *previousAnswer);
        FocusTvButton *button = row->button();
        connect(button, &FocusTvButton::primaryActionTriggered, this,
                [this, button] { actionAnswer(button); });
        row->setParentItem(answerStack());
        m_answerViews.append(row);
    }

    if (finished) {
        applyState(InteractionState::completed);
        didAnswerPoll();
    } else {
        applyState(InteractionState::active);
        displayTime();
        startTimer();
    }
    applyDesign(designInfo);
    updatePoints(pointsInfo);
    if (poll.showPromotionAtStart() || didAnswer())
        showPromotionIfNeeded(poll);
    if (m_didEnd && !didAnswer()) {
        Scheduler::instance().after(1s, this, [this] {
            if (InteractionDelegate *overlay = delegate())
                overlay->handleInteractionCompleted(false);
        });
    }
    didLoadPoll();
}

void VTAPollView::actionAnswer(FocusTvButton *sender)
{
    if (didAnswer() || m_didEnd)
        return;
    if (!m_poll)
        fatal(u"VTAPollView: a vote before the poll was configured"_s);
    qsizetype index = -1;
    for (qsizetype i = 0; i < m_answerViews.size(); ++i) {
        if (m_answerViews[i]->button() == sender)
            index = i;
    }
    if (index < 0 || index >= m_poll->answers.size())
        fatal(u"VTAPollView: the pressed button is no answer of the poll"_s);
    const QString answer = m_poll->answers[index].answer;
    setDidAnswer(true);
    m_totalVotes = checkedAdd(m_totalVotes, qint64{1}, "poll votes");

    // The vote counts at once, before the backend has it.
    for (VTAPollAnswerView *row : std::as_const(m_answerViews)) {
        const bool selected = row->button() == sender;
        row->setStats(checkedAdd(row->votes(), qint64{selected ? 1 : 0}, "poll votes"),
                      checkedAdd(row->totalVotes(), qint64{1}, "poll votes"));
        row->setButtonStyleCompleted(selected);
    }

    if (InteractionDelegate *overlay = delegate()) {
        if (const std::optional<QString> token = overlay->userToken()) {
            // The reply belongs to the overlay, which may have closed this card by then.
            VTAServiceManager::shared().answerPoll(
                *token, overlay->channelID(), overlay->broadcaster(), m_poll->id, answer,
                delegateObject(),
                overlay->didSelectPollAnswer(answer, m_poll->id, m_poll->questionType));
        }
        overlay->handleInteractionCompleted(false);
    }

    const bool focused = hasActiveFocus();
    applyState(InteractionState::completed);
    if (focused)
        focusPreferredItem();
    if (!m_poll->showPromotionAtStart())
        showPromotionIfNeeded(*m_poll);
    didAnswerPoll();
}

void VTAPollView::markDone()
{
    for (VTAPollAnswerView *row : std::as_const(m_answerViews))
        row->statsLabel()->setVisible(true);
}

void VTAPollView::showPromotionIfNeeded(const Poll &poll)
{
    const std::optional<Promotion> promotion = poll.getPromotion();
    if (!promotion)
        return;
    const auto delay = promotion->viewType.value == "display"_L1 ? 800ms : 3000ms;
    Scheduler::instance().after(delay, this, [this, promotion] { showPromotion(promotion); });
}

AnalyticsInfo VTAPollView::getAnalyticsInfo() const
{
    if (!m_poll)
        fatal(u"VTAPollView: analytics asked before the poll was configured"_s);
    std::optional<QString> sponsor;
    if (const std::optional<Promotion> promotion = m_poll->getPromotion();
        promotion && promotion->sponsor)
        sponsor = promotion->sponsor->name;
    return {m_poll->questionType == "prediction"_L1 ? u"Predictions"_s : u"Polls"_s, m_poll->id,
            sponsor};
}
