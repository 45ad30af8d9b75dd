#include "vantora/toolkit/focusnavigation_p.h"

#include <QQuickItem>
#include <QQuickWindow>

#include <algorithm>
#include <cmath>

namespace Vantora {

namespace {

// Edges this close count as touching, and gaps this close as the same row.
constexpr qreal tolerance = 1.0;

bool isScrolling(const QQuickItem *item)
{
    return item->inherits("QQuickFlickable");
}

void collectControls(QQuickItem *item, QQuickItem *scope, QList<QQuickItem *> &found)
{
    if (!item->isVisible() || !item->isEnabled())
        return;
    if (item != scope && item->activeFocusOnTab()) {
        found.append(item);
        return;
    }
    const QList<QQuickItem *> children = item->childItems();
    for (QQuickItem *child : children)
        collectControls(child, scope, found);
}

struct Distance
{
    bool ahead = false; ///< lies in the direction at all
    bool inLine = false; ///< overlaps the focused control across the direction
    qreal gap = 0; ///< between the facing edges
    qreal offset = 0; ///< between the centres, across the direction
};

Distance distance(const QRectF &from, const QRectF &to, FocusDirection direction)
{
    Distance d;
    switch (direction) {
    case FocusDirection::up:
        d.ahead = to.bottom() <= from.top() + tolerance;
        d.gap = from.top() - to.bottom();
        d.offset = std::abs(to.center().x() - from.center().x());
        break;
    case FocusDirection::down:
        d.ahead = to.top() >= from.bottom() - tolerance;
        d.gap = to.top() - from.bottom();
        d.offset = std::abs(to.center().x() - from.center().x());
        break;
    case FocusDirection::left:
        d.ahead = to.right() <= from.left() + tolerance;
        d.gap = from.left() - to.right();
        d.offset = std::abs(to.center().y() - from.center().y());
        break;
    case FocusDirection::right:
        d.ahead = to.left() >= from.right() - tolerance;
        d.gap = to.left() - from.right();
        d.offset = std::abs(to.center().y() - from.center().y());
        break;
    }
    const bool vertical = direction == FocusDirection::up || direction == FocusDirection::down;
    d.inLine = vertical ? to.left() < from.right() && to.right() > from.left()
                        : to.top() < from.bottom() && to.bottom() > from.top();
    // Left and Right stay in the row; Up and Down reach a row above or below wherever it lies.
    d.ahead = d.ahead && (vertical || d.inLine);
    d.gap = std::max<qreal>(d.gap, 0);
    return d;
}

} // namespace

void layOutNow(QQuickItem *item)
{
    const QList<QQuickItem *> children = item->childItems();
    for (QQuickItem *child : children)
        layOutNow(child);
    item->ensurePolished();
}

std::optional<FocusDirection> focusDirection(int key)
{
    switch (key) {
    case Qt::Key_Up:
        return FocusDirection::up;
    case Qt::Key_Down:
        return FocusDirection::down;
    case Qt::Key_Left:
        return FocusDirection::left;
    case Qt::Key_Right:
        return FocusDirection::right;
    default:
        return std::nullopt;
    }
}

QList<QQuickItem *> FocusNavigator::controls(QQuickItem *scope)
{
    layOutNow(scope);
    QList<QQuickItem *> found;
    collectControls(scope, scope, found);
    return found;
}

QQuickItem *FocusNavigator::focusedControl(QQuickItem *scope)
{
    QQuickItem *focused = scope->window() ? scope->window()->activeFocusItem() : nullptr;
    if (!focused)
        return nullptr;
    const QList<QQuickItem *> all = controls(scope);
    const auto holder = std::find_if(all.cbegin(), all.cend(), [focused](QQuickItem *control) {
        return control == focused || control->isAncestorOf(focused);
    });
    return holder == all.cend() ? nullptr : *holder;
}

QRectF FocusNavigator::layoutRect(QQuickItem *control, QQuickItem *scope)
{
    QQuickItem *parent = control->parentItem();
    if (!parent)
        return {};
    QRectF rect = parent->mapRectToItem(
        scope, QRectF(control->x(), control->y(), control->width(), control->height()));
    for (QQuickItem *ancestor = parent; ancestor && ancestor != scope;
         ancestor = ancestor->parentItem()) {
        if (isScrolling(ancestor))
            rect.translate(ancestor->property("contentX").toReal(),
                           ancestor->property("contentY").toReal());
    }
    return rect;
}

QQuickItem *FocusNavigator::nearest(QQuickItem *scope, QQuickItem *from, FocusDirection direction)
{
    const QRectF origin = layoutRect(from, scope);
    QQuickItem *best = nullptr;
    Distance bestDistance;
    const QList<QQuickItem *> all = controls(scope);
    for (QQuickItem *control : all) {
        if (control == from)
            continue;
        const Distance d = distance(origin, layoutRect(control, scope), direction);
        if (!d.ahead)
            continue;
        const bool nearerRow = d.gap < bestDistance.gap - tolerance;
        const bool sameRow = std::abs(d.gap - bestDistance.gap) <= tolerance;
        const bool better = d.inLine != bestDistance.inLine
            ? d.inLine
            : nearerRow || (sameRow && d.offset < bestDistance.offset);
        if (!best || better) {
            best = control;
            bestDistance = d;
        }
    }
    return best;
}

bool FocusNavigator::move(FocusDirection direction)
{
    QQuickItem *from = focusedControl(m_scope);
    if (!from)
        return false;
    QQuickItem *to = nullptr;
    if (direction == FocusDirection::down && from == m_upAt && m_upFrom
        && controls(m_scope).contains(m_upFrom.get()))
        to = m_upFrom;
    else
        to = nearest(m_scope, from, direction);
    if (!to)
        return false;

    if (direction == FocusDirection::up) {
        m_upFrom = from;
        m_upAt = to;
    } else if (direction != FocusDirection::down && from == m_upAt) {
        m_upAt = to;
    } else {
        m_upFrom = nullptr;
        m_upAt = nullptr;
    }
    to->forceActiveFocus(Qt::OtherFocusReason);
    scrollIntoView(to);
    return true;
}

void scrollIntoView(QQuickItem *item, qreal margin)
{
    QQuickItem *scroll = item->parentItem();
    while (scroll && !isScrolling(scroll))
        scroll = scroll->parentItem();
    if (!scroll)
        return;
    layOutNow(scroll);
    auto *content = scroll->property("contentItem").value<QQuickItem *>();
    if (!content)
        return;
    const QRectF rect =
        item->parentItem()
            ->mapRectToItem(content, QRectF(item->x(), item->y(), item->width(), item->height()))
            .adjusted(0, -margin, 0, margin);
    const qreal visible = scroll->height();
    const qreal contentY = scroll->property("contentY").toReal();
    if (rect.top() < contentY)
        scrollTo(scroll, rect.top());
    else if (rect.bottom() > contentY + visible)
        scrollTo(scroll, rect.bottom() - visible);
}

void scrollTo(QQuickItem *scroll, qreal contentY)
{
    layOutNow(scroll);
    const qreal furthest =
        std::max<qreal>(0, scroll->property("contentHeight").toReal() - scroll->height());
    scroll->setProperty("contentY", std::clamp<qreal>(contentY, 0, furthest));
}

} // namespace Vantora
