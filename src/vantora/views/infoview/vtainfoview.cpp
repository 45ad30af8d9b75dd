#include <vantora/views/infoview/vtainfoview.h>

#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/outlets_p.h"

using namespace Vantora;

class VTAInfoViewPrivate
{
public:
    QPointer<QQuickItem> timerView;
    QPointer<QQuickItem> timerLabel1;
    QPointer<QQuickItem> timerLabel2;
    QPointer<QQuickItem> pointsView;
    QPointer<QQuickItem> pointsLabel;
    QPointer<QQuickItem> pointsHeaderLabel;
    QPointer<QQuickItem> levelLabel;
    QPointer<QQuickItem> levelHeaderLabel;
    QPointer<Vantora::FocusTvButton> accountButton;
    QPointer<Vantora::FocusTvButton> closeButton;
    QPointer<QQuickItem> separator;
};

VTAInfoView::VTAInfoView(QQuickItem *parent)
    : QQuickItem(parent), d_ptr(std::make_unique<VTAInfoViewPrivate>())
{ }

VTAInfoView::~VTAInfoView() = default;

QQuickItem *VTAInfoView::timerView() const
{
    return d_func()->timerView;
}

QQuickItem *VTAInfoView::timerLabel1() const
{
    return d_func()->timerLabel1;
}

QQuickItem *VTAInfoView::timerLabel2() const
{
    return d_func()->timerLabel2;
}

QQuickItem *VTAInfoView::pointsView() const
{
    return d_func()->pointsView;
}

QQuickItem *VTAInfoView::pointsLabel() const
{
    return d_func()->pointsLabel;
}

QQuickItem *VTAInfoView::pointsHeaderLabel() const
{
    return d_func()->pointsHeaderLabel;
}

QQuickItem *VTAInfoView::levelLabel() const
{
    return d_func()->levelLabel;
}

QQuickItem *VTAInfoView::levelHeaderLabel() const
{
    return d_func()->levelHeaderLabel;
}

FocusTvButton *VTAInfoView::accountButton() const
{
    return d_func()->accountButton;
}

FocusTvButton *VTAInfoView::closeButton() const
{
    return d_func()->closeButton;
}

QQuickItem *VTAInfoView::separator() const
{
    return d_func()->separator;
}

void VTAInfoView::componentComplete()
{
    Q_D(VTAInfoView);
    QQuickItem::componentComplete();
    Outlets(this)
        .bind(d->timerView, "timerView")
        .bind(d->timerLabel1, "timerLabel1")
        .bind(d->timerLabel2, "timerLabel2")
        .bind(d->pointsView, "pointsView")
        .bind(d->pointsLabel, "pointsLabel")
        .bind(d->pointsHeaderLabel, "pointsHeaderLabel")
        .bind(d->levelLabel, "levelLabel")
        .bind(d->levelHeaderLabel, "levelHeaderLabel")
        .bind(d->accountButton, "accountButton")
        .bind(d->closeButton, "closeButton")
        .bind(d->separator, "separator");
    // The bar's buttons are small: a gentler focus scale than the answers'.
    for (FocusTvButton *button : {d->accountButton.get(), d->closeButton.get()}) {
        button->focusedScaleFactor = 1.08;
        button->updateView();
    }
}

void VTAInfoView::setTextColor(const QColor &color)
{
    Q_D(VTAInfoView);
    for (QQuickItem *label :
         {d->timerLabel1.get(), d->timerLabel2.get(), d->pointsLabel.get(),
          d->pointsHeaderLabel.get(), d->levelLabel.get(), d->levelHeaderLabel.get()})
        label->setProperty("color", color);
    d->separator->setProperty("color", color);
    for (FocusTvButton *button : {d->accountButton.get(), d->closeButton.get()}) {
        button->normalTitleColor = color;
        button->updateView();
    }
    for (FocusTvButton *button : {d->accountButton.get(), d->closeButton.get()}) {
        button->focusedTitleColor = color;
        button->updateView();
    }
}
