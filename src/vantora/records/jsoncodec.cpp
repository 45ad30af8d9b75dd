#include "vantora/records/jsondecoder_p.h"
#include "vantora/records/jsonencoder_p.h"
#include "vantora/toolkit/numbertext_p.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Vantora::Json {

namespace {

const char *typeName(element_type type)
{
    switch (type) {
    case element_type::ARRAY:
        return "array";
    case element_type::OBJECT:
        return "object";
    case element_type::INT64:
    case element_type::UINT64:
    case element_type::DOUBLE:
        return "number";
    case element_type::STRING:
        return "string";
    case element_type::BOOL:
        return "boolean";
    case element_type::NULL_VALUE:
        return "null";
    }
    return "unknown";
}

constexpr double twoToThe63 = 0x1p63;

// A double whose value is a whole number inside the signed 64-bit range (42.0, 4.2e1, -0.0).
std::optional<qint64> exactInteger(double number)
{
    if (!std::isfinite(number) || std::trunc(number) != number)
        return std::nullopt;
    if (number < -twoToThe63 || number >= twoToThe63)
        return std::nullopt;
    return static_cast<qint64>(number);
}

} // namespace

bool DecodeState::mismatch(const char *expected, const element &value)
{
    return fail(QStringLiteral("expected %1, got %2")
                    .arg(QLatin1StringView(expected), QLatin1StringView(typeName(value.type()))));
}

DecodeError DecodeState::error() const
{
    QString path;
    for (auto it = m_reversedPath.rbegin(); it != m_reversedPath.rend(); ++it) {
        if (!path.isEmpty() && !it->startsWith(QLatin1Char('[')))
            path += QLatin1Char('.');
        path += *it;
    }
    return {path, m_reason};
}

QString DecodeError::message() const
{
    return path.isEmpty() ? reason : path + QLatin1StringView(": ") + reason;
}

QString DecodeState::text(std::string_view bytes)
{
    const auto make = [&] {
        return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
    };
    if (bytes.empty() || bytes.size() > longestCached)
        return make();

    // Hash the first and last eight bytes (overlapping for short texts) with the length.
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    const size_t prefix = std::min<size_t>(bytes.size(), 8);
    std::memcpy(&head, bytes.data(), prefix);
    std::memcpy(&tail, bytes.data() + bytes.size() - prefix, prefix);
    const std::uint64_t hash =
        (head * 0x9E3779B97F4A7C15u) ^ (tail * 0xC2B2AE3D27D4EB4Fu) ^ bytes.size();
    CachedText &slot = m_texts[(hash >> 32) % cacheSize];
    if (slot.bytes != bytes) {
        slot.bytes = bytes;
        slot.text = make();
    }
    return slot.text;
}

simdjson::dom::parser &threadParser()
{
    thread_local simdjson::dom::parser parser;
    return parser;
}

bool readValue(const element &value, QString &out, DecodeState &state)
{
    std::string_view text;
    if (value.get(text) != simdjson::SUCCESS)
        return state.mismatch("string", value);
    out = state.text(text);
    return true;
}

// Any number whose value is a whole number in range counts, however it is written: the backend's
// serialisers sometimes write 42.0 for 42. Fractions, strings and booleans do not.
bool readValue(const element &value, qint64 &out, DecodeState &state)
{
    switch (value.type()) {
    case element_type::INT64:
        out = value.get_int64().value_unsafe();
        return true;
    case element_type::UINT64:
        return state.fail(QStringLiteral("integer out of 64-bit range"));
    case element_type::DOUBLE: {
        const double number = value.get_double().value_unsafe();
        if (const auto whole = exactInteger(number)) {
            out = *whole;
            return true;
        }
        return state.fail(std::trunc(number) != number
                              ? QStringLiteral("expected integer, got fraction")
                              : QStringLiteral("integer out of 64-bit range"));
    }
    default:
        return state.mismatch("integer", value);
    }
}

bool readValue(const element &value, double &out, DecodeState &state)
{
    if (value.get(out) != simdjson::SUCCESS)
        return state.mismatch("number", value);
    return true;
}

bool readValue(const element &value, bool &out, DecodeState &state)
{
    if (value.get(out) != simdjson::SUCCESS)
        return state.mismatch("boolean", value);
    return true;
}

// Takes whatever scalar arrives and keeps it as text; never fails.
bool readValue(const element &value, RelaxedString &out, DecodeState &state)
{
    switch (value.type()) {
    case element_type::STRING:
        out.value = state.text(value.get_string().value_unsafe());
        break;
    case element_type::INT64:
        out.value = QString::number(value.get_int64().value_unsafe());
        break;
    case element_type::UINT64: // above the signed range: rendered as a double
        out.value = shortestText(static_cast<double>(value.get_uint64().value_unsafe()));
        break;
    case element_type::DOUBLE: {
        const double number = value.get_double().value_unsafe();
        const auto whole = exactInteger(number);
        out.value = whole ? QString::number(*whole) : shortestText(number);
        break;
    }
    case element_type::BOOL:
        out.value =
            value.get_bool().value_unsafe() ? QStringLiteral("true") : QStringLiteral("false");
        break;
    case element_type::ARRAY: {
        // The first element of an array of strings; an array holding anything else is nothing.
        out.value.clear();
        const simdjson::dom::array array = value.get_array().value_unsafe();
        bool first = true;
        for (const element item : array) {
            std::string_view text;
            if (item.get(text) != simdjson::SUCCESS) {
                out.value.clear();
                break;
            }
            if (first)
                out.value = state.text(text);
            first = false;
        }
        break;
    }
    case element_type::OBJECT:
    case element_type::NULL_VALUE:
        out.value.clear();
        break;
    }
    return true;
}

// clang-format off
#define VANTORA_JSON_INSTANTIATE(T)                                                                \
    template Decoded<T> decode<T>(QByteArrayView);                                                 \
    template QByteArray encode<T>(const T &);
VANTORA_JSON_RECORDS(VANTORA_JSON_INSTANTIATE)
#undef VANTORA_JSON_INSTANTIATE
// clang-format on
template Decoded<RelaxedString> decode<RelaxedString>(QByteArrayView);

} // namespace Vantora::Json
