// The definition records, the definition file reader, the record writer and the export from the
// editor's table models.
#include "defsDump.h"

#include <QDomDocument>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QtTest>

#include <type_traits>
#include <unistd.h>

using namespace defs;

namespace {

const QString kData = QStringLiteral(TIRREL_TEST_DATA "/defs/");

// The 8-bit members wrap: a TagType of 200 is held as -56, an IsLogging of 257 as 1.
static_assert(std::is_same_v<decltype(pEtiketDef_t::IsLogging), quint8>);
static_assert(std::is_same_v<decltype(pEtiketDef_t::PriLevel), quint8>);
static_assert(std::is_same_v<decltype(pEtiketDef_t::TagType), qint8>);
static_assert(std::is_same_v<decltype(pEtiketDef_t::SchedulerIndex), qint8>);
static_assert(std::is_same_v<decltype(pEtiketDef_t::Protocolobjecttype), qint8>);
static_assert(std::is_same_v<decltype(pAlarmItem_t::enabled), qint8>);
static_assert(std::is_same_v<decltype(pAlarmItem_t::comp_type), qint8>);

QString unquoted(QString value)
{
    if (value.startsWith('"') && value.endsWith('"') && value.size() >= 2)
        value = value.mid(1, value.size() - 2);
    return value;
}

// The table models the editor would hold for tree's channels and tags, cell texts in the value
// forms of the file (taken from the records' dumps).
const QStringList kChannelColumns = {
    "Id", "Name", "MediaType", "SocketType", "ProtokolType", "ServerIP", "ServerPORT",
    "ListenPORT", "FilterIP", "Comport", "Baudrate", "Databit", "Stopbit", "Paritybit",
    "ResponseTimeout", "ConnectionTimeout", "FrameTimeout", "GroupID", "Station", "Enabled",
    "KestrinPath", "Description"};
const QStringList kTagColumns = {
    "Id", "Name", "Kanal_Id", "PollFrequency", "DeviceAddress", "VariableAddress",
    "VariableSize", "VariableType", "Macro", "IsLogging", "PriLevel", "TagType",
    "SchedulerIndex", "LoggingFreq", "LoggingMethod", "ReadRight1", "ReadRight2", "WriteRight1",
    "WriteRight2", "Keywords", "Enabled", "Description", "UnitName", "Protocolobjecttype",
    "Option", "LogFilterOptions", "Equipment", "Measuredentity", "Location", "Formula",
    "KanalName"};

QString filterOptionsJson(const pEtiketDef_t &tag)
{
    auto value = [](double d) { return qIsFinite(d) ? QJsonValue(d) : QJsonValue(); };
    QJsonObject options{{"filtertype", tag.filtertype},
                        {"refval1", value(tag.refval1)},
                        {"refval2", value(tag.refval2)}};
    return QString::fromUtf8(QJsonDocument(options).toJson(QJsonDocument::Indented));
}

// A model cell holds the member's value as the dump shows it, unquoted; the filter options cell
// holds their JSON object.
template <class R>
QString cellText(const R &record, const QStringList &lines, const QString &column)
{
    if constexpr (std::is_same_v<R, pEtiketDef_t>) {
        if (column == "LogFilterOptions")
            return filterOptionsJson(record);
    }
    return unquoted(valueOf(lines, column));
}

template <class R>
void fillModel(QStandardItemModel &model, const QList<R *> &records, const QStringList &columns)
{
    model.setColumnCount(columns.size());
    for (const R *record : records) {
        const QStringList lines = dump(*record);
        QList<QStandardItem *> row;
        for (const QString &column : columns)
            row << new QStandardItem(cellText(*record, lines, column));
        model.appendRow(row);
    }
}

struct Models
{
    QStandardItemModel channels;
    QStandardItemModel tags;
    explicit Models(const FileDataTree *tree)
    {
        fillModel(channels, tree->ChannelList, kChannelColumns);
        fillModel(tags, tree->TagList, kTagColumns);
    }
};

FileDataTree *readXml(const QByteArray &xml)
{
    return TgchFileProcessor::loadFileData(xml);
}

QStringList withoutAlarms(const QStringList &lines)
{
    QStringList kept;
    for (const QString &line : lines) {
        if (!line.startsWith("Alarm["))
            kept << line;
    }
    return kept;
}

// "channels=None,A tags=1 alarms=0": enough to tell which records a document yields.
QString summary(const FileDataTree *tree)
{
    QStringList channels;
    for (const pKanalDef_t *c : tree->ChannelList)
        channels << c->Name;
    return QStringLiteral("channels=%1 tags=%2 alarms=%3")
        .arg(channels.join(','))
        .arg(tree->TagList.size())
        .arg(tree->AlarmList.size());
}

} // namespace

class tst_TgchFileProcessor : public QObject
{
    Q_OBJECT

private slots:
    void processorObject();
    void recordDefaults();
    void treeDeletesRecords();
    void readFullFile();
    void documentLevel_data();
    void documentLevel();
    void unreadablePaths_data();
    void unreadablePaths();
    void absentElements_data();
    void absentElements();
    void valueForms_data();
    void valueForms();
    void recordWriterGolden();
    void recordWriterEmptyTree();
    void recordWriterLossyValues();
    void filterOptionsLayout_data();
    void filterOptionsLayout();
    void specialTexts_data();
    void specialTexts();
    void modelExportGolden();
    void modelExportCells_data();
    void modelExportCells();
    void modelExportEmptyModels();
    void modelExportDropsAlarms();
    void largeFiles();
    void writeFailures_data();
    void writeFailures();

private:
    QTemporaryDir m_dir;
};

