#include "vantora/realtime/pusherclient_p.h"

#include "vantora/realtime/realtimelogging_p.h"
#include "vantora/toolkit/qtcompat_p.h"

#include <vantora/version.h>

#include <QUrlQuery>
#include <QWebSocket>

#include <algorithm>
#include <utility>

namespace Vantora {

using namespace Qt::Literals::StringLiterals;

Q_LOGGING_CATEGORY(lcRealtime, "vantora.realtime", QtInfoMsg)

using namespace std::chrono_literals;

namespace {

constexpr auto longestBackOff = 120s;

const QString connectionEstablished = QStringLiteral("pusher:connection_established");
const QString errorEvent = QStringLiteral("pusher:error");
const QString pingEvent = QStringLiteral("pusher:ping");
const QString pongEvent = QStringLiteral("pusher:pong");
const QString subscribeEvent = QStringLiteral("pusher:subscribe");
const QString unsubscribeEvent = QStringLiteral("pusher:unsubscribe");
const QString subscriptionSucceededEvent = QStringLiteral("pusher_internal:subscription_succeeded");
const QString subscriptionErrorEvent = QStringLiteral("pusher:subscription_error");

bool isProtocolEvent(const QString &event)
{
    return event.startsWith(QLatin1StringView("pusher:"))
        || event.startsWith(QLatin1StringView("pusher_internal:"));
}

QJsonObject channelData(const QString &channel)
{
    return QJsonObject{{QStringLiteral("channel"), channel}};
}

} // namespace

PusherClient::PusherClient(QString key, PusherOptions options, QObject *parent)
    : QObject(parent), m_key(std::move(key)), m_options(std::move(options)),
      m_activityTimeout(m_options.activityTimeout)
{ }

PusherClient::~PusherClient()
{
    cancelTimers();
    if (m_socket) {
        QObject::disconnect(m_socket, nullptr, this, nullptr);
        m_socket->abort();
    }
    if (m_closingSocket)
        m_closingSocket->abort();
}

QUrl PusherClient::url() const
{
    QUrl url;
    url.setScheme(m_options.useTLS ? QStringLiteral("wss") : QStringLiteral("ws"));
    url.setHost(m_options.host.isEmpty() ? u"ws-"_s + m_options.cluster + u".pusher.com"_s
                                         : m_options.host);
    url.setPort(m_options.port.value_or(m_options.useTLS ? 443 : 80));
    url.setPath(u"/app/"_s + m_key);
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("protocol"), QStringLiteral("7"));
    query.addQueryItem(QStringLiteral("client"), QStringLiteral("vantora-cpp"));
    query.addQueryItem(QStringLiteral("version"), QStringLiteral(VANTORA_VERSION_STRING));
    url.setQuery(query);
    return url;
}

void PusherClient::connect()
{
    if (m_state == State::Connecting || m_state == State::Connected)
        return;
    if (m_state == State::WaitingToReconnect) {
        Scheduler::instance().cancel(std::exchange(m_retryTimer, 0));
    } else {
        m_failedAttempts = 0;
    }
    openSocket();
}

void PusherClient::disconnect()
{
    cancelTimers();
    detachSocket(true);
    m_socketId.clear();
    for (bool &confirmed : m_channels)
        confirmed = false;
    m_failedAttempts = 0;
    setState(State::Disconnected);
}

void PusherClient::subscribe(const QString &channel)
{
    if (m_channels.contains(channel))
        return;
    m_channels.insert(channel, false);
    if (m_state == State::Connected)
        send(subscribeEvent, channelData(channel));
}

void PusherClient::unsubscribe(const QString &channel)
{
    if (!m_channels.remove(channel))
        return;
    if (m_state == State::Connected)
        send(unsubscribeEvent, channelData(channel));
}

bool PusherClient::isSubscribed(const QString &channel) const
{
    return m_channels.value(channel, false);
}

void PusherClient::bind(const QString &channel, const QString &event, QObject *context,
                        EventHandler handler)
{
    m_bindings[channel].insert(event, Binding{context, std::move(handler)});
}

void PusherClient::setState(State state)
{
    if (m_state == state)
        return;
    m_state = state;
    Q_EMIT stateChanged(state);
}

