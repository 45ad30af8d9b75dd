#include "vantora/toolkit/realtimescheduler_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"

#include <QCoreApplication>
#include <QObject>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

using namespace Vantora;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

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

// Tasks run at their deadlines, ties in the order laid, each seeing the clock at its own deadline;
// tasks laid by tasks run when they fall due; nothing runs inside the call that lays it.
TEST(VirtualTime, tasksRunInDeadlineOrderEachAtItsOwnTime)
{
    VirtualTimeScheduler clock(1'000'000);
    QObject owner;
    QStringList ran;
    const auto note = [&](const QString &name) {
        return [&, name] {
            ran.append(u"%1@%2"_s.arg(name).arg(clock.wallClockMSecs()));
        };
    };
    clock.after(300ms, &owner, note(u"c"_s));
    clock.after(100ms, &owner, [&] {
        note(u"a"_s)();
        clock.post(&owner, note(u"posted by a"_s));
        clock.after(50ms, &owner, note(u"a+50"_s));
        clock.after(500ms, &owner, note(u"a+500"_s));
    });
    clock.after(100ms, &owner, note(u"b"_s)); // a tie: after a
    clock.after(120ms, &owner, note(u"d"_s));
    clock.post(&owner, note(u"posted"_s));
    EXPECT_TRUE(ran.isEmpty());
    clock.runPending();
    EXPECT_EQ(ran, QStringList{u"posted@1000000"_s});
    clock.advanceBy(99ms);
    EXPECT_EQ(ran.size(), 1);
    clock.advanceBy(250ms);
    EXPECT_EQ(
        ran,
        (QStringList{u"posted@1000000"_s, u"a@1000100"_s, u"b@1000100"_s, u"posted by a@1000100"_s,
                     u"d@1000120"_s, u"a+50@1000150"_s, u"c@1000300"_s}));
    EXPECT_EQ(clock.monotonicTime(), 349ms);
    EXPECT_EQ(clock.pendingCount(), 1);

    clock.setWallClockMSecs(5'000'500); // the device clock is set; timers are not moved
    clock.advanceBy(251ms);
    EXPECT_EQ(ran.last(), u"a+500@5000751"_s);
    EXPECT_DOUBLE_EQ(clock.wallClockSeconds(), 5000.751);
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

// A timer ends when it is cancelled (even from its own task) or its context goes; a repeating
// one ticks at least 1 ms apart.
TEST(VirtualTime, timersEndByCancellationOrWithTheirContext)
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
    EXPECT_EQ(clock.pendingCount(), 0);

    QObject context;
    int ticks = 0;
    TimerId countdown = 0;
    countdown = clock.every(1s, &context, [&] {
        if (++ticks == 3)
            clock.cancel(countdown);
    });
    clock.advanceBy(2500ms);
    EXPECT_EQ(ticks, 2);
    clock.advanceBy(10s);
    EXPECT_EQ(ticks, 3);
    const TimerId zero = clock.every(0ms, &context, [&] { ++ticks; });
    clock.advanceBy(5ms);
    EXPECT_EQ(ticks, 8);
    clock.cancel(zero);

    const TimerId first = clock.after(1s, &context, journal.note(QStringLiteral("first")));
    clock.after(1s, &context, [&] { clock.cancel(first + 2); }); // the one laid after this one
    clock.after(1s, &context, journal.note(QStringLiteral("third")));
    clock.cancel(first);
    clock.advanceBy(1s);
    EXPECT_EQ(journal.entries.size(), 1);
    EXPECT_EQ(clock.pendingCount(), 0);
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
