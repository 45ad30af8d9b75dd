#pragma once

#include <QtPlugin>

class VTANotice;

namespace Vantora {

/// What a result notice needs from the overlay that shows it. The overlay implements it on a
/// QObject (Q_INTERFACES), which the notice holds weakly: once the overlay is gone, closing the
/// notice does nothing.
class NoticeDelegate
{
public:
    virtual ~NoticeDelegate() = default;

    /// Takes the notice away; `fromButton` says whether the viewer pressed its close button.
    virtual void closeNotice(VTANotice *view, bool fromButton) = 0;
};

} // namespace Vantora

Q_DECLARE_INTERFACE(Vantora::NoticeDelegate, "vantora.NoticeDelegate")
