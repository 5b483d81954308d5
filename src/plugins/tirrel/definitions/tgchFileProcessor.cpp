#include "tgchFileProcessor.h"

#include "fieldTable_p.h"
#include "fileAccess.h"
#include "safeSave_p.h"
#include "tgchFileFormat_p.h"
#include "xmlRead_p.h"

#include <QBuffer>
#include <QDomDocument>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardItemModel>
#include <QXmlStreamWriter>

#include <cmath>

FileDataTree::~FileDataTree()
{
    while (!ChannelList.isEmpty())
        delete ChannelList.takeFirst();
    while (!TagList.isEmpty())
        delete TagList.takeFirst();
    while (!AlarmList.isEmpty())
        delete AlarmList.takeFirst();
}

TgchFileProcessor::TgchFileProcessor(QObject *parent)
    : QObject(parent)
{
}

TgchFileProcessor::~TgchFileProcessor() = default;

namespace {

using namespace DefinitionXml;

const QString PlaceholderName = QStringLiteral("None");

// ---- Value forms -----------------------------------------------------------------------------

// "{3,17,42}": every "}" and "{" is dropped, the rest split at ","; pieces that are not
// decimal integers (empty ones too) are skipped.
struct Subscribers : Fields::Form
{
    static QList<qint32> parse(const XmlValue &value)
    {
        QString text = value.toString();
        text.remove(QLatin1Char('}'));
        text.remove(QLatin1Char('{'));
        QList<qint32> list;
        const QVector<QStringRef> pieces = text.splitRef(QLatin1Char(','));
        for (const QStringRef &piece : pieces) {
            bool ok = false;
            const int number = piece.toInt(&ok);
            if (ok)
                list.append(number);
        }
        return list;
    }
    static QString text(const QList<qint32> &list)
    {
        QStringList numbers;
        for (qint32 number : list)
            numbers << QString::number(number);
        return QLatin1Char('{') + numbers.join(QLatin1Char(',')) + QLatin1Char('}');
    }
};

// "LogFilterOptions": filtertype, refval1 and refval2 as one JSON object. A missing, malformed
// or non-object text leaves the record's values alone; inside an object, a missing or
// non-numeric key reads as 0 (a null reference value as well, which is how non-finite values
// are written).
const QLatin1String FilterTypeKey("filtertype");
const QLatin1String RefVal1Key("refval1");
const QLatin1String RefVal2Key("refval2");

void readFilterOptions(const Field<pEtiketDef_t> &, pEtiketDef_t &tag, const XmlValue &value)
{
    if (value.isMissing())
        return;
    const QJsonDocument json = QJsonDocument::fromJson(value.toString().toUtf8());
    if (!json.isObject())
        return;
    const QJsonObject options = json.object();
    tag.filtertype = options.value(FilterTypeKey).toInt(0); // a whole number in range, else 0
    tag.refval1 = options.value(RefVal1Key).toDouble(0.0);
    tag.refval2 = options.value(RefVal2Key).toDouble(0.0);
}

// A number as QJsonDocument writes it: a whole number up to 2^53 as an integer (QJsonValue holds
// it as one), a larger whole number below 2^64 in full, in the fewest digits that read back the
// same ("9223372036854776000"), any other finite number in the shortest form, and a non-finite
// one (which JSON cannot hold) as null.
QByteArray jsonNumber(double value)
{
    if (!std::isfinite(value))
        return QByteArrayLiteral("null");
    const double magnitude = std::abs(value);
    if (value == std::trunc(value) && magnitude < 18446744073709551616.0) {
        if (magnitude <= 9007199254740992.0)
            return QByteArray::number(qint64(value));
        return QByteArray::number(value, 'f', QLocale::FloatingPointShortest);
    }
    return QByteArray::number(value, 'g', QLocale::FloatingPointShortest);
}

// The object in QJsonDocument's indented layout, built directly: a document per tag would cost
// more than the rest of the tag.
QString filterOptionsText(const pEtiketDef_t &tag)
{
    const QByteArray json = "{\n    \"" + QByteArray(FilterTypeKey.data()) + "\": "
            + QByteArray::number(tag.filtertype) + ",\n    \"" + RefVal1Key.data() + "\": "
            + jsonNumber(tag.refval1) + ",\n    \"" + RefVal2Key.data() + "\": "
            + jsonNumber(tag.refval2) + "\n}\n";
    return QString::fromLatin1(json);
}

void filterOptionsFields(const Field<pEtiketDef_t> &, const pEtiketDef_t &tag, FieldCollector &out)
{
    out.add(&tag.filtertype, FilterTypeKey, tag.filtertype);
    out.add(&tag.refval1, RefVal1Key, tag.refval1);
    out.add(&tag.refval2, RefVal2Key, tag.refval2);
}

// ---- Record tables ---------------------------------------------------------------------------
// Rows in the order the record writer writes them. A missing value element reads as empty text
// (0, false, empty) unless the row says otherwise.

using K = pKanalDef_t;
using FK = FieldRows<K, EmptyWhenMissing>;
const FieldTable<K> &channelTable()
{
    static const FieldTable<K> rows = {
        FK::cdata<&K::Name>(Name),
        FK::element<&K::Id>(Id, "-1"),
        FK::element<&K::MediaType>(MediaType),
        FK::element<&K::SocketType>(SocketType),
        FK::element<&K::ProtokolType>(ProtokolType),
        FK::cdata<&K::ServerIP>(ServerIP),
        FK::element<&K::ServerPORT>(ServerPORT),
        FK::element<&K::ListenPORT>(ListenPORT),
        FK::element<&K::FilterIP>(FilterIP),
        FK::element<&K::Comport>(Comport),
        FK::element<&K::Baudrate>(Baudrate),
        FK::element<&K::Databit>(Databit),
        FK::element<&K::Stopbit>(Stopbit),
        FK::element<&K::Paritybit>(Paritybit),
        FK::element<&K::ResponseTimeout>(ResponseTimeout),
        FK::element<&K::ConnectionTimeout>(ConnectionTimeout),
        FK::element<&K::FrameTimeout>(FrameTimeout),
        FK::element<&K::GroupID>(GroupID, "-1"),
        FK::element<&K::Station>(Station),
        FK::element<&K::Enabled>(Enabled),
        FK::element<&K::KestrinPath>(KestrinPath),
        FK::element<&K::Description>(Description),
    };
    return rows;
}

// PollFrequency and VariableSize read as unsigned and are written as they are held, signed.
using E = pEtiketDef_t;
using FE = FieldRows<E, EmptyWhenMissing>;
const FieldTable<E> &tagTable()
{
    static const FieldTable<E> rows = {
        FE::cdata<&E::Name>(Name),
        FE::element<&E::PollFrequency, Fields::UInt>(PollFrequency),
        FE::element<&E::KanalName>(KanalName),
        FE::element<&E::Kanal_Id>(Kanal_Id, "-1"),
        FE::element<&E::DeviceAddress>(DeviceAddress),
        FE::element<&E::VariableAddress>(VariableAddress),
        FE::element<&E::VariableSize, Fields::UInt>(VariableSize),
        FE::element<&E::VariableType>(VariableType),
        FE::element<&E::Id>(Id),
        FE::cdata<&E::Macro>(Macro),
        FE::element<&E::IsLogging>(IsLogging),
        FE::element<&E::PriLevel>(PriLevel),
        FE::element<&E::TagType>(TagType),
        FE::element<&E::SchedulerIndex>(SchedulerIndex),
        FE::element<&E::LoggingFreq>(LoggingFreq),
        FE::element<&E::LoggingMethod>(LoggingMethod),
        FE::element<&E::ReadRight1>(ReadRight1),
        FE::element<&E::ReadRight2>(ReadRight2),
        FE::element<&E::WriteRight1>(WriteRight1),
        FE::element<&E::WriteRight2>(WriteRight2),
        FE::element<&E::Keywords>(Keywords),
        FE::element<&E::Enabled>(Enabled),
        FE::element<&E::Description>(Description),
        FE::element<&E::UnitName>(UnitName),
        FE::element<&E::Protocolobjecttype>(Protocolobjecttype),
        FE::element<&E::Option>(Option),
        {LogFilterOptions, {}, nullptr, false, nullptr, &readFilterOptions, &filterOptionsText,
         &filterOptionsFields, nullptr},
        FE::element<&E::Equipment>(Equipment),
        FE::element<&E::Measuredentity>(Measuredentity),
        FE::element<&E::Formula>(Formula),
        FE::element<&E::Location>(Location),
    };
    return rows;
}

// The alarm's limit and check values are parsed at single precision.
using A = pAlarmItem_t;
using FA = FieldRows<A, EmptyWhenMissing>;
const FieldTable<A> &alarmTable()
{
    static const FieldTable<A> rows = {
        FA::element<&A::Id>(Id),
        FA::cdata<&A::alarm_name>("alarm_name"),
        FA::element<&A::alarm_desc>("alarm_desc"),
        FA::element<&A::alarm_class>("alarm_class"),
        FA::element<&A::enabled>("enabled"),
        FA::element<&A::ackrequired>("ackrequired"),
        FA::element<&A::islogging>("islogging"),
        FA::element<&A::tagID>("tagID"),
        FA::element<&A::alarm_type>("alarm_type"),
        FA::element<&A::alarm_level>("alarm_level"),
        FA::element<&A::comp_type>("comp_type"),
        FA::element<&A::limitVal, Fields::SingleReal>("limitVal"),
        FA::element<&A::checkVal1, Fields::SingleReal>("checkVal1"),
        FA::element<&A::checkVal2, Fields::SingleReal>("checkVal2"),
        FA::element<&A::limit_tag_id>("limit_tag_id"),
        FA::element<&A::limit_tag2_id>("limit_tag2_id"),
        FA::element<&A::readRight1>("readRight1"),
        FA::element<&A::readRight2>("readRight2"),
        FA::element<&A::subscribers, Subscribers>("subscribers"),
        FA::element<&A::currentState>("currentState"),
    };
    return rows;
}

template <class R, class Node>
R *readDefinition(const Node &element, const FieldTable<R> &table)
{
    static const FieldReader<R> reader(table); // one table per record type
    auto *record = new R;
    reader.read(element, *record);
    return record;
}

// Records of the root's first list element named `list`, one per child named `element`.
template <class Node, class Read>
void forEachRecord(const Node &root, const XmlName &list, const XmlName &element, Read read)
{
    const Node listElement = root.firstChildElement(list);
    for (Node e = listElement.firstChildElement(element); !e.isNull();
         e = e.nextSiblingElement(element))
        read(e);
}

// The definitions under `root` (whatever its name) added to `tree`; channels named "None" are
// left out, since the tree has its placeholder already.
template <class Node>
void readDefinitions(const Node &root, FileDataTree *tree)
{
    forEachRecord(root, ChannelList, Channel, [tree](const Node &e) {
        pKanalDef_t *channel = readDefinition(e, channelTable());
        if (channel->Name == PlaceholderName)
            delete channel;
        else
            tree->ChannelList.append(channel);
    });
    forEachRecord(root, TagList, Tag, [tree](const Node &e) {
        tree->TagList.append(readDefinition(e, tagTable()));
    });
    forEachRecord(root, AlarmList, Alarm, [tree](const Node &e) {
        tree->AlarmList.append(readDefinition(e, alarmTable()));
    });
}

// ---- Record writer ---------------------------------------------------------------------------

// An auto-formatting XML stream writer whose output gathers in memory and goes to the file in
// large blocks: the writer's many small writes cost much less on a plain buffer than on a file.
class BlockWriter
{
public:
    explicit BlockWriter(QIODevice &target)
        : m_target(target)
    {
        m_buffer.open(QIODevice::WriteOnly);
        m_xml.setDevice(&m_buffer);
        m_xml.setAutoFormatting(true);
    }

