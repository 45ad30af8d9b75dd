// vantora-bench-overlay: what the overlay costs a TV host. The dev server runs in this process on
// a thread of its own; every figure is taken in a child process, a host with a 1920x1080 window
// (offscreen with the software renderer, or on Xvfb with the default one), next to the same host
// without the overlay or a bare stand-in, so each figure has its anchor from the same run:
//
//   latency   a live event -> the first frame swapped with the card in it, from the moment the
//             frame reaches the host's event loop; anchor: a plain rectangle shown on an event
//   slides    frame intervals while each kind of card slides in and out; anchor: a rectangle
//             sliding the same way
//   idle      CPU time and context switches over 30 s of a loaded, connected, idle overlay,
//             beside a bare host
//   memory    RSS with the overlay loaded, after 10 and after 100 cards, beside a bare host
//   startup   load() -> channel verified, viewer signed in, content held, channel subscribed;
//             anchor: one loopback round trip
//   schedule  laying 10,000 clock entries, and again on videoPlaying; anchor: sorting them
//   burst     1,000 events a second for 10 s: how long the main thread is busy per event, and
//             how late a probe event sent every 50 ms is handled
//
// Each figure is printed as a table row "| figure | measured | goal | anchor |". Asserts nothing.
//
//   vantora-bench-overlay [--only latency,slides,...] [--events 50] [--idle-seconds 30]

#include "benchsupport.h"
#include "devserver_p.h"
#include "trigger_p.h"
#include "vantora/overlay/overlaycontroller_p.h"
#include "vantora/realtime/pusherclient_p.h"
#include "vantora/service/networktransport_p.h"
#include "vantora/service/vtaservicemanager_p.h"
#include <vantora/overlay/vtaoverlayview.h>
#include <vantora/records/vtadeployment.h>

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QPropertyAnimation>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <QUrlQuery>
#include <QWebSocket>

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <mutex>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using namespace Bench;

namespace {

constexpr auto channelID = "1001";
constexpr auto broadcasterName = "vantora-demo";
constexpr double frameBudgetMs = 1000.0 / 60;

/// Lets the event loop run, sleeping when idle, for `time`.
void idleFor(std::chrono::milliseconds time)
{
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

qint64 residentBytes()
{
    std::ifstream statm("/proc/self/statm");
    qint64 pages = 0, resident = 0;
    statm >> pages >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}
QString megabytes(double bytes)
{
    return QString::number(bytes / 1048576.0, 'f', 1) + u" MB"_s;
}

QJsonArray toJson(const std::vector<double> &values)
{
    QJsonArray array;
    for (const double value : values)
        array.append(value);
    return array;
}
std::vector<double> fromJson(const QJsonValue &values)
{
    std::vector<double> out;
    for (const QJsonValue &value : values.toArray())
        out.push_back(value.toDouble());
    return out;
}

// ---------------------------------------------------------------------------------------------
// The parent: the dev server, and the children it runs against it.

/// An HTTP exchange run to its end; the reply's body, or an empty one on failure.
QByteArray exchange(QNetworkAccessManager &network, const QUrl &url, const QByteArray &body = {})
{
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("application/json"));
    std::unique_ptr<QNetworkReply> reply(body.isEmpty() ? network.get(request)
                                                        : network.post(request, body));
    waitUntil([&] { return reply->isFinished(); }, 30s);
    return reply->error() == QNetworkReply::NoError ? reply->readAll() : QByteArray();
}

/// The dev server on its own thread, with the demo channel's clock and scheduled injections
/// removed, so that nothing is due unless a figure asks for it.
class Server
{
public:
    Server()
    {
        m_onThread.moveToThread(&m_thread);
        m_thread.start();
        onThread([this] {
            DevServer::ServerOptions options;
            options.dataFolder = QStringLiteral(VANTORA_DEVSERVER_DEMO_DIR);
            options.databaseFile = m_dir.filePath(u"bench.sqlite"_s);
            auto created = DevServer::DevServer::create(options);
            if (!created)
                qFatal("%s", qPrintable(created.error()));
            m_server = std::move(created).value();
            m_port = m_server->start(QHostAddress::LocalHost, 0).value();
        });
        for (const char *kind : {"clocks", "injections"})
            admin(u"items"_s,
                  {{u"channel"_s, QLatin1String(channelID)},
                   {u"kind"_s, QLatin1String(kind)},
                   {u"document"_s, QJsonArray()}});
    }
    ~Server()
    {
        onThread([this] { m_server.reset(); });
        m_thread.quit();
        m_thread.wait();
    }

