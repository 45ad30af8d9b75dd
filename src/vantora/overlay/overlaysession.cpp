// The session: start-up with the channel check, sign-in, the channel's content and its refresh,
// and the reset before a second load.

#include "vantora/overlay/overlaycontroller_p.h"
#include "vantora/overlay/overlaylogging_p.h"
#include "vantora/realtime/pusherclient_p.h"
#include "vantora/toolkit/consoleline_p.h"
#include "vantora/toolkit/fonts_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include <vantora/views/infoview/vtainfoview.h>
#include <vantora/views/interactionview/vtainteractionview.h>
#include <vantora/views/notice/vtanotice.h>
#include <vantora/views/poll/vtapollanswerview.h>
#include <vantora/views/poll/vtapollview.h>
#include <vantora/views/rating/vtaratinganswerview.h>
#include <vantora/views/rating/vtaratingview.h>
#include <vantora/views/trivia/vtatriviaanswerview.h>
#include <vantora/views/trivia/vtatriviaview.h>

#include <QSettings>

using namespace Qt::Literals::StringLiterals;

namespace Vantora {

Q_LOGGING_CATEGORY(lcOverlay, "vantora.overlay", QtInfoMsg)

namespace {

// The built-in layouts, compiled once the content has arrived and before anything is due: the
// first live card then appears as fast as the later ones (compiling took it two more frames).
void compileCardLayouts()
{
    for (const QMetaObject *type :
         {&VTAPollView::staticMetaObject, &VTAPollAnswerView::staticMetaObject,
          &VTARatingView::staticMetaObject, &VTARatingAnswerView::staticMetaObject,
          &VTATriviaView::staticMetaObject, &VTATriviaAnswerView::staticMetaObject,
          &VTAInfoView::staticMetaObject, &VTANotice::staticMetaObject})
        compileLayout(*type);
}

const QString tokenKey = u"userToken"_s;

// The backend keys earlier answers by item id and an occasional suffix after "_"; the overlay
// looks them up by item id alone.
QHash<QString, QString> answersByItemID(const std::optional<QMap<QString, QString>> &answers)
{
    QHash<QString, QString> byID;
    if (!answers)
        return byID;
    for (auto it = answers->cbegin(); it != answers->cend(); ++it) {
        const qsizetype cut = it.key().indexOf(u'_');
        byID.insert(cut < 0 ? it.key() : it.key().left(cut), it.value());
    }
    return byID;
}

} // namespace

OverlayController::OverlayController(VTAOverlayView *overlay)
    : m_overlay(overlay), m_stage(new QQuickItem(overlay))
{
    m_stage->setTransformOrigin(QQuickItem::TopLeft);
}

OverlayController::~OverlayController() = default;

void OverlayController::load(const QString &channelID, const QString &broadcasterName,
                             const VTAEnvironment &environment, VTAOverlayDelegate *delegate,
                             const QString &language,
                             const std::optional<QString> &userBroadcasterForeignID,
                             const std::optional<QString> &userInitialName)
{
    // Stored first, so that closing the previous session's card already tells the new delegate.
    state.language = language;
    state.channelID = channelID;
    state.broadcaster = broadcasterName;
    state.environment = environment;
    state.delegate = delegate;
    state.userBroadcasterForeignID = userBroadcasterForeignID;
    state.userInitialName = userInitialName;
    VTAServiceManager::shared().setEnvironment(environment);
    registerFontsIfNeeded();
    if (!state.isStarting)
        resetContents();
    state.isStarting = false;
    VTAServiceManager::shared().checkChannels(
        state.broadcaster, this,
        [this](ServiceResult<QList<Channel>> channels) { checkChannel(channels); });
}

void OverlayController::failSession(QStringView line, VTAOverlayView::SessionFailure failure,
                                    const QString &reason)
{
    printLine(line);
    qCWarning(lcOverlay).noquote() << reason;
    Q_EMIT m_overlay->sessionFailed(failure, reason);
}

void OverlayController::checkChannel(const ServiceResult<QList<Channel>> &channels)
{
    using Failure = VTAOverlayView::SessionFailure;
    if (!channels) {
        failSession(
            u"VTA - Could not verify channel", Failure::ChannelNotVerified,
            u"could not fetch the channel list of broadcaster \"%1\" (%2): %3"_s.arg(
                state.broadcaster, state.environment.envName(), describe(channels.error())));
        return;
    }
    for (const Channel &channel : channels.value()) {
        if (channel.channel == state.channelID) {
            loadChannel();
            return;
        }
    }
    failSession(u"VTA - Channel not found", Failure::ChannelNotFound,
                u"channel \"%1\" is not in the %2 channels of broadcaster \"%3\" (%4)"_s.arg(
                    state.channelID, QString::number(channels.value().size()), state.broadcaster,
                    state.environment.envName()));
}

void OverlayController::loadChannel()
{
    authenticate();
    VTAServiceManager::shared().getChannelInfo(
        state.channelID, state.broadcaster, this,
        [this](ServiceResult<StreamerInfo> info) { getChannelInfo(info, false); });
    pusherHelper.setDelegate(this, this);
    pusherHelper.connect(state.channelID, state.broadcaster, state.environment);
}

std::optional<QString> OverlayController::storedToken()
{
    const QSettings settings;
    if (!settings.contains(tokenKey))
        return std::nullopt;
    return settings.value(tokenKey).toString();
}

std::optional<QString> OverlayController::userToken() const
{
    if (state.user)
        return state.user->token;
    return storedToken();
}

void OverlayController::authenticate()
{
    auto &service = VTAServiceManager::shared();
    // An empty stored token is still a token: the viewer is signed in with it, not registered.
    if (const std::optional<QString> token = storedToken()) {
        service.login(
            *token, state.broadcaster, state.channelID, this, [this](ServiceResult<User> user) {
                if (!user) {
                    failSession(u"VTA - Failed login", VTAOverlayView::SessionFailure::LoginFailed,
                                u"the remembered viewer could not sign in: "_s
                                    + describe(user.error()));
                    return;
                }
                setUser(user.value());
                sendAnalyticsEvent({u"Login_with_token"_s, {}, {}}, u"view"_s, false);
            });
        return;
    }
    service.registerUser(state.broadcaster, state.channelID, state.userBroadcasterForeignID,
                         state.userInitialName, this, [this](ServiceResult<User> user) {
                             if (!user) {
                                 failSession(u"VTA - Failed register",
                                             VTAOverlayView::SessionFailure::RegisterFailed,
                                             u"a new viewer could not be registered: "_s
                                                 + describe(user.error()));
                                 return;
                             }
                             setUser(user.value());
                             QSettings settings;
                             settings.setValue(tokenKey, user.value().token);
                             settings.sync();
                             sendAnalyticsEvent({u"Register"_s, {}, {}}, u"view"_s, false);
                         });
}

void OverlayController::setUser(const User &user)
{
    state.user = user;
    state.pollAnswers = answersByItemID(user.polls);
    state.ratingAnswers = answersByItemID(user.ratings);
    state.predictionResults.clear();
    if (user.predictionsResults) {
        for (auto it = user.predictionsResults->cbegin(); it != user.predictionsResults->cend();
             ++it)
            state.predictionResults.insert(it.key(), it.value());
    }
    state.totalCredits = user.amount_of_credits_won.value_or(0);
    state.totalExpoints = user.expirience_points.value_or(0);
    state.level = user.level;
}

void OverlayController::getChannelInfo(const ServiceResult<StreamerInfo> &result, bool isRefresh)
{
    if (!result) {
        failSession(u"VTA Failed to get channel info",
                    VTAOverlayView::SessionFailure::ChannelInfoFailed,
                    u"could not fetch the content of channel \"%1\": %2"_s.arg(
                        state.channelID, describe(result.error())));
        return;
    }
    const StreamerInfo &info = result.value();
    state.channelInfo = info;
    state.polls = info.polls.value_or(QList<Poll>{});
    state.ratings = info.ratings.value_or(QList<Rating>{});
    state.predictions = info.predictions.value_or(QList<Poll>{});
    state.designInfo.reset();
    for (const DesignInfo &design : info.designs.value_or(QList<DesignInfo>{})) {
        if (design.type == u"SmartTV"_s) {
            state.designInfo = design;
            break;
        }
    }

    if (!isRefresh) {
        scheduleContent(info, 0.0);
        Scheduler::instance().post(this, [] { compileCardLayouts(); });
        Scheduler::instance().after(std::chrono::seconds{2}, this,
                                    [this] { handlePreviousInjections(); });
        return;
    }
    // The overlay never marks itself playing, so a refresh keeps the timers it has.
    if (!state.isPlaying)
        return;
    const double now = Scheduler::instance().wallClockSeconds();
    const double videoTime = state.lastClockRefreshTimeStamp == 0
        ? 0
        : now - state.lastClockRefreshTimeStamp + state.lastClockRefreshTime;
    clearTimers();
    scheduleContent(info, videoTime);
}

void OverlayController::refreshData()
{
    printLine(u"VTA - Data refresh");
    authenticate();
    VTAServiceManager::shared().getChannelInfo(
        state.channelID, state.broadcaster, this,
        [this](ServiceResult<StreamerInfo> info) { getChannelInfo(info, true); });
}

void OverlayController::resetContents()
{
    if (state.currentInteraction)
        closeInteraction(state.currentInteraction);
    else if (state.currentNotice)
        closeNotice(state.currentNotice, false);
    clearTimers();
    state.channelInfo.reset();
    state.polls.clear();
    state.predictions.clear();
    state.ratings.clear();
    state.pollAnswers.clear();
    state.ratingAnswers.clear();
    state.predictionResults.clear();
    state.lastClockRefreshTime = 0;
    state.lastClockRefreshTimeStamp = 0;
    state.lastPausedClockID.reset();
    pusherHelper.close();
}

void OverlayController::clearTimers()
{
    for (const TimerId timer : std::as_const(state.timerList))
        Scheduler::instance().cancel(timer);
    state.timerList.clear();
}

void OverlayController::setInjectionDelay(std::optional<qint64> seconds)
{
    if (seconds && *seconds < 1)
        seconds.reset();
    state.injectionDelay = seconds;
    pusherHelper.setInjectionDelay(seconds);
}

bool OverlayController::closeInteractionIfNeeded()
{
    if (state.currentInteraction) {
        closeInteraction(state.currentInteraction);
        return true;
    }
    if (state.currentNotice) {
        closeNotice(state.currentNotice, false);
        return true;
    }
    return false;
}

void OverlayController::leftWindow()
{
    // Only the live connection goes; the clock's timers and whatever shows stay.
    pusherHelper.close();
}

void OverlayController::requestPause()
{
    if (VTAOverlayDelegate *host = state.delegate)
        host->overlayRequestedPause();
    Q_EMIT m_overlay->pauseRequested();
}

void OverlayController::requestPlay()
{
    if (VTAOverlayDelegate *host = state.delegate)
        host->overlayRequestedPlay();
    Q_EMIT m_overlay->playRequested();
}

void OverlayController::requestFocus()
{
    if (VTAOverlayDelegate *host = state.delegate)
        host->overlayRequestedFocus();
    Q_EMIT m_overlay->focusRequested();
    // Focusing the overlay again changes nothing while it has the focus: a card that replaced
    // another takes it here.
    if (VTAInteractionView *card = state.currentInteraction; card && m_overlay->hasActiveFocus())
        card->focusPreferredItem();
}

void OverlayController::releaseFocus()
{
    if (VTAOverlayDelegate *host = state.delegate)
        host->overlayReleasedFocus();
    Q_EMIT m_overlay->focusReleased();
}

} // namespace Vantora
