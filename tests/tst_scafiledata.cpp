// The page document model: defaults, copy and move of pages (records shared by pointer, layers
// and scroll tags by value), ownership of the item records and the SCADA object copy; the page
// operations: clone (records of its own), clear against erase, deleteAllItems, getBlock,
// getTemplateTagIdsInUse and tagBindings.

#include "pageDump.h"
#include "recordProbe.h"

#include <scaFileData.h>
#include <scaFileProcessor.h>

#include <QBrush>
#include <QDir>
#include <QSet>

#include <QtTest>

#include <type_traits>

using namespace pagedump;

// Item records own their base record (and a SCADA object its aux entries): never copied whole.
static_assert(!std::is_copy_constructible<ScadaObjectLoadData_t>::value, "owns its parts");
static_assert(!std::is_copy_assignable<ScadaObjectLoadData_t>::value, "owns its aux entries");
static_assert(!std::is_copy_constructible<TextItemLoadData_t>::value, "owns its base record");
static_assert(!std::is_copy_constructible<AuxDataEntry>::value, "owns its data");
static_assert(std::is_copy_constructible<ScaFileData>::value, "pages copy");
static_assert(std::is_nothrow_move_constructible<ScaFileData>::value, "pages move");

namespace {

ScadaObjectLoadData_t *makeObject(int uid)
{
    auto *o = new ScadaObjectLoadData_t;
    o->base->X = uid * 10;
    o->base->Name = QStringLiteral("obj%1").arg(uid);
    o->base->LayerId = 4;
    o->Uid = uid;
    o->tagID_label = uid + 100;
    o->MacroText = QStringLiteral("macro %1").arg(uid);
    o->indexOrder = {uid, 1};
    return o;
}

AuxDataEntry *makeEntry(const QByteArray &data, const QString &text, int value)
{
    auto *e = new AuxDataEntry;
    e->data = data.isNull() ? nullptr : new QByteArray(data);
    e->text = text;
    e->value = value;
    return e;
}

// A page with something in every member: two SCADA objects and one record of each other kind.
ScaFileData *makePage()
{
    auto *page = new ScaFileData;
    page->scadaObjects << makeObject(1) << makeObject(2);
    page->textItems << new TextItemLoadData_t;
    page->scheduleItems << new ScheduleItemLoadData_t;
    page->rtChartItems << new RealTimeChartItemLoadData_t;
    page->dbqTextItems << new DbQueryTextItemLoadData_t;
    page->tableItems << new TableItemLoadData_t;
    page->gaugeItems << new GaugeItemLoadData_t;
    page->imageItems << new ImageItemLoadData_t;
    page->webFrameItems << new WebFrameItemLoadData_t;
    page->labelTagIds << 101 << 102;
    page->templateTagIdsInUse.insert(QStringLiteral("pump"), QVariantList{3, 4});
    page->pageFunctionLinks << QStringLiteral("open:1");
    page->auxList << 9;
    page->layerIds << 4;
    page->layers << LayerInfo{QStringLiteral("Base"), 4, true, -1, -1};
    page->auxFlag1 = true;
    page->auxFlag3 = false;
    ScaFileData::PageProperties &p = page->pageProperties;
    p.pageName = QStringLiteral("Boiler");
    p.fileName = QStringLiteral("boiler.xml");
    p.pageID = 12;
    p.pageGeometry = QSize(800, 600);
    p.geoCenterPos = QStringLiteral("1,2,3");
    p.pageAccessRights = -5;
    p.scrollTags << ScrollTagInfo{7, QStringLiteral("Pressure")};
    p.auxPageList << 1 << 2;
    return page;
}

// Calls f on each of the nine item lists of a page, in the writer's kind order.
template <class Page, class F>
void forEachList(Page &page, F f)
{
    f(page.scadaObjects);
    f(page.textItems);
    f(page.scheduleItems);
    f(page.rtChartItems);
    f(page.dbqTextItems);
    f(page.tableItems);
    f(page.imageItems);
    f(page.gaugeItems);
    f(page.webFrameItems);
}

// Every non-null item record of a page, as its common part, the SCADA objects first.
QList<ItemRecord *> records(const ScaFileData &page)
{
    QList<ItemRecord *> all;
    forEachList(page, [&](const auto &list) {
        for (auto *r : list) {
            if (r)
                all << r;
        }
    });
    return all;
}

// The page with its nine item lists emptied (the records are not touched).
ScaFileData withoutItems(const ScaFileData &page)
{
    ScaFileData shell = page;
    forEachList(shell, [](auto &list) { list.clear(); });
    return shell;
}

ScaFileData *loadPageFixture(const QString &name)
{
    return ScaFileProcessor::loadFileData(fileContent(fixture(name)), fixture(name));
}

QStringList pageFixtures()
{
    return QDir(QStringLiteral(TIRREL_TEST_DATA "/pages")).entryList({QStringLiteral("*.xml")});
}

// Gives the members that the page file does not carry values of their own, so that a copy
// is checked on them too. Each SCADA object gets the aux entries: with data, null, without data.
void fillHostFields(ScaFileData *page)
{
    page->templateTagIdsInUse.insert(QStringLiteral("tank"), QVariantList{5, 6, 7});
    page->auxList << 31 << 32;
    page->auxFlag1 = true;
    page->auxFlag2 = true;
    page->auxFlag3 = false;
    page->auxFlag4 = true;
    page->pageProperties.auxValue = 17;
    page->pageProperties.auxPageId = 23;
    page->pageProperties.auxPageList << 4 << 5;
    int i = 0;
    for (ScadaObjectLoadData_t *o : page->scadaObjects) {
        ++i;
        o->auxInt1 = i;
        o->auxInt2 = -i;
        o->auxFloat1 = 0.5f * i;
        o->auxFloat2 = 1.25f;
        o->auxFloat3 = -2.0f;
        o->extraTagIds[0] = 1000 + i;
        o->extraTagIds[17] = 2000 + i;
        o->auxText = QStringLiteral("aux %1").arg(i);
        o->auxEntries << makeEntry(QByteArray(3, char(i)), QStringLiteral("entry"), i) << nullptr
                      << makeEntry(QByteArray(), QString(), 0);
    }
}

} // namespace

