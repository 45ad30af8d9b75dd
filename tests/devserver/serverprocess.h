#pragma once

// What the tests that run clients against vantora-devserver share: the demo content, waits and
// requests that always end, and the server in a process of its own with its admin API.

#include <QDeadlineTimer>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTest>

#include <gtest/gtest.h>

#include <sys/prctl.h>

#include <csignal>
#include <functional>

namespace Vantora::DevServerTest {

inline const QString demoFolder = QStringLiteral(VANTORA_DEVSERVER_DEMO_DIR);

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

inline QJsonObject jsonObject(const QByteArray &bytes)
{
    return QJsonDocument::fromJson(bytes).object();
}

struct HttpResult
{
    int status = 0;
    QByteArray body;
    QJsonObject json() const { return jsonObject(body); }
    QJsonArray array() const { return QJsonDocument::fromJson(body).array(); }
};

inline HttpResult httpRequest(const QUrl &url, const QByteArray &method,
                              const QByteArray &body = {},
                              const QByteArray &contentType = "application/json")
{
    QNetworkAccessManager network; // no connection outlives the call
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, contentType);
    QNetworkReply *reply = network.sendCustomRequest(request, method, body);
    EXPECT_TRUE(waitUntil([reply] { return reply->isFinished(); })) << url.toString().toStdString();
    const HttpResult result{reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
                            reply->readAll()};
    delete reply;
    return result;
}

/// A running server process and the lines it printed.
class ServerProcess
{
public:
    ServerProcess(const QString &program, const QStringList &arguments)
    {
        // A test that dies (a fatal error, a time-out) takes its server with it.
        m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        m_process.start(program, arguments);
        const bool ready = waitUntil([&] {
            m_out += m_process.readAllStandardOutput();
            return m_out.contains("VANTORA_REALTIME_URL=")
                || m_process.state() == QProcess::NotRunning;
        });
        EXPECT_TRUE(ready) << "no start-up lines: " << m_out.constData();
        port = quint16(QUrl(exported().value(QStringLiteral("VANTORA_API_BASE"))).port(0));
    }
    ~ServerProcess() { killHard(); }
    void killHard()
    {
        m_process.kill(); // SIGKILL: no chance to flush or close anything
        m_process.waitForFinished(5000);
    }
    /// SIGTERM; the exit code once the process has ended, -1 when it crashed or hung.
    int terminate()
    {
        m_process.terminate();
        const bool ended = m_process.waitForFinished(5000);
        return ended && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }
    QStringList lines() const { return QString::fromUtf8(m_out).split(u'\n', Qt::SkipEmptyParts); }
    /// What its `export NAME=value` lines set, as a shell would.
    QHash<QString, QString> exported() const
    {
        QHash<QString, QString> variables;
        for (const QString &line : lines()) {
            if (line.startsWith(QStringLiteral("export ")))
                variables.insert(line.sliced(7).section(u'=', 0, 0), line.section(u'=', 1));
        }
        return variables;
    }

    quint16 port = 0;

private:
    QProcess m_process;
    QByteArray m_out;
};

/// A call to the server's admin API at `path`: a GET, or a POST of `body` when there is one.
/// Fails the test when the server answers with an error.
inline QJsonDocument admin(quint16 port, const QString &path, const QJsonObject &body = {})
{
    const HttpResult reply =
        httpRequest(QUrl(QStringLiteral("http://127.0.0.1:%1/admin/").arg(port) + path),
                    body.isEmpty() ? "GET" : "POST",
                    body.isEmpty() ? QByteArray() : QJsonDocument(body).toJson());
    EXPECT_EQ(reply.status, 200) << qPrintable(path) << ": " << reply.body.constData();
    return QJsonDocument::fromJson(reply.body);
}

} // namespace Vantora::DevServerTest