void tst_TgchFileProcessor::processorObject()
{
    const QMetaObject &mo = TgchFileProcessor::staticMetaObject;
    QCOMPARE(mo.className(), "TgchFileProcessor");
    QCOMPARE(mo.methodCount() - mo.methodOffset(), 0);
    QCOMPARE(mo.propertyCount() - mo.propertyOffset(), 0);
    TgchFileProcessor processor(this);
    QCOMPARE(processor.parent(), this);
}

void tst_TgchFileProcessor::recordDefaults()
{
    const QStringList channel = {
        "Name=\"Channel0\"", "Id=-1", "MediaType=0", "SocketType=0", "ProtokolType=0",
        "ServerIP=\"127.0.0.1\"", "ServerPORT=1080", "ListenPORT=1081", "FilterIP=\"0.0.0.0\"",
        "Comport=11", "Baudrate=115200", "Databit=8", "Stopbit=1", "Paritybit=0",
        "ResponseTimeout=6000", "ConnectionTimeout=6000", "FrameTimeout=3000", "GroupID=-1",
        "Station=\" \"", "Enabled=1", "KestrinPath=\"\"", "Description=\"\""};
    const QStringList tag = {
        "Name=\"Tag\"", "Id=-1", "PollFrequency=1000", "DeviceAddress=\"1\"",
        "VariableAddress=\"0\"", "KanalName=\"\"", "Kanal_Id=-1", "VariableSize=4", "Macro=\"\"",
        "VariableType=2", "IsLogging=0", "PriLevel=0", "TagType=0", "SchedulerIndex=0",
        "LoggingFreq=0", "LoggingMethod=0", "ReadRight1=0", "ReadRight2=0", "WriteRight1=0",
        "WriteRight2=0", "Keywords=\"\"", "Enabled=1", "Description=\"\"", "UnitName=\"\"",
        "Protocolobjecttype=0", "Option=0", "filtertype=0", "refval1=nan", "refval2=nan",
        "Equipment=\"\"", "Measuredentity=\"\"", "Location=\"\"", "Formula=\"\""};
    const QStringList alarm = {
        "Id=-1", "alarm_name=\"\"", "alarm_desc=\"\"", "alarm_class=\"General\"", "enabled=0",
        "ackrequired=1", "islogging=1", "tagID=-1", "alarm_type=0", "alarm_level=0",
        "comp_type=0", "limitVal=0", "checkVal1=0", "checkVal2=0", "limit_tag_id=-1",
        "limit_tag2_id=-1", "readRight1=0", "readRight2=0", "subscribers={}", "currentState=0"};
    COMPARE_DUMPS(dump(pKanalDef_t()), channel);
    COMPARE_DUMPS(dump(pEtiketDef_t()), tag);
    COMPARE_DUMPS(dump(pAlarmItem_t()), alarm);
    const FileDataTree tree;
    QVERIFY(tree.ChannelList.isEmpty() && tree.TagList.isEmpty() && tree.AlarmList.isEmpty());
}

void tst_TgchFileProcessor::treeDeletesRecords()
{
    // The leak checker of the sanitizer build reports any record the tree fails to delete.
    auto *tree = new FileDataTree;
    tree->ChannelList << new pKanalDef_t << new pKanalDef_t;
    tree->TagList << new pEtiketDef_t << new pEtiketDef_t << new pEtiketDef_t;
    tree->AlarmList << new pAlarmItem_t;
    tree->AlarmList.first()->subscribers << 1 << 2;
    delete tree;
}

void tst_TgchFileProcessor::readFullFile()
{
    QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(kData + "full.xml"));
    QVERIFY(tree);
    const QStringList expected =
        QString::fromUtf8(readAll(kData + "full.dump")).split('\n', Qt::SkipEmptyParts);
    COMPARE_DUMPS(dump(tree.data()), expected);
}

