#pragma once

#include "vantora/toolkit/result_p.h"

#include <vantora/records/apibodies.h>
#include <vantora/records/streamerinfo.h>
#include <vantora/records/userrecords.h>

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

// Strict JSON decoding and encoding of the records, driven by their shapes (recordshapes_p.h).
//
//   auto info = Json::decode<StreamerInfo>(body);
//   if (!info)
//       qCDebug(lcService) << info.error().message(); // "polls[3].prizes[0].secondsDelay: missing"
//   QByteArray json = Json::encode(RegisterRequestBody{{broadcaster, channel}});
//
// Decoding: a required member must be present with its JSON type; an optional member that is
// missing or null stays absent; a wrong type fails the record and everything that contains it;
// unknown keys are ignored; when a key repeats, its first occurrence counts. Encoding writes the
// required members and the present optional ones.

namespace Vantora::Json {

/// Why a document did not decode, and where: `path` is empty for the document itself.
struct DecodeError
{
    QString path; ///< "polls[3].prizes[0].secondsDelay"
    QString reason; ///< "missing", "expected integer, got string", "invalid JSON (...)"

    /// "path: reason", or the reason alone for the document itself.
    QString message() const;
};

template <class T>
using Decoded = Result<T, DecodeError>;

/// Decodes a UTF-8 JSON document strictly as T. Never throws.
template <class T>
Decoded<T> decode(QByteArrayView json);

/// Encodes a record (or a list of records) as compact JSON.
template <class T>
QByteArray encode(const T &value);

// clang-format off
// Every record with a JSON form. decode() and encode() are instantiated for these once, in the
// records library; other layers call them without seeing the JSON library.
#define VANTORA_JSON_RECORDS(X)                                                                    \
    X(Sponsor) X(Promotion) X(Offer) X(TriviaPromotions) X(Injection) X(Clock) X(DesignInfo)       \
    X(StreamerInfo) X(AnswerDetail) X(TriviaQuestion) X(TriviaAnswer) X(Trivia) X(PollAnswer)     \
    X(Poll) X(Rating) X(PredictionResult) X(User) X(UserLevel) X(Channel) X(QList<Channel>)        \
    X(GetInfoRequestBody) X(RegisterRequestBody) X(LoginRequestBody) X(AnswerPollRequestBody)      \
    X(AnswerRatingRequestBody) X(AnswerTriviaRequestBody) X(AnalyticsRequestBody)                  \
    X(AnalyticsEvent) X(AnswerPollResponse) X(AnswerRatingResponse) X(AnswerTriviaResponse)        \
    X(AnalyticsResponse) X(QList<Clock>) X(QList<Injection>)

#define VANTORA_JSON_DECLARE(T)                                                                    \
    extern template Decoded<T> decode<T>(QByteArrayView);                                          \
    extern template QByteArray encode<T>(const T &);
VANTORA_JSON_RECORDS(VANTORA_JSON_DECLARE)
#undef VANTORA_JSON_DECLARE
// clang-format on

// A lenient value on its own is a bare JSON value, not a document Qt can write; it decodes only.
extern template Decoded<RelaxedString> decode<RelaxedString>(QByteArrayView);

} // namespace Vantora::Json