    QString origin() const { return u"127.0.0.1:"_s + QString::number(m_port); }
    QJsonObject admin(const QString &operation, const QJsonObject &body)
    {
        return QJsonDocument::fromJson(
                   exchange(m_network, QUrl(u"http://"_s + origin() + u"/admin/"_s + operation),
                            QJsonDocument(body).toJson(QJsonDocument::Compact)))
            .object();
    }
    /// Publishes `frames` events a second on the server's thread for `duration`, cycling through
    /// `events` (name, data) on the demo channel, and a probe on "CH_bench" every 50 ms that
    /// carries the moment it was sent. Returns when done.
    void burst(const QList<std::pair<QString, QString>> &events, int perSecond,
               std::chrono::seconds duration)
    {
        onThread([&] {
            DevServer::PusherHub &hub = m_server->hub();
            const QString channel = u"CH_"_s + QLatin1String(channelID);
            const qint64 start = nowNs(), end = start + duration.count() * 1'000'000'000;
            qint64 sent = 0, nextProbe = start;
            for (qint64 now = start; now < end; now = nowNs()) {
                for (const qint64 due = (now - start) * perSecond / 1'000'000'000; sent < due;
                     ++sent)
                    hub.publish({channel}, events[sent % events.size()].first,
                                events[sent % events.size()].second);
                if (now >= nextProbe) {
                    hub.publish({u"CH_bench"_s}, u"probe"_s, QString::number(nowNs()));
                    nextProbe += 50'000'000;
                }
                QCoreApplication::processEvents(QEventLoop::AllEvents); // writes the frames
                QThread::usleep(200);
            }
            hub.publish({u"CH_bench"_s}, u"end"_s, QString::number(sent));
        });
    }

private:
    void onThread(const std::function<void()> &work)
    {
        QMetaObject::invokeMethod(&m_onThread, work, Qt::BlockingQueuedConnection);
    }

    QTemporaryDir m_dir;
    QThread m_thread;
    QObject m_onThread;
    std::unique_ptr<DevServer::DevServer> m_server;
    quint16 m_port = 0;
    QNetworkAccessManager m_network;
};

/// This program again as a host, with `figure` to take; its last line is its figures in JSON.
class Child
{
public:
    enum Renderer { software, defaultRenderer };

    Child(const Server &server, const QStringList &arguments, Renderer renderer = software)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        const QString origin = server.origin();
        environment.insert(u"VANTORA_API_BASE"_s, u"http://"_s + origin + u"/userApi"_s);
        environment.insert(u"VANTORA_IMAGE_BASE"_s, u"http://"_s + origin + u"/media"_s);
        environment.insert(u"VANTORA_CHANNELS_BASE"_s, u"http://"_s + origin + u"/channels/"_s);
        environment.insert(u"VANTORA_REALTIME_URL"_s, u"ws://"_s + origin);
        environment.insert(u"VANTORA_BENCH_HOST"_s, u"1"_s);
        environment.remove(u"QT_NO_GLIB"_s); // a host's own event loop
        QString program = QCoreApplication::applicationFilePath();
        QStringList all =
            QStringList{u"--child"_s} + arguments + QStringList{u"--origin"_s, origin};
        if (renderer == software) {
            environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
            environment.insert(u"QT_QUICK_BACKEND"_s, u"software"_s);
        } else {
            environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
            environment.remove(u"QT_QUICK_BACKEND"_s);
            all.prepend(program);
            all = QStringList{u"-a"_s, u"-s"_s, u"-screen 0 1920x1080x24"_s} + all;
            program = u"xvfb-run"_s;
        }
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(program, all);
    }
    /// Waits for a line beginning `text`.
    bool waitForLine(const QString &text, std::chrono::milliseconds timeout = 60s)
    {
        return waitUntil(
            [&] {
                m_out += m_process.readAllStandardOutput();
                return m_out.contains("\n" + text.toUtf8()) || m_out.startsWith(text.toUtf8())
                    || m_process.state() == QProcess::NotRunning;
            },
            timeout);
    }
    /// The figures it printed last, once it ends; exits when it printed none.
    QJsonObject figures(std::chrono::milliseconds timeout = 180s)
    {
        if (!m_process.waitForFinished(int(timeout.count())))
            m_process.kill();
        m_out += m_process.readAllStandardOutput();
        const QJsonObject figures =
            QJsonDocument::fromJson(m_out.trimmed().split('\n').last()).object();
        if (figures.isEmpty()) {
            std::fprintf(stderr, "%s: a host failed (its output is above)\n",
                         qPrintable(m_process.arguments().join(u' ')));
            std::exit(1);
        }
        return figures;
    }

private:
    QProcess m_process;
    QByteArray m_out;
};

// ---------------------------------------------------------------------------------------------
// The children: a host, with or without the overlay.

/// Notes, on the host's main thread, the first socket activity after arm(): the moment a frame
/// reaches the event loop. With `timing`, how long each event takes to handle.
class HostApp : public QGuiApplication
{
public:
    using QGuiApplication::QGuiApplication;

    void arm()
    {
        m_arrival = 0;
        m_armed = true;
    }
    qint64 arrival() const { return m_arrival; }
    bool timing = false;
    std::vector<double> eventMs;

