#include <eventLogger.h>
#include <programSettings.h>

#include "serviceTestSupport.h"

#include <QTemporaryDir>

namespace {

QString logPath()
{
    return QDir::homePath() + QLatin1String("/halvexlog.txt");
}

// The log file's lines with each leading time of day replaced by "T"; a line that starts with
// anything but a well-formed time is kept as it is, so a malformed time shows up in the diff.
QStringList maskedLog()
{
    static const QRegularExpression time(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d "));
    QStringList lines = QString::fromUtf8(readAll(logPath())).split(QLatin1Char('\n'));
    for (QString &line : lines)
        line.replace(time, QStringLiteral("T "));
    return lines;
}

} // namespace

// Each slot runs in a fresh process: the session marker is written once per process.
class EventLoggerScenarios : public QObject
{
    Q_OBJECT

private slots:
    void inactiveWritesNothing();
    void sessionMarkerAndMessageLines();
    void openErrorCostsOnlyThatMessage();
    void switchFollowsSettings();
};

void EventLoggerScenarios::inactiveWritesNothing()
{
    EventLogger::logData("plain");
    EventLogger::logData(EventLogger::LoadingBlock, 1);
    EventLogger::init();   // no settings file: logging stays off
    EventLogger::logData("after init");
    QVERIFY(!QFile::exists(logPath()));
}

void EventLoggerScenarios::sessionMarkerAndMessageLines()
{
    QVERIFY(writeFile(logPath(), "earlier run\n"));
    EventLogger::activate();
    EventLogger::logData("first");
    EventLogger::logData(EventLogger::LoadingBlock, QVariant(42));
    EventLogger::logData(static_cast<EventLogger::DebugElement>(7), QVariant(QStringLiteral("plain text")));
    EventLogger::logData(static_cast<EventLogger::DebugElement>(-1), QVariant(2.5));
    EventLogger::deactivate();
    EventLogger::logData("while off");
    EventLogger::logData(EventLogger::LoadingBlock, QVariant(9));
    EventLogger::activate();
    EventLogger::logData("resumed");

    QCOMPARE(maskedLog(), QStringList({
        "earlier run",
        "",
        "T ### NEW_SESSION ###",
        "",
        "T Debug: first",
        "T Debug: Loading Block With Number : 42",
        "T Debug: plain text",
        "T Debug: 2.5",
        "T Debug: resumed",
        "",
    }));
}

void EventLoggerScenarios::openErrorCostsOnlyThatMessage()
{
    QVERIFY(QDir().mkdir(logPath()));   // a folder where the file belongs cannot be opened
    EventLogger::activate();
    QTest::ignoreMessage(QtDebugMsg, "File open error");
    EventLogger::logData("lost");
    QVERIFY(QDir().rmdir(logPath()));
    EventLogger::logData("kept");
    EventLogger::logData("next");
    QCOMPARE(maskedLog(), QStringList({"", "T ### NEW_SESSION ###", "", "T Debug: kept",
                                       "T Debug: next", ""}));
}

void EventLoggerScenarios::switchFollowsSettings()
{
    QVERIFY(writeFile(QDir::currentPath() + QLatin1String("/halvex.ini"),
                      "[General]\nwriteLogFile=1\n"));
    EventLogger::init();
    EventLogger::logData("by init");
    EventLogger::deactivate();
    {
        EventLogger logger(nullptr);   // the constructor reads the switch too
        EventLogger::logData("by constructor");
    }
    ProgramSettings::instance()->setWriteLogFile(false);
    EventLogger::logData("switched off");
    EventLogger::activate();
    EventLogger::init();
    EventLogger::logData("off again by init");

    QCOMPARE(maskedLog(), QStringList({"", "T ### NEW_SESSION ###", "", "T Debug: by init",
                                       "T Debug: by constructor", ""}));
}

class tst_EventLogger : public QObject
{
    Q_OBJECT

private slots:
    void scenario_data();
    void scenario();
};

void tst_EventLogger::scenario_data()
{
    QTest::addColumn<QString>("name");
    const QMetaObject &mo = EventLoggerScenarios::staticMetaObject;
    for (int i = mo.methodOffset(); i < mo.methodCount(); ++i) {
        const QByteArray name = mo.method(i).name();
        QTest::newRow(name.constData()) << QString::fromLatin1(name);
    }
}

void tst_EventLogger::scenario()
{
    QFETCH(QString, name);
    QTemporaryDir root(QDir::currentPath() + QLatin1String("/scenario-XXXXXX"));
    QVERIFY(root.isValid());
    const ScenarioRun run = runScenario(name, root.path());
    QVERIFY2(run.exitCode == 0, qPrintable(run.output));
}

TIRREL_SCENARIO_MAIN(tst_EventLogger, EventLoggerScenarios)
#include "tst_eventlogger.moc"
