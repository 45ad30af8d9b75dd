// The REST client on an in-memory backend: what it sends (see tests/data/service_cases.txt), the
// URLs it makes, what it logs, and what it makes of the replies.

#include "servicetest.h"

#include <vantora/records/vtadeployment.h>

TEST_F(ServiceTest, everyOperationSendsItsOwnRequest)
{
    VTADeployment deployment = VTADeployment::current();
    deployment.channelsBaseURL = u"https://storage.example.com/channels/"_s;
    VTADeployment::configure(deployment);
    const std::string expected = expectedLines(u"every operation");
    const auto ignore = [](auto) {
    };
    service().getChannelInfo(u"ch1"_s, u"bc"_s, &owner, ignore);
    service().registerUser(u"bc"_s, u"ch1"_s, u"fid-9"_s, std::nullopt, &owner, ignore);
    service().registerUser(u"bc"_s, u"ch1"_s, std::nullopt, u"Dana"_s, &owner, ignore);
    service().login(u"tok"_s, u"bc"_s, u"ch1"_s, &owner, ignore);
    service().getTriviaQuestion(u"q7"_s, u"tok"_s, u"ch1"_s, u"bc"_s, &owner, ignore);
    service().answerPoll(u"tok"_s, u"ch1"_s, u"bc"_s, u"p1"_s, u"Yes"_s, &owner, ignore);
    service().answerRating(u"tok"_s, u"ch1"_s, u"bc"_s, u"r1"_s, 4, &owner, ignore);
    service().answerTrivia(u"tok"_s, u"ch1"_s, u"bc"_s, u"t1"_s, u"Paris"_s, &owner, ignore);
    service().checkChannels(u"bc"_s, &owner, ignore);
    EXPECT_EQ(sentRequests(), expected);
    clock.runPending();
}

TEST_F(ServiceTest, analyticsSendsOneEventEngagedOnlyWhenItsTypeIsEngage)
{
    const QString expected = QString::fromStdString(expectedLines(u"analytics"));
    clock.setWallClockMSecs(1'767'225'600'123);
    service().analytics({u"tok"_s, u"ch1"_s, u"bc"_s, u"polls"_s, u"poll"_s, u"Acme"_s, u"engage"_s,
                         u"clock"_s, u"c-4"_s, 9007199254740993});
    AnalyticsReport login{u"tok"_s, u"ch1"_s, u"bc"_s, u"login"_s, {}, {}, {}, {}, {}, {}};
    for (const auto &type :
         {std::optional(u"view"_s), std::optional(u"Engage"_s), std::optional<QString>()}) {
        login.type = type;
        service().analytics(login);
    }
    EXPECT_EQ(sentRequests(), expected.arg(analyticsCountry()).toStdString());
    clock.runPending(); // the replies, not the expected record, are dropped
}

TEST_F(ServiceTest, analyticsCountryIsIlOnADeviceSetToIsraelAndUsElsewhere)
{
    for (const QStringList &row : cases(u"countries")) {
        SCOPED_TRACE(row[0].toStdString());
        // The system locale is read once per process: each region gets a process of its own.
        qputenv("LC_ALL", row[0].toUtf8());
        EXPECT_EXIT(std::exit(analyticsCountry() == row[1] ? 0 : 1), testing::ExitedWithCode(0),
                    "");
    }
    qunsetenv("LC_ALL");
}

TEST_F(ServiceTest, urlsJoinTheBaseOfTheirMomentAndTakeIdsAndPathsAsTheyStand)
{
    QStringList expected;
    int completions = 0; // one for each image requested, none for an image without a URL
    for (const QStringList &row : cases(u"urls")) {
        const bool image = row[0] == u"image";
        if (row[3] != u"-") {
            expected.append(row[3]);
            backend->answer(QUrl(row[3]).path(), {404, {}, {}});
            completions -= image;
        }
        service().setEnvironment(image ? environment(u"http://a/api"_s, row[1])
                                       : environment(row[1]));
        if (image)
            service().getImage(row[2], &owner, [&](QImage, auto) { ++completions; });
        else
            service().answerPoll(u"tok"_s, u"ch1"_s, u"bc"_s, row[2], u"Yes"_s, &owner,
                                 [](auto) {});
    }
    clock.advanceBy(std::chrono::minutes{2});
    QStringList sent;
    for (const HttpRequest &request : backend->requests())
        sent.append(QString::fromUtf8(request.url.toEncoded()));
    EXPECT_EQ(sent, expected) << "each request with the base it was made with";
    EXPECT_EQ(completions, 0);

    // An API base that makes no URL is a programming error.
    service().setEnvironment(environment(u"https://api.example.com:99999/userApi"_s));
    EXPECT_DEATH(service().login(u"tok"_s, u"bc"_s, u"ch1"_s, &owner, [](auto) {}),
                 "VTAServiceManager: \"https://api.example.com:99999/userApi/user/login_by_token\" "
                 "is not a valid URL");
}

