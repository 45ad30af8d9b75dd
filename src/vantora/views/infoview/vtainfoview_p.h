#pragma once

#include "vantora/toolkit/focustvbutton_p.h"

#include <QColor>
#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

/// The strip at the top of every card: time left, the viewer's points and level, and the account
/// and close buttons. The card fills its texts and handles its buttons; the bar itself only
/// styles them. Created from VTAInfoView.qml with fromNib<VTAInfoView>(). Main thread only.
class VTAInfoView : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(VTAInfoViewBase)
    Q_CLASSINFO("VantoraView", "")

public:
    explicit VTAInfoView(QQuickItem *parent = nullptr);

    /// One colour for every text of the bar, its separator and both button titles, focused or not.
    void setTextColor(const QColor &color);

    QQuickItem *timerView() const { return m_timerView; }
    QQuickItem *timerLabel1() const { return m_timerLabel1; }
    QQuickItem *timerLabel2() const { return m_timerLabel2; }
    QQuickItem *pointsView() const { return m_pointsView; }
    QQuickItem *pointsLabel() const { return m_pointsLabel; }
    QQuickItem *pointsHeaderLabel() const { return m_pointsHeaderLabel; }
    QQuickItem *levelLabel() const { return m_levelLabel; }
    QQuickItem *levelHeaderLabel() const { return m_levelHeaderLabel; }
    Vantora::FocusTvButton *accountButton() const { return m_accountButton; }
    Vantora::FocusTvButton *closeButton() const { return m_closeButton; }
    QQuickItem *separator() const { return m_separator; }

protected:
    void componentComplete() override;

private:
    QPointer<QQuickItem> m_timerView;
    QPointer<QQuickItem> m_timerLabel1;
    QPointer<QQuickItem> m_timerLabel2;
    QPointer<QQuickItem> m_pointsView;
    QPointer<QQuickItem> m_pointsLabel;
    QPointer<QQuickItem> m_pointsHeaderLabel;
    QPointer<QQuickItem> m_levelLabel;
    QPointer<QQuickItem> m_levelHeaderLabel;
    QPointer<Vantora::FocusTvButton> m_accountButton;
    QPointer<Vantora::FocusTvButton> m_closeButton;
    QPointer<QQuickItem> m_separator;
};
