#include "scaItemKinds_p.h"

#include "scaFileFormat_p.h"

#include <type_traits>

namespace {

// A table entry from the kind's page list, reader, field table (the content of its "Item"
// after "ItemType"), copy function and tag slots (nullptr for kinds without tags); the record
// type follows from the list.
template <class Node, auto List, auto Read, auto Table, auto Copy, auto TagSlots>
constexpr ItemKind<Node> makeItemKind(QLatin1String itemType)
{
    using Records = std::remove_reference_t<decltype(std::declval<ScaFileData>().*List)>;
    using Record = std::remove_pointer_t<typename Records::value_type>;
    struct Ops
    {
        static ItemBaseData_t *read(const Node &item, ScaFileData *page)
        {
            Record *record = Read(item);
            (page->*List).append(record);
            return record->base;
        }
        static void write(QXmlStreamWriter &w, const ScaFileData &page, QLatin1String itemType)
        {
            const QString type(itemType);
            for (const Record *record : page.*List) {
                if (!record)
                    continue;
                w.writeStartElement(PageXml::Item);
                w.writeTextElement(PageXml::ItemType, type);
                writeFields(w, *record, Table());
                w.writeEndElement(); // </Item>
            }
        }
        static void copy(const ScaFileData &source, ScaFileData *target)
        {
            QList<Record *> copies;
            copies.reserve((source.*List).size());
            for (const Record *record : source.*List) {
                Record *copy = nullptr;
                if (record) {
                    copy = new Record;
                    *copy->base = *record->base;
                    Copy(copy, record);
                }
                copies.append(copy);
            }
            target->*List = copies;
        }
        static void deleteAll(ScaFileData *page)
        {
            // Emptied before the records go, so the list never holds a deleted record.
            const QList<Record *> records = qExchange(page->*List, QList<Record *>());
            qDeleteAll(records);
        }
        static int count(const ScaFileData &page) { return (page.*List).size(); }
        static void tagBindings(const ScaFileData &page, QLatin1String itemType,
                                QList<TagBinding_t> *bindings)
        {
            if constexpr (!std::is_null_pointer_v<decltype(TagSlots)>) {
                const QList<Record *> &records = page.*List;
                for (int i = 0; i < records.size(); ++i) {
                    const Record *record = records.at(i);
                    if (!record)
                        continue;
                    for (const ItemTagSlot &slot : TagSlots(*record)) {
                        if (slot.tagId == -1)
                            continue;
                        TagBinding_t b;
                        b.tagId = slot.tagId;
                        b.itemType = itemType;
                        b.itemIndex = i;
                        b.itemName = record->base ? record->base->Name : QString();
                        if constexpr (std::is_same_v<Record, ScadaObjectLoadData_t>)
                            b.uid = record->Uid;
                        b.slot = slot.member;
                        b.slotIndex = slot.index;
                        bindings->append(b);
                    }
                }
            }
        }
        static QVector<RecordFields> fields(const ScaFileData &page)
        {
            QVector<RecordFields> all;
            all.reserve((page.*List).size());
            for (const Record *record : page.*List)
                all.append(record ? fieldsOf(*record) : RecordFields());
            return all;
        }
    };
    return {itemType, &Ops::read, &Ops::write, &Ops::copy, &Ops::deleteAll, &Ops::count,
            std::is_null_pointer_v<decltype(TagSlots)> ? nullptr : &Ops::tagBindings,
            &Ops::fields};
}

// QLatin1String(const char *) counts with strlen, which is not a constant expression everywhere.
template <int N>
constexpr QLatin1String latin1(const char (&text)[N])
{
    return QLatin1String(text, N - 1);
}

} // namespace

template <class Node>
const std::array<ItemKind<Node>, ItemKindCount> &itemKinds()
{
    // Writing order. Reading matches the texts exactly, so the order does not matter there.
    using P = ScaFileData;
    static constexpr std::array<ItemKind<Node>, ItemKindCount> kinds = {
        makeItemKind<Node, &P::scadaObjects, &readScadaObject<Node>, &scadaObjectTable,
                     &copyScadaObjectData, &scadaObjectTagSlots>(latin1("ScadaObject")),
        makeItemKind<Node, &P::textItems, &readTextItem<Node>, &textItemTable,
                     &copyTextItemData, nullptr>(latin1("TextItem")),
        makeItemKind<Node, &P::scheduleItems, &readScheduleItem<Node>, &scheduleItemTable,
                     &copyScheduleItemData, &scheduleTagSlots>(latin1("ScheduleItem")),
        makeItemKind<Node, &P::rtChartItems, &readRealTimeChartItem<Node>, &realTimeChartTable,
                     &copyRealTimeChartItemData, &realTimeChartTagSlots>(latin1("RTChartItem")),
        makeItemKind<Node, &P::dbqTextItems, &readDbQueryTextItem<Node>, &dbQueryTextTable,
                     &copyDbQueryTextItemData, &dbQueryTextTagSlots>(latin1("DbqTextItem")),
        makeItemKind<Node, &P::tableItems, &readTableItem<Node>, &tableItemTable,
                     &copyTableItemData, nullptr>(latin1("TableItem")),
        makeItemKind<Node, &P::imageItems, &readImageItem<Node>, &imageItemTable,
                     &copyImageItemData, nullptr>(latin1("ImageItem")),
        makeItemKind<Node, &P::gaugeItems, &readGaugeItem<Node>, &gaugeTable,
                     &copyGaugeItemData, &gaugeTagSlots>(latin1("GaugeItem")),
        makeItemKind<Node, &P::webFrameItems, &readWebFrameItem<Node>, &webFrameItemTable,
                     &copyWebFrameItemData, nullptr>(latin1("WebFrameItem")),
    };
    return kinds;
}

template const std::array<ItemKind<AuditNode>, ItemKindCount> &itemKinds<AuditNode>();
template const std::array<ItemKind<DomNode>, ItemKindCount> &itemKinds<DomNode>();
template const std::array<ItemKind<TreeNode>, ItemKindCount> &itemKinds<TreeNode>();
