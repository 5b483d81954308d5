#include "programSettings.h"

#include "eventLogger.h"

#include <QCoreApplication>
#include <QDir>
#include <QSettings>

namespace {

const char IniFileName[] = "halvex.ini";
const char DefaultLibraryFolder[] = "OrvideLibrary";

// Keys, in the order the writer emits them.
const char KeyWorkDir[] = "workdir";
const char KeyLibDir[] = "libdir";
const char KeyComPort[] = "comport";
const char KeyBgColor[] = "bgcolor";
const char KeyItemColor[] = "itmcolor";
const char KeySceneWidth[] = "SceneRectWidth";
const char KeySceneHeight[] = "SceneRectHeight";
const char KeyWriteLogFile[] = "writeLogFile";

// Defaults are given as the text a missing key reads as.
const char DefaultBgColor[] = "#ffffff";
const char DefaultItemColor[] = "#CDFF6E";
const char DefaultSceneWidth[] = "1700";
const char DefaultSceneHeight[] = "1200";
const char DefaultWriteLogFile[] = "0";

const char NoProjectLibDir[] = "none";

QString readText(const QSettings *settings, const char *key, const QString &def)
{
    return settings->value(QLatin1String(key), def).toString();
}

int readInt(const QSettings *settings, const char *key, const char *def)
{
    return settings->value(QLatin1String(key), QLatin1String(def)).toInt();
}

QColor readColor(const QSettings *settings, const char *key, const char *def)
{
    return QColor(readText(settings, key, QLatin1String(def)));
}

void writeText(QSettings *settings, const char *key, const QString &value)
{
    settings->setValue(QLatin1String(key), value);
}

void writeInt(QSettings *settings, const char *key, int value)
{
    writeText(settings, key, QString::number(value));
}

QString iniFilePath()
{
    return QDir::toNativeSeparators(QDir::currentPath()) + QDir::separator()
            + QLatin1String(IniFileName);
}

QString defaultLibraryDir()
{
    return QDir::toNativeSeparators(QDir::homePath()) + QDir::separator()
            + QLatin1String(DefaultLibraryFolder);
}

} // namespace

ProgramSettings *ProgramSettings::mInstance = nullptr;

ProgramSettings *ProgramSettings::instance()
{
    if (!mInstance)
        mInstance = new ProgramSettings(nullptr);
    return mInstance;
}

ProgramSettings::ProgramSettings(QObject *parent)
    : QObject(parent)
{
    initSettings();
    currentProjectLibDir = QLatin1String(NoProjectLibDir);
    // QSettings writes a change only once control is back in the event loop; a change made
    // after the last pass of the loop would be lost at exit, since this object is never
    // destroyed. Flushing as the application object goes keeps it.
    qAddPostRoutine(&ProgramSettings::flushAtExit);
}

ProgramSettings::~ProgramSettings()
{
    qRemovePostRoutine(&ProgramSettings::flushAtExit);
    delete settings;
    if (mInstance == this)
        mInstance = nullptr;
}

void ProgramSettings::flushAtExit()
{
    if (mInstance)
        mInstance->settings->sync();
}

void ProgramSettings::initSettings()
{
    const QString path = iniFilePath();
    const QString defaultLibDir = defaultLibraryDir();
    settings = new QSettings(path, QSettings::IniFormat);
    // Qt's default, stated because it matters: the file is replaced whole or not written at all,
    // never rewritten in place where its folder cannot take a new file.
    settings->setAtomicSyncRequired(true);

    // The default library folder is made even when the file names another one.
    if (!QDir(defaultLibDir).exists())
        QDir().mkdir(defaultLibDir);

    libdir = readText(settings, KeyLibDir, defaultLibDir);
    bgcolor = readColor(settings, KeyBgColor, DefaultBgColor);
    itmcolor = readColor(settings, KeyItemColor, DefaultItemColor);
    workdir = readText(settings, KeyWorkDir, QDir::homePath());
    SceneRectHeight = readInt(settings, KeySceneHeight, DefaultSceneHeight);
    SceneRectWidth = readInt(settings, KeySceneWidth, DefaultSceneWidth);
    writeLogFile = readInt(settings, KeyWriteLogFile, DefaultWriteLogFile) != 0;
}

void ProgramSettings::writeSettings()
{
    writeText(settings, KeyWorkDir, workdir);
    writeText(settings, KeyLibDir, libdir);
    writeText(settings, KeyComPort, comport);
    writeText(settings, KeyBgColor, bgcolor.name());
    writeText(settings, KeyItemColor, itmcolor.name());
    writeInt(settings, KeySceneWidth, SceneRectWidth);
    writeInt(settings, KeySceneHeight, SceneRectHeight);
    writeInt(settings, KeyWriteLogFile, writeLogFile ? 1 : 0);
}

QColor ProgramSettings::getBgColor() const { return bgcolor; }
QColor ProgramSettings::getItmColor() const { return itmcolor; }
QString ProgramSettings::getLibDir() const { return libdir; }
QString ProgramSettings::getWorkDir() const { return workdir; }
QString ProgramSettings::getPortName() const { return comport; }
QString ProgramSettings::getCurrentProjectLibDir() const { return currentProjectLibDir; }
int ProgramSettings::getSceneWidth() const { return SceneRectWidth; }
int ProgramSettings::getSceneHeight() const { return SceneRectHeight; }
bool ProgramSettings::isWriteLogFile() const { return writeLogFile; }

void ProgramSettings::setBgColor(QColor color)
{
    bgcolor = color;
    writeSettings();
}

void ProgramSettings::setItemColor(QColor color)
{
    itmcolor = color;
    writeSettings();
}

void ProgramSettings::setLibdir(QString dir)
{
    libdir = dir;
    writeSettings();
}

void ProgramSettings::setWorkdir(QString dir)
{
    workdir = dir;
    writeSettings();
}

void ProgramSettings::setPortName(QString name)
{
    comport = name;
    writeSettings();
}

void ProgramSettings::setSceneWidth(int width)
{
    SceneRectWidth = width;
    writeSettings();
}

void ProgramSettings::setSceneHeight(int height)
{
    SceneRectHeight = height;
    writeSettings();
}

void ProgramSettings::setWriteLogFile(bool on)
{
    writeLogFile = on;
    writeSettings();
    if (on)
        EventLogger::activate();
    else
        EventLogger::deactivate();
}

void ProgramSettings::setCurrentProjectLibDir(QString dir)
{
    currentProjectLibDir = dir;
}
