// The Pusher protocol side of the dev server, on real sockets: handshake and its refusals,
// subscriptions, liveness, and the signed trigger API.

#include "serverfixture.h"
#include "trigger_p.h"

#include "testsupport.h"

#include <QRegularExpression>
#include <QTcpSocket>

#include <gtest/gtest.h>

using namespace Vantora::DevServer;
using namespace Vantora::DevServerTest;
using namespace Qt::Literals::StringLiterals;

namespace {

using RealtimeTest = ServerFixture;

QJsonObject dataOf(const QJsonObject &frame)
{
    return jsonObject(frame.value("data"_L1).toString().toUtf8());
}

QByteArray triggerBody(const QString &name, const QJsonValue &channels, const QJsonValue &data)
{
    QJsonObject body{{u"name"_s, name}, {u"data"_s, data}};
    body.insert(channels.isArray() ? u"channels"_s : u"channel"_s, channels);
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

} // namespace

TEST(TriggerSignature, knownVectors)
{
    // The documented worked example of the HTTP API, and the official Node SDK's own test vectors.
    const PusherApp docs{u"3"_s, u"278d425bdf160c739803"_s, u"7ad3773142a6692b25b8"_s};
    const QByteArray body =
        R"({"name":"foo","channels":["project-3"],"data":"{\"some\":\"data\"}"})";
    QueryItems query{{u"auth_key"_s, docs.key},
                     {u"auth_timestamp"_s, u"1353088179"_s},
                     {u"auth_version"_s, u"1.0"_s},
                     {u"body_md5"_s, u"ec365a775a4cd0599faeb73354201b6f"_s},
                     {u"auth_signature"_s,
                      u"da454824c97ba181a32ccc17a72625ba02771f50b50e1e7430e47a1f3f457e6c"_s}};
    EXPECT_EQ(checkSignature(docs, "POST", u"/apps/3/events"_s, query, body, 1353088179),
              std::nullopt);
    EXPECT_EQ(signedQuery(docs, "POST", u"/apps/3/events"_s, body, 1353088179), query);

    const PusherApp node{u"1"_s, u"f00d"_s, u"tofu"_s};
    const QueryItems withBody{
        {u"auth_key"_s, u"f00d"_s},
        {u"auth_timestamp"_s, u"1234567890"_s},
        {u"auth_version"_s, u"1.0"_s},
        {u"body_md5"_s, u"165d5e6d7ca8f73b3853ce45addf42fc"_s},
        {u"auth_signature"_s,
         u"a650196dc427ebe837226f8565ca9232198c6d1b9455eaa72374a9dc0b620e7b"_s}};
    EXPECT_EQ(checkSignature(node, "GET", u"/event"_s, withBody, "example body", 1234567890),
              std::nullopt);
    // Extra parameters are signed too, sorted by key; there is no body, so no body_md5.
    const QueryItems extra{{u"foo"_s, u"bar"_s},
                           {u"auth_version"_s, u"1.0"_s},
                           {u"baz"_s, u"123454321"_s},
                           {u"auth_key"_s, u"f00d"_s},
                           {u"auth_timestamp"_s, u"1234567890"_s},
                           {u"auth_signature"_s,
                            u"d8bdbd31911fb7400a14fbd36fd7de053494725b64400ae5856deafe304b34a9"_s}};
    EXPECT_EQ(
        stringToSign("GET", u"/event"_s, extra),
        "GET\n/"
        "event\nauth_key=f00d&auth_timestamp=1234567890&auth_version=1.0&baz=123454321&foo=bar");
    EXPECT_EQ(checkSignature(node, "GET", u"/event"_s, extra, {}, 1234567890), std::nullopt);
    // The timestamp window is 600 s either way.
    EXPECT_EQ(checkSignature(node, "GET", u"/event"_s, extra, {}, 1234567890 + 600), std::nullopt);
    EXPECT_TRUE(checkSignature(node, "GET", u"/event"_s, extra, {}, 1234567890 + 601));
    EXPECT_TRUE(checkSignature(node, "GET", u"/event"_s, extra, {}, 1234567890 - 601));
}

