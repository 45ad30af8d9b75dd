// vantora-devserver as a developer runs it: bad starts, what it prints, the keys it takes, its
// options (off loopback, the admin token), SIGTERM closing websockets with "going away", and
// answers that survive kill -9.

#include "serverfixture.h"

#include <vantora/records/vtaenvironment.h>

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>

using namespace Vantora;
using namespace Vantora::DevServerTest;

static const QString program = QStringLiteral(VANTORA_DEVSERVER);

TEST(Process, refusesBadStartsWithAReason)
{
    QTemporaryDir dir;
    QTcpServer occupant;
    ASSERT_TRUE(occupant.listen(QHostAddress::LocalHost));
    const QString taken = QString::number(occupant.serverPort()), missing = dir.filePath(u"x"_s);
    const QStringList base{u"--port"_s, u"0"_s, u"--db"_s, dir.filePath(u"db"_s)};
    for (QStringList row : TestSupport::caseTable(u"devserver_cases.txt", u"bad starts")) {
        row.replaceInStrings(u"$MISSING"_s, missing).replaceInStrings(u"$TAKEN"_s, taken);
        ChildProcess process(program, base + row[0].split(u' '), QProcess::MergedChannels);
        EXPECT_EQ(process.finish(10000), 1);
        const QString problem = process.output().trimmed().section(u'\n', -1); // Qt may warn first
        EXPECT_TRUE(problem.startsWith(u"vantora-devserver: "_s + row[1])) << problem.toStdString();
    }
}

// Without options: the demo channel, to clients of every SDK environment; then the options.
TEST(Process, printsWhereItListensAndTakesItsOptions)
{
    QTemporaryDir dir;
    const QStringList arguments{u"--port"_s, u"0"_s, u"--db"_s, dir.filePath(u"db"_s)};
    {
        ServerProcess server(program, arguments);
        EXPECT_EQ(server.lines().mid(2),
                  uR"(export VANTORA_API_BASE=http://%1/userApi
export VANTORA_IMAGE_BASE=http://%1/media
export VANTORA_CHANNELS_BASE=http://%1/channels/
export VANTORA_REALTIME_URL=ws://%1)"_s.arg(u"127.0.0.1:"_s + QString::number(server.port))
                      .split(u'\n'));
        for (const VTAEnvironment &sdk :
             {VTAEnvironment::productionDefault(), VTAEnvironment::devDefault(),
              VTAEnvironment::testDefault()}) {
            RecordingClient client(realtimeUrl(server.port, sdk.pusherKey()));
            EXPECT_TRUE(waitUntil([&] { return !client.socketId().isEmpty(); }))
                << qPrintable(sdk.pusherKey());
        }
    }
    ServerProcess server(program,
                         arguments
                             + u"--host 0.0.0.0 --app-key mine --activity-timeout 1 "
                               "--pong-timeout 0.3"_s.split(u' '));
    // Off loopback, /admin answers only a request with the token printed at start-up.
    const QString line = server.lines().filter(u"Authorization: Bearer"_s).value(0);
    const QString token = line.section(u' ', -1).chopped(1);
    ASSERT_EQ(token.size(), 32) << line.toStdString();
    for (const auto &[query, status] : {std::pair{QString(), 401},
                                        {u"?token="_s + token.chopped(1) + u'x', 401},
                                        {u"?token="_s + token, 200}})
        EXPECT_EQ(httpRequest(at(server.port, u"/admin/viewers"_s + query), "GET").status, status)
            << query.toStdString();
    RecordingClient sdk(realtimeUrl(server.port, VTAEnvironment::testDefault().pusherKey()));
    RecordingClient client(realtimeUrl(server.port, u"mine"_s));
    ASSERT_TRUE(waitUntil([&] { return sdk.closed && !client.frames.isEmpty(); }));
    EXPECT_EQ(int(sdk.socket.closeCode()), 4001);
    EXPECT_EQ(dataOf(client.frames[0])["activity_timeout"_L1], 1);
    // A client that completes the upgrade and then never answers is pinged after the activity
    // timeout (a coarse timer may fire a little early) and closed 0.3 s later with 4201.
    QElapsedTimer clock;
    clock.start();
    QTcpSocket mute;
    mute.connectToHost(QHostAddress::LocalHost, server.port);
    mute.write(
        "GET /app/mine?protocol=7 HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: websocket\r\nConnection: "
        "Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: "
        "13\r\n\r\n");
    QByteArray received;
    qint64 pingAt = -1;
    QObject::connect(&mute, &QTcpSocket::readyRead, [&] {
        received += mute.readAll();
        if (pingAt < 0 && received.contains('\x89')) // the first byte of a ping frame
            pingAt = clock.elapsed();
    });
    ASSERT_TRUE(waitUntil([&] { return received.contains('\x88'); })) << received.toStdString();
    EXPECT_GE(pingAt, 900);
    // A close frame: 0x88, the payload length, then the code in network order.
    const QByteArray close = received.sliced(received.indexOf('\x88'));
    EXPECT_EQ(close.size() >= 4 ? uchar(close[2]) << 8 | uchar(close[3]) : 0, 4201);

    EXPECT_FALSE(client.closed); // Qt's websocket answers pings by itself
    server.process.terminate();
    EXPECT_EQ(server.finish(5000), 0);
    ASSERT_TRUE(waitUntil([&] { return client.closed; }));
    EXPECT_EQ(int(client.socket.closeCode()), 1001);
}

