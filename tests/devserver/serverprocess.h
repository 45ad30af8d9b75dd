#pragma once

// vantora-devserver in a process of its own, for the tests that run clients against it.

#include "devservertest.h"

#include <QHash>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>

#include <sys/prctl.h>

#include <csignal>

namespace Vantora::DevServerTest {

/// A running server process and the environment lines it printed.
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
        const auto match =
            QRegularExpression(
                QStringLiteral("VANTORA_API_BASE=http://127\\.0\\.0\\.1:(\\d+)/userApi"))
                .match(QString::fromUtf8(m_out));
        if (match.hasMatch())
            port = match.captured(1).toUShort();
    }
    ~ServerProcess()
    {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
    void killHard()
    {
        m_process.kill(); // SIGKILL: no chance to flush or close anything
        m_process.waitForFinished(5000);
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
    static QNetworkAccessManager network;
    QNetworkRequest request(
        QUrl(QStringLiteral("http://127.0.0.1:%1/admin/%2").arg(port).arg(path)));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("application/json"));
    QNetworkReply *reply = body.isEmpty()
        ? network.get(request)
        : network.post(request, QJsonDocument(body).toJson(QJsonDocument::Compact));
    EXPECT_TRUE(waitUntil([reply] { return reply->isFinished(); }));
    const QByteArray bytes = reply->readAll();
    EXPECT_EQ(reply->error(), QNetworkReply::NoError)
        << qPrintable(path) << ": " << bytes.toStdString();
    reply->deleteLater();
    return QJsonDocument::fromJson(bytes);
}

} // namespace Vantora::DevServerTest
