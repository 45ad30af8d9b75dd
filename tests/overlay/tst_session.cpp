// Start-up, sign-in, refresh and reset of an overlay, and the video clock that lays its timers.

#include "overlaytest.h"
#include "vantora/realtime/pusherclient_p.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QSignalSpy>

using namespace Vantora;
using namespace Vantora::TestSupport;
using namespace OverlayTesting;
using namespace Qt::Literals::StringLiterals;

TEST_F(OverlayTest, startUpStopsAtAChannelThatCannotBeVerifiedOrFound)
{
    struct Row
    {
        const char *name;
        HttpReply reply;
        const char *line;
        VTAOverlayView::SessionFailure failure;
    };
    using Failure = VTAOverlayView::SessionFailure;
    const Row rows[] = {
        {"refused",
         {0, {}, u"connection refused"_s},
         "VTA - Could not verify channel",
         Failure::ChannelNotVerified},
        {"incomplete entry",
         {200, R"([{"channel":"ch1"}])", {}},
         "VTA - Could not verify channel",
         Failure::ChannelNotVerified},
        {"empty list", {200, "[]", {}}, "VTA - Channel not found", Failure::ChannelNotFound},
        {"other case",
         {200, R"([{"channel":"CH1","additionalPageSettings":"","urlB64":""}])", {}},
         "VTA - Channel not found",
         Failure::ChannelNotFound},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        backend->answer(QString::fromLatin1(channelList), row.reply);
        const qsizetype before = backend->requests().size();
        QSignalSpy failures(overlay, &VTAOverlayView::sessionFailed);
        const QStringList lines = linesOf([&] {
            load();
            clock.advanceBy(std::chrono::seconds{5});
        });
        EXPECT_EQ(lines, QStringList{QString::fromLatin1(row.line)});
        ASSERT_EQ(failures.size(), 1);
        EXPECT_EQ(failures[0][0].value<Failure>(), row.failure);
        EXPECT_EQ(backend->requests().size(), before + 1); // the channel list, nothing more
        EXPECT_FALSE(state().channelInfo);
        EXPECT_EQ(controller->pusherHelper.pusher(), nullptr);
    }
}

TEST_F(OverlayTest, aNewViewerRegistersAndIsRememberedAKnownOneLogsIn)
{
    load();
    EXPECT_EQ(paths(),
              (QStringList{u"/channels/bc__test3.json"_s, u"/userApi/user/register"_s,
                           u"/userApi/streamer/getInfo"_s}));
    EXPECT_EQ(QSettings().value(u"userToken"_s).toString(), u"tok-new"_s);
    EXPECT_EQ(controller->userToken(), u"tok-new"_s);
    EXPECT_EQ(reports(), QStringList{u"view Register - - -"_s});
    EXPECT_NE(controller->pusherHelper.pusher(), nullptr);
    EXPECT_EQ(controller->pusherHelper.channel(), u"CH_ch1"_s);

    // The next overlay finds the token and logs in with it.
    VTAOverlayView second(window.contentItem());
    second.load(u"ch1"_s, u"bc"_s, VTAServiceManager::shared().environment(), &host);
    clock.runPending();
    EXPECT_EQ(paths().mid(3, 2),
              (QStringList{u"/channels/bc__test3.json"_s, u"/userApi/user/login_by_token"_s}));
    for (const HttpRequest &request : backend->requests()) {
        if (request.url.path() == u"/userApi/user/login_by_token"_s) {
            EXPECT_EQ(requestField(request)["data"_L1]["userToken"_L1].toString(), u"tok-new"_s);
        }
    }
}

TEST_F(OverlayTest, aFailedLoginKeepsTheTokenAndNeverRegistersUntilTheViewerIsReset)
{
    storeToken(u""_s); // an empty token is still a token
    answer("/userApi/user/login_by_token", "{}", 500);
    EXPECT_EQ(linesOf([&] { load(); }), QStringList{u"VTA - Failed login"_s});
    EXPECT_FALSE(paths().contains(u"/userApi/user/register"_s));
    EXPECT_TRUE(QSettings().contains(u"userToken"_s));
    EXPECT_EQ(reports(), QStringList{}); // a token is known, but the failed login reports nothing

    VTAOverlayView::resetUser();
    EXPECT_FALSE(QSettings().contains(u"userToken"_s));
    load();
    EXPECT_EQ(paths().last(1), QStringList{u"/userApi/streamer/getInfo"_s});
    EXPECT_TRUE(paths().contains(u"/userApi/user/register"_s));
    EXPECT_EQ(QSettings().value(u"userToken"_s).toString(), u"tok-new"_s);

    answer("/userApi/user/register", "not json");
    VTAOverlayView::resetUser();
    EXPECT_EQ(linesOf([&] { load(); }), QStringList{u"VTA - Failed register"_s});
    EXPECT_FALSE(QSettings().contains(u"userToken"_s));
}

