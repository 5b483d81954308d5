// The item kinds of a page beyond SCADA objects: text and database-query text items, real-time
// charts and gauges, tables, images, web frames and schedules. Each kind's reading (defaults for
// missing and for empty elements, malformed values), writing (a golden file) and round trip, and
// the rules particular to a kind (measured text sizes, chart tag forms, gauge colours, table
// widths and cells).

#include "pageDump.h"

#include <scaFileProcessor.h>

#include <QDomDocument>
#include <QFile>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>

using namespace pagedump;

namespace {

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

QString fixture(const char *name)
{
    return QStringLiteral(TIRREL_TEST_DATA "/pages/") + QLatin1String(name);
}

QByteArray pageXml(const QByteArray &items)
{
    return "<ScadaFile><ItemList>" + items + "</ItemList></ScadaFile>";
}

QByteArray item(const QByteArray &type, const QByteArray &children = QByteArray())
{
    return "<Item><ItemType>" + type + "</ItemType>" + children + "</Item>";
}

ScaFileData *load(const QByteArray &items)
{
    return ScaFileProcessor::loadFileData(pageXml(items), QString());
}

ScaFileData *saveAndLoad(ScaFileData *page, const QString &path = QStringLiteral("page.xml"))
{
    if (!ScaFileProcessor::saveFileData(page, path))
        return nullptr;
    return ScaFileProcessor::loadFileData(fileContent(path), path);
}

// The dump of a page's only item, whatever its kind; empty unless the page holds one item.
QStringList onlyItem(const ScaFileData &page)
{
    QStringList lines;
    int items = 0;
    auto add = [&](const auto &list) {
        items += list.size();
        if (list.size() == 1 && list.first())
            lines = dump(*list.first());
    };
    add(page.scadaObjects);
    add(page.textItems);
    add(page.scheduleItems);
    add(page.rtChartItems);
    add(page.dbqTextItems);
    add(page.tableItems);
    add(page.gaugeItems);
    add(page.imageItems);
    add(page.webFrameItems);
    return items == 1 ? lines : QStringList();
}

// The item lines of a page's dump.
QStringList itemLines(const ScaFileData &page)
{
    return dump(page).filter(QRegularExpression(
            "^(scadaObjects|textItems|scheduleItems|rtChartItems|dbqTextItems|tableItems|"
            "gaugeItems|imageItems|webFrameItems)[.\\[]"));
}

// Doubles (gauge values, column widths) keep six significant digits through a save.
QStringList savedPrecision(QStringList lines)
{
    const QRegularExpression doubles(
            "^(.*(?:columnWidths=\\{|\\.(?:MaxValue|MinValue|Threshold|StartAngle|EndAngle)=))"
            "([^}]*)(\\}?)$");
    for (QString &line : lines) {
        const QRegularExpressionMatch m = doubles.match(line);
        if (!m.hasMatch() || m.captured(2).isEmpty())
            continue;
        QStringList numbers;
        for (const QString &n : m.captured(2).split(','))
            numbers << QString::number(n.toDouble(), 'g', 6);
        line = m.captured(1) + numbers.join(',') + m.captured(3);
    }
    return lines;
}

// `lines` with each "key=value" of `changes` replacing the line of the same key.
QStringList changed(QStringList lines, const QStringList &changes)
{
    for (const QString &change : changes) {
        const QString key = change.left(change.indexOf('=') + 1);
        bool found = false;
        for (QString &line : lines) {
            if (line.startsWith(key)) {
                line = change;
                found = true;
            }
        }
        if (!found)
            qFatal("no line %s", qPrintable(key));
    }
    return lines;
}

// An envelope read from nothing.
QStringList baseLines(int itemKind)
{
    return {"base.X=0", "base.Y=0", "base.W=0", "base.H=0", "base.ZVAL=0", "base.GZVAL=0",
            "base.Rot=0", "base.HFlip=false", "base.VFlip=false", "base.GroupId=0",
            "base.LayerId=0", "base.Name=\"\"", "base.itemKind=" + QString::number(itemKind)};
}

const QString DefaultWeblink = QStringLiteral("https://tirrel.example.org/images/default-logo.png");

// The fields of each kind when the reader finds none of its elements.
const QStringList textItemDefaults = {
    "ItemText=\"\"", "TextColor=\"#000000\"", "BgColor=\"#FFFFFF\"", "SvgElement=\"\"",
    "Alignment=0", "TextPixelSize=0", "Family=\"Arial\"", "IsBold=false", "IsItalic=false",
    "IsUnderlined=false", "DrawPaper=false"};
const QStringList dbqTextDefaults = {
    "bgColor=\"#000\"", "txtColor=\"#FFF\"", "labelText=\"Val is \"",
    "labelStyleSheet=\"font: 12px \"Arial\"; color: rgb(0, 0, 0);\"", "lofx=0", "lofy=0",
    "txtPixelSize=14", "auxFlag1=false", "auxFlag2=false", "auxFlag3=false", "auxValue=0",
    "reportUnit=1", "reportType=0", "timeFactor=100", "updateInterval=100", "reportTag=-1"};
const QStringList chartDefaults = {
    "TagIDs.size=0", "BgColor=\"#FFF\"", "TxtColor=\"#000\"", "PaColor=\"#F9F3F7\"",
    "ChartTitle=\"\"", "ChartViewType=0", "ChartType=0", "ChartOrientation=0",
    "LegendAlignment=2", "ShowDescription=false", "IsAnimated=true", "ShowLegend=true",
    "FollowLastVal=true", "RescaleValAxis=true", "ShowLastSeconds=300", "UpperLimit=0",
    "LowerLimit=0", "LegendFontSize=11", "AxisFontSize=11"};
const QStringList gaugeReaderDefaults = {
    "auxValue=0", "GaugeStyle=0", "MaxValue=100", "MinValue=0", "Precision=0",
    "PrecisionNumeric=1", "Tooltip=\"\"", "Units=\"Celsius\"", "Label=\"Temperature\"",
    "Steps=10", "StartAngle=225", "EndAngle=-45", "Threshold=70", "ThresholdEnabled=true",
    "NumericIndicatorEnabled=true", "Foreground=#ffffffff", "auxBrush=0/#ff000000",
    "Background1=#ff787878", "Background2=#ff040404", "LedColor=#ffffffff",
    "LedGlowColor=#ff0000ff", "TagId=-1"};
const QStringList tableDefaults = {"rows.size=0", "TableWidth=0", "TableHeight=0",
                                   "StyleSheet=\"\"", "columnWidths={}", "auxList={}"};
const QStringList imageDefaults = {"auxValue1=0", "auxValue2=0", "auxValue3=0", "auxFlag=false",
                                   "auxText1=\"\"", "auxValue4=0", "auxText2=\"\"",
                                   "ImageFile=\"placeholder_image.png\""};
const QStringList webFrameDefaults = {"auxValue1=0", "auxValue2=0", "auxValue3=0",
                                      "auxFlag=false", "auxText1=\"\"", "auxValue4=0",
                                      "Weblink=\"" + DefaultWeblink + "\"", "auxText2=\"\""};
const QStringList scheduleDefaults = {"TagIDs={}"};

// A new cell, and the cell a row's first "CellText" starts from.
const QStringList newCell = {"cellText=\"\"", "cellFont=\"Arial,-1,18,5,50,0,0,0,0,0\"",
                             "cellTextColor=#ff1f272e", "cellRowSpan=1", "cellColumnSpan=1",
                             "cellTextAlignment=129"};

// The fixture page: every kind with something other than the default in every field the file
// carries.
ScaFileData *fixturePage()
{
    return ScaFileProcessor::loadFileData(fileContent(fixture("items.xml")), QString());
}

// The size the reader gives a text item of the given children (no "Width", no "Height").
QSize measured(const QByteArray &children)
{
    const Page page(load(item("TextItem", children)));
    if (!page || page->textItems.size() != 1)
        return QSize(-1, -1);
    return QSize(page->textItems.at(0)->base->W, page->textItems.at(0)->base->H);
}

const char GuilessArgument[] = "--guiless-text-size";

} // namespace

