// The remote script format of vantora-tv: what each line means, and the message for each kind of
// mistake.

#include "remotescript.h"
#include "testsupport.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using Command = ScriptStep::Command;

namespace {

TEST(RemoteScript, ReadsEveryCommandWithItsTimeAndLine)
{
    const RemoteScript script = RemoteScript::parse(u"# a viewer's evening\n"
                                                    "\n"
                                                    "12.5  key Down\n"
                                                    "+0    key Return 3   # three presses\n"
                                                    "+1.5  wait-for 20 Where are  you watching?\n"
                                                    "+0    wait-gone 4 @pointsLabel 10\n"
                                                    "30    screenshot poll-1\n"
                                                    "30    dump poll-1\n"
                                                    "+0    mark ready for   trivia\n"
                                                    "40    seek 95.5\n"
                                                    "41    pause\n"
                                                    "+2    play\n"
                                                    "\t60  quit\n"
                                                    "+0 key Escape\n"
                                                    "+0 stay\n"
                                                    "+0 admin inject {\"id\": \"p1\"}\n"
                                                    "+0 admin viewers\n"_s);
    ASSERT_EQ(script.error, QString());
    // line, after the previous?, at, command, key, count, seconds, text, body
    using Step = std::tuple<int, bool, double, Command, int, int, double, QString, QByteArray>;
    const Step expected[] = {
        {3, false, 12.5, Command::key, Qt::Key_Down, 1, 0, {}, {}},
        {4, true, 0, Command::key, Qt::Key_Return, 3, 0, {}, {}},
        // The text is kept as written after the limit, inner spaces included.
        {5, true, 1.5, Command::waitFor, 0, 1, 20, u"Where are  you watching?"_s, {}},
        {6, true, 0, Command::waitGone, 0, 1, 4, u"@pointsLabel 10"_s, {}},
        {7, false, 30, Command::screenshot, 0, 1, 0, u"poll-1"_s, {}},
        {8, false, 30, Command::dump, 0, 1, 0, u"poll-1"_s, {}},
        {9, true, 0, Command::mark, 0, 1, 0, u"ready for trivia"_s, {}},
        {10, false, 40, Command::seek, 0, 1, 95.5, {}, {}},
        {11, false, 41, Command::pause, 0, 1, 0, {}, {}},
        {12, true, 2, Command::play, 0, 1, 0, {}, {}},
        {13, false, 60, Command::quit, 0, 1, 0, {}, {}},
        {14, true, 0, Command::key, Qt::Key_Escape, 1, 0, {}, {}},
        {15, true, 0, Command::stay, 0, 1, 0, {}, {}},
        // An admin step's body goes out as the JSON object written; without one it is a GET.
        {16, true, 0, Command::admin, 0, 1, 0, u"inject"_s, R"({"id":"p1"})"},
        {17, true, 0, Command::admin, 0, 1, 0, u"viewers"_s, {}},
    };
    ASSERT_EQ(script.steps.size(), qsizetype(std::size(expected)));
    for (qsizetype i = 0; i < script.steps.size(); ++i) {
        const ScriptStep &s = script.steps[i];
        EXPECT_EQ(Step(s.line, s.afterPrevious, s.at, s.command, s.key, s.count, s.seconds, s.text,
                       s.body),
                  expected[i]);
    }
}

TEST(RemoteScript, NamesTheFirstBadLineAndWhatIsWrong)
{
    for (const QStringList &row :
         Vantora::TestSupport::caseTable(u"tvapp_cases.txt", u"bad scripts")) {
        const RemoteScript script = RemoteScript::parse(QString(row[0]).replace(u"\\n"_s, u"\n"_s));
        EXPECT_EQ(script.error, row[1]);
        EXPECT_TRUE(script.steps.isEmpty()) << qPrintable(row[0]);
    }
}

} // namespace
