#pragma once

// The decoding half of the codec, over simdjson's DOM. Only .cpp files include this header, so
// the JSON library never reaches a public header; layers that parse their own payloads (the
// realtime events) can read records straight out of a parsed element with readValue().

#include "vantora/records/jsoncodec_p.h"
#include "vantora/records/recordshapes_p.h"

#include <QList>
#include <QMap>
#include <QString>

#include <simdjson.h>

#include <cmath>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace Vantora::Json {

using simdjson::dom::element;
using simdjson::dom::element_type;

/// Collects the reason of a failure and, while the readers unwind, the path that led to it.
class Failure
{
public:
    bool fail(QString reason)
    {
        m_reason = std::move(reason);
        return false;
    }
    bool mismatch(const char *expected, const element &value);
    void enterKey(std::string_view key) { m_reversedPath.push_back(QString::fromUtf8(key)); }
    void enterIndex(size_t index)
    {
        m_reversedPath.push_back(QLatin1Char('[') + QString::number(index) + QLatin1Char(']'));
    }
    DecodeError error() const;

private:
    QString m_reason;
    std::vector<QString> m_reversedPath;
};

/// The parser of the calling thread, reused so its buffers are allocated once.
simdjson::dom::parser &threadParser();

// Readers, one per member type. Each returns false and fills the Failure when the value does not
// have the member's type; the record reader adds the path on the way out.
bool readValue(const element &value, QString &out, Failure &failure);
bool readValue(const element &value, qint64 &out, Failure &failure);
bool readValue(const element &value, double &out, Failure &failure);
bool readValue(const element &value, bool &out, Failure &failure);
bool readValue(const element &value, RelaxedString &out, Failure &failure);
template <class T>
bool readValue(const element &value, QList<T> &out, Failure &failure);
template <class T>
bool readValue(const element &value, QMap<QString, T> &out, Failure &failure);
template <HasShape R>
bool readValue(const element &value, R &out, Failure &failure);

template <class T>
bool readValue(const element &value, QList<T> &out, Failure &failure)
{
    simdjson::dom::array array;
    if (value.get(array) != simdjson::SUCCESS)
        return failure.mismatch("array", value);
    out.reserve(static_cast<qsizetype>(array.size()));
    size_t index = 0;
    for (const element item : array) {
        if (!readValue(item, out.emplace_back(), failure)) {
            failure.enterIndex(index);
            return false;
        }
        ++index;
    }
    return true;
}

template <class T>
bool readValue(const element &value, QMap<QString, T> &out, Failure &failure)
{
    simdjson::dom::object object;
    if (value.get(object) != simdjson::SUCCESS)
        return failure.mismatch("object", value);
    for (const simdjson::dom::key_value_pair member : object) {
        QString key = QString::fromUtf8(member.key);
        if (out.contains(key))
            continue;
        T item{};
        if (!readValue(member.value, item, failure)) {
            failure.enterKey(member.key);
            return false;
        }
        out.insert(std::move(key), std::move(item));
    }
    return true;
}

template <class Member>
bool readMember(const element &value, Member &out, Failure &failure)
{
    if constexpr (isOptional<Member>) {
        if (value.is_null())
            return true;
        return readValue(value, out.emplace(), failure);
    } else {
        return readValue(value, out, failure);
    }
}

template <HasShape R>
bool readValue(const element &value, R &out, Failure &failure)
{
    simdjson::dom::object object;
    if (value.get(object) != simdjson::SUCCESS)
        return failure.mismatch("object", value);

    constexpr auto &fields = Shape<R>::fields;
    using Fields = std::remove_cvref_t<decltype(fields)>;
    constexpr size_t count = std::tuple_size_v<Fields>;
    static_assert(count <= 64, "the seen-mask holds 64 members");
    const auto each = [](auto &&visit) {
        return [&]<size_t... I>(std::index_sequence<I...>)
        {
            return (visit(std::integral_constant<size_t, I>{}) || ...);
        }
        (std::make_index_sequence<count>{});
    };

    std::uint64_t seen = 0;
    for (const simdjson::dom::key_value_pair member : object) {
        bool ok = true;
        each([&](auto index) {
            constexpr auto &field = std::get<index>(fields);
            constexpr std::uint64_t bit = std::uint64_t{1} << index;
            if (field.key != member.key)
                return false;
            if ((seen & bit) == 0) { // a repeated key keeps its first value
                seen |= bit;
                ok = readMember(member.value, out.*(field.member), failure);
            }
            return true;
        });
        if (!ok) {
            failure.enterKey(member.key);
            return false;
        }
    }

    std::string_view missing;
    each([&](auto index) {
        using Member = typename std::tuple_element_t<index, Fields>::Type;
        if constexpr (!isOptional<Member>) {
            if ((seen & (std::uint64_t{1} << index)) == 0) {
                missing = std::get<index>(fields).key;
                return true;
            }
        }
        return false;
    });
    if (!missing.empty()) {
        failure.fail(QStringLiteral("missing"));
        failure.enterKey(missing);
        return false;
    }
    return true;
}

template <class T>
Decoded<T> decode(QByteArrayView json)
{
    element root;
    const auto parsed =
        threadParser().parse(json.data(), static_cast<size_t>(json.size())).get(root);
    if (parsed != simdjson::SUCCESS) {
        return DecodeError{{},
                           QStringLiteral("invalid JSON (%1)")
                               .arg(QLatin1StringView(simdjson::error_message(parsed)))};
    }
    T value{};
    Failure failure;
    if (!readValue(root, value, failure))
        return failure.error();
    return value;
}

} // namespace Vantora::Json
