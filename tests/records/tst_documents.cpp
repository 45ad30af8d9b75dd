// Realistic documents: canonical ones survive decode and encode unchanged, one as a backend really
// sends it decodes to the expected values, and a broken one names the exact place that is wrong.

#include "codectest.h"
#include "testsupport.h"

#include "vantora/records/recordcatalog_p.h"

#include <gtest/gtest.h>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;
using Vantora::TestSupport::loadFixture;

TEST(Documents, canonicalDocumentsRoundTripUnchanged)
{
    const struct
    {
        const char *kind;
        const char *fixture;
    } rows[] = {
        {"StreamerInfo", "channel_full.json"},
        {"User", "user.json"},
        {"Trivia", "trivia.json"},
        {"Channel[]", "channels.json"},
        {"AnswerPollResponse", "answer_poll.json"},
        {"AnswerRatingResponse", "answer_rating.json"},
        {"AnswerTriviaResponse", "answer_trivia.json"},
        {"AnalyticsResponse", "analytics_response.json"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.fixture);
        const Json::DocumentKind *kind = Json::findDocumentKind(QString::fromUtf8(row.kind));
        ASSERT_NE(kind, nullptr);
        const QByteArray original = loadFixture(QString::fromUtf8(row.fixture));
        const auto once = kind->reencode(original);
        ASSERT_TRUE(once) << qPrintable(once.error().message());
        EXPECT_EQ(TestSupport::parsed(once.value()), TestSupport::parsed(original));

        const auto twice = kind->reencode(once.value());
        ASSERT_TRUE(twice);
        EXPECT_EQ(twice.value(), once.value());
    }
}

TEST(Documents, aDocumentAsTheBackendSendsItDecodesToTheseValues)
{
    const auto info = TestSupport::decodeOrFail<StreamerInfo>(loadFixture(u"channel_wild.json"));
    EXPECT_TRUE(info.offers.isEmpty());
    EXPECT_FALSE(info.ratings); // null
    EXPECT_FALSE(info.predictions); // missing
    EXPECT_FALSE(info.trivias);
    ASSERT_TRUE(info.designs); // present, empty
    EXPECT_TRUE(info.designs->isEmpty());

    ASSERT_TRUE(info.polls && info.polls->size() == 1);
    const Poll &poll = info.polls->front();
    EXPECT_EQ(poll.hideButtons, 0);
    EXPECT_EQ(poll.expoints.value, u"20"_s);
    EXPECT_FALSE(poll.is_wager);
    ASSERT_EQ(poll.answers.size(), 2);
    EXPECT_FALSE(poll.answers[0].image);
    EXPECT_EQ(poll.answers[0].reward.value, u"10"_s);
    EXPECT_EQ(poll.answers[0].totals, 3);
    EXPECT_EQ(poll.answers[1].reward.value, u"2.5"_s);
    EXPECT_FALSE(poll.answers[1].answerSending);
    EXPECT_FALSE(poll.answers[1].totals);
    ASSERT_EQ(poll.prizes.size(), 1);
    EXPECT_EQ(poll.prizes[0].viewType.value, u"flip"_s);
    EXPECT_FALSE(poll.prizes[0].sponsor);
    EXPECT_EQ(poll.getAutoCloseTime(), 15);

    ASSERT_TRUE(info.injections && info.injections->size() == 1);
    const Injection &injection = info.injections->front();
    EXPECT_EQ(injection.getTimestamp(), 1763900000);
    EXPECT_EQ(injection.timeToStay.value, u"45"_s);
    EXPECT_FALSE(injection.active);
    EXPECT_FALSE(injection.close_post_interaction);
    EXPECT_EQ(injection.once_per_user, true);

    ASSERT_EQ(info.clocks.size(), 1);
    EXPECT_EQ(info.clocks[0].id.value, u"17"_s);
    EXPECT_EQ(info.clocks[0].time, 95);
    EXPECT_FALSE(info.clocks[0].smartTV);
}

TEST(Documents, viewerKeepsTheBackendsSpellingsAndKeys)
{
    const auto user = TestSupport::decodeOrFail<User>(loadFixture(u"user.json"));
    EXPECT_EQ(user.expirience_points, 220.0);
    EXPECT_EQ(user.amount_of_credits_won, 1340.5);
    ASSERT_TRUE(user.polls);
    EXPECT_EQ(user.polls->value(u"64f1c0a9e1_mvp"_s), u"Levi"_s);
    ASSERT_TRUE(user.predictionsResults);
    EXPECT_EQ(user.predictionsResults->value(u"pr-5_____ch-2041"_s).wager, 50);

    // The correctly spelled key is not the backend's key.
    const auto corrected = TestSupport::decodeOrFail<User>(
        R"({"name":"D","email":"e","token":"t","status":1,"level":1,"experience_points":5})");
    EXPECT_FALSE(corrected.expirience_points);
}

TEST(Documents, aBrokenMemberIsReportedWithItsPath)
{
    const struct
    {
        const char *kind;
        const char *fixture;
        const char *from;
        const char *to;
        const char *expected;
    } rows[] = {
        {"StreamerInfo", "channel_full.json", R"("viewType": "display",
          "clientType": "web",
          "secondsDelay": 0)",
         R"("viewType": "display", "clientType": "web")",
         "polls[0].prizes[1].secondsDelay: missing"},
        {"StreamerInfo", "channel_full.json", R"("optionsNumber": "5")", R"("optionsNumber": 5)",
         "ratings[0].optionsNumber: expected string, got number"},
        {"StreamerInfo", "channel_full.json", R"("reward": "80", "isRewardSent": false)",
         R"("reward": "80", "isRewardSent": "no")",
         "predictions[0].answers[1].isRewardSent: expected boolean, got string"},
        {"StreamerInfo", "channel_full.json", R"("textColor": "#FFFFFFFF")", R"("textColor": 7)",
         "designs[0].textColor: expected string, got number"},
        {"StreamerInfo", "channel_full.json", R"("sponsor": {"name": "Pizza Co")",
         R"("sponsor": {"name": ["Pizza Co"])",
         "polls[0].prizes[0].sponsor.name: expected string, got array"},
        {"User", "user.json", R"("answer": "Home", "status": "pending")", R"("answer": "Home")",
         "predictionsResults.pr-5_____ch-2041.status: missing"},
        {"Trivia", "trivia.json", R"("isCorrect": false)", R"("isCorrect": null)",
         "answer.isCorrect: expected boolean, got null"},
        {"AnswerTriviaResponse", "answer_trivia.json", R"("level": "4", "name": "Gold")",
         R"("name": "Gold")", "answer.userLevel.level: missing"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.expected);
        QByteArray json = loadFixture(QString::fromUtf8(row.fixture));
        ASSERT_EQ(json.count(row.from), 1) << "the edit must hit exactly one place";
        json.replace(row.from, row.to);
        const auto result = Json::findDocumentKind(QString::fromUtf8(row.kind))->reencode(json);
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error().message(), QString::fromUtf8(row.expected));
    }
}
