// The overlay against the real dev server, in real time, as a C++ host uses it: a backend that
// misbehaves at start-up, never answers, or dies under a card, and live polls once it is back.
// (The sample app's evening, tests/tvapp, plays the clock, the answers and the settlement;
// tests/qml-host every card kind over players of four sizes.)

#include "recordinghost.h"
#include "serverprocess.h"

#include <vantora/records/vtadeployment.h>
#include <vantora/views/poll/vtapollview.h>

#include <QElapsedTimer>
#include <QQuickWindow>
#include <QSettings>
#include <QTemporaryDir>

using namespace Vantora::DevServerTest;
using namespace Qt::Literals::StringLiterals;
using Failure = VTAOverlayView::SessionFailure;

namespace {

// A dev server in its own process, and a host set up as its start-up lines tell one (its exports
// in the environment) with the overlay over a 1080p window.
class OverlayAgainstDevServer : public testing::Test
{
protected:
    OverlayAgainstDevServer()
    {
        const QHash<QString, QString> exported = server->exported();
        for (auto it = exported.cbegin(); it != exported.cend(); ++it)
            qputenv(it.key().toUtf8(), it.value().toUtf8());
        VTADeployment::configure(VTADeployment::builtIn());
        // Named here rather than by testDefault(), whose hosts stay those of the first server.
        environment =
            VTAEnvironment(exported[u"VANTORA_API_BASE"_s], exported[u"VANTORA_IMAGE_BASE"_s],
                           VTAEnvironment::testDefault().pusherKey(), u"us2"_s, u"test3"_s);
        overlay->setSize({1920, 1080});
        window.show();
        QObject::connect(overlay, &VTAOverlayView::sessionFailed, overlay,
                         [this](Failure failure) { failures.append(failure); });
    }

    void load()
    {
        failures.clear();
        overlay->load(u"1001"_s, u"vantora-demo"_s, *environment, &player);
    }
    // Signed in and subscribed: from then on the broadcaster's injections reach this overlay.
    bool subscribed()
    {
        const auto done = [&] {
            return !QSettings().value(u"userToken"_s).toString().isEmpty()
                && admin(port, u"realtime/connections"_s).toJson().contains("\"CH_1001\"");
        };
        return waitUntil(done, 30000);
    }
    void fault(const QString &path, const QString &kind, int times = 0)
    {
        admin(port, u"faults"_s, {{u"path"_s, path}, {u"fault"_s, kind}, {u"times"_s, times}});
    }

    QTemporaryDir database;
    const QStringList options{u"--data"_s, demoFolder, u"--db"_s,
                              database.filePath(u"overlay.sqlite"_s)};
    std::unique_ptr<ServerProcess> server = std::make_unique<ServerProcess>(
        QStringLiteral(VANTORA_DEVSERVER), QStringList{u"--port"_s, u"0"_s} + options);
    const quint16 port = server->port;
    QQuickWindow window;
    std::optional<VTAEnvironment> environment;
    VTAOverlayView *overlay = new VTAOverlayView(window.contentItem()); // owned by the window
    RecordingHost player;
    QList<Failure> failures;
};

} // namespace

// Each failure ends in its report and nothing else; once the backend is itself again, the next
// load works and live events arrive, even with pictures that are not pictures: a poll the
// broadcaster pushes and then closes ends on the viewer's screen.
TEST_F(OverlayAgainstDevServer, aMisbehavingBackendEndsInAReportAndTheNextLoadWorks)
{
    VTAOverlayView::resetUser();
    for (const auto &[path, kind, failure] :
         {std::tuple{u"/channels/"_s, u"notjson"_s, Failure::ChannelNotVerified},
          {u"/channels/"_s, u"reset"_s, Failure::ChannelNotVerified},
          {u"/userApi/user/register"_s, u"truncated"_s, Failure::RegisterFailed},
          {u"/userApi/streamer/getInfo"_s, u"html500"_s, Failure::ChannelInfoFailed},
          {u"/userApi/streamer/getInfo"_s, u"reset"_s, Failure::ChannelInfoFailed}}) {
        fault(path, kind, 2); // a reset GET is tried again once
        load();
        EXPECT_TRUE(waitUntil([&] { return failures.contains(failure); }, 10000))
            << qPrintable(path + u' ' + kind);
        admin(port, u"faults"_s, {{u"clear"_s, true}});
        EXPECT_FALSE(overlay->isDisplayingInteraction());
    }
    fault(u"/media/"_s, u"notimage"_s);
    load();
    ASSERT_TRUE(subscribed());
    admin(port, u"inject"_s, jsonObject(R"({"channel":"1001","kind":"poll","id":"p100"})"));
    ASSERT_TRUE(waitUntil([&] { return overlay->isDisplayingInteraction(); }));
    EXPECT_TRUE(failures.isEmpty()) << failures.size() << " failures reported";
    QQuickItem *title = overlay->findChild<VTAPollView *>()->titleLabel();
    admin(port, u"stop-poll"_s, {{u"channel"_s, u"1001"_s}, {u"poll"_s, u"p100"_s}});
    EXPECT_TRUE(waitUntil([&] {
        return title->property("text") == u"How do you take your morning coffee? [POLL CLOSED]"_s;
    })) << title->property("text").toString().toStdString();
}

// After the requests' 60-second time-out the session reports it like any other failure.
TEST_F(OverlayAgainstDevServer, aBackendThatNeverAnswersEndsInAReportAfterAMinute)
{
    fault(u"/userApi/streamer/getInfo"_s, u"silent"_s, 1);
    QElapsedTimer waited;
    waited.start();
    load();
    ASSERT_TRUE(waitUntil([&] { return !failures.isEmpty(); }, 75000));
    EXPECT_EQ(failures, QList{Failure::ChannelInfoFailed});
    EXPECT_GE(waited.elapsed(), 59000);
    load();
    EXPECT_TRUE(subscribed());
    EXPECT_TRUE(failures.isEmpty()) << failures.size() << " failures reported";
}

// Killed under a card that paused the video, and restarted on its port: the card still ends,
// the video plays again and the remote is given back, and the overlay hears the broadcaster again.
TEST_F(OverlayAgainstDevServer, aBackendRestartedUnderACardLeavesNothingHeldAndLiveEventsReturn)
{
    admin(port, u"items"_s,
          jsonObject(R"({"channel":"1001","kind":"clocks","document":[{"id":"p100",
        "module":"polls","time":1,"timeToStay":"3","isPause":true,"close_post_interaction":true,
        "smartTV":true}]})"));
    load();
    ASSERT_TRUE(subscribed());
    overlay->videoPlaying(0);
    ASSERT_TRUE(waitUntil([&] { return overlay->isDisplayingInteraction(); }));
    server.reset(); // killed
    server =
        std::make_unique<ServerProcess>(QStringLiteral(VANTORA_DEVSERVER),
                                        QStringList{u"--port"_s, QString::number(port)} + options);
    EXPECT_TRUE(waitUntil([&] { return !overlay->isDisplayingInteraction(); }, 10000));
    EXPECT_EQ(player.calls.join(u' ').toStdString(), "pause focus release play");
    ASSERT_TRUE(subscribed()) << "the overlay did not come back";
    admin(port, u"inject"_s, jsonObject(R"({"channel":"1001","kind":"poll","id":"p100"})"));
    EXPECT_TRUE(waitUntil([&] { return overlay->isDisplayingInteraction(); }));
}
