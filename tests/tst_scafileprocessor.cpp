// The page file format: frame, page properties, layers, scroll tags, the item envelope and the
// SCADA object items, in both directions, with malformed input and failing saves.

#include "pageDump.h"

#include <scaFileProcessor.h>

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <climits>

using namespace pagedump;

namespace {

// Compares two files line by line, so that a failure shows the first line that differs.
#define COMPARE_LINES(actual, expected)                                                          \
    do {                                                                                         \
        const QList<QByteArray> a_ = (actual).split('\n');                                       \
        const QList<QByteArray> e_ = (expected).split('\n');                                     \
        for (int i_ = 0; i_ < qMax(a_.size(), e_.size()); ++i_) {                                \
            const QByteArray line_ = QByteArray::number(i_ + 1) + ": ";                          \
            QCOMPARE(line_ + a_.value(i_, "(missing)"), line_ + e_.value(i_, "(missing)"));      \
        }                                                                                        \
    } while (false)

// Every line of `expected` must be among `lines`.
#define VERIFY_LINES(lines, expected)                                                            \
    do {                                                                                         \
        const QStringList l_ = (lines);                                                          \
        for (const QString &e_ : (expected))                                                     \
            QVERIFY2(l_.contains(e_), qPrintable(e_ + " not in\n" + l_.join('\n')));            \
    } while (false)

struct PageDeleter
{
    static void cleanup(ScaFileData *page) { deletePage(page); }
};
using Page = QScopedPointer<ScaFileData, PageDeleter>;

QByteArray fileContent(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QString fixture(const char *name)
{
    return QStringLiteral(TIRREL_TEST_DATA "/pages/") + QLatin1String(name);
}

// A page file of the given items and page property elements.
QByteArray pageXml(const QByteArray &items, const QByteArray &properties = QByteArray())
{
    return "<ScadaFile><ItemList>" + items + "</ItemList>"
           + (properties.isNull() ? QByteArray() : "<PageProperties>" + properties + "</PageProperties>")
           + "</ScadaFile>";
}

QByteArray scadaItem(const QByteArray &children)
{
    return "<Item><ItemType>ScadaObject</ItemType>" + children + "</Item>";
}

// A SCADA object item on the given layer.
QByteArray onLayer(quint64 layerId)
{
    return scadaItem("<Properties LayerId=\"" + QByteArray::number(layerId) + "\"/>");
}

// The single SCADA object of a page file holding one "Item" with the given children.
struct LoadedObject
{
    Page page;
    const ScadaObjectLoadData_t *object = nullptr;

    explicit LoadedObject(const QByteArray &children)
        : page(ScaFileProcessor::loadFileData(pageXml(scadaItem(children)), QString()))
    {
        if (page && page->scadaObjects.size() == 1)
            object = page->scadaObjects.first();
    }
};

// Saves and loads the page again; the new page's fileName is `path`.
ScaFileData *saveAndLoad(ScaFileData *page, const QString &path = QStringLiteral("page.xml"))
{
    if (!ScaFileProcessor::saveFileData(page, path))
        return nullptr;
    return ScaFileProcessor::loadFileData(fileContent(path), path);
}

} // namespace

class tst_ScaFileProcessor : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void loadFixture();
    void roundTrip_data();
    void roundTrip();
    void goldenOutput();
    void dispatch_data();
    void dispatch();
    void itemsGroupedByKind();
    void pagePropertyValues_data();
    void pagePropertyValues();
    void fileNameArgument_data();
    void fileNameArgument();
    void layers_data();
    void layers();
    void layerListWritten();
    void scadaObjectDefaults();
    void scadaObjectNumbers_data();
    void scadaObjectNumbers();
    void indexOrder_data();
    void indexOrder();
    void textsThroughSave_data();
    void textsThroughSave();
    void documentShapes_data();
    void documentShapes();
    void saveFailure_data();
    void saveFailure();

private:
    QTemporaryDir m_dir;
};

void tst_ScaFileProcessor::initTestCase()
{
    // Relative paths of the tests (and the "fileName" they put in files) resolve in here.
    QVERIFY(m_dir.isValid());
    QVERIFY(QDir::setCurrent(m_dir.path()));
    // Every save writes a debug line; goldenOutput looks at one.
    QLoggingCategory::setFilterRules(QStringLiteral("tirrel.page.debug=false"));
}