class tst_ScaFileData : public QObject
{
    Q_OBJECT

private slots:
    void newRecords();
    void copyAndMove_data();
    void copyAndMove();
    void copyScadaObjectData();
    void copyItemData();
    void clone_data();
    void clone();
    void cloneFixturesCoverEveryKind();
    void getBlock_data();
    void getBlock();
    void clearEraseDeleteAllItems_data();
    void clearEraseDeleteAllItems();
    void getTemplateTagIdsInUse_data();
    void getTemplateTagIdsInUse();
    void blockLoadData();
    void tagBindingsOfRecords();
};

void tst_ScaFileData::newRecords()
{
    // A new page and a new record of each kind, each record with a zeroed base record of its own.
    QStringList lines = dump(ScaFileData());
    auto add = [&](const char *name, const auto &record, const auto &other) {
        QVERIFY(record.base && record.base != other.base);
        lines += prefixed(QLatin1String(name) + '.', dump(record));
    };
    add("ScadaObject", ScadaObjectLoadData_t(), ScadaObjectLoadData_t());
    add("TextItem", TextItemLoadData_t(), TextItemLoadData_t());
    add("DbqTextItem", DbQueryTextItemLoadData_t(), DbQueryTextItemLoadData_t());
    add("RTChartItem", RealTimeChartItemLoadData_t(), RealTimeChartItemLoadData_t());
    add("GaugeItem", GaugeItemLoadData_t(), GaugeItemLoadData_t());
    add("TableItem", TableItemLoadData_t(), TableItemLoadData_t());
    add("ImageItem", ImageItemLoadData_t(), ImageItemLoadData_t());
    add("WebFrameItem", WebFrameItemLoadData_t(), WebFrameItemLoadData_t());
    add("ScheduleItem", ScheduleItemLoadData_t(), ScheduleItemLoadData_t());
    lines += prefixed("TableCell.", dump(TableCell()));
    PAGE_COMPARE_LINES(lines.join('\n').toUtf8() + '\n', fileContent(fixture("new-records.dump")));
}

void tst_ScaFileData::copyAndMove_data()
{
    QTest::addColumn<bool>("move");
    QTest::addColumn<bool>("assign");
    QTest::newRow("copy constructor") << false << false;
    QTest::newRow("copy assignment") << false << true;
    QTest::newRow("move constructor") << true << false;
    QTest::newRow("move assignment") << true << true;
}

