// The page file format, every item kind, in both directions: the pages of data/pages/cases.txt
// read, written and read again against data/pages/cases.dump; the writer's exact output (golden
// files), texts through a save, the readers on their own, and failing saves.

#include "pageDump.h"

#include <QDir>
#include <QDomDocument>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

using namespace pagedump;

namespace {

// The sections of a case or dump file: "## name" and the lines up to the next one.
QList<QPair<QString, QStringList>> sections(const QString &path)
{
    QList<QPair<QString, QStringList>> out;
    for (const QString &line : QString::fromUtf8(fileContent(path)).split('\n')) {
        if (line.startsWith(QLatin1String("## ")))
            out.append({line.mid(3), QStringList()});
        else if (!out.isEmpty() && !line.isEmpty())
            out.last().second << line;
    }
    return out;
}

// The lines of `lines` that `other` does not hold, where "other" may hold an item's line as its
// first record's ("scadaObjects[0].Uid=0" for "scadaObjects[3].Uid=0").
QStringList without(const QStringList &lines, const QStringList &other, bool firstRecord = false)
{
    static const QRegularExpression index("^(\\w+)\\[\\d+\\]\\.");
    QStringList out;
    for (const QString &line : lines) {
        if (!other.contains(line) && !(firstRecord && other.contains(QString(line).replace(index, "\\1[0]."))))
            out << line;
    }
    return out;
}

// The "ItemType" of each item in a written page file.
QString writtenKinds(const QByteArray &bytes)
{
    QStringList kinds;
    static const QRegularExpression type("<ItemType>(\\w+)</ItemType>");
    for (auto it = type.globalMatch(QString::fromUtf8(bytes)); it.hasNext();)
        kinds << it.next().captured(1);
    return "written " + kinds.join(',');
}

// What a case page reads as (the lines that differ from the baseline page), its tag bindings,
// what a save and a second read change ("saved "), whether a second save writes other bytes,
// and for a case named "[file]" the items written.
QStringList caseLines(const QString &name, const QByteArray &bytes, const QStringList &baseline)
{
    const QString path = QStringLiteral("page.xml");
    const Page page(ScaFileProcessor::loadFileData(bytes, path));
    if (!page)
        return {"refused"};
    const QStringList read = dump(*page);
    QStringList out = without(read, baseline, true) + prefixed("binding ", bindingLines(*page));
    const Page again(saveAndLoad(page.data(), path));
    const QByteArray saved = fileContent(path);
    if (!again)
        return out << "saved: refused";
    out += prefixed("saved ", without(dump(*again), read));
    out << writtenKinds(saved);
    if (!ScaFileProcessor::saveFileData(again.data(), path) || fileContent(path) != saved)
        out << "saved again: other bytes";
    if (name.endsWith(QLatin1String("[file]"))) {
        const QString items = QString::fromUtf8(saved).section("<ItemList>", 1).section("</ItemList>", 0, 0);
        out += items.split('\n', Qt::SkipEmptyParts);
    }
    return out;
}

QByteArray caseBytes(const QStringList &lines)
{
    const QString text = lines.join('\n');
    if (!text.startsWith('@'))
        return text.toUtf8();
    const QStringList parts = text.mid(1).split(':');
    const QByteArray bytes = fileContent(fixture(parts.at(0)));
    return parts.size() > 1 ? bytes.left(parts.at(1).toInt()) : bytes;
}

} // namespace

class tst_ScaFileProcessor : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cases_data();
    void cases();
    void goldenOutput();
    void fileNameArgument_data();
    void fileNameArgument();
    void layerListWritten();
    void readersOnTheirOwn();
    void textsThroughSave_data();
    void textsThroughSave();
    void saveFailure_data();
    void saveFailure();

private:
    QTemporaryDir m_dir;
    QStringList m_baseline;
};

void tst_ScaFileProcessor::initTestCase()
{
    // Relative paths of the tests (and the "fileName" they put in files) resolve in here.
    QVERIFY(m_dir.isValid());
    QVERIFY(QDir::setCurrent(m_dir.path()));
    // Every save writes a debug line; goldenOutput looks at one.
    QLoggingCategory::setFilterRules(QStringLiteral("tirrel.page.debug=false"));
}

void tst_ScaFileProcessor::cases_data()
{
    // The first case is the baseline: its dump is given whole, the others' as what differs.
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("expected");
    const auto cases = sections(fixture("cases.txt"));
    const auto dumps = sections(fixture("cases.dump"));
    QVERIFY(!cases.isEmpty());
    const Page baseline(ScaFileProcessor::loadFileData(caseBytes(cases.first().second), "page.xml"));
    QVERIFY(baseline);
    m_baseline = dump(*baseline);
    for (int i = 0; i < cases.size(); ++i) {
        const QString &name = cases.at(i).first;
        QTest::newRow(qPrintable(name)) << name << caseBytes(cases.at(i).second)
                                        << (i < dumps.size() && dumps.at(i).first == name
                                                    ? dumps.at(i).second
                                                    : QStringList{"(no dump)"});
    }
}

