#include "scaFileProcessor.h"

#include "logging_p.h"
#include "safeSave_p.h"
#include "scaFileFormat_p.h"
#include "scaItemKinds_p.h"
#include "xmlRead_p.h"

#include <QSet>
#include <QTime>

using namespace PageXml;

namespace {

// ---- Page properties -------------------------------------------------------------------------

using P = ScaFileData::PageProperties;
using FP = FieldRows<P>;

// "PageProperties": these elements in this order, then "layerOrder", "pageGeometry" and
// "ScrollTags". The "fileName" written is the path saved to.
const XmlName pageGeometry("pageGeometry");
const XmlName layerOrder("layerOrder");
const int DefaultPageWidth = 250;
const int DefaultPageHeight = 150;

// Scroll tags: one empty "Tag" element each.
const FieldTable<ScrollTagInfo> &scrollTagTable()
{
    using S = FieldRows<ScrollTagInfo>;
    static const FieldTable<ScrollTagInfo> rows = {
        S::ownAttribute<&ScrollTagInfo::TagID>(TagID, "0"),
        S::ownAttribute<&ScrollTagInfo::ScrollText>("ScrollText", "Text"),
    };
    return rows;
}

void scrollTagFields(const Field<P> &, const P &p, FieldCollector &out)
{
    out.addList(&p.scrollTags, QStringLiteral("scrollTags"), p.scrollTags,
                [](const ScrollTagInfo &tag) { return collectFields(tag, scrollTagTable()); });
}

const FieldTable<P> &propertyTable()
{
    static const FieldTable<P> rows = {
        FP::element<&P::pageName>("pageName"),
        FP::element<&P::fileName>("fileName"),
        FP::element<&P::relativePath>("relativePath"),
        FP::element<&P::pageID>("pageID"),
        FP::element<&P::pageType>("pageType"),
        FP::element<&P::geoView>("geoView"),
        FP::element<&P::geoData>("geoData"),
        FP::element<&P::markerCategories>("markerCategories"),
        FP::element<&P::geoCenterPos>("geoCenterPos", "51.5,0,10"),
        FP::element<&P::customPageSize>("customPageSize"),
        FP::element<&P::addScrollingText>("addScrollingText"),
        FP::element<&P::scaleToWindow>("scaleToWindow"),
        FP::element<&P::pageBgImage>("pageBgImage"),
        FP::element<&P::pageIcon>("pageIcon"),
        FP::element<&P::pageAccessRights>("pageAccessRights"),
        FP::element<&P::pageAccessRights2>("pageAccessRights2"),
        FP::member<&P::pageGeometry>("pageGeometry"),
        FP::member(&scrollTagFields),
        FP::member<&P::auxValue>("auxValue"),
        FP::member<&P::auxPageId>("auxPageId"),
        FP::member<&P::auxPageList>("auxPageList"),
    };
    return rows;
}

void writePageGeometry(QXmlStreamWriter &w, const QSize &size)
{
    w.writeEmptyElement(pageGeometry);
    w.writeAttribute(W, QString::number(size.width()));
    w.writeAttribute(H, QString::number(size.height()));
}

void writeScrollTags(QXmlStreamWriter &w, const QList<ScrollTagInfo> &tags)
{
    w.writeStartElement(ScrollTags);
    for (const ScrollTagInfo &tag : tags) {
        w.writeEmptyElement(Tag);
        writeFields(w, tag, scrollTagTable());
    }
    w.writeEndElement(); // </ScrollTags>
}

// ---- Layers ----------------------------------------------------------------------------------

// "layerOrder": entries "id,name,visible,param4,param5;", the name without ";" and ",".
const QChar LayerSeparator = QLatin1Char(';');
const QChar LayerFieldSeparator = QLatin1Char(',');
const int DefaultLayerParam = -1;

// Pages match their layers against their items' layers through the low 32 bits of the ids.
int layerKey(quint64 id)
{
    return int(quint32(id));
}

// The item layers of a page being loaded: each distinct key once, in order of first use.
struct ItemLayers
{
    QSet<int> keys;
    QVector<int> order;

