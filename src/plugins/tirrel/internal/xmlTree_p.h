#pragma once

// The library's own XML parser: one strict pass over the bytes into a compact, read-only tree
// (flat arrays of elements, attributes and texts, with spans into the input), seen through
// TreeNode, the second kind of node of the interface in xmlNode_p.h.
//
// It takes only well-formed XML 1.0 documents without a document type declaration (but for one
// that only names the root element, as the definition export writes it), and for every
// document it takes, TreeNode gives exactly what DomNode gives over the DOM document of the same
// bytes (QDomDocument::setContent(bytes, false)). That includes the DOM's own ways: line ends
// and white space in texts and attribute values are kept as they are, and a piece of character
// data between two pieces of markup that is all white space (QChar::isSpace, after references
// are resolved) is dropped, while a CDATA section is always kept. Whatever it cannot take with
// that certainty it refuses, and the document then goes to the DOM:
//  - malformed documents (also where the DOM is more lenient: undefined entities, duplicate
//    attributes, references to characters XML does not allow, missing white space between
//    attributes, ...);
//  - a document type declaration with an external identifier or an internal subset;
//  - elements nested deeper than XmlLimits::MaxDepth (as checkXmlLimits counts them);
//  - names with characters other than ASCII letters, digits, '_', '-', '.' and one ':' inside
//    (the DOM's and the stream reader's rules for other names differ);
//  - references to characters past U+FFFF (the DOM keeps their low 16 bits only);
//  - bytes the DOM's decoder would replace or drop: invalid UTF-8, unpaired UTF-16 surrogates,
//    a byte-order mark inside a UTF-8 document near a multiple of 1,024 bytes (the decoder
//    drops a mark that starts a block), and an encoding declared in the XML declaration that is
//    not the one the DOM reads with.
//
// A reader parses with the tree first and, when it refuses, reads the same bytes the DOM way as
// before (checkXmlLimits, then QDomDocument::setContent). A document the tree takes is within
// those limits already: it is nested no deeper, and without a DTD it has no entities.
//
// Documents in UTF-8 are parsed where they lie; others are decoded exactly as the DOM decodes
// them (see xmlParserCodec) into UTF-8 first. Only values with references get bytes of their
// own. No recursion; memory is a small multiple of the input.

#include "xmlNode_p.h"

#include <QByteArray>
#include <QString>

#include <cstring>
#include <vector>

class XmlTree;

// An element of an XmlTree (or a null node). A small value, valid while its tree lives and holds
// the same document; so are the values it gives.
class TIRREL_AUTOTEST_EXPORT TreeNode
{
public:
    TreeNode() = default;

    bool isNull() const { return !m_tree; }
    QString name() const;
    inline bool hasName(const XmlName &name) const;
    inline int nameIndex(const XmlNames &names) const;

    inline TreeNode firstChildElement() const;
    inline TreeNode nextSiblingElement() const;
    inline TreeNode firstChildElement(const XmlName &name) const;
    inline TreeNode nextSiblingElement(const XmlName &name) const;

    XmlValue text() const;
    XmlValue attribute(const XmlName &name) const;

    // The attributes in document order; not part of the node interface.
    int attributeCount() const;
    QString attributeName(int index) const;
    XmlValue attributeValue(int index) const;

private:
    friend class XmlTree;
    TreeNode(const XmlTree *tree, quint32 index) : m_tree(tree), m_index(index) {}

    const XmlTree *m_tree = nullptr;
    quint32 m_index = 0;
};

class TIRREL_AUTOTEST_EXPORT XmlTree
{
public:
    enum class Verdict : quint8 {
        Accepted,
        Malformed,          // not well-formed XML 1.0 (line, column, message)
        DocumentType,       // has a document type declaration beyond the root's name
        TooDeep,            // elements nested deeper than XmlLimits::MaxDepth
        Unsupported,        // well-formed, maybe, but left to the DOM (see above)
    };

