#include "vantora/service/vtaservicemanager_p.h"

#include "vantora/records/jsoncodec_p.h"
#include "vantora/service/multipartbody_p.h"
#include "vantora/service/networktransport_p.h"
#include "vantora/service/servicelogging_p.h"
#include "vantora/toolkit/fatal_p.h"
#include "vantora/toolkit/scheduler_p.h"

#include <vantora/records/vtadeployment.h>

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>

using namespace Qt::Literals::StringLiterals;

namespace Vantora {

Q_LOGGING_CATEGORY(lcService, "vantora.service", QtInfoMsg)

namespace {

QUrl requiredUrl(const QString &text)
{
    // Tolerant parsing percent-encodes what a strict parser would refuse (a space in an id), so
    // only a base URL that is wrong from the start can fail here.
    const QUrl url(text, QUrl::TolerantMode);
    if (!url.isValid())
        fatal(u"VTAServiceManager: \"%1\" is not a valid URL"_s.arg(text));
    return url;
}

// The request's JSON as it may be logged: the viewer's token blanked out.
QByteArray loggable(const QByteArray &json)
{
    QJsonObject body = QJsonDocument::fromJson(json).object();
    QJsonObject data = body.value("data"_L1).toObject();
    if (data.contains("userToken"_L1))
        data.insert("userToken"_L1, u"<token>"_s);
    body.insert("data"_L1, data);
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

template <class Body>
HttpRequest createRequest(const QUrl &url, const Body &body)
{
    const QByteArray json = Json::encode(body);
    qCDebug(lcService).noquote() << "POST" << url.toString() << loggable(json);
    const QString boundary = newBoundary();
    HttpRequest request;
    request.method = "POST";
    request.url = url;
    request.headers = {{"Content-Type", "multipart/form-data; boundary=" + boundary.toUtf8()}};
    request.body = multipartBody(FormFields{{u"request"_s, QString::fromUtf8(json)}}, boundary);
    return request;
}

HttpRequest getRequest(const QUrl &url)
{
    qCDebug(lcService).noquote() << "GET" << url.toString();
    HttpRequest request;
    request.method = "GET";
    request.url = url;
    return request;
}

// Replies are judged by their body alone: any body is decoded, whatever the status.
template <class Reply>
ServiceResult<Reply> interpret(const QUrl &url, const HttpReply &reply)
{
    const QString where = url.toString();
    if (reply.body.isEmpty()) {
        qCDebug(lcService).noquote() << reply.status << where << "no body" << reply.error;
        if (reply.error.isEmpty())
            return ServiceError{ServiceError::Kind::EmptyReply, reply.status, u"empty reply"_s};
        return ServiceError{ServiceError::Kind::Transport, reply.status, reply.error};
    }
    Json::Decoded<Reply> decoded = Json::decode<Reply>(reply.body);
    if (!decoded) {
        const QString message = decoded.error().message();
        qCDebug(lcService).noquote() << reply.status << where << "undecodable:" << message;
        return ServiceError{ServiceError::Kind::Decoding, reply.status, message};
    }
    qCDebug(lcService).noquote() << reply.status << where << reply.body.size() << "bytes";
    return std::move(decoded).value();
}

QString joinImagePath(QString base, const QString &path)
{
    const bool baseSlash = base.endsWith(u'/');
    const bool pathSlash = path.startsWith(u'/');
    if (baseSlash && pathSlash)
        base.chop(1);
    else if (!baseSlash && !pathSlash)
        base.append(u'/');
    return base + path;
}

} // namespace

QString describe(const ServiceError &error)
{
    QString text;
    if (error.httpStatus != 0)
        text = u"HTTP %1, "_s.arg(error.httpStatus);
    switch (error.kind) {
    case ServiceError::Kind::Transport:
        text += u"no reply"_s;
        break;
    case ServiceError::Kind::EmptyReply:
        text += u"an empty reply"_s;
        break;
    case ServiceError::Kind::Decoding:
        text += u"not the expected record"_s;
        break;
    }
    if (!error.message.isEmpty())
        text += u": "_s + error.message;
    return text;
}

QString analyticsCountry()
{
    const QString region = QLocale::territoryToCode(QLocale::system().territory()).toLower();
    return region.endsWith("il"_L1) ? u"IL"_s : u"US"_s;
}

VTAServiceManager::VTAServiceManager()
    : m_environment(VTAEnvironment::testDefault()),
      m_transport(std::make_unique<NetworkTransport>())
{ }

VTAServiceManager &VTAServiceManager::shared()
{
    static VTAServiceManager manager;
    return manager;
}

void VTAServiceManager::setTransport(std::unique_ptr<Transport> transport)
{
    m_transport = std::move(transport);
}

QString VTAServiceManager::getBaseURL() const
{
    QString base = m_environment.apiBaseURL();
    if (base.endsWith(u'/'))
        base.chop(1);
    return base;
}

template <class Reply, class Body>
void VTAServiceManager::post(const QString &path, const Body &body, QObject *context,
                             Completion<Reply> completion)
{
    fetch<Reply>(createRequest(requiredUrl(getBaseURL() + path), body), context,
                 std::move(completion));
}

template <class Reply>
void VTAServiceManager::fetch(HttpRequest request, QObject *context, Completion<Reply> completion)
{
    const QUrl url = request.url;
    m_transport->send(std::move(request), context,
                      [url, completion = std::move(completion)](const HttpReply &reply) {
                          completion(interpret<Reply>(url, reply));
                      });
}

void VTAServiceManager::getChannelInfo(const QString &channelId, const QString &broadcaster,
                                       QObject *context, Completion<StreamerInfo> completion)
{
    post<StreamerInfo>(u"/streamer/getInfo"_s, GetInfoRequestBody{{broadcaster, channelId}},
                       context, std::move(completion));
}

void VTAServiceManager::registerUser(const QString &broadcaster, const QString &channelId,
                                     const std::optional<QString> &userBroadcasterForeignID,
                                     const std::optional<QString> &userInitialName,
                                     QObject *context, Completion<User> completion)
{
    post<User>(
        u"/user/register"_s,
        RegisterRequestBody{{broadcaster, channelId, userBroadcasterForeignID, userInitialName}},
        context, std::move(completion));
}

void VTAServiceManager::login(const QString &token, const QString &broadcaster,
                              const QString &channelId, QObject *context,
                              Completion<User> completion)
{
    post<User>(u"/user/login_by_token"_s, LoginRequestBody{{token, broadcaster, channelId}},
               context, std::move(completion));
}

void VTAServiceManager::getTriviaQuestion(const QString &questionId, const QString &token,
                                          const QString &channelId, const QString &broadcaster,
                                          QObject *context, Completion<Trivia> completion)
{
    post<Trivia>(u"/trivia/getQuestionById/"_s + questionId,
                 GetTriviaRequestBody{{token, broadcaster, channelId}}, context,
                 std::move(completion));
}

void VTAServiceManager::answerPoll(const QString &token, const QString &channelId,
                                   const QString &broadcaster, const QString &pollId,
                                   const QString &answer, QObject *context,
                                   Completion<AnswerPollResponse> completion)
{
    post<AnswerPollResponse>(u"/poll/answer_new/"_s + pollId,
                             AnswerPollRequestBody{{broadcaster, channelId, token, answer}},
                             context, std::move(completion));
}

void VTAServiceManager::answerRating(const QString &token, const QString &channelId,
                                     const QString &broadcaster, const QString &ratingId,
                                     qint64 answer, QObject *context,
                                     Completion<AnswerRatingResponse> completion)
{
    post<AnswerRatingResponse>(u"/rating/answer_new/"_s + ratingId,
                               AnswerRatingRequestBody{{broadcaster, channelId, token, answer}},
                               context, std::move(completion));
}

void VTAServiceManager::answerTrivia(const QString &token, const QString &channelId,
                                     const QString &broadcaster, const QString &triviaId,
                                     const QString &answer, QObject *context,
                                     Completion<AnswerTriviaResponse> completion)
{
    // The backend's match id is never sent.
    post<AnswerTriviaResponse>(
        u"/trivia/answer/"_s + triviaId,
        AnswerTriviaRequestBody{{broadcaster, channelId, token, std::nullopt, answer}}, context,
        std::move(completion));
}

void VTAServiceManager::analytics(const AnalyticsReport &report)
{
    AnalyticsEvent event;
    event.country = analyticsCountry();
    event.language = u"en"_s;
    event.deviceType = u"SmartTV"_s;
    event.device = u"AppleTV"_s; // what the backend's reports group television apps under
    event.timestamp = Scheduler::instance().wallClockMSecs();
    event.module = report.module;
    event.subModule = report.submodule;
    event.streamer = report.streamer;
    event.advertiser = report.sponsor;
    event.isEngaged = report.type == u"engage"_s;
    event.eventType = report.type;
    event.source = report.source;
    event.source_id = report.sourceID;
    event.injection_timestamp = report.injectionTimestamp;
    post<AnalyticsResponse>(u"/analytics/add"_s,
                            AnalyticsRequestBody{{{event}, report.broadcaster, report.token}},
                            QCoreApplication::instance(), [](ServiceResult<AnalyticsResponse>) {});
}

void VTAServiceManager::checkChannels(const QString &broadcaster, QObject *context,
                                      Completion<QList<Channel>> completion)
{
    const QString url = VTADeployment::current().channelsBaseURL + broadcaster + u"__"_s
        + m_environment.envName() + u".json"_s;
    fetch<QList<Channel>>(getRequest(requiredUrl(url)), context, std::move(completion));
}

void VTAServiceManager::getImage(const QString &path, QObject *context, ImageCompletion completion)
{
    const QUrl url(path.startsWith("http"_L1) ? path
                                              : joinImagePath(m_environment.imageBaseURL(), path),
                   QUrl::TolerantMode);
    if (!url.isValid())
        return;
    m_transport->send(
        getRequest(url), context, [completion = std::move(completion)](const HttpReply &reply) {
            std::optional<ServiceError> error;
            if (!reply.error.isEmpty())
                error = ServiceError{ServiceError::Kind::Transport, reply.status, reply.error};
            completion(QImage::fromData(reply.body), std::move(error));
        });
}

} // namespace Vantora
