#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/fonts_p.h"

#include <QFontInfo>

#include <gtest/gtest.h>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

// Each read as Qt's #AARRGGBB, or "none": alpha comes last in the design's texts; the digits stop
// at a G; a blank before the digits is skipped; "#0X12345678" has ten characters; an e with an
// accent is two characters.
TEST(Colors, hexTextsAreRrggbbaaOrRrggbb)
{
    QStringList read;
    for (const QString &text :
         {u"#ffffff"_s, u"#FFFFFF"_s, u"#FFFFFF00"_s, u"#FF000080"_s, u"#00FF00"_s, u"#1E88E5FF"_s,
          u"#12345G"_s, u"# 12345"_s, u"#0x1234"_s, u"#0X12345678"_s, u"#F00"_s, u"FF0000"_s,
          u"#12345"_s, u"#1234567"_s, u"#GGGGGG"_s, u"#"_s, u""_s, u"red"_s,
          u"#e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301"_s}) {
        const std::optional<QColor> color = colorFromHex(text);
        read.append(color ? color->name(QColor::HexArgb) : u"none"_s);
    }
    EXPECT_EQ(read.join(u' ').toStdString(),
              "#ffffffff #ffffffff #00ffffff #80ff0000 #ff00ff00 #ff1e88e5 #ff012345 #ff012345 "
              "#ff001234 none none none none none none none none none #ff00000e");
}

TEST(Fonts, theBundledFontIsRegisteredOnce)
{
    EXPECT_EQ(registerFontsIfNeeded(), 3);
    EXPECT_EQ(registerFontsIfNeeded(), 0);
    QFont bold(QString::fromLatin1(cardFontFamily), 32, QFont::Bold);
    EXPECT_EQ(QFontInfo(bold).family(), QLatin1StringView(cardFontFamily));
}
