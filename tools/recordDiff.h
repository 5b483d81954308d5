#pragma once
// What changed between two pages or two definition files, record by record and field by field,
// through the library's field listing (fieldsOf): no output here, diffCommand.cpp prints it.
//
// Records are paired by their key, each kind its own way:
//   - the page's properties with each other (fileName, the path the page was read from, left
//     out); layers by id;
//   - items within their kind: a record with a "Uid" field (SCADA objects) by its Uid, any
//     other by its name, and those still unpaired by their place (base.X, base.Y), so that a
//     renamed item is a changed one;
//   - channels and tags by Id, alarms by alarm_name (the name the editor keeps unique; an
//     alarm's Id is free to change with it).
// Where several records share a key, one at the same place is taken first, then the next one in
// list order. Two records are equal when every field is: the same type and the same value, NaN
// equal to NaN.

#include <recordFields_p.h>

#include <QString>
#include <QVariant>
#include <QVector>

namespace recorddiff {

// A field that differs. A field that only one side has (an entry of a longer list) is absent on
// the other.
struct FieldChange
{
    QString name;               // as the field listing names it: "base.X", "TagIDs[2].LineColor"
    QVariant oldValue;
    QVariant newValue;
    bool inOld = true;
    bool inNew = true;
};

struct RecordChange
{
    enum Change { Added, Removed, Changed };
    enum Section { PageProperties, Layer, Item, Channel, Tag, Alarm };

    Change change = Changed;
    Section section = Item;
    QString itemType;           // items: the kind's "ItemType" text
    // Position in its list (the page's list of the item's kind, layers, ChannelList, ...) in the
    // new file; in the old one for a removed record.
    int index = -1;
    QString name;               // base.Name, a layer's name, Name, alarm_name
    QVariant id;                // Uid, a layer's id, Id; invalid for records without one
    QVector<FieldChange> fields;    // Changed: every field that differs, in field order
};

// The changes from oldPage to newPage, in a stable order: the page properties, then layers, then
// items, each section with the new page's records in its order (items by kind in the page
// file's order), then the removed ones in the old page's order.
QVector<RecordChange> comparePages(const ScaFileData &oldPage, const ScaFileData &newPage);
// The same for definition files: channels, tags, alarms.
QVector<RecordChange> compareDefinitions(const FileDataTree &oldTree, const FileDataTree &newTree);

// The fields that differ between two listings of records of one kind, in field order (a field
// only the old listing has comes where it stood there).
QVector<FieldChange> compareFields(const RecordFields &oldFields, const RecordFields &newFields);

// A field's value as text, whole and exact: numbers in the shortest form that reads back the
// same, texts in double quotes (\" and \\ escaped), colours as #rrggbb (#aarrggbb when not
// opaque), fonts as Qt describes them, lists in braces: {1,2,3}.
QString valueText(const QVariant &value);

} // namespace recorddiff
