// vantora-devserver: the backend, channel lists, media and Pusher-protocol realtime server that
// the SDK, the sample app and the end-to-end tests run against, on one loopback port.

#include "devserver_p.h"

#include <vantora/records/vtaenvironment.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QSocketNotifier>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <sys/socket.h>
#include <unistd.h>

using namespace Vantora::DevServer;
using namespace Qt::Literals::StringLiterals;

namespace {

int signalPipe[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(signalPipe[1], &byte, 1);
}

void printLine(FILE *stream, const QString &line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

// The demo channel installed beside the program, or else the one in the source tree it was
// built from.
QString demoFolder()
{
    const QDir installed(QCoreApplication::applicationDirPath()
                         + u"/../" VANTORA_DEVSERVER_INSTALLED_DEMO_DIR ""_s);
    if (installed.exists(u"channels"_s))
        return installed.canonicalPath();
    return QStringLiteral(VANTORA_DEVSERVER_DEMO_DIR);
}

// Installed, the helper stands beside the server; in a build tree, where the build put it.
QString previewHelper()
{
    const QString beside =
        QDir(QCoreApplication::applicationDirPath()).filePath(u"vantora-screenshots"_s);
#ifdef VANTORA_PREVIEW_HELPER
    if (!QFileInfo::exists(beside))
        return QStringLiteral(VANTORA_PREVIEW_HELPER);
#endif
    return beside;
}

} // namespace

int main(int argc, char *argv[])
{
    // Qt's GLib event loop finds a socket among all the others by a linear search each time one
    // is written to: with thousands of viewers connected, a live event then takes seconds to
    // reach them all. Qt's own loop does not.
    if (!qEnvironmentVariableIsSet("QT_NO_GLIB"))
        qputenv("QT_NO_GLIB", "1");
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(u"vantora-devserver"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(VANTORA_VERSION));

    const ServerOptions defaults;
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Local development server for Vantora: the backend's REST operations under /userApi, "
        "channel lists under /channels/, media under /media/, a Pusher protocol 7 websocket at "
        "/app/<key> with the trigger API at /apps/<id>/events, and the admin API under /admin/, "
        "all on one port. Prints the environment lines that point the SDK at it."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption host(u"host"_s, u"Address to listen on (default 127.0.0.1)."_s,
                                  u"address"_s, u"127.0.0.1"_s);
    const QCommandLineOption port(u"port"_s,
                                  u"Port to listen on (default 6001); 0 picks a free port."_s,
                                  u"port"_s, u"6001"_s);
    const QCommandLineOption data(u"data"_s,
                                  u"Content folder with channels/, trivia/, lists/ and media/ "
                                  "(default: the bundled demo channel)."_s,
                                  u"folder"_s, demoFolder());
    const QCommandLineOption database(u"db"_s,
                                      u"SQLite file for viewers, answers and analytics, created "
                                      "when missing (default vantora-devserver.sqlite)."_s,
                                      u"file"_s, u"vantora-devserver.sqlite"_s);
    const QCommandLineOption appId(u"app-id"_s, u"Realtime app id for the trigger API."_s, u"id"_s,
                                   defaults.app.id);
    const QCommandLineOption appKey(u"app-key"_s,
                                    u"Realtime app key that clients connect with (/app/<key>) and "
                                    "publishers sign with. Without it clients may connect with "
                                    "the key of any of the SDK's three environments."_s,
                                    u"key"_s, defaults.app.key);
    const QCommandLineOption appSecret(
        u"app-secret"_s, u"Realtime app secret that trigger requests are signed with."_s,
        u"secret"_s, defaults.app.secret);
    const QCommandLineOption activity(u"activity-timeout"_s,
                                      u"Seconds of silence before the server pings a websocket "
                                      "client; also sent to clients (default 120)."_s,
                                      u"seconds"_s, u"120"_s);
    const QCommandLineOption pong(u"pong-timeout"_s,
                                  u"Seconds to wait for the pong before closing with 4201 "
                                  "(default 30; fractions allowed)."_s,
                                  u"seconds"_s, u"30"_s);
    const QCommandLineOption preview(u"preview-helper"_s,
                                     u"The program that draws the console's previews of cards "
                                     "(default: vantora-screenshots beside this program)."_s,
                                     u"program"_s, previewHelper());
    parser.addOptions(
        {host, port, data, database, appId, appKey, appSecret, activity, pong, preview});
    parser.process(app);

    const auto fail = [](const QString &message) {
        printLine(stderr, u"vantora-devserver: "_s + message);
        return 1;
    };
    if (!parser.positionalArguments().isEmpty())
        return fail(u"unexpected argument "_s + parser.positionalArguments().constFirst());
    bool ok = false;
    const uint portNumber = parser.value(port).toUInt(&ok);
    if (!ok || portNumber > 65535)
        return fail(u"--port: expected 0 to 65535"_s);
    const QHostAddress address(parser.value(host));
    if (address.isNull())
        return fail(u"--host: not an IP address: "_s + parser.value(host));
    ServerOptions options;
    options.dataFolder = parser.value(data);
    options.databaseFile = parser.value(database);
    options.app = {parser.value(appId), parser.value(appKey), parser.value(appSecret)};
    const QStringList sdkKeys{VTAEnvironment::productionDefault().pusherKey(),
                              VTAEnvironment::devDefault().pusherKey(),
                              VTAEnvironment::testDefault().pusherKey()};
    if (!parser.isSet(appKey))
        options.otherClientKeys = sdkKeys;
    options.timing.activityTimeoutSeconds = parser.value(activity).toInt(&ok);
    if (!ok || options.timing.activityTimeoutSeconds < 1)
        return fail(u"--activity-timeout: expected a whole number of seconds, 1 or more"_s);
    const double pongSeconds = parser.value(pong).toDouble(&ok);
    if (!ok || pongSeconds <= 0 || pongSeconds > 3600)
        return fail(u"--pong-timeout: expected seconds above 0"_s);
    options.timing.pongTimeoutMs = int(pongSeconds * 1000);
    options.previewHelper = parser.value(preview);
    // Anyone on the network could run the show or read the viewers: off loopback, /admin wants a
    // token that only the person who started the server sees.
    if (!address.isLoopback()) {
        QByteArray random(16, Qt::Uninitialized);
        QRandomGenerator::system()->fillRange(reinterpret_cast<quint32 *>(random.data()), 4);
        options.adminToken = random.toHex();
    }

    auto server = DevServer::create(options);
    if (!server)
        return fail(server.error());
    auto bound = server.value()->start(address, quint16(portNumber));
    if (!bound)
        return fail(bound.error());

    // SIGINT and SIGTERM close the websockets with "going away" before the process ends.
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) == 0) {
        auto *notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, &app);
        QObject::connect(notifier, &QSocketNotifier::activated, &app, [&server, notifier] {
            notifier->setEnabled(false);
            server.value()->hub().closeAll();
            QTimer::singleShot(200, qApp, &QCoreApplication::quit);
        });
        std::signal(SIGINT, onSignal);
        std::signal(SIGTERM, onSignal);
    }

    const QString origin = address.toString() + u':' + QString::number(bound.value());
    printLine(stdout,
              u"vantora-devserver listening on "_s + origin + u" (data "_s + options.dataFolder
                  + u", database "_s + options.databaseFile + u')');
    if (!options.adminToken.isEmpty())
        printLine(stdout,
                  u"# /admin wants \"Authorization: Bearer "_s
                      + QString::fromLatin1(options.adminToken) + u"\""_s);
    printLine(stdout,
              parser.isSet(appKey)
                  ? u"# realtime clients connect with the key "_s + options.app.key
                  : u"# realtime clients connect with the production, development or test "
                    "environment's key; paste these lines into a shell to point the SDK "
                    "here:"_s);
    printLine(stdout, u"export VANTORA_API_BASE=http://"_s + origin + u"/userApi"_s);
    printLine(stdout, u"export VANTORA_IMAGE_BASE=http://"_s + origin + u"/media"_s);
    printLine(stdout, u"export VANTORA_CHANNELS_BASE=http://"_s + origin + u"/channels/"_s);
    printLine(stdout, u"export VANTORA_REALTIME_URL=ws://"_s + origin);
    return app.exec();
}
