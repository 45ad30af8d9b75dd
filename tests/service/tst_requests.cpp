#include "servicetest.h"

#include "vantora/service/multipartbody_p.h"

#include <vantora/records/vtadeployment.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QRegularExpression>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

namespace {

QJsonObject json(const char *text)
{
    return QJsonDocument::fromJson(QByteArray(text)).object();
}

template <class T>
auto ignore()
{
    return [](ServiceResult<T>) {
    };
}

} // namespace

TEST(MultipartBody, isTheFieldsBetweenBoundaryLinesEachEndedByCrLf)
{
    const QString boundary = u"Boundary-0A1B"_s;
    EXPECT_EQ(multipartBody(FormFields{{u"request"_s, u"{\"data\":{\"a\":\"é\"}}"_s}}, boundary),
              QByteArray("--Boundary-0A1B\r\n"
                         "Content-Disposition: form-data; name=\"request\"\r\n"
                         "\r\n"
                         "{\"data\":{\"a\":\"\xC3\xA9\"}}\r\n"
                         "--Boundary-0A1B--\r\n"));
    EXPECT_EQ(multipartBody(FormFields{{u"a"_s, u"1"_s}, {u"b"_s, u""_s}}, boundary),
              QByteArray("--Boundary-0A1B\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n"
                         "1\r\n"
                         "--Boundary-0A1B\r\nContent-Disposition: form-data; name=\"b\"\r\n\r\n"
                         "\r\n"
                         "--Boundary-0A1B--\r\n"));
    EXPECT_EQ(multipartBody(std::nullopt, boundary), QByteArray("--Boundary-0A1B--\r\n"));
}

TEST(MultipartBody, boundariesAreFreshUpperCaseUuids)
{
    const QRegularExpression form(u"^Boundary-[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-"
                                  "[0-9A-F]{12}$"_s);
    const QString first = newBoundary();
    const QString second = newBoundary();
    EXPECT_TRUE(form.match(first).hasMatch()) << first.toStdString();
    EXPECT_TRUE(form.match(second).hasMatch()) << second.toStdString();
    EXPECT_NE(first, second);
}

TEST_F(ServiceTest, everyOperationPostsItsRecordToItsPath)
{
    const struct
    {
        const char *name;
        std::function<void()> call;
        QString path;
        QJsonObject data;
    } rows[] = {
        {"getChannelInfo",
         [&] { service().getChannelInfo(u"ch1"_s, u"bc"_s, &owner, ignore<StreamerInfo>()); },
         u"/userApi/streamer/getInfo"_s, json(R"({"broadcasterName":"bc","channelId":"ch1"})")},
        {"register",
         [&] {
             service().registerUser(u"bc"_s, u"ch1"_s, u"fid-9"_s, std::nullopt, &owner,
                                    ignore<User>());
         },
         u"/userApi/user/register"_s,
         json(R"({"broadcasterName":"bc","channelId":"ch1","userBroadcasterForeignID":"fid-9"})")},
        {"register with a name",
         [&] {
             service().registerUser(u"bc"_s, u"ch1"_s, std::nullopt, u"Dana"_s, &owner,
                                    ignore<User>());
         },
         u"/userApi/user/register"_s,
         json(R"({"broadcasterName":"bc","channelId":"ch1","userInitialName":"Dana"})")},
        {"login", [&] { service().login(u"tok"_s, u"bc"_s, u"ch1"_s, &owner, ignore<User>()); },
         u"/userApi/user/login_by_token"_s,
         json(R"({"userToken":"tok","broadcasterName":"bc","channelId":"ch1"})")},
        {"getTriviaQuestion",
         [&] {
             service().getTriviaQuestion(u"q7"_s, u"tok"_s, u"ch1"_s, u"bc"_s, &owner,
                                         ignore<Trivia>());
         },
         u"/userApi/trivia/getQuestionById/q7"_s,
         json(R"({"userToken":"tok","broadcasterName":"bc","channelId":"ch1"})")},
        {"answerPoll",
         [&] {
             service().answerPoll(u"tok"_s, u"ch1"_s, u"bc"_s, u"p1"_s, u"Yes"_s, &owner,
                                  ignore<AnswerPollResponse>());
         },
         u"/userApi/poll/answer_new/p1"_s,
         json(R"({"broadcasterName":"bc","channelId":"ch1","userToken":"tok","answer":"Yes"})")},
        {"answerRating",
         [&] {
             service().answerRating(u"tok"_s, u"ch1"_s, u"bc"_s, u"r1"_s, 4, &owner,
                                    ignore<AnswerRatingResponse>());
         },
         u"/userApi/rating/answer_new/r1"_s,
         json(R"({"broadcasterName":"bc","channelId":"ch1","userToken":"tok","answer":4})")},
        {"answerTrivia (never a match id)",
         [&] {
             service().answerTrivia(u"tok"_s, u"ch1"_s, u"bc"_s, u"t1"_s, u"Paris"_s, &owner,
                                    ignore<AnswerTriviaResponse>());
         },
         u"/userApi/trivia/answer/t1"_s,
         json(R"({"broadcasterName":"bc","channelId":"ch1","userToken":"tok","answer":"Paris"})")},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        backend->answer(row.path, {200, "{}", {}});
        const qsizetype before = backend->requests().size();
        row.call();
        ASSERT_EQ(backend->requests().size(), before + 1);
        const HttpRequest &request = backend->requests().last();
        EXPECT_EQ(request.method, "POST");
        EXPECT_EQ(request.url.toString(), u"https://api.example.com"_s + row.path);
        EXPECT_EQ(request.timeout, std::chrono::seconds{60});
        EXPECT_EQ(requestField(request), QJsonObject({{u"data"_s, row.data}}));
    }
    clock.runPending();
}

