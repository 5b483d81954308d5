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

// The first of `candidates` in the order every look-up walks the pages.
QString firstInWalk(const ProjectDataTree &tree, const QStringList &candidates)
{
    for (auto it = tree.pages.cbegin(); it != tree.pages.cend(); ++it) {
        if (candidates.contains(it.key()))
            return it.key();
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
            if (page) {
                page->erase();
                page->deleteAllItems();
                delete page;
            }
        }
    }
};

// A project of three pages: "a.xml" (page 1, objects 10, 11), "b.xml" (page 2, a null entry
// and object 20) and a page kept under "renamed.xml" whose own fileName is "c.xml" (page 3,
// objects 30, 31), and a null entry "null.xml".
void fillProject(ProjectDataTree &tree)
{
    tree.pages.insert(QStringLiteral("a.xml"), makePage(1, QStringLiteral("a.xml"), {10, 11}));
    tree.pages.insert(QStringLiteral("b.xml"), makePage(2, QStringLiteral("b.xml"), {20}));
    tree.pages.value(QStringLiteral("b.xml"))->scadaObjects.prepend(nullptr);
    tree.pages.insert(QStringLiteral("null.xml"), nullptr);
    tree.pages.insert(QStringLiteral("renamed.xml"),
                      makePage(3, QStringLiteral("c.xml"), {30, 31}));
}

// Where a page or an object lies: "key" of a page, "key:index" of an object, "-" for none.
QString where(const ProjectDataTree &tree, const void *found)
{
    for (auto it = tree.pages.cbegin(); found && it != tree.pages.cend(); ++it) {
        if (!it.value())
            continue;
        const int index = it.value()->scadaObjects.indexOf((ScadaObjectLoadData_t *)found);
        if (it.value() == found || index >= 0)
            return it.key() + (index >= 0 ? ':' + QString::number(index) : QString());
    }
    return QStringLiteral("-");
}

QString text(const QString &s) { return s.isNull() ? QStringLiteral("(null)") : s; }

// The host's own fields.
QString hostFields(const ProjectDataTree &t)
{
    return QStringLiteral("%1%2%3%4%5|%6|%7|%8|%9|%10|%11|%12")
        .arg(t.auxFlag1).arg(t.auxFlag2).arg(t.auxFlag3).arg(t.auxFlag4).arg(t.auxFlag5)
        .arg(t.auxText1, t.auxText2, t.auxText3, t.auxText4, t.auxText5)
        .arg(t.auxValue1).arg(t.auxValue2);
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

enum CopyOrMove { CopyConstruct, CopyAssign, MoveConstruct, MoveAssign };

} // namespace

