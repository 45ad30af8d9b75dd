// The live channel on real sockets: the Pusher protocol, the signed trigger API, the broadcaster's
// live events with exactly the payloads clients read, and the hooks for clients' own tests.

#include "serverfixture.h"

using namespace Vantora::DevServer;
using namespace Vantora::DevServerTest;
using Vantora::TestSupport::caseTable;

using RealtimeTest = ServerFixture;

TEST_F(RealtimeTest, handshakeWelcomesProtocols5To7AndRefusesTheRestWithTheirCodes)
{
    for (const QStringList &row : caseTable(u"devserver_cases.txt", u"handshakes")) {
        SCOPED_TRACE(row[0].toStdString());
        const int code = row[1].toInt();
        auto client = connectClient(QString(row[0]).replace("$K"_L1, m_server->hub().app().key));
        const QJsonObject first = client->frames.value(0);
        if (code == 0) { // dataOf() reads the data as JSON text, as clients do
            EXPECT_EQ(dataOf(first)["activity_timeout"_L1], 120);
            continue;
        }
        EXPECT_EQ(first["event"_L1], u"pusher:error"_s);
        EXPECT_EQ(first["data"_L1]["code"_L1], code);
        ASSERT_TRUE(waitUntil([&] { return client->closed; }));
        EXPECT_EQ(int(client->socket.closeCode()), code);
    }
}

// Each frame a client sends is answered in turn, unless a client's test orders a difficult server.
TEST_F(RealtimeTest, clientFramesAreAnsweredInTurnOrAsAClientsTestOrders)
{
    auto client = connectClient();
    ASSERT_TRUE(client->subscribe(u"CH_1001"_s));
    EXPECT_EQ(client->frames.last(),
              jsonObject(R"({"event":"pusher_internal:subscription_succeeded",
                                                   "channel":"CH_1001","data":"{}"})"));
    // Frames, each answered in turn by one frame; then a binary one, which gets an error.
    const QList<QStringList> rows = caseTable(u"devserver_cases.txt", u"client frames");
    for (const QStringList &row : rows)
        client->send(row[0]);
    client->socket.sendBinaryMessage("x");
    ASSERT_TRUE(waitUntil([&] { return client->frames.size() == rows.size() + 3; }));
    for (qsizetype i = 0; i < rows.size(); ++i)
        EXPECT_TRUE(has(client->frames[i + 2], rows[i][1])) << qPrintable(rows[i][0]);
    EXPECT_TRUE(has(client->frames.last(), uR"("event":"pusher:error")"_s));
    EXPECT_TRUE(has(client->frames.last()["data"_L1], uR"("code":4301)"_s));

    // A client's test closes a connection with its code and reason.
    const QString close =
        uR"({"socket_id":"%1","code":4200,"reason":"again"})"_s.arg(client->socketId());
    EXPECT_EQ(admin(u"realtime/close"_s, close.toUtf8()).status, 200);
    ASSERT_TRUE(waitUntil([&] { return client->closed; }));
    EXPECT_EQ(client->socket.closeReason() + QString::number(int(client->socket.closeCode())),
              u"again4200"_s);
    // Later connections get another activity timeout, and no answer to pusher:ping.
    EXPECT_EQ(admin(u"realtime/quirks"_s, R"({"answerPings":false,"activityTimeout":7})").status,
              200);
    auto late = connectClient();
    EXPECT_EQ(dataOf(late->frames[0])["activity_timeout"_L1], 7);
    late->ping();
    late->send(uR"({"event":"pusher:subscribe","data":{}})"_s); // answered after the ping
    ASSERT_TRUE(late->waitFor(u"pusher:subscription_error"_s));
    EXPECT_EQ(late->names().count(u"pusher:pong"_s), 0);
}

