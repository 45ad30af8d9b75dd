// The admin API as the demo and the console use it: every live event arrives on CH_<channel> with
// exactly the payload clients read, and the listings reflect what viewers did.

#include "serverfixture.h"
#include "vantora/records/jsoncodec_p.h"

#include "testsupport.h"

#include <gtest/gtest.h>

using namespace Vantora;
using namespace Vantora::DevServerTest;
using namespace Qt::Literals::StringLiterals;

namespace {

class AdminTest : public ServerFixture
{
protected:
    void SetUp() override
    {
        ServerFixture::SetUp();
        m_client = connectClient();
        ASSERT_TRUE(m_client->waitForEvent(u"pusher:connection_established"_s));
        ASSERT_TRUE(m_client->subscribe(u"CH_1001"_s));
    }

    /// Runs an admin operation and returns the event data the subscriber received, parsed.
    QJsonObject received(const QString &operation, const QJsonObject &body, const QString &event)
    {
        const qsizetype before = m_client->events(event).size();
        const HttpResult result = admin(operation, body);
        EXPECT_EQ(result.status, 200) << result.body.constData();
        EXPECT_EQ(result.json().value("delivered"_L1).toInt(), 1);
        EXPECT_TRUE(m_client->waitForEvent(event, before + 1));
        const QList<QJsonObject> frames = m_client->events(event, u"CH_1001"_s);
        if (frames.size() <= before)
            return {};
        const QJsonValue data = frames[before].value("data"_L1);
        EXPECT_TRUE(data.isString()); // clients require a JSON text
        const QJsonObject parsed = jsonObject(data.toString().toUtf8());
        EXPECT_EQ(result.json().value("data"_L1).toObject(), parsed);
        return parsed;
    }

    QString answer(const QString &path, const QJsonValue &value)
    {
        if (m_token.isEmpty()) {
            const QByteArray body = sdkBody(
                envelope({{u"broadcasterName"_s, u"vantora-demo"_s}, {u"channelId"_s, u"1001"_s}}));
            m_token =
                jsonObject(
                    http("POST", url(u"/userApi/user/register"_s), body, sdkContentType()).body)
                    .value("token"_L1)
                    .toString();
        }
        const QByteArray body = sdkBody(envelope({{u"broadcasterName"_s, u"vantora-demo"_s},
                                                  {u"channelId"_s, u"1001"_s},
                                                  {u"userToken"_s, m_token},
                                                  {u"answer"_s, value}}));
        const HttpResult result = http("POST", url(u"/userApi"_s + path), body, sdkContentType());
        EXPECT_EQ(result.status, 200) << result.body.constData();
        return m_token;
    }

    std::unique_ptr<RecordingClient> m_client;
    QString m_token;
};

} // namespace

TEST_F(AdminTest, injectionsCarryTheOptionsAndTheItem)
{
    const QJsonObject quiz = received(u"inject"_s,
                                      {{u"channel"_s, u"1001"_s},
                                       {u"kind"_s, u"trivia"_s},
                                       {u"id"_s, u"t401"_s},
                                       {u"timeToStay"_s, 45},
                                       {u"once_per_user"_s, true},
                                       {u"starting_time"_s, 1700000123}},
                                      u"injectQuiz"_s);
    EXPECT_EQ(quiz,
              jsonObject(R"({"smartTV":true,"once_per_user":true,"close_post_interaction":true,
                                   "timeToStay":45,"starting_time":1700000123,"id":"t401"})"));

    // Defaults: 30 s, shown again to those who answered, closed after answering, starting now.
    QJsonObject poll = received(u"inject"_s,
                                {{u"channel"_s, u"1001"_s},
                                 {u"kind"_s, u"poll"_s},
                                 {u"id"_s, u"pr200"_s},
                                 {u"close_post_interaction"_s, false}},
                                u"injectPoll"_s);
    const auto decodedPoll = Json::decode<Poll>(
        QJsonDocument(poll.take("poll"_L1).toObject()).toJson(QJsonDocument::Compact));
    ASSERT_TRUE(decodedPoll) << decodedPoll.error().message().toStdString();
    EXPECT_EQ(decodedPoll.value().id, u"pr200"_s);
    EXPECT_EQ(decodedPoll.value().questionType, u"prediction"_s);
    EXPECT_EQ(decodedPoll.value().answers.size(), 3);
    EXPECT_EQ(decodedPoll.value().answers[0].totals, 0);
    EXPECT_EQ(poll,
              QJsonObject({{u"smartTV"_s, true},
                           {u"once_per_user"_s, false},
                           {u"close_post_interaction"_s, false},
                           {u"timeToStay"_s, 30},
                           {u"starting_time"_s, m_now}}));

    QJsonObject rating = received(
        u"inject"_s, {{u"channel"_s, u"1001"_s}, {u"kind"_s, u"rating"_s}, {u"id"_s, u"r300"_s}},
        u"injectRating"_s);
    const auto decodedRating = Json::decode<Rating>(
        QJsonDocument(rating.take("rating"_L1).toObject()).toJson(QJsonDocument::Compact));
    ASSERT_TRUE(decodedRating) << decodedRating.error().message().toStdString();
    EXPECT_EQ(decodedRating.value().icon, u"ratings/star.png"_s);
    EXPECT_EQ(rating.value("smartTV"_L1), true);
}

