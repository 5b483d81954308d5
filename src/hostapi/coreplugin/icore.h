#pragma once

#include "../hostapi_global.h"

#include <QObject>

QT_BEGIN_NAMESPACE
class QWidget;
QT_END_NAMESPACE

namespace Core {

// The host's core object. The host creates exactly one; until then instance() is null.
class HOSTAPI_EXPORT ICore : public QObject
{
    Q_OBJECT

public:
    // The main window is not owned by the core.
    explicit ICore(QWidget *mainWindow = nullptr);
    ~ICore() override;

    static ICore *instance();
    static QWidget *mainWindow();

private:
    QWidget *m_mainWindow;
};

} // namespace Core