    QXmlStreamWriter &xml() { return m_xml; }

    // Hands what has gathered to the file once there is enough of it, or all of it when final.
    void flush(bool final = false)
    {
        constexpr qint64 blockSize = 1 << 20;
        if (!final && m_buffer.pos() < blockSize)
            return;
        const qint64 size = m_buffer.pos();
        if (!m_failed)
            m_failed = m_target.write(m_buffer.data().constData(), size) != size;
        m_buffer.seek(0);   // the buffer is overwritten from its start, keeping its capacity
    }

    // True when every block reached the file whole.
    bool written() const { return !m_failed && !m_xml.hasError(); }

private:
    QIODevice &m_target;
    QBuffer m_buffer;
    QXmlStreamWriter m_xml;
    bool m_failed = false;
};

template <class R>
void writeList(BlockWriter &out, const XmlName &list, const XmlName &element,
               const FieldTable<R> &table, const QList<R *> &records)
{
    QXmlStreamWriter &w = out.xml();
    w.writeStartElement(list);
    for (const R *record : records) {
        if (!record)
            continue;
        w.writeStartElement(element);
        writeFields(w, *record, table);
        w.writeEndElement();
        out.flush();
    }
    w.writeEndElement();
}

// ---- Export from the editor's table models ---------------------------------------------------
// For each element in the order written, the model column it comes from and whether it is
// written as CDATA. This order and CDATA set differ from the record writer's on purpose: both
// kinds of file are in use and read the same.

struct Column
{
    const XmlName &element;
    int column;
    bool cdata;
};

const Column channelColumns[] = {
    {Name, 1, true}, {Id, 0, false}, {MediaType, 2, false}, {SocketType, 3, false},
    {ProtokolType, 4, false}, {ServerIP, 5, true}, {ServerPORT, 6, false},
    {ListenPORT, 7, false}, {FilterIP, 8, true}, {Comport, 9, false}, {Baudrate, 10, false},
    {Databit, 11, false}, {Stopbit, 12, false}, {Paritybit, 13, false},
    {ResponseTimeout, 14, false}, {ConnectionTimeout, 15, false}, {FrameTimeout, 16, false},
    {GroupID, 17, false}, {Station, 18, false}, {Enabled, 19, false}, {KestrinPath, 20, false},
    {Description, 21, false},
};

const Column tagColumns[] = {
    {Name, 1, true}, {PollFrequency, 3, false}, {KanalName, 30, true},
    {DeviceAddress, 4, false}, {VariableAddress, 5, false}, {VariableSize, 6, false},
    {VariableType, 7, false}, {Id, 0, false}, {Macro, 8, true}, {Kanal_Id, 2, false},
    {IsLogging, 9, false}, {PriLevel, 10, false}, {TagType, 11, false},
    {SchedulerIndex, 12, false}, {LoggingFreq, 13, false}, {LoggingMethod, 14, false},
    {ReadRight1, 15, false}, {ReadRight2, 16, false}, {WriteRight1, 17, false},
    {WriteRight2, 18, false}, {Keywords, 19, false}, {Enabled, 20, false},
    {Description, 21, false}, {UnitName, 22, false}, {Protocolobjecttype, 23, false},
    {Option, 24, false}, {LogFilterOptions, 25, false}, {Equipment, 26, false},
    {Measuredentity, 27, false}, {Location, 28, false}, {Formula, 29, false},
};

template <std::size_t N>
void writeRows(DomWriter &w, const XmlName &list, const XmlName &element,
               const Column (&columns)[N], const QStandardItemModel &model)
{
    w.writeStartElement(list);
    for (int row = 0; row < model.rowCount(); ++row) {
        w.writeStartElement(element);
        for (const Column &c : columns) {
            const QStandardItem *item = model.item(row, c.column);
            const QString text = item ? item->text() : QString();
            if (c.cdata)
                writeCData(w, c.element, text);
            else
                writeText(w, c.element, text);
        }
        w.writeEndElement();
    }
    w.writeEndElement();
}

// Both writers replace the file safely (safeSave_p.h), in text mode.
template <class Write>
bool writeDefinitionFile(const QString &path, Write write)
{
    return succeeded(saveFileSafely(path, QIODevice::Text, write));
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Definition file reader and record writer

FileDataTree *TgchFileProcessor::loadFileData(const QString &path)
{
    QByteArray data;
    if (FileAccess::readFile(path, &data) != FileAccess::Read)
        return nullptr;
    return loadFileData(data);
}

FileDataTree *TgchFileProcessor::loadFileData(const QByteArray &data)
{
    auto *tree = new FileDataTree;
    auto *placeholder = new pKanalDef_t;
    placeholder->Name = PlaceholderName;
    tree->ChannelList.append(placeholder);

    readXmlDocument(data, [tree](const auto &root) { readDefinitions(root, tree); });
    return tree;
}

pKanalDef_t *TgchFileProcessor::channelDataFromXML(QDomElement *element)
{
    return readDefinition(element ? DomNode(*element) : DomNode(), channelTable());
}

pEtiketDef_t *TgchFileProcessor::tagDataFromXml(QDomElement *element)
{
    return readDefinition(element ? DomNode(*element) : DomNode(), tagTable());
}

pAlarmItem_t *TgchFileProcessor::alarmDataFromXml(QDomElement *element)
{
    return readDefinition(element ? DomNode(*element) : DomNode(), alarmTable());
}

bool TgchFileProcessor::writeToFile(FileDataTree *tree, QString path)
{
    if (!tree)
        return false;
    return writeDefinitionFile(path, [tree](QIODevice &device) {
        BlockWriter out(device);
        out.xml().writeStartDocument();
        out.xml().writeStartElement(Root);
        writeList(out, ChannelList, Channel, channelTable(), tree->ChannelList);
        writeList(out, TagList, Tag, tagTable(), tree->TagList);
        writeList(out, AlarmList, Alarm, alarmTable(), tree->AlarmList);
        out.xml().writeEndElement();    // </CTDefinitions>
        out.xml().writeEndDocument();
        out.flush(true);
        return out.written();
    });
}

// ---------------------------------------------------------------------------------------------
// Export from the editor's table models

bool TgchFileProcessor::writeToFile(QStandardItemModel *channels, QStandardItemModel *tags,
                                    QString path)
{
    if (!channels || !tags)
        return false;
    // A document model, written with an indentation of one space. Declared UTF-8, so that
    // names outside ASCII read back the same whatever the system's text encoding.
    QDomDocument document(DocType);
    document.appendChild(document.createProcessingInstruction(
            QStringLiteral("xml"), QStringLiteral("version=\"1.0\" encoding=\"UTF-8\"")));
    DomWriter w(document);
    w.writeStartElement(Root);
    writeRows(w, ChannelList, Channel, channelColumns, *channels);
    writeRows(w, TagList, Tag, tagColumns, *tags);
    w.writeEndElement();    // </CTDefinitions>
    const QByteArray bytes = document.toString(1).toUtf8();
    return writeDefinitionFile(path, [&bytes](QIODevice &device) {
        return device.write(bytes) == bytes.size();
    });
}

bool TgchFileProcessor::writeToFile(OpenedFile *file)
{
    if (!file)
        return false;
    return writeToFile(file->channelModel, file->tagModel, file->filePath);
}

RecordFields fieldsOf(const pKanalDef_t &channel)
{
    return collectFields(channel, channelTable());
}

RecordFields fieldsOf(const pEtiketDef_t &tag)
{
    return collectFields(tag, tagTable());
}

RecordFields fieldsOf(const pAlarmItem_t &alarm)
{
    return collectFields(alarm, alarmTable());
}
