// The live channel as the overlay holds it, in virtual time: what each of its seven events makes
// the delegate hear, and when, or that it is dropped; the host it connects to; what the server
// hears and when; and whether and when the client comes back after a loss. The server is a
// scripted websocket server in the process (any frame, any close code, a drop, silence).

#include "vantora/realtime/pusherclient_p.h"
#include "vantora/realtime/pusherhelper_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"
#include <vantora/records/vtadeployment.h>
#include <vantora/records/vtaenvironment.h>
#include <vantora/version.h>

#include "testsupport.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QJsonObject>
#include <QWebSocket>
#include <QWebSocketServer>

#include <gtest/gtest.h>

using namespace Vantora;
using namespace Vantora::TestSupport;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;
using ms = std::chrono::milliseconds;

namespace {

/// `{"event": …, "data": …, "channel": …}`, without the members left out.
QJsonObject frame(const QString &event, const QJsonValue &data = QJsonValue::Undefined,
                  const QJsonValue &channel = QJsonValue::Undefined)
{
    QJsonObject object{{u"event"_s, event}};
    object.insert(u"data"_s, data); // an undefined value leaves the member out
    object.insert(u"channel"_s, channel);
    return object;
}

/// The JSON text without blanks and with its keys sorted, to compare frames by their content.
QString compact(const QByteArray &json)
{
    return QString::fromUtf8(QJsonDocument::fromJson(json).toJson(QJsonDocument::Compact));
}

/// Writes down every call it hears, one line each: "poll P1 45s close once pause at 9" (the time
/// on screen, the options set, the starting time if any), "info [P1] - []", "win Home 2 abc".
class RecordingDelegate : public QObject, public PusherHelperDelegate
{
    using O = InteractionOptions;

public:
    QStringList calls;

    void inject(const Poll &p, const O &o, qint64 t) override { add("poll", p.id, o, t); }
    void inject(const Rating &r, const O &o, qint64 t) override { add("rating", r.id, o, t); }
    void inject(const QString &id, const O &o, qint64 t) override { add("trivia", id, o, t); }
    void updatedInfo(const std::optional<QList<Poll>> &polls,
                     const std::optional<QList<Rating>> &ratings,
                     const std::optional<QList<Poll>> &predictions) override
    {
        calls << u"info "_s + ids(polls) + u' ' + ids(ratings) + u' ' + ids(predictions);
    }
    void didClose(const QString &pollID) override { calls << u"close "_s + pollID; }
    void didReceivePredictionResult(const PredictionWin &w) override
    {
        calls << u"win %1 %2 %3"_s.arg(w.answer).arg(w.winAmount).arg(w.pollID.value_or(u"-"_s));
    }
    void didRequestRefresh() override { calls << u"refresh"_s; }

private:
    void add(const char *kind, const QString &id, const O &o, qint64 at)
    {
        calls << QLatin1StringView(kind) + u' ' + id + u" %1s"_s.arg(o.time)
                + (o.closeAfter ? u" close"_s : u""_s) + (o.hideAnswered ? u" once"_s : u""_s)
                + (o.pause ? u" pause"_s : u""_s) + (at ? u" at %1"_s.arg(at) : u""_s);
    }
    template <class Item>
    static QString ids(const std::optional<QList<Item>> &items)
    {
        QStringList ids;
        for (const Item &item : items.value_or(QList<Item>{}))
            ids << item.id;
        return items ? u'[' + ids.join(u',') + u']' : u"-"_s;
    }
};

/// A helper for channel 42 on a scripted server: what its delegate and the server hear, and when
/// its client started each attempt and each wait to reconnect. Checks use the newest connection.
struct Rig
{
    struct Connection
    {
        QPointer<QWebSocket> socket;
        QStringList received; ///< the text frames, as compact JSON with sorted keys
        bool closed() const { return socket->state() == QAbstractSocket::UnconnectedState; }
    };

