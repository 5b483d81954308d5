#pragma once

// The read-only view of an XML element that every reader of the library is written against.
// Two kinds of node satisfy it:
//  - DomNode, a QDomElement of a document parsed by Qt's DOM (QDomDocument::setContent);
//  - TreeNode (xmlTree_p.h), an element of the library's own compact tree, built in one pass
//    over the bytes and used for every well-formed document without a document type
//    declaration.
// A reader is a template over the node type, so the same code reads both, and for the same bytes
// both give the same values (names, attribute values, element texts, child order), which the
// tests check on every fixture and the fuzz harnesses on random documents.
//
// The interface (N is DomNode or TreeNode):
//   bool  isNull()                          a missing element; every query on it gives nothing
//   QString name()                          the element's name (null for a null node)
//   bool  hasName(const XmlName &)          name comparison without making a QString
//   int   nameIndex(const XmlNames &)       index of the element's name in the list, or -1
//   N     firstChildElement() / nextSiblingElement()                 child elements in order
//   N     firstChildElement(const XmlName &) / nextSiblingElement(const XmlName &)
//   XmlValue text()                         QDomElement::text(): all text and CDATA below the
//                                           element, in document order; missing on a null node
//   XmlValue attribute(const XmlName &)     missing when the element has no such attribute

#include "tirrel_global.h"

#include <QDomElement>
#include <QHash>
#include <QString>
#include <QVarLengthArray>
#include <QVector>

#include <algorithm>
#include <cstring>

// A name of the formats (element or attribute), kept in the two forms the two node kinds
// compare against. Names of the formats are ASCII literals, which the name points into. Made
// once, at static initialisation or with the field table whose row names it.
class XmlName
{
public:
    XmlName() = default;    // no name
    XmlName(const char *latin1)
        : m_latin1(latin1), m_size(int(std::strlen(latin1))), m_string(QString::fromLatin1(latin1))
    {
    }

    bool isNull() const { return !m_latin1; }
    const char *latin1() const { return m_latin1; }
    int size() const { return m_size; }
    const QString &string() const { return m_string; }
    operator const QString &() const { return m_string; }

private:
    const char *m_latin1 = nullptr;
    int m_size = 0;
    QString m_string;
};

// A list of names with each one's index, for readers that look for many children of one
// element in a single pass (see ChildElements). The first of equal names wins.
class TIRREL_AUTOTEST_EXPORT XmlNames
{
public:
    XmlNames(const XmlName *const *names, int count);
    XmlNames(std::initializer_list<const XmlName *> names);

    int size() const { return m_names.size(); }
    const XmlName &at(int index) const { return *m_names.at(index); }
    int indexOf(const QString &name) const { return m_byString.value(name, -1); }
    int indexOf(const char *utf8, int size) const
    {
        return m_byBytes.value(QByteArray::fromRawData(utf8, size), -1);
    }

private:
    void index();

    QVector<const XmlName *> m_names;
    QHash<QString, int> m_byString;
    QHash<QByteArray, int> m_byBytes;
};

// The text of an element or the value of an attribute as the document holds it, or nothing
// when the element or attribute is missing. Conversions follow QString's (base 10; what does
// not convert gives 0), with a shortcut for plain decimal numbers; texts are handed out in
// memory of their own (see ownText in the format helpers).
class TIRREL_AUTOTEST_EXPORT XmlValue
{
public:
    XmlValue() = default;                       // missing
    explicit XmlValue(QString text) : m_string(std::move(text)), m_kind(String) {}
    // UTF-8 held elsewhere (the tree's buffer), already as the DOM parser gives it: references
    // resolved, line ends and white space as the document has them. Never null: a size of 0 is
    // an empty value.
    XmlValue(const char *utf8, int size) : m_utf8(utf8), m_size(size), m_kind(Utf8) {}

    bool isMissing() const { return m_kind == Missing; }
    bool isEmpty() const { return m_kind == Utf8 ? m_size == 0 : m_string.isEmpty(); }

