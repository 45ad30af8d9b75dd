#pragma once

#include "vantora/toolkit/scheduler_p.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QPointer>

#include <vector>

class QTimer;

namespace Vantora {

/// The scheduler of a running application: one precise timer of the event loop, armed for the
/// earliest deadline of all its tasks, and the system clocks. A channel lays thousands of clock
/// entries at once; a timer each would cost the event loop a registration each.
/// Scheduler::instance() creates it on first use; nothing else needs to.
class RealTimeScheduler final : public QObject, public Scheduler
{
public:
    explicit RealTimeScheduler(QObject *parent = nullptr);
    ~RealTimeScheduler() override;

    void post(QObject *context, Task task) override;
    TimerId after(std::chrono::milliseconds delay, QObject *context, Task task) override;
    TimerId every(std::chrono::milliseconds interval, QObject *context, Task task) override;
    void cancel(TimerId id) override;
    std::chrono::milliseconds monotonicTime() const override;
    qint64 wallClockMSecs() const override;

private:
    struct Pending
    {
        std::chrono::milliseconds due;
        std::chrono::milliseconds interval{0}; ///< 0: once
        QObject *context = nullptr; ///< its tasks are cancelled when it is destroyed
        Task task;
    };
    struct Due
    {
        std::chrono::milliseconds at;
        TimerId id;
        bool operator>(const Due &other) const
        {
            return at != other.at ? at > other.at : id > other.id;
        }
    };

    TimerId start(std::chrono::milliseconds delay, bool repeating, QObject *context, Task task);
    void push(std::chrono::milliseconds at, TimerId id);
    void forget(QHash<TimerId, Pending>::iterator pending);
    void release(QObject *context);
    void noteCancelled(qsizetype count);
    void dropContext(QObject *context);
    void runDue();
    void arm();

    QElapsedTimer m_clock;
    QTimer *m_timer = nullptr;
    // A heap, earliest first (in the order laid among equals). A cancelled task stays in it until
    // it comes up or the heap is rebuilt, which keeps cancelling cheap.
    std::vector<Due> m_queue;
    qsizetype m_cancelledInQueue = 0;
    QHash<TimerId, Pending> m_pending;
    QHash<QObject *, qsizetype> m_tasksOfContext;
    TimerId m_lastId = 0;
};

} // namespace Vantora
