#include "autopilot.h"
#include "scenedump.h"
#include "tvconsole.h"
#include "tvplayer.h"

#include <QCoreApplication>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QJsonDocument>
#include <QKeyEvent>
#include <QNetworkReply>
#include <QQuickWindow>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

QString stepName(const ScriptStep &step)
{
    return QStringLiteral("line %1").arg(step.line);
}

// What a key press types, for the items that read the text rather than the key.
QString keyText(int key)
{
    switch (key) {
    case Qt::Key_Space:
        return QStringLiteral(" ");
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return QStringLiteral("\r");
    case Qt::Key_Escape:
        return QStringLiteral("\x1b");
    case Qt::Key_Backspace:
        return QStringLiteral("\b");
    default:
        return {};
    }
}

// A wait's text: "@name text" is an item named `name` showing exactly `text`; anything else is a
// part of any visible text.
bool shows(QQuickWindow *window, const QString &wanted)
{
    const QList<VisibleText> texts = visibleTexts(window);
    if (wanted.startsWith(u'@')) {
        const QString name = wanted.section(u' ', 0, 0).mid(1);
        const QString exact = wanted.section(u' ', 1).trimmed();
        return std::any_of(texts.cbegin(), texts.cend(), [&](const VisibleText &t) {
            return t.name == name && t.text.trimmed() == exact;
        });
    }
    return std::any_of(texts.cbegin(), texts.cend(),
                       [&](const VisibleText &t) { return t.text.contains(wanted); });
}

} // namespace

Autopilot::Autopilot(Plan plan, QQuickWindow *window, TvPlayer *player, QObject *parent)
    : QObject(parent), m_plan(std::move(plan)), m_window(window), m_player(player)
{
    std::sort(m_plan.screenshotSeconds.begin(), m_plan.screenshotSeconds.end());
    m_ticker.setInterval(20);
    connect(&m_ticker, &QTimer::timeout, this, &Autopilot::tick);
}

void Autopilot::start()
{
    m_sincePrevious.start();
    m_ticker.start();
}

void Autopilot::tick()
{
    if (m_finished || !m_window || !m_player)
        return;
    const double now = m_player->position();

    while (!m_plan.screenshotSeconds.isEmpty() && now >= m_plan.screenshotSeconds.first()) {
        const double second = m_plan.screenshotSeconds.takeFirst();
        saveScreenshot(QStringLiteral("at-%1s").arg(second, 6, 'f', 1, u'0'));
    }
    if (m_plan.quitAt && now >= *m_plan.quitAt) {
        tvLine(QStringLiteral("the video reached %1 s; quitting").arg(*m_plan.quitAt));
        finish(0);
        return;
    }

    if (m_staying)
        return;
    const QList<ScriptStep> &steps = m_plan.script.steps;
    while (m_next < steps.size() && !m_finished) {
        const ScriptStep &step = steps[m_next];
        const bool due = step.afterPrevious ? m_sincePrevious.elapsed() >= qint64(step.at * 1000.0)
                                            : now >= step.at;
        if (!due || !runStep(step))
            return;
        ++m_next;
        m_stepStarted = false;
        m_sincePrevious.start();
    }
    if (!steps.isEmpty() && m_next == steps.size() && !m_finished) {
        tvLine(QStringLiteral("the script is done"));
        finish(0);
    }
}

