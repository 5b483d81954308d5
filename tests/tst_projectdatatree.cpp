// The project data tree: look-ups across pages in the hash's own order, identifiers drawn with
// qrand, copies and moves that share the pages, and selfDestruct, which deletes every page with
// its SCADA object records and leaves the other records to their owner.

#include "recordProbe.h"

#include <projectDataTree.h>

#include <QtTest>

#include <optional>

namespace {

ScadaObjectLoadData_t *makeObject(int uid, const QString &component = QString())
{
    auto *o = new ScadaObjectLoadData_t;
    o->Uid = uid;
    o->componentUid = component;
    return o;
}

ScaFileData *makePage(int pageId, const QString &fileName, const QList<int> &uids = {})
{
    auto *page = new ScaFileData;
    page->pageProperties.pageID = pageId;
    page->pageProperties.fileName = fileName;
    for (int uid : uids)
        page->scadaObjects << makeObject(uid);
    return page;
}

// One record of every kind, marked by the probe.
void addEveryKind(ScaFileData *page, RecordProbe &probe)
{
    page->scadaObjects << probe.mark(makeObject(700));
    page->textItems << probe.mark(new TextItemLoadData_t);
    page->scheduleItems << probe.mark(new ScheduleItemLoadData_t);
    page->rtChartItems << probe.mark(new RealTimeChartItemLoadData_t);
    page->dbqTextItems << probe.mark(new DbQueryTextItemLoadData_t);
    page->tableItems << probe.mark(new TableItemLoadData_t);
    page->gaugeItems << probe.mark(new GaugeItemLoadData_t);
    page->imageItems << probe.mark(new ImageItemLoadData_t);
    page->webFrameItems << probe.mark(new WebFrameItemLoadData_t);
}

// The keys of the tree's pages in the order every look-up walks them.
QStringList walkOrder(const ProjectDataTree &tree)
{
    QStringList keys;
    for (auto it = tree.pages.cbegin(); it != tree.pages.cend(); ++it)
        keys << it.key();
    return keys;
}

// The first of `candidates` in the walking order.
QString firstInWalk(const ProjectDataTree &tree, const QStringList &candidates)
{
    for (const QString &key : walkOrder(tree)) {
        if (candidates.contains(key))
            return key;
    }
    return QString();
}

// Seeds the generator and returns its next `count` numbers; seeding again with the same seed
// replays them, so draws(value, 0) only seeds.
QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED
QList<int> draws(uint value, int count)
{
    qsrand(value);
    QList<int> numbers;
    for (int i = 0; i < count; ++i)
        numbers << qrand();
    return numbers;
}
QT_WARNING_POP

// Deletes every page of the tree with its records (without selfDestruct, for the look-up tests);
// no page may be listed twice.
struct TreeCleanup
{
    ProjectDataTree &tree;
    ~TreeCleanup()
    {
        for (ScaFileData *page : qAsConst(tree.pages)) {
            if (!page)
                continue;
            page->erase();
            page->deleteAllItems();
            delete page;
        }
        tree.pages.clear();
    }
};

// A project of three pages: "a.xml" (page 1, objects 10, 11), "b.xml" (page 2, object 20) and
// a page kept under "renamed.xml" whose own fileName is "c.xml" (page 3, objects 30, 31).
void fillProject(ProjectDataTree &tree)
{
    tree.pages.insert(QStringLiteral("a.xml"), makePage(1, QStringLiteral("a.xml"), {10, 11}));
    tree.pages.insert(QStringLiteral("b.xml"), makePage(2, QStringLiteral("b.xml"), {20}));
    tree.pages.insert(QStringLiteral("renamed.xml"),
                      makePage(3, QStringLiteral("c.xml"), {30, 31}));
}

// A project that a host closes from a static destructor, after the static objects of the library
// that came into being later than it are gone. Made before any page is deleted in this process.
struct ClosedAtExit
{
    ProjectDataTree tree;
    RecordProbe records;
    ScaFileData others;     // the pages' other records, which stay the host's
    ~ClosedAtExit()
    {
        tree.selfDestruct();
        others.deleteAllItems();
    }
};
ClosedAtExit &closedAtExit()
{
    static ClosedAtExit holder;
    return holder;
}

} // namespace