void tst_TgchFileProcessor::documentLevel_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("expected");

    const QString placeholderOnly = "channels=None tags=0 alarms=0";
    QTest::newRow("empty bytes") << QByteArray() << placeholderOnly;
    QTest::newRow("malformed") << QByteArray("<CTDefinitions><ChannelList>") << placeholderOnly;
    QTest::newRow("not xml") << QByteArray("Id;Name\n1;x\n") << placeholderOnly;
    QTest::newRow("root only") << QByteArray("<CTDefinitions/>") << placeholderOnly;
    QTest::newRow("None channels dropped")
        << QByteArray("<CTDefinitions><ChannelList><Channel><Name>None</Name></Channel>"
                      "<Channel><Name>A</Name></Channel><Channel><Name>None</Name></Channel>"
                      "<Channel><Name>B</Name></Channel></ChannelList></CTDefinitions>")
        << "channels=None,A,B tags=0 alarms=0";
    QTest::newRow("None is case-sensitive")
        << QByteArray("<x><ChannelList><Channel><Name>none</Name></Channel>"
                      "<Channel><Name> None</Name></Channel></ChannelList></x>")
        << "channels=None,none, None tags=0 alarms=0";
    QTest::newRow("model export root")
        << QByteArray("<!DOCTYPE ChannelAndTagDefinitions><CTDefinitions><TagList><Tag/></TagList>"
                      "</CTDefinitions>")
        << "channels=None tags=1 alarms=0";
    QTest::newRow("any root name, lists in any order")
        << QByteArray("<Foo><AlarmList><Alarm/><Alarm/></AlarmList><TagList><Tag/></TagList>"
                      "<ChannelList><Channel><Name>A</Name></Channel></ChannelList></Foo>")
        << "channels=None,A tags=1 alarms=2";
    QTest::newRow("first list of a name only")
        << QByteArray("<r><TagList><Tag/></TagList><TagList><Tag/><Tag/></TagList></r>")
        << "channels=None tags=1 alarms=0";
    QTest::newRow("other children and nested lists skipped")
        << QByteArray("<r><TagList><Alarm/><Tag/><x><Tag/></x><Tag/></TagList>"
                      "<x><AlarmList><Alarm/></AlarmList></x></r>")
        << "channels=None tags=2 alarms=0";
    QTest::newRow("declared encoding")
        << QByteArray("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r><ChannelList><Channel>"
                      "<Name>S\xfc\x64</Name></Channel></ChannelList></r>")
        << QString::fromUtf8("channels=None,Süd tags=0 alarms=0");
    QTest::newRow("undeclared is UTF-8")
        << QByteArray("<r><ChannelList><Channel><Name>S\xc3\xbc\x64</Name></Channel></ChannelList></r>")
        << QString::fromUtf8("channels=None,Süd tags=0 alarms=0");
}

void tst_TgchFileProcessor::documentLevel()
{
    QFETCH(QByteArray, xml);
    QFETCH(QString, expected);
    QScopedPointer<FileDataTree> tree(readXml(xml));
    QVERIFY(tree);
    QCOMPARE(summary(tree.data()), expected);
    // The placeholder always holds the channel defaults, whatever a "None" element in the file held.
    pKanalDef_t placeholder;
    placeholder.Name = "None";
    COMPARE_DUMPS(dump(*tree->ChannelList.first()), dump(placeholder));

    // The file overload reads the same; an empty file is no different from empty bytes.
    const QString path = m_dir.filePath("document.xml");
    QVERIFY(writeAll(path, xml));
    QScopedPointer<FileDataTree> fromFile(TgchFileProcessor::loadFileData(path));
    QVERIFY(fromFile);
    COMPARE_DUMPS(dump(fromFile.data()), dump(tree.data()));
}

void tst_TgchFileProcessor::unreadablePaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("missing") << m_dir.filePath("missing.xml");
    QTest::newRow("directory") << m_dir.path();
    QTest::newRow("empty path") << QString();
}

void tst_TgchFileProcessor::unreadablePaths()
{
    QFETCH(QString, path);
    QVERIFY(!TgchFileProcessor::loadFileData(path));
}

void tst_TgchFileProcessor::absentElements_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("member");
    QTest::addColumn<QString>("expected");

    // What a record element without any value element reads as, member by member: zero and empty
    // rather than the record defaults, except where noted.
    const QString channelValues[][2] = {
        {"Name", "\"\""}, {"Id", "-1"}, {"MediaType", "0"}, {"SocketType", "0"},
        {"ProtokolType", "0"}, {"ServerIP", "\"\""}, {"ServerPORT", "0"}, {"ListenPORT", "0"},
        {"FilterIP", "\"\""}, {"Comport", "0"}, {"Baudrate", "0"}, {"Databit", "0"},
        {"Stopbit", "0"}, {"Paritybit", "0"}, {"ResponseTimeout", "0"},
        {"ConnectionTimeout", "0"}, {"FrameTimeout", "0"}, {"GroupID", "-1"},
        {"Station", "\"\""}, {"Enabled", "0"}, {"KestrinPath", "\"\""}, {"Description", "\"\""}};
    const QString tagValues[][2] = {
        {"Name", "\"\""}, {"Id", "0"}, {"PollFrequency", "0"}, {"DeviceAddress", "\"\""},
        {"VariableAddress", "\"\""}, {"KanalName", "\"\""}, {"Kanal_Id", "-1"},
        {"VariableSize", "0"}, {"Macro", "\"\""}, {"VariableType", "0"}, {"IsLogging", "0"},
        {"PriLevel", "0"}, {"TagType", "0"}, {"SchedulerIndex", "0"}, {"LoggingFreq", "0"},
        {"LoggingMethod", "0"}, {"ReadRight1", "0"}, {"ReadRight2", "0"}, {"WriteRight1", "0"},
        {"WriteRight2", "0"}, {"Keywords", "\"\""}, {"Enabled", "0"}, {"Description", "\"\""},
        {"UnitName", "\"\""}, {"Protocolobjecttype", "0"}, {"Option", "0"},
        {"filtertype", "0"}, {"refval1", "nan"}, {"refval2", "nan"}, {"Equipment", "\"\""},
        {"Measuredentity", "\"\""}, {"Location", "\"\""}, {"Formula", "\"\""}};
    const QString alarmValues[][2] = {
        {"Id", "0"}, {"alarm_name", "\"\""}, {"alarm_desc", "\"\""}, {"alarm_class", "\"\""},
        {"enabled", "0"}, {"ackrequired", "0"}, {"islogging", "0"}, {"tagID", "0"},
        {"alarm_type", "0"}, {"alarm_level", "0"}, {"comp_type", "0"}, {"limitVal", "0"},
        {"checkVal1", "0"}, {"checkVal2", "0"}, {"limit_tag_id", "0"}, {"limit_tag2_id", "0"},
        {"readRight1", "0"}, {"readRight2", "0"}, {"subscribers", "{}"}, {"currentState", "0"}};
    for (const auto &v : channelValues)
        QTest::addRow("Channel %s", qPrintable(v[0])) << "Channel" << v[0] << v[1];
    for (const auto &v : tagValues)
        QTest::addRow("Tag %s", qPrintable(v[0])) << "Tag" << v[0] << v[1];
    for (const auto &v : alarmValues)
        QTest::addRow("Alarm %s", qPrintable(v[0])) << "Alarm" << v[0] << v[1];
    // Every member of each kind has its row.
    QCOMPARE(int(std::size(channelValues)), dump(pKanalDef_t()).size());
    QCOMPARE(int(std::size(tagValues)), dump(pEtiketDef_t()).size());
    QCOMPARE(int(std::size(alarmValues)), dump(pAlarmItem_t()).size());
}