TEST_F(RealtimeTest, signedTriggersReachEachSubscriberOnceAndRejectedOnesNobody)
{
    const auto event = [](const QString &name, const QJsonValue &channels,
                          const QJsonValue &data = u"{}"_s) {
        QJsonObject body{{u"name"_s, name}, {u"data"_s, data}};
        body.insert(channels.isArray() ? u"channels"_s : u"channel"_s, channels);
        return QJsonDocument(body).toJson(QJsonDocument::Compact);
    };
    // One delivery per subscribed socket however often it subscribed; none after unsubscribing.
    auto a = connectClient(), b = connectClient(), other = connectClient();
    ASSERT_TRUE(a->subscribe(u"CH_1001"_s) && a->subscribe(u"CH_1001"_s) && a->subscribe(u"CH_7"_s)
                && b->subscribe(u"CH_1001"_s) && other->subscribe(u"CH_9"_s)
                && other->subscribe(u"CH_1001"_s));
    other->send(uR"({"event":"pusher:unsubscribe","data":{"channel":"CH_1001"}})"_s);
    other->ping();
    ASSERT_TRUE(other->waitFor(u"pusher:pong"_s));
    const PusherApp &app = m_server->hub().app();
    const auto signedAt = [&](qint64 at, const QByteArray &body, const PusherApp &as) {
        return signedQuery(as, "POST", u"/apps/vantora/events"_s, body, at);
    };
    const QString data = uR"({"poll":{"_id":{"$id":"p100"}},"note":"caf\u00e9 \"quoted\" \\ /"})"_s;
    const HttpResult sent =
        trigger(event(u"both"_s, QJsonArray{u"CH_1001"_s, u"CH_7"_s, u"CH_1001"_s}, data));
    EXPECT_EQ(QByteArray::number(sent.status) + ' ' + sent.body, "200 {}");
    QJsonObject excluding =
        jsonObject(event(u"excluding"_s, u"CH_1001"_s, QJsonObject{{u"k"_s, 1}}));
    excluding.insert(u"socket_id"_s, b->socketId()); // an object as data travels as JSON text
    EXPECT_EQ(trigger(QJsonDocument(excluding).toJson()).status, 200);
    const QByteArray early = event(u"early"_s, u"CH_1001"_s), late = event(u"late"_s, u"CH_1001"_s);
    EXPECT_EQ(trigger(early, signedAt(m_now - 600, early, app)).status, 200);
    EXPECT_EQ(trigger(late, signedAt(m_now + 600, late, app)).status, 200);
    EXPECT_EQ(trigger(event(u"full"_s, u"CH_1001"_s, QString(10240, u'a'))).status, 200);

    // Refused, they reach nobody.
    const QByteArray x = event(u"x"_s, u"CH_1001"_s);
    const auto tampered = [&](const QString &key, const std::optional<QString> &value) {
        QueryItems query = signedAt(m_now, x, app);
        query.removeIf([&](const auto &item) { return item.first == key; });
        if (value)
            query.append({key, *value});
        return query;
    };
    for (const QueryItems &query :
         {signedAt(m_now, x, {app.id, app.key, u"guess"_s}),
          signedAt(m_now, x, {app.id, u"f00d"_s, app.secret}), signedAt(m_now - 601, x, app),
          signedAt(m_now + 601, x, app), tampered(u"body_md5"_s, std::nullopt),
          tampered(u"body_md5"_s, QString(32, u'0')), tampered(u"auth_version"_s, u"2.0"_s)})
        EXPECT_EQ(trigger(x, query).status, 401);
    EXPECT_EQ(trigger(x + ' ', signedAt(m_now, x, app)).status, 401); // signed for another body
    EXPECT_EQ(http("POST", u"/apps/other/events"_s, x).status, 404);
    // Data over 10 KB in bytes, not characters, and bodies that are wrong.
    EXPECT_EQ(trigger(event(u"x"_s, u"CH_1001"_s, QString(5121, u'é'))).status, 413);
    for (const QByteArray &body :
         {event(u"x"_s, QJsonArray::fromStringList(QStringList(101, u"CH_1"_s))),
          event(u"x"_s, QJsonArray{}), event(u"x"_s, u"CH 1"_s),
          event(QString(201, u'n'), u"CH_1"_s), R"({"channel":"CH_1","data":"{}"})"_ba,
          R"({"name":"x","channel":"CH_1"})"_ba,
          R"({"name":"x","channel":"CH_1","data":"","socket_id":"1"})"_ba})
        EXPECT_EQ(trigger(body).status, 400) << body.constData();

    for (auto *client : {a.get(), b.get(), other.get()}) {
        client->ping(); // answered after all the above
        ASSERT_TRUE(client->waitFor(u"pusher:pong"_s, client == other.get() ? 2 : 1));
    }
    const QString later = u" early late full pusher:pong"_s;
    EXPECT_EQ(a->names().mid(4).join(u' '), u"both both excluding"_s + later);
    EXPECT_EQ(b->names().mid(2).join(u' '), u"both"_s + later);
    EXPECT_EQ(other->names().mid(4), QStringList{u"pusher:pong"_s});
    EXPECT_EQ(a->frames[4]["data"_L1], data);
    EXPECT_EQ(a->frames[5]["channel"_L1], u"CH_7"_s);
    EXPECT_EQ(a->frames[6]["data"_L1], u"{\"k\":1}"_s);
}

