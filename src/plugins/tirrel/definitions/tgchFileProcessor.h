#pragma once

#include "tirrel_global.h"

#include <QList>
#include <QObject>
#include <QString>

#include <limits>

class QByteArray;
class QDomElement;
class QStandardItemModel;

// Channel, tag and alarm definitions, and the definition file that holds them.
//
// Definition file (XML, UTF-8 unless its declaration says otherwise):
//
//   <CTDefinitions>                  any root name is accepted when reading
//     <ChannelList> <Channel>...</Channel> ... </ChannelList>
//     <TagList>     <Tag>...</Tag> ...         </TagList>
//     <AlarmList>   <Alarm>...</Alarm> ...     </AlarmList>
//   </CTDefinitions>
//
// Each record element has one child element per member, named after the member, whose text
// (plain or CDATA) is the value. Only the first list element of each name and the first value
// element of each name count; order, attributes and unknown elements are ignored. Reading never
// fails: a missing value element reads as empty text, and texts that do not convert read as 0
// (8-bit members keep the low 8 bits; unsigned members read negative texts as 0; the alarm's
// limit and check values are parsed at single precision). Exceptions: a channel without "Id" or
// "GroupID" and a tag without "Kanal_Id" read -1 there, and a tag without "LogFilterOptions" (a
// JSON object {"filtertype", "refval1", "refval2"}, null for a non-finite value) keeps 0, NaN,
// NaN. Alarm "subscribers" are written as {3,17,42}, and real numbers with six significant
// digits ("nan" and "inf" included), so that they may come back rounded. Texts lose the
// characters XML cannot hold when written.
//
// A document that nests elements more than 1024 deep, declares entities other than plain texts
// or expands entities to more than 1,048,576 characters reads as a malformed one: no definition
// file comes near that, and the parser could not take it safely.
//
// The channel named "None" is the placeholder for "no channel": every tree read from a definition
// file starts with one built with the defaults below, and channels named "None" in the file are
// dropped, so a tree can be saved and read again without gaining placeholders.
//
// CSV tag list (loadTagsFromCSV): one tag per line, fields separated by ";" without quoting:
//   unused ; variable address ; tag name ; type name
// Lines without exactly four fields are skipped. Spaces are removed from the type name, which is
// matched by containment, case-sensitively, in this order: LOGIC (code 16, size 1), WORD (1, or
// 9 with alternate codes; size 2), FLOAT (6 or 14; size 4), LONG (3 or 11; size 4); anything
// else keeps code 2 and size 4.

// A communication channel. A new record holds the defaults given here; members marked "host"
// are not part of any file format.
struct TIRREL_EXPORT pKanalDef_t
{
    QString Name = QStringLiteral("Channel0");   // "None" is reserved for the placeholder
    qint32 Id = -1;
    qint32 MediaType = 0;
    qint32 SocketType = 0;
    qint32 ProtokolType = 0;
    QString ServerIP = QStringLiteral("127.0.0.1");
    quint32 ServerPORT = 1080;
    quint32 ListenPORT = 1081;
    QString FilterIP = QStringLiteral("0.0.0.0");
    quint32 Comport = 11;
    quint32 Baudrate = 115200;
    quint32 Databit = 8;
    quint32 Stopbit = 1;
    qint32 Paritybit = 0;
    quint32 ResponseTimeout = 6000;
    quint32 ConnectionTimeout = 6000;
    quint32 FrameTimeout = 3000;
    qint32 GroupID = -1;
    QString Station = QStringLiteral(" ");
    bool Enabled = true;
    QString KestrinPath;
    QString Description;
    QList<int> auxList;                         // host
};

