// What reaches the overlay while it runs: the backend's replies to the viewer's answers, the
// broadcaster's live events, and the settlement of predictions into a notice.

#include "vantora/overlay/overlaycontroller_p.h"
#include "vantora/overlay/overlaylogging_p.h"
#include "vantora/toolkit/animation_p.h"
#include "vantora/toolkit/checkedmath_p.h"
#include "vantora/toolkit/consoleline_p.h"
#include "vantora/toolkit/fatal_p.h"
#include "vantora/toolkit/numbertext_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include <vantora/views/notice/vtanotice.h>
#include <vantora/views/poll/vtapollview.h>
#include <vantora/views/rating/vtaratingview.h>
#include <vantora/views/trivia/vtatriviaview.h>

#include <QPropertyAnimation>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace Vantora {

namespace {

constexpr auto slideDuration = 400ms;
constexpr qreal noticeTop = 80; // below the screen's safe area, clear of the cards at the bottom

// Replaces the record with the same id, moving it to the end of the list.
template <class Record>
void replaceOrAppend(QList<Record> &records, const Record &record)
{
    records.removeIf([&record](const Record &held) { return held.id == record.id; });
    records.append(record);
}

} // namespace

void OverlayController::readLevel(const std::optional<UserLevel> &userLevel)
{
    if (!userLevel || userLevel->level.value.isEmpty())
        return;
    if (const std::optional<qint64> level = parseInteger(userLevel->level.value))
        state.level = *level;
}

void OverlayController::showPoints()
{
    if (VTAInteractionView *card = state.currentInteraction)
        card->updatePoints(VTAPointsInfo{state.totalCredits, state.totalExpoints, state.level});
}

void OverlayController::updatePoints(double expointsGiven,
                                     const std::optional<double> &giftPointsGiven,
                                     const std::optional<UserLevel> &userLevel)
{
    if (!(expointsGiven > 0) && !giftPointsGiven)
        return;
    state.totalExpoints += expointsGiven;
    readLevel(userLevel);
    if (giftPointsGiven && *giftPointsGiven > 0)
        state.totalCredits += *giftPointsGiven;
    showPoints();
}

void OverlayController::reportEngagement()
{
    // About the card showing when the reply arrives, whichever card was answered.
    if (VTAInteractionView *card = state.currentInteraction)
        sendAnalyticsEvent(card->getAnalyticsInfo(), u"engage"_s, true);
}

std::optional<QString> OverlayController::predictionKey(const QString &pollID) const
{
    if (!state.channelInfo)
        return std::nullopt;
    return pollID + u"_____"_s + state.channelInfo->id;
}

VTAServiceManager::Completion<AnswerPollResponse>
OverlayController::didSelectPollAnswer(const QString &answer, const QString &pollID,
                                       const QString &pollType)
{
    return [this, answer, pollID, pollType](ServiceResult<AnswerPollResponse> reply) {
        if (!reply || !reply.value().answer.isAnswered)
            return;
        const AnswerPollResponseData &data = reply.value().answer;
        state.pollAnswers.insert(pollID, answer);
        updatePoints(data.expoints_given, data.giftPointsGiven, data.userLevel);
        if (pollType == u"prediction"_s) {
            const bool known = std::any_of(state.predictions.cbegin(), state.predictions.cend(),
                                           [&](const Poll &poll) { return poll.id == pollID; });
            if (const std::optional<QString> key = predictionKey(pollID); known && key)
                state.predictionResults.insert(*key, PredictionResult{0, answer, u"pending"_s});
        }
        reportEngagement();
    };
}

VTAServiceManager::Completion<AnswerRatingResponse>
OverlayController::didSelectRatingAnswer(qint64 answer, const QString &ratingID)
{
    return [this, answer, ratingID](ServiceResult<AnswerRatingResponse> reply) {
        if (!reply || !reply.value().answer.isAnswered)
            return;
        const AnswerRatingResponseData &data = reply.value().answer;
        state.ratingAnswers.insert(ratingID, QString::number(answer));
        updatePoints(data.expoints_given, data.giftPointsGiven, data.userLevel);
        reportEngagement();
    };
}

