#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/fonts_p.h"

#include <QFontDatabase>
#include <QFontInfo>

#include <gtest/gtest.h>

using namespace Vantora;

TEST(Colors, hexTextsAreRrggbbaaOrRrggbb)
{
    const struct
    {
        const char16_t *text;
        std::optional<QColor> expected;
    } rows[] = {
        {u"#ffffff", QColor(255, 255, 255, 255)},
        {u"#FFFFFF", QColor(255, 255, 255, 255)},
        {u"#FFFFFF00", QColor(255, 255, 255, 0)},
        {u"#FF000080", QColor(255, 0, 0, 128)}, // alpha last, unlike Qt's own #AARRGGBB
        {u"#00FF00", QColor(0, 255, 0, 255)},
        {u"#1E88E5FF", QColor(0x1E, 0x88, 0xE5, 255)},
        {u"#12345G", QColor(0x01, 0x23, 0x45, 255)}, // the digits stop at the G
        {u"# 12345", QColor(0x01, 0x23, 0x45, 255)}, // a blank before the digits is skipped
        {u"#0x1234", QColor(0x00, 0x12, 0x34, 255)},
        {u"#0X12345678", std::nullopt}, // ten characters
        {u"#F00", std::nullopt},
        {u"FF0000", std::nullopt},
        {u"#12345", std::nullopt},
        {u"#1234567", std::nullopt},
        {u"#GGGGGG", std::nullopt},
        {u"#", std::nullopt},
        {u"", std::nullopt},
        {u"red", std::nullopt},
        {u"#e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301",
         QColor(0, 0, 0x0E, 255)}, // six characters as read
    };
    for (const auto &row : rows) {
        const QString text = QString::fromUtf16(row.text);
        SCOPED_TRACE(text.toStdString());
        const std::optional<QColor> color = colorFromHex(text);
        ASSERT_EQ(color.has_value(), row.expected.has_value());
        if (color) {
            EXPECT_EQ(color->rgba(), row.expected->rgba());
        }
    }
}

TEST(Colors, imageWithColorIsOnePixelOfIt)
{
    const QImage image = imageWithColor(QColor(255, 0, 0, 128));
    EXPECT_EQ(image.size(), QSize(1, 1));
    EXPECT_EQ(image.pixelColor(0, 0).rgba(), QColor(255, 0, 0, 128).rgba());
}

TEST(Fonts, theBundledFontIsRegisteredOnce)
{
    EXPECT_EQ(registerFontsIfNeeded(), 3);
    EXPECT_EQ(registerFontsIfNeeded(), 0);
    EXPECT_TRUE(QFontDatabase::families().contains(QLatin1StringView(cardFontFamily)));
    QFont bold(QString::fromLatin1(cardFontFamily), 32, QFont::Bold);
    EXPECT_EQ(QFontInfo(bold).family(), QLatin1StringView(cardFontFamily));
}
