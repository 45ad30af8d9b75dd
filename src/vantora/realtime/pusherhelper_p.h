#pragma once

#include <vantora/records/interactionrecords.h>
#include <vantora/records/userrecords.h>

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>
#include <optional>

class VTAEnvironment;

namespace Vantora {

class PusherClient;

/// What the channel's live events become: one call per event, on the main thread. The overlay
/// implements it; PusherHelper holds it weakly.
class PusherHelperDelegate
{
public:
    /// "injectPoll": show this poll (or prediction) now.
    virtual void inject(const Poll &poll, const InteractionOptions &options, qint64 timestamp) = 0;
    /// "injectRating": show this rating now.
    virtual void inject(const Rating &rating, const InteractionOptions &options,
                        qint64 timestamp) = 0;
    /// "injectQuiz": fetch the trivia question with this id and show it.
    virtual void inject(const QString &triviaID, const InteractionOptions &options,
                        qint64 timestamp) = 0;
    /// "streamerInfo": fresh lists of the channel's items; at least one is present.
    virtual void updatedInfo(const std::optional<QList<Poll>> &polls,
                             const std::optional<QList<Rating>> &ratings,
                             const std::optional<QList<Poll>> &predictions) = 0;
    /// "stop_poll": the poll with this id closed.
    virtual void didClose(const QString &pollID) = 0;
    /// "pollWin": the viewer's prediction won.
    virtual void didReceivePredictionResult(const PredictionWin &winObject) = 0;
    /// "initiateRefresh": reload everything.
    virtual void didRequestRefresh() = 0;

protected:
    ~PusherHelperDelegate() = default;
};

/// Keeps the overlay subscribed to its channel ("CH_" + channel id) and turns the channel's
/// seven events into calls on its delegate.
///
///   PusherHelper helper;
///   helper.setDelegate(overlay, overlay); // the overlay is both the delegate and a QObject
///   helper.setInjectionDelay(5);
///   helper.connect(channelID, broadcaster, environment);
///   ...
///   helper.close(); // leaving the window
///
/// Every call is posted to the main thread's event loop: the three injections and "pollWin"
/// after the injection delay when one is set, the others at once. The delegate is looked up when
/// the call runs; if its lifetime object is gone by then, nothing happens. Every malformed event
/// is dropped without a call, and explained at debug level in `vantora.realtime`. The connection
/// itself reports nothing; it reconnects on its own. Main thread only.
class PusherHelper final : public QObject
{
    Q_OBJECT

public:
    explicit PusherHelper(QObject *parent = nullptr);
    ~PusherHelper() override;

    /// Calls go to `delegate` while `lifetime` lives; neither is owned. Null clears it.
    void setDelegate(PusherHelperDelegate *delegate, QObject *lifetime);
    /// The delegate, or null once its lifetime object is gone.
    PusherHelperDelegate *delegate() const;

    /// Seconds by which injections and wins are held back; absent: delivered at once.
    std::optional<qint64> injectionDelay() const { return m_injectionDelay; }
    void setInjectionDelay(std::optional<qint64> seconds) { m_injectionDelay = seconds; }

    /// Creates a client for the environment's realtime key and cluster (on the deployment's
    /// realtime host), connects it, subscribes to "CH_" + `channelID` and binds the events. The
    /// broadcaster plays no part. A second call replaces the client and channel; the earlier
    /// client is released, and its socket with it.
    void connect(const QString &channelID, const QString &broadcaster,
                 const VTAEnvironment &environment);
    /// Binds the seven events on the channel; connect() calls it.
    void registerEvents();
    /// Disconnects the client, if there is one.
    void close();

    /// The client and the channel's name, once connect() has made them.
    PusherClient *pusher() const { return m_pusher.get(); }
    std::optional<QString> channel() const { return m_channel; }

    /// What the handler bound to `name` does with an event's data text: read it, then post the
    /// delegate's call. Open so that events can be fed without a socket.
    void handleEvent(const QString &name, const std::optional<QString> &data);

private:
    std::optional<QString> m_channel;
    std::unique_ptr<PusherClient> m_pusher;
    PusherHelperDelegate *m_delegate = nullptr;
    QPointer<QObject> m_delegateLifetime;
    std::optional<qint64> m_injectionDelay;
};

} // namespace Vantora