TEST_F(OverlayTest, theViewersAccountSeedsAnswersAndTotals)
{
    User account = user();
    account.polls = QMap<QString, QString>{{u"abc_2"_s, u"Home"_s},
                                           {u"_x"_s, u"Away"_s},
                                           {u"plain"_s, u"Nobody"_s},
                                           {u"q_1_b"_s, u"Draw"_s}};
    account.ratings = QMap<QString, QString>{{u"r1_show"_s, u"4"_s}};
    account.predictionsResults =
        QMap<QString, PredictionResult>{{u"pr1_____ch1"_s, {0, u"Home"_s, u"pending"_s}}};
    account.amount_of_credits_won.reset();
    account.level = 9;
    storeToken(u"tok-1"_s);
    answer("/userApi/user/login_by_token", Json::encode(account));
    load();
    EXPECT_EQ(state().pollAnswers,
              (QHash<QString, QString>{{u"abc"_s, u"Home"_s},
                                       {u""_s, u"Away"_s},
                                       {u"plain"_s, u"Nobody"_s},
                                       {u"q"_s, u"Draw"_s}}));
    EXPECT_EQ(state().ratingAnswers, (QHash<QString, QString>{{u"r1"_s, u"4"_s}}));
    EXPECT_EQ(state().predictionResults.keys(), QStringList{u"pr1_____ch1"_s});
    EXPECT_EQ(state().totalCredits, 0);
    EXPECT_EQ(state().totalExpoints, 20);
    EXPECT_EQ(state().level, 9);
    EXPECT_EQ(reports(), QStringList{u"view Login_with_token - - -"_s});
}

TEST_F(OverlayTest, theChannelDocumentSetsListsAndDesignAndARefreshKeepsTheTimers)
{
    StreamerInfo info = channel();
    DesignInfo web;
    web.type = u"Web"_s;
    DesignInfo tv;
    tv.type = u"SmartTV"_s;
    tv.textColor = u"#112233"_s;
    info.designs = QList<DesignInfo>{web, tv};
    info.clocks = {OverlayTesting::clock(u"p1"_s, u"polls"_s, 60)};
    answer("/userApi/streamer/getInfo", Json::encode(info));
    load();
    ASSERT_TRUE(state().designInfo);
    EXPECT_EQ(state().designInfo->textColor, u"#112233"_s);
    EXPECT_EQ(state().polls.size(), 2);
    const QList<TimerId> timers = state().timerList;
    ASSERT_EQ(timers.size(), 1);

    info.polls = QList<Poll>{poll(u"p9"_s)};
    info.designs = QList<DesignInfo>{web};
    info.clocks = {};
    answer("/userApi/streamer/getInfo", Json::encode(info));
    EXPECT_EQ(linesOf([&] {
                  controller->didRequestRefresh();
                  clock.runPending();
              }),
              QStringList{u"VTA - Data refresh"_s});
    EXPECT_EQ(paths().last(2),
              (QStringList{u"/userApi/user/login_by_token"_s, u"/userApi/streamer/getInfo"_s}));
    EXPECT_EQ(state().polls.size(), 1);
    EXPECT_FALSE(state().designInfo);
    EXPECT_EQ(state().timerList, timers) << "a refresh never lays the clock again";

    answer("/userApi/streamer/getInfo", "{}");
    EXPECT_EQ(linesOf([&] {
                  controller->refreshData();
                  clock.runPending();
              }),
              (QStringList{u"VTA - Data refresh"_s, u"VTA Failed to get channel info"_s}));
    EXPECT_EQ(state().polls.size(), 1) << "a failed fetch changes nothing";
}