    bool notify(QObject *receiver, QEvent *event) override
    {
        if (!(QThread::currentThread() == thread()))
            return QGuiApplication::notify(receiver, event);
        if (m_armed && event->type() == QEvent::SockAct) {
            m_arrival = nowNs();
            m_armed = false;
        }
        if (!timing)
            return QGuiApplication::notify(receiver, event);
        const qint64 start = nowNs();
        const bool handled = QGuiApplication::notify(receiver, event);
        eventMs.push_back(msBetween(start, nowNs()));
        return handled;
    }

private:
    bool m_armed = false;
    qint64 m_arrival = 0;
};

/// Posts to the dev server from a thread of its own, so that the replies never reach the host's
/// main thread.
class Broadcaster
{
public:
    explicit Broadcaster(QString origin) : m_origin(std::move(origin))
    {
        m_onThread.moveToThread(&m_thread);
        m_thread.start();
    }
    ~Broadcaster()
    {
        QMetaObject::invokeMethod(
            &m_onThread, [this] { m_network.reset(); }, Qt::BlockingQueuedConnection);
        m_thread.quit();
        m_thread.wait();
    }
    void inject(const QString &kind, const QString &id)
    {
        send(QUrl(u"http://"_s + m_origin + u"/admin/inject"_s),
             QJsonDocument(QJsonObject{{u"channel"_s, QLatin1String(channelID)},
                                       {u"kind"_s, kind},
                                       {u"id"_s, id}})
                 .toJson(QJsonDocument::Compact));
    }
    /// A signed event through the trigger API, as a broadcaster's backend sends one.
    void trigger(const QString &channel, const QString &event, const QString &data)
    {
        const QByteArray body =
            QJsonDocument(
                QJsonObject{{u"name"_s, event}, {u"channel"_s, channel}, {u"data"_s, data}})
                .toJson(QJsonDocument::Compact);
        const DevServer::PusherApp app = DevServer::ServerOptions{}.app;
        const QString path = u"/apps/"_s + app.id + u"/events"_s;
        QUrlQuery query;
        query.setQueryItems(
            DevServer::signedQuery(app, "POST", path, body, QDateTime::currentSecsSinceEpoch()));
        QUrl url(u"http://"_s + m_origin + path);
        url.setQuery(query);
        send(url, body);
    }

private:
    void send(const QUrl &url, const QByteArray &body)
    {
        QMetaObject::invokeMethod(&m_onThread, [this, url, body] {
            if (!m_network)
                m_network = std::make_unique<QNetworkAccessManager>();
            QNetworkRequest request(url);
            request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("application/json"));
            QNetworkReply *reply = m_network->post(request, body);
            QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
        });
    }

    QString m_origin;
    QThread m_thread;
    QObject m_onThread;
    std::unique_ptr<QNetworkAccessManager> m_network;
};

/// The transport the overlay's requests go through, counting them on their way to the network.
class CountingTransport final : public Transport
{
public:
    void send(HttpRequest request, QObject *context, Done done) override
    {
        ++requests;
        m_network.send(std::move(request), context, std::move(done));
    }
    int requests = 0;

private:
    NetworkTransport m_network;
};

/// A host's window at 1080p with the overlay over nothing (or no overlay), and a plain white
/// rectangle for the anchors. Notes the first frame synchronised after mark(), whatever thread
/// renders, and with `recordFrames` the moment of every frame.
class Host
{
public:
    explicit Host(bool withOverlay)
    {
        window.resize(1920, 1080);
        QQmlComponent plain(&m_engine);
        plain.setData("import QtQuick\nRectangle { width: 600; height: 400; color: 'white'; "
                      "visible: false }",
                      QUrl());
        rectangle = qobject_cast<QQuickItem *>(plain.create());
        rectangle->setParentItem(window.contentItem());
        if (withOverlay) {
            overlay = new VTAOverlayView(window.contentItem());
            overlay->setSize({1920, 1080});
        }
        QObject::connect(
            &window, &QQuickWindow::beforeSynchronizing, &window,
            [this] { m_inFrame = m_marked.load(); }, Qt::DirectConnection);
        QObject::connect(
            &window, &QQuickWindow::frameSwapped, &window,
            [this] {
                const qint64 now = nowNs();
                if (m_inFrame && !m_firstFrame)
                    m_firstFrame = now;
                if (recordFrames) {
                    const std::lock_guard lock(m_mutex);
                    m_frames.push_back(now);
                }
            },
            Qt::DirectConnection);
        window.show();
    }
    ~Host() { delete rectangle; }