TEST_F(ServiceTest, eachRequestHasItsOwnBoundary)
{
    answerEverything({u"/userApi/user/login_by_token"_s});
    service().login(u"tok"_s, u"bc"_s, u"ch1"_s, &owner, ignore<User>());
    service().login(u"tok"_s, u"bc"_s, u"ch1"_s, &owner, ignore<User>());
    ASSERT_EQ(backend->requests().size(), 2);
    const HttpRequest &first = backend->requests()[0];
    const HttpRequest &second = backend->requests()[1];
    EXPECT_NE(first.headers, second.headers);
    EXPECT_EQ(first.body.count("Content-Disposition"), 1);
    requestField(first); // each envelope matches its own header
    requestField(second);
    clock.runPending();
}

TEST_F(ServiceTest, urlsJoinTheBaseLessOneSlashAndTheIdAsItStands)
{
    const struct
    {
        const char *base;
        const char *pollId;
        const char *url;
    } rows[] = {
        {"https://api.example.com/userApi", "p1",
         "https://api.example.com/userApi/poll/answer_new/p1"},
        {"https://api.example.com/userApi/", "p1",
         "https://api.example.com/userApi/poll/answer_new/p1"},
        {"https://api.example.com/userApi//", "p1",
         "https://api.example.com/userApi//poll/answer_new/p1"},
        {"http://127.0.0.1:8080/userApi", "a b",
         "http://127.0.0.1:8080/userApi/poll/answer_new/a%20b"},
        {"http://127.0.0.1:8080/userApi", "50%",
         "http://127.0.0.1:8080/userApi/poll/answer_new/50%25"},
        {"http://127.0.0.1:8080/userApi", "p?x=1",
         "http://127.0.0.1:8080/userApi/poll/answer_new/p?x=1"},
        {"http://127.0.0.1:8080/userApi", "p#frag",
         "http://127.0.0.1:8080/userApi/poll/answer_new/p#frag"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.url);
        service().setEnvironment(environment(QString::fromUtf8(row.base)));
        const QUrl expected = QUrl(QString::fromUtf8(row.url));
        backend->answer(expected.path(), {200, "{}", {}});
        service().answerPoll(u"tok"_s, u"ch1"_s, u"bc"_s, QString::fromUtf8(row.pollId), u"Yes"_s,
                             &owner, ignore<AnswerPollResponse>());
        EXPECT_EQ(backend->requests().last().url.toString(QUrl::FullyEncoded),
                  QString::fromUtf8(row.url));
    }
    EXPECT_EQ(service().getBaseURL(), u"http://127.0.0.1:8080/userApi"_s);
    clock.runPending();
}

TEST_F(ServiceTest, aBaseThatMakesNoUrlIsAProgrammingError)
{
    EXPECT_DEATH(
        {
            service().setEnvironment(environment(u"https://api.example.com:99999/userApi"_s));
            service().login(u"tok"_s, u"bc"_s, u"ch1"_s, &owner, ignore<User>());
        },
        "VTAServiceManager: \"https://api.example.com:99999/userApi/user/login_by_token\" is not "
        "a valid URL");
}

