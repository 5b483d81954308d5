#include <eventLogger.h>
#include <programSettings.h>

#include "serviceTestSupport.h"

#include <QTemporaryDir>

namespace {

QString iniPath()
{
    return QDir::currentPath() + QLatin1String("/halvex.ini");
}

// The INI file as written, with the home directory shown as @HOME@.
QString iniText()
{
    return QString::fromUtf8(readAll(iniPath())).replace(QDir::homePath(), QLatin1String("@HOME@"));
}

QString fixtureText(const QString &name)
{
    return QString::fromUtf8(readAll(QStringLiteral(TIRREL_TEST_DATA "/settings/") + name));
}

// QSettings writes once control is back in the event loop.
void letSettingsWrite()
{
    QCoreApplication::sendPostedEvents();
}

QString iniValue(const QString &key)
{
    const QStringList lines = iniText().split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        if (line.startsWith(key + QLatin1Char('=')))
            return line.mid(key.size() + 1);
    }
    return QStringLiteral("<missing>");
}

QStringList iniKeys()
{
    QStringList keys;
    const QStringList lines = iniText().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        if (!line.startsWith(QLatin1Char('[')))
            keys << line.section(QLatin1Char('='), 0, 0);
    }
    return keys;
}

QString defaultLibDir()
{
    return QDir::homePath() + QLatin1String("/OrvideLibrary");
}

// Applies one setter and returns what the matching getter then gives, as text.
using Setter = QString (*)(ProgramSettings *);

} // namespace

Q_DECLARE_METATYPE(Setter)

// Each slot runs in a fresh process with its own home and working directory.
class ProgramSettingsScenarios : public QObject
{
    Q_OBJECT

private slots:
    void noIniFile();
    void fullIniFile();
    void comportNeverRead();
    void unparsableValues();
    void everySetter_data();
    void everySetter();
    void writeLogFileSwitchesEventLog();
    void changeWithoutEventLoop();
};

void ProgramSettingsScenarios::noIniFile()
{
    QVERIFY(!QDir(defaultLibDir()).exists());
    ProgramSettings *settings = ProgramSettings::instance();
    QCOMPARE(ProgramSettings::instance(), settings);
    QCOMPARE(settings->getSceneWidth(), 1700);
    QCOMPARE(settings->getCurrentProjectLibDir(), QStringLiteral("none"));
    QVERIFY(QDir(defaultLibDir()).exists());
    letSettingsWrite();
    QVERIFY(!QFile::exists(iniPath()));

    // The other defaults show in the file written by the first change.
    settings->setSceneWidth(800);
    letSettingsWrite();
    QCOMPARE(iniText(), fixtureText(QStringLiteral("defaults-after-setSceneWidth.ini")));
}

void ProgramSettingsScenarios::fullIniFile()
{
    QVERIFY(copyFixture(QStringLiteral("settings/full.ini"), iniPath()));
    ProgramSettings *settings = ProgramSettings::instance();
    QCOMPARE(settings->getBgColor(), QColor(0x20, 0x30, 0x40));
    // Made whatever the file names as library folder.
    QVERIFY(QDir(defaultLibDir()).exists());
    // The current project's library folder is never written.
    settings->setCurrentProjectLibDir(QStringLiteral("/projects/p1/lib"));
    letSettingsWrite();
    QCOMPARE(settings->getCurrentProjectLibDir(), QStringLiteral("/projects/p1/lib"));
    QCOMPARE(iniText(), fixtureText(QStringLiteral("full.ini")));

    settings->setBgColor(QColor(10, 11, 12));
    letSettingsWrite();
    QCOMPARE(iniText(), fixtureText(QStringLiteral("full-after-setBgColor.ini")));
}

void ProgramSettingsScenarios::comportNeverRead()
{
    QVERIFY(copyFixture(QStringLiteral("settings/comport-only.ini"), iniPath()));
    ProgramSettings *settings = ProgramSettings::instance();
    QCOMPARE(settings->getPortName(), QString());
    settings->setSceneHeight(900);
    letSettingsWrite();
    QCOMPARE(iniValue(QStringLiteral("comport")), QString());
}

void ProgramSettingsScenarios::unparsableValues()
{
    QVERIFY(copyFixture(QStringLiteral("settings/unparsable.ini"), iniPath()));
    ProgramSettings *settings = ProgramSettings::instance();
    QVERIFY(!settings->getBgColor().isValid());
    QVERIFY(!settings->getItmColor().isValid());

    settings->setWorkdir(QStringLiteral("/w"));
    letSettingsWrite();
    QCOMPARE(iniText(), fixtureText(QStringLiteral("unparsable-after-setWorkdir.ini")));
}

