#include "vantora/views/viewtag_p.h"

#include "vantora/toolkit/scheduler_p.h"

#include <algorithm>

namespace Vantora {

namespace {

constexpr qint64 msecsFrom1970To2001 = 978307200000;
qint64 lastTag = 0;

} // namespace

qint64 nextViewTag()
{
    const qint64 now = Scheduler::instance().wallClockMSecs() - msecsFrom1970To2001;
    lastTag = now > lastTag ? now : lastTag + 1;
    return lastTag;
}

} // namespace Vantora
