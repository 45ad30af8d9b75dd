#include "vantora/toolkit/outlets_p.h"

#include "vantora/toolkit/fatal_p.h"
#include "vantora/toolkit/viewloader_p.h"

#include <QQmlContext>
#include <QQmlEngine>

using namespace Qt::Literals::StringLiterals;

namespace Vantora {

QObject *Outlets::find(const char *name, const QMetaObject &type, bool required) const
{
    const QString objectName = QString::fromLatin1(name);
    // An item declared in the view's layout lives in a context whose object is the view; the
    // items of a nested view's own layout live in that view's context.
    QObject *found = nullptr;
    const QList<QObject *> candidates = m_view->findChildren<QObject *>(objectName);
    for (QObject *candidate : candidates) {
        const QQmlContext *context = qmlContext(candidate);
        if (context && context->contextObject() == m_view) {
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