TEST_F(RealtimeTest, handshakeAnnouncesSocketAndActivityTimeout)
{
    auto first = connectClient();
    auto second = connectClient(u"/app/"_s + key() + u"?protocol=5"_s);
    ASSERT_TRUE(first->waitForEvent(u"pusher:connection_established"_s));
    ASSERT_TRUE(second->waitForEvent(u"pusher:connection_established"_s));
    const QJsonObject established = first->frames.constFirst();
    ASSERT_TRUE(established.value("data"_L1).isString()); // a JSON text, not an object
    const QJsonObject data = dataOf(established);
    const QString socketId = data.value("socket_id"_L1).toString();
    EXPECT_TRUE(QRegularExpression(u"^\\d+\\.\\d+$"_s).match(socketId).hasMatch())
        << socketId.toStdString();
    EXPECT_EQ(data.value("activity_timeout"_L1).toVariant().toInt(), 120);
    EXPECT_NE(dataOf(second->frames.constFirst()).value("socket_id"_L1).toString(), socketId);
    EXPECT_EQ(m_server->hub().connectionCount(), 2);
}

TEST_F(RealtimeTest, handshakeRefusalsCloseWithTheirCodes)
{
    const struct
    {
        const char *name;
        QString path;
        int code;
    } rows[] = {
        {"unknown key", u"/app/0000000000000000000f?protocol=7"_s, 4001},
        {"no protocol", u"/app/"_s + key(), 4008},
        {"protocol too old", u"/app/"_s + key() + u"?protocol=4"_s, 4007},
        {"protocol too new", u"/app/"_s + key() + u"?protocol=8"_s, 4007},
        {"protocol not a number", u"/app/"_s + key() + u"?protocol=seven"_s, 4007},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        auto client = connectClient(row.path);
        ASSERT_TRUE(waitUntil([&] { return client->closed; }));
        EXPECT_EQ(client->closeCode, row.code);
        ASSERT_EQ(client->events(u"pusher:error"_s).size(), 1);
        EXPECT_EQ(client->events(u"pusher:error"_s)[0].value("data"_L1)["code"_L1].toInt(),
                  row.code);
        EXPECT_TRUE(client->events(u"pusher:connection_established"_s).isEmpty());
    }
    // Anything but /app/ is not upgraded at all.
    auto elsewhere = connectClient(u"/socket?protocol=7"_s);
    EXPECT_TRUE(
        waitUntil([&] { return elsewhere->socket.state() == QAbstractSocket::UnconnectedState; }));
    EXPECT_TRUE(elsewhere->frames.isEmpty());
    EXPECT_TRUE(waitUntil([&] { return m_server->hub().connectionCount() == 0; }));
}

