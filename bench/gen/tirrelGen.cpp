#include "tirrelGen.h"

#include <QBuffer>
#include <QDomDocument>
#include <QJsonDocument>
#include <QJsonObject>
#include <QXmlStreamWriter>

namespace TirrelGen {

// ---------------------------------------------------------------------------------------------
// Tape

QString XmlTape::intern(const QString &s)
{
    if (s.isNull())
        return s;
    auto it = m_strings.constFind(s);
    if (it != m_strings.constEnd())
        return it.value();
    m_strings.insert(s, s);
    return s;
}

void XmlTape::record(Op op, const QString &name, const QString &text)
{
    m_ops.append(Entry{op, intern(name), intern(text)});
}

void XmlTape::clear()
{
    m_ops.clear();
    m_strings.clear();
}

void XmlTape::replay(QXmlStreamWriter &w) const
{
    for (const Entry &e : m_ops) {
        switch (e.op) {
        case StartDocument: w.writeStartDocument(); break;
        case EndDocument: w.writeEndDocument(); break;
        case Dtd: w.writeDTD(e.text); break;
        case StartElement: w.writeStartElement(e.name); break;
        case EndElement: w.writeEndElement(); break;
        case EmptyElement: w.writeEmptyElement(e.name); break;
        case Attribute: w.writeAttribute(e.name, e.text); break;
        case Characters: w.writeCharacters(e.text); break;
        case CData: w.writeCDATA(e.text); break;
        case TextElement: w.writeTextElement(e.name, e.text); break;
        }
    }
}

namespace {

// ---------------------------------------------------------------------------------------------
// Writing: every call goes to the stream writer and, when there is one, onto the tape.

class Writer
{
public:
    Writer(QByteArray *out, XmlTape *tape, int indent = 4)
        : m_buffer(out), m_tape(tape)
    {
        m_buffer.open(QIODevice::WriteOnly);
        m_w.setDevice(&m_buffer);
        m_w.setAutoFormatting(true);
        m_w.setAutoFormattingIndent(indent);
    }

    void startDocument() { m_w.writeStartDocument(); rec(XmlTape::StartDocument); }
    void endDocument() { m_w.writeEndDocument(); rec(XmlTape::EndDocument); }
    void dtd(const QString &text) { m_w.writeDTD(text); rec(XmlTape::Dtd, QString(), text); }
    void start(const QString &name) { m_w.writeStartElement(name); rec(XmlTape::StartElement, name); }
    void end() { m_w.writeEndElement(); rec(XmlTape::EndElement); }
    void empty(const QString &name) { m_w.writeEmptyElement(name); rec(XmlTape::EmptyElement, name); }
    void attr(const QString &name, const QString &value)
    {
        m_w.writeAttribute(name, value);
        rec(XmlTape::Attribute, name, value);
    }
    void attr(const QString &name, qint64 value) { attr(name, QString::number(value)); }
    void characters(const QString &text) { m_w.writeCharacters(text); rec(XmlTape::Characters, QString(), text); }
    void text(const QString &name, const QString &value)
    {
        m_w.writeTextElement(name, value);
        rec(XmlTape::TextElement, name, value);
    }
    void text(const QString &name, qint64 value) { text(name, QString::number(value)); }
    void cdata(const QString &name, const QString &value)
    {
        start(name);
        m_w.writeCDATA(value);
        rec(XmlTape::CData, QString(), value);
        end();
    }

private:
    void rec(XmlTape::Op op, const QString &name = QString(), const QString &text = QString())
    {
        if (m_tape)
            m_tape->record(op, name, text);
    }

    QBuffer m_buffer;
    QXmlStreamWriter m_w;
    XmlTape *m_tape;
};

// Numbers in the forms the writers use.
QString num(qint64 v) { return QString::number(v); }
QString real(double v) { return QString::number(v, 'g', 6); }
QString flag(bool v) { return v ? QStringLiteral("1") : QStringLiteral("0"); }

// Draws from std::mt19937 with plain modulo arithmetic, so that the values do not depend on the
// standard library's distributions.
class Rng
{
public:
    explicit Rng(quint32 seed) : m_gen(seed) {}
    quint32 next() { return quint32(m_gen()); }
    int range(int lo, int hi) { return lo + int(next() % quint32(hi - lo + 1)); }
    bool chance(int percent) { return int(next() % 100u) < percent; }
    template<typename T, int N> const T &pick(const T (&list)[N]) { return list[next() % quint32(N)]; }
    QString hexColor()
    {
        return QStringLiteral("#%1").arg(next() & 0xFFFFFF, 6, 16, QLatin1Char('0'));
    }

private:
    std::mt19937 m_gen;
};

const char *const kAreas[] = {"Boiler", "Turbine", "Feedwater", "Condenser", "Cooling tower",
                              "Pump station", "Substation", "Tank farm", "Compressor", "Kiln",
                              "Mixer", "Dryer", "Température zone", "Druckstufe Ü2"};
const char *const kQuantities[] = {"pressure", "temperature", "flow", "level", "speed",
                                   "current", "voltage", "vibration", "position", "power"};
const char *const kPrefixes[] = {"PT", "TT", "FT", "LT", "ST", "IT", "VT", "ZT", "PV", "XV",
                                 "M", "P", "HS"};
const char *const kUnits[] = {"bar", "°C", "m³/h", "%", "rpm", "A", "kV", "mm/s", "kW", "Pa"};
const char *const kFamilies[] = {"Arial", "DejaVu Sans", "Tahoma", "Verdana", "Segoe UI"};
const char *const kAlarmClasses[] = {"General", "Process", "Safety", "Electrical"};
const char *const kCategories[] = {"Valves", "Pumps", "Motors", "Tanks", "Pipes", "Sensors",
                                   "Breakers", "Transformers", "Fans", "Conveyors", "Heat exchangers"};

QString tagName(Rng &r)
{
    return QStringLiteral("%1-%2%3").arg(QLatin1String(r.pick(kPrefixes))).arg(r.range(1, 9))
            .arg(r.range(0, 999), 3, 10, QLatin1Char('0'));
}

QString description(Rng &r)
{
    return QStringLiteral("%1 %2 %3").arg(QString::fromUtf8(r.pick(kAreas))).arg(r.range(1, 12))
            .arg(QLatin1String(r.pick(kQuantities)));
}

QString unit(Rng &r) { return QString::fromUtf8(r.pick(kUnits)); }

// ---------------------------------------------------------------------------------------------
// Page file

struct PageContext
{
    Rng &r;
    Writer &w;
    const QVector<quint64> &layers;
    int uid;
    int itemIndex = 0;

