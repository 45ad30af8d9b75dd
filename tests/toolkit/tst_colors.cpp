#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/fonts_p.h"

#include "testsupport.h"

#include <QFontInfo>

#include <gtest/gtest.h>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

// As the table tests/data/toolkit_cases.txt lists them.
TEST(Colors, hexTextsAreRrggbbaaOrRrggbb)
{
    for (const QStringList &row : TestSupport::caseTable(u"toolkit_cases.txt", u"colorFromHex")) {
        const std::optional<QColor> color = colorFromHex(TestSupport::unquoted(row[0]));
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
