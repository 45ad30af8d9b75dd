#include "vantora/toolkit/consoleline_p.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <cstdio>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

TEST(ConsoleLine, writesExactLinesInOrderAndFlushesEachOne)
{
    TestSupport::StdoutCapture out;
    printLine(u"VTA showing POLL");
    EXPECT_EQ(out.lines(), QStringList{u"VTA showing POLL"_s}); // visible before any later write

    printLine(u"VTA - Failed login");
    printLine(u"VTA showing \u05D8\u05E8\u05D9\u05D5\u05D5\u05D9\u05D4"); // non-ASCII stays UTF-8
    EXPECT_EQ(out.lines(),
              (QStringList{u"VTA showing POLL"_s, u"VTA - Failed login"_s,
                           u"VTA showing \u05D8\u05E8\u05D9\u05D5\u05D5\u05D9\u05D4"_s}));
}