    quint64 nextLayer()
    {
        // The first items cover every layer, so no listed layer is dropped on loading.
        const int i = itemIndex++;
        if (i < layers.size())
            return layers.at(i);
        return layers.at(int(r.next() % quint32(layers.size())));
    }
};

void geometry(PageContext &c, int w, int h)
{
    Rng &r = c.r;
    c.w.empty(QStringLiteral("Geometry"));
    c.w.attr(QStringLiteral("X"), r.range(0, 1900));
    c.w.attr(QStringLiteral("Y"), r.range(0, 1060));
    c.w.attr(QStringLiteral("W"), w);
    c.w.attr(QStringLiteral("H"), h);
    c.w.attr(QStringLiteral("Rot"), r.chance(10) ? r.pick({90, 180, 270}) : 0);
    c.w.attr(QStringLiteral("ZVAL"), r.range(0, 400));
    c.w.attr(QStringLiteral("GZVAL"), r.chance(20) ? r.range(1, 50) : 0);
    c.w.attr(QStringLiteral("HFlip"), flag(r.chance(5)));
    c.w.attr(QStringLiteral("VFlip"), flag(r.chance(5)));
}

QString itemName(Rng &r, const char *kind, int n)
{
    return QStringLiteral("%1_%2").arg(QLatin1String(kind)).arg(n + r.range(0, 3) * 100000);
}

quint64 groupId(Rng &r)
{
    return r.chance(25) ? (quint64(1620000000) * 1000 + r.range(0, 99999)) : 0;
}

// "ItemType", "Geometry" and "Properties"; `between` writes the kind's own attributes.
template<typename F>
void envelope(PageContext &c, ItemKind kind, int w, int h, const QString &name, F between)
{
    c.w.text(QStringLiteral("ItemType"), QLatin1String(itemTypeName(kind)));
    geometry(c, w, h);
    c.w.empty(QStringLiteral("Properties"));
    c.w.attr(QStringLiteral("Name"), name);
    between();
    c.w.attr(QStringLiteral("GroupId"), QString::number(groupId(c.r)));
    c.w.attr(QStringLiteral("LayerId"), QString::number(c.nextLayer()));
}

void scadaObject(PageContext &c, int n)
{
    Rng &r = c.r;
    const int uid = c.uid++;
    const int w = r.range(16, 240);
    const int h = r.range(16, 160);
    envelope(c, ScadaObject, w, h, itemName(r, "obj", n), [&] {
        c.w.attr(QStringLiteral("Uid"), uid);
        c.w.attr(QStringLiteral("Type"), r.range(1, 420));
    });
    static const char *const tagSlots[] = {
        "tagID_image", "tagID_label", "tagID_width", "tagID_height", "tagID_posx", "tagID_posy",
        "tagID_rotAng", "tagID_txtColor", "tagID_maskColor", "tagID_maskOpac", "tagID_eventTarget",
        "tagID_cusProp1", "tagID_cusProp2", "tagID_cusProp3", "tagID_cusProp4", "tagID_cusProp5",
        "tagID_cusProp6", "tagID_cusProp7"};
    c.w.empty(QStringLiteral("TagIDs"));
    for (int i = 0; i < 18; ++i) {
        // Picture and label are usually bound; the rest now and then.
        const int percent = i < 2 ? 85 : 12;
        c.w.attr(QLatin1String(tagSlots[i]), r.chance(percent) ? r.range(1, 60000) : -1);
    }
    QString macro;
    if (r.chance(30)) {
        macro = QStringLiteral("if (val(%1) > %2) { set(%3, 1); } // \"%4\" & <alarm>")
                .arg(r.range(1, 60000)).arg(r.range(0, 100)).arg(r.range(1, 60000)).arg(description(r));
        if (r.chance(5))
            macro += QStringLiteral(" ]]> split");
    }
    c.w.cdata(QStringLiteral("MacroText"), macro);
    c.w.cdata(QStringLiteral("Tooltip"), r.chance(50) ? description(r) : QString());
    const bool web = r.chance(5);
    c.w.text(QStringLiteral("weblinkActive"), flag(web));
    c.w.cdata(QStringLiteral("weblink"), web ? QStringLiteral("http://hmi.plant.local/trend?tag=%1&span=1h").arg(r.range(1, 60000)) : QString());
    c.w.text(QStringLiteral("limitsActive"), flag(r.chance(20)));
    c.w.text(QStringLiteral("lowLimit"), real(r.range(0, 40) * 0.5));
    c.w.text(QStringLiteral("highLimit"), real(r.chance(50) ? 100 : r.range(50, 4000) * 0.25));
    c.w.text(QStringLiteral("lofx"), r.range(-40, 40));
    c.w.text(QStringLiteral("lofy"), r.range(-40, 40));
    c.w.cdata(QStringLiteral("labelStyleSheet"),
              QStringLiteral("font: %1px \"%2\"; color: %3;").arg(r.range(9, 28))
              .arg(QLatin1String(r.pick(kFamilies))).arg(r.hexColor()));
    c.w.cdata(QStringLiteral("labelText"), QStringLiteral("%.%1f %2").arg(r.range(0, 3)).arg(unit(r)));
    c.w.text(QStringLiteral("eventAction"), r.range(0, 6));
    c.w.text(QStringLiteral("eventActionAck"), flag(r.chance(10)));
    c.w.text(QStringLiteral("eventType"), r.range(0, 4));
    c.w.text(QStringLiteral("userConst1"), r.range(0, 500));
    c.w.text(QStringLiteral("pageFunction"), r.chance(15) ? QStringLiteral("openPage") : QString());
    c.w.text(QStringLiteral("userConst2"), r.range(0, 500));
    c.w.text(QStringLiteral("showChildAlarms"), flag(r.chance(80)));
    c.w.text(QStringLiteral("closeWindowOnClicked"), flag(r.chance(5)));
    c.w.start(QStringLiteral("componentUid"));
    QStringList order;
    const int depth = r.range(1, 3);
    for (int i = 0; i < depth; ++i)
        order << num(r.range(0, 40));
    c.w.attr(QStringLiteral("indexOrder"), order.join(QLatin1Char(';')));
    c.w.characters(r.chance(40) ? QStringLiteral("{comp-%1}").arg(r.range(1, 400), 4, 10, QLatin1Char('0')) : QString());
    c.w.end();
}

void textItem(PageContext &c, int n)
{
    Rng &r = c.r;
    c.w.text(QStringLiteral("ItemType"), QLatin1String(itemTypeName(TextItem)));
    c.w.cdata(QStringLiteral("ItemText"), r.chance(70) ? description(r) : QStringLiteral("%1 [%2]").arg(tagName(r)).arg(unit(r)));
    c.w.text(QStringLiteral("TextColor"), r.hexColor());
    c.w.text(QStringLiteral("BgColor"), r.chance(70) ? QStringLiteral("#FFFFFF") : r.hexColor());
    c.w.text(QStringLiteral("TextPixelSize"), r.range(9, 36));
    c.w.text(QStringLiteral("Alignment"), r.pick({129, 130, 132, 33, 65}));
    c.w.text(QStringLiteral("ZVal"), r.range(0, 400));
    c.w.text(QStringLiteral("DrawPaper"), flag(r.chance(30)));
    c.w.text(QStringLiteral("IsItalic"), flag(r.chance(10)));
    c.w.text(QStringLiteral("IsUnderlined"), flag(r.chance(5)));
    c.w.text(QStringLiteral("Family"), QLatin1String(r.pick(kFamilies)));
    c.w.text(QStringLiteral("IsBold"), flag(r.chance(30)));
    c.w.text(QStringLiteral("SvgElement"), r.chance(10) ? QStringLiteral("label_%1").arg(r.range(1, 99)) : QString());
    c.w.text(QStringLiteral("Width"), r.range(20, 600));
    c.w.text(QStringLiteral("Height"), r.range(12, 120));
    c.w.text(QStringLiteral("Rot"), r.chance(10) ? 90 : 0);
    c.w.text(QStringLiteral("ItemPosX"), r.range(0, 1900));
    c.w.text(QStringLiteral("ItemPosY"), r.range(0, 1060));
    c.w.empty(QStringLiteral("Properties"));
    c.w.attr(QStringLiteral("Name"), itemName(r, "text", n));
    c.w.attr(QStringLiteral("LayerId"), QString::number(c.nextLayer()));
    c.w.attr(QStringLiteral("GroupId"), QString::number(groupId(r)));
    // The group stacking value of a text item is written here and read from "GZVal", which
    // the writer does not write, so it is always 0 after a load.
    c.w.attr(QStringLiteral("GZVAL"), 0);
}

void scheduleItem(PageContext &c, int n)
{
    Rng &r = c.r;
    const int w = r.range(200, 600);
    const int h = r.range(100, 400);
    envelope(c, ScheduleItem, w, h, itemName(r, "sched", n), [] {});
    c.w.start(QStringLiteral("TagIDs"));
    const int tags = r.range(1, 8);
    for (int i = 0; i < tags; ++i)
        c.w.text(QStringLiteral("Tag"), r.range(1, 60000));
    c.w.end();
}

void rtChartItem(PageContext &c, int n)
{
    Rng &r = c.r;
    const int w = r.range(300, 900);
    const int h = r.range(200, 500);
    envelope(c, RTChartItem, w, h, itemName(r, "chart", n), [] {});
    c.w.start(QStringLiteral("TagIDs"));
    const int tags = r.range(1, 6);
    for (int i = 0; i < tags; ++i) {
        c.w.empty(QStringLiteral("TagData"));
        c.w.attr(QStringLiteral("Tag"), r.range(1, 60000));
        c.w.attr(QStringLiteral("LineStyle"), r.range(0, 4));
        c.w.attr(QStringLiteral("LineColor"), r.hexColor().toUpper());
    }
    c.w.end();
    c.w.text(QStringLiteral("BgColor"), QStringLiteral("#FFF"));
    c.w.text(QStringLiteral("TxtColor"), QStringLiteral("#000"));
    c.w.text(QStringLiteral("PaColor"), QStringLiteral("#F9F3F7"));
    c.w.text(QStringLiteral("ShowLegend"), flag(r.chance(80)));
    c.w.text(QStringLiteral("FollowLastVal"), flag(r.chance(90)));
    c.w.text(QStringLiteral("ShowDescription"), flag(r.chance(30)));
    c.w.text(QStringLiteral("RescaleValAxis"), flag(r.chance(70)));
    c.w.text(QStringLiteral("ShowLastSeconds"), r.pick({60, 300, 900, 3600}));
    c.w.text(QStringLiteral("UpperLimit"), r.range(0, 10) * 100);
    c.w.text(QStringLiteral("LowerLimit"), 0);
    c.w.text(QStringLiteral("ChartViewType"), r.range(0, 2));
    c.w.text(QStringLiteral("ChartType"), r.range(0, 3));
    c.w.text(QStringLiteral("ChartTitle"), description(r));
    c.w.text(QStringLiteral("IsAnimated"), flag(r.chance(50)));
    c.w.text(QStringLiteral("LegendAlignment"), r.pick({1, 2, 4, 8}));
    c.w.text(QStringLiteral("ChartOrientation"), r.range(1, 2));
    c.w.text(QStringLiteral("LegendFontSize"), r.range(8, 14));
    c.w.text(QStringLiteral("AxisFontSize"), r.range(8, 14));
}

void dbqTextItem(PageContext &c, int n)
{
    Rng &r = c.r;
    const int w = r.range(80, 300);
    const int h = r.range(20, 60);
    envelope(c, DbqTextItem, w, h, itemName(r, "dbq", n), [] {});
    c.w.text(QStringLiteral("bgColor"), QStringLiteral("#000"));
    c.w.text(QStringLiteral("txtColor"), r.chance(50) ? QStringLiteral("#FFF") : r.hexColor());
    c.w.text(QStringLiteral("labelText"), QStringLiteral("%1 %2: ").arg(QString::fromUtf8(r.pick(kAreas))).arg(QLatin1String(r.pick(kQuantities))));
    c.w.text(QStringLiteral("txtPixelSize"), r.range(10, 24));
    c.w.text(QStringLiteral("reportUnit"), r.range(0, 3));
    c.w.text(QStringLiteral("reportType"), r.range(0, 5));
    c.w.text(QStringLiteral("reportTag"), r.range(1, 60000));
    c.w.text(QStringLiteral("updateInterval"), r.pick({100, 1000, 5000, 60000}));
    c.w.text(QStringLiteral("timeFactor"), r.pick({1, 60, 100, 3600}));
    c.w.text(QStringLiteral("labelStyleSheet"), QStringLiteral("font: %1px \"Arial\"; color: rgb(%2, %3, %4);")
             .arg(r.range(9, 24)).arg(r.range(0, 255)).arg(r.range(0, 255)).arg(r.range(0, 255)));
    c.w.text(QStringLiteral("lofx"), r.range(-20, 20));
    c.w.text(QStringLiteral("lofy"), r.range(-20, 20));
}

QString cellJson(Rng &r, const QString &text)
{
    QJsonObject o;
    o.insert(QStringLiteral("cellText"), text);
    o.insert(QStringLiteral("cellFont"), QStringLiteral("%1,-1,%2,5,%3,0,0,0,0,0")
             .arg(QLatin1String(r.pick(kFamilies))).arg(r.range(10, 20)).arg(r.chance(20) ? 75 : 50));
    o.insert(QStringLiteral("cellTextColor"), r.chance(70) ? QStringLiteral("#1f272e") : r.hexColor());
    o.insert(QStringLiteral("cellTextAlignment"), num(r.pick({129, 130, 132})));
    o.insert(QStringLiteral("cellRowSpan"), QStringLiteral("1"));
    o.insert(QStringLiteral("cellColumnSpan"), r.chance(5) ? QStringLiteral("2") : QStringLiteral("1"));
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Indented));
}

