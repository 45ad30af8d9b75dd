#pragma once

#include "backend_p.h"
#include "pusherhub_p.h"

#include <QJsonObject>
#include <QUrlQuery>

// The broadcaster's side: JSON over HTTP under /admin/, for the demo, the tests and the console.
//
//   GET  /admin/channels                    channels, their items and live subscriber counts
//   GET  /admin/viewers                     viewers with credits, experience and level
//   GET  /admin/answers[?channel=<id>]      stored answers, oldest first
//   GET  /admin/totals?channel=<id>         votes per poll option, rating statistics
//   POST /admin/inject        {"channel","kind":"poll"|"rating"|"trivia","id",
//                              "timeToStay"?:30,"once_per_user"?:false,
//                              "close_post_interaction"?:true,"starting_time"?:<now>}
//   POST /admin/streamer-info {"channel"}   the channel's polls, ratings, predictions, fresh totals
//   POST /admin/stop-poll     {"channel","poll"}
//   POST /admin/settle        {"channel","poll","answer","winAmount"}   pays the winners, pollWin
//   POST /admin/refresh       {"channel"}
//
// Authoring, for the console: edits are decoded with the SDK's strict rules (a refusal is a 400
// with the decoder's reason, and changes nothing), kept in the database and applied at once.
//   GET  /admin/items?channel=<id>          the channel's documents: "polls", "predictions",
//                                           "ratings", "clocks", "injections", and "trivia"
//                                           (every question, as its file holds it)
//   POST /admin/items         {"channel","kind","document"}   saves an item whole (its id is
//                              the document's); kind: poll (and prediction), rating, trivia, or
//                              clocks / injections (the channel's whole list)
//   POST /admin/items/delete  {"channel","kind","id"}
//
//   GET  /admin/realtime/app                {"key"}   the key the console's client connects with
//
// Realtime test hooks, for clients' tests (a connection is named by its socket_id):
//   GET  /admin/realtime/connections        [{"socket_id", "channels"}]
//   POST /admin/realtime/close              {"socket_id","code","reason"?}   close frame
//   POST /admin/realtime/drop               {"socket_id"}   TCP ends without a close frame
//   POST /admin/realtime/send               {"socket_id","frame"}   one raw text frame
//   POST /admin/realtime/quirks             {"handshakeDelayMs"?: -1 never, "answerPings"?,
//                                            "activityTimeout"?}   for later connections
//   POST /admin/realtime/auth               socket_id=..&channel_name=..  (form or JSON)
//                                           -> {"auth"} to subscribe to a private channel
// (Websocket ping frames are always answered: Qt does that below us.)
//
// Every POST publishes one event on the channel "CH_<channel id>" and replies with what it sent:
// {"event": "injectPoll", "channel": "CH_42", "data": {...}, "delivered": <frames sent>}.
//
// The console's live feed is the private channel "private-vantora-console" (its auth comes from
// /admin/realtime/auth, so from whoever may use /admin), with what viewers do as it is stored:
//   answer     {"viewerId","channel","kind","item","answer","expoints","credits","correct"?,
//               "status"?, "viewer": {viewer as in /admin/viewers}, "totals": {...}}
//              totals: a poll's votes per answer, a rating's {"totalPeople","totalPoints"}
//   analytics  {"viewerId", "events": [the events as the SDK sent them]}
//   audience   {"channel": "<channel id>", "viewers": <subscribers of CH_<channel id>>}

namespace Vantora::DevServer {

inline constexpr QLatin1StringView consoleChannel("private-vantora-console");

/// How an injected item is shown.
struct InjectOptions
{
    qint64 timeToStay = 30; ///< seconds
    bool oncePerUser = false;
    bool closePostInteraction = true;
    qint64 startingTime = 0; ///< seconds since 1970
};

// The live events' payloads, exactly as clients read them.
QJsonObject pollInjection(const Poll &poll, const InjectOptions &options);
QJsonObject ratingInjection(const Rating &rating, const InjectOptions &options);
QJsonObject quizInjection(const QString &triviaId, const InjectOptions &options);
QJsonObject streamerInfoEvent(const StreamerInfo &channel);
QJsonObject stopPollEvent(const QString &pollId);
QJsonObject pollWinEvent(const QString &pollId, const QString &answer, double winAmount);

class Admin
{
public:
    Admin(Content &content, Store &store, Backend &backend, PusherHub &hub)
        : m_content(content), m_store(store), m_backend(backend), m_hub(hub)
    { }

    /// Runs the request at `path` (below /admin).
    HttpReply handle(QByteArrayView method, const QString &path, const QUrlQuery &query,
                     QByteArrayView body, qint64 now);

    // The console's feed.
    void noteAnswer(const AnswerOutcome &outcome);
    void noteAnalytics(const Viewer &viewer, const QList<QByteArray> &events);
    void noteAudience(const QString &channel, qsizetype subscribers);

private:
    void feed(const QString &event, const QJsonObject &data);
    HttpReply publish(const StreamerInfo &channel, const QString &event, const QJsonObject &data);
    HttpReply realtime(QByteArrayView method, const QString &operation, QByteArrayView body);
    HttpReply items(const StreamerInfo &channel) const;
    HttpReply saveEdit(const ContentEdit &edit);

    Content &m_content;
    Store &m_store;
    Backend &m_backend;
    PusherHub &m_hub;
};

} // namespace Vantora::DevServer
