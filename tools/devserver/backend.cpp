#include "backend_p.h"

#include "levels_p.h"
#include "multipart_p.h"
#include "vantora/records/jsoncodec_p.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace Vantora::DevServer {

namespace {

enum Status {
    BadRequest = 400,
    Unauthorized = 401,
    NotFound = 404,
    MethodNotAllowed = 405,
    UnsupportedMediaType = 415,
    InternalError = 500,
};

template <class T>
using Checked = Result<T, HttpReply>;

template <class T>
HttpReply ok(const T &record)
{
    return {200, Json::encode(record)};
}

// The steps every operation shares: a multipart body, its one "request" field, strict decoding.
template <class Body>
Checked<Body> readRequest(QByteArrayView contentType, QByteArrayView body)
{
    auto boundary = multipartBoundary(contentType);
    if (!boundary)
        return HttpReply::error(UnsupportedMediaType, boundary.error());
    auto fields = parseMultipart(body, boundary.value());
    if (!fields)
        return HttpReply::error(BadRequest, u"multipart body: "_s + fields.error());
    auto field = singleField(fields.value(), "request");
    if (!field)
        return HttpReply::error(BadRequest, field.error());
    auto decoded = Json::decode<Body>(field.value());
    if (!decoded)
        return HttpReply::error(BadRequest, u"request: "_s + decoded.error().message());
    return std::move(decoded).value();
}

// Who is asking, checked the same way by every operation.
Checked<const StreamerInfo *> channelOf(const Content &content, const QString &broadcaster,
                                        const QString &channelId)
{
    const StreamerInfo *channel = content.channel(channelId);
    if (!channel || channel->broadcaster_id != broadcaster)
        return HttpReply::error(
            NotFound, u"no channel "_s + channelId + u" for broadcaster "_s + broadcaster);
    return channel;
}

Checked<Viewer> viewerOf(Store &store, const QString &token, const QString &broadcaster)
{
    std::optional<Viewer> viewer = store.viewerByToken(token);
    if (!viewer || viewer->broadcaster != broadcaster)
        return HttpReply::error(Unauthorized, u"unknown userToken"_s);
    return *viewer;
}

// A signed-in viewer's request: its data, the channel it names and the viewer its token names.
template <class Data>
struct Caller
{
    Data data;
    const StreamerInfo *channel = nullptr;
    Viewer viewer;
};

template <class Body>
Checked<Caller<decltype(Body::data)>> signedIn(const Content &content, Store &store,
                                               QByteArrayView contentType, QByteArrayView body)
{
    auto request = readRequest<Body>(contentType, body);
    if (!request)
        return request.error();
    const auto &data = request.value().data;
    auto channel = channelOf(content, data.broadcasterName, data.channelId);
    if (!channel)
        return channel.error();
    auto viewer = viewerOf(store, data.userToken, data.broadcasterName);
    if (!viewer)
        return viewer.error();
    return Caller<decltype(Body::data)>{data, channel.value(), viewer.value()};
}

UserLevel levelRecord(qint64 number)
{
    const Level &level =
        levelTable()[size_t(std::clamp<qint64>(number, 1, qint64(levelTable().size())) - 1)];
    return {{QString::number(level.number)},
            QString::fromUtf16(level.name),
            RelaxedString{QString::number(level.threshold)},
            QString::number(level.giftPoints)};
}

double number(const QString &text)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    return ok ? value : 0;
}

} // namespace

HttpReply HttpReply::error(int status, const QString &message)
{
    return {status,
            QJsonDocument(QJsonObject{{u"error"_s, message}}).toJson(QJsonDocument::Compact)};
}

StreamerInfo Backend::channelWithTotals(const StreamerInfo &channel) const
{
    StreamerInfo info = channel;
    for (auto *list : {&info.polls, &info.predictions}) {
        if (!*list)
            continue;
        for (Poll &poll : **list) {
            const QMap<QString, qint64> votes = m_store.votes(info.id, poll.id);
            for (PollAnswer &answer : poll.answers)
                answer.totals = votes.value(answer.answer);
        }
    }
    if (info.ratings) {
        for (Rating &rating : *info.ratings) {
            const RatingStats stats = m_store.ratingStats(info.id, rating.id);
            rating.totalPeople = stats.people;
            rating.totalPoints = stats.points;
            rating.averageRate = stats.people ? double(stats.points) / double(stats.people) : 0.0;
        }
    }
    return info;
}

User Backend::userRecord(const Viewer &viewer) const
{
    User user{viewer.name,
              viewer.email,
              viewer.token,
              1,
              viewer.level,
              viewer.foreignId,
              QMap<QString, QString>{},
              QMap<QString, QString>{},
              QMap<QString, PredictionResult>{},
              viewer.credits,
              viewer.expoints};
    for (const StoredAnswer &answer : m_store.answersOf(viewer.id)) {
        const QString key = answer.item + u'_' + answer.channel;
        if (answer.kind == "poll"_L1) {
            user.polls->insert(key, answer.answer);
            if (answer.status) {
                user.predictionsResults->insert(answer.item + u"_____"_s + answer.channel,
                                                {0, answer.answer, *answer.status});
            }
        } else if (answer.kind == "rating"_L1) {
            user.ratings->insert(key, answer.answer);
        }
    }
    return user;
}