void tableItem(PageContext &c, int n)
{
    Rng &r = c.r;
    const int width = r.range(200, 800);
    const int h = r.range(100, 400);
    envelope(c, TableItem, width, h, itemName(r, "table", n), [] {});
    c.w.start(QStringLiteral("TableData"));
    c.w.text(QStringLiteral("TableWidth"), width);
    c.w.text(QStringLiteral("TableHeight"), r.range(100, 400));
    c.w.text(QStringLiteral("StyleSheet"), QStringLiteral("QTableWidget { gridline-color: %1; background: %2; }")
             .arg(r.hexColor()).arg(r.hexColor()));
    const int cols = r.range(2, 4);
    static const double widths[4][4] = {{0.5, 0.5, 0, 0}, {0.25, 0.25, 0.5, 0}, {1.0 / 3, 1.0 / 3, 1.0 / 3, 0},
                                        {0.4, 0.2, 0.2, 0.2}};
    c.w.start(QStringLiteral("ColumnGroup"));
    const int layout = cols == 2 ? 0 : cols == 3 ? r.range(1, 2) : 3;
    for (int i = 0; i < cols; ++i) {
        c.w.empty(QStringLiteral("Column"));
        c.w.attr(QStringLiteral("width"), real(widths[layout][i]));
    }
    c.w.end();
    const int rows = r.range(2, 6);
    for (int row = 0; row < rows; ++row) {
        c.w.start(QStringLiteral("Row"));
        for (int col = 0; col < cols; ++col) {
            const QString text = row == 0 ? QStringLiteral("Column %1").arg(col + 1)
                                          : col == 0 ? tagName(r) : description(r);
            c.w.cdata(QStringLiteral("CellText"), cellJson(r, text));
        }
        c.w.end();
    }
    c.w.end(); // </TableData>
}

