// The video clock: which entries get a timer, when it fires and what it shows, and the catch-up
// on the broadcaster's latest injection at start-up.

#include "overlaytest.h"

using ClockTest = OverlayTest;

static Injection injection(const QString &id, qint64 timestamp, const QString &timeToStay,
                           const QString &module = u"polls"_s, bool pause = false,
                           bool smartTV = true)
{
    return {id, module, {QString::number(timestamp)}, {timeToStay}, false, pause, {}, smartTV};
}

TEST_F(ClockTest, onlyTvEntriesOfKnownModulesStrictlyAheadAreLaidAndPlayingLaysThemAgain)
{
    overlay->videoPlaying(50);
    EXPECT_TRUE(state().timerList.isEmpty()) << "nothing before the channel document";
    loadWith({{{u"p1"_s}, u"polls"_s, 5}, // not marked for TV
              {{u"p1"_s}, u"polls"_s, 5, {}, false, false, false},
              clockEntry(u"p1"_s, u"video"_s, 5),
              clockEntry(u"p1"_s, u"polls"_s, 0)});
    EXPECT_TRUE(state().timerList.isEmpty()) << "laid at 0.0 on arrival";

    // 10.5 is not beyond 10 + 0.5; 11 is, by 1 s; the duplicates each get a timer.
    loadWith({clockEntry(u"p1"_s, u"polls"_s, 10), clockEntry(u"p2"_s, u"poll"_s, 11),
              clockEntry(u"p2"_s, u"poll"_s, 11)});
    overlay->videoPaused();
    overlay->videoPlaying(10.49);
    EXPECT_EQ(state().timerList.size(), 2);
    clock.advanceBy(2s);
    EXPECT_EQ(shownID(), u"p2"_s);

    overlay->videoPaused();
    overlay->videoPlaying(10.5);
    EXPECT_EQ(state().timerList.size(), 0) << "exactly 0.5 ahead is not laid";

    // Playing lays the clock again only near the last laying: the entry at 300 s shows 200 s after
    // the laying at 100, not 200.5 s (as laid at 99.5) nor 100 s (as laid at 200).
    loadWith({clockEntry(u"p1"_s, u"polls"_s, 300)});
    overlay->videoPaused();
    overlay->videoPlaying(99.5);
    overlay->videoPlaying(100); // 0.5 from the laying: laid again
    overlay->videoPlaying(200); // far from it: the timers stay
    clock.advanceBy(199s);
    EXPECT_EQ(shownID(), QString());
    clock.advanceBy(1s);
    EXPECT_EQ(shownID(), u"p1"_s);
}

TEST_F(ClockTest, aFiringEntryShowsItsItemForItsTimeAndOneThatPausedIsNotLaidAgain)
{
    loadWith({clockEntry(u"p1"_s, u"polls"_s, 3, true, u"abc"_s),
              clockEntry(u"r1"_s, u"rating"_s, 70, false, u""_s),
              clockEntry(u"p2"_s, u"polls"_s, 200, false, u"+12"_s)});
    clock.advanceBy(3s);
    ASSERT_EQ(shownID(), u"p1"_s);
    EXPECT_EQ(card()->time(), 30) << "an unreadable time gives 30 s";
    EXPECT_EQ(host.calls, (QStringList{u"pause"_s, u"focus"_s}));
    overlay->closeInteractionIfNeeded();

    overlay->videoPaused();
    overlay->videoPlaying(0); // sought back before all three
    EXPECT_EQ(state().timerList.size(), 2);
    clock.advanceBy(70s);
    ASSERT_EQ(shownID(), u"r1"_s);
    EXPECT_EQ(card()->time(), 30);
    clock.advanceBy(130s);
    ASSERT_EQ(shownID(), u"p2"_s);
    EXPECT_EQ(card()->time(), 12);
}

TEST_F(ClockTest, theCatchUpShowsOnlyTheLatestInjectionStillRunning)
{
    const qint64 now = 1'800'000'000;
    clock.setWallClockMSecs(now * 1000);
    Injection older = injection(u"p1"_s, now - 100, u"600"_s);
    const Injection tv = injection(u"p2"_s, now - 10, u"40"_s, u"polls"_s, true);
    const Injection notTv = injection(u"p1"_s, now, u"600"_s, u"polls"_s, false, false);
    const Injection unknown = injection(u"p1"_s, now, u"600"_s, u"video"_s);
    Injection tie = injection(u"p1"_s, now - 10, u"40"_s);
    // Each case: its injections, the item shown, its seconds on screen, the reports' start time.
    for (const auto &[name, injections, shown, time, start] :
         {std::tuple{"latest wins", QList{older, tv, notTv}, u"p2"_s, 28, now - 10},
          {"ties keep the first", {tv, tie}, u"p2"_s, 28, now - 10},
          {"unknown latest: no fallback", {older, unknown}, QString(), 0, 0},
          {"ends in 5 s", {injection(u"p1"_s, now - 10, u"17"_s)}, QString(), 0, 0},
          {"ends in 6 s", {injection(u"p1"_s, now - 10, u"18"_s)}, u"p1"_s, 6, now - 10},
          {"no timestamp", {injection(u"p1"_s, 0, u"999999999999"_s)}, QString(), 0, 0},
          {"unreadable stay", {injection(u"p1"_s, now + 60, u"x"_s)}, u"p1"_s, 58, now + 60}}) {
        SCOPED_TRACE(name);
        loadWith({}, injections);
        clock.advanceBy(1999ms);
        EXPECT_EQ(shownID(), QString()) << "the catch-up waits 2 s";
        clock.advanceBy(1ms);
        EXPECT_EQ(shownID(), shown);
        if (card()) {
            EXPECT_EQ(card()->time(), time);
            EXPECT_EQ(reports().last().section(u' ', 1), // after the token
                      u"view Polls injection %1 %2"_s.arg(shown).arg(start));
            EXPECT_EQ(host.calls.contains(u"pause"_s), shown == u"p2"_s);
            EXPECT_EQ(state().willAutoClose, true) << "closes after the answer by default";
        }
        clock.setWallClockMSecs(now * 1000);
        host.calls.clear();
    }
}
