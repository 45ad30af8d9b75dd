// The helpers that read records: the TV promotion of an item, the scale of a rating, the moment
// of an injection.

#include "codectest.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

namespace {

Promotion promotion(const QString &name, std::optional<QString> clientType, const QString &viewType,
                    qint64 secondsDelay = 0)
{
    Promotion p;
    p.name = name;
    p.clientType = std::move(clientType);
    p.viewType.value = viewType;
    p.secondsDelay = secondsDelay;
    return p;
}

struct Expected
{
    std::optional<QString> promotion;
    bool atStart;
    qint64 autoClose;
};

template <class Item>
void expectHelpers(const Item &item, const Expected &expected)
{
    const std::optional<Promotion> chosen = item.getPromotion();
    EXPECT_EQ(chosen ? std::optional(chosen->name) : std::nullopt, expected.promotion);
    EXPECT_EQ(item.showPromotionAtStart(), expected.atStart);
    EXPECT_EQ(item.getAutoCloseTime(), expected.autoClose);
}

} // namespace

TEST(Helpers, theFirstSmartTvPromotionDecidesForPollsRatingsAndTrivia)
{
    const struct
    {
        const char *name;
        QList<Promotion> prizes;
        Expected expected;
    } rows[] = {
        {"no promotions", {}, {std::nullopt, false, 5}},
        {"flip", {promotion(u"f"_s, u"smartTV"_s, u"flip"_s, 10)}, {u"f"_s, false, 15}},
        {"display", {promotion(u"d"_s, u"smartTV"_s, u"display"_s, 10)}, {u"d"_s, true, 5}},
        {"capitalised client type",
         {promotion(u"c"_s, u"SmartTV"_s, u"display"_s)},
         {std::nullopt, false, 5}},
        {"no client type",
         {promotion(u"n"_s, std::nullopt, u"flip"_s, 3)},
         {std::nullopt, false, 5}},
        {"web promotion before the TV one",
         {promotion(u"web"_s, u"web"_s, u"display"_s),
          promotion(u"tv"_s, u"smartTV"_s, u"flip"_s, 3)},
         {u"tv"_s, false, 8}},
        {"a second TV promotion never counts",
         {promotion(u"first"_s, u"smartTV"_s, u"banner"_s, 9),
          promotion(u"second"_s, u"smartTV"_s, u"display"_s)},
         {u"first"_s, false, 5}},
        {"negative delay", {promotion(u"f"_s, u"smartTV"_s, u"flip"_s, -10)}, {u"f"_s, false, -5}},
        {"largest delay that fits",
         {promotion(u"f"_s, u"smartTV"_s, u"flip"_s, std::numeric_limits<qint64>::max() - 5)},
         {u"f"_s, false, std::numeric_limits<qint64>::max()}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        Poll poll;
        poll.prizes = row.prizes;
        Rating rating;
        rating.prizes = row.prizes;
        TriviaQuestion question;
        question.prizes = row.prizes;
        expectHelpers(poll, row.expected);
        expectHelpers(rating, row.expected);
        expectHelpers(question, row.expected);
    }
    expectHelpers(TriviaQuestion{}, {std::nullopt, false, 5}); // absent prizes: none
}

TEST(HelpersDeathTest, autoCloseTimeOverflowIsFatal)
{
    Poll poll;
    poll.prizes = {
        promotion(u"f"_s, u"smartTV"_s, u"flip"_s, std::numeric_limits<qint64>::max() - 4)};
    EXPECT_DEATH(poll.getAutoCloseTime(), "Arithmetic overflow: promotion secondsDelay \\+ 5");
}

TEST(Helpers, ratingScaleIsCappedAtSixAndKeepsZeroAndNegatives)
{
    const struct
    {
        QString optionsNumber;
        qint64 expected;
    } rows[] = {
        {u"5"_s, 5},
        {u"6"_s, 6},
        {u"10"_s, 6},
        {u"0"_s, 0},
        {u"-3"_s, -3},
        {u""_s, 1},
        {u"abc"_s, 1},
        {u"+4"_s, 4},
        {u" 4"_s, 1},
        {u"4.0"_s, 1},
        {u"99999999999999999999"_s, 1},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.optionsNumber.toStdString());
        Rating rating;
        rating.optionsNumber = row.optionsNumber;
        EXPECT_EQ(rating.max(), row.expected);
    }
}

TEST(Helpers, injectionTimestampIsAWholeNumberOfSecondsOrZero)
{
    const struct
    {
        const char *timestamp;
        qint64 expected;
    } rows[] = {
        {"1600000000", 1600000000},
        {"1600000000.0", 1600000000},
        {"1.6e9", 1600000000},
        {"\"1600000000\"", 1600000000},
        {"\"+1600000000\"", 1600000000},
        {"-5", -5},
        {"1600000000.5", 0},
        {"\"\"", 0},
        {"\" 1600000000\"", 0},
        {"\"1600000000.0\"", 0},
        {"true", 0},
        {"null", 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.timestamp);
        const auto injection = TestSupport::decodeOrFail<Injection>(
            QByteArray(
                R"({"id":"1","module":"polls","timeToStay":"30","active":true,"isPause":false,"injection_timestamp":)")
            + row.timestamp + '}');
        EXPECT_EQ(injection.getTimestamp(), row.expected);
    }
}
