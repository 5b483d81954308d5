#include "tgchFileProcessor.h"

#include "safeSave_p.h"
#include "xmlWrite_p.h"
#include "xmlLimits_p.h"

#include <QBuffer>
#include <QDomDocument>
#include <QDomElement>
#include <QFile>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardItemModel>
#include <QXmlStreamWriter>

#include <array>
#include <cmath>
#include <limits>
#include <type_traits>

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

const QString kRoot = QStringLiteral("CTDefinitions");
const QString kDocType = QStringLiteral("ChannelAndTagDefinitions");
const QString kChannelList = QStringLiteral("ChannelList");
const QString kTagList = QStringLiteral("TagList");
const QString kAlarmList = QStringLiteral("AlarmList");
const QString kChannel = QStringLiteral("Channel");
const QString kTag = QStringLiteral("Tag");
const QString kAlarm = QStringLiteral("Alarm");
const QString kPlaceholderName = QStringLiteral("None");

// ---------------------------------------------------------------------------------------------
// Value forms of the definition file. Each record member is one row of a field table: its
// element name, how its text is read, and whether the record writer puts it in CDATA. The
// writer formats a value by the member's type (so PollFrequency, read as unsigned, is written
// signed).

enum class Form {
    Text,
    Int,
    IntOrMinusOne,  // as Int, but an absent element reads -1
    UInt,
    Int8,           // read as Int, low 8 bits kept
    Flag,
    Int64,
    Real,
    SingleReal,     // parsed at single precision
    Subscribers,
};

enum Section { Plain, CData };

template <class R>
struct Field
{
    QString name;
    void (*read)(R &record, const QDomNode &element);   // element is null when absent
    void (*write)(QXmlStreamWriter &w, const Field &field, const R &record);
    Section section;
};

template <class>
struct MemberOf;
template <class C, class V>
struct MemberOf<V C::*>
{
    using Class = C;
    using Value = V;
};
template <auto M>
using ClassOf = typename MemberOf<decltype(M)>::Class;
template <auto M>
using ValueOf = typename MemberOf<decltype(M)>::Value;

QList<qint32> parseSubscribers(QString text)
{
    text.remove(QLatin1Char('}'));
    text.remove(QLatin1Char('{'));
    QList<qint32> list;
    const QVector<QStringRef> pieces = text.splitRef(QLatin1Char(','));
    for (const QStringRef &piece : pieces) {
        bool ok = false;
        const int value = piece.toInt(&ok);
        if (ok)
            list.append(value);
    }
    return list;
}

QString formatSubscribers(const QList<qint32> &list)
{
    QString text = QStringLiteral("{");
    for (int i = 0; i < list.size(); ++i) {
        if (i > 0)
            text += QLatin1Char(',');
        text += QString::number(list.at(i));
    }
    return text + QLatin1Char('}');
}

// Texts lose the characters XML cannot hold (as in page files), so that a written file always
// reads again: the stream writer would put them into CDATA sections as they are, and stop
// writing anything sensible after an unpaired surrogate.
void writeText(QXmlStreamWriter &w, const QString &name, const QString &text)
{
    w.writeTextElement(name, xmlSafe(text));
}

void writeCData(QXmlStreamWriter &w, const QString &name, const QString &text)
{
    w.writeStartElement(name);
    w.writeCDATA(xmlSafe(text));   // splits a "]]>" inside the text over two sections
    w.writeEndElement();
}

// The text of a value element: all its text and CDATA content. The usual single text child is
// taken as it is, without building a new string.
QString elementText(const QDomNode &element)
{
    const QDomNode first = element.firstChild();
    if (first.isNull())
        return QString();
    if (first.isText() && first.nextSibling().isNull())
        return first.nodeValue();
    return element.toElement().text();
}

// Number conversions. Plain decimal texts, by far the most common, are converted here; anything
// else (a sign, spaces, too many digits to be sure of the range) goes through QString's
// conversion, whose rules stay the reference: what does not convert reads as 0.
template <class T>
bool convertPlainDecimal(const QString &text, T &value)
{
    constexpr int maxDigits = std::numeric_limits<T>::digits10;
    const int size = text.size();
    const QChar *c = text.constData();
    const bool negative = std::is_signed<T>::value && size > 1 && c[0] == QLatin1Char('-');
    const int first = negative ? 1 : 0;
    if (size == first || size - first > maxDigits)
        return false;
    T v = 0;
    for (int i = first; i < size; ++i) {
        const ushort digit = c[i].unicode() - '0';
        if (digit > 9)
            return false;
        v = T(v * 10 + T(digit));
    }
    value = negative ? T(-v) : v;
    return true;
}

