#pragma once

// A websocket server in the test's own process that does exactly what the test tells it: send
// any frame, close with any code, drop the connection, or say nothing at all. It records every
// connection and every frame it receives.

#include "vantora/toolkit/virtualtimescheduler_p.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QPointer>
#include <QWebSocket>
#include <QWebSocketServer>

#include <functional>

namespace Vantora::TestSupport {

/// Runs the event loop and what the virtual clock has due, without moving virtual time, until
/// `done` or a real-time deadline; network traffic itself takes real time.
inline bool spinUntil(VirtualTimeScheduler &clock, const std::function<bool()> &done,
                      int deadlineMs = 5000)
{
    QDeadlineTimer deadline(deadlineMs);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        clock.runPending();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

/// Lets real time pass with the event loop running, to see that something does not happen.
inline void settle(VirtualTimeScheduler &clock, int ms = 60)
{
    spinUntil(
        clock, [] { return false; }, ms);
}

class ScriptedServer : public QObject
{
public:
    struct Connection
    {
        QPointer<QWebSocket> socket;
        QUrl url;
        QList<QJsonObject> received; ///< text frames, parsed
        QStringList unparsed; ///< text frames that are not JSON objects
        int pongs = 0;
        bool closed = false;
        int closeCode = 0; ///< the close code the client sent, if it sent one
    };

    ScriptedServer() : m_server(QStringLiteral("scripted"), QWebSocketServer::NonSecureMode)
    {
        listen(0);
        QObject::connect(&m_server, &QWebSocketServer::newConnection, this, [this] {
            while (QWebSocket *socket = m_server.nextPendingConnection())
                accept(socket);
        });
    }

    // The sockets go first, quietly: the listening server's own sockets below them would
    // otherwise report their end to handlers whose records are already gone.
    ~ScriptedServer() override
    {
        const QList<QWebSocket *> sockets = findChildren<QWebSocket *>(Qt::FindDirectChildrenOnly);
        for (QWebSocket *socket : sockets) {
            QObject::disconnect(socket, nullptr, this, nullptr);
            delete socket;
        }
    }

    bool listen(quint16 port)
    {
        const bool ok = m_server.listen(QHostAddress::LocalHost, port);
        if (ok)
            m_port = m_server.serverPort();
        return ok;
    }
    /// Stops taking connections (later attempts are refused); the open ones stay.
    void stopListening() { m_server.close(); }

    quint16 port() const { return m_port; }
    QList<Connection> &connections() { return m_connections; }
    Connection &connection(qsizetype index) { return m_connections[index]; }
    Connection &last() { return m_connections.last(); }
    qsizetype count() const { return m_connections.size(); }
    qsizetype openCount() const
    {
        return std::count_if(m_connections.begin(), m_connections.end(),
                             [](const Connection &c) { return !c.closed; });
    }

    void send(qsizetype index, const QByteArray &frame)
    {
        m_connections[index].socket->sendTextMessage(QString::fromUtf8(frame));
    }
    void send(qsizetype index, const QJsonObject &frame)
    {
        send(index, QJsonDocument(frame).toJson(QJsonDocument::Compact));
    }
    /// `pusher:connection_established`, its data a JSON text as the service sends it.
    void handshake(qsizetype index, const QJsonObject &data)
    {
        send(index,
             QJsonObject{{QStringLiteral("event"), QStringLiteral("pusher:connection_established")},
                         {QStringLiteral("data"),
                          QString::fromUtf8(QJsonDocument(data).toJson(QJsonDocument::Compact))}});
    }
    void handshake(qsizetype index, int activityTimeout = 120)
    {
        handshake(index,
                  QJsonObject{{QStringLiteral("socket_id"), QStringLiteral("1234.5678")},
                              {QStringLiteral("activity_timeout"), activityTimeout}});
    }
    void closeWith(qsizetype index, int code, const QString &reason = {})
    {
        m_connections[index].socket->close(QWebSocketProtocol::CloseCode(code), reason);
    }
    /// Drops the TCP connection without a close frame.
    void drop(qsizetype index) { m_connections[index].socket->abort(); }

    /// What the client sent on a connection, as event names.
    QStringList events(qsizetype index) const
    {
        QStringList names;
        for (const QJsonObject &frame : m_connections[index].received)
            names << frame.value(QStringLiteral("event")).toString();
        return names;
    }

    std::function<void(qsizetype index)> onConnection; ///< e.g. to hand-shake at once

private:
    void accept(QWebSocket *socket)
    {
        socket->setParent(this);
        const qsizetype index = m_connections.size();
        m_connections.append(Connection{socket, socket->requestUrl(), {}, {}, 0, false, 0});
        QObject::connect(socket, &QWebSocket::textMessageReceived, this,
                         [this, index](const QString &text) {
                             const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
                             if (document.isObject())
                                 m_connections[index].received.append(document.object());
                             else
                                 m_connections[index].unparsed.append(text);
                         });
        QObject::connect(socket, &QWebSocket::pong, this,
                         [this, index] { ++m_connections[index].pongs; });
        QObject::connect(socket, &QWebSocket::disconnected, this, [this, index, socket] {
            m_connections[index].closed = true;
            m_connections[index].closeCode = socket->closeCode();
        });
        if (onConnection)
            onConnection(index);
    }

    QWebSocketServer m_server;
    quint16 m_port = 0;
    QList<Connection> m_connections;
};

} // namespace Vantora::TestSupport
