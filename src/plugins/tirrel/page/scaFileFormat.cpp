#include "scaFileFormat_p.h"

#include <cmath>
#include <limits>

namespace PageXml {

int truncatedToInt(double value)
{
    if (std::isnan(value))
        return 0;
    if (value <= double(std::numeric_limits<int>::min()))
        return std::numeric_limits<int>::min();
    if (value >= double(std::numeric_limits<int>::max()))
        return std::numeric_limits<int>::max();
    return int(value);
}

namespace {

// The value of text made of an optional "-" and at most maxDigits decimal digits, nothing else;
// false for any other text.
bool plainInteger(const QString &text, int maxDigits, qint64 *value)
{
    const int n = text.size();
    const QChar *p = text.constData();
    const bool negative = n > 0 && p[0] == QLatin1Char('-');
    const int first = negative ? 1 : 0;
    if (n == first || n - first > maxDigits)
        return false;
    qint64 v = 0;
    for (int i = first; i < n; ++i) {
        const ushort c = p[i].unicode();
        if (c < '0' || c > '9')
            return false;
        v = v * 10 + (c - '0');
    }
    *value = negative ? -v : v;
    return true;
}

} // namespace

int parseInt(const QString &text)
{
    qint64 v;
    if (plainInteger(text, 10, &v)
        && v >= std::numeric_limits<int>::min() && v <= std::numeric_limits<int>::max())
        return int(v);
    return text.toInt();
}

quint64 parseUInt64(const QString &text)
{
    qint64 v;
    if (plainInteger(text, 18, &v) && v >= 0)
        return quint64(v);
    return text.toULongLong();
}

float parseFloat(const QString &text)
{
    // Integers of up to 9 digits are exact as doubles, so one rounding to float is the same as
    // the conversion of the decimal text. "-0" keeps its sign through the full conversion.
    qint64 v;
    if (plainInteger(text, 9, &v) && v != 0)
        return float(v);
    return text.toFloat();
}

double parseDouble(const QString &text)
{
    qint64 v;
    if (plainInteger(text, 15, &v) && v != 0)
        return double(v);
    return text.toDouble();
}

QString attributeValue(const QDomElement &element, const QString &name, bool *found)
{
    // QDomElement::attribute hands back the default itself when the attribute is missing, and
    // no attribute value can share this string's data; that tells the two cases apart without
    // a second look-up.
    static const QString missing = QStringLiteral("\x01missing");
    QString value = element.attribute(name, missing);
    *found = !value.isSharedWith(missing);
    if (!*found)
        value = QString();
    return value;
}

QString elementText(const QDomElement &element)
{
    const QDomNode first = element.firstChild();
    if ((first.isText() || first.isCDATASection()) && first.nextSibling().isNull())
        return first.nodeValue();
    return element.text();
}

ElementNames::ElementNames(const QString *names, int count)
    : m_names(names), m_size(count)
{
    m_index.reserve(count);
    for (int i = count - 1; i >= 0; --i)
        m_index.insert(names[i], i);
}

ChildElements::ChildElements(const QDomElement &parent, const ElementNames &names)
    : m_found(names.size())
{
    int missing = names.size();
    int expected = 0;
    for (QDomNode child = parent.firstChild(); !child.isNull() && missing > 0;
         child = child.nextSibling()) {
        if (!child.isElement())
            continue;
        const QString name = child.nodeName();
        const int i = expected < names.size() && name == names.name(expected)
                ? expected
                : names.indexOf(name);
        if (i < 0)
            continue;
        if (m_found[i].isNull()) {
            m_found[i] = child.toElement();
            --missing;
        }
        expected = i + 1;
    }
}

namespace {

bool isXmlChar(ushort c)
{
    return c >= 0x20 ? c < 0xFFFE : (c == 0x9 || c == 0xA || c == 0xD);
}

} // namespace

QString xmlSafe(const QString &text)
{
    // Most texts are clean: scan first and copy only when something has to go. Unpaired
    // surrogates matter most: the stream writer would otherwise emit a document that no longer
    // parses, and the whole page would be lost on the next load.
    const int n = text.size();
    const QChar *s = text.constData();
    int i = 0;
    for (; i < n; ++i) {
        const ushort c = s[i].unicode();
        if (QChar::isSurrogate(c)) {
            if (QChar::isHighSurrogate(c) && i + 1 < n && QChar::isLowSurrogate(s[i + 1].unicode())) {
                ++i;
                continue;
            }
            break;
        }
        if (!isXmlChar(c))
            break;
    }
    if (i == n)
        return text;

    QString clean;
    clean.reserve(n);
    clean.append(s, i);
    for (; i < n; ++i) {
        const ushort c = s[i].unicode();
        if (QChar::isSurrogate(c)) {
            if (QChar::isHighSurrogate(c) && i + 1 < n && QChar::isLowSurrogate(s[i + 1].unicode())) {
                clean.append(s + i, 2);
                ++i;
            }
        } else if (isXmlChar(c)) {
            clean.append(s[i]);
        }
    }
    return clean;
}

void readGeometry(const QDomElement &geometry, ItemBaseData_t *base)
{
    base->X = truncatedAttr(geometry, X, 0);
    base->Y = truncatedAttr(geometry, Y, 0);
    base->W = intAttr(geometry, W, 0);
    base->H = intAttr(geometry, H, 0);
    base->Rot = intAttr(geometry, Rot, 0);
    base->ZVAL = intAttr(geometry, ZVAL, 0);
    base->GZVAL = intAttr(geometry, GZVAL, 0);
    base->HFlip = flagAttr(geometry, HFlip, false);
    base->VFlip = flagAttr(geometry, VFlip, false);
}

void writeGeometry(QXmlStreamWriter &w, const ItemBaseData_t &base)
{
    w.writeEmptyElement(Geometry);
    writeAttr(w, X, base.X);
    writeAttr(w, Y, base.Y);
    writeAttr(w, W, base.W);
    writeAttr(w, H, base.H);
    writeAttr(w, Rot, base.Rot);
    writeAttr(w, ZVAL, base.ZVAL);
    writeAttr(w, GZVAL, base.GZVAL);
    writeFlagAttr(w, HFlip, base.HFlip);
    writeFlagAttr(w, VFlip, base.VFlip);
}

void readItemProperties(const QDomElement &properties, ItemBaseData_t *base)
{
    base->Name = textAttr(properties, Name);
    base->GroupId = uint64Attr(properties, GroupId, 0);
    base->LayerId = uint64Attr(properties, LayerId, 0);
}

void readEnvelope(const QDomElement &geometry, const QDomElement &properties,
                  ItemBaseData_t *base, int itemKind)
{
    readGeometry(geometry, base);
    base->itemKind = itemKind;
    readItemProperties(properties, base);
}

QDomElement readEnvelope(const QDomElement &item, ItemBaseData_t *base, int itemKind)
{
    const QDomElement properties = item.firstChildElement(Properties);
    readEnvelope(item.firstChildElement(Geometry), properties, base, itemKind);
    return properties;
}

} // namespace PageXml
