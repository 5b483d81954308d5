// Image, web frame and schedule items: the common envelope and one element of their own each.

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"
#include "scaItemKinds_p.h"

using namespace PageXml;

namespace {

const int ImageItemKind = 8;
const int WebFrameItemKind = 9;
const int ScheduleItemKind = 1; // the code of a SCADA object too

const QString ImageFile = QStringLiteral("ImageFile");
const QString DefaultImageFile = QStringLiteral("placeholder_image.png");

const QString Weblink = QStringLiteral("Weblink");

// "TagIDs" holding one "Tag" element (PageXml::Tag) per tag id, as decimal text.
const QString TagIDs = QStringLiteral("TagIDs");

QDomElement itemElement(const QDomElement *item)
{
    return item ? *item : QDomElement();
}

} // namespace

// ---- Image -----------------------------------------------------------------------------------

ImageItemLoadData_t *ScaFileProcessor::imageItemFromXML(QDomElement *item)
{
    auto *r = new ImageItemLoadData_t;
    const QDomElement e = itemElement(item);
    readEnvelope(e, r->base, ImageItemKind);
    r->ImageFile = readText(e, ImageFile, DefaultImageFile);
    return r;
}

void writeImageItem(QXmlStreamWriter &w, const ImageItemLoadData_t &r)
{
    writeEnvelope(w, *r.base);
    writeText(w, ImageFile, r.ImageFile);
}

void copyImageItemData(ImageItemLoadData_t *target, const ImageItemLoadData_t *source)
{
    copyRecordFields(target, source);
}

// ---- Web frame -------------------------------------------------------------------------------

QString WebFrameItemLoadData_t::defaultWeblink()
{
    return QStringLiteral("https://tirrel.example.org/images/default-logo.png");
}

WebFrameItemLoadData_t *ScaFileProcessor::webFrameItemFromXML(QDomElement *item)
{
    auto *r = new WebFrameItemLoadData_t;
    const QDomElement e = itemElement(item);
    readEnvelope(e, r->base, WebFrameItemKind);
    r->Weblink = readText(e, Weblink, r->Weblink);
    return r;
}

void writeWebFrameItem(QXmlStreamWriter &w, const WebFrameItemLoadData_t &r)
{
    writeEnvelope(w, *r.base);
    writeText(w, Weblink, r.Weblink);
}

void copyWebFrameItemData(WebFrameItemLoadData_t *target, const WebFrameItemLoadData_t *source)
{
    copyRecordFields(target, source);
}

// ---- Schedule --------------------------------------------------------------------------------

ScheduleItemLoadData_t *ScaFileProcessor::schItemFromXML(QDomElement *item)
{
    auto *r = new ScheduleItemLoadData_t;
    const QDomElement e = itemElement(item);
    readEnvelope(e, r->base, ScheduleItemKind);
    const QDomElement tags = e.firstChildElement(TagIDs);
    for (QDomElement tag = tags.firstChildElement(Tag); !tag.isNull();
         tag = tag.nextSiblingElement(Tag))
        r->TagIDs.append(parseInt(elementText(tag)));
    return r;
}

void writeScheduleItem(QXmlStreamWriter &w, const ScheduleItemLoadData_t &r)
{
    writeEnvelope(w, *r.base);
    w.writeStartElement(TagIDs);
    for (int id : r.TagIDs)
        writeInt(w, Tag, id);
    w.writeEndElement(); // </TagIDs>
}

void copyScheduleItemData(ScheduleItemLoadData_t *target, const ScheduleItemLoadData_t *source)
{
    copyRecordFields(target, source);
}
