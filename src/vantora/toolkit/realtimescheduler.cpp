#include "vantora/toolkit/realtimescheduler_p.h"

#include <QDateTime>
#include <QTimer>

#include <algorithm>
#include <climits>

using namespace std::chrono;

namespace Vantora {

RealTimeScheduler::RealTimeScheduler(QObject *parent) : QObject(parent), m_timer(new QTimer(this))
{
    m_clock.start();
    m_timer->setTimerType(Qt::PreciseTimer);
    m_timer->setSingleShot(true);
    connect(m_timer, &QTimer::timeout, this, &RealTimeScheduler::runDue);
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
    const milliseconds due = monotonicTime() + delay;
    m_pending.insert(id, {due, repeating ? delay : milliseconds{0}, context, std::move(task)});
    // One connection per context, however many tasks it has.
    if (context && m_tasksOfContext[context]++ == 0)
        connect(context, &QObject::destroyed, this, [this, context] { dropContext(context); });
    push(due, id);
    if (m_queue.front().id == id)
        arm();
    return id;
}

void RealTimeScheduler::push(milliseconds at, TimerId id)
{
    m_queue.push_back({at, id});
    std::push_heap(m_queue.begin(), m_queue.end(), std::greater<>());
}

void RealTimeScheduler::cancel(TimerId id)
{
    const auto pending = m_pending.find(id);
    if (pending == m_pending.end())
        return;
    const bool first = m_queue.front().id == id;
    forget(pending);
    if (first)
        arm();
}

void RealTimeScheduler::forget(QHash<TimerId, Pending>::iterator pending)
{
    release(pending->context);
    m_pending.erase(pending);
    noteCancelled(1);
}

void RealTimeScheduler::release(QObject *context)
{
    if (context && --m_tasksOfContext[context] == 0) {
        m_tasksOfContext.remove(context);
        disconnect(context, &QObject::destroyed, this, nullptr);
    }
}

void RealTimeScheduler::noteCancelled(qsizetype count)
{
    // Rebuilt once cancelled tasks outnumber the pending ones, so the heap stays bounded.
    m_cancelledInQueue += count;
    if (m_cancelledInQueue > 64 && m_cancelledInQueue > m_pending.size()) {
        m_queue.clear();
        for (auto each = m_pending.cbegin(); each != m_pending.cend(); ++each)
            m_queue.push_back({each->due, each.key()});
        std::make_heap(m_queue.begin(), m_queue.end(), std::greater<>());
        m_cancelledInQueue = 0;
    }
}

void RealTimeScheduler::dropContext(QObject *context)
{
    m_tasksOfContext.remove(context);
    const qsizetype before = m_pending.size();
    m_pending.removeIf(
        [context](const auto &pending) { return pending.value().context == context; });
    noteCancelled(before - m_pending.size());
    arm();
}

void RealTimeScheduler::runDue()
{
    // One task at a time: a task may lay or cancel others, or delete its own context.
    const milliseconds now = monotonicTime();
    while (!m_queue.empty() && m_queue.front().at <= now) {
        std::pop_heap(m_queue.begin(), m_queue.end(), std::greater<>());
        const Due due = m_queue.back();
        m_queue.pop_back();
        const auto pending = m_pending.find(due.id);
        if (pending == m_pending.end() || pending->due != due.at) {
            --m_cancelledInQueue;
            continue;
        }
        Task task;
        if (pending->interval > milliseconds{0}) {
            task = pending->task;
            pending->due += pending->interval;
            if (pending->due <= now) // the loop was held up: skip the missed ticks
                pending->due = now + pending->interval;
            push(pending->due, due.id);
        } else {
            task = std::move(pending->task);
            release(pending->context);
            m_pending.erase(pending);
        }
        task();
    }
    arm();
}

void RealTimeScheduler::arm()
{
    // Cancelled tasks at the front would only wake the loop for nothing.
    while (!m_queue.empty() && !m_pending.contains(m_queue.front().id)) {
        std::pop_heap(m_queue.begin(), m_queue.end(), std::greater<>());
        m_queue.pop_back();
        --m_cancelledInQueue;
    }
    if (m_queue.empty()) {
        m_timer->stop();
        return;
    }
    // QTimer counts in int milliseconds (about 24.8 days); a longer wait is armed in steps.
    const milliseconds wait = m_queue.front().at - monotonicTime();
    m_timer->start(int(std::clamp<qint64>(wait.count(), 0, INT_MAX)));
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