class tst_PageItems : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void loadFixture();
    void roundTrip();
    void goldenOutput();
    void emptyListsWritten_data();
    void emptyListsWritten();

    void newRecords();
    void readDefaults_data();
    void readDefaults();
    void malformedValues_data();
    void malformedValues();
    void readersOnTheirOwn();
    void copyFunctions();
    void cdataEndMarker_data();
    void cdataEndMarker();

    void textItemMeasuredSize();
    void textItemPixelSize_data();
    void textItemPixelSize();
    void textItemWithoutGuiApplication();
    void textItemGroupStacking();

    void chartTagForms();
    void chartDebugLine();
    void gaugeColors_data();
    void gaugeColors();
    void gaugeDoubles_data();
    void gaugeDoubles();

    void tableWidths_data();
    void tableWidths();
    void tableCells_data();
    void tableCells();
    void tableWrittenForms();

private:
    QTemporaryDir m_dir;
};

void tst_PageItems::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QVERIFY(QDir::setCurrent(m_dir.path()));
    // Every chart read writes a debug line; chartDebugLine looks at them.
    QLoggingCategory::setFilterRules(QStringLiteral("tirrel.page.debug=false"));
}

// ---- Whole pages -----------------------------------------------------------------------------

void tst_PageItems::loadFixture()
{
    const Page page(fixturePage());
    QVERIFY(page);
    const QByteArray expected = fileContent(fixture("items.dump"));
    QVERIFY(!expected.isEmpty());
    COMPARE_LINES(itemLines(*page).join('\n').toUtf8() + '\n', expected);
}

void tst_PageItems::roundTrip()
{
    const QString path = QStringLiteral("roundtrip.xml");
    const Page first(ScaFileProcessor::loadFileData(fileContent(fixture("items.xml")), path));
    QVERIFY(first);
    const Page second(saveAndLoad(first.data(), path));
    QVERIFY(second);
    QCOMPARE(savedPrecision(dump(*second)), savedPrecision(dump(*first)));

    const QByteArray saved = fileContent(path);
    QVERIFY(ScaFileProcessor::saveFileData(second.data(), path));
    COMPARE_LINES(fileContent(path), saved);
}

void tst_PageItems::goldenOutput()
{
    // The fixture page written out, with something in the host's fields, which are not written.
    const Page page(fixturePage());
    QVERIFY(page);
    page->dbqTextItems.at(0)->auxFlag1 = true;
    page->dbqTextItems.at(0)->auxValue = 5;
    page->rtChartItems.at(0)->TagIDs[0].auxValue1 = 1;
    page->gaugeItems.at(0)->auxValue = 9;
    page->gaugeItems.at(0)->auxBrush = QBrush(Qt::red);
    page->tableItems.at(0)->auxList = {1, 2};
    page->imageItems.at(0)->auxText2 = QStringLiteral("host");
    page->webFrameItems.at(0)->auxFlag = true;
    QVERIFY(ScaFileProcessor::saveFileData(page.data(), QStringLiteral("golden.xml")));
    COMPARE_LINES(fileContent(QStringLiteral("golden.xml")), fileContent(fixture("items-golden.xml")));
}

void tst_PageItems::emptyListsWritten_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<QString>("readBack");
    QTest::newRow("chart") << item("RTChartItem") << QByteArray("<TagIDs/>") << "TagIDs.size=0";
    QTest::newRow("schedule") << item("ScheduleItem") << QByteArray("<TagIDs/>") << "TagIDs={}";
    QTest::newRow("table columns") << item("TableItem") << QByteArray("<ColumnGroup/>")
                                   << "columnWidths={}";
}

void tst_PageItems::emptyListsWritten()
{
    QFETCH(QByteArray, xml);
    QFETCH(QByteArray, written);
    QFETCH(QString, readBack);
    const Page page(load(xml));
    QVERIFY(page);
    const Page reloaded(saveAndLoad(page.data()));
    QVERIFY(reloaded);
    QVERIFY2(fileContent("page.xml").contains(written), fileContent("page.xml").constData());
    VERIFY_LINES(onlyItem(*reloaded), QStringList{readBack});
}

// ---- Defaults and malformed values ---------------------------------------------------------

