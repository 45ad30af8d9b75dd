#pragma once

#include <vantora/records/apibodies.h>
#include <vantora/records/streamerinfo.h>
#include <vantora/records/userrecords.h>

#include <optional>
#include <string_view>
#include <tuple>
#include <type_traits>

// The JSON shape of every record, written once: the key of each member, in declaration order.
// The decoder and the encoder both walk these tables. A member typed std::optional is optional
// (missing or null leaves it absent, and it is left out when absent); every other member is
// required. Keys are the backend's own spelling, snake_case and camelCase mixed.

namespace Vantora::Json {

template <class Record, class Member>
struct Field
{
    using Type = Member;
    std::string_view key;
    Member Record::*member;
};

template <class Record, class Member>
constexpr Field<Record, Member> field(std::string_view key, Member Record::*member)
{
    return {key, member};
}

/// Specialised for every record that has a JSON form.
template <class Record>
struct Shape;

template <class T>
concept HasShape = requires
{
    Shape<T>::fields;
};

template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

// Channel document ------------------------------------------------------------------------------

template <>
struct Shape<Sponsor>
{
    static constexpr auto fields = std::tuple{
        field("name", &Sponsor::name),
        field("description", &Sponsor::description),
        field("url", &Sponsor::url),
    };
};

template <>
struct Shape<Promotion>
{
    static constexpr auto fields = std::tuple{
        field("name", &Promotion::name),
        field("content", &Promotion::content),
        field("description", &Promotion::description),
        field("url", &Promotion::url),
        field("type", &Promotion::type),
        field("viewType", &Promotion::viewType),
        field("clientType", &Promotion::clientType),
        field("secondsDelay", &Promotion::secondsDelay),
        field("smart_tv_img", &Promotion::smart_tv_img),
        field("sponsor", &Promotion::sponsor),
    };
};

template <>
struct Shape<Offer>
{
    static constexpr auto fields = std::tuple{field("name", &Offer::name)};
};

template <>
struct Shape<TriviaPromotions>
{
    static constexpr auto fields = std::tuple{
        field("id", &TriviaPromotions::id),
        field("prizes", &TriviaPromotions::prizes),
    };
};

template <>
struct Shape<Injection>
{
    static constexpr auto fields = std::tuple{
        field("id", &Injection::id),
        field("module", &Injection::module),
        field("injection_timestamp", &Injection::injection_timestamp),
        field("timeToStay", &Injection::timeToStay),
        field("active", &Injection::active),
        field("isPause", &Injection::isPause),
        field("close_post_interaction", &Injection::close_post_interaction),
        field("smartTV", &Injection::smartTV),
        field("once_per_user", &Injection::once_per_user),
    };
};

template <>
struct Shape<Clock>
{
    static constexpr auto fields = std::tuple{
        field("id", &Clock::id),
        field("module", &Clock::module),
        field("time", &Clock::time),
        field("timeToStay", &Clock::timeToStay),
        field("isPause", &Clock::isPause),
        field("close_post_interaction", &Clock::close_post_interaction),
        field("smartTV", &Clock::smartTV),
    };
};

template <>
struct Shape<DesignInfo>
{
    static constexpr auto fields = std::tuple{
        field("type", &DesignInfo::type),
        field("backgroundImage", &DesignInfo::backgroundImage),
        field("backgroundLogo", &DesignInfo::backgroundLogo),
        field("textColor", &DesignInfo::textColor),
        field("fontFamily", &DesignInfo::fontFamily),
        field("backgroundButton", &DesignInfo::backgroundButton),
    };
};

template <>
struct Shape<StreamerInfo>
{
    static constexpr auto fields = std::tuple{
        field("name", &StreamerInfo::name),
        field("broadcaster_id", &StreamerInfo::broadcaster_id),
        field("id", &StreamerInfo::id),
        field("offers", &StreamerInfo::offers),
        field("polls", &StreamerInfo::polls),
        field("ratings", &StreamerInfo::ratings),
        field("trivias", &StreamerInfo::trivias),
        field("predictions", &StreamerInfo::predictions),
        field("injections", &StreamerInfo::injections),
        field("clocks", &StreamerInfo::clocks),
        field("designs", &StreamerInfo::designs),
    };
};

// Interaction records ---------------------------------------------------------------------------

template <>
struct Shape<AnswerDetail>
{
    static constexpr auto fields = std::tuple{
        field("answer", &AnswerDetail::answer),
        field("image", &AnswerDetail::image),
    };
};

template <>
struct Shape<TriviaQuestion>
{
    static constexpr auto fields = std::tuple{
        field("id", &TriviaQuestion::id),
        field("question", &TriviaQuestion::question),
        field("answers", &TriviaQuestion::answers),
        field("category", &TriviaQuestion::category),
        field("timePerQuestion", &TriviaQuestion::timePerQuestion),
        field("prizes", &TriviaQuestion::prizes),
    };
};

template <>
struct Shape<TriviaAnswer>
{
    static constexpr auto fields = std::tuple{
        field("id", &TriviaAnswer::id),
        field("userId", &TriviaAnswer::userId),
        field("questionId", &TriviaAnswer::questionId),
        field("answer", &TriviaAnswer::answer),
        field("correctAnswer", &TriviaAnswer::correctAnswer),
        field("isCorrect", &TriviaAnswer::isCorrect),
    };
};

template <>
struct Shape<Trivia>
{
    static constexpr auto fields = std::tuple{
        field("question", &Trivia::question),
        field("answer", &Trivia::answer),
    };
};

template <>
struct Shape<PollAnswer>
{
    static constexpr auto fields = std::tuple{
        field("answer", &PollAnswer::answer),
        field("image", &PollAnswer::image),
        field("reward", &PollAnswer::reward),
        field("isRewardSent", &PollAnswer::isRewardSent),
        field("answerSending", &PollAnswer::answerSending),
        field("totals", &PollAnswer::totals),
    };
};

template <>
struct Shape<Poll>
{
    static constexpr auto fields = std::tuple{
        field("name", &Poll::name),         field("id", &Poll::id),
        field("question", &Poll::question), field("questionType", &Poll::questionType),
        field("type", &Poll::type),         field("hideButtons", &Poll::hideButtons),
        field("image", &Poll::image),       field("time_limit", &Poll::time_limit),
        field("viewType", &Poll::viewType), field("status", &Poll::status),
        field("answers", &Poll::answers),   field("prizes", &Poll::prizes),
        field("is_wager", &Poll::is_wager), field("expoints", &Poll::expoints),
    };
};

template <>
struct Shape<Rating>
{
    static constexpr auto fields = std::tuple{
        field("name", &Rating::name),
        field("id", &Rating::id),
        field("description", &Rating::description),
        field("icon", &Rating::icon),
        field("optionsNumber", &Rating::optionsNumber),
        field("averageRate", &Rating::averageRate),
        field("totalPeople", &Rating::totalPeople),
        field("totalPoints", &Rating::totalPoints),
        field("prizes", &Rating::prizes),
        field("expoints", &Rating::expoints),
    };
};

// Viewer records --------------------------------------------------------------------------------

template <>
struct Shape<PredictionResult>
{
    static constexpr auto fields = std::tuple{
        field("wager", &PredictionResult::wager),
        field("answer", &PredictionResult::answer),
        field("status", &PredictionResult::status),
    };
};

template <>
struct Shape<User>
{
    static constexpr auto fields = std::tuple{
        field("name", &User::name),
        field("email", &User::email),
        field("token", &User::token),
        field("status", &User::status),
        field("level", &User::level),
        field("userBroadcasterForeignID", &User::userBroadcasterForeignID),
        field("polls", &User::polls),
        field("ratings", &User::ratings),
        field("predictionsResults", &User::predictionsResults),
        field("amount_of_credits_won", &User::amount_of_credits_won),
        field("expirience_points", &User::expirience_points),
    };
};

template <>
struct Shape<UserLevel>
{
    static constexpr auto fields = std::tuple{
        field("level", &UserLevel::level),
        field("name", &UserLevel::name),
        field("expoints", &UserLevel::expoints),
        field("gift_points", &UserLevel::gift_points),
    };
};

template <>
struct Shape<Channel>
{
    static constexpr auto fields = std::tuple{
        field("channel", &Channel::channel),
        field("additionalPageSettings", &Channel::additionalPageSettings),
        field("urlB64", &Channel::urlB64),
    };
};

// Request and reply bodies ----------------------------------------------------------------------

template <class Data>
struct Shape<RequestBody<Data>>
{
    static constexpr auto fields = std::tuple{field("data", &RequestBody<Data>::data)};
};

template <class Data>
struct Shape<AnswerResponse<Data>>
{
    static constexpr auto fields = std::tuple{field("answer", &AnswerResponse<Data>::answer)};
};

template <>
struct Shape<GetInfoRequestData>
{
    static constexpr auto fields = std::tuple{
        field("broadcasterName", &GetInfoRequestData::broadcasterName),
        field("channelId", &GetInfoRequestData::channelId),
    };
};

template <>
struct Shape<RegisterRequestData>
{
    static constexpr auto fields = std::tuple{
        field("broadcasterName", &RegisterRequestData::broadcasterName),
        field("channelId", &RegisterRequestData::channelId),
        field("userBroadcasterForeignID", &RegisterRequestData::userBroadcasterForeignID),
        field("userInitialName", &RegisterRequestData::userInitialName),
    };
};

template <>
struct Shape<LoginRequestData>
{
    static constexpr auto fields = std::tuple{
        field("userToken", &LoginRequestData::userToken),
        field("broadcasterName", &LoginRequestData::broadcasterName),
        field("channelId", &LoginRequestData::channelId),
    };
};

template <>
struct Shape<AnswerPollRequestData>
{
    static constexpr auto fields = std::tuple{
        field("broadcasterName", &AnswerPollRequestData::broadcasterName),
        field("channelId", &AnswerPollRequestData::channelId),
        field("userToken", &AnswerPollRequestData::userToken),
        field("answer", &AnswerPollRequestData::answer),
    };
};

template <>
struct Shape<AnswerRatingRequestData>
{
    static constexpr auto fields = std::tuple{
        field("broadcasterName", &AnswerRatingRequestData::broadcasterName),
        field("channelId", &AnswerRatingRequestData::channelId),
        field("userToken", &AnswerRatingRequestData::userToken),
        field("answer", &AnswerRatingRequestData::answer),
    };
};

template <>
struct Shape<AnswerTriviaRequestData>
{
    static constexpr auto fields = std::tuple{
        field("broadcasterName", &AnswerTriviaRequestData::broadcasterName),
        field("channelId", &AnswerTriviaRequestData::channelId),
        field("userToken", &AnswerTriviaRequestData::userToken),
        field("matchId", &AnswerTriviaRequestData::matchId),
        field("answer", &AnswerTriviaRequestData::answer),
    };
};

template <>
struct Shape<AnalyticsEvent>
{
    static constexpr auto fields = std::tuple{
        field("country", &AnalyticsEvent::country),
        field("language", &AnalyticsEvent::language),
        field("deviceType", &AnalyticsEvent::deviceType),
        field("device", &AnalyticsEvent::device),
        field("browser", &AnalyticsEvent::browser),
        field("timestamp", &AnalyticsEvent::timestamp),
        field("module", &AnalyticsEvent::module),
        field("subModule", &AnalyticsEvent::subModule),
        field("streamer", &AnalyticsEvent::streamer),
        field("advertiser", &AnalyticsEvent::advertiser),
        field("isEngaged", &AnalyticsEvent::isEngaged),
        field("eventType", &AnalyticsEvent::eventType),
        field("source", &AnalyticsEvent::source),
        field("source_id", &AnalyticsEvent::source_id),
        field("injection_timestamp", &AnalyticsEvent::injection_timestamp),
    };
};

template <>
struct Shape<AnalyticsRequestData>
{
    static constexpr auto fields = std::tuple{
        field("events", &AnalyticsRequestData::events),
        field("broadcasterName", &AnalyticsRequestData::broadcasterName),
        field("userToken", &AnalyticsRequestData::userToken),
    };
};

template <>
struct Shape<AnswerPollResponseData>
{
    static constexpr auto fields = std::tuple{
        field("userId", &AnswerPollResponseData::userId),
        field("questionId", &AnswerPollResponseData::questionId),
        field("answer", &AnswerPollResponseData::answer),
        field("channelId", &AnswerPollResponseData::channelId),
        field("isAnswered", &AnswerPollResponseData::isAnswered),
        field("expoints_given", &AnswerPollResponseData::expoints_given),
        field("giftPointsGiven", &AnswerPollResponseData::giftPointsGiven),
        field("userLevel", &AnswerPollResponseData::userLevel),
    };
};

template <>
struct Shape<AnswerRatingResponseData>
{
    static constexpr auto fields = std::tuple{
        field("userId", &AnswerRatingResponseData::userId),
        field("ratingId", &AnswerRatingResponseData::ratingId),
        field("answer", &AnswerRatingResponseData::answer),
        field("channelId", &AnswerRatingResponseData::channelId),
        field("isAnswered", &AnswerRatingResponseData::isAnswered),
        field("expoints_given", &AnswerRatingResponseData::expoints_given),
        field("giftPointsGiven", &AnswerRatingResponseData::giftPointsGiven),
        field("userLevel", &AnswerRatingResponseData::userLevel),
    };
};

template <>
struct Shape<AnswerTriviaResponseData>
{
    static constexpr auto fields = std::tuple{
        field("userId", &AnswerTriviaResponseData::userId),
        field("questionId", &AnswerTriviaResponseData::questionId),
        field("answer", &AnswerTriviaResponseData::answer),
        field("correctAnswer", &AnswerTriviaResponseData::correctAnswer),
        field("isCorrect", &AnswerTriviaResponseData::isCorrect),
        field("isAnswered", &AnswerTriviaResponseData::isAnswered),
        field("expoints_given", &AnswerTriviaResponseData::expoints_given),
        field("points", &AnswerTriviaResponseData::points),
        field("pointsGiven", &AnswerTriviaResponseData::pointsGiven),
        field("giftPointsGiven", &AnswerTriviaResponseData::giftPointsGiven),
        field("userLevel", &AnswerTriviaResponseData::userLevel),
        field("total_points", &AnswerTriviaResponseData::total_points),
        field("total_expoints", &AnswerTriviaResponseData::total_expoints),
    };
};

template <>
struct Shape<AnalyticsResponse>
{
    static constexpr auto fields = std::tuple{field("status", &AnalyticsResponse::status)};
};

} // namespace Vantora::Json
