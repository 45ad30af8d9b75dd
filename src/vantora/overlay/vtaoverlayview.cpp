#include "vantora/overlay/overlaycontroller_p.h"
#include "vantora/views/interactionview/vtainteractionview_p.h"
#include "vantora/views/notice/vtanotice_p.h"

#include <vantora/overlay/vtaoverlayview.h>

#include <QQmlEngine>
#include <QQmlInfo>
#include <QSettings>

#include <algorithm>
#include <climits>

using namespace Vantora;

// Generated with the views' module.
void qml_register_types_Vantora();

namespace {

// A host's QML names the overlay beside the cards, in the one "Vantora" module.
void registerOverlayType()
{
    // The cards' types first: once the module has a type, an import no longer registers them.
    qml_register_types_Vantora();
    qmlRegisterType<VTAOverlayView>("Vantora", 1, 0, "VTAOverlayView");
    qmlRegisterUncreatableType<VTAOverlayDelegate>("Vantora", 1, 0, "VTAOverlayDelegate",
                                                   QStringLiteral("Implement it in C++"));
    qmlRegisterUncreatableType<VTALayoutDelegate>("Vantora", 1, 0, "VTALayoutDelegate",
                                                  QStringLiteral("Implement it in C++"));
}
Q_CONSTRUCTOR_FUNCTION(registerOverlayType)

} // namespace

VTAOverlayView::VTAOverlayView(QQuickItem *parent)
    : QQuickItem(parent), d(std::make_unique<OverlayController>(this))
{
    // Focus given to the overlay goes on to the card or notice it shows.
    setFlag(ItemIsFocusScope);
    setActiveFocusOnTab(false);
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
    VTAEnvironment chosen = VTAEnvironment::testDefault();
    if (environment == QLatin1String("production"))
        chosen = VTAEnvironment::productionDefault();
    else if (environment == QLatin1String("development"))
        chosen = VTAEnvironment::devDefault();
    load(channelID, broadcasterName, chosen, d->state.delegate);
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
    d->state.layoutDelegate = delegate;
}

qreal VTAOverlayView::bottomMargin() const
{
    return d->state.bottomMargin;
}

void VTAOverlayView::setBottomMargin(qreal margin)
{
    d->state.bottomMargin = margin;
}

VTAAnimationType VTAOverlayView::animationType() const
{
    return d->state.animationType;
}

void VTAOverlayView::setAnimationType(VTAAnimationType type)
{
    d->state.animationType = type;
}

QString VTAOverlayView::animationTypeName() const
{
    return d->state.animationType == VTAAnimationType::fromRight ? QStringLiteral("fromRight")
                                                                 : QStringLiteral("fromBottom");
}

void VTAOverlayView::setAnimationTypeName(const QString &name)
{
    if (name == QLatin1String("fromRight"))
        setAnimationType(VTAAnimationType::fromRight);
    else if (name == QLatin1String("fromBottom"))
        setAnimationType(VTAAnimationType::fromBottom);
    else
        qmlWarning(this) << "animationType is \"fromRight\" or \"fromBottom\", not" << name;
}

bool VTAOverlayView::showNotices() const
{
    return d->state.showNotices;
}

void VTAOverlayView::setShowNotices(bool show)
{
    d->state.showNotices = show;
}

std::optional<qint64> VTAOverlayView::injectionDelay() const
{
    return d->state.injectionDelay;
}

void VTAOverlayView::setInjectionDelay(std::optional<qint64> seconds)
{
    d->setInjectionDelay(seconds);
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
        d->followResize(newGeometry.size() - oldGeometry.size());
}

void VTAOverlayView::focusInEvent(QFocusEvent *event)
{
    QQuickItem::focusInEvent(event);
    if (VTAInteractionView *card = d->state.currentInteraction)
        card->focusPreferredItem();
    else if (VTANotice *notice = d->state.currentNotice)
        notice->forceActiveFocus();
}
