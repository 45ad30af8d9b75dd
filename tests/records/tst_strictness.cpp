// Strict decoding, one table per record family: which documents decode, and for the ones that do
// not, the exact message with the JSON path.

#include "codectest.h"

#include <gtest/gtest.h>

using namespace Vantora;
using Vantora::TestSupport::outcome;

namespace {

struct Row
{
    const char *name;
    QString (*decode)(QByteArrayView);
    const char *json;
    const char *expected; ///< "ok" or the error message
};

void check(std::initializer_list<Row> rows)
{
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.decode(row.json), QString::fromUtf8(row.expected)) << row.json;
    }
}

// Minimal valid members, spliced into the rows below.
#define CLOCK_BASE R"("module":"polls","time":5,"timeToStay":"30","isPause":false)"
#define INJECTION_BASE                                                                             \
    R"("module":"polls","injection_timestamp":1600000000,"timeToStay":"30","active":true,"isPause":false)"
#define PROMOTION_BASE R"("name":"n","content":"c","url":"u","type":"image","viewType":"flip")"
#define POLL_BASE                                                                                  \
    R"("name":"n","id":"p1","question":"Q?","questionType":"poll","type":"single",)"               \
    R"("image":"i.png","time_limit":20,"viewType":"bars","status":"open","prizes":[],)"            \
    R"("expoints":"10")"
#define RATING_BASE R"("name":"Rate it","id":"r1","icon":"star.png","prizes":[])"
#define USER_BASE R"("name":"Dana","token":"t","level":2)"
#define CHANNEL_BASE R"("name":"Ch","broadcaster_id":"b","id":"c1")"

} // namespace

TEST(Strictness, scheduleRecordsAreDeliberatelyAsymmetric)
{
    check({
        {"clock id as a number", outcome<Clock>,
         R"({"id":17,"close_post_interaction":true,)" CLOCK_BASE "}", "ok"},
        {"clock without close_post_interaction", outcome<Clock>, R"({"id":"17",)" CLOCK_BASE "}",
         "close_post_interaction: missing"},
        {"injection id as a number", outcome<Injection>, R"({"id":17,)" INJECTION_BASE "}",
         "id: expected string, got number"},
        {"injection without close_post_interaction", outcome<Injection>,
         R"({"id":"17",)" INJECTION_BASE "}", "ok"},
        {"injection timestamp as text", outcome<Injection>,
         R"({"id":"1","module":"polls","injection_timestamp":"1600000000","timeToStay":30,"active":true,"isPause":false})",
         "ok"},
        {"injection without active", outcome<Injection>,
         R"({"id":"1","module":"polls","injection_timestamp":1,"timeToStay":30,"isPause":false})",
         "active: missing"},
        {"clock time as a string", outcome<Clock>,
         R"({"id":1,"close_post_interaction":true,"module":"polls","time":"5","timeToStay":"30","isPause":false})",
         "time: expected integer, got string"},
        {"clock flag as a number", outcome<Clock>,
         R"({"id":1,"close_post_interaction":1,)" CLOCK_BASE "}",
         "close_post_interaction: expected boolean, got number"},
        {"optional flag null", outcome<Clock>,
         R"({"id":1,"close_post_interaction":true,"smartTV":null,)" CLOCK_BASE "}", "ok"},
        {"optional flag of the wrong type", outcome<Clock>,
         R"({"id":1,"close_post_interaction":true,"smartTV":"yes",)" CLOCK_BASE "}",
         "smartTV: expected boolean, got string"},
        {"required text null", outcome<Clock>,
         R"({"id":1,"close_post_interaction":true,"module":null,"time":5,"timeToStay":"30","isPause":false})",
         "module: expected string, got null"},
    });
}

TEST(Strictness, integersAreWholeNumbersInTheSigned64BitRange)
{
    const std::string fourHundredDigits = '1' + std::string(399, '0');
    const auto clockAt = [](const char *time) {
        return QByteArray(
                   R"({"id":1,"close_post_interaction":true,"module":"m","timeToStay":"1","isPause":false,"time":)")
            + time + '}';
    };
    const struct
    {
        const char *time;
        const char *expected;
    } rows[] = {
        {"42", "ok"},
        {"42.0", "ok"},
        {"4.2e1", "ok"},
        {"-0.0", "ok"},
        {"9223372036854775807", "ok"},
        {"-9223372036854775808", "ok"},
        {"9223372036854775808", "time: integer out of 64-bit range"},
        {"1e300", "time: integer out of 64-bit range"},
        {"9.223372036854775808e18", "time: integer out of 64-bit range"}, // exactly 2^63
        {"-9.223372036854775808e18", "ok"},
        {"9.3e18", "time: integer out of 64-bit range"},
        {"100000000000000000000", "time: integer out of 64-bit range"}, // JSON has no limit
        {"-100000000000000000000", "time: integer out of 64-bit range"},
        {fourHundredDigits.c_str(), "time: expected integer, got null"}, // beyond every float
        {"42.5", "time: expected integer, got fraction"},
        {"true", "time: expected integer, got boolean"},
        {"\"42\"", "time: expected integer, got string"},
        {"[42]", "time: expected integer, got array"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.time);
        EXPECT_EQ(outcome<Clock>(clockAt(row.time)), QString::fromUtf8(row.expected));
    }
    EXPECT_EQ(TestSupport::decodeOrFail<Clock>(clockAt("4.2e1")).time, 42);
    EXPECT_EQ(TestSupport::decodeOrFail<Clock>(clockAt("-9223372036854775808")).time,
              std::numeric_limits<qint64>::min());
}

