#include "pusherhub_p.h"

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageAuthenticationCode>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTimer>
#include <QUrlQuery>
#include <QWebSocket>

using namespace Qt::Literals::StringLiterals;

namespace Vantora::DevServer {

namespace {

enum CloseCode {
    GoingAway = 1001,
    AppDoesNotExist = 4001,
    UnsupportedProtocol = 4007,
    NoProtocol = 4008,
    PongNotReceived = 4201,
    ClientEventRejected = 4301,
};

// QWebSocketProtocol::CloseCode names only the standard codes; the application's range 4000-4999
// travels through the same parameter, and Qt writes the number as it is.
void closeWith(QWebSocket *socket, int code, const QString &reason)
{
    socket->close(static_cast<QWebSocketProtocol::CloseCode>(code), reason);
}

QString compact(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QString eventFrame(const QString &event, const QJsonValue &data, const QString &channel)
{
    QJsonObject frame{{u"event"_s, event}, {u"data"_s, data}};
    if (!channel.isEmpty())
        frame.insert(u"channel"_s, channel);
    return compact(frame);
}

} // namespace

struct PusherHub::Connection
{
    QWebSocket *socket = nullptr;
    QString socketId;
    QSet<QString> channels;
    QTimer *activity = nullptr; ///< silence before the server pings
    QTimer *pong = nullptr; ///< wait for the pong after that ping
};

bool equalInConstantTime(QByteArrayView a, QByteArrayView b)
{
    if (a.size() != b.size())
        return false;
    unsigned char difference = 0;
    for (qsizetype i = 0; i < a.size(); ++i)
        difference |= static_cast<unsigned char>(a[i] ^ b[i]);
    return difference == 0;
}

bool isValidChannelName(QStringView name)
{
    static const QRegularExpression pattern(u"^[A-Za-z0-9_\\-=@,.;]{1,164}$"_s);
    return pattern.match(name.toString()).hasMatch();
}

PusherHub::PusherHub(PusherApp app, Timing timing, QObject *parent)
    : QObject(parent), m_app(std::move(app)), m_timing(timing)
{ }

PusherHub::~PusherHub()
{
    for (const auto &connection : std::as_const(m_connections)) {
        connection->socket->disconnect(this);
        connection->socket->abort();
    }
}

void PusherHub::refuse(QWebSocket *socket, int code, const QString &message)
{
    socket->sendTextMessage(
        eventFrame(u"pusher:error"_s, QJsonObject{{u"code"_s, code}, {u"message"_s, message}}, {}));
    closeWith(socket, code, message);
}

void PusherHub::addConnection(std::unique_ptr<QWebSocket> owned)
{
    QWebSocket *socket = owned.release();
    socket->setParent(this);
    connect(socket, &QWebSocket::disconnected, this, [this, socket] { drop(socket); });

    const QUrl url = socket->requestUrl();
    const QString path = url.path();
    const QString key = path.section(u'/', 2);
    if (!path.startsWith(u"/app/"_s) || (key != m_app.key && !m_otherClientKeys.contains(key)))
        return refuse(socket, AppDoesNotExist,
                      u"App key "_s + path.section(u'/', 2) + u" does not exist"_s);
    const QUrlQuery query(url);
    if (!query.hasQueryItem(u"protocol"_s))
        return refuse(socket, NoProtocol, u"No protocol version supplied"_s);
    bool isNumber = false;
    const int protocol = query.queryItemValue(u"protocol"_s).toInt(&isNumber);
    if (!isNumber || protocol < 5 || protocol > 7)
        return refuse(socket, UnsupportedProtocol, u"Unsupported protocol version"_s);

    auto connection = std::make_shared<Connection>();
    connection->socket = socket;
    connection->socketId = QString::number(QRandomGenerator::global()->bounded(1000000, 9999999))
        + u'.' + QString::number(++m_nextSocket);
    connection->activity = new QTimer(socket);
    connection->activity->setSingleShot(true);
    const int activityTimeout = m_quirks.activityTimeoutSeconds > 0
        ? m_quirks.activityTimeoutSeconds
        : m_timing.activityTimeoutSeconds;
    connection->activity->setInterval(activityTimeout * 1000);
    connection->pong = new QTimer(socket);
    connection->pong->setSingleShot(true);
    connection->pong->setInterval(m_timing.pongTimeoutMs);
    m_connections.insert(socket, connection);

    Connection *c = connection.get();
    connect(socket, &QWebSocket::textMessageReceived, this, [this, c](const QString &frame) {
        touch(*c);
        handleFrame(*c, frame);
    });
    connect(socket, &QWebSocket::binaryMessageReceived, this, [this, c] {
        touch(*c);
        sendError(*c, ClientEventRejected, u"Binary frames are not supported"_s);
    });
    connect(socket, &QWebSocket::pong, this, [this, c] { touch(*c); });
    connect(c->activity, &QTimer::timeout, this, [c] {
        c->socket->ping();
        c->pong->start();
    });
    connect(c->pong, &QTimer::timeout, this,
            [c] { closeWith(c->socket, PongNotReceived, u"Pong reply not received"_s); });

    const auto establish = [this, c, activityTimeout] {
        sendEvent(*c, u"pusher:connection_established"_s,
                  compact(QJsonObject{{u"socket_id"_s, c->socketId},
                                      {u"activity_timeout"_s, activityTimeout}}));
        c->activity->start();
    };
    if (m_quirks.handshakeDelayMs == 0)
        establish();
    else if (m_quirks.handshakeDelayMs > 0)
        QTimer::singleShot(m_quirks.handshakeDelayMs, socket, establish);
}

void PusherHub::touch(Connection &connection)
{
    connection.pong->stop();
    connection.activity->start();
}

void PusherHub::drop(QWebSocket *socket)
{
    if (const auto connection = m_connections.take(socket)) {
        for (const QString &channel : std::as_const(connection->channels))
            leave(socket, channel);
    }
    socket->deleteLater();
}

void PusherHub::leave(QWebSocket *socket, const QString &channel)
{
    auto subscribers = m_channels.find(channel);
    if (subscribers == m_channels.end() || !subscribers->remove(socket))
        return;
    const qsizetype left = subscribers->size();
    if (left == 0)
        m_channels.erase(subscribers);
    Q_EMIT subscribersChanged(channel, left);
}

QString PusherHub::channelAuth(const QString &socketId, const QString &channel) const
{
    const QByteArray signature = QMessageAuthenticationCode::hash(
        (socketId + u':' + channel).toUtf8(), m_app.secret.toUtf8(), QCryptographicHash::Sha256);
    return m_app.key + u':' + QString::fromLatin1(signature.toHex());
}

void PusherHub::sendEvent(Connection &connection, const QString &event, const QString &data,
                          const QString &channel)
{
    connection.socket->sendTextMessage(eventFrame(event, data, channel));
}

void PusherHub::sendError(Connection &connection, int code, const QString &message)
{
    connection.socket->sendTextMessage(
        eventFrame(u"pusher:error"_s, QJsonObject{{u"code"_s, code}, {u"message"_s, message}}, {}));
}

void PusherHub::handleFrame(Connection &connection, const QString &text)
{
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    const QJsonValue event = document.object().value("event"_L1);
    if (!document.isObject() || !event.isString())
        return sendError(connection, ClientEventRejected,
                         u"Frames must be JSON objects with a string \"event\""_s);
    const QString name = event.toString();

    // Clients send data as an object; some send it JSON-encoded, as the server does.
    QJsonObject data = document.object().value("data"_L1).toObject();
    if (const QJsonValue raw = document.object().value("data"_L1); raw.isString())
        data = QJsonDocument::fromJson(raw.toString().toUtf8()).object();

    if (name == "pusher:ping"_L1) {
        if (m_quirks.answerPings)
            sendEvent(connection, u"pusher:pong"_s, u"{}"_s);
        return;
    }
    if (name == "pusher:pong"_L1)
        return;
    if (name == "pusher:subscribe"_L1 || name == "pusher:unsubscribe"_L1) {
        const QString channel = data.value("channel"_L1).toString();
        if (name == "pusher:unsubscribe"_L1) {
            connection.channels.remove(channel);
            return leave(connection.socket, channel);
        }
        QString problem;
        int status = 4009;
        if (!isValidChannelName(channel)) {
            problem = u"Invalid channel name"_s;
        } else if (channel.startsWith("presence-"_L1)) {
            problem = u"Presence channels are not supported by this server"_s;
        } else if (channel.startsWith("private-"_L1)
                   && !equalInConstantTime(data.value("auth"_L1).toString().toUtf8(),
                                           channelAuth(connection.socketId, channel).toUtf8())) {
            problem = u"Invalid signature for the private channel "_s + channel;
            status = 401;
        }
        if (!problem.isEmpty()) {
            connection.socket->sendTextMessage(eventFrame(
                u"pusher:subscription_error"_s,
                QJsonObject{{u"type"_s, status == 401 ? u"AuthError"_s : u"InvalidChannel"_s},
                            {u"error"_s, problem},
                            {u"status"_s, status}},
                channel));
            return;
        }
        connection.channels.insert(channel);
        auto &subscribers = m_channels[channel];
        const bool joined = !subscribers.contains(connection.socket);
        subscribers.insert(connection.socket);
        sendEvent(connection, u"pusher_internal:subscription_succeeded"_s, u"{}"_s, channel);
        if (joined)
            Q_EMIT subscribersChanged(channel, subscribers.size());
        return;
    }
    if (name.startsWith("client-"_L1))
        return sendError(connection, ClientEventRejected,
                         u"Client events are not enabled on public channels"_s);
    sendError(connection, ClientEventRejected, u"Unsupported event "_s + name);
}

qsizetype PusherHub::publish(const QStringList &channels, const QString &event, const QString &data,
                             const QString &excludedSocketId)
{
    qsizetype sent = 0;
    for (const QString &channel : channels) {
        const auto subscribers = m_channels.constFind(channel);
        if (subscribers == m_channels.cend())
            continue;
        const QString frame = eventFrame(event, data, channel);
        // A send can fail and disconnect its socket, which changes the subscriber set.
        const QSet<QWebSocket *> targets = *subscribers;
        for (QWebSocket *socket : targets) {
            const auto connection = m_connections.value(socket);
            if (!connection
                || (!excludedSocketId.isEmpty() && connection->socketId == excludedSocketId))
                continue;
            socket->sendTextMessage(frame);
            // Written now rather than on the socket's next turn of the event loop: one turn
            // per subscriber is what a large audience would otherwise wait for.
            socket->flush();
            ++sent;
        }
    }
    return sent;
}

qsizetype PusherHub::subscriberCount(const QString &channel) const
{
    return m_channels.value(channel).size();
}

QStringList PusherHub::occupiedChannels() const
{
    QStringList channels = m_channels.keys();
    channels.sort();
    return channels;
}

QWebSocket *PusherHub::socketOf(const QString &socketId) const
{
    for (const auto &connection : m_connections) {
        if (connection->socketId == socketId)
            return connection->socket;
    }
    return nullptr;
}

QList<PusherHub::ConnectionInfo> PusherHub::connections() const
{
    QList<ConnectionInfo> list;
    for (const auto &connection : m_connections) {
        QStringList channels(connection->channels.cbegin(), connection->channels.cend());
        channels.sort();
        list.append({connection->socketId, channels});
    }
    std::sort(list.begin(), list.end(),
              [](const auto &a, const auto &b) { return a.socketId < b.socketId; });
    return list;
}

bool PusherHub::closeConnection(const QString &socketId, int code, const QString &reason)
{
    QWebSocket *socket = socketOf(socketId);
    if (socket)
        closeWith(socket, code, reason);
    return socket;
}

bool PusherHub::dropConnection(const QString &socketId)
{
    QWebSocket *socket = socketOf(socketId);
    if (socket)
        socket->abort();
    return socket;
}

bool PusherHub::sendRaw(const QString &socketId, const QString &frame)
{
    QWebSocket *socket = socketOf(socketId);
    if (socket)
        socket->sendTextMessage(frame);
    return socket;
}

void PusherHub::closeAll()
{
    const auto sockets = m_connections.keys();
    for (QWebSocket *socket : sockets)
        closeWith(socket, GoingAway, u"Server shutting down"_s);
}

} // namespace Vantora::DevServer
