#include "vantora/toolkit/virtualtimescheduler_p.h"

#include "vantora/toolkit/fatal_p.h"

#include <QAbstractEventDispatcher>
#include <QAnimationDriver>
#include <QCoreApplication>

#include <algorithm>

using namespace std::chrono;

namespace Vantora {

/// Animation time is virtual time, counted from when the animation system starts the driver.
class ManualAnimationDriver final : public QAnimationDriver
{
public:
    explicit ManualAnimationDriver(const milliseconds &now) : m_now(now) { }

    qint64 elapsed() const override { return (m_now - m_startedAt).count(); }

    void catchUp()
    {
        if (isRunning())
            advance();
    }

protected:
    void start() override
    {
        m_startedAt = m_now;
        QAnimationDriver::start();
    }

private:
    const milliseconds &m_now;
    milliseconds m_startedAt{0};
};

VirtualTimeScheduler::VirtualTimeScheduler(qint64 wallClockStartMSecs)
    : m_wallClockOffset(wallClockStartMSecs),
      m_animations(std::make_unique<ManualAnimationDriver>(m_now))
{
    m_animations->install();
    install();
}

VirtualTimeScheduler::~VirtualTimeScheduler()
{
    uninstall();
    m_animations->uninstall();
}

void VirtualTimeScheduler::post(QObject *context, Task task)
{
    lay(milliseconds{0}, milliseconds{0}, context, std::move(task));
}

TimerId VirtualTimeScheduler::after(milliseconds delay, QObject *context, Task task)
{
    return lay(std::max(delay, milliseconds{0}), milliseconds{0}, context, std::move(task));
}

TimerId VirtualTimeScheduler::every(milliseconds interval, QObject *context, Task task)
{
    interval = std::max(interval, milliseconds{1});
    return lay(interval, interval, context, std::move(task));
}

TimerId VirtualTimeScheduler::lay(milliseconds delay, milliseconds interval, QObject *context,
                                  Task task)
{
    const TimerId id = ++m_lastId;
    const Key key{m_now + delay, ++m_order};
    m_queue.emplace(key, Entry{id, context, context != nullptr, interval, std::move(task)});
    m_keys.insert(id, key);
    return id;
}

void VirtualTimeScheduler::cancel(TimerId id)
{
    const auto key = m_keys.constFind(id);
    if (key == m_keys.cend())
        return;
    m_queue.erase(*key);
    m_keys.erase(key);
}

milliseconds VirtualTimeScheduler::monotonicTime() const
{
    return m_now;
}

qint64 VirtualTimeScheduler::wallClockMSecs() const
{
    return m_wallClockOffset + m_now.count();
}

void VirtualTimeScheduler::setWallClockMSecs(qint64 msecs)
{
    m_wallClockOffset = msecs - m_now.count();
}

void VirtualTimeScheduler::advanceBy(milliseconds duration)
{
    if (m_advancing)
        fatal(QStringLiteral("VirtualTimeScheduler::advanceBy() called from a task it runs"));
    m_advancing = true;
    const milliseconds target = m_now + std::max(duration, milliseconds{0});
    letEventLoopCatchUp();
    while (!m_queue.empty() && m_queue.begin()->first.first <= target) {
        auto node = m_queue.extract(m_queue.begin());
        Entry &entry = node.mapped();
        m_now = std::max(m_now, node.key().first);
        m_animations->catchUp();
        if (entry.owned && !entry.context) {
            m_keys.remove(entry.id); // its owner is gone, and with it every later tick
            continue;
        }
        if (entry.interval.count() > 0) {
            const Key next{m_now + entry.interval, ++m_order};
            m_keys.insert(entry.id, next);
            m_queue.emplace(next, entry);
        } else {
            m_keys.remove(entry.id);
        }
        entry.task();
        letEventLoopCatchUp();
    }
    m_now = target;
    m_animations->catchUp();
    letEventLoopCatchUp();
    m_advancing = false;
}

void VirtualTimeScheduler::letEventLoopCatchUp()
{
    // Events posted while events are handled wait for the next pass (an animation's start takes
    // two), so pass until the loop is idle; the bound keeps a self-reposting event from hanging.
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    for (int pass = 0; pass < 32; ++pass) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (!dispatcher || !dispatcher->processEvents(QEventLoop::AllEvents))
            break;
    }
}

} // namespace Vantora
