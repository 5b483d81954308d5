#include "xmlAudit_p.h"

#include "xmlWrite_p.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QTextStream>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

thread_local XmlAudit *activeAudit = nullptr;

const char *typeName(XmlAudit::Type type)
{
    switch (type) {
    case XmlAudit::Int: return "int";
    case XmlAudit::UInt: return "unsigned int";
    case XmlAudit::Int64: return "64-bit int";
    case XmlAudit::UInt64: return "unsigned 64-bit int";
    case XmlAudit::Float: return "float";
    case XmlAudit::Double: return "double";
    case XmlAudit::Color: return "colour";
    }
    return "";
}

// Why QString's conversion of a text that is not empty failed: no number at all, a number with
// a fraction or an exponent where an integer goes, or one beyond the type (an integer too
// large, a real that overflows or underflows).
PageFinding_t::Kind whyNotConverted(const QString &text, XmlAudit::Type type)
{
    static const QRegularExpression integer(QStringLiteral("^\\s*[+-]?[0-9]+\\s*$"));
    static const QRegularExpression real(
            QStringLiteral("^\\s*[+-]?([0-9]+\\.?[0-9]*|\\.[0-9]+)([eE][+-]?[0-9]+)?\\s*$"));
    if (!real.match(text).hasMatch())
        return PageFinding_t::NotANumber;
    if (type == XmlAudit::Float || type == XmlAudit::Double || integer.match(text).hasMatch())
        return PageFinding_t::OutOfRange;
    const double value = text.toDouble();
    double low = std::numeric_limits<qint64>::min();
    double high = double(std::numeric_limits<qint64>::max()); // 2^63: the nearest double
    if (type == XmlAudit::Int) {
        low = std::numeric_limits<int>::min();
        high = std::numeric_limits<int>::max();
    } else if (type == XmlAudit::UInt || type == XmlAudit::UInt64) {
        low = 0;
        high = type == XmlAudit::UInt ? double(std::numeric_limits<uint>::max())
                                      : double(std::numeric_limits<quint64>::max());
    }
    return std::isfinite(value) && value >= low && value <= high ? PageFinding_t::NotAnInteger
                                                                  : PageFinding_t::OutOfRange;
}

QString nodeMarkup(const QDomNode &node)
{
    QString text;
    QTextStream stream(&text);
    node.save(stream, -1);
    stream.flush();
    return text;
}

} // namespace

// ---- AuditNode -------------------------------------------------------------------------------

QString AuditNode::name() const
{
    return m_audit ? m_audit->m_elements[m_index].node.name() : QString();
}

bool AuditNode::hasName(const XmlName &name) const
{
    return m_audit && m_audit->m_elements[m_index].node.hasName(name);
}

int AuditNode::nameIndex(const XmlNames &names) const
{
    return m_audit ? m_audit->m_elements[m_index].node.nameIndex(names) : -1;
}

AuditNode AuditNode::firstChildElement() const
{
    if (!m_audit)
        return AuditNode();
    m_audit->m_elements[m_index].taken = true;
    return AuditNode(m_audit, m_audit->firstChild(m_index));
}

AuditNode AuditNode::nextSiblingElement() const
{
    return m_audit ? AuditNode(m_audit, m_audit->next(m_index)) : AuditNode();
}

AuditNode AuditNode::firstChildElement(const XmlName &name) const
{
    if (!m_audit)
        return AuditNode();
    m_audit->m_elements[m_index].taken = true;
    const int child = m_audit->firstChild(m_index, name);
    if (child >= 0)
        m_audit->m_elements[child].taken = true;
    return AuditNode(m_audit, child);
}

AuditNode AuditNode::nextSiblingElement(const XmlName &name) const
{
    if (!m_audit)
        return AuditNode();
    const int sibling = m_audit->next(m_index, name);
    if (sibling >= 0)
        m_audit->m_elements[sibling].taken = true;
    return AuditNode(m_audit, sibling);
}

XmlValue AuditNode::text() const
{
    if (!m_audit)
        return XmlValue();
    m_audit->m_elements[m_index].textRead = true;
    return m_audit->handOut(m_index, m_audit->m_elements[m_index].node.text(), QString());
}

