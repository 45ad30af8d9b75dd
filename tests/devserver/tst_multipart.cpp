// The multipart/form-data reader: what the SDK sends, what other clients may send, and the broken
// bodies a server must refuse with a reason instead of guessing.

#include "multipart_p.h"

#include "testsupport.h"

#include <gtest/gtest.h>

using namespace Vantora::DevServer;
using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray sdkBoundary = "Boundary-3F2504E0-4F89-11D3-9A0C-0305E82C3301";

QByteArray sdkBody(const QByteArray &json)
{
    return "--" + sdkBoundary + "\r\nContent-Disposition: form-data; name=\"request\"\r\n\r\n"
        + json + "\r\n--" + sdkBoundary + "--\r\n";
}

} // namespace

TEST(Multipart, boundaryComesFromTheContentType)
{
    const struct
    {
        const char *header;
        const char *boundary; // empty: an error containing `error`
        const char *error;
    } rows[] = {
        {"multipart/form-data; boundary=Boundary-ABC", "Boundary-ABC", ""},
        {"Multipart/Form-Data;boundary=\"quoted; with semicolon\"", "quoted; with semicolon", ""},
        {"multipart/form-data; charset=utf-8; BOUNDARY=x", "x", ""},
        {"multipart/form-data; boundary=\"a\\\"b\"", "a\"b", ""},
        {"", "", "no Content-Type"},
        {"application/json", "", "expected multipart/form-data"},
        {"multipart/form-data", "", "no boundary"},
        {"multipart/form-data; boundary=", "", "invalid boundary"},
        {"multipart/form-data; boundary=\"unterminated", "", "unterminated"},
        {"multipart/form-data; boundary", "", "without a value"},
        {"multipart/form-data; "
         "boundary=0123456789012345678901234567890123456789012345678901234567890123456789X",
         "", "invalid boundary"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.header);
        const auto boundary = multipartBoundary(row.header);
        if (*row.boundary) {
            ASSERT_TRUE(boundary) << boundary.error().toStdString();
            EXPECT_EQ(boundary.value(), QByteArray(row.boundary));
        } else {
            ASSERT_FALSE(boundary);
            EXPECT_TRUE(boundary.error().contains(QLatin1StringView(row.error)))
                << boundary.error().toStdString();
        }
    }
}

TEST(Multipart, readsTheSdksBodyByteForByte)
{
    const QByteArray json = R"({"data":{"answer":"Caf\u00e9 \r\n--Boundary","channelId":"1"}})";
    const auto fields = parseMultipart(sdkBody(json), sdkBoundary);
    ASSERT_TRUE(fields) << fields.error().toStdString();
    ASSERT_EQ(fields.value().size(), 1);
    EXPECT_EQ(fields.value()[0].name, "request");
    EXPECT_EQ(fields.value()[0].value, json);
    EXPECT_FALSE(fields.value()[0].filename);
    EXPECT_EQ(singleField(fields.value(), "request").value(), json);
}

TEST(Multipart, acceptsWhatTheRfcAllows)
{
    // Preamble and epilogue, padding after a delimiter, header case, bare and quoted names,
    // per-part headers, a file part, an empty value and binary content.
    const QByteArray body =
        "This is the preamble.\r\n"
        "--b  \t\r\n"
        "content-disposition: FORM-DATA; name=first\r\n"
        "Content-Type: text/plain; charset=utf-8\r\n"
        "\r\n"
        "one\r\n"
        "--b\r\n"
        "Content-Disposition: form-data; name=\"up\"; filename=\"a \\\"b\\\".bin\"\r\n"
        "\r\n"
        + QByteArray("\x00\xff\r\x0a-", 5)
        + "\r\n"
          "--b\r\n"
          "Content-Disposition: form-data; name=\"empty\"\r\n"
          "\r\n"
          "\r\n"
          "--b--\r\n"
          "epilogue --b\r\n";
    const auto fields = parseMultipart(body, "b");
    ASSERT_TRUE(fields) << fields.error().toStdString();
    ASSERT_EQ(fields.value().size(), 3);
    EXPECT_EQ(fields.value()[0].name, "first");
    EXPECT_EQ(fields.value()[0].value, "one");
    EXPECT_EQ(fields.value()[0].contentType, "text/plain; charset=utf-8");
    EXPECT_EQ(fields.value()[1].name, "up");
    EXPECT_EQ(fields.value()[1].filename, QByteArray("a \"b\".bin"));
    EXPECT_EQ(fields.value()[1].value, QByteArray("\x00\xff\r\x0a-", 5));
    EXPECT_EQ(fields.value()[2].value, QByteArray());
}

