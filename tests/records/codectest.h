#pragma once

#include "vantora/records/jsoncodec_p.h"

#include "testsupport.h"

#include <QJsonDocument>
#include <QString>

#include <gtest/gtest.h>

namespace Vantora::TestSupport {

/// "ok", or the decode error's message: one comparable outcome for table rows.
template <class T>
QString outcome(QByteArrayView json)
{
    const auto decoded = Json::decode<T>(json);
    return decoded ? QStringLiteral("ok") : decoded.error().message();
}

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

/// JSON text parsed for comparison; key order and spacing do not matter.
inline QJsonDocument parsed(QByteArrayView json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json.toByteArray(), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << qPrintable(error.errorString());
    return document;
}

} // namespace Vantora::TestSupport
