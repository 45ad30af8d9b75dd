#pragma once

#include "vantora/toolkit/focustvbutton_p.h"

#include <vantora/records/streamerinfo.h>

#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

#include <optional>

/// One step of a rating's scale: a button showing the rating's icon, or the step's number. The
/// rating card makes one per step from VTARatingAnswerView.qml and handles its button; a host's
/// subclass may draw the chosen steps through the two style hooks. Main thread only.
class VTARatingAnswerView : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(VTARatingAnswerViewBase)
    Q_CLASSINFO("VantoraView", "")

public:
    explicit VTARatingAnswerView(QQuickItem *parent = nullptr);

    /// The step this row stands for, 1 to the rating's maximum.
    qint64 tag() const { return m_tag; }
    void setTag(qint64 value) { m_tag = value; }

    Vantora::FocusTvButton *button() const { return m_button; }

    /// Hooks for a host's rows; the library's rows look the same before and after the answer.
    virtual void setButtonStyleNormal() { }
    virtual void setButtonStyleCompleted(bool selected) { Q_UNUSED(selected) }
    /// The design's text colour titles the button, focused or not; its button colour fills the
    /// focused button.
    virtual void applyDesign(const std::optional<Vantora::DesignInfo> &design);

protected:
    void componentComplete() override;

private:
    QPointer<Vantora::FocusTvButton> m_button;
    qint64 m_tag = 0;
};