TEST_F(RealtimeTest, broadcasterEventsCarryExactlyWhatClientsRead)
{
    auto client = connectClient();
    ASSERT_TRUE(client->subscribe(u"CH_1001"_s));
    for (const QStringList &row : caseTable(u"devserver_cases.txt", u"broadcaster refusals"))
        EXPECT_EQ(admin(row[0], row[1].toUtf8()).status, row[2].toInt()) << qPrintable(row[1]);
    const QString token = api(u"/user/register"_s, "$W").json()["token"_L1].toString();
    ASSERT_EQ(api(u"/poll/answer_new/pr200"_s, R"($W,"answer":"Draw")", token).status, 200);

    // Each accepted request publishes one event and replies with what it sent.
    const auto received = [&](const char *operation, const QByteArray &body) {
        const qsizetype before = client->frames.size();
        const QJsonObject reply = admin(QString::fromLatin1(operation), body).json();
        EXPECT_EQ(reply["delivered"_L1], 1) << operation;
        EXPECT_TRUE(waitUntil([&] { return client->frames.size() > before; })) << operation;
        const QJsonObject frame = client->frames.last();
        EXPECT_EQ(frame["channel"_L1], u"CH_1001"_s);
        EXPECT_TRUE(frame["data"_L1].isString()); // clients require a JSON text
        EXPECT_EQ(dataOf(frame), reply["data"_L1].toObject());
        return dataOf(frame);
    };
    // Defaults: 30 s, shown again to those who answered, closed after answering, starting now.
    QJsonObject options = jsonObject(R"({"smartTV":true,"once_per_user":false,"timeToStay":30,
                                        "close_post_interaction":false,"starting_time":1795400000})");
    QJsonObject poll =
        received("inject",
                 R"({"channel":"1001","kind":"poll","id":"pr200","close_post_interaction":false})");
    EXPECT_EQ(poll["poll"_L1]["id"_L1], u"pr200"_s);
    EXPECT_EQ(poll.take("poll"_L1)["answers"_L1][2]["totals"_L1], 1); // live totals
    EXPECT_EQ(poll, options);
    QJsonObject rating = received("inject", R"({"channel":"1001","kind":"rating","id":"r300"})");
    EXPECT_EQ(rating.take("rating"_L1)["id"_L1], u"r300"_s);
    options.insert(u"close_post_interaction"_s, true);
    EXPECT_EQ(rating, options);
    const QJsonObject info =
        received("streamer-info", R"({"channel":"1001"})")["streamerInfo"_L1].toObject();
    EXPECT_EQ(info["predictions"_L1][0]["answers"_L1][2]["totals"_L1], 1);
    for (const QStringList &row : caseTable(u"devserver_cases.txt", u"broadcaster events"))
        EXPECT_EQ(received(qPrintable(row[0]), row[1].toUtf8()), jsonObject(row[2].toUtf8()))
            << qPrintable(row[1]);
    EXPECT_EQ(
        client->names().mid(2).join(u' '),
        u"injectPoll injectRating streamerInfo injectQuiz stop_poll pollWin initiateRefresh"_s);
}
