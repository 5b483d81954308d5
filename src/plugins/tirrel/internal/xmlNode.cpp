#include "xmlNode_p.h"

#include "xmlAudit_p.h"

#include <limits>

namespace {

// The value of text made of an optional "-" and at most maxDigits decimal digits, nothing else;
// false for any other text (which then goes through QString's conversion).
template <class Char>
bool plainInteger(const Char *p, int n, int maxDigits, qint64 *value)
{
    const bool negative = n > 0 && p[0] == Char('-');
    const int first = negative ? 1 : 0;
    if (n == first || n - first > maxDigits)
        return false;
    qint64 v = 0;
    for (int i = first; i < n; ++i) {
        const unsigned c = unsigned(p[i]);
        if (c < '0' || c > '9')
            return false;
        v = v * 10 + (c - '0');
    }
    *value = negative ? -v : v;
    return true;
}

// QString's conversion of text, telling an audit when it fails (xmlAudit_p.h).
template <class V>
V converted(const QString &text, V (QString::*convert)(bool *, int) const, XmlAudit::Type type)
{
    bool ok;
    const V v = (text.*convert)(&ok, 10);
    if (!ok)
        XmlAudit::conversionFailed(text, type);
    return v;
}
template <class V>
V converted(const QString &text, V (QString::*convert)(bool *) const, XmlAudit::Type type)
{
    bool ok;
    const V v = (text.*convert)(&ok);
    if (!ok)
        XmlAudit::conversionFailed(text, type);
    return v;
}

} // namespace

XmlNames::XmlNames(const XmlName *const *names, int count)
{
    m_names.reserve(count);
    for (int i = 0; i < count; ++i)
        m_names.append(names[i]);
    index();
}

XmlNames::XmlNames(std::initializer_list<const XmlName *> names)
    : m_names(names)
{
    index();
}

void XmlNames::index()
{
    for (int i = m_names.size() - 1; i >= 0; --i) {
        m_byString.insert(m_names.at(i)->string(), i);
        m_byBytes.insert(QByteArray(m_names.at(i)->latin1(), m_names.at(i)->size()), i);
    }
}

QString XmlValue::toString() const
{
    switch (m_kind) {
    case Missing:
        return QString();
    case String: {
        // Memory of its own: the DOM's strings would otherwise outlive the document scattered
        // among its freed nodes, pinning that memory.
        QString text = m_string;
        if (!text.isEmpty())
            text.detach();
        return text;
    }
    case Utf8:
        return fromUtf8(m_utf8, m_size);
    }
    return QString();
}

QString XmlValue::fromUtf8(const char *utf8, int size)
{
    int marks = 0;
    while (size - 3 * marks >= 3 && std::memcmp(utf8 + 3 * marks, "\xef\xbb\xbf", 3) == 0)
        ++marks;
    if (marks == 0)
        return QString::fromUtf8(utf8, size);   // empty, not null, for an empty value
    return QString(marks, QChar(0xfeff)) + QString::fromUtf8(utf8 + 3 * marks, size - 3 * marks);
}

int XmlValue::toInt() const
{
    qint64 v;
    if (m_kind == Utf8) {
        if (plainInteger(reinterpret_cast<const uchar *>(m_utf8), m_size, 10, &v)
                && v >= std::numeric_limits<int>::min() && v <= std::numeric_limits<int>::max())
            return int(v);
        return converted(fromUtf8(m_utf8, m_size), &QString::toInt, XmlAudit::Int);
    }
    if (plainInteger(m_string.utf16(), m_string.size(), 10, &v)
            && v >= std::numeric_limits<int>::min() && v <= std::numeric_limits<int>::max())
        return int(v);
    return converted(m_string, &QString::toInt, XmlAudit::Int);
}

uint XmlValue::toUInt() const
{
    qint64 v;
    const bool plain = m_kind == Utf8
            ? plainInteger(reinterpret_cast<const uchar *>(m_utf8), m_size, 10, &v)
            : plainInteger(m_string.utf16(), m_string.size(), 10, &v);
    if (plain && v >= 0 && v <= std::numeric_limits<uint>::max())
        return uint(v);
    return converted(toString(), &QString::toUInt, XmlAudit::UInt);
}

qint64 XmlValue::toInt64() const
{
    qint64 v;
    const bool plain = m_kind == Utf8
            ? plainInteger(reinterpret_cast<const uchar *>(m_utf8), m_size, 18, &v)
            : plainInteger(m_string.utf16(), m_string.size(), 18, &v);
    return plain ? v : converted(toString(), &QString::toLongLong, XmlAudit::Int64);
}

quint64 XmlValue::toUInt64() const
{
    qint64 v;
    const bool plain = m_kind == Utf8
            ? plainInteger(reinterpret_cast<const uchar *>(m_utf8), m_size, 18, &v)
            : plainInteger(m_string.utf16(), m_string.size(), 18, &v);
    return plain && v >= 0 ? quint64(v)
                           : converted(toString(), &QString::toULongLong, XmlAudit::UInt64);
}

float XmlValue::toFloat() const
{
    // Integers of up to 9 digits are exact as doubles, so one rounding to float is the same as
    // the conversion of the decimal text. "-0" keeps its sign through the full conversion.
    qint64 v;
    const bool plain = m_kind == Utf8
            ? plainInteger(reinterpret_cast<const uchar *>(m_utf8), m_size, 9, &v)
            : plainInteger(m_string.utf16(), m_string.size(), 9, &v);
    return plain && v != 0 ? float(v) : converted(toString(), &QString::toFloat, XmlAudit::Float);
}

double XmlValue::toDouble() const
{
    qint64 v;
    const bool plain = m_kind == Utf8
            ? plainInteger(reinterpret_cast<const uchar *>(m_utf8), m_size, 15, &v)
            : plainInteger(m_string.utf16(), m_string.size(), 15, &v);
    return plain && v != 0 ? double(v)
                           : converted(toString(), &QString::toDouble, XmlAudit::Double);
}

XmlValue DomNode::text() const
{
    if (m_element.isNull())
        return XmlValue();
    // QDomElement::text() without its copy in the common case of one text or CDATA child.
    const QDomNode first = m_element.firstChild();
    if ((first.isText() || first.isCDATASection()) && first.nextSibling().isNull())
        return XmlValue(first.nodeValue());
    return XmlValue(m_element.text());
}

DomNode DomNode::elementFrom(QDomNode node)
{
    while (!node.isNull() && !node.isElement())
        node = node.nextSibling();
    return DomNode(node);
}

XmlValue DomNode::attribute(const XmlName &name) const
{
    // QDomElement::attribute hands back the default itself when the attribute is missing, and
    // no attribute value can share this string's data; that tells the two cases apart without
    // a second look-up.
    static const QString missing = QStringLiteral("\x01missing");
    const QString value = m_element.attribute(name.string(), missing);
    return value.isSharedWith(missing) ? XmlValue() : XmlValue(value);
}