    /// Loads the demo channel; waits until its content is held and its channel subscribed.
    bool load()
    {
        overlay->load(QString::fromLatin1(channelID), QString::fromLatin1(broadcasterName),
                      VTAEnvironment::testDefault());
        return waitUntil([this] { return ready(); });
    }
    bool ready() const
    {
        const OverlayController *controller = OverlayController::of(overlay);
        const PusherClient *pusher = controller->pusherHelper.pusher();
        return controller->state.user && controller->state.channelInfo && pusher
            && pusher->isSubscribed(u"CH_"_s + QLatin1String(channelID));
    }
    /// Shows `item` live and waits for the card; false when none came.
    bool inject(Broadcaster &broadcaster, const std::pair<QString, QString> &item)
    {
        broadcaster.inject(item.first, item.second);
        return waitUntil([this] { return overlay->isDisplayingInteraction(); }, 5s);
    }
    /// Closes the card and lets it slide out.
    void close()
    {
        overlay->closeInteractionIfNeeded();
        idleFor(500ms);
    }

    /// The first frame synchronised after this call is noted.
    void mark()
    {
        m_firstFrame = 0;
        m_marked = true;
    }
    void unmark()
    {
        m_marked = false;
        m_firstFrame = 0;
    }
    qint64 firstFrame() const { return m_firstFrame; }
    std::vector<qint64> takeFrames()
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_frames, {});
    }

    QQuickWindow window;
    VTAOverlayView *overlay = nullptr;
    QQuickItem *rectangle = nullptr;
    std::atomic<bool> recordFrames = false;

private:
    QQmlEngine m_engine;
    std::atomic<bool> m_marked = false, m_inFrame = false;
    std::atomic<qint64> m_firstFrame = 0;
    std::mutex m_mutex;
    std::vector<qint64> m_frames;
};

/// A bare websocket subscriber on the bench's own channel, as an anchor host would have one.
class BenchChannel
{
public:
    explicit BenchChannel(const QString &origin)
    {
        QObject::connect(
            &m_socket, &QWebSocket::textMessageReceived, &m_socket, [this](const QString &text) {
                const QJsonObject frame = QJsonDocument::fromJson(text.toUtf8()).object();
                const QString event = frame["event"_L1].toString();
                if (event == "pusher:connection_established"_L1)
                    m_socket.sendTextMessage(uR"({"event":"pusher:subscribe",)"
                                             uR"("data":{"channel":"CH_bench"}})"_s);
                else if (event == "pusher_internal:subscription_succeeded"_L1)
                    m_subscribed = true;
                else if (onEvent)
                    onEvent(event, frame["data"_L1].toString());
            });
        m_socket.open(QUrl(u"ws://"_s + origin + u"/app/"_s
                           + VTAEnvironment::testDefault().pusherKey() + u"?protocol=7"_s));
        if (!waitUntil([this] { return m_subscribed; }))
            qFatal("the bench channel did not open");
    }
    ~BenchChannel() { m_socket.abort(); }

    std::function<void(const QString &event, const QString &data)> onEvent;

private:
    QWebSocket m_socket;
    bool m_subscribed = false;
};

// The demo channel's poll, prediction, rating and trivia question.
const QList<std::pair<QString, QString>> demoItems{{u"poll"_s, u"p100"_s},
                                                   {u"poll"_s, u"pr200"_s},
                                                   {u"rating"_s, u"r300"_s},
                                                   {u"trivia"_s, u"t400"_s}};

QJsonObject latencyChild(HostApp &app, const QString &origin, int events)
{
    Host host(true);
    if (!host.load())
        qFatal("the overlay did not load");
    Broadcaster broadcaster(origin);
    BenchChannel bench(origin);
    std::vector<double> overlayMs, bareMs, cardMs;
    QObject::connect(host.overlay, &VTAOverlayView::interactionChanged, host.overlay, [&] {
        if (host.overlay->isDisplayingInteraction()) {
            cardMs.push_back(msBetween(app.arrival(), nowNs()));
            host.mark();
        }
    });
    bench.onEvent = [&](const QString &, const QString &) {
        host.rectangle->setVisible(true);
        host.mark();
    };
    const auto measure = [&](std::vector<double> &into, const std::function<void()> &send) {
        host.unmark();
        app.arm();
        send();
        if (!waitUntil([&] { return host.firstFrame() != 0; }, 5s))
            qFatal("no frame came");
        into.push_back(msBetween(app.arrival(), host.firstFrame()));
        host.unmark();
    };
    for (int i = 0; i < events; ++i) {
        // A poll, a prediction or a rating of the content the overlay holds.
        const auto &[kind, id] = demoItems[i % 3];
        measure(overlayMs, [&] { broadcaster.inject(kind, id); });
        host.close();
        measure(bareMs, [&] { broadcaster.trigger(u"CH_bench"_s, u"show"_s, u"{}"_s); });
        host.rectangle->setVisible(false);
        idleFor(50ms);
    }
    return {{u"overlay"_s, toJson(overlayMs)},
            {u"card"_s, toJson(cardMs)},
            {u"bare"_s, toJson(bareMs)}};
}