void tst_ScaFileProcessor::loadFixture()
{
    const Page page(ScaFileProcessor::loadFileData(fileContent(fixture("full.xml")), QString()));
    QVERIFY(page);
    QCOMPARE(page->scadaObjects.size(), 3); // the unknown kind is skipped

    const QStringList first = {
        "base.X=120", "base.Y=45", "base.W=64", "base.H=32", "base.ZVAL=7", "base.GZVAL=3",
        "base.Rot=90", "base.HFlip=true", "base.VFlip=false", "base.GroupId=1620000000000123",
        "base.LayerId=1650000000100", "base.Name=\"Pump & \"valve\" <1>\"", "base.itemKind=1",
        "auxInt1=0", "auxInt2=0", "Type=42", "Uid=5001", "auxFloat1=0", "auxFloat2=0",
        "auxFloat3=0", "tagID_image=1", "tagID_label=2", "tagID_posx=5", "tagID_posy=6",
        "tagID_width=3", "tagID_height=4", "tagID_rotAng=7", "tagID_txtColor=8",
        "tagID_maskColor=9", "tagID_maskOpac=10", "tagID_cusProp1=12", "tagID_cusProp2=13",
        "tagID_cusProp3=14", "tagID_cusProp4=15", "tagID_cusProp5=16", "tagID_cusProp6=17",
        "tagID_cusProp7=18", "tagID_eventTarget=11",
        "extraTagIds={-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1,-1}", "eventType=2",
        "eventAction=3", "eventActionAck=true", "lofx=-4", "lofy=9", "labelText=\"%.1f bar\"",
        "labelStyleSheet=\"font: 12px \"DejaVu Sans\"; color: #102030;\"", "userConst1=77",
        "userConst2=-8", "pageFunction=\"openPage\"", "showChildAlarms=false",
        "closeWindowOnClicked=true", "auxText=\"\"",
        "MacroText=\"if (val(3) > 2) { set(4, 1); } // \"x\" & <y>\"", "Tooltip=\"Feed pump\"",
        "weblinkActive=true", "weblink=\"http://hmi.local/trend?tag=3&span=1h\"",
        "limitsActive=true", "lowLimit=-12.5", "highLimit=1234570", "auxEntries.size=0",
        "componentUid=\"{comp-0042}\"", "indexOrder={3,1,2}",
    };
    QCOMPARE(dump(*page->scadaObjects.at(0)), first);

    // Children in any order; missing ones take the reader's defaults.
    VERIFY_LINES(dump(*page->scadaObjects.at(1)),
                 (QStringList{"base.X=12", "base.Y=-3", "base.Name=\"Second\"", "Uid=5002", "Type=7",
                              "tagID_image=300", "tagID_width=-1", "labelText=\"%d\"",
                              "labelStyleSheet=\"\"", "highLimit=100", "showChildAlarms=true",
                              "componentUid=\"plain\"", "indexOrder={0}"}));

    const QStringList pageLines = dump(*page).filter(QRegularExpression("^(?!scadaObjects)"));
    const QStringList expectedPage = {
        "textItems.size=0", "scheduleItems.size=0", "rtChartItems.size=0",
        "dbqTextItems.size=0", "tableItems.size=0", "gaugeItems.size=0", "imageItems.size=0",
        "webFrameItems.size=0", "labelTagIds={2,-1,2}",
        "pageFunctionLinks={openPage:77|closeWindow:5}", "auxList={}",
        "layerIds={732558437,732558436}",
        "layers[0].name=\"Alarms\"", "layers[0].id=1650000000101", "layers[0].visible=false",
        "layers[0].param4=3", "layers[0].param5=4",
        "layers[1].name=\"Background\"", "layers[1].id=1650000000100", "layers[1].visible=true",
        "layers[1].param4=-1", "layers[1].param5=-1",
        "auxFlag1=false", "auxFlag2=false",
        "pageProperties.auxValue=0", "pageProperties.pageName=\"Boiler room\"",
        "pageProperties.fileName=\"/projects/plant/pages/boiler.xml\"",
        "pageProperties.relativePath=\"pages/boiler.xml\"", "pageProperties.pageID=14",
        "pageProperties.auxPageId=-1", "pageProperties.pageGeometry=1920x1080",
        "pageProperties.pageBgImage=\"images/bg_3.png\"",
        "pageProperties.pageIcon=\"icons/boiler.svg\"", "pageProperties.pageType=2",
        "pageProperties.geoView=true", "pageProperties.geoData=\"{\"zoom\":12}\"",
        "pageProperties.markerCategories=\"pumps;valves\"",
        "pageProperties.geoCenterPos=\"41.0,29.0,12\"", "pageProperties.customPageSize=true",
        "pageProperties.addScrollingText=true",
        "pageProperties.pageAccessRights=4503599627370496",
        "pageProperties.pageAccessRights2=-2147483649", "pageProperties.scaleToWindow=2",
        "pageProperties.scrollTags.size=3", "pageProperties.scrollTags[0]=12,\"Steam pressure\"",
        "pageProperties.scrollTags[1]=13,\"Text\"", "pageProperties.scrollTags[2]=0,\"No id\"",
        "pageProperties.auxPageList={}", "auxFlag3=true", "auxFlag4=false",
    };
    QCOMPARE(pageLines, expectedPage);
}

