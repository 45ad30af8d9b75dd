#include "vantora/views/infoview/vtainfoview_p.h"

#include "vantora/toolkit/outlets_p.h"

using namespace Vantora;

VTAInfoView::VTAInfoView(QQuickItem *parent) : QQuickItem(parent) { }

void VTAInfoView::componentComplete()
{
    QQuickItem::componentComplete();
    Outlets(this)
        .bind(m_timerView, "timerView")
        .bind(m_timerLabel1, "timerLabel1")
        .bind(m_timerLabel2, "timerLabel2")
        .bind(m_pointsView, "pointsView")
        .bind(m_pointsLabel, "pointsLabel")
        .bind(m_pointsHeaderLabel, "pointsHeaderLabel")
        .bind(m_levelLabel, "levelLabel")
        .bind(m_levelHeaderLabel, "levelHeaderLabel")
        .bind(m_accountButton, "accountButton")
        .bind(m_closeButton, "closeButton")
        .bind(m_separator, "separator");
    // The bar's buttons are small: a gentler focus scale than the answers'.
    for (FocusTvButton *button : {m_accountButton.get(), m_closeButton.get()}) {
        button->focusedScaleFactor = 1.08;
        button->updateView();
    }
}

void VTAInfoView::setTextColor(const QColor &color)
{
    for (QQuickItem *label :
         {m_timerLabel1.get(), m_timerLabel2.get(), m_pointsLabel.get(), m_pointsHeaderLabel.get(),
          m_levelLabel.get(), m_levelHeaderLabel.get()})
        label->setProperty("color", color);
    m_separator->setProperty("color", color);
    for (FocusTvButton *button : {m_accountButton.get(), m_closeButton.get()}) {
        button->normalTitleColor = color;
        button->updateView();
    }
    for (FocusTvButton *button : {m_accountButton.get(), m_closeButton.get()}) {
        button->focusedTitleColor = color;
        button->updateView();
    }
}