void tst_PageItems::newRecords()
{
    // Each record comes with a zeroed base record of its own.
    auto check = [](const auto &record, const auto &other, const QStringList &expected) {
        QVERIFY(record.base);
        QVERIFY(record.base != other.base);
        QCOMPARE(dump(*record.base), dump(ItemBaseData_t()));
        QCOMPARE(dumpFields(record), expected);
    };
    check(TextItemLoadData_t(), TextItemLoadData_t(), textItemDefaults);
    check(DbQueryTextItemLoadData_t(), DbQueryTextItemLoadData_t(), dbqTextDefaults);
    check(RealTimeChartItemLoadData_t(), RealTimeChartItemLoadData_t(), chartDefaults);
    check(GaugeItemLoadData_t(), GaugeItemLoadData_t(),
          changed(gaugeReaderDefaults,
                  {"MaxValue=0", "PrecisionNumeric=0", "Units=\"\"", "Label=\"\"", "Steps=0",
                   "StartAngle=0", "EndAngle=0", "Threshold=0", "ThresholdEnabled=false",
                   "NumericIndicatorEnabled=false", "Foreground=invalid"}));
    check(TableItemLoadData_t(), TableItemLoadData_t(), tableDefaults);
    check(ImageItemLoadData_t(), ImageItemLoadData_t(), changed(imageDefaults, {"ImageFile=\"\""}));
    check(WebFrameItemLoadData_t(), WebFrameItemLoadData_t(), webFrameDefaults);
    check(ScheduleItemLoadData_t(), ScheduleItemLoadData_t(), scheduleDefaults);
    QCOMPARE(dump(TableCell()), newCell);
}

void tst_PageItems::readDefaults_data()
{
    // An "Item" holding its "ItemType" only. (The text item measures its size: see
    // textItemMeasuredSize.)
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("dbq text") << item("DbqTextItem") << baseLines(5) + dbqTextDefaults;
    QTest::newRow("chart") << item("RTChartItem") << baseLines(5) + chartDefaults;
    QTest::newRow("gauge") << item("GaugeItem") << baseLines(10) + gaugeReaderDefaults;
    QTest::newRow("table") << item("TableItem") << baseLines(7) + tableDefaults;
    QTest::newRow("image") << item("ImageItem") << baseLines(8) + imageDefaults;
    QTest::newRow("web frame") << item("WebFrameItem") << baseLines(9) + webFrameDefaults;
    QTest::newRow("schedule") << item("ScheduleItem") << baseLines(1) + scheduleDefaults;
    QTest::newRow("text, sizes given")
            << item("TextItem", "<Width>0</Width><Height>0</Height>")
            << baseLines(2) + textItemDefaults;

    // Every element present but empty: an empty text, 0, false or an invalid colour; only where
    // the kind says so does an empty element count as a missing one.
    const QByteArray envelope = "<Geometry/><Properties/>";
    QTest::newRow("empty text")
            << item("TextItem", "<ItemText/><TextColor/><BgColor/><TextPixelSize/><Alignment/>"
                                "<ZVal/><GZVal/><DrawPaper/><IsItalic/><IsUnderlined/><Family/>"
                                "<IsBold/><SvgElement/><Width/><Height/><Rot/><ItemPosX/>"
                                "<ItemPosY/><TextSize/><Properties/>")
            << baseLines(2) + changed(textItemDefaults, {"Family=\"\""});
    QTest::newRow("empty dbq text")
            << item("DbqTextItem", envelope + "<bgColor/><txtColor/><labelText/><txtPixelSize/>"
                                              "<reportUnit/><reportType/><reportTag/>"
                                              "<updateInterval/><timeFactor/><labelStyleSheet/>"
                                              "<lofx/><lofy/>")
            << baseLines(5) + changed(dbqTextDefaults,
                                      {"bgColor=\"\"", "txtColor=\"\"", "labelText=\"\"",
                                       "labelStyleSheet=\"\"", "txtPixelSize=0", "reportUnit=0",
                                       "timeFactor=0", "updateInterval=0", "reportTag=0"});
    QTest::newRow("empty chart")
            << item("RTChartItem", envelope + "<TagIDs/><BgColor/><TxtColor/><PaColor/>"
                                              "<ShowLegend/><FollowLastVal/><ShowDescription/>"
                                              "<RescaleValAxis/><ShowLastSeconds/><UpperLimit/>"
                                              "<LowerLimit/><ChartViewType/><ChartType/>"
                                              "<ChartTitle/><IsAnimated/><LegendAlignment/>"
                                              "<ChartOrientation/><LegendFontSize/>"
                                              "<AxisFontSize/>")
            << baseLines(5) + changed(chartDefaults,
                                      {"BgColor=\"\"", "TxtColor=\"\"", "PaColor=\"\"",
                                       "LegendAlignment=0", "IsAnimated=false",
                                       "ShowLegend=false", "FollowLastVal=false",
                                       "RescaleValAxis=false", "ShowLastSeconds=0",
                                       "LegendFontSize=0", "AxisFontSize=0"});
    QTest::newRow("empty gauge")
            << item("GaugeItem", envelope + "<Foreground/><LedColor/><LedGlowColor/>"
                                            "<Background1/><Background2/><GaugeStyle/>"
                                            "<ThresholdEnabled/><MaxValue/><MinValue/>"
                                            "<NumericIndicatorEnabled/><Precision/>"
                                            "<PrecisionNumeric/><Steps/><Threshold/><Units/>"
                                            "<Label/><EndAngle/><StartAngle/><TagId/><Tooltip/>")
            << baseLines(10) + changed(gaugeReaderDefaults,
                                       {"MaxValue=0", "PrecisionNumeric=0", "Units=\"\"",
                                        "Label=\"\"", "Steps=0", "StartAngle=0", "EndAngle=0",
                                        "Threshold=0", "ThresholdEnabled=false",
                                        "NumericIndicatorEnabled=false", "Foreground=invalid",
                                        "Background1=invalid", "Background2=invalid",
                                        "LedColor=invalid", "LedGlowColor=invalid", "TagId=0"});
    QTest::newRow("empty table")
            << item("TableItem", envelope + "<TableData><TableWidth/><TableHeight/><StyleSheet/>"
                                            "<ColumnGroup/><Row/></TableData>")
            << baseLines(7) + QStringList{"rows.size=1", "rows[0].size=0"} + tableDefaults.mid(1);
    QTest::newRow("table, empty CellText")
            << item("TableItem", "<TableData><TableWidth>10</TableWidth><Row><CellText/></Row>"
                                 "</TableData>")
            << baseLines(7) + QStringList{"rows.size=1", "rows[0].size=1"}
                       + prefixed("rows[0][0].", newCell)
                       + changed(tableDefaults, {"TableWidth=10"}).mid(1);
    QTest::newRow("empty image") << item("ImageItem", envelope + "<ImageFile/>")
                                 << baseLines(8) + changed(imageDefaults, {"ImageFile=\"\""});
    QTest::newRow("empty web frame") << item("WebFrameItem", envelope + "<Weblink/>")
                                     << baseLines(9) + changed(webFrameDefaults, {"Weblink=\"\""});
    QTest::newRow("schedule, empty Tag")
            << item("ScheduleItem", "<TagIDs><Tag/></TagIDs>")
            << baseLines(1) + QStringList{"TagIDs={0}"};
}

