// How numbers and colours are read from the backend's texts and numbers written for the backend and
// the viewer, as the table tests/data/toolkit_cases.txt lists them; and the cards' own font.

#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/fonts_p.h"
#include "vantora/toolkit/numbertext_p.h"

#include "testsupport.h"

#include <QFontInfo>

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

TEST(Colors, hexTextsAreRrggbbaaOrRrggbb)
{
    for (const QStringList &row : caseTable(u"toolkit_cases.txt", u"colorFromHex")) {
        const std::optional<QColor> color = colorFromHex(unquoted(row[0]));
        EXPECT_EQ(color ? color->name(QColor::HexArgb) : u"none"_s, row[1]) << row[0].toStdString();
    }
}

TEST(Fonts, theBundledFontIsRegisteredOnce)
{
    EXPECT_EQ(registerFontsIfNeeded(), 3);
    EXPECT_EQ(registerFontsIfNeeded(), 0);
    QFont bold(QString::fromLatin1(cardFontFamily), 32, QFont::Bold);
    EXPECT_EQ(QFontInfo(bold).family(), QLatin1StringView(cardFontFamily));
}