TEST(Multipart, refusesBrokenBodiesWithTheReason)
{
    const QByteArray part = "Content-Disposition: form-data; name=\"request\"\r\n\r\n{}";
    const struct
    {
        const char *name;
        QByteArray body;
        const char *error;
    } rows[] = {
        {"empty body", "", "does not contain the boundary"},
        {"other boundary", "--other\r\n" + part + "\r\n--other--\r\n",
         "does not contain the boundary"},
        {"truncated after the value", "--b\r\n" + part, "truncated"},
        {"truncated inside the headers", "--b\r\nContent-Disposition: form-da", "truncated"},
        {"no closing delimiter", "--b\r\n" + part + "\r\n--b\r\n", "truncated"},
        {"ends inside the delimiter line", "--b\r\n" + part + "\r\n--b", "ends inside a delimiter"},
        {"text glued to a delimiter", "--bx\r\n" + part + "\r\n--b--", "does not end with CRLF"},
        {"LF-only line ends", "--b\n" + QByteArray(part).replace("\r\n", "\n") + "\n--b--\n",
         "does not end with CRLF"},
        {"no blank line after the headers",
         "--b\r\nContent-Disposition: form-data; name=\"request\"\r\n--b--\r\n",
         "header block does not end with an empty line"},
        {"no Content-Disposition", "--b\r\nContent-Type: text/plain\r\n\r\n{}\r\n--b--\r\n",
         "part 1: no Content-Disposition"},
        {"not form-data",
         "--b\r\nContent-Disposition: attachment; name=\"request\"\r\n\r\n{}\r\n--b--",
         "expected form-data"},
        {"no name", "--b\r\nContent-Disposition: form-data; filename=\"x\"\r\n\r\n{}\r\n--b--",
         "has no name"},
        {"empty name", "--b\r\nContent-Disposition: form-data; name=\"\"\r\n\r\n{}\r\n--b--",
         "has no name"},
        {"two dispositions",
         "--b\r\nContent-Disposition: form-data; name=a\r\nContent-Disposition: form-data; "
         "name=b\r\n\r\n{}\r\n--b--",
         "more than one Content-Disposition"},
        {"header without colon", "--b\r\nContent-Disposition form-data\r\n\r\n{}\r\n--b--",
         "malformed header line"},
        {"second part broken", "--b\r\n" + part + "\r\n--b\r\nX: y\r\n\r\nz\r\n--b--\r\n",
         "part 2: no Content-Disposition"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const auto fields = parseMultipart(row.body, "b");
        ASSERT_FALSE(fields);
        EXPECT_TRUE(fields.error().contains(QLatin1StringView(row.error)))
            << fields.error().toStdString();
    }
}

TEST(Multipart, singleFieldWantsExactlyOne)
{
    const QList<FormField> fields{
        {"request", {}, {}, "1"}, {"other", {}, {}, "2"}, {"other", {}, {}, "3"}};
    EXPECT_EQ(singleField(fields, "request").value(), "1");
    EXPECT_EQ(singleField(fields, "missing").error(), u"form field \"missing\" is missing"_s);
    EXPECT_EQ(singleField(fields, "other").error(),
              u"form field \"other\" appears more than once"_s);
}
