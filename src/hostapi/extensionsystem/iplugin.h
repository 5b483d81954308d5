#pragma once

#include "../hostapi_global.h"

#include <QObject>
#include <QStringList>

namespace ExtensionSystem {

// Base class of every plug-in object that the host's plug-in manager drives.
class HOSTAPI_EXPORT IPlugin : public QObject
{
    Q_OBJECT

public:
    enum ShutdownFlag { SynchronousShutdown, AsynchronousShutdown };

    IPlugin();
    ~IPlugin() override;

    virtual bool initialize(const QStringList &arguments, QString *errorString) = 0;
    virtual void extensionsInitialized() = 0;
    virtual bool delayedInitialize() { return false; }
    virtual ShutdownFlag aboutToShutdown() { return SynchronousShutdown; }
    virtual QObject *remoteCommand(const QStringList & /* options */,
                                   const QString & /* workingDirectory */,
                                   const QStringList & /* arguments */) { return nullptr; }

signals:
    void asynchronousShutdownFinished();
};

} // namespace ExtensionSystem