void tst_TgchFileProcessor::absentElements()
{
    QFETCH(QString, kind);
    QFETCH(QString, member);
    QFETCH(QString, expected);

    // An element with only unknown children and one given as a null pointer read alike.
    QDomDocument doc;
    QVERIFY(doc.setContent("<" + kind + " Id=\"5\"><Unknown>3</Unknown></" + kind + ">"));
    QDomElement element = doc.documentElement();
    QStringList fromElement;
    QStringList fromNull;
    if (kind == "Channel") {
        QScopedPointer<pKanalDef_t> a(TgchFileProcessor::channelDataFromXML(&element));
        QScopedPointer<pKanalDef_t> b(TgchFileProcessor::channelDataFromXML(nullptr));
        fromElement = dump(*a);
        fromNull = dump(*b);
    } else if (kind == "Tag") {
        QScopedPointer<pEtiketDef_t> a(TgchFileProcessor::tagDataFromXml(&element));
        QScopedPointer<pEtiketDef_t> b(TgchFileProcessor::tagDataFromXml(nullptr));
        fromElement = dump(*a);
        fromNull = dump(*b);
    } else {
        QScopedPointer<pAlarmItem_t> a(TgchFileProcessor::alarmDataFromXml(&element));
        QScopedPointer<pAlarmItem_t> b(TgchFileProcessor::alarmDataFromXml(nullptr));
        fromElement = dump(*a);
        fromNull = dump(*b);
    }
    QCOMPARE(valueOf(fromElement, member), expected);
    QCOMPARE(valueOf(fromNull, member), expected);
}

