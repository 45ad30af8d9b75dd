// The one tolerant value: whatever scalar the backend sends, kept as text.

#include "codectest.h"

#include <QJsonArray>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace Vantora;
using Vantora::TestSupport::decodeOrFail;

TEST(Lenient, everyScalarBecomesText)
{
    const struct
    {
        const char *json;
        const char *expected;
    } rows[] = {
        {"42", "42"},
        {"\"42\"", "42"},
        {"42.0", "42"},
        {"4.2e1", "42"},
        {"-7", "-7"},
        {"-0.0", "0"},
        {"[\"42\",\"7\"]", "42"},
        {"2.5", "2.5"},
        {"1.5", "1.5"},
        {"0.0001", "0.0001"},
        {"0.00001", "1e-05"},
        {"123456789012.5", "123456789012.5"},
        {"1e20", "1e+20"},
        {"9223372036854775807", "9223372036854775807"},
        {"9223372036854775808", "9.223372036854776e+18"},
        {"100000000000000000000", "1e+20"}, // beyond 64 bits: the nearest float
        {"-100000000000000000000", "-1e+20"},
        {"18446744073709551616", "1.8446744073709552e+19"}, // one past the unsigned range
        {"true", "true"},
        {"false", "false"},
        {"\"\"", ""},
        {"\"  spaced \"", "  spaced "},
        {"[]", ""},
        {"{}", ""},
        {"{\"value\":\"42\"}", ""},
        {"[1,\"a\"]", ""},
        {"[\"a\",1]", ""},
        {"[[\"a\"]]", ""},
        {"null", ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.json);
        EXPECT_EQ(decodeOrFail<RelaxedString>(row.json).value, QString::fromUtf8(row.expected));
    }
    EXPECT_EQ(decodeOrFail<RelaxedString>('1' + QByteArray(399, '0')).value, QString())
        << "beyond every float: no value, as null";
}

TEST(Lenient, optionalMembersAreAbsentWhenMissingOrNullOnly)
{
    const auto level = [](const char *expoints) {
        return decodeOrFail<UserLevel>(QByteArray(R"({"level":1)") + expoints + '}').expoints;
    };
    EXPECT_FALSE(level(""));
    EXPECT_FALSE(level(R"(,"expoints":null)"));
    ASSERT_TRUE(level(R"(,"expoints":{})"));
    EXPECT_EQ(level(R"(,"expoints":{})")->value, QString());
    EXPECT_EQ(level(R"(,"expoints":15)")->value, QStringLiteral("15"));

    // A required lenient member still has to be there.
    EXPECT_EQ(TestSupport::outcome<UserLevel>("{}"), QStringLiteral("level: missing"));
    EXPECT_EQ(decodeOrFail<UserLevel>(R"({"level":null})").level.value, QString());
}

TEST(Lenient, encodesAsAStringWhateverItArrivedAs)
{
    const Clock clock = decodeOrFail<Clock>(
        R"({"id":17,"module":"polls","time":5,"timeToStay":2.5,"isPause":false,"close_post_interaction":true})");
    const QJsonObject encoded = TestSupport::parsed(Json::encode(clock)).object();
    EXPECT_EQ(encoded.value(QStringLiteral("id")), QJsonValue(QStringLiteral("17")));
    EXPECT_EQ(encoded.value(QStringLiteral("timeToStay")), QJsonValue(QStringLiteral("2.5")));
    EXPECT_TRUE(encoded.value(QStringLiteral("time")).isDouble()); // strict Int stays a number
}
