// Gauge items: the record's reader, content writer and copy. The item uses the common envelope;
// each of its own values is the text of one child element. Colours are parsed on reading
// (QColor::setNamedColor) and written as #rrggbb names, doubles in the "g" format.

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"
#include "scaItemKinds_p.h"

using namespace PageXml;

namespace {

const int GaugeItemKind = 10;

// Children of "Item" that the reader looks for, in writing order after the envelope; the enum
// indexes childName.
enum Child {
    GeometryChild, PropertiesChild, Foreground, LedColor, LedGlowColor, Background1, Background2,
    GaugeStyle, ThresholdEnabled, MaxValue, MinValue, NumericIndicatorEnabled, Precision,
    PrecisionNumeric, Steps, Threshold, Units, Label, EndAngle, StartAngle, TagId, Tooltip,
    ChildCount
};
const QString childName[] = {
    Geometry, Properties,
    QStringLiteral("Foreground"), QStringLiteral("LedColor"), QStringLiteral("LedGlowColor"),
    QStringLiteral("Background1"), QStringLiteral("Background2"), QStringLiteral("GaugeStyle"),
    QStringLiteral("ThresholdEnabled"), QStringLiteral("MaxValue"), QStringLiteral("MinValue"),
    QStringLiteral("NumericIndicatorEnabled"), QStringLiteral("Precision"),
    QStringLiteral("PrecisionNumeric"), QStringLiteral("Steps"), QStringLiteral("Threshold"),
    QStringLiteral("Units"), QStringLiteral("Label"), QStringLiteral("EndAngle"),
    QStringLiteral("StartAngle"), QStringLiteral("TagId"), QStringLiteral("Tooltip"),
};
static_assert(sizeof(childName) / sizeof(childName[0]) == ChildCount, "one name per Child");

const ElementNames &childNames()
{
    static const ElementNames names(childName, ChildCount);
    return names;
}

// The reader's values for missing elements; they differ from a new record's.
struct Defaults
{
    QColor Foreground{QStringLiteral("#FFF")};
    QColor LedGlowColor{QStringLiteral("#0000ff")};
    QColor LedColor{QStringLiteral("#ffffff")};
    QColor Background1{QStringLiteral("#787878")};
    QColor Background2{QStringLiteral("#040404")};
    int GaugeStyle = 0;
    bool ThresholdEnabled = true;
    double Threshold = 70;
    double MaxValue = 100;
    double MinValue = 0;
    bool NumericIndicatorEnabled = true;
    int Precision = 0;
    int PrecisionNumeric = 1;
    int Steps = 10;
    QString Units = QStringLiteral("Celsius");
    QString Label = QStringLiteral("Temperature");
    double EndAngle = -45;
    double StartAngle = 225;
    int TagId = -1;
};

const Defaults &defaults()
{
    static const Defaults d;
    return d;
}

// Text that is not a colour name gives an invalid colour; a missing element gives `def`.
QColor colorOf(const QDomElement &element, const QColor &def)
{
    if (element.isNull())
        return def;
    QColor color;
    color.setNamedColor(elementText(element));
    return color;
}

// The name of an invalid colour is "#000000".
void writeColor(QXmlStreamWriter &w, const QString &name, const QColor &color)
{
    w.writeTextElement(name, color.name());
}

} // namespace

GaugeItemLoadData_t *ScaFileProcessor::gaugeItemFromXML(QDomElement *item)
{
    auto *r = new GaugeItemLoadData_t;
    const ChildElements c(item ? *item : QDomElement(), childNames());
    readEnvelope(c[GeometryChild], c[PropertiesChild], r->base, GaugeItemKind);

    const Defaults &d = defaults();
    r->Foreground = colorOf(c[Foreground], d.Foreground);
    r->LedGlowColor = colorOf(c[LedGlowColor], d.LedGlowColor);
    r->LedColor = colorOf(c[LedColor], d.LedColor);
    r->Background1 = colorOf(c[Background1], d.Background1);
    r->Background2 = colorOf(c[Background2], d.Background2);
    r->GaugeStyle = intOf(c[GaugeStyle], d.GaugeStyle);
    r->ThresholdEnabled = flagOf(c[ThresholdEnabled], d.ThresholdEnabled);
    r->Threshold = doubleOf(c[Threshold], d.Threshold);
    r->MaxValue = doubleOf(c[MaxValue], d.MaxValue);
    r->MinValue = doubleOf(c[MinValue], d.MinValue);
    r->NumericIndicatorEnabled = flagOf(c[NumericIndicatorEnabled], d.NumericIndicatorEnabled);
    r->Precision = intOf(c[Precision], d.Precision);
    r->PrecisionNumeric = intOf(c[PrecisionNumeric], d.PrecisionNumeric);
    r->Steps = intOf(c[Steps], d.Steps);
    r->Units = textOf(c[Units], d.Units);
    r->Label = textOf(c[Label], d.Label);
    r->EndAngle = doubleOf(c[EndAngle], d.EndAngle);
    r->StartAngle = doubleOf(c[StartAngle], d.StartAngle);
    r->TagId = intOf(c[TagId], d.TagId);
    r->Tooltip = textOf(c[Tooltip]);
    return r;
}

void writeGaugeItem(QXmlStreamWriter &w, const GaugeItemLoadData_t &r)
{
    writeEnvelope(w, *r.base);
    writeColor(w, childName[Foreground], r.Foreground);
    writeColor(w, childName[LedColor], r.LedColor);
    writeColor(w, childName[LedGlowColor], r.LedGlowColor);
    writeColor(w, childName[Background1], r.Background1);
    writeColor(w, childName[Background2], r.Background2);
    writeInt(w, childName[GaugeStyle], r.GaugeStyle);
    writeFlag(w, childName[ThresholdEnabled], r.ThresholdEnabled);
    writeDouble(w, childName[MaxValue], r.MaxValue);
    writeDouble(w, childName[MinValue], r.MinValue);
    writeFlag(w, childName[NumericIndicatorEnabled], r.NumericIndicatorEnabled);
    writeInt(w, childName[Precision], r.Precision);
    writeInt(w, childName[PrecisionNumeric], r.PrecisionNumeric);
    writeInt(w, childName[Steps], r.Steps);
    writeDouble(w, childName[Threshold], r.Threshold);
    writeText(w, childName[Units], r.Units);
    writeText(w, childName[Label], r.Label);
    writeDouble(w, childName[EndAngle], r.EndAngle);
    writeDouble(w, childName[StartAngle], r.StartAngle);
    writeInt(w, childName[TagId], r.TagId);
    writeText(w, childName[Tooltip], r.Tooltip);
}

void copyGaugeItemData(GaugeItemLoadData_t *target, const GaugeItemLoadData_t *source)
{
    copyRecordFields(target, source);
}
