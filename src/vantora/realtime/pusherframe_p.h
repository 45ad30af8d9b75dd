#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace Vantora {

/// One text frame of the Pusher protocol (v7): `{"event": …, "channel"?: …, "data"?: …}`.
struct PusherFrame
{
    QString event;
    std::optional<QString> channel;
    /// UTF-8: the text itself when `data` is a JSON string (the usual form, even for the
    /// protocol's own events), the compact JSON of any other value; absent when missing or null.
    std::optional<QByteArray> data;
    bool dataIsText = false; ///< `data` was a JSON string
};

/// Reads a frame; nothing when it is not a JSON object with a string "event" (and, when
/// present, a string "channel"). Never throws, whatever the bytes.
std::optional<PusherFrame> parsePusherFrame(QByteArrayView utf8);

/// What `pusher:connection_established` says, read from its data (JSON text or object).
struct PusherHandshake
{
    QString socketId;
    /// The server's activity time-out in seconds, when it names a positive whole number.
    std::optional<qint64> activityTimeoutSeconds;
};

/// Nothing when the data is not an object with a string "socket_id".
std::optional<PusherHandshake> readPusherHandshake(QByteArrayView data);

/// A `pusher:error`: `{"message": …, "code": integer or null}`.
struct PusherError
{
    std::optional<int> code; ///< absent when null, missing or not a whole number
    QString message;
};

/// Reads whatever of code and message is there; an unreadable data gives an empty error.
PusherError readPusherError(QByteArrayView data);

/// The frame the client sends: `{"event": event, "data": data}`.
QByteArray writePusherFrame(const QString &event, const QJsonObject &data);

} // namespace Vantora
