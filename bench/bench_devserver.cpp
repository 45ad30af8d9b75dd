// vantora-bench-devserver: where the dev server stands under load. The server runs on its own
// thread; this thread plays N websocket subscribers on one channel and the publishers:
//   fan-out: one signed trigger per round to the channel; latency from sending the trigger to each
//            subscriber's receipt, p50/p99 over every delivery, and to the last subscriber;
//   REST:    viewers answer polls, ratings and trivia through /userApi with a few requests in
//            flight, as answers per second (each one a committed SQLite transaction).
// Prints figures; asserts nothing.
//
// Prints table rows "| figure | measured | goal | anchor |".
//
//   vantora-bench-devserver [--subscribers 1000,5000] [--rounds 20] [--viewers 300]

#include "benchsupport.h"
#include "devserver_p.h"
#include "trigger_p.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QThread>
#include <QUrlQuery>
#include <QWebSocket>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

using namespace Vantora::DevServer;
using namespace Bench;
using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray multipart(const QJsonObject &data)
{
    const QByteArray json =
        QJsonDocument(QJsonObject{{u"data"_s, data}}).toJson(QJsonDocument::Compact);
    return "--Boundary-BENCH\r\nContent-Disposition: form-data; name=\"request\"\r\n\r\n" + json
        + "\r\n--Boundary-BENCH--\r\n";
}

struct FanOut
{
    std::vector<double> latencies; ///< trigger -> each subscriber
    std::vector<double> lastArrivals; ///< trigger -> the last subscriber, per round
};

/// `subscribers` websocket clients on one channel; `rounds` triggers through the HTTP API, one
/// at a time. Empty when the clients or a round did not complete.
std::optional<FanOut> fanOut(const QString &origin, const PusherApp &pusher, int subscribers,
                             int rounds)
{
    std::vector<std::unique_ptr<QWebSocket>> sockets;
    int subscribed = 0;
    FanOut result;
    qint64 sentAt = 0;
    int deliveredThisRound = 0;
    double lastThisRound = 0;
    for (int i = 0; i < subscribers; ++i) {
        auto socket = std::make_unique<QWebSocket>();
        QWebSocket *s = socket.get();
        QObject::connect(s, &QWebSocket::textMessageReceived, s, [&, s](const QString &text) {
            if (text.contains("connection_established"_L1)) {
                s->sendTextMessage(
                    uR"({"event":"pusher:subscribe","data":{"channel":"CH_bench"}})"_s);
            } else if (text.contains("subscription_succeeded"_L1)) {
                ++subscribed;
            } else if (text.contains("\"bench\""_L1)) {
                const double ms = msBetween(sentAt, nowNs());
                result.latencies.push_back(ms);
                lastThisRound = std::max(lastThisRound, ms);
                ++deliveredThisRound;
            }
        });
        s->open(QUrl(u"ws://"_s + origin + u"/app/"_s + pusher.key + u"?protocol=7"_s));
        sockets.push_back(std::move(socket));
        // An audience arrives over a while, not in one instant that overflows the listen queue.
        if ((i + 1) % 250 == 0)
            waitUntil([&] { return subscribed == i + 1; }, 30s);
    }
    const auto closeAll = qScopeGuard([&] {
        for (auto &socket : sockets)
            socket->abort();
    });
    if (!waitUntil([&] { return subscribed == subscribers; }, 120s)) {
        std::fprintf(stderr, "%d of %d subscribers came up\n", subscribed, subscribers);
        return std::nullopt;
    }

    QNetworkAccessManager network;
    for (int round = 0; round < rounds; ++round) {
        const QByteArray body =
            QJsonDocument(QJsonObject{{u"name"_s, u"bench"_s},
                                      {u"channel"_s, u"CH_bench"_s},
                                      {u"data"_s, uR"({"smartTV":true,"id":"t400"})"_s}})
                .toJson(QJsonDocument::Compact);
        const QString path = u"/apps/"_s + pusher.id + u"/events"_s;
        QUrlQuery query;
        query.setQueryItems(
            signedQuery(pusher, "POST", path, body, QDateTime::currentSecsSinceEpoch()));
        QUrl url(u"http://"_s + origin + path);
        url.setQuery(query);
        QNetworkRequest request(url);
        request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("application/json"));
        deliveredThisRound = 0;
        lastThisRound = 0;
        sentAt = nowNs();
        const std::unique_ptr<QNetworkReply> reply(network.post(request, body));
        const bool complete = waitUntil([&] { return deliveredThisRound == subscribers; }, 30s);
        waitUntil([&] { return reply->isFinished(); }, 5s);
        if (!complete || reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() != 200)
            return std::nullopt;
        result.lastArrivals.push_back(lastThisRound);
    }
    return result;
}

