// The backend operations as the SDK calls them, on the demo channel and a fresh database: each
// operation's reply decodes strictly as the SDK's reply record and carries what a backend would
// compute; every rejection names what was wrong and stores nothing.

#include "backend_p.h"
#include "devservertest.h"
#include "levels_p.h"
#include "vantora/records/jsoncodec_p.h"

#include "testsupport.h"

#include <QJsonArray>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Vantora;
using namespace Vantora::DevServer;
using namespace Vantora::DevServerTest;
using namespace Qt::Literals::StringLiterals;

namespace {

class BackendTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        auto content = Content::load(demoFolder);
        ASSERT_TRUE(content) << content.error().toStdString();
        m_content = std::make_unique<Content>(std::move(content).value());
        openStore();
    }

    void openStore()
    {
        m_backend.reset();
        m_store.reset();
        auto store = Store::open(m_dir.filePath(u"devserver.sqlite"_s));
        ASSERT_TRUE(store) << store.error().toStdString();
        m_store = std::move(store).value();
        m_backend = std::make_unique<Backend>(*m_content, *m_store);
    }

    HttpReply call(const QString &path, const QJsonObject &data)
    {
        return m_backend->handle("POST", path, sdkContentType(), sdkBody(envelope(data)));
    }

    template <class T>
    T decoded(const HttpReply &reply)
    {
        EXPECT_EQ(reply.status, 200) << reply.body.constData();
        auto record = Json::decode<T>(reply.body);
        EXPECT_TRUE(record) << (record ? "" : record.error().message().toStdString()) << " in "
                            << reply.body.constData();
        return record ? record.value() : T{};
    }

    QJsonObject who(const QString &token = {}) const
    {
        QJsonObject data{{u"broadcasterName"_s, u"vantora-demo"_s}, {u"channelId"_s, u"1001"_s}};
        if (!token.isEmpty())
            data.insert(u"userToken"_s, token);
        return data;
    }

    QJsonObject answering(const QString &token, const QJsonValue &answer) const
    {
        QJsonObject data = who(token);
        data.insert(u"answer"_s, answer);
        return data;
    }

    User registerViewer() { return decoded<User>(call(u"/user/register"_s, who())); }

    QTemporaryDir m_dir;
    std::unique_ptr<Content> m_content;
    std::unique_ptr<Store> m_store;
    std::unique_ptr<Backend> m_backend;
};

} // namespace