void tst_PageItems::readDefaults()
{
    QFETCH(QByteArray, xml);
    QFETCH(QStringList, expected);
    const Page page(load(xml));
    QVERIFY(page);
    QCOMPARE(onlyItem(*page), expected);
}

void tst_PageItems::malformedValues_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QStringList>("expected");
    const QByteArray sized = "<Width>1</Width><Height>1</Height>";
    QTest::newRow("text")
            << item("TextItem", "<ItemText>a<b>c</b><![CDATA[d]]></ItemText><Alignment>x</Alignment>"
                                "<ZVal>1.5</ZVal><Width>1e3</Width><Height>-</Height>"
                                "<ItemPosX>1e40</ItemPosX><ItemPosY>nan</ItemPosY>"
                                "<DrawPaper>yes</DrawPaper><Rot>2147483648</Rot>"
                                "<Properties GroupId=\"-1\" LayerId=\"x\" GZVAL=\"g\"/>")
            << QStringList{"ItemText=\"acd\"", "Alignment=0", "base.ZVAL=0", "base.W=0",
                           "base.H=0", "base.X=2147483647", "base.Y=0", "DrawPaper=false",
                           "base.Rot=0", "base.GroupId=0", "base.LayerId=0", "base.GZVAL=0"};
    QTest::newRow("text, position truncated")
            << item("TextItem", sized + "<ItemPosX>12.9</ItemPosX><ItemPosY>-3.7</ItemPosY>")
            << QStringList{"base.X=12", "base.Y=-3"};
    QTest::newRow("text, position as float")
            << item("TextItem", sized + "<ItemPosX>16777217</ItemPosX><ItemPosY>1e2</ItemPosY>")
            << QStringList{"base.X=16777216", "base.Y=100"};
    QTest::newRow("text, colours kept as text")
            << item("TextItem", sized + "<TextColor>red</TextColor><BgColor>#xyz</BgColor>")
            << QStringList{"TextColor=\"red\"", "BgColor=\"#xyz\""};
    QTest::newRow("text, Width and Height taken")
            << item("TextItem", "<Width>1500</Width><Height>-4</Height>")
            << QStringList{"base.W=1500", "base.H=-4"};
    QTest::newRow("text, no envelope: flips and Geometry ignored")
            << item("TextItem", sized + "<Geometry X=\"5\" Y=\"6\" W=\"7\" H=\"8\" Rot=\"9\" "
                                        "ZVAL=\"1\" HFlip=\"1\" VFlip=\"1\"/>")
            << QStringList{"base.X=0", "base.Y=0", "base.W=1", "base.H=1", "base.Rot=0",
                           "base.ZVAL=0", "base.HFlip=false", "base.VFlip=false"};
    QTest::newRow("text, properties")
            << item("TextItem", sized + "<Properties Name=\"n\" GroupId=\"18446744073709551615\" "
                                        "LayerId=\"4294967296\"/>")
            << QStringList{"base.Name=\"n\"", "base.GroupId=18446744073709551615",
                           "base.LayerId=4294967296", "base.itemKind=2"};
    QTest::newRow("dbq text")
            << item("DbqTextItem", "<reportTag>tag</reportTag><txtPixelSize> 12 </txtPixelSize>"
                                   "<lofx>+3</lofx><lofy>--1</lofy><timeFactor>1e2</timeFactor>"
                                   "<Geometry X=\"4.9\" W=\"4.9\"/>")
            << QStringList{"reportTag=0", "txtPixelSize=12", "lofx=3", "lofy=0", "timeFactor=0",
                           "base.X=4", "base.W=0"};
    QTest::newRow("chart")
            << item("RTChartItem", "<TagIDs>text<TagData Tag=\"x\" LineStyle=\"\"/>"
                                   "<Tag><Tag>5</Tag></Tag><Other Tag=\"9\"/></TagIDs>"
                                   "<ShowLegend>no</ShowLegend><ShowLastSeconds>5m</ShowLastSeconds>")
            << QStringList{"TagIDs.size=2",
                           "TagIDs[0]=Tag 0,aux 0/0,LineColor \"#FF0000\",LineStyle 0",
                           "TagIDs[1]=Tag 5,aux 0/0,LineColor \"#FF0000\",LineStyle 0",
                           "ShowLegend=false", "ShowLastSeconds=0"};
    QTest::newRow("gauge")
            << item("GaugeItem", "<Foreground>#12</Foreground><LedColor>rgb(1,2,3)</LedColor>"
                                 "<LedGlowColor> red</LedGlowColor><Background1>RED</Background1>"
                                 "<Background2>#80ff0000</Background2><MaxValue>1,5</MaxValue>"
                                 "<MinValue>-1e2</MinValue><Threshold>abc</Threshold>"
                                 "<Steps>2.5</Steps>")
            << QStringList{"Foreground=invalid", "LedColor=invalid", "LedGlowColor=#ffff0000",
                           "Background1=#ffff0000", "Background2=#80ff0000", "MaxValue=0",
                           "MinValue=-100", "Threshold=0", "Steps=0"};
    QTest::newRow("table")
            << item("TableItem", "<TableData><TableWidth>wide</TableWidth><TableHeight>9x</TableHeight>"
                                 "<ColumnGroup><Column width=\"a\"/><Column width=\"1,5\"/>"
                                 "</ColumnGroup><Row><Row><CellText>{</CellText></Row></Row>"
                                 "<CellText>outside</CellText></TableData>")
            << QStringList{"TableWidth=0", "TableHeight=0", "columnWidths={0,0}", "rows.size=1",
                           "rows[0].size=0"};
    QTest::newRow("table cells that are not objects")
            << item("TableItem", "<TableData><TableWidth>1</TableWidth><Row>"
                                 "<CellText>[1, 2]</CellText><CellText>\"s\"</CellText>"
                                 "<CellText>12</CellText><CellText>{\"cellText\": 5}</CellText>"
                                 "<CellText>{\"cellFont\": [1], \"cellTextColor\": {}}</CellText>"
                                 "</Row></TableData>")
            << QStringList{"rows[0].size=5", "rows[0][0].cellText=\"[1, 2]\"",
                           "rows[0][1].cellText=\"\"s\"\"", "rows[0][2].cellText=\"12\"",
                           "rows[0][3].cellText=\"\"", "rows[0][3].cellTextColor=invalid",
                           "rows[0][3].cellTextAlignment=0",
                           "rows[0][4].cellFont=\"Arial,-1,18,5,50,0,0,0,0,0\""};
    QTest::newRow("image") << item("ImageItem", "<ImageFile><x/>a<y>b</y></ImageFile>")
                           << QStringList{"ImageFile=\"ab\""};
    QTest::newRow("schedule")
            << item("ScheduleItem", "<TagIDs><Tag>99999999999</Tag><Tag> 3 </Tag><Other>4</Other>"
                                    "<Tag>-0</Tag><Tag>x</Tag></TagIDs><TagIDs><Tag>8</Tag></TagIDs>")
            << QStringList{"TagIDs={0,3,0,0}"};
}

