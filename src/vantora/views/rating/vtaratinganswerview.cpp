#include <vantora/views/rating/vtaratinganswerview.h>

#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/outlets_p.h"

using namespace Vantora;

class VTARatingAnswerViewPrivate
{
public:
    QPointer<Vantora::FocusTvButton> button;
    qint64 tag = 0;
};

VTARatingAnswerView::VTARatingAnswerView(QQuickItem *parent)
    : QQuickItem(parent), d_ptr(std::make_unique<VTARatingAnswerViewPrivate>())
{
    setFlag(ItemIsFocusScope); // focusing the row focuses its button
}

VTARatingAnswerView::~VTARatingAnswerView() = default;

qint64 VTARatingAnswerView::tag() const
{
    return d_func()->tag;
}

void VTARatingAnswerView::setTag(qint64 value)
{
    d_func()->tag = value;
}

FocusTvButton *VTARatingAnswerView::button() const
{
    return d_func()->button;
}

void VTARatingAnswerView::componentComplete()
{
    Q_D(VTARatingAnswerView);
    QQuickItem::componentComplete();
    Outlets(this).bind(d->button, "button");
}

void VTARatingAnswerView::applyDesign(const std::optional<DesignInfo> &design)
{
    Q_D(VTARatingAnswerView);
    if (!design)
        return;
    if (const auto text = colorFromHex(design->textColor.value_or(QString()))) {
        d->button->normalTitleColor = *text;
        d->button->focusedTitleColor = *text;
        d->button->updateView();
    }
    if (const auto background = colorFromHex(design->backgroundButton.value_or(QString()))) {
        d->button->focusedBackgroundColor = *background;
        d->button->updateView();
    }
}