    void add(quint64 layerId)
    {
        const int key = layerKey(layerId);
        if (!keys.contains(key)) {
            keys.insert(key);
            order.append(key);
        }
    }
};

// Reads the "layerOrder" text. A layer no item lies on is dropped; every item layer that the
// text does not list gets a new visible layer, whose id is the 32-bit key widened with its sign.
void readLayers(const QString &text, const ItemLayers &itemLayers, ScaFileData *page)
{
    const QVector<QStringRef> entries = text.splitRef(LayerSeparator, Qt::SkipEmptyParts);
    for (const QStringRef &entry : entries) {
        // Empty fields are dropped, not kept in place: a layer written with an empty name comes
        // back with its later fields shifted one to the left. Existing pages depend on it.
        const QVector<QStringRef> f = entry.split(LayerFieldSeparator, Qt::SkipEmptyParts);
        if (f.isEmpty())
            continue;
        LayerInfo layer;
        layer.id = f.at(0).toULongLong();
        layer.name = f.size() > 1 ? f.at(1).toString() : ScaFileProcessor::tr("New Layer");
        layer.visible = f.size() > 2 ? f.at(2).toInt() != 0 : true;
        layer.param4 = f.size() > 3 ? f.at(3).toInt() : DefaultLayerParam;
        layer.param5 = f.size() > 4 ? f.at(4).toInt() : DefaultLayerParam;
        const int key = layerKey(layer.id);
        if (!itemLayers.keys.contains(key))
            continue;
        page->layerIds.append(key);
        page->layers.append(layer);
    }

    QSet<int> listed(page->layerIds.cbegin(), page->layerIds.cend());
    for (int key : itemLayers.order) {
        if (listed.contains(key))
            continue;
        listed.insert(key);
        LayerInfo layer; // visible, param4 and param5 -1
        layer.name = ScaFileProcessor::tr("New Layer_%1").arg(key);
        layer.id = quint64(qint64(key));
        page->layerIds.append(key);
        page->layers.append(layer);
    }
}

// The "layerOrder" text. Names lose ";" and "," in the page itself first, as the list text
// cannot hold them.
QString layerListText(QList<LayerInfo> &layers)
{
    for (int i = 0; i < layers.size(); ++i) {
        const QString &name = layers.at(i).name;
        if (name.contains(LayerSeparator) || name.contains(LayerFieldSeparator)) {
            QString &changed = layers[i].name;
            changed.remove(LayerSeparator);
            changed.remove(LayerFieldSeparator);
        }
    }
    QString text;
    for (const LayerInfo &layer : layers) {
        text += QString::number(layer.id) + LayerFieldSeparator + layer.name + LayerFieldSeparator
                + Fields::Flag::text(layer.visible) + LayerFieldSeparator
                + QString::number(layer.param4) + LayerFieldSeparator
                + QString::number(layer.param5) + LayerSeparator;
    }
    return text;
}

template <class Node>
void readPageProperties(const Node &element, const QString &fileNameArgument, ScaFileData *page,
                        const ItemLayers &itemLayers)
{
    static const FieldReader<P> reader(propertyTable(), {&layerOrder, &pageGeometry, &ScrollTags});
    P &p = page->pageProperties;
    const ChildElements<Node> children = reader.read(element, p);
    if (!fileNameArgument.isNull())
        p.fileName = fileNameArgument;
    p.auxPageId = -1;

    const Node &geometry = children[reader.indexOf(pageGeometry)];
    const XmlValue width = geometry.attribute(W);
    const XmlValue height = geometry.attribute(H);
    p.pageGeometry = QSize(width.isMissing() ? DefaultPageWidth : width.toInt(),
                           height.isMissing() ? DefaultPageHeight : height.toInt());

    const Node &scrollTags = children[reader.indexOf(ScrollTags)];
    for (Node e = scrollTags.firstChildElement(Tag); !e.isNull(); e = e.nextSiblingElement(Tag)) {
        static const FieldReader<ScrollTagInfo> tagReader(scrollTagTable());
        ScrollTagInfo tag;
        tagReader.read(e, tag);
        p.scrollTags.append(tag);
    }
    readLayers(children[reader.indexOf(layerOrder)].text().toString(), itemLayers, page);
}

// ---- The page --------------------------------------------------------------------------------

void collectScadaObjectLinks(ScaFileData *page)
{
    for (const ScadaObjectLoadData_t *object : qAsConst(page->scadaObjects)) {
        page->labelTagIds.append(object->tagID_label);
        if (!object->pageFunction.isEmpty())
            page->pageFunctionLinks.append(object->pageFunction
                                           + QStringLiteral(":%1").arg(object->userConst1));
    }
}

// The kind of an "Item" element from its "ItemType" child: no "ItemType" is a SCADA object;
// any text not in the table (case counts) gives null.
template <class Node>
const ItemKind<Node> *itemKindOf(const Node &item)
{
    const Node type = item.firstChildElement(ItemType);
    const auto &kinds = itemKinds<Node>();
    if (type.isNull())
        return &kinds.front();
    const QString text = type.text().toSharedString();
    for (const ItemKind<Node> &kind : kinds) {
        if (text == kind.itemType)
            return &kind;
    }
    return nullptr;
}

// A new page from the root element of a page file (whatever its name).
template <class Node>
ScaFileData *readPage(const Node &root, const QString &fileName)
{
    auto *page = new ScaFileData;
    ItemLayers itemLayers;
    const Node itemList = root.firstChildElement(ItemList);
    for (Node item = itemList.firstChildElement(Item); !item.isNull();
         item = item.nextSiblingElement(Item)) {
        if (const ItemKind<Node> *kind = itemKindOf(item))
            itemLayers.add(kind->read(item, page)->LayerId);
    }
    collectScadaObjectLinks(page);

    readPageProperties(root.firstChildElement(PageProperties), fileName, page, itemLayers);
    return page;
}

} // namespace

