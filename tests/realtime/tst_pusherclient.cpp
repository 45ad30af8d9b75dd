// The Pusher protocol client against a scripted server in the process, in virtual time: the
// client conformance items C-1 to C-19 of the protocol notes, family by family.

#include "vantora/realtime/pusherclient_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"

#include "scriptedserver.h"
#include "testsupport.h"

#include <QJsonObject>
#include <QRegularExpression>
#include <QUrlQuery>

#include <gtest/gtest.h>

#include <memory>

using namespace Vantora;
using namespace Vantora::TestSupport;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using State = PusherClient::State;
using Error = std::pair<std::optional<int>, QString>;

namespace {

const QString channel = u"CH_42"_s;

QJsonObject frame(const QString &event, const QJsonValue &data,
                  const std::optional<QString> &onChannel = channel)
{
    QJsonObject object{{u"event"_s, event}};
    if (!data.isUndefined())
        object.insert(u"data"_s, data);
    if (onChannel)
        object.insert(u"channel"_s, *onChannel);
    return object;
}

QJsonObject sent(const QString &event, const QJsonObject &data = {})
{
    return QJsonObject{{u"event"_s, event}, {u"data"_s, data}};
}

const QJsonValue noData = QJsonValue(QJsonValue::Undefined);

// Every state a client passes through, with the virtual time it happened at. Attempts are the
// entries into Connecting, losses after which the client will try again those into
// WaitingToReconnect; both can come and go within one turn of the event loop.
class StateLog
{
public:
    StateLog(PusherClient &client, VirtualTimeScheduler &clock)
    {
        QObject::connect(&client, &PusherClient::stateChanged, &client, [this, &clock](State s) {
            m_entries.append({clock.monotonicTime(), s});
        });
    }
    qsizetype count(State state) const
    {
        return std::count_if(m_entries.begin(), m_entries.end(),
                             [state](const auto &entry) { return entry.second == state; });
    }
    /// When the client entered `state` for the `n`th time (1-based).
    std::chrono::milliseconds time(State state, qsizetype n) const
    {
        for (const auto &entry : m_entries) {
            if (entry.second == state && --n == 0)
                return entry.first;
        }
        return std::chrono::milliseconds{-1};
    }

private:
    QList<std::pair<std::chrono::milliseconds, State>> m_entries;
};

// After the `loss`th loss, the next attempt starts exactly `delay` later in virtual time and, when
// every attempt reaches the server, opens a new connection and leaves no other open.
void expectRetry(VirtualTimeScheduler &clock, ScriptedServer *server, const StateLog &log,
                 qsizetype loss, std::chrono::milliseconds delay)
{
    SCOPED_TRACE(testing::Message() << "loss " << loss << ", expected delay " << delay.count());
    ASSERT_TRUE(spinUntil(clock, [&] { return log.count(State::WaitingToReconnect) >= loss; }));
    const std::chrono::milliseconds lostAt = log.time(State::WaitingToReconnect, loss);
    if (delay > 0ms) {
        clock.advanceBy(lostAt + delay - clock.monotonicTime() - 1ms);
        settle(clock);
        ASSERT_EQ(log.count(State::Connecting), loss) << "too early";
        clock.advanceBy(1ms);
    } else {
        clock.runPending();
    }
    ASSERT_TRUE(spinUntil(clock, [&] { return log.count(State::Connecting) > loss; }));
    EXPECT_EQ(log.time(State::Connecting, loss + 1), lostAt + delay);
    if (!server)
        return;
    ASSERT_TRUE(spinUntil(clock, [&] { return server->count() > loss; }));
    EXPECT_TRUE(spinUntil(clock, [&] { return server->openCount() == 1; }))
        << "more than one socket open";
}

class PusherClientTest : public testing::Test
{
protected:
    PusherClient &makeClient(PusherOptions options = {})
    {
        options.host = u"127.0.0.1"_s;
        options.port = server.port();
        options.useTLS = false;
        client = std::make_unique<PusherClient>(u"K"_s, options);
        log = std::make_unique<StateLog>(*client, clock);
        QObject::connect(client.get(), &PusherClient::errorReceived,
                         [this](std::optional<int> code, const QString &message) {
                             errors.append({code, message});
                         });
        QObject::connect(client.get(), &PusherClient::subscriptionSucceeded,
                         [this](const QString &name) { succeeded.append(name); });
        client->subscribe(channel);
        client->bind(channel, u"live"_s, &owner, [this](const std::optional<QString> &data) {
            delivered.append(data.value_or(u"(no data)"_s));
        });
        return *client;
    }