class tst_ProjectDataTree : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { closedAtExit(); }
    void defaultTree();
    void lookUpsById_data();
    void lookUpsById();
    void lookUpsByName_data();
    void lookUpsByName();
    void nullEntriesPassedOver();
    void walkOrderDecidesBetweenPages();
    void projectComponents();
    void requestUniqueId_data();
    void requestUniqueId();
    void requestUniqueIdAcrossPages();
    void copyAndMove_data();
    void copyAndMove();
    void selfDestruct();
    void selfDestructAtExit();
};

// Host fields start cleared, and every look-up on no pages finds nothing.
void tst_ProjectDataTree::defaultTree()
{
    const ProjectDataTree tree;
    for (bool f : {tree.auxFlag1, tree.auxFlag2, tree.auxFlag3, tree.auxFlag4, tree.auxFlag5})
        QVERIFY(!f);
    for (const QString &t :
         {tree.auxText1, tree.auxText2, tree.auxText3, tree.auxText4, tree.auxText5})
        QVERIFY(t.isEmpty());
    QCOMPARE(tree.auxValue1, 0);
    QCOMPARE(tree.auxValue2, 0);
    QVERIFY(tree.pages.isEmpty());
    QVERIFY(!tree.containsFileName(QString()));
    QVERIFY(!tree.getFiledataWithName(QStringLiteral("a.xml")));
    QVERIFY(!tree.getFiledataWithPageId(-1));
    QVERIFY(!tree.getBlock(0));
    QVERIFY(tree.getFileNameWithPageId(-1).isNull());
    QVERIFY(tree.getFileNameContainingBlock(0).isNull());
    QVERIFY(tree.getAllBlocks().isEmpty());
    QVERIFY(tree.getProjectComponents().isEmpty());
    const QList<int> expected = draws(77, 1);
    draws(77, 0);
    QCOMPARE(tree.requestUniqueId(), expected.first());
}

void tst_ProjectDataTree::lookUpsById_data()
{
    // One number asked for as a SCADA object Uid and as a page id.
    QTest::addColumn<int>("id");
    QTest::addColumn<QString>("blockKey");  // page holding the object; empty: none
    QTest::addColumn<int>("index");         // in that page's scadaObjects
    QTest::addColumn<QString>("pageKey");   // page with that page id; empty: none
    QTest::addColumn<QString>("fileName");  // expected getFileNameWithPageId
    QTest::newRow("first object of a page") << 10 << "a.xml" << 0 << "" << "";
    QTest::newRow("second object of a page") << 11 << "a.xml" << 1 << "" << "";
    QTest::newRow("object on a page whose key is not its fileName")
        << 31 << "renamed.xml" << 1 << "" << "";
    QTest::newRow("page id, not an object id") << 1 << "" << -1 << "a.xml" << "a.xml";
    QTest::newRow("key differs from fileName: the field wins")
        << 3 << "" << -1 << "renamed.xml" << "c.xml";
    QTest::newRow("neither") << 4 << "" << -1 << "" << "";
}

void tst_ProjectDataTree::lookUpsById()
{
    QFETCH(int, id);
    QFETCH(QString, blockKey);
    QFETCH(int, index);
    QFETCH(QString, pageKey);
    QFETCH(QString, fileName);
    ProjectDataTree tree;
    TreeCleanup cleanup{tree};
    fillProject(tree);
    const ScadaObjectLoadData_t *expected =
        blockKey.isEmpty() ? nullptr : tree.pages.value(blockKey)->scadaObjects.at(index);
    QCOMPARE(tree.getBlock(id), expected);
    QCOMPARE(tree.getFileNameContainingBlock(id), blockKey);
    QCOMPARE(tree.getFileNameContainingBlock(id).isNull(), blockKey.isEmpty());
    QCOMPARE(tree.getFiledataWithPageId(id),
             pageKey.isEmpty() ? nullptr : tree.pages.value(pageKey));
    QCOMPARE(tree.getFileNameWithPageId(id), fileName);
}

