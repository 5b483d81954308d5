#include "eventLogger.h"

#include "programSettings.h"

#include "logging_p.h"

#include <QDir>
#include <QFile>
#include <QTextStream>
#include <QTime>

namespace {

const char LogFileName[] = "/halvexlog.txt";
const char SessionMarker[] = " ### NEW_SESSION ###";
const char MessagePrefix[] = " Debug: ";
const char LoadingBlockText[] = "Loading Block With Number : ";
const char OpenErrorText[] = "File open error";

QByteArray currentTime()
{
    return QTime::currentTime().toString(Qt::TextDate).toLatin1();
}

} // namespace

bool EventLogger::isActive = false;
bool EventLogger::m_init = false;

EventLogger::EventLogger(QObject *parent)
    : QObject(parent)
{
    isActive = ProgramSettings::instance()->isWriteLogFile();
}

EventLogger::~EventLogger() = default;

void EventLogger::init()
{
    isActive = ProgramSettings::instance()->isWriteLogFile();
}

void EventLogger::activate()
{
    isActive = true;
}

void EventLogger::deactivate()
{
    isActive = false;
}

void EventLogger::logData(const char *message)
{
    if (!isActive)
        return;

    QFile file(QDir::homePath() + QLatin1String(LogFileName));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        qCDebug(tirrelServices, "%s", OpenErrorText);
        return;
    }
    QTextStream out(&file);
    if (!m_init) {
        out << '\n' << currentTime() << SessionMarker << '\n' << '\n';
        m_init = true;
    }
    out << currentTime() << MessagePrefix << (message ? message : "") << '\n';
    out.flush();
    file.close();
}

void EventLogger::logData(DebugElement element, QVariant value)
{
    if (!isActive)
        return;
    QString text = value.toString();
    if (element == LoadingBlock)
        text.prepend(QLatin1String(LoadingBlockText));
    logData(text.toLocal8Bit().constData());
}