    void connectAndHandshake(int activityTimeout = 120)
    {
        client->connect();
        ASSERT_TRUE(waitForConnections(1));
        server.handshake(0, activityTimeout);
        ASSERT_TRUE(spinUntil(clock, [&] { return !server.events(0).isEmpty(); }));
        ASSERT_EQ(client->state(), State::Connected);
    }

    bool waitForConnections(qsizetype count)
    {
        return spinUntil(clock, [&] { return server.count() >= count; });
    }

    // Sends frames, then one marker event, and waits until the marker arrives: whatever the
    // frames before it caused has happened by then.
    void sendThenMark(const QList<QJsonObject> &frames, qsizetype connection = 0)
    {
        for (const QJsonObject &f : frames)
            server.send(connection, f);
        server.send(connection, frame(u"live"_s, u"mark"_s));
        ASSERT_TRUE(spinUntil(clock, [&] { return delivered.contains(u"mark"_s); }));
        delivered.removeAll(u"mark"_s);
    }

    VirtualTimeScheduler clock;
    ScriptedServer server;
    QObject owner;
    std::unique_ptr<PusherClient> client;
    std::unique_ptr<StateLog> log;
    QStringList delivered;
    QList<Error> errors;
    QStringList succeeded;
};

} // namespace

// C-1 ----------------------------------------------------------------------------------------

TEST(PusherClientUrl, hostPortAndSchemeFollowClusterTlsAndOverrides)
{
    struct Row
    {
        const char *name;
        PusherOptions options;
        QString expected;
    };
    PusherOptions secure;
    secure.cluster = u"mt1"_s;
    PusherOptions plain = secure;
    plain.useTLS = false;
    PusherOptions overridden = plain;
    overridden.host = u"127.0.0.1"_s;
    overridden.port = 6001;
    PusherOptions secureOverride;
    secureOverride.cluster = u"eu"_s;
    secureOverride.host = u"ws-eu.realtime.example"_s;
    const Row rows[] = {
        {"cluster, TLS by default", secure, u"wss://ws-mt1.pusher.com:443/app/K"_s},
        {"cluster without TLS", plain, u"ws://ws-mt1.pusher.com:80/app/K"_s},
        {"host and port override", overridden, u"ws://127.0.0.1:6001/app/K"_s},
        {"host override keeps TLS", secureOverride, u"wss://ws-eu.realtime.example:443/app/K"_s},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const QUrl url = PusherClient(u"K"_s, row.options).url();
        EXPECT_EQ(url.toString(QUrl::RemoveQuery), row.expected);
        const QUrlQuery query(url);
        EXPECT_EQ(query.queryItemValue(u"protocol"_s), u"7"_s);
        EXPECT_EQ(query.queryItemValue(u"client"_s), u"vantora-cpp"_s);
        EXPECT_TRUE(QRegularExpression(u"^\\d+\\.\\d+\\.\\d+$"_s)
                        .match(query.queryItemValue(u"version"_s))
                        .hasMatch());
        EXPECT_EQ(query.queryItems().size(), 3);
    }
}

// C-2, C-3, C-5, C-6 ---------------------------------------------------------------------------

