#pragma once

// The kinds of page items, in one table (scaItemKinds.cpp): each entry ties the "ItemType" text
// to the kind's reader (ScaFileProcessor::*FromXML), its content writer (declared below), its
// copy function (declared with its record in scaFileData.h) and the page's list of that kind.
// The page file reader dispatches through it, the writer emits the kinds in its order,
// ScaFileData::clone copies every kind through it and ScaFileData::deleteAllItems deletes every
// kind through it (the deletion comes with makeItemKind, from the list alone).
//
// Adding a kind: its record and copy function in scaFileData.h, its reader in
// scaFileProcessor.h, its content writer here, the three defined in the kind's own source file,
// and one makeItemKind entry in the table.

#include "scaFileData.h"

#include <QPair>
#include <QVector>

#include <array>

class QDomElement;
class QXmlStreamWriter;

// Trivially destructible, so that the table stays usable while static objects are destroyed
// (a host may delete its pages from a static destructor).
struct ItemKind
{
    // The "ItemType" text, compared exactly.
    QLatin1String itemType;
    // Reads one "Item" element into a new record, appends it to the page's list of the kind and
    // returns its base record.
    ItemBaseData_t *(*read)(QDomElement *item, ScaFileData *page);
    // Writes one "Item" element (with its "ItemType") per record of the page's list, in order.
    void (*write)(QXmlStreamWriter &writer, const ScaFileData &page, QLatin1String itemType);
    // Replaces target's list of the kind by deep copies of the records in source's list.
    void (*copy)(const ScaFileData &source, ScaFileData *target);
    // Deletes every record of the page's list of the kind and empties the list.
    void (*deleteAll)(ScaFileData *page);
};

constexpr int ItemKindCount = 9;

// Every kind, in the order the page file writer emits them.
const std::array<ItemKind, ItemKindCount> &itemKinds();

// The kind of an "Item" element from its "ItemType" child: a null element (no "ItemType")
// is a SCADA object; any text not in the table (case counts) gives null.
const ItemKind *itemKindFor(const QDomElement &itemType);

// Content writers: everything of one "Item" after its "ItemType" element (the envelope or the
// kind's own geometry form, then the kind's elements). Defined beside the kind's reader.
void writeScadaObject(QXmlStreamWriter &writer, const ScadaObjectLoadData_t &item);
void writeTextItem(QXmlStreamWriter &writer, const TextItemLoadData_t &item);
void writeDbQueryTextItem(QXmlStreamWriter &writer, const DbQueryTextItemLoadData_t &item);
void writeRealTimeChartItem(QXmlStreamWriter &writer, const RealTimeChartItemLoadData_t &item);
void writeGaugeItem(QXmlStreamWriter &writer, const GaugeItemLoadData_t &item);
void writeTableItem(QXmlStreamWriter &writer, const TableItemLoadData_t &item);
void writeImageItem(QXmlStreamWriter &writer, const ImageItemLoadData_t &item);
void writeWebFrameItem(QXmlStreamWriter &writer, const WebFrameItemLoadData_t &item);
void writeScheduleItem(QXmlStreamWriter &writer, const ScheduleItemLoadData_t &item);

// A SCADA object's tag slots that the page file carries, in writing order: each slot's "TagIDs"
// attribute name (also the record member's name) with the id it holds. For
// ScaFileData::tagBindings, so that the slot names stay in the kind's own table.
QVector<QPair<QString, int>> scadaObjectTagSlots(const ScadaObjectLoadData_t &item);
