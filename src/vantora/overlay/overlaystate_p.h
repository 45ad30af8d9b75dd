#pragma once

#include "vantora/toolkit/scheduler_p.h"

#include <vantora/overlay/vtaoverlayview.h>
#include <vantora/records/interactionrecords.h>
#include <vantora/records/streamerinfo.h>
#include <vantora/records/userrecords.h>
#include <vantora/records/vtaenvironment.h>

#include <QHash>
#include <QList>
#include <QPointer>
#include <QString>

#include <optional>

class VTAInteractionView;
class VTANotice;

namespace Vantora {

/// Everything one overlay remembers about its session, with the values of a new overlay. The
/// session, the video clock, the display gate, the live updates and the analytics all read and
/// write this one record.
struct OverlayState
{
    QString language = QStringLiteral("en"); ///< stored, never sent: analytics say "en"
    QString broadcaster;
    QString channelID;
    VTAEnvironment environment = VTAEnvironment::testDefault();
    std::optional<QString> userBroadcasterForeignID;
    std::optional<QString> userInitialName;
    std::optional<DesignInfo> designInfo;
    /// Never set: a refresh replaces the lists without laying the clock's timers again.
    bool isPlaying = false;
    std::optional<StreamerInfo> channelInfo;
    QList<Poll> polls;
    QList<Rating> ratings;
    QList<Poll> predictions;
    QHash<QString, QString> pollAnswers; ///< poll id to the viewer's answer
    QHash<QString, QString> ratingAnswers; ///< rating id to the viewer's rating, as text
    QHash<QString, PredictionResult> predictionResults; ///< by predictionKey()
    double totalCredits = 0;
    double totalExpoints = 0;
    qint64 level = 0;
    QPointer<VTAInteractionView> currentInteraction;
    QPointer<VTANotice> currentNotice;
    std::optional<User> user;
    QPointer<VTAOverlayDelegate> delegate;
    QPointer<VTALayoutDelegate> layoutDelegate;
    QList<TimerId> timerList; ///< the clock entries' one-shot timers
    double lastClockRefreshTime = 0; ///< video seconds at the last laying of the timers
    double lastClockRefreshTimeStamp = 0; ///< wall-clock seconds since 1970 at that laying
    bool isStarting = true;
    bool didPauseVideo = false; ///< the overlay paused the video and owes the host a resume
    bool willAutoClose = false;
    qint64 autocloseTime = 5; ///< seconds
    bool animating = false; ///< a card is sliding out
    std::optional<QString> lastPausedClockID;
    std::optional<QString> lastAnalyticsSource; ///< "clock" or "injection"
    std::optional<QString> lastAnalyticsSourceID;
    std::optional<qint64> lastAnalyticsTime;
    double bottomMargin = 0;
    VTAAnimationType animationType = VTAAnimationType::fromBottom;
    bool showNotices = true;
    std::optional<qint64> injectionDelay;
};

} // namespace Vantora