void tst_ScaFileData::copyAndMove()
{
    QFETCH(bool, move);
    QFETCH(bool, assign);
    ScaFileData *source = makePage();
    const QStringList before = dump(*source);
    const QList<ItemRecord *> sourceRecords = records(*source);

    ScaFileData *made = assign ? new ScaFileData
                        : move ? new ScaFileData(std::move(*source))
                               : new ScaFileData(*source);
    if (assign && move)
        *made = std::move(*source);
    else if (assign)
        *made = *source;
    QCOMPARE(dump(*made), before);
    QCOMPARE(records(*made), sourceRecords);

    if (move) {
        QVERIFY(records(*source).isEmpty());
        QVERIFY(source->layerIds.isEmpty() && source->layers.isEmpty());
        QVERIFY(source->pageProperties.scrollTags.isEmpty());
        QVERIFY(source->templateTagIdsInUse.isEmpty() && source->labelTagIds.isEmpty());
        QVERIFY(source->pageFunctionLinks.isEmpty() && source->auxList.isEmpty());
        delete source;
        deletePage(made);
        return;
    }
    // Layers and scroll tags are values; a record changed through one page is changed for the
    // other: they are the same object.
    made->layers[0].name = QStringLiteral("Changed");
    made->pageProperties.scrollTags[0].ScrollText = QStringLiteral("Changed");
    made->scadaObjects.at(1)->Tooltip = QStringLiteral("shared");
    QCOMPARE(source->scadaObjects.at(1)->Tooltip, QStringLiteral("shared"));
    source->scadaObjects.at(1)->Tooltip.clear();
    delete made;
    // The copy is gone; the records it listed are alive (the sanitizer build reports a use
    // after free otherwise) and unchanged, and so are the source's layers and scroll tags.
    QCOMPARE(dump(*source), before);
    deletePage(source);
}

void tst_ScaFileData::copyScadaObjectData()
{
    // Every field of the source set: the fixture's first object with the host fields filled in.
    ScaFileData *page = loadPageFixture(QStringLiteral("full.xml"));
    QVERIFY(page && !page->scadaObjects.isEmpty());
    fillHostFields(page);
    ScadaObjectLoadData_t &source = *page->scadaObjects.first();

    ScadaObjectLoadData_t target;
    ItemBaseData_t *targetBase = target.base;
    target.base->X = 5;
    // The target's former entries are deleted (the leak checker of the sanitizer build would
    // report them otherwise).
    target.auxEntries << makeEntry("old", QStringLiteral("old"), 1);
    ::copyScadaObjectData(&target, &source);

    QCOMPARE(dumpFields(target), dumpFields(source));
    // base is the caller's business: neither replaced nor overwritten.
    QCOMPARE(target.base, targetBase);
    QCOMPARE(target.base->X, 5);
    // The entries and their data are new objects.
    QCOMPARE(target.auxEntries.size(), 3);
    QVERIFY(target.auxEntries.at(0)->data != source.auxEntries.at(0)->data);
    QVERIFY(!target.auxEntries.at(1));
    QVERIFY(!target.auxEntries.at(2)->data);

    // Copying onto itself or with a null argument changes nothing.
    const QStringList before = dump(target);
    ::copyScadaObjectData(&target, &target);
    ::copyScadaObjectData(nullptr, &source);
    ::copyScadaObjectData(&target, nullptr);
    QCOMPARE(dump(target), before);

    // A source without entries leaves the target without any.
    const ScadaObjectLoadData_t empty;
    ::copyScadaObjectData(&target, &empty);
    QVERIFY(target.auxEntries.isEmpty());
    QCOMPARE(dumpFields(target), dumpFields(empty));
    deletePage(page);
}

void tst_ScaFileData::copyItemData()
{
    ScaFileData *page = loadPageFixture(QStringLiteral("items.xml"));
    QVERIFY(page);
    // Host fields are copied too.
    page->gaugeItems.at(0)->auxValue = 3;
    page->gaugeItems.at(0)->auxBrush = QBrush(Qt::blue, Qt::Dense3Pattern);
    page->tableItems.at(0)->auxList = {4};
    // Every field but base; the target keeps its own base record untouched.
    auto check = [](auto copy, const auto *source) {
        using Record = std::remove_const_t<std::remove_pointer_t<decltype(source)>>;
        Record target;
        ItemBaseData_t *base = target.base;
        copy(&target, source);
        QCOMPARE(dumpFields(target), dumpFields(*source));
        QCOMPARE(target.base, base);
        QCOMPARE(dump(*target.base), dump(ItemBaseData_t()));
        copy(&target, &target);
        copy(nullptr, source);
        copy(&target, nullptr);
        QCOMPARE(dumpFields(target), dumpFields(*source));
    };
    check(&copyTextItemData, page->textItems.at(0));
    check(&copyDbQueryTextItemData, page->dbqTextItems.at(0));
    check(&copyRealTimeChartItemData, page->rtChartItems.at(0));
    check(&copyGaugeItemData, page->gaugeItems.at(0));
    check(&copyTableItemData, page->tableItems.at(0));
    check(&copyImageItemData, page->imageItems.at(0));
    check(&copyWebFrameItemData, page->webFrameItems.at(0));
    check(&copyScheduleItemData, page->scheduleItems.at(0));
    deletePage(page);
}

