#include "vantora/toolkit/consoleline_p.h"

#include <QString>

#include <gtest/gtest.h>

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

// Standard output piped to a log, as a TV's logger reads it: each line is there whole, in order
// and in UTF-8, as soon as it is printed.
TEST(ConsoleLine, eachLineReachesAPipedLogAsSoonAsItIsPrinted)
{
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    std::fflush(stdout);
    const int terminal = dup(STDOUT_FILENO);
    dup2(pipeEnds[1], STDOUT_FILENO);
    fcntl(pipeEnds[0], F_SETFL, O_NONBLOCK);
    const auto piped = [&] {
        char bytes[4096];
        const ssize_t size = read(pipeEnds[0], bytes, sizeof bytes);
        return QString::fromUtf8(bytes, std::max<ssize_t>(size, 0));
    };
    printLine(u"VTA showing POLL");
    const QString first = piped();
    printLine(u"VTA - Failed login");
    printLine(u"VTA showing \u05D8\u05E8\u05D9\u05D5\u05D5\u05D9\u05D4");
    const QString next = piped();
    dup2(terminal, STDOUT_FILENO);
    for (const int end : {terminal, pipeEnds[0], pipeEnds[1]})
        close(end);
    EXPECT_EQ(first, u"VTA showing POLL\n"_s);
    EXPECT_EQ(next,
              u"VTA - Failed login\nVTA showing \u05D8\u05E8\u05D9\u05D5\u05D5\u05D9\u05D4\n"_s);
}