class tst_ProjectDataTree : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { closedAtExit(); }
    void lookUps_data()
    {
        // One number asked for as a SCADA object Uid and as a page id, and one name: getBlock,
        // getFileNameContainingBlock, getFiledataWithPageId, getFileNameWithPageId,
        // containsFileName, getFiledataWithName.
        QTest::addColumn<bool>("filled");
        QTest::addColumn<int>("id");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("found");
        QTest::newRow("empty tree") << false << 0 << "" << "-|(null)|-|(null)|0|-";
        QTest::newRow("first object, key")
            << true << 10 << "a.xml" << "a.xml:0|a.xml|-|(null)|1|a.xml";
        QTest::newRow("second object, renamed key")
            << true << 11 << "renamed.xml" << "a.xml:1|a.xml|-|(null)|1|renamed.xml";
        QTest::newRow("object on a page whose key is not its fileName; that fileName")
            << true << 31 << "c.xml" << "renamed.xml:1|renamed.xml|-|(null)|0|-";
        QTest::newRow("page id; other letter case")
            << true << 1 << "A.xml" << "-|(null)|a.xml|a.xml|0|-";
        QTest::newRow("page id, key differs from fileName: the field wins; prefix of a key")
            << true << 3 << "a.x" << "-|(null)|renamed.xml|c.xml|0|-";
        QTest::newRow("no object 0 among the null entries; key of a null entry")
            << true << 0 << "null.xml" << "-|(null)|-|(null)|1|-";
        QTest::newRow("neither; empty name") << true << 4 << "" << "-|(null)|-|(null)|0|-";
    }

    void lookUps()
    {
        QFETCH(bool, filled);
        QFETCH(int, id);
        QFETCH(QString, name);
        QFETCH(QString, found);
        ProjectDataTree tree;
        TreeCleanup cleanup{tree};
        if (filled)
            fillProject(tree);
        QCOMPARE(QStringList({where(tree, tree.getBlock(id)),
                              text(tree.getFileNameContainingBlock(id)),
                              where(tree, tree.getFiledataWithPageId(id)),
                              text(tree.getFileNameWithPageId(id)),
                              QString::number(tree.containsFileName(name)),
                              where(tree, tree.getFiledataWithName(name))}).join('|'), found);
    }

    void walkOrderDecidesBetweenPages()
    {
        // Eight pages, each with a SCADA object of Uid 42 and the page id 9, inserted in an order
        // that is neither sorted nor the hash's: the first page of the hash's walk answers.
        ProjectDataTree tree;
        TreeCleanup cleanup{tree};
        const QStringList keys = {"p5.xml", "p2.xml", "p7.xml", "p0.xml",
                                  "p3.xml", "p6.xml", "p1.xml", "p4.xml"};
        for (int i = 0; i < keys.size(); ++i)
            tree.pages.insert(keys.at(i), makePage(9, keys.at(i), {100 + i, 42, 200 + i}));
        const QString first = firstInWalk(tree, keys);
        QCOMPARE(where(tree, tree.getBlock(42)), first + ":1");
        QCOMPARE(tree.getFileNameContainingBlock(42), first);
        QCOMPARE(tree.getFiledataWithPageId(9), tree.pages.value(first));
        QCOMPARE(tree.getFileNameWithPageId(9), first);

        // Equal Uids on two given pages: whichever of the two the walk meets first.
        tree.pages.value(keys.at(2))->scadaObjects.at(0)->Uid = 5;
        tree.pages.value(keys.at(6))->scadaObjects.at(2)->Uid = 5;
        QCOMPARE(tree.getFileNameContainingBlock(5), firstInWalk(tree, {keys.at(2), keys.at(6)}));

        // All blocks: page by page in the walk's order, each page's objects in list order.
        QList<ScadaObjectLoadData_t *> expected;
        for (ScaFileData *page : qAsConst(tree.pages))
            expected += page->scadaObjects;
        QCOMPARE(tree.getAllBlocks(), expected);
    }

    void projectComponents()
    {
        ProjectDataTree tree;
        TreeCleanup cleanup{tree};
        fillProject(tree);
        for (int uid : {10, 11, 20, 30, 31})
            tree.getBlock(uid)->componentUid = uid % 2 ? "A" : uid < 30 ? "B" : "a";
        // Without objects lacking a component, the empty text is not in the set.
        QCOMPARE(tree.getProjectComponents(), (QSet<QString>{"A", "B", "a"}));
        tree.getBlock(20)->componentUid.clear();
        QCOMPARE(tree.getProjectComponents(), (QSet<QString>{"A", QString(), "B", "a"}));
    }

    void requestUniqueId_data()
    {
        // The Uids of one page's SCADA objects: n >= 0 stands for the n-th number the generator
        // gives after seeding, a negative value for itself (qrand never gives one).
        QTest::addColumn<uint>("seedValue");
        QTest::addColumn<QList<int>>("uids");
        QTest::addColumn<int>("expected"); // index of the expected draw
        QTest::newRow("no page") << 77u << QList<int>() << 0;
        QTest::newRow("no collision") << 1u << QList<int>{-1, -2} << 0;
        QTest::newRow("first draw taken") << 2u << QList<int>{-5, 0} << 1;
        QTest::newRow("collisions in walking order") << 3u << QList<int>{0, -1, 1, 2} << 3;
        QTest::newRow("one walk only: passed object not seen again") << 4u << QList<int>{1, 0} << 1;
    }

    void requestUniqueId()
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
        if (!uids.isEmpty())
            tree.pages.insert(QStringLiteral("page.xml"), makePage(1, "page.xml", objectUids));
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

    void copyAndMove_data()
    {
        QTest::addColumn<int>("mode");
        QTest::newRow("copy constructor") << int(CopyConstruct);
        QTest::newRow("copy assignment") << int(CopyAssign);
        QTest::newRow("move constructor") << int(MoveConstruct);
        QTest::newRow("move assignment") << int(MoveAssign);
    }

    // Copies list the same pages, a move empties its source, and destroying either deletes nothing.
    void copyAndMove()
    {
        QFETCH(int, mode);
        ProjectDataTree source;
        QCOMPARE(hostFields(source), QStringLiteral("00000||||||0|0"));
        fillProject(source);
        const QHash<QString, ScaFileData *> pages = source.pages;
        ProjectDataTree owner;
        owner.pages = pages;
        TreeCleanup cleanup{owner};
        source.auxFlag1 = source.auxFlag5 = true;
        source.auxText1 = QStringLiteral("one");
        source.auxText3 = QStringLiteral("three");
        source.auxValue1 = 3;
        source.auxValue2 = 12;
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
        QCOMPARE(hostFields(*target), QStringLiteral("10001|one||three|||3|12"));
        target.reset();
        const bool moved = mode == MoveConstruct || mode == MoveAssign;
        QCOMPARE(source.pages, moved ? decltype(pages)() : pages);
        QCOMPARE(owner.getAllBlocks().size(), 6);   // null entries too
        QCOMPARE(owner.getBlock(31)->Uid, 31);
    }

    void selfDestruct()
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
        tree.pages.insert(QStringLiteral("alias.xml"), tree.pages.value("page1.xml"));
        tree.pages.insert(QStringLiteral("null.xml"), nullptr);
        tree.pages.insert(QStringLiteral("bare.xml"), pages.markPage(new ScaFileData));
        const ProjectDataTree copy = tree; // copies delete nothing, and are not emptied by it
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
    void selfDestructAtExit()
    {
        ClosedAtExit &holder = closedAtExit();
        ScaFileData *page = makePage(5, QStringLiteral("exit.xml"));
        addEveryKind(page, holder.records);
        holder.tree.pages.insert(page->pageProperties.fileName, page);
        holder.others = *page;
        holder.others.scadaObjects.clear();
        QCOMPARE(holder.records.alive(), 9);
    }
};

QTEST_GUILESS_MAIN(tst_ProjectDataTree)
#include "tst_projectdatatree.moc"
