#pragma once

#include <QMetaObject>
#include <QString>

class QObject;
class QQmlEngine;

namespace Vantora {

/// The one engine on which the library creates its views, with the library's QML modules
/// registered and importable.
QQmlEngine &sharedEngine();

/// Creates a view from the layout named after its class, `<ClassName>.qml`, in the library's
/// QML modules:
///
///   auto *bar = fromNib<VTAInfoView>(); // VTAInfoView.qml, whose root is a VTAInfoView
///
/// A class of the host's (a card subclass handed in by the app) names its own layout:
///
///   class MyTriviaView : public VTATriviaView {
///       Q_OBJECT
///       QML_ELEMENT
///       Q_CLASSINFO("VantoraLayout", "qrc:/qt/qml/MyApp/MyTriviaView.qml")
///
/// Each layout is compiled once. A missing layout, one that does not load, or one whose root is
/// not the requested class is a broken build: fatal, naming the class. The caller owns the view.
QObject *createFromLayout(const QMetaObject &type);

template <class T>
T *fromNib()
{
    return static_cast<T *>(createFromLayout(T::staticMetaObject));
}

/// Compiles the layout createFromLayout() would use for `type`, so that the first view made from
/// it does not wait for that.
void compileLayout(const QMetaObject &type);

/// The class name without its namespace: "Vantora::FocusTvButton" is "FocusTvButton".
QString plainClassName(const QMetaObject &type);

} // namespace Vantora