void tst_TgchFileProcessor::valueForms_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("children");
    QTest::addColumn<QString>("member");
    QTest::addColumn<QString>("expected");

    auto row = [](const char *name, const char *kind, const char *children, const char *member,
                  const char *expected) {
        QTest::newRow(name) << kind << QString::fromUtf8(children) << member << expected;
    };
    row("integer", "Channel", "<Id>-42</Id>", "Id", "-42");
    row("integer with spaces", "Channel", "<Id> 42 </Id>", "Id", "42");
    row("integer not a number", "Channel", "<Id>12abc</Id>", "Id", "0");
    row("integer out of range", "Channel", "<Id>2147483648</Id>", "Id", "0");
    row("integer present but empty", "Channel", "<GroupID></GroupID>", "GroupID", "0");
    row("unsigned", "Channel", "<Baudrate>4294967295</Baudrate>", "Baudrate", "4294967295");
    row("unsigned negative", "Channel", "<ServerPORT>-1</ServerPORT>", "ServerPORT", "0");
    row("unsigned into signed member", "Tag", "<PollFrequency>-5</PollFrequency>",
        "PollFrequency", "0");
    row("8-bit wraps", "Tag", "<TagType>200</TagType>", "TagType", "-56");
    row("8-bit unsigned wraps", "Tag", "<IsLogging>257</IsLogging>", "IsLogging", "1");
    row("8-bit negative into unsigned", "Tag", "<PriLevel>-1</PriLevel>", "PriLevel", "255");
    row("alarm 8-bit wraps", "Alarm", "<comp_type>130</comp_type>", "comp_type", "-126");
    row("flag 2 is true", "Channel", "<Enabled>2</Enabled>", "Enabled", "1");
    row("flag word true is false", "Tag", "<Enabled>true</Enabled>", "Enabled", "0");
    row("64-bit", "Tag", "<Option>-9223372036854775808</Option>", "Option",
        "-9223372036854775808");
    row("64-bit overflow", "Tag", "<Option>9223372036854775808</Option>", "Option", "0");
    row("real exponent", "Tag", "<LoggingFreq>2e+06</LoggingFreq>", "LoggingFreq", "2000000");
    row("real not a number", "Tag", "<LoggingFreq>fast</LoggingFreq>", "LoggingFreq", "0");
    row("real comma is not C locale", "Tag", "<LoggingFreq>1,5</LoggingFreq>", "LoggingFreq", "0");
    row("real nan", "Tag", "<LoggingFreq>nan</LoggingFreq>", "LoggingFreq", "nan");
    row("single real", "Alarm", "<limitVal>0.1</limitVal>", "limitVal", "0.10000000149011612");
    row("single real out of range", "Alarm", "<checkVal1>-1e300</checkVal1>", "checkVal1", "-inf");
    row("subscribers", "Alarm", "<subscribers>{3,17,42}</subscribers>", "subscribers",
        "{3,17,42}");
    row("subscribers empty piece", "Alarm", "<subscribers>{5,,7}</subscribers>", "subscribers",
        "{5,7}");
    row("subscribers trailing comma", "Alarm", "<subscribers>{5,7,}</subscribers>",
        "subscribers", "{5,7}");
    row("subscribers empty", "Alarm", "<subscribers>{}</subscribers>", "subscribers", "{}");
    row("subscribers junk skipped", "Alarm", "<subscribers>}{-1,x,2{</subscribers>",
        "subscribers", "{-1,2}");
    row("subscribers without braces", "Alarm", "<subscribers>8,9</subscribers>", "subscribers",
        "{8,9}");
    row("filter array keeps defaults", "Tag", "<LogFilterOptions>[1,2]</LogFilterOptions>",
        "refval1", "nan");
    row("filter malformed keeps defaults", "Tag", "<LogFilterOptions>{\"filtertype\":</LogFilterOptions>",
        "filtertype", "0");
    row("filter only type", "Tag", "<LogFilterOptions>{\"filtertype\": 2}</LogFilterOptions>",
        "filtertype", "2");
    row("filter only type, missing value", "Tag",
        "<LogFilterOptions>{\"filtertype\": 2}</LogFilterOptions>", "refval2", "0");
    row("filter null value", "Tag", "<LogFilterOptions>{\"refval1\": null}</LogFilterOptions>",
        "refval1", "0");
    row("filter fractional type", "Tag",
        "<LogFilterOptions>{\"filtertype\": 2.5}</LogFilterOptions>", "filtertype", "0");
    row("filter string type", "Tag",
        "<LogFilterOptions>{\"filtertype\": \"3\"}</LogFilterOptions>", "filtertype", "0");
    row("filter in CDATA", "Tag",
        "<LogFilterOptions><![CDATA[{\"refval2\": -1e-3}]]></LogFilterOptions>", "refval2",
        "-0.001");
    row("text and CDATA joined", "Tag", "<Name>a<![CDATA[<b>]]>c&amp;</Name>", "Name",
        "\"a<b>c&\"");
    row("white space only text", "Channel", "<Station>   </Station>", "Station", "\"\"");
    row("white space kept around text", "Channel", "<Station> x </Station>", "Station",
        "\" x \"");
    row("character reference", "Alarm", "<alarm_desc>&#252;&#x4e2d;</alarm_desc>", "alarm_desc",
        "\"ü中\"");
    row("first of two elements", "Alarm", "<tagID>3</tagID><tagID>4</tagID>", "tagID", "3");
    row("empty first of two elements", "Channel", "<Name/><Name>B</Name>", "Name", "\"\"");
    row("attributes ignored", "Channel", "<Id value=\"9\">5</Id>", "Id", "5");
    row("element names case-sensitive", "Tag", "<kanal_id>5</kanal_id>", "Kanal_Id", "-1");
}

void tst_TgchFileProcessor::valueForms()
{
    QFETCH(QString, kind);
    QFETCH(QString, children);
    QFETCH(QString, member);
    QFETCH(QString, expected);

    const QByteArray xml = QStringLiteral("<r><%1List><%1>%2</%1></%1List></r>")
                               .arg(kind, children).toUtf8();
    QScopedPointer<FileDataTree> tree(readXml(xml));
    QStringList lines;
    if (kind == "Channel") {
        QCOMPARE(tree->ChannelList.size(), 2);
        lines = dump(*tree->ChannelList.at(1));
    } else if (kind == "Tag") {
        QCOMPARE(tree->TagList.size(), 1);
        lines = dump(*tree->TagList.first());
    } else {
        QCOMPARE(tree->AlarmList.size(), 1);
        lines = dump(*tree->AlarmList.first());
    }
    QCOMPARE(valueOf(lines, member), expected);
}

void tst_TgchFileProcessor::recordWriterGolden()
{
    QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(kData + "full.xml"));
    QVERIFY(tree);
    const QString path = m_dir.filePath("written.xml");
    QVERIFY(TgchFileProcessor::writeToFile(tree.data(), path));
    QCOMPARE(readAll(path), readAll(kData + "written.xml"));

    QScopedPointer<FileDataTree> reread(TgchFileProcessor::loadFileData(path));
    COMPARE_DUMPS(dump(reread.data()), dump(tree.data()));
}

void tst_TgchFileProcessor::recordWriterEmptyTree()
{
    FileDataTree tree;
    const QString path = m_dir.filePath("empty.xml");
    QVERIFY(writeAll(path, "old contents that are longer than the new ones ........................"));
    QVERIFY(TgchFileProcessor::writeToFile(&tree, path));
    QCOMPARE(readAll(path), QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                       "<CTDefinitions>\n"
                                       "    <ChannelList/>\n"
                                       "    <TagList/>\n"
                                       "    <AlarmList/>\n"
                                       "</CTDefinitions>\n"));
    QScopedPointer<FileDataTree> reread(TgchFileProcessor::loadFileData(path));
    QCOMPARE(summary(reread.data()), QString("channels=None tags=0 alarms=0"));
}

