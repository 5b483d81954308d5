#pragma once

// The kinds of page items, in one table (scaItemKinds.cpp): each entry ties the "ItemType" text
// to the kind's reader, field table (which writes it), copy function, tag slots and the page's
// list of that kind. The page reader dispatches through it, the writer emits the kinds in its
// order, ScaFileData::clone, deleteAllItems, itemCounts and tagBindings go through it, and so
// does the items' field listing (itemFieldsOf).
//
// Adding a kind: its record, page list and copy function in scaFileData.h, its field table and
// reader in a source file of its own (declared in scaFileFormat_p.h), one entry here.

#include "recordFields_p.h"
#include "scaFileData.h"
#include "xmlNode_p.h"
#include "xmlTree_p.h"

#include <QLatin1String>

#include <array>

class QXmlStreamWriter;
struct ItemTagSlot;

// Trivially destructible, so that the table stays usable while static objects are destroyed
// (a host may delete its pages from a static destructor). Only `read` depends on the node type.
template <class Node>
struct ItemKind
{
    // The "ItemType" text, compared exactly.
    QLatin1String itemType;
    // Reads one "Item" element into a new record, appends it to the page's list of the kind and
    // returns its base record.
    ItemBaseData_t *(*read)(const Node &item, ScaFileData *page);
    // Writes one "Item" element (with its "ItemType") per record of the page's list, in order.
    void (*write)(QXmlStreamWriter &writer, const ScaFileData &page, QLatin1String itemType);
    // Replaces target's list of the kind by deep copies of the records in source's list.
    void (*copy)(const ScaFileData &source, ScaFileData *target);
    // Deletes every record of the page's list of the kind and empties the list.
    void (*deleteAll)(ScaFileData *page);
    // The number of records in the page's list of the kind.
    int (*count)(const ScaFileData &page);
    // Appends the tag bindings of the page's records of the kind; null for kinds without tags.
    void (*tagBindings)(const ScaFileData &page, QLatin1String itemType,
                        QList<TagBinding_t> *bindings);
    // The fields of each record of the page's list of the kind (fieldsOf), in list order; a
    // null record has none.
    QVector<RecordFields> (*fields)(const ScaFileData &page);
};

constexpr int ItemKindCount = 9;

// Every kind, in the order the page file writer emits them; instantiated for DomNode, TreeNode
// and, for audited reading, AuditNode.
template <class Node>
const std::array<ItemKind<Node>, ItemKindCount> &itemKinds();

// The table for everything but reading, which does not depend on the node type.
inline const std::array<ItemKind<DomNode>, ItemKindCount> &pageItemKinds()
{
    return itemKinds<DomNode>();
}