TEST_F(ServiceTest, theLogShowsRequestsAndRepliesButNeverTheToken)
{
    const std::string expected = expectedLines(u"log");
    LogCapture log("vantora.service");
    backend->answer(u"/userApi/user/login_by_token"_s, {200, loadFixture(u"user.json"), {}});
    backend->answer(u"/userApi/streamer/getInfo"_s, {0, {}, u"Connection refused"_s});
    backend->answer(u"/userApi/poll/answer_new/p1"_s, {500, "{}", {}});
    service().login(u"s3cret-t0ken"_s, u"bc"_s, u"ch1"_s, &owner, [](auto) {});
    service().getChannelInfo(u"ch1"_s, u"bc"_s, &owner, [](auto) {});
    service().answerPoll(u"s3cret-t0ken"_s, u"ch1"_s, u"bc"_s, u"p1"_s, u"A"_s, &owner,
                         [](auto) {});
    clock.runPending();
    EXPECT_EQ(log.take().join(u'\n').toStdString(), expected);
}

TEST_F(ServiceTest, repliesAreJudgedByTheirBodyAloneAndDescribedForTheLog)
{
    for (const QStringList &row : cases(u"replies")) {
        SCOPED_TRACE(row.join(u" | ").toStdString());
        const QByteArray body =
            row[1].startsWith(u'@') ? loadFixture(row[1].mid(1)) : row[1].toUtf8();
        backend->answer(u"/userApi/user/login_by_token"_s, {row[0].toInt(), body, row[2]});
        QStringList outcomes;
        service().login(u"tok"_s, u"bc"_s, u"ch1"_s, &owner, [&](ServiceResult<User> result) {
            outcomes.append(result ? result.value().token : describe(result.error()));
        });
        EXPECT_TRUE(outcomes.isEmpty()) << "never inside the call";
        clock.advanceBy(std::chrono::minutes{5});
        ASSERT_EQ(outcomes.size(), 1);
        const bool prefix = row[3].endsWith(u"..."_s);
        EXPECT_EQ(prefix ? outcomes[0].left(row[3].size() - 3) + u"..."_s : outcomes[0], row[3]);
    }
}

TEST_F(ServiceTest, aCompletionWhoseOwnerIsGoneNeverRuns)
{
    backend->answer(u"/userApi/user/login_by_token"_s, {200, loadFixture(u"user.json"), {}});
    backend->answer(u"/channels/bc__test3.json"_s, {200, "[]", {}});
    backend->answer(u"/img/a.png"_s, {200, "not an image", {}});
    auto doomed = std::make_unique<QObject>();
    int calls = 0;
    service().login(u"tok"_s, u"bc"_s, u"ch1"_s, doomed.get(), [&](auto) { ++calls; });
    service().checkChannels(u"bc"_s, doomed.get(), [&](auto) { ++calls; });
    service().getImage(u"img/a.png"_s, doomed.get(), [&](QImage, auto) { ++calls; });
    doomed.reset();
    clock.advanceBy(std::chrono::minutes{2});
    EXPECT_EQ(backend->requests().size(), 3);
    EXPECT_EQ(calls, 0);
}

TEST_F(ServiceTest, anImageIsWhateverDecodesAndFailsOnlyWithItsExchange)
{
    const QByteArray png = QByteArray::fromBase64( // 6 x 5 red pixels
        "iVBORw0KGgoAAAANSUhEUgAAAAYAAAAFCAIAAADpOgqxAAAAEUlEQVR42mP4z8CAhhioKAQAqfsd4yomZBQAAAAASU"
        "VORK5CYII=");
    backend->answer(u"/poll.png"_s, {200, png, {}});
    backend->answer(u"/missing.png"_s, {404, "<html>Not found</html>", {}}); // a reply all the same
    backend->answer(u"/cut.png"_s, {0, {}, u"Host unreachable"_s});
    QStringList outcomes;
    for (const QString &path : {u"poll.png"_s, u"/missing.png"_s, u"cut.png"_s})
        service().getImage(path, &owner, [&](QImage image, std::optional<ServiceError> error) {
            outcomes.append(u"%1x%2 %3"_s.arg(image.width())
                                .arg(image.height())
                                .arg(error ? describe(*error) : u"ok"_s));
        });
    EXPECT_TRUE(outcomes.isEmpty());
    clock.runPending();
    EXPECT_EQ(outcomes,
              QStringList({u"6x5 ok"_s, u"0x0 ok"_s, u"0x0 no reply: Host unreachable"_s}));
}