/// The frame intervals from `start` over `length`, the first counted from `start`.
std::vector<double> intervals(const std::vector<qint64> &frames, qint64 start,
                              std::chrono::milliseconds length)
{
    std::vector<double> out;
    qint64 last = start;
    const qint64 end = start + length.count() * 1'000'000;
    for (const qint64 frame : frames) {
        if (frame <= start)
            continue;
        out.push_back(msBetween(last, frame));
        last = frame;
        if (frame >= end)
            break;
    }
    return out;
}

QJsonObject slidesChild(const QString &origin)
{
    Host host(true);
    if (!host.load())
        qFatal("the overlay did not load");
    Broadcaster broadcaster(origin);
    host.recordFrames = true;
    QJsonObject kinds;
    const QStringList names{u"poll"_s, u"prediction"_s, u"rating"_s, u"trivia"_s};
    for (qsizetype i = 0; i < demoItems.size(); ++i) {
        std::vector<double> all;
        for (int round = 0; round < 5; ++round) {
            host.takeFrames();
            if (!host.inject(broadcaster, demoItems[i]))
                qFatal("no card came");
            const qint64 shown = nowNs();
            idleFor(1s);
            const qint64 closing = nowNs();
            host.close();
            const std::vector<qint64> frames = host.takeFrames();
            for (const qint64 start : {shown, closing}) {
                const std::vector<double> slide = intervals(frames, start, 400ms);
                all.insert(all.end(), slide.begin(), slide.end());
            }
        }
        kinds[names[i]] = toJson(all);
    }
    // The anchor: a plain rectangle sliding 600 px over 0.4 s, in and out.
    std::vector<double> all;
    host.rectangle->setVisible(true);
    for (int round = 0; round < 10; ++round) {
        host.takeFrames();
        const qint64 start = nowNs();
        auto *slide = new QPropertyAnimation(host.rectangle, "x");
        slide->setDuration(400);
        slide->setStartValue(round % 2 ? 1320 : 1920);
        slide->setEndValue(round % 2 ? 1920 : 1320);
        slide->setEasingCurve(QEasingCurve::InOutQuad);
        slide->start(QAbstractAnimation::DeleteWhenStopped);
        idleFor(600ms);
        const std::vector<double> frames = intervals(host.takeFrames(), start, 400ms);
        all.insert(all.end(), frames.begin(), frames.end());
    }
    kinds[u"anchor"_s] = toJson(all);
    return kinds;
}

/// CPU time in ms and context switches of the whole process so far.
std::pair<double, double> usage()
{
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    const auto ms = [](const timeval &t) {
        return double(t.tv_sec) * 1e3 + double(t.tv_usec) / 1e3;
    };
    return {ms(used.ru_utime) + ms(used.ru_stime), double(used.ru_nvcsw + used.ru_nivcsw)};
}

QJsonObject idleChild(bool withOverlay, const QString &origin, int seconds)
{
    Host host(withOverlay);
    Broadcaster broadcaster(origin); // the same threads in both hosts
    if (withOverlay && !host.load())
        qFatal("the overlay did not load");
    idleFor(3s); // start-up's late work: the catch-up of past injections, the first reports
    const auto [cpuBefore, switchesBefore] = usage();
    idleFor(std::chrono::seconds(seconds));
    const auto [cpuAfter, switchesAfter] = usage();
    return {{u"cpuMs"_s, cpuAfter - cpuBefore},
            {u"switches"_s, switchesAfter - switchesBefore},
            {u"seconds"_s, seconds}};
}

QJsonObject memoryChild(bool withOverlay, const QString &origin, int cards)
{
    Host host(withOverlay);
    Broadcaster broadcaster(origin);
    if (withOverlay && !host.load())
        qFatal("the overlay did not load");
    idleFor(3s);
    QJsonObject figures;
    // RSS, then RSS once the allocator has handed back what was freed (it keeps it otherwise).
    const auto note = [&](const QString &when) {
        figures[when] = double(residentBytes());
        malloc_trim(0);
        figures[when + u"Trimmed"_s] = double(residentBytes());
    };
    note(u"loaded"_s);
    for (int i = 1; withOverlay && i <= cards; ++i) {
        if (!host.inject(broadcaster, demoItems[i % demoItems.size()]))
            qFatal("no card came");
        idleFor(100ms);
        host.close();
        if (i == 10 || i == cards)
            note(u"after"_s + QString::number(i));
    }
    return figures;
}

