// The overlay against the real dev server, in real time, as a C++ host uses it: a poll the
// broadcaster pushes and then closes. (The sample app's evening, tests/tvapp, plays the clock,
// the answers and the settlement; tests/qml-host every card kind over players of four sizes.)

#include "serverprocess.h"
#include "testsupport.h"

#include <vantora/overlay/vtaoverlayview.h>
#include <vantora/records/vtadeployment.h>
#include <vantora/records/vtaenvironment.h>

#include <QJsonArray>
#include <QPointer>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <optional>

using namespace Vantora::DevServerTest;
using Vantora::TestSupport::StdoutCapture;
using namespace Qt::Literals::StringLiterals;

namespace {

// A host's bridge to its player: writes down what the overlay asks and, like a host, answers a
// focus request by giving the overlay the remote.
class RecordingHost : public VTAOverlayDelegate
{
public:
    QStringList calls;
    QPointer<VTAOverlayView> overlay;

    void overlayRequestedPause() override { calls.append(u"pause"_s); }
    void overlayRequestedPlay() override { calls.append(u"play"_s); }
    void overlayRequestedFocus() override
    {
        calls.append(u"focus"_s);
        if (overlay)
            overlay->forceActiveFocus();
    }
    void overlayReleasedFocus() override { calls.append(u"release"_s); }
};

// Readable failure messages.
std::string describe(const QJsonDocument &document)
{
    return document.toJson(QJsonDocument::Compact).toStdString();
}
std::string describe(const QJsonObject &object)
{
    return describe(QJsonDocument(object));
}
std::string describe(const QStringList &texts)
{
    return "[" + texts.join(u", "_s).toStdString() + "]";
}

// Every item below `root` (itself included), depth first.
QList<QQuickItem *> itemTree(QQuickItem *root)
{
    QList<QQuickItem *> items{root};
    for (QQuickItem *child : root->childItems())
        items += itemTree(child);
    return items;
}

// The texts a viewer can see in `root`.
QStringList visibleTexts(QQuickItem *root)
{
    QStringList texts;
    for (QQuickItem *item : itemTree(root)) {
        const QVariant text = item->property("text");
        if (item->isVisible() && text.isValid() && !text.toString().isEmpty())
            texts.append(text.toString());
    }
    return texts;
}

// One dev server for the whole run: the SDK's default environments are fixed, from the deployment,
// the first time one is read, so every test talks to the same port.
class OverlayAgainstDevServer : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        database = std::make_unique<QTemporaryDir>();
        server = std::make_unique<ServerProcess>(
            QStringLiteral(VANTORA_DEVSERVER),
            QStringList{u"--port"_s, u"0"_s, u"--data"_s, demoFolder, u"--db"_s,
                        database->filePath(u"overlay.sqlite"_s)});
        const QHash<QString, QString> exported = server->exported();
        VTADeployment deployment = VTADeployment::current();
        deployment.testApiBaseURL = exported.value(u"VANTORA_API_BASE"_s);
        deployment.imageBaseURL = exported.value(u"VANTORA_IMAGE_BASE"_s);
        deployment.channelsBaseURL = exported.value(u"VANTORA_CHANNELS_BASE"_s);
        deployment.realtimeURL = exported.value(u"VANTORA_REALTIME_URL"_s);
        VTADeployment::configure(deployment);
    }
    static void TearDownTestSuite()
    {
        server.reset();
        database.reset();
    }

    void SetUp() override
    {
        port = server->port;
        ASSERT_NE(port, 0);
        window.resize(1920, 1080);
        overlay = new VTAOverlayView(window.contentItem());
        overlay->setSize({1920, 1080});
        host.overlay = overlay;
        window.show();
        console.emplace();
    }

    void TearDown() override
    {
        // GoogleTest reports failures on standard output too: give them back when there are any.
        if (!console)
            return;
        const QStringList captured = console->lines();
        console.reset();
        if (HasFailure())
            std::printf("%s\n", qPrintable(captured.join(u'\n')));
    }

    // Loads the demo channel and waits until the viewer is registered and the live channel is
    // subscribed: from then on the broadcaster's injections reach this overlay.
    void loadDemoChannel()
    {
        overlay->load(u"1001"_s, u"vantora-demo"_s, VTAEnvironment::testDefault(), &host);
        ASSERT_TRUE(waitUntil([this] { return !viewerID().isEmpty() && subscribed(); }, 10000))
            << "the overlay did not sign in and subscribe";
    }

    bool subscribed() const
    {
        const QJsonArray connections = admin(port, u"realtime/connections"_s).array();
        for (const QJsonValue &connection : connections) {
            if (connection["channels"_L1].toArray().contains(u"CH_1001"_s))
                return true;
        }
        return false;
    }

    // The server's record of the viewer this overlay signed in, found by the stored token.
    QJsonObject viewer() const
    {
        const QString token = QSettings().value(u"userToken"_s).toString();
        if (token.isEmpty())
            return {};
        for (const QJsonValue &viewer : admin(port, u"viewers"_s).array()) {
            if (viewer["token"_L1].toString() == token)
                return viewer.toObject();
        }
        return {};
    }
    QString viewerID() const
    {
        const QJsonValue id = viewer()["id"_L1];
        return id.isUndefined() ? QString() : QString::number(id.toInteger());
    }

    QJsonObject inject(const QString &kind, const QString &id) const
    {
        const QJsonObject reply =
            admin(port, u"inject"_s, {{u"channel"_s, u"1001"_s}, {u"kind"_s, kind}, {u"id"_s, id}})
                .object();
        EXPECT_EQ(reply["delivered"_L1].toInt(), 1) << describe(reply);
        return reply;
    }

    // The card or notice of class `className` the overlay shows, if one is there.
    QQuickItem *shown(const char *className) const
    {
        for (QQuickItem *item : itemTree(overlay)) {
            if (item->inherits(className))
                return item;
        }
        return nullptr;
    }

    static inline std::unique_ptr<QTemporaryDir> database;
    static inline std::unique_ptr<ServerProcess> server;

    quint16 port = 0;
    std::optional<StdoutCapture> console;
    RecordingHost host;
    QQuickWindow window;
    VTAOverlayView *overlay = nullptr; // owned by the window's content item
};

