#ifndef VANTORA_VTAVIEWS_H
#define VANTORA_VTAVIEWS_H

#include <vantora/vantora_export.h>

#include <QMetaObject>
#include <QQuickItem>

#include <type_traits>

/** @file
 * Creating a view from its layout: how a host makes the subclasses of the built-in cards that
 * its VTALayoutDelegate hands to the overlay.
 */

namespace VTAViews {

/**
 * Creates a view of class `T` from its layout and returns it unparented; the caller owns it.
 *
 * A host's class names its layout with the class info "VantoraLayout", and that layout's root
 * is the class itself, registered with QML under a name of the host's choosing:
 *
 *   class MyPollView : public VTAPollView
 *   {
 *       Q_OBJECT
 *       Q_CLASSINFO("VantoraLayout", "qrc:/myapp/MyPollView.qml")
 *   protected:
 *       void didLoadPoll() override;
 *   };
 *
 *   qmlRegisterType<MyPollView>("MyApp", 1, 0, "MyPollViewBase"); // once, at start-up
 *   // MyPollView.qml: import Vantora; import MyApp; MyPollViewBase { ...the outlets... }
 *
 *   VTAPollView *MyLayouts::customPollView() { return VTAViews::create<MyPollView>(); }
 *
 * The layout carries the outlets (items with an objectName) of the class it derives from, as the
 * library's own layouts do, and may use the library's QML types (`import Vantora`). A class
 * that names no layout gets the library's layout of the same class name, so that
 * `VTAViews::create<VTAPollView>()` makes the built-in card.
 *
 * Each layout is compiled once. A layout that is missing or does not load, a root of another
 * class, or a missing outlet is a broken application: the program stops with a message naming
 * the class. Main thread only, once a QGuiApplication exists.
 */
template <class T>
T *create();

/// What create() calls: the view of class `type` from its layout. Prefer create().
VANTORA_EXPORT QQuickItem *createFromLayout(const QMetaObject &type);

template <class T>
T *create()
{
    static_assert(std::is_base_of_v<QQuickItem, T>, "VTAViews::create() makes Qt Quick items");
    return static_cast<T *>(createFromLayout(T::staticMetaObject));
}

} // namespace VTAViews

#endif