void tst_ScaFileProcessor::roundTrip_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::newRow("full fixture") << fileContent(fixture("full.xml"));
    QTest::newRow("empty page") << pageXml(QByteArray(), QByteArray());
    QTest::newRow("no page properties") << pageXml(onLayer(3) + onLayer(5) + onLayer(3));
    QTest::newRow("object of defaults")
            << pageXml(scadaItem("<componentUid/>"), "<pageName>p</pageName>");
}

void tst_ScaFileProcessor::roundTrip()
{
    QFETCH(QByteArray, xml);
    QVERIFY(!xml.isEmpty());
    const QString path = QStringLiteral("roundtrip.xml");
    const Page first(ScaFileProcessor::loadFileData(xml, path));
    QVERIFY(first);
    const Page second(saveAndLoad(first.data(), path));
    QVERIFY(second);
    QCOMPARE(dump(*second), dump(*first));

    // A page read back is written back to the very same bytes.
    const QByteArray saved = fileContent(path);
    QVERIFY(ScaFileProcessor::saveFileData(second.data(), path));
    COMPARE_LINES(fileContent(path), saved);
}

void tst_ScaFileProcessor::goldenOutput()
{
    // The golden page read back, with in memory what the file does not carry: a new record's
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
    COMPARE_LINES(fileContent(QStringLiteral("golden.xml")), fileContent(fixture("golden.xml")));
    QCOMPARE(page->layers.at(0).name, QStringLiteral("MainLayer1"));
}

void tst_ScaFileProcessor::dispatch_data()
{
    QTest::addColumn<QByteArray>("item");
    QTest::addColumn<int>("objects");
    QTest::newRow("ScadaObject") << QByteArray("<Item><ItemType>ScadaObject</ItemType></Item>") << 1;
    QTest::newRow("no ItemType") << QByteArray("<Item><Properties Uid=\"4\"/></Item>") << 1;
    QTest::newRow("letter case") << QByteArray("<Item><ItemType>scadaobject</ItemType></Item>") << 0;
    QTest::newRow("empty ItemType") << QByteArray("<Item><ItemType/></Item>") << 0;
    QTest::newRow("blank around") << QByteArray("<Item><ItemType> ScadaObject</ItemType></Item>") << 0;
    QTest::newRow("unknown kind") << QByteArray("<Item><ItemType>Gadget</ItemType></Item>") << 0;
    QTest::newRow("not an Item") << QByteArray("<Thing><ItemType>ScadaObject</ItemType></Thing>") << 0;
}

void tst_ScaFileProcessor::dispatch()
{
    QFETCH(QByteArray, item);
    QFETCH(int, objects);
    // The item sits between two SCADA objects, which load whatever happens to it.
    const Page page(ScaFileProcessor::loadFileData(
            pageXml(onLayer(1) + item + onLayer(2)), QString()));
    QVERIFY(page);
    QCOMPARE(page->scadaObjects.size(), objects + 2);
    QCOMPARE(page->scadaObjects.first()->base->LayerId, quint64(1));
    QCOMPARE(page->scadaObjects.last()->base->LayerId, quint64(2));
    // Items that are not loaded leave no layer behind.
    QCOMPARE(page->layerIds.size(), objects ? 3 : 2);
}

