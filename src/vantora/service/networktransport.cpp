#include "vantora/service/networktransport_p.h"

#include "vantora/toolkit/scheduler_p.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <climits>

namespace Vantora {

namespace {

// Qt reports HTTP error statuses as reply errors; those are responses, not failed exchanges.
bool isHttpStatusError(QNetworkReply::NetworkError error)
{
    const int code = int(error);
    return (code >= QNetworkReply::ContentAccessDenied
            && code <= QNetworkReply::UnknownContentError)
        || error == QNetworkReply::ProtocolInvalidOperationError
        || (code >= QNetworkReply::InternalServerError
            && code <= QNetworkReply::UnknownServerError);
}

HttpReply readReply(QNetworkReply *reply)
{
    HttpReply result;
    result.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply->isOpen()) // an exchange that timed out was aborted, and is closed
        result.body = reply->readAll();
    const QNetworkReply::NetworkError error = reply->error();
    if (error != QNetworkReply::NoError && !(result.status != 0 && isHttpStatusError(error)))
        result.error = reply->errorString();
    return result;
}

} // namespace

QNetworkAccessManager *NetworkTransport::manager()
{
    // Owned by the application so that it goes before the event loop it runs on.
    if (!m_manager)
        m_manager = new QNetworkAccessManager(QCoreApplication::instance());
    return m_manager;
}

void NetworkTransport::send(HttpRequest request, QObject *context, Done done)
{
    QNetworkRequest networkRequest(request.url);
    for (const auto &[name, value] : std::as_const(request.headers))
        networkRequest.setRawHeader(name, value);
    networkRequest.setTransferTimeout(int(std::min<qint64>(request.timeout.count(), INT_MAX)));

    // A GET goes without a body, so without a Content-Length: proxies and caches in front of a
    // backend may refuse or mis-cache a GET that announces one, even an empty one.
    QNetworkReply *reply = request.method == "GET"
        ? manager()->get(networkRequest)
        : manager()->sendCustomRequest(networkRequest, request.method, request.body);
    QObject *receiver = context ? context : reply;
    QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
    if (reply->isFinished()) { // some failures are known before anything is sent
        Scheduler::instance().post(receiver, [done, result = readReply(reply)] { done(result); });
        return;
    }
    QObject::connect(reply, &QNetworkReply::finished, receiver,
                     [reply, done] { done(readReply(reply)); });
}

} // namespace Vantora