void PusherClient::openSocket()
{
    // One socket at a time: one still closing at our request is dropped now.
    if (m_closingSocket) {
        m_closingSocket->abort();
        m_closingSocket->deleteLater();
    }
    m_socket = new QWebSocket(QString(), QWebSocketProtocol::VersionLatest, this);
    QObject::connect(m_socket, &QWebSocket::textMessageReceived, this, &PusherClient::handleText);
    QObject::connect(m_socket, &QWebSocket::binaryMessageReceived, this, [this] {
        noteActivity();
        qCDebug(lcRealtime) << "dropped a binary frame";
    });
    QObject::connect(m_socket, &QWebSocket::pong, this, &PusherClient::noteActivity);
    QObject::connect(m_socket, &QWebSocket::disconnected, this, &PusherClient::handleSocketLoss);
    QObject::connect(m_socket, QtCompat::webSocketErrorSignal(), this,
                     &PusherClient::handleSocketLoss);

    setState(State::Connecting);
    m_connectTimer = Scheduler::instance().after(m_options.connectTimeout, this, [this] {
        m_connectTimer = 0;
        qCDebug(lcRealtime) << "no handshake within" << m_options.connectTimeout.count() << "ms";
        detachSocket(false);
        lose(Retry::BackOff);
    });
    const QUrl target = url();
    qCDebug(lcRealtime) << "connecting to" << target.toString();
    m_socket->open(target); // may fail at once, through handleSocketLoss()
}

void PusherClient::detachSocket(bool closeGracefully)
{
    QWebSocket *socket = std::exchange(m_socket, nullptr);
    if (!socket)
        return;
    QObject::disconnect(socket, nullptr, this, nullptr);
    if (closeGracefully && socket->state() == QAbstractSocket::ConnectedState) {
        // Let the close frame go out and the server answer; the socket then goes by itself (or
        // at the next attempt, or with the client, if the server never answers).
        if (m_closingSocket)
            m_closingSocket->abort();
        m_closingSocket = socket;
        QObject::connect(socket, &QWebSocket::disconnected, socket, &QObject::deleteLater);
        socket->close(QWebSocketProtocol::CloseCodeNormal);
    } else {
        socket->abort();
        socket->deleteLater();
    }
}

void PusherClient::cancelTimers()
{
    auto &scheduler = Scheduler::instance();
    for (TimerId *timer : {&m_connectTimer, &m_activityTimer, &m_pongTimer, &m_retryTimer})
        scheduler.cancel(std::exchange(*timer, 0));
}

void PusherClient::handleText(const QString &message)
{
    noteActivity();
    const std::optional<PusherFrame> frame = parsePusherFrame(message.toUtf8());
    if (!frame) {
        qCDebug(lcRealtime) << "dropped a frame that is not a Pusher event:" << message.left(200);
        return;
    }
    const QString &event = frame->event;
    if (event == connectionEstablished)
        return handleHandshake(*frame);

    if (event == errorEvent) {
        const PusherError error = readPusherError(frame->data.value_or(QByteArray()));
        if (m_state != State::Connecting) {
            Q_EMIT errorReceived(error.code, error.message);
            return;
        }
        // Instead of a handshake: the server refuses us as it would with a close code.
        detachSocket(true);
        if (error.code)
            handleClose(*error.code, error.message);
        else
            lose(Retry::BackOff);
        return;
    }

    if (m_state != State::Connected) {
        qCDebug(lcRealtime) << "dropped" << event << "before the handshake";
        return;
    }
    if (event == pingEvent) {
        send(pongEvent, {});
    } else if (event == subscriptionSucceededEvent) {
        if (frame->channel && m_channels.contains(*frame->channel)
            && !m_channels.value(*frame->channel)) {
            m_channels[*frame->channel] = true;
            Q_EMIT subscriptionSucceeded(*frame->channel);
        }
    } else if (event == subscriptionErrorEvent) {
        if (frame->channel && m_channels.contains(*frame->channel)) {
            qCWarning(lcRealtime).noquote()
                << "the server refused the subscription to" << *frame->channel << ":"
                << QString::fromUtf8(frame->data.value_or(QByteArray()));
            Q_EMIT subscriptionFailed(*frame->channel,
                                      QString::fromUtf8(frame->data.value_or(QByteArray())));
        }
    } else if (isProtocolEvent(event)) {
        if (event != pongEvent)
            qCDebug(lcRealtime) << "ignored" << event;
    } else {
        handleEvent(*frame);
    }
}

