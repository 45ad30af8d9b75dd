#pragma once

#include "vantora/toolkit/scheduler_p.h"

#include <QHash>
#include <QPointer>

#include <map>
#include <memory>
#include <utility>

namespace Vantora {

class ManualAnimationDriver;

/// A scheduler whose time moves only when told, for tests (and anything else that must be
/// repeatable, such as screenshots at a given moment).
///
///   VirtualTimeScheduler clock; // now Scheduler::instance(), until it goes
///   view.show();                // starts a 10 s countdown and a 400 ms slide-in
///   clock.advanceBy(10s);       // both run to their end, in a few milliseconds
///
/// While it lives it also drives every Qt animation of the thread (QPropertyAnimation and Qt
/// Quick's animations alike), so animations end exactly when virtual time says.
class VirtualTimeScheduler final : public Scheduler
{
public:
    /// 2026-01-01 00:00 UTC, a fixed wall-clock start so that runs repeat exactly.
    static constexpr qint64 defaultWallClockStart = 1767225600000;

    explicit VirtualTimeScheduler(qint64 wallClockStartMSecs = defaultWallClockStart);
    ~VirtualTimeScheduler() override;
    VirtualTimeScheduler(const VirtualTimeScheduler &) = delete;
    VirtualTimeScheduler &operator=(const VirtualTimeScheduler &) = delete;

    void post(QObject *context, Task task) override;
    TimerId after(std::chrono::milliseconds delay, QObject *context, Task task) override;
    TimerId every(std::chrono::milliseconds interval, QObject *context, Task task) override;
    void cancel(TimerId id) override;
    std::chrono::milliseconds monotonicTime() const override;
    qint64 wallClockMSecs() const override;

    /// Moves time forward, running the tasks that fall due in deadline order (ties in the order
    /// they were laid). Time steps to each deadline in turn, and the event loop and the animations
    /// catch up before every task, so work queued by one task is handled before the next.
    void advanceBy(std::chrono::milliseconds duration);

    /// Runs what is due without moving time: posted tasks, zero delays and queued events.
    void runPending() { advanceBy(std::chrono::milliseconds{0}); }

    /// Moves the wall clock alone, as when the device's clock is set; timers keep their deadlines.
    void setWallClockMSecs(qint64 msecs);

    /// Tasks and timers still waiting, to check that nothing else is going to happen.
    qsizetype pendingCount() const { return m_keys.size(); }

private:
    using Key = std::pair<std::chrono::milliseconds, quint64>; // deadline, then order laid
    struct Entry
    {
        TimerId id = 0;
        QPointer<QObject> context;
        bool owned = false; ///< a context was given, so its loss drops the task
        std::chrono::milliseconds interval{0}; ///< zero for a one-shot task
        Task task;
    };

    TimerId lay(std::chrono::milliseconds delay, std::chrono::milliseconds interval,
                QObject *context, Task task);
    void letEventLoopCatchUp();

    std::map<Key, Entry> m_queue;
    QHash<TimerId, Key> m_keys;
    std::chrono::milliseconds m_now{0};
    qint64 m_wallClockOffset = 0; ///< wall clock minus monotonic time
    quint64 m_order = 0;
    TimerId m_lastId = 0;
    bool m_advancing = false;
    std::unique_ptr<ManualAnimationDriver> m_animations;
};

} // namespace Vantora