void imageItem(PageContext &c, int n)
{
    Rng &r = c.r;
    const int w = r.range(32, 800);
    const int h = r.range(32, 600);
    envelope(c, ImageItem, w, h, itemName(r, "image", n), [] {});
    c.w.text(QStringLiteral("ImageFile"), QStringLiteral("images/%1_%2.png").arg(QString::fromLatin1(r.pick(kCategories)).toLower()).arg(r.range(1, 300)));
}

void gaugeItem(PageContext &c, int n)
{
    Rng &r = c.r;
    const int w = r.range(120, 300);
    const int h = r.range(120, 300);
    envelope(c, GaugeItem, w, h, itemName(r, "gauge", n), [] {});
    c.w.text(QStringLiteral("Foreground"), QStringLiteral("#ffffff"));
    c.w.text(QStringLiteral("LedColor"), r.chance(50) ? QStringLiteral("#ffffff") : r.hexColor());
    c.w.text(QStringLiteral("LedGlowColor"), QStringLiteral("#0000ff"));
    c.w.text(QStringLiteral("Background1"), QStringLiteral("#787878"));
    c.w.text(QStringLiteral("Background2"), QStringLiteral("#040404"));
    c.w.text(QStringLiteral("GaugeStyle"), r.range(0, 3));
    c.w.text(QStringLiteral("ThresholdEnabled"), flag(r.chance(70)));
    const int max = r.pick({10, 100, 250, 1000, 6000});
    c.w.text(QStringLiteral("MaxValue"), real(max));
    c.w.text(QStringLiteral("MinValue"), real(0));
    c.w.text(QStringLiteral("NumericIndicatorEnabled"), flag(r.chance(80)));
    c.w.text(QStringLiteral("Precision"), r.range(0, 2));
    c.w.text(QStringLiteral("PrecisionNumeric"), r.range(0, 3));
    c.w.text(QStringLiteral("Steps"), r.pick({5, 10, 20}));
    c.w.text(QStringLiteral("Threshold"), real(max * 0.7));
    c.w.text(QStringLiteral("Units"), unit(r));
    c.w.text(QStringLiteral("Label"), QLatin1String(r.pick(kQuantities)));
    c.w.text(QStringLiteral("EndAngle"), real(-45));
    c.w.text(QStringLiteral("StartAngle"), real(225));
    c.w.text(QStringLiteral("TagId"), r.range(1, 60000));
    c.w.text(QStringLiteral("Tooltip"), r.chance(30) ? description(r) : QString());
}

