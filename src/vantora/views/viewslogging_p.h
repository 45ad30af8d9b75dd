#pragma once

#include <QLoggingCategory>

namespace Vantora {

/// "vantora.views": what a card could not do for the viewer, with the reason, at debug level.
Q_DECLARE_LOGGING_CATEGORY(lcViews)

} // namespace Vantora
