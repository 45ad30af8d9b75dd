#include "admin_p.h"

#include "vantora/records/jsoncodec_p.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::Literals::StringLiterals;

namespace Vantora::DevServer {

namespace {

constexpr qsizetype maxEventBytes = 10240; // what a Pusher event may carry

template <class T>
QJsonObject toJson(const T &record)
{
    return QJsonDocument::fromJson(Json::encode(record)).object();
}

template <class T>
QJsonArray toJson(const QList<T> &records)
{
    QJsonArray array;
    for (const T &record : records)
        array.append(toJson(record));
    return array;
}

QJsonObject injection(const InjectOptions &options)
{
    return {{u"smartTV"_s, true},
            {u"once_per_user"_s, options.oncePerUser},
            {u"close_post_interaction"_s, options.closePostInteraction},
            {u"timeToStay"_s, options.timeToStay},
            {u"starting_time"_s, options.startingTime}};
}

QJsonObject pollReference(const QString &pollId)
{
    return {{u"_id"_s, QJsonObject{{u"$id"_s, pollId}}}};
}

HttpReply json(const QJsonValue &value)
{
    return {200,
            value.isArray() ? QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact)
                            : QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact)};
}

QJsonObject answerJson(const StoredAnswer &answer)
{
    QJsonObject object{{u"viewerId"_s, answer.viewerId}, {u"channel"_s, answer.channel},
                       {u"kind"_s, answer.kind},         {u"item"_s, answer.item},
                       {u"answer"_s, answer.answer},     {u"expoints"_s, answer.expoints},
                       {u"credits"_s, answer.credits}};
    if (answer.correct)
        object.insert(u"correct"_s, *answer.correct);
    if (answer.status)
        object.insert(u"status"_s, *answer.status);
    return object;
}

QJsonObject viewerJson(const Viewer &viewer)
{
    return {{u"id"_s, viewer.id},
            {u"token"_s, viewer.token},
            {u"broadcaster"_s, viewer.broadcaster},
            {u"name"_s, viewer.name},
            {u"credits"_s, viewer.credits},
            {u"expoints"_s, viewer.expoints},
            {u"level"_s, viewer.level}};
}

} // namespace

QJsonObject pollInjection(const Poll &poll, const InjectOptions &options)
{
    QJsonObject payload = injection(options);
    payload.insert(u"poll"_s, toJson(poll));
    return payload;
}

QJsonObject ratingInjection(const Rating &rating, const InjectOptions &options)
{
    QJsonObject payload = injection(options);
    payload.insert(u"rating"_s, toJson(rating));
    return payload;
}

QJsonObject quizInjection(const QString &triviaId, const InjectOptions &options)
{
    QJsonObject payload = injection(options);
    payload.insert(u"id"_s, triviaId);
    return payload;
}

QJsonObject streamerInfoEvent(const StreamerInfo &channel)
{
    QJsonObject lists;
    if (channel.polls)
        lists.insert(u"polls"_s, toJson(*channel.polls));
    if (channel.ratings)
        lists.insert(u"ratings"_s, toJson(*channel.ratings));
    if (channel.predictions)
        lists.insert(u"predictions"_s, toJson(*channel.predictions));
    return {{u"streamerInfo"_s, lists}};
}

QJsonObject stopPollEvent(const QString &pollId)
{
    return {{u"poll"_s, pollReference(pollId)}};
}

QJsonObject pollWinEvent(const QString &pollId, const QString &answer, double winAmount)
{
    // The amount travels as text; clients read it as a decimal number.
    return {{u"poll"_s, pollReference(pollId)},
            {u"answer"_s, answer},
            {u"winAmount"_s, QString::number(winAmount)}};
}

HttpReply Admin::publish(const StreamerInfo &channel, const QString &event, const QJsonObject &data)
{
    const QString text = QString::fromUtf8(QJsonDocument(data).toJson(QJsonDocument::Compact));
    if (text.toUtf8().size() > maxEventBytes)
        return HttpReply::error(413, event + u" would carry more than 10240 bytes"_s);
    const QString name = u"CH_"_s + channel.id;
    const qsizetype delivered = m_hub.publish({name}, event, text);
    return json(QJsonObject{
        {u"event"_s, event}, {u"channel"_s, name}, {u"data"_s, data}, {u"delivered"_s, delivered}});
}

void Admin::feed(const QString &event, const QJsonObject &data)
{
    m_hub.publish({consoleChannel}, event,
                  QString::fromUtf8(QJsonDocument(data).toJson(QJsonDocument::Compact)));
}