// Killed at any moment of a load of viewers answering at once, the server restarted on the same
// database holds every answer it acknowledged, none it was not sent, and totals counted from
// exactly what it holds.
TEST(Process, acknowledgedAnswersSurviveKill9AtAnyMomentOfALoad)
{
    QTemporaryDir dir;
    const QStringList arguments{u"--port"_s, u"0"_s, u"--db"_s, dir.filePath(u"db"_s)};
    const std::pair<const char *, const char *> answers[] = {{"poll/answer_new/p100", "\"Latte\""},
                                                             {"poll/answer_new/pr200", "\"Reds\""},
                                                             {"rating/answer_new/r300", "4"}};
    QNetworkAccessManager network;
    QSet<QString> sent, acknowledged; // "<token> <item>"
    QRandomGenerator random(2026);
    for (int round = 0; round < 5; ++round) {
        ServerProcess server(program, arguments);
        int pending = 0;
        for (int viewer = 0; viewer < 20; ++viewer) {
            const HttpResult registered = httpRequest(at(server.port, u"/userApi/user/register"_s),
                                                      "POST", sdkRequest("$W"), sdkContentType);
            const QString token = registered.json()["token"_L1].toString();
            for (const auto &[operation, answer] : answers) {
                QNetworkRequest request(at(server.port, u"/userApi/"_s + QLatin1String(operation)));
                request.setHeader(QNetworkRequest::ContentTypeHeader, sdkContentType);
                const QString key = token + u' ' + QString::fromLatin1(operation).section(u'/', -1);
                sent.insert(key);
                ++pending;
                QNetworkReply *reply = network.post(
                    request, sdkRequest(R"($W,"answer":)" + QByteArray(answer), token));
                QObject::connect(reply, &QNetworkReply::finished, reply, [&, reply, key] {
                    if (jsonObject(reply->readAll())["answer"_L1]["isAnswered"_L1].toBool())
                        acknowledged.insert(key);
                    --pending;
                    reply->deleteLater();
                });
            }
        }
        QTest::qWait(int(random.bounded(0, 20))); // somewhere in the middle of the load
        server.process.kill();
        ASSERT_TRUE(waitUntil([&] { return pending == 0; }));
    }
    ASSERT_GT(acknowledged.size(), 0);
    EXPECT_LT(acknowledged.size(), sent.size()) << "no kill fell in the middle of the load";

    ServerProcess server(program, arguments);
    QHash<qint64, QString> tokens;
    for (const QJsonValue viewer : admin(server.port, u"viewers"_s).array())
        tokens.insert(viewer["id"_L1].toInteger(), viewer["token"_L1].toString());
    QSet<QString> stored;
    QHash<QString, qint64> counted; // answers per item
    for (const QJsonValue answer : admin(server.port, u"answers"_s).array()) {
        stored.insert(tokens.value(answer["viewerId"_L1].toInteger()) + u' '
                      + answer["item"_L1].toString());
        ++counted[answer["item"_L1].toString()];
    }
    std::printf("kill -9 in 5 loads: %lld answers sent, %lld acknowledged, %lld stored\n",
                qint64(sent.size()), qint64(acknowledged.size()), qint64(stored.size()));
    EXPECT_TRUE(stored.contains(acknowledged)) << "acknowledged answers were lost";
    EXPECT_TRUE(sent.contains(stored)) << "answers never sent were stored";
    const QJsonObject totals = admin(server.port, u"totals?channel=1001"_s).object();
    EXPECT_EQ(totals["polls"_L1]["p100"_L1]["Latte"_L1].toInteger(), counted.value(u"p100"_s));
    EXPECT_EQ(totals["polls"_L1]["pr200"_L1]["Reds"_L1].toInteger(), counted.value(u"pr200"_s));
    EXPECT_EQ(totals["ratings"_L1]["r300"_L1]["totalPeople"_L1].toInteger(),
              counted.value(u"r300"_s));
    EXPECT_EQ(totals["ratings"_L1]["r300"_L1]["totalPoints"_L1].toInteger(),
              4 * counted.value(u"r300"_s));
}
