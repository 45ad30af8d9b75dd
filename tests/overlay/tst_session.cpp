// Start-up, sign-in, refresh and reset of an overlay, its properties and the window rule.

#include "overlaytest.h"
#include "vantora/realtime/pusherclient_p.h"

#include <QSignalSpy>

TEST_F(OverlayTest, startUpStopsAtAChannelThatCannotBeVerifiedOrFound)
{
    for (const QStringList &row : caseTable(u"overlay_cases.txt", u"unusable channel lists")) {
        SCOPED_TRACE(row[0].toStdString());
        answer(channelList, row[0].toUtf8());
        const qsizetype before = backend->requests().size();
        QSignalSpy failures(overlay, &VTAOverlayView::sessionFailed);
        EXPECT_EQ(linesOf([&] { load(); }), QStringList{row[1]});
        clock.advanceBy(5s);
        ASSERT_EQ(failures.size(), 1);
        EXPECT_EQ(failures[0][0].toString(), row[2]);
        EXPECT_EQ(backend->requests().size(), before + 1); // the channel list, nothing more
        EXPECT_EQ(controller->pusherHelper.pusher(), nullptr);
    }
}

TEST_F(OverlayTest, aNewViewerRegistersAKnownOneLogsInAndAFailedLoginNeverRegisters)
{
    load();
    EXPECT_EQ(
        paths(),
        (QStringList{u"/channels/bc__test3.json"_s, u"/user/register"_s, u"/streamer/getInfo"_s}));
    EXPECT_EQ(reports(), QStringList{u"tok-new view Register - - -"_s});

    // The next overlay finds the token and logs in with it.
    VTAOverlayView second(window.contentItem());
    second.load(u"ch1"_s, u"bc"_s, environment(), &host);
    clock.runPending();
    EXPECT_EQ(paths().mid(3, 2),
              (QStringList{u"/channels/bc__test3.json"_s, u"/user/login_by_token tok-new"_s}));

    // A failed login keeps even an empty token, reports nothing and never registers, until the
    // viewer is reset.
    storeToken(u""_s);
    answer("/userApi/user/login_by_token", "{}", 500);
    const qsizetype reported = reports().size();
    EXPECT_EQ(linesOf([&] { load(); }), QStringList{u"VTA - Failed login"_s});
    EXPECT_EQ(paths().count(u"/user/register"_s), 1);
    EXPECT_TRUE(QSettings().contains(u"userToken"_s));
    EXPECT_EQ(reports().size(), reported);
    VTAOverlayView::resetUser();
    load();
    EXPECT_EQ(paths().last(2), (QStringList{u"/user/register"_s, u"/streamer/getInfo"_s}));
    EXPECT_EQ(QSettings().value(u"userToken"_s).toString(), u"tok-new"_s);

    answer("/userApi/user/register", "not json");
    VTAOverlayView::resetUser();
    EXPECT_EQ(linesOf([&] { load(); }), QStringList{u"VTA - Failed register"_s});
    EXPECT_FALSE(QSettings().contains(u"userToken"_s));
}

