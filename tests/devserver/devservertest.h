#pragma once

// Shared by the dev server's tests: the demo content, the SDK's request envelope, and waits that
// always end.

#include <QByteArray>
#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QTest>

#include <functional>

namespace Vantora::DevServerTest {

inline const QString demoFolder = QStringLiteral(VANTORA_DEVSERVER_DEMO_DIR);

/// A multipart body exactly as the SDK builds it, and its Content-Type.
inline QByteArray
sdkBody(const QByteArray &json,
        const QByteArray &boundary = "Boundary-6F1A2B3C-0000-4000-8000-00000000ABCD")
{
    return "--" + boundary + "\r\nContent-Disposition: form-data; name=\"request\"\r\n\r\n" + json
        + "\r\n--" + boundary + "--\r\n";
}
inline QByteArray
sdkContentType(const QByteArray &boundary = "Boundary-6F1A2B3C-0000-4000-8000-00000000ABCD")
{
    return "multipart/form-data; boundary=" + boundary;
}

/// {"data": {...}} from an object.
inline QByteArray envelope(const QJsonObject &data)
{
    return QJsonDocument(QJsonObject{{QStringLiteral("data"), data}})
        .toJson(QJsonDocument::Compact);
}

inline QJsonObject jsonObject(const QByteArray &bytes)
{
    return QJsonDocument::fromJson(bytes).object();
}

/// Runs the event loop until `done` holds or `ms` pass; returns whether it held.
inline bool waitUntil(const std::function<bool()> &done, int ms = 5000)
{
    const QDeadlineTimer deadline(ms);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QTest::qWait(5);
    }
    return true;
}

} // namespace Vantora::DevServerTest
