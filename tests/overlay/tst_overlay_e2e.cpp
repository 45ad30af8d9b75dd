// The overlay against the real dev server, in real time, as a host uses it: a 1080p window, the
// demo channel, the remote's keys. A clock item shows at its video second and pauses the video,
// live injections show as they are pushed, the viewer's answers reach the server, and a settled
// prediction brings the win notice with the server's total.

#include "serverprocess.h"
#include "testsupport.h"

#include <vantora/overlay/vtaoverlayview.h>
#include <vantora/records/vtadeployment.h>
#include <vantora/records/vtaenvironment.h>

#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

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

QQuickItem *named(QQuickItem *root, const QString &objectName)
{
    for (QQuickItem *item : itemTree(root)) {
        if (item->objectName() == objectName)
            return item;
    }
    return nullptr;
}

QString textOf(QQuickItem *root, const QString &objectName)
{
    QQuickItem *item = named(root, objectName);
    return item ? item->property("text").toString() : u"<no %1>"_s.arg(objectName);
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

    // The answer this viewer gave to `item`, as the server stored it.
    QJsonObject storedAnswer(const QString &item) const
    {
        const QString id = viewerID();
        for (const QJsonValue &answer : admin(port, u"answers?channel=1001"_s).array()) {
            if (QString::number(answer["viewerId"_L1].toInteger()) == id
                && answer["item"_L1].toString() == item)
                return answer.toObject();
        }
        return {};
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

    // Plays the video from `start` seconds until the overlay shows a child of class `className`
    // or the position passes `until`, and returns the child. The player enters at `start` as
    // after a seek: for its first 1.5 s it reports a pause and then its position on every tick.
    // The overlay lays its clock from video second 0 when the channel's content arrives and
    // keeps those timers on a far report, so it is the report after the content's arrival that
    // counts, whenever that is.
    QQuickItem *play(double start, double until, const char *className)
    {
        QElapsedTimer playing;
        playing.start();
        QQuickItem *child = nullptr;
        waitUntil(
            [&] {
                child = shown(className);
                const double position = start + double(playing.elapsed()) / 1000.0;
                if (child || position > until)
                    return true;
                if (position < start + 1.5) {
                    overlay->videoPaused();
                    overlay->videoPlaying(position);
                }
                return false;
            },
            int((until - start) * 1000) + 2000);
        return child;
    }

    // Waits until the remote's focus is inside `card`, then presses OK on what has it.
    void pressOK(QQuickItem *card)
    {
        ASSERT_TRUE(waitUntil([&] {
            QQuickItem *focused = window.activeFocusItem();
            return focused && card->isAncestorOf(focused);
        })) << "the card never got the remote's focus";
        QTest::keyClick(&window, Qt::Key_Return);
    }

    // The lines the overlay printed since the test began.
    QStringList vtaLines() const { return console->lines().filter(QRegularExpression(u"^VTA"_s)); }

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

TEST_F(OverlayAgainstDevServer, aClockPollPausesTheVideoAndTheRemotesVoteReachesTheServer)
{
    ASSERT_NO_FATAL_FAILURE(loadDemoChannel());

    // The poll p100 (smartTV, isPause) is due at 45 s.
    QQuickItem *card = play(42.0, 48.0, "VTAPollView");
    ASSERT_NE(card, nullptr) << "no poll card";
    EXPECT_TRUE(overlay->isDisplayingInteraction());
    EXPECT_TRUE(visibleTexts(card).contains(u"How do you take your morning coffee?"_s))
        << describe(visibleTexts(card));
    EXPECT_EQ(host.calls, (QStringList{u"pause"_s, u"focus"_s}));

    ASSERT_NO_FATAL_FAILURE(pressOK(card)); // the first answer has the focus
    EXPECT_EQ(host.calls, (QStringList{u"pause"_s, u"focus"_s, u"play"_s}))
        << "the vote resumes the video the poll paused";
    ASSERT_TRUE(waitUntil([&] { return !storedAnswer(u"p100"_s).isEmpty(); }))
        << "the vote never reached the server";
    const QJsonObject vote = storedAnswer(u"p100"_s);
    EXPECT_EQ(vote["kind"_L1].toString(), u"poll"_s);
    EXPECT_EQ(vote["answer"_L1].toString(), u"Espresso"_s);
    EXPECT_EQ(admin(port, u"totals?channel=1001"_s)["polls"_L1]["p100"_L1]["Espresso"_L1].toInt(),
              1);

    // The remote's back key closes the card and hands the remote back.
    EXPECT_TRUE(overlay->closeInteractionIfNeeded());
    EXPECT_FALSE(overlay->isDisplayingInteraction());
    EXPECT_EQ(host.calls.last(), u"release"_s);
    ASSERT_TRUE(waitUntil([&] { return !shown("VTAPollView"); })) << "the card never left";
    EXPECT_FALSE(overlay->closeInteractionIfNeeded()) << "nothing left to close";

    EXPECT_EQ(vtaLines(), QStringList{u"VTA showing POLL"_s});
}

TEST_F(OverlayAgainstDevServer, anInjectedTriviaAnsweredRightShowsItsResultAndClosesItself)
{
    ASSERT_NO_FATAL_FAILURE(loadDemoChannel());

    inject(u"trivia"_s, u"t400"_s);
    QQuickItem *card = nullptr;
    ASSERT_TRUE(waitUntil([&] { return (card = shown("VTATriviaView")) != nullptr; }))
        << "no trivia card";
    EXPECT_TRUE(
        visibleTexts(card).contains(u"Which country has won the most football World Cups?"_s))
        << describe(visibleTexts(card));
    EXPECT_EQ(host.calls, QStringList{u"focus"_s}) << "a live item does not pause the video";

    ASSERT_NO_FATAL_FAILURE(pressOK(card)); // "Brazil", the first answer and the right one
    ASSERT_TRUE(waitUntil([&] {
        return visibleTexts(card).contains(u"AWESOME! You won 10 pts for the correct answer"_s);
    })) << describe(visibleTexts(card));
    const QJsonObject answer = storedAnswer(u"t400"_s);
    EXPECT_EQ(answer["kind"_L1].toString(), u"trivia"_s);
    EXPECT_EQ(answer["answer"_L1].toString(), u"Brazil"_s);
    EXPECT_TRUE(answer["correct"_L1].toBool());
    EXPECT_EQ(textOf(card, u"pointsLabel"_s), QString::number(viewer()["credits"_L1].toDouble()))
        << "the card's credits are the server's";

    // Answered, it closes by itself a few seconds later and hands the remote back.
    ASSERT_TRUE(waitUntil([&] { return !shown("VTATriviaView"); }, 10000))
        << "the answered card stayed";
    EXPECT_FALSE(overlay->isDisplayingInteraction());
    EXPECT_EQ(host.calls, (QStringList{u"focus"_s, u"release"_s}));
    EXPECT_EQ(vtaLines(), QStringList{u"VTA showing TRIVIA"_s});
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

TEST_F(OverlayAgainstDevServer, aSettledPredictionBringsTheWinNoticeWithTheServersTotal)
{
    ASSERT_NO_FATAL_FAILURE(loadDemoChannel());

    inject(u"poll"_s, u"pr200"_s);
    QQuickItem *card = nullptr;
    ASSERT_TRUE(waitUntil([&] { return (card = shown("VTAPollView")) != nullptr; }))
        << "no prediction card";
    EXPECT_TRUE(visibleTexts(card).contains(u"Who wins the final?"_s))
        << describe(visibleTexts(card));
    EXPECT_EQ(host.calls, QStringList{u"focus"_s});
    ASSERT_NO_FATAL_FAILURE(pressOK(card)); // "Reds"
    // The 20 experience points of the prediction lift a new viewer to level 2; the card shows it
    // once the overlay has the server's reply, and with it the viewer's pick.
    ASSERT_TRUE(waitUntil([&] { return textOf(card, u"levelLabel"_s) == u"2"_s; }))
        << qPrintable(textOf(card, u"levelLabel"_s));
    EXPECT_EQ(storedAnswer(u"pr200"_s)["answer"_L1].toString(), u"Reds"_s);

    const QJsonObject settled = admin(port, u"settle"_s,
                                      {{u"channel"_s, u"1001"_s},
                                       {u"poll"_s, u"pr200"_s},
                                       {u"answer"_s, u"Reds"_s},
                                       {u"winAmount"_s, 50}})
                                    .object();
    const QJsonArray winners = settled["winners"_L1].toArray();
    ASSERT_EQ(winners.size(), 1) << describe(settled);
    const double credits = winners[0]["credits"_L1].toDouble();

    QQuickItem *notice = nullptr;
    ASSERT_TRUE(waitUntil([&] { return (notice = shown("VTANotice")) != nullptr; }))
        << "no win notice";
    EXPECT_EQ(textOf(notice, u"titleLabel"_s), u"CONGRATULATIONS!"_s);
    EXPECT_EQ(textOf(notice, u"pointsLabel"_s), u"+50 pts"_s);
    EXPECT_EQ(textOf(notice, u"infoLabel"_s),
              u"For choosing \"Reds\" on \"Who wins the final?\""_s);
    // After a few seconds the notice turns to the viewer's new total.
    ASSERT_TRUE(waitUntil(
        [&] {
            QQuickItem *total = named(notice, u"totalPointsLabel"_s);
            return total && total->isVisible();
        },
        8000))
        << "the total never showed";
    EXPECT_EQ(textOf(notice, u"totalPointsLabel"_s).toDouble(), credits)
        << qPrintable(textOf(notice, u"totalPointsLabel"_s)) << " against the server's " << credits;

    EXPECT_EQ(vtaLines(), (QStringList{u"VTA showing POLL"_s, u"VTA showing Notice"_s}));
}

} // namespace

// The README's C++ snippet over a 720p and a 2160p player: every card kind, pushed live, shows
// whole on screen (screenshots in overlay-sizes/ beside the test).
TEST_F(OverlayAgainstDevServer, everyCardKindShowsWholeOverA720pAndA2160pPlayer)
{
    ASSERT_NO_FATAL_FAILURE(loadDemoChannel());
    overlay->videoPaused(); // nothing by the clock
    const QDir shots(QDir::current().filePath(u"overlay-sizes"_s));
    ASSERT_TRUE(shots.mkpath(u"."_s));
    const std::pair<QString, QString> items[] = {{u"poll"_s, u"p101"_s},
                                                 {u"trivia"_s, u"t402"_s},
                                                 {u"rating"_s, u"r300"_s},
                                                 {u"poll"_s, u"pr200"_s}};
    for (const QSize size : {QSize(1280, 720), QSize(3840, 2160)}) {
        window.resize(size);
        overlay->setSize(size);
        for (const auto &[kind, id] : items) {
            SCOPED_TRACE(qPrintable(u"%1x%2 %3"_s.arg(size.width()).arg(size.height()).arg(id)));
            inject(kind, id);
            ASSERT_TRUE(waitUntil([&] { return overlay->isDisplayingInteraction(); }));
            QQuickItem *card = shown("VTAInteractionView");
            ASSERT_TRUE(card);
            QRectF onScreen;
            // Once slid in, however long a loaded machine takes to run the slide.
            EXPECT_TRUE(waitUntil([&] {
                onScreen = card->mapRectToScene(card->boundingRect());
                return QRectF(QPointF(), QSizeF(size))
                    .adjusted(-0.5, -0.5, 0.5, 0.5)
                    .contains(onScreen);
            })) << onScreen.x()
                << "," << onScreen.y() << " " << onScreen.width() << "x" << onScreen.height();
            window.grabWindow().save(
                shots.filePath(u"%1x%2-%3.png"_s.arg(size.width()).arg(size.height()).arg(id)));
            overlay->closeInteractionIfNeeded();
            ASSERT_TRUE(waitUntil([&] { return !shown("VTAInteractionView"); }));
        }
    }
}
