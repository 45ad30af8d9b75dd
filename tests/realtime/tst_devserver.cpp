// The realtime channel against the real dev server, in real time: a broadcaster's injection
// reaches the typed delegate call, and after the server is killed and started again the client
// reconnects, resubscribes and receives the next one on its own.

#include "serverprocess.h"
#include "vantora/realtime/pusherhelper_p.h"

#include <vantora/records/vtadeployment.h>
#include <vantora/records/vtaenvironment.h>

#include <QJsonArray>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

using namespace Vantora;
using namespace Vantora::DevServerTest;
using namespace Qt::Literals::StringLiterals;

namespace {

class InjectedPolls : public QObject, public PusherHelperDelegate
{
public:
    QStringList polls;

    void inject(const Poll &poll, const InteractionOptions &, qint64) override
    {
        polls.append(poll.id);
    }
    void inject(const Rating &, const InteractionOptions &, qint64) override { }
    void inject(const QString &, const InteractionOptions &, qint64) override { }
    void updatedInfo(const std::optional<QList<Poll>> &, const std::optional<QList<Rating>> &,
                     const std::optional<QList<Poll>> &) override
    { }
    void didClose(const QString &) override { }
    void didReceivePredictionResult(const PredictionWin &) override { }
    void didRequestRefresh() override { }
};

bool subscribed(quint16 port)
{
    const QJsonArray connections = admin(port, u"realtime/connections"_s).array();
    for (const QJsonValue &connection : connections) {
        if (connection["channels"_L1].toArray().contains(u"CH_1001"_s))
            return true;
    }
    return false;
}

} // namespace

TEST(RealtimeAgainstDevServer, injectionsArriveAndSurviveAServerRestart)
{
    const QString program = QStringLiteral(VANTORA_DEVSERVER);
    QTemporaryDir dir;
    QStringList arguments{u"--port"_s, u"0"_s,    u"--data"_s,
                          demoFolder,  u"--db"_s, dir.filePath(u"live.sqlite"_s)};
    auto server = std::make_unique<ServerProcess>(program, arguments);
    const quint16 port = server->port;
    ASSERT_NE(port, 0);

    VTADeployment deployment = VTADeployment::current();
    deployment.realtimeURL = u"ws://127.0.0.1:%1"_s.arg(port);
    VTADeployment::configure(deployment);
    InjectedPolls overlay;
    PusherHelper helper;
    helper.setDelegate(&overlay, &overlay);
    helper.connect(u"1001"_s, u"vantora-demo"_s, VTAEnvironment::testDefault());

    ASSERT_TRUE(waitUntil([&] { return subscribed(port); }, 10000));
    admin(port, u"inject"_s,
          {{u"channel"_s, u"1001"_s}, {u"kind"_s, u"poll"_s}, {u"id"_s, u"p100"_s}});
    ASSERT_TRUE(waitUntil([&] { return overlay.polls.size() == 1; }, 10000));
    EXPECT_EQ(overlay.polls, QStringList{u"p100"_s});

    server->killHard();
    server.reset();
    arguments[1] = QString::number(port);
    server = std::make_unique<ServerProcess>(program, arguments);
    ASSERT_EQ(server->port, port);
    // The client finds the server again within its back-off, with no call from anyone.
    ASSERT_TRUE(waitUntil([&] { return subscribed(port); }, 20000));
    admin(port, u"inject"_s,
          {{u"channel"_s, u"1001"_s}, {u"kind"_s, u"poll"_s}, {u"id"_s, u"p101"_s}});
    ASSERT_TRUE(waitUntil([&] { return overlay.polls.size() == 2; }, 10000));
    EXPECT_EQ(overlay.polls, (QStringList{u"p100"_s, u"p101"_s}));
    helper.close();
}