QJsonObject startupChild(const QString &origin, int loads)
{
    auto transport = std::make_unique<CountingTransport>();
    CountingTransport *counted = transport.get();
    VTAServiceManager::shared().setTransport(std::move(transport));
    VTAOverlayView::resetUser();
    std::vector<double> times;
    std::vector<int> requests;
    for (int i = 0; i < loads; ++i) {
        Host host(true); // each load in a new overlay, as a host that opens its player screen
        counted->requests = 0;
        const qint64 start = nowNs();
        if (!host.load())
            qFatal("the overlay did not load");
        times.push_back(msBetween(start, nowNs()));
        requests.push_back(counted->requests);
    }
    // One loopback round trip: the channel list, asked again on an open connection.
    QNetworkAccessManager network;
    const QUrl list(u"http://"_s + origin + u"/channels/"_s + QLatin1String(broadcasterName)
                    + u"__test3.json"_s);
    std::vector<double> trips;
    for (int i = 0; i < 11; ++i) {
        const qint64 start = nowNs();
        exchange(network, list);
        if (i > 0)
            trips.push_back(msBetween(start, nowNs()));
    }
    return {{u"first"_s, times.front()},
            {u"firstRequests"_s, requests.front()},
            {u"again"_s, toJson(std::vector<double>(times.begin() + 1, times.end()))},
            {u"againRequests"_s, requests.back()},
            {u"roundTrip"_s, median(trips)}};
}

QJsonObject scheduleChild(int entries, int rounds)
{
    Host host(true);
    OverlayController *controller = OverlayController::of(host.overlay);
    StreamerInfo info;
    info.id = QString::fromLatin1(channelID);
    for (int i = 0; i < entries; ++i) {
        Clock entry;
        entry.id.value = u"p"_s + QString::number(i % 50);
        entry.module = u"polls"_s;
        entry.time = 10 + (qint64(i) * 7919) % 36000; // ten hours of video, out of order
        entry.timeToStay.value = u"20"_s;
        entry.smartTV = true;
        info.clocks.append(entry);
    }
    controller->state.channelInfo = info;
    std::vector<double> lay, relay, sort;
    for (int round = 0; round < rounds; ++round) {
        controller->videoPaused();
        qint64 start = nowNs();
        controller->scheduleContent(info, 0);
        lay.push_back(msBetween(start, nowNs()));
        controller->videoPaused();
        start = nowNs();
        host.overlay->videoPlaying(1800.5); // the viewer resumed half an hour in
        relay.push_back(msBetween(start, nowNs()));
        QList<Clock> copy = info.clocks;
        start = nowNs();
        std::stable_sort(copy.begin(), copy.end(),
                         [](const Clock &a, const Clock &b) { return a.time < b.time; });
        sort.push_back(msBetween(start, nowNs()));
        idleFor(20ms);
    }
    controller->videoPaused();
    return {{u"lay"_s, toJson(lay)}, {u"relay"_s, toJson(relay)}, {u"sort"_s, toJson(sort)}};
}

QJsonObject burstChild(HostApp &app, const QString &origin)
{
    Host host(true);
    if (!host.load())
        qFatal("the overlay did not load");
    BenchChannel bench(origin);
    std::vector<double> probeLag;
    bool ended = false;
    qint64 published = 0;
    bench.onEvent = [&](const QString &event, const QString &data) {
        if (event == "probe"_L1)
            probeLag.push_back(msBetween(data.toLongLong(), nowNs()));
        else if (event == "end"_L1)
            ended = true, published = data.toLongLong();
    };
    idleFor(1s);
    app.timing = true;
    std::printf("ready\n");
    std::fflush(stdout);
    waitUntil([&] { return ended; }, 120s);
    app.timing = false;
    return {{u"events"_s, toJson(app.eventMs)},
            {u"probes"_s, toJson(probeLag)},
            {u"published"_s, double(published)}};
}

