// Gauge items: the record's table, reader and copy. The item uses the common
// envelope; each of its own values is the text of one child element. Colours are parsed on
// reading (QColor::setNamedColor) and written as #rrggbb names, doubles in the "g" format. The
// reader's values for missing elements differ from a new record's.

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"

using namespace PageXml;

namespace {

using R = GaugeItemLoadData_t;
using F = FieldRows<R>;

const int GaugeItemKind = 10;

const XmlName TagId("TagId");

} // namespace

// Writing order.
const FieldTable<R> &gaugeTable()
{
    static const FieldTable<R> rows = envelopeTable<R>({}, {
        F::element<&R::Foreground>("Foreground", "#FFF"),
        F::element<&R::LedColor>("LedColor"),
        F::element<&R::LedGlowColor>("LedGlowColor"),
        F::element<&R::Background1>("Background1"),
        F::element<&R::Background2>("Background2"),
        F::element<&R::GaugeStyle>("GaugeStyle"),
        F::element<&R::ThresholdEnabled>("ThresholdEnabled", "1"),
        F::element<&R::MaxValue>("MaxValue", "100"),
        F::element<&R::MinValue>("MinValue"),
        F::element<&R::NumericIndicatorEnabled>("NumericIndicatorEnabled", "1"),
        F::element<&R::Precision>("Precision"),
        F::element<&R::PrecisionNumeric>("PrecisionNumeric", "1"),
        F::element<&R::Steps>("Steps", "10"),
        F::element<&R::Threshold>("Threshold", "70"),
        F::element<&R::Units>("Units", "Celsius"),
        F::element<&R::Label>("Label", "Temperature"),
        F::element<&R::EndAngle>("EndAngle", "-45"),
        F::element<&R::StartAngle>("StartAngle", "225"),
        F::element<&R::TagId>(TagId),
        F::element<&R::Tooltip>("Tooltip"),
        F::member<&R::auxValue>("auxValue"),
        F::member<&R::auxBrush>("auxBrush"),
    });
    return rows;
}

template <class Node>
GaugeItemLoadData_t *readGaugeItem(const Node &item)
{
    static const FieldReader<R> reader(gaugeTable());
    return readRecord(item, reader, GaugeItemKind);
}
template GaugeItemLoadData_t *readGaugeItem(const AuditNode &);
template GaugeItemLoadData_t *readGaugeItem(const DomNode &);
template GaugeItemLoadData_t *readGaugeItem(const TreeNode &);

GaugeItemLoadData_t *ScaFileProcessor::gaugeItemFromXML(QDomElement *item)
{
    return readGaugeItem(item ? DomNode(*item) : DomNode());
}

void copyGaugeItemData(GaugeItemLoadData_t *target, const GaugeItemLoadData_t *source)
{
    copyRecordFields(target, source);
}

ItemTagSlots gaugeTagSlots(const GaugeItemLoadData_t &item)
{
    return {{item.TagId, TagId.string(), -1}};
}

RecordFields fieldsOf(const GaugeItemLoadData_t &item)
{
    return itemFields(item, gaugeTable());
}
