#include "vantora/toolkit/itemlayout_p.h"

#include <QQuickItem>

namespace Vantora {

void fillParent(QQuickItem *child, QQuickItem *parent)
{
    child->setParent(parent); // a parent item does not own its children; a parent object does
    child->setParentItem(parent);
    child->setPosition(QPointF(0, 0));
    child->setSize(parent->size());
    const auto follow = [child, parent] {
        child->setSize(parent->size());
    };
    QObject::connect(parent, &QQuickItem::widthChanged, child, follow);
    QObject::connect(parent, &QQuickItem::heightChanged, child, follow);
}

} // namespace Vantora
