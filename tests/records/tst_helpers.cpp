// What the records compute for the cards: the TV promotion of an item and when its card closes,
// the steps of a rating, the moment of an injection.

#include "codectest.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 largest = std::numeric_limits<qint64>::max();

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

} // namespace

TEST(Helpers, theFirstSmartTvPromotionDecidesForPollsRatingsAndTrivia)
{
    const struct
    {
        const char *name;
        QList<Promotion> prizes;
        QString chosen; ///< the promotion's name, empty for none
        bool atStart;
        qint64 autoClose;
    } rows[] = {
        {"no promotions", {}, {}, false, 5},
        {"flip", {promotion(u"f"_s, u"smartTV"_s, u"flip"_s, 10)}, u"f"_s, false, 15},
        {"display", {promotion(u"d"_s, u"smartTV"_s, u"display"_s, 10)}, u"d"_s, true, 5},
        {"capitalised client type", {promotion(u"c"_s, u"SmartTV"_s, u"display"_s)}, {}, false, 5},
        {"no client type", {promotion(u"n"_s, std::nullopt, u"flip"_s, 3)}, {}, false, 5},
        {"web promotion before the TV one",
         {promotion(u"web"_s, u"web"_s, u"display"_s),
          promotion(u"tv"_s, u"smartTV"_s, u"flip"_s, 3)},
         u"tv"_s,
         false,
         8},
        {"a second TV promotion never counts",
         {promotion(u"first"_s, u"smartTV"_s, u"banner"_s, 9),
          promotion(u"second"_s, u"smartTV"_s, u"display"_s)},
         u"first"_s,
         false,
         5},
        {"negative delay", {promotion(u"f"_s, u"smartTV"_s, u"flip"_s, -10)}, u"f"_s, false, -5},
        {"largest delay that fits",
         {promotion(u"f"_s, u"smartTV"_s, u"flip"_s, largest - 5)},
         u"f"_s,
         false,
         largest},
    };
    const auto expect = [](const auto &item, const auto &row) {
        const std::optional<Promotion> chosen = item.getPromotion();
        EXPECT_EQ(chosen ? chosen->name : QString(), row.chosen);
        EXPECT_EQ(item.showPromotionAtStart(), row.atStart);
        EXPECT_EQ(item.getAutoCloseTime(), row.autoClose);
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        Poll poll;
        Rating rating;
        TriviaQuestion question;
        poll.prizes = rating.prizes = row.prizes;
        question.prizes = row.prizes;
        expect(poll, row);
        expect(rating, row);
        expect(question, row);
    }
    expect(TriviaQuestion{}, rows[0]); // a question without prizes has none
}

TEST(HelpersDeathTest, anAutoCloseTimeBeyond64BitsIsFatal)
{
    Poll poll;
    poll.prizes = {promotion(u"f"_s, u"smartTV"_s, u"flip"_s, largest - 4)};
    EXPECT_DEATH(poll.getAutoCloseTime(), "Arithmetic overflow: promotion secondsDelay \\+ 5");
}

// As the table tests/data/records_cases.txt lists them.
TEST(Helpers, integersReadFromTextTakeTheWholeTextOrTheirDefault)
{
    for (const QStringList &row : TestSupport::caseTable(u"records_cases.txt", u"rating steps")) {
        SCOPED_TRACE(row[0].toStdString());
        Rating rating;
        rating.optionsNumber = TestSupport::unquoted(row[0]);
        EXPECT_EQ(rating.max(), row[1].toLongLong());
    }
    for (const QStringList &row :
         TestSupport::caseTable(u"records_cases.txt", u"injection moments")) {
        SCOPED_TRACE(row[0].toStdString());
        const auto injection = TestSupport::decodeOrFail<Injection>(
            R"({"id":"1","module":"polls","timeToStay":"30","active":true,"isPause":false,)"
            R"("injection_timestamp":)"
            + row[0].toUtf8() + '}');
        EXPECT_EQ(injection.getTimestamp(), row[1].toLongLong());
    }
}