TEST_F(RealtimeTest, subscriptionsAndClientFrames)
{
    auto client = connectClient();
    ASSERT_TRUE(client->waitForEvent(u"pusher:connection_established"_s));
    ASSERT_TRUE(client->subscribe(u"CH_1001"_s));
    EXPECT_EQ(client->events(u"pusher_internal:subscription_succeeded"_s)[0].value("data"_L1),
              u"{}"_s);
    ASSERT_TRUE(client->subscribe(u"CH_1001"_s)); // again: harmless
    // data sent as a JSON text is understood as well
    client->send({{u"event"_s, u"pusher:subscribe"_s}, {u"data"_s, u"{\"channel\":\"CH_2\"}"_s}});
    ASSERT_TRUE(waitUntil([&] { return m_server->hub().subscriberCount(u"CH_2"_s) == 1; }));

    const struct
    {
        const char *name;
        QString frame;
        const char *reply; // the event the server answers with
    } rows[] = {
        {"invalid channel name", uR"({"event":"pusher:subscribe","data":{"channel":"CH 1"}})"_s,
         "pusher:subscription_error"},
        {"private channel", uR"({"event":"pusher:subscribe","data":{"channel":"private-x"}})"_s,
         "pusher:subscription_error"},
        {"no channel", uR"({"event":"pusher:subscribe","data":{}})"_s, "pusher:subscription_error"},
        {"ping", uR"({"event":"pusher:ping","data":{}})"_s, "pusher:pong"},
        {"client event", uR"({"event":"client-hello","channel":"CH_1001","data":"{}"})"_s,
         "pusher:error"},
        {"unknown pusher event", uR"({"event":"pusher:signin","data":{}})"_s, "pusher:error"},
        {"not JSON", u"{nope"_s, "pusher:error"},
        {"an array", u"[1,2]"_s, "pusher:error"},
        {"event not a string", uR"({"event":7})"_s, "pusher:error"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const qsizetype before = client->events(QString::fromLatin1(row.reply)).size();
        client->socket.sendTextMessage(row.frame);
        ASSERT_TRUE(client->waitForEvent(QString::fromLatin1(row.reply), before + 1));
    }
    EXPECT_EQ(client->events(u"pusher:pong"_s)[0].value("data"_L1), u"{}"_s);
    EXPECT_EQ(client->events(u"pusher:error"_s)[0].value("data"_L1)["code"_L1].toInt(), 4301);
    EXPECT_EQ(client->events(u"pusher:subscription_error"_s)[0].value("channel"_L1), u"CH 1"_s);
    EXPECT_FALSE(client->closed);

    // One delivery per subscribed socket, whatever the number of subscribe frames; none after
    // unsubscribing.
    EXPECT_EQ(m_server->hub().publish({u"CH_1001"_s}, u"initiateRefresh"_s, u"{}"_s), 1);
    ASSERT_TRUE(client->waitForEvent(u"initiateRefresh"_s));
    client->send({{u"event"_s, u"pusher:unsubscribe"_s},
                  {u"data"_s, QJsonObject{{u"channel"_s, u"CH_1001"_s}}}});
    ASSERT_TRUE(waitUntil([&] { return m_server->hub().subscriberCount(u"CH_1001"_s) == 0; }));
    EXPECT_EQ(m_server->hub().publish({u"CH_1001"_s}, u"initiateRefresh"_s, u"{}"_s), 0);

    client->socket.close();
    EXPECT_TRUE(waitUntil([&] { return m_server->hub().subscriberCount(u"CH_2"_s) == 0; }));
}

TEST_F(RealtimeTest, silentClientsArePingedThenClosedWith4201)
{
    m_server.reset();
    startServer({1, 300});
    auto answering = connectClient(); // QWebSocket answers pings with pongs by itself
    ASSERT_TRUE(answering->waitForEvent(u"pusher:connection_established"_s));
    EXPECT_EQ(dataOf(answering->frames[0]).value("activity_timeout"_L1).toInt(), 1);

    // A client that completes the upgrade and then never answers anything.
    QTcpSocket mute;
    mute.connectToHost(QHostAddress::LocalHost, m_port);
    ASSERT_TRUE(mute.waitForConnected(5000));
    mute.write("GET /app/" + key().toLatin1()
               + "?protocol=7 HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                 "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Key: "
                 "dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n");
    QByteArray received;
    QObject::connect(&mute, &QTcpSocket::readyRead, [&] { received += mute.readAll(); });
    // The server pings after 1 s of silence and gives up 0.3 s later. A close frame is 0x88, the
    // payload length, then the code in network order.
    const qsizetype closeAt = [&] {
        waitUntil([&] { return received.contains("\x88"); }, 5000);
        return received.indexOf('\x88');
    }();
    ASSERT_GE(closeAt, 0) << received.toStdString();
    EXPECT_TRUE(received.contains('\x89')); // the ping came first
    ASSERT_GE(received.size(), closeAt + 4);
    const int code = (static_cast<unsigned char>(received[closeAt + 2]) << 8)
        | static_cast<unsigned char>(received[closeAt + 3]);
    EXPECT_EQ(code, 4201);

    EXPECT_FALSE(answering->closed);
    EXPECT_EQ(m_server->hub().connectionCount(), 1);
}

TEST_F(RealtimeTest, signedTriggersReachEverySubscriberOnce)
{
    auto a = connectClient();
    auto b = connectClient();
    auto other = connectClient();
    for (auto *client : {a.get(), b.get(), other.get()})
        ASSERT_TRUE(client->waitForEvent(u"pusher:connection_established"_s));
    ASSERT_TRUE(a->subscribe(u"CH_1001"_s));
    ASSERT_TRUE(a->subscribe(u"CH_7"_s));
    ASSERT_TRUE(b->subscribe(u"CH_1001"_s));
    ASSERT_TRUE(other->subscribe(u"CH_9"_s));

    const QString data = uR"({"poll":{"_id":{"$id":"p100"}},"note":"caf\u00e9 \"quoted\" \\ /"})"_s;
    const HttpResult sent =
        trigger(triggerBody(u"stop_poll"_s, QJsonArray{u"CH_1001"_s, u"CH_7"_s}, data));
    EXPECT_EQ(sent.status, 200);
    EXPECT_EQ(sent.body, "{}");
    ASSERT_TRUE(a->waitForEvent(u"stop_poll"_s, 2));
    ASSERT_TRUE(b->waitForEvent(u"stop_poll"_s));
    EXPECT_EQ(a->events(u"stop_poll"_s, u"CH_1001"_s)[0].value("data"_L1).toString(), data);
    EXPECT_EQ(a->events(u"stop_poll"_s, u"CH_7"_s).size(), 1);
    EXPECT_EQ(b->events(u"stop_poll"_s)[0].value("data"_L1).toString(), data);

    // socket_id leaves its own connection out; an object as data is sent as its JSON text.
    const QString bSocket = dataOf(b->frames[0]).value("socket_id"_L1).toString();
    QJsonObject body =
        jsonObject(triggerBody(u"initiateRefresh"_s, u"CH_1001"_s, QJsonObject{{u"k"_s, 1}}));
    body.insert(u"socket_id"_s, bSocket);
    EXPECT_EQ(trigger(QJsonDocument(body).toJson(QJsonDocument::Compact)).status, 200);
    ASSERT_TRUE(a->waitForEvent(u"initiateRefresh"_s));
    EXPECT_EQ(a->events(u"initiateRefresh"_s)[0].value("data"_L1), u"{\"k\":1}"_s);

    // A later event proves that nothing else arrived in between.
    EXPECT_EQ(trigger(triggerBody(u"last"_s, QJsonArray{u"CH_1001"_s, u"CH_9"_s}, u"{}"_s)).status,
              200);
    ASSERT_TRUE(b->waitForEvent(u"last"_s));
    ASSERT_TRUE(other->waitForEvent(u"last"_s));
    EXPECT_TRUE(b->events(u"initiateRefresh"_s).isEmpty());
    EXPECT_TRUE(other->events(u"stop_poll"_s).isEmpty());
    EXPECT_EQ(a->events(u"stop_poll"_s).size(), 2);
}