void tst_ScaFileData::clone_data()
{
    QTest::addColumn<QString>("fixture");
    for (const QString &name : pageFixtures()) {
        // Fixtures that are not meant to load are left to the file format's tests.
        ScaFileData *page = loadPageFixture(name);
        if (page)
            QTest::newRow(qPrintable("fixture: " + name)) << name;
        deletePage(page);
    }
}

void tst_ScaFileData::clone()
{
    QFETCH(QString, fixture);
    ScaFileData *source = loadPageFixture(fixture);
    QVERIFY(source);
    fillHostFields(source);
    source->textItems << nullptr; // a null entry stays null
    const QStringList before = dump(*source);

    ScaFileData *copy = source->clone();
    QCOMPARE(dump(*copy), before);

    // Not one record or base record in common.
    const QList<ItemRecord *> sourceRecords = records(*source);
    const QList<ItemRecord *> copyRecords = records(*copy);
    QCOMPARE(copyRecords.size(), sourceRecords.size());
    QVERIFY(!sourceRecords.isEmpty());
    QSet<const void *> sourceParts;
    for (const ItemRecord *r : sourceRecords)
        sourceParts << r << r->base;
    for (const ItemRecord *r : copyRecords)
        QVERIFY(!sourceParts.contains(r) && !sourceParts.contains(r->base));

    deletePage(copy);
    deletePage(source);
}

void tst_ScaFileData::cloneFixturesCoverEveryKind()
{
    // The clone rows above take their real field values from the page fixtures: together they
    // must hold records of every kind, or a copy function could drop a field unnoticed.
    QVector<bool> covered(9, false);
    for (const QString &name : pageFixtures()) {
        ScaFileData *page = loadPageFixture(name);
        if (!page)
            continue;
        int kind = 0;
        forEachList(*page, [&](const auto &list) {
            if (!list.isEmpty())
                covered[kind] = true;
            ++kind;
        });
        deletePage(page);
    }
    QCOMPARE(covered, QVector<bool>(9, true));
}

void tst_ScaFileData::getBlock_data()
{
    QTest::addColumn<QList<int>>("uids"); // of the page's SCADA objects; 0 stands for a null entry
    QTest::addColumn<int>("uid");
    QTest::addColumn<int>("expected"); // index in scadaObjects, -1: null
    QTest::newRow("found") << QList<int>{4, 5, 6} << 5 << 1;
    QTest::newRow("missing") << QList<int>{4, 5, 6} << 7 << -1;
    QTest::newRow("first of equal Uids") << QList<int>{4, 5, 5} << 5 << 1;
    QTest::newRow("null entries passed over") << QList<int>{0, 4, 0, 5} << 5 << 3;
}

void tst_ScaFileData::getBlock()
{
    QFETCH(QList<int>, uids);
    QFETCH(int, uid);
    QFETCH(int, expected);
    ScaFileData page;
    for (int u : uids)
        page.scadaObjects << (u ? makeObject(u) : nullptr);
    QCOMPARE(page.getBlock(uid), expected < 0 ? nullptr : page.scadaObjects.at(expected));
    page.erase();
}

enum Deletion { Clear, Erase, DeleteAllItems };

void tst_ScaFileData::clearEraseDeleteAllItems_data()
{
    QTest::addColumn<int>("operation");
    QTest::newRow("clear") << int(Clear);
    QTest::newRow("erase") << int(Erase);
    QTest::newRow("deleteAllItems") << int(DeleteAllItems);
}