TEST_F(ServiceTest, analyticsSendsOneFilledEvent)
{
    answerEverything({u"/userApi/analytics/add"_s}, R"({"status":"ok"})");
    clock.setWallClockMSecs(1'767'225'600'123);
    service().analytics({.token = u"tok"_s,
                         .streamer = u"ch1"_s,
                         .broadcaster = u"bc"_s,
                         .module = u"polls"_s,
                         .submodule = u"poll"_s,
                         .sponsor = u"Acme"_s,
                         .type = u"engage"_s,
                         .source = u"clock"_s,
                         .sourceID = u"c-4"_s,
                         .injectionTimestamp = 95});
    ASSERT_EQ(backend->requests().size(), 1);
    EXPECT_EQ(backend->requests()[0].url.toString(),
              u"https://api.example.com/userApi/analytics/add"_s);
    QJsonObject event{{u"country"_s, analyticsCountry()},
                      {u"language"_s, u"en"_s},
                      {u"deviceType"_s, u"SmartTV"_s},
                      {u"device"_s, u"AppleTV"_s},
                      {u"browser"_s, u""_s},
                      {u"timestamp"_s, qint64{1'767'225'600'123}},
                      {u"module"_s, u"polls"_s},
                      {u"subModule"_s, u"poll"_s},
                      {u"streamer"_s, u"ch1"_s},
                      {u"advertiser"_s, u"Acme"_s},
                      {u"isEngaged"_s, true},
                      {u"eventType"_s, u"engage"_s},
                      {u"source"_s, u"clock"_s},
                      {u"source_id"_s, u"c-4"_s},
                      {u"injection_timestamp"_s, 95}};
    const QJsonObject data{{u"events"_s, QJsonArray{event}},
                           {u"broadcasterName"_s, u"bc"_s},
                           {u"userToken"_s, u"tok"_s}};
    EXPECT_EQ(requestField(backend->requests()[0]), QJsonObject({{u"data"_s, data}}));
    clock.runPending(); // the reply is read and dropped
}

TEST_F(ServiceTest, analyticsIsEngagedOnlyForAnEngageEvent)
{
    answerEverything({u"/userApi/analytics/add"_s}, "not json at all");
    const struct
    {
        std::optional<QString> type;
        bool engaged;
    } rows[] = {{u"engage"_s, true},
                {u"view"_s, false},
                {std::nullopt, false},
                {u"Engage"_s, false},
                {u"close"_s, false}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.type.value_or(u"(none)"_s).toStdString());
        AnalyticsReport report;
        report.token = u"tok"_s;
        report.streamer = u"ch1"_s;
        report.broadcaster = u"bc"_s;
        report.module = u"login"_s;
        report.type = row.type;
        service().analytics(report);
        const QJsonObject event =
            requestField(backend->requests().last())["data"_L1]["events"_L1][0].toObject();
        EXPECT_EQ(event["isEngaged"_L1], QJsonValue(row.engaged));
        EXPECT_EQ(event.contains("eventType"_L1), row.type.has_value());
        for (const char *absent :
             {"subModule", "advertiser", "source", "source_id", "injection_timestamp"})
            EXPECT_FALSE(event.contains(QLatin1StringView(absent))) << absent;
    }
    clock.runPending();
}

TEST(AnalyticsCountry, followsTheDeviceRegion)
{
    const struct
    {
        const char *locale;
        const char *country;
    } rows[] = {{"he_IL.UTF-8", "IL"}, {"ar_IL", "IL"}, {"de_DE.UTF-8", "US"},
                {"en_US.UTF-8", "US"}, {"C", "US"},     {"fr", "US"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.locale);
        // The system locale is read once per process: each region gets a process of its own.
        qputenv("LC_ALL", row.locale);
        EXPECT_EXIT(std::exit(analyticsCountry() == QLatin1StringView(row.country) ? 0 : 1),
                    testing::ExitedWithCode(0), "");
    }
}

