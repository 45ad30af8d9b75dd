// The live channel as the overlay holds it, in virtual time: what each of its seven events makes
// the delegate hear, and when, or that it is dropped; the host it connects to; what the server
// hears and when; and whether and when the client comes back after a loss.

#include <vantora/version.h>

#include "scriptedserver.h"
#include "testsupport.h"

#include <gtest/gtest.h>

#include <memory>

using namespace Vantora;
using namespace Vantora::TestSupport;
using namespace std::chrono_literals;

namespace {

// A data text with its stand-ins written out: {P} poll P1, {R} rating R1, {id} the reference to
// poll "abc", {all} every option of an injection, {huge} an integer of 401 digits.
std::optional<QString> expand(const char *data)
{
    if (!data)
        return std::nullopt;
    return QString::fromUtf8(data)
        .replace(u"{P}"_s,
                 uR"({"name":"Who wins?","id":"P1","question":"Who?","questionType":"poll",)"
                 uR"("type":"poll","hideButtons":0,"image":"","time_limit":20,"viewType":"bar",)"
                 uR"("status":"active","answers":[{"answer":"Home","reward":5,)"
                 uR"("isRewardSent":false}],"prizes":[],"expoints":"10"})"_s)
        .replace(u"{R}"_s,
                 uR"({"name":"Rate it","id":"R1","icon":"star","optionsNumber":"5","prizes":[]})"_s)
        .replace(u"{id}"_s, uR"({"_id":{"$id":"abc"}})"_s)
        .replace(u"{all}"_s,
                 uR"("smartTV":true,"once_per_user":true,)"
                 uR"("close_post_interaction":true,"timeToStay":45,"starting_time":9)"_s)
        .replace(u"{huge}"_s, u'1' + QString(400, u'0'));
}

QJsonObject stopPoll(const QString &id, const QString &channel = u"CH_42"_s)
{
    return frame(u"stop_poll"_s, uR"({"poll":{"_id":{"$id":"%1"}}})"_s.arg(id), channel);
}

} // namespace

TEST(PusherHelper, eachPayloadBecomesItsCallInItsTimeOrNothing)
{
    const struct Row
    {
        const char *event;
        const char *data; ///< null: the frame had no data text
        const char *call; ///< empty: dropped
    } rows[] = {
        {"injectPoll", R"({{all},"poll":{P}})", "poll P1 45s close once at 9"},
        {"injectRating", R"({{all},"rating":{R}})", "rating R1 45s close once at 9"},
        {"injectQuiz", R"({{all},"id":"T1"})", "trivia T1 45s close once at 9"},
        {"injectPoll", R"({"smartTV":true,"poll":{P}})", "poll P1 30s"},
        {"injectPoll", R"({"poll":{P}})", ""},
        {"injectQuiz", R"({"smartTV":false,"id":"T1"})", ""},
        {"injectPoll", R"({"smartTV":true,"timeToStay":"45","poll":{P}})", "poll P1 45s"},
        {"injectPoll", R"({"smartTV":true,"timeToStay":45.0,"poll":{P}})", "poll P1 45s"},
        {"injectPoll",
         R"({"smartTV":true,"timeToStay":45.5,"starting_time":"9","once_per_user":1,)"
         R"("close_post_interaction":"true","poll":{P}})",
         "poll P1 30s"},
        // JSON has no integer limit: beyond 64 bits an option takes its default.
        {"injectPoll", R"({"smartTV":true,"timeToStay":{huge},"starting_time":-{huge},"poll":{P}})",
         "poll P1 30s"},
        {"injectPoll", R"({"smartTV":true,"poll":{"id":"P1"}})", ""},
        {"injectRating", R"({"smartTV":true})", ""},
        {"injectQuiz", R"({"smartTV":true,"id":5})", ""},
        {"injectPoll", nullptr, ""},
        {"stop_poll", R"({"poll":)", ""},
        {"pollWin", "", ""},
        {"streamerInfo", "[1,2]", ""},
        {"streamerInfo", R"({"streamerInfo":{"polls":[{P}],"ratings":[{R}],"predictions":[{P}]}})",
         "info [P1] [R1] [P1]"},
        {"streamerInfo", R"({"streamerInfo":{"polls":[],"ratings":[{R},7]}})", "info [] - -"},
        {"streamerInfo", R"({"streamerInfo":{"polls":"P1","ratings":1}})", ""},
        {"streamerInfo", R"({"streamerInfo":"{}"})", ""},
        {"stop_poll", R"({"poll":{id}})", "close abc"},
        {"stop_poll", R"({"poll":{"_id":{"$id":7}}})", ""},
        {"stop_poll", R"({"poll":{"_id":{"id":"abc"}}})", ""},
        {"pollWin", R"({"poll":{id},"answer":"Home","winAmount":"12.5"})", "win Home 12.5 abc"},
        {"pollWin", R"({"poll":{id},"answer":"Home","winAmount":"lots"})", "win Home 0 abc"},
        {"pollWin", R"({"poll":{id},"answer":"Home","winAmount":12.5})", ""},
        {"pollWin", R"({"poll":{id},"winAmount":"1"})", ""},
        {"initiateRefresh", nullptr, "refresh"},
        {"initiateRefresh", "not json", "refresh"},
    };
    // Injections and wins line up with the picture: they wait for the injection delay.
    const QStringList delayed{u"injectPoll"_s, u"injectRating"_s, u"injectQuiz"_s, u"pollWin"_s};
    VirtualTimeScheduler clock;
    RecordingDelegate delegate;
    PusherHelper helper;
    helper.setDelegate(&delegate, &delegate);
    helper.setInjectionDelay(5);
    LogCapture log("vantora.realtime");
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << row.event << " " << (row.data ? row.data : "(none)"));
        delegate.calls.clear();
        const QString event = QString::fromUtf8(row.event);
        helper.handleEvent(event, expand(row.data));
        EXPECT_EQ(delegate.calls, QStringList{}) << "posted, never called from the handler";
        if (delayed.contains(event)) {
            clock.advanceBy(5s - 1ms);
            EXPECT_EQ(delegate.calls, QStringList{}) << "before the injection delay";
            clock.advanceBy(1ms);
        }
        clock.runPending();
        EXPECT_EQ(delegate.calls.join(u'|'), QString::fromUtf8(row.call));
        EXPECT_EQ(clock.pendingCount(), 0);
        // A dropped event says why, once, at debug level; a delivered one is quiet.
        const QStringList lines = log.take();
        if (*row.call)
            EXPECT_EQ(lines, QStringList{});
        else
            EXPECT_TRUE(lines.size() == 1 && lines[0].startsWith(u"dropped "_s + event))
                << lines.join(u'\n').toStdString();
    }
}