qint32 toInt32(const QString &text)
{
    qint32 value = 0;
    return convertPlainDecimal(text, value) ? value : text.toInt();
}

quint32 toUInt32(const QString &text)
{
    quint32 value = 0;
    return convertPlainDecimal(text, value) ? value : text.toUInt();
}

qint64 toInt64(const QString &text)
{
    qint64 value = 0;
    return convertPlainDecimal(text, value) ? value : text.toLongLong();
}

template <auto M, Form F>
void readValue(ClassOf<M> &record, const QDomNode &element)
{
    using V = ValueOf<M>;
    if constexpr (F == Form::IntOrMinusOne) {
        if (element.isNull()) {
            record.*M = -1;
            return;
        }
    }
    const QString text = elementText(element);
    if constexpr (F == Form::Text)
        record.*M = text;
    else if constexpr (F == Form::Int || F == Form::IntOrMinusOne || F == Form::Int8)
        record.*M = static_cast<V>(toInt32(text));
    else if constexpr (F == Form::UInt)
        record.*M = static_cast<V>(toUInt32(text));
    else if constexpr (F == Form::Flag)
        record.*M = toInt32(text) != 0;
    else if constexpr (F == Form::Int64)
        record.*M = toInt64(text);
    else if constexpr (F == Form::Real)
        record.*M = text.toDouble();
    else if constexpr (F == Form::SingleReal)
        record.*M = static_cast<double>(text.toFloat());
    else if constexpr (F == Form::Subscribers)
        record.*M = parseSubscribers(text);
}

template <auto M, Form F>
void writeValue(QXmlStreamWriter &w, const Field<ClassOf<M>> &field, const ClassOf<M> &record)
{
    const auto &value = record.*M;
    if constexpr (F == Form::Text) {
        if (field.section == CData)
            writeCData(w, field.name, value);
        else
            writeText(w, field.name, value);
    } else if constexpr (F == Form::Real || F == Form::SingleReal) {
        writeText(w, field.name, QString::number(value, 'g', 6));   // nan, inf as they come
    } else if constexpr (F == Form::Subscribers) {
        writeText(w, field.name, formatSubscribers(value));
    } else {
        // Integers of every width and flags; 8-bit and bool values promote to int.
        writeText(w, field.name, QString::number(value));
    }
}

template <auto M, Form F>
Field<ClassOf<M>> field(const char *name, Section section = Plain)
{
    return { QString::fromLatin1(name), &readValue<M, F>, &writeValue<M, F>, section };
}

// "LogFilterOptions": filtertype, refval1 and refval2 as one JSON object. A missing, malformed
// or non-object text leaves the record's values alone; inside an object, a missing or non-numeric
// key reads as 0 (a null reference value as well, which is how non-finite values are written).
qint32 wholeNumber(const QJsonValue &value)
{
    const double d = value.toDouble(0.0);
    if (d != std::trunc(d) || d < std::numeric_limits<qint32>::min()
        || d > std::numeric_limits<qint32>::max())
        return 0;
    return static_cast<qint32>(d);
}

void readFilterOptions(pEtiketDef_t &tag, const QDomNode &element)
{
    if (element.isNull())
        return;
    const QJsonDocument json = QJsonDocument::fromJson(elementText(element).toUtf8());
    if (!json.isObject())
        return;
    const QJsonObject options = json.object();
    tag.filtertype = wholeNumber(options.value(QLatin1String("filtertype")));
    tag.refval1 = options.value(QLatin1String("refval1")).toDouble(0.0);
    tag.refval2 = options.value(QLatin1String("refval2")).toDouble(0.0);
}

// The object in QJsonDocument's indented layout, built directly: a document per tag would cost
// more than the rest of the tag. JSON has no NaN or infinity, so those are written as null.
QByteArray jsonNumber(double value)
{
    if (!std::isfinite(value))
        return QByteArrayLiteral("null");
    return QByteArray::number(value, 'g', QLocale::FloatingPointShortest);
}

