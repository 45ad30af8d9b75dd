#pragma once

// An overlay on a shown 1080p window, in virtual time, against an in-memory backend that records
// every request, with a host delegate that writes down what the overlay asked of it.

#include "memorytransport.h"
#include "servicetest.h"
#include "testsupport.h"
#include "vantora/overlay/overlaycontroller_p.h"
#include "vantora/records/jsoncodec_p.h"
#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"
#include <vantora/views/interactionview/vtainteractionview.h>
#include <vantora/views/notice/vtanotice.h>

#include <vantora/overlay/vtaoverlayview.h>

#include <QQuickWindow>
#include <QSettings>

#include <gtest/gtest.h>

#include <memory>

class RecordingHost : public VTAOverlayDelegate
{
public:
    QStringList calls;
    void overlayRequestedPause() override { calls.append(QStringLiteral("pause")); }
    void overlayRequestedPlay() override { calls.append(QStringLiteral("play")); }
    void overlayRequestedFocus() override { calls.append(QStringLiteral("focus")); }
    void overlayReleasedFocus() override { calls.append(QStringLiteral("release")); }
};

namespace OverlayTesting {

// Keeps the realtime client off the network: it is refused on the loopback at once.
[[maybe_unused]] inline const bool realtimeOnLoopback =
    qputenv("VANTORA_REALTIME_URL", "ws://127.0.0.1:9");

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

inline Poll poll(const QString &id, const QString &questionType = u"poll"_s)
{
    Poll poll;
    poll.id = id;
    poll.name = id;
    poll.question = u"Who scores next?"_s;
    poll.questionType = questionType;
    poll.status = u"active"_s;
    poll.answers = {{u"Home"_s, {}, {}, false, {}, 3}, {u"Away"_s, {}, {}, false, {}, 1}};
    return poll;
}

inline Rating rating(const QString &id)
{
    Rating rating;
    rating.id = id;
    rating.name = u"How was the half?"_s;
    rating.icon = u"https://media.example.com/star.png"_s;
    rating.optionsNumber = u"5"_s;
    rating.averageRate = 3.5;
    rating.totalPeople = 4;
    rating.totalPoints = 14;
    return rating;
}

inline Clock clock(const QString &id, const QString &module, qint64 time, bool pause = false,
                   const QString &timeToStay = u"20"_s)
{
    Clock entry;
    entry.id.value = id;
    entry.module = module;
    entry.time = time;
    entry.timeToStay.value = timeToStay;
    entry.isPause = pause;
    entry.close_post_interaction = false;
    entry.smartTV = true;
    return entry;
}

/// The channel "ch1": polls p1 and p2, prediction pr1, rating r1, and no clock entries.
inline StreamerInfo channel()
{
    StreamerInfo info;
    info.name = u"Channel one"_s;
    info.broadcaster_id = u"bc"_s;
    info.id = u"ch1"_s;
    info.polls = QList<Poll>{poll(u"p1"_s), poll(u"p2"_s)};
    info.predictions = QList<Poll>{poll(u"pr1"_s, u"prediction"_s)};
    info.ratings = QList<Rating>{rating(u"r1"_s)};
    return info;
}

inline Trivia trivia(const QString &id)
{
    Trivia trivia;
    trivia.question.id = id;
    trivia.question.question = u"Which club won the first European Cup?"_s;
    trivia.question.answers = {{u"Real Madrid"_s, {}}, {u"Benfica"_s, {}}};
    trivia.question.category = u"History"_s;
    return trivia;
}

inline User user(const QString &token = u"tok-1"_s)
{
    User user;
    user.name = u"Dana"_s;
    user.token = token;
    user.level = 3;
    user.amount_of_credits_won = 100;
    user.expirience_points = 20;
    return user;
}

} // namespace OverlayTesting

class OverlayTest : public testing::Test
{
protected:
    static constexpr auto channelList = "/channels/bc__test3.json";

