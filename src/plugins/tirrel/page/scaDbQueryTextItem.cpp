// Database-query text items: the record's table, reader and copy. The item uses
// the common envelope; each of its own values is the text of one child element, and a missing
// one leaves the new record's value.

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"

using namespace PageXml;

namespace {

using R = DbQueryTextItemLoadData_t;
using F = FieldRows<R>;

const int DbQueryTextItemKind = 5; // the code of a real-time chart too

const XmlName reportTag("reportTag");

} // namespace

// Writing order.
const FieldTable<R> &dbQueryTextTable()
{
    static const FieldTable<R> rows = envelopeTable<R>({}, {
        F::element<&R::bgColor>("bgColor"),
        F::element<&R::txtColor>("txtColor"),
        F::element<&R::labelText>("labelText"),
        F::element<&R::txtPixelSize>("txtPixelSize"),
        F::element<&R::reportUnit>("reportUnit"),
        F::element<&R::reportType>("reportType"),
        F::element<&R::reportTag>(reportTag),
        F::element<&R::updateInterval>("updateInterval"),
        F::element<&R::timeFactor>("timeFactor"),
        F::element<&R::labelStyleSheet>("labelStyleSheet"),
        F::element<&R::lofx>("lofx"),
        F::element<&R::lofy>("lofy"),
        F::member<&R::auxFlag1>("auxFlag1"),
        F::member<&R::auxFlag2>("auxFlag2"),
        F::member<&R::auxFlag3>("auxFlag3"),
        F::member<&R::auxValue>("auxValue"),
    });
    return rows;
}

template <class Node>
DbQueryTextItemLoadData_t *readDbQueryTextItem(const Node &item)
{
    static const FieldReader<R> reader(dbQueryTextTable());
    return readRecord(item, reader, DbQueryTextItemKind);
}
template DbQueryTextItemLoadData_t *readDbQueryTextItem(const AuditNode &);
template DbQueryTextItemLoadData_t *readDbQueryTextItem(const DomNode &);
template DbQueryTextItemLoadData_t *readDbQueryTextItem(const TreeNode &);

DbQueryTextItemLoadData_t *ScaFileProcessor::dbqTextItemFromXML(QDomElement *item)
{
    return readDbQueryTextItem(item ? DomNode(*item) : DomNode());
}

void copyDbQueryTextItemData(DbQueryTextItemLoadData_t *target,
                             const DbQueryTextItemLoadData_t *source)
{
    copyRecordFields(target, source);
}

ItemTagSlots dbQueryTextTagSlots(const DbQueryTextItemLoadData_t &item)
{
    return {{item.reportTag, reportTag.string(), -1}};
}

RecordFields fieldsOf(const DbQueryTextItemLoadData_t &item)
{
    return itemFields(item, dbQueryTextTable());
}
