// The overlay against the real dev server, in real time, as a C++ host uses it: a poll the
// broadcaster pushes and then closes. (The sample app's evening, tests/tvapp, plays the clock,
// the answers and the settlement; tests/qml-host every card kind over players of four sizes.)

#include "serverprocess.h"

#include <vantora/overlay/vtaoverlayview.h>
#include <vantora/records/vtadeployment.h>
#include <vantora/views/poll/vtapollview.h>

#include <QElapsedTimer>
#include <QQuickWindow>
#include <QSettings>
#include <QTemporaryDir>

using namespace Vantora::DevServerTest;
using namespace Qt::Literals::StringLiterals;

TEST(OverlayAgainstDevServer, aPollTheBroadcasterClosesEndsOnTheViewersScreen)
{
    QTemporaryDir database;
    ServerProcess server(QStringLiteral(VANTORA_DEVSERVER),
                         {u"--port"_s, u"0"_s, u"--data"_s, demoFolder, u"--db"_s,
                          database.filePath(u"overlay.sqlite"_s)});
    // Set up as the server's start-up lines tell a host: its exports in the environment.
    const QHash<QString, QString> exported = server.exported();
    for (auto it = exported.cbegin(); it != exported.cend(); ++it)
        qputenv(it.key().toUtf8(), it.value().toUtf8());
    VTADeployment::configure(VTADeployment::builtIn());

    QQuickWindow window;
    auto *overlay = new VTAOverlayView(window.contentItem());
    overlay->setSize({1920, 1080});
    window.show();
    overlay->load(u"1001"_s, u"vantora-demo"_s, VTAEnvironment::testDefault());
    // Signed in and subscribed: from then on the broadcaster's injections reach this overlay.
    ASSERT_TRUE(waitUntil(
        [&] {
            return !QSettings().value(u"userToken"_s).toString().isEmpty()
                && admin(server.port, u"realtime/connections"_s).toJson().contains("\"CH_1001\"");
        },
        10000));

    const QJsonObject p101{{u"channel"_s, u"1001"_s}, {u"kind"_s, u"poll"_s}, {u"id"_s, u"p101"_s}};
    EXPECT_EQ(admin(server.port, u"inject"_s, p101)["delivered"_L1].toInt(), 1);
    VTAPollView *card = nullptr;
    ASSERT_TRUE(waitUntil([&] { return (card = overlay->findChild<VTAPollView *>()) != nullptr; }));
    QQuickItem *title = card->titleLabel();
    EXPECT_EQ(title->property("text").toString(), u"Best part of the half-time show?"_s);

    admin(server.port, u"stop-poll"_s, {{u"channel"_s, u"1001"_s}, {u"poll"_s, u"p101"_s}});
    ASSERT_TRUE(waitUntil([&] {
        return title->property("text") == u"Best part of the half-time show? [POLL CLOSED]"_s;
    })) << title->property("text").toString().toStdString();
}

// A backend that misbehaves at start-up as real ones do: each failure ends in its report and
// nothing else; once the backend is itself again, the next load works and live events arrive.
TEST(OverlayAgainstDevServer, aMisbehavingBackendEndsInAReportAndTheNextLoadWorks)
{
    QTemporaryDir database;
    ServerProcess server(QStringLiteral(VANTORA_DEVSERVER),
                         {u"--port"_s, u"0"_s, u"--data"_s, demoFolder, u"--db"_s,
                          database.filePath(u"overlay.sqlite"_s)});
    const QHash<QString, QString> exported = server.exported();
    for (auto it = exported.cbegin(); it != exported.cend(); ++it)
        qputenv(it.key().toUtf8(), it.value().toUtf8());
    VTADeployment::configure(VTADeployment::builtIn());
    VTAOverlayView::resetUser();

    QQuickWindow window;
    auto *overlay = new VTAOverlayView(window.contentItem());
    overlay->setSize({1920, 1080});
    window.show();
    QList<VTAOverlayView::SessionFailure> failures;
    QObject::connect(overlay, &VTAOverlayView::sessionFailed, overlay,
                     [&](VTAOverlayView::SessionFailure failure) { failures.append(failure); });
    using enum VTAOverlayView::SessionFailure;
    for (const auto &[path, fault, failure] :
         {std::tuple{"/channels/", "notjson", ChannelNotVerified},
          {"/channels/", "reset", ChannelNotVerified},
          {"/userApi/user/register", "truncated", RegisterFailed},
          {"/userApi/streamer/getInfo", "html500", ChannelInfoFailed},
          {"/userApi/streamer/getInfo", "reset", ChannelInfoFailed}}) {
        admin(server.port, u"faults"_s,
              {{u"path"_s, QLatin1String(path)},
               {u"fault"_s, QLatin1String(fault)},
               {u"times"_s, 2}});
        failures.clear();
        overlay->load(u"1001"_s, u"vantora-demo"_s, VTAEnvironment::testDefault());
        EXPECT_TRUE(waitUntil([&] { return failures.contains(failure); }, 10000))
            << path << ' ' << fault;
        admin(server.port, u"faults"_s, {{u"clear"_s, true}});
        EXPECT_FALSE(overlay->isDisplayingInteraction());
    }

    // Pictures that are not pictures leave their place empty; the card shows all the same.
    admin(server.port, u"faults"_s,
          {{u"path"_s, u"/media/"_s}, {u"fault"_s, u"notimage"_s}, {u"times"_s, 0}});
    overlay->load(u"1001"_s, u"vantora-demo"_s, VTAEnvironment::testDefault());
    ASSERT_TRUE(waitUntil(
        [&] {
            return admin(server.port, u"realtime/connections"_s).toJson().contains("\"CH_1001\"");
        },
        10000));
    admin(server.port, u"inject"_s,
          {{u"channel"_s, u"1001"_s}, {u"kind"_s, u"poll"_s}, {u"id"_s, u"p100"_s}});
    EXPECT_TRUE(waitUntil([&] { return overlay->isDisplayingInteraction(); }));
}