void webFrameItem(PageContext &c, int n)
{
    Rng &r = c.r;
    const int w = r.range(300, 1200);
    const int h = r.range(200, 800);
    envelope(c, WebFrameItem, w, h, itemName(r, "web", n), [] {});
    c.w.text(QStringLiteral("Weblink"), QStringLiteral("http://hmi.plant.local/report/%1?view=day&unit=%2")
             .arg(r.range(1, 999)).arg(r.range(1, 12)));
}

} // namespace

const char *itemTypeName(ItemKind kind)
{
    static const char *const names[KindCount] = {"ScadaObject", "TextItem", "ScheduleItem",
                                                 "RTChartItem", "DbqTextItem", "TableItem",
                                                 "ImageItem", "GaugeItem", "WebFrameItem"};
    return names[kind];
}

QVector<int> kindCounts(int items)
{
    // Shares per thousand items, in kind order; SCADA objects take whatever is left.
    static const int share[KindCount] = {0, 150, 20, 30, 50, 20, 60, 70, 40};
    QVector<int> counts(KindCount, 0);
    int rest = items;
    for (int k = 1; k < KindCount; ++k) {
        counts[k] = qMin(rest, qMax(items >= KindCount ? 1 : 0, int(qint64(items) * share[k] / 1000)));
        rest -= counts[k];
    }
    counts[ScadaObject] = rest;
    return counts;
}

Output page(const PageRequest &request, bool withTape)
{
    Output out;
    Rng r(request.seed);
    Writer w(&out.bytes, withTape ? &out.tape : nullptr);

    QVector<quint64> layers;
    const int layerCount = qBound(1, request.layers, qMax(1, request.items));
    for (int i = 0; i < layerCount; ++i)
        layers << (quint64(1650000000000) + quint64(request.pageId) * 100 + quint64(i));
    PageContext c{r, w, layers, request.uidBase};

    w.startDocument();
    w.start(QStringLiteral("ScadaFile"));
    w.start(QStringLiteral("ItemList"));
    const QVector<int> counts = kindCounts(request.items);
    typedef void (*ItemWriter)(PageContext &, int);
    static const ItemWriter writers[KindCount] = {scadaObject, textItem, scheduleItem, rtChartItem,
                                                  dbqTextItem, tableItem, imageItem, gaugeItem,
                                                  webFrameItem};
    for (int k = 0; k < KindCount; ++k) {
        for (int n = 0; n < counts[k]; ++n) {
            w.start(QStringLiteral("Item"));
            writers[k](c, n);
            w.end();
        }
    }
    w.end(); // </ItemList>

    w.start(QStringLiteral("PageProperties"));
    w.text(QStringLiteral("pageName"), request.pageName.isEmpty() ? QStringLiteral("Page %1").arg(request.pageId) : request.pageName);
    w.text(QStringLiteral("fileName"), request.fileName);
    w.text(QStringLiteral("relativePath"), request.relativePath);
    w.text(QStringLiteral("pageID"), request.pageId);
    w.text(QStringLiteral("pageType"), r.range(0, 2));
    const bool geo = r.chance(10);
    w.text(QStringLiteral("geoView"), flag(geo));
    w.text(QStringLiteral("geoData"), geo ? QStringLiteral("{\"zoom\":12,\"layer\":\"osm\"}") : QString());
    w.text(QStringLiteral("markerCategories"), geo ? QStringLiteral("pumps;valves;stations") : QString());
    w.text(QStringLiteral("geoCenterPos"), QStringLiteral("51.5,0,10"));
    w.text(QStringLiteral("customPageSize"), flag(r.chance(30)));
    w.text(QStringLiteral("addScrollingText"), flag(true));
    w.text(QStringLiteral("scaleToWindow"), r.range(0, 2));
    w.text(QStringLiteral("pageBgImage"), r.chance(40) ? QStringLiteral("images/bg_%1.png").arg(r.range(1, 20)) : QString());
    w.text(QStringLiteral("pageIcon"), QStringLiteral("icons/page_%1.svg").arg(r.range(1, 40)));
    w.text(QStringLiteral("pageAccessRights"), QString::number(qint64(r.next()) << 20));
    w.text(QStringLiteral("pageAccessRights2"), QString::number(-qint64(r.next())));
    QString order;
    for (int i = 0; i < layers.size(); ++i)
        order += QStringLiteral("%1,%2,%3,-1,-1;").arg(layers.at(i))
                 .arg(i == 0 ? QStringLiteral("Background") : QStringLiteral("Layer %1").arg(i))
                 .arg(i % 4 == 3 ? 0 : 1);
    w.text(QStringLiteral("layerOrder"), order);
    w.empty(QStringLiteral("pageGeometry"));
    w.attr(QStringLiteral("W"), 1920);
    w.attr(QStringLiteral("H"), 1080);
    w.start(QStringLiteral("ScrollTags"));
    for (int i = 0; i < 4; ++i) {
        w.empty(QStringLiteral("Tag"));
        w.attr(QStringLiteral("TagID"), r.range(1, 60000));
        w.attr(QStringLiteral("ScrollText"), description(r));
    }
    w.end(); // </ScrollTags>
    w.end(); // </PageProperties>
    w.end(); // </ScadaFile>
    w.endDocument();
    return out;
}