XmlValue AuditNode::attribute(const XmlName &name) const
{
    if (!m_audit)
        return XmlValue();
    QVector<QString> &read = m_audit->m_elements[m_index].attributesRead;
    if (!read.contains(name.string()))
        read.append(name.string());
    return m_audit->handOut(m_index, m_audit->m_elements[m_index].node.attribute(name),
                            name.string());
}

// ---- XmlAudit --------------------------------------------------------------------------------

XmlAudit::XmlAudit(const QDomDocument &document, bool undecodable)
    : m_document(document), m_undecodable(undecodable)
{
    // Numbered in document order, each element before its children.
    const DomNode root(document.documentElement());
    if (root.isNull())
        return;
    struct Level
    {
        DomNode next;       // the next child to number
        int parent;
        int previous;       // the child numbered last, or -1
    };
    m_elements.push_back(Element(root, -1));
    std::vector<Level> levels{{root.firstChildElement(), 0, -1}};
    while (!levels.empty()) {
        Level &level = levels.back();
        if (level.next.isNull()) {
            levels.pop_back();
            continue;
        }
        const int index = int(m_elements.size());
        m_elements.push_back(Element(level.next, level.parent));
        if (level.previous < 0)
            m_elements[level.parent].firstChild = index;
        else
            m_elements[level.previous].next = index;
        level.previous = index;
        const DomNode node = level.next;
        level.next = node.nextSiblingElement();
        levels.push_back(Level{node.firstChildElement(), index, -1});
    }

    // Positions among the siblings of the same name, for paths and duplicates.
    struct Name
    {
        int first;
        int count;
    };
    QHash<QString, Name> names;
    for (int e = 0; e < elementCount(); ++e) {
        if (firstChild(e) < 0)
            continue;
        names.clear();
        for (int c = firstChild(e); c >= 0; c = next(c)) {
            Element &child = m_elements[c];
            const auto name = names.find(child.node.name());
            if (name == names.end()) {
                names.insert(child.node.name(), Name{c, 1});
                child.firstOfName = c;
                continue;
            }
            child.firstOfName = name->first;
            child.position = ++name->count;
            child.nameRepeats = m_elements[name->first].nameRepeats = true;
        }
    }
}

XmlAudit::Active::Active(XmlAudit *audit)
    : m_previous(activeAudit)
{
    activeAudit = audit;
}

XmlAudit::Active::~Active()
{
    activeAudit = m_previous;
}

int XmlAudit::firstChild(int index, const XmlName &name) const
{
    int child = firstChild(index);
    while (child >= 0 && !m_elements[child].node.hasName(name))
        child = next(child);
    return child;
}

int XmlAudit::next(int index, const XmlName &name) const
{
    int sibling = next(index);
    while (sibling >= 0 && !m_elements[sibling].node.hasName(name))
        sibling = next(sibling);
    return sibling;
}

QString XmlAudit::path(int index) const
{
    QString path;
    for (int e = index; e >= 0; e = parent(e)) {
        const Element &element = m_elements[e];
        path.prepend(element.nameRepeats
                             ? QStringLiteral("/%1[%2]").arg(element.node.name()).arg(element.position)
                             : QLatin1Char('/') + element.node.name());
    }
    return path;
}

QString XmlAudit::markup(int index) const
{
    return nodeMarkup(element(index));
}

XmlValue XmlAudit::handOut(int index, XmlValue value, const QString &attribute)
{
    m_elements[index].taken = true;
    m_current = Location{index, attribute};
    const QString text = value.toSharedString();
    if (m_undecodable && text.contains(QChar(QChar::ReplacementCharacter)))
        addCoercion(PageFinding_t::UndecodableBytes, text, Type(), true);
    if (xmlSafe(text).size() != text.size())
        addCoercion(PageFinding_t::ControlCharacters, text, Type(), true);
    return value;
}

void XmlAudit::addCoercion(PageFinding_t::Kind kind, const QString &text, Type type, bool isText)
{
    m_coercions.append(Coercion{m_current, kind, text, type, isText});
}

void XmlAudit::conversionFailed(const QString &text, Type type)
{
    // An empty text converts to 0 by definition of the formats.
    if (activeAudit && !text.trimmed().isEmpty())
        activeAudit->addCoercion(whyNotConverted(text, type), text, type, false);
}

void XmlAudit::coerced(PageFinding_t::Kind kind, const QString &text, Type type)
{
    if (activeAudit)
        activeAudit->addCoercion(kind, text, type, false);
}