TEST(Strictness, channelDocumentFailsWholeOnOneBadElement)
{
    check({
        {"minimal document", outcome<StreamerInfo>, "{" CHANNEL_BASE R"(,"offers":[],"clocks":[]})",
         "ok"},
        {"without clocks", outcome<StreamerInfo>, "{" CHANNEL_BASE R"(,"offers":[]})",
         "clocks: missing"},
        {"without offers", outcome<StreamerInfo>, "{" CHANNEL_BASE R"(,"clocks":[]})",
         "offers: missing"},
        {"offer without a name", outcome<StreamerInfo>,
         "{" CHANNEL_BASE R"(,"offers":[{"name":"a"},{}],"clocks":[]})", "offers[1].name: missing"},
        {"promotion without secondsDelay", outcome<StreamerInfo>,
         "{" CHANNEL_BASE
         R"(,"offers":[],"clocks":[],"polls":[{"hideButtons":0,"answers":[],)" POLL_BASE
         R"(},{"prizes":[{)" PROMOTION_BASE R"(}],"hideButtons":0,"answers":[],)" POLL_BASE
         R"(}]})",
         "polls[1].prizes[0].secondsDelay: missing"},
        {"trivia promotion without secondsDelay", outcome<StreamerInfo>,
         "{" CHANNEL_BASE
         R"(,"offers":[],"clocks":[],"trivias":[{"id":"t","prizes":[{)" PROMOTION_BASE R"(}]}]})",
         "trivias[0].prizes[0].secondsDelay: missing"},
        {"injection id as a number", outcome<StreamerInfo>,
         "{" CHANNEL_BASE R"(,"offers":[],"clocks":[],"injections":[{"id":7,)" INJECTION_BASE
         R"(}]})",
         "injections[0].id: expected string, got number"},
        {"rating steps as a number", outcome<StreamerInfo>,
         "{" CHANNEL_BASE R"(,"offers":[],"clocks":[],"ratings":[{"optionsNumber":5,)" RATING_BASE
         R"(}]})",
         "ratings[0].optionsNumber: expected string, got number"},
        {"clocks not an array", outcome<StreamerInfo>,
         "{" CHANNEL_BASE R"(,"offers":[],"clocks":{}})", "clocks: expected array, got object"},
        {"design entry of nulls", outcome<StreamerInfo>,
         "{" CHANNEL_BASE R"(,"offers":[],"clocks":[],"designs":[{"type":null,"textColor":null}]})",
         "ok"},
        {"document is an array", outcome<StreamerInfo>, "[]", "expected object, got array"},
    });
}

TEST(Strictness, interactionRecords)
{
    check({
        {"poll", outcome<Poll>, "{" POLL_BASE R"(,"hideButtons":0,"answers":[]})", "ok"},
        {"poll hideButtons as a boolean", outcome<Poll>,
         "{" POLL_BASE R"(,"answers":[],"hideButtons":true})",
         "hideButtons: expected integer, got boolean"},
        {"poll without prizes", outcome<Poll>,
         R"({"name":"n","id":"p","question":"q","questionType":"poll","type":"t","hideButtons":0,"image":"i","time_limit":1,"viewType":"v","status":"s","answers":[],"expoints":1})",
         "prizes: missing"},
        {"poll answer reward of any scalar", outcome<Poll>,
         "{" POLL_BASE
         R"(,"hideButtons":0,"answers":[{"answer":"A","reward":5,"isRewardSent":false},{"answer":"B","reward":null,"isRewardSent":false}]})",
         "ok"},
        {"poll answer totals as text", outcome<Poll>,
         "{" POLL_BASE
         R"(,"hideButtons":0,"answers":[{"answer":"A","reward":"5","isRewardSent":false,"totals":"3"}]})",
         "answers[0].totals: expected integer, got string"},
        {"rating", outcome<Rating>, "{" RATING_BASE R"(,"optionsNumber":"5"})", "ok"},
        {"rating average as text", outcome<Rating>,
         "{" RATING_BASE R"(,"optionsNumber":"5","averageRate":"3.5"})",
         "averageRate: expected number, got string"},
        {"trivia without an answer", outcome<Trivia>,
         R"({"question":{"id":"q","question":"Q?","answers":[{"answer":"A"}],"category":"c"}})",
         "ok"},
        {"trivia answer without the correct answer", outcome<Trivia>,
         R"({"question":{"id":"q","question":"Q?","answers":[],"category":"c"},"answer":{"userId":"u","questionId":"q","answer":"A","isCorrect":true}})",
         "answer.correctAnswer: missing"},
        {"trivia question without a category", outcome<Trivia>,
         R"({"question":{"id":"q","question":"Q?","answers":[]}})", "question.category: missing"},
    });
}

