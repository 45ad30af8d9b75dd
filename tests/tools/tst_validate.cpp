// vantora-validate as a content author runs it: exit status, and exactly what it prints.

#include "testsupport.h"

#include <QFile>
#include <QJsonDocument>
#include <QProcess>

#include <gtest/gtest.h>

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

TEST(Validate, reportsOkTheErrorOrBadUsage)
{
    const struct
    {
        const char *name;
        QStringList arguments;
        QByteArray input;
        int exitCode;
        QByteArray out;
        const char *errContains;
    } rows[] = {
        {"valid file", {u"StreamerInfo"_s, data + u"channel_full.json"_s}, {}, 0, "ok\n", ""},
        {"valid input", {u"AnalyticsResponse"_s, u"-"_s}, R"({"status":"ok"})", 0, "ok\n", ""},
        {"invalid input",
         {u"User"_s, u"-"_s},
         R"({"name":"Dana"})",
         1,
         "error: email: missing\n",
         ""},
        {"nested failure",
         {u"Channel[]"_s, u"-"_s},
         R"([{"channel":"c","additionalPageSettings":"","urlB64":3}])",
         1,
         "error: [0].urlB64: expected string, got number\n",
         ""},
        {"not JSON", {u"User"_s, u"-"_s}, "{", 1, "", ""},
        {"unknown record", {u"Nope"_s, u"-"_s}, {}, 2, "", "unknown record Nope"},
        {"no file", {u"StreamerInfo"_s}, {}, 2, "", "usage: vantora-validate"},
        {"unreadable file", {u"User"_s, u"/nonexistent/user.json"_s}, {}, 2, "", "cannot read"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const Outcome run = validate(row.arguments, row.input);
        EXPECT_EQ(run.exitCode, row.exitCode) << run.err.constData();
        if (!row.out.isEmpty()) {
            EXPECT_EQ(run.out, row.out);
        }
        EXPECT_TRUE(run.err.contains(row.errContains)) << run.err.constData();
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
