// vantora-validate as a content author runs it: exit status, and exactly what it prints.

#include "testsupport.h"

#include <QFile>
#include <QJsonDocument>
#include <QProcess>

#include <gtest/gtest.h>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

namespace {

struct Outcome
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

Outcome validate(const QStringList &arguments, const QByteArray &input = {})
{
    QProcess process;
    process.start(QStringLiteral(VANTORA_VALIDATE), arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(30000))
        ADD_FAILURE() << "vantora-validate did not finish";
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

const QString data = QStringLiteral(VANTORA_TEST_DATA_DIR "/");

} // namespace

// As the table tests/data/tools_cases.txt lists them.
TEST(Validate, reportsOkTheErrorOrBadUsage)
{
    using TestSupport::unquoted;
    for (const QStringList &row : TestSupport::caseTable(u"tools_cases.txt", u"validate")) {
        SCOPED_TRACE(row[0].toStdString());
        const QStringList arguments = QString(row[1]).replace(u"{data}"_s, data).split(u' ');
        const Outcome run = validate(arguments, unquoted(row[2]).toUtf8());
        EXPECT_EQ(run.exitCode, row[3].toInt()) << run.err.constData();
        const QString out = unquoted(row[4]);
        EXPECT_TRUE(out.isEmpty() || run.out == out.toUtf8() + '\n') << run.out.constData();
        EXPECT_TRUE(run.err.contains(unquoted(row[5]).toUtf8())) << run.err.constData();
    }
    EXPECT_TRUE(validate({u"User"_s, u"-"_s}, "{").out.startsWith("error: invalid JSON ("));
}

TEST(Validate, printWritesTheRecordBackAsCompactJson)
{
    const Outcome run = validate({u"--print"_s, u"Channel[]"_s, data + u"channels.json"_s});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out.count('\n'), 1);
    QFile fixture(data + u"channels.json"_s);
    ASSERT_TRUE(fixture.open(QIODevice::ReadOnly));
    EXPECT_EQ(QJsonDocument::fromJson(run.out), QJsonDocument::fromJson(fixture.readAll()));

    // Lenient values come back as strings, unknown keys and nulls are gone.
    const Outcome wild = validate(
        {u"--print"_s, u"Trivia"_s, u"-"_s},
        R"({"question":{"id":"q","question":"Q","answers":[],"category":"c","timePerQuestion":null,"x":1}})");
    EXPECT_EQ(wild.out,
              R"({"question":{"answers":[],"category":"c","id":"q","question":"Q"}})"
              "\n");
}