void tst_ScaFileProcessor::cases()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, expected);
    const QStringList actual = caseLines(name, bytes, name.startsWith(QLatin1String("baseline"))
                                                              ? QStringList()
                                                              : m_baseline);
    PAGE_COMPARE_LINES(actual.join('\n').toUtf8(), expected.join('\n').toUtf8());
}

void tst_ScaFileProcessor::goldenOutput()
{
    // The golden pages read back, with in memory what the file does not carry: a new record's
    // empty index order, host fields, the page's own fileName, and layers (read back, those
    // without items are dropped) with separators in a name and an empty name.
    const Page page(ScaFileProcessor::loadFileData(fileContent(fixture("golden.xml")),
                                                   QStringLiteral("not-written.xml")));
    QVERIFY(page);
    delete page->scadaObjects.at(0);
    page->scadaObjects[0] = new ScadaObjectLoadData_t;
    ScadaObjectLoadData_t *full = page->scadaObjects.at(1);
    full->auxInt1 = 99;
    full->auxText = QStringLiteral("not saved");
    full->extraTagIds[0] = 99;
    page->layers = {LayerInfo{QStringLiteral("Main;Layer,1"), 3, true, -1, -1},
                    LayerInfo{QString(), 4, true, -1, -1},
                    LayerInfo{QStringLiteral("Hidden"), 5, false, 2, -3}};

    // Over a longer file, which is replaced whole.
    QVERIFY(writeFile(QStringLiteral("golden.xml"), QByteArray(100000, 'x')));
    QLoggingCategory::setFilterRules(QStringLiteral("tirrel.page.debug=true"));
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^saveFiledata  start : \\d\\d\\.\\d\\d\\d$"));
    QVERIFY(ScaFileProcessor::saveFileData(page.data(), QStringLiteral("golden.xml")));
    QLoggingCategory::setFilterRules(QStringLiteral("tirrel.page.debug=false"));
    PAGE_COMPARE_LINES(fileContent(QStringLiteral("golden.xml")), fileContent(fixture("golden.xml")));
    QCOMPARE(page->layers.at(0).name, QStringLiteral("MainLayer1"));

    // Every other kind, with something in the host's fields, which are not written.
    const Page items(ScaFileProcessor::loadFileData(fileContent(fixture("items.xml")), QString()));
    QVERIFY(items);
    items->dbqTextItems.at(0)->auxFlag1 = true;
    items->dbqTextItems.at(0)->auxValue = 5;
    items->rtChartItems.at(0)->TagIDs[0].auxValue1 = 1;
    items->gaugeItems.at(0)->auxValue = 9;
    items->gaugeItems.at(0)->auxBrush = QBrush(Qt::red);
    items->tableItems.at(0)->auxList = {1, 2};
    items->imageItems.at(0)->auxText2 = QStringLiteral("host");
    items->webFrameItems.at(0)->auxFlag = true;
    QVERIFY(ScaFileProcessor::saveFileData(items.data(), QStringLiteral("golden.xml")));
    PAGE_COMPARE_LINES(fileContent(QStringLiteral("golden.xml")), fileContent(fixture("items-golden.xml")));
}

void tst_ScaFileProcessor::fileNameArgument_data()
{
    QTest::addColumn<QByteArray>("properties");
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("expected");
    const QByteArray stored("<fileName>stored.xml</fileName>");
    QTest::newRow("null argument") << stored << QString() << QStringLiteral("stored.xml");
    QTest::newRow("null argument, no element") << QByteArray("<pageID>1</pageID>") << QString() << QString("");
    QTest::newRow("empty argument") << stored << QString("") << QString("");
    QTest::newRow("given argument") << stored << QStringLiteral("/a/b.xml") << QStringLiteral("/a/b.xml");
}

void tst_ScaFileProcessor::fileNameArgument()
{
    QFETCH(QByteArray, properties);
    QFETCH(QString, argument);
    QFETCH(QString, expected);
    const Page page(ScaFileProcessor::loadFileData(
            "<ScadaFile><PageProperties>" + properties + "</PageProperties></ScadaFile>", argument));
    QVERIFY(page);
    QCOMPARE(page->pageProperties.fileName, expected);
}

