#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <cstdio>

namespace Vantora::TestSupport {

/// The bytes of a document under tests/data/; fails the current test when it cannot be read.
QByteArray loadFixture(QStringView name);

/// One family of cases from a table under tests/data/: the lines of the section ("## <title>")
/// whose title starts with `section`, each split into its cells at " | "; lines starting with "#"
/// are comments. Fails the current test when the section has no cases.
QList<QStringList> caseTable(QStringView file, QStringView section);

/// A text cell of such a table without the double quotes that keep its blanks visible.
inline QString unquoted(const QString &cell)
{
    return cell.mid(1).chopped(1);
}

/// Redirects standard output while it lives, to check the exact lines a test provoked.
///
///   StdoutCapture out;
///   printLine(u"VTA showing POLL");
///   EXPECT_EQ(out.lines(), QStringList{u"VTA showing POLL"_s});
class StdoutCapture
{
public:
    StdoutCapture();
    ~StdoutCapture();
    StdoutCapture(const StdoutCapture &) = delete;
    StdoutCapture &operator=(const StdoutCapture &) = delete;

    /// Every complete line written so far, without the newlines.
    QStringList lines() const;

private:
    std::FILE *m_file = nullptr;
    int m_savedStdout = -1;
};

/// Collects the messages of one logging category, debug level included, while it lives (one
/// capture at a time): a developer's only account of why an input did nothing.
class LogCapture
{
public:
    explicit LogCapture(const char *category);
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    /// The messages since the capture began or the last take(), which forgets them.
    QStringList take();
};

} // namespace Vantora::TestSupport

// Readable values in GoogleTest's failure messages.
#include <QJsonDocument>
#include <ostream>

inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QByteArray &bytes, std::ostream *out)
{
    *out << '"' << bytes.toStdString() << '"';
}
inline void PrintTo(const QStringList &lines, std::ostream *out)
{
    *out << '[' << lines.join(QStringLiteral(", ")).toStdString() << ']';
}
inline void PrintTo(const QJsonDocument &document, std::ostream *out)
{
    *out << document.toJson(QJsonDocument::Compact).toStdString();
}
