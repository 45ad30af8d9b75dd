// A whole day of a busy channel in virtual time: 10,000 clock entries on a video that plays for
// 24 hours and 100,000 live events among them (injections, totals, closings, settlements,
// refreshes), while the realtime connection keeps failing and coming back to try again. Each
// virtual hour prints what the overlay holds; none of it may grow with the hours, every card
// shown is closed, and every pause asked of the video is followed by a play.

#include "overlaytest.h"
#include "vantora/realtime/pusherclient_p.h"

#include <QRandomGenerator>

#include <fstream>
#include <unistd.h>

TEST_F(OverlayTest, aDayOfLiveEventsLeavesNothingBehind)
{
    const QString modules[] = {u"polls"_s, u"rating"_s, u"quiz"_s, u"predictions"_s};
    const QString ids[] = {u"p1"_s, u"r1"_s, u"q7"_s, u"pr1"_s};
    QList<Clock> clocks;
    for (int i = 0; i < 10000; ++i)
        clocks.append(clockEntry(ids[i % 4], modules[i % 4], 10 + i * 8, i % 40 == 0));
    loadWith(clocks);
    overlay->videoPlaying(0);
    int shown = 0, closed = 0;
    QObject::connect(overlay, &VTAOverlayView::interactionChanged, overlay,
                     [&] { ++(overlay->isDisplayingInteraction() ? shown : closed); });

    QRandomGenerator random(24);
    constexpr int events = 100000, perHour = events / 24;
    long long firstTimers = 0;
    [[maybe_unused]] long long firstMegabytes = 0; // unread where AddressSanitizer runs
    int attempts = 0; // the realtime service is never there: the client keeps trying
    QObject::connect(
        controller->pusherHelper.pusher(), &PusherClient::stateChanged, overlay,
        [&](PusherClient::State state) { attempts += state == PusherClient::State::Connecting; });
    for (int i = 1; i <= events; ++i) {
        const int roll = int(random.bounded(100));
        const qint64 now = 1700000000 + i;
        if (roll < 2)
            controller->inject(poll(roll % 2 ? u"p1"_s : u"p2"_s), {30, roll % 3 == 0}, now);
        else if (roll < 3)
            controller->inject(rating(), {20}, now);
        else if (roll < 4)
            controller->inject(u"q7"_s, {25, false, true}, now);
        else if (roll < 13)
            controller->updatedInfo(QList<Poll>{poll(u"p2"_s)}, std::nullopt, std::nullopt);
        else if (roll < 85)
            controller->updatedInfo(QList<Poll>{poll(u"p1"_s)}, QList<Rating>{rating()},
                                    QList<Poll>{poll(u"pr1"_s, u"prediction"_s)});
        else if (roll < 90)
            controller->didClose(u"p1"_s);
        else if (roll < 92)
            controller->didReceivePredictionResult({u"Home"_s, 10, u"pr1"_s});
        else if (roll < 93)
            controller->didRequestRefresh();
        else if (roll < 94)
            overlay->closeInteractionIfNeeded(); // the viewer presses back
        clock.advanceBy(864ms);

        if (i % perHour == 0) {
            const long long objects = overlay->findChildren<QObject *>().size()
                + controller->findChildren<QObject *>().size();
            const long long timers = clock.pendingCount();
            long long pages = 0, resident = 0;
            std::ifstream("/proc/self/statm") >> pages >> resident;
            const long long megabytes = resident * sysconf(_SC_PAGESIZE) / (1024 * 1024);
            std::printf("hour %2d: %lld objects, %lld timers pending, RSS %lld MB, %d cards shown, "
                        "%d closed, %d connection attempts\n",
                        i / perHour, objects, timers, megabytes, shown, closed, attempts);
            backend->forget(); // the test's own record of requests, not the overlay's
            if (i == perHour)
                firstTimers = timers, firstMegabytes = megabytes;
            // One card and one notice at the most (a card is some eighty objects).
            EXPECT_LE(objects, 250) << "hour " << i / perHour;
            EXPECT_LE(timers, firstTimers) << "hour " << i / perHour;
            // AddressSanitizer quarantines freed memory; there its leak check at exit stands in.
#ifndef __SANITIZE_ADDRESS__
            EXPECT_LE(megabytes, firstMegabytes + 30) << "hour " << i / perHour;
#endif
        }
    }
    closeCard();
    clock.advanceBy(1min);
    EXPECT_FALSE(card());
    EXPECT_EQ(shown, closed);
    EXPECT_GT(shown, 1000);
    EXPECT_EQ(host.calls.count(u"pause"_s), host.calls.count(u"play"_s));
    EXPECT_GT(host.calls.count(u"pause"_s), 0);
    EXPECT_GT(attempts, 24);
}