void tst_TgchFileProcessor::recordWriterLossyValues()
{
    QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(kData + "full.xml"));
    QVERIFY(tree);
    pKanalDef_t *channel = tree->ChannelList.at(1);
    pEtiketDef_t *tag = tree->TagList.at(0);
    pEtiketDef_t *tag2 = tree->TagList.at(1);
    pAlarmItem_t *alarm = tree->AlarmList.at(0);
    channel->Station = " ";
    channel->Description = "\t \n";
    tag->PollFrequency = -5;
    tag->VariableSize = -2;
    tag->LoggingFreq = 1234567.891;
    tag->refval1 = qQNaN();
    tag->refval2 = -qInf();
    tag2->LoggingFreq = qQNaN();
    alarm->limitVal = 0.1;
    alarm->checkVal1 = qInf();
    alarm->checkVal2 = 123456789.0;
    alarm->subscribers = {-1, 0, 2147483647};

    // What comes back differently; every other member must come back unchanged.
    const QMap<QString, QString> changed = {
        {"Channel[1].Station", "\"\""},
        {"Channel[1].Description", "\"\""},
        {"Tag[0].PollFrequency", "0"},
        {"Tag[0].VariableSize", "0"},
        {"Tag[0].LoggingFreq", "1234570"},
        {"Tag[0].refval1", "0"},
        {"Tag[0].refval2", "0"},
        {"Alarm[0].limitVal", "0.10000000149011612"},
        {"Alarm[0].checkVal2", "123457000"},
    };
    QStringList expected;
    for (const QString &line : dump(tree.data())) {
        const QString key = line.section('=', 0, 0);
        expected << (changed.contains(key) ? key + '=' + changed.value(key) : line);
    }

    const QString path = m_dir.filePath("lossy.xml");
    QVERIFY(TgchFileProcessor::writeToFile(tree.data(), path));
    const QByteArray written = readAll(path);
    QVERIFY(written.contains("<LoggingFreq>nan</LoggingFreq>"));
    QVERIFY(written.contains("<checkVal1>inf</checkVal1>"));
    QVERIFY(written.contains("<subscribers>{-1,0,2147483647}</subscribers>"));
    QScopedPointer<FileDataTree> reread(TgchFileProcessor::loadFileData(path));
    COMPARE_DUMPS(dump(reread.data()), expected);
}

void tst_TgchFileProcessor::filterOptionsLayout_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<double>("ref1");
    QTest::addColumn<double>("ref2");
    QTest::newRow("defaults") << 0 << qQNaN() << qQNaN();
    QTest::newRow("plain") << 2 << 1.5 << -0.25;
    QTest::newRow("integral doubles") << -1 << 3.0 << 0.0;
    QTest::newRow("many digits") << 7 << 0.1 << 1.0 / 3.0;
    QTest::newRow("large and small") << 2147483647 << 1e300 << -4.9e-324;
    QTest::newRow("infinities") << -2147483647 - 1 << qInf() << -qInf();
}

void tst_TgchFileProcessor::filterOptionsLayout()
{
    QFETCH(int, type);
    QFETCH(double, ref1);
    QFETCH(double, ref2);

    FileDataTree tree;
    auto *tag = new pEtiketDef_t;
    tag->filtertype = type;
    tag->refval1 = ref1;
    tag->refval2 = ref2;
    tree.TagList << tag;
    const QString path = m_dir.filePath("filter.xml");
    QVERIFY(TgchFileProcessor::writeToFile(&tree, path));

    // Exactly what QJsonDocument writes for the object, non-finite values as null.
    QDomDocument doc;
    QVERIFY(doc.setContent(readAll(path)));
    const QString text = doc.documentElement().firstChildElement("TagList").firstChildElement("Tag")
                             .firstChildElement("LogFilterOptions").text();
    QCOMPARE(text, filterOptionsJson(*tag));

    QScopedPointer<FileDataTree> reread(TgchFileProcessor::loadFileData(path));
    const pEtiketDef_t *back = reread->TagList.first();
    QCOMPARE(back->filtertype, type);
    QCOMPARE(back->refval1, qIsFinite(ref1) ? ref1 : 0.0);
    QCOMPARE(back->refval2, qIsFinite(ref2) ? ref2 : 0.0);
}

void tst_TgchFileProcessor::specialTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("less than") << "a<b";
    QTest::newRow("ampersand") << "x & y; &amp;";
    QTest::newRow("CDATA end") << "]]>";
    QTest::newRow("CDATA ends mixed") << "p]]>q<&r]]]]>>s]]";
    QTest::newRow("markup") << "<![CDATA[x]]><!-- c --><Name>";
    QTest::newRow("non-ASCII") << QString::fromUtf8("Ünïcødé 漢字 \xF0\x9F\x98\x80");
    QTest::newRow("surrounding spaces") << "  padded  ";
    QTest::newRow("quotes") << "\"q\" 'a'";
}

