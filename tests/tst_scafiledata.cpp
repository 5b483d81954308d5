// The page document model: defaults, copy and move of pages (records shared by pointer, layers
// and scroll tags by value), ownership of the item records and the SCADA object copy; the page
// operations: clone (records of its own), clear against erase, deleteAllItems, getBlock,
// getTemplateTagIdsInUse and tagBindings.

#include "pageDump.h"
#include "recordProbe.h"

#include <scaFileData.h>
#include <scaFileProcessor.h>

#include <QDir>
#include <QFile>
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

// A page with something in every member: two SCADA objects and, unless told otherwise, one
// record of each other kind.
ScaFileData *makePage(bool otherKinds = true)
{
    auto *page = new ScaFileData;
    page->scadaObjects << makeObject(1) << makeObject(2);
    if (otherKinds) {
        page->textItems << new TextItemLoadData_t;
        page->scheduleItems << new ScheduleItemLoadData_t;
        page->rtChartItems << new RealTimeChartItemLoadData_t;
        page->dbqTextItems << new DbQueryTextItemLoadData_t;
        page->tableItems << new TableItemLoadData_t;
        page->gaugeItems << new GaugeItemLoadData_t;
        page->imageItems << new ImageItemLoadData_t;
        page->webFrameItems << new WebFrameItemLoadData_t;
    }
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

// Pointers of every item record of a page, in list order.
QList<const void *> recordPointers(const ScaFileData &page)
{
    QList<const void *> ptrs;
    for (auto *r : page.scadaObjects) ptrs << r;
    for (auto *r : page.textItems) ptrs << r;
    for (auto *r : page.scheduleItems) ptrs << r;
    for (auto *r : page.rtChartItems) ptrs << r;
    for (auto *r : page.dbqTextItems) ptrs << r;
    for (auto *r : page.tableItems) ptrs << r;
    for (auto *r : page.gaugeItems) ptrs << r;
    for (auto *r : page.imageItems) ptrs << r;
    for (auto *r : page.webFrameItems) ptrs << r;
    return ptrs;
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

// Every non-null item record of a page, as its common part.
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

QString pageFixture(const QString &name)
{
    return QStringLiteral(TIRREL_TEST_DATA "/pages/") + name;
}

ScaFileData *loadPageFixture(const QString &name)
{
    QFile file(pageFixture(name));
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    return ScaFileProcessor::loadFileData(file.readAll(), pageFixture(name));
}

// Gives the members that the page file does not carry values of their own, so that a clone
// is checked on them too.
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

// One line per binding: "tag itemType#index "name" uid slot[slotIndex]".
QStringList bindingLines(const ScaFileData &page)
{
    QStringList lines;
    for (const TagBinding_t &b : page.tagBindings()) {
        lines << QStringLiteral("%1 %2#%3 \"%4\" %5 %6[%7]")
                     .arg(b.tagId).arg(b.itemType).arg(b.itemIndex).arg(b.itemName).arg(b.uid)
                     .arg(b.slot).arg(b.slotIndex);
    }
    return lines;
}

// Debug messages written while one of these lives are kept in `messages` instead of printed.
struct DebugCapture
{
    static QStringList messages;
    static QtMessageHandler previous;
    static void handler(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        if (type == QtDebugMsg)
            messages << message;
        else
            previous(type, context, message);
    }
    DebugCapture()
    {
        messages.clear();
        previous = qInstallMessageHandler(handler);
    }
    ~DebugCapture() { qInstallMessageHandler(previous); }
};
QStringList DebugCapture::messages;
QtMessageHandler DebugCapture::previous = nullptr;

} // namespace

class tst_ScaFileData : public QObject
{
    Q_OBJECT

private slots:
    void pageDefaults();
    void recordDefaults();
    void copySharesRecords_data();
    void copySharesRecords();
    void move_data();
    void move();
    void destroyingPageKeepsRecords();
    void copyScadaObjectData();
    void copyScadaObjectDataReplacesEntries();
    void recordAssignmentKeepsBase();
    void clone_data();
    void clone();
    void cloneFixturesCoverEveryKind();
    void cloneOfEmptyPage();
    void getBlock_data();
    void getBlock();
    void eraseAgainstClear_data();
    void eraseAgainstClear();
    void deleteAllItems();
    void getTemplateTagIdsInUse_data();
    void getTemplateTagIdsInUse();
    void blockLoadData();
    void tagBindings_data();
    void tagBindings();
    void tagBindingsOfRecords();
};

void tst_ScaFileData::pageDefaults()
{
    const ScaFileData page;
    QVERIFY(recordPointers(page).isEmpty());
    QVERIFY(page.labelTagIds.isEmpty() && page.templateTagIdsInUse.isEmpty());
    QVERIFY(page.pageFunctionLinks.isEmpty() && page.auxList.isEmpty());
    QVERIFY(page.layerIds.isEmpty() && page.layers.isEmpty());
    QCOMPARE(page.auxFlag1, false);
    QCOMPARE(page.auxFlag2, false);
    QCOMPARE(page.auxFlag3, true);
    QCOMPARE(page.auxFlag4, false);
    const ScaFileData::PageProperties &p = page.pageProperties;
    QVERIFY(!p.pageGeometry.isValid());
    QCOMPARE(p.pageGeometry, QSize(-1, -1));
    for (const QString &s : {p.pageName, p.fileName, p.relativePath, p.pageBgImage, p.pageIcon,
                             p.geoData, p.markerCategories, p.geoCenterPos})
        QVERIFY(s.isEmpty());
    QVERIFY(p.scrollTags.isEmpty() && p.auxPageList.isEmpty());
}

void tst_ScaFileData::recordDefaults()
{
    ScadaObjectLoadData_t o;
    QVERIFY(o.base);
    QCOMPARE(dump(*o.base), dump(ItemBaseData_t()));
    QCOMPARE(o.base->X, 0);
    QCOMPARE(o.base->itemKind, 0);
    QVERIFY(o.base->Name.isEmpty());
    const QStringList fields = dumpFields(o);
    for (const char *slot : {"image", "label", "posx", "posy", "width", "height", "rotAng",
                             "txtColor", "maskColor", "maskOpac", "cusProp1", "cusProp7",
                             "eventTarget"})
        QVERIFY2(fields.contains(QStringLiteral("tagID_%1=-1").arg(QLatin1String(slot))), slot);
    for (int v : o.extraTagIds)
        QCOMPARE(v, -1);
    QCOMPARE(o.labelText, QStringLiteral("%.3f"));
    QCOMPARE(o.labelStyleSheet, QStringLiteral("font: 22px \"Arial\";"));
    QCOMPARE(o.showChildAlarms, true);
    QCOMPARE(o.highLimit, 100.0f);
    QCOMPARE(o.lowLimit, 0.0f);
    QCOMPARE(o.Uid, 0);
    QVERIFY(o.auxEntries.isEmpty() && o.indexOrder.isEmpty());

    // Each record makes a base record of its own.
    ScadaObjectLoadData_t other;
    TextItemLoadData_t text;
    QVERIFY(other.base != o.base && text.base != o.base && text.base);
}

void tst_ScaFileData::copySharesRecords_data()
{
    QTest::addColumn<bool>("assign");
    QTest::newRow("copy constructor") << false;
    QTest::newRow("copy assignment") << true;
}

void tst_ScaFileData::copySharesRecords()
{
    QFETCH(bool, assign);
    ScaFileData *source = makePage();
    const QStringList before = dump(*source);
    {
        ScaFileData *made = assign ? new ScaFileData : new ScaFileData(*source);
        if (assign)
            *made = *source;
        QScopedPointer<ScaFileData> holder(made);
        ScaFileData &copy = *made;
        QCOMPARE(dump(copy), before);
        QCOMPARE(recordPointers(copy), recordPointers(*source));
        QCOMPARE(copy.scadaObjects.at(0)->base, source->scadaObjects.at(0)->base);

        // Layers and scroll tags are values: changing either side leaves the other alone.
        copy.layers[0].name = QStringLiteral("Changed");
        copy.pageProperties.scrollTags[0].ScrollText = QStringLiteral("Changed");
        source->layers << LayerInfo{QStringLiteral("Added"), 8, false, 1, 2};
        QCOMPARE(source->layers.at(0).name, QStringLiteral("Base"));
        QCOMPARE(source->pageProperties.scrollTags.at(0).ScrollText, QStringLiteral("Pressure"));
        QCOMPARE(copy.layers.size(), 1);
        source->layers.removeLast();
        // A record changed through one page is changed for the other: they are the same object.
        copy.scadaObjects.at(1)->Tooltip = QStringLiteral("shared");
        QCOMPARE(source->scadaObjects.at(1)->Tooltip, QStringLiteral("shared"));
        source->scadaObjects.at(1)->Tooltip.clear();
    }
    // The copy is gone; the records it listed are alive and unchanged.
    QCOMPARE(dump(*source), before);
    deletePage(source);
}

void tst_ScaFileData::move_data()
{
    QTest::addColumn<bool>("assign");
    QTest::newRow("move constructor") << false;
    QTest::newRow("move assignment") << true;
}

void tst_ScaFileData::move()
{
    QFETCH(bool, assign);
    ScaFileData *source = makePage();
    const QStringList before = dump(*source);
    const QList<const void *> records = recordPointers(*source);

    auto *target = assign ? new ScaFileData : new ScaFileData(std::move(*source));
    if (assign)
        *target = std::move(*source);
    QCOMPARE(dump(*target), before);
    QCOMPARE(recordPointers(*target), records);

    QVERIFY(recordPointers(*source).isEmpty());
    QVERIFY(source->layerIds.isEmpty() && source->layers.isEmpty());
    QVERIFY(source->pageProperties.scrollTags.isEmpty());
    QVERIFY(source->templateTagIdsInUse.isEmpty() && source->labelTagIds.isEmpty());
    QVERIFY(source->pageFunctionLinks.isEmpty() && source->auxList.isEmpty());
    delete source;
    deletePage(target);
}

void tst_ScaFileData::destroyingPageKeepsRecords()
{
    ScaFileData *page = makePage();
    const ScaFileData holder = *page; // lists the very same records
    const QStringList before = dump(holder);
    delete page;
    // Every record is still there (the sanitizer build reports a use after free otherwise).
    QCOMPARE(dump(holder), before);
    deletePage(new ScaFileData(holder));
}

void tst_ScaFileData::copyScadaObjectData()
{
    ScadaObjectLoadData_t source;
    source.base->X = 77;
    source.auxInt1 = 1;
    source.auxInt2 = 2;
    source.Type = 3;
    source.Uid = 4;
    source.auxFloat1 = 1.5f;
    source.auxFloat2 = 2.5f;
    source.auxFloat3 = -3.25f;
    source.tagID_image = 10;
    source.tagID_label = 11;
    source.tagID_posx = 12;
    source.tagID_posy = 13;
    source.tagID_width = 14;
    source.tagID_height = 15;
    source.tagID_rotAng = 16;
    source.tagID_txtColor = 17;
    source.tagID_maskColor = 18;
    source.tagID_maskOpac = 19;
    source.tagID_cusProp1 = 20;
    source.tagID_cusProp2 = 21;
    source.tagID_cusProp3 = 22;
    source.tagID_cusProp4 = 23;
    source.tagID_cusProp5 = 24;
    source.tagID_cusProp6 = 25;
    source.tagID_cusProp7 = 26;
    source.tagID_eventTarget = 27;
    for (int i = 0; i < 18; ++i)
        source.extraTagIds[i] = 100 + i;
    source.eventType = 5;
    source.eventAction = 6;
    source.eventActionAck = true;
    source.lofx = -7;
    source.lofy = 8;
    source.labelText = QStringLiteral("%.1f bar");
    source.labelStyleSheet = QStringLiteral("font: 9px;");
    source.userConst1 = 9;
    source.userConst2 = 10;
    source.pageFunction = QStringLiteral("open");
    source.showChildAlarms = false;
    source.closeWindowOnClicked = true;
    source.auxText = QStringLiteral("aux");
    source.MacroText = QStringLiteral("m");
    source.Tooltip = QStringLiteral("t");
    source.weblinkActive = true;
    source.weblink = QStringLiteral("http://x");
    source.limitsActive = true;
    source.lowLimit = -1.5f;
    source.highLimit = 99.5f;
    source.auxEntries << makeEntry("\x01\x02", QStringLiteral("first"), 1)
                      << makeEntry(QByteArray(), QStringLiteral("no data"), 2) << nullptr;
    source.componentUid = QStringLiteral("{c}");
    source.indexOrder = {3, 1, 2};

    ScadaObjectLoadData_t target;
    ItemBaseData_t *targetBase = target.base;
    target.base->X = 5;
    ::copyScadaObjectData(&target, &source);

    QCOMPARE(dumpFields(target), dumpFields(source));
    // base is the caller's business: neither replaced nor overwritten.
    QCOMPARE(target.base, targetBase);
    QCOMPARE(target.base->X, 5);
    // The entries and their data are new objects.
    QCOMPARE(target.auxEntries.size(), 3);
    QVERIFY(target.auxEntries.at(0) != source.auxEntries.at(0));
    QVERIFY(target.auxEntries.at(0)->data != source.auxEntries.at(0)->data);
    QVERIFY(!target.auxEntries.at(1)->data);
    QVERIFY(!target.auxEntries.at(2));
    source.auxEntries.at(0)->data->append('x');
    QCOMPARE(*target.auxEntries.at(0)->data, QByteArray("\x01\x02"));

    // Copying onto itself changes nothing.
    const QStringList before = dump(target);
    ::copyScadaObjectData(&target, &target);
    QCOMPARE(dump(target), before);
}

void tst_ScaFileData::copyScadaObjectDataReplacesEntries()
{
    // The target's former entries are deleted (the leak checker of the sanitizer build would
    // report them otherwise), and a source without entries leaves the target without any.
    ScadaObjectLoadData_t source;
    ScadaObjectLoadData_t target;
    target.auxEntries << makeEntry("old", QStringLiteral("old"), 1);
    ::copyScadaObjectData(&target, &source);
    QVERIFY(target.auxEntries.isEmpty());
    QCOMPARE(dump(target), dump(source));
    ::copyScadaObjectData(nullptr, &source);
    ::copyScadaObjectData(&target, nullptr);
}

void tst_ScaFileData::recordAssignmentKeepsBase()
{
    TextItemLoadData_t a;
    TextItemLoadData_t b;
    ItemBaseData_t *baseOfA = a.base;
    a.base->X = 1;
    b.base->X = 2;
    a = b;
    QCOMPARE(a.base, baseOfA);
    QCOMPARE(a.base->X, 1);
    QVERIFY(a.base != b.base);
}

void tst_ScaFileData::clone_data()
{
    QTest::addColumn<QString>("fixture"); // empty: the page built by makePage
    QTest::addColumn<bool>("otherKinds");
    QTest::newRow("built: every kind") << QString() << true;
    QTest::newRow("built: SCADA objects only") << QString() << false;
    const QStringList fixtures =
        QDir(QStringLiteral(TIRREL_TEST_DATA "/pages")).entryList({QStringLiteral("*.xml")});
    for (const QString &name : fixtures) {
        // Fixtures that are not meant to load are left to the file format's tests.
        ScaFileData *page = loadPageFixture(name);
        if (page)
            QTest::newRow(qPrintable("fixture: " + name)) << name << true;
        deletePage(page);
    }
}

void tst_ScaFileData::clone()
{
    QFETCH(QString, fixture);
    QFETCH(bool, otherKinds);
    ScaFileData *source = fixture.isEmpty() ? makePage(otherKinds) : loadPageFixture(fixture);
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
    for (const ItemRecord *r : copyRecords) {
        QVERIFY(r->base);
        QVERIFY(!sourceParts.contains(r));
        QVERIFY(!sourceParts.contains(r->base));
    }
    for (int i = 0; i < source->scadaObjects.size(); ++i) {
        const auto *s = source->scadaObjects.at(i);
        const auto *c = copy->scadaObjects.at(i);
        for (int e = 0; e < s->auxEntries.size(); ++e) {
            if (s->auxEntries.at(e)) {
                const AuxDataEntry *copied = c->auxEntries.at(e);
                QVERIFY(copied != s->auxEntries.at(e));
                QVERIFY(!copied->data || copied->data != s->auxEntries.at(e)->data);
            }
        }
        // The clone finds its own record, not the source's.
        const int first = source->scadaObjects.indexOf(source->getBlock(s->Uid));
        QCOMPARE(copy->getBlock(s->Uid), copy->scadaObjects.at(first));
        QVERIFY(copy->getBlock(s->Uid) != source->getBlock(s->Uid));
    }

    // Changing the copy leaves the source as it was.
    for (ItemRecord *r : copyRecords) {
        r->base->X += 1;
        r->base->Name += QLatin1Char('*');
    }
    for (ScadaObjectLoadData_t *o : copy->scadaObjects) {
        o->Tooltip += QLatin1Char('*');
        o->indexOrder << 99;
        for (AuxDataEntry *e : o->auxEntries) {
            if (e && e->data)
                e->data->append('*');
        }
    }
    if (!copy->layers.isEmpty())
        copy->layers[0].name += QLatin1Char('*');
    copy->pageProperties.scrollTags << ScrollTagInfo{1, QStringLiteral("added")};
    QCOMPARE(dump(*source), before);

    deletePage(copy);
    deletePage(source);
}

void tst_ScaFileData::cloneFixturesCoverEveryKind()
{
    // The clone rows above take their real field values from the page fixtures: together they
    // must hold records of every kind, or a copy function could drop a field unnoticed.
    QVector<bool> covered(9, false);
    const QStringList fixtures =
        QDir(QStringLiteral(TIRREL_TEST_DATA "/pages")).entryList({QStringLiteral("*.xml")});
    for (const QString &name : fixtures) {
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

void tst_ScaFileData::cloneOfEmptyPage()
{
    ScaFileData source;
    source.layerIds << 3;
    source.layers << LayerInfo{QStringLiteral("Only"), 3, false, 1, 2};
    source.pageProperties.pageName = QStringLiteral("Empty");
    source.pageProperties.pageID = 8;
    source.pageProperties.pageGeometry = QSize(10, 20);
    source.pageProperties.scrollTags << ScrollTagInfo{4, QStringLiteral("t")};
    QScopedPointer<ScaFileData> copy(source.clone());
    QCOMPARE(dump(*copy), dump(source));
    QVERIFY(records(*copy).isEmpty());
}

void tst_ScaFileData::getBlock_data()
{
    QTest::addColumn<QList<int>>("uids"); // of the page's SCADA objects; 0 stands for a null entry
    QTest::addColumn<int>("uid");
    QTest::addColumn<int>("expected"); // index in scadaObjects, -1: null
    QTest::newRow("empty page") << QList<int>() << 1 << -1;
    QTest::newRow("found") << QList<int>{4, 5, 6} << 5 << 1;
    QTest::newRow("missing") << QList<int>{4, 5, 6} << 7 << -1;
    QTest::newRow("first of equal Uids") << QList<int>{4, 5, 5} << 5 << 1;
    QTest::newRow("null entries passed over") << QList<int>{0, 4, 0, 5} << 5 << 3;
    QTest::newRow("negative Uid") << QList<int>{-3, 4} << -3 << 0;
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

void tst_ScaFileData::eraseAgainstClear_data()
{
    QTest::addColumn<bool>("erase");
    QTest::addColumn<int>("objects");
    QTest::newRow("clear, three SCADA objects") << false << 3;
    QTest::newRow("erase, three SCADA objects") << true << 3;
    QTest::newRow("clear, no SCADA objects") << false << 0;
    QTest::newRow("erase, no SCADA objects") << true << 0;
}

void tst_ScaFileData::eraseAgainstClear()
{
    QFETCH(bool, erase);
    QFETCH(int, objects);
    RecordProbe objectProbe;
    RecordProbe textProbe;
    ScaFileData *page = makePage(false);
    page->erase(); // the objects made by makePage; the probed ones follow
    for (int i = 1; i <= objects; ++i)
        page->scadaObjects << objectProbe.mark(makeObject(i));
    for (int i = 0; i < 2; ++i)
        page->textItems << textProbe.mark(new TextItemLoadData_t);
    const QList<ScadaObjectLoadData_t *> held = page->scadaObjects;
    QStringList heldBefore;
    for (const ScadaObjectLoadData_t *o : held)
        heldBefore += dump(*o);
    const QStringList restBefore =
        dump(withoutItems(*page)) + dumpList("textItems", page->textItems);
    const QList<TextItemLoadData_t *> texts = page->textItems;

    erase ? page->erase() : page->clear();

    QVERIFY(page->scadaObjects.isEmpty());
    QCOMPARE(page->textItems, texts);
    QCOMPARE(dump(withoutItems(*page)) + dumpList("textItems", page->textItems), restBefore);
    QCOMPARE(textProbe.alive(), 2);
    if (erase) {
        QCOMPARE(objectProbe.alive(), 0);
    } else {
        // The records are still there for whoever holds them, and theirs to delete.
        QCOMPARE(objectProbe.alive(), objects);
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
    QCOMPARE(textProbe.alive(), 0);
}

void tst_ScaFileData::deleteAllItems()
{
    RecordProbe probe;
    ScaFileData *page = makePage();
    page->scadaObjects << makeObject(3);
    page->tableItems << new TableItemLoadData_t;
    page->textItems << nullptr;
    for (ItemRecord *r : records(*page))
        probe.mark(r);
    QCOMPARE(probe.count(), 12);
    const QStringList rest = dump(withoutItems(*page));

    page->deleteAllItems();
    QCOMPARE(probe.alive(), 0);
    QCOMPARE(dump(*page), rest);
    page->deleteAllItems(); // nothing left to delete
    QCOMPARE(dump(*page), rest);
    delete page;
}

void tst_ScaFileData::getTemplateTagIdsInUse_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariantList>("expected");
    QTest::addColumn<QString>("message"); // the debug line; empty: none
    QTest::newRow("three ids in order")
        << "pump" << QVariantList{3, 1, 2}
        << "getTemplateTagIdsInUse \"pump\" :  QVariant(QVariantList, (QVariant(int, 3), "
           "QVariant(int, 1), QVariant(int, 2)))";
    QTest::newRow("stored empty list")
        << "valve" << QVariantList()
        << "getTemplateTagIdsInUse \"valve\" :  QVariant(QVariantList, ())";
    QTest::newRow("stored value not a list")
        << "motor" << QVariantList()
        << "getTemplateTagIdsInUse \"motor\" :  QVariant(QString, \"7\")";
    QTest::newRow("not a key") << "fan" << QVariantList() << QString();
    QTest::newRow("other letter case") << "PUMP" << QVariantList() << QString();
    QTest::newRow("empty name, no such key") << "" << QVariantList() << QString();
}

void tst_ScaFileData::getTemplateTagIdsInUse()
{
    QFETCH(QString, name);
    QFETCH(QVariantList, expected);
    QFETCH(QString, message);
    ScaFileData page;
    page.templateTagIdsInUse.insert(QStringLiteral("pump"), QVariantList{3, 1, 2});
    page.templateTagIdsInUse.insert(QStringLiteral("Pump"), QVariantList{9});
    page.templateTagIdsInUse.insert(QStringLiteral("valve"), QVariantList());
    page.templateTagIdsInUse.insert(QStringLiteral("motor"), QStringLiteral("7"));
    QVariantList result;
    {
        DebugCapture capture;
        result = page.getTemplateTagIdsInUse(name);
    }
    QCOMPARE(result, expected);
    QCOMPARE(DebugCapture::messages, message.isEmpty() ? QStringList() : QStringList{message});
}

void tst_ScaFileData::blockLoadData()
{
    BlockLoadData_t block;
    QCOMPARE(block.initialized, false);
    for (const QString &t : {block.text1, block.text2, block.text3, block.text4, block.text5, block.text6})
        QVERIFY(t.isEmpty());
    block.init();
    block.init();
    QCOMPARE(block.initialized, true);

    block.head = 1;
    block.text1 = QStringLiteral("one");
    block.text6 = QStringLiteral("six");
    block.value1 = 11;
    block.value4 = 44;
    block.tail = 2;
    BlockLoadData_t copy(block);
    BlockLoadData_t assigned;
    assigned = block;
    for (const BlockLoadData_t *b : {&copy, &assigned}) {
        QCOMPARE(b->head, quint64(1));
        QCOMPARE(b->text1, QStringLiteral("one"));
        QCOMPARE(b->text6, QStringLiteral("six"));
        QCOMPARE(b->value1, 11);
        QCOMPARE(b->value4, 44);
        QCOMPARE(b->tail, quint64(2));
        QCOMPARE(b->initialized, true);
    }
    BlockLoadData_t moved(std::move(copy));
    QCOMPARE(moved.text6, QStringLiteral("six"));
    assigned = std::move(moved);
    QCOMPARE(assigned.text1, QStringLiteral("one"));
}

void tst_ScaFileData::tagBindings_data()
{
    QTest::addColumn<QString>("items");
    QTest::addColumn<QString>("properties");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("SCADA object slots in the file's slot order")
        << "<Item><Properties Name=\"P1\" Uid=\"7\"/><TagIDs tagID_cusProp7=\"7\" "
           "tagID_eventTarget=\"3\" tagID_label=\"2\" tagID_image=\"1\" tagID_posy=\"5\"/></Item>"
        << QString()
        << QStringList{"1 ScadaObject#0 \"P1\" 7 tagID_image[-1]",
                       "2 ScadaObject#0 \"P1\" 7 tagID_label[-1]",
                       "5 ScadaObject#0 \"P1\" 7 tagID_posy[-1]",
                       "3 ScadaObject#0 \"P1\" 7 tagID_eventTarget[-1]",
                       "7 ScadaObject#0 \"P1\" 7 tagID_cusProp7[-1]"};
    QTest::newRow("-1 binds nothing, 0 and other negatives bind")
        << "<Item><TagIDs tagID_image=\"-1\" tagID_label=\"0\" tagID_width=\"-2\"/></Item>"
        << QString()
        << QStringList{"0 ScadaObject#0 \"\" 0 tagID_label[-1]",
                       "-2 ScadaObject#0 \"\" 0 tagID_width[-1]"};
    QTest::newRow("SCADA object without TagIDs") << "<Item/>" << QString() << QStringList();
    QTest::newRow("schedule entries, repeats kept")
        << "<Item><ItemType>ScheduleItem</ItemType><Properties Name=\"S\"/>"
           "<TagIDs><Tag>12</Tag><Tag>7</Tag><Tag>12</Tag></TagIDs></Item>"
        << QString()
        << QStringList{"12 ScheduleItem#0 \"S\" -1 TagIDs[0]", "7 ScheduleItem#0 \"S\" -1 TagIDs[1]",
                       "12 ScheduleItem#0 \"S\" -1 TagIDs[2]"};
    QTest::newRow("chart lines, one without a tag")
        << "<Item><ItemType>RTChartItem</ItemType><TagIDs><TagData Tag=\"5\"/><TagData/>"
           "<Tag>9</Tag></TagIDs></Item>"
        << QString()
        << QStringList{"5 RTChartItem#0 \"\" -1 TagIDs[0]", "9 RTChartItem#0 \"\" -1 TagIDs[2]"};
    QTest::newRow("gauge") << "<Item><ItemType>GaugeItem</ItemType><TagId>4</TagId></Item>"
                           << QString() << QStringList{"4 GaugeItem#0 \"\" -1 TagId[-1]"};
    QTest::newRow("gauge without a tag") << "<Item><ItemType>GaugeItem</ItemType></Item>"
                                         << QString() << QStringList();
    QTest::newRow("report tag") << "<Item><ItemType>DbqTextItem</ItemType><reportTag>8</reportTag></Item>"
                                << QString() << QStringList{"8 DbqTextItem#0 \"\" -1 reportTag[-1]"};
    QTest::newRow("database-query text without a report tag")
        << "<Item><ItemType>DbqTextItem</ItemType></Item>" << QString() << QStringList();
    QTest::newRow("scroll tags; a missing TagID reads as tag 0")
        << QString()
        << "<ScrollTags><Tag TagID=\"3\" ScrollText=\"Level\"/><Tag/><Tag TagID=\"-1\"/></ScrollTags>"
        << QStringList{"3 ScrollTags#0 \"Level\" -1 TagID[-1]", "0 ScrollTags#1 \"Text\" -1 TagID[-1]"};
    QTest::newRow("kinds without tags")
        << "<Item><ItemType>TextItem</ItemType><Width>1</Width><Height>1</Height></Item>"
           "<Item><ItemType>TableItem</ItemType></Item><Item><ItemType>ImageItem</ItemType></Item>"
           "<Item><ItemType>WebFrameItem</ItemType></Item>"
        << QString() << QStringList();
    QTest::newRow("kinds in the writer's order, scroll tags last")
        << "<Item><ItemType>GaugeItem</ItemType><TagId>5</TagId></Item>"
           "<Item><ItemType>DbqTextItem</ItemType><reportTag>4</reportTag></Item>"
           "<Item><ItemType>RTChartItem</ItemType><TagIDs><Tag>3</Tag></TagIDs></Item>"
           "<Item><ItemType>ScheduleItem</ItemType><TagIDs><Tag>2</Tag></TagIDs></Item>"
           "<Item><TagIDs tagID_image=\"1\"/></Item>"
           "<Item><TagIDs tagID_image=\"11\"/></Item>"
        << "<ScrollTags><Tag TagID=\"6\" ScrollText=\"s\"/></ScrollTags>"
        << QStringList{"1 ScadaObject#0 \"\" 0 tagID_image[-1]", "11 ScadaObject#1 \"\" 0 tagID_image[-1]",
                       "2 ScheduleItem#0 \"\" -1 TagIDs[0]", "3 RTChartItem#0 \"\" -1 TagIDs[0]",
                       "4 DbqTextItem#0 \"\" -1 reportTag[-1]", "5 GaugeItem#0 \"\" -1 TagId[-1]",
                       "6 ScrollTags#0 \"s\" -1 TagID[-1]"};
}

void tst_ScaFileData::tagBindings()
{
    QFETCH(QString, items);
    QFETCH(QString, properties);
    QFETCH(QStringList, expected);
    const QString xml = QStringLiteral("<ScadaFile><ItemList>%1</ItemList>"
                                       "<PageProperties>%2</PageProperties></ScadaFile>")
                            .arg(items, properties);
    ScaFileData *page = ScaFileProcessor::loadFileData(xml.toUtf8(), QString());
    QVERIFY(page);
    const QStringList lines = bindingLines(*page);
    deletePage(page);
    QCOMPARE(lines, expected);
}

void tst_ScaFileData::tagBindingsOfRecords()
{
    // Records the host made: the slots the file does not carry count too, null records and
    // changes since loading are seen as they are now.
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
