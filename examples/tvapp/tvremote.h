#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <functional>

/// The remote's keys that mean something to the whole app rather than to the item with the focus.
/// The screen calls them; the app decides what they do. Main thread only.
class TvRemote : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The app creates the remote")

public:
    using QObject::QObject;

    /// Back: true when something on screen took it (the overlay closed a card or notice); false
    /// when it is the app's to handle, and the screen offers to leave.
    Q_INVOKABLE bool back() { return m_back && m_back(); }
    void setBackHandler(std::function<bool()> handler) { m_back = std::move(handler); }

private:
    std::function<bool()> m_back;
};
