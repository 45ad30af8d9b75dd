// Reads every input twice: with the records decoder, and with RapidJSON, a strict parser that
// shares no code with it. Crashes are not the only faults: where RapidJSON reads a document, the
// decoder must too.
//
// - Where RapidJSON accepts the input, the decoder never calls it invalid JSON, for any record
//   kind: if it refuses the document, its reason names a member.
// - A record the decoder accepts writes back and decodes again to the same bytes.
// - A bare value reads as the lenient text that the reading rules give for RapidJSON's value.
//
// Where the two differ by rule, the input is left out of the first property:
// - nesting deeper than simdjson's 1024 levels, which RapidJSON reads without a limit;
// - an escaped lone surrogate ("\udc00"): not a character, so simdjson refuses the text while
//   RapidJSON keeps its bytes;
// - a number beyond every float (1e400, or an integer of 400 digits): RapidJSON refuses most of
//   them and takes some; the decoder refuses 1e400 and reads such an integer as no value (null).

#include "writeback.h"

#include "vantora/records/jsoncodec_p.h"
#include "vantora/toolkit/numbertext_p.h"

#include <QRegularExpression>

#include <rapidjson/reader.h>

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

using namespace Vantora;

namespace {

[[noreturn]] void fault(const char *what, const QByteArray &detail)
{
    std::fprintf(stderr, "%s\n%s\n", what, detail.constData());
    std::abort();
}

QString wholeOrShortest(double number)
{
    if (std::trunc(number) == number && number >= -0x1p63 && number < 0x1p63)
        return QString::number(static_cast<qint64>(number));
    return shortestText(number);
}

// A number's lenient text by the reading rules, from its JSON text: RapidJSON gives numbers as
// text, read here by std::from_chars rather than by either parser's own conversion.
QString numberText(std::string_view literal)
{
    const char *end = literal.data() + literal.size();
    if (literal.find_first_of(".eE") == std::string_view::npos) {
        qint64 whole = 0;
        if (const auto read = std::from_chars(literal.data(), end, whole);
            read.ec == std::errc{} && read.ptr == end)
            return QString::number(whole);
    }
    double number = 0;
    std::from_chars(literal.data(), end, number);
    return wholeOrShortest(number);
}

// RapidJSON's reading of the input, event by event: the lenient text of a bare value or of an
// array's first element when every element is a text; empty for anything else.
class LenientReading : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, LenientReading>
{
public:
    QString text;
    bool beyondEveryFloat = false;

    bool Null() { return scalar(QString(), false); }
    bool Bool(bool value)
    {
        return scalar(value ? QStringLiteral("true") : QStringLiteral("false"), false);
    }
    bool String(const char *value, rapidjson::SizeType length, bool)
    {
        return scalar(QString::fromUtf8(value, static_cast<qsizetype>(length)), true);
    }
    bool RawNumber(const char *value, rapidjson::SizeType length, bool)
    {
        double number = 0;
        if (std::from_chars(value, value + length, number).ec != std::errc{})
            beyondEveryFloat = true; // its own check of that is loose
        return scalar(numberText(std::string_view(value, length)), false);
    }
    bool Key(const char *, rapidjson::SizeType, bool) { return true; }
    bool StartObject() { return open(false); }
    bool EndObject(rapidjson::SizeType) { return close(); }
    bool StartArray() { return open(true); }
    bool EndArray(rapidjson::SizeType) { return close(); }

private:
    bool scalar(const QString &value, bool isText)
    {
        if (m_depth == 0)
            text = value;
        else if (m_depth == 1 && m_rootIsArray && !isText)
            m_allTexts = false;
        else if (m_depth == 1 && m_rootIsArray && m_elements++ == 0)
            text = value;
        return true;
    }
    bool open(bool array)
    {
        if (m_depth == 0)
            m_rootIsArray = array;
        else if (m_depth == 1)
            m_allTexts = false;
        ++m_depth;
        return true;
    }
    bool close()
    {
        if (--m_depth == 0 && !m_allTexts)
            text.clear();
        return true;
    }

    int m_depth = 0;
    bool m_rootIsArray = false;
    bool m_allTexts = true;
    int m_elements = 0;
};

// The second reading, strict to the grammar and its encoding; none when it refuses the input. It
// reads a NUL-terminated text (its reader of a sized buffer skips what looks like a byte-order
// mark), and JSON allows no NUL byte outside a string's escapes anyway. Its check of a string's
// encoding reads a truncated sequence's bytes past the end, so the text ends in a few NULs.
std::optional<QString> readBySecondParser(QByteArrayView input)
{
    if (input.contains('\0'))
        return std::nullopt;
    const QByteArray text = input.toByteArray() + QByteArray(4, '\0');
    rapidjson::StringStream stream(text.constData());
    rapidjson::Reader reader;
    LenientReading reading;
    constexpr unsigned flags = rapidjson::kParseNumbersAsStringsFlag
        | rapidjson::kParseValidateEncodingFlag | rapidjson::kParseIterativeFlag;
    if (reader.Parse<flags>(stream, reading).IsError() || reading.beyondEveryFloat)
        return std::nullopt;
    return reading.text;
}

bool differsByRule(QByteArrayView input, const QString &reason)
{
    static const QRegularExpression surrogate(QStringLiteral("\\\\u[dD][89a-fA-F]"));
    return surrogate.match(QString::fromUtf8(input)).hasMatch()
        || reason.contains(QLatin1StringView("too deep"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArrayView input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const std::optional<QString> second = readBySecondParser(input);

    for (const Json::DocumentKind &kind : Json::documentKinds()) {
        const auto once = kind.reencode(input);
        if (!once) {
            const QString reason = once.error().message();
            if (second && reason.startsWith(QLatin1StringView("invalid JSON"))
                && !differsByRule(input, reason))
                fault("RapidJSON reads a document the decoder calls invalid:",
                      kind.name.toString().toUtf8() + ": " + reason.toUtf8());
            continue;
        }
        Fuzz::expectWritesBackToItself(kind, once.value());
    }

    if (second) {
        const auto lenient = Json::decode<RelaxedString>(input);
        if (!lenient && !differsByRule(input, lenient.error().message()))
            fault("RapidJSON reads a bare value the decoder calls invalid:",
                  lenient.error().message().toUtf8());
        if (lenient && lenient.value().value != *second)
            fault("the lenient text differs from the rules:",
                  lenient.value().value.toUtf8() + " instead of " + second->toUtf8());
    }
    return 0;
}
