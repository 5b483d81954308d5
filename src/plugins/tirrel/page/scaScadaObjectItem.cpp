// SCADA object items: the record's own parts, its reader, its content writer and its copy.

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"
#include "scaItemKinds_p.h"

using namespace PageXml;

namespace {

const int ScadaObjectKind = 1;

// "Properties" attributes of the kind
const QString Uid = QStringLiteral("Uid");
const QString Type = QStringLiteral("Type");

// "TagIDs": one attribute per tag slot, in writing order.
const QString TagIDs = QStringLiteral("TagIDs");
const int DefaultTagId = -1;
const struct
{
    QString name;
    int ScadaObjectLoadData_t::*field;
} tagSlots[] = {
    {QStringLiteral("tagID_image"), &ScadaObjectLoadData_t::tagID_image},
    {QStringLiteral("tagID_label"), &ScadaObjectLoadData_t::tagID_label},
    {QStringLiteral("tagID_width"), &ScadaObjectLoadData_t::tagID_width},
    {QStringLiteral("tagID_height"), &ScadaObjectLoadData_t::tagID_height},
    {QStringLiteral("tagID_posx"), &ScadaObjectLoadData_t::tagID_posx},
    {QStringLiteral("tagID_posy"), &ScadaObjectLoadData_t::tagID_posy},
    {QStringLiteral("tagID_rotAng"), &ScadaObjectLoadData_t::tagID_rotAng},
    {QStringLiteral("tagID_txtColor"), &ScadaObjectLoadData_t::tagID_txtColor},
    {QStringLiteral("tagID_maskColor"), &ScadaObjectLoadData_t::tagID_maskColor},
    {QStringLiteral("tagID_maskOpac"), &ScadaObjectLoadData_t::tagID_maskOpac},
    {QStringLiteral("tagID_eventTarget"), &ScadaObjectLoadData_t::tagID_eventTarget},
    {QStringLiteral("tagID_cusProp1"), &ScadaObjectLoadData_t::tagID_cusProp1},
    {QStringLiteral("tagID_cusProp2"), &ScadaObjectLoadData_t::tagID_cusProp2},
    {QStringLiteral("tagID_cusProp3"), &ScadaObjectLoadData_t::tagID_cusProp3},
    {QStringLiteral("tagID_cusProp4"), &ScadaObjectLoadData_t::tagID_cusProp4},
    {QStringLiteral("tagID_cusProp5"), &ScadaObjectLoadData_t::tagID_cusProp5},
    {QStringLiteral("tagID_cusProp6"), &ScadaObjectLoadData_t::tagID_cusProp6},
    {QStringLiteral("tagID_cusProp7"), &ScadaObjectLoadData_t::tagID_cusProp7},
};

// Children of "Item" that the reader looks for; the enum indexes childName.
enum Child {
    GeometryChild, PropertiesChild, TagIDsChild, MacroText, Tooltip, weblinkActive, weblink,
    limitsActive, lowLimit, highLimit, lofx, lofy, labelStyleSheet, labelText, eventAction,
    eventActionAck, eventType, userConst1, pageFunction, userConst2, showChildAlarms,
    closeWindowOnClicked, componentUid, ChildCount
};
const QString childName[] = {
    Geometry, Properties, TagIDs,
    QStringLiteral("MacroText"), QStringLiteral("Tooltip"), QStringLiteral("weblinkActive"),
    QStringLiteral("weblink"), QStringLiteral("limitsActive"), QStringLiteral("lowLimit"),
    QStringLiteral("highLimit"), QStringLiteral("lofx"), QStringLiteral("lofy"),
    QStringLiteral("labelStyleSheet"), QStringLiteral("labelText"), QStringLiteral("eventAction"),
    QStringLiteral("eventActionAck"), QStringLiteral("eventType"), QStringLiteral("userConst1"),
    QStringLiteral("pageFunction"), QStringLiteral("userConst2"),
    QStringLiteral("showChildAlarms"), QStringLiteral("closeWindowOnClicked"),
    QStringLiteral("componentUid"),
};
static_assert(sizeof(childName) / sizeof(childName[0]) == ChildCount, "one name per Child");

const ElementNames &childNames()
{
    static const ElementNames names(childName, ChildCount);
    return names;
}

// "componentUid" attribute holding the index order, numbers joined by ";". A missing attribute
// reads as "-", which gives the single value 0.
const QString indexOrderAttr = QStringLiteral("indexOrder");
const QString MissingIndexOrder = QStringLiteral("-");
const QChar IndexOrderSeparator = QLatin1Char(';');

// Reading defaults that differ from 0 / false / empty.
const bool DefaultShowChildAlarms = true;
const float DefaultHighLimit = 100;

} // namespace

ScadaObjectLoadData_t::~ScadaObjectLoadData_t()
{
    qDeleteAll(auxEntries);
}