void ProgramSettingsScenarios::everySetter_data()
{
    QTest::addColumn<Setter>("setter");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("written");

    auto row = [](const char *name, Setter setter, const char *key, const char *written) {
        QTest::newRow(name) << setter << QString::fromLatin1(key) << QString::fromLatin1(written);
    };
    row("setBgColor", [](ProgramSettings *s) {
        s->setBgColor(QColor(0xab, 0xcd, 0xef)); return s->getBgColor().name(); },
        "bgcolor", "#abcdef");
    row("setItemColor", [](ProgramSettings *s) {
        s->setItemColor(QColor(1, 2, 3)); return s->getItmColor().name(); },
        "itmcolor", "#010203");
    row("setLibdir", [](ProgramSettings *s) {
        s->setLibdir(QStringLiteral("/lib/dir")); return s->getLibDir(); },
        "libdir", "/lib/dir");
    row("setWorkdir", [](ProgramSettings *s) {
        s->setWorkdir(QStringLiteral("/work/dir")); return s->getWorkDir(); },
        "workdir", "/work/dir");
    row("setPortName", [](ProgramSettings *s) {
        s->setPortName(QStringLiteral("ttyS1")); return s->getPortName(); },
        "comport", "ttyS1");
    row("setSceneWidth", [](ProgramSettings *s) {
        s->setSceneWidth(-5); return QString::number(s->getSceneWidth()); },
        "SceneRectWidth", "-5");
    row("setSceneHeight", [](ProgramSettings *s) {
        s->setSceneHeight(2400); return QString::number(s->getSceneHeight()); },
        "SceneRectHeight", "2400");
    row("setWriteLogFile", [](ProgramSettings *s) {
        s->setWriteLogFile(true); return QString::number(int(s->isWriteLogFile())); },
        "writeLogFile", "1");
}

void ProgramSettingsScenarios::everySetter()
{
    QFETCH(Setter, setter);
    QFETCH(QString, key);
    QFETCH(QString, written);
    const QString read = setter(ProgramSettings::instance());
    letSettingsWrite();
    QCOMPARE(read, written);
    QCOMPARE(iniValue(key), written);
    // Every setter writes all eight keys (the file lists them sorted).
    QCOMPARE(iniKeys(), QStringList({"SceneRectHeight", "SceneRectWidth", "bgcolor", "comport",
                                     "itmcolor", "libdir", "workdir", "writeLogFile"}));
}

void ProgramSettingsScenarios::writeLogFileSwitchesEventLog()
{
    const QString logPath = QDir::homePath() + QLatin1String("/halvexlog.txt");
    ProgramSettings *settings = ProgramSettings::instance();
    EventLogger::init();
    EventLogger::logData("before");
    QVERIFY(!QFile::exists(logPath));

    settings->setWriteLogFile(true);
    EventLogger::logData("while on");

    settings->setWriteLogFile(false);
    letSettingsWrite();
    QCOMPARE(iniValue(QStringLiteral("writeLogFile")), QStringLiteral("0"));
    EventLogger::logData("while off");

    const QString log = QString::fromUtf8(readAll(logPath));
    QVERIFY(log.contains(QLatin1String(" Debug: while on\n")));
    QVERIFY(!log.contains(QLatin1String("before")));
    QVERIFY(!log.contains(QLatin1String("while off")));
}

void ProgramSettingsScenarios::changeWithoutEventLoop()
{
    // The change is made and the process ends without the event loop running again.
    ProgramSettings::instance()->setSceneHeight(321);
}

class tst_ProgramSettings : public QObject
{
    Q_OBJECT

private slots:
    void scenario_data();
    void scenario();
    void changeKeptAtExit();
};

void tst_ProgramSettings::scenario_data()
{
    QTest::addColumn<QString>("name");
    const QMetaObject &mo = ProgramSettingsScenarios::staticMetaObject;
    for (int i = mo.methodOffset(); i < mo.methodCount(); ++i) {
        const QByteArray name = mo.method(i).name();
        if (!name.endsWith("_data") && name != "changeWithoutEventLoop")
            QTest::newRow(name.constData()) << QString::fromLatin1(name);
    }
}

void tst_ProgramSettings::scenario()
{
    QFETCH(QString, name);
    QTemporaryDir root(QDir::currentPath() + QLatin1String("/scenario-XXXXXX"));
    QVERIFY(root.isValid());
    const ScenarioRun run = runScenario(name, root.path());
    QVERIFY2(run.exitCode == 0, qPrintable(run.output));
    // A scenario never writes outside its own home and working directory.
    QVERIFY(!QFile::exists(QDir::currentPath() + QLatin1String("/halvex.ini")));
}

void tst_ProgramSettings::changeKeptAtExit()
{
    QTemporaryDir root(QDir::currentPath() + QLatin1String("/scenario-XXXXXX"));
    QVERIFY(root.isValid());
    const ScenarioRun run = runScenario(QStringLiteral("changeWithoutEventLoop"), root.path());
    QVERIFY2(run.exitCode == 0, qPrintable(run.output));
    const QString ini = QString::fromUtf8(readAll(root.path() + QLatin1String("/work/halvex.ini")));
    QVERIFY2(ini.contains(QLatin1String("\nSceneRectHeight=321\n")), qPrintable(ini));
}

TIRREL_SCENARIO_MAIN(tst_ProgramSettings, ProgramSettingsScenarios)
#include "tst_programsettings.moc"
