// The "Vantora" QML module's plugin: it exists to load the library into a host that only writes
// QML. The library registers its modules itself when it is loaded.

#include <vantora/overlay/vtaoverlayview.h>

#include <QQmlEngineExtensionPlugin>

class VantoraPlugin : public QQmlEngineExtensionPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlEngineExtensionInterface_iid)

public:
    VantoraPlugin()
    {
        // A use of the library, so that the linker keeps it as a dependency of the plugin.
        volatile auto library = &VTAOverlayView::staticMetaObject;
        Q_UNUSED(library)
    }
};

#include "vantoraplugin.moc"
