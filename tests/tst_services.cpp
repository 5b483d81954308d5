// The program-wide services and the object library. The settings, the event log and the library
// are singletons read once per process, so their scenarios run in processes of their own; the
// message boxes and the debug window are tested in the test process itself.

#include <debuggerWin.h>
#include <eventLogger.h>
#include <outputMessage.h>
#include <programSettings.h>
#include <scadaEngine.h>

#include "serviceTestSupport.h"

#include <QTemporaryDir>
#include <QTextEdit>

#include <memory>

namespace {

QString iniPath() { return QDir::currentPath() + QLatin1String("/halvex.ini"); }
QString logPath() { return QDir::homePath() + QLatin1String("/halvexlog.txt"); }

// A file's text with the home directory shown as @HOME@ and each leading time of day as "T"; a
// line that starts with anything but a well-formed time is kept as it is.
QString masked(const QString &text)
{
    static const QRegularExpression time(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d "),
                                         QRegularExpression::MultilineOption);
    return QString(text).replace(QDir::homePath(), QLatin1String("@HOME@"))
            .replace(time, QStringLiteral("T "));
}

QString color(const QColor &c) { return c.isValid() ? c.name() : QStringLiteral("invalid"); }

QString getters(const ProgramSettings *s)
{
    return masked(QStringLiteral("bg=%1 itm=%2 lib=%3 work=%4 port=%5 w=%6 h=%7 log=%8 "
                                 "project=%9\n")
        .arg(color(s->getBgColor()), color(s->getItmColor()), s->getLibDir(), s->getWorkDir(),
             s->getPortName()).arg(s->getSceneWidth()).arg(s->getSceneHeight())
        .arg(int(s->isWriteLogFile())).arg(s->getCurrentProjectLibDir()));
}

struct Setter { const char *name; void (*apply)(ProgramSettings *); };
const Setter Setters[] = {
    {"setBgColor", [](ProgramSettings *s) { s->setBgColor(QColor(0xab, 0xcd, 0xef)); }},
    {"setItemColor", [](ProgramSettings *s) { s->setItemColor(QColor(1, 2, 3)); }},
    {"setLibdir", [](ProgramSettings *s) { s->setLibdir(QStringLiteral("/lib/dir")); }},
    {"setWorkdir", [](ProgramSettings *s) { s->setWorkdir(QStringLiteral("/w")); }},
    {"setPortName", [](ProgramSettings *s) { s->setPortName(QStringLiteral("ttyS1")); }},
    {"setSceneWidth", [](ProgramSettings *s) { s->setSceneWidth(-5); }},
    {"setSceneHeight", [](ProgramSettings *s) { s->setSceneHeight(2400); }},
    {"setWriteLogFile", [](ProgramSettings *s) { s->setWriteLogFile(true); }},
};

// The library scenarios' program lies in root/bin; the standard library belongs in root/scdLib.
QString standardLibrary()
{
    return QCoreApplication::applicationDirPath() + QLatin1String("/../scdLib/objlib.xml");
}
QString userFolder() { return QDir::homePath() + QLatin1String("/Parvane"); }
QString userLibrary() { return userFolder() + QLatin1String("/userlib.xml"); }
QString imagesFolder() { return userFolder() + QLatin1String("/images"); }

// Puts library fixtures in place before the engine exists; an empty name leaves that file out.
bool placeLibraries(const QString &standard, const QString &user)
{
    QDir().mkpath(QFileInfo(standardLibrary()).path());
    QDir().mkpath(userFolder());
    return (standard.isEmpty() || copyFixture("library/" + standard, standardLibrary()))
        && (user.isEmpty() || copyFixture("library/" + user, userLibrary()));
}

// The catalogue, one object a line.
QString catalogue()
{
    QString lines;
    for (const ScadaLibObject *o : qAsConst(*ScadaEngine::instance()->getLibObjects()))
        lines += QStringLiteral("%1|%2|uid %3|type %4|rtu %5|reg %6|%7x%8|m %9|a %10|lof %11,%12"
                                "|%13|%14\n").arg(o->name, o->objectCategory).arg(o->objectUID)
            .arg(o->objectType).arg(o->rtuID).arg(o->registerID).arg(o->width).arg(o->height)
            .arg(double(o->m_val)).arg(double(o->a_val)).arg(o->lofX).arg(o->lofY)
            .arg(o->images.join(','), QLatin1String(o->isUserObject ? "user" : "standard"));
    return lines;
}

ScadaLibObject *newObject(const QString &name, const QString &category,
                          const QStringList &images = QStringList())
{
    auto *object = new ScadaLibObject;
    object->name = name;
    object->objectCategory = category;
    object->images = images;
    object->objectUID = -7;   // replaced by the engine
    object->width = 64;       // kept in memory, not saved
    return object;
}

// Adds the object, closing its confirmation; returns the boxes that were shown.
QStringList add(ScadaLibObject *object)
{
    BoxCloser closer;
    ScadaEngine::instance()->addUserObject(object);
    return closer.boxes;
}

// Creates the engine, which reports each library file it cannot open.
void startEngine(int unopened)
{
    for (int i = 0; i < unopened; ++i)
        QTest::ignoreMessage(QtDebugMsg, "dosya acilamadi");
    ScadaEngine::instance();
}

} // namespace

