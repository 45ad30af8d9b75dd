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

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace Vantora::Json {

using simdjson::dom::element;
using simdjson::dom::element_type;

/// What one decode carries along: the reason of a failure and, while the readers unwind, the
/// path that led to it; and the texts already made, since channel documents repeat many values
/// (types, view types, URLs), and a repeated one then costs a shared copy, not an allocation.
class DecodeState
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

    /// The text of these UTF-8 bytes, which must stay valid for the whole decode.
    QString text(std::string_view bytes);

private:
    struct CachedText
    {
        std::string_view bytes;
        QString text;
    };
    static constexpr size_t cacheSize = 256; // a direct-mapped cache: a collision just replaces
    static constexpr size_t longestCached = 48;

    QString m_reason;
    std::vector<QString> m_reversedPath;
    std::array<CachedText, cacheSize> m_texts;
};

/// The parser of the calling thread, reused so its buffers are allocated once.
simdjson::dom::parser &threadParser();

/// Parses `json` into `root` with `parser`. An integer beyond both 64-bit ranges, which JSON
/// allows and simdjson refuses, reads as the float nearest to it (null when no float holds it);
/// only a document simdjson refuses over a number pays for a second reading.
simdjson::error_code parseDocument(simdjson::dom::parser &parser, QByteArrayView json,
                                   element &root);

// Readers, one per member type. Each returns false and fills the Failure when the value does not
// have the member's type; the record reader adds the path on the way out.
bool readValue(const element &value, QString &out, DecodeState &state);
bool readValue(const element &value, qint64 &out, DecodeState &state);
bool readValue(const element &value, double &out, DecodeState &state);
bool readValue(const element &value, bool &out, DecodeState &state);
bool readValue(const element &value, RelaxedString &out, DecodeState &state);
template <class T>
bool readValue(const element &value, QList<T> &out, DecodeState &state);
template <class T>
bool readValue(const element &value, QMap<QString, T> &out, DecodeState &state);
template <HasShape R>
bool readValue(const element &value, R &out, DecodeState &state);

template <class T>
bool readValue(const element &value, QList<T> &out, DecodeState &state)
{
    simdjson::dom::array array;
    if (value.get(array) != simdjson::SUCCESS)
        return state.mismatch("array", value);
    out.reserve(static_cast<qsizetype>(array.size()));
    size_t index = 0;
    for (const element item : array) {
        if (!readValue(item, out.emplace_back(), state)) {
            state.enterIndex(index);
            return false;
        }
        ++index;
    }
    return true;
}

template <class T>
bool readValue(const element &value, QMap<QString, T> &out, DecodeState &state)
{
    simdjson::dom::object object;
    if (value.get(object) != simdjson::SUCCESS)
        return state.mismatch("object", value);
    for (const simdjson::dom::key_value_pair member : object) {
        QString key = state.text(member.key);
        if (out.contains(key))
            continue;
        T item{};
        if (!readValue(member.value, item, state)) {
            state.enterKey(member.key);
            return false;
        }
        out.insert(std::move(key), std::move(item));
    }
    return true;
}

template <class Member>
bool readMember(const element &value, Member &out, DecodeState &state)
{
    if constexpr (isOptional<Member>) {
        if (value.is_null())
            return true;
        return readValue(value, out.emplace(), state);
    } else {
        return readValue(value, out, state);
    }
}

template <HasShape R>
bool readValue(const element &value, R &out, DecodeState &state)
{
    simdjson::dom::object object;
    if (value.get(object) != simdjson::SUCCESS)
        return state.mismatch("object", value);

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

    static constexpr auto keys = std::apply(
        [](const auto &...field) { return std::array<std::string_view, count>{field.key...}; },
        fields);

    std::uint64_t seen = 0;
    size_t next = 0; // documents usually list the keys in the shape's order: try that one first
    for (const simdjson::dom::key_value_pair member : object) {
        size_t index = next;
        if (keys[index] != member.key) {
            index =
                static_cast<size_t>(std::find(keys.begin(), keys.end(), member.key) - keys.begin());
            if (index == count)
                continue; // not a member of this record
        }
        next = index + 1 == count ? 0 : index + 1;
        const std::uint64_t bit = std::uint64_t{1} << index;
        if (seen & bit)
            continue; // a repeated key keeps its first value
        seen |= bit;

        bool ok = true;
        each([&](auto i) {
            if (i != index)
                return false;
            ok = readMember(member.value, out.*(std::get<i>(fields).member), state);
            return true;
        });
        if (!ok) {
            state.enterKey(member.key);
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
        state.fail(QStringLiteral("missing"));
        state.enterKey(missing);
        return false;
    }
    return true;
}

template <class T>
Decoded<T> decode(QByteArrayView json)
{
    element root;
    const simdjson::error_code parsed = parseDocument(threadParser(), json, root);
    if (parsed != simdjson::SUCCESS) {
        return DecodeError{{},
                           QStringLiteral("invalid JSON (%1)")
                               .arg(QLatin1StringView(simdjson::error_message(parsed)))};
    }
    T value{};
    DecodeState state;
    if (!readValue(root, value, state))
        return state.error();
    return value;
}

} // namespace Vantora::Json
