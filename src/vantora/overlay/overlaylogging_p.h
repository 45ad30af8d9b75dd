#pragma once

#include <QLoggingCategory>

namespace Vantora {

/// "vantora.overlay": the session's failures (warnings) and every item the overlay drops, with
/// the reason (debug).
Q_DECLARE_LOGGING_CATEGORY(lcOverlay)

} // namespace Vantora