TEST_F(BackendTest, aViewersSessionFromRegistrationToLogin)
{
    QJsonObject registration = who();
    registration.insert(u"userBroadcasterForeignID"_s, u"host-77"_s);
    registration.insert(u"userInitialName"_s, u"Dana"_s);
    const User fresh = decoded<User>(call(u"/user/register"_s, registration));
    EXPECT_EQ(fresh.name, u"Dana"_s);
    EXPECT_EQ(fresh.userBroadcasterForeignID, u"host-77"_s);
    EXPECT_EQ(fresh.level, 1);
    EXPECT_EQ(fresh.token.size(), 64);
    EXPECT_NE(registerViewer().token, fresh.token);
    const QString token = fresh.token;

    const auto poll =
        decoded<AnswerPollResponse>(call(u"/poll/answer_new/p100"_s, answering(token, u"Latte"_s)));
    EXPECT_TRUE(poll.answer.isAnswered);
    EXPECT_EQ(poll.answer.questionId, u"p100"_s);
    EXPECT_EQ(poll.answer.answer, u"Latte"_s);
    EXPECT_EQ(poll.answer.expoints_given, 10); // the poll's expoints
    EXPECT_EQ(poll.answer.userLevel->level.value, u"1"_s);

    // 10 + 20 experience reaches level 2 ("Viewer", 20 points), which pays 10 gift credits.
    const auto prediction =
        decoded<AnswerPollResponse>(call(u"/poll/answer_new/pr200"_s, answering(token, u"Reds"_s)));
    EXPECT_EQ(prediction.answer.expoints_given, 20);
    EXPECT_EQ(prediction.answer.giftPointsGiven, 10);
    EXPECT_EQ(prediction.answer.userLevel->level.value, u"2"_s);
    EXPECT_EQ(prediction.answer.userLevel->name, u"Viewer"_s);

    const auto rating =
        decoded<AnswerRatingResponse>(call(u"/rating/answer_new/r300"_s, answering(token, 4)));
    EXPECT_EQ(rating.answer.ratingId, u"r300"_s);
    EXPECT_EQ(rating.answer.answer, 4);
    EXPECT_EQ(rating.answer.expoints_given, 5);

    const auto trivia = decoded<AnswerTriviaResponse>(
        call(u"/trivia/answer/t401"_s, answering(token, u"France"_s)));
    EXPECT_EQ(trivia.answer.isAnswered, true);
    EXPECT_TRUE(trivia.answer.isCorrect);
    EXPECT_EQ(trivia.answer.correctAnswer.answer, u"France"_s);
    EXPECT_EQ(trivia.answer.correctAnswer.image, u"trivia/flag-fr.png"_s);
    EXPECT_EQ(trivia.answer.points, 20);
    EXPECT_EQ(trivia.answer.pointsGiven, 20);
    EXPECT_EQ(trivia.answer.total_expoints, 50);
    // Credits so far: the level gift 10 and these 20. A client adds giftPointsGiven on top of
    // total_points, and this answer paid none.
    EXPECT_EQ(trivia.answer.total_points, 30);
    EXPECT_EQ(trivia.answer.giftPointsGiven, 0);

    const auto question = decoded<Trivia>(call(u"/trivia/getQuestionById/t401"_s, who(token)));
    EXPECT_EQ(question.question.question, m_content->trivia(u"t401"_s)->question.question);
    ASSERT_TRUE(question.answer);
    EXPECT_EQ(question.answer->answer, u"France"_s);
    EXPECT_TRUE(question.answer->isCorrect);
    EXPECT_FALSE(decoded<Trivia>(call(u"/trivia/getQuestionById/t400"_s, who(token))).answer);

    const User user = decoded<User>(call(u"/user/login_by_token"_s, who(token)));
    EXPECT_EQ(user.token, token);
    EXPECT_EQ(user.level, 2);
    EXPECT_EQ(user.amount_of_credits_won, 30);
    EXPECT_EQ(user.expirience_points, 50);
    EXPECT_EQ(user.polls,
              (QMap<QString, QString>{{u"p100_1001"_s, u"Latte"_s}, {u"pr200_1001"_s, u"Reds"_s}}));
    EXPECT_EQ(user.ratings, (QMap<QString, QString>{{u"r300_1001"_s, u"4"_s}}));
    ASSERT_TRUE(user.predictionsResults);
    ASSERT_EQ(user.predictionsResults->size(), 1);
    const PredictionResult stake = user.predictionsResults->value(u"pr200_____1001"_s);
    EXPECT_EQ(stake.answer, u"Reds"_s);
    EXPECT_EQ(stake.status, u"pending"_s);

    QJsonObject analytics{{u"broadcasterName"_s, u"vantora-demo"_s}, {u"userToken"_s, token}};
    analytics.insert(u"events"_s,
                     QJsonArray{QJsonObject{{u"country"_s, u"US"_s},
                                            {u"language"_s, u"en"_s},
                                            {u"deviceType"_s, u"SmartTV"_s},
                                            {u"device"_s, u"AppleTV"_s},
                                            {u"browser"_s, u""_s},
                                            {u"timestamp"_s, qint64(1700000000123)},
                                            {u"module"_s, u"Polls"_s},
                                            {u"streamer"_s, u"1001"_s},
                                            {u"isEngaged"_s, true},
                                            {u"eventType"_s, u"engage"_s}}});
    EXPECT_EQ(decoded<AnalyticsResponse>(call(u"/analytics/add"_s, analytics)).status, u"ok"_s);
    EXPECT_EQ(m_store->analyticsCount(), 1);
}

TEST_F(BackendTest, channelDocumentCarriesLiveTotals)
{
    const QString a = registerViewer().token;
    const QString b = registerViewer().token;
    call(u"/poll/answer_new/p100"_s, answering(a, u"Latte"_s));
    call(u"/poll/answer_new/p100"_s, answering(b, u"Latte"_s));
    call(u"/poll/answer_new/pr200"_s, answering(a, u"Draw"_s));
    call(u"/rating/answer_new/r300"_s, answering(a, 5));
    call(u"/rating/answer_new/r300"_s, answering(b, 2));

    const StreamerInfo info = decoded<StreamerInfo>(call(u"/streamer/getInfo"_s, who()));
    EXPECT_EQ(info.id, u"1001"_s);
    const QList<PollAnswer> &coffee = info.polls->at(0).answers;
    EXPECT_EQ(coffee[0].totals, 0);
    EXPECT_EQ(coffee[1].totals, 2);
    EXPECT_EQ(info.predictions->at(0).answers[2].totals, 1);
    const Rating &commentary = info.ratings->at(0);
    EXPECT_EQ(commentary.totalPeople, 2);
    EXPECT_EQ(commentary.totalPoints, 7);
    EXPECT_EQ(commentary.averageRate, 3.5);
}

