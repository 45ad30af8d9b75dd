// JSON has no integer limit; simdjson's DOM stops at 64 bits and refuses the whole document over
// one such number, wherever it stands. Such documents are rare, so only they take a second pass.

#include "vantora/records/jsondecoder_p.h"

#include <QRegularExpression>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Vantora::Json {

namespace {

namespace ondemand = simdjson::ondemand;

constexpr int deepest = 1024; // simdjson's own nesting limit

struct Replacement
{
    size_t offset;
    size_t length;
    std::string text;
};

template <class Integer>
bool fits(std::string_view literal)
{
    Integer value{};
    const auto [end, error] =
        std::from_chars(literal.data(), literal.data() + literal.size(), value);
    return error == std::errc{} && end == literal.data() + literal.size();
}

// What stands for a number token: nothing for one simdjson reads; for an integer beyond both
// 64-bit ranges the shortest text of the float nearest to it, or null when no float holds it.
std::optional<std::string> widened(std::string_view token)
{
    // JSON's integer grammar: no plus sign, no leading zero. Anything else keeps its bytes, and
    // the DOM refuses it again as before.
    static const QRegularExpression integer(QStringLiteral("^-?(0|[1-9][0-9]*)$"));
    token = token.substr(0, token.find_last_not_of(" \t\n\r") + 1);
    if (!integer.match(QLatin1StringView(token.data(), static_cast<qsizetype>(token.size())))
             .hasMatch()
        || fits<std::int64_t>(token) || fits<std::uint64_t>(token))
        return std::nullopt;
    double nearest = 0;
    const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), nearest);
    if (error != std::errc{} || end != token.data() + token.size() || !std::isfinite(nearest))
        return std::string("null");
    char text[32];
    // Scientific: the shortest fixed form of such a float is again an integer beyond 64 bits.
    const auto written =
        std::to_chars(text, text + sizeof text, nearest, std::chars_format::scientific);
    return std::string(text, written.ptr);
}

class NumberFinder
{
public:
    explicit NumberFinder(const char *start) : m_start(start) { }

    // Walks a value and everything in it, noting the numbers to replace; false on any error.
    bool visit(ondemand::value value, int depth)
    {
        ondemand::json_type type;
        if (depth > deepest || value.type().get(type) != simdjson::SUCCESS)
            return false;
        switch (type) {
        case ondemand::json_type::object: {
            ondemand::object object;
            if (value.get_object().get(object) != simdjson::SUCCESS)
                return false;
            for (auto field : object) {
                ondemand::value member;
                if (field.value().get(member) != simdjson::SUCCESS || !visit(member, depth + 1))
                    return false;
            }
            return true;
        }
        case ondemand::json_type::array: {
            ondemand::array array;
            if (value.get_array().get(array) != simdjson::SUCCESS)
                return false;
            for (auto element : array) {
                ondemand::value item;
                if (element.get(item) != simdjson::SUCCESS || !visit(item, depth + 1))
                    return false;
            }
            return true;
        }
        case ondemand::json_type::number:
            note(value.raw_json_token());
            return true;
        default:
            return true; // strings, booleans and null stay as written
        }
    }

    void note(std::string_view token)
    {
        if (auto text = widened(token))
            m_replacements.push_back(
                {static_cast<size_t>(token.data() - m_start), token.size(), std::move(*text)});
    }

    // The document with its numbers replaced; empty when there is nothing to replace.
    std::string rewrite(std::string_view original) const
    {
        std::string out;
        size_t copied = 0;
        for (const Replacement &replacement : m_replacements) {
            out.append(original.substr(copied, replacement.offset - copied));
            out.append(replacement.text);
            copied = replacement.offset + replacement.length;
        }
        if (!out.empty())
            out.append(original.substr(copied));
        return out;
    }

private:
    const char *m_start;
    std::vector<Replacement> m_replacements;
};

// The document with each integer beyond 64 bits written as the float nearest to it, found by
// simdjson's on-demand reader, which takes numbers as tokens; empty when there is none or the
// document does not read.
std::string widenedDocument(std::string_view json)
{
    thread_local ondemand::parser parser;
    const simdjson::padded_string padded(json);
    ondemand::document document;
    if (parser.iterate(padded).get(document) != simdjson::SUCCESS)
        return {};
    NumberFinder finder(padded.data());
    bool scalar = false;
    if (document.is_scalar().get(scalar) != simdjson::SUCCESS)
        return {};
    if (scalar) {
        ondemand::json_type type;
        if (document.type().get(type) != simdjson::SUCCESS)
            return {};
        std::string_view token;
        if (type == ondemand::json_type::number
            && document.raw_json_token().get(token) == simdjson::SUCCESS)
            finder.note(token);
    } else {
        ondemand::value root;
        if (document.get_value().get(root) != simdjson::SUCCESS || !finder.visit(root, 0))
            return {};
    }
    // Bytes after the root, or an error past it, are the second DOM reading's to refuse.
    return finder.rewrite(json);
}

} // namespace

simdjson::error_code parseDocument(simdjson::dom::parser &parser, QByteArrayView json,
                                   element &root)
{
    // An empty view may carry no buffer at all, which simdjson must not be handed.
    const char *bytes = json.isEmpty() ? "" : json.data();
    const auto size = static_cast<size_t>(json.size());
    const simdjson::error_code error = parser.parse(bytes, size).get(root);
    if (error != simdjson::NUMBER_ERROR)
        return error;
    const std::string widened = widenedDocument(std::string_view(bytes, size));
    if (widened.empty())
        return error;
    return parser.parse(widened).get(root);
}

} // namespace Vantora::Json
