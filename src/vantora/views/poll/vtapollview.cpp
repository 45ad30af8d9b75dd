#include <vantora/views/poll/vtapollview.h>

#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/checkedmath_p.h"
#include "vantora/toolkit/fatal_p.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/scheduler_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include "vantora/views/interactiondelegate_p.h"
#include "vantora/views/viewslogging_p.h"

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

class VTAPollViewPrivate
{
public:
    QList<VTAPollAnswerView *> answerViews;
    std::optional<Vantora::Poll> poll;
    bool didEnd = false;
    qint64 totalVotes = 0;
};

VTAPollView::VTAPollView(QQuickItem *parent)
    : VTAInteractionView(parent), d_ptr(std::make_unique<VTAPollViewPrivate>())
{ }

VTAPollView::~VTAPollView() = default;

const QList<VTAPollAnswerView *> &VTAPollView::answerViews() const
{
    return d_func()->answerViews;
}

const std::optional<Poll> &VTAPollView::poll() const
{
    return d_func()->poll;
}

bool VTAPollView::didEnd() const
{
    return d_func()->didEnd;
}

void VTAPollView::setDidEnd(bool ended)
{
    d_func()->didEnd = ended;
}

qint64 VTAPollView::totalVotes() const
{
    return d_func()->totalVotes;
}

VTAPollAnswerView *VTAPollView::createAnswerView()
{
    return fromNib<VTAPollAnswerView>();
}

void VTAPollView::configure(const Poll &poll, const std::optional<QString> &previousAnswer,
                            qint64 time, const VTAPointsInfo &pointsInfo,
                            const std::optional<DesignInfo> &designInfo)
{
    Q_D(VTAPollView);
    beginConfigure(poll.id, time, previousAnswer.has_value());
    d->poll = poll;
    d->didEnd = poll.status != "active"_L1;
    titleLabel()->setProperty("text",
                              d->didEnd ? poll.question + u" [POLL CLOSED]"_s : poll.question);
    preparePromotion(poll.getPromotion());

    d->totalVotes = 0;
    for (const PollAnswer &answer : poll.answers)
        d->totalVotes = checkedAdd(d->totalVotes, answer.totals.value_or(0), "poll votes");
    scrollView()->setClip(true);

    const bool finished = didAnswer() || d->didEnd;
    for (const PollAnswer &answer : poll.answers) {
        VTAPollAnswerView *row = createAnswerView();
        row->setParent(this);
        row->setWidth(answerStack()->width());
        row->configure(answer, d->totalVotes, finished, poll.viewType, designInfo);
        if (finished)
            row->setButtonStyleCompleted(previousAnswer && answer.answer == *previousAnswer);
        FocusTvButton *button = row->button();
        connect(button, &FocusTvButton::primaryActionTriggered, this,
                [this, button] { actionAnswer(button); });
        row->setParentItem(answerStack());
        d->answerViews.append(row);
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
    if (d->didEnd && !didAnswer()) {
        Scheduler::instance().after(1s, this, [this] {
            if (InteractionDelegate *overlay = delegate())
                overlay->handleInteractionCompleted(false);
        });
    }
    didLoadPoll();
}

void VTAPollView::actionAnswer(FocusTvButton *sender)
{
    Q_D(VTAPollView);
    if (didAnswer() || d->didEnd)
        return;
    if (!d->poll)
        fatal(u"VTAPollView: a vote before the poll was configured"_s);
    qsizetype index = -1;
    for (qsizetype i = 0; i < d->answerViews.size(); ++i) {
        if (d->answerViews[i]->button() == sender)
            index = i;
    }
    if (index < 0 || index >= d->poll->answers.size())
        fatal(u"VTAPollView: the pressed button is no answer of the poll"_s);
    const QString answer = d->poll->answers[index].answer;
    setDidAnswer(true);
    d->totalVotes = checkedAdd(d->totalVotes, qint64{1}, "poll votes");

    // The vote counts at once, before the backend has it.
    for (VTAPollAnswerView *row : std::as_const(d->answerViews)) {
        const bool selected = row->button() == sender;
        row->setStats(checkedAdd(row->votes(), qint64{selected ? 1 : 0}, "poll votes"),
                      checkedAdd(row->totalVotes(), qint64{1}, "poll votes"));
        row->setButtonStyleCompleted(selected);
    }

    if (InteractionDelegate *overlay = delegate()) {
        if (const std::optional<QString> token = overlay->userToken()) {
            // The reply belongs to the overlay, which may have closed this card by then.
            VTAServiceManager::shared().answerPoll(
                *token, overlay->channelID(), overlay->broadcaster(), d->poll->id, answer,
                delegateObject(),
                overlay->didSelectPollAnswer(answer, d->poll->id, d->poll->questionType));
        } else {
            qCDebug(lcViews) << "the vote on poll" << d->poll->id
                             << "stays on this screen: no viewer";
        }
        overlay->handleInteractionCompleted(false);
    }

    const bool focused = hasActiveFocus();
    applyState(InteractionState::completed);
    if (focused)
        focusPreferredItem();
    if (!d->poll->showPromotionAtStart())
        showPromotionIfNeeded(*d->poll);
    didAnswerPoll();
}

void VTAPollView::markDone()
{
    Q_D(VTAPollView);
    for (VTAPollAnswerView *row : std::as_const(d->answerViews))
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
    Q_D(const VTAPollView);
    if (!d->poll)
        fatal(u"VTAPollView: analytics asked before the poll was configured"_s);
    std::optional<QString> sponsor;
    if (const std::optional<Promotion> promotion = d->poll->getPromotion();
        promotion && promotion->sponsor)
        sponsor = promotion->sponsor->name;
    return {d->poll->questionType == "prediction"_L1 ? u"Predictions"_s : u"Polls"_s, d->poll->id,
            sponsor};
}
