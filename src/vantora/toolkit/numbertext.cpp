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
