#include "vantora/toolkit/outlets_p.h"

#include "vantora/toolkit/fatal_p.h"
#include "vantora/toolkit/viewloader_p.h"

#include <QObject>

using namespace Qt::Literals::StringLiterals;

namespace Vantora {

bool Outlets::isView(const QObject *object)
{
    return object->metaObject()->indexOfClassInfo("VantoraView") != -1;
}

// An item belongs to the view unless another view stands between them: a nested view's items
// are that view's outlets, not this one's.
bool Outlets::belongsToView(const QObject *item) const
{
    for (const QObject *up = item->parent(); up && up != m_view; up = up->parent()) {
        if (isView(up))
            return false;
    }
    return true;
}

QObject *Outlets::find(const char *name, const QMetaObject &type, bool required) const
{
    const QString objectName = QString::fromLatin1(name);
    QObject *found = nullptr;
    const QList<QObject *> candidates = m_view->findChildren<QObject *>(objectName);
    for (QObject *candidate : candidates) {
        if (belongsToView(candidate)) {
            found = candidate;
            break;
        }
    }
    const QString view = plainClassName(*m_view->metaObject());
    if (!found) {
        if (required)
            fatal(u"%1: outlet '%2' missing"_s.arg(view, objectName));
        return nullptr;
    }
    if (!type.cast(found))
        fatal(u"%1: outlet '%2' is a %3, not a %4"_s.arg(
            view, objectName, plainClassName(*found->metaObject()), plainClassName(type)));
    return found;
}

} // namespace Vantora
