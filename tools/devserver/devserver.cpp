#include "devserver_p.h"

#include "multipart_p.h"
#include "trigger_p.h"
#include "vantora/records/jsoncodec_p.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMimeDatabase>
#include <QProcess>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTcpSocket>
#include <QTemporaryFile>
#include <QTimer>
#include <QWebSocket>

#include <sys/socket.h>

using namespace Qt::Literals::StringLiterals;

namespace Vantora::DevServer {

namespace {

QByteArray header(const QHttpServerRequest &request, QByteArrayView name)
{
    for (const auto &[key, value] : request.headers()) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

QByteArray methodName(QHttpServerRequest::Method method)
{
    switch (method) {
    case QHttpServerRequest::Method::Get:
        return "GET";
    case QHttpServerRequest::Method::Post:
        return "POST";
    case QHttpServerRequest::Method::Put:
        return "PUT";
    case QHttpServerRequest::Method::Delete:
        return "DELETE";
    case QHttpServerRequest::Method::Head:
        return "HEAD";
    case QHttpServerRequest::Method::Options:
        return "OPTIONS";
    case QHttpServerRequest::Method::Patch:
        return "PATCH";
    default:
        return "OTHER";
    }
}

bool isWebSocketUpgrade(const QHttpServerRequest &request)
{
    return header(request, "upgrade").compare("websocket", Qt::CaseInsensitive) == 0;
}

} // namespace

Result<std::unique_ptr<DevServer>, QString> DevServer::create(ServerOptions options)
{
    auto content = Content::load(options.dataFolder);
    if (!content)
        return content.error();
    auto store = Store::open(options.databaseFile);
    if (!store)
        return store.error();
    // The producer's edits over the data folder's content; one that no longer applies (the
    // folder changed under it) is reported and left out.
    for (const ContentEdit &edit : store.value()->edits()) {
        if (auto applied = content.value().apply(edit); !applied)
            qWarning().noquote() << "vantora-devserver: an edit of" << edit.kind << edit.id
                                 << "no longer applies:" << applied.error();
    }
    if (options.uploadsFolder.isEmpty()) {
        const QFileInfo database(options.databaseFile);
        options.uploadsFolder = database.dir().filePath(database.completeBaseName() + u"-media"_s);
    }
    if (!options.now)
        options.now = [] {
            return QDateTime::currentSecsSinceEpoch();
        };
    return std::unique_ptr<DevServer>(
        new DevServer(std::move(options), std::move(content).value(), std::move(store).value()));
}

DevServer::DevServer(ServerOptions options, Content content, std::unique_ptr<Store> store)
    : m_options(std::move(options)), m_content(std::move(content)), m_store(std::move(store))
{
    m_backend = std::make_unique<Backend>(m_content, *m_store);
    m_hub = new PusherHub(m_options.app, m_options.timing, this);
    m_hub->setOtherClientKeys(m_options.otherClientKeys);
    m_admin = std::make_unique<Admin>(m_content, *m_store, *m_backend, *m_hub);
    m_backend->setObserver({[this](const AnswerOutcome &outcome) { m_admin->noteAnswer(outcome); },
                            [this](const Viewer &viewer, const QList<QByteArray> &events) {
                                m_admin->noteAnalytics(viewer, events);
                            }});
    connect(
        m_hub, &PusherHub::subscribersChanged, this,
        [this](const QString &channel, qsizetype count) { m_admin->noteAudience(channel, count); });
    connect(this, &QAbstractHttpServer::newWebSocketConnection, this, [this] {
        while (hasPendingWebSocketConnections())
            m_hub->addConnection(nextPendingWebSocketConnection());
    });
}

DevServer::~DevServer() = default;

Result<quint16, QString> DevServer::start(const QHostAddress &address, quint16 port)
{
    // QAbstractHttpServer::listen() reports failure as port 0.
    const quint16 bound = listen(address, port);
    if (bound == 0)
        return u"cannot listen on "_s + address.toString() + u':' + QString::number(port);
    return bound;
}

bool DevServer::handleRequest(const QHttpServerRequest &request, QTcpSocket *socket)
{
    // A websocket upgrade on /app/ is left unanswered: the websocket server takes the socket over
    // and the hub checks the key and protocol on the connection itself.
    if (isWebSocketUpgrade(request))
        return request.url().path().startsWith("/app/"_L1);
    if (misbehave(request, socket))
        return true;

    if (request.url().path() == "/admin/preview"_L1 && authorized(request)) {
        HttpReply refusal;
        if (startPreview(request.query(), makeResponder(request, socket), refusal))
            return true;
        makeResponder(request, socket)
            .write(refusal.body, {{"Content-Type", refusal.contentType}},
                   static_cast<QHttpServerResponder::StatusCode>(refusal.status));
        return true;
    }
    const HttpReply reply = dispatch(request);
    makeResponder(request, socket)
        .write(reply.body, {{"Content-Type", reply.contentType}},
               static_cast<QHttpServerResponder::StatusCode>(reply.status));
    return true;
}

HttpReply DevServer::setFault(QByteArrayView body)
{
    static const QStringList kinds{u"html500"_s,   u"notjson"_s, u"notimage"_s,
                                   u"truncated"_s, u"reset"_s,   u"silent"_s};
    const QJsonObject request = QJsonDocument::fromJson(body.toByteArray()).object();
    if (request.value("clear"_L1).toBool()) {
        m_faults.clear();
        return HttpReply{200, "{}"};
    }
    const QString path = request.value("path"_L1).toString();
    const QString kind = request.value("fault"_L1).toString();
    const QJsonValue times = request.value("times"_L1);
    if (!path.startsWith(u'/') || !kinds.contains(kind)
        || !(times.isUndefined() || (times.isDouble() && times.toInt(-1) >= 0)))
        return HttpReply::error(400,
                                u"expected {\"path\": \"/...\", \"fault\": one of "_s
                                    + kinds.join(u", "_s)
                                    + u", \"times\"?: a whole number, 0 for ever}"_s);
    m_faults.append({path, kind, times.toInt(1)});
    return HttpReply{200, "{}"};
}

bool DevServer::misbehave(const QHttpServerRequest &request, QTcpSocket *socket)
{
    const QString path = request.url().path();
    if (path.startsWith("/admin/"_L1)) // the faults can always be ended
        return false;
    const auto fault = std::find_if(m_faults.begin(), m_faults.end(),
                                    [&](const Fault &each) { return path.startsWith(each.path); });
    if (fault == m_faults.end())
        return false;
    const QString kind = fault->kind;
    if (fault->remaining > 0 && --fault->remaining == 0)
        m_faults.erase(fault);

    const auto answer = [&](int status, const QByteArray &type, const QByteArray &body) {
        makeResponder(request, socket)
            .write(body, {{"Content-Type", type}},
                   static_cast<QHttpServerResponder::StatusCode>(status));
    };
    if (kind == "html500"_L1) {
        answer(500, "text/html",
               "<!DOCTYPE html><html><body><h1>500 Internal Server Error</h1></body></html>");
    } else if (kind == "notjson"_L1) {
        answer(200, "text/html", "<!DOCTYPE html><html><body>We have moved.</body></html>");
    } else if (kind == "notimage"_L1) {
        answer(200, "image/png", "this is not a picture");
    } else if (kind == "truncated"_L1) {
        // A reply that promises more than it sends, as a proxy that gave up halfway does.
        socket->write("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: "
                      "4096\r\n\r\n{\"data\":{\"id\":\"cut");
        socket->disconnectFromHost();
    } else if (kind == "reset"_L1) {
        const linger now{1, 0}; // closing then sends a reset, not an orderly end
        ::setsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &now, sizeof now);
        socket->abort();
    }
    // "silent": the socket stays open and nothing is ever written.
    return true;
}

void DevServer::missingHandler(const QHttpServerRequest &request, QTcpSocket *socket)
{
    const HttpReply reply = HttpReply::error(404, u"nothing at "_s + request.url().path());
    makeResponder(request, socket)
        .write(reply.body, reply.contentType, QHttpServerResponder::StatusCode::NotFound);
}

HttpReply DevServer::dispatch(const QHttpServerRequest &request)
{
    const QString path = request.url().path();
    const QByteArray method = methodName(request.method());

    if (path.startsWith("/userApi/"_L1)) {
        return m_backend->handle(method, path.sliced(8), header(request, "content-type"),
                                 request.body());
    }
    if (path.startsWith("/admin/"_L1)) {
        if (authorized(request) && path == "/admin/faults"_L1)
            return method == "POST" ? setFault(request.body())
                                    : HttpReply::error(405, u"/admin/faults takes POST"_s);
        if (authorized(request) && path == "/admin/media"_L1)
            return method == "POST" ? upload(request)
                                    : HttpReply::error(405, u"/admin/media takes POST"_s);
        if (!authorized(request))
            return HttpReply::error(401,
                                    u"the admin API wants the token the server printed at "
                                    "start-up, as \"Authorization: Bearer <token>\""_s);
        return m_admin->handle(method, path.sliced(6), request.query(), request.body(),
                               m_options.now());
    }

    if (path == "/console"_L1 || path.startsWith("/console/"_L1)) {
        if (method != "GET")
            return HttpReply::error(405, u"the console is read with GET"_s);
        const QString file = path.sliced(8);
        // The page needs the token; its script and style hold nothing of the show.
        const bool page = file.isEmpty() || file == "/"_L1 || file == "/index.html"_L1;
        if (page && !authorized(request))
            return HttpReply::error(401,
                                    u"the console wants the token the server printed at "
                                    "start-up: open /console/?token=<token>"_s);
        return serveConsole(page ? u"/index.html"_s : file);
    }

    static const QRegularExpression trigger(u"^/apps/([^/]+)/events$"_s);
    if (const auto match = trigger.match(path); match.hasMatch()) {
        return handleTrigger(*m_hub, method, match.captured(1), path,
                             request.query().queryItems(QUrl::FullyDecoded), request.body(),
                             m_options.now());
    }

    static const QRegularExpression list(u"^/channels/(.+)__([^_/][^/]*)\\.json$"_s);
    if (const auto match = list.match(path); match.hasMatch()) {
        if (method != "GET")
            return HttpReply::error(405, u"channel lists are read with GET"_s);
        const auto channels = m_content.channelList(match.captured(1), match.captured(2));
        if (!channels)
            return HttpReply::error(404, u"no channel list for broadcaster "_s + match.captured(1));
        return {200, Json::encode(*channels)};
    }
    if (path.startsWith("/media/"_L1)) {
        if (method != "GET")
            return HttpReply::error(405, u"media are read with GET"_s);
        return serveMedia(path.sliced(7));
    }
    return HttpReply::error(404, u"nothing at "_s + path);
}

bool DevServer::authorized(const QHttpServerRequest &request) const
{
    if (m_options.adminToken.isEmpty())
        return true;
    const QByteArray bearer = header(request, "authorization");
    const QByteArray given = bearer.startsWith("Bearer ")
        ? bearer.sliced(7)
        : request.query().queryItemValue(u"token"_s, QUrl::FullyDecoded).toUtf8();
    return equalInConstantTime(given, m_options.adminToken);
}

bool DevServer::startPreview(const QUrlQuery &query, QHttpServerResponder &&responder,
                             HttpReply &reply)
{
    const QString kind = query.queryItemValue(u"kind"_s);
    const QString id = query.queryItemValue(u"id"_s);
    QByteArray document;
    if (kind == "trivia"_L1) {
        if (const TriviaItem *item = m_content.trivia(id))
            document = Json::encode(item->question);
    } else if (const StreamerInfo *channel =
                   m_content.channel(query.queryItemValue(u"channel"_s))) {
        if (kind == "poll"_L1) {
            if (const Poll *poll = m_content.poll(*channel, id))
                document = Json::encode(*poll);
        } else if (kind == "rating"_L1) {
            if (const Rating *rating = m_content.rating(*channel, id))
                document = Json::encode(*rating);
        }
    }
    if (document.isEmpty()) {
        reply = HttpReply::error(404, u"no "_s + kind + u' ' + id + u" to preview"_s);
        return false;
    }
    if (m_options.previewHelper.isEmpty() || !QFileInfo(m_options.previewHelper).isExecutable()) {
        reply = HttpReply::error(501, u"previews need vantora-screenshots beside the server"_s);
        return false;
    }

    // The card takes a second or two to draw: the server goes on serving meanwhile.
    auto *helper = new QProcess(this);
    auto out =
        std::make_shared<QTemporaryFile>(QDir::temp().filePath(u"vantora-preview-XXXXXX.png"_s));
    out->open();
    auto answer = std::make_shared<QHttpServerResponder>(std::move(responder));
    connect(helper, &QProcess::finished, this,
            [helper, out, answer](int code, QProcess::ExitStatus status) {
                helper->deleteLater();
                const QByteArray png = out->readAll();
                if (status != QProcess::NormalExit || code != 0 || png.isEmpty()) {
                    const HttpReply failed = HttpReply::error(
                        500,
                        u"the preview could not be drawn: "_s
                            + QString::fromUtf8(helper->readAllStandardError()).trimmed());
                    answer->write(failed.body, failed.contentType,
                                  QHttpServerResponder::StatusCode::InternalServerError);
                    return;
                }
                answer->write(png, "image/png");
            });
    helper->start(m_options.previewHelper,
                  {u"--preview"_s, kind, m_content.mediaFolder(), out->fileName()});
    helper->write(document);
    helper->closeWriteChannel();
    QTimer::singleShot(30000, helper, [helper] { helper->kill(); });
    return true;
}

HttpReply DevServer::upload(const QHttpServerRequest &request)
{
    constexpr qsizetype maxBytes = 2 * 1024 * 1024;
    auto boundary = multipartBoundary(header(request, "content-type"));
    if (!boundary)
        return HttpReply::error(400, boundary.error());
    auto fields = parseMultipart(request.body(), boundary.value());
    if (!fields)
        return HttpReply::error(400, fields.error());
    const auto file = std::find_if(fields.value().cbegin(), fields.value().cend(),
                                   [](const FormField &field) { return field.name == "file"; });
    if (file == fields.value().cend() || !file->filename)
        return HttpReply::error(400, u"expected a \"file\" field with a file name"_s);
    if (file->value.size() > maxBytes)
        return HttpReply::error(413, u"a picture may have 2 MB at most"_s);
    // The bytes decide what it is, whatever its name or declared type says.
    const QByteArray &bytes = file->value;
    QString suffix;
    if (bytes.startsWith("\x89PNG\r\n\x1a\n"))
        suffix = u"png"_s;
    else if (bytes.startsWith("\xff\xd8\xff"))
        suffix = u"jpg"_s;
    else if (bytes.startsWith("GIF87a") || bytes.startsWith("GIF89a"))
        suffix = u"gif"_s;
    else if (bytes.startsWith("RIFF") && bytes.mid(8, 4) == "WEBP")
        suffix = u"webp"_s;
    else
        return HttpReply::error(415, u"not a PNG, JPEG, GIF or WebP picture"_s);
    // A plain name of its own: no folders, nothing hidden, the suffix its bytes call for.
    QString name = QFileInfo(QString::fromUtf8(*file->filename)).completeBaseName();
    name.replace(QRegularExpression(u"[^A-Za-z0-9_-]+"_s), u"-"_s);
    name = name.left(80);
    if (name.isEmpty() || name.startsWith(u'-'))
        name.prepend(u"picture"_s);
    name += u'.' + suffix;
    if (!QDir().mkpath(m_options.uploadsFolder))
        return HttpReply::error(500, u"cannot create "_s + m_options.uploadsFolder);
    QSaveFile saved(QDir(m_options.uploadsFolder).filePath(name));
    if (!saved.open(QIODevice::WriteOnly) || saved.write(bytes) != bytes.size() || !saved.commit())
        return HttpReply::error(500, u"cannot store "_s + name + u": "_s + saved.errorString());
    return {
        200,
        QJsonDocument(QJsonObject{{u"path"_s, u"uploads/"_s + name}, {u"bytes"_s, bytes.size()}})
            .toJson(QJsonDocument::Compact)};
}

HttpReply DevServer::serveConsole(const QString &file) const
{
    static const QHash<QString, QByteArray> types{{u"html"_s, "text/html; charset=utf-8"},
                                                  {u"css"_s, "text/css; charset=utf-8"},
                                                  {u"js"_s, "text/javascript; charset=utf-8"}};
    QFile resource(u":/console"_s + QDir::cleanPath(file));
    const QByteArray type = types.value(QFileInfo(file).suffix());
    if (type.isEmpty() || !resource.open(QIODevice::ReadOnly))
        return HttpReply::error(404, u"no console file "_s + file);
    return {200, resource.readAll(), type};
}

HttpReply DevServer::serveMedia(const QString &relativePath) const
{
    const QString cleaned = QDir::cleanPath(relativePath);
    if (cleaned.isEmpty() || cleaned.startsWith(u'/') || cleaned == ".."_L1
        || cleaned.startsWith("../"_L1))
        return HttpReply::error(404, u"no media "_s + relativePath);
    const QString file = cleaned.startsWith("uploads/"_L1)
        ? QDir(m_options.uploadsFolder).filePath(cleaned.sliced(8))
        : QDir(m_content.mediaFolder()).filePath(cleaned);
    QFile media(file);
    if (!QFileInfo(file).isFile() || !media.open(QIODevice::ReadOnly))
        return HttpReply::error(404, u"no media "_s + relativePath);
    static const QMimeDatabase mimeTypes;
    return {200, media.readAll(), mimeTypes.mimeTypeForFile(file).name().toLatin1()};
}

} // namespace Vantora::DevServer
