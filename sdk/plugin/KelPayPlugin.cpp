#include <QQmlEngineExtensionPlugin>

/// `import KelPay` for an application that doesn't link the SDK, Qt's own QML runtime for one: the library that this
/// links registers the types.
class KelPayPlugin : public QQmlEngineExtensionPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlEngineExtensionInterface_iid)
};

#include "KelPayPlugin.moc"