void tst_ScaFileProcessor::itemsGroupedByKind()
{
    // Items are written kind by kind, SCADA objects first, each kind in the order read.
    QByteArray items;
    QStringList expected;
    int n = 0;
    for (const char *kind : {"WebFrameItem", "TextItem", "GaugeItem", "ImageItem", "ScheduleItem",
                             "TableItem", "DbqTextItem", "RTChartItem"}) {
        items += "<Item><ItemType>" + QByteArray(kind) + "</ItemType></Item>";
        items += scadaItem("<Properties Name=\"obj" + QByteArray::number(n) + "\"/>");
        expected << QStringLiteral("ScadaObject obj%1").arg(n++);
    }
    expected << "TextItem" << "ScheduleItem" << "RTChartItem" << "DbqTextItem" << "TableItem"
             << "ImageItem" << "GaugeItem" << "WebFrameItem";
    const Page page(ScaFileProcessor::loadFileData(pageXml(items), QString()));
    QVERIFY(page);
    QVERIFY(ScaFileProcessor::saveFileData(page.data(), QStringLiteral("grouped.xml")));

    QDomDocument saved;
    QVERIFY(saved.setContent(fileContent(QStringLiteral("grouped.xml"))));
    QStringList written;
    for (QDomElement item = saved.documentElement().firstChildElement("ItemList").firstChildElement("Item");
         !item.isNull(); item = item.nextSiblingElement("Item")) {
        const QString type = item.firstChildElement("ItemType").text();
        written << (type == QLatin1String("ScadaObject")
                            ? type + ' ' + item.firstChildElement("Properties").attribute("Name")
                            : type);
    }
    QCOMPARE(written, expected);
}

void tst_ScaFileProcessor::pagePropertyValues_data()
{
    // A present element takes its text (empty: "" or 0); only a missing one takes the default.
    QTest::addColumn<QByteArray>("properties");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("empty elements")
            << QByteArray("<pageID/><pageType/><geoView/><geoCenterPos/><scaleToWindow/>"
                          "<pageAccessRights/><pageGeometry/>")
            << QStringList{"pageID=0", "pageType=0", "geoView=false", "geoCenterPos=\"\"",
                           "scaleToWindow=0", "pageAccessRights=0", "pageGeometry=250x150"};
    QTest::newRow("not numbers")
            << QByteArray("<pageID>abc</pageID><pageType>1.5</pageType><geoView>yes</geoView>"
                          "<pageAccessRights>9223372036854775808</pageAccessRights>"
                          "<pageGeometry W=\"wide\"/>")
            << QStringList{"pageID=0", "pageType=0", "geoView=false", "pageAccessRights=0",
                           "pageGeometry=0x150"};
    QTest::newRow("flags are ints")
            << QByteArray("<geoView>2</geoView><customPageSize>-1</customPageSize>"
                          "<addScrollingText>0</addScrollingText>")
            << QStringList{"geoView=true", "customPageSize=true", "addScrollingText=false"};
    QTest::newRow("64-bit rights")
            << QByteArray("<pageAccessRights>-9223372036854775808</pageAccessRights>"
                          "<pageAccessRights2>9223372036854775807</pageAccessRights2>")
            << QStringList{"pageAccessRights=-9223372036854775808",
                           "pageAccessRights2=9223372036854775807"};
    QTest::newRow("any order")
            << QByteArray("<pageGeometry H=\"9\" W=\"8\"/><pageName>late</pageName><pageID>4</pageID>")
            << QStringList{"pageGeometry=8x9", "pageName=\"late\"", "pageID=4"};
    QTest::newRow("scroll tags")
            << QByteArray("<ScrollTags><Tag TagID=\"4\" ScrollText=\"a\"/><Other/><Tag/>"
                          "<Tag TagID=\"x\" ScrollText=\"\"/></ScrollTags>")
            << QStringList{"scrollTags.size=3", "scrollTags[0]=4,\"a\"", "scrollTags[1]=0,\"Text\"",
                           "scrollTags[2]=0,\"\""};
}

