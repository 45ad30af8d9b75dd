#include "vantora/toolkit/realtimescheduler_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"

#include "testsupport.h"

#include <QTest>

#include <gtest/gtest.h>

#include <cstdlib>

using namespace Vantora;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace {

// A task that writes `entry` down in `ran`.
auto note(QStringList &ran, const QString &entry)
{
    return [&ran, entry] {
        ran.append(entry);
    };
}

} // namespace

// While it lives, a virtual clock is the scheduler (an inner one until it goes). Tasks run at their
// deadlines, ties in the order laid, each seeing the clock at its own deadline; tasks laid by tasks
// run when they fall due; nothing runs inside the call that lays it. Work that a task queues on the
// event loop (a socket write, a deferred delete) is handled before the next task runs, even when
// one advance spans both.
TEST(VirtualTime, tasksRunInDeadlineOrderEachAtItsOwnTime)
{
    Scheduler &real = Scheduler::instance();
    EXPECT_NE(dynamic_cast<RealTimeScheduler *>(&real), nullptr);
    auto outer = std::make_unique<VirtualTimeScheduler>(1'000'000);
    VirtualTimeScheduler &clock = *outer;
    {
        VirtualTimeScheduler inner;
        EXPECT_EQ(&Scheduler::instance(), &inner);
    }
    EXPECT_EQ(&Scheduler::instance(), &clock);
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
        QMetaObject::invokeMethod(&owner, note(u"queued by a"_s), Qt::QueuedConnection);
        clock.post(&owner, note(u"posted by a"_s));
        clock.after(50ms, &owner, note(u"a+50"_s));
        clock.after(500ms, &owner, note(u"a+500"_s));
    });
    clock.after(100ms, &owner, note(u"b"_s)); // a tie: after a
    auto *doomed = new QObject;
    QObject::connect(doomed, &QObject::destroyed, &owner, note(u"deleted later"_s));
    clock.after(120ms, &owner, [&] {
        note(u"d"_s)();
        doomed->deleteLater();
    });
    clock.post(&owner, note(u"posted"_s));
    EXPECT_TRUE(ran.isEmpty());
    clock.runPending();
    EXPECT_EQ(ran, QStringList{u"posted@1000000"_s});
    clock.advanceBy(99ms);
    EXPECT_EQ(ran.size(), 1);
    clock.advanceBy(250ms);
    EXPECT_EQ(ran,
              (QStringList{u"posted@1000000"_s, u"a@1000100"_s, u"queued by a@1000100"_s,
                           u"b@1000100"_s, u"posted by a@1000100"_s, u"d@1000120"_s,
                           u"deleted later@1000120"_s, u"a+50@1000150"_s, u"c@1000300"_s}));
    EXPECT_EQ(clock.monotonicTime(), 349ms);
    EXPECT_EQ(clock.pendingCount(), 1);

    clock.setWallClockMSecs(5'000'500); // the device clock is set; timers are not moved
    clock.advanceBy(251ms);
    EXPECT_EQ(ran.last(), u"a+500@5000751"_s);
    EXPECT_DOUBLE_EQ(clock.wallClockSeconds(), 5000.751);
    outer.reset();
    EXPECT_EQ(&Scheduler::instance(), &real);
}

