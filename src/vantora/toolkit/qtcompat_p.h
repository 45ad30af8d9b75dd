#pragma once

// The one place where the code meets differences between Qt versions; the floor is Qt 6.4.

#include <QtGlobal>

#if defined(QT_WEBSOCKETS_LIB)
#include <QWebSocket>

namespace Vantora::QtCompat {

/// QWebSocket's failure signal. Until Qt 6.5 it is `error(SocketError)`, overloaded with the
/// getter of the same name; 6.5 renamed it `errorOccurred`. A refused connection emits it
/// without `disconnected()`, so a caller handles both.
inline auto webSocketErrorSignal()
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    return &QWebSocket::errorOccurred;
#else
    return qOverload<QAbstractSocket::SocketError>(&QWebSocket::error);
#endif
}

} // namespace Vantora::QtCompat
#endif
