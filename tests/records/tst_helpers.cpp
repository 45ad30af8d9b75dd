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

// As the table tests/data/records_cases.txt lists them.
TEST(Helpers, theFirstSmartTvPromotionDecidesForPollsRatingsAndTrivia)
{
    for (const QStringList &row : TestSupport::caseTable(u"records_cases.txt", u"promotions")) {
        SCOPED_TRACE(row[0].toStdString());
        QList<Promotion> prizes;
        for (const QString &prize : row[1].split(u", "_s, Qt::SkipEmptyParts)) {
            const QStringList cells = prize.split(u' ');
            prizes.append(promotion(cells[0],
                                    cells[1] == u"-" ? std::nullopt : std::optional(cells[1]),
                                    cells[2], cells[3].toLongLong()));
        }
        const auto expect = [&](const auto &item) {
            const std::optional<Promotion> chosen = item.getPromotion();
            EXPECT_EQ(chosen ? chosen->name : u"-"_s, row[2]);
            EXPECT_EQ(item.showPromotionAtStart(), row[3] == u"yes");
            EXPECT_EQ(item.getAutoCloseTime(), row[4].toLongLong());
        };
        Poll poll;
        Rating rating;
        TriviaQuestion question;
        poll.prizes = rating.prizes = prizes;
        question.prizes = prizes;
        expect(poll);
        expect(rating);
        expect(question);
        if (prizes.isEmpty())
            expect(TriviaQuestion{}); // a question without prizes has none
    }
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
