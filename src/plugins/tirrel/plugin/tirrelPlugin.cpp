#include "tirrelPlugin.h"
#include "tirrelPlugin_p.h"

#include <coreplugin/icore.h>
#include <utils/qtcassert.h>

#include <QMessageBox>

TirrelPlugin *TirrelPlugin::m_instance = nullptr;

TirrelPlugin::TirrelPlugin()
    : d(new TirrelPluginPrivate(this))
{
    m_instance = this;
}

TirrelPlugin::~TirrelPlugin()
{
    m_instance = nullptr;
    delete d;
}

TirrelPlugin *TirrelPlugin::instance()
{
    return m_instance;
}

bool TirrelPlugin::initialize(const QStringList &arguments, QString *errorString)
{
    Q_UNUSED(arguments)
    Q_UNUSED(errorString)
    // The report names the place of this check in the host's usual form.
    if (!Core::ICore::instance())
        Utils::writeAssertLocation("\"core\" in file tirrelPlugin.cpp, line 50");
    return true;
}

void TirrelPlugin::extensionsInitialized()
{
}

void TirrelPlugin::shutdown()
{
}

void TirrelPlugin::about()
{
    Core::ICore::instance();
    QMessageBox::information(Core::ICore::mainWindow(), tr("TirrelPlugin Hakkinda"),
                             tr("TirrelPlugin"), QMessageBox::Ok, QMessageBox::NoButton);
}

void TirrelPlugin::objectAdded(QObject *obj)
{
    Q_UNUSED(obj)
}