TEST(PusherHelper, aWaitingCallGoesWithTheHelper)
{
    VirtualTimeScheduler clock;
    RecordingDelegate delegate;
    auto helper = std::make_unique<PusherHelper>();
    helper->setDelegate(&delegate, &delegate);
    helper->setInjectionDelay(5);
    helper->handleEvent(u"injectQuiz"_s, u"{\"smartTV\":true,\"id\":\"T1\"}"_s);
    helper->handleEvent(u"initiateRefresh"_s, std::nullopt);
    helper.reset(); // the overlay leaves while the calls wait
    clock.advanceBy(5s);
    EXPECT_EQ(delegate.calls, QStringList{});
}

TEST(PusherHelper, connectsToTheDeploymentsRealtimeHostWithTheEnvironmentsKeyAndCluster)
{
    VirtualTimeScheduler clock;
    for (const auto &[realtimeURL, url] :
         {std::pair{"wss://ws-{cluster}.rt.example", "wss://ws-us2.rt.example:443"},
          std::pair{"https://127.0.0.1:8443", "wss://127.0.0.1:8443"},
          std::pair{"ws://127.0.0.1", "ws://127.0.0.1:80"},
          std::pair{"", "wss://ws-us2.pusher.com:443"}}) {
        VTADeployment deployment = VTADeployment::current();
        deployment.realtimeURL = QString::fromUtf8(realtimeURL);
        VTADeployment::configure(deployment);
        PusherHelper helper;
        helper.connect(u"42"_s, {}, VTAEnvironment({}, {}, u"KEY"_s, u"us2"_s, u"test3"_s));
        helper.close();
        EXPECT_EQ(helper.pusher()->url().toString(),
                  QString::fromUtf8(url) + u"/app/KEY?protocol=7&client=vantora-cpp&version="_s
                      + QStringLiteral(VANTORA_VERSION_STRING));
    }
}

