#pragma once

#include "memorytransport.h"
#include "testsupport.h"
#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"

#include <QJsonObject>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Vantora;
using namespace Vantora::TestSupport;
using namespace Qt::Literals::StringLiterals;

/// A request as one line: "GET <url>", or "POST <url> <the JSON of its one form field>". On the
/// way it checks what every request has: a 60-second idle time-out; for a GET no header and no
/// body; for a POST only a Content-Type that names a "Boundary-<upper-case UUID>", and around the
/// JSON the multipart envelope of that boundary, byte for byte.
inline QString summary(const HttpRequest &request)
{
    EXPECT_EQ(request.timeout, std::chrono::seconds{60});
    const QString line = QString::fromUtf8(request.method + ' ' + request.url.toEncoded());
    if (request.method != "POST") {
        EXPECT_TRUE(request.headers.isEmpty() && request.body.isEmpty());
        return line;
    }
    static const QRegularExpression form(
        u"^--(Boundary-[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12})\r\nContent-Disposition: "
        "form-data; name=\"request\"\r\n\r\n(.*)\r\n--\\1--\r\n$"_s,
        QRegularExpression::DotMatchesEverythingOption);
    const auto match = form.match(QString::fromUtf8(request.body));
    EXPECT_TRUE(match.hasMatch()) << request.body.toStdString();
    const QByteArray type = "multipart/form-data; boundary=" + match.captured(1).toUtf8();
    EXPECT_EQ(request.headers, (QList<std::pair<QByteArray, QByteArray>>{{"Content-Type", type}}));
    return line + u' ' + match.captured(3);
}

/// The JSON of a POST's one form field, after the checks of summary().
inline QJsonObject requestField(const HttpRequest &request)
{
    return QJsonDocument::fromJson(summary(request).section(u' ', 2).toUtf8()).object();
}

// The shared service client on an in-memory backend, in virtual time.
class ServiceTest : public testing::Test
{
protected:
    ServiceTest()
    {
        service().setTransport(std::unique_ptr<Transport>(backend = new MemoryTransport));
        service().setEnvironment(environment());
    }

    static VTAServiceManager &service() { return VTAServiceManager::shared(); }

    static VTAEnvironment environment(const QString &api = u"https://api.example.com/userApi"_s,
                                      const QString &images = u"https://media.example.com"_s)
    {
        return VTAEnvironment(api, images, u"2c3d4e5f607182930415"_s, u"us2"_s, u"test3"_s);
    }

    /// The cases of one family in tests/data/service_cases.txt.
    static QList<QStringList> cases(QStringView section)
    {
        return caseTable(u"service_cases.txt", section);
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
        for (const HttpRequest &request : backend->requests())
            lines.append(summary(request));
        return lines.join(u'\n').toStdString();
    }

    VirtualTimeScheduler clock;
    MemoryTransport *backend = nullptr;
    QObject owner;
};
