#pragma once

#include <QtGlobal>

#include <chrono>
#include <functional>

class QObject;

namespace Vantora {

/// Identifies a timer laid with Scheduler::after() or Scheduler::every(); 0 is no timer.
using TimerId = quint64;

/// The one source of time in the library: tasks on the main event loop, delays, timers and
/// clock readings all go through it, so that tests can run hours of playback in virtual time.
///
///   auto &scheduler = Scheduler::instance();
///   m_closeTimer = scheduler.after(secondsToMilliseconds(3.5), this, [this] { close(); });
///   ...
///   scheduler.cancel(m_closeTimer);
///
/// Every task runs on the main thread, on a later turn of the event loop than the call that laid
/// it, and only while its context object lives: a task whose context is destroyed first is
/// dropped, so a delayed task never outlives its owner. All calls are made on the main thread.
class Scheduler
{
public:
    using Task = std::function<void()>;

    virtual ~Scheduler();

    /// The scheduler in use: the one installed last (a virtual clock in tests), otherwise the
    /// event loop's own.
    static Scheduler &instance();

    /// Runs `task` once on a later turn of the main event loop.
    virtual void post(QObject *context, Task task) = 0;

    /// Runs `task` once, `delay` from now (at once when the delay is zero or negative).
    virtual TimerId after(std::chrono::milliseconds delay, QObject *context, Task task) = 0;

    /// Runs `task` every `interval` (at least 1 ms) until cancelled or the context is gone.
    virtual TimerId every(std::chrono::milliseconds interval, QObject *context, Task task) = 0;

    /// Stops a timer; its task does not run again. Unknown, finished and zero ids are ignored, so
    /// a timer may be cancelled from inside its own task.
    virtual void cancel(TimerId id) = 0;

    /// Steady time since an arbitrary origin, never going back.
    virtual std::chrono::milliseconds monotonicTime() const = 0;

    /// Wall-clock time in milliseconds since 1970-01-01 00:00 UTC.
    virtual qint64 wallClockMSecs() const = 0;

    /// Wall-clock time in seconds since 1970, with fractions.
    double wallClockSeconds() const { return double(wallClockMSecs()) / 1000.0; }

protected:
    Scheduler() = default;
    /// Makes this scheduler the instance() until uninstall(); installs nest.
    void install();
    void uninstall();

private:
    Scheduler *m_previous = nullptr;
};

/// Seconds as the library counts them (doubles from documents and hosts) to a timer delay,
/// rounded to the millisecond. Negative and NaN give zero; the huge saturate instead of
/// overflowing.
std::chrono::milliseconds secondsToMilliseconds(double seconds);

} // namespace Vantora