void writeFilterOptions(QXmlStreamWriter &w, const Field<pEtiketDef_t> &field,
                        const pEtiketDef_t &tag)
{
    const QByteArray json = "{\n    \"filtertype\": " + QByteArray::number(tag.filtertype)
                            + ",\n    \"refval1\": " + jsonNumber(tag.refval1)
                            + ",\n    \"refval2\": " + jsonNumber(tag.refval2) + "\n}\n";
    writeText(w, field.name, QString::fromLatin1(json));
}

// Rows in the order the record writer writes them; the reader does not mind the order.
using K = pKanalDef_t;
const Field<K> channelFields[] = {
    field<&K::Name, Form::Text>("Name", CData),
    field<&K::Id, Form::IntOrMinusOne>("Id"),
    field<&K::MediaType, Form::Int>("MediaType"),
    field<&K::SocketType, Form::Int>("SocketType"),
    field<&K::ProtokolType, Form::Int>("ProtokolType"),
    field<&K::ServerIP, Form::Text>("ServerIP", CData),
    field<&K::ServerPORT, Form::UInt>("ServerPORT"),
    field<&K::ListenPORT, Form::UInt>("ListenPORT"),
    field<&K::FilterIP, Form::Text>("FilterIP"),
    field<&K::Comport, Form::UInt>("Comport"),
    field<&K::Baudrate, Form::UInt>("Baudrate"),
    field<&K::Databit, Form::UInt>("Databit"),
    field<&K::Stopbit, Form::UInt>("Stopbit"),
    field<&K::Paritybit, Form::Int>("Paritybit"),
    field<&K::ResponseTimeout, Form::UInt>("ResponseTimeout"),
    field<&K::ConnectionTimeout, Form::UInt>("ConnectionTimeout"),
    field<&K::FrameTimeout, Form::UInt>("FrameTimeout"),
    field<&K::GroupID, Form::IntOrMinusOne>("GroupID"),
    field<&K::Station, Form::Text>("Station"),
    field<&K::Enabled, Form::Flag>("Enabled"),
    field<&K::KestrinPath, Form::Text>("KestrinPath"),
    field<&K::Description, Form::Text>("Description"),
};

using E = pEtiketDef_t;
const Field<E> tagFields[] = {
    field<&E::Name, Form::Text>("Name", CData),
    field<&E::PollFrequency, Form::UInt>("PollFrequency"),
    field<&E::KanalName, Form::Text>("KanalName"),
    field<&E::Kanal_Id, Form::IntOrMinusOne>("Kanal_Id"),
    field<&E::DeviceAddress, Form::Text>("DeviceAddress"),
    field<&E::VariableAddress, Form::Text>("VariableAddress"),
    field<&E::VariableSize, Form::UInt>("VariableSize"),
    field<&E::VariableType, Form::Int>("VariableType"),
    field<&E::Id, Form::Int>("Id"),
    field<&E::Macro, Form::Text>("Macro", CData),
    field<&E::IsLogging, Form::Int8>("IsLogging"),
    field<&E::PriLevel, Form::Int8>("PriLevel"),
    field<&E::TagType, Form::Int8>("TagType"),
    field<&E::SchedulerIndex, Form::Int8>("SchedulerIndex"),
    field<&E::LoggingFreq, Form::Real>("LoggingFreq"),
    field<&E::LoggingMethod, Form::Int>("LoggingMethod"),
    field<&E::ReadRight1, Form::Int64>("ReadRight1"),
    field<&E::ReadRight2, Form::Int64>("ReadRight2"),
    field<&E::WriteRight1, Form::Int64>("WriteRight1"),
    field<&E::WriteRight2, Form::Int64>("WriteRight2"),
    field<&E::Keywords, Form::Text>("Keywords"),
    field<&E::Enabled, Form::Flag>("Enabled"),
    field<&E::Description, Form::Text>("Description"),
    field<&E::UnitName, Form::Text>("UnitName"),
    field<&E::Protocolobjecttype, Form::Int8>("Protocolobjecttype"),
    field<&E::Option, Form::Int64>("Option"),
    { QStringLiteral("LogFilterOptions"), &readFilterOptions, &writeFilterOptions, Plain },
    field<&E::Equipment, Form::Text>("Equipment"),
    field<&E::Measuredentity, Form::Text>("Measuredentity"),
    field<&E::Formula, Form::Text>("Formula"),
    field<&E::Location, Form::Text>("Location"),
};

