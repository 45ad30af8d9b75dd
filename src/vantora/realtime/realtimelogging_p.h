#pragma once

#include <QLoggingCategory>

namespace Vantora {

/// The realtime connection's life and every live event dropped, with the reason, at debug level.
Q_DECLARE_LOGGING_CATEGORY(lcRealtime)

} // namespace Vantora
