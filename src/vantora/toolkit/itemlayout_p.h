#pragma once

class QQuickItem;

namespace Vantora {

/// Puts `child` in `parent`, covering it, and keeps it covering it as the parent resizes. The
/// parent owns the child from then on.
void fillParent(QQuickItem *child, QQuickItem *parent);

} // namespace Vantora
