#ifndef VANTORA_VTAINFOVIEW_H
#define VANTORA_VTAINFOVIEW_H

#include <vantora/vantora_export.h>

#include <QColor>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace Vantora {
class FocusTvButton;
}
class VTAInfoViewPrivate;

/**
 * The strip at the top of every card: time left, the viewer's points and level, and the account
 * and close buttons. The card fills its texts and handles its buttons; the bar itself only styles
 * them. A card makes its bar in VTAInteractionView::createInfo(); a host's card may return its own
 * subclass there, with a layout whose outlets carry the same names:
 *
 *   VTAInfoView *MyPollView::createInfo() { return VTAViews::create<MyInfoView>(); }
 *
 * The card that shows the bar owns it. Main thread only.
 */
class VANTORA_EXPORT VTAInfoView : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(VTAInfoViewBase)
    Q_CLASSINFO("VantoraView", "")

public:
    explicit VTAInfoView(QQuickItem *parent = nullptr);
    ~VTAInfoView() override;

    /// One colour for every text of the bar, its separator and both button titles, focused or not.
    void setTextColor(const QColor &color);

    QQuickItem *timerView() const;
    QQuickItem *timerLabel1() const;
    QQuickItem *timerLabel2() const;
    QQuickItem *pointsView() const;
    QQuickItem *pointsLabel() const;
    QQuickItem *pointsHeaderLabel() const;
    QQuickItem *levelLabel() const;
    QQuickItem *levelHeaderLabel() const;
    Vantora::FocusTvButton *accountButton() const;
    Vantora::FocusTvButton *closeButton() const;
    QQuickItem *separator() const;

protected:
    void componentComplete() override;

private:
    std::unique_ptr<VTAInfoViewPrivate> const d_ptr;
    Q_DECLARE_PRIVATE(VTAInfoView)
};

#endif
