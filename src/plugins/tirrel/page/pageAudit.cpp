#include "pageAudit.h"

#include "scaFileFormat_p.h"
#include "scaItemKinds_p.h"
#include "xmlAudit_p.h"
#include "xmlLimits_p.h"

#include <QDomDocument>
#include <QHash>
#include <QScopedPointer>
#include <QTextCodec>

#include <algorithm>

using namespace PageXml;

namespace {

// True when the bytes hold some that the encoding the parser reads them in has no character
// for: the parser then puts U+FFFD in their place.
bool hasUndecodableBytes(const QByteArray &data)
{
    QTextCodec *codec = xmlParserCodec(data);
    if (!codec)
        codec = QTextCodec::codecForMib(106); // UTF-8
    QScopedPointer<QTextDecoder> decoder(codec->makeDecoder());
    const int block = 1 << 20;
    for (int i = 0; i < data.size() && !decoder->hasFailure(); i += block)
        decoder->toUnicode(data.constData() + i, qMin(block, data.size() - i));
    return decoder->hasFailure();
}

struct PageItem
{
    QString itemType;
    int index;          // in the page's list of its kind; -1 for an unknown kind
    QString name;
};

// The "Item" elements that the page reader reads (of the root's first "ItemList"), each with
// its kind as the reader tells it (no "ItemType" is a SCADA object, any text no kind has is
// skipped), its place in the page's list of that kind and its name.
QHash<int, PageItem> pageItems(const XmlAudit &audit)
{
    QHash<int, PageItem> items;
    const int list = audit.elementCount() > 0 ? audit.firstChild(0, ItemList) : -1;
    if (list < 0)
        return items;
    const auto &kinds = pageItemKinds();
    int counts[ItemKindCount] = {};
    for (int e = audit.firstChild(list, Item); e >= 0; e = audit.next(e, Item)) {
        const int type = audit.firstChild(e, ItemType);
        const QString text = type < 0 ? QString(kinds.front().itemType) : audit.element(type).text();
        const auto kind = std::find_if(kinds.cbegin(), kinds.cend(),
                                       [&text](const auto &k) { return text == k.itemType; });
        const int properties = audit.firstChild(e, Properties);
        items.insert(e, PageItem{text, kind == kinds.cend() ? -1 : counts[kind - kinds.cbegin()]++,
                             properties < 0 ? QString()
                                            : audit.element(properties).attribute(Name)});
    }
    return items;
}

} // namespace

PageAudit::PageAudit(QObject *parent)
    : QObject(parent)
{
}

PageAudit::~PageAudit() = default;

ScaFileData *PageAudit::loadFileData(const QByteArray &data, QString fileName,
                                     QList<PageFinding_t> *findings)
{
    // The document the page reader's DOM path reads, under the same limits.
    QDomDocument document;
    if (!checkXmlLimits(data) || !document.setContent(data, false))
        return nullptr;
    XmlAudit audit(document, hasUndecodableBytes(data));
    ScaFileData *page = nullptr;
    {
        const XmlAudit::Active active(&audit);
        page = readAuditedPage(audit.root(), fileName);
    }
    if (!findings)
        return page;

    // An item of an unknown kind is one finding, whatever it holds.
    const QHash<int, PageItem> items = pageItems(audit);
    const auto unknown = [&items](int e) {
        const auto item = items.constFind(e);
        return item != items.constEnd() && item->index < 0;
    };
    QVector<XmlAudit::Finding> found = audit.findings(unknown);
    for (auto item = items.cbegin(); item != items.cend(); ++item) {
        if (item->index >= 0)
            continue;
        PageFinding_t f;
        f.kind = PageFinding_t::UnknownItemKind;
        f.path = audit.path(item.key());
        f.text = audit.markup(item.key());
        found.append(XmlAudit::Finding{item.key(), f});
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const XmlAudit::Finding &a, const XmlAudit::Finding &b) {
                         return a.element < b.element;
                     });

    findings->clear();
    for (XmlAudit::Finding &f : found) {
        for (int e = f.element; e >= 0; e = audit.parent(e)) {
            const auto item = items.constFind(e);
            if (item == items.constEnd())
                continue;
            f.finding.itemType = item->itemType;
            f.finding.itemIndex = item->index;
            f.finding.itemName = item->name;
            break;
        }
        findings->append(f.finding);
    }
    return page;
}