/// Sends `total` requests made by `make(n)` with `inFlight` at a time; requests per second, and
/// how many replies `ok` refused.
std::pair<double, int> throughput(int total, int inFlight,
                                  const std::function<QNetworkReply *(int)> &make,
                                  const std::function<bool(const QByteArray &)> &ok)
{
    int next = 0, done = 0, failures = 0;
    std::function<void()> sendNext = [&] {
        if (next >= total)
            return;
        QNetworkReply *reply = make(next++);
        QObject::connect(reply, &QNetworkReply::finished, reply, [&, reply] {
            failures += ok(reply->readAll()) ? 0 : 1;
            ++done;
            reply->deleteLater();
            sendNext();
        });
    };
    QElapsedTimer elapsed;
    elapsed.start();
    for (int i = 0; i < inFlight; ++i)
        sendNext();
    waitUntil([&] { return done == total; }, 120s);
    return {double(done) / (double(elapsed.nsecsElapsed()) / 1e9), failures + total - done};
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_NO_GLIB", "1"); // as vantora-devserver runs
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    const QCommandLineOption subscribersOption(
        u"subscribers"_s, u"Websocket subscribers, one run per count."_s, u"n,n"_s, u"1000,5000"_s);
    const QCommandLineOption roundsOption(u"rounds"_s, u"Triggers to fan out."_s, u"n"_s, u"20"_s);
    const QCommandLineOption viewersOption(u"viewers"_s, u"Viewers who answer (5 answers each)."_s,
                                           u"n"_s, u"300"_s);
    parser.addOptions({subscribersOption, roundsOption, viewersOption});
    parser.process(app);
    const int rounds = parser.value(roundsOption).toInt();
    const int viewers = parser.value(viewersOption).toInt();

    // Each subscriber takes two descriptors in this process, its own and the server's.
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);

    // The server, on its own thread with its own event loop.
    QTemporaryDir dir;
    QThread serverThread;
    QObject onServerThread;
    onServerThread.moveToThread(&serverThread);
    serverThread.start();
    std::unique_ptr<DevServer> server;
    quint16 port = 0;
    QMetaObject::invokeMethod(
        &onServerThread,
        [&] {
            ServerOptions options;
            options.dataFolder = QStringLiteral(VANTORA_DEVSERVER_DEMO_DIR);
            options.databaseFile = dir.filePath(u"bench.sqlite"_s);
            auto created = DevServer::create(options);
            if (!created)
                qFatal("%s", qPrintable(created.error()));
            server = std::move(created).value();
            port = server->start(QHostAddress::LocalHost, 0).value();
        },
        Qt::BlockingQueuedConnection);
    const PusherApp pusher = ServerOptions{}.app;
    const QString origin = u"127.0.0.1:"_s + QString::number(port);
    bool failed = false;

    for (const QString &count : parser.value(subscribersOption).split(u',')) {
        const int subscribers = count.toInt();
        const QString figure = u"dev server fan-out to "_s + count + u" subscribers"_s;
        const std::optional<FanOut> run = fanOut(origin, pusher, subscribers, rounds);
        if (!run) {
            printRow(figure, u"failed: not every subscriber came up or heard every trigger"_s, {},
                     {});
            failed = true;
            continue;
        }
        printRow(figure + u", trigger → each"_s, spread(run->latencies),
                 subscribers >= 5000 ? u"p99 ≤ 100 ms"_s : QString(),
                 u"trigger → last subscriber: p50 "_s + ms(percentile(run->lastArrivals, 0.5))
                     + u", max "_s + ms(percentile(run->lastArrivals, 1)) + u" ("_s
                     + QString::number(rounds) + u" triggers)"_s);
    }

    // REST answers, each a committed SQLite transaction, beside a plain read of the channel list.
    // Two clients, each with the six connections QNetworkAccessManager opens to a host.
    QNetworkAccessManager networks[2];
    int turn = 0;
    const auto network = [&]() -> QNetworkAccessManager & {
        return networks[turn++ % 2];
    };
    const QString api = u"http://"_s + origin + u"/userApi"_s;
    const auto post = [&](const QString &path, const QJsonObject &data) {
        QNetworkRequest request(QUrl(api + path));
        request.setHeader(QNetworkRequest::ContentTypeHeader,
                          QByteArray("multipart/form-data; boundary=Boundary-BENCH"));
        return network().post(request, multipart(data));
    };
    const QJsonObject who{{u"broadcasterName"_s, u"vantora-demo"_s}, {u"channelId"_s, u"1001"_s}};
    QStringList tokens;
    throughput(
        viewers, 6, [&](int) { return post(u"/user/register"_s, who); },
        [&](const QByteArray &body) {
            tokens << QJsonDocument::fromJson(body).object().value("token"_L1).toString();
            return true;
        });

    struct Answer
    {
        QString path;
        QJsonValue value;
    };
    const QList<Answer> answers{{u"/poll/answer_new/p100"_s, u"Latte"_s},
                                {u"/poll/answer_new/p101"_s, u"The band"_s},
                                {u"/poll/answer_new/pr200"_s, u"Reds"_s},
                                {u"/rating/answer_new/r300"_s, 4},
                                {u"/trivia/answer/t400"_s, u"Brazil"_s}};
    const int inFlight = 12;
    const int total = int(tokens.size() * answers.size());
    const auto [perSecond, refused] = throughput(
        total, inFlight,
        [&](int n) {
            QJsonObject data = who;
            data.insert(u"userToken"_s, tokens[n / answers.size()]);
            data.insert(u"answer"_s, answers[n % answers.size()].value);
            return post(answers[n % answers.size()].path, data);
        },
        [](const QByteArray &body) {
            return QJsonDocument::fromJson(body)
                .object()
                .value("answer"_L1)
                .toObject()
                .value("isAnswered"_L1)
                .toBool();
        });
    const auto [listsPerSecond, listFailures] = throughput(
        total, inFlight,
        [&](int) {
            return network().get(QNetworkRequest(
                QUrl(u"http://"_s + origin + u"/channels/vantora-demo__test3.json"_s)));
        },
        [](const QByteArray &body) { return !body.isEmpty(); });
    printRow(u"dev server REST answers ("_s + QString::number(total) + u" by "_s
                 + QString::number(tokens.size()) + u" viewers, "_s + QString::number(inFlight)
                 + u" in flight)"_s,
             QString::number(perSecond, 'f', 0) + u" answers/s"_s
                 + (refused ? u", "_s + QString::number(refused) + u" not recorded"_s : QString()),
             u"≥ 3,000 answers/s"_s,
             u"channel list reads: "_s + QString::number(listsPerSecond, 'f', 0) + u" /s"_s);

    QMetaObject::invokeMethod(
        &onServerThread, [&] { server.reset(); }, Qt::BlockingQueuedConnection);
    serverThread.quit();
    serverThread.wait();
    return failed || refused || listFailures ? 1 : 0;
}