void tst_ScaFileProcessor::pagePropertyValues()
{
    QFETCH(QByteArray, properties);
    QFETCH(QStringList, expected);
    const Page page(ScaFileProcessor::loadFileData(pageXml(QByteArray(), properties), QString()));
    QVERIFY(page);
    VERIFY_LINES(dump(page->pageProperties), expected);
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
    const Page page(ScaFileProcessor::loadFileData(pageXml(QByteArray(), properties), argument));
    QVERIFY(page);
    QCOMPARE(page->pageProperties.fileName, expected);
}

void tst_ScaFileProcessor::layers_data()
{
    QTest::addColumn<QByteArray>("layerOrder");
    QTest::addColumn<QList<quint64>>("itemLayers");
    QTest::addColumn<QStringList>("expected"); // "id,name,visible,param4,param5" per layer

    using L = QList<quint64>;
    QTest::newRow("all five fields") << QByteArray("1,Back,1,-1,-1;2,Top,0,4,9;") << L{1, 2}
                                     << QStringList{"1,Back,1,-1,-1", "2,Top,0,4,9"};
    QTest::newRow("listed order kept") << QByteArray("2,B,1,-1,-1;1,A,1,-1,-1;") << L{1, 2}
                                       << QStringList{"2,B,1,-1,-1", "1,A,1,-1,-1"};
    QTest::newRow("layer without items dropped") << QByteArray("1,A,1,-1,-1;2,B,1,-1,-1;3,C,1,-1,-1;")
                                                 << L{3, 1} << QStringList{"1,A,1,-1,-1", "3,C,1,-1,-1"};
    QTest::newRow("unlisted item layers added") << QByteArray("1,A,1,-1,-1;") << L{7, 1, 9, 7}
                                                << QStringList{"1,A,1,-1,-1", "7,New Layer_7,1,-1,-1",
                                                               "9,New Layer_9,1,-1,-1"};
    QTest::newRow("id only") << QByteArray("6;") << L{6} << QStringList{"6,New Layer,1,-1,-1"};
    QTest::newRow("id and name") << QByteArray("6,Six") << L{6} << QStringList{"6,Six,1,-1,-1"};
    QTest::newRow("empty name shifts the fields") << QByteArray("5,,1,-1,-1;") << L{5}
                                                  << QStringList{"5,1,1,-1,-1"};
    QTest::newRow("empty parts skipped") << QByteArray(";;2,A,1,-1,-1;;,,;") << L{2}
                                         << QStringList{"2,A,1,-1,-1"};
    QTest::newRow("id not a number") << QByteArray("x,A,1,-1,-1;") << L{0}
                                     << QStringList{"0,A,1,-1,-1"};
    QTest::newRow("matched on the low 32 bits") << QByteArray("4294967298,Big,1,-1,-1;") << L{2}
                                                << QStringList{"4294967298,Big,1,-1,-1"};
    QTest::newRow("no layers, no items") << QByteArray() << L{} << QStringList{};
    QTest::newRow("items on layer 0") << QByteArray() << L{0, 0} << QStringList{"0,New Layer_0,1,-1,-1"};
    QTest::newRow("added id widened with its sign") << QByteArray() << L{4294967295}
                                                    << QStringList{"18446744073709551615,New Layer_-1,1,-1,-1"};
}

void tst_ScaFileProcessor::layers()
{
    QFETCH(QByteArray, layerOrder);
    QFETCH(QList<quint64>, itemLayers);
    QFETCH(QStringList, expected);
    QByteArray items;
    for (quint64 id : itemLayers)
        items += onLayer(id);
    const Page page(ScaFileProcessor::loadFileData(
            pageXml(items, "<layerOrder>" + layerOrder + "</layerOrder>"), QString()));
    QVERIFY(page);
    QStringList actual;
    QList<int> expectedIds;
    for (const LayerInfo &l : qAsConst(page->layers)) {
        actual << QStringLiteral("%1,%2,%3,%4,%5").arg(l.id).arg(l.name).arg(int(l.visible))
                          .arg(l.param4).arg(l.param5);
        expectedIds << int(quint32(l.id));
    }
    QCOMPARE(actual, expected);
    QCOMPARE(page->layerIds, expectedIds);
}

