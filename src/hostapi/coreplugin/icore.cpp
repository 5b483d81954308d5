#include "icore.h"

#include <QWidget>

namespace Core {

static ICore *m_instance = nullptr;

ICore::ICore(QWidget *mainWindow)
    : m_mainWindow(mainWindow)
{
    m_instance = this;
}

ICore::~ICore()
{
    if (m_instance == this)
        m_instance = nullptr;
}

ICore *ICore::instance()
{
    return m_instance;
}

QWidget *ICore::mainWindow()
{
    return m_instance ? m_instance->m_mainWindow : nullptr;
}

} // namespace Core