void PusherClient::handleHandshake(const PusherFrame &frame)
{
    if (m_state != State::Connecting) {
        qCDebug(lcRealtime) << "ignored a second handshake";
        return;
    }
    const std::optional<PusherHandshake> handshake =
        readPusherHandshake(frame.data.value_or(QByteArray()));
    if (!handshake) {
        qCDebug(lcRealtime) << "handshake without a socket id";
        detachSocket(true);
        lose(Retry::BackOff);
        return;
    }
    Scheduler::instance().cancel(std::exchange(m_connectTimer, 0));
    m_socketId = handshake->socketId;
    m_activityTimeout = m_options.activityTimeout;
    if (handshake->activityTimeoutSeconds) {
        constexpr qint64 aDay = 24 * 3600; // longer makes no difference, and stays in range
        const auto server =
            std::chrono::seconds(std::min<qint64>(*handshake->activityTimeoutSeconds, aDay));
        m_activityTimeout = std::min<std::chrono::milliseconds>(m_activityTimeout, server);
    }
    m_failedAttempts = 0;
    m_state = State::Connected; // quietly, so that the subscriptions go out before anyone hears
    for (auto it = m_channels.begin(); it != m_channels.end(); ++it) {
        it.value() = false;
        send(subscribeEvent, channelData(it.key()));
    }
    noteActivity();
    qCDebug(lcRealtime) << "connected as" << m_socketId;
    Q_EMIT stateChanged(State::Connected);
}

void PusherClient::handleEvent(const PusherFrame &frame)
{
    if (!frame.channel || !m_channels.contains(*frame.channel)) {
        qCDebug(lcRealtime) << "dropped" << frame.event << "outside the channels subscribed";
        return;
    }
    const Binding binding = m_bindings.value(*frame.channel).value(frame.event);
    if (!binding.context || !binding.handler) {
        qCDebug(lcRealtime) << "dropped" << frame.event << "on" << *frame.channel
                            << "(nothing bound)";
        return;
    }
    std::optional<QString> data;
    if (frame.data && frame.dataIsText)
        data = QString::fromUtf8(*frame.data);
    binding.handler(data);
}

void PusherClient::handleSocketLoss()
{
    if (!m_socket)
        return;
    const int code = m_socket->closeCode();
    const QString reason = m_socket->closeReason();
    qCDebug(lcRealtime) << "connection lost:" << code << reason << m_socket->errorString();
    detachSocket(false);
    handleClose(code, reason);
}

void PusherClient::handleClose(int code, const QString &reason)
{
    if (code >= 4000 && code <= 4099) {
        // The server will not have this client (a wrong key, an app it does not know):
        // nothing live arrives until the next load, so say so whatever the logging rules.
        qCWarning(lcRealtime).noquote() << "the realtime server refused the connection with" << code
                                        << reason << "; no live events until the next load";
        lose(Retry::Never);
        Q_EMIT errorReceived(code, reason);
    } else if (code >= 4100 && code <= 4199) {
        qCWarning(lcRealtime).noquote()
            << "the realtime server is over capacity:" << code << reason;
        lose(Retry::BackOffAtLeastASecond);
    } else if (code >= 4200 && code <= 4299) {
        lose(Retry::AtOnce);
    } else {
        lose(Retry::BackOff);
    }
}

void PusherClient::lose(Retry retry)
{
    cancelTimers();
    m_socketId.clear();
    for (bool &confirmed : m_channels)
        confirmed = false;
    if (retry == Retry::Never || !m_options.autoReconnect) {
        setState(State::Disconnected);
        return;
    }

    std::chrono::milliseconds delay{0};
    if (retry != Retry::AtOnce) {
        const qint64 n = m_failedAttempts++;
        delay = n >= longestBackOff.count() ? longestBackOff : std::chrono::seconds(n * n);
        delay = std::min<std::chrono::milliseconds>(delay, longestBackOff);
        if (retry == Retry::BackOffAtLeastASecond)
            delay = std::max<std::chrono::milliseconds>(delay, 1s);
    }
    qCDebug(lcRealtime) << "reconnecting in" << delay.count() << "ms";
    m_retryTimer = Scheduler::instance().after(delay, this, [this] {
        m_retryTimer = 0;
        openSocket();
    });
    setState(State::WaitingToReconnect);
}

void PusherClient::noteActivity()
{
    if (m_state != State::Connected)
        return;
    auto &scheduler = Scheduler::instance();
    scheduler.cancel(std::exchange(m_pongTimer, 0));
    scheduler.cancel(m_activityTimer);
    m_activityTimer = scheduler.after(m_activityTimeout, this, [this] {
        m_activityTimer = 0;
        sendPing();
    });
}

void PusherClient::sendPing()
{
    send(pingEvent, {});
    m_pongTimer = Scheduler::instance().after(m_options.pongTimeout, this, [this] {
        m_pongTimer = 0;
        qCDebug(lcRealtime) << "no answer to a ping";
        detachSocket(false);
        lose(Retry::BackOff);
    });
}

void PusherClient::send(const QString &event, const QJsonObject &data)
{
    if (m_socket)
        m_socket->sendTextMessage(QString::fromUtf8(writePusherFrame(event, data)));
}

} // namespace Vantora