TEST_F(PusherClientTest, nothingGoesOutBeforeTheHandshakeThenOneSubscribePerChannel)
{
    makeClient();
    client->connect();
    ASSERT_TRUE(waitForConnections(1));
    EXPECT_EQ(server.connection(0).url.path(), u"/app/K"_s);
    EXPECT_EQ(QUrlQuery(server.connection(0).url).queryItemValue(u"protocol"_s), u"7"_s);
    settle(clock);
    EXPECT_EQ(server.events(0), QStringList{}) << "nothing before the handshake";
    EXPECT_EQ(client->state(), State::Connecting);
    EXPECT_EQ(client->socketId(), QString());

    server.handshake(0);
    ASSERT_TRUE(spinUntil(clock, [&] { return !server.events(0).isEmpty(); }));
    client->subscribe(channel); // already wanted: no second frame
    settle(clock);
    EXPECT_EQ(server.connection(0).received,
              QList<QJsonObject>{sent(u"pusher:subscribe"_s, {{u"channel"_s, channel}})});
    EXPECT_EQ(client->socketId(), u"1234.5678"_s);
    EXPECT_FALSE(client->isSubscribed(channel)) << "subscribed only once the server says so";

    client->subscribe(u"CH_7"_s); // while connected: at once
    ASSERT_TRUE(spinUntil(clock, [&] { return server.events(0).size() == 2; }));
    EXPECT_EQ(server.connection(0).received.last(),
              sent(u"pusher:subscribe"_s, {{u"channel"_s, u"CH_7"_s}}));

    sendThenMark({frame(u"pusher_internal:subscription_succeeded"_s, u"{}"_s, u"CH_other"_s)});
    EXPECT_FALSE(client->isSubscribed(channel));
    sendThenMark({frame(u"pusher_internal:subscription_succeeded"_s, u"{}"_s),
                  frame(u"pusher_internal:subscription_succeeded"_s, u"{}"_s)});
    EXPECT_TRUE(client->isSubscribed(channel));
    EXPECT_FALSE(client->isSubscribed(u"CH_7"_s));
    EXPECT_EQ(succeeded, QStringList{channel});

    QStringList refused;
    QObject::connect(client.get(), &PusherClient::subscriptionFailed,
                     [&](const QString &name, const QString &) { refused << name; });
    sendThenMark({frame(u"pusher:subscription_error"_s, u"{\"status\":4009}"_s, u"CH_7"_s)});
    settle(clock);
    EXPECT_EQ(refused, QStringList{u"CH_7"_s});
    EXPECT_EQ(server.events(0).size(), 2) << "a refused channel is not asked for again";
    EXPECT_EQ(errors, QList<Error>{});
}

TEST_F(PusherClientTest, theHandshakeGivesTheSocketIdInEitherDataForm)
{
    struct Row
    {
        const char *name;
        QJsonValue data;
        QString socketId; ///< empty: the handshake is refused and the attempt counts as failed
    };
    const Row rows[] = {
        {"data as JSON text", u"{\"socket_id\":\"12.34\",\"activity_timeout\":120}"_s, u"12.34"_s},
        {"data as an object", QJsonObject{{u"socket_id"_s, u"56.78"_s}}, u"56.78"_s},
        {"no socket id", QJsonObject{{u"activity_timeout"_s, 120}}, QString()},
        {"data not JSON", u"socket"_s, QString()},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedServer fresh;
        PusherOptions options;
        options.host = u"127.0.0.1"_s;
        options.port = fresh.port();
        options.useTLS = false;
        PusherClient subject(u"K"_s, options);
        const StateLog states(subject, clock);
        subject.connect();
        ASSERT_TRUE(spinUntil(clock, [&] { return fresh.count() == 1; }));
        fresh.send(0, frame(u"pusher:connection_established"_s, row.data, std::nullopt));
        if (row.socketId.isEmpty()) {
            ASSERT_TRUE(spinUntil(clock, [&] { return fresh.count() == 2; }))
                << "a failed attempt, retried";
            EXPECT_EQ(states.count(State::Connected), 0);
            EXPECT_EQ(subject.socketId(), QString());
        } else {
            ASSERT_TRUE(spinUntil(clock, [&] { return subject.state() == State::Connected; }));
            EXPECT_EQ(subject.socketId(), row.socketId);
        }
        subject.disconnect();
        EXPECT_EQ(subject.socketId(), QString()) << "cleared on disconnect";
    }
}

