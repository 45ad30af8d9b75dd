#pragma once

#include "vantora/toolkit/fatal_p.h"

#include <QtGlobal>

namespace Vantora {

/// a + b, or a fatal error naming `what` when the sum leaves the signed 64-bit range. Content
/// arithmetic (auto-close times, vote sums) must stop rather than wrap.
inline qint64 checkedAdd(qint64 a, qint64 b, const char *what)
{
    qint64 sum = 0;
    if (__builtin_add_overflow(a, b, &sum))
        fatal(QStringLiteral("Arithmetic overflow: %1").arg(QLatin1StringView(what)));
    return sum;
}

/// a - b, with the same overflow rule as checkedAdd().
inline qint64 checkedSubtract(qint64 a, qint64 b, const char *what)
{
    qint64 difference = 0;
    if (__builtin_sub_overflow(a, b, &difference))
        fatal(QStringLiteral("Arithmetic overflow: %1").arg(QLatin1StringView(what)));
    return difference;
}

} // namespace Vantora
