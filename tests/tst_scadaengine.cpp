#include <scadaEngine.h>

#include "serviceTestSupport.h"

#include <QTemporaryDir>

namespace {

const char OpenError[] = "dosya acilamadi";

// The scenario's own program folder: root/bin. The standard library belongs in root/scdLib.
QString programRoot() { return QDir::cleanPath(QCoreApplication::applicationDirPath() + "/.."); }
QString standardLibraryFile() { return programRoot() + QLatin1String("/scdLib/objlib.xml"); }
QString userFolder() { return QDir::homePath() + QLatin1String("/Parvane"); }
QString userLibraryFile() { return userFolder() + QLatin1String("/userlib.xml"); }
QString imagesFolder() { return userFolder() + QLatin1String("/images"); }

// Puts library fixtures in place before the engine exists; an empty name leaves that file out.
bool placeLibraries(const QString &standardFixture, const QString &userFixture)
{
    QDir().mkpath(programRoot() + QLatin1String("/scdLib"));
    QDir().mkpath(userFolder());
    return (standardFixture.isEmpty()
            || copyFixture(QLatin1String("library/") + standardFixture, standardLibraryFile()))
        && (userFixture.isEmpty()
            || copyFixture(QLatin1String("library/") + userFixture, userLibraryFile()));
}

QString dump(const ScadaLibObject *object)
{
    return QStringLiteral("%1|%2|uid %3|type %4|rtu %5|reg %6|%7x%8|m %9|a %10|lof %11,%12|%13|%14")
        .arg(object->name, object->objectCategory)
        .arg(object->objectUID).arg(object->objectType).arg(object->rtuID).arg(object->registerID)
        .arg(object->width).arg(object->height).arg(double(object->m_val)).arg(double(object->a_val))
        .arg(object->lofX).arg(object->lofY)
        .arg(object->images.join(QLatin1Char(',')),
             object->isUserObject ? QStringLiteral("user") : QStringLiteral("standard"));
}

QStringList dumpCatalogue()
{
    QStringList lines;
    const QList<ScadaLibObject *> catalogue = *ScadaEngine::instance()->getLibObjects();
    for (const ScadaLibObject *object : catalogue)
        lines << dump(object);
    return lines;
}

const QStringList StandardDump = {
    "Valve|Valves|uid 3|type 2|rtu 11|reg 400|40x30|m 7|a 0|lof -4,5"
    "|images/valve_open.png,images/valve_closed.png|standard",
    "Pump|Pumps|uid 0|type 0|rtu 0|reg 0|0x0|m 0|a 0|lof 0,0|images/pump.png|standard",
    "|Misc|uid 8|type 0|rtu 0|reg 0|0x14|m -3|a 0|lof 0,0|images/|standard",
};

const QStringList UserDump = {
    "My Tank|Tanks|uid 10|type 0|rtu 0|reg 0|50x0|m 0|a 0|lof 0,0|images/tank.png|user",
    "Dup|Misc|uid 3|type 0|rtu 0|reg 0|0x0|m 0|a 0|lof 0,0||user",
};

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
QList<SeenBox> addClosingBox(ScadaLibObject *object)
{
    BoxCloser closer;
    ScadaEngine::instance()->addUserObject(object);
    return closer.boxes;
}

// Creates the engine, which reports each library file it cannot open.
void startEngine(int unopened)
{
    for (int i = 0; i < unopened; ++i)
        QTest::ignoreMessage(QtDebugMsg, OpenError);
    ScadaEngine::instance();
}

} // namespace

// Each slot runs in a fresh process whose program lies in root/bin, with its home in root/home.
class ScadaEngineScenarios : public QObject
{
    Q_OBJECT

private slots:
    void neitherFile();
    void malformedAndEmptyFiles();
    void unreadableFiles();
    void twoAdditions();
    void reloadAfterAdditions();
    void existingImagesNeverLost();
    void catalogueChangedByCaller();
    void saveUserLibraryFile();
    void issuedIdentifiers();
};

