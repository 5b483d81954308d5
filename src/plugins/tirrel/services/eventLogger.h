#pragma once

#include "tirrel_global.h"

#include <QObject>
#include <QVariant>

// Appends event messages to "halvexlog.txt" in the user's home directory while logging is on.
//
// Logging starts off in every process; init(), the constructor or activate() switch it on
// (the first two follow ProgramSettings::isWriteLogFile()). Each message opens, appends to and
// closes the file. The first message a process writes is preceded by a session marker:
//
//   <empty line>
//   hh:mm:ss ### NEW_SESSION ###
//   <empty line>
//   hh:mm:ss Debug: <message>
//
// A file that cannot be opened costs only the message at hand: "File open error" goes to the
// debug output and the next call tries again.
class TIRREL_EXPORT EventLogger : public QObject
{
    Q_OBJECT

public:
    // Classifies a message given as a value; every value other than LoadingBlock is a plain text.
    enum DebugElement : int {
        LoadingBlock = 0
    };

    // Sets the logging switch from the settings (creating the settings singleton if need be).
    explicit EventLogger(QObject *parent = nullptr);
    ~EventLogger() override;

    // Sets the logging switch from the settings.
    static void init();
    static void activate();
    static void deactivate();

    // Appends one line; `message` is taken as Latin-1 text. Does nothing while logging is off.
    static void logData(const char *message);
    // LoadingBlock logs "Loading Block With Number : <value>", any other element the value alone.
    static void logData(DebugElement element, QVariant value);

private:
    static bool isActive;
    static bool m_init;   // the session marker has been written in this process
};
