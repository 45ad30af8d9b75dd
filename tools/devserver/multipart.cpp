#include "multipart_p.h"

using namespace Qt::Literals::StringLiterals;

namespace Vantora::DevServer {

namespace {

constexpr QByteArrayView crlf = "\r\n";

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

QByteArrayView trimmed(QByteArrayView text)
{
    while (!text.isEmpty() && isBlank(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isBlank(text.back()))
        text.chop(1);
    return text;
}

QString quote(QByteArrayView text)
{
    return u'"' + QString::fromUtf8(text) + u'"';
}

struct Parameter
{
    QByteArray key; ///< lower case
    QByteArray value; ///< unquoted
};

// The "; key=value; key="quoted value"" tail of a header value. A backslash inside quotes takes
// the next character as it is.
Result<QList<Parameter>, QString> parseParameters(QByteArrayView text)
{
    QList<Parameter> parameters;
    qsizetype at = 0;
    while (true) {
        while (at < text.size() && (isBlank(text[at]) || text[at] == ';'))
            ++at;
        if (at == text.size())
            return parameters;
        const qsizetype equals = text.indexOf('=', at);
        if (equals < 0)
            return u"parameter without a value: "_s + quote(text.sliced(at));
        Parameter parameter{trimmed(text.sliced(at, equals - at)).toByteArray().toLower(), {}};
        if (parameter.key.isEmpty())
            return u"parameter without a name"_s;
        at = equals + 1;
        while (at < text.size() && isBlank(text[at]))
            ++at;
        if (at < text.size() && text[at] == '"') {
            ++at;
            bool closed = false;
            while (at < text.size()) {
                const char c = text[at++];
                if (c == '"') {
                    closed = true;
                    break;
                }
                if (c == '\\' && at < text.size())
                    parameter.value += text[at++];
                else
                    parameter.value += c;
            }
            if (!closed)
                return u"unterminated quoted value of "_s + QString::fromLatin1(parameter.key);
        } else {
            qsizetype end = text.indexOf(';', at);
            if (end < 0)
                end = text.size();
            parameter.value = trimmed(text.sliced(at, end - at)).toByteArray();
            at = end;
        }
        parameters.append(std::move(parameter));
    }
}

const QByteArray *findParameter(const QList<Parameter> &parameters, QByteArrayView key)
{
    for (const Parameter &parameter : parameters) {
        if (parameter.key == key)
            return &parameter.value;
    }
    return nullptr;
}

// One part: its header block, a blank line, then its content.
Result<FormField, QString> parsePart(QByteArrayView part, int index)
{
    const QString where = u"part "_s + QString::number(index + 1) + u": "_s;
    FormField field;
    bool sawDisposition = false;
    qsizetype at = 0;
    while (true) {
        const qsizetype end = part.indexOf(crlf, at);
        if (end < 0)
            return where + u"header block does not end with an empty line"_s;
        const QByteArrayView line = part.sliced(at, end - at);
        at = end + crlf.size();
        if (line.isEmpty())
            break;
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0)
            return where + u"malformed header line "_s + quote(line);
        const QByteArray name = trimmed(line.first(colon)).toByteArray().toLower();
        const QByteArrayView value = trimmed(line.sliced(colon + 1));
        if (name == "content-disposition") {
            if (sawDisposition)
                return where + u"more than one Content-Disposition"_s;
            sawDisposition = true;
            const qsizetype semicolon = value.indexOf(';');
            const QByteArrayView type = trimmed(semicolon < 0 ? value : value.first(semicolon));
            if (type.toByteArray().toLower() != "form-data")
                return where + u"Content-Disposition is "_s + quote(type)
                    + u", expected form-data"_s;
            auto parameters =
                parseParameters(semicolon < 0 ? QByteArrayView{} : value.sliced(semicolon + 1));
            if (!parameters)
                return where + parameters.error();
            const QByteArray *fieldName = findParameter(parameters.value(), "name");
            if (!fieldName || fieldName->isEmpty())
                return where + u"Content-Disposition has no name"_s;
            field.name = *fieldName;
            if (const QByteArray *filename = findParameter(parameters.value(), "filename"))
                field.filename = *filename;
        } else if (name == "content-type") {
            field.contentType = value.toByteArray();
        }
    }
    if (!sawDisposition)
        return where + u"no Content-Disposition header"_s;
    field.value = part.sliced(at).toByteArray();
    return field;
}

} // namespace

Result<QByteArray, QString> multipartBoundary(QByteArrayView contentType)
{
    if (contentType.isEmpty())
        return u"no Content-Type header; expected multipart/form-data"_s;
    const qsizetype semicolon = contentType.indexOf(';');
    const QByteArrayView type = trimmed(semicolon < 0 ? contentType : contentType.first(semicolon));
    if (type.toByteArray().toLower() != "multipart/form-data")
        return u"Content-Type is "_s + quote(type) + u", expected multipart/form-data"_s;
    auto parameters =
        parseParameters(semicolon < 0 ? QByteArrayView{} : contentType.sliced(semicolon + 1));
    if (!parameters)
        return u"Content-Type: "_s + parameters.error();
    const QByteArray *boundary = findParameter(parameters.value(), "boundary");
    if (!boundary)
        return u"Content-Type has no boundary"_s;
    // RFC 2046: 1 to 70 characters; CR and LF would make the delimiter unfindable.
    if (boundary->isEmpty() || boundary->size() > 70 || boundary->contains('\r')
        || boundary->contains('\n'))
        return u"invalid boundary "_s + quote(*boundary);
    return *boundary;
}

Result<QList<FormField>, QString> parseMultipart(QByteArrayView body, QByteArrayView boundary)
{
    const QByteArray delimiter = "--" + boundary.toByteArray();
    const QByteArray innerDelimiter = "\r\n" + delimiter;

    // The first delimiter opens the body or follows a preamble on a line of its own.
    qsizetype at = 0;
    if (!body.startsWith(delimiter)) {
        const qsizetype found = body.indexOf(innerDelimiter);
        if (found < 0)
            return u"body does not contain the boundary "_s + quote(boundary);
        at = found + crlf.size();
    }

    QList<FormField> fields;
    while (true) {
        at += delimiter.size();
        if (body.sliced(at).startsWith("--"))
            return fields; // the closing delimiter; what follows is epilogue
        while (at < body.size() && isBlank(body[at]))
            ++at; // transport padding
        if (!body.sliced(at).startsWith(crlf)) {
            return at >= body.size() ? u"body ends inside a delimiter line"_s
                                     : u"delimiter line does not end with CRLF"_s;
        }
        at += crlf.size();
        const qsizetype next = body.indexOf(innerDelimiter, at);
        if (next < 0)
            return u"body is truncated: no closing boundary after part "_s
                + QString::number(fields.size() + 1);
        auto field = parsePart(body.sliced(at, next - at), int(fields.size()));
        if (!field)
            return field.error();
        fields.append(std::move(field).value());
        at = next + crlf.size();
    }
}

Result<QByteArray, QString> singleField(const QList<FormField> &fields, QByteArrayView name)
{
    const FormField *found = nullptr;
    for (const FormField &field : fields) {
        if (field.name != name)
            continue;
        if (found)
            return u"form field "_s + quote(name) + u" appears more than once"_s;
        found = &field;
    }
    if (!found)
        return u"form field "_s + quote(name) + u" is missing"_s;
    return found->value;
}

} // namespace Vantora::DevServer
