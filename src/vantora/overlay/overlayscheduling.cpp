// The video clock: one timer per clock entry that is still ahead of the player, laid again as the
// host reports playback, and the catch-up on the broadcaster's latest injection at start-up.

#include "vantora/overlay/overlaycontroller_p.h"
#include "vantora/toolkit/checkedmath_p.h"
#include "vantora/toolkit/numbertext_p.h"

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace Vantora {

namespace {

bool isKnownModule(const QString &module)
{
    static const QStringList modules{u"polls"_s,      u"poll"_s,   u"predictions"_s,
                                     u"prediction"_s, u"rating"_s, u"quiz"_s};
    return modules.contains(module);
}

// A remote duration or instant in whole seconds: fatal beyond the 64-bit range rather than wrong.
qint64 truncatedSeconds(double seconds)
{
    if (!(seconds > -9223372036854775808.0 && seconds < 9223372036854775808.0))
        fatal(u"Arithmetic overflow: catch-up display time"_s);
    return qint64(std::trunc(seconds));
}

} // namespace

void OverlayController::videoPlaying(double time)
{
    if (!state.channelInfo)
        return;
    // Re-laid only when the report is close to the last laying; a far one keeps the timers.
    // Seeking is carried by the host's pause, which empties the list.
    if (state.timerList.isEmpty() || std::abs(time - state.lastClockRefreshTime) < 1.0) {
        clearTimers();
        scheduleContent(*state.channelInfo, time);
    }
}

void OverlayController::videoPaused()
{
    clearTimers();
}

void OverlayController::scheduleContent(const StreamerInfo &info, double currentTime)
{
    auto &scheduler = Scheduler::instance();
    state.lastClockRefreshTime = currentTime;
    state.lastClockRefreshTimeStamp = scheduler.wallClockSeconds();
    for (const Clock &entry : info.clocks) {
        if (entry.smartTV != true || !isKnownModule(entry.module))
            continue;
        if (!(double(entry.time) > currentTime + 0.5))
            continue;
        if (state.lastPausedClockID == entry.id.value)
            continue;
        // The timer carries its own id, known only once it is laid.
        auto timer = std::make_shared<TimerId>(0);
        *timer = scheduler.after(secondsToMilliseconds(double(entry.time) - currentTime), this,
                                 [this, timer, entry] { clockFired(*timer, entry); });
        state.timerList.append(*timer);
    }
}

void OverlayController::clockFired(TimerId timer, const Clock &entry)
{
    state.lastAnalyticsSource = u"clock"_s;
    state.lastAnalyticsSourceID = entry.id.value;
    state.lastAnalyticsTime = entry.time;
    const qint64 displayTime = parseInteger(entry.timeToStay.value).value_or(30);
    displayInteraction(
        entry.id.value, entry.module,
        InteractionOptions{displayTime, entry.isPause, entry.close_post_interaction, false}, false);
    state.timerList.removeAll(timer);
}

void OverlayController::handlePreviousInjections()
{
    if (!state.channelInfo || !state.channelInfo->injections)
        return;
    std::optional<Injection> latest;
    for (const Injection &injection : *state.channelInfo->injections) {
        if (injection.smartTV != true)
            continue;
        // Ties keep the earlier entry.
        if (!latest || latest->getTimestamp() < injection.getTimestamp())
            latest = injection;
    }
    if (!latest)
        return;
    const qint64 start = latest->getTimestamp();
    if (!isKnownModule(latest->module) || start < 1)
        return;
    const qint64 end =
        checkedAdd(start, parseInteger(latest->timeToStay.value).value_or(0), "injection end time");
    const double remaining = double(end) - Scheduler::instance().wallClockSeconds();
    if (remaining <= 5.0)
        return;
    state.lastAnalyticsSource = u"injection"_s;
    state.lastAnalyticsSourceID = latest->id;
    state.lastAnalyticsTime = start;
    displayInteraction(latest->id, latest->module,
                       InteractionOptions{truncatedSeconds(remaining), latest->isPause,
                                          latest->close_post_interaction.value_or(true),
                                          latest->once_per_user.value_or(false)},
                       false);
}

} // namespace Vantora
