#pragma once
// A whole element tree flattened through the node interface, one line per element: name,
// attributes (each found by name too) and text, missing, null and empty told apart, then the
// children in order, with what the look-ups by name find among them. The same text for a DomNode
// and a TreeNode means the readers see the same document through either.
#include <xmlTree_p.h>

#include <QDomNamedNodeMap>
#include <QString>
#include <QVector>

#include <algorithm>
#include <vector>

namespace XmlTreeDump {

inline QString quoted(const XmlValue &value)
{
    const QString text = value.toString();
    if (value.isMissing() || text.isNull())
        return value.isMissing() ? QStringLiteral("(missing)") : QStringLiteral("(null)");
    QString out = QStringLiteral("\"");
    for (const QChar c : text) {
        const bool plain = c.unicode() >= 0x20 && c.unicode() < 0x7f && c != '"' && c != '\\';
        out += plain ? QString(c) : QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
    }
    return out + '"';
}

using Attributes = QVector<QPair<QString, XmlValue>>;

inline Attributes attributesOf(const DomNode &node)
{
    Attributes attributes;
    const QDomNamedNodeMap map = node.element().attributes();
    for (int i = 0; i < map.count(); ++i)
        attributes.append({map.item(i).nodeName(), XmlValue(map.item(i).nodeValue())});
    return attributes;
}

inline Attributes attributesOf(const TreeNode &node)
{
    Attributes attributes;
    for (int i = 0; i < node.attributeCount(); ++i)
        attributes.append({node.attributeName(i), node.attributeValue(i)});
    return attributes;
}

template <class Node>
QString dump(const Node &root)
{
    QString out;
    std::vector<std::pair<Node, int>> stack;    // no recursion: documents nest 1,024 deep
    if (!root.isNull())
        stack.push_back({root, 0});
    while (!stack.empty()) {
        const auto [node, depth] = stack.back();
        stack.pop_back();
        const QByteArray name = node.name().toLatin1();
        out += QString(depth, ' ') + node.name();
        if (!node.hasName(XmlName(name.constData())))
            out += QStringLiteral(" (hasName fails)");
        Attributes attributes = attributesOf(node);
        std::sort(attributes.begin(), attributes.end(),
                  [](const auto &a, const auto &b) { return a.first < b.first; });
        for (const auto &[key, value] : attributes) {
            const QByteArray latin1 = key.toLatin1();
            const QString byName = quoted(node.attribute(XmlName(latin1.constData())));
            out += ' ' + key + '=' + quoted(value);
            if (byName != quoted(value))
                out += QStringLiteral(" (by name: %1)").arg(byName);
        }
        out += QStringLiteral(" text=") + quoted(node.text());

        // Each distinct child name: how many children the look-ups by name step through; then
        // the index nameIndex gives each child.
        std::vector<Node> children;
        QVector<QByteArray> distinct;
        for (Node child = node.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
            children.push_back(child);
            if (!distinct.contains(child.name().toLatin1()))
                distinct.append(child.name().toLatin1());
        }
        std::vector<XmlName> names;
        for (const QByteArray &n : distinct)
            names.emplace_back(n.constData());
        QVector<const XmlName *> list;
        for (const XmlName &n : names) {
            int count = 0;
            for (Node c = node.firstChildElement(n); !c.isNull(); c = c.nextSiblingElement(n))
                ++count;
            out += QStringLiteral(" %1x%2").arg(n.string()).arg(count);
            list.append(&n);
        }
        const XmlNames indexed(list.constData(), list.size());
        for (const Node &child : children)
            out += QStringLiteral(" #%1").arg(child.nameIndex(indexed));
        out += '\n';
        for (auto c = children.rbegin(); c != children.rend(); ++c)
            stack.push_back({*c, depth + 1});
    }
    return out;
}

} // namespace XmlTreeDump
