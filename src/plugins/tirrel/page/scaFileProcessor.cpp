#include "scaFileProcessor.h"

#include "scaFileFormat_p.h"
#include "scaItemKinds_p.h"
#include "safeSave_p.h"
#include "xmlLimits_p.h"

#include <QDebug>
#include <QDomDocument>
#include <QSet>
#include <QTime>

namespace {

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

// ---- Page properties -------------------------------------------------------------------------

void readPageProperties(const QDomElement &e, const QString &fileNameArgument, ScaFileData *page)
{
    using namespace PageXml;
    ScaFileData::PageProperties &p = page->pageProperties;
    p.pageName = readText(e, pageName);
    p.fileName = fileNameArgument.isNull() ? readText(e, fileName) : fileNameArgument;
    p.relativePath = readText(e, relativePath);
    p.pageID = readInt(e, pageID, DefaultPageID);
    p.auxPageId = -1;
    p.pageType = readInt(e, pageType, 0);
    p.geoView = readFlag(e, geoView, false);
    p.geoData = readText(e, geoData);
    p.markerCategories = readText(e, markerCategories);
    p.geoCenterPos = readText(e, geoCenterPos, DefaultGeoCenterPos);
    p.customPageSize = readFlag(e, customPageSize, false);
    p.addScrollingText = readFlag(e, addScrollingText, false);
    p.scaleToWindow = readInt(e, scaleToWindow, 0);
    p.pageBgImage = readText(e, pageBgImage);
    p.pageIcon = readText(e, pageIcon);
    p.pageAccessRights = readInt64(e, pageAccessRights, 0);
    p.pageAccessRights2 = readInt64(e, pageAccessRights2, 0);
    const QDomElement geometry = e.firstChildElement(pageGeometry);
    p.pageGeometry = QSize(intAttr(geometry, W, DefaultPageWidth),
                           intAttr(geometry, H, DefaultPageHeight));
}

void writePageProperties(QXmlStreamWriter &w, const ScaFileData::PageProperties &p,
                         const QString &fileNameArgument)
{
    using namespace PageXml;
    writeText(w, pageName, p.pageName);
    writeText(w, fileName, fileNameArgument);
    writeText(w, relativePath, p.relativePath);
    writeInt(w, pageID, p.pageID);
    writeInt(w, pageType, p.pageType);
    writeFlag(w, geoView, p.geoView);
    writeText(w, geoData, p.geoData);
    writeText(w, markerCategories, p.markerCategories);
    writeText(w, geoCenterPos, p.geoCenterPos);
    writeFlag(w, customPageSize, p.customPageSize);
    writeFlag(w, addScrollingText, p.addScrollingText);
    writeInt(w, scaleToWindow, p.scaleToWindow);
    writeText(w, pageBgImage, p.pageBgImage);
    writeText(w, pageIcon, p.pageIcon);
    writeInt(w, pageAccessRights, p.pageAccessRights);
    writeInt(w, pageAccessRights2, p.pageAccessRights2);
}

void writePageGeometry(QXmlStreamWriter &w, const QSize &size)
{
    using namespace PageXml;
    w.writeEmptyElement(pageGeometry);
    writeAttr(w, W, size.width());
    writeAttr(w, H, size.height());
}

// ---- Layers ----------------------------------------------------------------------------------

// Reads the "layerOrder" text. A layer no item lies on is dropped; every item layer that the
// text does not list gets a new visible layer.
void readLayers(const QString &text, const ItemLayers &itemLayers, ScaFileData *page)
{
    using namespace PageXml;
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
        LayerInfo layer;
        layer.name = ScaFileProcessor::tr("New Layer_%1").arg(key);
        layer.id = quint32(key);
        layer.visible = true;
        layer.param4 = DefaultLayerParam;
        layer.param5 = DefaultLayerParam;
        page->layerIds.append(key);
        page->layers.append(layer);
    }
}

// The "layerOrder" text. Names lose ";" and "," in the page itself first, as the list text
// cannot hold them.
QString layerListText(QList<LayerInfo> &layers)
{
    using namespace PageXml;
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
                + flagText(layer.visible) + LayerFieldSeparator + QString::number(layer.param4)
                + LayerFieldSeparator + QString::number(layer.param5) + LayerSeparator;
    }
    return text;
}

