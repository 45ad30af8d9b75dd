#include "vantora/toolkit/realtimescheduler_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"

#include <QCoreApplication>
#include <QObject>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <QVariantAnimation>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

using namespace Vantora;
using namespace std::chrono_literals;

namespace {

// Collects what ran, in order.
struct Journal
{
    QStringList entries;
    auto note(const QString &entry)
    {
        return [this, entry] {
            entries.append(entry);
        };
    }
};

} // namespace

TEST(VirtualTime, tasksRunInDeadlineOrderAndTiesInTheOrderLaid)
{
    VirtualTimeScheduler clock;
    QObject owner;
    Journal journal;
    clock.after(300ms, &owner, journal.note(QStringLiteral("c@300")));
    clock.after(100ms, &owner, journal.note(QStringLiteral("a@100")));
    clock.after(100ms, &owner, journal.note(QStringLiteral("b@100")));
    clock.post(&owner, journal.note(QStringLiteral("posted")));
    EXPECT_TRUE(journal.entries.isEmpty()) << "nothing runs inside the call that lays it";

    clock.runPending();
    EXPECT_EQ(journal.entries, QStringList{QStringLiteral("posted")});
    clock.advanceBy(99ms);
    EXPECT_EQ(journal.entries.size(), 1);
    clock.advanceBy(250ms);
    EXPECT_EQ(journal.entries,
              (QStringList{QStringLiteral("posted"), QStringLiteral("a@100"),
                           QStringLiteral("b@100"), QStringLiteral("c@300")}));
    EXPECT_EQ(clock.monotonicTime(), 349ms);
    EXPECT_EQ(clock.pendingCount(), 0);
}

TEST(VirtualTime, eachTaskSeesTheClockAtItsOwnDeadline)
{
    VirtualTimeScheduler clock(1'000'000);
    QObject owner;
    QList<qint64> seen;
    for (auto delay : {250ms, 1000ms, 4000ms})
        clock.after(delay, &owner, [&] { seen.append(clock.wallClockMSecs()); });
    clock.advanceBy(10s);
    EXPECT_EQ(seen, (QList<qint64>{1'000'250, 1'001'000, 1'004'000}));
    EXPECT_EQ(clock.wallClockMSecs(), 1'010'000);
    EXPECT_DOUBLE_EQ(clock.wallClockSeconds(), 1010.0);

    clock.setWallClockMSecs(5'000'500); // the device clock is set; timers are not moved
    clock.after(1s, &owner, [&] { seen.append(clock.wallClockMSecs()); });
    clock.advanceBy(1s);
    EXPECT_EQ(seen.last(), 5'001'500);
    EXPECT_DOUBLE_EQ(clock.wallClockSeconds(), 5001.5);
    EXPECT_EQ(clock.monotonicTime(), 11s);
}

TEST(VirtualTime, tasksLaidByTasksRunWhenTheyFallDue)
{
    VirtualTimeScheduler clock;
    QObject owner;
    Journal journal;
    clock.after(100ms, &owner, [&] {
        journal.entries.append(QStringLiteral("first"));
        clock.post(&owner, journal.note(QStringLiteral("posted by first")));
        clock.after(50ms, &owner, journal.note(QStringLiteral("first+50")));
        clock.after(500ms, &owner, journal.note(QStringLiteral("first+500")));
    });
    clock.after(120ms, &owner, journal.note(QStringLiteral("second@120")));
    clock.advanceBy(200ms);
    EXPECT_EQ(journal.entries,
              (QStringList{QStringLiteral("first"), QStringLiteral("posted by first"),
                           QStringLiteral("second@120"), QStringLiteral("first+50")}));
    EXPECT_EQ(clock.pendingCount(), 1);
}

// Work that one task queues on the event loop (a socket write, a queued signal) is handled
// before the next deadline's task runs, even when one advance spans both.
TEST(VirtualTime, theEventLoopRunsBetweenDeadlines)
{
    VirtualTimeScheduler clock;
    QObject owner;
    Journal journal;
    clock.after(10ms, &owner, [&] {
        QMetaObject::invokeMethod(
            &owner, [&] { journal.entries.append(QStringLiteral("queued by 10")); },
            Qt::QueuedConnection);
    });
    clock.after(20ms, &owner, journal.note(QStringLiteral("task@20")));
    auto *doomed = new QObject;
    QObject::connect(doomed, &QObject::destroyed, &owner,
                     [&] { journal.entries.append(QStringLiteral("deleted later")); });
    clock.after(15ms, &owner, [doomed] { doomed->deleteLater(); });
    clock.advanceBy(1s);
    EXPECT_EQ(journal.entries,
              (QStringList{QStringLiteral("queued by 10"), QStringLiteral("deleted later"),
                           QStringLiteral("task@20")}));
}