// ---------------------------------------------------------------------------------------------
// Definition file

namespace {

Record placeholderChannel()
{
    // The channel constructor's defaults: what the reader makes of "None" and the writer writes.
    return Record{{"Name", "None"}, {"Id", "-1"}, {"MediaType", "0"}, {"SocketType", "0"},
                  {"ProtokolType", "0"}, {"ServerIP", "127.0.0.1"}, {"ServerPORT", "1080"},
                  {"ListenPORT", "1081"}, {"FilterIP", "0.0.0.0"}, {"Comport", "11"},
                  {"Baudrate", "115200"}, {"Databit", "8"}, {"Stopbit", "1"}, {"Paritybit", "0"},
                  {"ResponseTimeout", "6000"}, {"ConnectionTimeout", "6000"},
                  {"FrameTimeout", "3000"}, {"GroupID", "-1"}, {"Station", " "}, {"Enabled", "1"},
                  {"KestrinPath", ""}, {"Description", ""}};
}

QString filterOptions(Rng &r)
{
    QJsonObject o;
    const int type = r.range(0, 3);
    o.insert(QStringLiteral("filtertype"), type);
    o.insert(QStringLiteral("refval1"), type ? r.range(0, 400) * 0.25 : 0.0);
    o.insert(QStringLiteral("refval2"), type > 1 ? r.range(0, 400) * 0.5 : 0.0);
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Indented));
}

const QString &fieldText(const Record &rec, const char *element)
{
    for (const Field &f : rec)
        if (f.element == QLatin1String(element))
            return f.text;
    static const QString none;
    return none;
}

bool isCData(const char *const *list, const QString &element)
{
    for (; *list; ++list)
        if (element == QLatin1String(*list))
            return true;
    return false;
}

} // namespace

DefinitionData definitionData(int tags, quint32 seed)
{
    Rng r(seed);
    DefinitionData d;
    d.channels << placeholderChannel();
    const int channels = qMax(2, tags / 250);
    for (int i = 0; i < channels; ++i) {
        const bool serial = r.chance(30);
        d.channels << Record{
            {"Name", QStringLiteral("%1 line %2").arg(serial ? QStringLiteral("RS485") : QStringLiteral("PLC"), num(i + 1))},
            {"Id", num(i + 1)}, {"MediaType", serial ? "1" : "0"}, {"SocketType", num(r.range(0, 2))},
            {"ProtokolType", num(r.range(0, 6))},
            {"ServerIP", QStringLiteral("10.%1.%2.%3").arg(r.range(0, 20)).arg(r.range(0, 254)).arg(r.range(1, 254))},
            {"ServerPORT", r.chance(70) ? QStringLiteral("502") : num(r.range(1024, 65000))},
            {"ListenPORT", num(r.range(1024, 65000))}, {"FilterIP", "0.0.0.0"},
            {"Comport", num(r.range(1, 16))}, {"Baudrate", r.chance(50) ? "9600" : "115200"},
            {"Databit", "8"}, {"Stopbit", "1"}, {"Paritybit", num(r.range(0, 2))},
            {"ResponseTimeout", num(r.range(1, 20) * 500)}, {"ConnectionTimeout", "6000"},
            {"FrameTimeout", num(r.range(1, 10) * 100)}, {"GroupID", num(r.range(-1, 8))},
            {"Station", QStringLiteral("Station %1").arg(r.range(1, 30))}, {"Enabled", flag(r.chance(90))},
            {"KestrinPath", r.chance(20) ? QStringLiteral("logic/ch%1.kst").arg(i + 1) : QString()},
            {"Description", description(r)}};
    }
    for (int i = 0; i < tags; ++i) {
        const int ch = 1 + int(r.next() % quint32(channels));
        const QString name = QStringLiteral("%1_%2").arg(tagName(r)).arg(i);
        d.tags << Record{
            {"Name", r.chance(2) ? name + QStringLiteral(" <spare> & test") : name},
            {"PollFrequency", num(r.pick({100, 250, 500, 1000, 5000}))},
            {"KanalName", fieldText(d.channels.at(ch), "Name")}, {"Kanal_Id", num(ch)},
            {"DeviceAddress", num(r.range(1, 32))}, {"VariableAddress", num(r.range(0, 65535))},
            {"VariableSize", num(r.pick({1, 2, 4}))}, {"VariableType", num(r.pick({1, 2, 3, 6, 9, 11, 14, 16}))},
            {"Id", num(i + 1)},
            {"Macro", r.chance(10) ? QStringLiteral("scale(%1, 0, 4095, 0, 100)").arg(i + 1) : QString()},
            {"IsLogging", flag(r.chance(40))}, {"PriLevel", num(r.range(0, 9))},
            {"TagType", num(r.range(0, 5))}, {"SchedulerIndex", num(r.range(0, 3))},
            {"LoggingFreq", real(r.pick({1, 5, 10, 60}) * (r.chance(20) ? 0.5 : 1.0))},
            {"LoggingMethod", num(r.range(0, 3))},
            {"ReadRight1", num(qint64(r.next()) << 16)}, {"ReadRight2", "0"},
            {"WriteRight1", num(qint64(r.next()) << 8)}, {"WriteRight2", r.chance(10) ? "-1" : "0"},
            {"Keywords", r.chance(30) ? QStringLiteral("%1;%2").arg(QLatin1String(r.pick(kQuantities))).arg(QString::fromUtf8(r.pick(kAreas))) : QString()},
            {"Enabled", flag(r.chance(95))}, {"Description", description(r)}, {"UnitName", unit(r)},
            {"Protocolobjecttype", num(r.range(0, 4))}, {"Option", num(r.range(0, 255))},
            {"LogFilterOptions", filterOptions(r)},
            {"Equipment", QStringLiteral("EQ-%1").arg(r.range(100, 999))},
            {"Measuredentity", QLatin1String(r.pick(kQuantities))},
            {"Formula", r.chance(20) ? QStringLiteral("x * %1 + %2").arg(r.range(1, 10)).arg(r.range(0, 50)) : QString()},
            {"Location", QStringLiteral("Hall %1 / Row %2").arg(r.range(1, 9)).arg(r.range(1, 40))}};
    }
    const int alarms = tags / 4;
    for (int i = 0; i < alarms; ++i) {
        const int tag = 1 + int(r.next() % quint32(qMax(1, tags)));
        QStringList subs;
        const int count = r.range(0, 3);
        for (int s = 0; s < count; ++s)
            subs << num(r.range(1, 200));
        d.alarms << Record{
            {"Id", num(i + 1)}, {"alarm_name", QStringLiteral("%1 high").arg(description(r))},
            {"alarm_desc", r.chance(50) ? QStringLiteral("Check the %1 & call the shift lead").arg(QLatin1String(r.pick(kQuantities))) : QString()},
            {"alarm_class", QLatin1String(r.pick(kAlarmClasses))},
            {"enabled", flag(r.chance(90))}, {"ackrequired", flag(r.chance(70))},
            {"islogging", flag(r.chance(80))}, {"tagID", num(tag)}, {"alarm_type", num(r.range(0, 4))},
            {"alarm_level", num(r.range(0, 5))}, {"comp_type", num(r.range(0, 5))},
            {"limitVal", real(r.range(0, 2000) * 0.25)}, {"checkVal1", real(r.range(0, 100) * 0.5)},
            {"checkVal2", real(0)}, {"limit_tag_id", r.chance(10) ? num(r.range(1, tags)) : QStringLiteral("-1")},
            {"limit_tag2_id", "-1"}, {"readRight1", num(qint64(r.next()))}, {"readRight2", "0"},
            {"subscribers", QStringLiteral("{%1}").arg(subs.join(QLatin1Char(',')))},
            {"currentState", "0"}};
    }
    return d;
}