TEST_F(AdminTest, liveTotalsStopPollSettlementAndRefresh)
{
    answer(u"/poll/answer_new/p100"_s, u"Espresso"_s);
    answer(u"/rating/answer_new/r300"_s, 3);
    const QString token = answer(u"/poll/answer_new/pr200"_s, u"Draw"_s);

    const QJsonObject info =
        received(u"streamer-info"_s, {{u"channel"_s, u"1001"_s}}, u"streamerInfo"_s);
    const QJsonObject lists = info.value("streamerInfo"_L1).toObject();
    EXPECT_EQ(lists.keys(), (QStringList{u"polls"_s, u"predictions"_s, u"ratings"_s}));
    EXPECT_EQ(lists["polls"_L1][0]["answers"_L1][0]["totals"_L1].toInt(), 1);
    EXPECT_EQ(lists["predictions"_L1][0]["answers"_L1][2]["totals"_L1].toInt(), 1);
    EXPECT_EQ(lists["ratings"_L1][0]["totalPoints"_L1].toInt(), 3);
    EXPECT_EQ(lists["ratings"_L1][0]["averageRate"_L1].toDouble(), 3.0);

    EXPECT_EQ(received(u"stop-poll"_s, {{u"channel"_s, u"1001"_s}, {u"poll"_s, u"p100"_s}},
                       u"stop_poll"_s),
              jsonObject(R"({"poll":{"_id":{"$id":"p100"}}})"));

    const QJsonObject win = received(u"settle"_s,
                                     {{u"channel"_s, u"1001"_s},
                                      {u"poll"_s, u"pr200"_s},
                                      {u"answer"_s, u"Draw"_s},
                                      {u"winAmount"_s, 80}},
                                     u"pollWin"_s);
    EXPECT_EQ(win,
              jsonObject(R"({"poll":{"_id":{"$id":"pr200"}},"answer":"Draw","winAmount":"80"})"));
    const QJsonArray viewers =
        QJsonDocument::fromJson(http("GET", url(u"/admin/viewers"_s)).body).array();
    ASSERT_EQ(viewers.size(), 1);
    EXPECT_EQ(viewers[0]["token"_L1].toString(), token);
    EXPECT_EQ(viewers[0]["credits"_L1].toDouble(), 90); // the level-2 gift and the win
    EXPECT_EQ(admin(u"settle"_s,
                    {{u"channel"_s, u"1001"_s},
                     {u"poll"_s, u"pr200"_s},
                     {u"answer"_s, u"Reds"_s},
                     {u"winAmount"_s, 80}})
                  .status,
              409);

    EXPECT_EQ(received(u"refresh"_s, {{u"channel"_s, u"1001"_s}}, u"initiateRefresh"_s),
              QJsonObject());

    const QJsonArray answers =
        QJsonDocument::fromJson(http("GET", url(u"/admin/answers?channel=1001"_s)).body).array();
    ASSERT_EQ(answers.size(), 3);
    EXPECT_EQ(answers[2]["status"_L1].toString(), u"won"_s);
    const QJsonObject totals = http("GET", url(u"/admin/totals?channel=1001"_s)).json();
    EXPECT_EQ(totals["polls"_L1]["p100"_L1]["Espresso"_L1].toInt(), 1);
    EXPECT_EQ(totals["ratings"_L1]["r300"_L1]["totalPeople"_L1].toInt(), 1);
    const QJsonArray channels =
        QJsonDocument::fromJson(http("GET", url(u"/admin/channels"_s)).body).array();
    EXPECT_EQ(channels[0]["subscribers"_L1].toInt(), 1);
}

