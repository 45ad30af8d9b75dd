#pragma once

#include "vantora/realtime/pusherframe_p.h"
#include "vantora/toolkit/scheduler_p.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <optional>

class QWebSocket;

namespace Vantora {

/// How a PusherClient reaches the service. With only a cluster it talks to
/// "wss://ws-<cluster>.pusher.com:443"; `host`, `port` and `useTLS` point it elsewhere, such as a
/// deployment's own realtime host or the local dev server.
struct PusherOptions
{
    QString cluster;
    QString host; ///< replaces "ws-<cluster>.pusher.com" when not empty
    std::optional<quint16> port; ///< 443 with TLS, 80 without, when absent
    bool useTLS = true;
    bool autoReconnect = true;
    /// Our own activity time-out; the server's, when shorter, wins.
    std::chrono::milliseconds activityTimeout{std::chrono::seconds(120)};
    /// How long an unanswered ping waits before the connection counts as lost.
    std::chrono::milliseconds pongTimeout{std::chrono::seconds(30)};
    /// How long an attempt may take from opening the socket to the server's handshake.
    std::chrono::milliseconds connectTimeout{std::chrono::seconds(15)};
};

/// A client of the Pusher protocol (v7) on one websocket: public channels only.
///
///   PusherOptions options;
///   options.cluster = u"us2"_s;
///   PusherClient client(key, options);
///   client.subscribe(u"CH_42"_s);
///   client.bind(u"CH_42"_s, u"stop_poll"_s, this, [](const std::optional<QString> &data) {});
///   client.connect();
///   ...
///   client.disconnect();
///
/// Nothing is sent before the server's `pusher:connection_established`; channels asked for
/// earlier are subscribed right after it, and again after every reconnection. The client answers
/// the server's pings, pings an idle server itself, and reconnects on its own after a loss: at
/// once after close codes 4200–4299, after a back-off of n² seconds (n = failed attempts since
/// the last handshake, at most 120 s; at least 1 s for 4100–4199) after anything else, and never
/// after 4000–4099, which it reports through errorReceived(). At most one socket is open at a
/// time. Every timer goes through the Scheduler. Main thread only.
class PusherClient final : public QObject
{
    Q_OBJECT

public:
    enum class State {
        Disconnected, ///< not connected, nor going to be until connect()
        Connecting, ///< a socket is opening or waiting for the server's handshake
        Connected, ///< the handshake arrived
        WaitingToReconnect, ///< lost; the next attempt is laid
    };
    Q_ENUM(State)

    /// Runs with the event's data text, exactly as the server sent it; absent when the frame's
    /// `data` is missing or not a JSON string (an object, a number), as the protocol never sends.
    using EventHandler = std::function<void(const std::optional<QString> &data)>;

    PusherClient(QString key, PusherOptions options, QObject *parent = nullptr);
    /// Drops the socket without a word; no signal or handler runs from here on.
    ~PusherClient() override;

    /// The websocket URL:
    /// "wss://ws-<cluster>.pusher.com:443/app/<key>?protocol=7&client=…&version=…".
    QUrl url() const;
    State state() const { return m_state; }
    /// The connection's id while connected; empty otherwise.
    QString socketId() const { return m_socketId; }
    /// The activity time-out in force on this connection (ours until the handshake).
    std::chrono::milliseconds activityTimeout() const { return m_activityTimeout; }

    /// Opens the connection; does nothing while connecting or connected. While waiting to
    /// reconnect it tries at once.
    void connect();
    /// Closes the socket (with code 1000) if one is open, cancels every timer and any further
    /// attempt. Works in every state; no handler or signal runs after it returns.
    void disconnect();

    /// Asks for a public channel, now if connected, otherwise right after the next handshake.
    void subscribe(const QString &channel);
    /// Leaves a channel: no more of its events, and no subscription after a reconnection.
    void unsubscribe(const QString &channel);
    /// True once the server confirmed the channel on the current connection.
    bool isSubscribed(const QString &channel) const;

    /// Runs `handler` for each `event` on `channel` while `context` lives and the channel is
    /// wanted. One handler per name and channel: binding a name again replaces its handler.
    /// The protocol's own events (`pusher:…`, `pusher_internal:…`) never reach a handler.
    void bind(const QString &channel, const QString &event, QObject *context, EventHandler handler);

Q_SIGNALS:
    void stateChanged(Vantora::PusherClient::State state);
    void subscriptionSucceeded(const QString &channel);
    /// The server refused the channel; it is asked for again only after a reconnection.
    void subscriptionFailed(const QString &channel, const QString &data);
    /// A `pusher:error` that left the connection up, or the code and reason of a close after
    /// which the client will not reconnect.
    void errorReceived(std::optional<int> code, const QString &message);

private:
    enum class Retry { Never, AtOnce, BackOff, BackOffAtLeastASecond };

    struct Binding
    {
        QPointer<QObject> context;
        EventHandler handler;
    };

    void setState(State state);
    void openSocket();
    void detachSocket(bool closeGracefully);
    void cancelTimers();
    void handleText(const QString &message);
    void handleHandshake(const PusherFrame &frame);
    void handleEvent(const PusherFrame &frame);
    void handleSocketLoss();
    void handleClose(int code, const QString &reason);
    void lose(Retry retry);
    void noteActivity();
    void sendPing();
    void send(const QString &event, const QJsonObject &data);

    QString m_key;
    PusherOptions m_options;
    State m_state = State::Disconnected;
    QWebSocket *m_socket = nullptr;
    QPointer<QWebSocket> m_closingSocket; ///< closed by us, waiting for the server's close
    QString m_socketId;
    std::chrono::milliseconds m_activityTimeout;
    int m_failedAttempts = 0;
    QHash<QString, bool> m_channels; ///< wanted channels: confirmed on this connection?
    QHash<QString, QHash<QString, Binding>> m_bindings; ///< channel → event → handler
    TimerId m_connectTimer = 0;
    TimerId m_activityTimer = 0;
    TimerId m_pongTimer = 0;
    TimerId m_retryTimer = 0;
};

} // namespace Vantora
