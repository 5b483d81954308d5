// ScaFileData::tagBindings: the tag ids a page's items and scroll tags are bound to.

#include "scaFileData.h"
#include "scaItemKinds_p.h"

namespace {

const int NoTag = -1;

// "ItemType" texts of the kinds that bind tags, and the name given to the scroll band.
const QString ScadaObjectType = QStringLiteral("ScadaObject");
const QString ScheduleType = QStringLiteral("ScheduleItem");
const QString ChartType = QStringLiteral("RTChartItem");
const QString DbQueryTextType = QStringLiteral("DbqTextItem");
const QString GaugeType = QStringLiteral("GaugeItem");
const QString ScrollBand = QStringLiteral("ScrollTags");

// Record members holding tag ids, outside the SCADA object's slot table.
const QString ExtraSlot = QStringLiteral("extraTagIds[%1]");
const QString TagIdsMember = QStringLiteral("TagIDs");
const QString GaugeMember = QStringLiteral("TagId");
const QString ReportTagMember = QStringLiteral("reportTag");
const QString ScrollTagMember = QStringLiteral("TagID");

// Collects the bindings of one page; each add() call names one id and where it sits.
struct Collector
{
    QList<TagBinding_t> bindings;

    void add(int tagId, const QString &itemType, int itemIndex, const QString &itemName,
             int uid, const QString &slot, int slotIndex = -1)
    {
        if (tagId == NoTag)
            return;
        TagBinding_t b;
        b.tagId = tagId;
        b.itemType = itemType;
        b.itemIndex = itemIndex;
        b.itemName = itemName;
        b.uid = uid;
        b.slot = slot;
        b.slotIndex = slotIndex;
        bindings.append(b);
    }
};

QString nameOf(const ItemRecord &record)
{
    return record.base ? record.base->Name : QString();
}

} // namespace

QList<TagBinding_t> ScaFileData::tagBindings() const
{
    Collector c;
    for (int i = 0; i < scadaObjects.size(); ++i) {
        const ScadaObjectLoadData_t *o = scadaObjects.at(i);
        if (!o)
            continue;
        const QString name = nameOf(*o);
        for (const auto &slot : scadaObjectTagSlots(*o))
            c.add(slot.second, ScadaObjectType, i, name, o->Uid, slot.first);
        const int extraCount = int(sizeof(o->extraTagIds) / sizeof(o->extraTagIds[0]));
        for (int k = 0; k < extraCount; ++k)
            c.add(o->extraTagIds[k], ScadaObjectType, i, name, o->Uid, ExtraSlot.arg(k));
    }
    for (int i = 0; i < scheduleItems.size(); ++i) {
        if (const ScheduleItemLoadData_t *s = scheduleItems.at(i)) {
            for (int k = 0; k < s->TagIDs.size(); ++k)
                c.add(s->TagIDs.at(k), ScheduleType, i, nameOf(*s), -1, TagIdsMember, k);
        }
    }
    for (int i = 0; i < rtChartItems.size(); ++i) {
        if (const RealTimeChartItemLoadData_t *chart = rtChartItems.at(i)) {
            for (int k = 0; k < chart->TagIDs.size(); ++k)
                c.add(chart->TagIDs.at(k).Tag, ChartType, i, nameOf(*chart), -1, TagIdsMember, k);
        }
    }
    for (int i = 0; i < dbqTextItems.size(); ++i) {
        if (const DbQueryTextItemLoadData_t *d = dbqTextItems.at(i))
            c.add(d->reportTag, DbQueryTextType, i, nameOf(*d), -1, ReportTagMember);
    }
    for (int i = 0; i < gaugeItems.size(); ++i) {
        if (const GaugeItemLoadData_t *g = gaugeItems.at(i))
            c.add(g->TagId, GaugeType, i, nameOf(*g), -1, GaugeMember);
    }
    const QList<ScrollTagInfo> &scroll = pageProperties.scrollTags;
    for (int i = 0; i < scroll.size(); ++i)
        c.add(scroll.at(i).TagID, ScrollBand, i, scroll.at(i).ScrollText, -1, ScrollTagMember);
    return c.bindings;
}