TEST(PusherClient, speaksAfterTheHandshakeKeepsTheLineAliveAndGivesWayToANewLoad)
{
    Rig rig;
    rig.start();
    ASSERT_TRUE(rig.until([&] { return rig.connections.size() == 1; }));
    rig.send(0, frame(u"pusher:ping"_s, u"{}"_s));
    rig.send(0, stopPoll(u"early"_s));
    rig.quiet(); // no answer and no delivery before the handshake
    rig.handshake(); // at 0 s, with 10 s of activity time-out
    rig.sendAndWait({frame(u"pusher:subscription_error"_s, u"{\"status\":4009}"_s, u"CH_42"_s),
                     frame(u"pusher:connection_established"_s, u"{\"socket_id\":\"9.9\"}"_s),
                     frame(u"pusher:ping"_s, u"{}"_s)});
    rig.next(R"({"event":"pusher:pong","data":{}})");
    rig.quiet(); // a refused channel is asked for again only after a reconnection

    rig.clock.advanceBy(6s);
    rig.sendAndWait({}); // any frame puts the ping off by the full 10 s
    rig.clock.advanceBy(10s - 1ms);
    rig.quiet();
    rig.clock.advanceBy(1ms);
    rig.next(R"({"event":"pusher:ping","data":{}})");
    rig.sendAndWait({frame(u"pusher:pong"_s, u"{}"_s)}); // at 16 s: the next ping at 26 s
    rig.clock.advanceBy(40s - 1ms);
    rig.next(R"({"event":"pusher:ping","data":{}})");
    rig.quiet();
    rig.clock.advanceBy(1ms); // 30 s after the unanswered ping the line counts as lost
    rig.expectRetry(1, 0ms);
    rig.handshake();
    rig.sendAndWait({stopPoll(u"again"_s)});
    rig.quiet();
    rig.start(); // loading the channel again replaces the connection
    ASSERT_TRUE(rig.until([&] { return rig.connections.size() == 3; }));
    rig.handshake();
    rig.sendAndWait({stopPoll(u"once"_s)});
    EXPECT_TRUE(rig.until([&] { return rig.connections[1].closed; }));
    EXPECT_EQ(rig.delegate.calls, (QStringList{u"close again"_s, u"close once"_s}));
}

TEST(PusherClient, pingsAfterTheShorterOfItsOwnAndTheServersActivityTimeOut)
{
    const std::pair<QJsonValue, ms> rows[] = {
        {uR"({"socket_id":"1.2","activity_timeout":10})"_s, 10s}, // the server's is shorter
        {QJsonObject{{u"socket_id"_s, u"1.2"_s}, {u"activity_timeout"_s, 500}}, 120s}, // ours
        {uR"({"socket_id":"1.2"})"_s, 120s},
        {uR"({"socket_id":"1.2","activity_timeout":0})"_s, 120s},
        {uR"({"socket_id":"1.2","activity_timeout":10.0})"_s, 10s},
        {uR"({"socket_id":"1.2","activity_timeout":10.5})"_s, 120s},
        {uR"({"socket_id":"1.2","activity_timeout":100000000000000000000})"_s, 120s},
        {uR"({"socket_id":"1.2","activity_timeout":9223372036854775807})"_s, 120s},
    };
    for (const auto &[data, pingAfter] : rows) {
        SCOPED_TRACE(QJsonDocument(QJsonObject{{u"data"_s, data}}).toJson().toStdString());
        Rig rig;
        rig.start();
        rig.handshake(data);
        rig.clock.advanceBy(pingAfter - 1ms);
        rig.quiet();
        rig.clock.advanceBy(1ms);
        rig.next(R"({"event":"pusher:ping","data":{}})");
    }
}

TEST(PusherClient, deliversTheChannelsEventsWithTheirDataTextIgnoresTheRestUntilClosed)
{
    Rig rig;
    rig.start();
    rig.handshake();
    const QString raw = u"{\"poll\":{\"_id\":{\"$id\":\"é\\\"x\"}}, \"n\": 1.50}"_s;
    const QByteArray big = R"({"event":"stop_poll","channel":"CH_42","n":1)" + QByteArray(30, '0')
        + R"(,"data":"{\"poll\":{\"_id\":{\"$id\":\"big\"}}}"})"; // JSON has no integer limit
    for (const QByteArray &each :
         {big, QByteArray("not json"), QByteArray(R"(["stop_poll"])"),
          QByteArray(R"({"channel":"CH_42","data":"x"})"),
          QByteArray(R"({"event":"stop_poll","channel":"CH_42","data":"x")")})
        rig.send(0, each);
    rig.connections[0].socket->sendBinaryMessage(QJsonDocument(stopPoll(u"bin"_s)).toJson());
    rig.sendAndWait(
        {frame(u"stop_poll"_s, raw, u"CH_42"_s), stopPoll(u"elsewhere"_s, u"CH_43"_s),
         frame(u"stop_poll"_s, raw), frame(u"injectVideo"_s, raw, u"CH_42"_s),
         frame(u"stop_poll"_s, QJsonObject{{u"poll"_s, u"x"_s}}, u"CH_42"_s),
         frame(u"stop_poll"_s, 7, u"CH_42"_s), frame(u"stop_poll"_s, {}, u"CH_42"_s),
         frame(u"pusher_internal:subscription_count"_s, u"{}"_s, u"CH_42"_s),
         frame(u"pusher:error"_s, QJsonObject{{u"code"_s, 4301}, {u"message"_s, u"limit"_s}})});
    rig.quiet();
    EXPECT_EQ(rig.delegate.calls, (QStringList{u"close big"_s, u"close é\"x"_s}));

    rig.helper.close();
    rig.send(0, stopPoll(u"too late"_s));
    EXPECT_EQ(rig.clock.pendingCount(), 0);
    ASSERT_TRUE(rig.until([&] { return rig.connections[0].closed; }));
    EXPECT_EQ(rig.connections[0].closeCode, 1000);
    rig.clock.advanceBy(10min);
    EXPECT_EQ(rig.attempts.size(), 1);
    EXPECT_EQ(rig.delegate.calls.size(), 2);
}

