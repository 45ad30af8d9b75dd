// vantora-bench-devserver: where the dev server stands under load. The server runs on its own
// thread; this thread plays N websocket subscribers on one channel and the publishers:
//   fan-out: one signed trigger per round to the channel; latency from sending the trigger to each
//            subscriber's receipt, p50/p99 over every delivery, and to the last subscriber;
//   REST:    viewers answer polls, ratings and trivia through /userApi with a few requests in
//            flight, as answers per second (each one a committed SQLite transaction).
// Prints figures; asserts nothing.
//
//   vantora-bench-devserver [--subscribers 500] [--rounds 20] [--viewers 300]

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
#include <QTemporaryDir>
#include <QThread>
#include <QUrlQuery>
#include <QWebSocket>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

using namespace Vantora::DevServer;
using namespace Qt::Literals::StringLiterals;

namespace {

QElapsedTimer clock_;

bool spinUntil(const std::function<bool()> &done, int ms)
{
    const QDeadlineTimer deadline(ms);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

double percentile(std::vector<double> values, double p)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, size_t(p * double(values.size())))];
}

void print(const QString &line)
{
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

QByteArray multipart(const QJsonObject &data)
{
    const QByteArray json =
        QJsonDocument(QJsonObject{{u"data"_s, data}}).toJson(QJsonDocument::Compact);
    return "--Boundary-BENCH\r\nContent-Disposition: form-data; name=\"request\"\r\n\r\n" + json
        + "\r\n--Boundary-BENCH--\r\n";
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    const QCommandLineOption subscribersOption(u"subscribers"_s, u"Websocket subscribers."_s,
                                               u"n"_s, u"500"_s);
    const QCommandLineOption roundsOption(u"rounds"_s, u"Triggers to fan out."_s, u"n"_s, u"20"_s);
    const QCommandLineOption viewersOption(u"viewers"_s, u"Viewers who answer (5 answers each)."_s,
                                           u"n"_s, u"300"_s);
    parser.addOptions({subscribersOption, roundsOption, viewersOption});
    parser.process(app);
    const int subscribers = parser.value(subscribersOption).toInt();
    const int rounds = parser.value(roundsOption).toInt();
    const int viewers = parser.value(viewersOption).toInt();

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
    clock_.start();

    // Fan-out.
    std::vector<std::unique_ptr<QWebSocket>> sockets;
    int subscribed = 0;
    std::vector<double> latencies;
    std::vector<double> lastArrivals;
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
                const double ms = double(clock_.nsecsElapsed() - sentAt) / 1e6;
                latencies.push_back(ms);
                lastThisRound = std::max(lastThisRound, ms);
                ++deliveredThisRound;
            }
        });
        s->open(QUrl(u"ws://"_s + origin + u"/app/"_s + pusher.key + u"?protocol=7"_s));
        sockets.push_back(std::move(socket));
    }
    if (!spinUntil([&] { return subscribed == subscribers; }, 60000)) {
        print(u"only "_s + QString::number(subscribed) + u" subscribers came up"_s);
        return 1;
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
        sentAt = clock_.nsecsElapsed();
        QNetworkReply *reply = network.post(request, body);
        const bool complete = spinUntil([&] { return deliveredThisRound == subscribers; }, 30000);
        spinUntil([reply] { return reply->isFinished(); }, 5000);
        if (!complete
            || reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() != 200) {
            print(u"round "_s + QString::number(round) + u" failed"_s);
            return 1;
        }
        reply->deleteLater();
        lastArrivals.push_back(lastThisRound);
    }
    print(u"fan-out: %1 subscribers on one channel, %2 triggers through the HTTP API"_s
              .arg(subscribers)
              .arg(rounds));
    print(u"  trigger -> subscriber latency  p50 %1 ms  p99 %2 ms  (%3 deliveries)"_s
              .arg(percentile(latencies, 0.50), 0, 'f', 2)
              .arg(percentile(latencies, 0.99), 0, 'f', 2)
              .arg(latencies.size()));
    print(u"  trigger -> last subscriber     p50 %1 ms  max %2 ms"_s
              .arg(percentile(lastArrivals, 0.50), 0, 'f', 2)
              .arg(*std::max_element(lastArrivals.begin(), lastArrivals.end()), 0, 'f', 2));
    for (auto &socket : sockets)
        socket->abort();
    sockets.clear();

    // REST answers.
    const QUrl api(u"http://"_s + origin + u"/userApi"_s);
    const auto post = [&](const QString &path, const QJsonObject &data) {
        QNetworkRequest request(QUrl(api.toString() + path));
        request.setHeader(QNetworkRequest::ContentTypeHeader,
                          QByteArray("multipart/form-data; boundary=Boundary-BENCH"));
        return network.post(request, multipart(data));
    };
    const QJsonObject who{{u"broadcasterName"_s, u"vantora-demo"_s}, {u"channelId"_s, u"1001"_s}};
    QStringList tokens;
    for (int i = 0; i < viewers; ++i) {
        QNetworkReply *reply = post(u"/user/register"_s, who);
        QObject::connect(reply, &QNetworkReply::finished, reply, [&, reply] {
            tokens
                << QJsonDocument::fromJson(reply->readAll()).object().value("token"_L1).toString();
            reply->deleteLater();
        });
    }
    spinUntil([&] { return tokens.size() == viewers; }, 60000);

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
    const int total = int(tokens.size() * answers.size());
    int next = 0;
    int done = 0;
    int failures = 0;
    std::function<void()> sendNext = [&] {
        if (next >= total)
            return;
        const int n = next++;
        QJsonObject data = who;
        data.insert(u"userToken"_s, tokens[n / answers.size()]);
        data.insert(u"answer"_s, answers[n % answers.size()].value);
        QNetworkReply *reply = post(answers[n % answers.size()].path, data);
        QObject::connect(reply, &QNetworkReply::finished, reply, [&, reply] {
            const QJsonObject answer =
                QJsonDocument::fromJson(reply->readAll()).object().value("answer"_L1).toObject();
            if (!answer.value("isAnswered"_L1).toBool())
                ++failures;
            ++done;
            reply->deleteLater();
            sendNext();
        });
    };
    const int inFlight = 6; // what QNetworkAccessManager opens per host
    QElapsedTimer restClock;
    restClock.start();
    for (int i = 0; i < inFlight; ++i)
        sendNext();
    spinUntil([&] { return done == total; }, 120000);
    const double seconds = double(restClock.nsecsElapsed()) / 1e9;
    print(u"REST: %1 answers by %2 viewers, %3 in flight"_s.arg(total)
              .arg(tokens.size())
              .arg(inFlight));
    print(u"  %1 answers/s  (%2 s, %3 not recorded)"_s.arg(double(done) / seconds, 0, 'f', 0)
              .arg(seconds, 0, 'f', 2)
              .arg(failures));

    QMetaObject::invokeMethod(
        &onServerThread, [&] { server.reset(); }, Qt::BlockingQueuedConnection);
    serverThread.quit();
    serverThread.wait();
    return failures == 0 && done == total ? 0 : 1;
}