void tst_PageItems::malformedValues()
{
    QFETCH(QByteArray, xml);
    QFETCH(QStringList, expected);
    const Page page(load(xml));
    QVERIFY(page);
    VERIFY_LINES(onlyItem(*page), expected);
    // Whatever was read is written and read again without trouble.
    const Page reloaded(saveAndLoad(page.data()));
    QVERIFY(reloaded);
    QCOMPARE(onlyItem(*reloaded).size(), onlyItem(*page).size());
}

void tst_PageItems::readersOnTheirOwn()
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
    check(&ScaFileProcessor::dbqTextItemFromXML);
    check(&ScaFileProcessor::rtchartItemFromXML);
    check(&ScaFileProcessor::gaugeItemFromXML);
    check(&ScaFileProcessor::tableItemFromXML);
    check(&ScaFileProcessor::imageItemFromXML);
    check(&ScaFileProcessor::webFrameItemFromXML);
    check(&ScaFileProcessor::schItemFromXML);
    check(&ScaFileProcessor::textItemFromXML);
}

void tst_PageItems::copyFunctions()
{
    const Page page(fixturePage());
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
}

void tst_PageItems::cdataEndMarker_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("brackets") << QStringLiteral("x]]]]>y]");
    QTest::newRow("markup") << QStringLiteral("<![CDATA[ & < > \" ' ]]>");
    QTest::newRow("JSON quoting") << QStringLiteral("\"},{\"cellText\": \"\\\"");
}

void tst_PageItems::cdataEndMarker()
{
    // Into every text that the file carries, CDATA (item text, table cells) or not.
    QFETCH(QString, text);
    const Page page(fixturePage());
    QVERIFY(page);
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
    QCOMPARE(savedPrecision(itemLines(*reloaded)), savedPrecision(itemLines(*page)));
    QCOMPARE(reloaded->textItems.at(0)->ItemText, text);
    QCOMPARE(reloaded->tableItems.at(0)->rows.at(0).at(1).cellText, text);
}

// ---- Text items ------------------------------------------------------------------------------

void tst_PageItems::textItemMeasuredSize()
{
    // Twice the text's width, at most 800; four times the font's height.
    const QSize empty = measured("");
    QCOMPARE(empty.width(), 0);
    QVERIFY(empty.height() > 0);
    QCOMPARE(empty.height() % 4, 0);

    const QSize wide = measured("<ItemText>" + QByteArray(400, 'W') + "</ItemText><TextPixelSize>20</TextPixelSize>");
    QCOMPARE(wide.width(), 800);
    const QSize shortText = measured("<ItemText>Hi</ItemText><TextPixelSize>20</TextPixelSize>");
    QVERIFY2(shortText.width() > 0 && shortText.width() < 800, qPrintable(QString::number(shortText.width())));
    QCOMPARE(shortText.width() % 2, 0);
    QCOMPARE(measured("<ItemText>Hi</ItemText><TextPixelSize>20</TextPixelSize><Width>3</Width>").width(), 3);
    QCOMPARE(measured("<ItemText>Hi</ItemText><TextPixelSize>20</TextPixelSize><Height>3</Height>").height(), 3);

    // The pixel size counts: 40 pixels give a font at least 40 pixels high.
    const QSize big = measured("<ItemText>Hi</ItemText><TextPixelSize>40</TextPixelSize>");
    QVERIFY2(big.height() >= 4 * 40 && big.height() < 4 * 80, qPrintable(QString::number(big.height())));
    QVERIFY(big.width() > shortText.width());
    QVERIFY(big.height() > shortText.height());

    // Absurd sizes measure without trouble; the width stays capped.
    const QSize huge = measured("<ItemText>Hi</ItemText><TextPixelSize>2147483647</TextPixelSize>");
    QVERIFY(huge.width() >= 0 && huge.width() <= 800);
    QVERIFY(huge.height() >= 0);
}

void tst_PageItems::textItemPixelSize_data()
{
    // "TextSize" stands in for a missing, 0 or -1 "TextPixelSize", also for the measured size.
    QTest::addColumn<QByteArray>("children");
    QTest::addColumn<int>("pixelSize");
    QTest::newRow("missing: TextSize") << QByteArray("<TextSize>24</TextSize>") << 24;
    QTest::newRow("0: TextSize")
            << QByteArray("<TextPixelSize>0</TextPixelSize><TextSize>24</TextSize>") << 24;
    QTest::newRow("-1: TextSize")
            << QByteArray("<TextPixelSize>-1</TextPixelSize><TextSize>24</TextSize>") << 24;
    QTest::newRow("-2 kept")
            << QByteArray("<TextPixelSize>-2</TextPixelSize><TextSize>24</TextSize>") << -2;
    QTest::newRow("pixel size wins")
            << QByteArray("<TextPixelSize>9</TextPixelSize><TextSize>24</TextSize>") << 9;
    QTest::newRow("no size at all") << QByteArray("<TextPixelSize>x</TextPixelSize>") << 0;
}