void tst_TgchFileProcessor::specialTexts()
{
    QFETCH(QString, text);

    FileDataTree tree;
    auto *channel = new pKanalDef_t;
    channel->Name = channel->ServerIP = channel->FilterIP = channel->Station = text;
    channel->KestrinPath = channel->Description = text;
    auto *tag = new pEtiketDef_t;
    tag->Name = tag->DeviceAddress = tag->VariableAddress = tag->KanalName = tag->Macro = text;
    tag->Keywords = tag->Description = tag->UnitName = text;
    tag->Equipment = tag->Measuredentity = tag->Location = tag->Formula = text;
    tag->refval1 = tag->refval2 = 0.0;
    auto *alarm = new pAlarmItem_t;
    alarm->alarm_name = alarm->alarm_desc = alarm->alarm_class = text;
    tree.ChannelList << new pKanalDef_t << channel;
    tree.ChannelList.first()->Name = "None";
    tree.TagList << tag;
    tree.AlarmList << alarm;

    const QString written = m_dir.filePath("special-written.xml");
    QVERIFY(TgchFileProcessor::writeToFile(&tree, written));
    QScopedPointer<FileDataTree> fromRecords(TgchFileProcessor::loadFileData(written));
    COMPARE_DUMPS(dump(fromRecords.data()), dump(&tree));

    Models models(&tree);
    const QString exported = m_dir.filePath("special-exported.xml");
    QVERIFY(TgchFileProcessor::writeToFile(&models.channels, &models.tags, exported));
    QScopedPointer<FileDataTree> fromModels(TgchFileProcessor::loadFileData(exported));
    COMPARE_DUMPS(dump(fromModels.data()), withoutAlarms(dump(&tree)));
}

void tst_TgchFileProcessor::modelExportGolden()
{
    QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(kData + "full.xml"));
    QVERIFY(tree);
    Models models(tree.data());
    OpenedFile file;
    file.filePath = m_dir.filePath("exported.xml");
    file.channelModel = &models.channels;
    file.tagModel = &models.tags;
    QVERIFY(TgchFileProcessor::writeToFile(&file));
    QCOMPARE(readAll(file.filePath), readAll(kData + "exported.xml"));

    QScopedPointer<FileDataTree> reread(TgchFileProcessor::loadFileData(file.filePath));
    COMPARE_DUMPS(dump(reread.data()), withoutAlarms(dump(tree.data())));

    // The overload with models and path writes the same bytes.
    const QString direct = m_dir.filePath("exported-direct.xml");
    QVERIFY(TgchFileProcessor::writeToFile(&models.channels, &models.tags, direct));
    QCOMPARE(readAll(direct), readAll(file.filePath));
}

void tst_TgchFileProcessor::modelExportCells_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("cell");
    QTest::addColumn<QString>("member");
    QTest::addColumn<QString>("expected");

    // Tag model cells are written as they stand and read back by the file's value forms.
    QTest::newRow("Enabled true") << 20 << "true" << "Enabled" << "0";
    QTest::newRow("Enabled 1") << 20 << "1" << "Enabled" << "1";
    QTest::newRow("Id not a number") << 0 << "seven" << "Id" << "0";
    QTest::newRow("Kanal_Id empty") << 2 << "" << "Kanal_Id" << "0";
    QTest::newRow("PollFrequency negative") << 3 << "-5" << "PollFrequency" << "0";
    QTest::newRow("LoggingFreq many digits") << 13 << "1234567.891" << "LoggingFreq"
                                              << "1234567.8910000001";
    QTest::newRow("TagType wraps") << 11 << "200" << "TagType" << "-56";
    QTest::newRow("LogFilterOptions compact") << 25 << "{\"filtertype\":4}" << "filtertype"
                                              << "4";
    QTest::newRow("LogFilterOptions text") << 25 << "none" << "refval1" << "nan";
    QTest::newRow("KanalName CDATA end") << 30 << "a]]>b" << "KanalName" << "\"a]]>b\"";
    QTest::newRow("Description CDATA end") << 21 << "a]]>b" << "Description" << "\"a]]>b\"";
    QTest::newRow("column 31 ignored") << 31 << "x" << "Name" << "\"Tag\"";
}

void tst_TgchFileProcessor::modelExportCells()
{
    QFETCH(int, column);
    QFETCH(QString, cell);
    QFETCH(QString, member);
    QFETCH(QString, expected);

    FileDataTree tree;
    tree.TagList << new pEtiketDef_t;
    Models models(&tree);
    models.tags.setItem(0, column, new QStandardItem(cell));
    const QString path = m_dir.filePath("cells.xml");
    QVERIFY(TgchFileProcessor::writeToFile(&models.channels, &models.tags, path));
    QScopedPointer<FileDataTree> reread(TgchFileProcessor::loadFileData(path));
    QCOMPARE(reread->TagList.size(), 1);
    QCOMPARE(valueOf(dump(*reread->TagList.first()), member), expected);
}

void tst_TgchFileProcessor::modelExportEmptyModels()
{
    QStandardItemModel channels;
    QStandardItemModel tags;
    const QString path = m_dir.filePath("empty-export.xml");
    QVERIFY(TgchFileProcessor::writeToFile(&channels, &tags, path));
    QCOMPARE(readAll(path), QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                       "<!DOCTYPE ChannelAndTagDefinitions>\n"
                                       "<CTDefinitions>\n"
                                       " <ChannelList/>\n"
                                       " <TagList/>\n"
                                       "</CTDefinitions>\n"));
    QScopedPointer<FileDataTree> reread(TgchFileProcessor::loadFileData(path));
    QCOMPARE(summary(reread.data()), QString("channels=None tags=0 alarms=0"));

    // A row whose cells are missing is written with empty values: elements present but empty.
    channels.setRowCount(1);
    QVERIFY(TgchFileProcessor::writeToFile(&channels, &tags, path));
    reread.reset(TgchFileProcessor::loadFileData(path));
    QCOMPARE(reread->ChannelList.size(), 2);
    const QStringList lines = dump(*reread->ChannelList.at(1));
    QCOMPARE(valueOf(lines, "Id"), QString("0"));
    QCOMPARE(valueOf(lines, "GroupID"), QString("0"));
    QCOMPARE(valueOf(lines, "Name"), QString("\"\""));
}