ScaFileProcessor::ScaFileProcessor(QObject *parent)
    : QObject(parent)
{
}

ScaFileProcessor::~ScaFileProcessor() = default;

ScaFileData *ScaFileProcessor::loadFileData(const QByteArray &data, QString fileName)
{
    ScaFileData *page = nullptr;
    readXmlDocument(data, [&](const auto &root) { page = readPage(root, fileName); });
    return page;
}

bool ScaFileProcessor::saveFileData(ScaFileData *page, QString fileName)
{
    qCDebug(tirrelPage).noquote() << QStringLiteral("saveFiledata  start : ")
                                     + QTime::currentTime().toString(QStringLiteral("ss.zzz"));
    if (!page)
        return false;

    const SaveResult result = saveFileSafely(fileName, QIODevice::NotOpen, [&](QIODevice &file) {
        QXmlStreamWriter w(&file);
        w.setAutoFormatting(true);
        w.writeStartDocument();
        w.writeStartElement(ScadaFile);

        w.writeStartElement(ItemList);
        for (const auto &kind : pageItemKinds())
            kind.write(w, *page, kind.itemType);
        w.writeEndElement(); // </ItemList>

        w.writeStartElement(PageProperties);
        P properties = page->pageProperties;
        properties.fileName = fileName;
        writeFields(w, properties, propertyTable());
        writeText(w, layerOrder, layerListText(page->layers));
        writePageGeometry(w, properties.pageGeometry);
        writeScrollTags(w, properties.scrollTags);
        w.writeEndElement(); // </PageProperties>

        w.writeEndElement(); // </ScadaFile>
        w.writeEndDocument();
        return !w.hasError();
    });
    return succeeded(result);
}

// ---- Fields ----------------------------------------------------------------------------------

RecordFields fieldsOf(const ItemBaseData_t &base)
{
    using B = ItemBaseData_t;
    static const FieldTable<B> table =
            envelopeTable<B>({}, {FieldRows<B>::member<&B::itemKind>("itemKind")});
    return collectFields(base, table);
}

RecordFields fieldsOf(const LayerInfo &layer)
{
    using L = FieldRows<LayerInfo>;
    static const FieldTable<LayerInfo> table = {
        L::member<&LayerInfo::name>("name"),
        L::member<&LayerInfo::id>("id"),
        L::member<&LayerInfo::visible>("visible"),
        L::member<&LayerInfo::param4>("param4"),
        L::member<&LayerInfo::param5>("param5"),
    };
    return collectFields(layer, table);
}

RecordFields fieldsOf(const ScaFileData::PageProperties &properties)
{
    return collectFields(properties, propertyTable());
}

QVector<PageItemFields> itemFieldsOf(const ScaFileData &page)
{
    QVector<PageItemFields> items;
    for (const auto &kind : pageItemKinds())
        items.append({kind.itemType, kind.fields(page)});
    return items;
}

// ---- Audited reading -------------------------------------------------------------------------

ScaFileData *readAuditedPage(const AuditNode &root, const QString &fileName)
{
    return readPage(root, fileName);
}