TEST_F(BackendTest, answersCountOncePerViewerAndItem)
{
    const QString token = registerViewer().token;
    const auto first = decoded<AnswerPollResponse>(
        call(u"/poll/answer_new/p101"_s, answering(token, u"The band"_s)));
    const auto again = decoded<AnswerPollResponse>(
        call(u"/poll/answer_new/p101"_s, answering(token, u"The snacks"_s)));
    EXPECT_TRUE(first.answer.isAnswered);
    EXPECT_FALSE(again.answer.isAnswered);
    EXPECT_EQ(again.answer.answer, u"The band"_s); // the vote that counts
    EXPECT_EQ(again.answer.expoints_given, 0);
    EXPECT_FALSE(again.answer.giftPointsGiven);
    EXPECT_EQ(m_store->votes(u"1001"_s, u"p101"_s), (QMap<QString, qint64>{{u"The band"_s, 1}}));

    // A wrong trivia answer earns experience but no credits, and cannot be corrected.
    const auto wrong =
        decoded<AnswerTriviaResponse>(call(u"/trivia/answer/t400"_s, answering(token, u"Italy"_s)));
    EXPECT_FALSE(wrong.answer.isCorrect);
    EXPECT_EQ(wrong.answer.pointsGiven, 0);
    EXPECT_EQ(wrong.answer.correctAnswer.answer, u"Brazil"_s);
    const auto retry = decoded<AnswerTriviaResponse>(
        call(u"/trivia/answer/t400"_s, answering(token, u"Brazil"_s)));
    EXPECT_EQ(retry.answer.isAnswered, false);
    EXPECT_FALSE(retry.answer.isCorrect);
    EXPECT_EQ(retry.answer.answer, u"Italy"_s);
    // 15 experience for p101 and 10 for t400 reach level 2, whose gift is the only credit.
    EXPECT_EQ(m_store->viewerByToken(token)->expoints, 25);
    EXPECT_EQ(m_store->viewerByToken(token)->credits, 10);
}