// Each slot runs in a fresh process with its own home and working directory; the library's in
// one whose program lies in root/bin.
class ServiceScenarios : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QVERIFY(noMessageBoxLeft()); }
    void settings()
    {
        // Argument: the settings file to start from ("" for none)|the setters to call in turn.
        const QStringList arg = qEnvironmentVariable("TIRREL_SCENARIO_ARG").split('|');
        QVERIFY(arg.at(0).isEmpty() || copyFixture("settings/" + arg.at(0), iniPath()));
        const QByteArray before = readAll(iniPath());
        ProgramSettings *settings = ProgramSettings::instance();
        QString transcript = getters(settings);
        QVERIFY(QDir(QDir::homePath() + QLatin1String("/OrvideLibrary")).exists());
        // The current project's library folder is never written; nothing is until a change.
        settings->setCurrentProjectLibDir(QStringLiteral("/projects/p1/lib"));
        QCoreApplication::sendPostedEvents();   // QSettings writes once back in the event loop
        QCOMPARE(readAll(iniPath()), before);
        // Every setter writes every key: the file is removed before each but the first.
        bool first = true;
        for (const Setter &setter : Setters) {
            if (!arg.at(1).split(QLatin1Char(',')).contains(QLatin1String(setter.name)))
                continue;
            if (!std::exchange(first, false))
                QFile::remove(iniPath());
            setter.apply(settings);
            QCoreApplication::sendPostedEvents();
            transcript += QStringLiteral("\n%1: ").arg(QLatin1String(setter.name))
                    + getters(settings) + masked(QString::fromUtf8(readAll(iniPath())));
        }
        QCOMPARE(transcript, fixtureText("settings/" + arg.at(2) + ".txt"));
    }

    void changeWithoutEventLoop() { ProgramSettings::instance()->setSceneHeight(321); }
    void changeKeptAtExit() { QVERIFY(readAll(iniPath()).contains("\nSceneRectHeight=321\n")); }
    void logSession()
    {
        QVERIFY(writeFile(logPath(), "earlier run\n"));
        EventLogger::logData("plain");
        EventLogger::logData(EventLogger::LoadingBlock, 1);
        EventLogger::init();   // no settings file: logging stays off
        EventLogger::logData("after init");
        EventLogger::activate();
        EventLogger::logData("first");
        EventLogger::logData(EventLogger::LoadingBlock, QVariant(42));
        EventLogger::logData(EventLogger::DebugElement(7), QVariant(QStringLiteral("plain text")));
        EventLogger::logData(EventLogger::DebugElement(-1), QVariant(2.5));
        EventLogger::deactivate();
        EventLogger::logData("while off");
        EventLogger::logData(EventLogger::LoadingBlock, QVariant(9));
        EventLogger::activate();
        EventLogger::logData("resumed");
        QCOMPARE(masked(readAll(logPath())), QString("earlier run\n\nT ### NEW_SESSION ###\n\n"
                 "T Debug: first\n"
                 "T Debug: Loading Block With Number : 42\nT Debug: plain text\nT Debug: 2.5\n"
                 "T Debug: resumed\n"));
    }

    void logOpenErrorCostsOnlyThatMessage()
    {
        QVERIFY(QDir().mkdir(logPath()));   // a folder where the file belongs cannot be opened
        EventLogger::activate();
        QTest::ignoreMessage(QtDebugMsg, "File open error");
        EventLogger::logData("lost");
        QVERIFY(QDir().rmdir(logPath()));
        EventLogger::logData("kept");
        EventLogger::logData("next");
        QCOMPARE(masked(readAll(logPath())),
                 QString("\nT ### NEW_SESSION ###\n\nT Debug: kept\nT Debug: next\n"));
    }

    void logSwitchFollowsSettings()
    {
        QVERIFY(writeFile(iniPath(), "[General]\nwriteLogFile=1\n"));
        EventLogger::init();
        EventLogger::logData("by init");
        EventLogger::deactivate();
        {
            EventLogger logger(nullptr);   // the constructor reads the switch too
            EventLogger::logData("by constructor");
        }
        ProgramSettings::instance()->setWriteLogFile(false);
        EventLogger::logData("switched off");
        ProgramSettings::instance()->setWriteLogFile(true);
        EventLogger::logData("switched on");
        ProgramSettings::instance()->setWriteLogFile(false);
        EventLogger::activate();
        EventLogger::init();
        EventLogger::logData("off again by init");
        QCOMPARE(masked(readAll(logPath())), QString("\nT ### NEW_SESSION ###\n\nT Debug: by init\n"
                 "T Debug: by constructor\nT Debug: switched on\n"));
    }

    void libraryEmpty()
    {
        // Argument: the standard library|the user library|how many cannot be opened. A library
        // inside the program's own folder is not the standard library.
        const QStringList arg = qEnvironmentVariable("TIRREL_SCENARIO_ARG").split('|');
        const QString own = QCoreApplication::applicationDirPath() + QLatin1String("/scdLib");
        QVERIFY(QDir().mkpath(own) && copyFixture("library/objlib.xml", own + "/objlib.xml"));
        QVERIFY(placeLibraries(arg.at(0), arg.at(1)));
        startEngine(arg.at(2).toInt());
        QCOMPARE(ScadaEngine::instance()->getLibPath() + ScadaEngine::instance()->getUserLibPath(),
                 QDir::cleanPath(QFileInfo(standardLibrary()).path()) + "/" + userFolder() + "/");
        QVERIFY(ScadaEngine::instance()->getLibObjects()->isEmpty());
        QVERIFY(QFileInfo(imagesFolder()).isDir());
    }

    void libraryUnreadableFiles()
    {
        QVERIFY(placeLibraries("objlib.xml", QString()));
        QVERIFY(QDir().mkpath(userLibrary()));   // a folder cannot be read or written as a file
        startEngine(1);
        // The object is still added in memory and confirmed; only its saving fails.
        ScadaLibObject *object = newObject(QStringLiteral("Kept"), QStringLiteral("Mem"));
        QTest::ignoreMessage(QtDebugMsg, "dosya acilamadi");
        QCOMPARE(add(object).size(), 1);
        QCOMPARE(ScadaEngine::instance()->getLibObjects()->mid(3), QList<ScadaLibObject *>{object});
        QVERIFY(!ScadaEngine::instance()->saveUserLibraryFile({object}));
        QVERIFY(QFileInfo(userLibrary()).isDir());
    }

    void libraryTwoAdditions()
    {
        QVERIFY(placeLibraries("objlib.xml", "userlib.xml"));
        const QString from = QStringLiteral(TIRREL_TEST_DATA "/library/sources");
        startEngine(0);
        ScadaLibObject *mixer = newObject(QStringLiteral("Mixer"), QStringLiteral("Mixers"),
                                          {from + "/one/a.png", from + "/one/b.png"});
        ScadaLibObject *heater = newObject(QStringLiteral("Heater & \"Fan\""),
                                           QStringLiteral("Air <hot>"),
                                           {from + "/two/b.png", from + "/missing/c.png"});
        QStringList boxes = add(mixer);
        boxes += add(heater);
        QCOMPARE(boxes, QStringList({
            "1||Object Mixer is succesfully added under Mixers category||0|1024|none|modal",
            "1||Object Heater & \"Fan\" is succesfully added under Air <hot> category||0|1024|none"
            "|modal"}));
        // Identifiers in use: 3, 0, 8, 10 and 3 again. A later image of the same name replaces the
        // earlier one; a missing source still gets its path.
        QCOMPARE(catalogue(), fixtureText("library/catalogue-after-two-additions.txt"));
        QCOMPARE(ScadaEngine::instance()->getLibObjects()->mid(5),
                 QList<ScadaLibObject *>({mixer, heater}));
        QCOMPARE(readAll(imagesFolder() + "/a.png") + readAll(imagesFolder() + "/b.png"),
                 QByteArray("A1B2"));
        QCOMPARE(QDir(imagesFolder()).entryList(QDir::Files), QStringList({"a.png", "b.png"}));
        QCOMPARE(QString::fromUtf8(readAll(userLibrary())),
                 fixtureText("library/userlib-after-two-additions.xml"));
    }

    void libraryReload()
    {
        // Runs after libraryTwoAdditions in the same root: only name, category, identifier and
        // images were kept.
        QCOMPARE(catalogue(), fixtureText("library/catalogue-after-restart.txt"));
    }

    void libraryExistingImagesNeverLost()
    {
        QDir().mkpath(imagesFolder());
        QDir().mkpath(QDir::currentPath() + "/folder.png");
        const QStringList names = {"same.png", "gone.png", "folder.png"};
        for (const QString &name : names)
            QVERIFY(writeFile(imagesFolder() + '/' + name, name.toLatin1()));
        ScadaLibObject *object = newObject(QStringLiteral("Reuse"), QStringLiteral("C"), {
            imagesFolder() + "/same.png",                 // already in place
            QDir::currentPath() + "/nowhere/gone.png",    // source missing
            QDir::currentPath() + "/folder.png",          // source is no file
        });
        add(object);
        QCOMPARE(object->images,
                 QStringList({"images/same.png", "images/gone.png", "images/folder.png"}));
        for (const QString &name : names)
            QCOMPARE(readAll(imagesFolder() + '/' + name), name.toLatin1());
        QCOMPARE(QDir(imagesFolder()).entryList(QDir::Files | QDir::Hidden).size(), names.size());
    }

    void libraryCatalogueChangedByCaller()
    {
        QVERIFY(placeLibraries("objlib.xml", "userlib.xml"));
        QList<ScadaLibObject *> *objects = ScadaEngine::instance()->getLibObjects();
        ScadaLibObject *first = objects->takeFirst();
        objects->removeLast();
        // Adding rebuilds the catalogue from the standard and user objects.
        add(newObject(QStringLiteral("New"), QStringLiteral("C")));
        QCOMPARE(objects->first(), first);
        QCOMPARE(catalogue(), fixtureText("library/catalogue.txt")
                 + "New|C|uid 1|type 0|rtu 0|reg 0|64x0|m 0|a 0|lof 0,0||standard\n");
    }

    void librarySave()
    {
        QVERIFY(ScadaEngine::instance()->saveUserLibraryFile({}));
        QCOMPARE(readAll(userLibrary()),
                 readAll(TIRREL_TEST_DATA "/library/empty-user-library.xml"));
        const std::unique_ptr<ScadaLibObject> object(newObject("n", "c", {"images/a.png",
                                                               "/abs/path/b.png", "plain.png"}));
        object->objectUID = -3;
        object->rtuID = 9;
        QVERIFY(ScadaEngine::instance()->saveUserLibraryFile({nullptr, object.get()}));
        QCOMPARE(readAll(userLibrary()), readAll(TIRREL_TEST_DATA "/library/saved-object.xml"));
    }

    void libraryIdentifiers()
    {
        // Argument: the identifiers in the standard library|the ones expected to be issued.
        const QStringList parts = qEnvironmentVariable("TIRREL_SCENARIO_ARG").split('|');
        QDir().mkpath(QFileInfo(standardLibrary()).path());
        QByteArray xml = "<scadaObjectTypes>\n";
        for (const QString &id : parts.at(0).split(QLatin1Char(','), Qt::SkipEmptyParts))
            xml += "<object name=\"o\"><objectUID>" + id.toLatin1() + "</objectUID></object>\n";
        QVERIFY(writeFile(standardLibrary(), xml + "</scadaObjectTypes>\n"));
        QStringList issued;
        while (issued.size() < parts.at(1).count(',') + 1) {
            ScadaLibObject *object = newObject(QStringLiteral("o"), QStringLiteral("c"));
            add(object);
            issued << QString::number(object->objectUID);
        }
        QCOMPARE(issued.join(','), parts.at(1));
    }
};