QVector<XmlAudit::Finding> XmlAudit::findings(const std::function<bool(int)> &skip) const
{
    QVector<Finding> found;
    const auto add = [&found](int element, PageFinding_t::Kind kind, const QString &path,
                              const QString &text) {
        PageFinding_t f;
        f.kind = kind;
        f.path = path;
        f.text = text;
        found.append(Finding{element, f});
    };
    // Comments and processing instructions among the children of `parent` (the document, or
    // element e that was taken), and its text when nothing read it. The XML declaration is
    // written anew with every save.
    const auto addNodes = [&](int e, const QDomNode &parent, bool textLost) {
        QString text;
        for (QDomNode n = parent.firstChild(); !n.isNull(); n = n.nextSibling()) {
            if (n.isComment()) {
                add(e, PageFinding_t::Comment, path(e) + QStringLiteral("/comment()"),
                    n.nodeValue());
            } else if (n.isProcessingInstruction() && n.nodeName() != QLatin1String("xml")) {
                add(e, PageFinding_t::ProcessingInstruction,
                    path(e) + QStringLiteral("/processing-instruction('%1')").arg(n.nodeName()),
                    nodeMarkup(n));
            } else if (textLost && (n.isText() || n.isCDATASection())) {
                text += n.nodeValue();
            }
        }
        if (!text.isEmpty())
            add(e, PageFinding_t::IgnoredText, path(e) + QStringLiteral("/text()"), text);
    };

    if (!m_document.doctype().name().isEmpty())
        add(-1, PageFinding_t::DocumentType, QStringLiteral("/"), nodeMarkup(m_document.doctype()));
    addNodes(-1, m_document, false);

    // Elements come before their children: whether a parent is left out or its text read is
    // known when its children come.
    std::vector<bool> left(m_elements.size(), false);      // left out, or inside one
    std::vector<bool> textTaken(m_elements.size(), false); // its text or an ancestor's read
    for (int e = 0; e < elementCount(); ++e) {
        const Element &element = m_elements[e];
        const int up = element.parent;
        if ((up >= 0 && left[up]) || skip(e)) {
            left[e] = true;
            continue;
        }
        if (!element.taken) {
            left[e] = true;
            // The reader takes the first element of a name, and that one was taken.
            const bool duplicate = element.firstOfName >= 0 && element.firstOfName != e
                                   && m_elements[element.firstOfName].taken;
            add(e, duplicate ? PageFinding_t::DuplicateElement : PageFinding_t::IgnoredElement,
                path(e), markup(e));
            continue;
        }
        textTaken[e] = element.textRead || (up >= 0 && textTaken[up]);
        const QDomNamedNodeMap attributes = element.node.element().attributes();
        for (int a = 0; a < attributes.count(); ++a) {
            const QDomNode attribute = attributes.item(a);
            if (!element.attributesRead.contains(attribute.nodeName()))
                add(e, up < 0 ? PageFinding_t::RootAttribute : PageFinding_t::IgnoredAttribute,
                    path(e) + QStringLiteral("/@") + attribute.nodeName(), attribute.nodeValue());
        }
        addNodes(e, element.node.element(), !textTaken[e]);
    }

    // Coerced values, once per place, kind and text. A value whose conversion failed is not
    // also reported for the characters in it: the whole text is gone.
    QSet<QPair<int, QString>> converted;
    for (const Coercion &c : m_coercions) {
        if (!c.isText)
            converted.insert({c.at.element, c.at.attribute});
    }
    QSet<QString> done;
    for (const Coercion &c : m_coercions) {
        const int e = c.at.element;
        if (e < 0 || left[e] || (c.isText && converted.contains({e, c.at.attribute})))
            continue;
        const QString key = QStringLiteral("%1/%2/%3/").arg(QString::number(e), c.at.attribute,
                                                              QString::number(c.kind))
                            + c.text;
        if (done.contains(key))
            continue;
        done.insert(key);
        add(e, c.kind,
            c.at.attribute.isNull() ? path(e) : path(e) + QStringLiteral("/@") + c.at.attribute,
            c.text);
        if (!c.isText)
            found.last().finding.readAs = QLatin1String(typeName(c.type));
    }

    std::stable_sort(found.begin(), found.end(),
                     [](const Finding &a, const Finding &b) { return a.element < b.element; });
    return found;
}
