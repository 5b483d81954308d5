#include "tgchFileProcessor.h"

#include <QDomDocument>
#include <QFile>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QStandardItemModel>
#include <QTextStream>
#include <QXmlStreamWriter>

#include <array>
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
    void (*read)(R &record, const QDomElement &element);   // element is null when absent
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

void writeText(QXmlStreamWriter &w, const QString &name, const QString &text)
{
    w.writeTextElement(name, text);
}

void writeCData(QXmlStreamWriter &w, const QString &name, const QString &text)
{
    w.writeStartElement(name);
    w.writeCDATA(text);     // splits a "]]>" inside the text over two sections
    w.writeEndElement();
}

template <auto M, Form F>
void readValue(ClassOf<M> &record, const QDomElement &element)
{
    using V = ValueOf<M>;
    if constexpr (F == Form::IntOrMinusOne) {
        if (element.isNull()) {
            record.*M = -1;
            return;
        }
    }
    const QString text = element.isNull() ? QString() : element.text();
    if constexpr (F == Form::Text)
        record.*M = text;
    else if constexpr (F == Form::Int || F == Form::IntOrMinusOne || F == Form::Int8)
        record.*M = static_cast<V>(text.toInt());
    else if constexpr (F == Form::UInt)
        record.*M = static_cast<V>(text.toUInt());
    else if constexpr (F == Form::Flag)
        record.*M = text.toInt() != 0;
    else if constexpr (F == Form::Int64)
        record.*M = text.toLongLong();
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

void readFilterOptions(pEtiketDef_t &tag, const QDomElement &element)
{
    if (element.isNull())
        return;
    const QJsonDocument json = QJsonDocument::fromJson(element.text().toUtf8());
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

// One record from its element. The children are visited once and matched to their rows by name
// (the first element of a name wins), so a record costs one pass over its children whatever the
// order of its value elements.
template <class R, std::size_t N>
R *readRecord(const QDomElement *element, const Field<R> (&fields)[N])
{
    static const QHash<QString, int> rowOfName = [&fields] {
        QHash<QString, int> rows;
        for (std::size_t i = 0; i < N; ++i)
            rows.insert(fields[i].name, int(i));
        return rows;
    }();

    std::array<QDomElement, N> values;
    if (element) {
        for (QDomElement child = element->firstChildElement(); !child.isNull();
             child = child.nextSiblingElement()) {
            const auto row = rowOfName.constFind(child.tagName());
            if (row != rowOfName.constEnd() && values[*row].isNull())
                values[*row] = child;
        }
    }
    R *record = new R;
    for (std::size_t i = 0; i < N; ++i)
        fields[i].read(*record, values[i]);
    return record;
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

template <class R, std::size_t N>
void writeList(QXmlStreamWriter &w, const QString &list, const QString &element,
               const Field<R> (&fields)[N], const QList<R *> &records)
{
    w.writeStartElement(list);
    for (const R *record : records)
        writeRecord(w, element, fields, *record);
    w.writeEndElement();
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

// Replaces the file at path with what write() puts into the device. The text goes to a
// temporary file beside the target, renamed over it once complete, so a save that fails midway
// leaves the old file intact; where no temporary file can be made there (a directory the user
// cannot write to), the file is written in place.
template <class Write>
bool replaceFile(const QString &path, Write write)
{
    QSaveFile file(path);
    file.setDirectWriteFallback(true);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    write(file);
    return file.commit();
}

// ---------------------------------------------------------------------------------------------
// The export from the editor's table models: for each element in the order written, the model
// column it comes from and whether it is written as CDATA. This order and CDATA set differ from
// the record writer's; files already in use were written this way, so both are kept.

struct Column
{
    const char *element;
    int column;
    Section section;
};

const Column channelColumns[] = {
    {"Name", 1, CData},
    {"Id", 0, Plain},
    {"MediaType", 2, Plain},
    {"SocketType", 3, Plain},
    {"ProtokolType", 4, Plain},
    {"ServerIP", 5, CData},
    {"ServerPORT", 6, Plain},
    {"ListenPORT", 7, Plain},
    {"FilterIP", 8, CData},
    {"Comport", 9, Plain},
    {"Baudrate", 10, Plain},
    {"Databit", 11, Plain},
    {"Stopbit", 12, Plain},
    {"Paritybit", 13, Plain},
    {"ResponseTimeout", 14, Plain},
    {"ConnectionTimeout", 15, Plain},
    {"FrameTimeout", 16, Plain},
    {"GroupID", 17, Plain},
    {"Station", 18, Plain},
    {"Enabled", 19, Plain},
    {"KestrinPath", 20, Plain},
    {"Description", 21, Plain},
};

const Column tagColumns[] = {
    {"Name", 1, CData},
    {"PollFrequency", 3, Plain},
    {"KanalName", 30, CData},
    {"DeviceAddress", 4, Plain},
    {"VariableAddress", 5, Plain},
    {"VariableSize", 6, Plain},
    {"VariableType", 7, Plain},
    {"Id", 0, Plain},
    {"Macro", 8, CData},
    {"Kanal_Id", 2, Plain},
    {"IsLogging", 9, Plain},
    {"PriLevel", 10, Plain},
    {"TagType", 11, Plain},
    {"SchedulerIndex", 12, Plain},
    {"LoggingFreq", 13, Plain},
    {"LoggingMethod", 14, Plain},
    {"ReadRight1", 15, Plain},
    {"ReadRight2", 16, Plain},
    {"WriteRight1", 17, Plain},
    {"WriteRight2", 18, Plain},
    {"Keywords", 19, Plain},
    {"Enabled", 20, Plain},
    {"Description", 21, Plain},
    {"UnitName", 22, Plain},
    {"Protocolobjecttype", 23, Plain},
    {"Option", 24, Plain},
    {"LogFilterOptions", 25, Plain},
    {"Equipment", 26, Plain},
    {"Measuredentity", 27, Plain},
    {"Location", 28, Plain},
    {"Formula", 29, Plain},
};

// A CDATA section cannot hold "]]>", so such a text is cut after "]]" into several sections; the
// reader joins them back into the one text.
void appendCData(QDomDocument &doc, QDomElement &element, const QString &text)
{
    const QLatin1String endMarker("]]>");
    int from = 0;
    for (int at = text.indexOf(endMarker); at >= 0; at = text.indexOf(endMarker, from)) {
        element.appendChild(doc.createCDATASection(text.mid(from, at + 2 - from)));
        from = at + 2;
    }
    element.appendChild(doc.createCDATASection(text.mid(from)));
}

template <std::size_t N>
void appendRows(QDomDocument &doc, QDomElement &list, const QString &element,
                const Column (&columns)[N], const QStandardItemModel &model)
{
    for (int row = 0; row < model.rowCount(); ++row) {
        QDomElement record = doc.createElement(element);
        list.appendChild(record);
        for (const Column &c : columns) {
            const QStandardItem *item = model.item(row, c.column);
            const QString text = item ? item->text() : QString();
            QDomElement value = doc.createElement(QString::fromLatin1(c.element));
            record.appendChild(value);
            if (c.section == CData)
                appendCData(doc, value, text);
            else
                value.appendChild(doc.createTextNode(text));
        }
    }
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
    const bool parsed = doc.setContent(data, false, &errorMessage, &errorLine, &errorColumn);

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
    return replaceFile(path, [tree](QIODevice &device) {
        QXmlStreamWriter w(&device);
        w.setAutoFormatting(true);
        w.setAutoFormattingIndent(4);
        w.writeStartDocument();
        w.writeStartElement(kRoot);
        writeList(w, kChannelList, kChannel, channelFields, tree->ChannelList);
        writeList(w, kTagList, kTag, tagFields, tree->TagList);
        writeList(w, kAlarmList, kAlarm, alarmFields, tree->AlarmList);
        w.writeEndElement();    // </CTDefinitions>
        w.writeEndDocument();
    });
}

// ---------------------------------------------------------------------------------------------
// Export from the editor's table models

bool TgchFileProcessor::writeToFile(QStandardItemModel *channels, QStandardItemModel *tags,
                                    QString path)
{
    if (!channels || !tags)
        return false;
    return replaceFile(path, [channels, tags](QIODevice &device) {
        QDomDocument doc(kDocType);
        // Written as UTF-8 and declared as such, so that names outside ASCII read back the same
        // whatever the system's text encoding.
        doc.appendChild(doc.createProcessingInstruction(
            QStringLiteral("xml"), QStringLiteral("version=\"1.0\" encoding=\"UTF-8\"")));
        QDomElement root = doc.createElement(kRoot);
        doc.appendChild(root);
        QDomElement channelList = doc.createElement(kChannelList);
        root.appendChild(channelList);
        appendRows(doc, channelList, kChannel, channelColumns, *channels);
        QDomElement tagList = doc.createElement(kTagList);
        root.appendChild(tagList);
        appendRows(doc, tagList, kTag, tagColumns, *tags);

        QTextStream out(&device);
        out.setCodec("UTF-8");
        doc.save(out, 1);
        out.flush();
    });
}

bool TgchFileProcessor::writeToFile(OpenedFile *file)
{
    if (!file)
        return false;
    return writeToFile(file->channelModel, file->tagModel, file->filePath);
}