void ScadaEngineScenarios::neitherFile()
{
    // A library inside the program's own folder is not the standard library.
    QDir().mkpath(QCoreApplication::applicationDirPath() + QLatin1String("/scdLib"));
    QVERIFY(copyFixture(QStringLiteral("library/objlib.xml"),
                        QCoreApplication::applicationDirPath() + QLatin1String("/scdLib/objlib.xml")));
    startEngine(2);
    ScadaEngine *engine = ScadaEngine::instance();
    QCOMPARE(engine->getLibPath(), programRoot() + QLatin1String("/scdLib/"));
    QCOMPARE(engine->getUserLibPath(), userFolder() + QLatin1Char('/'));
    QVERIFY(engine->getLibObjects()->isEmpty());
    QVERIFY(QFileInfo(imagesFolder()).isDir());
}

void ScadaEngineScenarios::malformedAndEmptyFiles()
{
    QVERIFY(placeLibraries(QStringLiteral("malformed.xml"), QStringLiteral("no-objects.xml")));
    startEngine(0);
    QVERIFY(ScadaEngine::instance()->getLibObjects()->isEmpty());
}

void ScadaEngineScenarios::unreadableFiles()
{
    QVERIFY(placeLibraries(QStringLiteral("objlib.xml"), QString()));
    QVERIFY(QDir().mkpath(userLibraryFile()));   // a folder cannot be read or written as a file
    startEngine(1);

    // The object is still added in memory and confirmed; only its saving fails.
    ScadaLibObject *object = newObject(QStringLiteral("Kept"), QStringLiteral("Mem"));
    QTest::ignoreMessage(QtDebugMsg, OpenError);
    QCOMPARE(addClosingBox(object).size(), 1);
    QCOMPARE(ScadaEngine::instance()->getLibObjects()->size(), 4);
    QCOMPARE(ScadaEngine::instance()->getLibObjects()->last(), object);
    QVERIFY(!ScadaEngine::instance()->saveUserLibraryFile({object}));
    QVERIFY(QFileInfo(userLibraryFile()).isDir());
}

void ScadaEngineScenarios::twoAdditions()
{
    QVERIFY(placeLibraries(QStringLiteral("objlib.xml"), QStringLiteral("userlib.xml")));
    const QString sources = QDir::currentPath();
    QDir().mkpath(sources + QLatin1String("/one"));
    QDir().mkpath(sources + QLatin1String("/two"));
    QVERIFY(writeFile(sources + QLatin1String("/one/a.png"), "A1"));
    QVERIFY(writeFile(sources + QLatin1String("/one/b.png"), "B1"));
    QVERIFY(writeFile(sources + QLatin1String("/two/b.png"), "B2"));

    startEngine(0);
    QList<ScadaLibObject *> *catalogue = ScadaEngine::instance()->getLibObjects();
    ScadaLibObject *mixer = newObject(QStringLiteral("Mixer"), QStringLiteral("Mixers"),
                                      {sources + QLatin1String("/one/a.png"),
                                       sources + QLatin1String("/one/b.png")});
    ScadaLibObject *heater = newObject(QStringLiteral("Heater & \"Fan\""),
                                       QStringLiteral("Air <hot>"),
                                       {sources + QLatin1String("/two/b.png"),
                                        sources + QLatin1String("/missing/c.png")});
    QList<SeenBox> boxes = addClosingBox(mixer);
    boxes += addClosingBox(heater);

    QCOMPARE(boxes.size(), 2);
    QCOMPARE(boxes.at(0).text, QStringLiteral("Object Mixer is succesfully added under Mixers category"));
    QCOMPARE(boxes.at(1).text,
             QStringLiteral("Object Heater & \"Fan\" is succesfully added under Air <hot> category"));
    for (const SeenBox &box : boxes) {
        QCOMPARE(box.visibleBoxes, 1);
        QCOMPARE(box.title, QString());
        QCOMPARE(box.informativeText, QString());
        QCOMPARE(box.icon, QMessageBox::NoIcon);
        QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(box.parent, nullptr);
        QVERIFY(box.modal);
    }
    QCOMPARE(messageBoxesAlive(), 0);

    // Identifiers in use: 3, 0, 8, 10 and 3 again. A later image of the same name replaces
    // the earlier one; a missing source still gets its path.
    QCOMPARE(mixer->objectUID, 1);
    QCOMPARE(heater->objectUID, 2);
    QCOMPARE(mixer->images, QStringList({"images/a.png", "images/b.png"}));
    QCOMPARE(heater->images, QStringList({"images/b.png", "images/c.png"}));
    QCOMPARE(readAll(imagesFolder() + QLatin1String("/a.png")), QByteArray("A1"));
    QCOMPARE(readAll(imagesFolder() + QLatin1String("/b.png")), QByteArray("B2"));
    QCOMPARE(QDir(imagesFolder()).entryList(QDir::Files), QStringList({"a.png", "b.png"}));

    // The catalogue handed out before is the one extended.
    QCOMPARE(dumpCatalogue().mid(0, 5), StandardDump + UserDump);
    QCOMPARE(catalogue->mid(5), QList<ScadaLibObject *>({mixer, heater}));

    QCOMPARE(QString::fromUtf8(readAll(userLibraryFile())),
             QString::fromUtf8(readAll(QStringLiteral(TIRREL_TEST_DATA)
                                       + QLatin1String("/library/userlib-after-two-additions.xml"))));
}

