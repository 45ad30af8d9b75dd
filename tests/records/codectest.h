#pragma once

#include "vantora/records/jsoncodec_p.h"

#include "testsupport.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <type_traits>

namespace Vantora::TestSupport {

/// Decodes a document that must be valid, failing the test with the decoder's message if not.
template <class T>
T decodeOrFail(QByteArrayView json)
{
    auto decoded = Json::decode<T>(json);
    if (!decoded) {
        ADD_FAILURE() << "decode failed: " << qPrintable(decoded.error().message());
        return T{};
    }
    return std::move(decoded).value();
}

/// Decodes a document strictly and encodes the record again, as the catalog's kinds do; a lenient
/// value on its own comes back as its text in a JSON string.
template <class T>
Result<QByteArray, Json::DecodeError> reencode(QByteArrayView json)
{
    auto decoded = Json::decode<T>(json);
    if (!decoded)
        return decoded.error();
    if constexpr (std::is_same_v<T, RelaxedString>)
        return QJsonDocument(QJsonArray{decoded.value().value})
            .toJson(QJsonDocument::Compact)
            .mid(1)
            .chopped(1);
    else
        return Json::encode(decoded.value());
}

/// Any JSON value, for comparison whatever its key order and spacing.
inline QJsonDocument parsedJson(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson('[' + json + ']', &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << json.toStdString();
    return document;
}

} // namespace Vantora::TestSupport
