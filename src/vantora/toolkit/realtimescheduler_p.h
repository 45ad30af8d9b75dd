#pragma once

#include "vantora/toolkit/scheduler_p.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QPointer>

class QTimer;

namespace Vantora {

/// The scheduler of a running application: the event loop's precise timers and the system clocks.
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
    TimerId start(std::chrono::milliseconds delay, bool repeating, QObject *context, Task task);

    QElapsedTimer m_clock;
    QHash<TimerId, QPointer<QTimer>> m_timers;
    TimerId m_lastId = 0;
};

} // namespace Vantora
