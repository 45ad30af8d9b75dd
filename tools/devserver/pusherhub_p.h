#pragma once

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <memory>

QT_BEGIN_NAMESPACE
class QTimer;
class QWebSocket;
QT_END_NAMESPACE

// The Pusher protocol (version 7) on the server's side of a websocket, for public and private
// channels:
//
//   S->C
//   {"event":"pusher:connection_established","data":"{\"socket_id\":\"81.3\",\"activity_timeout\":120}"}
//   C->S {"event":"pusher:subscribe","data":{"channel":"CH_42"}}
//   S->C {"event":"pusher_internal:subscription_succeeded","channel":"CH_42","data":"{}"}
//   S->C {"event":"injectPoll","channel":"CH_42","data":"{...}"}      (publish())
//   C->S {"event":"pusher:ping","data":{}}  ->  S->C {"event":"pusher:pong","data":"{}"}
//
// A connection must ask for /app/<key>?protocol=5..7: another key closes it with 4001, no
// protocol with 4008, another protocol with 4007, each after a pusher:error with the same code.
// Every frame from the client and every websocket pong counts as activity; after
// activity_timeout seconds of silence the server sends a websocket ping and closes with 4201 when
// no pong comes within the pong timeout. Client events and unknown pusher: events get a
// pusher:error 4301 and the connection stays open; malformed frames get a pusher:error too.
//
// A private channel ("private-<name>") takes a subscriber whose pusher:subscribe carries
// "auth": "<app key>:<hex HMAC-SHA256 of '<socket_id>:<channel>' under the app secret>", which the
// server's own auth endpoint hands out (channelAuth()); others get a pusher:subscription_error
// with status 401. Presence channels are refused.

namespace Vantora::DevServer {

struct PusherApp
{
    QString id;
    QString key; ///< the key publishers sign with, and clients connect with
    QString secret;
};

/// Compares secrets in a time that depends on their lengths only, not on where they differ.
bool equalInConstantTime(QByteArrayView a, QByteArrayView b);

/// Whether a channel name is acceptable: [A-Za-z0-9_\-=@,.;]{1,164}.
bool isValidChannelName(QStringView name);

class PusherHub : public QObject
{
    Q_OBJECT
public:
    struct Timing
    {
        int activityTimeoutSeconds = 120; ///< sent in the handshake, and the server's own
        int pongTimeoutMs = 30000;
    };

    /// Misbehaviour on request, so that a client's tests can meet a difficult server. Applies to
    /// connections made after it is set (pings: at once).
    struct Quirks
    {
        int handshakeDelayMs = 0; ///< -1: never send pusher:connection_established
        bool answerPings = true; ///< false: pusher:ping gets no pusher:pong
        int activityTimeoutSeconds = 0; ///< above 0: announced and used instead of the usual
    };

    PusherHub(PusherApp app, Timing timing, QObject *parent = nullptr);
    ~PusherHub() override;

    const PusherApp &app() const { return m_app; }
    /// Further keys that clients may connect with, beside the app's own.
    void setOtherClientKeys(const QStringList &keys) { m_otherClientKeys = keys; }

    /// Takes over an upgraded connection: checks its URL, then sends the handshake.
    void addConnection(std::unique_ptr<QWebSocket> socket);

    /// Sends one event to every subscriber of each channel, once per socket and channel, except
    /// to the connection `excludedSocketId`. Returns the number of frames sent.
    qsizetype publish(const QStringList &channels, const QString &event, const QString &data,
                      const QString &excludedSocketId = {});

    /// The "auth" a connection needs to subscribe to a private channel.
    QString channelAuth(const QString &socketId, const QString &channel) const;

    qsizetype connectionCount() const { return m_connections.size(); }
    qsizetype subscriberCount(const QString &channel) const;
    /// Every channel with at least one subscriber.
    QStringList occupiedChannels() const;

    /// Closes every connection with 1001 (going away); clients reconnect by themselves.
    void closeAll();

    // Test hooks, by socket id; each returns false for an unknown connection.
    struct ConnectionInfo
    {
        QString socketId;
        QStringList channels;
    };
    QList<ConnectionInfo> connections() const;
    /// A close frame with this code and reason.
    bool closeConnection(const QString &socketId, int code, const QString &reason);
    /// The TCP connection ends without a close frame.
    bool dropConnection(const QString &socketId);
    /// One text frame, exactly as given.
    bool sendRaw(const QString &socketId, const QString &frame);
    void setQuirks(const Quirks &quirks) { m_quirks = quirks; }
    const Quirks &quirks() const { return m_quirks; }

Q_SIGNALS:
    /// A channel gained or lost a subscriber.
    void subscribersChanged(const QString &channel, qsizetype count);

private:
    struct Connection;
    void leave(QWebSocket *socket, const QString &channel);
    void handleFrame(Connection &connection, const QString &frame);
    void sendEvent(Connection &connection, const QString &event, const QString &data,
                   const QString &channel = {});
    void sendError(Connection &connection, int code, const QString &message);
    void refuse(QWebSocket *socket, int code, const QString &message);
    void touch(Connection &connection);
    void drop(QWebSocket *socket);

    PusherApp m_app;
    QStringList m_otherClientKeys;
    QWebSocket *socketOf(const QString &socketId) const;

    Timing m_timing;
    Quirks m_quirks;
    QHash<QWebSocket *, std::shared_ptr<Connection>> m_connections;
    QHash<QString, QSet<QWebSocket *>> m_channels;
    quint64 m_nextSocket = 0;
};

} // namespace Vantora::DevServer