void Admin::noteAnswer(const AnswerOutcome &outcome)
{
    if (m_hub.subscriberCount(consoleChannel) == 0)
        return; // no console open: the totals would be counted for nobody
    const StoredAnswer &answer = outcome.answer;
    QJsonObject totals;
    if (answer.kind == "poll"_L1) {
        const QMap<QString, qint64> votes = m_store.votes(answer.channel, answer.item);
        for (auto it = votes.cbegin(); it != votes.cend(); ++it)
            totals.insert(it.key(), it.value());
    } else if (answer.kind == "rating"_L1) {
        const RatingStats stats = m_store.ratingStats(answer.channel, answer.item);
        totals = {{u"totalPeople"_s, stats.people}, {u"totalPoints"_s, stats.points}};
    }
    QJsonObject data = answerJson(answer);
    data.insert(u"viewer"_s, viewerJson(outcome.viewer));
    data.insert(u"totals"_s, totals);
    feed(u"answer"_s, data);
}

void Admin::noteAnalytics(const Viewer &viewer, const QList<QByteArray> &events)
{
    if (m_hub.subscriberCount(consoleChannel) == 0)
        return;
    QJsonArray list;
    for (const QByteArray &event : events)
        list.append(QJsonDocument::fromJson(event).object());
    feed(u"analytics"_s, {{u"viewerId"_s, viewer.id}, {u"events"_s, list}});
}

void Admin::noteAudience(const QString &channel, qsizetype subscribers)
{
    if (channel.startsWith("CH_"_L1))
        feed(u"audience"_s, {{u"channel"_s, channel.sliced(3)}, {u"viewers"_s, subscribers}});
}

HttpReply Admin::items(const StreamerInfo &channel) const
{
    QJsonArray trivia;
    for (const TriviaItem &item : m_content.triviaItems())
        trivia.append(QJsonDocument::fromJson(encodeTrivia(item)).object());
    const auto list = [](const auto &items) {
        return items ? toJson(*items) : QJsonArray();
    };
    return json(QJsonObject{{u"channel"_s,
                             QJsonObject{{u"id"_s, channel.id},
                                         {u"name"_s, channel.name},
                                         {u"broadcaster_id"_s, channel.broadcaster_id}}},
                            {u"polls"_s, list(channel.polls)},
                            {u"predictions"_s, list(channel.predictions)},
                            {u"ratings"_s, list(channel.ratings)},
                            {u"clocks"_s, toJson(channel.clocks)},
                            {u"injections"_s, list(channel.injections)},
                            {u"trivia"_s, trivia}});
}

HttpReply Admin::saveEdit(const ContentEdit &edit)
{
    // Tried on a copy first, so that nothing changes unless it decodes and is stored.
    Content edited = m_content;
    auto applied = edited.apply(edit);
    if (!applied)
        return HttpReply::error(400, edit.kind + u": "_s + applied.error());
    if (auto saved = m_store.saveEdit(applied.value()); !saved)
        return HttpReply::error(500, saved.error());
    m_content = std::move(edited);
    const ContentEdit &kept = applied.value();
    return json(QJsonObject{{u"kind"_s, kept.kind},
                            {u"channel"_s, kept.channel},
                            {u"id"_s, kept.id},
                            {u"removed"_s, !kept.document.has_value()}});
}