TEST(VirtualTime, aTaskIsDroppedWhenItsContextGoesFirst)
{
    VirtualTimeScheduler clock;
    Journal journal;
    auto owner = std::make_unique<QObject>();
    clock.post(owner.get(), journal.note(QStringLiteral("posted")));
    clock.after(1s, owner.get(), journal.note(QStringLiteral("delayed")));
    clock.every(100ms, owner.get(), journal.note(QStringLiteral("tick")));
    clock.after(2s, nullptr, journal.note(QStringLiteral("unowned")));
    owner.reset();
    clock.advanceBy(3s);
    EXPECT_EQ(journal.entries, QStringList{QStringLiteral("unowned")});
    EXPECT_EQ(clock.pendingCount(), 0) << "a dead owner's repeating timer is gone for good";
}

TEST(VirtualTime, repeatingTimersTickUntilCancelledEvenFromTheirOwnTask)
{
    VirtualTimeScheduler clock;
    QObject owner;
    int ticks = 0;
    TimerId countdown = 0;
    countdown = clock.every(1s, &owner, [&] {
        if (++ticks == 3)
            clock.cancel(countdown);
    });
    clock.advanceBy(2500ms);
    EXPECT_EQ(ticks, 2);
    clock.advanceBy(10s);
    EXPECT_EQ(ticks, 3);

    const TimerId zero = clock.every(0ms, &owner, [&] { ++ticks; }); // at least 1 ms apart
    clock.advanceBy(5ms);
    EXPECT_EQ(ticks, 8);
    clock.cancel(zero);
    clock.cancel(zero); // twice, unknown and zero ids are all harmless
    clock.cancel(987654);
    clock.cancel(0);
    EXPECT_EQ(clock.pendingCount(), 0);
}

TEST(VirtualTime, cancelledTimersNeverRun)
{
    VirtualTimeScheduler clock;
    QObject owner;
    Journal journal;
    const TimerId first = clock.after(1s, &owner, journal.note(QStringLiteral("first")));
    clock.after(1s, &owner, [&] { clock.cancel(first + 2); }); // the one laid after this one
    clock.after(1s, &owner, journal.note(QStringLiteral("third")));
    clock.cancel(first);
    clock.advanceBy(1s);
    EXPECT_TRUE(journal.entries.isEmpty());
}

TEST(VirtualTime, drivesQtAnimations)
{
    VirtualTimeScheduler clock;
    clock.advanceBy(1234ms); // animations count from their own start, not the clock's
    QVariantAnimation slide;
    slide.setStartValue(0.0);
    slide.setEndValue(400.0);
    slide.setDuration(400);
    slide.start();
    clock.advanceBy(100ms);
    EXPECT_DOUBLE_EQ(slide.currentValue().toDouble(), 100.0);
    clock.advanceBy(200ms);
    EXPECT_DOUBLE_EQ(slide.currentValue().toDouble(), 300.0);
    clock.advanceBy(10s);
    EXPECT_EQ(slide.state(), QAbstractAnimation::Stopped);
    EXPECT_DOUBLE_EQ(slide.currentValue().toDouble(), 400.0);
}

// A card's slide-in, as the views write it, on a shown window: no frame is waited for.
TEST(VirtualTime, drivesQtQuickAnimationsInAWindow)
{
    VirtualTimeScheduler clock;
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\n"
                      "Item {\n"
                      "    width: 1920; height: 1080\n"
                      "    Rectangle { objectName: \"card\"; width: 400; height: 300; x: 1920\n"
                      "        NumberAnimation on x { to: 1400; duration: 400 }\n"
                      "    }\n"
                      "}\n",
                      QUrl());
    std::unique_ptr<QObject> root(component.create());
    ASSERT_TRUE(root) << component.errorString().toStdString();
    QQuickWindow window;
    window.resize(1920, 1080);
    qobject_cast<QQuickItem *>(root.get())->setParentItem(window.contentItem());
    window.show();
    auto *card = root->findChild<QQuickItem *>(QStringLiteral("card"));
    ASSERT_NE(card, nullptr);
    clock.runPending();
    EXPECT_DOUBLE_EQ(card->x(), 1920.0);
    clock.advanceBy(200ms);
    EXPECT_DOUBLE_EQ(card->x(), 1660.0);
    clock.advanceBy(1s);
    EXPECT_DOUBLE_EQ(card->x(), 1400.0);
}