void tst_ProjectDataTree::lookUpsByName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("found");
    QTest::newRow("key") << "a.xml" << true;
    QTest::newRow("key of a renamed page") << "renamed.xml" << true;
    QTest::newRow("fileName that is not a key") << "c.xml" << false;
    QTest::newRow("other letter case") << "A.xml" << false;
    QTest::newRow("prefix of a key") << "a.x" << false;
    QTest::newRow("empty name") << "" << false;
}

void tst_ProjectDataTree::lookUpsByName()
{
    QFETCH(QString, name);
    QFETCH(bool, found);
    ProjectDataTree tree;
    TreeCleanup cleanup{tree};
    fillProject(tree);
    QCOMPARE(tree.containsFileName(name), found);
    QCOMPARE(tree.getFiledataWithName(name), found ? tree.pages.value(name) : nullptr);
}

void tst_ProjectDataTree::nullEntriesPassedOver()
{
    ProjectDataTree tree;
    TreeCleanup cleanup{tree};
    tree.pages.insert(QStringLiteral("null.xml"), nullptr);
    ScaFileData *page = makePage(5, QStringLiteral("p.xml"));
    page->scadaObjects << nullptr << makeObject(6, QStringLiteral("c")) << nullptr;
    tree.pages.insert(QStringLiteral("p.xml"), page);
    QVERIFY(tree.containsFileName(QStringLiteral("null.xml")));
    QVERIFY(!tree.getFiledataWithName(QStringLiteral("null.xml")));
    QCOMPARE(tree.getFiledataWithPageId(5), page);
    QCOMPARE(tree.getBlock(6), page->scadaObjects.at(1));
    QCOMPARE(tree.getAllBlocks(), page->scadaObjects);
    QCOMPARE(tree.getProjectComponents(), QSet<QString>{QStringLiteral("c")});
    QVERIFY(tree.getFileNameContainingBlock(0).isEmpty());
}

void tst_ProjectDataTree::walkOrderDecidesBetweenPages()
{
    // Eight pages, each with a SCADA object of Uid 42 and the page id 9, inserted in an order
    // that is neither sorted nor the hash's: the first page of the hash's walk answers.
    ProjectDataTree tree;
    TreeCleanup cleanup{tree};
    const QStringList keys = {"p5.xml", "p2.xml", "p7.xml", "p0.xml",
                              "p3.xml", "p6.xml", "p1.xml", "p4.xml"};
    int uid = 100;
    for (const QString &key : keys) {
        ScaFileData *page = makePage(9, key, {uid, 42, uid + 1});
        uid += 10;
        tree.pages.insert(key, page);
    }
    const QStringList order = walkOrder(tree);
    const QString first = order.first();
    QCOMPARE(tree.getBlock(42), tree.pages.value(first)->scadaObjects.at(1));
    QCOMPARE(tree.getFileNameContainingBlock(42), first);
    QCOMPARE(tree.getFiledataWithPageId(9), tree.pages.value(first));
    QCOMPARE(tree.getFileNameWithPageId(9), first);

    // Equal Uids on two given pages: whichever of the two the walk meets first.
    const QString second = firstInWalk(tree, {keys.at(2), keys.at(6)});
    tree.pages.value(keys.at(2))->scadaObjects.at(0)->Uid = 5;
    tree.pages.value(keys.at(6))->scadaObjects.at(2)->Uid = 5;
    QCOMPARE(tree.getFileNameContainingBlock(5), second);

    // All blocks: page by page in the walk's order, each page's objects in list order.
    QList<ScadaObjectLoadData_t *> expected;
    for (const QString &key : order)
        expected += tree.pages.value(key)->scadaObjects;
    QCOMPARE(tree.getAllBlocks(), expected);
}

