#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <utility>

class QObject;

namespace Vantora {

struct HttpRequest
{
    QByteArray method; ///< "GET", "POST"
    QUrl url;
    QList<std::pair<QByteArray, QByteArray>> headers;
    QByteArray body;
    /// How long the exchange may stay idle before it fails.
    std::chrono::milliseconds timeout{std::chrono::seconds{60}};
};

struct HttpReply
{
    int status = 0; ///< the HTTP status, 0 when no response arrived
    QByteArray body;
    /// Why the exchange failed (refused, timed out, cut off), empty when it did not. An HTTP
    /// error status is a response like any other, not a failure of the exchange.
    QString error;
};

/// Carries HTTP exchanges for the backend client. The network one is used unless another
/// (an in-memory one in tests) is installed.
class Transport
{
public:
    using Done = std::function<void(const HttpReply &reply)>;

    virtual ~Transport() = default;

    /// Sends the request. `done` runs exactly once, on the main thread, on a later turn of the
    /// event loop — or never, if `context` is destroyed first. Nothing can cancel the exchange.
    virtual void send(HttpRequest request, QObject *context, Done done) = 0;
};

} // namespace Vantora
