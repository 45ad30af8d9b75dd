#include "vantora/records/recordcatalog_p.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace Vantora::Json {

namespace {

template <class T>
Result<QByteArray, DecodeError> reencode(QByteArrayView json)
{
    Decoded<T> decoded = decode<T>(json);
    if (!decoded)
        return decoded.error();
    return encode(decoded.value());
}

const std::array kinds{
    DocumentKind{"StreamerInfo"_L1, &reencode<StreamerInfo>},
    DocumentKind{"User"_L1, &reencode<User>},
    DocumentKind{"Trivia"_L1, &reencode<Trivia>},
    DocumentKind{"Channel[]"_L1, &reencode<QList<Channel>>},
    DocumentKind{"AnswerPollResponse"_L1, &reencode<AnswerPollResponse>},
    DocumentKind{"AnswerRatingResponse"_L1, &reencode<AnswerRatingResponse>},
    DocumentKind{"AnswerTriviaResponse"_L1, &reencode<AnswerTriviaResponse>},
    DocumentKind{"AnalyticsResponse"_L1, &reencode<AnalyticsResponse>},
    DocumentKind{"GetInfoRequestBody"_L1, &reencode<GetInfoRequestBody>},
    DocumentKind{"RegisterRequestBody"_L1, &reencode<RegisterRequestBody>},
    DocumentKind{"LoginRequestBody"_L1, &reencode<LoginRequestBody>},
    DocumentKind{"GetTriviaRequestBody"_L1, &reencode<GetTriviaRequestBody>},
    DocumentKind{"AnswerPollRequestBody"_L1, &reencode<AnswerPollRequestBody>},
    DocumentKind{"AnswerRatingRequestBody"_L1, &reencode<AnswerRatingRequestBody>},
    DocumentKind{"AnswerTriviaRequestBody"_L1, &reencode<AnswerTriviaRequestBody>},
    DocumentKind{"AnalyticsRequestBody"_L1, &reencode<AnalyticsRequestBody>},
};

} // namespace

std::span<const DocumentKind> documentKinds()
{
    return kinds;
}

const DocumentKind *findDocumentKind(QStringView name)
{
    const auto found = std::find_if(kinds.begin(), kinds.end(),
                                    [&](const DocumentKind &kind) { return kind.name == name; });
    return found == kinds.end() ? nullptr : &*found;
}

} // namespace Vantora::Json
