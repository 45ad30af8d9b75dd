#pragma once

#include "content_p.h"
#include "store_p.h"

#include <vantora/records/userrecords.h>

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <functional>

// The backend operations under /userApi, as the SDK calls them: a multipart POST whose one
// "request" field holds {"data": ...}, decoded strictly into the operation's request record; the
// reply is the operation's reply record. Rejections carry a 4xx status and {"error": "..."}
// naming what was wrong, and store nothing.
//
//   POST /streamer/getInfo               GetInfoRequestBody       -> StreamerInfo (live totals)
//   POST /user/register                  RegisterRequestBody      -> User (new random token)
//   POST /user/login_by_token            LoginRequestBody         -> User (earlier answers)
//   POST /trivia/getQuestionById/<id>    GetTriviaRequestBody     -> Trivia
//   POST /poll/answer_new/<id>           AnswerPollRequestBody    -> AnswerPollResponse
//   POST /rating/answer_new/<id>         AnswerRatingRequestBody  -> AnswerRatingResponse
//   POST /trivia/answer/<id>             AnswerTriviaRequestBody  -> AnswerTriviaResponse
//   POST /analytics/add                  AnalyticsRequestBody     -> AnalyticsResponse
//
// The viewer's earlier answers come back as a backend keeps them: `polls` and `ratings` keyed
// "<item id>_<channel id>", `predictionsResults` keyed "<poll id>_____<channel id>" (the key the
// SDK forms itself).

namespace Vantora::DevServer {

struct HttpReply
{
    int status = 200;
    QByteArray body;
    QByteArray contentType = "application/json";

    static HttpReply error(int status, const QString &message);
};

class Backend
{
public:
    /// Told of what viewers do once it is stored: a new answer, a batch of analytics events.
    struct Observer
    {
        std::function<void(const AnswerOutcome &)> answered;
        std::function<void(const Viewer &, const QList<QByteArray> &events)> reported;
    };

    Backend(const Content &content, Store &store) : m_content(content), m_store(store) { }
    void setObserver(Observer observer) { m_observer = std::move(observer); }

    /// Runs the operation at `path` (below /userApi).
    HttpReply handle(QByteArrayView method, const QString &path, QByteArrayView contentType,
                     QByteArrayView body);

    /// A channel document with the current vote totals and rating statistics filled in.
    StreamerInfo channelWithTotals(const StreamerInfo &channel) const;
    /// The account record of a viewer, with everything they answered.
    User userRecord(const Viewer &viewer) const;

private:
    Result<AnswerOutcome, QString> record(const StoredAnswer &answer);

    const Content &m_content;
    Store &m_store;
    Observer m_observer;
};

} // namespace Vantora::DevServer
