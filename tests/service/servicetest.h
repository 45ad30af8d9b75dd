#pragma once

#include "memorytransport.h"
#include "testsupport.h"
#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>

#include <gtest/gtest.h>

#include <memory>

// The shared service client on an in-memory backend, in virtual time.
class ServiceTest : public testing::Test
{
protected:
    static constexpr auto apiBase = "https://api.example.com/userApi";

    ServiceTest()
    {
        auto transport = std::make_unique<Vantora::TestSupport::MemoryTransport>();
        backend = transport.get();
        service().setTransport(std::move(transport));
        service().setEnvironment(environment(QString::fromLatin1(apiBase)));
    }

    static Vantora::VTAServiceManager &service() { return Vantora::VTAServiceManager::shared(); }

    static VTAEnvironment
    environment(const QString &apiBaseURL,
                const QString &imageBaseURL = QStringLiteral("https://media.example.com"))
    {
        return VTAEnvironment(apiBaseURL, imageBaseURL, QStringLiteral("2c3d4e5f607182930415"),
                              QStringLiteral("us2"), QStringLiteral("test3"));
    }

    void answerEverything(const QList<QString> &paths, const QByteArray &body = "{}")
    {
        for (const QString &path : paths)
            backend->answer(path, {200, body, {}});
    }

    Vantora::VirtualTimeScheduler clock;
    Vantora::TestSupport::MemoryTransport *backend = nullptr;
    QObject owner;
};

// The JSON that a request's one form field carries, after checking the envelope around it
// byte for byte against the boundary named in its Content-Type.
inline QJsonObject requestField(const Vantora::HttpRequest &request)
{
    const QByteArray prefix = "multipart/form-data; boundary=";
    EXPECT_EQ(request.headers.size(), 1);
    if (request.headers.size() != 1 || request.headers[0].first != "Content-Type"
        || !request.headers[0].second.startsWith(prefix)) {
        ADD_FAILURE() << "no multipart Content-Type";
        return {};
    }
    const QByteArray boundary = request.headers[0].second.mid(prefix.size());
    const QByteArray head =
        "--" + boundary + "\r\nContent-Disposition: form-data; name=\"request\"\r\n\r\n";
    const QByteArray tail = "\r\n--" + boundary + "--\r\n";
    EXPECT_TRUE(request.body.startsWith(head)) << request.body.toStdString();
    EXPECT_TRUE(request.body.endsWith(tail)) << request.body.toStdString();
    const QByteArray json =
        request.body.mid(head.size(), request.body.size() - head.size() - tail.size());
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << json.toStdString();
    return document.object();
}