    // A missing value gives a null string, an empty one an empty (non-null) string.
    QString toString() const;
    // The same, sharing the document's own string where the node kind holds one (DomNode)
    // instead of a copy: for records whose texts may keep that memory after the document.
    QString toSharedString() const { return m_kind == String ? m_string : toString(); }
    // QString::fromUtf8, but for a byte-order mark at the start: in a value it is a character,
    // which QString::fromUtf8 drops.
    static QString fromUtf8(const char *utf8, int size);
    int toInt() const;
    uint toUInt() const;
    qint64 toInt64() const;
    quint64 toUInt64() const;
    float toFloat() const;
    double toDouble() const;

private:
    enum Kind : quint8 { Missing, String, Utf8 };
    QString m_string;
    const char *m_utf8 = nullptr;
    int m_size = 0;
    Kind m_kind = Missing;
};

// A QDomElement seen through the interface above.
class TIRREL_AUTOTEST_EXPORT DomNode
{
public:
    DomNode() = default;
    explicit DomNode(const QDomElement &element) : m_element(element) {}
    // The node as an element (a null one for other kinds of node).
    explicit DomNode(const QDomNode &node) : m_element(node.toElement()) {}

    bool isNull() const { return m_element.isNull(); }
    QString name() const { return m_element.tagName(); }
    bool hasName(const XmlName &name) const { return m_element.tagName() == name.string(); }
    int nameIndex(const XmlNames &names) const { return names.indexOf(m_element.tagName()); }

    DomNode firstChildElement() const { return elementFrom(m_element.firstChild()); }
    DomNode nextSiblingElement() const { return elementFrom(m_element.nextSibling()); }
    DomNode firstChildElement(const XmlName &name) const
    {
        return DomNode(m_element.firstChildElement(name.string()));
    }
    DomNode nextSiblingElement(const XmlName &name) const
    {
        return DomNode(m_element.nextSiblingElement(name.string()));
    }

    XmlValue text() const;
    XmlValue attribute(const XmlName &name) const;

    const QDomElement &element() const { return m_element; }

private:
    // The first element among `node` and its following siblings.
    static DomNode elementFrom(QDomNode node);

    QDomElement m_element;
};

// Calls found(i, child) for the first child element of each name of `names` (i its index in
// the list), in document order, in one pass over the children: child is what
// firstChildElement(names.at(i)) gives. Then calls found(i, Node()) for each name without a
// child. Children in the order of the list are matched without a look-up.
template <class Node, class Found>
void forFirstChildElements(const Node &parent, const XmlNames &names, Found found)
{
    QVarLengthArray<bool, 32> seen(names.size());
    std::fill(seen.begin(), seen.end(), false);
    int missing = names.size();
    int expected = 0;
    for (Node child = parent.firstChildElement(); !child.isNull() && missing > 0;
         child = child.nextSiblingElement()) {
        const int i = expected < names.size() && child.hasName(names.at(expected))
                ? expected
                : child.nameIndex(names);
        if (i < 0)
            continue;
        if (!seen[i]) {
            seen[i] = true;
            --missing;
            found(i, child);
        }
        expected = i + 1;
    }
    for (int i = 0; missing > 0 && i < names.size(); ++i) {
        if (!seen[i])
            found(i, Node());
    }
}

// The first child element of each name of `names`: at(i) is what
// firstChildElement(names.at(i)) gives.
template <class Node>
class ChildElements
{
public:
    explicit ChildElements(int size) : m_found(size) {}
    ChildElements(const Node &parent, const XmlNames &names)
        : m_found(names.size())
    {
        forFirstChildElements(parent, names,
                              [this](int i, const Node &child) { m_found[i] = child; });
    }

    const Node &operator[](int index) const { return m_found[index]; }
    Node &operator[](int index) { return m_found[index]; }

private:
    QVarLengthArray<Node, 32> m_found;
};