// C-4, C-11, C-12, C-13 -------------------------------------------------------------------------

TEST_F(PusherClientTest, theShorterActivityTimeoutDecidesWhenTheClientPings)
{
    struct Row
    {
        const char *name;
        std::chrono::milliseconds configured;
        std::optional<int> server; ///< absent: the handshake omits it
        std::chrono::milliseconds pingAfter;
    };
    const Row rows[] = {
        {"server shorter", 120s, 10, 10s},
        {"ours shorter", 120s, 500, 120s},
        {"server silent on it", 120s, std::nullopt, 120s},
        {"server says zero", 60s, 0, 60s},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedServer fresh;
        PusherOptions options;
        options.activityTimeout = row.configured;
        options.host = u"127.0.0.1"_s;
        options.port = fresh.port();
        options.useTLS = false;
        PusherClient pinging(u"K"_s, options);
        pinging.connect();
        ASSERT_TRUE(spinUntil(clock, [&] { return fresh.count() == 1; }));
        QJsonObject data{{u"socket_id"_s, u"1.2"_s}};
        if (row.server)
            data.insert(u"activity_timeout"_s, *row.server);
        fresh.handshake(0, data);
        ASSERT_TRUE(spinUntil(clock, [&] { return pinging.state() == State::Connected; }));
        EXPECT_EQ(pinging.activityTimeout(), row.pingAfter);

        clock.advanceBy(row.pingAfter - 1ms);
        settle(clock);
        EXPECT_EQ(fresh.events(0), QStringList{});
        clock.advanceBy(1ms);
        ASSERT_TRUE(spinUntil(clock, [&] { return !fresh.events(0).isEmpty(); }));
        EXPECT_EQ(fresh.connection(0).received, QList<QJsonObject>{sent(u"pusher:ping"_s)});
        pinging.disconnect();
    }
}

TEST_F(PusherClientTest, anyInboundFramePostponesThePingAndAnswersAPendingOne)
{
    makeClient();
    connectAndHandshake(10);
    clock.advanceBy(6s);
    sendThenMark({frame(u"pusher:pong"_s, u"{}"_s, std::nullopt)});
    clock.advanceBy(10s - 1ms);
    settle(clock);
    EXPECT_EQ(server.events(0), QStringList{u"pusher:subscribe"_s}) << "postponed by a full 10 s";
    clock.advanceBy(1ms);
    ASSERT_TRUE(spinUntil(clock, [&] { return server.events(0).size() == 2; }));
    EXPECT_EQ(server.events(0).last(), u"pusher:ping"_s);

    server.send(0, frame(u"pusher:pong"_s, u"{}"_s, std::nullopt));
    settle(clock);
    clock.advanceBy(30s); // the pong came, so the pong time-out does not close the connection
    settle(clock);
    EXPECT_EQ(server.count(), 1);
    EXPECT_FALSE(server.connection(0).closed);
}

TEST_F(PusherClientTest, theServersPingsAreAnsweredAtOnce)
{
    makeClient();
    connectAndHandshake();
    server.send(0, frame(u"pusher:ping"_s, u"{}"_s, std::nullopt));
    ASSERT_TRUE(spinUntil(clock, [&] { return server.events(0).size() == 2; }));
    EXPECT_EQ(server.connection(0).received.last(), sent(u"pusher:pong"_s));

    server.connection(0).socket->ping("are you there");
    ASSERT_TRUE(spinUntil(clock, [&] { return server.connection(0).pongs == 1; }));
    EXPECT_EQ(clock.monotonicTime(), 0ms) << "answered without any timer";
}