void tst_TgchFileProcessor::modelExportDropsAlarms()
{
    const QString path = m_dir.filePath("had-alarms.xml");
    QVERIFY(QFile::copy(kData + "full.xml", path));
    QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(path));
    QCOMPARE(tree->AlarmList.size(), 2);
    Models models(tree.data());
    QVERIFY(TgchFileProcessor::writeToFile(&models.channels, &models.tags, path));
    tree.reset(TgchFileProcessor::loadFileData(path));
    QCOMPARE(summary(tree.data()),
             QString::fromUtf8("channels=None,Pump <A> & Co,Ünite ]]> 2 tags=2 alarms=0"));
}

void tst_TgchFileProcessor::largeFiles()
{
    // Several megabytes, so that the writers pass their output on in more than one block.
    FileDataTree tree;
    tree.ChannelList << new pKanalDef_t;
    tree.ChannelList.first()->Name = "None";
    for (int i = 0; i < 4000; ++i) {
        auto *tag = new pEtiketDef_t;
        tag->Name = QStringLiteral("Tag %1").arg(i);
        tag->Id = i;
        tag->refval1 = tag->refval2 = i;
        tag->Description = QString(i % 50, QLatin1Char('d'));
        tree.TagList << tag;
        auto *alarm = new pAlarmItem_t;
        alarm->tagID = i;
        tree.AlarmList << alarm;
    }
    const QString written = m_dir.filePath("large-written.xml");
    QVERIFY(TgchFileProcessor::writeToFile(&tree, written));
    QVERIFY(QFileInfo(written).size() > 4 * 1024 * 1024);
    QScopedPointer<FileDataTree> fromRecords(TgchFileProcessor::loadFileData(written));
    QVERIFY(dump(fromRecords.data()) == dump(&tree));

    Models models(&tree);
    const QString exported = m_dir.filePath("large-exported.xml");
    QVERIFY(TgchFileProcessor::writeToFile(&models.channels, &models.tags, exported));
    QVERIFY(QFileInfo(exported).size() > 4 * 1024 * 1024);
    QScopedPointer<FileDataTree> fromModels(TgchFileProcessor::loadFileData(exported));
    QVERIFY(dump(fromModels.data()) == withoutAlarms(dump(&tree)));
}

void tst_TgchFileProcessor::writeFailures_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("existing");     // what is at path beforehand
    QTest::addColumn<bool>("nullArgument");
    QTest::newRow("missing directory") << m_dir.filePath("no/such/dir/defs.xml") << "nothing" << false;
    QTest::newRow("path is a directory") << m_dir.filePath("a-directory") << "directory" << false;
    QTest::newRow("read-only file") << m_dir.filePath("read-only.xml") << "read-only file" << false;
    QTest::newRow("read-only file and directory")
        << m_dir.filePath("read-only.xml") << "read-only file, read-only directory" << false;
    QTest::newRow("null tree or model") << m_dir.filePath("kept.xml") << "file" << true;
}

void tst_TgchFileProcessor::writeFailures()
{
    QFETCH(QString, path);
    QFETCH(QString, existing);
    QFETCH(bool, nullArgument);

    const QByteArray old = "<CTDefinitions><TagList><Tag/></TagList></CTDefinitions>";
    if (existing == "directory") {
        QVERIFY(QDir(m_dir.path()).mkpath(path));
    } else if (existing != "nothing") {
        QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        QVERIFY(writeAll(path, old));
    }
    if (existing.startsWith("read-only file")) {
        if (geteuid() == 0)
            QSKIP("permissions do not stop the superuser");
        QVERIFY(QFile::setPermissions(path, QFileDevice::ReadOwner));
        if (existing.endsWith("read-only directory"))
            QVERIFY(QFile::setPermissions(m_dir.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    }
    const QStringList before = QDir(m_dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries);

    FileDataTree tree;
    tree.ChannelList << new pKanalDef_t;
    Models models(&tree);
    OpenedFile file;
    file.filePath = path;
    file.channelModel = nullArgument ? nullptr : &models.channels;
    file.tagModel = &models.tags;
    QVERIFY(!TgchFileProcessor::writeToFile(nullArgument ? nullptr : &tree, path));
    QVERIFY(!TgchFileProcessor::writeToFile(file.channelModel, file.tagModel, path));
    QVERIFY(!TgchFileProcessor::writeToFile(&file));
    if (nullArgument)
        QVERIFY(!TgchFileProcessor::writeToFile(static_cast<OpenedFile *>(nullptr)));

    QFile::setPermissions(m_dir.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                            | QFileDevice::ExeOwner);
    // The old file is as it was, and nothing was left behind.
    if (QFileInfo(path).isFile())
        QCOMPARE(readAll(path), old);
    QCOMPARE(QDir(m_dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), before);
    QCOMPARE(QFileInfo(path).isDir(), existing == "directory");
}

QTEST_GUILESS_MAIN(tst_TgchFileProcessor)
#include "tst_tgchfileprocessor.moc"
