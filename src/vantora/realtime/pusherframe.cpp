#include "vantora/realtime/pusherframe_p.h"

#include "vantora/records/jsondecoder_p.h"

#include <QJsonDocument>

#include <simdjson.h>

#include <cmath>
#include <limits>
#include <string_view>

namespace Vantora {

namespace {

using simdjson::dom::element;

QString text(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

// The frame's parser, kept so that its buffers are allocated once per thread.
simdjson::dom::parser &frameParser()
{
    thread_local simdjson::dom::parser parser;
    return parser;
}

std::optional<qint64> wholeNumber(const element &value)
{
    switch (value.type()) {
    case simdjson::dom::element_type::INT64:
        return value.get_int64().value_unsafe();
    case simdjson::dom::element_type::DOUBLE: {
        const double number = value.get_double().value_unsafe();
        // 2^63 is exact as a double; anything at or above it does not fit.
        if (std::trunc(number) == number && number >= -9223372036854775808.0
            && number < 9223372036854775808.0)
            return static_cast<qint64>(number);
        return std::nullopt;
    }
    default:
        return std::nullopt;
    }
}

bool parseObject(QByteArrayView utf8, simdjson::dom::object &object)
{
    if (utf8.isEmpty()) // not JSON; and simdjson would copy from a null pointer
        return false;
    element root;
    if (Json::parseDocument(frameParser(), utf8, root) != simdjson::SUCCESS)
        return false;
    return root.get(object) == simdjson::SUCCESS;
}

} // namespace

std::optional<PusherFrame> parsePusherFrame(QByteArrayView utf8)
{
    simdjson::dom::object object;
    if (!parseObject(utf8, object))
        return std::nullopt;

    PusherFrame frame;
    std::string_view event;
    if (object["event"].get(event) != simdjson::SUCCESS)
        return std::nullopt;
    frame.event = text(event);

    element channel;
    if (object["channel"].get(channel) == simdjson::SUCCESS && !channel.is_null()) {
        std::string_view name;
        if (channel.get(name) != simdjson::SUCCESS)
            return std::nullopt;
        frame.channel = text(name);
    }

    element data;
    if (object["data"].get(data) == simdjson::SUCCESS && !data.is_null()) {
        std::string_view dataText;
        if (data.get(dataText) == simdjson::SUCCESS) {
            frame.data = QByteArray(dataText.data(), static_cast<qsizetype>(dataText.size()));
            frame.dataIsText = true;
        } else {
            frame.data = QByteArray::fromStdString(simdjson::minify(data));
        }
    }
    return frame;
}

std::optional<PusherHandshake> readPusherHandshake(QByteArrayView data)
{
    simdjson::dom::object object;
    if (!parseObject(data, object))
        return std::nullopt;
    std::string_view socketId;
    if (object["socket_id"].get(socketId) != simdjson::SUCCESS)
        return std::nullopt;

    PusherHandshake handshake{text(socketId), std::nullopt};
    element timeout;
    if (object["activity_timeout"].get(timeout) == simdjson::SUCCESS) {
        if (const auto seconds = wholeNumber(timeout); seconds && *seconds > 0)
            handshake.activityTimeoutSeconds = *seconds;
    }
    return handshake;
}

PusherError readPusherError(QByteArrayView data)
{
    PusherError error;
    simdjson::dom::object object;
    if (!parseObject(data, object))
        return error;
    std::string_view message;
    if (object["message"].get(message) == simdjson::SUCCESS)
        error.message = text(message);
    element code;
    if (object["code"].get(code) == simdjson::SUCCESS) {
        if (const auto number = wholeNumber(code); number
            && *number >= std::numeric_limits<int>::min()
            && *number <= std::numeric_limits<int>::max())
            error.code = static_cast<int>(*number);
    }
    return error;
}

QByteArray writePusherFrame(const QString &event, const QJsonObject &data)
{
    return QJsonDocument(
               QJsonObject{{QStringLiteral("event"), event}, {QStringLiteral("data"), data}})
        .toJson(QJsonDocument::Compact);
}

} // namespace Vantora
