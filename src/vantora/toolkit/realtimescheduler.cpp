#include "vantora/toolkit/realtimescheduler_p.h"

#include <QDateTime>
#include <QTimer>

#include <algorithm>
#include <climits>

using namespace std::chrono;

namespace Vantora {

namespace {

// QTimer counts in int milliseconds (about 24.8 days); longer delays are laid in steps.
milliseconds armable(milliseconds remaining)
{
    return std::clamp(remaining, milliseconds{0}, milliseconds{INT_MAX});
}

} // namespace

RealTimeScheduler::RealTimeScheduler(QObject *parent) : QObject(parent)
{
    m_clock.start();
}

RealTimeScheduler::~RealTimeScheduler() = default;

void RealTimeScheduler::post(QObject *context, Task task)
{
    // A queued call is discarded with its receiver, which is exactly the weak hold wanted.
    QMetaObject::invokeMethod(context ? context : this, std::move(task), Qt::QueuedConnection);
}

TimerId RealTimeScheduler::after(milliseconds delay, QObject *context, Task task)
{
    return start(std::max(delay, milliseconds{0}), false, context, std::move(task));
}

TimerId RealTimeScheduler::every(milliseconds interval, QObject *context, Task task)
{
    return start(std::max(interval, milliseconds{1}), true, context, std::move(task));
}

TimerId RealTimeScheduler::start(milliseconds delay, bool repeating, QObject *context, Task task)
{
    const TimerId id = ++m_lastId;
    // The timer belongs to the scheduler, not to the context: a task may well delete its own
    // context, and a QTimer must not be deleted inside its own timeout.
    auto *timer = new QTimer(this);
    timer->setTimerType(Qt::PreciseTimer);
    timer->setSingleShot(true);
    m_timers.insert(id, timer);
    if (context)
        connect(context, &QObject::destroyed, timer, [this, id] { cancel(id); });

    const QPointer<QObject> owner = context;
    const bool owned = context != nullptr;
    auto deadline = monotonicTime() + delay;
    connect(timer, &QTimer::timeout, this, [=, this]() mutable {
        if (owned && !owner)
            return;
        const milliseconds now = monotonicTime();
        if (now < deadline) {
            timer->start(armable(deadline - now));
            return;
        }
        if (repeating) {
            deadline += delay;
            if (deadline <= now) // the loop was held up: skip the missed ticks
                deadline = now + delay;
            timer->start(armable(deadline - now));
        } else {
            cancel(id);
        }
        task();
    });
    timer->start(armable(delay));
    return id;
}

void RealTimeScheduler::cancel(TimerId id)
{
    const QPointer<QTimer> timer = m_timers.take(id);
    if (!timer)
        return;
    timer->stop();
    timer->deleteLater();
}

milliseconds RealTimeScheduler::monotonicTime() const
{
    return milliseconds{m_clock.elapsed()};
}

qint64 RealTimeScheduler::wallClockMSecs() const
{
    return QDateTime::currentMSecsSinceEpoch();
}

} // namespace Vantora
