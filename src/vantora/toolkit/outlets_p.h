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
/// A view marks its class with `Q_CLASSINFO("VantoraView", "")`; the items inside a nested view
/// (a button in a card) are that view's outlets and never answer for the outer one. A required
/// outlet that is missing or of another type is a broken layout: fatal, naming the view and the
/// outlet.
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

    static bool isView(const QObject *object);

private:
    bool belongsToView(const QObject *item) const;
    QObject *find(const char *name, const QMetaObject &type, bool required) const;

    QObject *m_view;
};

} // namespace Vantora
