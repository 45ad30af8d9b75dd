#pragma once

#include <QLatin1StringView>
#include <QMetaObject>
#include <QPointer>

class QObject;

namespace Vantora {

/// Binds a view's outlets, the items of its layout that its code reads or writes, by object name.
/// Each view declares them in one table, in componentComplete():
///
///   Outlets(this).bind(m_titleLabel, "titleLabel")
///                 .bind(m_timerView, "timerView")
///                 .bindOptional(m_separator, "separator");
///
/// Only the items declared in the view's own layout count: a nested view's items never answer
/// for it. A required outlet that is missing or of another type is a broken layout: fatal, naming
/// the view and the outlet.
class Outlets
{
public:
    explicit Outlets(QObject *view) : m_view(view) { }

    template <class T>
    Outlets &bind(QPointer<T> &outlet, const char *name)
    {
        outlet = static_cast<T *>(find(name, T::staticMetaObject, true));
        return *this;
    }

    template <class T>
    Outlets &bindOptional(QPointer<T> &outlet, const char *name)
    {
        outlet = static_cast<T *>(find(name, T::staticMetaObject, false));
        return *this;
    }

private:
    QObject *find(const char *name, const QMetaObject &type, bool required) const;

    QObject *m_view;
};

} // namespace Vantora
