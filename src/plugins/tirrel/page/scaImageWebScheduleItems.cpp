// Image, web frame and schedule items: the common envelope and one element of their own each.

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"

using namespace PageXml;

namespace {

const int ImageItemKind = 8;
const int WebFrameItemKind = 9;
const int ScheduleItemKind = 1; // the code of a SCADA object too

const char DefaultWeblink[] = "https://tirrel.example.org/images/default-logo.png";

// The host's fields of an image or web frame record.
template <class R>
FieldTable<R> hostFields()
{
    using F = FieldRows<R>;
    return {
        F::template member<&R::auxValue1>("auxValue1"),
        F::template member<&R::auxValue2>("auxValue2"),
        F::template member<&R::auxValue3>("auxValue3"),
        F::template member<&R::auxFlag>("auxFlag"),
        F::template member<&R::auxText1>("auxText1"),
        F::template member<&R::auxValue4>("auxValue4"),
        F::template member<&R::auxText2>("auxText2"),
    };
}

const FieldTable<ImageItemLoadData_t> &imageTable()
{
    using R = ImageItemLoadData_t;
    static const FieldTable<R> rows = envelopeTable<R>({}, {
        FieldRows<R>::element<&R::ImageFile>("ImageFile", "placeholder_image.png"),
    }) + hostFields<R>();
    return rows;
}

const FieldTable<WebFrameItemLoadData_t> &webFrameTable()
{
    using R = WebFrameItemLoadData_t;
    static const FieldTable<R> rows = envelopeTable<R>({}, {
        FieldRows<R>::element<&R::Weblink>("Weblink"),
    }) + hostFields<R>();
    return rows;
}

// "TagIDs" holding one "Tag" element per tag id, as decimal text.
using S = ScheduleItemLoadData_t;

void writeScheduleTags(QXmlStreamWriter &w, const S &r)
{
    w.writeStartElement(TagIDs);
    for (int id : r.TagIDs)
        w.writeTextElement(Tag, QString::number(id));
    w.writeEndElement(); // </TagIDs>
}

const FieldTable<S> &scheduleTable()
{
    static const FieldTable<S> rows = envelopeTable<S>({}, {
        FieldRows<S>::member<&S::TagIDs>("TagIDs", &writeScheduleTags),
    });
    return rows;
}

// One reader per table (and so per record type).
template <class R>
const FieldReader<R> &readerOf(const FieldTable<R> &table,
                               std::initializer_list<const XmlName *> more = {})
{
    static const FieldReader<R> fields(table, more);
    return fields;
}

} // namespace

// ---- Image -----------------------------------------------------------------------------------

template <class Node>
ImageItemLoadData_t *readImageItem(const Node &item)
{
    return readRecord(item, readerOf(imageTable()), ImageItemKind);
}
template ImageItemLoadData_t *readImageItem(const DomNode &);

ImageItemLoadData_t *ScaFileProcessor::imageItemFromXML(QDomElement *item)
{
    return readImageItem(item ? DomNode(*item) : DomNode());
}

void writeImageItem(QXmlStreamWriter &w, const ImageItemLoadData_t &r)
{
    writeFields(w, r, imageTable());
}

void copyImageItemData(ImageItemLoadData_t *target, const ImageItemLoadData_t *source)
{
    copyRecordFields(target, source);
}

RecordFields fieldsOf(const ImageItemLoadData_t &item)
{
    return itemFields(item, imageTable());
}

// ---- Web frame -------------------------------------------------------------------------------

QString WebFrameItemLoadData_t::defaultWeblink()
{
    return QLatin1String(DefaultWeblink);
}

template <class Node>
WebFrameItemLoadData_t *readWebFrameItem(const Node &item)
{
    return readRecord(item, readerOf(webFrameTable()), WebFrameItemKind);
}
template WebFrameItemLoadData_t *readWebFrameItem(const DomNode &);

WebFrameItemLoadData_t *ScaFileProcessor::webFrameItemFromXML(QDomElement *item)
{
    return readWebFrameItem(item ? DomNode(*item) : DomNode());
}

void writeWebFrameItem(QXmlStreamWriter &w, const WebFrameItemLoadData_t &r)
{
    writeFields(w, r, webFrameTable());
}

void copyWebFrameItemData(WebFrameItemLoadData_t *target, const WebFrameItemLoadData_t *source)
{
    copyRecordFields(target, source);
}

RecordFields fieldsOf(const WebFrameItemLoadData_t &item)
{
    return itemFields(item, webFrameTable());
}

// ---- Schedule --------------------------------------------------------------------------------

template <class Node>
ScheduleItemLoadData_t *readScheduleItem(const Node &item)
{
    const FieldReader<S> &fields = readerOf(scheduleTable(), {&TagIDs});
    S *r = newItem<S>(ScheduleItemKind);
    const ChildElements<Node> children = fields.read(item, *r);
    const Node &tags = children[fields.indexOf(TagIDs)];
    for (Node tag = tags.firstChildElement(Tag); !tag.isNull(); tag = tag.nextSiblingElement(Tag))
        r->TagIDs.append(tag.text().toInt());
    return r;
}
template ScheduleItemLoadData_t *readScheduleItem(const DomNode &);

ScheduleItemLoadData_t *ScaFileProcessor::schItemFromXML(QDomElement *item)
{
    return readScheduleItem(item ? DomNode(*item) : DomNode());
}

void writeScheduleItem(QXmlStreamWriter &w, const ScheduleItemLoadData_t &r)
{
    writeFields(w, r, scheduleTable());
}

void copyScheduleItemData(ScheduleItemLoadData_t *target, const ScheduleItemLoadData_t *source)
{
    copyRecordFields(target, source);
}

ItemTagSlots scheduleTagSlots(const ScheduleItemLoadData_t &item)
{
    ItemTagSlots tagSlots;
    for (int k = 0; k < item.TagIDs.size(); ++k)
        tagSlots.append({item.TagIDs.at(k), TagIDs.string(), k});
    return tagSlots;
}

RecordFields fieldsOf(const ScheduleItemLoadData_t &item)
{
    return itemFields(item, scheduleTable());
}