TEST(Strictness, viewerRecords)
{
    check({
        {"user", outcome<User>, "{" USER_BASE R"(,"email":"d@x","status":1})", "ok"},
        {"user without email", outcome<User>, "{" USER_BASE R"(,"status":1})", "email: missing"},
        {"user without status", outcome<User>, "{" USER_BASE R"(,"email":"d@x"})",
         "status: missing"},
        {"user level as text", outcome<User>,
         R"({"name":"D","email":"e","token":"t","status":1,"level":"3"})",
         "level: expected integer, got string"},
        {"user poll answers as numbers", outcome<User>,
         "{" USER_BASE R"(,"email":"e","status":1,"polls":{"p1_a":"Yes","p2_b":2}})",
         "polls.p2_b: expected string, got number"},
        {"user prediction with a fractional wager", outcome<User>,
         "{" USER_BASE
         R"(,"email":"e","status":1,"predictionsResults":{"p":{"wager":2.5,"answer":"A","status":"won"}}})",
         "predictionsResults.p.wager: expected integer, got fraction"},
        {"user level record with a numeric level", outcome<UserLevel>, R"({"level":3})", "ok"},
        {"user level gift points as a number", outcome<UserLevel>,
         R"({"level":"3","gift_points":5})", "gift_points: expected string, got number"},
        {"channel list", outcome<QList<Channel>>,
         R"([{"channel":"c1","additionalPageSettings":"{}","urlB64":"aHR0cA=="}])", "ok"},
        {"channel list with an incomplete entry", outcome<QList<Channel>>,
         R"([{"channel":"c1","additionalPageSettings":"","urlB64":""},{"channel":"c2","additionalPageSettings":""}])",
         "[1].urlB64: missing"},
    });
}

TEST(Strictness, repliesKeepTheirDifferences)
{
#define LEVEL R"("userLevel":{"level":2,"name":"Silver"})"
    check({
        {"poll reply", outcome<AnswerPollResponse>,
         R"({"answer":{"userId":"u","questionId":"p","answer":"A","channelId":"c","isAnswered":true,"expoints_given":10,)" LEVEL
         "}}",
         "ok"},
        {"poll reply without isAnswered", outcome<AnswerPollResponse>,
         R"({"answer":{"userId":"u","questionId":"p","answer":"A","channelId":"c","expoints_given":10}})",
         "answer.isAnswered: missing"},
        {"rating reply without isAnswered", outcome<AnswerRatingResponse>,
         R"({"answer":{"userId":"u","ratingId":"r","answer":4,"channelId":"c","expoints_given":1.5}})",
         "answer.isAnswered: missing"},
        {"rating reply with a text answer", outcome<AnswerRatingResponse>,
         R"({"answer":{"userId":"u","ratingId":"r","answer":"4","channelId":"c","isAnswered":true,"expoints_given":1}})",
         "answer.answer: expected integer, got string"},
        {"rating reply with questionId instead of ratingId", outcome<AnswerRatingResponse>,
         R"({"answer":{"userId":"u","questionId":"r","answer":4,"channelId":"c","isAnswered":true,"expoints_given":1}})",
         "answer.ratingId: missing"},
        {"trivia reply without isAnswered", outcome<AnswerTriviaResponse>,
         R"({"answer":{"userId":"u","questionId":"q","answer":"A","correctAnswer":{"answer":"A"},"isCorrect":true,"expoints_given":5,"points":10}})",
         "ok"},
        {"trivia reply without expoints_given", outcome<AnswerTriviaResponse>,
         R"({"answer":{"userId":"u","questionId":"q","answer":"A","correctAnswer":{"answer":"A"},"isCorrect":true,"points":10}})",
         "answer.expoints_given: missing"},
        {"poll reply without expoints_given", outcome<AnswerPollResponse>,
         R"({"answer":{"userId":"u","questionId":"p","answer":"A","channelId":"c","isAnswered":true}})",
         "answer.expoints_given: missing"},
        {"rating reply without expoints_given", outcome<AnswerRatingResponse>,
         R"({"answer":{"userId":"u","ratingId":"r","answer":4,"channelId":"c","isAnswered":true}})",
         "answer.expoints_given: missing"},
        {"reply data not an object", outcome<AnswerPollResponse>, R"({"answer":"A"})",
         "answer: expected object, got string"},
        {"analytics reply", outcome<AnalyticsResponse>, R"({"status":"ok"})", "ok"},
        {"analytics event timestamp as text", outcome<AnalyticsEvent>,
         R"({"country":"US","language":"en","deviceType":"SmartTV","device":"AppleTV","browser":"","timestamp":"1700000000000","module":"Polls","streamer":"c","isEngaged":false})",
         "timestamp: expected integer, got string"},
    });
#undef LEVEL
}

