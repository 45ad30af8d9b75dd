#pragma once

// A dev server running in the test's own process on 127.0.0.1 port 0, with an HTTP client and
// websocket clients that record every frame.

#include "devserver_p.h"
#include "devservertest.h"
#include "trigger_p.h"

#include <QJsonArray>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTemporaryDir>
#include <QUrlQuery>
#include <QWebSocket>

#include <gtest/gtest.h>

namespace Vantora::DevServerTest {

struct HttpResult
{
    int status = 0;
    QByteArray body;
    QJsonObject json() const { return jsonObject(body); }
};

/// A websocket client that keeps every text frame as JSON, in order.
class RecordingClient
{
public:
    explicit RecordingClient(const QUrl &url)
    {
        QObject::connect(&socket, &QWebSocket::textMessageReceived, &socket,
                         [this](const QString &frame) {
                             frames.append(QJsonDocument::fromJson(frame.toUtf8()).object());
                         });
        QObject::connect(&socket, &QWebSocket::disconnected, &socket, [this] {
            closed = true;
            closeCode = socket.closeCode();
            closeReason = socket.closeReason();
        });
        QObject::connect(&socket, qOverload<QAbstractSocket::SocketError>(&QWebSocket::error),
                         &socket,
                         [this](QAbstractSocket::SocketError error) { socketError = error; });
        socket.open(url);
    }

    // Qt 6.4 leaks the close reason when a QWebSocket is destroyed while connected, so the client
    // says goodbye first.
    ~RecordingClient()
    {
        if (socket.state() == QAbstractSocket::ConnectedState) {
            socket.close();
            waitUntil([this] { return socket.state() == QAbstractSocket::UnconnectedState; }, 2000);
        }
    }
    RecordingClient(const RecordingClient &) = delete;
    RecordingClient &operator=(const RecordingClient &) = delete;

    /// The frames with this event name (and channel, when given).
    QList<QJsonObject> events(const QString &event, const QString &channel = {}) const
    {
        QList<QJsonObject> found;
        for (const QJsonObject &frame : frames) {
            if (frame.value(QStringLiteral("event")).toString() == event
                && (channel.isEmpty()
                    || frame.value(QStringLiteral("channel")).toString() == channel))
                found.append(frame);
        }
        return found;
    }

    bool waitForEvent(const QString &event, qsizetype count = 1, int ms = 5000)
    {
        return waitUntil([&] { return events(event).size() >= count; }, ms);
    }

    void send(const QJsonObject &frame)
    {
        socket.sendTextMessage(
            QString::fromUtf8(QJsonDocument(frame).toJson(QJsonDocument::Compact)));
    }

    /// Subscribes and waits for the server's answer.
    bool subscribe(const QString &channel)
    {
        const qsizetype before =
            events(QStringLiteral("pusher_internal:subscription_succeeded")).size();
        send({{QStringLiteral("event"), QStringLiteral("pusher:subscribe")},
              {QStringLiteral("data"), QJsonObject{{QStringLiteral("channel"), channel}}}});
        return waitForEvent(QStringLiteral("pusher_internal:subscription_succeeded"), before + 1);
    }

    QWebSocket socket;
    QList<QJsonObject> frames;
    bool closed = false;
    int closeCode = 0;
    QString closeReason;
    std::optional<QAbstractSocket::SocketError> socketError;
};

class ServerFixture : public testing::Test
{
protected:
    void SetUp() override { startServer(); }

    void startServer(DevServer::PusherHub::Timing timing = {})
    {
        ASSERT_TRUE(m_dir.isValid());
        DevServer::ServerOptions options;
        options.dataFolder = demoFolder;
        options.databaseFile = m_dir.filePath(QStringLiteral("devserver.sqlite"));
        options.timing = timing;
        options.now = [this] {
            return m_now;
        };
        auto server = DevServer::DevServer::create(options);
        ASSERT_TRUE(server) << server.error().toStdString();
        m_server = std::move(server).value();
        auto port = m_server->start(QHostAddress::LocalHost, 0);
        ASSERT_TRUE(port) << port.error().toStdString();
        m_port = port.value();
    }

    QUrl url(const QString &path, const QString &scheme = QStringLiteral("http")) const
    {
        QUrl url;
        url.setScheme(scheme);
        url.setHost(QStringLiteral("127.0.0.1"));
        url.setPort(m_port);
        const qsizetype question = path.indexOf(u'?');
        url.setPath(question < 0 ? path : path.first(question));
        if (question >= 0)
            url.setQuery(path.sliced(question + 1));
        return url;
    }

    QString key() const { return m_server->hub().app().key; }

    std::unique_ptr<RecordingClient> connectClient(const QString &path = {})
    {
        auto client = std::make_unique<RecordingClient>(url(
            path.isEmpty() ? u"/app/"_qs + key() + u"?protocol=7&client=test&version=1"_qs : path,
            QStringLiteral("ws")));
        return client;
    }

    HttpResult http(const QByteArray &method, const QUrl &target, const QByteArray &body = {},
                    const QByteArray &contentType = "application/json")
    {
        QNetworkRequest request(target);
        request.setHeader(QNetworkRequest::ContentTypeHeader, contentType);
        QNetworkReply *reply = m_network.sendCustomRequest(request, method, body);
        const bool finished = waitUntil([reply] { return reply->isFinished(); });
        EXPECT_TRUE(finished) << "no reply from " << target.toString().toStdString();
        HttpResult result{reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
                          reply->readAll()};
        reply->deleteLater();
        return result;
    }

    HttpResult admin(const QString &operation, const QJsonObject &body)
    {
        return http("POST", url(u"/admin/"_qs + operation),
                    QJsonDocument(body).toJson(QJsonDocument::Compact));
    }

    /// POSTs an event to the trigger API, signed with the app's credentials unless `query` is
    /// given.
    HttpResult trigger(const QByteArray &body, std::optional<DevServer::QueryItems> query = {},
                       const QString &appId = {})
    {
        const QString path =
            u"/apps/"_qs + (appId.isEmpty() ? m_server->hub().app().id : appId) + u"/events"_qs;
        if (!query)
            query = DevServer::signedQuery(m_server->hub().app(), "POST", path, body, m_now);
        QUrlQuery items;
        items.setQueryItems(*query);
        QUrl target = url(path);
        target.setQuery(items);
        return http("POST", target, body);
    }

    QTemporaryDir m_dir;
    qint64 m_now = 1795400000;
    std::unique_ptr<DevServer::DevServer> m_server;
    quint16 m_port = 0;
    QNetworkAccessManager m_network;
};

} // namespace Vantora::DevServerTest