namespace {
class Player : public VTAOverlayDelegate
{
public:
    QStringList calls;
    void overlayRequestedPause() override { calls.append(u"pause"_s); }
    void overlayRequestedPlay() override { calls.append(u"play"_s); }
    void overlayRequestedFocus() override { calls.append(u"focus"_s); }
    void overlayReleasedFocus() override { calls.append(u"release"_s); }
};
} // namespace

// The backend dies (kill -9) while a card is on screen and comes back on the same port: the card
// still ends and gives the remote back, and the overlay hears the broadcaster again.
TEST(OverlayAgainstDevServer, aBackendRestartedUnderACardLeavesNothingHeldAndLiveEventsReturn)
{
    QTemporaryDir database;
    const QStringList options{u"--data"_s, demoFolder, u"--db"_s,
                              database.filePath(u"overlay.sqlite"_s)};
    auto server = std::make_unique<ServerProcess>(QStringLiteral(VANTORA_DEVSERVER),
                                                  QStringList{u"--port"_s, u"0"_s} + options);
    const quint16 port = server->port;
    const QHash<QString, QString> exported = server->exported();
    for (auto it = exported.cbegin(); it != exported.cend(); ++it)
        qputenv(it.key().toUtf8(), it.value().toUtf8());
    VTADeployment::configure(VTADeployment::builtIn());

    QQuickWindow window;
    auto *overlay = new VTAOverlayView(window.contentItem());
    overlay->setSize({1920, 1080});
    window.show();
    Player player;
    overlay->load(u"1001"_s, u"vantora-demo"_s, VTAEnvironment::testDefault(), &player);
    const auto subscribed = [&] {
        return admin(port, u"realtime/connections"_s).toJson().contains("\"CH_1001\"");
    };
    ASSERT_TRUE(waitUntil(subscribed, 10000));
    const QJsonObject poll{{u"channel"_s, u"1001"_s},
                           {u"kind"_s, u"poll"_s},
                           {u"id"_s, u"p100"_s},
                           {u"timeToStay"_s, 3}};
    admin(port, u"inject"_s, poll);
    ASSERT_TRUE(waitUntil([&] { return overlay->isDisplayingInteraction(); }));

    server->process.kill();
    server->process.waitForFinished();
    server =
        std::make_unique<ServerProcess>(QStringLiteral(VANTORA_DEVSERVER),
                                        QStringList{u"--port"_s, QString::number(port)} + options);
    EXPECT_TRUE(waitUntil([&] { return !overlay->isDisplayingInteraction(); }, 10000));
    EXPECT_EQ(player.calls.count(u"focus"_s), player.calls.count(u"release"_s))
        << player.calls.join(u' ').toStdString();
    ASSERT_TRUE(waitUntil(subscribed, 30000)) << "the overlay did not come back";
    admin(port, u"inject"_s, poll);
    EXPECT_TRUE(waitUntil([&] { return overlay->isDisplayingInteraction(); }));
}

// A backend that never answers: after the requests' 60-second time-out the session reports it
// like any other failure, and the next load works.
TEST(OverlayAgainstDevServer, aBackendThatNeverAnswersEndsInAReportAfterAMinute)
{
    QTemporaryDir database;
    ServerProcess server(QStringLiteral(VANTORA_DEVSERVER),
                         {u"--port"_s, u"0"_s, u"--data"_s, demoFolder, u"--db"_s,
                          database.filePath(u"overlay.sqlite"_s)});
    const QHash<QString, QString> exported = server.exported();
    for (auto it = exported.cbegin(); it != exported.cend(); ++it)
        qputenv(it.key().toUtf8(), it.value().toUtf8());
    VTADeployment::configure(VTADeployment::builtIn());

    QQuickWindow window;
    auto *overlay = new VTAOverlayView(window.contentItem());
    std::optional<VTAOverlayView::SessionFailure> failed;
    QObject::connect(overlay, &VTAOverlayView::sessionFailed, overlay,
                     [&](VTAOverlayView::SessionFailure failure) { failed = failure; });
    admin(server.port, u"faults"_s,
          {{u"path"_s, u"/userApi/streamer/getInfo"_s}, {u"fault"_s, u"silent"_s}});
    QElapsedTimer waited;
    waited.start();
    overlay->load(u"1001"_s, u"vantora-demo"_s, VTAEnvironment::testDefault());
    ASSERT_TRUE(waitUntil([&] { return failed.has_value(); }, 75000));
    EXPECT_EQ(*failed, VTAOverlayView::SessionFailure::ChannelInfoFailed);
    EXPECT_GE(waited.elapsed(), 59000);
    failed.reset();
    overlay->load(u"1001"_s, u"vantora-demo"_s, VTAEnvironment::testDefault());
    EXPECT_TRUE(waitUntil(
        [&] {
            return admin(server.port, u"realtime/connections"_s).toJson().contains("\"CH_1001\"");
        },
        10000));
    EXPECT_FALSE(failed);
}