void tst_ProjectDataTree::projectComponents()
{
    ProjectDataTree tree;
    TreeCleanup cleanup{tree};
    ScaFileData *a = makePage(1, QStringLiteral("a.xml"));
    a->scadaObjects << makeObject(1, QStringLiteral("A")) << makeObject(2)
                    << makeObject(3, QStringLiteral("A"));
    tree.pages.insert(QStringLiteral("a.xml"), a);
    ScaFileData *b = makePage(2, QStringLiteral("b.xml"));
    b->scadaObjects << makeObject(4, QStringLiteral("B")) << makeObject(5, QStringLiteral("a"));
    tree.pages.insert(QStringLiteral("b.xml"), b);
    QCOMPARE(tree.getProjectComponents(),
             (QSet<QString>{QStringLiteral("A"), QString(), QStringLiteral("B"),
                            QStringLiteral("a")}));

    // Without objects lacking a component, the empty text is not in the set.
    a->scadaObjects.at(1)->componentUid = QStringLiteral("B");
    QCOMPARE(tree.getProjectComponents(),
             (QSet<QString>{QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("a")}));
}

void tst_ProjectDataTree::requestUniqueId_data()
{
    // The Uids of one page's SCADA objects: n >= 0 stands for the n-th number the generator
    // gives after seeding, a negative value for itself (qrand never gives one).
    QTest::addColumn<uint>("seedValue");
    QTest::addColumn<QList<int>>("uids");
    QTest::addColumn<int>("expected"); // index of the expected draw
    QTest::newRow("no collision") << 1u << QList<int>{-1, -2} << 0;
    QTest::newRow("first draw taken") << 2u << QList<int>{-5, 0} << 1;
    QTest::newRow("collisions in walking order") << 3u << QList<int>{0, -1, 1, 2} << 3;
    QTest::newRow("one walk only: passed object not seen again") << 4u << QList<int>{1, 0} << 1;
}

void tst_ProjectDataTree::requestUniqueId()
{
    QFETCH(uint, seedValue);
    QFETCH(QList<int>, uids);
    QFETCH(int, expected);
    const QList<int> numbers = draws(seedValue, 8);
    // The test needs the draws to differ, which any sensible generator gives for these seeds.
    QCOMPARE(QSet<int>(numbers.begin(), numbers.end()).size(), numbers.size());
    QList<int> objectUids;
    for (int u : uids)
        objectUids << (u >= 0 ? numbers.at(u) : u);

    ProjectDataTree tree;
    TreeCleanup cleanup{tree};
    tree.pages.insert(QStringLiteral("page.xml"),
                      makePage(1, QStringLiteral("page.xml"), objectUids));
    draws(seedValue, 0);
    QCOMPARE(tree.requestUniqueId(), numbers.at(expected));
    // Nothing is stored: the same seeding gives the same answer, and no object changed.
    draws(seedValue, 0);
    QCOMPARE(tree.requestUniqueId(), numbers.at(expected));
    QList<int> after;
    for (const ScadaObjectLoadData_t *o : tree.getAllBlocks())
        after << o->Uid;
    QCOMPARE(after, objectUids);
}

void tst_ProjectDataTree::requestUniqueIdAcrossPages()
{
    // Page "x" holds the first draw, page "y" the second. Walking x first meets the first draw,
    // redraws, and then meets the second: a third draw. Walking y first passes the second draw
    // before it is current: the answer is the second draw, equal to y's object.
    const QList<int> numbers = draws(11, 3);
    ProjectDataTree tree;
    TreeCleanup cleanup{tree};
    tree.pages.insert(QStringLiteral("x"), makePage(1, QStringLiteral("x"), {numbers.at(0)}));
    tree.pages.insert(QStringLiteral("y"), makePage(2, QStringLiteral("y"), {numbers.at(1)}));
    const bool xFirst =
        firstInWalk(tree, {QStringLiteral("x"), QStringLiteral("y")}) == QLatin1String("x");
    draws(11, 0);
    QCOMPARE(tree.requestUniqueId(), numbers.at(xFirst ? 2 : 1));
}

enum CopyOrMove { CopyConstruct, CopyAssign, MoveConstruct, MoveAssign };

void tst_ProjectDataTree::copyAndMove_data()
{
    QTest::addColumn<int>("mode");
    QTest::newRow("copy constructor") << int(CopyConstruct);
    QTest::newRow("copy assignment") << int(CopyAssign);
    QTest::newRow("move constructor") << int(MoveConstruct);
    QTest::newRow("move assignment") << int(MoveAssign);
}

