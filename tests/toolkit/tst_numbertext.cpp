// How numbers are read from texts and written for the backend and the viewer, as the table
// tests/data/toolkit_cases.txt lists them.

#include "vantora/toolkit/numbertext_p.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace Vantora;
using namespace Vantora::TestSupport;
using namespace Qt::Literals::StringLiterals;

namespace {

// A value cell as C reads it: hexadecimal fractions, inf and nan included.
double value(const QString &cell)
{
    return std::strtod(cell.toUtf8().constData(), nullptr);
}

} // namespace

TEST(NumberText, parseIntegerReadsTheWholeTextOrNothing)
{
    for (const QStringList &row : caseTable(u"toolkit_cases.txt", u"parseInteger")) {
        SCOPED_TRACE(row[0].toStdString());
        const std::optional<qint64> read = parseInteger(unquoted(row[0]));
        EXPECT_EQ(read ? QString::number(*read) : u"none"_s, row[1]);
    }
}

TEST(NumberText, shortestTextRoundTripsInTheBackendsNotation)
{
    for (const QStringList &row : caseTable(u"toolkit_cases.txt", u"shortestText"))
        EXPECT_EQ(shortestText(value(row[0])), row[1]) << row[0].toStdString();
}

TEST(NumberText, formatDecimalRoundsTheShortestDecimalHalfToEven)
{
    for (const QStringList &row : caseTable(u"toolkit_cases.txt", u"formatDecimal"))
        EXPECT_EQ(formatDecimal(value(row[0]), row[1].toInt(), row[2].toInt()), row[3])
            << row.join(u" | "_s).toStdString();
    for (const QStringList &row : caseTable(u"toolkit_cases.txt", u"formatOneDecimal"))
        EXPECT_EQ(formatOneDecimal(value(row[0])), row[1]) << row[0].toStdString();
}
