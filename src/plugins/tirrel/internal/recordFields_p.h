#pragma once

// Every field of a record as a name and a value, in the record's declaration order, taken from
// the format's field tables: for the tests' dumps and for comparing records field by field.
//
// Names are the members' names. A sub-record adds its fields under its own name:
// "base.X" (the base record of an item), "TagIDs[1].LineColor" (a chart line),
// "rows[0][2].cellFont" (a table cell), "scrollTags[0].ScrollText", "auxEntries[1].text".
// A list of sub-records first gives its length ("TagIDs.size"); a null entry of a list of
// pointers gives the entry's name with an invalid value. Values are the members' own types
// (int, qint64, quint64, bool, float, double, QString, QColor, QFont, QBrush, QSize, QByteArray,
// QList<int>, QList<double>); a list of plain values is one field.

#include "scaFileData.h"
#include "scadaEngine.h"
#include "tgchFileProcessor.h"
#include "tirrel_global.h"

#include <QString>
#include <QVariant>
#include <QVector>

struct RecordField
{
    QString name;
    QVariant value;
};
using RecordFields = QVector<RecordField>;

// Page items: the base record's fields first, as "base.<name>".
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const ItemBaseData_t &base);
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const ScadaObjectLoadData_t &item);
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const TextItemLoadData_t &item);
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const DbQueryTextItemLoadData_t &item);
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const RealTimeChartItemLoadData_t &item);
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const GaugeItemLoadData_t &item);
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const TableItemLoadData_t &item);
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const TableCell &cell);
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const ImageItemLoadData_t &item);
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const WebFrameItemLoadData_t &item);
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const ScheduleItemLoadData_t &item);
// The page's layers and its properties with their scroll tags.
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const LayerInfo &layer);
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const ScaFileData::PageProperties &properties);
// The items of a page: one entry per item kind, in the order the page file writes the kinds,
// with the kind's "ItemType" text and the fields of each record of the page's list of that kind,
// in list order (a null record has none).
struct PageItemFields
{
    QString itemType;
    QVector<RecordFields> records;
};
TIRREL_AUTOTEST_EXPORT QVector<PageItemFields> itemFieldsOf(const ScaFileData &page);

// Definition records
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const pKanalDef_t &channel);
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const pEtiketDef_t &tag);
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const pAlarmItem_t &alarm);

// Object library records
TIRREL_AUTOTEST_EXPORT RecordFields fieldsOf(const ScadaLibObject &object);