TEST(PusherClient, howAConnectionEndsDecidesWhetherAndWhenTheClientComesBack)
{
    // How each connection ends: closed with a code, after the handshake or before it; a frame
    // sent instead of the handshake; dropped without a close; silent; or refused.
    const QList<ms> never, atOnce{0ms, 0ms, 0ms}, backOff{0ms, 1s, 4s}, atLeast1s{1s, 1s, 4s};
    const std::pair<const char *, QList<ms>> rows[] = {
        {"hand-shake, close 4000", never},
        {"close 4099", never},
        {R"(send {"event":"pusher:error","data":{"code":4001,"message":"no"}})", never},
        {"close 4100", atLeast1s},
        {"hand-shake, close 4199", {1s, 1s, 1s}},
        {R"(send {"event":"pusher:error","data":{"code":4100}})", atLeast1s},
        {"close 4200", atOnce},
        {"hand-shake, close 4299", atOnce},
        {R"(send {"event":"pusher:error","data":"{\"code\":4201}"})", atOnce},
        {"close 3999", backOff},
        {"close 4300", backOff},
        {"hand-shake, close 1000", atOnce},
        {R"(send {"event":"pusher:error","data":{"message":"no code"}})", backOff},
        {R"(send {"event":"pusher:connection_established","data":"{\"activity_timeout\":1}"})",
         backOff},
        {R"(send {"event":"pusher:connection_established","data":"socket"})", backOff},
        {"drop", backOff},
        {"silence", backOff},
        {"refused", {0s, 1s, 4s, 9s, 16s, 25s, 36s, 49s, 64s, 81s, 100s, 120s, 120s}},
    };
    for (const auto &[how, delays] : rows) {
        SCOPED_TRACE(how);
        const QByteArray end(how);
        Rig rig;
        if (end == "refused")
            rig.server.close();
        rig.start();
        for (qsizetype loss = 1; loss <= std::max<qsizetype>(1, delays.size()); ++loss) {
            const qsizetype last = loss - 1;
            ASSERT_TRUE(end == "refused"
                        || rig.until([&] { return rig.connections.size() == loss; }));
            if (end.startsWith("hand-shake"))
                rig.handshake();
            if (end.contains("close "))
                rig.connections[last].socket->close(
                    QWebSocketProtocol::CloseCode(end.split(' ').last().toInt()));
            else if (end.startsWith("send "))
                rig.send(last, end.sliced(5));
            else if (end == "drop")
                rig.connections[last].socket->abort();
            else if (end == "silence") {
                rig.clock.advanceBy(15s);
                EXPECT_EQ(rig.losses.value(last) - rig.attempts[last], ms(15s));
            }
            if (!delays.isEmpty())
                rig.expectRetry(loss, delays[last], end != "refused");
            if (HasFatalFailure())
                return;
        }
        EXPECT_TRUE(!delays.isEmpty() || rig.until([&] {
            return rig.helper.pusher()->state() == PusherClient::State::Disconnected;
        }));
        EXPECT_TRUE(!end.startsWith("send") || rig.connections[0].received.isEmpty());
        rig.helper.close(); // while the last attempt goes on
        EXPECT_EQ(rig.clock.pendingCount(), 0);
        rig.clock.advanceBy(10min);
        rig.settle();
        EXPECT_EQ(rig.attempts.size(), delays.size() + 1);
        EXPECT_EQ(rig.connections.size(), end == "refused" ? 0 : delays.size() + 1);
    }
}