TEST_F(PusherClientTest, aSilentServerIsLeftAfterThePongTimeoutAndChannelsAreRenewed)
{
    makeClient();
    client->subscribe(u"CH_7"_s);
    connectAndHandshake(10);
    clock.advanceBy(10s);
    ASSERT_TRUE(spinUntil(clock, [&] { return server.events(0).contains(u"pusher:ping"_s); }));

    clock.advanceBy(30s - 1ms);
    settle(clock);
    EXPECT_FALSE(server.connection(0).closed);
    EXPECT_EQ(server.count(), 1);
    clock.advanceBy(1ms);
    ASSERT_TRUE(spinUntil(clock, [&] { return server.connection(0).closed; }));
    expectRetry(clock, &server, *log, 1, 0ms);

    server.handshake(1);
    ASSERT_TRUE(spinUntil(clock, [&] { return server.events(1).size() == 2; }));
    settle(clock);
    QStringList channels;
    for (const QJsonObject &f : server.connection(1).received)
        channels << f[u"data"_s][u"channel"_s].toString();
    channels.sort();
    EXPECT_EQ(server.events(1), (QStringList{u"pusher:subscribe"_s, u"pusher:subscribe"_s}));
    EXPECT_EQ(channels, (QStringList{channel, u"CH_7"_s})) << "each wanted channel once";
    sendThenMark({frame(u"live"_s, u"after"_s)}, 1);
    EXPECT_EQ(delivered, QStringList{u"after"_s}) << "bindings outlive the connection";
}

// C-8, C-9, C-10 ------------------------------------------------------------------------------

TEST_F(PusherClientTest, onlyBoundEventsOfWantedChannelsArriveWithTheirRawDataText)
{
    makeClient();
    QStringList replaced;
    client->bind(channel, u"live"_s, &owner,
                 [&](const std::optional<QString> &) { replaced << u"first binding"_s; });
    client->bind(channel, u"live"_s, &owner, [this](const std::optional<QString> &data) {
        delivered.append(data.value_or(u"(no data)"_s));
    });
    client->bind(channel, u"pusher:cache_miss"_s, &owner,
                 [&](const std::optional<QString> &) { replaced << u"protocol event"_s; });
    client->bind(u"CH_43"_s, u"live"_s, &owner,
                 [&](const std::optional<QString> &) { replaced << u"channel not wanted"_s; });
    connectAndHandshake();

    const QString raw = u"{\"poll\":{\"_id\":{\"$id\":\"é\\\"x\"}}, \"n\": 1.50}"_s;
    server.send(0, frame(u"live"_s, raw));
    server.send(0, frame(u"live"_s, u"a\u0000b"_s));
    // JSON has no integer limit; a member nobody reads is ignored whatever it holds.
    server.send(0,
                QByteArray(R"({"event":"live","channel":"CH_42","data":"big","n":1)")
                    + QByteArray(30, '0') + '}');
    server.send(0, frame(u"live"_s, u"x"_s, u"CH_43"_s));
    server.send(0, frame(u"live"_s, u"x"_s, std::nullopt));
    server.send(0, frame(u"unbound"_s, u"x"_s));
    server.send(0, frame(u"pusher:cache_miss"_s, u"x"_s));
    server.send(0, frame(u"pusher_internal:subscription_count"_s, u"{}"_s));
    server.send(0, frame(u"pusher:signin_success"_s, u"{}"_s));
    // Data that is not a text arrives as no data at all.
    server.send(0, frame(u"live"_s, QJsonObject{{u"a"_s, 1}}));
    server.send(0, frame(u"live"_s, 7));
    server.send(0, frame(u"live"_s, noData));
    // Frames that are not Pusher events.
    server.send(0, QByteArray("not json"));
    server.send(0, QByteArray("[\"live\"]"));
    server.send(0, QByteArray("{\"channel\":\"CH_42\",\"data\":\"x\"}"));
    server.send(0, QByteArray("{\"event\":7,\"channel\":\"CH_42\",\"data\":\"x\"}"));
    server.send(0, QByteArray("{\"event\":\"live\",\"channel\":42,\"data\":\"x\"}"));
    server.send(0, QByteArray("{\"event\":\"live\",\"channel\":\"CH_42\",\"data\":\"x\""));
    server.connection(0).socket->sendBinaryMessage("{\"event\":\"live\",\"data\":\"bin\"}");
    sendThenMark({});

    EXPECT_EQ(delivered,
              (QStringList{raw, u"a\u0000b"_s, u"big"_s, u"(no data)"_s, u"(no data)"_s,
                           u"(no data)"_s}));
    EXPECT_EQ(replaced, QStringList{});
    EXPECT_EQ(server.count(), 1);
    EXPECT_FALSE(server.connection(0).closed);
    EXPECT_EQ(client->state(), State::Connected);
    EXPECT_EQ(errors, QList<Error>{});
}

