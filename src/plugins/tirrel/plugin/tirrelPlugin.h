#pragma once

#include "tirrel_global.h"

#include <extensionsystem/iplugin.h>

class TirrelPluginPrivate;

// The plug-in object the host's plug-in manager creates through qt_plugin_instance().
// It registers nothing: the library's services are reached through its exported classes.
class TIRREL_EXPORT TirrelPlugin : public ExtensionSystem::IPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.qt-project.Qt.OrvidePlugin" FILE "Tirrel.json")

public:
    TirrelPlugin();
    ~TirrelPlugin() override;

    // The one plug-in object, or null while none exists.
    static TirrelPlugin *instance();

    // Checks that the host core exists and reports a soft assertion when it does not.
    // Always returns true and never writes errorString.
    bool initialize(const QStringList &arguments, QString *errorString) override;
    void extensionsInitialized() override;
    void shutdown();

private slots:
    void about();
    void objectAdded(QObject *obj);

private:
    TirrelPluginPrivate *d;
    static TirrelPlugin *m_instance;
};
