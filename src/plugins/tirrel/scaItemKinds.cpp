#include "scaItemKinds_p.h"

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"

#include <type_traits>

namespace {

// A table entry from the kind's page list, reader, content writer and copy function; the record
// type follows from the reader.
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
    };
    return {itemType, &Ops::read, &Ops::write, &Ops::copy};
}

const QString ScadaObjectType = QStringLiteral("ScadaObject");

} // namespace

const QVector<ItemKind> &itemKinds()
{
    // Writing order. Further kinds go in this order: "TextItem", "ScheduleItem", "RTChartItem",
    // "DbqTextItem", "TableItem", "ImageItem", "GaugeItem", "WebFrameItem". Reading matches the
    // texts exactly, so the order does not matter there.
    static const QVector<ItemKind> kinds = {
        makeItemKind<&ScaFileData::scadaObjects, &ScaFileProcessor::scadaObjectFromXML,
                     &writeScadaObject, &copyScadaObjectData>(ScadaObjectType),
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
