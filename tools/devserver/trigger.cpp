#include "trigger_p.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageAuthenticationCode>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Vantora::DevServer {

namespace {

constexpr qint64 maxClockSkew = 600; // seconds
constexpr qsizetype maxDataBytes = 10240;
constexpr qsizetype maxChannels = 100;
constexpr qsizetype maxEventName = 200;

QString parameter(const QueryItems &query, QStringView key)
{
    for (const auto &[name, value] : query) {
        if (name == key)
            return value;
    }
    return {};
}

bool hasParameter(const QueryItems &query, QStringView key)
{
    return std::any_of(query.cbegin(), query.cend(),
                       [&](const auto &item) { return item.first == key; });
}

} // namespace

QByteArray stringToSign(QByteArrayView method, const QString &path, const QueryItems &query)
{
    QueryItems items;
    for (const auto &[name, value] : query) {
        if (name != "auth_signature"_L1)
            items.append({name.toLower(), value});
    }
    std::sort(items.begin(), items.end(),
              [](const auto &a, const auto &b) { return a.first < b.first; });
    QStringList pairs;
    for (const auto &[name, value] : items)
        pairs << name + u'=' + value;
    return method.toByteArray().toUpper() + '\n' + path.toUtf8() + '\n' + pairs.join(u'&').toUtf8();
}

std::optional<QString> checkSignature(const PusherApp &app, QByteArrayView method,
                                      const QString &path, const QueryItems &query,
                                      QByteArrayView body, qint64 now)
{
    if (parameter(query, u"auth_key") != app.key)
        return u"unknown auth_key"_s;
    if (parameter(query, u"auth_version") != "1.0"_L1)
        return u"auth_version must be 1.0"_s;
    bool isNumber = false;
    const qint64 timestamp = parameter(query, u"auth_timestamp").toLongLong(&isNumber);
    if (!isNumber)
        return u"auth_timestamp missing or not a number"_s;
    if (std::abs(now - timestamp) > maxClockSkew)
        return u"auth_timestamp is more than 600 s from the server's clock (now "_s
            + QString::number(now) + u')';
    if (!body.isEmpty() || hasParameter(query, u"body_md5")) {
        const QByteArray md5 = QCryptographicHash::hash(body, QCryptographicHash::Md5).toHex();
        if (parameter(query, u"body_md5").toLatin1() != md5)
            return u"body_md5 missing or does not match the body"_s;
    }
    const QByteArray expected =
        QMessageAuthenticationCode::hash(stringToSign(method, path, query), app.secret.toUtf8(),
                                         QCryptographicHash::Sha256)
            .toHex();
    if (!equalInConstantTime(parameter(query, u"auth_signature").toLatin1(), expected))
        return u"invalid auth_signature"_s;
    return std::nullopt;
}

QueryItems signedQuery(const PusherApp &app, QByteArrayView method, const QString &path,
                       QByteArrayView body, qint64 now)
{
    QueryItems query{{u"auth_key"_s, app.key},
                     {u"auth_timestamp"_s, QString::number(now)},
                     {u"auth_version"_s, u"1.0"_s}};
    if (!body.isEmpty()) {
        query.append(
            {u"body_md5"_s,
             QString::fromLatin1(QCryptographicHash::hash(body, QCryptographicHash::Md5).toHex())});
    }
    const QByteArray signature =
        QMessageAuthenticationCode::hash(stringToSign(method, path, query), app.secret.toUtf8(),
                                         QCryptographicHash::Sha256)
            .toHex();
    query.append({u"auth_signature"_s, QString::fromLatin1(signature)});
    return query;
}

HttpReply handleTrigger(PusherHub &hub, QByteArrayView method, const QString &appId,
                        const QString &path, const QueryItems &query, QByteArrayView body,
                        qint64 now)
{
    if (appId != hub.app().id)
        return HttpReply::error(404, u"unknown app "_s + appId);
    if (method != "POST")
        return HttpReply::error(405, u"events are triggered with POST"_s);
    if (auto problem = checkSignature(hub.app(), method, path, query, body, now))
        return HttpReply::error(401, *problem);

    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body.toByteArray(), &parseError);
    if (!document.isObject())
        return HttpReply::error(400, u"body is not a JSON object"_s);
    const QJsonObject event = document.object();

    const QJsonValue name = event.value("name"_L1);
    if (!name.isString() || name.toString().isEmpty())
        return HttpReply::error(400, u"name: missing or not a string"_s);
    if (name.toString().size() > maxEventName)
        return HttpReply::error(400, u"name: longer than 200 characters"_s);

    QString data;
    const QJsonValue rawData = event.value("data"_L1);
    if (rawData.isString())
        data = rawData.toString();
    else if (rawData.isObject() || rawData.isArray())
        data = QString::fromUtf8(
            rawData.isObject() ? QJsonDocument(rawData.toObject()).toJson(QJsonDocument::Compact)
                               : QJsonDocument(rawData.toArray()).toJson(QJsonDocument::Compact));
    else
        return HttpReply::error(400, u"data: missing"_s);
    if (data.toUtf8().size() > maxDataBytes)
        return HttpReply::error(413, u"data: larger than 10240 bytes"_s);

    QStringList channels;
    if (const QJsonValue list = event.value("channels"_L1); !list.isUndefined()) {
        if (!list.isArray())
            return HttpReply::error(400, u"channels: not an array"_s);
        for (const QJsonValue &channel : list.toArray()) {
            if (!channel.isString())
                return HttpReply::error(400, u"channels: every entry must be a string"_s);
            channels << channel.toString();
        }
    } else if (const QJsonValue channel = event.value("channel"_L1); channel.isString()) {
        channels << channel.toString();
    }
    if (channels.isEmpty())
        return HttpReply::error(400, u"channels: give one to 100 channels, or channel"_s);
    if (channels.size() > maxChannels)
        return HttpReply::error(400, u"channels: more than 100"_s);
    for (const QString &channel : std::as_const(channels)) {
        if (!isValidChannelName(channel))
            return HttpReply::error(400, u"channels: invalid channel name "_s + channel);
    }
    QString excluded;
    if (const QJsonValue socketId = event.value("socket_id"_L1); !socketId.isUndefined()) {
        static const QRegularExpression form(u"^\\d+\\.\\d+$"_s);
        if (!socketId.isString() || !form.match(socketId.toString()).hasMatch())
            return HttpReply::error(400, u"socket_id: expected the form 123.456"_s);
        excluded = socketId.toString();
    }
    channels.removeDuplicates();
    hub.publish(channels, name.toString(), data, excluded);
    return {200, "{}"};
}

} // namespace Vantora::DevServer
