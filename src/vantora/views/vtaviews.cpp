#include <vantora/views/vtaviews.h>

#include "vantora/toolkit/fatal_p.h"
#include "vantora/toolkit/viewloader_p.h"

using namespace Qt::Literals::StringLiterals;

QQuickItem *VTAViews::createFromLayout(const QMetaObject &type)
{
    QObject *view = Vantora::createFromLayout(type);
    auto *item = qobject_cast<QQuickItem *>(view);
    if (!item) {
        delete view;
        Vantora::fatal(u"%1: a view is a Qt Quick item"_s.arg(Vantora::plainClassName(type)));
    }
    return item;
}
