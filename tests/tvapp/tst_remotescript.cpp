// The remote script format of vantora-tv: what each line means, and the message for each kind of
// mistake.

#include "remotescript.h"
#include "testsupport.h"

#include <QKeySequence>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace Vantora::TestSupport;

namespace {

// As the table tests/data/tvapp_cases.txt lists them.
TEST(RemoteScript, ReadsEveryCommandWithItsTimeAndLine)
{
    const QList<QStringList> rows = caseTable(u"tvapp_cases.txt", u"script steps");
    QString text = u"# a viewer's evening\n\n"_s;
    for (const QStringList &row : rows)
        text += unquoted(row[0]) + u'\n';
    const RemoteScript script = RemoteScript::parse(text);
    ASSERT_EQ(script.error, QString());
    ASSERT_EQ(script.steps.size(), rows.size());
    const char *const commands[] = {"key",  "wait-for", "wait-gone", "screenshot", "dump", "mark",
                                    "seek", "play",     "pause",     "quit",       "stay", "admin"};
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const ScriptStep &s = script.steps[i];
        QString read = u"%1: %2%3 %4"_s.arg(s.line)
                           .arg(s.afterPrevious ? u"+"_s : u"@"_s)
                           .arg(s.at)
                           .arg(QLatin1StringView(commands[int(s.command)]));
        if (s.key)
            read += u' ' + QKeySequence(s.key).toString();
        if (s.count != 1)
            read += u" x%1"_s.arg(s.count);
        if (s.seconds != 0)
            read += u" %1s"_s.arg(s.seconds);
        if (!s.text.isEmpty())
            read += u" \""_s + s.text + u'"';
        if (!s.body.isEmpty())
            read += u' ' + QString::fromUtf8(s.body);
        EXPECT_EQ(read, rows[i][1]);
    }
}

TEST(RemoteScript, NamesTheFirstBadLineAndWhatIsWrong)
{
    for (const QStringList &row : caseTable(u"tvapp_cases.txt", u"bad scripts")) {
        const RemoteScript script = RemoteScript::parse(QString(row[0]).replace(u"\\n"_s, u"\n"_s));
        EXPECT_EQ(script.error, row[1]);
        EXPECT_TRUE(script.steps.isEmpty()) << qPrintable(row[0]);
    }
}

} // namespace