// ---- Scroll tags -----------------------------------------------------------------------------

void readScrollTags(const QDomElement &scrollTags, QList<ScrollTagInfo> *tags)
{
    using namespace PageXml;
    for (QDomElement e = scrollTags.firstChildElement(Tag); !e.isNull();
         e = e.nextSiblingElement(Tag)) {
        ScrollTagInfo tag;
        tag.TagID = e.attribute(TagID, DefaultScrollTagID).toInt();
        tag.ScrollText = textAttr(e, ScrollText, DefaultScrollText);
        tags->append(tag);
    }
}

void writeScrollTags(QXmlStreamWriter &w, const QList<ScrollTagInfo> &tags)
{
    using namespace PageXml;
    w.writeStartElement(ScrollTags);
    for (const ScrollTagInfo &tag : tags) {
        w.writeEmptyElement(Tag);
        writeAttr(w, TagID, tag.TagID);
        writeAttr(w, ScrollText, tag.ScrollText);
    }
    w.writeEndElement(); // </ScrollTags>
}

// ---- Derived lists ---------------------------------------------------------------------------

void collectScadaObjectLinks(ScaFileData *page)
{
    for (const ScadaObjectLoadData_t *object : qAsConst(page->scadaObjects)) {
        page->labelTagIds.append(object->tagID_label);
        if (!object->pageFunction.isEmpty())
            page->pageFunctionLinks.append(object->pageFunction
                                           + QStringLiteral(":%1").arg(object->userConst1));
    }
}

} // namespace

ScaFileProcessor::ScaFileProcessor(QObject *parent)
    : QObject(parent)
{
}

ScaFileProcessor::~ScaFileProcessor() = default;

ScaFileData *ScaFileProcessor::loadFileData(const QByteArray &data, QString fileName)
{
    QDomDocument document;
    if (!checkXmlLimits(data) || !document.setContent(data, false))
        return nullptr;
    const QDomElement root = document.documentElement();

    auto *page = new ScaFileData;
    ItemLayers itemLayers;
    const QDomElement itemList = root.firstChildElement(PageXml::ItemList);
    for (QDomElement item = itemList.firstChildElement(PageXml::Item); !item.isNull();
         item = item.nextSiblingElement(PageXml::Item)) {
        const ItemKind *kind = itemKindFor(item.firstChildElement(PageXml::ItemType));
        if (kind)
            itemLayers.add(kind->read(&item, page)->LayerId);
    }
    collectScadaObjectLinks(page);

    const QDomElement properties = root.firstChildElement(PageXml::PageProperties);
    readPageProperties(properties, fileName, page);
    readLayers(PageXml::readText(properties, PageXml::layerOrder), itemLayers, page);
    readScrollTags(properties.firstChildElement(PageXml::ScrollTags),
                   &page->pageProperties.scrollTags);
    return page;
}

bool ScaFileProcessor::saveFileData(ScaFileData *page, QString fileName)
{
    qDebug().noquote() << QStringLiteral("saveFiledata  start : ")
                              + QTime::currentTime().toString(QStringLiteral("ss.zzz"));
    if (!page)
        return false;

    const SaveResult result = saveFileSafely(fileName, QIODevice::NotOpen, [&](QIODevice &file) {
        QXmlStreamWriter w(&file);
        w.setAutoFormatting(true);
        w.writeStartDocument();
        w.writeStartElement(PageXml::ScadaFile);

        w.writeStartElement(PageXml::ItemList);
        for (const ItemKind &kind : itemKinds())
            kind.write(w, *page, kind.itemType);
        w.writeEndElement(); // </ItemList>

        w.writeStartElement(PageXml::PageProperties);
        writePageProperties(w, page->pageProperties, fileName);
        PageXml::writeText(w, PageXml::layerOrder, layerListText(page->layers));
        writePageGeometry(w, page->pageProperties.pageGeometry);
        writeScrollTags(w, page->pageProperties.scrollTags);
        w.writeEndElement(); // </PageProperties>

        w.writeEndElement(); // </ScadaFile>
        w.writeEndDocument();
        return !w.hasError();
    });
    return succeeded(result);
}
