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

// "TagIDs" holding one "Tag" element per tag id, as decimal text.
using S = ScheduleItemLoadData_t;

void writeScheduleTags(QXmlStreamWriter &w, const S &r)
{
    w.writeStartElement(TagIDs);
    for (int id : r.TagIDs)
        w.writeTextElement(Tag, QString::number(id));
    w.writeEndElement(); // </TagIDs>
}

} // namespace

const FieldTable<ImageItemLoadData_t> &imageItemTable()
{
    using R = ImageItemLoadData_t;
    static const FieldTable<R> rows = envelopeTable<R>({}, {
        FieldRows<R>::element<&R::ImageFile>("ImageFile", "placeholder_image.png"),
    }) + hostFields<R>();
    return rows;
}

const FieldTable<WebFrameItemLoadData_t> &webFrameItemTable()
{
    using R = WebFrameItemLoadData_t;
    static const FieldTable<R> rows = envelopeTable<R>({}, {
        FieldRows<R>::element<&R::Weblink>("Weblink"),
    }) + hostFields<R>();
    return rows;
}

const FieldTable<S> &scheduleItemTable()
{
    static const FieldTable<S> rows = envelopeTable<S>({}, {
        FieldRows<S>::member<&S::TagIDs>("TagIDs", &writeScheduleTags),
    });
    return rows;
}

// ---- Image -----------------------------------------------------------------------------------

template <class Node>
ImageItemLoadData_t *readImageItem(const Node &item)
{
    static const FieldReader<ImageItemLoadData_t> reader(imageItemTable());
    return readRecord(item, reader, ImageItemKind);
}
template ImageItemLoadData_t *readImageItem(const AuditNode &);
template ImageItemLoadData_t *readImageItem(const DomNode &);
template ImageItemLoadData_t *readImageItem(const TreeNode &);

ImageItemLoadData_t *ScaFileProcessor::imageItemFromXML(QDomElement *item)
{
    return readImageItem(item ? DomNode(*item) : DomNode());
}

void copyImageItemData(ImageItemLoadData_t *target, const ImageItemLoadData_t *source)
{
    copyRecordFields(target, source);
}

RecordFields fieldsOf(const ImageItemLoadData_t &item)
{
    return itemFields(item, imageItemTable());
}

// ---- Web frame -------------------------------------------------------------------------------

QString WebFrameItemLoadData_t::defaultWeblink()
{
    return QLatin1String(DefaultWeblink);
}

template <class Node>
WebFrameItemLoadData_t *readWebFrameItem(const Node &item)
{
    static const FieldReader<WebFrameItemLoadData_t> reader(webFrameItemTable());
    return readRecord(item, reader, WebFrameItemKind);
}
template WebFrameItemLoadData_t *readWebFrameItem(const AuditNode &);
template WebFrameItemLoadData_t *readWebFrameItem(const DomNode &);
template WebFrameItemLoadData_t *readWebFrameItem(const TreeNode &);

WebFrameItemLoadData_t *ScaFileProcessor::webFrameItemFromXML(QDomElement *item)
{
    return readWebFrameItem(item ? DomNode(*item) : DomNode());
}

void copyWebFrameItemData(WebFrameItemLoadData_t *target, const WebFrameItemLoadData_t *source)
{
    copyRecordFields(target, source);
}

RecordFields fieldsOf(const WebFrameItemLoadData_t &item)
{
    return itemFields(item, webFrameItemTable());
}

// ---- Schedule --------------------------------------------------------------------------------

template <class Node>
ScheduleItemLoadData_t *readScheduleItem(const Node &item)
{
    static const FieldReader<S> fields(scheduleItemTable(), {&TagIDs});
    S *r = newItem<S>(ScheduleItemKind);
    const ChildElements<Node> children = fields.read(item, *r);
    const Node &tags = children[fields.indexOf(TagIDs)];
    for (Node tag = tags.firstChildElement(Tag); !tag.isNull(); tag = tag.nextSiblingElement(Tag))
        r->TagIDs.append(tag.text().toInt());
    return r;
}
template ScheduleItemLoadData_t *readScheduleItem(const AuditNode &);
template ScheduleItemLoadData_t *readScheduleItem(const DomNode &);
template ScheduleItemLoadData_t *readScheduleItem(const TreeNode &);

ScheduleItemLoadData_t *ScaFileProcessor::schItemFromXML(QDomElement *item)
{
    return readScheduleItem(item ? DomNode(*item) : DomNode());
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
    return itemFields(item, scheduleItemTable());
}
