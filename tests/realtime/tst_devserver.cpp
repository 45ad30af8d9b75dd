// The realtime layer against the real dev server, in real time: each of the channel's seven
// events, pushed from the broadcaster's side, becomes its typed call once and intact; after the
// server is killed and started again the client comes back on its own and hears the next one.

#include "scriptedserver.h"
#include "serverprocess.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

using namespace Vantora;
using namespace Vantora::DevServerTest;
using namespace Qt::Literals::StringLiterals;

TEST(RealtimeAgainstDevServer, everyEventArrivesAndTheClientSurvivesAServerRestart)
{
    QTemporaryDir dir;
    QStringList arguments{u"--port"_s, u"0"_s,    u"--data"_s,
                          demoFolder,  u"--db"_s, dir.filePath(u"db"_s)};
    auto server = std::make_unique<ServerProcess>(QStringLiteral(VANTORA_DEVSERVER), arguments);
    const quint16 port = server->port;
    ASSERT_NE(port, 0);
    VTADeployment deployment = VTADeployment::current();
    deployment.realtimeURL = u"ws://127.0.0.1:%1"_s.arg(port);
    VTADeployment::configure(deployment);
    TestSupport::RecordingDelegate overlay;
    PusherHelper helper;
    helper.setDelegate(&overlay, &overlay);
    helper.connect(u"1001"_s, u"vantora-demo"_s, VTAEnvironment::testDefault());
    const auto subscribed = [&] {
        return helper.pusher()->isSubscribed(u"CH_1001"_s);
    };
    ASSERT_TRUE(waitUntil(subscribed, 10000));

    const auto push = [port](const char *path, const QByteArray &body) {
        QJsonObject object = QJsonDocument::fromJson(body).object();
        object.insert(u"channel"_s, u"1001"_s);
        admin(port, QString::fromUtf8(path), object);
    };
    const QByteArray shown = R"("timeToStay":45,"starting_time":9,"once_per_user":false})";
    push("inject", R"({"kind":"poll","id":"p100",)" + shown);
    push("inject", R"({"kind":"rating","id":"r300",)" + shown);
    push("inject", R"({"kind":"trivia","id":"t400",)" + shown);
    push("streamer-info", "{}");
    push("stop-poll", R"({"poll":"p101"})");
    push("settle", R"({"poll":"pr200","answer":"Reds","winAmount":12.5})");
    push("refresh", "{}");
    ASSERT_TRUE(waitUntil([&] { return overlay.calls.size() >= 7; }, 10000));
    EXPECT_EQ(overlay.calls.join(u'|'),
              u"poll p100 45s close at 9|rating r300 45s close at 9|"
              u"trivia t400 45s close at 9|"
              u"info [p100,p101,p102,p103] [r300] [pr200]|close p101|"
              u"win Reds 12.5 pr200|refresh"_s);

    server->killHard();
    server.reset();
    arguments[1] = QString::number(port);
    server = std::make_unique<ServerProcess>(QStringLiteral(VANTORA_DEVSERVER), arguments);
    ASSERT_EQ(server->port, port);
    ASSERT_TRUE(waitUntil(subscribed, 20000)) << "found again within the back-off, unasked";
    push("stop-poll", R"({"poll":"p102"})");
    ASSERT_TRUE(waitUntil([&] { return overlay.calls.size() >= 8; }, 10000));
    EXPECT_EQ(overlay.calls.sliced(7), QStringList{u"close p102"_s});
    helper.close();
}