TEST(VirtualTime, isTheInstanceWhileItLives)
{
    Scheduler &before = Scheduler::instance();
    EXPECT_NE(dynamic_cast<RealTimeScheduler *>(&before), nullptr);
    {
        VirtualTimeScheduler outer;
        EXPECT_EQ(&Scheduler::instance(), &outer);
        {
            VirtualTimeScheduler inner;
            EXPECT_EQ(&Scheduler::instance(), &inner);
        }
        EXPECT_EQ(&Scheduler::instance(), &outer);
    }
    EXPECT_EQ(&Scheduler::instance(), &before);
}

TEST(VirtualTime, advancingFromInsideATaskIsAProgrammingError)
{
    EXPECT_DEATH(
        {
            VirtualTimeScheduler clock;
            QObject owner;
            clock.post(&owner, [&] { clock.advanceBy(1s); });
            clock.runPending();
        },
        "advanceBy\\(\\) called from a task it runs");
}

TEST(Scheduler, secondsBecomeWholeMilliseconds)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const struct
    {
        double seconds;
        qint64 expected;
    } rows[] = {
        {0.0, 0},
        {0.29, 290}, // 289.99999999999997 before rounding
        {2.5, 2500},
        {0.0004, 0},
        {0.0005, 1},
        {600.0, 600000},
        {-1.0, 0},
        {std::nan(""), 0},
        {-infinity, 0},
        {1e300, 9'200'000'000'000'000},
        {infinity, 9'200'000'000'000'000},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.seconds);
        EXPECT_EQ(secondsToMilliseconds(row.seconds).count(), row.expected);
    }
}

// The event loop's scheduler, in real time: short delays only.
TEST(RealTime, runsTasksOnTheEventLoopWhileTheirContextLives)
{
    Scheduler &scheduler = Scheduler::instance();
    QObject owner;
    Journal journal;
    auto doomed = std::make_unique<QObject>();
    scheduler.post(&owner, journal.note(QStringLiteral("posted")));
    scheduler.after(30ms, &owner, journal.note(QStringLiteral("after 30")));
    scheduler.after(10ms, doomed.get(), journal.note(QStringLiteral("doomed")));
    scheduler.post(doomed.get(), journal.note(QStringLiteral("doomed post")));
    const TimerId cancelled = scheduler.after(5ms, &owner, journal.note(QStringLiteral("no")));
    scheduler.cancel(cancelled);
    doomed.reset();
    EXPECT_TRUE(journal.entries.isEmpty());

    int ticks = 0;
    TimerId tick = 0;
    tick = scheduler.every(5ms, &owner, [&] {
        if (++ticks == 3)
            scheduler.cancel(tick);
    });
    EXPECT_TRUE(QTest::qWaitFor([&] { return journal.entries.size() == 2; }, 5000));
    EXPECT_EQ(journal.entries, (QStringList{QStringLiteral("posted"), QStringLiteral("after 30")}));
    QTest::qWait(30);
    EXPECT_EQ(ticks, 3);

    const auto start = scheduler.monotonicTime();
    QTest::qWait(20);
    EXPECT_GE(scheduler.monotonicTime() - start, 20ms);
    EXPECT_NEAR(double(scheduler.wallClockMSecs()), double(QDateTime::currentMSecsSinceEpoch()),
                1000.0);
}

TEST(RealTime, aTaskMayDeleteItsOwnContext)
{
    Scheduler &scheduler = Scheduler::instance();
    auto *owner = new QObject;
    bool ran = false;
    scheduler.after(1ms, owner, [&] {
        delete owner;
        ran = true;
    });
    auto *ticker = new QObject;
    scheduler.every(1ms, ticker, [&] { delete ticker; });
    QTest::qWait(50);
    EXPECT_TRUE(ran);
}