TEST_F(ServiceTest, checkChannelsGetsTheBroadcastersListForThisEnvironment)
{
    VTADeployment deployment = VTADeployment::current();
    deployment.channelsBaseURL = u"https://storage.example.com/channels/"_s;
    VTADeployment::configure(deployment);
    backend->answer(u"/channels/bc__test3.json"_s,
                    {200, TestSupport::loadFixture(u"channels.json"), {}});
    std::optional<ServiceResult<QList<Channel>>> outcome;
    service().checkChannels(u"bc"_s, &owner, [&](auto result) { outcome = std::move(result); });
    ASSERT_EQ(backend->requests().size(), 1);
    const HttpRequest &request = backend->requests()[0];
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.url.toString(), u"https://storage.example.com/channels/bc__test3.json"_s);
    EXPECT_TRUE(request.headers.isEmpty());
    EXPECT_TRUE(request.body.isEmpty());
    EXPECT_EQ(request.timeout, std::chrono::seconds{60});
    clock.runPending();
    ASSERT_TRUE(outcome && *outcome);
    ASSERT_EQ(outcome->value().size(), 2);
    EXPECT_EQ(outcome->value()[1].channel, u"ch-2042"_s);
}

TEST_F(ServiceTest, imagePathsJoinTheImageBaseWithOneSlash)
{
    const struct
    {
        const char *base;
        const char *path;
        const char *url;
    } rows[] = {
        {"https://media.example.com", "img/a.png", "https://media.example.com/img/a.png"},
        {"https://media.example.com/", "/img/a.png", "https://media.example.com/img/a.png"},
        {"https://media.example.com/", "img/a.png", "https://media.example.com/img/a.png"},
        {"https://media.example.com", "/img/a.png", "https://media.example.com/img/a.png"},
        {"https://media.example.com/", "", "https://media.example.com/"},
        {"https://media.example.com", "http://cdn.example.org/b.png",
         "http://cdn.example.org/b.png"},
        {"https://media.example.com", "https://cdn.example.org/c.png",
         "https://cdn.example.org/c.png"},
        {"https://media.example.com", "httpdocs/d.png", "httpdocs/d.png"},
        {"https://media.example.com", "img/a b.png", "https://media.example.com/img/a%20b.png"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.url);
        service().setEnvironment(
            environment(QString::fromLatin1(apiBase), QString::fromUtf8(row.base)));
        backend->answer(QUrl(QString::fromUtf8(row.url)).path(), {404, {}, {}});
        service().getImage(QString::fromUtf8(row.path), &owner, [](QImage, auto) {});
        EXPECT_EQ(backend->requests().last().method, "GET");
        EXPECT_EQ(backend->requests().last().url.toString(QUrl::FullyEncoded),
                  QString::fromUtf8(row.url));
    }
    clock.runPending();
}

TEST_F(ServiceTest, anImagePathThatMakesNoUrlIsNeitherRequestedNorAnswered)
{
    bool called = false;
    service().getImage(u"http://[::1/x.png"_s, &owner, [&](QImage, auto) { called = true; });
    service().setEnvironment(
        environment(QString::fromLatin1(apiBase), u"https://media.example.com:99999"_s));
    service().getImage(u"x.png"_s, &owner, [&](QImage, auto) { called = true; });
    clock.advanceBy(std::chrono::minutes{2});
    EXPECT_TRUE(backend->requests().isEmpty());
    EXPECT_FALSE(called);
}

TEST_F(ServiceTest, logsShowRequestsButNeverTheToken)
{
    static QStringList messages;
    messages.clear();
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &message) {
            messages.append(message);
        });
    QLoggingCategory::setFilterRules(u"vantora.service.debug=true"_s);
    backend->answer(u"/userApi/user/login_by_token"_s,
                    {200, TestSupport::loadFixture(u"user.json"), {}});
    bool loggedIn = false;
    service().login(u"s3cret-t0ken"_s, u"bc"_s, u"ch1"_s, &owner,
                    [&](ServiceResult<User> user) { loggedIn = bool(user); });
    clock.runPending();
    QLoggingCategory::setFilterRules(u"vantora.service.debug=false"_s);
    qInstallMessageHandler(previous);

    EXPECT_TRUE(loggedIn);
    const QString log = messages.join(u'\n');
    EXPECT_TRUE(log.contains(u"POST https://api.example.com/userApi/user/login_by_token"_s))
        << log.toStdString();
    EXPECT_TRUE(log.contains(u"\"userToken\":\"<token>\""_s)) << log.toStdString();
    EXPECT_TRUE(log.contains(u"200 https://api.example.com/userApi/user/login_by_token"_s))
        << log.toStdString();
    EXPECT_FALSE(log.contains(u"s3cret-t0ken"_s)) << log.toStdString();
    EXPECT_FALSE(log.contains(u"5f0c9a7e"_s)) << "the token of the reply" << log.toStdString();
}
