#pragma once

#include <QList>
#include <QPointer>
#include <QRectF>

#include <optional>

class QQuickItem;

namespace Vantora {

/// The four ways the remote's arrows move the focus.
enum class FocusDirection { up, down, left, right };

/// The direction an arrow key moves the focus; none for any other key.
std::optional<FocusDirection> focusDirection(int key);

/// Moves the remote's focus between the controls of one view the way a TV's focus engine does:
/// to the control nearest in the arrow's direction — one in line with the focused control (they
/// overlap across the direction) before any other, then the nearest row (the smallest gap between
/// facing edges), then in that row the one whose centre is closest. Left and Right stay in the
/// row; Up and Down reach the row above or below even when nothing in it is in line.
/// Controls are the outermost visible, enabled items under the view that take focus
/// (`activeFocusOnTab`). The geometry is the layout's: a focused control's growth and any
/// scrolling are left out, so that a scrolled list keeps its order.
///
/// After Up, Down comes back to the control Up left, also after Left or Right moved along the row
/// Up reached, as the platform's remembered focus does. Main thread only.
class FocusNavigator
{
public:
    explicit FocusNavigator(QQuickItem *scope) : m_scope(scope) { }

    /// Moves the focus from the scope's focused control and scrolls the new one into view; false
    /// when nothing lies that way (the key is then the host's).
    bool move(FocusDirection direction);

    /// The controls the remote can reach under `scope`.
    static QList<QQuickItem *> controls(QQuickItem *scope);
    /// The control under `scope` holding the window's focus, if any.
    static QQuickItem *focusedControl(QQuickItem *scope);
    /// Where `control` is laid out, in `scope`'s coordinates.
    static QRectF layoutRect(QQuickItem *control, QQuickItem *scope);
    /// The control the remote reaches from `from`; none at the edge.
    static QQuickItem *nearest(QQuickItem *scope, QQuickItem *from, FocusDirection direction);

private:
    QQuickItem *m_scope;
    QPointer<QQuickItem> m_upFrom; ///< the control Up left
    QPointer<QQuickItem> m_upAt; ///< where focus is while Down may return there
};

/// Lays `item` and everything under it out now, as the next frame would: positioners (Column,
/// Flow) place their children only then, and the remote's move and the scrolling need the places
/// at once. Children first, so that a column sees its rows' final sizes.
void layOutNow(QQuickItem *item);
/// Scrolls the nearest scrolling ancestor (a Flickable) of `item` as little as it takes to show
/// `item` whole, with `margin` pixels around it for a focused control to grow into.
void scrollIntoView(QQuickItem *item, qreal margin = 8);
/// Scrolls a Flickable to `contentY`, kept within its content (infinity: to the end).
void scrollTo(QQuickItem *scroll, qreal contentY);

} // namespace Vantora