void ScadaEngineScenarios::reloadAfterAdditions()
{
    // Runs after twoAdditions in the same home: only name, category, identifier and images
    // were kept.
    QCOMPARE(dumpCatalogue(), StandardDump + QStringList({
        "My Tank|Tanks|uid 10|type 0|rtu 0|reg 0|0x0|m 0|a 0|lof 0,0|images/tank.png|user",
        UserDump.at(1),
        "Mixer|Mixers|uid 1|type 0|rtu 0|reg 0|0x0|m 0|a 0|lof 0,0|images/a.png,images/b.png|user",
        "Heater & \"Fan\"|Air <hot>|uid 2|type 0|rtu 0|reg 0|0x0|m 0|a 0|lof 0,0"
        "|images/b.png,images/c.png|user",
    }));
}

void ScadaEngineScenarios::existingImagesNeverLost()
{
    QDir().mkpath(imagesFolder());
    QDir().mkpath(QDir::currentPath() + QLatin1String("/folder.png"));
    const QStringList names = {"same.png", "gone.png", "folder.png"};
    for (const QString &name : names)
        QVERIFY(writeFile(imagesFolder() + QLatin1Char('/') + name, name.toLatin1()));

    ScadaLibObject *object = newObject(QStringLiteral("Reuse"), QStringLiteral("C"), {
        imagesFolder() + QLatin1String("/same.png"),          // already in place
        QDir::currentPath() + QLatin1String("/nowhere/gone.png"),   // source missing
        QDir::currentPath() + QLatin1String("/folder.png"),   // source is no file
    });
    addClosingBox(object);
    QCOMPARE(object->images, QStringList({"images/same.png", "images/gone.png", "images/folder.png"}));
    for (const QString &name : names)
        QCOMPARE(readAll(imagesFolder() + QLatin1Char('/') + name), name.toLatin1());
    QCOMPARE(QDir(imagesFolder()).entryList(QDir::Files | QDir::Hidden).size(), names.size());
}

void ScadaEngineScenarios::catalogueChangedByCaller()
{
    QVERIFY(placeLibraries(QStringLiteral("objlib.xml"), QStringLiteral("userlib.xml")));
    QList<ScadaLibObject *> *catalogue = ScadaEngine::instance()->getLibObjects();
    ScadaLibObject *first = catalogue->takeFirst();
    catalogue->removeLast();

    // Adding rebuilds the catalogue from the standard and user objects.
    ScadaLibObject *object = newObject(QStringLiteral("New"), QStringLiteral("C"));
    addClosingBox(object);
    QCOMPARE(catalogue->size(), 6);
    QCOMPARE(catalogue->first(), first);
    QCOMPARE(dumpCatalogue().mid(0, 5), StandardDump + UserDump);
    QCOMPARE(catalogue->last(), object);
}

