#include "vantora/toolkit/colors_p.h"

#include <QTextBoundaryFinder>

namespace Vantora {

namespace {

int hexDigit(QChar c)
{
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9')
        return u - u'0';
    if (u >= u'a' && u <= u'f')
        return u - u'a' + 10;
    if (u >= u'A' && u <= u'F')
        return u - u'A' + 10;
    return -1;
}

// Characters as a reader counts them: "é" written as e and a combining accent is one.
qsizetype visibleLength(QStringView text)
{
    QTextBoundaryFinder boundaries(QTextBoundaryFinder::Grapheme, text.toString());
    qsizetype count = 0;
    while (boundaries.toNextBoundary() != -1)
        ++count;
    return count;
}

// The longest hex number at the start, after blanks and an optional "0x".
std::optional<quint64> leadingHex(QStringView text)
{
    qsizetype i = 0;
    while (i < text.size() && text[i].isSpace())
        ++i;
    if (i + 2 < text.size() && text[i] == u'0' && (text[i + 1] == u'x' || text[i + 1] == u'X')
        && hexDigit(text[i + 2]) >= 0)
        i += 2;
    quint64 value = 0;
    qsizetype digits = 0;
    for (; i < text.size() && hexDigit(text[i]) >= 0; ++i, ++digits)
        value = (value << 4) | quint64(hexDigit(text[i]));
    if (digits == 0)
        return std::nullopt;
    return value;
}

} // namespace

std::optional<QColor> colorFromHex(QStringView text)
{
    if (!text.startsWith(u'#'))
        return std::nullopt;
    const QStringView digits = text.mid(1);
    const qsizetype length = visibleLength(digits);
    if (length != 8 && length != 6)
        return std::nullopt;
    const std::optional<quint64> value = leadingHex(digits);
    if (!value)
        return std::nullopt;
    const auto component = [&](int shift) {
        return double((*value >> shift) & 0xFF) / 255.0;
    };
    if (length == 8)
        return QColor::fromRgbF(float(component(24)), float(component(16)), float(component(8)),
                                float(component(0)));
    return QColor::fromRgbF(float(component(16)), float(component(8)), float(component(0)), 1.0f);
}

QImage imageWithColor(const QColor &color)
{
    QImage image(1, 1, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    return image;
}

} // namespace Vantora