void tst_PageItems::textItemPixelSize()
{
    QFETCH(QByteArray, children);
    QFETCH(int, pixelSize);
    const QByteArray text = "<ItemText>Measure me</ItemText>";
    const Page page(load(item("TextItem", text + children)));
    QVERIFY(page);
    QCOMPARE(page->textItems.at(0)->TextPixelSize, pixelSize);
    // Without a size, the font's default size is measured; a negative size is ignored.
    if (pixelSize > 0)
        QVERIFY(measured(text + children) != measured(text));
    QCOMPARE(measured(text + children),
             measured(pixelSize > 0 ? text + "<TextPixelSize>" + QByteArray::number(pixelSize)
                                              + "</TextPixelSize>"
                                    : text));
}

void tst_PageItems::textItemWithoutGuiApplication()
{
    // Font metrics need a QGuiApplication; in a program without one the reader gives size 0
    // instead of crashing.
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(GuilessArgument)});
    QVERIFY(child.waitForFinished(60000));
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 0);
    QCOMPARE(child.readAllStandardOutput().trimmed(), QByteArray("0 0 120 30"));
}

void tst_PageItems::textItemGroupStacking()
{
    // The writer keeps GZVAL as an attribute of "Properties"; a "GZVal" element wins over it.
    auto gzval = [](const QByteArray &children) {
        const Page page(load(item("TextItem", "<Width>1</Width><Height>1</Height>" + children)));
        return page ? page->textItems.at(0)->base->GZVAL : -999;
    };
    QCOMPARE(gzval("<Properties GZVAL=\"6\"/>"), 6);
    QCOMPARE(gzval("<Properties GZVAL=\"6\"/><GZVal>9</GZVal>"), 9);
    QCOMPARE(gzval("<Properties GZVAL=\"6\"/><GZVal/>"), 0);
    QCOMPARE(gzval("<GZVal>-3</GZVal>"), -3);

    const Page page(load(item("TextItem", "<Width>1</Width><Height>1</Height><GZVal>11</GZVal>")));
    QVERIFY(page);
    const Page reloaded(saveAndLoad(page.data()));
    QVERIFY(reloaded);
    QCOMPARE(reloaded->textItems.at(0)->base->GZVAL, 11);
    QVERIFY(fileContent("page.xml").contains("<Properties Name=\"\" LayerId=\"0\" GroupId=\"0\" GZVAL=\"11\"/>"));
}

// ---- Charts and gauges -------------------------------------------------------------------

void tst_PageItems::chartTagForms()
{
    // "TagData" entries first, then the "Tag" elements, whatever their order in the file.
    const Page page(load(item("RTChartItem",
                              "<TagIDs><Tag>7</Tag><TagData Tag=\"1\" LineStyle=\"2\" LineColor=\"#00F\"/>"
                              "<TagData/><Tag>-8</Tag></TagIDs>")));
    QVERIFY(page);
    const QStringList expected = {
        "TagIDs.size=4", "TagIDs[0]=Tag 1,aux 0/0,LineColor \"#00F\",LineStyle 2",
        "TagIDs[1]=Tag -1,aux 0/0,LineColor \"#FF0000\",LineStyle 0",
        "TagIDs[2]=Tag 7,aux 0/0,LineColor \"#FF0000\",LineStyle 0",
        "TagIDs[3]=Tag -8,aux 0/0,LineColor \"#FF0000\",LineStyle 0"};
    VERIFY_LINES(onlyItem(*page), expected);

    // Written back, all four are "TagData" entries.
    const Page reloaded(saveAndLoad(page.data()));
    QVERIFY(reloaded);
    VERIFY_LINES(onlyItem(*reloaded), expected);
    const QByteArray saved = fileContent("page.xml");
    QCOMPARE(saved.count("<TagData "), 4);
    QVERIFY(saved.contains("<TagData Tag=\"-8\" LineStyle=\"0\" LineColor=\"#FF0000\"/>"));
    QVERIFY(!saved.contains("<Tag>"));
}

void tst_PageItems::chartDebugLine()
{
    QLoggingCategory::setFilterRules(QStringLiteral("tirrel.page.debug=true"));
    QTest::ignoreMessage(QtDebugMsg, "2");
    QTest::ignoreMessage(QtDebugMsg, "0");
    const Page page(load(item("RTChartItem", "<ChartOrientation>2</ChartOrientation>")
                         + item("RTChartItem") + item("DbqTextItem")));
    QLoggingCategory::setFilterRules(QStringLiteral("tirrel.page.debug=false"));
    QVERIFY(page);
}

void tst_PageItems::gaugeColors_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("read");    // the dump of the colour
    QTest::addColumn<QByteArray>("written");
    QTest::newRow("short hex") << QByteArray("#FFF") << "#ffffffff" << QByteArray("#ffffff");
    QTest::newRow("alpha dropped") << QByteArray("#80102030") << "#80102030" << QByteArray("#102030");
    QTest::newRow("empty") << QByteArray("") << "invalid" << QByteArray("#000000");
}

void tst_PageItems::gaugeColors()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, read);
    QFETCH(QByteArray, written);
    const QByteArray colors[] = {"Foreground", "LedColor", "LedGlowColor", "Background1", "Background2"};
    for (const QByteArray &name : colors) {
        const Page page(load(item("GaugeItem", "<" + name + ">" + text + "</" + name + ">")));
        QVERIFY(page);
        VERIFY_LINES(onlyItem(*page), QStringList{QString::fromLatin1(name) + "=" + read});
        QVERIFY(ScaFileProcessor::saveFileData(page.data(), QStringLiteral("gauge.xml")));
        const QByteArray element = "<" + name + ">" + written + "</" + name + ">";
        QVERIFY2(fileContent("gauge.xml").contains(element), element.constData());
    }
}

void tst_PageItems::gaugeDoubles_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<double>("readBack");
    QTest::newRow("integral") << QByteArray("225") << QByteArray("225") << 225.0;
    QTest::newRow("seven digits") << QByteArray("1234567.5") << QByteArray("1.23457e+06") << 1234570.0;
    QTest::newRow("small") << QByteArray("0.000012345678") << QByteArray("1.23457e-05") << 1.23457e-05;
}

