#pragma once

#include "vantora/service/transport_p.h"
#include "vantora/toolkit/result_p.h"

#include <vantora/records/apibodies.h>
#include <vantora/records/interactionrecords.h>
#include <vantora/records/streamerinfo.h>
#include <vantora/records/userrecords.h>
#include <vantora/records/vtaenvironment.h>

#include <QImage>
#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace Vantora {

/// Why a backend operation gave no record.
struct ServiceError
{
    enum class Kind {
        Transport, ///< the exchange failed: refused, timed out, cut off
        EmptyReply, ///< the exchange worked but the reply had no body
        Decoding, ///< the reply was not the expected record
    };
    Kind kind = Kind::Transport;
    int httpStatus = 0; ///< 0 when no response arrived
    QString message;
};

template <class T>
using ServiceResult = Result<T, ServiceError>;

/// The error in words, for a log line: "HTTP 404, not the expected record: …".
QString describe(const ServiceError &error);

/// What one analytics event is about, and for whom.
struct AnalyticsReport
{
    QString token;
    QString streamer;
    QString broadcaster;
    QString module;
    std::optional<QString> submodule;
    std::optional<QString> sponsor;
    std::optional<QString> type; ///< "view", "engage", "close"...
    std::optional<QString> source;
    std::optional<QString> sourceID;
    std::optional<qint64> injectionTimestamp;
};

/// The backend client: the REST operations, the channel list and images.
///
///   VTAServiceManager::shared().login(token, broadcaster, channelId, this,
///                                     [this](ServiceResult<User> user) {
///                                         if (user)
///                                             m_user = user.value();
///                                     });
///
/// Every completion runs exactly once, on the main thread, on a later turn of the event loop, with
/// either the record or the error — unless its context object is destroyed first, in which case it
/// never runs. HTTP statuses are not judged: a reply whose body decodes is a success whatever its
/// status. Nothing is retried, cached or cancelled. Use from the main thread only.
class VTAServiceManager
{
public:
    template <class T>
    using Completion = std::function<void(ServiceResult<T> result)>;
    using ImageCompletion = std::function<void(QImage image, std::optional<ServiceError> error)>;

    /// The one instance, made on first use with the test environment and the network transport.
    static VTAServiceManager &shared();

    VTAEnvironment environment() const { return m_environment; }
    /// Requests built from now on go to `environment`; those in flight keep their URLs.
    void setEnvironment(const VTAEnvironment &environment) { m_environment = environment; }

    /// Sends everything through `transport` from now on.
    void setTransport(std::unique_ptr<Transport> transport);

    /// The environment's API base, less one trailing "/".
    QString getBaseURL() const;

    void getChannelInfo(const QString &channelId, const QString &broadcaster, QObject *context,
                        Completion<StreamerInfo> completion);
    /// Registers a new viewer (`register` in the backend's vocabulary, a keyword in C++).
    void registerUser(const QString &broadcaster, const QString &channelId,
                      const std::optional<QString> &userBroadcasterForeignID,
                      const std::optional<QString> &userInitialName, QObject *context,
                      Completion<User> completion);
    void login(const QString &token, const QString &broadcaster, const QString &channelId,
               QObject *context, Completion<User> completion);
    void getTriviaQuestion(const QString &questionId, const QString &token,
                           const QString &channelId, const QString &broadcaster, QObject *context,
                           Completion<Trivia> completion);
    void answerPoll(const QString &token, const QString &channelId, const QString &broadcaster,
                    const QString &pollId, const QString &answer, QObject *context,
                    Completion<AnswerPollResponse> completion);
    void answerRating(const QString &token, const QString &channelId, const QString &broadcaster,
                      const QString &ratingId, qint64 answer, QObject *context,
                      Completion<AnswerRatingResponse> completion);
    void answerTrivia(const QString &token, const QString &channelId, const QString &broadcaster,
                      const QString &triviaId, const QString &answer, QObject *context,
                      Completion<AnswerTriviaResponse> completion);

    /// Sends one analytics event; its outcome is not reported.
    void analytics(const AnalyticsReport &report);

    /// Reads the broadcaster's channel list for this environment from the channel storage.
    void checkChannels(const QString &broadcaster, QObject *context,
                       Completion<QList<Channel>> completion);

    /// Loads an image: a path starting with "http" as it stands, anything else under the
    /// environment's image base. A path that makes no valid URL is not requested and its
    /// completion never runs. The image is null when nothing decodable came back.
    void getImage(const QString &path, QObject *context, ImageCompletion completion);

private:
    VTAServiceManager();

    template <class Reply, class Body>
    void post(const QString &path, const Body &body, QObject *context,
              Completion<Reply> completion);
    template <class Reply>
    void fetch(HttpRequest request, QObject *context, Completion<Reply> completion);

    VTAEnvironment m_environment;
    std::unique_ptr<Transport> m_transport;
};

/// "IL" where the device's region is Israel, "US" everywhere else: the backend knows only these.
QString analyticsCountry();

} // namespace Vantora