// C-14 ----------------------------------------------------------------------------------------

TEST_F(PusherClientTest, anErrorWithoutACloseIsReportedAndTheConnectionStays)
{
    makeClient();
    connectAndHandshake();
    sendThenMark(
        {frame(u"pusher:error"_s, QJsonObject{{u"code"_s, 4301}, {u"message"_s, u"rate limited"_s}},
               std::nullopt),
         frame(u"pusher:error"_s,
               QJsonObject{{u"code"_s, QJsonValue::Null}, {u"message"_s, u"odd"_s}},
               std::nullopt)});
    EXPECT_EQ(errors, (QList<Error>{{4301, u"rate limited"_s}, {std::nullopt, u"odd"_s}}));
    EXPECT_EQ(client->state(), State::Connected);
    EXPECT_EQ(server.count(), 1);
    EXPECT_FALSE(server.connection(0).closed);
}

// C-14 (an error for a handshake), C-15, C-16, C-17 ---------------------------------------------

TEST_F(PusherClientTest, closeCodesDecideWhetherAndWhenToReconnect)
{
    enum class How { Close, ErrorInsteadOfHandshake, Drop };
    struct Row
    {
        const char *name;
        How how;
        int code;
        /// Delays before the reconnections after three losses in a row, the first one after a
        /// handshake; empty: never reconnects.
        QList<std::chrono::milliseconds> delays;
    };
    using ms = std::chrono::milliseconds;
    const QList<ms> never;
    const Row rows[] = {
        {"4000 only TLS", How::Close, 4000, never},
        {"4001 unknown app", How::Close, 4001, never},
        {"4099", How::Close, 4099, never},
        {"4001 instead of the handshake", How::ErrorInsteadOfHandshake, 4001, never},
        {"4100 over capacity", How::Close, 4100, {1s, 1s, 4s}},
        {"4199", How::Close, 4199, {1s, 1s, 4s}},
        {"4100 instead of the handshake", How::ErrorInsteadOfHandshake, 4100, {1s, 1s, 4s}},
        {"4200 generic", How::Close, 4200, {0ms, 0ms, 0ms}},
        {"4201 pong not received", How::Close, 4201, {0ms, 0ms, 0ms}},
        {"4299", How::Close, 4299, {0ms, 0ms, 0ms}},
        {"4200 instead of the handshake", How::ErrorInsteadOfHandshake, 4200, {0ms, 0ms, 0ms}},
        {"4301 other error", How::Close, 4301, {0ms, 1s, 4s}},
        {"1000 clean close", How::Close, 1000, {0ms, 1s, 4s}},
        {"1001 going away", How::Close, 1001, {0ms, 1s, 4s}},
        {"dropped without a close", How::Drop, 0, {0ms, 1s, 4s}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedServer fresh;
        PusherOptions options;
        options.host = u"127.0.0.1"_s;
        options.port = fresh.port();
        options.useTLS = false;
        PusherClient subject(u"K"_s, options);
        const StateLog states(subject, clock);
        QList<Error> reported;
        QObject::connect(&subject, &PusherClient::errorReceived,
                         [&](std::optional<int> code, const QString &message) {
                             reported.append({code, message});
                         });
        subject.connect();
        ASSERT_TRUE(spinUntil(clock, [&] { return fresh.count() == 1; }));
        if (row.how != How::ErrorInsteadOfHandshake) {
            fresh.handshake(0);
            ASSERT_TRUE(spinUntil(clock, [&] { return subject.state() == State::Connected; }));
        }

        const qsizetype losses = row.delays.isEmpty() ? 1 : 3;
        for (qsizetype loss = 1; loss <= losses; ++loss) {
            const qsizetype index = loss - 1;
            switch (row.how) {
            case How::Close:
                fresh.closeWith(index, row.code, u"reason %1"_s.arg(row.code));
                break;
            case How::ErrorInsteadOfHandshake:
                fresh.send(index,
                           frame(u"pusher:error"_s,
                                 QJsonObject{{u"code"_s, row.code},
                                             {u"message"_s, u"reason %1"_s.arg(row.code)}},
                                 std::nullopt));
                break;
            case How::Drop:
                fresh.drop(index);
                break;
            }
            if (row.delays.isEmpty()) {
                ASSERT_TRUE(
                    spinUntil(clock, [&] { return subject.state() == State::Disconnected; }));
                break;
            }
            expectRetry(clock, &fresh, states, loss, row.delays[index]);
            if (testing::Test::HasFatalFailure())
                return;
        }

        if (row.delays.isEmpty()) {
            EXPECT_EQ(subject.state(), State::Disconnected);
            EXPECT_EQ(reported, (QList<Error>{{row.code, u"reason %1"_s.arg(row.code)}}));
            EXPECT_EQ(clock.pendingCount(), 0);
            clock.advanceBy(10min);
            settle(clock);
            EXPECT_EQ(fresh.count(), 1);
        } else {
            EXPECT_EQ(reported, QList<Error>{});
        }
        subject.disconnect();
    }
}

TEST_F(PusherClientTest, refusedAttemptsBackOffQuadraticallyUpToTwoMinutesThenStartOver)
{
    const quint16 port = server.port();
    server.stopListening();
    makeClient();
    client->connect(); // refused at once: the first retry is immediate
    const QList<int> seconds{0, 1, 4, 9, 16, 25, 36, 49, 64, 81, 100, 120, 120};
    for (qsizetype loss = 1; loss <= seconds.size(); ++loss) {
        expectRetry(clock, nullptr, *log, loss, std::chrono::seconds(seconds[loss - 1]));
        if (HasFatalFailure())
            return;
    }
    EXPECT_EQ(server.count(), 0);

    ASSERT_TRUE(server.listen(port)); // the server is back
    const qsizetype lost = seconds.size() + 1;
    ASSERT_TRUE(spinUntil(clock, [&] { return log->count(State::WaitingToReconnect) == lost; }));
    clock.advanceBy(120s);
    ASSERT_TRUE(waitForConnections(1));
    server.handshake(0);
    ASSERT_TRUE(spinUntil(clock, [&] { return !server.events(0).isEmpty(); }));
    EXPECT_EQ(server.events(0), QStringList{u"pusher:subscribe"_s});

    server.drop(0); // a success restarts the count
    ASSERT_TRUE(spinUntil(clock, [&] { return server.count() == 2; }));
    EXPECT_EQ(log->time(State::Connecting, lost + 2),
              log->time(State::WaitingToReconnect, lost + 1));
    server.drop(1);
    ASSERT_TRUE(
        spinUntil(clock, [&] { return log->count(State::WaitingToReconnect) == lost + 2; }));
    clock.advanceBy(1s - 1ms);
    settle(clock);
    EXPECT_EQ(server.count(), 2);
    clock.advanceBy(1ms);
    ASSERT_TRUE(spinUntil(clock, [&] { return server.count() == 3; }));
}

TEST_F(PusherClientTest, anAttemptWithoutAHandshakeGivesUpAfterFifteenSeconds)
{
    makeClient();
    client->connect();
    ASSERT_TRUE(waitForConnections(1));
    clock.advanceBy(15s - 1ms);
    settle(clock);
    EXPECT_FALSE(server.connection(0).closed);
    clock.advanceBy(1ms);
    ASSERT_TRUE(spinUntil(clock, [&] { return server.connection(0).closed; }));
    expectRetry(clock, &server, *log, 1, 0ms);
    clock.advanceBy(15s);
    ASSERT_TRUE(spinUntil(clock, [&] { return server.connection(1).closed; }));
    expectRetry(clock, &server, *log, 2, 1s);
}

// C-18 ----------------------------------------------------------------------------------------

TEST_F(PusherClientTest, disconnectStopsEverythingInEveryState)
{
    enum class Before { Nothing, Connecting, Connected, WaitingToReconnect };
    struct Row
    {
        const char *name;
        Before before;
        bool socketOpen;
    };
    const Row rows[] = {
        {"never connected", Before::Nothing, false},
        {"waiting for the handshake", Before::Connecting, true},
        {"connected", Before::Connected, true},
        {"waiting to reconnect", Before::WaitingToReconnect, false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedServer fresh;
        PusherOptions options;
        options.host = u"127.0.0.1"_s;
        options.port = fresh.port();
        options.useTLS = false;
        PusherClient subject(u"K"_s, options);
        QStringList heard;
        subject.subscribe(channel);
        subject.bind(channel, u"live"_s, &owner, [&](const std::optional<QString> &data) {
            heard << data.value_or(QString());
        });
        if (row.before != Before::Nothing) {
            subject.connect();
            ASSERT_TRUE(spinUntil(clock, [&] { return fresh.count() == 1; }));
        }
        if (row.before == Before::Connected || row.before == Before::WaitingToReconnect) {
            fresh.handshake(0, 10);
            ASSERT_TRUE(spinUntil(clock, [&] { return !fresh.events(0).isEmpty(); }));
        }
        if (row.before == Before::WaitingToReconnect) {
            fresh.closeWith(0, 4100); // at least a second away
            ASSERT_TRUE(
                spinUntil(clock, [&] { return subject.state() == State::WaitingToReconnect; }));
        }

        subject.disconnect();
        if (row.socketOpen)
            fresh.send(0, frame(u"live"_s, u"too late"_s));
        EXPECT_EQ(subject.state(), State::Disconnected);
        EXPECT_EQ(clock.pendingCount(), 0) << "no timer left behind";
        if (row.socketOpen) {
            ASSERT_TRUE(spinUntil(clock, [&] { return fresh.connection(0).closed; }));
            EXPECT_EQ(fresh.connection(0).closeCode, 1000);
        }
        clock.advanceBy(10min);
        settle(clock);
        EXPECT_EQ(fresh.count(), row.before == Before::Nothing ? 0 : 1);
        EXPECT_EQ(heard, QStringList{});
        subject.disconnect(); // again: harmless
        EXPECT_EQ(subject.state(), State::Disconnected);
    }
}

// C-19 ----------------------------------------------------------------------------------------

TEST_F(PusherClientTest, anUnsubscribedChannelIsSilentAndNotRenewed)
{
    makeClient();
    connectAndHandshake();
    client->unsubscribe(channel);
    ASSERT_TRUE(spinUntil(clock, [&] { return server.events(0).size() == 2; }));
    EXPECT_EQ(server.connection(0).received.last(),
              sent(u"pusher:unsubscribe"_s, {{u"channel"_s, channel}}));
    server.send(0, frame(u"live"_s, u"after leaving"_s));
    settle(clock);
    EXPECT_EQ(delivered, QStringList{});

    server.drop(0);
    expectRetry(clock, &server, *log, 1, 0ms);
    server.handshake(1);
    ASSERT_TRUE(spinUntil(clock, [&] { return client->state() == State::Connected; }));
    settle(clock);
    EXPECT_EQ(server.events(1), QStringList{});
}