TEST_F(RealtimeTest, rejectedTriggersReachNobody)
{
    auto client = connectClient();
    ASSERT_TRUE(client->waitForEvent(u"pusher:connection_established"_s));
    ASSERT_TRUE(client->subscribe(u"CH_1001"_s));

    const QByteArray good = triggerBody(u"injectQuiz"_s, QJsonArray{u"CH_1001"_s}, u"{}"_s);
    const QString path = u"/apps/vantora/events"_s;
    const PusherApp &app = m_server->hub().app();
    const auto signedWith = [&](const PusherApp &as, const QByteArray &body, qint64 at) {
        return signedQuery(as, "POST", path, body, at);
    };
    const auto tampered = [&](const QString &key, const QString &value) {
        QueryItems query = signedWith(app, good, m_now);
        for (auto &item : query) {
            if (item.first == key)
                item.second = value;
        }
        return query;
    };
    QueryItems withoutMd5 = signedWith(app, good, m_now);
    withoutMd5.removeIf([](const auto &item) { return item.first == "body_md5"_L1; });
    QJsonArray manyChannels;
    for (int i = 0; i < 101; ++i)
        manyChannels.append(u"CH_"_s + QString::number(i));

    const struct
    {
        const char *name;
        QByteArray body;
        std::optional<QueryItems> query;
        QString appId;
        int status;
    } rows[] = {
        {"wrong secret", good, signedWith({app.id, app.key, u"guess"_s}, good, m_now), {}, 401},
        {"unknown key",
         good,
         signedWith({app.id, u"0123456789abcdef0123"_s, app.secret}, good, m_now),
         {},
         401},
        {"timestamp 601 s old", good, signedWith(app, good, m_now - 601), {}, 401},
        {"timestamp 601 s ahead", good, signedWith(app, good, m_now + 601), {}, 401},
        {"auth_version 2.0", good, tampered(u"auth_version"_s, u"2.0"_s), {}, 401},
        {"wrong body_md5",
         good,
         tampered(u"body_md5"_s, u"00000000000000000000000000000000"_s),
         {},
         401},
        {"no body_md5", good, withoutMd5, {}, 401},
        {"signed for another body", good, signedWith(app, good + " ", m_now), {}, 401},
        {"unknown app", good, std::nullopt, u"other"_s, 404},
        {"data over 10 KB",
         triggerBody(u"x"_s, u"CH_1001"_s, QString(10241, u'a')),
         std::nullopt,
         {},
         413},
        {"101 channels", triggerBody(u"x"_s, manyChannels, u"{}"_s), std::nullopt, {}, 400},
        {"no channels", triggerBody(u"x"_s, QJsonArray{}, u"{}"_s), std::nullopt, {}, 400},
        {"invalid channel", triggerBody(u"x"_s, u"CH 1001"_s, u"{}"_s), std::nullopt, {}, 400},
        {"no name", R"({"channel":"CH_1001","data":"{}"})", std::nullopt, {}, 400},
        {"name over 200",
         triggerBody(QString(201, u'n'), u"CH_1001"_s, u"{}"_s),
         std::nullopt,
         {},
         400},
        {"no data", R"({"name":"x","channel":"CH_1001"})", std::nullopt, {}, 400},
        {"bad socket_id",
         R"({"name":"x","channel":"CH_1001","data":"{}","socket_id":"abc"})",
         std::nullopt,
         {},
         400},
        {"not JSON", "name=x", std::nullopt, {}, 400},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const HttpResult result = trigger(row.body, row.query, row.appId);
        EXPECT_EQ(result.status, row.status) << result.body.constData();
        EXPECT_FALSE(result.json().value("error"_L1).toString().isEmpty());
    }
    // Exactly 10240 bytes is still allowed, and is the first event the subscriber sees.
    EXPECT_EQ(trigger(triggerBody(u"full"_s, u"CH_1001"_s, QString(10240, u'a'))).status, 200);
    ASSERT_TRUE(client->waitForEvent(u"full"_s));
    EXPECT_EQ(client->frames.size(), 3); // established, subscribed, full
}

