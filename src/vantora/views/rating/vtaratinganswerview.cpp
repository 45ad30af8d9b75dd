#include "vantora/views/rating/vtaratinganswerview_p.h"

#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/outlets_p.h"

using namespace Vantora;

VTARatingAnswerView::VTARatingAnswerView(QQuickItem *parent) : QQuickItem(parent)
{
    setFlag(ItemIsFocusScope); // focusing the row focuses its button
}

void VTARatingAnswerView::componentComplete()
{
    QQuickItem::componentComplete();
    Outlets(this).bind(m_button, "button");
}

void VTARatingAnswerView::applyDesign(const std::optional<DesignInfo> &design)
{
    if (!design)
        return;
    if (const auto text = colorFromHex(design->textColor.value_or(QString()))) {
        m_button->normalTitleColor = *text;
        m_button->focusedTitleColor = *text;
        m_button->updateView();
    }
    if (const auto background = colorFromHex(design->backgroundButton.value_or(QString()))) {
        m_button->focusedBackgroundColor = *background;
        m_button->updateView();
    }
}
