#pragma once

#include <QLoggingCategory>

namespace Vantora {

/// Requests and replies of the backend client, at debug level; never the viewer's token.
Q_DECLARE_LOGGING_CATEGORY(lcService)

} // namespace Vantora