TEST_F(BackendTest, rejectionsNameTheProblemAndStoreNothing)
{
    const QString token = registerViewer().token;
    const auto body = [](const QByteArray &json) {
        return sdkBody(json);
    };
    const auto data = [](const QJsonObject &object) {
        return sdkBody(envelope(object));
    };
    QJsonObject otherBroadcaster = answering(token, u"Latte"_s);
    otherBroadcaster[u"broadcasterName"_s] = u"someone-else"_s;
    QJsonObject numberAnswer = answering(token, u"Latte"_s);
    numberAnswer[u"answer"_s] = 3;

    const struct
    {
        const char *name;
        QString path;
        QByteArray contentType;
        QByteArray body;
        int status;
        const char *error;
    } rows[] = {
        {"JSON instead of multipart", u"/poll/answer_new/p100"_s, "application/json",
         envelope(answering(token, u"Latte"_s)), 415, "expected multipart/form-data"},
        {"no boundary", u"/poll/answer_new/p100"_s, "multipart/form-data",
         body(envelope(answering(token, u"Latte"_s))), 415, "no boundary"},
        {"truncated body", u"/poll/answer_new/p100"_s, sdkContentType(),
         body(envelope(answering(token, u"Latte"_s))).chopped(30), 400, "multipart body: "},
        {"field under another name", u"/poll/answer_new/p100"_s, sdkContentType(),
         sdkBody(envelope(answering(token, u"Latte"_s)))
             .replace("name=\"request\"", "name=\"req\""),
         400, "form field \"request\" is missing"},
        {"not JSON", u"/poll/answer_new/p100"_s, sdkContentType(), body("{\"data\":"), 400,
         "request: invalid JSON"},
        {"no data envelope", u"/poll/answer_new/p100"_s, sdkContentType(),
         body(QJsonDocument(answering(token, u"Latte"_s)).toJson()), 400, "request: data: missing"},
        {"missing key", u"/poll/answer_new/p100"_s, sdkContentType(), data(who(token)), 400,
         "request: data.answer: missing"},
        {"wrong type", u"/poll/answer_new/p100"_s, sdkContentType(), data(numberAnswer), 400,
         "request: data.answer: expected string, got number"},
        {"rating as text", u"/rating/answer_new/r300"_s, sdkContentType(),
         data(answering(token, u"4"_s)), 400, "request: data.answer: expected integer"},
        {"unknown token", u"/poll/answer_new/p100"_s, sdkContentType(),
         data(answering(u"feedface"_s, u"Latte"_s)), 401, "unknown userToken"},
        {"token of another broadcaster's viewer", u"/poll/answer_new/p100"_s, sdkContentType(),
         data(otherBroadcaster), 404, "no channel 1001 for broadcaster someone-else"},
        {"unknown poll", u"/poll/answer_new/p999"_s, sdkContentType(),
         data(answering(token, u"Latte"_s)), 404, "no poll p999 in channel 1001"},
        {"answer not offered", u"/poll/answer_new/p100"_s, sdkContentType(),
         data(answering(token, u"Mocha"_s)), 400, "\"Mocha\" is not an answer of poll p100"},
        {"rating above the scale", u"/rating/answer_new/r300"_s, sdkContentType(),
         data(answering(token, 6)), 400, "6 is outside 1..5"},
        {"rating of zero", u"/rating/answer_new/r300"_s, sdkContentType(),
         data(answering(token, 0)), 400, "0 is outside 1..5"},
        {"unknown trivia", u"/trivia/answer/t999"_s, sdkContentType(),
         data(answering(token, u"Brazil"_s)), 404, "no trivia question t999"},
        {"trivia answer not offered", u"/trivia/answer/t400"_s, sdkContentType(),
         data(answering(token, u"Peru"_s)), 400, "is not an answer of trivia question t400"},
        {"login without token", u"/user/login_by_token"_s, sdkContentType(), data(who()), 400,
         "request: data.userToken: missing"},
        {"register on unknown channel", u"/user/register"_s, sdkContentType(),
         data(QJsonObject{{u"broadcasterName"_s, u"vantora-demo"_s}, {u"channelId"_s, u"9"_s}}),
         404, "no channel 9"},
        {"analytics with a bad event", u"/analytics/add"_s, sdkContentType(),
         data(QJsonObject{{u"broadcasterName"_s, u"vantora-demo"_s},
                          {u"userToken"_s, token},
                          {u"events"_s, QJsonArray{QJsonObject{{u"timestamp"_s, u"now"_s}}}}}),
         400, "request: data.events[0]."},
        {"unknown operation", u"/poll/answer/p100"_s, sdkContentType(),
         data(answering(token, u"Latte"_s)), 404, "no operation /poll/answer/p100"},
        {"operation without its id", u"/poll/answer_new/"_s, sdkContentType(),
         data(answering(token, u"Latte"_s)), 404, "no operation"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const HttpReply reply = m_backend->handle("POST", row.path, row.contentType, row.body);
        EXPECT_EQ(reply.status, row.status);
        EXPECT_EQ(reply.contentType, "application/json");
        const QString error = jsonObject(reply.body).value("error"_L1).toString();
        EXPECT_TRUE(error.contains(QString::fromUtf8(row.error))) << error.toStdString();
    }
    EXPECT_EQ(m_backend->handle("GET", u"/user/register"_s, sdkContentType(), data(who())).status,
              405);
    EXPECT_TRUE(m_store->answers({}).isEmpty());
    EXPECT_EQ(m_store->viewers().size(), 1);
    EXPECT_EQ(m_store->analyticsCount(), 0);
    EXPECT_EQ(m_store->viewerByToken(token)->expoints, 0);
}

TEST_F(BackendTest, storedStateSurvivesReopening)
{
    const QString token = registerViewer().token;
    call(u"/poll/answer_new/pr200"_s, answering(token, u"Blues"_s));
    const QString other = registerViewer().token;
    call(u"/poll/answer_new/pr200"_s, answering(other, u"Reds"_s));
    openStore();

    auto settled = m_store->settle(u"1001"_s, u"pr200"_s, u"Blues"_s, 50);
    ASSERT_TRUE(settled) << settled.error().toStdString();
    ASSERT_EQ(settled.value().winners.size(), 1);
    EXPECT_EQ(settled.value().winners[0].token, token);
    EXPECT_EQ(settled.value().losers, 1);
    EXPECT_FALSE(m_store->settle(u"1001"_s, u"pr200"_s, u"Reds"_s, 50));
    openStore();

    const User winner = decoded<User>(call(u"/user/login_by_token"_s, who(token)));
    EXPECT_EQ(winner.predictionsResults->value(u"pr200_____1001"_s).status, u"won"_s);
    EXPECT_EQ(winner.amount_of_credits_won, 60); // the level-2 gift and the win
    const User loser = decoded<User>(call(u"/user/login_by_token"_s, who(other)));
    EXPECT_EQ(loser.predictionsResults->value(u"pr200_____1001"_s).status, u"lost"_s);
    EXPECT_EQ(loser.amount_of_credits_won, 10);
}

TEST(Levels, thresholdsAndGifts)
{
    const struct
    {
        double expoints;
        qint64 level;
    } rows[] = {{0, 1}, {19.5, 1}, {20, 2}, {59, 2}, {60, 3}, {449, 6}, {450, 7}, {1e9, 7}};
    for (const auto &row : rows)
        EXPECT_EQ(levelFor(row.expoints).number, row.level) << row.expoints;
    EXPECT_EQ(giftsBetween(1, 1), 0);
    EXPECT_EQ(giftsBetween(1, 2), 10);
    EXPECT_EQ(giftsBetween(1, 4), 60); // every level passed pays once
    EXPECT_EQ(giftsBetween(3, 3), 0);
}