VTAServiceManager::Completion<AnswerTriviaResponse>
OverlayController::didSelectTriviaAnswer(const QString & /*answer*/, const QString & /*triviaID*/)
{
    return [this](ServiceResult<AnswerTriviaResponse> reply) {
        if (!reply || reply.value().answer.isAnswered != true)
            return;
        const AnswerTriviaResponseData &data = reply.value().answer;
        // The result goes to the trivia card on screen, whichever question it shows.
        if (auto *card = qobject_cast<VTATriviaView *>(state.currentInteraction.get())) {
            const TriviaAnswer result{u""_s,       data.userId,        data.questionId,
                                      data.answer, data.correctAnswer, data.isCorrect};
            card->showResult(result, data.pointsGiven);
            card->applyState(InteractionState::completed);
            if (card->hasActiveFocus())
                card->focusPreferredItem();
            if (card->trivia() && !card->trivia()->question.showPromotionAtStart())
                card->showPromotionIfNeeded(*card->trivia());
            card->didAnswerTrivia();
        }
        if (data.total_points)
            state.totalCredits = *data.total_points;
        else if (data.isCorrect && data.pointsGiven)
            state.totalCredits += *data.pointsGiven;
        if (data.total_expoints)
            state.totalExpoints = *data.total_expoints;
        else if (data.expoints_given > 0)
            state.totalExpoints += data.expoints_given;
        readLevel(data.userLevel);
        if (data.giftPointsGiven && *data.giftPointsGiven > 0)
            state.totalCredits += *data.giftPointsGiven;
        if (state.currentInteraction) {
            showPoints();
            reportEngagement();
        }
    };
}

void OverlayController::inject(const Poll &poll, const InteractionOptions &options,
                               qint64 timestamp)
{
    std::optional<QString> displayType;
    if (poll.questionType == u"poll"_s) {
        replaceOrAppend(state.polls, poll);
        displayType = u"polls"_s;
    } else if (poll.questionType == u"prediction"_s) {
        replaceOrAppend(state.predictions, poll);
        displayType = u"predictions"_s;
    }
    state.lastAnalyticsSource = u"injection"_s;
    state.lastAnalyticsSourceID = poll.id;
    state.lastAnalyticsTime = timestamp;
    if (!displayType)
        fatal(u"Unknown poll questionType \"%1\" in a live injection"_s.arg(poll.questionType));
    displayInteraction(poll.id, *displayType, options, false);
}

void OverlayController::inject(const Rating &rating, const InteractionOptions &options,
                               qint64 timestamp)
{
    replaceOrAppend(state.ratings, rating);
    state.lastAnalyticsSource = u"injection"_s;
    state.lastAnalyticsSourceID = rating.id;
    state.lastAnalyticsTime = timestamp;
    displayInteraction(rating.id, u"rating"_s, options, false);
}

void OverlayController::inject(const QString &triviaID, const InteractionOptions &options,
                               qint64 timestamp)
{
    state.lastAnalyticsSource = u"injection"_s;
    state.lastAnalyticsSourceID = triviaID;
    state.lastAnalyticsTime = timestamp;
    displayInteraction(triviaID, u"quiz"_s, options, false);
}

void OverlayController::updatedInfo(const std::optional<QList<Poll>> &polls,
                                    const std::optional<QList<Rating>> &ratings,
                                    const std::optional<QList<Poll>> &predictions)
{
    VTAInteractionView *card = state.currentInteraction;
    if (!card || card->identifier().isEmpty() || card->isClosing()) {
        qCDebug(lcOverlay) << "live totals dropped: no card on screen to show them";
        return;
    }
    if (auto *ratingCard = qobject_cast<VTARatingView *>(card)) {
        for (const Rating &rating : ratings.value_or(QList<Rating>{})) {
            if (rating.id == card->identifier())
                ratingCard->updateInfo(rating);
        }
        return;
    }
    auto *pollCard = qobject_cast<VTAPollView *>(card);
    if (!pollCard)
        return;
    std::optional<Poll> delivered;
    for (const auto *list : {&polls, &predictions}) {
        if (!delivered && *list) {
            for (const Poll &poll : **list) {
                if (poll.id == card->identifier()) {
                    delivered = poll;
                    break;
                }
            }
        }
    }
    if (!delivered)
        return;
    qint64 total = 0;
    for (const PollAnswer &answer : delivered->answers)
        total = checkedAdd(total, answer.totals.value_or(0), "live poll votes");
    // Figures never go below what the card shows.
    if (total <= pollCard->totalVotes())
        return;
    for (VTAPollAnswerView *row : pollCard->answerViews()) {
        for (const PollAnswer &answer : delivered->answers) {
            if (row->answer() == answer.answer) {
                row->setStats(answer.totals.value_or(0), total);
                break;
            }
        }
    }
}