Output definitionFile(const DefinitionData &data, bool withTape)
{
    static const char *const channelCData[] = {"Name", "ServerIP", nullptr};
    static const char *const tagCData[] = {"Name", "Macro", nullptr};
    static const char *const alarmCData[] = {"alarm_name", nullptr};
    Output out;
    Writer w(&out.bytes, withTape ? &out.tape : nullptr);
    auto list = [&w](const char *listName, const char *recordName, const QVector<Record> &records,
                     const char *const *cdata) {
        w.start(QLatin1String(listName));
        for (const Record &rec : records) {
            w.start(QLatin1String(recordName));
            for (const Field &f : rec) {
                if (isCData(cdata, f.element))
                    w.cdata(f.element, f.text);
                else
                    w.text(f.element, f.text);
            }
            w.end();
        }
        w.end();
    };
    w.startDocument();
    w.start(QStringLiteral("CTDefinitions"));
    list("ChannelList", "Channel", data.channels, channelCData);
    list("TagList", "Tag", data.tags, tagCData);
    list("AlarmList", "Alarm", data.alarms, alarmCData);
    w.end();
    w.endDocument();
    return out;
}

const char *const channelModelColumns[22] = {
    "Id", "Name", "MediaType", "SocketType", "ProtokolType", "ServerIP", "ServerPORT",
    "ListenPORT", "FilterIP", "Comport", "Baudrate", "Databit", "Stopbit", "Paritybit",
    "ResponseTimeout", "ConnectionTimeout", "FrameTimeout", "GroupID", "Station", "Enabled",
    "KestrinPath", "Description"};
const char *const tagModelColumns[31] = {
    "Id", "Name", "Kanal_Id", "PollFrequency", "DeviceAddress", "VariableAddress", "VariableSize",
    "VariableType", "Macro", "IsLogging", "PriLevel", "TagType", "SchedulerIndex", "LoggingFreq",
    "LoggingMethod", "ReadRight1", "ReadRight2", "WriteRight1", "WriteRight2", "Keywords",
    "Enabled", "Description", "UnitName", "Protocolobjecttype", "Option", "LogFilterOptions",
    "Equipment", "Measuredentity", "Location", "Formula", "KanalName"};

namespace {

template<int N>
QVector<QStringList> modelRows(const QVector<Record> &records, int first,
                               const char *const (&columns)[N])
{
    QVector<QStringList> rows;
    rows.reserve(records.size());
    for (int i = first; i < records.size(); ++i) {
        QStringList row;
        for (const char *column : columns)
            row << fieldText(records.at(i), column);
        rows << row;
    }
    return rows;
}

} // namespace

QVector<QStringList> channelModelRows(const DefinitionData &data)
{
    return modelRows(data.channels, 1, channelModelColumns);
}

QVector<QStringList> tagModelRows(const DefinitionData &data)
{
    return modelRows(data.tags, 0, tagModelColumns);
}

