// The benchmark data generator: its files must be what the library reads and writes, so that the
// benchmarks measure real work. Each generated file (at the smallest benchmark size) loads with
// every record and item kind present and every value read, saves back to the very same bytes,
// and the writer tape that the floors replay writes those bytes too.

#include "defsDump.h"
#include "tirrelGen.h"

#include <projectDataTree.h>
#include <scaFileProcessor.h>
#include <scadaEngine.h>
#include <tgchFileProcessor.h>

#include <QApplication>
#include <QDomDocument>
#include <QLoggingCategory>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QXmlStreamWriter>
#include <QtTest>

#include <cstdio>
#include <functional>

namespace {

const char EngineScenario[] = "--engine-scenario";

// Deletes every page of the tree with all its records, however the test ends.
struct ProjectCleanup
{
    ProjectDataTree &tree;
    // selfDestruct deletes the pages and their SCADA objects only, as the editor's does.
    ~ProjectCleanup()
    {
        for (ScaFileData *page : qAsConst(tree.pages))
            page->deleteAllItems();
        tree.selfDestruct();
    }
};

QVector<int> kindCountsOf(const ScaFileData *page)
{
    return {page->scadaObjects.size(), page->textItems.size(), page->scheduleItems.size(),
            page->rtChartItems.size(), page->dbqTextItems.size(), page->tableItems.size(),
            page->imageItems.size(), page->gaugeItems.size(), page->webFrameItems.size()};
}

void fill(QStandardItemModel *model, const QVector<QStringList> &rows)
{
    for (int row = 0; row < rows.size(); ++row)
        for (int column = 0; column < rows.at(row).size(); ++column)
            model->setItem(row, column, new QStandardItem(rows.at(row).at(column)));
}

// Runs in a child process with a home folder holding a generated user library: reads it through
// the engine, checks every object came in, and writes the user objects back over the file.
int engineScenario()
{
    ScadaEngine *engine = ScadaEngine::instance();
    QList<ScadaLibObject *> user;
    for (ScadaLibObject *object : *engine->getLibObjects())
        if (object->isUserObject)
            user << object;
    std::printf("%d %d\n", int(engine->getLibObjects()->size()), int(user.size()));
    return engine->saveUserLibraryFile(user) ? 0 : 1;
}

} // namespace

class tst_BenchData : public QObject
{
    Q_OBJECT

private slots:
    void tapeWritesTheSameBytes_data();
    void tapeWritesTheSameBytes();
    void pagesLoadAndSaveTheSameBytes();
    void definitionsLoadAndSaveTheSameBytes();
    void objectLibraryLoadsAndSavesTheSameBytes();
};

Q_DECLARE_METATYPE(TirrelGen::Output)

// Each generator gives the same bytes for the same seed and others for another seed, and the
// writer tape that the floors replay writes those bytes too.
void tst_BenchData::tapeWritesTheSameBytes_data()
{
    QTest::addColumn<int>("indent");
    QTest::addColumn<bool>("documentModel");   // the file is a document model's text
    QTest::addColumn<TirrelGen::Output>("output");
    QTest::addColumn<QByteArray>("again");
    QTest::addColumn<QByteArray>("otherSeed");
    const auto row = [](const char *name, int indent, bool documentModel,
                        const std::function<TirrelGen::Output(quint32, bool)> &generate) {
        QTest::newRow(name) << indent << documentModel << generate(1, true)
                            << generate(1, false).bytes << generate(2, false).bytes;
    };
    row("page", 4, false, [](quint32 seed, bool tape) {
        TirrelGen::PageRequest request;
        request.seed = seed;
        return TirrelGen::page(request, tape);
    });
    row("definitions", 4, false, [](quint32 seed, bool tape) {
        return TirrelGen::definitionFile(TirrelGen::definitionData(1000, seed), tape);
    });
    row("model export", 1, true, [](quint32 seed, bool tape) {
        return TirrelGen::definitionModelFile(TirrelGen::definitionData(1000, seed), tape);
    });
    row("object library", 4, false, [](quint32 seed, bool tape) {
        return TirrelGen::objectLibrary(1000, seed, 0, false, tape);
    });
}

