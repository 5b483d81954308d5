// Real-time chart items: the record's reader, content writer and copy. The item uses the common
// envelope; its tags are the entries of "TagIDs", its other values the texts of child elements.

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"
#include "scaItemKinds_p.h"

#include <QDebug>

using namespace PageXml;

namespace {

const int RealTimeChartItemKind = 5; // the code of a database-query text too

// Children of "Item" that the reader looks for, in writing order after the envelope; the enum
// indexes childName.
enum Child {
    GeometryChild, PropertiesChild, TagIDs, BgColor, TxtColor, PaColor, ShowLegend,
    FollowLastVal, ShowDescription, RescaleValAxis, ShowLastSeconds, UpperLimit, LowerLimit,
    ChartViewType, ChartType, ChartTitle, IsAnimated, LegendAlignment, ChartOrientation,
    LegendFontSize, AxisFontSize, ChildCount
};
const QString childName[] = {
    Geometry, Properties, QStringLiteral("TagIDs"),
    QStringLiteral("BgColor"), QStringLiteral("TxtColor"), QStringLiteral("PaColor"),
    QStringLiteral("ShowLegend"), QStringLiteral("FollowLastVal"),
    QStringLiteral("ShowDescription"), QStringLiteral("RescaleValAxis"),
    QStringLiteral("ShowLastSeconds"), QStringLiteral("UpperLimit"), QStringLiteral("LowerLimit"),
    QStringLiteral("ChartViewType"), QStringLiteral("ChartType"), QStringLiteral("ChartTitle"),
    QStringLiteral("IsAnimated"), QStringLiteral("LegendAlignment"),
    QStringLiteral("ChartOrientation"), QStringLiteral("LegendFontSize"),
    QStringLiteral("AxisFontSize"),
};
static_assert(sizeof(childName) / sizeof(childName[0]) == ChildCount, "one name per Child");

const ElementNames &childNames()
{
    static const ElementNames names(childName, ChildCount);
    return names;
}

// Entries of "TagIDs": empty "TagData" elements with the attributes "Tag", "LineStyle" and
// "LineColor" (written and read), and "Tag" elements (PageXml::Tag) holding a tag id as text
// (read only, after the "TagData" entries). Missing values take TagData's defaults.
const QString TagDataElement = QStringLiteral("TagData");
const QString LineStyle = QStringLiteral("LineStyle");
const QString LineColor = QStringLiteral("LineColor");

void readTagIds(const QDomElement &tagIds, QList<TagData> *entries)
{
    for (QDomElement e = tagIds.firstChildElement(TagDataElement); !e.isNull();
         e = e.nextSiblingElement(TagDataElement)) {
        TagData entry;
        entry.Tag = intAttr(e, Tag, entry.Tag);
        entry.LineStyle = intAttr(e, LineStyle, entry.LineStyle);
        entry.LineColor = textAttr(e, LineColor, entry.LineColor);
        entries->append(entry);
    }
    for (QDomElement e = tagIds.firstChildElement(Tag); !e.isNull();
         e = e.nextSiblingElement(Tag)) {
        TagData entry;
        entry.Tag = parseInt(elementText(e));
        entries->append(entry);
    }
}

void writeTagIds(QXmlStreamWriter &w, const QList<TagData> &entries)
{
    w.writeStartElement(childName[TagIDs]);
    for (const TagData &entry : entries) {
        w.writeEmptyElement(TagDataElement);
        writeAttr(w, Tag, entry.Tag);
        writeAttr(w, LineStyle, entry.LineStyle);
        writeAttr(w, LineColor, entry.LineColor);
    }
    w.writeEndElement(); // </TagIDs>
}

} // namespace

RealTimeChartItemLoadData_t *ScaFileProcessor::rtchartItemFromXML(QDomElement *item)
{
    // A missing element leaves the new record's value (the defaults are the record's); a
    // present but empty one gives an empty text, 0 or false.
    auto *r = new RealTimeChartItemLoadData_t;
    const ChildElements c(item ? *item : QDomElement(), childNames());
    readEnvelope(c[GeometryChild], c[PropertiesChild], r->base, RealTimeChartItemKind);
    readTagIds(c[TagIDs], &r->TagIDs);

    r->BgColor = textOf(c[BgColor], r->BgColor);
    r->TxtColor = textOf(c[TxtColor], r->TxtColor);
    r->PaColor = textOf(c[PaColor], r->PaColor);
    r->ShowLegend = flagOf(c[ShowLegend], r->ShowLegend);
    r->FollowLastVal = flagOf(c[FollowLastVal], r->FollowLastVal);
    r->ShowDescription = flagOf(c[ShowDescription], r->ShowDescription);
    r->RescaleValAxis = flagOf(c[RescaleValAxis], r->RescaleValAxis);
    r->ShowLastSeconds = intOf(c[ShowLastSeconds], r->ShowLastSeconds);
    r->UpperLimit = intOf(c[UpperLimit], r->UpperLimit);
    r->LowerLimit = intOf(c[LowerLimit], r->LowerLimit);
    r->ChartViewType = intOf(c[ChartViewType], r->ChartViewType);
    r->ChartType = intOf(c[ChartType], r->ChartType);
    r->ChartTitle = textOf(c[ChartTitle], r->ChartTitle);
    r->IsAnimated = flagOf(c[IsAnimated], r->IsAnimated);
    r->LegendAlignment = intOf(c[LegendAlignment], r->LegendAlignment);
    r->ChartOrientation = intOf(c[ChartOrientation], r->ChartOrientation);
    r->LegendFontSize = intOf(c[LegendFontSize], r->LegendFontSize);
    r->AxisFontSize = intOf(c[AxisFontSize], r->AxisFontSize);

    qDebug() << r->ChartOrientation;
    return r;
}

void writeRealTimeChartItem(QXmlStreamWriter &w, const RealTimeChartItemLoadData_t &r)
{
    writeEnvelope(w, *r.base);
    writeTagIds(w, r.TagIDs);
    writeText(w, childName[BgColor], r.BgColor);
    writeText(w, childName[TxtColor], r.TxtColor);
    writeText(w, childName[PaColor], r.PaColor);
    writeFlag(w, childName[ShowLegend], r.ShowLegend);
    writeFlag(w, childName[FollowLastVal], r.FollowLastVal);
    writeFlag(w, childName[ShowDescription], r.ShowDescription);
    writeFlag(w, childName[RescaleValAxis], r.RescaleValAxis);
    writeInt(w, childName[ShowLastSeconds], r.ShowLastSeconds);
    writeInt(w, childName[UpperLimit], r.UpperLimit);
    writeInt(w, childName[LowerLimit], r.LowerLimit);
    writeInt(w, childName[ChartViewType], r.ChartViewType);
    writeInt(w, childName[ChartType], r.ChartType);
    writeText(w, childName[ChartTitle], r.ChartTitle);
    writeFlag(w, childName[IsAnimated], r.IsAnimated);
    writeInt(w, childName[LegendAlignment], r.LegendAlignment);
    writeInt(w, childName[ChartOrientation], r.ChartOrientation);
    writeInt(w, childName[LegendFontSize], r.LegendFontSize);
    writeInt(w, childName[AxisFontSize], r.AxisFontSize);
}

void copyRealTimeChartItemData(RealTimeChartItemLoadData_t *target,
                               const RealTimeChartItemLoadData_t *source)
{
    copyRecordFields(target, source);
}
