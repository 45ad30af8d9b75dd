#pragma once

#include <QtGlobal>

namespace Vantora {

/// A tag for a card or notice being configured: whole milliseconds since 2001-01-01 UTC on the
/// scheduler's wall clock, or one more than the last tag when the clock has not moved on since,
/// so that no two views share one.
qint64 nextViewTag();

} // namespace Vantora