// A tag (process variable) read through the channel named by KanalName / Kanal_Id; neither
// reference is checked. Defaults as given here; members marked "host" are in no file format.
struct TIRREL_EXPORT pEtiketDef_t
{
    QString Name = QStringLiteral("Tag");
    qint32 Id = -1;
    qint32 PollFrequency = 1000;
    QString DeviceAddress = QStringLiteral("1");
    QString VariableAddress = QStringLiteral("0");
    QString KanalName;
    qint32 Kanal_Id = -1;                       // -1: no channel
    qint32 VariableSize = 4;
    qint32 auxValue1 = 0;                       // host
    QString Macro;
    qint32 VariableType = 2;
    quint8 IsLogging = 0;
    quint8 PriLevel = 0;
    qint8 TagType = 0;
    qint8 SchedulerIndex = 0;
    double LoggingFreq = 0.0;
    qint32 LoggingMethod = 0;
    qint64 ReadRight1 = 0;
    qint64 ReadRight2 = 0;
    qint64 WriteRight1 = 0;
    qint64 WriteRight2 = 0;
    qint64 auxRight1 = 0;                       // host
    qint64 auxRight2 = 0;                       // host
    QString auxText;                            // host
    bool auxFlag = true;                        // host
    qint32 auxValue2 = 0;                       // host
    QString Keywords;
    bool Enabled = true;
    QString Description;
    QString UnitName;
    qint8 Protocolobjecttype = 0;
    qint64 Option = 0;
    // The three logging filter values travel together in the "LogFilterOptions" element.
    qint32 filtertype = 0;
    double refval1 = std::numeric_limits<double>::quiet_NaN();
    double refval2 = std::numeric_limits<double>::quiet_NaN();
    QString Equipment;
    QString Measuredentity;
    QString Location;
    QString Formula;
};

// An alarm defined on the tag tagID. A new alarm is disabled, with acknowledgement and logging on.
struct TIRREL_EXPORT pAlarmItem_t
{
    qint32 Id = -1;
    QString alarm_name;
    QString alarm_desc;
    QString alarm_class = QStringLiteral("General");
    qint8 enabled = 0;
    qint8 ackrequired = 1;
    qint8 islogging = 1;
    qint32 tagID = -1;
    qint8 alarm_type = 0;
    qint8 alarm_level = 0;
    qint8 comp_type = 0;
    double limitVal = 0.0;
    double checkVal1 = 0.0;
    double checkVal2 = 0.0;
    qint32 limit_tag_id = -1;
    qint32 limit_tag2_id = -1;
    qint64 readRight1 = 0;
    qint64 readRight2 = 0;
    QList<qint32> subscribers;
    qint32 currentState = 0;
};

// The definitions of one file. The tree owns every record in its lists and deletes them when it
// is destroyed (channels, then tags, then alarms, each list from the front), so a record must be
// in one list of one tree only. Trees are not copied.
struct TIRREL_EXPORT FileDataTree
{
    QList<pKanalDef_t *> ChannelList;
    QList<pEtiketDef_t *> TagList;
    QList<pAlarmItem_t *> AlarmList;

    FileDataTree() = default;
    ~FileDataTree();
    Q_DISABLE_COPY(FileDataTree)
};

// The host editor's record of a definition file open for editing. The library reads filePath,
// channelModel and tagModel only; the models are neither owned nor changed by it.
struct TIRREL_EXPORT OpenedFile
{
    qint32 auxValue1 = 0;                       // host
    QString filePath;
    qint32 auxValue2 = 0;                       // host
    QStandardItemModel *channelModel = nullptr;
    QStandardItemModel *tagModel = nullptr;
};

// A line of a CSV tag list that the import left out, or took as a tag although it looks wrong
// (see loadTagsFromCSV with a list to fill).
struct TIRREL_EXPORT CsvSkippedLine_t
{
    // What is wrong with the line. Only FieldCount lines are left out; the others are imported
    // like any other line, so that the tags are the same with or without the list.
    enum Problem {
        FieldCount,     // not exactly four fields
        Header,         // the first four-field line, when its type names no type and its
                        // address holds no digit: a row of column titles
        EmptyName,      // the name is empty or blanks only
        EmptyAddress,   // the address is empty or blanks only
        UnknownType,    // the type names no type: the tag keeps type code 2 and size 4
        Quoted          // a field starts with '"'; there is no quoting, the quotes stay in the
                        // field and a ";" between them separates fields all the same
    };

    int lineNumber = 0;     // from 1, lines being separated by line feeds
    int fieldCount = 0;     // pieces the line splits into at ";": 1 for an empty line
    QString text;           // the line as decoded, without the carriage return of a CR LF end
    Problem problem = FieldCount;
};