    struct Result
    {
        Verdict verdict = Verdict::Malformed;
        int line = 0;       // of the refusal, from 1; 0 when accepted
        int column = 0;     // characters, from 1
        const char *message = "";
        bool accepted() const { return verdict == Verdict::Accepted; }
    };

    XmlTree() = default;
    XmlTree(const XmlTree &) = delete;
    XmlTree &operator=(const XmlTree &) = delete;

    // Parses `bytes` into this tree, replacing what it held. The tree keeps a shallow copy of
    // the bytes (or their UTF-8 decoding), so the caller's array may go.
    Result parse(const QByteArray &bytes);

    // The root element; null unless the last parse was accepted.
    TreeNode documentElement() const
    {
        return m_elements.empty() ? TreeNode() : TreeNode(this, 0);
    }

private:
    friend class TreeNode;
    class Parser;

    struct Span
    {
        quint32 offset;     // into the input, or past its end into the arena
        quint32 size;
    };
    struct Element
    {
        Span name;          // the top bit of name.size: the element has child elements
        quint32 next;       // next sibling element; 0 for none (0 is the root)
        quint32 attributes; // first attribute; they end where the next element's begin
        quint32 textBegin;  // texts of the element and its descendants, in document order
        quint32 textEnd;
    };
    struct Attribute
    {
        Span name;
        Span value;
    };
    static constexpr quint32 HasChildren = 0x80000000u;

    const char *at(quint32 offset) const
    {
        return offset < m_inputSize ? m_base + offset : m_arena.data() + (offset - m_inputSize);
    }
    quint32 nameSize(quint32 element) const { return m_elements[element].name.size & ~HasChildren; }
    bool nameIs(quint32 element, const XmlName &name) const
    {
        return nameSize(element) == quint32(name.size())
                && std::memcmp(m_base + m_elements[element].name.offset, name.latin1(),
                               std::size_t(name.size())) == 0;
    }
    quint32 attributeEnd(quint32 element) const
    {
        return element + 1 < m_elements.size() ? m_elements[element + 1].attributes
                                                : quint32(m_attributes.size());
    }
    XmlValue value(const Span &span) const { return XmlValue(at(span.offset), int(span.size)); }
    void clear();

    QByteArray m_input;         // what the spans point into (UTF-8)
    const char *m_base = nullptr;
    quint32 m_inputSize = 0;
    std::vector<char> m_arena;  // decoded values
    std::vector<Element> m_elements;    // in document order
    std::vector<Attribute> m_attributes;
    std::vector<Span> m_texts;
};

bool TreeNode::hasName(const XmlName &name) const
{
    return m_tree && m_tree->nameIs(m_index, name);
}

int TreeNode::nameIndex(const XmlNames &names) const
{
    if (!m_tree)
        return -1;
    return names.indexOf(m_tree->m_base + m_tree->m_elements[m_index].name.offset,
                         int(m_tree->nameSize(m_index)));
}

TreeNode TreeNode::firstChildElement() const
{
    if (!m_tree || !(m_tree->m_elements[m_index].name.size & XmlTree::HasChildren))
        return TreeNode();
    return TreeNode(m_tree, m_index + 1);   // elements are numbered in document order
}

TreeNode TreeNode::nextSiblingElement() const
{
    if (!m_tree || m_tree->m_elements[m_index].next == 0)
        return TreeNode();
    return TreeNode(m_tree, m_tree->m_elements[m_index].next);
}

TreeNode TreeNode::firstChildElement(const XmlName &name) const
{
    TreeNode child = firstChildElement();
    return child.isNull() || child.hasName(name) ? child : child.nextSiblingElement(name);
}

TreeNode TreeNode::nextSiblingElement(const XmlName &name) const
{
    if (!m_tree)
        return TreeNode();
    quint32 i = m_tree->m_elements[m_index].next;
    while (i != 0 && !m_tree->nameIs(i, name))
        i = m_tree->m_elements[i].next;
    return i == 0 ? TreeNode() : TreeNode(m_tree, i);
}