// A host that links the overlay must be able to make the built-in cards: their layouts name the
// views' C++ bases ("VTAPollViewBase"), which the "Vantora" module registers.
TEST(OverlayLinkedProgram, theCardLayoutsFindTheirViewTypes)
{
    QQmlEngine engine;
    engine.addImportPath(u"qrc:/qt/qml"_s);
    for (const QString &name :
         {u"VTAPollView"_s, u"VTATriviaView"_s, u"VTARatingView"_s, u"VTANotice"_s}) {
        QQmlComponent layout(&engine, QUrl(u"qrc:/qt/qml/Vantora/Views/%1.qml"_s.arg(name)));
        EXPECT_TRUE(layout.isReady()) << qPrintable(layout.errorString());
    }
}

TEST_F(OverlayAgainstDevServer, aPollTheBroadcasterClosesShowsItsFiguresWithoutAVote)
{
    ASSERT_NO_FATAL_FAILURE(loadDemoChannel());

    inject(u"poll"_s, u"p101"_s);
    QQuickItem *card = nullptr;
    ASSERT_TRUE(waitUntil([&] { return (card = shown("VTAPollView")) != nullptr; }))
        << "no poll card";
    EXPECT_TRUE(visibleTexts(card).contains(u"Best part of the half-time show?"_s))
        << describe(visibleTexts(card));

    admin(port, u"stop-poll"_s, {{u"channel"_s, u"1001"_s}, {u"poll"_s, u"p101"_s}});
    ASSERT_TRUE(waitUntil([&] {
        return visibleTexts(card).contains(u"Best part of the half-time show? [POLL CLOSED]"_s);
    })) << describe(visibleTexts(card));
    // p101 counts in numbers: every row now shows its votes, none of them yet.
    QStringList figures;
    for (QQuickItem *item : itemTree(card)) {
        if (item->objectName() == u"statsLabel"_s && item->isVisible())
            figures.append(item->property("text").toString());
    }
    EXPECT_EQ(figures, (QStringList{u"0"_s, u"0"_s, u"0"_s, u"0"_s}));
    EXPECT_EQ(host.calls, QStringList{u"focus"_s});
}

} // namespace