TEST_F(OverlayTest, theChannelDocumentSetsListsAndDesignAndARefreshKeepsTheTimers)
{
    StreamerInfo info = channel();
    info.designs =
        QList<DesignInfo>{{.type = u"Web"_s}, {.type = u"SmartTV"_s, .textColor = u"#112233"_s}};
    loadWith({clockEntry(u"p1"_s, u"polls"_s, 60)}, {}, info);
    EXPECT_EQ(state().designInfo.value_or(DesignInfo()).textColor, u"#112233"_s);
    const QList<TimerId> timers = state().timerList;
    ASSERT_EQ(timers.size(), 1);

    info.polls = QList<Poll>{poll(u"p9"_s)};
    info.designs = QList<DesignInfo>{info.designs->first()};
    answer("/userApi/streamer/getInfo", Json::encode(info));
    EXPECT_EQ(linesOf([&] { controller->didRequestRefresh(); }),
              QStringList{u"VTA - Data refresh"_s});
    clock.runPending();
    EXPECT_EQ(paths().last(2),
              (QStringList{u"/user/login_by_token tok-new"_s, u"/streamer/getInfo"_s}));
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

// The account seeds the session's answers and totals; a second load tears the session down.
TEST_F(OverlayTest, theViewersAccountSeedsTheSessionAndASecondLoadTearsItDown)
{
    storeToken(u"tok-1"_s);
    answer("/userApi/user/login_by_token", R"({"name":"","email":"","token":"tok-1","status":0,
        "level":3,"polls":{"_x":"Away","plain":"Nobody","q_1_b":"Draw"},"ratings":{"r1_show":"4"},
        "predictionsResults":{"pr1_____ch1":{"wager":0,"answer":"Home","status":"pending"}}})");
    loadWith({clockEntry(u"p2"_s, u"polls"_s, 20, true), clockEntry(u"p2"_s, u"polls"_s, 60)});
    EXPECT_EQ(state().pollAnswers,
              (QHash<QString, QString>{
                  {u""_s, u"Away"_s}, {u"plain"_s, u"Nobody"_s}, {u"q"_s, u"Draw"_s}}));
    EXPECT_EQ(state().ratingAnswers, (QHash<QString, QString>{{u"r1"_s, u"4"_s}}));
    EXPECT_EQ(state().totalCredits, 0);
    clock.advanceBy(20s); // p2 pauses the video: its entries are not laid again
    ASSERT_TRUE(card());
    const PusherClient *firstClient = controller->pusherHelper.pusher();

    RecordingHost next;
    overlay->load(u"ch2"_s, u"bc"_s, environment(), &next);
    // Torn down before the new channel is even checked (ch2 is not found, so nothing comes back).
    EXPECT_FALSE(card());
    EXPECT_EQ(next.calls, (QStringList{u"release"_s, u"play"_s})) << "the new delegate hears it";
    EXPECT_TRUE(state().timerList.isEmpty());
    EXPECT_FALSE(state().channelInfo);
    EXPECT_TRUE(state().pollAnswers.isEmpty() && state().ratingAnswers.isEmpty()
                && state().predictionResults.isEmpty());
    EXPECT_EQ(firstClient->state(), PusherClient::State::Disconnected);
    EXPECT_TRUE(state().user) << "the viewer stays";
    clock.advanceBy(1s);

    // The paused entry shows again, the account's prediction vote settles, a lone notice goes.
    load();
    EXPECT_EQ(state().timerList.size(), 2);
    controller->didReceivePredictionResult({u"Home"_s, 5, u"pr1"_s});
    ASSERT_TRUE(state().currentNotice);
    QPointer<VTANotice> notice = state().currentNotice.get();
    load();
    EXPECT_FALSE(state().currentNotice);
    EXPECT_TRUE(notice->isClosing());
}

TEST_F(OverlayTest, propertiesEnvironmentNamesAndTheWindowRule)
{
    for (const auto &[given, stored] :
         std::initializer_list<std::pair<std::optional<qint64>, std::optional<qint64>>>{
             {0, std::nullopt}, {-3, std::nullopt}, {1, 1}, {std::nullopt, std::nullopt}}) {
        overlay->setInjectionDelay(given);
        EXPECT_EQ(overlay->injectionDelay(), stored);
        EXPECT_EQ(controller->pusherHelper.injectionDelay(), stored);
    }

    // The environment by name, as a QML host gives it: a mistyped one starts nothing and says why.
    QSignalSpy failures(overlay, &VTAOverlayView::sessionFailed);
    overlay->load(u"ch1"_s, u"bc"_s, u"prod"_s);
    EXPECT_TRUE(backend->requests().isEmpty());
    ASSERT_EQ(failures.size(), 1);
    EXPECT_TRUE(failures[0][1].toString().contains(u"\"prod\""_s));
    overlay->load(u"ch1"_s, u"bc"_s, u"test"_s);
    clock.runPending();
    EXPECT_EQ(service().environment(), VTAEnvironment::testDefault());

    // Taken off the window, it leaves the live channel.
    const PusherClient *client = controller->pusherHelper.pusher();
    ASSERT_NE(client, nullptr);
    EXPECT_NE(client->state(), PusherClient::State::Disconnected);
    overlay->setParentItem(nullptr); // off the window
    EXPECT_EQ(client->state(), PusherClient::State::Disconnected);
    overlay->setParentItem(window.contentItem());
    clock.advanceBy(30s);
    EXPECT_EQ(client->state(), PusherClient::State::Disconnected) << "only a load reconnects";
}