TEST(Strictness, documentLevelFailures)
{
    const struct
    {
        const char *name;
        QByteArray json;
        const char *messageStart;
    } rows[] = {
        {"empty input", "", "invalid JSON ("},
        {"no bytes at all", QByteArray(), "invalid JSON ("},
        {"truncated", R"({"status":"o)", "invalid JSON ("},
        {"trailing garbage", R"({"status":"ok"} x)", "invalid JSON ("},
        {"invalid UTF-8", "{\"status\":\"\xff\"}", "invalid JSON ("},
        // An integer beyond 64 bits is read again; what is wrong beside it still is.
        {"big integer, then no comma", R"({"status":"ok","n":100000000000000000000 "m":1})",
         "invalid JSON ("},
        {"big integer, then garbage", R"({"status":"ok","n":100000000000000000000} x)",
         "invalid JSON ("},
        {"big integer with a leading zero", R"({"status":"ok","n":0100000000000000000000})",
         "invalid JSON ("},
        {"big integer with a plus sign", R"({"status":"ok","n":+100000000000000000000})",
         "invalid JSON ("},
        {"big integer beside 1e400", R"({"status":"ok","n":100000000000000000000,"m":1e400})",
         "invalid JSON ("},
        {"a sign alone beside a big integer", R"({"status":"ok","n":100000000000000000000,"m":-})",
         "invalid JSON ("},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_TRUE(
            outcome<AnalyticsResponse>(row.json).startsWith(QLatin1StringView(row.messageStart)))
            << qPrintable(outcome<AnalyticsResponse>(row.json));
    }
}

TEST(Strictness, anIntegerBeyond64BitsIsTheNearestFloat)
{
    const QByteArray huge = '1' + QByteArray(399, '0');
    for (const QByteArray &number :
         {QByteArray("100000000000000000000"), QByteArray("-100000000000000000000"), huge}) {
        SCOPED_TRACE(number.left(24).constData());
        EXPECT_EQ(outcome<AnalyticsResponse>(R"({"status":"ok","n":)" + number + "}"), u"ok")
            << "a key nobody reads";
    }
    const auto points = [](const QByteArray &number) {
        return outcome<AnswerPollResponse>(
                   R"({"answer":{"userId":"u","questionId":"q","answer":"a","channelId":"c",)"
                   R"("isAnswered":true,"expoints_given":)"
                   + number + "}}")
            .toStdString();
    };
    EXPECT_EQ(points("100000000000000000000"), "ok");
    EXPECT_EQ(points(huge), "answer.expoints_given: expected number, got null");
    const QByteArray reply = R"({"answer":{"userId":"u","questionId":"q","answer":"a",)"
                             R"("channelId":"c","isAnswered":true,"expoints_given":)"
                             "-100000000000000000000}}";
    EXPECT_EQ(TestSupport::decodeOrFail<AnswerPollResponse>(reply).answer.expoints_given, -1e20);
}

TEST(Strictness, unknownKeysAreIgnoredAndTheFirstOfARepeatedKeyCounts)
{
    const auto offer =
        TestSupport::decodeOrFail<Offer>(R"({"extra":{"deep":[1,2]},"name":"first","name":5})");
    EXPECT_EQ(offer.name, QStringLiteral("first"));

    const auto user = TestSupport::decodeOrFail<User>(
        "{" USER_BASE R"(,"email":"e","status":1,"polls":{"p_1":"A","p_1":"B"}})");
    ASSERT_TRUE(user.polls);
    EXPECT_EQ(user.polls->value(QStringLiteral("p_1")), QStringLiteral("A"));

    EXPECT_EQ(outcome<Offer>(R"({"name":5,"name":"second"})"),
              QStringLiteral("name: expected string, got number"));
}
