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
    const QString value = valueOf(lines, column);
    return value.startsWith('"') ? value.mid(1, value.size() - 2) : value;
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

// The dumps of the record read from element and of the one read from a null element.
template <class R>
QList<QStringList> readBoth(R *(*read)(QDomElement *), QDomElement *element)
{
    QScopedPointer<R> fromElement(read(element));
    QScopedPointer<R> fromNull(read(nullptr));
    return {dump(*fromElement), dump(*fromNull)};
}

} // namespace

class tst_TgchFileProcessor : public QObject
{
    Q_OBJECT

private slots:
    void recordDefaults();
    void fullFile();
    void documentLevel_data();
    void documentLevel();
    void unreadablePaths_data();
    void unreadablePaths();
    void absentElements_data();
    void absentElements();
    void valueForms_data();
    void valueForms();
    void emptyOutputs_data();
    void emptyOutputs();
    void recordWriterLossyValues();
    void filterOptionsLayout_data();
    void filterOptionsLayout();
    void specialTexts_data();
    void specialTexts();
    void modelExportGolden();
    void modelExportCells();
    void largeFiles();
    void writeFailures_data();
    void writeFailures();

private:
    void roundTripBoth(FileDataTree *tree, qint64 minSize);
    QTemporaryDir m_dir;
};

// Writes tree with the record writer and, as table models, with the export: each file is larger
// than minSize and reads back as tree (the export without alarms).
void tst_TgchFileProcessor::roundTripBoth(FileDataTree *tree, qint64 minSize)
{
    const QString written = m_dir.filePath("both-written.xml");
    QVERIFY(TgchFileProcessor::writeToFile(tree, written));
    QVERIFY(QFileInfo(written).size() > minSize);
    QScopedPointer<FileDataTree> fromRecords(TgchFileProcessor::loadFileData(written));
    COMPARE_DUMPS(dump(fromRecords.data()), dump(tree));

    Models models(tree);
    const QString exported = m_dir.filePath("both-exported.xml");
    QVERIFY(TgchFileProcessor::writeToFile(&models.channels, &models.tags, exported));
    QVERIFY(QFileInfo(exported).size() > minSize);
    QScopedPointer<FileDataTree> fromModels(TgchFileProcessor::loadFileData(exported));
    COMPARE_DUMPS(dump(fromModels.data()), withoutAlarms(dump(tree)));
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
}

void tst_TgchFileProcessor::fullFile()
{
    QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(kData + "full.xml"));
    QVERIFY(tree);
    const QStringList expected =
        QString::fromUtf8(readAll(kData + "full.dump")).split('\n', Qt::SkipEmptyParts);
    COMPARE_DUMPS(dump(tree.data()), expected);

    // The record writer's layout, read back unchanged.
    const QString path = m_dir.filePath("written.xml");
    QVERIFY(TgchFileProcessor::writeToFile(tree.data(), path));
    QCOMPARE(readAll(path), readAll(kData + "written.xml"));
    QScopedPointer<FileDataTree> reread(TgchFileProcessor::loadFileData(path));
    COMPARE_DUMPS(dump(reread.data()), expected);
}

void tst_TgchFileProcessor::documentLevel_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("expected");

    const QString placeholderOnly = "channels=None tags=0 alarms=0";
    QTest::newRow("empty bytes") << QByteArray() << placeholderOnly;
    QTest::newRow("malformed") << QByteArray("<CTDefinitions><ChannelList>") << placeholderOnly;
    QTest::newRow("None channels dropped, exact name only")
        << QByteArray("<CTDefinitions><ChannelList><Channel><Name>None</Name></Channel>"
                      "<Channel><Name>A</Name></Channel><Channel><Name>None</Name></Channel>"
                      "<Channel><Name>none</Name></Channel><Channel><Name> None</Name></Channel>"
                      "</ChannelList></CTDefinitions>")
        << "channels=None,A,none, None tags=0 alarms=0";
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
    QTest::newRow("undeclared is UTF-8")
        << QByteArray("<r><ChannelList><Channel><Name>S\xc3\xbc\x64</Name></Channel></ChannelList></r>")
        << QString::fromUtf8("channels=None,Süd tags=0 alarms=0");
}