void tst_ScaFileData::clearEraseDeleteAllItems()
{
    QFETCH(int, operation);
    RecordProbe objectProbe;
    RecordProbe otherProbe;
    ScaFileData *page = makePage();
    page->scadaObjects << makeObject(3);
    page->tableItems << new TableItemLoadData_t;
    page->textItems << nullptr;
    const QList<ScadaObjectLoadData_t *> held = page->scadaObjects;
    for (ScadaObjectLoadData_t *o : held)
        objectProbe.mark(o);
    const QList<ItemRecord *> others = records(*page).mid(held.size());
    for (ItemRecord *r : others)
        otherProbe.mark(r);
    QCOMPARE(objectProbe.count() + otherProbe.count(), 12);
    QStringList heldBefore;
    for (const ScadaObjectLoadData_t *o : held)
        heldBefore += dump(*o);
    // clear and erase empty scadaObjects only, deleteAllItems every item list; nothing else
    // changes. The copy lists the same records and deletes none.
    ScaFileData expected = operation == DeleteAllItems ? withoutItems(*page) : *page;
    expected.scadaObjects.clear();
    const QStringList rest = dump(expected);

    if (operation == Clear)
        page->clear();
    else if (operation == Erase)
        page->erase();
    else
        page->deleteAllItems();

    QCOMPARE(dump(*page), rest);
    QCOMPARE(objectProbe.alive(), operation == Clear ? held.size() : 0);
    if (operation == DeleteAllItems) {
        QCOMPARE(otherProbe.alive(), 0);
        page->deleteAllItems(); // nothing left to delete
        QCOMPARE(dump(*page), rest);
        delete page;
        return;
    }
    QCOMPARE(records(*page), others);
    QCOMPARE(otherProbe.alive(), others.size());
    if (operation == Clear) {
        // The records are still there for whoever holds them, and theirs to delete.
        QStringList heldAfter;
        for (ScadaObjectLoadData_t *o : held) {
            heldAfter += dump(*o);
            o->Tooltip = QStringLiteral("still usable");
        }
        QCOMPARE(heldAfter, heldBefore);
        qDeleteAll(held);
        QCOMPARE(objectProbe.alive(), 0);
    }
    deletePage(page);
    QCOMPARE(otherProbe.alive(), 0);
}

void tst_ScaFileData::getTemplateTagIdsInUse_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariantList>("expected");
    QTest::addColumn<QString>("message"); // the debug line
    QTest::newRow("three ids in order")
        << "pump" << QVariantList{3, 1, 2}
        << "getTemplateTagIdsInUse \"pump\" :  QVariant(QVariantList, (QVariant(int, 3), "
           "QVariant(int, 1), QVariant(int, 2)))";
    QTest::newRow("stored value not a list")
        << "motor" << QVariantList()
        << "getTemplateTagIdsInUse \"motor\" :  QVariant(QString, \"7\")";
    QTest::newRow("not a key") << "fan" << QVariantList() << QString();
    QTest::newRow("other letter case") << "PUMP" << QVariantList() << QString();
}

void tst_ScaFileData::getTemplateTagIdsInUse()
{
    QFETCH(QString, name);
    QFETCH(QVariantList, expected);
    QFETCH(QString, message);
    ScaFileData page;
    page.templateTagIdsInUse.insert(QStringLiteral("pump"), QVariantList{3, 1, 2});
    page.templateTagIdsInUse.insert(QStringLiteral("Pump"), QVariantList{9});
    page.templateTagIdsInUse.insert(QStringLiteral("motor"), QStringLiteral("7"));
    if (!message.isEmpty())
        QTest::ignoreMessage(QtDebugMsg, qPrintable(message));
    QCOMPARE(page.getTemplateTagIdsInUse(name), expected);
}

void tst_ScaFileData::blockLoadData()
{
    BlockLoadData_t block;
    QCOMPARE(block.initialized, false);
    block.init();
    block.init();
    QCOMPARE(block.initialized, true);
}

void tst_ScaFileData::tagBindingsOfRecords()
{
    // Records the host made: the slots the file does not carry count too, null records and
    // changes since loading are seen as they are now. (Those of files: tst_scafileprocessor.)
    ScaFileData page;
    ScadaObjectLoadData_t *object = makeObject(3);         // tagID_label 103
    object->extraTagIds[0] = 40;
    object->extraTagIds[17] = 41;
    page.scadaObjects << nullptr << object;
    page.scheduleItems << nullptr;
    page.gaugeItems << new GaugeItemLoadData_t;             // TagId -1
    page.gaugeItems.last()->TagId = 9;
    page.labelTagIds << 555;                                // not a binding source
    QCOMPARE(bindingLines(page),
             (QStringList{"103 ScadaObject#1 \"obj3\" 3 tagID_label[-1]",
                          "40 ScadaObject#1 \"obj3\" 3 extraTagIds[0][-1]",
                          "41 ScadaObject#1 \"obj3\" 3 extraTagIds[17][-1]",
                          "9 GaugeItem#0 \"\" -1 TagId[-1]"}));
    object->tagID_label = -1;
    QCOMPARE(bindingLines(page).size(), 3);
    page.deleteAllItems();
}

QTEST_GUILESS_MAIN(tst_ScaFileData)
#include "tst_scafiledata.moc"