HttpReply Admin::realtime(QByteArrayView method, const QString &operation, QByteArrayView body)
{
    if (operation == "/app"_L1) {
        if (method != "GET")
            return HttpReply::error(405, u"/admin/realtime/app takes GET"_s);
        return json(QJsonObject{{u"key"_s, m_hub.app().key}});
    }
    if (operation == "/connections"_L1) {
        if (method != "GET")
            return HttpReply::error(405, u"/admin/realtime/connections takes GET"_s);
        QJsonArray list;
        for (const PusherHub::ConnectionInfo &connection : m_hub.connections()) {
            list.append(
                QJsonObject{{u"socket_id"_s, connection.socketId},
                            {u"channels"_s, QJsonArray::fromStringList(connection.channels)}});
        }
        return json(list);
    }
    static const QStringList writes{u"/close"_s, u"/drop"_s, u"/send"_s, u"/quirks"_s, u"/auth"_s};
    if (!writes.contains(operation))
        return HttpReply::error(404, u"no admin operation /realtime"_s + operation);
    if (method != "POST")
        return HttpReply::error(405, u"/admin/realtime"_s + operation + u" takes POST"_s);
    if (operation == "/auth"_L1) {
        // pusher-js posts a form; other clients may post JSON.
        const QJsonObject fields = QJsonDocument::fromJson(body.toByteArray()).object();
        const QUrlQuery form(QString::fromUtf8(body.toByteArray()));
        const auto field = [&](const QString &key) {
            return fields.contains(key) ? fields.value(key).toString()
                                        : form.queryItemValue(key, QUrl::FullyDecoded);
        };
        const QString socketId = field(u"socket_id"_s);
        const QString channel = field(u"channel_name"_s);
        if (socketId.isEmpty() || !channel.startsWith("private-"_L1))
            return HttpReply::error(400, u"expected a socket_id and a private channel_name"_s);
        return json(QJsonObject{{u"auth"_s, m_hub.channelAuth(socketId, channel)}});
    }
    const QJsonDocument document = QJsonDocument::fromJson(body.toByteArray());
    if (!document.isObject())
        return HttpReply::error(400, u"body: expected a JSON object"_s);
    const QJsonObject request = document.object();

    if (operation == "/quirks"_L1) {
        PusherHub::Quirks quirks = m_hub.quirks();
        const QJsonValue delay = request.value("handshakeDelayMs"_L1);
        const QJsonValue pings = request.value("answerPings"_L1);
        const QJsonValue activity = request.value("activityTimeout"_L1);
        if (!delay.isUndefined() && (!delay.isDouble() || delay.toInt(-2) < -1))
            return HttpReply::error(400, u"handshakeDelayMs: expected -1 (never) or more"_s);
        if (!pings.isUndefined() && !pings.isBool())
            return HttpReply::error(400, u"answerPings: expected true or false"_s);
        if (!activity.isUndefined() && (!activity.isDouble() || activity.toInt(-1) < 0))
            return HttpReply::error(400, u"activityTimeout: expected seconds, 0 for the usual"_s);
        quirks.handshakeDelayMs = delay.isUndefined() ? quirks.handshakeDelayMs : delay.toInt();
        quirks.answerPings = pings.isUndefined() ? quirks.answerPings : pings.toBool();
        quirks.activityTimeoutSeconds =
            activity.isUndefined() ? quirks.activityTimeoutSeconds : activity.toInt();
        m_hub.setQuirks(quirks);
        return json(QJsonObject{{u"handshakeDelayMs"_s, quirks.handshakeDelayMs},
                                {u"answerPings"_s, quirks.answerPings},
                                {u"activityTimeout"_s, quirks.activityTimeoutSeconds}});
    }

    const QString socketId = request.value("socket_id"_L1).toString();
    bool found = false;
    if (operation == "/close"_L1) {
        const QJsonValue code = request.value("code"_L1);
        // 1000 and the ranges an application may send; 1005 and 1006 never travel in a frame.
        const int number = code.toInt(-1);
        if (!code.isDouble()
            || !(number == 1000 || (number >= 1001 && number <= 1003)
                 || (number >= 1007 && number <= 1011) || (number >= 3000 && number <= 4999)))
            return HttpReply::error(400, u"code: expected a websocket close code"_s);
        found = m_hub.closeConnection(socketId, number, request.value("reason"_L1).toString());
    } else if (operation == "/drop"_L1) {
        found = m_hub.dropConnection(socketId);
    } else {
        const QJsonValue frame = request.value("frame"_L1);
        if (!frame.isString())
            return HttpReply::error(400, u"frame: expected the text to send"_s);
        found = m_hub.sendRaw(socketId, frame.toString());
    }
    if (!found)
        return HttpReply::error(404, u"no connection with socket_id "_s + socketId);
    return json(QJsonObject{{u"socket_id"_s, socketId}});
}