void tst_ScaFileProcessor::layerListWritten()
{
    // Names lose ";" and "," in the page itself, not in a copy sharing its layer list. An empty
    // name is written as it is, and so reads back with the later fields shifted.
    const QByteArray item = "<Item><Properties LayerId=\"%1\"/></Item>";
    const Page page(loadItems(QByteArray(item).replace("%1", "1") + QByteArray(item).replace("%1", "2")
                              + QByteArray(item).replace("%1", "5")));
    QVERIFY(page);
    page->layers[0].name = QStringLiteral("a;b,c;");
    page->layers[1].name = QStringLiteral("plain");
    page->layers[2] = LayerInfo{QString(), 5, true, 7, 8};
    const ScaFileData copy = *page; // shares the layer list until one side changes it

    const Page reloaded(saveAndLoad(page.data()));
    QVERIFY(reloaded);
    QCOMPARE(page->layers.at(0).name, QStringLiteral("abc"));
    QCOMPARE(copy.layers.at(0).name, QStringLiteral("a;b,c;"));
    QVERIFY(fileContent("page.xml").contains(
            "<layerOrder>1,abc,1,-1,-1;2,plain,1,-1,-1;5,,1,7,8;</layerOrder>"));
    QCOMPARE(reloaded->layers.at(0).name, QStringLiteral("abc"));
    QCOMPARE(reloaded->layers.at(1).name, QStringLiteral("plain"));
    QCOMPARE(dump(reloaded->layers.at(2)),
             (QStringList{"name=\"1\"", "id=5", "visible=true", "param4=8", "param5=-1"}));
}

void tst_ScaFileProcessor::readersOnTheirOwn()
{
    // Without an element, each reader reads as from an empty "Item".
    QDomDocument doc;
    QDomElement empty = doc.createElement("Item");
    auto check = [&](auto read) {
        QScopedPointer<std::remove_pointer_t<decltype(read(nullptr))>> none(read(nullptr));
        QScopedPointer<std::remove_pointer_t<decltype(read(nullptr))>> fromEmpty(read(&empty));
        QVERIFY(none && fromEmpty);
        QCOMPARE(dump(*none), dump(*fromEmpty));
    };
    check(&ScaFileProcessor::scadaObjectFromXML);
    check(&ScaFileProcessor::dbqTextItemFromXML);
    check(&ScaFileProcessor::rtchartItemFromXML);
    check(&ScaFileProcessor::gaugeItemFromXML);
    check(&ScaFileProcessor::tableItemFromXML);
    check(&ScaFileProcessor::imageItemFromXML);
    check(&ScaFileProcessor::webFrameItemFromXML);
    check(&ScaFileProcessor::schItemFromXML);
    check(&ScaFileProcessor::textItemFromXML);
}

void tst_ScaFileProcessor::textsThroughSave_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    for (const QString &text : {QStringLiteral("a]]>b"), QStringLiteral("]]>]]>"), QStringLiteral("x]]]]>y]"),
                                QStringLiteral("<![CDATA[ & < > \" ' ]]>"),
                                QStringLiteral("\"},{\"cellText\": \"\\\""),
                                QStringLiteral("line 1\nline 2\ttab"), QString::fromUtf8("\xF0\x9F\x98\x80")})
        QTest::newRow(qPrintable(text)) << text << text;
    // Characters XML cannot hold are left out, so that the saved page still loads.
    QTest::newRow("unsafe characters") << QStringLiteral("a") + QChar(0xD800) + QStringLiteral("b\x01" "c")
                                                  + QChar(0xFFFF) + QStringLiteral("d") + QChar(0xDC00)
                                       << QStringLiteral("abcd");
}

