#pragma once

#include <QStringView>

namespace Vantora {

/// Writes one product line ("VTA showing POLL") to standard output with a newline and flushes it.
/// These lines are part of the SDK's observable behaviour, so they never go through Qt's message
/// handler, whose patterns and filters a host may change.
void printLine(QStringView line);

} // namespace Vantora