    OverlayTest()
    {
        using namespace OverlayTesting;
        using namespace Qt::Literals::StringLiterals;
        auto transport = std::make_unique<Vantora::TestSupport::MemoryTransport>();
        backend = transport.get();
        Vantora::VTAServiceManager::shared().setTransport(std::move(transport));
        answer(channelList, R"([{"channel":"ch1","additionalPageSettings":"","urlB64":""}])");
        answer("/userApi/user/register", Vantora::Json::encode(user(u"tok-new"_s)));
        answer("/userApi/user/login_by_token", Vantora::Json::encode(user()));
        answer("/userApi/streamer/getInfo", Vantora::Json::encode(channel()));
        answer("/userApi/analytics/add", R"({"status":"ok"})");
        answer("/star.png", "");
        answer("/", ""); // an item without a picture asks for the media root
        answerReply("/userApi/poll/answer_new/", "p1", 10, 5, "4");
        window.resize(1920, 1080);
        overlay = new VTAOverlayView(window.contentItem());
        overlay->setSize({1920, 1080});
        controller = Vantora::OverlayController::of(overlay);
        window.show();
    }

    void answer(const char *path, const QByteArray &body, int status = 200)
    {
        backend->answer(QString::fromLatin1(path), {status, body, {}});
    }

    // A poll or rating reply that counts the answer, with the points it gives.
    void answerReply(const char *path, const char *id, double expoints, std::optional<double> gift,
                     const char *level)
    {
        using namespace Qt::Literals::StringLiterals;
        QJsonObject data{{u"userId"_s, u"u1"_s},
                         {u"questionId"_s, QString::fromLatin1(id)},
                         {u"ratingId"_s, QString::fromLatin1(id)},
                         {u"answer"_s,
                          QString::fromLatin1(path).contains(u"rating"_s) ? QJsonValue(4)
                                                                          : QJsonValue(u"Home"_s)},
                         {u"channelId"_s, u"ch1"_s},
                         {u"isAnswered"_s, true},
                         {u"expoints_given"_s, expoints}};
        if (gift)
            data.insert(u"giftPointsGiven"_s, *gift);
        if (level)
            data.insert(u"userLevel"_s, QJsonObject{{u"level"_s, QString::fromLatin1(level)}});
        backend->answer(QString::fromLatin1(path) + QString::fromLatin1(id),
                        {200, QJsonDocument(QJsonObject{{u"answer"_s, data}}).toJson(), {}});
    }

    void storeToken(const QString &token)
    {
        QSettings settings;
        settings.setValue(QStringLiteral("userToken"), token);
        settings.sync();
    }

    // Loads channel ch1 of broadcaster bc and lets start-up run (not the 2 s catch-up).
    void load()
    {
        overlay->load(QStringLiteral("ch1"), QStringLiteral("bc"),
                      VTAEnvironment(QStringLiteral("https://api.example.com/userApi"),
                                     QStringLiteral("https://media.example.com"),
                                     QStringLiteral("k"), QStringLiteral("us2"),
                                     QStringLiteral("test3")),
                      &host);
        clock.runPending();
    }

    // The paths requested so far, in order, without the analytics reports.
    QStringList paths() const
    {
        QStringList paths;
        for (const Vantora::HttpRequest &request : backend->requests()) {
            if (request.url.path() != QLatin1String("/userApi/analytics/add"))
                paths.append(request.url.path());
        }
        return paths;
    }

    // Each analytics report so far as "type module source sourceID time", absent parts "-".
    QStringList reports() const
    {
        QStringList reports;
        for (const Vantora::HttpRequest &request : backend->requests()) {
            if (request.url.path() != QLatin1String("/userApi/analytics/add"))
                continue;
            const QJsonObject event =
                requestField(request)[QStringLiteral("data")][QStringLiteral("events")][0]
                    .toObject();
            QStringList parts;
            for (const char *key :
                 {"eventType", "module", "source", "source_id", "injection_timestamp"}) {
                const QJsonValue value = event[QLatin1String(key)];
                parts.append(value.isUndefined() ? QStringLiteral("-")
                                                 : value.toVariant().toString());
            }
            reports.append(parts.join(u' '));
        }
        return reports;
    }

    // The lines `work` prints; checked after the capture, where a failure can be seen.
    template <class Work>
    static QStringList linesOf(Work work)
    {
        Vantora::TestSupport::StdoutCapture out;
        work();
        return out.lines();
    }

    VTAInteractionView *card() const { return controller->state.currentInteraction; }
    Vantora::OverlayState &state() { return controller->state; }

    Vantora::VirtualTimeScheduler clock;
    Vantora::TestSupport::MemoryTransport *backend = nullptr;
    RecordingHost host;
    QQuickWindow window;
    VTAOverlayView *overlay = nullptr; // owned by the window's content item
    Vantora::OverlayController *controller = nullptr;
};