void tst_ScaFileProcessor::textsThroughSave()
{
    // Every text that the file carries, in CDATA, element text or attribute.
    QFETCH(QString, text);
    QFETCH(QString, expected);
    const Page page(ScaFileProcessor::loadFileData(fileContent(fixture("items.xml")), QString()));
    QVERIFY(page);
    auto *o = new ScadaObjectLoadData_t;
    o->MacroText = o->Tooltip = o->weblink = o->labelText = o->labelStyleSheet = text;
    o->base->Name = o->pageFunction = o->componentUid = text;
    o->indexOrder = {1};
    page->scadaObjects << o;
    page->pageProperties.pageName = text;
    page->pageProperties.scrollTags << ScrollTagInfo{1, text};
    page->layerIds << 0;
    page->layers << LayerInfo{text, 0, true, -1, -1};
    TextItemLoadData_t *t = page->textItems.at(0);
    t->ItemText = t->TextColor = t->BgColor = t->SvgElement = t->Family = t->base->Name = text;
    DbQueryTextItemLoadData_t *d = page->dbqTextItems.at(0);
    d->bgColor = d->txtColor = d->labelText = d->labelStyleSheet = d->base->Name = text;
    RealTimeChartItemLoadData_t *c = page->rtChartItems.at(0);
    c->BgColor = c->TxtColor = c->PaColor = c->ChartTitle = c->TagIDs[0].LineColor = text;
    GaugeItemLoadData_t *g = page->gaugeItems.at(0);
    g->Tooltip = g->Units = g->Label = text;
    page->scheduleItems.at(0)->base->Name = text;
    TableItemLoadData_t *table = page->tableItems.at(0);
    table->StyleSheet = table->rows[0][0].cellText = table->rows[0][1].cellText = text;
    page->imageItems.at(0)->ImageFile = text;
    page->webFrameItems.at(0)->Weblink = text;

    const Page reloaded(saveAndLoad(page.data()));
    QVERIFY(reloaded);
    const ScadaObjectLoadData_t *r = reloaded->scadaObjects.last();
    const TextItemLoadData_t *rt = reloaded->textItems.at(0);
    const DbQueryTextItemLoadData_t *rd = reloaded->dbqTextItems.at(0);
    const RealTimeChartItemLoadData_t *rc = reloaded->rtChartItems.at(0);
    const GaugeItemLoadData_t *rg = reloaded->gaugeItems.at(0);
    const TableItemLoadData_t *rtable = reloaded->tableItems.at(0);
    for (const QString &read : {r->MacroText, r->Tooltip, r->weblink, r->labelText, r->labelStyleSheet,
                                r->base->Name, r->pageFunction, r->componentUid,
                                reloaded->pageProperties.pageName,
                                reloaded->pageProperties.scrollTags.last().ScrollText})
        QCOMPARE(read, expected);
    // Layer names lose the list's separators.
    QCOMPARE(reloaded->layers.last().name, QString(expected).remove(',').remove(';'));
    // The other kinds' texts are written as they are.
    if (text != expected)
        return;
    for (const QString &read :
         {rt->ItemText, rt->TextColor, rt->BgColor, rt->SvgElement, rt->Family, rt->base->Name,
          rd->bgColor, rd->txtColor, rd->labelText, rd->labelStyleSheet, rd->base->Name,
          rc->BgColor, rc->TxtColor, rc->PaColor, rc->ChartTitle, rc->TagIDs[0].LineColor,
          rg->Tooltip, rg->Units, rg->Label, reloaded->scheduleItems.at(0)->base->Name,
          rtable->StyleSheet, rtable->rows[0][0].cellText, rtable->rows[0][1].cellText,
          reloaded->imageItems.at(0)->ImageFile, reloaded->webFrameItems.at(0)->Weblink})
        QCOMPARE(read, expected);
}

void tst_ScaFileProcessor::saveFailure_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("nullPage");
    QTest::newRow("missing folder") << QStringLiteral("no/such/folder/page.xml") << false;
    QTest::newRow("folder in the way") << QStringLiteral("a-folder") << false;
    QTest::newRow("read-only file") << QStringLiteral("read-only.xml") << false;
    QTest::newRow("empty path") << QString() << false;
    QTest::newRow("no page") << QStringLiteral("existing.xml") << true;
}

void tst_ScaFileProcessor::saveFailure()
{
    QFETCH(QString, path);
    QFETCH(bool, nullPage);
    const QByteArray old("old content, not a page");
    QVERIFY(QDir().mkpath("a-folder"));
    QVERIFY(writeFile("a-folder/inside.txt", old));
    if (path == QLatin1String("read-only.xml") || path == QLatin1String("existing.xml")) {
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
        QVERIFY(writeFile(path, old));
    }
    if (path == QLatin1String("read-only.xml")) {
        QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadGroup));
        if (QFileInfo(path).isWritable())
            QSKIP("this user may write read-only files");
    }

    const Page page(ScaFileProcessor::loadFileData(fileContent(fixture("full.xml")), QString()));
    QVERIFY(page);
    QCOMPARE(ScaFileProcessor::saveFileData(nullPage ? nullptr : page.data(), path), false);

    QCOMPARE(fileContent("a-folder/inside.txt"), old);
    QVERIFY(QFileInfo("a-folder").isDir());
    QVERIFY(!QFileInfo::exists("no"));
    if (!path.isEmpty() && QFileInfo(path).isFile())
        QCOMPARE(fileContent(path), old);
    // Nothing is left behind beside the target either.
    const QStringList left = QDir().entryList(QDir::Files | QDir::Hidden);
    QVERIFY2(left.filter(QRegularExpression("^(read-only|existing)\\.xml.+")).isEmpty(),
             qPrintable(left.join(' ')));
}

QTEST_GUILESS_MAIN(tst_ScaFileProcessor)
#include "tst_scafileprocessor.moc"
