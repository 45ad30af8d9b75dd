#include "vantora/overlay/overlaycontroller_p.h"
#include <vantora/views/interactionview/vtainteractionview.h>
#include <vantora/views/notice/vtanotice.h>

#include <vantora/overlay/vtaoverlayview.h>

#include <QQmlEngine>
#include <QQmlInfo>
#include <QSettings>

#include <algorithm>
#include <climits>
#include <optional>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

VTAOverlayView::VTAOverlayView(QQuickItem *parent) : QQuickItem(parent)
{
    // Focus given to the overlay goes on to the card or notice it shows. Set before the overlay
    // has children of its own: Qt refuses it to an item in a window that has some.
    setFlag(ItemIsFocusScope);
    setActiveFocusOnTab(false);
    d = std::make_unique<OverlayController>(this);
}

VTAOverlayView::~VTAOverlayView()
{
    // The cards and the notice are children of the overlay; they go first, while the controller
    // that they call back still exists.
    const QList<QObject *> owned = children();
    for (QObject *child : owned) {
        if (child != d.get())
            delete child;
    }
}

void VTAOverlayView::load(const QString &channelID, const QString &broadcasterName,
                          const VTAEnvironment &environment, VTAOverlayDelegate *delegate,
                          const QString &language,
                          const std::optional<QString> &userBroadcasterForeignID,
                          const std::optional<QString> &userInitialName)
{
    d->load(channelID, broadcasterName, environment, delegate, language, userBroadcasterForeignID,
            userInitialName);
    Q_EMIT delegateChanged();
}

void VTAOverlayView::load(const QString &channelID, const QString &broadcasterName,
                          const QString &environment)
{
    std::optional<VTAEnvironment> chosen;
    if (environment == QLatin1String("production"))
        chosen = VTAEnvironment::productionDefault();
    else if (environment == QLatin1String("development"))
        chosen = VTAEnvironment::devDefault();
    else if (environment == QLatin1String("test"))
        chosen = VTAEnvironment::testDefault();
    if (!chosen) {
        const QString reason =
            u"load(): no environment \"%1\"; use \"production\", \"development\" or \"test\""_s.arg(
                environment);
        qmlWarning(this) << reason;
        Q_EMIT sessionFailed(SessionFailure::UnknownEnvironment, reason);
        return;
    }
    load(channelID, broadcasterName, *chosen, d->state.delegate);
}

void VTAOverlayView::videoPlaying(double time)
{
    d->videoPlaying(time);
}

void VTAOverlayView::videoPaused()
{
    d->videoPaused();
}

void VTAOverlayView::resetUser()
{
    QSettings settings;
    settings.remove(QStringLiteral("userToken"));
    settings.sync();
}

bool VTAOverlayView::closeInteractionIfNeeded()
{
    return d->closeInteractionIfNeeded();
}

bool VTAOverlayView::isDisplayingInteraction() const
{
    return !d->state.currentInteraction.isNull();
}

VTAOverlayDelegate *VTAOverlayView::delegate() const
{
    return d->state.delegate;
}

void VTAOverlayView::setDelegate(VTAOverlayDelegate *delegate)
{
    if (d->state.delegate == delegate)
        return;
    d->state.delegate = delegate;
    Q_EMIT delegateChanged();
}

VTALayoutDelegate *VTAOverlayView::layoutDelegate() const
{
    return d->state.layoutDelegate;
}

void VTAOverlayView::setLayoutDelegate(VTALayoutDelegate *delegate)
{
    if (d->state.layoutDelegate == delegate)
        return;
    d->state.layoutDelegate = delegate;
    Q_EMIT layoutDelegateChanged();
}

qreal VTAOverlayView::bottomMargin() const
{
    return d->state.bottomMargin;
}

void VTAOverlayView::setBottomMargin(qreal margin)
{
    if (d->state.bottomMargin == margin)
        return;
    d->state.bottomMargin = margin;
    Q_EMIT bottomMarginChanged();
}

VTAAnimationType VTAOverlayView::animationType() const
{
    return d->state.animationType;
}

void VTAOverlayView::setAnimationType(VTAAnimationType type)
{
    if (d->state.animationType == type)
        return;
    d->state.animationType = type;
    Q_EMIT animationTypeChanged();
}

bool VTAOverlayView::showNotices() const
{
    return d->state.showNotices;
}

void VTAOverlayView::setShowNotices(bool show)
{
    if (d->state.showNotices == show)
        return;
    d->state.showNotices = show;
    Q_EMIT showNoticesChanged();
}

std::optional<qint64> VTAOverlayView::injectionDelay() const
{
    return d->state.injectionDelay;
}

void VTAOverlayView::setInjectionDelay(std::optional<qint64> seconds)
{
    const std::optional<qint64> before = d->state.injectionDelay;
    d->setInjectionDelay(seconds);
    if (d->state.injectionDelay != before)
        Q_EMIT injectionDelayChanged();
}

int VTAOverlayView::injectionDelaySeconds() const
{
    return int(std::clamp<qint64>(d->state.injectionDelay.value_or(0), 0, INT_MAX));
}

void VTAOverlayView::setInjectionDelaySeconds(int seconds)
{
    setInjectionDelay(seconds);
}

void VTAOverlayView::itemChange(ItemChange change, const ItemChangeData &value)
{
    QQuickItem::itemChange(change, value);
    if (change == ItemSceneChange && value.window == nullptr)
        d->leftWindow();
}

void VTAOverlayView::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (oldGeometry.size() != newGeometry.size())
        d->followResize();
}

void VTAOverlayView::focusInEvent(QFocusEvent *event)
{
    QQuickItem::focusInEvent(event);
    if (VTAInteractionView *card = d->state.currentInteraction)
        card->focusPreferredItem();
    else if (VTANotice *notice = d->state.currentNotice)
        notice->forceActiveFocus();
}