int runChild(HostApp &app, const QCommandLineParser &parser, const QStringList &arguments)
{
    QCoreApplication::setOrganizationName(u"Vantora"_s);
    QCoreApplication::setApplicationName(u"vantora-bench"_s);
    VTAOverlayView::resetUser(); // a viewer of an earlier run's server is unknown to this one
    const QString origin = parser.value(u"origin"_s);
    const QString figure = arguments.value(0);
    const bool withOverlay = arguments.value(1) != "bare"_L1;
    QJsonObject figures;
    if (figure == "latency"_L1)
        figures = latencyChild(app, origin, parser.value(u"events"_s).toInt());
    else if (figure == "slides"_L1)
        figures = slidesChild(origin);
    else if (figure == "idle"_L1)
        figures = idleChild(withOverlay, origin, parser.value(u"idle-seconds"_s).toInt());
    else if (figure == "memory"_L1)
        figures = memoryChild(withOverlay, origin, 100);
    else if (figure == "startup"_L1)
        figures = startupChild(origin, 6);
    else if (figure == "schedule"_L1)
        figures = scheduleChild(10000, 20);
    else if (figure == "burst"_L1)
        figures = burstChild(app, origin);
    std::printf("%s\n", QJsonDocument(figures).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
    return 0;
}

// ---------------------------------------------------------------------------------------------
// The parent's rows.

void latencyRows(Server &server, int events)
{
    const bool xvfb = !QStandardPaths::findExecutable(u"xvfb-run"_s).isEmpty();
    for (const auto renderer : {Child::software, Child::defaultRenderer}) {
        const QString name = renderer == Child::software ? u"software"_s : u"default, Xvfb"_s;
        if (renderer == Child::defaultRenderer && !xvfb) {
            printRow(u"event → card's first frame ("_s + name + u')', u"not run: no xvfb-run"_s,
                     u"p99 ≤ 16.7 ms"_s, {});
            continue;
        }
        const QJsonObject figures =
            Child(server, {u"latency"_s, u"--events"_s, QString::number(events)}, renderer)
                .figures();
        const std::vector<double> overlay = fromJson(figures["overlay"_L1]);
        printRow(u"event → card's first frame ("_s + name + u')',
                 spread(overlay) + u" ("_s + QString::number(overlay.size())
                     + u" events; the card made by "_s + spread(fromJson(figures["card"_L1]))
                     + u')',
                 u"p99 ≤ 16.7 ms"_s, u"plain rectangle: "_s + spread(fromJson(figures["bare"_L1])));
    }
}

QString smoothness(const std::vector<double> &intervals)
{
    int dropped = 0;
    for (const double interval : intervals)
        dropped += std::max(0, int(std::lround(interval / frameBudgetMs)) - 1);
    return u"p99 "_s + ms(percentile(intervals, 0.99)) + u", max "_s + ms(percentile(intervals, 1))
        + u", "_s + QString::number(dropped) + u" dropped of "_s + QString::number(intervals.size())
        + u" frames"_s;
}

void slideRows(Server &server)
{
    const QJsonObject figures = Child(server, {u"slides"_s}).figures();
    const QString anchor = u"plain rectangle: "_s + smoothness(fromJson(figures["anchor"_L1]));
    for (const char *kind : {"poll", "prediction", "rating", "trivia"}) {
        printRow(u"slide in and out: "_s + QLatin1String(kind) + u" (software, ×5)"_s,
                 smoothness(fromJson(figures[QLatin1String(kind)])), u"p99 interval ≤ 16.7 ms"_s,
                 anchor);
    }
}

void idleRows(Server &server, int seconds)
{
    const QStringList arguments{u"--idle-seconds"_s, QString::number(seconds)};
    Child bare(server, QStringList{u"idle"_s, u"bare"_s} + arguments);
    Child loaded(server, QStringList{u"idle"_s, u"overlay"_s} + arguments);
    const QJsonObject withOverlay = loaded.figures(), without = bare.figures();
    const auto perSecond = [&](const QJsonObject &figures, const char *key) {
        return figures[QLatin1String(key)].toDouble() / seconds;
    };
    const double cpu = (perSecond(withOverlay, "cpuMs") - perSecond(without, "cpuMs")) / 10;
    const double wakeups = perSecond(withOverlay, "switches") - perSecond(without, "switches");
    printRow(u"idle CPU, "_s + QString::number(seconds) + u" s (overlay − bare host)"_s,
             QString::number(cpu, 'f', 3) + u" %"_s, u"< 0.1 %"_s,
             u"bare host "_s + QString::number(perSecond(without, "cpuMs") / 10, 'f', 3) + u" %"_s);
    printRow(u"idle wake-ups (overlay − bare host)"_s, QString::number(wakeups, 'f', 2) + u" /s"_s,
             u"≤ 1 /s"_s,
             u"bare host "_s + QString::number(perSecond(without, "switches"), 'f', 2) + u" /s"_s);
}

void memoryRows(Server &server)
{
    Child bare(server, {u"memory"_s, u"bare"_s});
    Child loaded(server, {u"memory"_s, u"overlay"_s});
    const QJsonObject withOverlay = loaded.figures(), without = bare.figures();
    const auto above = [&](const QString &when) {
        const double trimmed =
            withOverlay[when + u"Trimmed"_s].toDouble() - without["loadedTrimmed"_L1].toDouble();
        return u"+"_s + megabytes(withOverlay[when].toDouble() - without["loaded"_L1].toDouble())
            + u" (+"_s + megabytes(trimmed) + u" once the allocator returns freed memory)"_s;
    };
    const QString anchor = u"bare host "_s + megabytes(without["loaded"_L1].toDouble());
    printRow(u"memory: overlay loaded (RSS − bare host)"_s, above(u"loaded"_s), u"≤ +15 MB"_s,
             anchor);
    printRow(u"memory: after 100 cards shown and closed"_s, above(u"after100"_s), u"≤ +15 MB"_s,
             anchor);
    printRow(u"memory: growth from card 10 to card 100"_s,
             megabytes(withOverlay["after100"_L1].toDouble() - withOverlay["after10"_L1].toDouble())
                 + u" ("_s
                 + megabytes(withOverlay["after100Trimmed"_L1].toDouble()
                             - withOverlay["after10Trimmed"_L1].toDouble())
                 + u" returned)"_s,
             u"none"_s, {});
}

void startupRows(Server &server)
{
    const QJsonObject figures = Child(server, {u"startup"_s}).figures();
    const double trip = figures["roundTrip"_L1].toDouble();
    const QString goal = u"≤ 3 round trips + 20 ms = "_s + ms(3 * trip + 20);
    const QString anchor = u"loopback round trip "_s + ms(trip);
    printRow(u"start-up: first run (registers the viewer)"_s,
             ms(figures["first"_L1].toDouble()) + u", "_s
                 + QString::number(figures["firstRequests"_L1].toInt()) + u" requests"_s,
             goal, anchor);
    printRow(u"start-up: later runs (signed in by token), median of 5"_s,
             ms(median(fromJson(figures["again"_L1]))) + u", "_s
                 + QString::number(figures["againRequests"_L1].toInt()) + u" requests"_s,
             goal, anchor);
}

void scheduleRows(Server &server)
{
    const QJsonObject figures = Child(server, {u"schedule"_s}).figures();
    const QString anchor =
        u"sorting the 10,000 entries: "_s + ms(median(fromJson(figures["sort"_L1])));
    const auto measured = [&](const char *key) {
        const std::vector<double> values = fromJson(figures[QLatin1String(key)]);
        return u"median "_s + ms(median(values)) + u", max "_s + ms(percentile(values, 1));
    };
    printRow(u"scheduling: laying 10,000 clock entries"_s, measured("lay"), u"≤ 5 ms"_s, anchor);
    printRow(u"scheduling: laying them again on videoPlaying"_s, measured("relay"), u"≤ 5 ms"_s,
             anchor);
}

void burstRows(Server &server)
{
    // The events as the server sends them: the channel's fresh totals and a poll injected.
    const QJsonObject totals =
        server.admin(u"streamer-info"_s, {{u"channel"_s, QLatin1String(channelID)}});
    const QJsonObject injection = server.admin(
        u"inject"_s,
        {{u"channel"_s, QLatin1String(channelID)}, {u"kind"_s, u"poll"_s}, {u"id"_s, u"p101"_s}});
    const auto text = [](const QJsonObject &sent) {
        return QString::fromUtf8(
            QJsonDocument(sent["data"_L1].toObject()).toJson(QJsonDocument::Compact));
    };
    QList<std::pair<QString, QString>> events(9, {totals["event"_L1].toString(), text(totals)});
    events.append({injection["event"_L1].toString(), text(injection)});

    Child host(server, {u"burst"_s});
    if (!host.waitForLine(u"ready"_s))
        qFatal("the burst's host did not start");
    server.burst(events, 1000, 10s);
    const QJsonObject figures = host.figures();
    const std::vector<double> handling = fromJson(figures["events"_L1]);
    const std::vector<double> lag = fromJson(figures["probes"_L1]);
    printRow(u"live burst: 1,000 events/s for 10 s, main-thread work per event"_s,
             spread(handling) + u", max "_s + ms(percentile(handling, 1)), u"p99 ≤ 5 ms"_s,
             QString::number(figures["published"_L1].toDouble(), 'f', 0) + u" sent, "_s
                 + QString::number(handling.size()) + u" main-thread events"_s);
    printRow(u"live burst: backlog (a probe every 50 ms, sent → handled)"_s,
             spread(lag) + u", max "_s + ms(percentile(lag, 1)), u"no backlog"_s,
             QString::number(lag.size()) + u" probes"_s);
}

} // namespace

