// What the SDK writes into request bodies: exactly the members given, each with its JSON type.

#include "codectest.h"

#include <QJsonObject>

#include <gtest/gtest.h>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

namespace {

AnalyticsEvent viewEvent()
{
    AnalyticsEvent event;
    event.country = u"IL"_s;
    event.language = u"en"_s;
    event.deviceType = u"SmartTV"_s;
    event.device = u"AppleTV"_s;
    event.timestamp = 1700000000123;
    event.module = u"Polls"_s;
    event.streamer = u"c1"_s;
    event.eventType = u"view"_s;
    event.source = u"clock"_s;
    event.source_id = u"p1"_s;
    event.injection_timestamp = 9007199254740993; // not representable as a double: stays exact
    return event;
}

} // namespace

TEST(Bodies, requestBodiesEncodeExactlyTheirMembers)
{
    const struct
    {
        const char *name;
        QByteArray encoded;
        const char *expected;
    } rows[] = {
        {"channel information", Json::encode(GetInfoRequestBody{{u"acme"_s, u"c1"_s}}),
         R"({"data":{"broadcasterName":"acme","channelId":"c1"}})"},
        {"registration without the host's ids",
         Json::encode(RegisterRequestBody{{u"acme"_s, u"c1"_s, std::nullopt, std::nullopt}}),
         R"({"data":{"broadcasterName":"acme","channelId":"c1"}})"},
        {"registration with the host's ids",
         Json::encode(RegisterRequestBody{{u"acme"_s, u"c1"_s, u"viewer-9"_s, u"Dana"_s}}),
         R"({"data":{"broadcasterName":"acme","channelId":"c1","userBroadcasterForeignID":"viewer-9","userInitialName":"Dana"}})"},
        {"login", Json::encode(LoginRequestBody{{u"tok"_s, u"acme"_s, u"c1"_s}}),
         R"({"data":{"userToken":"tok","broadcasterName":"acme","channelId":"c1"}})"},
        {"trivia fetch, the same members as login",
         Json::encode(GetTriviaRequestBody{{u"tok"_s, u"acme"_s, u"c1"_s}}),
         R"({"data":{"userToken":"tok","broadcasterName":"acme","channelId":"c1"}})"},
        {"poll answer as text",
         Json::encode(AnswerPollRequestBody{{u"acme"_s, u"c1"_s, u"tok"_s, u"4"_s}}),
         R"({"data":{"broadcasterName":"acme","channelId":"c1","userToken":"tok","answer":"4"}})"},
        {"rating answer as a number",
         Json::encode(AnswerRatingRequestBody{{u"acme"_s, u"c1"_s, u"tok"_s, 4}}),
         R"({"data":{"broadcasterName":"acme","channelId":"c1","userToken":"tok","answer":4}})"},
        {"trivia answer without a match",
         Json::encode(
             AnswerTriviaRequestBody{{u"acme"_s, u"c1"_s, u"tok"_s, std::nullopt, u"Paris"_s}}),
         R"({"data":{"broadcasterName":"acme","channelId":"c1","userToken":"tok","answer":"Paris"}})"},
        {"analytics", Json::encode(AnalyticsRequestBody{{{viewEvent()}, u"acme"_s, u"tok"_s}}),
         R"({"data":{"events":[{"country":"IL","language":"en","deviceType":"SmartTV","device":"AppleTV",)"
         R"("browser":"","timestamp":1700000000123,"module":"Polls","streamer":"c1","isEngaged":false,)"
         R"("eventType":"view","source":"clock","source_id":"p1","injection_timestamp":9007199254740993}],)"
         R"("broadcasterName":"acme","userToken":"tok"}})"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(TestSupport::parsed(row.encoded), TestSupport::parsed(row.expected))
            << row.encoded.constData();
    }
}

TEST(Bodies, textSurvivesEncodingAndStrictDecodingUnchanged)
{
    const QString awkward = u"\u05E9\u05DC\u05D5\u05DD \"quoted\" back\\slash / tab\t \U0001F3C6"_s;
    const AnswerPollRequestBody body{{awkward, u"c1"_s, u"tok"_s, awkward}};
    const auto decoded = TestSupport::decodeOrFail<AnswerPollRequestBody>(Json::encode(body));
    EXPECT_EQ(decoded.data.broadcasterName, awkward);
    EXPECT_EQ(decoded.data.answer, awkward);
}