Output definitionModelFile(const DefinitionData &data, bool withTape)
{
    static const char *const channelOrder[] = {
        "Name", "Id", "MediaType", "SocketType", "ProtokolType", "ServerIP", "ServerPORT",
        "ListenPORT", "FilterIP", "Comport", "Baudrate", "Databit", "Stopbit", "Paritybit",
        "ResponseTimeout", "ConnectionTimeout", "FrameTimeout", "GroupID", "Station", "Enabled",
        "KestrinPath", "Description", nullptr};
    static const char *const tagOrder[] = {
        "Name", "PollFrequency", "KanalName", "DeviceAddress", "VariableAddress", "VariableSize",
        "VariableType", "Id", "Macro", "Kanal_Id", "IsLogging", "PriLevel", "TagType",
        "SchedulerIndex", "LoggingFreq", "LoggingMethod", "ReadRight1", "ReadRight2",
        "WriteRight1", "WriteRight2", "Keywords", "Enabled", "Description", "UnitName",
        "Protocolobjecttype", "Option", "LogFilterOptions", "Equipment", "Measuredentity",
        "Location", "Formula", nullptr};
    static const char *const channelCData[] = {"Name", "ServerIP", "FilterIP", nullptr};
    static const char *const tagCData[] = {"Name", "KanalName", "Macro", nullptr};
    // The export builds a document model and writes its text (QDomDocument::toString(1)); the
    // tape holds the same elements written by a stream writer.
    Output out;
    QByteArray streamed;
    Writer w(&streamed, withTape ? &out.tape : nullptr, 1);
    QDomDocument document(QStringLiteral("ChannelAndTagDefinitions"));
    document.appendChild(document.createProcessingInstruction(
            QStringLiteral("xml"), QStringLiteral("version=\"1.0\" encoding=\"UTF-8\"")));
    QDomElement root = document.createElement(QStringLiteral("CTDefinitions"));
    document.appendChild(root);
    auto list = [&](const char *listName, const char *recordName, const QVector<Record> &records,
                    int first, const char *const *order, const char *const *cdata) {
        w.start(QLatin1String(listName));
        QDomElement listElement = document.createElement(QLatin1String(listName));
        root.appendChild(listElement);
        for (int i = first; i < records.size(); ++i) {
            w.start(QLatin1String(recordName));
            QDomElement record = document.createElement(QLatin1String(recordName));
            listElement.appendChild(record);
            for (const char *const *e = order; *e; ++e) {
                const QString element = QLatin1String(*e);
                const QString text = fieldText(records.at(i), *e);
                QDomElement value = document.createElement(element);
                record.appendChild(value);
                if (isCData(cdata, element)) {
                    w.cdata(element, text);
                    value.appendChild(document.createCDATASection(text));
                } else {
                    w.text(element, text);
                    value.appendChild(document.createTextNode(text));
                }
            }
            w.end();
        }
        w.end();
    };
    w.startDocument();
    w.dtd(QStringLiteral("<!DOCTYPE ChannelAndTagDefinitions>"));
    w.start(QStringLiteral("CTDefinitions"));
    list("ChannelList", "Channel", data.channels, 1, channelOrder, channelCData);
    list("TagList", "Tag", data.tags, 0, tagOrder, tagCData);
    w.end();
    w.endDocument();
    out.bytes = document.toString(1).toUtf8();
    return out;
}

// ---------------------------------------------------------------------------------------------
// Object library, CSV, project

Output objectLibrary(int objects, quint32 seed, int firstUid, bool userForm, bool withTape)
{
    Rng r(seed);
    Output out;
    Writer w(&out.bytes, withTape ? &out.tape : nullptr);
    w.startDocument();
    w.start(QStringLiteral("scadaObjectTypes"));
    for (int i = 0; i < objects; ++i) {
        const QString category = QLatin1String(r.pick(kCategories));
        w.start(QStringLiteral("object"));
        w.attr(QStringLiteral("name"), QStringLiteral("%1 %2").arg(category.left(category.size() - 1)).arg(i + 1));
        w.text(QStringLiteral("objectCategory"), category);
        w.text(QStringLiteral("objectUID"), firstUid + i);
        if (!userForm) {
            w.text(QStringLiteral("objectType"), r.range(1, 40));
            w.text(QStringLiteral("rtuID"), r.range(0, 64));
            w.text(QStringLiteral("registerID"), r.range(0, 9999));
            w.text(QStringLiteral("width"), r.range(16, 256));
            w.text(QStringLiteral("height"), r.range(16, 256));
            w.text(QStringLiteral("lofX"), r.range(-20, 20));
            w.text(QStringLiteral("lofY"), r.range(-20, 20));
            w.text(QStringLiteral("m_val"), r.range(0, 100));
            w.text(QStringLiteral("a_val"), r.range(0, 100));
        }
        const int images = r.range(1, 4);
        for (int k = 1; k <= images; ++k)
            w.text(QStringLiteral("image%1").arg(k), QStringLiteral("%1_%2_state%3.png").arg(category.toLower()).arg(i + 1).arg(k));
        w.end();
    }
    w.end();
    w.endDocument();
    return out;
}

QByteArray csvTagList(int lines, quint32 seed)
{
    static const char *const types[] = {"LOGIC", "WORD", "DWORD", "FLOAT", "LONG", "ULONG",
                                        "INT", "REAL", "WORD ", "FLO AT"};
    Rng r(seed);
    QByteArray out;
    out.reserve(lines * 40);
    for (int i = 0; i < lines; ++i) {
        out += QByteArray::number(i + 1);
        out += ';';
        out += QByteArray::number(r.range(0, 65535));
        out += ';';
        out += tagName(r).toUtf8();
        out += '_';
        out += QByteArray::number(i);
        out += ';';
        out += r.pick(types);
        out += '\n';
    }
    return out;
}

ProjectPage projectPage(int index, int itemsPerPage, quint32 seed)
{
    PageRequest request;
    request.items = itemsPerPage;
    request.seed = seed * 7919u + quint32(index);
    request.pageId = index + 1;
    request.uidBase = 1 + index * itemsPerPage;
    request.layers = 2;
    request.fileName = QStringLiteral("pages/page%1.xml").arg(index + 1, 5, 10, QLatin1Char('0'));
    request.relativePath = request.fileName;
    return ProjectPage{request.fileName, page(request).bytes};
}

QVector<ProjectPage> project(int pages, int itemsPerPage, quint32 seed)
{
    QVector<ProjectPage> out;
    out.reserve(pages);
    for (int i = 0; i < pages; ++i)
        out.append(projectPage(i, itemsPerPage, seed));
    return out;
}

} // namespace TirrelGen