HttpReply Backend::handle(QByteArrayView method, const QString &path, QByteArrayView contentType,
                          QByteArrayView body)
{
    static const QStringList withId{u"/trivia/getQuestionById/"_s, u"/poll/answer_new/"_s,
                                    u"/rating/answer_new/"_s, u"/trivia/answer/"_s};
    static const QStringList plain{u"/streamer/getInfo"_s, u"/user/register"_s,
                                   u"/user/login_by_token"_s, u"/analytics/add"_s};
    QString operation;
    QString id;
    for (const QString &prefix : withId) {
        if (path.startsWith(prefix) && path.size() > prefix.size()) {
            operation = prefix;
            id = path.sliced(prefix.size());
        }
    }
    if (operation.isEmpty() && plain.contains(path))
        operation = path;
    if (operation.isEmpty())
        return HttpReply::error(NotFound, u"no operation "_s + path);
    if (method != "POST")
        return HttpReply::error(MethodNotAllowed, operation + u" takes POST"_s);

    const auto stored = [](const Result<AnswerOutcome, QString> &outcome) {
        return HttpReply::error(InternalError, outcome.error());
    };

    if (operation == "/streamer/getInfo"_L1) {
        auto request = readRequest<GetInfoRequestBody>(contentType, body);
        if (!request)
            return request.error();
        auto channel = channelOf(m_content, request.value().data.broadcasterName,
                                 request.value().data.channelId);
        if (!channel)
            return channel.error();
        return ok(channelWithTotals(*channel.value()));
    }

    if (operation == "/user/register"_L1) {
        auto request = readRequest<RegisterRequestBody>(contentType, body);
        if (!request)
            return request.error();
        const RegisterRequestData &data = request.value().data;
        auto channel = channelOf(m_content, data.broadcasterName, data.channelId);
        if (!channel)
            return channel.error();
        auto viewer = m_store.createViewer(data.broadcasterName, data.channelId,
                                           data.userBroadcasterForeignID, data.userInitialName);
        if (!viewer)
            return HttpReply::error(InternalError, viewer.error());
        return ok(userRecord(viewer.value()));
    }

    if (operation == "/user/login_by_token"_L1) {
        auto caller = signedIn<LoginRequestBody>(m_content, m_store, contentType, body);
        if (!caller)
            return caller.error();
        const Viewer &viewer = caller.value().viewer;
        return ok(userRecord(viewer));
    }

    if (operation == "/trivia/getQuestionById/"_L1) {
        auto caller = signedIn<GetTriviaRequestBody>(m_content, m_store, contentType, body);
        if (!caller)
            return caller.error();
        const GetTriviaRequestData &data = caller.value().data;
        const Viewer &viewer = caller.value().viewer;
        const TriviaItem *item = m_content.trivia(id);
        if (!item)
            return HttpReply::error(NotFound, u"no trivia question "_s + id);
        Trivia trivia{item->question, std::nullopt};
        if (auto earlier = m_store.findAnswer(viewer.id, data.channelId, u"trivia"_s, id)) {
            trivia.answer = TriviaAnswer{QString::number(viewer.id) + u'-' + id,
                                         QString::number(viewer.id),
                                         id,
                                         earlier->answer,
                                         {item->correctAnswer, std::nullopt},
                                         earlier->correct.value_or(false)};
            for (const AnswerDetail &detail : item->question.answers) {
                if (detail.answer == item->correctAnswer)
                    trivia.answer->correctAnswer = detail;
            }
        }
        return ok(trivia);
    }

    if (operation == "/poll/answer_new/"_L1) {
        auto caller = signedIn<AnswerPollRequestBody>(m_content, m_store, contentType, body);
        if (!caller)
            return caller.error();
        const AnswerPollRequestData &data = caller.value().data;
        const StreamerInfo *channel = caller.value().channel;
        const Viewer &viewer = caller.value().viewer;
        const Poll *poll = m_content.poll(*channel, id);
        if (!poll)
            return HttpReply::error(NotFound,
                                    u"no poll "_s + id + u" in channel "_s + data.channelId);
        const bool offered =
            std::any_of(poll->answers.cbegin(), poll->answers.cend(),
                        [&](const PollAnswer &a) { return a.answer == data.answer; });
        if (!offered)
            return HttpReply::error(BadRequest,
                                    u"data.answer: \""_s + data.answer
                                        + u"\" is not an answer of poll "_s + id);
        StoredAnswer answer{data.channelId,
                            u"poll"_s,
                            id,
                            data.answer,
                            std::nullopt,
                            number(poll->expoints.value),
                            0,
                            std::nullopt,
                            viewer.id};
        if (poll->questionType == "prediction"_L1)
            answer.status = u"pending"_s;
        auto outcome = record(answer);
        if (!outcome)
            return stored(outcome);
        const AnswerOutcome &o = outcome.value();
        return ok(
            AnswerPollResponse{{QString::number(o.viewer.id), id, o.answer.answer, data.channelId,
                                o.recorded, o.recorded ? o.answer.expoints : 0.0,
                                o.recorded ? std::optional(o.giftPoints) : std::nullopt,
                                levelRecord(o.viewer.level)}});
    }

    if (operation == "/rating/answer_new/"_L1) {
        auto caller = signedIn<AnswerRatingRequestBody>(m_content, m_store, contentType, body);
        if (!caller)
            return caller.error();
        const AnswerRatingRequestData &data = caller.value().data;
        const StreamerInfo *channel = caller.value().channel;
        const Viewer &viewer = caller.value().viewer;
        const Rating *rating = m_content.rating(*channel, id);
        if (!rating)
            return HttpReply::error(NotFound,
                                    u"no rating "_s + id + u" in channel "_s + data.channelId);
        if (data.answer < 1 || data.answer > rating->max())
            return HttpReply::error(BadRequest,
                                    u"data.answer: "_s + QString::number(data.answer)
                                        + u" is outside 1.."_s + QString::number(rating->max()));
        const double expoints = rating->expoints ? number(rating->expoints->value) : 0.0;
        auto outcome = record({data.channelId, u"rating"_s, id, QString::number(data.answer),
                               std::nullopt, expoints, 0, std::nullopt, viewer.id});
        if (!outcome)
            return stored(outcome);
        const AnswerOutcome &o = outcome.value();
        return ok(
            AnswerRatingResponse{{QString::number(o.viewer.id), id, o.answer.answer.toLongLong(),
                                  data.channelId, o.recorded, o.recorded ? o.answer.expoints : 0.0,
                                  o.recorded ? std::optional(o.giftPoints) : std::nullopt,
                                  levelRecord(o.viewer.level)}});
    }

    if (operation == "/trivia/answer/"_L1) {
        auto caller = signedIn<AnswerTriviaRequestBody>(m_content, m_store, contentType, body);
        if (!caller)
            return caller.error();
        const AnswerTriviaRequestData &data = caller.value().data;
        const Viewer &viewer = caller.value().viewer;
        const TriviaItem *item = m_content.trivia(id);
        if (!item)
            return HttpReply::error(NotFound, u"no trivia question "_s + id);
        const QList<AnswerDetail> &answers = item->question.answers;
        if (std::none_of(answers.cbegin(), answers.cend(),
                         [&](const AnswerDetail &a) { return a.answer == data.answer; }))
            return HttpReply::error(BadRequest,
                                    u"data.answer: \""_s + data.answer
                                        + u"\" is not an answer of trivia question "_s + id);
        const bool correct = data.answer == item->correctAnswer;
        auto outcome =
            record({data.channelId, u"trivia"_s, id, data.answer, correct, item->expoints,
                    correct ? double(item->points) : 0.0, std::nullopt, viewer.id});
        if (!outcome)
            return stored(outcome);
        const AnswerOutcome &o = outcome.value();
        AnswerTriviaResponseData reply;
        reply.userId = QString::number(o.viewer.id);
        reply.questionId = id;
        reply.answer = o.answer.answer;
        reply.correctAnswer = {item->correctAnswer, std::nullopt};
        for (const AnswerDetail &detail : answers) {
            if (detail.answer == item->correctAnswer)
                reply.correctAnswer = detail;
        }
        reply.isCorrect = o.answer.correct.value_or(false);
        reply.isAnswered = o.recorded;
        reply.expoints_given = o.recorded ? o.answer.expoints : 0.0;
        reply.points = item->points;
        reply.userLevel = levelRecord(o.viewer.level);
        if (o.recorded) {
            reply.pointsGiven = o.answer.credits;
            reply.giftPointsGiven = o.giftPoints;
        }
        // A client adds giftPointsGiven on top of total_points, so the total is sent without
        // this answer's gift; after the client's addition both sides hold the same credits.
        reply.total_points = o.viewer.credits - (o.recorded ? o.giftPoints : 0.0);
        reply.total_expoints = o.viewer.expoints;
        return ok(AnswerTriviaResponse{reply});
    }

    // analytics
    auto request = readRequest<AnalyticsRequestBody>(contentType, body);
    if (!request)
        return request.error();
    const AnalyticsRequestData &data = request.value().data;
    auto viewer = viewerOf(m_store, data.userToken, data.broadcasterName);
    if (!viewer)
        return viewer.error();
    QList<QByteArray> events;
    for (const AnalyticsEvent &event : data.events)
        events.append(Json::encode(event));
    if (auto added = m_store.addAnalytics(viewer.value().id, data.broadcasterName, events); !added)
        return HttpReply::error(InternalError, added.error());
    if (m_observer.reported)
        m_observer.reported(viewer.value(), events);
    return ok(AnalyticsResponse{u"ok"_s});
}

Result<AnswerOutcome, QString> Backend::record(const StoredAnswer &answer)
{
    auto outcome = m_store.recordAnswer(answer);
    if (outcome && outcome.value().recorded && m_observer.answered)
        m_observer.answered(outcome.value());
    return outcome;
}

} // namespace Vantora::DevServer