HttpReply Admin::handle(QByteArrayView method, const QString &path, const QUrlQuery &query,
                        QByteArrayView body, qint64 now)
{
    if (path.startsWith("/realtime/"_L1))
        return realtime(method, path.sliced(9), body);

    static const QStringList reads{u"/channels"_s, u"/viewers"_s, u"/answers"_s, u"/totals"_s,
                                   u"/items"_s};
    static const QStringList writes{u"/inject"_s,      u"/streamer-info"_s, u"/stop-poll"_s,
                                    u"/settle"_s,      u"/refresh"_s,       u"/items"_s,
                                    u"/items/delete"_s};
    if (reads.contains(path) && !writes.contains(path) && method != "GET")
        return HttpReply::error(405, u"/admin"_s + path + u" takes GET"_s);
    if (writes.contains(path) && !reads.contains(path) && method != "POST")
        return HttpReply::error(405, u"/admin"_s + path + u" takes POST"_s);

    if (path == "/channels"_L1) {
        QJsonArray channels;
        for (const StreamerInfo &channel : m_content.channels()) {
            const auto ids = [](const auto &list) {
                QJsonArray array;
                if (list) {
                    for (const auto &item : *list)
                        array.append(item.id);
                }
                return array;
            };
            channels.append(QJsonObject{
                {u"id"_s, channel.id},
                {u"name"_s, channel.name},
                {u"broadcaster_id"_s, channel.broadcaster_id},
                {u"polls"_s, ids(channel.polls)},
                {u"predictions"_s, ids(channel.predictions)},
                {u"ratings"_s, ids(channel.ratings)},
                {u"subscribers"_s, m_hub.subscriberCount(u"CH_"_s + channel.id)},
            });
        }
        return json(channels);
    }
    if (path == "/viewers"_L1) {
        QJsonArray viewers;
        for (const Viewer &viewer : m_store.viewers())
            viewers.append(viewerJson(viewer));
        return json(viewers);
    }
    if (path == "/answers"_L1) {
        QJsonArray answers;
        for (const StoredAnswer &answer : m_store.answers(query.queryItemValue(u"channel"_s)))
            answers.append(answerJson(answer));
        return json(answers);
    }

    // The rest concern one channel.
    QJsonObject request;
    if (method == "GET" && (path == "/totals"_L1 || path == "/items"_L1)) {
        request.insert(u"channel"_s, query.queryItemValue(u"channel"_s));
    } else if (writes.contains(path)) {
        const QJsonDocument document = QJsonDocument::fromJson(body.toByteArray());
        if (!document.isObject())
            return HttpReply::error(400, u"body: expected a JSON object"_s);
        request = document.object();
    } else {
        return HttpReply::error(404, u"no admin operation "_s + path);
    }
    const auto text = [&](const char *key) -> std::optional<QString> {
        const QJsonValue value = request.value(QLatin1StringView(key));
        if (!value.isString() || value.toString().isEmpty())
            return std::nullopt;
        return value.toString();
    };
    const std::optional<QString> channelId = text("channel");
    if (!channelId)
        return HttpReply::error(400, u"channel: missing or not a string"_s);
    const StreamerInfo *found = m_content.channel(*channelId);
    if (!found)
        return HttpReply::error(404, u"no channel "_s + *channelId);
    if (path == "/items"_L1 && method == "GET")
        return items(*found);
    if (path == "/items"_L1) {
        const QJsonValue document = request.value("document"_L1);
        if (!document.isObject() && !document.isArray())
            return HttpReply::error(400, u"document: expected the item's JSON"_s);
        return saveEdit({*channelId,
                         text("kind").value_or(QString()),
                         {},
                         document.isObject()
                             ? QJsonDocument(document.toObject()).toJson(QJsonDocument::Compact)
                             : QJsonDocument(document.toArray()).toJson(QJsonDocument::Compact)});
    }
    if (path == "/items/delete"_L1) {
        const std::optional<QString> id = text("id");
        if (!id)
            return HttpReply::error(400, u"id: missing or not a string"_s);
        return saveEdit({*channelId, text("kind").value_or(QString()), *id, std::nullopt});
    }
    const StreamerInfo channel = m_backend.channelWithTotals(*found);

    if (path == "/totals"_L1) {
        QJsonObject polls;
        for (const auto *list : {&channel.polls, &channel.predictions}) {
            if (!*list)
                continue;
            for (const Poll &poll : **list) {
                QJsonObject votes;
                for (const PollAnswer &answer : poll.answers)
                    votes.insert(answer.answer, answer.totals.value_or(0));
                polls.insert(poll.id, votes);
            }
        }
        QJsonObject ratings;
        if (channel.ratings) {
            for (const Rating &rating : *channel.ratings) {
                ratings.insert(rating.id,
                               QJsonObject{{u"totalPeople"_s, *rating.totalPeople},
                                           {u"totalPoints"_s, *rating.totalPoints},
                                           {u"averageRate"_s, *rating.averageRate}});
            }
        }
        return json(QJsonObject{{u"polls"_s, polls}, {u"ratings"_s, ratings}});
    }
    if (path == "/streamer-info"_L1)
        return publish(channel, u"streamerInfo"_s, streamerInfoEvent(channel));
    if (path == "/refresh"_L1)
        return publish(channel, u"initiateRefresh"_s, {});

    if (path == "/inject"_L1) {
        InjectOptions options{30, false, true, now};
        for (const auto &[key, target] : {std::pair{"timeToStay", &options.timeToStay},
                                          std::pair{"starting_time", &options.startingTime}}) {
            const QJsonValue value = request.value(QLatin1StringView(key));
            if (value.isUndefined())
                continue;
            if (!value.isDouble() || value.toDouble() != double(value.toInteger()))
                return HttpReply::error(400, QLatin1StringView(key) + u": expected an integer"_s);
            *target = value.toInteger();
        }
        for (const auto &[key, target] :
             {std::pair{"once_per_user", &options.oncePerUser},
              std::pair{"close_post_interaction", &options.closePostInteraction}}) {
            const QJsonValue value = request.value(QLatin1StringView(key));
            if (value.isUndefined())
                continue;
            if (!value.isBool())
                return HttpReply::error(400,
                                        QLatin1StringView(key) + u": expected true or false"_s);
            *target = value.toBool();
        }
        const std::optional<QString> kind = text("kind");
        const std::optional<QString> id = text("id");
        if (!id)
            return HttpReply::error(400, u"id: missing or not a string"_s);
        if (kind == u"poll"_s) {
            for (const auto *list : {&channel.polls, &channel.predictions}) {
                if (!*list)
                    continue;
                for (const Poll &poll : **list) {
                    if (poll.id == *id)
                        return publish(channel, u"injectPoll"_s, pollInjection(poll, options));
                }
            }
            return HttpReply::error(404, u"no poll "_s + *id + u" in channel "_s + channel.id);
        }
        if (kind == u"rating"_s) {
            if (channel.ratings) {
                for (const Rating &rating : *channel.ratings) {
                    if (rating.id == *id)
                        return publish(channel, u"injectRating"_s,
                                       ratingInjection(rating, options));
                }
            }
            return HttpReply::error(404, u"no rating "_s + *id + u" in channel "_s + channel.id);
        }
        if (kind == u"trivia"_s) {
            if (!m_content.trivia(*id))
                return HttpReply::error(404, u"no trivia question "_s + *id);
            return publish(channel, u"injectQuiz"_s, quizInjection(*id, options));
        }
        return HttpReply::error(400, u"kind: expected poll, rating or trivia"_s);
    }

    // stop-poll and settle name a poll of the channel.
    const std::optional<QString> pollId = text("poll");
    if (!pollId)
        return HttpReply::error(400, u"poll: missing or not a string"_s);
    const Poll *poll = m_content.poll(channel, *pollId);
    if (!poll)
        return HttpReply::error(404, u"no poll "_s + *pollId + u" in channel "_s + channel.id);
    if (path == "/stop-poll"_L1)
        return publish(channel, u"stop_poll"_s, stopPollEvent(*pollId));

    // settle
    if (poll->questionType != "prediction"_L1)
        return HttpReply::error(400, u"poll "_s + *pollId + u" is not a prediction"_s);
    const std::optional<QString> answer = text("answer");
    if (!answer
        || std::none_of(poll->answers.cbegin(), poll->answers.cend(),
                        [&](const PollAnswer &a) { return a.answer == *answer; }))
        return HttpReply::error(400, u"answer: missing or not an answer of "_s + *pollId);
    const QJsonValue amount = request.value("winAmount"_L1);
    if (!amount.isDouble() || amount.toDouble() < 0)
        return HttpReply::error(400, u"winAmount: expected a number of credits, 0 or more"_s);
    auto settled = m_store.settle(channel.id, *pollId, *answer, amount.toDouble());
    if (!settled)
        return HttpReply::error(409, settled.error());
    HttpReply reply =
        publish(channel, u"pollWin"_s, pollWinEvent(*pollId, *answer, amount.toDouble()));
    if (reply.status == 200) {
        QJsonObject object = QJsonDocument::fromJson(reply.body).object();
        QJsonArray winners;
        for (const Viewer &winner : settled.value().winners)
            winners.append(QJsonObject{{u"id"_s, winner.id}, {u"credits"_s, winner.credits}});
        object.insert(u"winners"_s, winners);
        object.insert(u"losers"_s, settled.value().losers);
        reply.body = QJsonDocument(object).toJson(QJsonDocument::Compact);
    }
    return reply;
}

} // namespace Vantora::DevServer
