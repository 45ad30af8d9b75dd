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

class OverlayTest : public ServiceTest
{
protected:
    static constexpr auto channelList = "/channels/bc__test3.json";

    OverlayTest()
    {
        answer(channelList, R"([{"channel":"ch1","additionalPageSettings":"","urlB64":""}])");
        answer("/userApi/user/register",
               loadFixture(u"overlay_user.json").replace("tok-1", "tok-new"));
        answer("/userApi/user/login_by_token", loadFixture(u"overlay_user.json"));
        answer("/userApi/streamer/getInfo", loadFixture(u"overlay_channel.json"));
        answer("/userApi/trivia/getQuestionById/q7", loadFixture(u"overlay_trivia.json"));
        answer("/userApi/analytics/add", R"({"status":"ok"})");
        answer("/", ""); // an item without a picture asks for the media root
        answerReply("p1", R"("expoints_given":10,"giftPointsGiven":5,"userLevel":{"level":"4"})");
        overlay = new VTAOverlayView(window.contentItem());
        overlay->setSize({1920, 1080});
        controller = OverlayController::of(overlay);
        window.show();
    }

    // The records of tests/data/overlay_*.json: the channel ch1 (polls p1 and p2, prediction pr1,
    // rating r1, no clock entries), the trivia question q7 and the viewer tok-1 (level 3, 100
    // credits, 20 experience points).
    static StreamerInfo channel()
    {
        return Json::decode<StreamerInfo>(loadFixture(u"overlay_channel.json")).value();
    }
    static Rating rating() { return channel().ratings->first(); }

    // Poll p1 under another id and question type.
    static Poll poll(const QString &id, const QString &questionType = u"poll"_s)
    {
        Poll poll = channel().polls->first();
        poll.id = id;
        poll.questionType = questionType;
        return poll;
    }

    static Clock clockEntry(const QString &id, const QString &module, qint64 time,
                            bool pause = false, const QString &timeToStay = u"20"_s)
    {
        return {{id}, module, time, {timeToStay}, pause, false, true};
    }

    void answer(const QByteArray &path, const QByteArray &body, int status = 200)
    {
        backend->answer(QString::fromLatin1(path), {status, body, {}});
    }

    // A reply to a vote for poll or rating `id`: `members` give points and level, and come first,
    // so that an "isAnswered" among them overrides the true that follows (the first key counts).
    void answerReply(const QByteArray &id, const QByteArray &members)
    {
        const bool rating = id.startsWith('r');
        answer((rating ? "/userApi/rating/answer_new/" : "/userApi/poll/answer_new/") + id,
               R"({"answer":{)" + members + R"(,"userId":"u1","questionId":")" + id
                   + R"(","ratingId":")" + id + R"(","answer":)" + (rating ? "4" : R"("Home")")
                   + R"(,"channelId":"ch1","isAnswered":true}})");
    }

    void storeToken(const QString &token) { QSettings().setValue(u"userToken"_s, token); }

    // Loads channel ch1 of broadcaster bc and lets start-up run (not the 2 s catch-up).
    void load()
    {
        overlay->load(u"ch1"_s, u"bc"_s, environment(), &host);
        clock.runPending();
    }

    // Loads channel ch1 (or the document `info`) with these clock entries and injections.
    void loadWith(const QList<Clock> &clocks, const QList<Injection> &injections = {},
                  StreamerInfo info = channel())
    {
        info.clocks = clocks;
        info.injections = injections;
        answer("/userApi/streamer/getInfo", Json::encode(info));
        load();
    }

    // The requests so far but the analytics reports, in order, as their paths without "/userApi",
    // each followed by the viewer's token it carries, if any.
    QStringList paths() const
    {
        QStringList paths;
        for (const HttpRequest &request : backend->requests()) {
            const QString path = request.url.path().replace(u"/userApi/"_s, u"/"_s);
            const QString token = requestField(request)["data"_L1]["userToken"_L1].toString();
            if (path != u"/analytics/add"_s)
                paths.append(token.isEmpty() ? path : path + u' ' + token);
        }
        return paths;
    }

    // Each analytics report so far as "token type module source sourceID time", absent parts "-".
    QStringList reports() const
    {
        QStringList reports;
        for (const HttpRequest &request : backend->requests()) {
            if (request.url.path() != u"/userApi/analytics/add"_s)
                continue;
            const QJsonObject data = requestField(request)["data"_L1].toObject();
            QStringList parts{data["userToken"_L1].toString()};
            for (const char *key :
                 {"eventType", "module", "source", "source_id", "injection_timestamp"}) {
                const QJsonValue value = data["events"_L1][0][QLatin1String(key)];
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
