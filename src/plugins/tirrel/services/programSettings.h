#pragma once

#include "tirrel_global.h"

#include <QColor>
#include <QObject>
#include <QString>

QT_BEGIN_NAMESPACE
class QSettings;
QT_END_NAMESPACE

// The program-wide settings, kept in "halvex.ini" in the process's current directory.
//
// The file is read once, when the singleton is created; from then on the values in memory are
// the truth, and every setter (except setCurrentProjectLibDir) writes all of them back. The INI
// file holds these top-level keys, written in this order and read with these defaults:
//
//   workdir          text                     the user's home directory
//   libdir           text                     <home>/OrvideLibrary, native separators
//   comport          text                     never read: the port name starts empty each run
//   bgcolor          "#rrggbb", lower case    "#ffffff"
//   itmcolor         "#rrggbb", lower case    "#CDFF6E"
//   SceneRectWidth   decimal integer          1700
//   SceneRectHeight  decimal integer          1200
//   writeLogFile     "1" or "0"               0 (off)
//
// Values that do not parse read as Qt converts them: 0 for a number, an invalid colour (written
// back as "#000000") for a colour. Nothing is ever reported. Creating the singleton also creates
// the folder "OrvideLibrary" in the home directory when it is missing.
class TIRREL_EXPORT ProgramSettings : public QObject
{
    Q_OBJECT

public:
    // The one settings object, created (and the INI file read) on the first call. It is never
    // destroyed by the library; the first call must not race another.
    static ProgramSettings *instance();
    ~ProgramSettings() override;

    QColor getBgColor() const;
    QColor getItmColor() const;
    QString getLibDir() const;
    QString getWorkDir() const;
    // Empty until setPortName is called in this run.
    QString getPortName() const;
    // "none" until setCurrentProjectLibDir is called.
    QString getCurrentProjectLibDir() const;
    int getSceneWidth() const;
    int getSceneHeight() const;
    bool isWriteLogFile() const;

    // Each setter stores its value unchecked and writes the whole file. The file reaches the
    // disk when control returns to the event loop, or at the latest when the application object
    // is destroyed.
    void setBgColor(QColor color);
    void setItemColor(QColor color);
    void setLibdir(QString dir);
    void setWorkdir(QString dir);
    void setPortName(QString name);
    void setSceneWidth(int width);
    void setSceneHeight(int height);
    // Also switches the event log on or off at once (EventLogger::activate/deactivate).
    void setWriteLogFile(bool on);
    // Memory only: nothing is written.
    void setCurrentProjectLibDir(QString dir);

private:
    explicit ProgramSettings(QObject *parent);
    void initSettings();
    void writeSettings();
    static void flushAtExit();

    QSettings *settings = nullptr;   // owned; opened on the INI file for the object's whole life
    QString comport;
    QColor bgcolor;
    QColor itmcolor;
    QString workdir;
    QString libdir;
    QString currentProjectLibDir;
    bool writeLogFile = false;
    int SceneRectWidth = 0;
    int SceneRectHeight = 0;

    static ProgramSettings *mInstance;
};
