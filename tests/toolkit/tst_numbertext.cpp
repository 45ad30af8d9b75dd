#include "vantora/toolkit/numbertext_p.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

// Each value as `format` writes it, " ; " between them.
template <class Value = double, class Format>
std::string shown(std::initializer_list<Value> values, Format format)
{
    QStringList texts;
    for (const Value &value : values)
        texts.append(format(value));
    return texts.join(u" ; "_s).toStdString();
}

} // namespace

// Beyond 64 bits, signs alone or doubled, blanks, fractions, exponents, hexadecimal, full-width
// digits and an Arabic-Indic one read as nothing ("none").
TEST(NumberText, parseIntegerReadsTheWholeTextOrNothing)
{
    const auto read = [](const QString &text) {
        const std::optional<qint64> value = parseInteger(text);
        return value ? QString::number(*value) : u"none"_s;
    };
    EXPECT_EQ(
        shown<QString>({u"42"_s, u"+5"_s, u"-0"_s, u"-17"_s, u"007"_s, u"9223372036854775807"_s,
                        u"-9223372036854775808"_s, u"9223372036854775808"_s,
                        u"99999999999999999999"_s, u""_s, u"-"_s, u"+-5"_s, u" 12"_s, u"1.5"_s,
                        u"1e3"_s, u"0x10"_s, u"\uFF11\uFF12"_s, u"\u0661"_s},
                       read),
        "42 ; 5 ; 0 ; -17 ; 7 ; 9223372036854775807 ; -9223372036854775808 ; none ; none ; "
        "none ; none ; none ; none ; none ; none ; none ; none ; none");
}

TEST(NumberText, shortestTextRoundTripsInTheBackendsNotation)
{
    EXPECT_EQ(shown({2.5, 0.1, -2.25, 42.0, 0.0001, 0.00001, 123456789012.5, 0x1p54, 0x1p54 + 4,
                     1e20, 0x1p63, 0.0, -0.0, infinity, std::nan("")},
                    shortestText),
              "2.5 ; 0.1 ; -2.25 ; 42.0 ; 0.0001 ; 1e-05 ; 123456789012.5 ; 18014398509481984.0 ; "
              "1.8014398509481988e+16 ; 1e+20 ; 9.223372036854776e+18 ; 0.0 ; -0.0 ; inf ; nan");
}

// 0.15 is 0.1499999… in binary: the shortest decimal is what is rounded.
TEST(NumberText, formatDecimalRoundsTheShortestDecimalHalfToEven)
{
    const auto upTo = [](int minFraction, int maxFraction) {
        return [=](double value) {
            return formatDecimal(value, minFraction, maxFraction);
        };
    };
    EXPECT_EQ(shown({0.15, 0.05, 0.25, 2.25, 1234.55, 1234.5, 0.95, 9.96, 999999.96, 12.0, -0.04,
                     -1234.56, 0.0001, 1e20, std::nan(""), infinity},
                    upTo(0, 1)),
              "0.2 ; 0 ; 0.2 ; 2.2 ; 1,234.6 ; 1,234.5 ; 1 ; 10 ; 1,000,000 ; 12 ; -0 ; -1,234.6 ; "
              "0 ; 100,000,000,000,000,000,000 ; NaN ; \u221E");
    EXPECT_EQ(shown({12.0, 1340.0, 0.0, 100.0 / 3.0, -infinity}, upTo(1, 1)),
              "12.0 ; 1,340.0 ; 0.0 ; 33.3 ; -\u221E");
    EXPECT_EQ(formatDecimal(123.0, 0, 0), u"123"_s);
    // formatOneDecimal() rounds the binary value, as printf does.
    EXPECT_EQ(shown({3.25, 0.25, 3.8, 3.75, 0.0, 4.0, 2.05, 2.15, -1.25, 1e6}, formatOneDecimal),
              "3.2 ; 0.2 ; 3.8 ; 3.8 ; 0.0 ; 4.0 ; 2.0 ; 2.1 ; -1.2 ; 1000000.0");
}