// A timer ends when it is cancelled (even from its own task) or its context goes; a repeating
// one ticks at least 1 ms apart.
TEST(VirtualTime, timersEndByCancellationOrWithTheirContext)
{
    VirtualTimeScheduler clock;
    QStringList ran;
    auto owner = std::make_unique<QObject>();
    clock.post(owner.get(), note(ran, u"posted"_s));
    clock.after(1s, owner.get(), note(ran, u"delayed"_s));
    clock.every(100ms, owner.get(), note(ran, u"tick"_s));
    clock.after(2s, nullptr, note(ran, u"unowned"_s));
    owner.reset();
    clock.advanceBy(3s);
    EXPECT_EQ(ran, QStringList{u"unowned"_s});
    EXPECT_EQ(clock.pendingCount(), 0);

    QObject context;
    int ticks = 0;
    const TimerId countdown = clock.every(1s, &context, [&] {
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

    const TimerId first = clock.after(1s, &context, note(ran, u"first"_s));
    clock.after(1s, &context, [&] { clock.cancel(first + 2); }); // the one laid after this one
    clock.after(1s, &context, note(ran, u"third"_s));
    clock.cancel(first);
    clock.advanceBy(1s);
    EXPECT_EQ(ran.size(), 1);
    EXPECT_EQ(clock.pendingCount(), 0);
}

// As the table tests/data/toolkit_cases.txt lists them.
TEST(Scheduler, secondsBecomeWholeMilliseconds)
{
    for (const QStringList &row :
         TestSupport::caseTable(u"toolkit_cases.txt", u"secondsToMilliseconds")) {
        const double seconds = std::strtod(row[0].toUtf8().constData(), nullptr);
        EXPECT_EQ(secondsToMilliseconds(seconds).count(), row[1].toLongLong())
            << row[0].toStdString();
    }
}

// The event loop's scheduler, in real time and short delays. A channel lays hundreds of tasks at
// once and cancels most of them on the next pause: the survivors run by deadline after what was
// posted, equal deadlines in the order laid, none of a context gone. A repeating task may cancel
// itself and a task may delete its own context.
TEST(RealTime, manyTasksRunByDeadlineAfterMostAreCancelled)
{
    Scheduler &scheduler = Scheduler::instance();
    QObject owner;
    auto doomed = std::make_unique<QObject>();
    std::vector<int> ran, expected;
    std::vector<TimerId> laid;
    scheduler.post(&owner, [&ran] { ran.push_back(-1); });
    scheduler.post(doomed.get(), [&ran] { ran.push_back(-2); });
    // Out of order, each delay twenty times. The delays are far apart because the clock may move
    // while the tasks are laid on a loaded machine, and a task laid a millisecond later is due a
    // millisecond later.
    const auto delayOf = [](int i) {
        return 20 * (1 + (i * 7) % 15);
    };
    for (int i = 0; i < 300; ++i) {
        QObject *context = i % 10 == 3 ? doomed.get() : &owner;
        laid.push_back(scheduler.after(std::chrono::milliseconds(delayOf(i)), context,
                                       [&ran, i] { ran.push_back(i); }));
    }
    for (int i = 0; i < 300; ++i) {
        if (i % 3 == 0)
            scheduler.cancel(laid[size_t(i)]);
        else if (i % 10 != 3)
            expected.push_back(i);
    }
    doomed.reset();
    std::stable_sort(expected.begin(), expected.end(),
                     [&](int a, int b) { return delayOf(a) < delayOf(b); });
    expected.insert(expected.begin(), -1);
    int ticks = 0;
    const TimerId tick = scheduler.every(5ms, &owner, [&] {
        if (++ticks == 3)
            scheduler.cancel(tick);
    });
    auto *context = new QObject;
    scheduler.after(1ms, context, [&] {
        delete context;
        ran.push_back(-3);
    });
    auto *ticker = new QObject;
    scheduler.every(1ms, ticker, [&] { delete ticker; });
    EXPECT_TRUE(ran.empty());
    EXPECT_TRUE(QTest::qWaitFor([&] { return ran.size() >= expected.size() + 1; }, 5000));
    QTest::qWait(20);
    EXPECT_EQ(ticks, 3);
    EXPECT_EQ(std::erase(ran, -3), 1u);
    EXPECT_EQ(ran, expected);

    const auto start = scheduler.monotonicTime();
    QTest::qWait(20);
    EXPECT_GE(scheduler.monotonicTime() - start, 20ms);
    EXPECT_NEAR(double(scheduler.wallClockMSecs()), double(QDateTime::currentMSecsSinceEpoch()),
                1000.0);
}