TEST_F(AdminTest, badRequestsPublishNothing)
{
    const struct
    {
        const char *name;
        QString operation;
        QJsonObject body;
        int status;
    } rows[] = {
        {"unknown channel", u"refresh"_s, {{u"channel"_s, u"9"_s}}, 404},
        {"no channel", u"refresh"_s, {}, 400},
        {"unknown kind",
         u"inject"_s,
         {{u"channel"_s, u"1001"_s}, {u"kind"_s, u"quiz"_s}, {u"id"_s, u"t400"_s}},
         400},
        {"unknown poll",
         u"inject"_s,
         {{u"channel"_s, u"1001"_s}, {u"kind"_s, u"poll"_s}, {u"id"_s, u"r300"_s}},
         404},
        {"unknown trivia",
         u"inject"_s,
         {{u"channel"_s, u"1001"_s}, {u"kind"_s, u"trivia"_s}, {u"id"_s, u"t9"_s}},
         404},
        {"fractional time",
         u"inject"_s,
         {{u"channel"_s, u"1001"_s},
          {u"kind"_s, u"trivia"_s},
          {u"id"_s, u"t400"_s},
          {u"timeToStay"_s, 1.5}},
         400},
        {"flag as text",
         u"inject"_s,
         {{u"channel"_s, u"1001"_s},
          {u"kind"_s, u"trivia"_s},
          {u"id"_s, u"t400"_s},
          {u"once_per_user"_s, u"yes"_s}},
         400},
        {"settle a plain poll",
         u"settle"_s,
         {{u"channel"_s, u"1001"_s},
          {u"poll"_s, u"p100"_s},
          {u"answer"_s, u"Latte"_s},
          {u"winAmount"_s, 5}},
         400},
        {"settle on an unknown answer",
         u"settle"_s,
         {{u"channel"_s, u"1001"_s},
          {u"poll"_s, u"pr200"_s},
          {u"answer"_s, u"Greens"_s},
          {u"winAmount"_s, 5}},
         400},
        {"amount as text",
         u"settle"_s,
         {{u"channel"_s, u"1001"_s},
          {u"poll"_s, u"pr200"_s},
          {u"answer"_s, u"Reds"_s},
          {u"winAmount"_s, u"5"_s}},
         400},
        {"stop an unknown poll",
         u"stop-poll"_s,
         {{u"channel"_s, u"1001"_s}, {u"poll"_s, u"zz"_s}},
         404},
        {"unknown operation", u"explode"_s, {{u"channel"_s, u"1001"_s}}, 404},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const HttpResult result = admin(row.operation, row.body);
        EXPECT_EQ(result.status, row.status) << result.body.constData();
        EXPECT_FALSE(result.json().value("error"_L1).toString().isEmpty());
    }
    EXPECT_EQ(http("POST", url(u"/admin/inject"_s), "[1]").status, 400);
    EXPECT_EQ(http("GET", url(u"/admin/inject"_s)).status, 405);
    // Nothing was published and nothing settled: a later event is the only one after subscribing.
    EXPECT_EQ(admin(u"refresh"_s, {{u"channel"_s, u"1001"_s}}).status, 200);
    ASSERT_TRUE(m_client->waitForEvent(u"initiateRefresh"_s));
    EXPECT_EQ(m_client->frames.size(), 3);
    EXPECT_TRUE(
        QJsonDocument::fromJson(http("GET", url(u"/admin/answers"_s)).body).array().isEmpty());
}

TEST_F(AdminTest, channelListsAndMedia)
{
    const HttpResult list = http("GET", url(u"/channels/vantora-demo__test3.json"_s));
    EXPECT_EQ(list.status, 200);
    const auto channels = Json::decode<QList<Channel>>(list.body);
    ASSERT_TRUE(channels) << list.body.constData();
    ASSERT_EQ(channels.value().size(), 1);
    EXPECT_EQ(channels.value()[0].channel, u"1001"_s);
    EXPECT_EQ(http("GET", url(u"/channels/nobody__test3.json"_s)).status, 404);

    const HttpResult image = http("GET", url(u"/media/polls/coffee.png"_s));
    EXPECT_EQ(image.status, 200);
    EXPECT_TRUE(image.body.startsWith("\x89PNG"));
    EXPECT_EQ(http("GET", url(u"/media/polls/none.png"_s)).status, 404);
    EXPECT_EQ(http("GET", url(u"/media/polls"_s)).status, 404);
    EXPECT_EQ(http("GET", url(u"/media/%2E%2E/channels/1001.json"_s)).status, 404);
    EXPECT_EQ(http("GET", url(u"/nowhere"_s)).status, 404);
}