void tst_TgchFileProcessor::documentLevel()
{
    QFETCH(QByteArray, xml);
    QFETCH(QString, expected);
    QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(xml));
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
    QTest::addColumn<QStringList>("expected");

    // What a record element without any value element reads as: zero and empty rather than the
    // record defaults, except for the -1 of some ids and the untouched filter references.
    QTest::newRow("Channel") << "Channel" << QStringList{
        "Name=\"\"", "Id=-1", "MediaType=0", "SocketType=0", "ProtokolType=0", "ServerIP=\"\"",
        "ServerPORT=0", "ListenPORT=0", "FilterIP=\"\"", "Comport=0", "Baudrate=0", "Databit=0",
        "Stopbit=0", "Paritybit=0", "ResponseTimeout=0", "ConnectionTimeout=0", "FrameTimeout=0",
        "GroupID=-1", "Station=\"\"", "Enabled=0", "KestrinPath=\"\"", "Description=\"\""};
    QTest::newRow("Tag") << "Tag" << QStringList{
        "Name=\"\"", "Id=0", "PollFrequency=0", "DeviceAddress=\"\"", "VariableAddress=\"\"",
        "KanalName=\"\"", "Kanal_Id=-1", "VariableSize=0", "Macro=\"\"", "VariableType=0",
        "IsLogging=0", "PriLevel=0", "TagType=0", "SchedulerIndex=0", "LoggingFreq=0",
        "LoggingMethod=0", "ReadRight1=0", "ReadRight2=0", "WriteRight1=0", "WriteRight2=0",
        "Keywords=\"\"", "Enabled=0", "Description=\"\"", "UnitName=\"\"",
        "Protocolobjecttype=0", "Option=0", "filtertype=0", "refval1=nan", "refval2=nan",
        "Equipment=\"\"", "Measuredentity=\"\"", "Location=\"\"", "Formula=\"\""};
    QTest::newRow("Alarm") << "Alarm" << QStringList{
        "Id=0", "alarm_name=\"\"", "alarm_desc=\"\"", "alarm_class=\"\"", "enabled=0",
        "ackrequired=0", "islogging=0", "tagID=0", "alarm_type=0", "alarm_level=0", "comp_type=0",
        "limitVal=0", "checkVal1=0", "checkVal2=0", "limit_tag_id=0", "limit_tag2_id=0",
        "readRight1=0", "readRight2=0", "subscribers={}", "currentState=0"};
}

void tst_TgchFileProcessor::absentElements()
{
    QFETCH(QString, kind);
    QFETCH(QStringList, expected);

    // An element with only unknown children and one given as a null pointer read alike.
    QDomDocument doc;
    QVERIFY(doc.setContent("<" + kind + " Id=\"5\"><Unknown>3</Unknown></" + kind + ">"));
    QDomElement element = doc.documentElement();
    const QList<QStringList> dumps =
        kind == "Channel" ? readBoth(&TgchFileProcessor::channelDataFromXML, &element)
        : kind == "Tag"   ? readBoth(&TgchFileProcessor::tagDataFromXml, &element)
                          : readBoth(&TgchFileProcessor::alarmDataFromXml, &element);
    COMPARE_DUMPS(dumps.at(0), expected);
    COMPARE_DUMPS(dumps.at(1), expected);
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
    row("integer with spaces", "Channel", "<Id> 42 </Id>", "Id", "42");
    row("integer not a number", "Channel", "<Id>12abc</Id>", "Id", "0");
    row("integer out of range", "Channel", "<Id>2147483648</Id>", "Id", "0");
    row("integer present but empty", "Channel", "<GroupID></GroupID>", "GroupID", "0");
    row("unsigned negative", "Channel", "<ServerPORT>-1</ServerPORT>", "ServerPORT", "0");
    // The 8-bit members keep the low 8 bits: TagType is signed, IsLogging and PriLevel unsigned.
    row("8-bit wraps", "Tag", "<TagType>200</TagType>", "TagType", "-56");
    row("8-bit unsigned wraps", "Tag", "<IsLogging>257</IsLogging>", "IsLogging", "1");
    row("8-bit negative into unsigned", "Tag", "<PriLevel>-1</PriLevel>", "PriLevel", "255");
    row("alarm 8-bit wraps", "Alarm", "<comp_type>130</comp_type>", "comp_type", "-126");
    row("flag 2 is true", "Channel", "<Enabled>2</Enabled>", "Enabled", "1");
    row("flag word true is false", "Tag", "<Enabled>true</Enabled>", "Enabled", "0");
    row("64-bit overflow", "Tag", "<Option>9223372036854775808</Option>", "Option", "0");
    row("real comma is not C locale", "Tag", "<LoggingFreq>1,5</LoggingFreq>", "LoggingFreq", "0");
    row("single real out of range", "Alarm", "<checkVal1>-1e300</checkVal1>", "checkVal1", "-inf");
    row("subscribers empty piece", "Alarm", "<subscribers>{5,,7}</subscribers>", "subscribers",
        "{5,7}");
    row("subscribers junk skipped", "Alarm", "<subscribers>}{-1,x,2{</subscribers>",
        "subscribers", "{-1,2}");
    row("filter array keeps defaults", "Tag", "<LogFilterOptions>[1,2]</LogFilterOptions>",
        "refval1", "nan");
    row("filter malformed keeps defaults", "Tag", "<LogFilterOptions>{\"filtertype\":</LogFilterOptions>",
        "filtertype", "0");
    row("filter only type, missing value", "Tag",
        "<LogFilterOptions>{\"filtertype\": 2}</LogFilterOptions>", "refval2", "0");
    row("filter null value", "Tag", "<LogFilterOptions>{\"refval1\": null}</LogFilterOptions>",
        "refval1", "0");
    row("filter fractional type", "Tag",
        "<LogFilterOptions>{\"filtertype\": 2.5}</LogFilterOptions>", "filtertype", "0");
    row("filter string type", "Tag",
        "<LogFilterOptions>{\"filtertype\": \"3\"}</LogFilterOptions>", "filtertype", "0");
    row("first of two elements", "Alarm", "<tagID>3</tagID><tagID>4</tagID>", "tagID", "3");
    row("empty first of two elements", "Channel", "<Name/><Name>B</Name>", "Name", "\"\"");
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
    QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(xml));
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

