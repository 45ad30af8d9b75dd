// Reads every input twice: with the records decoder, and with Qt's JSON parser, which shares no
// code with it. Crashes are not the only faults: where Qt reads a document, the decoder must too.
//
// - Where Qt accepts the input, the decoder never calls it invalid JSON, for any record kind: if
//   it refuses the document, its reason names a member.
// - A record the decoder accepts writes back and decodes again to the same bytes.
// - A bare value reads as the lenient text that the reading rules give for Qt's value.
//
// Where the two parsers differ by rule, the input is left out of the first property:
// - an escaped lone surrogate ("\ud800"): not a character, so simdjson refuses the text while Qt
//   reads it as a replacement character;
// - nesting deeper than simdjson's 1024 levels, which Qt accepts a little further;
// - a number beyond every float (1e400, or an integer of 400 digits): Qt refuses 1e400 and reads
//   such an integer as infinity; the decoder refuses 1e400 and reads the integer as no value
//   (null), so lenient text is empty where the rules would render infinity.

#include "writeback.h"

#include "vantora/records/jsoncodec_p.h"
#include "vantora/toolkit/numbertext_p.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <QRegularExpression>

#include <cmath>
#include <optional>

using namespace Vantora;

namespace {

[[noreturn]] void fault(const char *what, const QByteArray &detail)
{
    std::fprintf(stderr, "%s\n%s\n", what, detail.constData());
    std::abort();
}

// Qt reads only objects and arrays as documents; a bare value is read as the one element of an
// array around it.
std::optional<QJsonValue> readByQt(QByteArrayView input)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson('[' + input.toByteArray() + ']', &error);
    if (error.error != QJsonParseError::NoError || document.array().size() != 1)
        return std::nullopt;
    return document.array().first();
}

// The lenient text of a value, by the reading rules.
std::optional<QString> lenientText(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QJsonValue::Double: {
        const QVariant number = value.toVariant();
        if (number.typeId() == QMetaType::LongLong)
            return QString::number(number.toLongLong());
        const double real = value.toDouble();
        if (!std::isfinite(real))
            return std::nullopt; // beyond every float: a listed difference
        if (std::trunc(real) == real && real >= -0x1p63 && real < 0x1p63)
            return QString::number(static_cast<qint64>(real));
        return shortestText(real);
    }
    case QJsonValue::Array: {
        // The first of an array of texts; an array holding anything else is nothing.
        const QJsonArray array = value.toArray();
        for (const QJsonValue &item : array) {
            if (!item.isString())
                return QString();
        }
        return array.isEmpty() ? QString() : array.first().toString();
    }
    default:
        return QString();
    }
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
    const std::optional<QJsonValue> qt = readByQt(input);

    for (const Json::DocumentKind &kind : Json::documentKinds()) {
        const auto once = kind.reencode(input);
        if (!once) {
            const QString reason = once.error().message();
            if (qt && reason.startsWith(QLatin1StringView("invalid JSON"))
                && !differsByRule(input, reason))
                fault("Qt reads a document the decoder calls invalid:",
                      kind.name.toString().toUtf8() + ": " + reason.toUtf8());
            continue;
        }
        Fuzz::expectWritesBackToItself(kind, once.value());
    }

    if (qt) {
        const auto lenient = Json::decode<RelaxedString>(input);
        const std::optional<QString> expected = lenientText(*qt);
        if (!lenient && !differsByRule(input, lenient.error().message()))
            fault("Qt reads a bare value the decoder calls invalid:",
                  lenient.error().message().toUtf8());
        if (lenient && expected && lenient.value().value != *expected)
            fault("the lenient text differs from the rules:",
                  lenient.value().value.toUtf8() + " instead of " + expected->toUtf8());
    }
    return 0;
}