int main(int argc, char *argv[])
{
    if (!qEnvironmentVariableIsSet("VANTORA_BENCH_HOST")) {
        qputenv("QT_QPA_PLATFORM", "offscreen"); // the parent only serves,
        qputenv("QT_NO_GLIB", "1"); // on the event loop vantora-devserver has
    }
    HostApp app(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOptions({{u"only"_s, u"Figures to take, comma-separated."_s, u"list"_s},
                       {u"events"_s, u"Live events for the latency figure."_s, u"n"_s, u"100"_s},
                       {u"idle-seconds"_s, u"Length of the idle figure."_s, u"s"_s, u"30"_s},
                       {u"child"_s, u"Run as a host taking one figure (internal)."_s},
                       {u"origin"_s, u"The dev server (internal)."_s, u"host:port"_s}});
    parser.addPositionalArgument(u"figure"_s, u"With --child: the figure and the host."_s);
    parser.process(app);
    if (parser.isSet(u"child"_s))
        return runChild(app, parser, parser.positionalArguments());

    const QStringList only = parser.value(u"only"_s).split(u',', Qt::SkipEmptyParts);
    const auto wanted = [&](const char *figure) {
        return only.isEmpty() || only.contains(QLatin1String(figure));
    };
    Server server;
    if (wanted("startup"))
        startupRows(server);
    if (wanted("latency"))
        latencyRows(server, parser.value(u"events"_s).toInt());
    if (wanted("slides"))
        slideRows(server);
    if (wanted("idle"))
        idleRows(server, parser.value(u"idle-seconds"_s).toInt());
    if (wanted("memory"))
        memoryRows(server);
    if (wanted("schedule"))
        scheduleRows(server);
    if (wanted("burst"))
        burstRows(server);
    return 0;
}
