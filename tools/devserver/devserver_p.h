#pragma once

#include "admin_p.h"
#include "backend_p.h"
#include "content_p.h"
#include "pusherhub_p.h"
#include "store_p.h"

#include <QAbstractHttpServer>
#include <QHostAddress>

#include <functional>
#include <memory>

// One HTTP server on one port for everything a client of the backend talks to:
//
//   /userApi/...                    the backend operations (backend_p.h)
//   GET /channels/<b>__<env>.json   a broadcaster's channel list
//   GET /media/<file>               images and other media from the data folder
//   /app/<key>  (websocket)         the Pusher protocol (pusherhub_p.h)
//   POST /apps/<id>/events          the Pusher trigger API (trigger_p.h)
//   /admin/...                      the broadcaster's operations (admin_p.h)
//   GET /admin/preview?channel=<id>&kind=<poll|rating|trivia>&id=<item>
//                                   the item's card as the viewer will see it (PNG, 1920x1080),
//                                   drawn by the SDK's own views in a helper process
//   POST /admin/media               a picture for the items (multipart, one "file" field): PNG,
//                                   JPEG, GIF or WebP, at most 2 MB; -> {"path": "uploads/<name>"}
//   GET /console/                   the broadcaster's console, a page on those operations
//   POST /admin/faults              {"path", "fault", "times"?: 1 (0: until cleared)}: the next
//                                   requests whose path begins with "path" misbehave, as real
//                                   backends do: "html500" (a 500 with an HTML page), "notjson"
//                                   (a 200 whose body is an HTML page), "notimage" (a 200 PNG
//                                   that is not a picture), "truncated" (the body cut short, the
//                                   connection closed), "reset" (the connection reset at once),
//                                   "silent" (no answer ever); {"clear": true} ends them all

namespace Vantora::DevServer {

struct ServerOptions
{
    QString dataFolder;
    QString databaseFile;
    PusherApp app{QStringLiteral("vantora"), QStringLiteral("2c3d4e5f607182930415"),
                  QStringLiteral("vantora-devserver-secret")};
    QStringList otherClientKeys; ///< further realtime keys that clients may connect with
    PusherHub::Timing timing;
    /// When set, /admin/ answers only requests that carry it, as "Authorization: Bearer <token>"
    /// or a "token" query parameter (for pages opened from a link).
    QByteArray adminToken;
    /// The program that draws an item's card for GET /admin/preview (vantora-screenshots).
    QString previewHelper;
    /// Where uploaded pictures go (served as /media/uploads/<name>); by default a folder beside
    /// the database, so that the data folder is never written.
    QString uploadsFolder;
    /// Seconds since 1970; replaced by tests that need another clock.
    std::function<qint64()> now;
};

class DevServer : public QAbstractHttpServer
{
    Q_OBJECT
public:
    static Result<std::unique_ptr<DevServer>, QString> create(ServerOptions options);
    ~DevServer() override;

    /// Listens on `address`; port 0 picks a free one. Returns the port.
    Result<quint16, QString> start(const QHostAddress &address, quint16 port);

    PusherHub &hub() { return *m_hub; }
    Store &store() { return *m_store; }

protected:
    bool handleRequest(const QHttpServerRequest &request, QTcpSocket *socket) override;
    void missingHandler(const QHttpServerRequest &request, QTcpSocket *socket) override;

private:
    DevServer(ServerOptions options, Content content, std::unique_ptr<Store> store);
    HttpReply dispatch(const QHttpServerRequest &request);
    HttpReply serveMedia(const QString &relativePath) const;
    HttpReply serveConsole(const QString &file) const;
    HttpReply upload(const QHttpServerRequest &request);
    bool authorized(const QHttpServerRequest &request) const;
    HttpReply setFault(QByteArrayView body);
    /// Misbehaves on `socket` when a fault is set for the request's path; false when none is.
    bool misbehave(const QHttpServerRequest &request, QTcpSocket *socket);
    /// Draws the card in a helper process and answers when it is done; false: `reply` says why not.
    bool startPreview(const QUrlQuery &query, QHttpServerResponder &&responder, HttpReply &reply);

    ServerOptions m_options;
    Content m_content;
    std::unique_ptr<Store> m_store;
    std::unique_ptr<Backend> m_backend;
    PusherHub *m_hub = nullptr;
    std::unique_ptr<Admin> m_admin;
    struct Fault
    {
        QString path;
        QString kind;
        int remaining = 1; ///< 0: until cleared
    };
    QList<Fault> m_faults;
};

} // namespace Vantora::DevServer