using A = pAlarmItem_t;
const Field<A> alarmFields[] = {
    field<&A::Id, Form::Int>("Id"),
    field<&A::alarm_name, Form::Text>("alarm_name", CData),
    field<&A::alarm_desc, Form::Text>("alarm_desc"),
    field<&A::alarm_class, Form::Text>("alarm_class"),
    field<&A::enabled, Form::Int8>("enabled"),
    field<&A::ackrequired, Form::Int8>("ackrequired"),
    field<&A::islogging, Form::Int8>("islogging"),
    field<&A::tagID, Form::Int>("tagID"),
    field<&A::alarm_type, Form::Int8>("alarm_type"),
    field<&A::alarm_level, Form::Int8>("alarm_level"),
    field<&A::comp_type, Form::Int8>("comp_type"),
    field<&A::limitVal, Form::SingleReal>("limitVal"),
    field<&A::checkVal1, Form::SingleReal>("checkVal1"),
    field<&A::checkVal2, Form::SingleReal>("checkVal2"),
    field<&A::limit_tag_id, Form::Int>("limit_tag_id"),
    field<&A::limit_tag2_id, Form::Int>("limit_tag2_id"),
    field<&A::readRight1, Form::Int64>("readRight1"),
    field<&A::readRight2, Form::Int64>("readRight2"),
    field<&A::subscribers, Form::Subscribers>("subscribers"),
    field<&A::currentState, Form::Int>("currentState"),
};

// One record from its element, in one pass over its children: each value element is matched to
// its row by name and read at once; the first element of a name wins, and rows without an element
// are read as absent at the end. Files mostly list the elements in the writer's order, so the
// row after the last match is tried before the look-up by name.
template <class R, std::size_t N>
R *readRecord(const QDomElement *element, const Field<R> (&fields)[N])
{
    static const QHash<QString, int> rowOfName = [&fields] {
        QHash<QString, int> rows;
        for (std::size_t i = 0; i < N; ++i)
            rows.insert(fields[i].name, int(i));
        return rows;
    }();

    R *record = new R;
    std::array<bool, N> seen{};
    if (element) {
        std::size_t next = 0;
        for (QDomNode child = element->firstChild(); !child.isNull(); child = child.nextSibling()) {
            if (!child.isElement())
                continue;
            const QString name = child.nodeName();
            std::size_t row = next;
            if (row >= N || fields[row].name != name) {
                const auto found = rowOfName.constFind(name);
                if (found == rowOfName.constEnd())
                    continue;
                row = std::size_t(*found);
            }
            next = row + 1;
            if (!seen[row]) {
                seen[row] = true;
                fields[row].read(*record, child);
            }
        }
    }
    for (std::size_t i = 0; i < N; ++i) {
        if (!seen[i])
            fields[i].read(*record, QDomNode());
    }
    return record;
}

// Calls read for each child element named `element` of the root's first child named `list`.
template <class Read>
void forEachRecordElement(const QDomElement &root, const QString &list, const QString &element,
                          Read read)
{
    const QDomElement listElement = root.firstChildElement(list);
    for (QDomElement e = listElement.firstChildElement(element); !e.isNull();
         e = e.nextSiblingElement(element))
        read(e);
}

template <class R, std::size_t N>
void writeRecord(QXmlStreamWriter &w, const QString &element, const Field<R> (&fields)[N],
                 const R &record)
{
    w.writeStartElement(element);
    for (const Field<R> &f : fields)
        f.write(w, f, record);
    w.writeEndElement();
}