void tst_PageItems::gaugeDoubles()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, written);
    QFETCH(double, readBack);
    const QByteArray doubles[] = {"MaxValue", "MinValue", "Threshold", "StartAngle", "EndAngle"};
    for (const QByteArray &name : doubles) {
        const Page page(load(item("GaugeItem", "<" + name + ">" + text + "</" + name + ">")));
        QVERIFY(page);
        const Page reloaded(saveAndLoad(page.data()));
        QVERIFY(reloaded);
        const QByteArray element = "<" + name + ">" + written + "</" + name + ">";
        QVERIFY2(fileContent("page.xml").contains(element), element.constData());
        VERIFY_LINES(onlyItem(*reloaded), QStringList{QString::fromLatin1(name) + "=" + real(readBack)});
    }
}

// ---- Tables ----------------------------------------------------------------------------------

void tst_PageItems::tableWidths_data()
{
    QTest::addColumn<QByteArray>("tableData");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<QByteArray>("written");  // the "ColumnGroup" written back
    QTest::newRow("fractions kept")
            << QByteArray("<TableWidth>400</TableWidth><TableHeight>80</TableHeight><ColumnGroup>"
                          "<Column width=\"0.25\"/><Column width=\"0.25\"/><Column width=\"0.5\"/></ColumnGroup>")
            << QStringList{"TableWidth=400", "TableHeight=80", "columnWidths={0.25,0.25,0.5}"}
            << QByteArray("<Column width=\"0.25\"/>\n                    <Column width=\"0.25\"/>\n"
                          "                    <Column width=\"0.5\"/>");
    QTest::newRow("pixels to fractions")
            << QByteArray("<TableHeight>80</TableHeight><ColumnGroup><Column width=\"100\"/>"
                          "<Column width=\"150.7\"/><Column width=\"50\"/></ColumnGroup>")
            << QStringList{"TableWidth=300", "TableHeight=0",
                           "columnWidths={" + real(100.0 / 300) + ',' + real(double(150.7f) / 300)
                                   + ',' + real(50.0 / 300) + '}'}
            << QByteArray("<Column width=\"0.333333\"/>\n                    <Column width=\"0.502333\"/>\n"
                          "                    <Column width=\"0.166667\"/>");
    QTest::newRow("empty TableWidth counts as missing")
            << QByteArray("<TableWidth/><TableHeight>80</TableHeight><ColumnGroup>"
                          "<Column width=\"30\"/><Column width=\"10\"/></ColumnGroup>")
            << QStringList{"TableWidth=40", "TableHeight=0", "columnWidths={0.75,0.25}"}
            << QByteArray("<Column width=\"0.75\"/>\n                    <Column width=\"0.25\"/>");
    QTest::newRow("negative pixels")
            << QByteArray("<ColumnGroup><Column width=\"-10\"/><Column width=\"30\"/></ColumnGroup>")
            << QStringList{"TableWidth=20", "columnWidths={-0.5,1.5}"}
            << QByteArray("<Column width=\"-0.5\"/>\n                    <Column width=\"1.5\"/>");
    QTest::newRow("zero sum: fractions without TableWidth stay")
            << QByteArray("<ColumnGroup><Column width=\"0.25\"/><Column width=\"0.75\"/></ColumnGroup>")
            << QStringList{"TableWidth=0", "columnWidths={0.25,0.75}"}
            << QByteArray("<Column width=\"0.25\"/>\n                    <Column width=\"0.75\"/>");
    QTest::newRow("zero sum: missing widths stay 0.3")
            << QByteArray("<ColumnGroup><Column/><Column/></ColumnGroup>")
            << QStringList{"TableWidth=0", "columnWidths={" + real(double(0.3f)) + ',' + real(double(0.3f)) + '}'}
            << QByteArray("<Column width=\"0.3\"/>\n                    <Column width=\"0.3\"/>");
    QTest::newRow("missing width with TableWidth")
            << QByteArray("<TableWidth>10</TableWidth><ColumnGroup><Column/><Column width=\"\"/></ColumnGroup>")
            << QStringList{"TableWidth=10", "columnWidths={" + real(double(0.3f)) + ",0}"}
            << QByteArray("<Column width=\"0.3\"/>\n                    <Column width=\"0\"/>");
    QTest::newRow("first ColumnGroup only")
            << QByteArray("<TableWidth>10</TableWidth><ColumnGroup><Column width=\"1\"/></ColumnGroup>"
                          "<ColumnGroup><Column width=\"2\"/></ColumnGroup>")
            << QStringList{"columnWidths={1}"}
            << QByteArray("<ColumnGroup>\n                    <Column width=\"1\"/>\n                </ColumnGroup>");
}

void tst_PageItems::tableWidths()
{
    QFETCH(QByteArray, tableData);
    QFETCH(QStringList, expected);
    QFETCH(QByteArray, written);
    const Page page(load(item("TableItem", "<TableData>" + tableData + "</TableData>")));
    QVERIFY(page);
    VERIFY_LINES(onlyItem(*page), expected);
    QVERIFY(ScaFileProcessor::saveFileData(page.data(), QStringLiteral("table.xml")));
    const QByteArray saved = fileContent("table.xml");
    QVERIFY2(saved.contains(written), saved.constData());
    // The writer always writes TableWidth, so a reread keeps the widths as written.
    QVERIFY(saved.contains("<TableWidth>"));
}

