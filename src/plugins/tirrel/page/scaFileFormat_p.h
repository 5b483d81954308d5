#pragma once

// The page file format (root "ScadaFile"): the names the frame and several kinds share, the
// common item envelope, and the per-kind field tables and readers.
//
//   <ScadaFile>
//     <ItemList>
//       <Item>
//         <ItemType>GaugeItem</ItemType>                    no ItemType: a SCADA object
//         <Geometry X= Y= W= H= Rot= ZVAL= GZVAL= HFlip= VFlip=/>
//         <Properties Name= (the kind's own attributes) GroupId= LayerId=/>
//         ... the kind's own elements
//       </Item>
//     </ItemList>
//     <PageProperties> ... <layerOrder/> <pageGeometry W= H=/> <ScrollTags/> </PageProperties>
//   </ScadaFile>
//
// The text item keeps its geometry in elements of its own (scaTextItem.cpp). Each kind's file
// holds its table; adding a field to a kind is one row there and one member in scaFileData.h.

#include "fieldTable_p.h"
#include "scaFileData.h"
#include "xmlTree_p.h"

namespace PageXml {

inline const XmlName ScadaFile("ScadaFile");
inline const XmlName ItemList("ItemList");
inline const XmlName Item("Item");
inline const XmlName ItemType("ItemType");
inline const XmlName PageProperties("PageProperties");

// Common item envelope
inline const XmlName Geometry("Geometry");
inline const XmlName X("X");
inline const XmlName Y("Y");
inline const XmlName W("W");
inline const XmlName H("H");
inline const XmlName Rot("Rot");
inline const XmlName ZVAL("ZVAL");
inline const XmlName GZVAL("GZVAL");
inline const XmlName HFlip("HFlip");
inline const XmlName VFlip("VFlip");
inline const XmlName Properties("Properties");
inline const XmlName Name("Name");
inline const XmlName GroupId("GroupId");
inline const XmlName LayerId("LayerId");

// Tag lists: "TagIDs" of charts and schedules, "Tag" entries there and in "ScrollTags", whose
// entries hold their tag in "TagID"
inline const XmlName TagIDs("TagIDs");
inline const XmlName Tag("Tag");
inline const XmlName ScrollTags("ScrollTags");
inline const XmlName TagID("TagID");

// The rows of an item kind that uses the common envelope: "Geometry", then "Properties" with
// "Name", the kind's `properties` attributes, "GroupId" and "LayerId", then the kind's
// `content`. Geometry "X" and "Y" are read as floating point and truncated.
template <class R>
FieldTable<R> envelopeTable(std::initializer_list<Field<R>> properties,
                            std::initializer_list<Field<R>> content)
{
    using B = ItemBaseData_t;
    using F = FieldRows<R>;
    FieldTable<R> rows = {
        F::template attribute<&B::X, Fields::Truncated>(Geometry, X),
        F::template attribute<&B::Y, Fields::Truncated>(Geometry, Y),
        F::template attribute<&B::W>(Geometry, W),
        F::template attribute<&B::H>(Geometry, H),
        F::template attribute<&B::Rot>(Geometry, Rot),
        F::template attribute<&B::ZVAL>(Geometry, ZVAL),
        F::template attribute<&B::GZVAL>(Geometry, GZVAL),
        F::template attribute<&B::HFlip>(Geometry, HFlip),
        F::template attribute<&B::VFlip>(Geometry, VFlip),
        F::template attribute<&B::Name>(Properties, Name),
    };
    rows += properties;
    rows += F::template attribute<&B::GroupId>(Properties, GroupId);
    rows += F::template attribute<&B::LayerId>(Properties, LayerId);
    rows += content;
    return rows;
}

// A new record of kind R with the kind's code in its base record.
template <class R>
R *newItem(int itemKind)
{
    auto *record = new R;
    record->base->itemKind = itemKind;
    return record;
}

// A new record of kind R read through its table.
template <class R, class Node>
R *readRecord(const Node &item, const FieldReader<R> &reader, int itemKind)
{
    R *record = newItem<R>(itemKind);
    reader.read(item, *record);
    return record;
}

// The fields of an item: its base record's as "base.*", then its own (with those of `more`).
template <class R>
RecordFields itemFields(const R &item, const FieldTable<R> &table,
                        const FieldTable<R> &more = FieldTable<R>())
{
    FieldCollector out;
    out.add(&item.base, QStringLiteral("base"), fieldsOf(*item.base));
    collectFields(item, table, out);
    collectFields(item, more, out);
    return out.take();
}

// The copy function of a kind whose fields are all values: every field but `base` (record
// assignment leaves the base record alone). Null or identical arguments change nothing.
template <typename Record>
void copyRecordFields(Record *target, const Record *source)
{
    if (target && source && target != source)
        *target = *source;
}

} // namespace PageXml

// One tag id an item is bound to (ScaFileData::tagBindings): the member holding it and, for a
// list member, the entry's position.
struct ItemTagSlot
{
    int tagId;
    QString member;
    int index;
};
using ItemTagSlots = QVector<ItemTagSlot>;

// Each kind's table, reader (a template over the node type, instantiated for DomNode, TreeNode
// and AuditNode) and, for the kinds that bind tags, the tags its record is bound to. Defined in
// the kind's own source file.
const FieldTable<ScadaObjectLoadData_t> &scadaObjectTable();
const FieldTable<TextItemLoadData_t> &textItemTable();
const FieldTable<DbQueryTextItemLoadData_t> &dbQueryTextTable();
const FieldTable<RealTimeChartItemLoadData_t> &realTimeChartTable();
const FieldTable<GaugeItemLoadData_t> &gaugeTable();
const FieldTable<TableItemLoadData_t> &tableItemTable();
const FieldTable<ImageItemLoadData_t> &imageItemTable();
const FieldTable<WebFrameItemLoadData_t> &webFrameItemTable();
const FieldTable<ScheduleItemLoadData_t> &scheduleItemTable();

template <class Node> ScadaObjectLoadData_t *readScadaObject(const Node &item);
template <class Node> TextItemLoadData_t *readTextItem(const Node &item);
template <class Node> DbQueryTextItemLoadData_t *readDbQueryTextItem(const Node &item);
template <class Node> RealTimeChartItemLoadData_t *readRealTimeChartItem(const Node &item);
template <class Node> GaugeItemLoadData_t *readGaugeItem(const Node &item);
template <class Node> TableItemLoadData_t *readTableItem(const Node &item);
template <class Node> ImageItemLoadData_t *readImageItem(const Node &item);
template <class Node> WebFrameItemLoadData_t *readWebFrameItem(const Node &item);
template <class Node> ScheduleItemLoadData_t *readScheduleItem(const Node &item);

ItemTagSlots scadaObjectTagSlots(const ScadaObjectLoadData_t &item);
ItemTagSlots dbQueryTextTagSlots(const DbQueryTextItemLoadData_t &item);
ItemTagSlots realTimeChartTagSlots(const RealTimeChartItemLoadData_t &item);
ItemTagSlots gaugeTagSlots(const GaugeItemLoadData_t &item);
ItemTagSlots scheduleTagSlots(const ScheduleItemLoadData_t &item);

// The page reader over an audited document (pageAudit.cpp): the page loadFileData reads.
ScaFileData *readAuditedPage(const AuditNode &root, const QString &fileName);
