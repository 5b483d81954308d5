#pragma once

// The page file format's names and defaults, and the small typed helpers through which the page
// frame and every item kind read and write it. Reading never fails: a missing element or
// attribute gives the default passed in, a value that does not parse gives 0.

#include "scaFileData.h"

#include <QDomElement>
#include <QVarLengthArray>
#include <QXmlStreamWriter>

namespace PageXml {

// Document frame
const QString ScadaFile = QStringLiteral("ScadaFile");
const QString ItemList = QStringLiteral("ItemList");
const QString Item = QStringLiteral("Item");
const QString ItemType = QStringLiteral("ItemType");
const QString PageProperties = QStringLiteral("PageProperties");

// Page properties, in writing order
const QString pageName = QStringLiteral("pageName");
const QString fileName = QStringLiteral("fileName");
const QString relativePath = QStringLiteral("relativePath");
const QString pageID = QStringLiteral("pageID");
const QString pageType = QStringLiteral("pageType");
const QString geoView = QStringLiteral("geoView");
const QString geoData = QStringLiteral("geoData");
const QString markerCategories = QStringLiteral("markerCategories");
const QString geoCenterPos = QStringLiteral("geoCenterPos");
const QString customPageSize = QStringLiteral("customPageSize");
const QString addScrollingText = QStringLiteral("addScrollingText");
const QString scaleToWindow = QStringLiteral("scaleToWindow");
const QString pageBgImage = QStringLiteral("pageBgImage");
const QString pageIcon = QStringLiteral("pageIcon");
const QString pageAccessRights = QStringLiteral("pageAccessRights");
const QString pageAccessRights2 = QStringLiteral("pageAccessRights2");
const QString layerOrder = QStringLiteral("layerOrder");
const QString pageGeometry = QStringLiteral("pageGeometry");
const QString ScrollTags = QStringLiteral("ScrollTags");
const QString Tag = QStringLiteral("Tag");
const QString TagID = QStringLiteral("TagID");
const QString ScrollText = QStringLiteral("ScrollText");

// Page property defaults (for missing elements and attributes)
const int DefaultPageID = -1;
const int DefaultPageWidth = 250;
const int DefaultPageHeight = 150;
const QString DefaultGeoCenterPos = QStringLiteral("51.5,0,10");
const QString DefaultScrollTagID = QStringLiteral("0");
const QString DefaultScrollText = QStringLiteral("Text");

// Layer list text: entries "id,name,visible,param4,param5;"
const QChar LayerSeparator = QLatin1Char(';');
const QChar LayerFieldSeparator = QLatin1Char(',');
const int DefaultLayerParam = -1;

// Common item envelope
const QString Geometry = QStringLiteral("Geometry");
const QString X = QStringLiteral("X");
const QString Y = QStringLiteral("Y");
const QString W = QStringLiteral("W");
const QString H = QStringLiteral("H");
const QString Rot = QStringLiteral("Rot");
const QString ZVAL = QStringLiteral("ZVAL");
const QString GZVAL = QStringLiteral("GZVAL");
const QString HFlip = QStringLiteral("HFlip");
const QString VFlip = QStringLiteral("VFlip");
const QString Properties = QStringLiteral("Properties");
const QString Name = QStringLiteral("Name");
const QString GroupId = QStringLiteral("GroupId");
const QString LayerId = QStringLiteral("LayerId");

// ---- Reading ---------------------------------------------------------------------------------

// A number read as floating point and truncated toward zero; NaN gives 0, values beyond the int
// range give its nearest end.
int truncatedToInt(double value);

// QString::toInt, toULongLong, toFloat and toDouble in base 10 (0 when the text is not a number
// or out of range), with a shortcut for the plain decimal integers that make up most of a page.
int parseInt(const QString &text);
quint64 parseUInt64(const QString &text);
float parseFloat(const QString &text);
double parseDouble(const QString &text);

// QDomElement::text() without its copy in the common case of one text or CDATA child.
QString elementText(const QDomElement &element);

// A text read from the document, in memory of its own. The DOM hands out its own strings, which
// would otherwise outlive the document scattered among its freed nodes: they would pin that
// memory, and every later copy or deletion of a record would touch all of it.
// Null and empty texts stay as they are (they hold no memory).
inline QString ownText(QString text)
{
    if (!text.isEmpty())
        text.detach();
    return text;
}

// Values of an element's text; `element` null means the element is missing and gives `def`.
inline QString textOf(const QDomElement &element, const QString &def = QString())
{
    return element.isNull() ? def : ownText(elementText(element));
}
inline int intOf(const QDomElement &element, int def)
{
    return element.isNull() ? def : parseInt(elementText(element));
}
inline qint64 int64Of(const QDomElement &element, qint64 def)
{
    return element.isNull() ? def : elementText(element).toLongLong();
}
inline quint64 uint64Of(const QDomElement &element, quint64 def)
{
    return element.isNull() ? def : parseUInt64(elementText(element));
}
inline bool flagOf(const QDomElement &element, bool def)
{
    return element.isNull() ? def : parseInt(elementText(element)) != 0;
}
inline float floatOf(const QDomElement &element, float def)
{
    return element.isNull() ? def : parseFloat(elementText(element));
}
inline double doubleOf(const QDomElement &element, double def)
{
    return element.isNull() ? def : parseDouble(elementText(element));
}

// The same for the first child element of `parent` named `name`.
inline QString readText(const QDomElement &parent, const QString &name, const QString &def = QString())
{
    return textOf(parent.firstChildElement(name), def);
}
inline int readInt(const QDomElement &parent, const QString &name, int def)
{
    return intOf(parent.firstChildElement(name), def);
}
inline qint64 readInt64(const QDomElement &parent, const QString &name, qint64 def)
{
    return int64Of(parent.firstChildElement(name), def);
}
inline quint64 readUInt64(const QDomElement &parent, const QString &name, quint64 def)
{
    return uint64Of(parent.firstChildElement(name), def);
}
inline bool readFlag(const QDomElement &parent, const QString &name, bool def)
{
    return flagOf(parent.firstChildElement(name), def);
}
inline float readFloat(const QDomElement &parent, const QString &name, float def)
{
    return floatOf(parent.firstChildElement(name), def);
}
inline double readDouble(const QDomElement &parent, const QString &name, double def)
{
    return doubleOf(parent.firstChildElement(name), def);
}

// The value of an attribute, or null with *found false when the element has none of that name.
QString attributeValue(const QDomElement &element, const QString &name, bool *found);

// Attribute values; a missing attribute (or a null element) gives `def`.
inline QString textAttr(const QDomElement &element, const QString &name, const QString &def = QString())
{
    bool found = false;
    const QString value = attributeValue(element, name, &found);
    return found ? ownText(value) : def;
}
inline int intAttr(const QDomElement &element, const QString &name, int def)
{
    bool found;
    const QString v = attributeValue(element, name, &found);
    return found ? parseInt(v) : def;
}
inline quint64 uint64Attr(const QDomElement &element, const QString &name, quint64 def)
{
    bool found;
    const QString v = attributeValue(element, name, &found);
    return found ? parseUInt64(v) : def;
}
inline bool flagAttr(const QDomElement &element, const QString &name, bool def)
{
    bool found;
    const QString v = attributeValue(element, name, &found);
    return found ? parseInt(v) != 0 : def;
}
// Read as a floating-point number and truncated toward zero.
inline int truncatedAttr(const QDomElement &element, const QString &name, int def)
{
    bool found;
    const QString v = attributeValue(element, name, &found);
    return found ? truncatedToInt(parseDouble(v)) : def;
}

// The child element names a reader looks for, each with its index in the list. Made once per
// reader (a function-local static); `names` must outlive it.
class ElementNames
{
public:
    ElementNames(const QString *names, int count);
    int size() const { return m_size; }
    const QString &name(int index) const { return m_names[index]; }
    int indexOf(const QString &name) const { return m_index.value(name, -1); }

private:
    const QString *m_names;
    int m_size;
    QHash<QString, int> m_index;
};

// The children of one element found by name in a single pass over its children, for readers
// that read many children of one element: at(i) is the first child element named names[i], as
// firstChildElement would find it, or a null element when there is none. Children in the order
// of the names list are matched without a hash look-up.
class ChildElements
{
public:
    ChildElements(const QDomElement &parent, const ElementNames &names);
    const QDomElement &at(int index) const { return m_found[index]; }
    const QDomElement &operator[](int index) const { return m_found[index]; }

private:
    QVarLengthArray<QDomElement, 32> m_found;
};

// ---- Writing ---------------------------------------------------------------------------------
// Text passed to the writers loses the characters XML 1.0 cannot hold (control characters other
// than tab, line feed and carriage return, U+FFFE, U+FFFF, unpaired surrogates), so that a saved
// page always parses again.

QString xmlSafe(const QString &text);

inline void writeText(QXmlStreamWriter &w, const QString &name, const QString &value)
{
    w.writeTextElement(name, xmlSafe(value));
}
inline void writeInt(QXmlStreamWriter &w, const QString &name, int value)
{
    w.writeTextElement(name, QString::number(value));
}
inline void writeInt(QXmlStreamWriter &w, const QString &name, qint64 value)
{
    w.writeTextElement(name, QString::number(value));
}
inline void writeInt(QXmlStreamWriter &w, const QString &name, quint64 value)
{
    w.writeTextElement(name, QString::number(value));
}
inline QString flagText(bool value)
{
    return value ? QStringLiteral("1") : QStringLiteral("0");
}
inline void writeFlag(QXmlStreamWriter &w, const QString &name, bool value)
{
    w.writeTextElement(name, flagText(value));
}
// General format, six significant digits (12.5 -> "12.5", 1234567 -> "1.23457e+06").
inline QString doubleText(double value)
{
    return QString::number(value, 'g', 6);
}
inline void writeDouble(QXmlStreamWriter &w, const QString &name, double value)
{
    w.writeTextElement(name, doubleText(value));
}
// The text as a CDATA section (the writer splits it where the text holds "]]>").
inline void writeCData(QXmlStreamWriter &w, const QString &name, const QString &value)
{
    w.writeStartElement(name);
    w.writeCDATA(xmlSafe(value));
    w.writeEndElement();
}

inline void writeAttr(QXmlStreamWriter &w, const QString &name, const QString &value)
{
    w.writeAttribute(name, xmlSafe(value));
}
inline void writeAttr(QXmlStreamWriter &w, const QString &name, int value)
{
    w.writeAttribute(name, QString::number(value));
}
inline void writeAttr(QXmlStreamWriter &w, const QString &name, quint64 value)
{
    w.writeAttribute(name, QString::number(value));
}
inline void writeFlagAttr(QXmlStreamWriter &w, const QString &name, bool value)
{
    w.writeAttribute(name, flagText(value));
}

// ---- Common item envelope ------------------------------------------------------------------
// "Geometry" (X, Y, W, H, Rot, ZVAL, GZVAL, HFlip, VFlip) and "Properties" (Name, the kind's own
// attributes, GroupId, LayerId). The text item keeps its geometry elsewhere and uses only the
// attribute helpers.

// Fills the geometry fields of `base` from a "Geometry" element; a null element reads as one
// without attributes. X and Y are truncated from floating point; the others are decimal ints.
void readGeometry(const QDomElement &geometry, ItemBaseData_t *base);
// Fills Name, GroupId and LayerId of `base` from a "Properties" element (null: defaults).
void readItemProperties(const QDomElement &properties, ItemBaseData_t *base);
// The whole envelope from already found "Geometry" and "Properties" elements: geometry, then
// `itemKind`, then the common "Properties" attributes.
void readEnvelope(const QDomElement &geometry, const QDomElement &properties,
                  ItemBaseData_t *base, int itemKind);
// The same, looking both elements up among the children of the "Item" element. Returns the
// "Properties" element (null when missing) for the kind's own attributes.
QDomElement readEnvelope(const QDomElement &item, ItemBaseData_t *base, int itemKind);

void writeGeometry(QXmlStreamWriter &w, const ItemBaseData_t &base);
// Writes "Geometry" and "Properties"; kindAttributes() writes the kind's own attributes between
// "Name" and "GroupId".
template <typename KindAttributes>
void writeEnvelope(QXmlStreamWriter &w, const ItemBaseData_t &base, KindAttributes kindAttributes)
{
    writeGeometry(w, base);
    w.writeEmptyElement(Properties);
    writeAttr(w, Name, base.Name);
    kindAttributes();
    writeAttr(w, GroupId, base.GroupId);
    writeAttr(w, LayerId, base.LayerId);
}
inline void writeEnvelope(QXmlStreamWriter &w, const ItemBaseData_t &base)
{
    writeEnvelope(w, base, [] {});
}

// ---- Item records --------------------------------------------------------------------------

// The copy function of a kind whose fields are all values: every field but `base` (record
// assignment leaves the base record alone). Null or identical arguments change nothing.
template <typename Record>
void copyRecordFields(Record *target, const Record *source)
{
    if (target && source && target != source)
        *target = *source;
}

} // namespace PageXml
