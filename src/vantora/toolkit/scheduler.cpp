#include "vantora/toolkit/scheduler_p.h"

#include "vantora/toolkit/realtimescheduler_p.h"

#include <QCoreApplication>
#include <QPointer>

#include <cmath>

namespace Vantora {

namespace {

Scheduler *installed = nullptr;

} // namespace

Scheduler::~Scheduler() = default;

Scheduler &Scheduler::instance()
{
    if (installed)
        return *installed;
    // Owned by the application, so that its timers go before the event loop they run on.
    static QPointer<RealTimeScheduler> eventLoop;
    if (!eventLoop)
        eventLoop = new RealTimeScheduler(QCoreApplication::instance());
    return *eventLoop;
}

void Scheduler::install()
{
    m_previous = installed;
    installed = this;
}

void Scheduler::uninstall()
{
    if (installed == this)
        installed = m_previous;
}

std::chrono::milliseconds secondsToMilliseconds(double seconds)
{
    // About 292 million years: far enough to mean "never", near enough to add to a clock reading.
    constexpr double limit = 9.2e15;
    if (!(seconds > 0))
        return std::chrono::milliseconds{0};
    const double milliseconds = std::round(seconds * 1000.0);
    return std::chrono::milliseconds{milliseconds < limit ? qint64(milliseconds) : qint64(limit)};
}

} // namespace Vantora
