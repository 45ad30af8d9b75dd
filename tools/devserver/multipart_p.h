#pragma once

#include "vantora/toolkit/result_p.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>

// The server's reading of multipart/form-data request bodies (RFC 7578 over RFC 2046), which is
// how every backend operation carries its JSON:
//
//   Content-Type: multipart/form-data; boundary=Boundary-0F1E...
//
//   --Boundary-0F1E...\r\n
//   Content-Disposition: form-data; name="request"\r\n
//   \r\n
//   {"data":{...}}\r\n
//   --Boundary-0F1E...--\r\n
//
// The reader is strict where a sloppy body would hide a client bug (no closing delimiter, a part
// without a name, a header block that never ends) and lenient where the RFC allows variety
// (preamble and epilogue, header name case, quoted or bare parameter values, transport padding
// after a delimiter).

namespace Vantora::DevServer {

struct FormField
{
    QByteArray name;
    std::optional<QByteArray> filename;
    QByteArray contentType; ///< empty when the part declares none
    QByteArray value;
};

/// The boundary named by a Content-Type header value, or why there is none.
Result<QByteArray, QString> multipartBoundary(QByteArrayView contentType);

/// Splits a multipart body into its fields, in body order.
Result<QList<FormField>, QString> parseMultipart(QByteArrayView body, QByteArrayView boundary);

/// The value of the one field called `name`: an error when it is missing or repeated.
Result<QByteArray, QString> singleField(const QList<FormField> &fields, QByteArrayView name);

} // namespace Vantora::DevServer