void tst_BenchData::tapeWritesTheSameBytes()
{
    QFETCH(int, indent);
    QFETCH(bool, documentModel);
    QFETCH(TirrelGen::Output, output);
    QFETCH(QByteArray, again);
    QFETCH(QByteArray, otherSeed);
    QCOMPARE(again, output.bytes);
    QVERIFY(output.tape.size() > 1000 && otherSeed != output.bytes);
    QByteArray replayed;
    QXmlStreamWriter w(&replayed);
    w.setAutoFormatting(true);
    w.setAutoFormattingIndent(indent);
    output.tape.replay(w);
    if (documentModel) {
        // The same elements and texts, escaped as the document model escapes them.
        QDomDocument fromTape;
        QDomDocument fromFile;
        QVERIFY(fromTape.setContent(replayed) && fromFile.setContent(output.bytes));
        COMPARE_DUMPS(fromTape.toString(1).split('\n'), fromFile.toString(1).split('\n'));
        QVERIFY(replayed != output.bytes);
    } else {
        COMPARE_DUMPS(defs::lines(replayed), defs::lines(output.bytes));
    }
}

// A project's pages load and are looked up; a large page beside them loads with every item kind
// and every value read, and saves back to the same bytes.
void tst_BenchData::pagesLoadAndSaveTheSameBytes()
{
    ProjectDataTree tree;
    ProjectCleanup cleanup{tree};
    const QVector<TirrelGen::ProjectPage> pages = TirrelGen::project(100);
    QCOMPARE(TirrelGen::projectPage(36).bytes, pages.at(36).bytes);
    QVERIFY(TirrelGen::projectPage(36, 24, 2).bytes != pages.at(36).bytes);
    for (const TirrelGen::ProjectPage &p : pages) {
        ScaFileData *page = ScaFileProcessor::loadFileData(p.bytes, p.fileName);
        QVERIFY(page);
        tree.pages.insert(p.fileName, page);
    }
    QTemporaryDir dir;
    TirrelGen::PageRequest request;
    request.uidBase = 100000;
    request.pageId = 1000;
    request.fileName = dir.filePath(QStringLiteral("page.xml"));
    const TirrelGen::Output file = TirrelGen::page(request);
    ScaFileData *page = ScaFileProcessor::loadFileData(file.bytes, request.fileName);
    QVERIFY(page);
    tree.pages.insert(request.fileName, page);
    const QVector<int> counts = TirrelGen::kindCounts(request.items);
    QVERIFY(!counts.contains(0));
    QCOMPARE(kindCountsOf(page), counts);

    // Every SCADA object of the project has a uid of its own; the last object of page 37 (index
    // 36) is found there, by uid and by page id.
    const int perPage = TirrelGen::kindCounts(24).at(TirrelGen::ScadaObject);
    const QList<ScadaObjectLoadData_t *> all = tree.getAllBlocks();
    QCOMPARE(all.size(), 100 * perPage + counts[TirrelGen::ScadaObject]);
    QSet<int> uids;
    for (const ScadaObjectLoadData_t *o : all)
        uids.insert(o->base->itemKind == 1 ? o->Uid : -1);
    QCOMPARE(uids.size(), all.size());
    const int uid = 1 + 36 * 24 + perPage - 1;
    QVERIFY(tree.getBlock(uid));
    QCOMPARE(tree.getFileNameContainingBlock(uid), QStringLiteral("pages/page00037.xml"));
    QCOMPARE(tree.getFileNameWithPageId(37), QStringLiteral("pages/page00037.xml"));
    QVERIFY(tree.getProjectComponents().size() > 1);

    // Values of every kind were read, not left at their defaults.
    QCOMPARE(page->labelTagIds.size(), counts[TirrelGen::ScadaObject]);
    QVERIFY(!page->pageFunctionLinks.isEmpty());
    const TextItemLoadData_t *text = page->textItems.first();
    QVERIFY(!text->ItemText.isEmpty() && text->base->W > 0 && text->TextPixelSize > 0);
    const RealTimeChartItemLoadData_t *chart = page->rtChartItems.first();
    QVERIFY(!chart->TagIDs.isEmpty() && chart->TagIDs.first().Tag > 0 && !chart->ChartTitle.isEmpty());
    const TableItemLoadData_t *table = page->tableItems.first();
    QVERIFY(table->rows.size() >= 2 && table->rows.first().size() == table->columnWidths.size());
    QCOMPARE(table->rows.first().first().cellText, QStringLiteral("Column 1"));
    const GaugeItemLoadData_t *gauge = page->gaugeItems.first();
    QVERIFY(gauge->TagId > 0 && gauge->StartAngle == 225 && gauge->Foreground.isValid());
    QCOMPARE(page->layers.size(), request.layers);
    QCOMPARE(page->pageProperties.scrollTags.size(), 4);
    QCOMPARE(page->pageProperties.pageID, request.pageId);

    QVERIFY(ScaFileProcessor::saveFileData(page, request.fileName));
    COMPARE_DUMPS(defs::lines(defs::readAll(request.fileName)), defs::lines(file.bytes));
}

