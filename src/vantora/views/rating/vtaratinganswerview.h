#ifndef VANTORA_VTARATINGANSWERVIEW_H
#define VANTORA_VTARATINGANSWERVIEW_H

#include <vantora/records/streamerinfo.h>
#include <vantora/vantora_export.h>
#include <vantora/views/vtaviews.h>

#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

namespace Vantora {
class FocusTvButton;
}
class VTARatingAnswerViewPrivate;

/**
 * One step of a rating's scale: a button showing the rating's icon, or the step's number. The
 * rating card makes one per step from VTARatingAnswerView.qml, or a host's own row from
 * VTARatingView::createAnswerView() whose layout names a `button`, and handles its button; a
 * host's subclass may draw the chosen steps through the two style hooks. The card owns its rows.
 * Main thread only.
 */
class VANTORA_EXPORT VTARatingAnswerView : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(VTARatingAnswerViewBase)
    Q_CLASSINFO("VantoraView", "")

public:
    explicit VTARatingAnswerView(QQuickItem *parent = nullptr);
    ~VTARatingAnswerView() override;

    /// The step this row stands for, 1 to the rating's maximum.
    qint64 tag() const;
    void setTag(qint64 value);

    Vantora::FocusTvButton *button() const;

    /// Hooks for a host's rows; the library's rows look the same before and after the answer.
    virtual void setButtonStyleNormal() { }
    virtual void setButtonStyleCompleted(bool selected) { Q_UNUSED(selected) }
    /// The design's text colour titles the button, focused or not; its button colour fills the
    /// focused button.
    virtual void applyDesign(const std::optional<Vantora::DesignInfo> &design);

protected:
    /// Binds the outlets; a subclass that overrides it calls it first.
    void componentComplete() override;

private:
    std::unique_ptr<VTARatingAnswerViewPrivate> const d_ptr;
    Q_DECLARE_PRIVATE(VTARatingAnswerView)
};

#endif