// Reading and writing definition files and importing CSV tag lists. All operations are static
// and keep no state; returned trees and records belong to the caller.
class TIRREL_EXPORT TgchFileProcessor : public QObject
{
    Q_OBJECT

public:
    explicit TgchFileProcessor(QObject *parent = nullptr);
    ~TgchFileProcessor() override;

    // Reads the definition file at path. Null only when the file cannot be read: missing, not a
    // regular file (a pipe or a device is never opened), no permission, or larger than
    // FileAccess::MaxFileSize; an empty or malformed file gives a tree holding just the
    // placeholder channel.
    static FileDataTree *loadFileData(const QString &path);
    // Reads a definition file's bytes. Never null; malformed bytes give a tree holding just the
    // placeholder channel.
    static FileDataTree *loadFileData(const QByteArray &data);

    // One record from one "Channel", "Tag" or "Alarm" element; never null (a null element reads
    // as one without children). Absent value elements read as the file format above says.
    static pKanalDef_t *channelDataFromXML(QDomElement *element);
    static pEtiketDef_t *tagDataFromXml(QDomElement *element);
    static pAlarmItem_t *alarmDataFromXml(QDomElement *element);

    // Writes every channel (the placeholder included), tag and alarm of tree, replacing the file
    // at path, as FileAccess (fileAccess.h) describes: the file is replaced whole or left as it
    // was, and not touched when it already holds the new content. Returns false when tree is
    // null, when the file cannot be written (read-only, its folder cannot take a new file) or
    // when writing fails (a full disk, a quota, the size limit), FileAccess::lastSaveError()
    // telling why; the tree is only read.
    static bool writeToFile(FileDataTree *tree, QString path);

    // Writes the editor's channel and tag table models as a definition file without alarms: the
    // text of a document model (UTF-8, declared, with the document type
    // "ChannelAndTagDefinitions", one space of indentation), so carriage returns in a cell come
    // back and ">" and '"' stay unescaped in texts. One row per record;
    // each cell's display text is written as it stands, so it must already be in the file's
    // value form; a missing cell is written as empty text and further columns are ignored.
    //   channels: Id, Name, MediaType, SocketType, ProtokolType, ServerIP, ServerPORT,
    //     ListenPORT, FilterIP, Comport, Baudrate, Databit, Stopbit, Paritybit, ResponseTimeout,
    //     ConnectionTimeout, FrameTimeout, GroupID, Station, Enabled, KestrinPath, Description
    //   tags: Id, Name, Kanal_Id, PollFrequency, DeviceAddress, VariableAddress, VariableSize,
    //     VariableType, Macro, IsLogging, PriLevel, TagType, SchedulerIndex, LoggingFreq,
    //     LoggingMethod, ReadRight1, ReadRight2, WriteRight1, WriteRight2, Keywords, Enabled,
    //     Description, UnitName, Protocolobjecttype, Option, LogFilterOptions, Equipment,
    //     Measuredentity, Location, Formula, KanalName
    // Same replacement and result rules as above; false when a model is null.
    static bool writeToFile(QStandardItemModel *channels, QStandardItemModel *tags, QString path);
    // The same with the models and path of file; false when file is null.
    static bool writeToFile(OpenedFile *file);

    // Builds tags from the CSV tag list at path (format above), decoded with the system's text
    // encoding unless the file starts with a byte-order mark. The tree holds tags only, no
    // placeholder channel; each tag keeps the record defaults apart from VariableAddress, Name,
    // VariableType, VariableSize and PollFrequency (3). alternateTypeCodes adds 8 to every type
    // code except LOGIC. Null only when the file cannot be read: missing, not a regular file (a
    // pipe or a device is never opened), no permission, or larger than FileAccess::MaxFileSize.
    static FileDataTree *loadTagsFromCSV(const QString &path, bool alternateTypeCodes);
    // The same import, also appending to `skipped` (when not null), in file order, every line
    // left out for not having exactly four fields, empty lines included, and every imported line
    // that looks wrong (CsvSkippedLine_t::Problem), once per problem in the order of that enum.
    // Lines left out are checked for quotes only. The empty piece after a final line feed is
    // the end of the file, not a line, and is not listed. When the file cannot be read the
    // result is null and `skipped` is left as it was.
    static FileDataTree *loadTagsFromCSV(const QString &path, bool alternateTypeCodes,
                                         QList<CsvSkippedLine_t> *skipped);
};