void tst_ScaFileProcessor::layerListWritten()
{
    // Names lose ";" and "," in the page itself, not in a copy sharing its layer list. An empty
    // name is written as it is, and so reads back with the later fields shifted.
    const Page page(ScaFileProcessor::loadFileData(pageXml(onLayer(1) + onLayer(2) + onLayer(5)),
                                                   QString()));
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

void tst_ScaFileProcessor::scadaObjectDefaults()
{
    const LoadedObject loaded{QByteArray()};
    QVERIFY(loaded.object);
    const ScadaObjectLoadData_t &o = *loaded.object;
    ScadaObjectLoadData_t expected;
    expected.base->itemKind = 1;
    expected.labelText.clear();
    expected.labelStyleSheet.clear();
    expected.indexOrder = {0};
    QCOMPARE(dump(o), dump(expected));
    QVERIFY(o.base != expected.base);

    // The reader on its own: no element at all reads like an empty one.
    QDomDocument doc;
    QVERIFY(doc.setContent(scadaItem("<Properties Uid=\"8\" LayerId=\"2\"/><lofx>3</lofx>")));
    QDomElement item = doc.documentElement();
    QScopedPointer<ScadaObjectLoadData_t> read(ScaFileProcessor::scadaObjectFromXML(&item));
    VERIFY_LINES(dump(*read), (QStringList{"Uid=8", "base.LayerId=2", "lofx=3", "base.itemKind=1"}));
    QScopedPointer<ScadaObjectLoadData_t> none(ScaFileProcessor::scadaObjectFromXML(nullptr));
    QDomElement empty = doc.createElement("Item");
    QScopedPointer<ScadaObjectLoadData_t> fromEmpty(ScaFileProcessor::scadaObjectFromXML(&empty));
    QCOMPARE(dump(*none), dump(*fromEmpty));
}

void tst_ScaFileProcessor::scadaObjectNumbers_data()
{
    QTest::addColumn<QByteArray>("children");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("not numbers")
            << QByteArray("<Geometry X=\"a\" Y=\"nan\" W=\"12.7\" H=\"-3.9\" Rot=\"r\" ZVAL=\"\" HFlip=\"yes\"/>"
                          "<Properties Uid=\"u\" Type=\"1.5\" GroupId=\"-1\" LayerId=\"x\"/>"
                          "<TagIDs tagID_image=\"x\" tagID_cusProp7=\"\"/><lofx>1.5</lofx>"
                          "<lowLimit>low</lowLimit><userConst1> </userConst1>")
            << QStringList{"base.X=0", "base.Y=0", "base.W=0", "base.H=0", "base.Rot=0", "base.ZVAL=0",
                           "base.HFlip=false", "Uid=0", "Type=0", "base.GroupId=0", "base.LayerId=0",
                           "tagID_image=0", "tagID_cusProp7=0", "tagID_label=-1", "lofx=0",
                           "lowLimit=0", "userConst1=0"};
    QTest::newRow("present but empty")
            << QByteArray("<highLimit/><showChildAlarms/><labelText/><Tooltip/>")
            << QStringList{"highLimit=0", "showChildAlarms=false", "labelText=\"\"", "Tooltip=\"\""};
    QTest::newRow("flags are ints")
            << QByteArray("<Geometry HFlip=\"2\" VFlip=\"-1\"/>"
                          "<weblinkActive>2</weblinkActive><limitsActive>-1</limitsActive>"
                          "<showChildAlarms>yes</showChildAlarms><eventActionAck>0</eventActionAck>")
            << QStringList{"base.HFlip=true", "base.VFlip=true", "weblinkActive=true",
                           "limitsActive=true", "showChildAlarms=false", "eventActionAck=false"};
    QTest::newRow("integer forms")
            << QByteArray("<Geometry X=\"+3\" Y=\" 4 \" W=\"007\" H=\"2147483648\"/>"
                          "<lofx>+5</lofx><lofy> 7 </lofy><userConst1>007</userConst1>"
                          "<userConst2>2147483648</userConst2><eventType>-2147483648</eventType>"
                          "<eventAction>99999999999</eventAction><TagIDs tagID_label=\"-\"/>")
            << QStringList{"base.X=3", "base.Y=4", "base.W=7", "base.H=0", "lofx=5", "lofy=7",
                           "userConst1=7", "userConst2=0", "eventType=-2147483648", "eventAction=0",
                           "tagID_label=0"};
    QTest::newRow("position as a real")
            << QByteArray("<Geometry X=\"1.5e2\" Y=\"-0.5\"/>") << QStringList{"base.X=150", "base.Y=0"};
    QTest::newRow("position beyond int")
            << QByteArray("<Geometry X=\"1e12\" Y=\"-1e12\"/>")
            << QStringList{"base.X=" + QString::number(INT_MAX), "base.Y=" + QString::number(INT_MIN)};
    QTest::newRow("float forms")
            << QByteArray("<lowLimit>-16777217</lowLimit><highLimit>16777219</highLimit>")
            << QStringList{"lowLimit=-16777216", "highLimit=16777220"};
    QTest::newRow("floats") << QByteArray("<lowLimit>1e-3</lowLimit><highLimit>-2.5</highLimit>")
                            << QStringList{"lowLimit=0.00100000005", "highLimit=-2.5"};
    QTest::newRow("large ids")
            << QByteArray("<Properties GroupId=\"18446744073709551615\" LayerId=\"4294967296\"/>")
            << QStringList{"base.GroupId=18446744073709551615", "base.LayerId=4294967296"};
    QTest::newRow("first of a name wins")
            << QByteArray("<lofx>1</lofx><lofx>2</lofx><TagIDs tagID_label=\"3\"/><TagIDs tagID_label=\"4\"/>")
            << QStringList{"lofx=1", "tagID_label=3"};
    QTest::newRow("text of nested content")
            << QByteArray("<MacroText>a<![CDATA[<b>]]>c<x>d</x></MacroText>")
            << QStringList{"MacroText=\"a<b>cd\""};
}

void tst_ScaFileProcessor::scadaObjectNumbers()
{
    QFETCH(QByteArray, children);
    QFETCH(QStringList, expected);
    const LoadedObject loaded(children);
    QVERIFY(loaded.object);
    VERIFY_LINES(dump(*loaded.object), expected);
}

void tst_ScaFileProcessor::indexOrder_data()
{
    QTest::addColumn<QByteArray>("componentUid");
    QTest::addColumn<QList<int>>("expected");
    QTest::newRow("3;;2") << QByteArray("<componentUid indexOrder=\"3;;2\"/>") << QList<int>{3, 0, 2};
    QTest::newRow("trailing separator") << QByteArray("<componentUid indexOrder=\"4;\"/>") << QList<int>{4, 0};
    QTest::newRow("empty") << QByteArray("<componentUid indexOrder=\"\"/>") << QList<int>{};
    QTest::newRow("missing attribute") << QByteArray("<componentUid>c</componentUid>") << QList<int>{0};
    QTest::newRow("not numbers") << QByteArray("<componentUid indexOrder=\"a;-;7\"/>") << QList<int>{0, 0, 7};
}

void tst_ScaFileProcessor::indexOrder()
{
    QFETCH(QByteArray, componentUid);
    QFETCH(QList<int>, expected);
    const LoadedObject loaded(componentUid);
    QVERIFY(loaded.object);
    QCOMPARE(loaded.object->indexOrder, expected);

    // Written back, an empty order leaves the attribute out and so reads as {0}.
    const Page reloaded(saveAndLoad(loaded.page.data()));
    QVERIFY(reloaded);
    QCOMPARE(reloaded->scadaObjects.at(0)->indexOrder, expected.isEmpty() ? QList<int>{0} : expected);
}

void tst_ScaFileProcessor::textsThroughSave_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    for (const QString &text : {QStringLiteral("a]]>b"), QStringLiteral("]]>]]>"), QStringLiteral("x]]]]>y]")})
        QTest::newRow(qPrintable(text)) << text << text;
    QTest::newRow("markup") << QStringLiteral("<![CDATA[ & < > \" ' ]]>") << QStringLiteral("<![CDATA[ & < > \" ' ]]>");
    QTest::newRow("lines") << QStringLiteral("line 1\nline 2\ttab") << QStringLiteral("line 1\nline 2\ttab");
    QTest::newRow("surrogate pair") << QString::fromUtf8("\xF0\x9F\x98\x80") << QString::fromUtf8("\xF0\x9F\x98\x80");
    // Characters XML cannot hold are left out, so that the saved page still loads.
    QTest::newRow("unsafe characters") << QStringLiteral("a") + QChar(0xD800) + QStringLiteral("b\x01" "c")
                                                  + QChar(0xFFFF) + QStringLiteral("d") + QChar(0xDC00)
                                       << QStringLiteral("abcd");
}

