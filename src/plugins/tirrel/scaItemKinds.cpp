#include "scaItemKinds_p.h"

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"

#include <type_traits>

namespace {

// A table entry from the kind's page list, reader, content writer and copy function; the record
// type follows from the reader, and the deletion of a page's records from the list.
template <auto List, auto Read, auto Write, auto Copy>
ItemKind makeItemKind(const QString &itemType)
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
        static void write(QXmlStreamWriter &w, const ScaFileData &page, const QString &itemType)
        {
            for (const Record *record : page.*List) {
                if (!record)
                    continue;
                w.writeStartElement(PageXml::Item);
                w.writeTextElement(PageXml::ItemType, itemType);
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

const QString ScadaObjectType = QStringLiteral("ScadaObject");

} // namespace

const QVector<ItemKind> &itemKinds()
{
    // Writing order. Reading matches the texts exactly, so the order does not matter there.
    static const QVector<ItemKind> kinds = {
        makeItemKind<&ScaFileData::scadaObjects, &ScaFileProcessor::scadaObjectFromXML,
                     &writeScadaObject, &copyScadaObjectData>(ScadaObjectType),
        makeItemKind<&ScaFileData::textItems, &ScaFileProcessor::textItemFromXML,
                     &writeTextItem, &copyTextItemData>(QStringLiteral("TextItem")),
        makeItemKind<&ScaFileData::scheduleItems, &ScaFileProcessor::schItemFromXML,
                     &writeScheduleItem, &copyScheduleItemData>(QStringLiteral("ScheduleItem")),
        makeItemKind<&ScaFileData::rtChartItems, &ScaFileProcessor::rtchartItemFromXML,
                     &writeRealTimeChartItem, &copyRealTimeChartItemData>(QStringLiteral("RTChartItem")),
        makeItemKind<&ScaFileData::dbqTextItems, &ScaFileProcessor::dbqTextItemFromXML,
                     &writeDbQueryTextItem, &copyDbQueryTextItemData>(QStringLiteral("DbqTextItem")),
        makeItemKind<&ScaFileData::tableItems, &ScaFileProcessor::tableItemFromXML,
                     &writeTableItem, &copyTableItemData>(QStringLiteral("TableItem")),
        makeItemKind<&ScaFileData::imageItems, &ScaFileProcessor::imageItemFromXML,
                     &writeImageItem, &copyImageItemData>(QStringLiteral("ImageItem")),
        makeItemKind<&ScaFileData::gaugeItems, &ScaFileProcessor::gaugeItemFromXML,
                     &writeGaugeItem, &copyGaugeItemData>(QStringLiteral("GaugeItem")),
        makeItemKind<&ScaFileData::webFrameItems, &ScaFileProcessor::webFrameItemFromXML,
                     &writeWebFrameItem, &copyWebFrameItemData>(QStringLiteral("WebFrameItem")),
    };
    return kinds;
}

const ItemKind *itemKindFor(const QDomElement &itemType)
{
    const QString text = itemType.isNull() ? ScadaObjectType : itemType.text();
    for (const ItemKind &kind : itemKinds()) {
        if (kind.itemType == text)
            return &kind;
    }
    return nullptr;
}
