// ScaFileData::tagBindings: the tag ids a page's items and scroll tags are bound to.

#include "scaFileData.h"
#include "scaFileFormat_p.h"
#include "scaItemKinds_p.h"

QList<TagBinding_t> ScaFileData::tagBindings() const
{
    // Kind by kind in the writer's order, each kind's records in list order.
    QList<TagBinding_t> bindings;
    for (const auto &kind : pageItemKinds()) {
        if (kind.tagBindings)
            kind.tagBindings(*this, kind.itemType, &bindings);
    }
    const QList<ScrollTagInfo> &scroll = pageProperties.scrollTags;
    for (int i = 0; i < scroll.size(); ++i) {
        if (scroll.at(i).TagID == -1)
            continue;
        TagBinding_t b;
        b.tagId = scroll.at(i).TagID;
        b.itemType = PageXml::ScrollTags;
        b.itemIndex = i;
        b.itemName = scroll.at(i).ScrollText;
        b.slot = PageXml::TagID;
        bindings.append(b);
    }
    return bindings;
}