bool Autopilot::runStep(const ScriptStep &step)
{
    using Command = ScriptStep::Command;
    if (!m_stepStarted) {
        m_stepStarted = true;
        m_waiting.start();
    }
    switch (step.command) {
    case Command::key:
        for (int i = 0; i < step.count; ++i)
            pressKey(step.key);
        tvLine(QStringLiteral("%1: key %2%3")
                   .arg(stepName(step), QKeySequence(step.key).toString(),
                        step.count > 1 ? QStringLiteral(" x%1").arg(step.count) : QString()));
        return true;
    case Command::waitFor:
    case Command::waitGone: {
        const bool wanted = step.command == Command::waitFor;
        if (shows(m_window, step.text) == wanted) {
            tvLine(QStringLiteral("%1: \"%2\" %3 after %4 s")
                       .arg(stepName(step), step.text, wanted ? u"showed"_s : u"went"_s)
                       .arg(double(m_waiting.elapsed()) / 1000.0, 0, 'f', 1));
            return true;
        }
        if (step.seconds == 0 || m_waiting.elapsed() < qint64(step.seconds * 1000.0))
            return false;
        tvError(QStringLiteral("%1: \"%2\" %3 within %4 s; visible texts:")
                    .arg(stepName(step), step.text, wanted ? u"did not show"_s : u"did not go"_s)
                    .arg(step.seconds));
        for (const VisibleText &text : visibleTexts(m_window))
            tvError(QStringLiteral("  %1%2").arg(
                text.name.isEmpty() ? QString() : u"@"_s + text.name + u" "_s, text.text));
        saveScreenshot(QStringLiteral("failed"));
        saveDump(m_plan.outputDir.filePath(QStringLiteral("failed.json")));
        finish(3);
        return false;
    }
    case Command::screenshot:
        saveScreenshot(step.text);
        return true;
    case Command::dump:
        saveDump(m_plan.outputDir.filePath(step.text + u".json"_s));
        return true;
    case Command::mark:
        tvLine(QStringLiteral("mark %1").arg(step.text));
        return true;
    case Command::seek:
        m_player->seek(step.seconds);
        tvLine(QStringLiteral("%1: seek to %2 s").arg(stepName(step)).arg(step.seconds));
        return true;
    case Command::play:
        m_player->play();
        return true;
    case Command::pause:
        m_player->pause();
        return true;
    case Command::quit:
        finish(0);
        return false;
    case Command::stay:
        tvLine(QStringLiteral("%1: the script is done; staying on").arg(stepName(step)));
        m_staying = true;
        return false;
    case Command::admin:
        return runAdmin(step);
    }
    return true;
}

bool Autopilot::runAdmin(const ScriptStep &step)
{
    if (!m_adminReply) {
        if (!m_plan.server.isValid()) {
            tvError(QStringLiteral("%1: admin needs the dev server (--server or VANTORA_API_BASE)")
                        .arg(stepName(step)));
            finish(3);
            return false;
        }
        QNetworkRequest request(m_plan.server.resolved(QUrl(u"/admin/"_s + step.text)));
        request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("application/json"));
        m_adminReply =
            step.body.isEmpty() ? m_network.get(request) : m_network.post(request, step.body);
        return false;
    }
    if (!m_adminReply->isFinished())
        return false;
    QNetworkReply *reply = m_adminReply;
    m_adminReply = nullptr;
    reply->deleteLater();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QByteArray answer = reply->readAll();
    if (status != 200) {
        tvError(QStringLiteral("%1: admin %2 failed (%3): %4")
                    .arg(stepName(step), step.text, reply->errorString(),
                         QString::fromUtf8(answer.left(300))));
        finish(3);
        return false;
    }
    tvLine(QStringLiteral("%1: admin %2 -> %3")
               .arg(stepName(step), step.text, QString::fromUtf8(answer.left(160))));
    return true;
}

void Autopilot::pressKey(int key)
{
    // Through the window, as the platform delivers a remote's keys: to the item with the
    // focus, and on up its parents until one takes it.
    const QString text = keyText(key);
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    QCoreApplication::sendEvent(m_window, &press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, text);
    QCoreApplication::sendEvent(m_window, &release);
}

bool Autopilot::saveScreenshot(const QString &name)
{
    const QString path = m_plan.outputDir.filePath(name + u".png"_s);
    const QImage image = m_window->grabWindow();
    if (image.isNull() || !image.save(path)) {
        tvError(QStringLiteral("could not write the screenshot %1").arg(path));
        return false;
    }
    tvLine(QStringLiteral("screenshot %1 at %2 s").arg(path).arg(m_player->position(), 0, 'f', 1));
    return true;
}

bool Autopilot::writeExitDump()
{
    return m_plan.exitDumpFile.isEmpty() || saveDump(m_plan.exitDumpFile);
}

bool Autopilot::saveDump(const QString &path)
{
    QFile file(path);
    const QJsonObject dump = sceneDump(m_window, m_player->position(), m_player->isPlaying());
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        || file.write(QJsonDocument(dump).toJson()) < 0) {
        tvError(QStringLiteral("could not write %1").arg(path));
        return false;
    }
    tvLine(QStringLiteral("texts on screen written to %1").arg(path));
    return true;
}

void Autopilot::finish(int exitCode)
{
    if (m_finished)
        return;
    m_finished = true;
    m_ticker.stop();
    QCoreApplication::exit(exitCode);
}
