#pragma once

#include "vantora/overlay/overlaystate_p.h"
#include "vantora/realtime/pusherhelper_p.h"
#include "vantora/views/interactiondelegate_p.h"
#include "vantora/views/notice/noticedelegate_p.h"

#include <vantora/overlay/vtaoverlayview.h>

#include <QObject>

class VTAPollView;
class VTARatingView;
class VTATriviaView;

namespace Vantora {

/// The overlay's behaviour behind VTAOverlayView: one object that is the cards' and notices'
/// delegate and the realtime channel's, holding the session's state. Its work is split by
/// concern over overlaysession.cpp (start-up, sign-in, refresh, reset), overlayscheduling.cpp
/// (the video clock and the catch-up), displaygate.cpp (one card at a time), liveupdates.cpp
/// (answers' replies, live events, notices) and overlayanalytics.cpp. Main thread only.
class OverlayController final : public QObject,
                                public InteractionDelegate,
                                public NoticeDelegate,
                                public PusherHelperDelegate
{
    Q_OBJECT
    Q_INTERFACES(Vantora::InteractionDelegate Vantora::NoticeDelegate)

public:
    explicit OverlayController(VTAOverlayView *overlay);
    ~OverlayController() override;

    /// The controller behind an overlay.
    static OverlayController *of(VTAOverlayView *overlay) { return overlay->d.get(); }

    OverlayState state;
    PusherHelper pusherHelper;

    // Session
    void load(const QString &channelID, const QString &broadcasterName,
              const VTAEnvironment &environment, VTAOverlayDelegate *delegate,
              const QString &language, const std::optional<QString> &userBroadcasterForeignID,
              const std::optional<QString> &userInitialName);
    void setInjectionDelay(std::optional<qint64> seconds);
    bool closeInteractionIfNeeded();
    void leftWindow();
    void authenticate();
    void setUser(const User &user);
    void loadChannel();
    void refreshData();
    void resetContents();
    static std::optional<QString> storedToken();

    // Video clock
    void videoPlaying(double time);
    void videoPaused();
    void scheduleContent(const StreamerInfo &info, double currentTime);
    void handlePreviousInjections();

    // Display gate
    void displayInteraction(const QString &id, const QString &type,
                            const InteractionOptions &options, bool isRetry);
    void closeInteraction(VTAInteractionView *view);
    /// Follows a resize of the overlay: the stage scales to its height, and on the stage cards
    /// keep their distance to the bottom and their left edge, notices their distance to the right
    /// edge, sliding ones included.
    void followResize();
    /// Where cards and notices are laid out: an item over the overlay, 1080 design pixels high
    /// (or more, when the overlay is too narrow for a card), scaled to cover the overlay.
    QQuickItem *stage() const { return m_stage; }

    // InteractionDelegate
    void closeInteraction(VTAInteractionView *view, bool fromButton) override;
    VTAServiceManager::Completion<AnswerTriviaResponse>
    didSelectTriviaAnswer(const QString &answer, const QString &triviaID) override;
    VTAServiceManager::Completion<AnswerPollResponse>
    didSelectPollAnswer(const QString &answer, const QString &pollID,
                        const QString &pollType) override;
    VTAServiceManager::Completion<AnswerRatingResponse>
    didSelectRatingAnswer(qint64 answer, const QString &ratingID) override;
    void didEndPoll() override { }
    std::optional<QString> userToken() const override;
    QString channelID() const override { return state.channelID; }
    QString broadcaster() const override { return state.broadcaster; }
    void handleInteractionCompleted(bool didClose) override;
    void sendAnalyticsEvent(const AnalyticsInfo &info, const QString &type,
                            bool isActivity) override;

    // NoticeDelegate
    void closeNotice(VTANotice *view, bool fromButton) override;

    // PusherHelperDelegate
    void inject(const Poll &poll, const InteractionOptions &options, qint64 timestamp) override;
    void inject(const Rating &rating, const InteractionOptions &options, qint64 timestamp) override;
    void inject(const QString &triviaID, const InteractionOptions &options,
                qint64 timestamp) override;
    void updatedInfo(const std::optional<QList<Poll>> &polls,
                     const std::optional<QList<Rating>> &ratings,
                     const std::optional<QList<Poll>> &predictions) override;
    void didClose(const QString &pollID) override;
    void didReceivePredictionResult(const PredictionWin &winObject) override;
    void didRequestRefresh() override { refreshData(); }

private:
    // Session
    /// Prints the "VTA" line of a failed step, logs why and tells the host.
    void failSession(QStringView line, VTAOverlayView::SessionFailure failure,
                     const QString &reason);
    void checkChannel(const ServiceResult<QList<Channel>> &channels);
    void getChannelInfo(const ServiceResult<StreamerInfo> &info, bool isRefresh);
    void clearTimers();

    // Video clock
    void clockFired(TimerId timer, const Clock &entry);

    // Display gate
    void completeDisplayInteraction(const QString &id, const QString &type,
                                    const InteractionOptions &options);
    void displayPoll(const Poll &poll, qint64 time);
    void displayRating(const Rating &rating, qint64 time);
    void displayTrivia(const Trivia &trivia, qint64 time);
    /// Places a configured card below or beside the overlay, shows it and slides it in.
    void presentInteraction(VTAInteractionView *view);
    void handleInteractionStart(bool pause, bool closeAfter, bool didAnswer, qint64 autocloseTime,
                                const QString &id);
    /// Logs the card's kind, makes the host's card or the built-in one, configures it with the
    /// viewer's points and presents it.
    template <class View, class Configure>
    void showCard(QStringView logLine, View *(VTALayoutDelegate::*custom)(), Configure configure);

    // Answers and live events
    void updatePoints(double expointsGiven, const std::optional<double> &giftPointsGiven,
                      const std::optional<UserLevel> &userLevel);
    void readLevel(const std::optional<UserLevel> &userLevel);
    void showPoints();
    void reportEngagement();
    std::optional<QString> predictionKey(const QString &pollID) const;
    void displayWinNotice(const PredictionWin &result, const Poll &prediction, bool didWin,
                          const QString &userAnswer);
    void slideNoticeOut(VTANotice *notice, bool deleteAfter);

    // Host delegate, with the overlay's signals.
    void requestPause();
    void requestPlay();
    void requestFocus();
    void releaseFocus();

    VTAOverlayView *m_overlay;
    QQuickItem *m_stage;
};

} // namespace Vantora