// An auto-formatting XML stream writer whose output gathers in memory and goes to the file in
// large blocks: the writer's many small writes cost much less on a plain buffer than on a file.
class BlockWriter
{
public:
    BlockWriter(QIODevice &target, int indent)
        : m_target(target)
    {
        m_buffer.open(QIODevice::WriteOnly);
        m_xml.setDevice(&m_buffer);
        m_xml.setAutoFormatting(true);
        m_xml.setAutoFormattingIndent(indent);
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

template <class R, std::size_t N>
void writeList(BlockWriter &out, const QString &list, const QString &element,
               const Field<R> (&fields)[N], const QList<R *> &records)
{
    out.xml().writeStartElement(list);
    for (const R *record : records) {
        if (!record)
            continue;
        writeRecord(out.xml(), element, fields, *record);
        out.flush();
    }
    out.xml().writeEndElement();
}

// ---------------------------------------------------------------------------------------------
// The export from the editor's table models: for each element in the order written, the model
// column it comes from and whether it is written as CDATA. This order and CDATA set differ from
// the record writer's on purpose: both kinds of file are in use and read the same.

struct Column
{
    QString element;
    int column;
    Section section;
};

const Column channelColumns[] = {
    {QStringLiteral("Name"), 1, CData},
    {QStringLiteral("Id"), 0, Plain},
    {QStringLiteral("MediaType"), 2, Plain},
    {QStringLiteral("SocketType"), 3, Plain},
    {QStringLiteral("ProtokolType"), 4, Plain},
    {QStringLiteral("ServerIP"), 5, CData},
    {QStringLiteral("ServerPORT"), 6, Plain},
    {QStringLiteral("ListenPORT"), 7, Plain},
    {QStringLiteral("FilterIP"), 8, CData},
    {QStringLiteral("Comport"), 9, Plain},
    {QStringLiteral("Baudrate"), 10, Plain},
    {QStringLiteral("Databit"), 11, Plain},
    {QStringLiteral("Stopbit"), 12, Plain},
    {QStringLiteral("Paritybit"), 13, Plain},
    {QStringLiteral("ResponseTimeout"), 14, Plain},
    {QStringLiteral("ConnectionTimeout"), 15, Plain},
    {QStringLiteral("FrameTimeout"), 16, Plain},
    {QStringLiteral("GroupID"), 17, Plain},
    {QStringLiteral("Station"), 18, Plain},
    {QStringLiteral("Enabled"), 19, Plain},
    {QStringLiteral("KestrinPath"), 20, Plain},
    {QStringLiteral("Description"), 21, Plain},
};

const Column tagColumns[] = {
    {QStringLiteral("Name"), 1, CData},
    {QStringLiteral("PollFrequency"), 3, Plain},
    {QStringLiteral("KanalName"), 30, CData},
    {QStringLiteral("DeviceAddress"), 4, Plain},
    {QStringLiteral("VariableAddress"), 5, Plain},
    {QStringLiteral("VariableSize"), 6, Plain},
    {QStringLiteral("VariableType"), 7, Plain},
    {QStringLiteral("Id"), 0, Plain},
    {QStringLiteral("Macro"), 8, CData},
    {QStringLiteral("Kanal_Id"), 2, Plain},
    {QStringLiteral("IsLogging"), 9, Plain},
    {QStringLiteral("PriLevel"), 10, Plain},
    {QStringLiteral("TagType"), 11, Plain},
    {QStringLiteral("SchedulerIndex"), 12, Plain},
    {QStringLiteral("LoggingFreq"), 13, Plain},
    {QStringLiteral("LoggingMethod"), 14, Plain},
    {QStringLiteral("ReadRight1"), 15, Plain},
    {QStringLiteral("ReadRight2"), 16, Plain},
    {QStringLiteral("WriteRight1"), 17, Plain},
    {QStringLiteral("WriteRight2"), 18, Plain},
    {QStringLiteral("Keywords"), 19, Plain},
    {QStringLiteral("Enabled"), 20, Plain},
    {QStringLiteral("Description"), 21, Plain},
    {QStringLiteral("UnitName"), 22, Plain},
    {QStringLiteral("Protocolobjecttype"), 23, Plain},
    {QStringLiteral("Option"), 24, Plain},
    {QStringLiteral("LogFilterOptions"), 25, Plain},
    {QStringLiteral("Equipment"), 26, Plain},
    {QStringLiteral("Measuredentity"), 27, Plain},
    {QStringLiteral("Location"), 28, Plain},
    {QStringLiteral("Formula"), 29, Plain},
};

// Both writers replace the file safely (safeSave_p.h), in text mode.
template <class Write>
bool writeDefinitionFile(const QString &path, Write write)
{
    return saveFileSafely(path, QIODevice::Text, write) == SaveResult::Saved;
}

template <std::size_t N>
void writeRows(BlockWriter &out, const QString &list, const QString &element,
               const Column (&columns)[N], const QStandardItemModel &model)
{
    QXmlStreamWriter &w = out.xml();
    w.writeStartElement(list);
    for (int row = 0; row < model.rowCount(); ++row) {
        w.writeStartElement(element);
        for (const Column &c : columns) {
            const QStandardItem *item = model.item(row, c.column);
            const QString text = item ? item->text() : QString();
            if (c.section == CData)
                writeCData(w, c.element, text);
            else
                writeText(w, c.element, text);
        }
        w.writeEndElement();
        out.flush();
    }
    w.writeEndElement();
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Definition file reader and record writer

FileDataTree *TgchFileProcessor::loadFileData(const QString &path)
{
    if (path.isEmpty())
        return nullptr;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    const QByteArray data = file.readAll();
    file.close();
    return loadFileData(data);
}

FileDataTree *TgchFileProcessor::loadFileData(const QByteArray &data)
{
    QDomDocument doc;
    QString errorMessage;
    int errorLine = 0;
    int errorColumn = 0;
    const bool parsed = checkXmlLimits(data)
            && doc.setContent(data, false, &errorMessage, &errorLine, &errorColumn);

    auto *tree = new FileDataTree;
    auto *placeholder = new pKanalDef_t;
    placeholder->Name = kPlaceholderName;
    tree->ChannelList.append(placeholder);
    if (!parsed)
        return tree;

    const QDomElement root = doc.documentElement();
    forEachRecordElement(root, kChannelList, kChannel, [tree](QDomElement &e) {
        pKanalDef_t *channel = channelDataFromXML(&e);
        // The file's own "None" channels would duplicate the placeholder.
        if (channel->Name == kPlaceholderName)
            delete channel;
        else
            tree->ChannelList.append(channel);
    });
    forEachRecordElement(root, kTagList, kTag, [tree](QDomElement &e) {
        tree->TagList.append(tagDataFromXml(&e));
    });
    forEachRecordElement(root, kAlarmList, kAlarm, [tree](QDomElement &e) {
        tree->AlarmList.append(alarmDataFromXml(&e));
    });
    return tree;
}

pKanalDef_t *TgchFileProcessor::channelDataFromXML(QDomElement *element)
{
    return readRecord(element, channelFields);
}

pEtiketDef_t *TgchFileProcessor::tagDataFromXml(QDomElement *element)
{
    return readRecord(element, tagFields);
}

pAlarmItem_t *TgchFileProcessor::alarmDataFromXml(QDomElement *element)
{
    return readRecord(element, alarmFields);
}

bool TgchFileProcessor::writeToFile(FileDataTree *tree, QString path)
{
    if (!tree)
        return false;
    return writeDefinitionFile(path, [tree](QIODevice &device) {
        BlockWriter out(device, 4);
        out.xml().writeStartDocument();
        out.xml().writeStartElement(kRoot);
        writeList(out, kChannelList, kChannel, channelFields, tree->ChannelList);
        writeList(out, kTagList, kTag, tagFields, tree->TagList);
        writeList(out, kAlarmList, kAlarm, alarmFields, tree->AlarmList);
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
    return writeDefinitionFile(path, [channels, tags](QIODevice &device) {
        BlockWriter out(device, 1);
        QXmlStreamWriter &w = out.xml();
        // Declared UTF-8, so that names outside ASCII read back the same whatever the system's
        // text encoding.
        w.writeStartDocument();
        w.writeDTD(QStringLiteral("<!DOCTYPE %1>").arg(kDocType));
        w.writeStartElement(kRoot);
        writeRows(out, kChannelList, kChannel, channelColumns, *channels);
        writeRows(out, kTagList, kTag, tagColumns, *tags);
        w.writeEndElement();    // </CTDefinitions>
        w.writeEndDocument();
        out.flush(true);
        return out.written();
    });
}

bool TgchFileProcessor::writeToFile(OpenedFile *file)
{
    if (!file)
        return false;
    return writeToFile(file->channelModel, file->tagModel, file->filePath);
}
