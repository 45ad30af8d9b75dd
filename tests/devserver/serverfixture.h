#pragma once

// A dev server in the test's own process on 127.0.0.1 port 0, on a clock the test sets; requests
// as the SDK and the broadcaster make them, and websocket clients that record every frame.

#include "devserver_p.h"
#include "serverprocess.h"
#include "testsupport.h"
#include "trigger_p.h"

#include <QTemporaryDir>
#include <QUrlQuery>
#include <QWebSocket>

namespace Vantora::DevServerTest {

using namespace Qt::Literals::StringLiterals;

/// A backend request's Content-Type and body as the SDK makes them, `data` being the members of
/// {"data": {...}}, where $W stands for the demo channel and the viewer `token`, $T for the token.
inline const QByteArray sdkContentType = "multipart/form-data; boundary=Boundary-6F1A2B3C";
inline QByteArray sdkRequest(QByteArray data, const QString &token = {})
{
    data.replace("$W", R"("broadcasterName":"vantora-demo","channelId":"1001","userToken":"$T")")
        .replace("$T", token.toUtf8());
    return "--Boundary-6F1A2B3C\r\nContent-Disposition: form-data; name=\"request\"\r\n\r\n"
           R"({"data":{)"
        + data + "}}\r\n--Boundary-6F1A2B3C--\r\n";
}

inline QUrl at(quint16 port, const QString &path, const QString &scheme = u"http"_s)
{
    return QUrl(scheme + u"://127.0.0.1:"_s + QString::number(port) + path);
}
inline QUrl realtimeUrl(quint16 port, const QString &key)
{
    return at(port, u"/app/"_s + key + u"?protocol=7&client=test"_s, u"ws"_s);
}

inline QJsonObject dataOf(const QJsonObject &frame)
{
    return jsonObject(frame["data"_L1].toString().toUtf8());
}

// Whether `actual` holds these members (JSON text without the braces) with exactly these values.
inline testing::AssertionResult has(const QJsonValue &actual, const QString &members)
{
    const QJsonObject expected = jsonObject("{" + members.toUtf8() + "}");
    QJsonObject found;
    for (const QString &key : expected.keys())
        found.insert(key, actual[key]);
    if (!expected.isEmpty() && found == expected)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << QJsonDocument(found).toJson().constData();
}

/// A websocket client that keeps every text frame as JSON, in order.
class RecordingClient
{
public:
    explicit RecordingClient(const QUrl &url)
    {
        QObject::connect(
            &socket, &QWebSocket::textMessageReceived, &socket,
            [this](const QString &frame) { frames.append(jsonObject(frame.toUtf8())); });
        QObject::connect(&socket, &QWebSocket::disconnected, &socket, [this] { closed = true; });
        socket.open(url);
    }
    // Qt 6.4 leaks the close reason when a QWebSocket is destroyed while connected, so the client
    // says goodbye first.
    ~RecordingClient()
    {
        socket.close();
        waitUntil([this] { return socket.state() == QAbstractSocket::UnconnectedState; }, 2000);
    }

    QStringList names() const
    {
        QStringList names;
        for (const QJsonObject &frame : frames)
            names.append(frame["event"_L1].toString());
        return names;
    }
    bool waitFor(const QString &event, qsizetype count = 1)
    {
        return waitUntil([&] { return names().count(event) >= count; });
    }
    void send(const QString &frame) { socket.sendTextMessage(frame); }
    void ping() { send(uR"({"event":"pusher:ping","data":{}})"_s); }
    bool subscribe(const QString &channel)
    {
        const qsizetype before = names().count(u"pusher_internal:subscription_succeeded"_s);
        send(uR"({"event":"pusher:subscribe","data":{"channel":"%1"}})"_s.arg(channel));
        return waitFor(u"pusher_internal:subscription_succeeded"_s, before + 1);
    }
    QString socketId() const { return dataOf(frames.value(0))["socket_id"_L1].toString(); }

    QWebSocket socket;
    QList<QJsonObject> frames;
    bool closed = false;
};

class ServerFixture : public testing::Test
{
protected:
    void SetUp() override
    {
        DevServer::ServerOptions options;
        options.dataFolder = demoFolder;
        options.databaseFile = m_dir.filePath(u"db"_s);
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

    HttpResult http(const QByteArray &method, const QString &path, const QByteArray &body = {},
                    const QByteArray &contentType = "application/json")
    {
        return httpRequest(at(m_port, path), method, body, contentType);
    }
    HttpResult admin(const QString &operation, const QByteArray &body)
    {
        return http("POST", u"/admin/"_s + operation, body);
    }
    HttpResult api(const QString &operation, const QByteArray &data, const QString &token = {})
    {
        return http("POST", u"/userApi"_s + operation, sdkRequest(data, token), sdkContentType);
    }
    /// POSTs an event to the trigger API, signed with the app's credentials unless `query` says.
    HttpResult trigger(const QByteArray &event, std::optional<DevServer::QueryItems> query = {})
    {
        const QString path = u"/apps/vantora/events"_s;
        QUrlQuery items;
        items.setQueryItems(query.value_or(
            DevServer::signedQuery(m_server->hub().app(), "POST", path, event, m_now)));
        return http("POST", path + u'?' + items.toString(QUrl::FullyEncoded), event);
    }
    /// A websocket client on /app/<key>, or on `path`, once the server has said something.
    std::unique_ptr<RecordingClient> connectClient(const QString &path = {})
    {
        auto client = std::make_unique<RecordingClient>(
            path.isEmpty() ? realtimeUrl(m_port, m_server->hub().app().key)
                           : at(m_port, path, u"ws"_s));
        EXPECT_TRUE(waitUntil([&] { return !client->frames.isEmpty(); }));
        return client;
    }

    QTemporaryDir m_dir;
    qint64 m_now = 1795400000;
    std::unique_ptr<DevServer::DevServer> m_server;
    quint16 m_port = 0;
};

} // namespace Vantora::DevServerTest