void tst_TgchFileProcessor::emptyOutputs_data()
{
    QTest::addColumn<bool>("fromModels");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("records") << false
                             << QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                           "<CTDefinitions>\n"
                                           "    <ChannelList/>\n"
                                           "    <TagList/>\n"
                                           "    <AlarmList/>\n"
                                           "</CTDefinitions>\n");
    QTest::newRow("models") << true
                            << QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                          "<!DOCTYPE ChannelAndTagDefinitions>\n"
                                          "<CTDefinitions>\n"
                                          " <ChannelList/>\n"
                                          " <TagList/>\n"
                                          "</CTDefinitions>\n");
}

void tst_TgchFileProcessor::emptyOutputs()
{
    QFETCH(bool, fromModels);
    QFETCH(QByteArray, expected);

    // Written over a longer file that held alarms: nothing of it may remain.
    const QString path = m_dir.filePath("empty.xml");
    QVERIFY(writeAll(path, readAll(kData + "full.xml")));
    FileDataTree tree;
    QStandardItemModel channels;
    QStandardItemModel tags;
    QVERIFY(fromModels ? TgchFileProcessor::writeToFile(&channels, &tags, path)
                       : TgchFileProcessor::writeToFile(&tree, path));
    QCOMPARE(readAll(path), expected);
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
    QTest::newRow("many digits") << 7 << 0.1 << 1.0 / 3.0;
    QTest::newRow("large and small") << 2147483647 << 1e300 << -4.9e-324;
    QTest::newRow("infinities") << -2147483647 - 1 << qInf() << -qInf();
    QTest::newRow("whole numbers") << 0 << 1e6 << -9007199254740992.0;
    QTest::newRow("whole numbers beyond 2^53") << 1 << 9007199254740994.0 << -1e17;
    QTest::newRow("ends of qint64") << 2 << -9223372036854775808.0 << 9223372036854775808.0;
    QTest::newRow("beyond qint64") << 2 << 1e19 << -18446744073709551616.0;
    QTest::newRow("negative zero, not a number") << 3 << -0.0 << qQNaN();
    QTest::newRow("tiny and fractional") << 4 << 1e-7 << -123456.789;
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
    QTest::newRow("ampersand") << "x & y; &amp;";
    QTest::newRow("CDATA ends mixed") << "p]]>q<&r]]]]>>s]]";
    QTest::newRow("markup") << "<![CDATA[x]]><!-- c --><Name>";
    QTest::newRow("non-ASCII") << QString::fromUtf8("Ünïcødé 漢字 \xF0\x9F\x98\x80");
    QTest::newRow("surrounding spaces") << "  padded  ";
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
    roundTripBoth(&tree, 0);
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

void tst_TgchFileProcessor::modelExportCells()
{
    // Cells are written as they stand: a real keeps every digit, a missing cell is an empty
    // element (so Id and GroupID read 0, not an absent element's -1), further columns are ignored,
    // carriage returns come back.
    FileDataTree tree;
    tree.TagList << new pEtiketDef_t;
    Models models(&tree);
    models.channels.setRowCount(1);
    models.tags.setItem(0, 13, new QStandardItem("1234567.891"));
    models.tags.setItem(0, 21, new QStandardItem("a\r\nb\rc"));
    models.tags.setItem(0, 31, new QStandardItem("x"));
    const QString path = m_dir.filePath("cells.xml");
    QVERIFY(TgchFileProcessor::writeToFile(&models.channels, &models.tags, path));
    QScopedPointer<FileDataTree> reread(TgchFileProcessor::loadFileData(path));
    QCOMPARE(reread->ChannelList.size(), 2);
    const QStringList channel = dump(*reread->ChannelList.at(1));
    QCOMPARE(valueOf(channel, "Id"), QString("0"));
    QCOMPARE(valueOf(channel, "GroupID"), QString("0"));
    QCOMPARE(valueOf(channel, "Name"), QString("\"\""));
    QCOMPARE(reread->TagList.size(), 1);
    const QStringList tag = dump(*reread->TagList.first());
    QCOMPARE(valueOf(tag, "LoggingFreq"), QString("1234567.8910000001"));
    QCOMPARE(valueOf(tag, "Name"), QString("\"Tag\""));
    QCOMPARE(valueOf(tag, "Description"), QString("\"a\r\nb\rc\""));
}

void tst_TgchFileProcessor::largeFiles()
{
    // Several megabytes, so that the writers pass their output on in more than one block. The
    // tree deletes its records; the sanitizer build's leak checker reports any it misses.
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
        alarm->subscribers << i;
        tree.AlarmList << alarm;
    }
    roundTripBoth(&tree, 4 * 1024 * 1024);
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