void copyScadaObjectData(ScadaObjectLoadData_t *target, const ScadaObjectLoadData_t *source)
{
    if (!target || !source || target == source)
        return;
    const QList<AuxDataEntry *> former = target->auxEntries;
    *target = *source; // every field but base; auxEntries still shares source's entries here
    target->auxEntries.clear();
    target->auxEntries.reserve(source->auxEntries.size());
    for (const AuxDataEntry *entry : source->auxEntries) {
        AuxDataEntry *copy = nullptr;
        if (entry) {
            copy = new AuxDataEntry;
            if (entry->data)
                copy->data = new QByteArray(*entry->data);
            copy->text = entry->text;
            copy->value = entry->value;
        }
        target->auxEntries.append(copy);
    }
    qDeleteAll(former);
}

ScadaObjectLoadData_t *ScaFileProcessor::scadaObjectFromXML(QDomElement *item)
{
    auto *r = new ScadaObjectLoadData_t;
    const ChildElements c(item ? *item : QDomElement(), childNames());

    readEnvelope(c[GeometryChild], c[PropertiesChild], r->base, ScadaObjectKind);
    r->Uid = intAttr(c[PropertiesChild], Uid, 0);
    r->Type = intAttr(c[PropertiesChild], Type, 0);

    for (const auto &slot : tagSlots)
        r->*slot.field = intAttr(c[TagIDsChild], slot.name, DefaultTagId);

    r->MacroText = textOf(c[MacroText]);
    r->Tooltip = textOf(c[Tooltip]);
    r->weblink = textOf(c[weblink]);
    r->labelStyleSheet = textOf(c[labelStyleSheet]);
    r->labelText = textOf(c[labelText]);
    r->pageFunction = textOf(c[pageFunction]);
    r->componentUid = textOf(c[componentUid]);

    r->weblinkActive = flagOf(c[weblinkActive], false);
    r->limitsActive = flagOf(c[limitsActive], false);
    r->eventActionAck = flagOf(c[eventActionAck], false);
    r->closeWindowOnClicked = flagOf(c[closeWindowOnClicked], false);
    r->showChildAlarms = flagOf(c[showChildAlarms], DefaultShowChildAlarms);

    r->lowLimit = floatOf(c[lowLimit], 0);
    r->highLimit = floatOf(c[highLimit], DefaultHighLimit);
    r->lofx = intOf(c[lofx], 0);
    r->lofy = intOf(c[lofy], 0);
    r->eventType = intOf(c[eventType], 0);
    r->eventAction = intOf(c[eventAction], 0);
    r->userConst1 = intOf(c[userConst1], 0);
    r->userConst2 = intOf(c[userConst2], 0);

    const QString order = textAttr(c[componentUid], indexOrderAttr, MissingIndexOrder);
    if (!order.isEmpty()) {
        const QVector<QStringRef> parts = order.splitRef(IndexOrderSeparator);
        for (const QStringRef &part : parts)
            r->indexOrder.append(part.toInt());
    }
    return r;
}

QVector<QPair<QString, int>> scadaObjectTagSlots(const ScadaObjectLoadData_t &item)
{
    QVector<QPair<QString, int>> values;
    values.reserve(int(sizeof(tagSlots) / sizeof(tagSlots[0])));
    for (const auto &slot : tagSlots)
        values.append({slot.name, item.*slot.field});
    return values;
}

void writeScadaObject(QXmlStreamWriter &w, const ScadaObjectLoadData_t &r)
{
    writeEnvelope(w, *r.base, [&] {
        writeAttr(w, Uid, r.Uid);
        writeAttr(w, Type, r.Type);
    });

    w.writeEmptyElement(TagIDs);
    for (const auto &slot : tagSlots)
        writeAttr(w, slot.name, r.*slot.field);

    writeCData(w, childName[MacroText], r.MacroText);
    writeCData(w, childName[Tooltip], r.Tooltip);
    writeFlag(w, childName[weblinkActive], r.weblinkActive);
    writeCData(w, childName[weblink], r.weblink);
    writeFlag(w, childName[limitsActive], r.limitsActive);
    writeDouble(w, childName[lowLimit], r.lowLimit);
    writeDouble(w, childName[highLimit], r.highLimit);
    writeInt(w, childName[lofx], r.lofx);
    writeInt(w, childName[lofy], r.lofy);
    writeCData(w, childName[labelStyleSheet], r.labelStyleSheet);
    writeCData(w, childName[labelText], r.labelText);
    writeInt(w, childName[eventAction], r.eventAction);
    writeFlag(w, childName[eventActionAck], r.eventActionAck);
    writeInt(w, childName[eventType], r.eventType);
    writeInt(w, childName[userConst1], r.userConst1);
    writeText(w, childName[pageFunction], r.pageFunction);
    writeInt(w, childName[userConst2], r.userConst2);
    writeFlag(w, childName[showChildAlarms], r.showChildAlarms);
    writeFlag(w, childName[closeWindowOnClicked], r.closeWindowOnClicked);

    w.writeStartElement(childName[componentUid]);
    if (!r.indexOrder.isEmpty()) {
        QStringList numbers;
        numbers.reserve(r.indexOrder.size());
        for (int index : r.indexOrder)
            numbers.append(QString::number(index));
        w.writeAttribute(indexOrderAttr, numbers.join(IndexOrderSeparator));
    }
    w.writeCharacters(xmlSafe(r.componentUid));
    w.writeEndElement(); // </componentUid>
}