void OverlayController::didClose(const QString &pollID)
{
    auto *card = qobject_cast<VTAPollView *>(state.currentInteraction.get());
    if (!card || card->identifier().isEmpty() || card->isClosing()
        || card->identifier() != pollID) {
        qCDebug(lcOverlay) << "closing poll" << pollID << "changes nothing: it is not on screen";
        return;
    }
    card->setDidEnd(true);
    if (card->didAnswer())
        return;
    const QString question = card->poll() ? card->poll()->question : QString();
    card->titleLabel()->setProperty("text", question + u" [POLL CLOSED]"_s);
    card->applyState(InteractionState::completed);
    for (VTAPollAnswerView *row : card->answerViews()) {
        if (QQuickItem *stats = row->statsLabel())
            stats->setVisible(true);
    }
    handleInteractionCompleted(false);
}

void OverlayController::didReceivePredictionResult(const PredictionWin &winObject)
{
    const QString pollID = winObject.pollID.value_or(QString());
    const auto prediction = std::find_if(state.predictions.cbegin(), state.predictions.cend(),
                                         [&](const Poll &poll) { return poll.id == pollID; });
    if (prediction == state.predictions.cend()) {
        qCDebug(lcOverlay) << "settled prediction" << pollID
                           << "dropped: not in the channel's content";
        return;
    }
    const std::optional<QString> key = predictionKey(pollID);
    if (!key || !state.predictionResults.contains(*key)) {
        qCDebug(lcOverlay) << "settled prediction" << pollID << "dropped: the viewer did not vote";
        return;
    }
    const QString userAnswer = state.predictionResults.value(*key).answer;
    const bool didWin = userAnswer == winObject.answer;
    if (didWin)
        state.totalCredits += winObject.winAmount;
    if (state.showNotices)
        displayWinNotice(winObject, *prediction, didWin, userAnswer);
}

void OverlayController::displayWinNotice(const PredictionWin &result, const Poll &prediction,
                                         bool didWin, const QString &userAnswer)
{
    printLine(u"VTA showing Notice");
    if (VTANotice *previous = state.currentNotice)
        previous->setParentItem(nullptr); // its own 10-second close still runs, and frees it
    VTALayoutDelegate *layout = state.layoutDelegate;
    VTANotice *custom = layout ? layout->customNoticeView() : nullptr;
    VTANotice *notice = custom ? custom : fromNib<VTANotice>();
    notice->setParent(m_overlay);
    notice->setPosition({m_stage->width(), noticeTop});
    notice->setParentItem(m_stage);
    animateProperty(notice, "x", notice->x() - notice->width(), slideDuration, notice);
    notice->configure(result, prediction, didWin, state.totalCredits, userAnswer, state.designInfo);
    notice->setDelegate(this);
    state.currentNotice = notice;

    // Closes this notice again even if the viewer closed it already: the slide and the focus
    // release repeat, unseen.
    const QPointer<VTANotice> held = notice;
    Scheduler::instance().after(10s, this, [this, held] {
        if (held)
            slideNoticeOut(held, true);
    });
}

void OverlayController::closeNotice(VTANotice *view, bool /*fromButton*/)
{
    slideNoticeOut(view, false);
}

void OverlayController::slideNoticeOut(VTANotice *notice, bool deleteAfter)
{
    notice->setClosing(true);
    QPropertyAnimation *slide =
        animateProperty(notice, "x", notice->x() + notice->width(), slideDuration, notice);
    QObject::connect(slide, &QPropertyAnimation::finished, notice, [notice, deleteAfter] {
        notice->setParentItem(nullptr);
        if (deleteAfter)
            notice->deleteLater();
    });
    if (state.currentNotice == notice)
        state.currentNotice = nullptr;
    if (!state.currentInteraction)
        releaseFocus();
}

} // namespace Vantora
