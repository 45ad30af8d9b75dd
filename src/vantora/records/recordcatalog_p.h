#pragma once

#include "vantora/records/jsoncodec_p.h"

#include <QLatin1StringView>
#include <QStringView>

#include <span>

namespace Vantora::Json {

/// A record that can stand as a whole document: the channel document, the viewer, a trivia, the
/// channel list, each reply and each request body. Tools pick one by name.
struct DocumentKind
{
    QLatin1StringView name; ///< "StreamerInfo", "Channel[]", "AnswerPollResponse", ...
    /// Decodes the document strictly and encodes the record back as compact JSON.
    Result<QByteArray, DecodeError> (*reencode)(QByteArrayView json);
};

std::span<const DocumentKind> documentKinds();
const DocumentKind *findDocumentKind(QStringView name);

} // namespace Vantora::Json