class tst_Services : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QVERIFY(noMessageBoxLeft()); }
    void scenario_data()
    {
        // The steps run in turn in one root, each as "name" or "name=argument".
        QTest::addColumn<QStringList>("steps");
        const auto row = [](const char *name, const QStringList &steps) {
            QTest::newRow(name) << steps;
        };
        for (const char *name :
             {"logSession", "logOpenErrorCostsOnlyThatMessage", "logSwitchFollowsSettings",
              "libraryUnreadableFiles", "libraryExistingImagesNeverLost",
              "libraryCatalogueChangedByCaller", "librarySave"})
            row(name, {name});
        // The settings file to start from|the setters called|the expected transcript.
        row("settings: no file", {"settings=|setBgColor,setItemColor,setLibdir,setWorkdir,"
                "setPortName,setSceneWidth,setSceneHeight,setWriteLogFile|no-file"});
        row("settings: every key", {"settings=full.ini|setBgColor|full"});
        row("settings: unparsable values", {"settings=unparsable.ini|setWorkdir|unparsable"});
        row("settings: a change is kept at exit", {"changeWithoutEventLoop", "changeKeptAtExit"});
        // The standard library|the user library|how many cannot be opened.
        row("library: neither file", {"libraryEmpty=||2"});
        row("library: malformed and empty files", {"libraryEmpty=malformed.xml|no-objects.xml|0"});
        row("library: additions survive a restart", {"libraryTwoAdditions", "libraryReload"});
        // Identifiers in the standard library|the ones expected to be issued.
        row("ids: 1 to 5", {"libraryIdentifiers=1,2,3,4,5|0,6"});
        row("ids: repeats and negatives", {"libraryIdentifiers=-1,0,0,2,2,-5|1,3,4"});
        row("ids: large and non-numeric", {"libraryIdentifiers=2147483647,x,1|2,3"});
        row("ids: gaps filled in order", {"libraryIdentifiers=0,2,4,6,8|1,3,5,7,9,10"});
    }

    void scenario()
    {
        QFETCH(QStringList, steps);
        QTemporaryDir root(QDir::currentPath() + QLatin1String("/scenario-XXXXXX"));
        QVERIFY(root.isValid());
        for (const QString &step : steps) {
            const QString name = step.section('=', 0, 0);
            const QString failed = runScenario(name, root.path(), name.startsWith("library"),
                                                step.section('=', 1));
            QVERIFY2(failed.isEmpty(), qPrintable(step + QLatin1String(": ") + failed));
        }
        // A scenario never writes outside its own home and working directory.
        QVERIFY(!QFile::exists(iniPath()));
    }

    void message_data()
    {
        QTest::addColumn<QString>("row");
        const QString rows = fixtureText("services/messages.txt");
        for (const QString &row : rows.split('\n', Qt::SkipEmptyParts)) {
            if (!row.startsWith('#'))
                QTest::newRow(qPrintable(row.section('|', 0, 1))) << row;
        }
    }

    void message()
    {
        QFETCH(QString, row);
        QString path = QStringLiteral("C:/p/page1");
        BoxCloser closer;
        OutputMessage::message(row.section('|', 0, 0).toInt(),
                               row.section('|', 1, 1) == "text" ? &path : nullptr);
        QCOMPARE(closer.boxes, QStringList("1||" + row.section('|', 2) + "|1024|none|modal"));
        QCOMPARE(path, QStringLiteral("C:/p/page1"));
    }

    // The one debug window of the process: created hidden, written to, closed and written to again.
    void debuggerWin()
    {
        QPointer<DebuggerWin> dialog = DebuggerWin::instance();
        QVERIFY(!dialog->isVisible() && !dialog->isModal() && !dialog->parentWidget());
        auto *text = dialog->findChild<QTextEdit *>("textEdit_out");
        dialog->write(QStringLiteral("a"));
        QVERIFY(dialog->isVisible());
        dialog->write(QStringLiteral("b"));
        QTest::mouseClick(dialog->findChild<QPushButton *>("pushButton_close"), Qt::LeftButton);
        QVERIFY(!dialog->isVisible());
        dialog->write(QStringLiteral("c"));
        QVERIFY(dialog->isVisible());
        QVERIFY(dialog->close());
        QVERIFY(!dialog->isVisible());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(DebuggerWin::instance(), dialog.data());
        dialog->write(QStringLiteral("d"));
        QCOMPARE(text->toPlainText(), QStringLiteral("a\nb\nc\nd"));
    }
};

TIRREL_SCENARIO_MAIN(tst_Services, ServiceScenarios)
#include "tst_services.moc"