void tst_PageItems::tableCells_data()
{
    QTest::addColumn<QByteArray>("row");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("plain text first in its row")
            << QByteArray("<CellText>abc</CellText>")
            << prefixed("rows[0][0].", changed(newCell, {"cellText=\"abc\""}));
    QTest::newRow("full object")
            << QByteArray("<CellText>{\"cellText\": \"t\", \"cellFont\": \"Serif,-1,11,5,75,1,0,0,0,0\", "
                          "\"cellTextColor\": \"#0000ff\", \"cellRowSpan\": \"2\", "
                          "\"cellColumnSpan\": \"3\", \"cellTextAlignment\": \"36\"}</CellText>")
            << prefixed("rows[0][0].", {"cellText=\"t\"", "cellFont=\"Serif,-1,11,5,75,1,0,0,0,0\"",
                                        "cellTextColor=#ff0000ff", "cellRowSpan=2",
                                        "cellColumnSpan=3", "cellTextAlignment=36"});
    QTest::newRow("numbers instead of strings")
            << QByteArray("<CellText>{\"cellText\": 1, \"cellRowSpan\": 2, \"cellColumnSpan\": 3.0, "
                          "\"cellTextAlignment\": true}</CellText>")
            << prefixed("rows[0][0].", {"cellText=\"\"", "cellRowSpan=0", "cellColumnSpan=0",
                                        "cellTextAlignment=0"});
    QTest::newRow("no font: the previous cell's")
            << QByteArray("<CellText>{\"cellFont\": \"Serif,-1,11,5,50,0,0,0,0,0\"}</CellText>"
                          "<CellText>{\"cellText\": \"b\"}</CellText>")
            << QStringList{"rows[0][1].cellFont=\"Serif,-1,11,5,50,0,0,0,0,0\"",
                           "rows[0][1].cellText=\"b\""};
    QTest::newRow("rejected font: the previous cell's")
            << QByteArray("<CellText>{\"cellFont\": \"Serif,-1,11,5,50,0,0,0,0,0\"}</CellText>"
                          "<CellText>{\"cellFont\": \"a,b,c,d\"}</CellText>")
            << QStringList{"rows[0][1].cellFont=\"Serif,-1,11,5,50,0,0,0,0,0\""};
    QTest::newRow("plain text carries the rest over")
            << QByteArray("<CellText>{\"cellText\": \"a\", \"cellTextColor\": \"red\", \"cellRowSpan\": \"2\", "
                          "\"cellColumnSpan\": \"4\", \"cellTextAlignment\": \"33\"}</CellText>"
                          "<CellText>xyz</CellText>")
            << prefixed("rows[0][1].", {"cellText=\"xyz\"", "cellTextColor=#ffff0000",
                                        "cellRowSpan=2", "cellColumnSpan=4", "cellTextAlignment=33"});
    QTest::newRow("each row starts afresh")
            << QByteArray("<CellText>{\"cellTextColor\": \"red\", \"cellRowSpan\": \"2\"}</CellText>"
                          "</Row><Row><CellText>fresh</CellText>")
            << prefixed("rows[1][0].", changed(newCell, {"cellText=\"fresh\""}));
    QTest::newRow("cells of a row only")
            << QByteArray("<Other><CellText>inner</CellText></Other><CellText>outer</CellText>")
            << QStringList{"rows[0].size=1", "rows[0][0].cellText=\"outer\""};
    QTest::newRow("CDATA and text together")
            << QByteArray("<CellText>{\"cellText\": <![CDATA[\"a]]]]><![CDATA[>\"]]>}</CellText>")
            << QStringList{"rows[0][0].cellText=\"a]]>\""};
}

void tst_PageItems::tableCells()
{
    QFETCH(QByteArray, row);
    QFETCH(QStringList, expected);
    const Page page(load(item("TableItem", "<TableData><TableWidth>9</TableWidth><Row>" + row
                                                   + "</Row></TableData>")));
    QVERIFY(page);
    VERIFY_LINES(onlyItem(*page), expected);

    // A cell written and read back keeps all six fields (an invalid colour becomes black).
    const Page reloaded(saveAndLoad(page.data()));
    QVERIFY(reloaded);
    QCOMPARE(onlyItem(*reloaded).replaceInStrings("invalid", "#ff000000"),
             onlyItem(*page).replaceInStrings("invalid", "#ff000000"));
}

void tst_PageItems::tableWrittenForms()
{
    // Empty rows and column groups are written as empty elements; cells as indented JSON.
    TableItemLoadData_t *table = new TableItemLoadData_t;
    ScaFileData page;
    page.tableItems << table;
    table->TableWidth = 3;
    table->columnWidths = {1.0 / 3};
    table->rows << QList<TableCell>() << QList<TableCell>{TableCell()};
    QVERIFY(ScaFileProcessor::saveFileData(&page, QStringLiteral("forms.xml")));
    const QByteArray saved = fileContent("forms.xml");
    const QByteArray expected =
            "            <TableData>\n"
            "                <TableWidth>3</TableWidth>\n"
            "                <TableHeight>0</TableHeight>\n"
            "                <StyleSheet></StyleSheet>\n"
            "                <ColumnGroup>\n"
            "                    <Column width=\"0.333333\"/>\n"
            "                </ColumnGroup>\n"
            "                <Row/>\n"
            "                <Row>\n"
            "                    <CellText><![CDATA[{\n"
            "    \"cellColumnSpan\": \"1\",\n"
            "    \"cellFont\": \"Arial,-1,18,5,50,0,0,0,0,0\",\n"
            "    \"cellRowSpan\": \"1\",\n"
            "    \"cellText\": \"\",\n"
            "    \"cellTextAlignment\": \"129\",\n"
            "    \"cellTextColor\": \"#1f272e\"\n"
            "}\n"
            "]]></CellText>\n"
            "                </Row>\n"
            "            </TableData>\n";
    QVERIFY2(saved.contains(expected), saved.constData());
    const Page reloaded(ScaFileProcessor::loadFileData(saved, QString()));
    QVERIFY(reloaded);
    QCOMPARE(reloaded->tableItems.at(0)->rows.size(), 2);
    QCOMPARE(reloaded->tableItems.at(0)->rows.at(0).size(), 0);
    QCOMPARE(dump(reloaded->tableItems.at(0)->rows.at(1).at(0)), newCell);
    delete table;
}

namespace {

// Run by textItemWithoutGuiApplication in a process of its own: prints the measured size of a
// text item without "Width" and "Height", then the size of one with them.
int guilessTextSize(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const Page page(load(item("TextItem", "<ItemText>Hello</ItemText><TextPixelSize>20</TextPixelSize>")
                         + item("TextItem", "<Width>120</Width><Height>30</Height>")));
    if (!page || page->textItems.size() != 2)
        return 1;
    const ItemBaseData_t *a = page->textItems.at(0)->base;
    const ItemBaseData_t *b = page->textItems.at(1)->base;
    std::printf("%d %d %d %d\n", a->W, a->H, b->W, b->H);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc > 1 && qstrcmp(argv[1], GuilessArgument) == 0)
        return guilessTextSize(argc, argv);
    QGuiApplication app(argc, argv);
    tst_PageItems test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_pageitems.moc"
