#pragma once

#include <vantora/records/interactionrecords.h>
#include <vantora/records/userrecords.h>

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>
#include <variant>

namespace Vantora {

// The seven events the broadcaster's console pushes on a channel, read from their data texts.

struct InjectedPoll ///< "injectPoll"
{
    Poll poll;
    InteractionOptions options;
    qint64 timestamp = 0; ///< "starting_time", passed on unchanged
};

struct InjectedRating ///< "injectRating"
{
    Rating rating;
    InteractionOptions options;
    qint64 timestamp = 0;
};

struct InjectedTrivia ///< "injectQuiz": the question is fetched by its id
{
    QString triviaID;
    InteractionOptions options;
    qint64 timestamp = 0;
};

struct UpdatedInfo ///< "streamerInfo": at least one list is present; an empty one counts
{
    std::optional<QList<Poll>> polls;
    std::optional<QList<Rating>> ratings;
    std::optional<QList<Poll>> predictions;
};

struct ClosedPoll ///< "stop_poll"
{
    QString pollID;
};

struct WonPrediction ///< "pollWin"
{
    PredictionWin win;
};

struct RefreshRequest ///< "initiateRefresh"
{ };

using LiveEvent = std::variant<InjectedPoll, InjectedRating, InjectedTrivia, UpdatedInfo,
                               ClosedPoll, WonPrediction, RefreshRequest>;

/// "injectPoll", "injectRating", "injectQuiz", "streamerInfo", "stop_poll", "pollWin",
/// "initiateRefresh": the order in which the channel binds them.
const QStringList &liveEventNames();

/// Reads one event from its data text (absent when the frame carried none). Gives nothing for
/// any other name and for every malformed payload, which it counts and explains at debug level
/// in `vantora.realtime`. Never throws, whatever the text.
std::optional<LiveEvent> readLiveEvent(QStringView name, const std::optional<QString> &data);

/// Injections and wins line up with the broadcast picture, so they wait for the injection
/// delay; the other events are delivered at once.
bool waitsForInjectionDelay(const LiveEvent &event);

/// A decimal number written as text ("2.5", "+2", ".5", "1e3", "0x1p3", "inf"), the whole text
/// and nothing else, in any locale; nothing when it is not one.
std::optional<double> parseDecimal(QStringView text);

} // namespace Vantora
