#pragma once

// The encoding half of the codec, over Qt's JSON writer (request bodies are small, and simdjson
// cannot write).

#include "vantora/records/jsoncodec_p.h"
#include "vantora/records/recordshapes_p.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QMap>

namespace Vantora::Json {

inline QJsonValue writeValue(const QString &value)
{
    return value;
}
inline QJsonValue writeValue(qint64 value)
{
    return QJsonValue(value);
}
inline QJsonValue writeValue(double value)
{
    return value;
}
inline QJsonValue writeValue(bool value)
{
    return value;
}
inline QJsonValue writeValue(const RelaxedString &value)
{
    return value.value;
}
template <class T>
QJsonValue writeValue(const QList<T> &values);
template <class T>
QJsonValue writeValue(const QMap<QString, T> &values);
template <HasShape R>
QJsonValue writeValue(const R &record);

template <class T>
QJsonValue writeValue(const QList<T> &values)
{
    QJsonArray array;
    for (const T &value : values)
        array.append(writeValue(value));
    return array;
}

template <class T>
QJsonValue writeValue(const QMap<QString, T> &values)
{
    QJsonObject object;
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        object.insert(it.key(), writeValue(it.value()));
    return object;
}

template <HasShape R>
QJsonValue writeValue(const R &record)
{
    QJsonObject object;
    std::apply(
        [&](const auto &...field) {
            const auto writeMember = [&](const auto &member, std::string_view key) {
                const QLatin1StringView name(key.data(), static_cast<qsizetype>(key.size()));
                if constexpr (isOptional<std::remove_cvref_t<decltype(member)>>) {
                    if (member)
                        object.insert(name, writeValue(*member));
                } else {
                    object.insert(name, writeValue(member));
                }
            };
            (writeMember(record.*(field.member), field.key), ...);
        },
        Shape<R>::fields);
    return object;
}

template <class T>
QByteArray encode(const T &value)
{
    const QJsonValue json = writeValue(value);
    const QJsonDocument document =
        json.isArray() ? QJsonDocument(json.toArray()) : QJsonDocument(json.toObject());
    return document.toJson(QJsonDocument::Compact);
}

} // namespace Vantora::Json