TEST_F(RealtimeTest, shutdownClosesWithGoingAway)
{
    auto client = connectClient();
    ASSERT_TRUE(client->waitForEvent(u"pusher:connection_established"_s));
    m_server->hub().closeAll();
    ASSERT_TRUE(waitUntil([&] { return client->closed; }));
    EXPECT_EQ(client->closeCode, 1001);
}

TEST_F(RealtimeTest, hooksLetClientTestsMeetADifficultServer)
{
    const auto hook = [&](const QString &operation, const QJsonObject &body) {
        return http("POST", url(u"/admin/realtime/"_s + operation),
                    QJsonDocument(body).toJson(QJsonDocument::Compact));
    };
    auto a = connectClient();
    auto b = connectClient();
    auto c = connectClient();
    for (auto *client : {a.get(), b.get(), c.get()})
        ASSERT_TRUE(client->waitForEvent(u"pusher:connection_established"_s));
    ASSERT_TRUE(a->subscribe(u"CH_1001"_s));
    const auto socketOf = [](RecordingClient &client) {
        return dataOf(client.frames[0]).value("socket_id"_L1).toString();
    };

    const QJsonArray listed =
        QJsonDocument::fromJson(http("GET", url(u"/admin/realtime/connections"_s)).body).array();
    ASSERT_EQ(listed.size(), 3);
    for (const QJsonValue &entry : listed) {
        if (entry["socket_id"_L1].toString() == socketOf(*a)) {
            EXPECT_EQ(entry["channels"_L1].toArray(), QJsonArray{u"CH_1001"_s});
        }
    }

    EXPECT_EQ(
        hook(u"send"_s, {{u"socket_id"_s, socketOf(*a)}, {u"frame"_s, u"{\"event\":\"raw\"}"_s}})
            .status,
        200);
    ASSERT_TRUE(a->waitForEvent(u"raw"_s));
    EXPECT_EQ(a->events(u"raw"_s)[0], jsonObject("{\"event\":\"raw\"}"));

    EXPECT_EQ(hook(u"close"_s,
                   {{u"socket_id"_s, socketOf(*b)},
                    {u"code"_s, 4200},
                    {u"reason"_s, u"generic reconnect"_s}})
                  .status,
              200);
    ASSERT_TRUE(waitUntil([&] { return b->closed; }));
    EXPECT_EQ(b->closeCode, 4200);
    EXPECT_EQ(b->closeReason, u"generic reconnect"_s);
    EXPECT_FALSE(b->socketError);

    EXPECT_EQ(hook(u"drop"_s, {{u"socket_id"_s, socketOf(*c)}}).status, 200);
    ASSERT_TRUE(waitUntil([&] { return c->closed; }));
    EXPECT_EQ(c->socketError, QAbstractSocket::RemoteHostClosedError); // no close frame came

    EXPECT_EQ(hook(u"close"_s, {{u"socket_id"_s, u"1.1"_s}, {u"code"_s, 4200}}).status, 404);
    EXPECT_EQ(hook(u"close"_s, {{u"socket_id"_s, socketOf(*a)}, {u"code"_s, 1006}}).status, 400);
    EXPECT_EQ(hook(u"quirks"_s, {{u"answerPings"_s, u"no"_s}}).status, 400);

    // Later connections: a handshake that never comes, then one with another activity timeout
    // whose pusher:ping goes unanswered.
    EXPECT_EQ(hook(u"quirks"_s, {{u"handshakeDelayMs"_s, -1}}).status, 200);
    auto silent = connectClient();
    ASSERT_TRUE(
        waitUntil([&] { return silent->socket.state() == QAbstractSocket::ConnectedState; }));
    EXPECT_EQ(
        hook(u"quirks"_s,
             {{u"handshakeDelayMs"_s, 50}, {u"answerPings"_s, false}, {u"activityTimeout"_s, 7}})
            .status,
        200);
    auto late = connectClient();
    ASSERT_TRUE(late->waitForEvent(u"pusher:connection_established"_s));
    EXPECT_EQ(dataOf(late->frames[0]).value("activity_timeout"_L1).toInt(), 7);
    late->send({{u"event"_s, u"pusher:ping"_s}, {u"data"_s, QJsonObject{}}});
    a->send({{u"event"_s, u"pusher:ping"_s}, {u"data"_s, QJsonObject{}}});
    QTest::qWait(200);
    EXPECT_TRUE(late->events(u"pusher:pong"_s).isEmpty());
    EXPECT_TRUE(a->events(u"pusher:pong"_s).isEmpty());
    EXPECT_TRUE(silent->frames.isEmpty());
}
