#ifndef VANTORA_APIBODIES_H
#define VANTORA_APIBODIES_H

#include <vantora/records/interactionrecords.h>
#include <vantora/records/userrecords.h>

#include <QList>
#include <QString>
#include <QtGlobal>

#include <optional>

/** @file
 * What travels to and from the backend: one request body per operation, whose single member
 * `data` holds the operation's data record, the three answer replies, whose single member
 * `answer` holds the reply data, and the analytics event with its reply.
 *
 * The id of the item a request concerns is never in the body; it is part of the request path.
 */

namespace Vantora {

/// `{"data": ...}` around a request data record.
template <class Data>
struct RequestBody
{
    Data data;
};

struct GetInfoRequestData
{
    QString broadcasterName;
    QString channelId;
};

struct RegisterRequestData
{
    QString broadcasterName;
    QString channelId;
    std::optional<QString> userBroadcasterForeignID; ///< left out when the host gave none
    std::optional<QString> userInitialName;
};

/// Logging in and fetching a trivia question send the same members.
struct LoginRequestData
{
    QString userToken;
    QString broadcasterName;
    QString channelId;
};
using GetTriviaRequestData = LoginRequestData;

struct AnswerPollRequestData
{
    QString broadcasterName;
    QString channelId;
    QString userToken;
    QString answer; ///< the chosen option's answer text
};

struct AnswerRatingRequestData
{
    QString broadcasterName;
    QString channelId;
    QString userToken;
    qint64 answer = 0; ///< the rating, sent as a JSON number
};

struct AnswerTriviaRequestData
{
    QString broadcasterName;
    QString channelId;
    QString userToken;
    std::optional<QString> matchId;
    QString answer;
};

/// One analytics event.
struct AnalyticsEvent
{
    QString country;
    QString language;
    QString deviceType;
    QString device;
    QString browser;
    qint64 timestamp = 0; ///< milliseconds since 1970, a JSON integer
    QString module;
    std::optional<QString> subModule;
    QString streamer;
    std::optional<QString> advertiser;
    bool isEngaged = false;
    std::optional<QString> eventType;
    std::optional<QString> source;
    std::optional<QString> source_id;
    std::optional<qint64> injection_timestamp;
};

struct AnalyticsRequestData
{
    QList<AnalyticsEvent> events;
    QString broadcasterName;
    QString userToken;
};

using GetInfoRequestBody = RequestBody<GetInfoRequestData>;
using RegisterRequestBody = RequestBody<RegisterRequestData>;
using LoginRequestBody = RequestBody<LoginRequestData>;
using GetTriviaRequestBody = RequestBody<GetTriviaRequestData>;
using AnswerPollRequestBody = RequestBody<AnswerPollRequestData>;
using AnswerRatingRequestBody = RequestBody<AnswerRatingRequestData>;
using AnswerTriviaRequestBody = RequestBody<AnswerTriviaRequestData>;
using AnalyticsRequestBody = RequestBody<AnalyticsRequestData>;

/// `{"answer": ...}` around an answer reply's data.
template <class Data>
struct AnswerResponse
{
    Data answer;
};

// The three reply records differ on purpose: `isAnswered` is optional only for trivia; the
// rating reply has `ratingId` and an integer `answer`; only trivia carries the correct answer
// and the totals.

struct AnswerPollResponseData
{
    QString userId;
    QString questionId;
    QString answer;
    QString channelId;
    bool isAnswered = false;
    double expoints_given = 0;
    std::optional<double> giftPointsGiven;
    std::optional<UserLevel> userLevel;
};

struct AnswerRatingResponseData
{
    QString userId;
    QString ratingId;
    qint64 answer = 0;
    QString channelId;
    bool isAnswered = false;
    double expoints_given = 0;
    std::optional<double> giftPointsGiven;
    std::optional<UserLevel> userLevel;
};

struct AnswerTriviaResponseData
{
    QString userId;
    QString questionId;
    QString answer;
    AnswerDetail correctAnswer;
    bool isCorrect = false;
    std::optional<bool> isAnswered;
    double expoints_given = 0;
    qint64 points = 0;
    std::optional<double> pointsGiven;
    std::optional<double> giftPointsGiven;
    std::optional<UserLevel> userLevel;
    std::optional<double> total_points;
    std::optional<double> total_expoints;
};

using AnswerPollResponse = AnswerResponse<AnswerPollResponseData>;
using AnswerRatingResponse = AnswerResponse<AnswerRatingResponseData>;
using AnswerTriviaResponse = AnswerResponse<AnswerTriviaResponseData>;

struct AnalyticsResponse
{
    QString status;
};

} // namespace Vantora

#endif
