#pragma once

#include "memorytransport.h"
#include "testsupport.h"
#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>

#include <memory>
#include <string>

/// A request as one line: "GET <url>", or "POST <url> <the JSON of its one form field>". On the
/// way it checks what every request has: a 60-second idle time-out; for a GET no header and no
/// body; for a POST only a Content-Type that names a "Boundary-<upper-case UUID>", and around the
/// JSON the multipart envelope of that boundary, byte for byte.
inline QString summary(const Vantora::HttpRequest &request)
{
    EXPECT_EQ(request.timeout, std::chrono::seconds{60});
    const QString line = QString::fromUtf8(request.method + ' ' + request.url.toEncoded());
    if (request.method != "POST") {
        EXPECT_TRUE(request.headers.isEmpty() && request.body.isEmpty());
        return line;
    }
    static const QRegularExpression contentType(QStringLiteral(
        "^multipart/form-data; boundary=(Boundary-[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12})$"));
    const auto match = contentType.match(QString::fromUtf8(request.headers.value(0).second));
    EXPECT_TRUE(request.headers.size() == 1 && request.headers[0].first == "Content-Type"
                && match.hasMatch());
    const QByteArray boundary = "--" + match.captured(1).toUtf8();
    const QByteArray head =
        boundary + "\r\nContent-Disposition: form-data; name=\"request\"\r\n\r\n";
    const QByteArray tail = "\r\n" + boundary + "--\r\n";
    const QByteArray &body = request.body;
    EXPECT_TRUE(body.startsWith(head) && body.endsWith(tail)) << body.toStdString();
    return line + u' '
        + QString::fromUtf8(body.mid(head.size(), body.size() - head.size() - tail.size()));
}

/// The JSON of a POST's one form field, after the checks of summary().
inline QJsonObject requestField(const Vantora::HttpRequest &request)
{
    return QJsonDocument::fromJson(summary(request).section(u' ', 2).toUtf8()).object();
}

// The shared service client on an in-memory backend, in virtual time.
class ServiceTest : public testing::Test
{
protected:
    ServiceTest()
    {
        auto transport = std::make_unique<Vantora::TestSupport::MemoryTransport>();
        backend = transport.get();
        service().setTransport(std::move(transport));
        service().setEnvironment(environment(QStringLiteral("https://api.example.com/userApi")));
    }

    static Vantora::VTAServiceManager &service() { return Vantora::VTAServiceManager::shared(); }

    static VTAEnvironment
    environment(const QString &apiBaseURL,
                const QString &imageBaseURL = QStringLiteral("https://media.example.com"))
    {
        return VTAEnvironment(apiBaseURL, imageBaseURL, QStringLiteral("2c3d4e5f607182930415"),
                              QStringLiteral("us2"), QStringLiteral("test3"));
    }

    /// The cases of one family: the lines of the section of tests/data/service_cases.txt whose
    /// title starts with `section`, each split into its cells.
    static QList<QStringList> cases(QStringView section)
    {
        QList<QStringList> rows;
        bool inside = false;
        const QByteArray text = Vantora::TestSupport::loadFixture(u"service_cases.txt");
        for (const QString &line : QString::fromUtf8(text).split(u'\n')) {
            if (line.startsWith(u"## "))
                inside = line.mid(3).startsWith(section);
            else if (inside && !line.isEmpty() && !line.startsWith(u'#'))
                rows.append(line.split(QStringLiteral(" | ")));
        }
        EXPECT_FALSE(rows.isEmpty()) << "no cases for " << section.toString().toStdString();
        return rows;
    }

    /// The lines a test expects (requests, log lines); the backend answers "{}" at their URLs.
    std::string expectedLines(QStringView section)
    {
        QStringList lines;
        for (const QStringList &row : cases(section)) {
            lines.append(row[0]);
            backend->answer(QUrl(row[0].section(u' ', 1, 1)).path(), {200, "{}", {}});
        }
        return lines.join(u'\n').toStdString();
    }

    /// Every request sent so far, as summary() writes them, one a line.
    std::string sentRequests() const
    {
        QStringList lines;
        for (const Vantora::HttpRequest &request : backend->requests())
            lines.append(summary(request));
        return lines.join(u'\n').toStdString();
    }

    Vantora::VirtualTimeScheduler clock;
    Vantora::TestSupport::MemoryTransport *backend = nullptr;
    QObject owner;
};
