#include "testsupport.h"

#include <QFile>
#include <QLoggingCategory>

#include <gtest/gtest.h>

#include <unistd.h>

namespace Vantora::TestSupport {

QByteArray loadFixture(QStringView name)
{
    QFile file(QStringLiteral(VANTORA_TEST_DATA_DIR "/") + name.toString());
    if (!file.open(QIODevice::ReadOnly)) {
        ADD_FAILURE() << "cannot read fixture " << qPrintable(file.fileName()) << ": "
                      << qPrintable(file.errorString());
        return {};
    }
    return file.readAll();
}

QList<QStringList> caseTable(QStringView file, QStringView section)
{
    QList<QStringList> rows;
    bool inside = false;
    for (const QString &line : QString::fromUtf8(loadFixture(file)).split(u'\n')) {
        if (line.startsWith(u"## "))
            inside = line.mid(3).startsWith(section);
        else if (inside && !line.isEmpty() && !line.startsWith(u'#'))
            rows.append(line.split(QStringLiteral(" | ")));
    }
    EXPECT_FALSE(rows.isEmpty()) << "no cases for " << section.toString().toStdString();
    return rows;
}

StdoutCapture::StdoutCapture()
{
    std::fflush(stdout);
    m_file = std::tmpfile();
    m_savedStdout = dup(STDOUT_FILENO);
    if (!m_file || m_savedStdout < 0 || dup2(fileno(m_file), STDOUT_FILENO) < 0)
        ADD_FAILURE() << "cannot redirect standard output";
}

StdoutCapture::~StdoutCapture()
{
    std::fflush(stdout);
    if (m_savedStdout >= 0) {
        dup2(m_savedStdout, STDOUT_FILENO);
        close(m_savedStdout);
    }
    if (m_file)
        std::fclose(m_file);
}

QStringList StdoutCapture::lines() const
{
    std::fflush(stdout);
    QFile file;
    if (!m_file || !file.open(fileno(m_file), QIODevice::ReadOnly))
        return {};
    file.seek(0);
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    lines.removeLast(); // the text after the last newline is not a complete line
    return lines;
}

namespace {

QByteArray capturedCategory;
QStringList captured;
QtMessageHandler previousHandler = nullptr;

void capture(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (context.category && capturedCategory == context.category)
        captured.append(message);
    else if (previousHandler)
        previousHandler(type, context, message);
}

} // namespace

LogCapture::LogCapture(const char *category)
{
    capturedCategory = category;
    captured.clear();
    QLoggingCategory::setFilterRules(QString::fromLatin1(capturedCategory + ".debug=true"));
    previousHandler = qInstallMessageHandler(&capture);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(previousHandler);
    QLoggingCategory::setFilterRules(QString());
    capturedCategory.clear();
}

QStringList LogCapture::take()
{
    return std::exchange(captured, {});
}

} // namespace Vantora::TestSupport
