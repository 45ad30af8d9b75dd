#pragma once

#include <QString>

namespace Vantora {

/// Stops the program for a broken build or packaging (a missing outlet, a wrong layout root, a
/// missing bundled font) or for an arithmetic overflow on content that must never wrap. Goes
/// through qFatal, so a host's message handler sees the message before the abort.
[[noreturn]] void fatal(const QString &message);

} // namespace Vantora
