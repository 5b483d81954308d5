// SCADA object items: the record's table, reader and copy.

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"

using namespace PageXml;

namespace {

using R = ScadaObjectLoadData_t;
using F = FieldRows<R>;

const int ScadaObjectKind = 1;

// "componentUid" holds the component's id as text and the index order as an attribute of
// numbers joined by ";", left out when the order is empty. A missing attribute reads as "-",
// which gives the single value 0.
const XmlName componentUid("componentUid");
const XmlName indexOrder("indexOrder");
const QString MissingIndexOrder = QStringLiteral("-");
const QChar IndexOrderSeparator = QLatin1Char(';');

void auxEntryFields(const Field<R> &, const R &r, FieldCollector &out)
{
    out.addList(&r.auxEntries, QStringLiteral("auxEntries"), r.auxEntries,
                [](const AuxDataEntry *e) {
                    if (!e)
                        return RecordFields{{QStringLiteral("null"), true}};
                    return RecordFields{
                        {QStringLiteral("data"), e->data ? QVariant(*e->data) : QVariant()},
                        {QStringLiteral("text"), e->text},
                        {QStringLiteral("value"), e->value}};
                });
}

void writeComponent(QXmlStreamWriter &w, const R &r)
{
    w.writeStartElement(componentUid);
    if (!r.indexOrder.isEmpty()) {
        QStringList numbers;
        numbers.reserve(r.indexOrder.size());
        for (int index : r.indexOrder)
            numbers.append(QString::number(index));
        w.writeAttribute(indexOrder, numbers.join(IndexOrderSeparator));
    }
    w.writeCharacters(xmlSafe(r.componentUid));
    w.writeEndElement(); // </componentUid>
}

template <class Node>
void readIndexOrder(const Node &component, R *r)
{
    const XmlValue value = component.attribute(indexOrder);
    const QString order = value.isMissing() ? MissingIndexOrder : value.toString();
    if (order.isEmpty())
        return;
    const QVector<QStringRef> parts = order.splitRef(IndexOrderSeparator);
    for (const QStringRef &part : parts)
        r->indexOrder.append(part.toInt());
}

} // namespace

// Writing order; "TagIDs" holds one attribute per tag slot, each named as its member.
const FieldTable<R> &scadaObjectTable()
{
    static const FieldTable<R> rows = envelopeTable<R>(
        {
            F::attribute<&R::Uid>(Properties, "Uid"),
            F::attribute<&R::Type>(Properties, "Type"),
        },
        {
            F::attribute<&R::tagID_image>(TagIDs, "tagID_image"),
            F::attribute<&R::tagID_label>(TagIDs, "tagID_label"),
            F::attribute<&R::tagID_width>(TagIDs, "tagID_width"),
            F::attribute<&R::tagID_height>(TagIDs, "tagID_height"),
            F::attribute<&R::tagID_posx>(TagIDs, "tagID_posx"),
            F::attribute<&R::tagID_posy>(TagIDs, "tagID_posy"),
            F::attribute<&R::tagID_rotAng>(TagIDs, "tagID_rotAng"),
            F::attribute<&R::tagID_txtColor>(TagIDs, "tagID_txtColor"),
            F::attribute<&R::tagID_maskColor>(TagIDs, "tagID_maskColor"),
            F::attribute<&R::tagID_maskOpac>(TagIDs, "tagID_maskOpac"),
            F::attribute<&R::tagID_eventTarget>(TagIDs, "tagID_eventTarget"),
            F::attribute<&R::tagID_cusProp1>(TagIDs, "tagID_cusProp1"),
            F::attribute<&R::tagID_cusProp2>(TagIDs, "tagID_cusProp2"),
            F::attribute<&R::tagID_cusProp3>(TagIDs, "tagID_cusProp3"),
            F::attribute<&R::tagID_cusProp4>(TagIDs, "tagID_cusProp4"),
            F::attribute<&R::tagID_cusProp5>(TagIDs, "tagID_cusProp5"),
            F::attribute<&R::tagID_cusProp6>(TagIDs, "tagID_cusProp6"),
            F::attribute<&R::tagID_cusProp7>(TagIDs, "tagID_cusProp7"),
            F::cdata<&R::MacroText>("MacroText"),
            F::cdata<&R::Tooltip>("Tooltip"),
            F::element<&R::weblinkActive>("weblinkActive"),
            F::cdata<&R::weblink>("weblink"),
            F::element<&R::limitsActive>("limitsActive"),
            F::element<&R::lowLimit>("lowLimit"),
            F::element<&R::highLimit>("highLimit"),
            F::element<&R::lofx>("lofx"),
            F::element<&R::lofy>("lofy"),
            F::cdata<&R::labelStyleSheet>("labelStyleSheet", ""),
            F::cdata<&R::labelText>("labelText", ""),
            F::element<&R::eventAction>("eventAction"),
            F::element<&R::eventActionAck>("eventActionAck"),
            F::element<&R::eventType>("eventType"),
            F::element<&R::userConst1>("userConst1"),
            F::element<&R::pageFunction>("pageFunction"),
            F::element<&R::userConst2>("userConst2"),
            F::element<&R::showChildAlarms>("showChildAlarms"),
            F::element<&R::closeWindowOnClicked>("closeWindowOnClicked"),
            F::writtenBy(F::element<&R::componentUid>(componentUid), &writeComponent),
            F::member<&R::indexOrder>("indexOrder"),
            F::member<&R::auxInt1>("auxInt1"),
            F::member<&R::auxInt2>("auxInt2"),
            F::member<&R::auxFloat1>("auxFloat1"),
            F::member<&R::auxFloat2>("auxFloat2"),
            F::member<&R::auxFloat3>("auxFloat3"),
            F::member<&R::extraTagIds>("extraTagIds"),
            F::member<&R::auxText>("auxText"),
            F::member(&auxEntryFields),
        });
    return rows;
}

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

template <class Node>
ScadaObjectLoadData_t *readScadaObject(const Node &item)
{
    static const FieldReader<R> reader(scadaObjectTable(), {&componentUid});
    R *r = newItem<R>(ScadaObjectKind);
    readIndexOrder(reader.read(item, *r)[reader.indexOf(componentUid)], r);
    return r;
}
template ScadaObjectLoadData_t *readScadaObject(const AuditNode &);
template ScadaObjectLoadData_t *readScadaObject(const DomNode &);
template ScadaObjectLoadData_t *readScadaObject(const TreeNode &);

ScadaObjectLoadData_t *ScaFileProcessor::scadaObjectFromXML(QDomElement *item)
{
    return readScadaObject(item ? DomNode(*item) : DomNode());
}

ItemTagSlots scadaObjectTagSlots(const ScadaObjectLoadData_t &item)
{
    // The slots of the page file, in its order (their decimal texts, read back), then the
    // host's further slots.
    ItemTagSlots tagSlots;
    for (const Field<R> &row : scadaObjectTable()) {
        if (row.element.string() == TagIDs.string())
            tagSlots.append({row.text(item).toInt(), row.fieldName(), -1});
    }
    for (int k = 0; k < int(sizeof(item.extraTagIds) / sizeof(item.extraTagIds[0])); ++k)
        tagSlots.append({item.extraTagIds[k], QStringLiteral("extraTagIds[%1]").arg(k), -1});
    return tagSlots;
}

RecordFields fieldsOf(const ScadaObjectLoadData_t &item)
{
    return itemFields(item, scadaObjectTable());
}
