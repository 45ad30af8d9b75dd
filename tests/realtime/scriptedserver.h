#pragma once

// Shared by the realtime tests: a delegate that writes down every call it hears, and a rig that
// runs the overlay's helper, in virtual time, against a websocket server in the process that does
// exactly what the test tells it (any frame, any close code, a dropped connection, silence).

#include "vantora/realtime/pusherclient_p.h"
#include "vantora/realtime/pusherhelper_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"
#include <vantora/records/vtadeployment.h>
#include <vantora/records/vtaenvironment.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QWebSocket>
#include <QWebSocketServer>

#include <gtest/gtest.h>

#include <functional>

namespace Vantora::TestSupport {

using namespace Qt::Literals::StringLiterals;
using ms = std::chrono::milliseconds;

/// `{"event": …, "data": …, "channel": …}`, without the members left out.
inline QJsonObject frame(const QString &event, const QJsonValue &data = QJsonValue::Undefined,
                         const QJsonValue &channel = QJsonValue::Undefined)
{
    QJsonObject object{{u"event"_s, event}};
    object.insert(u"data"_s, data); // an undefined value leaves the member out
    object.insert(u"channel"_s, channel);
    return object;
}

/// The JSON text without blanks and with its keys sorted, to compare frames by their content.
inline QString compact(const QByteArray &json)
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
        bool closed = false;
        int closeCode = 0; ///< the client's, if it sent one
    };

    Rig()
    {
        QObject::connect(&server, &QWebSocketServer::newConnection, &server, [this] {
            while (QWebSocket *socket = server.nextPendingConnection()) {
                socket->setParent(&server); // not by itself
                const qsizetype index = connections.size();
                connections.append({socket, {}, false, 0});
                QObject::connect(socket, &QWebSocket::textMessageReceived, &server,
                                 [this, index](const QString &text) {
                                     connections[index].received << compact(text.toUtf8());
                                 });
                QObject::connect(socket, &QWebSocket::disconnected, &server, [=, this] {
                    connections[index].closed = true;
                    connections[index].closeCode = socket->closeCode();
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
    /// Lets a moment of real time pass, to see that nothing happens.
    void settle()
    {
        until([] { return false; }, 60);
    }
    qsizetype newest() const { return connections.size() - 1; }
    void send(qsizetype index, const QByteArray &text)
    {
        connections[index].socket->sendTextMessage(QString::fromUtf8(text));
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
        settle();
        EXPECT_EQ(connections[newest()].received.mid(read), QStringList{});
        EXPECT_EQ(connections.size(), count);
        EXPECT_FALSE(connections[newest()].closed);
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
            return connections.size() == loss + 1 && connections[loss - 1].closed;
        }));
    }

    VirtualTimeScheduler clock;
    QList<Connection> connections; ///< outlives the server, whose end its sockets may report
    QWebSocketServer server{u"scripted"_s, QWebSocketServer::NonSecureMode};
    const quint16 port = server.listen(QHostAddress::LocalHost) ? server.serverPort() : 0;
    RecordingDelegate delegate;
    PusherHelper helper;
    QList<ms> attempts, losses;
    qsizetype read = 0; ///< frames of the newest connection checked by next()
};

} // namespace Vantora::TestSupport
