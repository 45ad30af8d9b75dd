#pragma once

// What the tests that run programs against vantora-devserver share: the demo content, waits and
// requests that always end, programs in processes of their own, and the server's admin API.

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
    for (const QDeadlineTimer deadline(ms); !done(); QTest::qWait(5)) {
        if (deadline.hasExpired())
            return false;
    }
    return true;
}

inline QJsonObject jsonObject(const QByteArray &bytes)
{
    return QJsonDocument::fromJson(bytes).object();
}

struct HttpResult
{
    int error = 0; // QNetworkReply::NetworkError
    int status = 0;
    QByteArray body;
    QJsonObject json() const { return jsonObject(body); }
};

inline HttpResult httpRequest(const QUrl &url, const QByteArray &method,
                              const QByteArray &body = {},
                              const QByteArray &contentType = "application/json")
{
    QNetworkAccessManager network; // no connection outlives the call
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, contentType);
    const std::unique_ptr<QNetworkReply> reply(network.sendCustomRequest(request, method, body));
    EXPECT_TRUE(waitUntil([&] { return reply->isFinished(); })) << url.toString().toStdString();
    return {reply->error(), reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
            reply->readAll()};
}

/// A program in a process of its own, which dies with the test, and the lines it prints.
class ChildProcess
{
public:
    ChildProcess(const QString &program, const QStringList &arguments,
                 QProcess::ProcessChannelMode channels = QProcess::SeparateChannels)
    {
        // A test that dies (a fatal error, a time-out) takes its child with it.
        process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        process.setProcessChannelMode(channels);
        process.start(program, arguments);
    }
    ~ChildProcess() { finish(0); }
    /// Everything it printed so far.
    QString output()
    {
        m_out += process.readAllStandardOutput();
        return QString::fromUtf8(m_out);
    }
    QStringList lines() { return output().split(u'\n', Qt::SkipEmptyParts); }
    /// Whether it prints `text` within `ms`.
    bool waitFor(const QString &text, int ms = 5000)
    {
        waitUntil(
            [&] { return output().contains(text) || process.state() == QProcess::NotRunning; }, ms);
        return output().contains(text);
    }
    /// The exit code once it ends by itself within `ms` (or else is killed); -1 if it crashed.
    int finish(int ms)
    {
        if (!process.waitForFinished(ms))
            process.kill(); // SIGKILL: no chance to flush or close anything
        process.waitForFinished(5000);
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    QProcess process;

private:
    QByteArray m_out;
};

/// A running vantora-devserver: its port and what its `export NAME=value` lines set.
class ServerProcess : public ChildProcess
{
public:
    ServerProcess(const QString &program, const QStringList &arguments)
        : ChildProcess(program, arguments)
    {
        EXPECT_TRUE(waitFor(QStringLiteral("VANTORA_REALTIME_URL="))) << "no start-up lines";
        port = quint16(QUrl(exported().value(QStringLiteral("VANTORA_API_BASE"))).port(0));
    }
    QHash<QString, QString> exported()
    {
        QHash<QString, QString> variables;
        for (const QString &line : lines()) {
            if (line.startsWith(QStringLiteral("export ")))
                variables.insert(line.sliced(7).section(u'=', 0, 0), line.section(u'=', 1));
        }
        return variables;
    }

    quint16 port = 0;
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