// The record writer writes the generated file again; the export of its table models reads as
// the same channels and tags; the CSV tag list imports every line with every type.
void tst_BenchData::definitionsLoadAndSaveTheSameBytes()
{
    QTemporaryDir dir;
    const TirrelGen::DefinitionData data = TirrelGen::definitionData(1000);
    const QByteArray bytes = TirrelGen::definitionFile(data).bytes;
    QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(bytes));
    QVERIFY(tree->TagList.last()->Id == 1000 && tree->AlarmList.last()->Id == 250);
    const QString path = dir.filePath(QStringLiteral("definitions.xml"));
    QVERIFY(TgchFileProcessor::writeToFile(tree.data(), path));
    COMPARE_DUMPS(defs::lines(defs::readAll(path)), defs::lines(bytes));

    QStandardItemModel channels;
    QStandardItemModel tags;
    fill(&channels, TirrelGen::channelModelRows(data));
    fill(&tags, TirrelGen::tagModelRows(data));
    QVERIFY(TgchFileProcessor::writeToFile(&channels, &tags, path));
    QScopedPointer<FileDataTree> exported(TgchFileProcessor::loadFileData(path));
    COMPARE_DUMPS(defs::dump(exported.data()),
                  defs::dump(tree.data()).filter(QRegularExpression("^(?!Alarm\\[)")));

    const QByteArray csv = TirrelGen::csvTagList(1000);
    QVERIFY(TirrelGen::csvTagList(1000) == csv && TirrelGen::csvTagList(1000, 2) != csv);
    QVERIFY(defs::writeAll(path, csv));
    tree.reset(TgchFileProcessor::loadTagsFromCSV(path, false));
    const QList<QByteArray> lines = csv.split('\n');
    QCOMPARE(tree->TagList.size(), 1000);
    QSet<int> types;
    for (int i = 0; i < 1000; ++i) {
        const QList<QByteArray> fields = lines.at(i).split(';');
        QCOMPARE(tree->TagList.at(i)->VariableAddress + ';' + tree->TagList.at(i)->Name,
                 QString::fromUtf8(fields.at(1) + ';' + fields.at(2)));
        types.insert(tree->TagList.at(i)->VariableType);
    }
    // Every type name of the table and the fallback occur.
    QCOMPARE(types, (QSet<int>{16, 1, 6, 3, 2}));
}

void tst_BenchData::objectLibraryLoadsAndSavesTheSameBytes()
{
    QTemporaryDir home;
    const QByteArray bytes = TirrelGen::objectLibrary(1000, 3, 0, true).bytes;
    const QString file = home.filePath(QStringLiteral("Parvane/userlib.xml"));
    QVERIFY(QDir().mkpath(home.filePath(QStringLiteral("Parvane"))));
    QVERIFY(defs::writeAll(file, bytes));

    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), home.path());
    child.setProcessEnvironment(env);
    child.setWorkingDirectory(home.path());
    child.start(QCoreApplication::applicationFilePath(), {QLatin1String(EngineScenario)});
    QVERIFY(child.waitForFinished(60000));
    QCOMPARE(child.exitCode(), 0);
    QCOMPARE(child.readAllStandardOutput().trimmed(), QByteArray("1000 1000"));
    COMPARE_DUMPS(defs::lines(defs::readAll(file)), defs::lines(bytes));
}

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    // The chart reader writes a debug line per chart; a thousand of them say nothing here.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    if (argc > 1 && qstrcmp(argv[1], EngineScenario) == 0)
        return engineScenario();
    tst_BenchData test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_benchdata.moc"
