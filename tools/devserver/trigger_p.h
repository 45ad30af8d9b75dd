#pragma once

#include "backend_p.h"
#include "pusherhub_p.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QPair>
#include <QString>

#include <optional>

// The Pusher HTTP API's trigger, POST /apps/<app id>/events, as a publisher such as the official
// server SDKs calls it:
//
//   POST /apps/42/events?auth_key=K&auth_timestamp=T&auth_version=1.0&body_md5=M&auth_signature=S
//   {"name":"injectPoll","channels":["CH_42"],"data":"{...}","socket_id":"81.3"}
//
// S is the hex HMAC-SHA256, under the app secret, of
//   "POST\n/apps/42/events\n" + every query parameter but auth_signature, keys lower-cased and
//   sorted, "key=value" joined by "&", values not escaped
// and M is the hex MD5 of the exact body. Replies: 200 {} (delivered), 401 (signature, key,
// timestamp more than 600 s away, version, body_md5), 404 (unknown app), 413 (data over 10 KB),
// 400 (anything else wrong with the body, including more than 100 channels). A rejected event
// reaches nobody.

namespace Vantora::DevServer {

using QueryItems = QList<QPair<QString, QString>>;

/// Why a signed request does not authenticate, or nothing when it does. `now` is in seconds.
std::optional<QString> checkSignature(const PusherApp &app, QByteArrayView method,
                                      const QString &path, const QueryItems &query,
                                      QByteArrayView body, qint64 now);

/// The string the signature covers (exposed for tests and for the benchmark's publisher).
QByteArray stringToSign(QByteArrayView method, const QString &path, const QueryItems &query);

/// The query a publisher appends to sign a request with the app's credentials.
QueryItems signedQuery(const PusherApp &app, QByteArrayView method, const QString &path,
                       QByteArrayView body, qint64 now);

/// Handles POST /apps/<appId>/events.
HttpReply handleTrigger(PusherHub &hub, QByteArrayView method, const QString &appId,
                        const QString &path, const QueryItems &query, QByteArrayView body,
                        qint64 now);

} // namespace Vantora::DevServer