void tst_ScaFileProcessor::textsThroughSave()
{
    // Every text of a SCADA object and of the page, in CDATA, element text or attribute.
    QFETCH(QString, text);
    QFETCH(QString, expected);
    ScaFileData page;
    auto *o = new ScadaObjectLoadData_t;
    o->MacroText = o->Tooltip = o->weblink = o->labelText = o->labelStyleSheet = text;
    o->base->Name = o->pageFunction = o->componentUid = text;
    o->indexOrder = {1};
    page.scadaObjects << o;
    page.pageProperties.pageName = text;
    page.pageProperties.scrollTags << ScrollTagInfo{1, text};
    page.layerIds << 0;
    page.layers << LayerInfo{text, 0, true, -1, -1};

    const Page reloaded(saveAndLoad(&page));
    page.erase();
    QVERIFY(reloaded);
    const ScadaObjectLoadData_t *r = reloaded->scadaObjects.at(0);
    for (const QString &read : {r->MacroText, r->Tooltip, r->weblink, r->labelText, r->labelStyleSheet,
                                r->base->Name, r->pageFunction, r->componentUid,
                                reloaded->pageProperties.pageName,
                                reloaded->pageProperties.scrollTags.at(0).ScrollText,
                                reloaded->layers.at(0).name})
        QCOMPARE(read, expected);
}

