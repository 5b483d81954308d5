// Real-time chart items: the record's table, reader and copy. The item uses the
// common envelope; its lines are the entries of "TagIDs", its other values the texts of child
// elements, and a missing one leaves the new record's value.

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"

#include "logging_p.h"

using namespace PageXml;

namespace {

using R = RealTimeChartItemLoadData_t;
using F = FieldRows<R>;

const int RealTimeChartItemKind = 5; // the code of a database-query text too

// One line: an empty "TagData" element whose attributes hold the line (written and read).
// "TagIDs" may also hold "Tag" elements with a tag id as text, read after the "TagData" lines
// with the other values as a new line has them.
const XmlName TagDataElement("TagData");

const FieldTable<TagData> &lineTable()
{
    using L = FieldRows<TagData>;
    static const FieldTable<TagData> rows = {
        L::ownAttribute<&TagData::Tag>(Tag),
        L::ownAttribute<&TagData::LineStyle>("LineStyle"),
        L::ownAttribute<&TagData::LineColor>("LineColor"),
        L::member<&TagData::auxValue1>("auxValue1"),
        L::member<&TagData::auxValue2>("auxValue2"),
    };
    return rows;
}

void writeLines(QXmlStreamWriter &w, const R &r)
{
    w.writeStartElement(TagIDs);
    for (const TagData &line : r.TagIDs) {
        w.writeEmptyElement(TagDataElement);
        writeFields(w, line, lineTable());
    }
    w.writeEndElement(); // </TagIDs>
}

void lineFields(const Field<R> &, const R &r, FieldCollector &out)
{
    out.addList(&r.TagIDs, TagIDs, r.TagIDs,
                [](const TagData &line) { return collectFields(line, lineTable()); });
}

template <class Node>
void readLines(const Node &tagIds, QList<TagData> *lines)
{
    for (Node e = tagIds.firstChildElement(TagDataElement); !e.isNull();
         e = e.nextSiblingElement(TagDataElement)) {
        static const FieldReader<TagData> lineReader(lineTable());
        TagData line;
        lineReader.read(e, line);
        lines->append(line);
    }
    for (Node e = tagIds.firstChildElement(Tag); !e.isNull(); e = e.nextSiblingElement(Tag)) {
        TagData line;
        line.Tag = e.text().toInt();
        lines->append(line);
    }
}

} // namespace

// Writing order.
const FieldTable<R> &realTimeChartTable()
{
    static const FieldTable<R> rows = envelopeTable<R>({}, {
        F::member(&lineFields, &writeLines),
        F::element<&R::BgColor>("BgColor"),
        F::element<&R::TxtColor>("TxtColor"),
        F::element<&R::PaColor>("PaColor"),
        F::element<&R::ShowLegend>("ShowLegend"),
        F::element<&R::FollowLastVal>("FollowLastVal"),
        F::element<&R::ShowDescription>("ShowDescription"),
        F::element<&R::RescaleValAxis>("RescaleValAxis"),
        F::element<&R::ShowLastSeconds>("ShowLastSeconds"),
        F::element<&R::UpperLimit>("UpperLimit"),
        F::element<&R::LowerLimit>("LowerLimit"),
        F::element<&R::ChartViewType>("ChartViewType"),
        F::element<&R::ChartType>("ChartType"),
        F::element<&R::ChartTitle>("ChartTitle"),
        F::element<&R::IsAnimated>("IsAnimated"),
        F::element<&R::LegendAlignment>("LegendAlignment"),
        F::element<&R::ChartOrientation>("ChartOrientation"),
        F::element<&R::LegendFontSize>("LegendFontSize"),
        F::element<&R::AxisFontSize>("AxisFontSize"),
    });
    return rows;
}

template <class Node>
RealTimeChartItemLoadData_t *readRealTimeChartItem(const Node &item)
{
    static const FieldReader<R> reader(realTimeChartTable(), {&TagIDs});
    R *r = newItem<R>(RealTimeChartItemKind);
    readLines(reader.read(item, *r)[reader.indexOf(TagIDs)], &r->TagIDs);
    qCDebug(tirrelPage) << r->ChartOrientation;
    return r;
}
template RealTimeChartItemLoadData_t *readRealTimeChartItem(const AuditNode &);
template RealTimeChartItemLoadData_t *readRealTimeChartItem(const DomNode &);
template RealTimeChartItemLoadData_t *readRealTimeChartItem(const TreeNode &);

RealTimeChartItemLoadData_t *ScaFileProcessor::rtchartItemFromXML(QDomElement *item)
{
    return readRealTimeChartItem(item ? DomNode(*item) : DomNode());
}

void copyRealTimeChartItemData(RealTimeChartItemLoadData_t *target,
                               const RealTimeChartItemLoadData_t *source)
{
    copyRecordFields(target, source);
}

ItemTagSlots realTimeChartTagSlots(const RealTimeChartItemLoadData_t &item)
{
    ItemTagSlots tagSlots;
    for (int k = 0; k < item.TagIDs.size(); ++k)
        tagSlots.append({item.TagIDs.at(k).Tag, TagIDs.string(), k});
    return tagSlots;
}

RecordFields fieldsOf(const RealTimeChartItemLoadData_t &item)
{
    return itemFields(item, realTimeChartTable());
}