// Copies list the same pages, a move empties its source, and destroying either deletes nothing.
void tst_ProjectDataTree::copyAndMove()
{
    QFETCH(int, mode);
    ProjectDataTree source;
    fillProject(source);
    const QHash<QString, ScaFileData *> pages = source.pages;
    ProjectDataTree owner;
    owner.pages = pages;
    TreeCleanup cleanup{owner};
    source.auxFlag1 = true;
    source.auxText1 = QStringLiteral("one");
    source.auxText3 = QStringLiteral("three");
    source.auxValue1 = 3;
    source.auxValue2 = 12;
    source.auxFlag5 = true;
    std::optional<ProjectDataTree> target;
    if (mode == CopyConstruct)
        target.emplace(source);
    else if (mode == MoveConstruct)
        target.emplace(std::move(source));
    else if (mode == CopyAssign)
        target.emplace() = source;
    else
        target.emplace() = std::move(source);
    QCOMPARE(target->pages, pages);
    QCOMPARE(target->auxFlag1, true);
    QCOMPARE(target->auxText1, QStringLiteral("one"));
    QCOMPARE(target->auxText3, QStringLiteral("three"));
    QCOMPARE(target->auxValue1, 3);
    QCOMPARE(target->auxValue2, 12);
    QCOMPARE(target->auxFlag5, true);
    target.reset();
    const bool moved = mode == MoveConstruct || mode == MoveAssign;
    QCOMPARE(source.pages, moved ? decltype(pages)() : pages);
    QCOMPARE(owner.getAllBlocks().size(), 5);
    QCOMPARE(owner.getBlock(31)->Uid, 31);
}

void tst_ProjectDataTree::selfDestruct()
{
    RecordProbe records;
    RecordProbe pages;
    ProjectDataTree tree;
    for (int i = 0; i < 3; ++i) {
        ScaFileData *page = pages.markPage(makePage(i, QString()));
        addEveryKind(page, records);
        addEveryKind(page, records);
        tree.pages.insert(QStringLiteral("page%1.xml").arg(i), page);
    }
    // The same page under a second key, a null entry and a page without items.
    tree.pages.insert(QStringLiteral("alias.xml"), tree.pages.value(QStringLiteral("page1.xml")));
    tree.pages.insert(QStringLiteral("null.xml"), nullptr);
    tree.pages.insert(QStringLiteral("bare.xml"), pages.markPage(new ScaFileData));
    const ProjectDataTree copy = tree; // copies delete nothing, and are not emptied by it
    QCOMPARE(records.count(), 54);
    QCOMPARE(records.alive(), 54);
    QCOMPARE(pages.alive(), 4);
    // The host's hold on the records of the other kinds: the pages' lists without the objects.
    QList<ScaFileData> others;
    for (int i = 0; i < 3; ++i) {
        others << *tree.pages.value(QStringLiteral("page%1.xml").arg(i));
        others.last().scadaObjects.clear();
        others.last().pageProperties = {};
    }

    tree.selfDestruct();
    QVERIFY(tree.pages.isEmpty());
    QCOMPARE(records.alive(), 48); // the six SCADA objects went, nothing else
    QCOMPARE(pages.alive(), 0);
    QCOMPARE(copy.pages.size(), 6);
    for (ScaFileData &page : others)
        page.deleteAllItems();
    QCOMPARE(records.alive(), 0);
    tree.selfDestruct(); // nothing left
    QVERIFY(tree.pages.isEmpty());
}

// The pages go when the process ends; the test fails if that crashes.
void tst_ProjectDataTree::selfDestructAtExit()
{
    ClosedAtExit &holder = closedAtExit();
    ScaFileData *page = makePage(5, QStringLiteral("exit.xml"));
    addEveryKind(page, holder.records);
    holder.tree.pages.insert(page->pageProperties.fileName, page);
    holder.others = *page;
    holder.others.scadaObjects.clear();
    QCOMPARE(holder.records.alive(), 9);
}

QTEST_GUILESS_MAIN(tst_ProjectDataTree)
#include "tst_projectdatatree.moc"