void tst_ScaFileProcessor::documentShapes_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("objects"); // -1: the page is refused
    QTest::newRow("empty") << QByteArray() << -1;
    QTest::newRow("not XML") << QByteArray("page file") << -1;
    QTest::newRow("unclosed") << QByteArray("<ScadaFile><ItemList>") << -1;
    QTest::newRow("cut short") << fileContent(fixture("full.xml")).left(3000) << -1;
    QTest::newRow("other root") << QByteArray("<Page><Foo/></Page>") << 0;
    QTest::newRow("bare root") << QByteArray("<ScadaFile/>") << 0;
    QTest::newRow("other root name, same children")
            << QByteArray("<Other><ItemList><Item/></ItemList></Other>") << 1;
    QTest::newRow("items outside ItemList")
            << QByteArray("<ScadaFile><Item/><ItemList/><Item/></ScadaFile>") << 0;
    QTest::newRow("text content") << QByteArray("<ScadaFile>text<ItemList>more</ItemList></ScadaFile>") << 0;
}

void tst_ScaFileProcessor::documentShapes()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, objects);
    const Page page(ScaFileProcessor::loadFileData(bytes, QStringLiteral("x.xml")));
    if (objects < 0) {
        QCOMPARE(page.data(), nullptr);
        return;
    }
    QVERIFY(page);
    QCOMPARE(page->scadaObjects.size(), objects);
    // Without page properties, each one takes its default.
    QCOMPARE(dump(page->pageProperties),
             (QStringList{"auxValue=0", "pageName=\"\"", "fileName=\"x.xml\"", "relativePath=\"\"",
                          "pageID=-1", "auxPageId=-1", "pageGeometry=250x150", "pageBgImage=\"\"",
                          "pageIcon=\"\"", "pageType=0", "geoView=false", "geoData=\"\"",
                          "markerCategories=\"\"", "geoCenterPos=\"51.5,0,10\"",
                          "customPageSize=false", "addScrollingText=false", "pageAccessRights=0",
                          "pageAccessRights2=0", "scaleToWindow=0", "scrollTags.size=0",
                          "auxPageList={}"}));
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