TEST_F(OverlayTest, aSecondLoadTearsDownTheFirstSession)
{
    User account = user();
    account.polls = QMap<QString, QString>{{u"p1"_s, u"Home"_s}};
    account.ratings = QMap<QString, QString>{{u"r1"_s, u"4"_s}};
    account.predictionsResults =
        QMap<QString, PredictionResult>{{u"pr1_____ch1"_s, {0, u"Home"_s, u"pending"_s}}};
    answer("/userApi/user/login_by_token", Json::encode(account));
    storeToken(u"tok-1"_s);
    StreamerInfo info = channel();
    info.clocks = {OverlayTesting::clock(u"p2"_s, u"polls"_s, 20, true),
                   OverlayTesting::clock(u"p2"_s, u"polls"_s, 60)};
    answer("/userApi/streamer/getInfo", Json::encode(info));
    load();
    clock.advanceBy(
        std::chrono::seconds{20}); // p2 pauses the video: its entries are not laid again
    ASSERT_TRUE(card());
    ASSERT_EQ(state().timerList.size(), 1);
    const PusherClient *firstClient = controller->pusherHelper.pusher();

    RecordingHost next;
    overlay->load(u"ch2"_s, u"bc"_s, VTAServiceManager::shared().environment(), &next);
    // Torn down before the new channel is even checked (ch2 is not found, so nothing comes back).
    EXPECT_FALSE(card());
    EXPECT_EQ(next.calls, (QStringList{u"release"_s, u"play"_s})) << "the new delegate hears it";
    EXPECT_TRUE(state().timerList.isEmpty());
    EXPECT_FALSE(state().channelInfo);
    EXPECT_TRUE(state().polls.isEmpty() && state().predictions.isEmpty()
                && state().ratings.isEmpty());
    EXPECT_TRUE(state().pollAnswers.isEmpty() && state().ratingAnswers.isEmpty()
                && state().predictionResults.isEmpty());
    EXPECT_EQ(firstClient->state(), PusherClient::State::Disconnected);
    EXPECT_TRUE(state().user) << "the viewer stays";
    EXPECT_EQ(state().lastAnalyticsSourceID, u"p2"_s) << "so does the attribution";
    clock.advanceBy(std::chrono::seconds{1});

    // The entry that paused the first session shows again in the next; a lone notice goes.
    load();
    EXPECT_EQ(state().timerList.size(), 2);
    controller->didReceivePredictionResult({u"Home"_s, 5, u"pr1"_s});
    ASSERT_TRUE(state().currentNotice);
    QPointer<VTANotice> notice = state().currentNotice.get();
    load();
    EXPECT_FALSE(state().currentNotice);
    EXPECT_TRUE(notice->isClosing());
}

TEST_F(OverlayTest, propertiesAndTheWindowRules)
{
    for (const auto &[given, stored] :
         std::initializer_list<std::pair<std::optional<qint64>, std::optional<qint64>>>{
             {0, std::nullopt}, {-3, std::nullopt}, {1, 1}, {std::nullopt, std::nullopt}}) {
        overlay->setInjectionDelay(given);
        EXPECT_EQ(overlay->injectionDelay(), stored);
        EXPECT_EQ(controller->pusherHelper.injectionDelay(), stored);
    }
    EXPECT_FALSE(overlay->closeInteractionIfNeeded());
    EXPECT_FALSE(overlay->isDisplayingInteraction());

    load();
    const PusherClient *client = controller->pusherHelper.pusher();
    ASSERT_NE(client, nullptr);
    EXPECT_NE(client->state(), PusherClient::State::Disconnected);
    overlay->setParentItem(nullptr); // off the window
    EXPECT_EQ(client->state(), PusherClient::State::Disconnected);
    overlay->setParentItem(window.contentItem());
    clock.advanceBy(std::chrono::seconds{30});
    EXPECT_EQ(client->state(), PusherClient::State::Disconnected) << "only a load reconnects";
}

TEST_F(OverlayTest, aHostsQmlPutsTheOverlayOverItsPlayerAndHearsItsSignals)
{
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(R"(
        import QtQuick
        import Vantora
        Item {
            width: 1920; height: 1080
            property int pauses: 0
            property string failure
            VTAOverlayView {
                objectName: "overlay"
                anchors.fill: parent
                animationType: VTAOverlayView.FromRight
                injectionDelay: 3
                onPauseRequested: parent.pauses += 1
                onSessionFailed: (failure, reason) => parent.failure = reason
            }
        })",
                      QUrl(u"qrc:/host/Player.qml"_s));
    std::unique_ptr<QObject> player(component.create());
    ASSERT_TRUE(player) << component.errorString().toStdString();
    auto *hosted = player->findChild<VTAOverlayView *>(u"overlay"_s);
    ASSERT_TRUE(hosted);
    EXPECT_EQ(hosted->size(), QSizeF(1920, 1080));
    EXPECT_EQ(hosted->animationType(), VTAAnimationType::fromRight);
    EXPECT_EQ(hosted->injectionDelay(), 3);

    // A mistyped environment starts nothing and says so.
    const qsizetype before = backend->requests().size();
    QMetaObject::invokeMethod(hosted, "load", Q_ARG(QString, u"ch1"_s), Q_ARG(QString, u"bc"_s),
                              Q_ARG(QString, u"prod"_s));
    EXPECT_EQ(backend->requests().size(), before);
    EXPECT_TRUE(player->property("failure").toString().contains(u"\"prod\""_s));

    QMetaObject::invokeMethod(hosted, "load", Q_ARG(QString, u"ch1"_s), Q_ARG(QString, u"bc"_s),
                              Q_ARG(QString, u"test"_s));
    EXPECT_EQ(VTAServiceManager::shared().environment(), VTAEnvironment::testDefault());
    EXPECT_EQ(backend->requests().last().url.path(), u"/channels/bc__test3.json"_s);
    OverlayController *behind = OverlayController::of(hosted);
    behind->state.polls = channel().polls.value();
    behind->displayInteraction(u"p1"_s, u"polls"_s, {30, true, false, false}, false);
    EXPECT_EQ(player->property("pauses").toInt(), 1);
    EXPECT_TRUE(hosted->property("displayingInteraction").toBool());
}
