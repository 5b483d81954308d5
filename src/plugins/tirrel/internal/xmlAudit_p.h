#pragma once

// Reading a document under audit: a reader (a template over the node type, see xmlNode_p.h) runs
// over AuditNode, which views a DOM document as DomNode does and records what the reader takes:
// the elements it looks into or finds by name, the attributes and texts it reads. What it never
// took is what a record read from the document cannot hold. Values that a conversion could not
// take as their text has them (a number that does not parse, one out of range, an invalid
// colour) are reported by the conversions themselves, on their slow path, to the audit active
// on the thread; without one that costs a pointer test.
//
// The audit keeps one small entry per element of the document; it is meant for tools, not for
// loading in the editor.

#include "pageAudit.h"
#include "xmlNode_p.h"

#include <QDomDocument>
#include <QVector>

#include <functional>
#include <vector>

class XmlAudit;

class TIRREL_AUTOTEST_EXPORT AuditNode
{
public:
    AuditNode() = default;

    bool isNull() const { return m_index < 0; }
    QString name() const;
    bool hasName(const XmlName &name) const;
    int nameIndex(const XmlNames &names) const;

    // Looking into an element takes it; so does finding it by name.
    AuditNode firstChildElement() const;
    AuditNode nextSiblingElement() const;
    AuditNode firstChildElement(const XmlName &name) const;
    AuditNode nextSiblingElement(const XmlName &name) const;

    XmlValue text() const;
    XmlValue attribute(const XmlName &name) const;

private:
    friend class XmlAudit;
    AuditNode(XmlAudit *audit, int index) : m_audit(index < 0 ? nullptr : audit), m_index(index) {}

    XmlAudit *m_audit = nullptr;
    int m_index = -1;
};

class TIRREL_AUTOTEST_EXPORT XmlAudit
{
public:
    // What a conversion read a text as.
    enum Type : quint8 { Int, UInt, Int64, UInt64, Float, Double, Color };

    // The document must outlive the audit. undecodable: the document's bytes held some that its
    // encoding has no character for, which the parser replaced by U+FFFD.
    XmlAudit(const QDomDocument &document, bool undecodable);
    XmlAudit(const XmlAudit &) = delete;
    XmlAudit &operator=(const XmlAudit &) = delete;

    AuditNode root() { return AuditNode(this, m_elements.empty() ? -1 : 0); }

    // Conversions on this thread report to `audit` while this lives.
    class Active
    {
    public:
        explicit Active(XmlAudit *audit);
        ~Active();
        Active(const Active &) = delete;
        Active &operator=(const Active &) = delete;

    private:
        XmlAudit *m_previous;
    };

    // Called by the conversions on their slow path: QString's conversion of `text` to `type`
    // failed; or `text` was taken as something else than it says (a clamped or NaN truncation,
    // an invalid colour). Nothing happens unless an audit is active on the thread.
    static void conversionFailed(const QString &text, Type type);
    static void coerced(PageFinding_t::Kind kind, const QString &text, Type type);

    // The elements in document order (0 is the root) and their structure.
    int elementCount() const { return int(m_elements.size()); }
    const QDomElement &element(int index) const { return m_elements[index].node.element(); }
    int parent(int index) const { return m_elements[index].parent; }
    int firstChild(int index) const { return m_elements[index].firstChild; }
    int next(int index) const { return m_elements[index].next; }
    // The first child element of that name, and the next sibling of the same name; -1 for none.
    int firstChild(int index, const XmlName &name) const;
    int next(int index, const XmlName &name) const;
    // "/ScadaFile/ItemList/Item[3]"
    QString path(int index) const;
    // The element as markup, without added white space.
    QString markup(int index) const;

    // What the reader did not take and the values it coerced, in document order, each with the
    // element it lies in (-1: the document) and its path; item fields are left empty. Elements
    // that `skip` returns true for are left out, with everything inside them.
    struct Finding
    {
        int element;
        PageFinding_t finding;
    };
    QVector<Finding> findings(const std::function<bool(int element)> &skip) const;

private:
    friend class AuditNode;

    struct Element
    {
        Element(const DomNode &node, int parent) : node(node), parent(parent) {}

        DomNode node;
        int parent;
        int firstChild = -1;
        int next = -1;
        int firstOfName = -1;       // the first sibling of the same name (maybe itself)
        int position = 1;           // among the siblings of the same name, from 1
        bool nameRepeats = false;   // another sibling has the same name
        bool taken = false;         // looked into, found by name, or a value read
        bool textRead = false;
        QVector<QString> attributesRead;
    };
    // A value handed to the reader, where its conversions report to.
    struct Location
    {
        int element = -1;
        QString attribute;      // null: the element's text
    };
    struct Coercion
    {
        Location at;
        PageFinding_t::Kind kind;
        QString text;
        Type type;
        bool isText;            // control characters or undecodable bytes, not a conversion
    };

    XmlValue handOut(int index, XmlValue value, const QString &attribute);
    void addCoercion(PageFinding_t::Kind kind, const QString &text, Type type, bool isText);

    const QDomDocument &m_document;
    bool m_undecodable;
    std::vector<Element> m_elements;
    Location m_current;
    QVector<Coercion> m_coercions;
};