    Rig()
    {
        QObject::connect(&server, &QWebSocketServer::newConnection, &server, [this] {
            while (QWebSocket *socket = server.nextPendingConnection()) {
                socket->setParent(&server); // not by itself
                const qsizetype index = connections.size();
                connections.append(Connection{socket, {}});
                QObject::connect(socket, &QWebSocket::textMessageReceived, &server,
                                 [this, index](const QString &text) {
                                     connections[index].received << compact(text.toUtf8());
                                 });
            }
        });
    }
    void start()
    {
        VTADeployment deployment = VTADeployment::current();
        deployment.realtimeURL = u"ws://127.0.0.1:%1"_s.arg(port);
        VTADeployment::configure(deployment);
        helper.setDelegate(&delegate, &delegate);
        helper.connect(u"42"_s, {}, VTAEnvironment({}, {}, u"K"_s, u"us2"_s, u"test3"_s));
        attempts << clock.monotonicTime();
        read = 0;
        QObject::connect(helper.pusher(), &PusherClient::stateChanged, [this](auto state) {
            using enum PusherClient::State;
            if (state == Connecting || state == WaitingToReconnect)
                (state == Connecting ? attempts : losses) << clock.monotonicTime();
        });
    }

    /// Runs the event loop and what the virtual clock has due, without moving virtual time,
    /// until `done` or a real-time deadline; network traffic itself takes real time.
    bool until(const std::function<bool()> &done, int realMs = 5000)
    {
        for (const QDeadlineTimer deadline(realMs); !done(); clock.runPending()) {
            if (deadline.hasExpired())
                return false;
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
        return true;
    }
    qsizetype newest() const { return connections.size() - 1; }
    void send(qsizetype i, const QByteArray &text)
    {
        connections[i].socket->sendTextMessage(QString::fromUtf8(text));
    }
    void send(qsizetype i, const QJsonObject &o) { send(i, QJsonDocument(o).toJson()); }
    void handshake(const QJsonValue &data = u"{\"socket_id\":\"1.2\",\"activity_timeout\":10}"_s)
    {
        ASSERT_TRUE(until([&] { return !connections.isEmpty(); }));
        send(newest(), frame(u"pusher:connection_established"_s, data));
        next(R"({"event":"pusher:subscribe","data":{"channel":"CH_42"}})");
    }
    /// The client's next frame on the newest connection, exactly.
    void next(const char *json)
    {
        const QStringList &received = connections[newest()].received;
        ASSERT_TRUE(until([&] { return received.size() > read; })) << "nothing sent";
        EXPECT_EQ(received[read++], compact(json));
    }
    /// For a moment of real time: no other frame, no new connection and the newest still open.
    void quiet()
    {
        const qsizetype count = connections.size();
        until([] { return false; }, 60);
        EXPECT_EQ(connections[newest()].received.mid(read), QStringList{});
        EXPECT_EQ(connections.size(), count);
        EXPECT_FALSE(connections[newest()].closed());
    }
    /// Sends the frames and a marker; once the marker arrives, so have their effects.
    void sendAndWait(const QList<QJsonObject> &frames)
    {
        for (const QJsonObject &each : frames + QList{frame(u"initiateRefresh"_s, {}, u"CH_42"_s)})
            send(newest(), each);
        ASSERT_TRUE(until([&] { return delegate.calls.removeAll(u"refresh"_s) == 1; }));
    }
    /// The attempt after the `loss`th loss starts exactly `delay` after it; when the server
    /// listens, it then has `loss + 1` connections, and the one before the newest is closed.
    void expectRetry(qsizetype loss, ms delay, bool listening = true)
    {
        SCOPED_TRACE(testing::Message() << "loss " << loss << ", delay " << delay.count() << " ms");
        ASSERT_TRUE(until([&] { return losses.size() >= loss; }));
        clock.advanceBy(losses[loss - 1] + delay - clock.monotonicTime());
        ASSERT_GT(attempts.size(), loss) << "too late";
        EXPECT_EQ(attempts[loss], losses[loss - 1] + delay);
        read = 0;
        EXPECT_TRUE(!listening || until([&] {
            return connections.size() == loss + 1 && connections[loss - 1].closed();
        }));
    }

    VirtualTimeScheduler clock;
    QList<Connection> connections;
    QWebSocketServer server{u"scripted"_s, QWebSocketServer::NonSecureMode};
    const quint16 port = server.listen(QHostAddress::LocalHost) ? server.serverPort() : 0;
    RecordingDelegate delegate;
    PusherHelper helper;
    QList<ms> attempts, losses;
    qsizetype read = 0; ///< frames of the newest connection checked by next()
};

// A data text of the cases' table with its stand-ins written out.
std::optional<QString> expand(QString data)
{
    if (data == u"(none)" || data == u"(empty)")
        return data == u"(none)" ? std::nullopt : std::optional(QString());
    return data
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

TEST(PusherHelper, eachPayloadBecomesItsCallInItsTimeOrNothingOnceTheHelperIsGone)
{
    // Injections and wins line up with the picture: they wait for the injection delay.
    const QStringList delayed{u"injectPoll"_s, u"injectRating"_s, u"injectQuiz"_s, u"pollWin"_s};
    VirtualTimeScheduler clock;
    RecordingDelegate delegate;
    auto helper = std::make_unique<PusherHelper>();
    helper->setDelegate(&delegate, &delegate);
    helper->setInjectionDelay(5);
    LogCapture log("vantora.realtime");
    for (const QStringList &row : caseTable(u"realtime_cases.txt", u"payloads")) {
        const QString &event = row[0], &data = row[1], call = row[2] == u"-" ? QString() : row[2];
        SCOPED_TRACE(testing::Message() << event.toStdString() << " " << data.toStdString());
        delegate.calls.clear();
        helper->handleEvent(event, expand(data));
        EXPECT_EQ(delegate.calls, QStringList{}) << "posted, never called from the handler";
        if (delayed.contains(event)) {
            clock.advanceBy(5s - 1ms);
            EXPECT_EQ(delegate.calls, QStringList{}) << "before the injection delay";
            clock.advanceBy(1ms);
        }
        clock.runPending();
        EXPECT_EQ(delegate.calls.join(u'|'), call);
        EXPECT_EQ(clock.pendingCount(), 0);
        // A dropped event says why, once, at debug level; a delivered one is quiet.
        const QStringList lines = log.take();
        EXPECT_EQ(lines.size(), call.isEmpty() ? 1 : 0) << lines.join(u'\n').toStdString();
        EXPECT_TRUE(!call.isEmpty() || lines.value(0).startsWith(u"dropped "_s + event));
    }
    // A call waiting for the injection delay goes with the helper, as when the overlay leaves.
    delegate.calls.clear();
    helper->handleEvent(u"injectQuiz"_s, u"{\"smartTV\":true,\"id\":\"T1\"}"_s);
    helper->handleEvent(u"initiateRefresh"_s, std::nullopt);
    helper.reset();
    clock.advanceBy(5s);
    EXPECT_EQ(delegate.calls, QStringList{});
}

TEST(PusherHelper, connectsToTheDeploymentsRealtimeHostWithTheEnvironmentsKeyAndCluster)
{
    VirtualTimeScheduler clock;
    for (const QStringList &row : caseTable(u"realtime_cases.txt", u"hosts")) {
        VTADeployment deployment = VTADeployment::current();
        deployment.realtimeURL = row[0] == u"\"\"" ? QString() : row[0];
        VTADeployment::configure(deployment);
        PusherHelper helper;
        helper.connect(u"42"_s, {}, VTAEnvironment({}, {}, u"KEY"_s, u"us2"_s, u"test3"_s));
        helper.close();
        EXPECT_EQ(helper.pusher()->url().toString(),
                  row[1] + u"/app/KEY?protocol=7&client=vantora-cpp&version="_s
                      + QStringLiteral(VANTORA_VERSION_STRING));
    }
}

TEST(PusherClient, speaksAfterTheHandshakeDeliversItsChannelsEventsAndKeepsTheLineAlive)
{
    Rig rig;
    rig.start();
    ASSERT_TRUE(rig.until([&] { return rig.connections.size() == 1; }));
    rig.send(0, frame(u"pusher:ping"_s, u"{}"_s));
    rig.send(0, stopPoll(u"early"_s));
    rig.quiet(); // no answer and no delivery before the handshake
    rig.handshake(); // at 0 s, with 10 s of activity time-out
    // Delivered: the channel's events with their data text, whatever the frame's numbers.
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
        {frame(u"pusher:subscription_error"_s, u"{\"status\":4009}"_s, u"CH_42"_s),
         frame(u"pusher:connection_established"_s, u"{\"socket_id\":\"9.9\"}"_s),
         frame(u"pusher:ping"_s, u"{}"_s), frame(u"stop_poll"_s, raw, u"CH_42"_s),
         stopPoll(u"elsewhere"_s, u"CH_43"_s), frame(u"stop_poll"_s, raw),
         frame(u"injectVideo"_s, raw, u"CH_42"_s),
         frame(u"stop_poll"_s, QJsonObject{{u"poll"_s, u"x"_s}}, u"CH_42"_s),
         frame(u"stop_poll"_s, 7, u"CH_42"_s), frame(u"stop_poll"_s, {}, u"CH_42"_s),
         frame(u"pusher_internal:subscription_count"_s, u"{}"_s, u"CH_42"_s),
         frame(u"pusher:error"_s, QJsonObject{{u"code"_s, 4301}, {u"message"_s, u"limit"_s}})});
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
    EXPECT_TRUE(rig.until([&] { return rig.connections[1].closed(); }));

    // Closed by the overlay: a normal close, nothing more delivered, no attempt again.
    const qsizetype attempts = rig.attempts.size();
    rig.helper.close();
    rig.send(2, stopPoll(u"too late"_s));
    EXPECT_EQ(rig.clock.pendingCount(), 0);
    ASSERT_TRUE(rig.until([&] { return rig.connections[2].closed(); }));
    EXPECT_EQ(int(rig.connections[2].socket->closeCode()), 1000);
    rig.clock.advanceBy(10min);
    EXPECT_EQ(rig.attempts.size(), attempts);
    EXPECT_EQ(rig.delegate.calls,
              (QStringList{u"close big"_s, u"close é\"x"_s, u"close again"_s, u"close once"_s}));
}

TEST(PusherClient, pingsAfterTheShorterOfItsOwnAndTheServersActivityTimeOut)
{
    for (const QStringList &row : caseTable(u"realtime_cases.txt", u"activity time-outs")) {
        SCOPED_TRACE(row[0].toStdString());
        const ms pingAfter = std::chrono::seconds(row[1].toInt());
        Rig rig;
        rig.start();
        rig.handshake(row.value(2) == u"object"
                          ? QJsonValue(QJsonDocument::fromJson(row[0].toUtf8()).object())
                          : QJsonValue(row[0]));
        rig.clock.advanceBy(pingAfter - 1ms);
        rig.quiet();
        rig.clock.advanceBy(1ms);
        rig.next(R"({"event":"pusher:ping","data":{}})");
    }
}

TEST(PusherClient, howAConnectionEndsDecidesWhetherAndWhenTheClientComesBack)
{
    for (const QStringList &row : caseTable(u"realtime_cases.txt", u"connection ends")) {
        SCOPED_TRACE(row[0].toStdString());
        const QByteArray end = row[0].toUtf8();
        QList<ms> delays;
        for (const QString &seconds : row[1].split(u' ', Qt::SkipEmptyParts))
            if (seconds != u"never")
                delays.append(std::chrono::seconds(seconds.toInt()));
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
        rig.until([] { return false; }, 60);
        EXPECT_EQ(rig.attempts.size(), delays.size() + 1);
        EXPECT_EQ(rig.connections.size(), end == "refused" ? 0 : delays.size() + 1);
    }
}
