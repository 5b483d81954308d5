#include "scaItemKinds_p.h"

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"

#include <type_traits>

namespace {

// A table entry from the kind's page list, reader, content writer and copy function; the record
// type follows from the reader, and the deletion of a page's records from the list.
template <auto List, auto Read, auto Write, auto Copy>
constexpr ItemKind makeItemKind(QLatin1String itemType)
{
    using Record = std::remove_pointer_t<decltype(Read(nullptr))>;
    struct Ops
    {
        static ItemBaseData_t *read(QDomElement *item, ScaFileData *page)
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
                Write(w, *record);
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
    };
    return {itemType, &Ops::read, &Ops::write, &Ops::copy, &Ops::deleteAll};
}

constexpr QLatin1String ScadaObjectType("ScadaObject", 11);

} // namespace

const std::array<ItemKind, ItemKindCount> &itemKinds()
{
    // Writing order. Reading matches the texts exactly, so the order does not matter there.
    static constexpr std::array<ItemKind, ItemKindCount> kinds = {
        makeItemKind<&ScaFileData::scadaObjects, &ScaFileProcessor::scadaObjectFromXML,
                     &writeScadaObject, &copyScadaObjectData>(ScadaObjectType),
        makeItemKind<&ScaFileData::textItems, &ScaFileProcessor::textItemFromXML,
                     &writeTextItem, &copyTextItemData>(QLatin1String("TextItem", 8)),
        makeItemKind<&ScaFileData::scheduleItems, &ScaFileProcessor::schItemFromXML,
                     &writeScheduleItem, &copyScheduleItemData>(QLatin1String("ScheduleItem", 12)),
        makeItemKind<&ScaFileData::rtChartItems, &ScaFileProcessor::rtchartItemFromXML,
                     &writeRealTimeChartItem, &copyRealTimeChartItemData>(QLatin1String("RTChartItem", 11)),
        makeItemKind<&ScaFileData::dbqTextItems, &ScaFileProcessor::dbqTextItemFromXML,
                     &writeDbQueryTextItem, &copyDbQueryTextItemData>(QLatin1String("DbqTextItem", 11)),
        makeItemKind<&ScaFileData::tableItems, &ScaFileProcessor::tableItemFromXML,
                     &writeTableItem, &copyTableItemData>(QLatin1String("TableItem", 9)),
        makeItemKind<&ScaFileData::imageItems, &ScaFileProcessor::imageItemFromXML,
                     &writeImageItem, &copyImageItemData>(QLatin1String("ImageItem", 9)),
        makeItemKind<&ScaFileData::gaugeItems, &ScaFileProcessor::gaugeItemFromXML,
                     &writeGaugeItem, &copyGaugeItemData>(QLatin1String("GaugeItem", 9)),
        makeItemKind<&ScaFileData::webFrameItems, &ScaFileProcessor::webFrameItemFromXML,
                     &writeWebFrameItem, &copyWebFrameItemData>(QLatin1String("WebFrameItem", 12)),
    };
    return kinds;
}

const ItemKind *itemKindFor(const QDomElement &itemType)
{
    const QString text = itemType.isNull() ? QString(ScadaObjectType) : itemType.text();
    for (const ItemKind &kind : itemKinds()) {
        if (kind.itemType == text)
            return &kind;
    }
    return nullptr;
}
