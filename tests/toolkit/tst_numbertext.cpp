#include "vantora/toolkit/numbertext_p.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

TEST(NumberText, parseIntegerReadsTheWholeTextOrNothing)
{
    constexpr auto max = std::numeric_limits<qint64>::max();
    constexpr auto min = std::numeric_limits<qint64>::min();
    const struct
    {
        QString text;
        std::optional<qint64> expected;
    } rows[] = {
        {u"42"_s, 42},
        {u"+5"_s, 5},
        {u"-0"_s, 0},
        {u"-17"_s, -17},
        {u"007"_s, 7},
        {u"9223372036854775807"_s, max},
        {u"-9223372036854775808"_s, min},
        {u"9223372036854775808"_s, std::nullopt},
        {u"99999999999999999999"_s, std::nullopt},
        {u""_s, std::nullopt},
        {u"-"_s, std::nullopt},
        {u"+-5"_s, std::nullopt},
        {u" 12"_s, std::nullopt},
        {u"1.5"_s, std::nullopt},
        {u"1e3"_s, std::nullopt},
        {u"0x10"_s, std::nullopt},
        {u"\uFF11\uFF12"_s, std::nullopt}, // full-width digits
        {u"\u0661"_s, std::nullopt}, // Arabic-Indic one
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text.toStdString());
        EXPECT_EQ(parseInteger(row.text), row.expected);
    }
}

TEST(NumberText, shortestTextRoundTripsInTheBackendsNotation)
{
    const struct
    {
        double value;
        const char *expected;
    } rows[] = {
        {2.5, "2.5"},
        {0.1, "0.1"},
        {-2.25, "-2.25"},
        {42.0, "42.0"},
        {0.0001, "0.0001"},
        {0.00001, "1e-05"},
        {123456789012.5, "123456789012.5"},
        {0x1p54, "18014398509481984.0"},
        {0x1p54 + 4, "1.8014398509481988e+16"},
        {1e20, "1e+20"},
        {0x1p63, "9.223372036854776e+18"},
        {0.0, "0.0"},
        {-0.0, "-0.0"},
        {std::numeric_limits<double>::infinity(), "inf"},
        {std::nan(""), "nan"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.expected);
        EXPECT_EQ(shortestText(row.value), QLatin1StringView(row.expected));
    }
}

TEST(NumberText, formatDecimalRoundsTheShortestDecimalHalfToEven)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const struct
    {
        double value;
        int minFraction;
        int maxFraction;
        const char16_t *expected;
    } rows[] = {
        {0.15, 0, 1, u"0.2"}, // 0.1499999… in binary; the shortest decimal is what is rounded
        {0.05, 0, 1, u"0"},
        {0.25, 0, 1, u"0.2"},
        {2.25, 0, 1, u"2.2"},
        {1234.55, 0, 1, u"1,234.6"},
        {1234.5, 0, 1, u"1,234.5"},
        {0.95, 0, 1, u"1"},
        {9.96, 0, 1, u"10"},
        {999999.96, 0, 1, u"1,000,000"},
        {12.0, 0, 1, u"12"},
        {12.0, 1, 1, u"12.0"},
        {1340.0, 1, 1, u"1,340.0"},
        {0.0, 1, 1, u"0.0"},
        {-0.04, 0, 1, u"-0"},
        {-1234.56, 0, 1, u"-1,234.6"},
        {100.0 / 3.0, 1, 1, u"33.3"},
        {0.0001, 0, 1, u"0"},
        {123.0, 0, 0, u"123"},
        {1e20, 0, 1, u"100,000,000,000,000,000,000"},
        {std::nan(""), 0, 1, u"NaN"},
        {infinity, 0, 1, u"\u221E"},
        {-infinity, 1, 1, u"-\u221E"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message()
                     << row.value << " [" << row.minFraction << ',' << row.maxFraction << ']');
        EXPECT_EQ(formatDecimal(row.value, row.minFraction, row.maxFraction),
                  QString::fromUtf16(row.expected));
    }
}

TEST(NumberText, formatOneDecimalRoundsTheBinaryValueLikePrintf)
{
    const struct
    {
        double value;
        const char *expected;
    } rows[] = {{3.25, "3.2"}, {0.25, "0.2"}, {3.8, "3.8"},  {3.75, "3.8"},   {0.0, "0.0"},
                {4.0, "4.0"},  {2.05, "2.0"}, {2.15, "2.1"}, {-1.25, "-1.2"}, {1e6, "1000000.0"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.value);
        EXPECT_EQ(formatOneDecimal(row.value), QLatin1StringView(row.expected));
    }
}
