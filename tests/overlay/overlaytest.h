#pragma once

// An overlay on a shown 1080p window, in virtual time, against an in-memory backend that records
// every request, with a host delegate that writes down what the overlay asked of it.

#include "recordinghost.h"
#include "servicetest.h"
#include "vantora/overlay/overlaycontroller_p.h"
#include "vantora/records/jsoncodec_p.h"
#include <vantora/views/interactionview/vtainteractionview.h>
#include <vantora/views/notice/vtanotice.h>

#include <QQuickWindow>
#include <QSettings>

// Keeps the realtime client off the network: it is refused on the loopback at once.
[[maybe_unused]] inline const bool realtimeOnLoopback =
    qputenv("VANTORA_REALTIME_URL", "ws://127.0.0.1:9");

using namespace std::chrono_literals;

// Records are written with designated initializers that name only the members a test sets.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

inline Poll poll(const QString &id, const QString &questionType = u"poll"_s,
                 std::optional<qint64> home = 3, std::optional<qint64> away = 1)
{
    return {
        .name = id,
        .id = id,
        .question = u"Who scores next?"_s,
        .questionType = questionType,
        .status = u"active"_s,
        .answers = {{.answer = u"Home"_s, .totals = home}, {.answer = u"Away"_s, .totals = away}}};
}

inline Rating rating(const QString &id)
{
    return {.name = u"How was the half?"_s,
            .id = id,
            .optionsNumber = u"5"_s,
            .averageRate = 3.5,
            .totalPeople = 4,
            .totalPoints = 14};
}

inline Clock clockEntry(const QString &id, const QString &module, qint64 time, bool pause = false,
                        const QString &timeToStay = u"20"_s)
{
    return {{id}, module, time, {timeToStay}, pause, false, true};
}

/// The channel "ch1": polls p1 and p2, prediction pr1, rating r1, and no clock entries.
inline StreamerInfo channel()
{
    return {.id = u"ch1"_s,
            .polls = QList<Poll>{poll(u"p1"_s), poll(u"p2"_s)},
            .ratings = QList<Rating>{rating(u"r1"_s)},
            .predictions = QList<Poll>{poll(u"pr1"_s, u"prediction"_s)}};
}

inline Trivia trivia(const QString &id)
{
    return {{.id = id, .question = u"Who won?"_s, .answers = {{u"Real Madrid"_s}, {u"Benfica"_s}}}};
}

inline User user(const QString &token = u"tok-1"_s)
{
    return {.token = token, .level = 3, .amount_of_credits_won = 100, .expirience_points = 20};
}

class OverlayTest : public ServiceTest
{
protected:
    static constexpr auto channelList = "/channels/bc__test3.json";

    OverlayTest()
    {
        answer(channelList, R"([{"channel":"ch1","additionalPageSettings":"","urlB64":""}])");
        answer("/userApi/user/register", Json::encode(user(u"tok-new"_s)));
        answer("/userApi/user/login_by_token", Json::encode(user()));
        answer("/userApi/streamer/getInfo", Json::encode(channel()));
        answer("/userApi/analytics/add", R"({"status":"ok"})");
        answer("/", ""); // an item without a picture asks for the media root
        answerReply("/userApi/poll/answer_new/", "p1",
                    R"("expoints_given":10,"giftPointsGiven":5,"userLevel":{"level":"4"})");
        overlay = new VTAOverlayView(window.contentItem());
        overlay->setSize({1920, 1080});
        controller = OverlayController::of(overlay);
        window.show();
    }

    void answer(const QByteArray &path, const QByteArray &body, int status = 200)
    {
        backend->answer(QString::fromLatin1(path), {status, body, {}});
    }

    // A reply to a vote for poll or rating `id` that counts it; `members` give points and level.
    void answerReply(const QByteArray &path, const QByteArray &id, const QByteArray &members)
    {
        const QByteArray vote = path.contains("rating") ? "4" : R"("Home")";
        answer(path + id,
               R"({"answer":{"userId":"u1","questionId":")" + id + R"(","ratingId":")" + id
                   + R"(","answer":)" + vote + R"(,"channelId":"ch1","isAnswered":true,)" + members
                   + "}}");
    }

    void storeToken(const QString &token) { QSettings().setValue(u"userToken"_s, token); }

    // Loads channel ch1 of broadcaster bc and lets start-up run (not the 2 s catch-up).
    void load()
    {
        overlay->load(u"ch1"_s, u"bc"_s, environment(), &host);
        clock.runPending();
    }

    // Loads channel ch1 with these clock entries and injections.
    void loadWith(const QList<Clock> &clocks, const QList<Injection> &injections = {})
    {
        StreamerInfo info = channel();
        info.clocks = clocks;
        info.injections = injections;
        answer("/userApi/streamer/getInfo", Json::encode(info));
        load();
    }

    // The paths requested so far, in order, without "/userApi" and without the analytics reports.
    QStringList paths() const
    {
        QStringList paths;
        for (const HttpRequest &request : backend->requests())
            paths.append(request.url.path().replace(u"/userApi/"_s, u"/"_s));
        paths.removeAll(u"/analytics/add"_s);
        return paths;
    }

    // Each analytics report so far as "type module source sourceID time", absent parts "-".
    QStringList reports() const
    {
        QStringList reports;
        for (const HttpRequest &request : backend->requests()) {
            if (request.url.path() != u"/userApi/analytics/add"_s)
                continue;
            const QJsonObject event = requestField(request)["data"_L1]["events"_L1][0].toObject();
            QStringList parts;
            for (const char *key :
                 {"eventType", "module", "source", "source_id", "injection_timestamp"}) {
                const QJsonValue value = event[QLatin1String(key)];
                parts.append(value.isUndefined() ? u"-"_s : value.toVariant().toString());
            }
            reports.append(parts.join(u' '));
        }
        return reports;
    }

    // The lines `work` prints; checked after the capture, where a failure can be seen.
    template <class Work>
    static QStringList linesOf(Work work)
    {
        StdoutCapture out;
        work();
        return out.lines();
    }

    VTAInteractionView *card() const { return controller->state.currentInteraction; }
    QString shownID() const { return card() ? card()->identifier() : QString(); }
    static QString text(const QQuickItem *item) { return item->property("text").toString(); }

    // Closes what is on screen and lets it slide out.
    void closeCard()
    {
        overlay->closeInteractionIfNeeded();
        clock.advanceBy(1s);
    }
    OverlayState &state() { return controller->state; }

    RecordingHost host;
    QQuickWindow window;
    VTAOverlayView *overlay = nullptr; // owned by the window's content item
    OverlayController *controller = nullptr;
};