void ScadaEngineScenarios::saveUserLibraryFile()
{
    ScadaEngine *engine = ScadaEngine::instance();
    QVERIFY(engine->saveUserLibraryFile({}));
    QCOMPARE(QString::fromUtf8(readAll(userLibraryFile())),
             QString::fromUtf8(readAll(QStringLiteral(TIRREL_TEST_DATA)
                                       + QLatin1String("/library/empty-user-library.xml"))));

    ScadaLibObject object;
    object.name = QStringLiteral("n");
    object.objectCategory = QStringLiteral("c");
    object.objectUID = -3;
    object.images = QStringList({"images/a.png", "/abs/path/b.png", "plain.png"});
    object.rtuID = 9;
    QVERIFY(engine->saveUserLibraryFile({nullptr, &object}));
    QCOMPARE(QString::fromUtf8(readAll(userLibraryFile())), QStringLiteral(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<scadaObjectTypes>\n"
        "    <object name=\"n\">\n"
        "        <objectCategory>c</objectCategory>\n"
        "        <objectUID>-3</objectUID>\n"
        "        <image1>a.png</image1>\n"
        "        <image2>b.png</image2>\n"
        "        <image3>plain.png</image3>\n"
        "    </object>\n"
        "</scadaObjectTypes>\n"));
}

void ScadaEngineScenarios::issuedIdentifiers()
{
    // Argument: the identifiers in the standard library, then the ones expected to be issued.
    const QStringList parts = scenarioArgument().split(QLatin1Char('|'));
    QCOMPARE(parts.size(), 2);
    QDir().mkpath(programRoot() + QLatin1String("/scdLib"));
    QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<scadaObjectTypes>\n";
    for (const QString &id : parts.at(0).split(QLatin1Char(','), Qt::SkipEmptyParts))
        xml += "<object name=\"o\"><objectUID>" + id.toLatin1() + "</objectUID></object>\n";
    QVERIFY(writeFile(standardLibraryFile(), xml + "</scadaObjectTypes>\n"));
    const QStringList expected = parts.at(1).split(QLatin1Char(','));

    QStringList issued;
    for (int i = 0; i < expected.size(); ++i) {
        ScadaLibObject *object = newObject(QStringLiteral("o%1").arg(i), QStringLiteral("c"));
        addClosingBox(object);
        issued << QString::number(object->objectUID);
    }
    QCOMPARE(issued, expected);
}

class tst_ScadaEngine : public QObject
{
    Q_OBJECT

private slots:
    void scenario_data();
    void scenario();
};

void tst_ScadaEngine::scenario_data()
{
    // The scenarios run in turn in one root, each as "name" or "name=argument".
    QTest::addColumn<QStringList>("steps");
    const QStringList sequenced = {"twoAdditions", "reloadAfterAdditions", "issuedIdentifiers"};
    const QMetaObject &mo = ScadaEngineScenarios::staticMetaObject;
    for (int i = mo.methodOffset(); i < mo.methodCount(); ++i) {
        const QString name = QString::fromLatin1(mo.method(i).name());
        if (!sequenced.contains(name))
            QTest::newRow(qPrintable(name)) << QStringList{name};
    }
    QTest::newRow("additions survive a restart")
            << QStringList{"twoAdditions", "reloadAfterAdditions"};

    // Identifiers in the standard library | the ones expected to be issued.
    QTest::newRow("ids: 1 to 5") << QStringList{"issuedIdentifiers=1,2,3,4,5|0,6"};
    QTest::newRow("ids: repeats and negatives") << QStringList{"issuedIdentifiers=-1,0,0,2,2,-5|1,3,4"};
    QTest::newRow("ids: large and non-numeric") << QStringList{"issuedIdentifiers=2147483647,x,1|2,3"};
    QTest::newRow("ids: gaps filled in order") << QStringList{"issuedIdentifiers=0,2,4,6,8|1,3,5,7,9,10"};
}

void tst_ScadaEngine::scenario()
{
    QFETCH(QStringList, steps);
    QTemporaryDir root(QDir::currentPath() + QLatin1String("/scenario-XXXXXX"));
    QVERIFY(root.isValid());
    for (const QString &step : steps) {
        const int split = step.indexOf(QLatin1Char('='));
        const ScenarioRun run = runScenario(step.left(split), root.path(), true,
                                            split < 0 ? QString() : step.mid(split + 1));
        QVERIFY2(run.exitCode == 0, qPrintable(step + QLatin1String(": ") + run.output));
    }
}

TIRREL_SCENARIO_MAIN(tst_ScadaEngine, ScadaEngineScenarios)
#include "tst_scadaengine.moc"
