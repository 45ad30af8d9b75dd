// vantora-devserver as a developer runs it: its options, what it prints, how it fails, and that
// an acknowledged answer survives the process being killed outright.

#include "devservertest.h"
#include "serverprocess.h"

#include "testsupport.h"
#include <vantora/records/vtaenvironment.h>

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QWebSocket>

#include <gtest/gtest.h>

using namespace Vantora::DevServerTest;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString program = QStringLiteral(VANTORA_DEVSERVER);

struct Reply
{
    int status = 0;
    QJsonObject json;
};

Reply post(quint16 port, const QString &path, const QJsonObject &data)
{
    static QNetworkAccessManager network;
    QNetworkRequest request(
        QUrl(u"http://127.0.0.1:"_s + QString::number(port) + u"/userApi"_s + path));
    request.setHeader(QNetworkRequest::ContentTypeHeader, sdkContentType());
    QNetworkReply *reply = network.post(request, sdkBody(envelope(data)));
    EXPECT_TRUE(waitUntil([reply] { return reply->isFinished(); }));
    Reply result{reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
                 jsonObject(reply->readAll())};
    reply->deleteLater();
    return result;
}

} // namespace

TEST(Process, helpDocumentsEveryOption)
{
    QProcess process;
    process.start(program, {u"--help"_s});
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_EQ(process.exitCode(), 0);
    const QString help = QString::fromUtf8(process.readAllStandardOutput());
    for (const char *option :
         {"--host", "--port", "--data", "--db", "--app-id", "--app-key", "--app-secret",
          "--activity-timeout", "--pong-timeout", "--help", "--version"})
        EXPECT_TRUE(help.contains(QLatin1StringView(option))) << option;
}

TEST(Process, refusesBadStartsWithAReason)
{
    QTemporaryDir dir;
    const struct
    {
        QStringList arguments;
        const char *error;
    } rows[] = {
        {{u"--port"_s, u"70000"_s}, "--port"},
        {{u"--port"_s, u"0"_s, u"--host"_s, u"localhost-ish"_s}, "--host"},
        {{u"--port"_s, u"0"_s, u"--data"_s, dir.filePath(u"missing"_s)}, "does not exist"},
        {{u"--port"_s, u"0"_s, u"--db"_s, dir.filePath(u"no/such/dir/db.sqlite"_s)}, "cannot open"},
        {{u"--port"_s, u"0"_s, u"--activity-timeout"_s, u"0"_s}, "--activity-timeout"},
        {{u"--port"_s, u"0"_s, u"stray"_s}, "unexpected argument"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.error);
        QProcess process;
        process.start(program, row.arguments);
        ASSERT_TRUE(process.waitForFinished(10000));
        EXPECT_EQ(process.exitCode(), 1);
        EXPECT_TRUE(process.readAllStandardError().contains(row.error));
    }
}

TEST(Process, printsWhereItListensAndKeepsAnswersThroughKill9)
{
    QTemporaryDir dir;
    const QStringList arguments{u"--port"_s, u"0"_s,    u"--data"_s,
                                demoFolder,  u"--db"_s, dir.filePath(u"answers.sqlite"_s)};
    QString token;
    {
        ServerProcess server(program, arguments);
        ASSERT_NE(server.port, 0);
        const QString origin = u"127.0.0.1:"_s + QString::number(server.port);
        // Lines a shell takes as they are.
        const QStringList lines = server.lines();
        for (const QString &line :
             {u"export VANTORA_API_BASE=http://"_s + origin + u"/userApi"_s,
              u"export VANTORA_IMAGE_BASE=http://"_s + origin + u"/media"_s,
              u"export VANTORA_CHANNELS_BASE=http://"_s + origin + u"/channels/"_s,
              u"export VANTORA_REALTIME_URL=ws://"_s + origin})
            EXPECT_TRUE(lines.contains(line)) << line.toStdString();

        const QJsonObject who{{u"broadcasterName"_s, u"vantora-demo"_s},
                              {u"channelId"_s, u"1001"_s}};
        const Reply registered = post(server.port, u"/user/register"_s, who);
        ASSERT_EQ(registered.status, 200);
        token = registered.json.value("token"_L1).toString();
        QJsonObject vote = who;
        vote.insert(u"userToken"_s, token);
        vote.insert(u"answer"_s, u"Blues"_s);
        const Reply answered = post(server.port, u"/poll/answer_new/pr200"_s, vote);
        ASSERT_EQ(answered.status, 200);
        ASSERT_TRUE(answered.json["answer"_L1]["isAnswered"_L1].toBool());
        server.killHard();
    }
    ServerProcess restarted(program, arguments);
    ASSERT_NE(restarted.port, 0);
    const Reply login = post(restarted.port, u"/user/login_by_token"_s,
                             {{u"broadcasterName"_s, u"vantora-demo"_s},
                              {u"channelId"_s, u"1001"_s},
                              {u"userToken"_s, token}});
    ASSERT_EQ(login.status, 200);
    EXPECT_EQ(login.json["polls"_L1]["pr200_1001"_L1].toString(), u"Blues"_s);
    EXPECT_EQ(login.json["predictionsResults"_L1]["pr200_____1001"_L1]["status"_L1].toString(),
              u"pending"_s);
    EXPECT_EQ(login.json["expirience_points"_L1].toDouble(), 20);
}

// The SDK's three environments all reach the server's live channel; a key given on the command
// line is then the only one.
TEST(Process, realtimeClientsConnectWithTheKeyOfAnySdkEnvironmentOrTheOneGiven)
{
    const auto answer = [](quint16 port, const QString &key) {
        QWebSocket socket;
        QString first;
        QObject::connect(&socket, &QWebSocket::textMessageReceived,
                         [&first](const QString &frame) { first = frame; });
        socket.open(QUrl(u"ws://127.0.0.1:%1/app/%2?protocol=7"_s.arg(port).arg(key)));
        EXPECT_TRUE(waitUntil([&] { return !first.isEmpty(); }));
        return first.contains(u"pusher:connection_established"_s)
            ? u"welcome"_s
            : QString::number(jsonObject(first.toUtf8())["data"_L1]["code"_L1].toInt());
    };
    QTemporaryDir dir;
    const QStringList sdkKeys{VTAEnvironment::productionDefault().pusherKey(),
                              VTAEnvironment::devDefault().pusherKey(),
                              VTAEnvironment::testDefault().pusherKey()};
    {
        ServerProcess server(program, {u"--port"_s, u"0"_s, u"--db"_s, dir.filePath(u"a"_s)});
        for (const QString &key : sdkKeys)
            EXPECT_EQ(answer(server.port, key), u"welcome"_s) << key.toStdString();
        EXPECT_EQ(answer(server.port, u"0123456789abcdef0123"_s), u"4001"_s);
    }
    ServerProcess server(
        program, {u"--port"_s, u"0"_s, u"--db"_s, dir.filePath(u"b"_s), u"--app-key"_s, u"mine"_s});
    EXPECT_EQ(answer(server.port, u"mine"_s), u"welcome"_s);
    EXPECT_EQ(answer(server.port, sdkKeys[0]), u"4001"_s);
}
