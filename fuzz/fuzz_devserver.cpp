// The dev server's parsers, as a client or a broadcaster can reach them: the first byte picks
// the door, the rest is what comes through it.
//   0  a multipart body (the boundary "B"), then the Content-Type header's boundary parameter
//   1  a signed trigger body (signed correctly, so that the body's own rules are what is tried)
//   2  a trigger with the query string taken from the input as well
//   3  a backend operation (/userApi/...), the second byte picking which, the body as multipart
//   4  an admin operation (/admin/...), the second byte picking which, the body as JSON
// A refusal is an answer with a status; nothing may crash, and nothing already stored may go.

#include "admin_p.h"
#include "backend_p.h"
#include "content_p.h"
#include "multipart_p.h"
#include "pusherhub_p.h"
#include "store_p.h"
#include "trigger_p.h"

#include <QCoreApplication>
#include <QUrlQuery>

#include <cstdlib>
#include <optional>

using namespace Vantora::DevServer;
using namespace Qt::Literals::StringLiterals;

namespace {

struct Server
{
    Server()
    {
        static int argc = 1;
        static char name[] = "fuzz";
        static char *argv[] = {name, nullptr};
        if (!QCoreApplication::instance())
            new QCoreApplication(argc, argv);
        auto loaded = Content::load(QStringLiteral(VANTORA_DEVSERVER_DEMO_DIR));
        auto opened = Store::open(u":memory:"_s);
        if (!loaded || !opened)
            std::abort();
        content.emplace(std::move(loaded).value());
        store = std::move(opened).value();
        backend = std::make_unique<Backend>(*content, *store);
        admin = std::make_unique<Admin>(*content, *store, *backend, hub);
        // A viewer whose token the inputs can name.
        backend->handle("POST", u"/user/register"_s, "multipart/form-data; boundary=B",
                        "--B\r\nContent-Disposition: form-data; name=\"request\"\r\n\r\n"
                        R"({"data":{"broadcasterName":"vantora-demo","channelId":"1001"}})"
                        "\r\n--B--\r\n");
    }

    std::optional<Content> content;
    std::unique_ptr<Store> store;
    std::unique_ptr<Backend> backend;
    PusherHub hub{PusherApp{u"vantora"_s, u"key"_s, u"secret"_s}, {}};
    std::unique_ptr<Admin> admin;
};

const char *const backendPaths[] = {
    "/user/register",         "/user/login_by_token",
    "/streamer/getInfo",      "/poll/answer_new/p100",
    "/poll/answer_new/pr200", "/rating/answer_new/r300",
    "/trivia/answer/t400",    "/trivia/getQuestionById/t400",
    "/analytics/add",         "/user/info",
};
const char *const adminPaths[] = {
    "/inject",        "/streamer-info",   "/stop-poll",     "/settle",
    "/refresh",       "/items",           "/items/delete",  "/realtime/close",
    "/realtime/send", "/realtime/quirks", "/realtime/auth", "/totals",
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static Server server;
    if (size < 2)
        return 0;
    const QByteArrayView rest(reinterpret_cast<const char *>(data) + 2,
                              static_cast<qsizetype>(size - 2));
    const qint64 now = 1795400000;
    switch (data[0] % 5) {
    case 0: {
        (void)parseMultipart(rest, "B");
        (void)multipartBoundary(rest);
        break;
    }
    case 1:
    case 2: {
        const QString path = u"/apps/vantora/events"_s;
        QueryItems query = signedQuery(server.hub.app(), "POST", path, rest, now);
        QByteArrayView body = rest;
        if (data[0] % 5 == 2) { // the query string is the input up to its first newline
            const qsizetype end = rest.indexOf('\n');
            query = QUrlQuery(QString::fromUtf8(rest.first(end < 0 ? 0 : end))).queryItems();
            body = rest.sliced(end + 1);
        }
        (void)handleTrigger(server.hub, "POST", u"vantora"_s, path, query, body, now);
        break;
    }
    case 3: {
        const char *path = backendPaths[data[1] % std::size(backendPaths)];
        (void)server.backend->handle("POST", QString::fromLatin1(path),
                                     "multipart/form-data; boundary=B", rest);
        break;
    }
    default: {
        const char *path = adminPaths[data[1] % std::size(adminPaths)];
        (void)server.admin->handle(data[1] & 0x80 ? "GET" : "POST", QString::fromLatin1(path),
                                   QUrlQuery(u"channel=1001"_s), rest, now);
        break;
    }
    }
    return 0;
}
