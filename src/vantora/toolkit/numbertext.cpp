#include "vantora/toolkit/numbertext_p.h"

#include <charconv>
#include <cmath>
#include <string>

std::optional<qint64> Vantora::parseInteger(QStringView text)
{
    qsizetype start = 0;
    if (!text.isEmpty() && (text.front() == u'+' || text.front() == u'-'))
        start = 1;
    if (start == text.size())
        return std::nullopt;

    // from_chars takes a leading "-" but not "+", and only ASCII input.
    std::string ascii;
    ascii.reserve(static_cast<size_t>(text.size()));
    if (text.front() == u'-')
        ascii.push_back('-');
    for (qsizetype i = start; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (c < u'0' || c > u'9')
            return std::nullopt;
        ascii.push_back(static_cast<char>(c));
    }

    qint64 value = 0;
    const char *end = ascii.data() + ascii.size();
    const auto [ptr, error] = std::from_chars(ascii.data(), end, value);
    if (error != std::errc() || ptr != end)
        return std::nullopt;
    return value;
}

QString Vantora::shortestText(double value)
{
    if (std::isnan(value))
        return QStringLiteral("nan");
    if (std::isinf(value))
        return value < 0 ? QStringLiteral("-inf") : QStringLiteral("inf");
    if (value == 0)
        return std::signbit(value) ? QStringLiteral("-0.0") : QStringLiteral("0.0");

    const double magnitude = std::fabs(value);
    const bool exponent = magnitude < 1e-4 || magnitude > 0x1p54;
    char buffer[64];
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value,
                      exponent ? std::chars_format::scientific : std::chars_format::fixed);
    QString text = QString::fromLatin1(buffer, result.ptr - buffer);
    if (!exponent && !text.contains(u'.'))
        text.append(QLatin1StringView(".0"));
    return text;
}

QString Vantora::formatDecimal(double value, int minFractionDigits, int maxFractionDigits)
{
    if (std::isnan(value))
        return QStringLiteral("NaN");
    if (std::isinf(value))
        return value < 0 ? QStringLiteral("-\u221E") : QStringLiteral("\u221E");

    // The shortest round-trip digits, as d.ddde±x, give the decimal value to round.
    char buffer[64];
    const auto written = std::to_chars(buffer, buffer + sizeof buffer, std::fabs(value),
                                       std::chars_format::scientific);
    const std::string_view text(buffer, static_cast<size_t>(written.ptr - buffer));
    const size_t e = text.find('e');
    std::string digits(1, text[0]);
    if (e > 1)
        digits.append(text.substr(2, e - 2));
    int exponent = 0;
    const char *exponentStart = text.data() + e + 1;
    if (*exponentStart == '+')
        ++exponentStart; // from_chars takes "-" only
    std::from_chars(exponentStart, text.data() + text.size(), exponent);

    // digits[0] has weight 10^exponent; keep those down to 10^-maxFractionDigits, prefixing
    // zeros so that the whole part has at least one digit.
    const int wholeDigits = exponent + 1;
    if (wholeDigits < 1)
        digits.insert(0, static_cast<size_t>(1 - wholeDigits), '0');
    const size_t point = static_cast<size_t>(std::max(wholeDigits, 1));
    const size_t keep = point + static_cast<size_t>(maxFractionDigits);
    if (digits.size() < keep)
        digits.append(keep - digits.size(), '0');
    if (digits.size() > keep) {
        const char first = digits[keep];
        const bool rest = digits.find_first_not_of('0', keep + 1) != std::string::npos;
        const bool odd = (digits[keep - 1] - '0') % 2 == 1;
        digits.resize(keep);
        if (first > '5' || (first == '5' && (rest || odd))) {
            size_t i = keep;
            while (i > 0 && digits[i - 1] == '9')
                digits[--i] = '0';
            if (i == 0)
                digits.insert(0, 1, '1');
            else
                ++digits[i - 1];
        }
    }
    const size_t wholeEnd = digits.size() - static_cast<size_t>(maxFractionDigits);
    std::string fraction = digits.substr(wholeEnd);
    while (fraction.size() > static_cast<size_t>(minFractionDigits) && fraction.back() == '0')
        fraction.pop_back();

    std::string whole = digits.substr(0, wholeEnd);
    const size_t firstDigit = std::min(whole.find_first_not_of('0'), whole.size() - 1);
    whole.erase(0, firstDigit);
    std::string result = std::signbit(value) ? "-" : "";
    for (size_t i = 0; i < whole.size(); ++i) {
        if (i > 0 && (whole.size() - i) % 3 == 0)
            result.push_back(',');
        result.push_back(whole[i]);
    }
    if (!fraction.empty())
        result.append(".").append(fraction);
    return QString::fromLatin1(result.data(), static_cast<qsizetype>(result.size()));
}

QString Vantora::formatOneDecimal(double value)
{
    if (!std::isfinite(value))
        return std::isnan(value) ? QStringLiteral("nan")
                                 : (value < 0 ? QStringLiteral("-inf") : QStringLiteral("inf"));
    char buffer[400];
    const auto written =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 1);
    return QString::fromLatin1(buffer, written.ptr - buffer);
}
