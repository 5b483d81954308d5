#include "xmlWrite_p.h"

namespace {

bool isXmlChar(ushort c)
{
    return c >= 0x20 ? c < 0xFFFE : (c == 0x9 || c == 0xA || c == 0xD);
}

} // namespace

QString xmlSafe(const QString &text)
{
    // Most texts are clean: they are scanned, and copied only when something has to go.
    const QChar *s = text.constData();
    const int n = text.size();
    int i = 0;
    while (i < n && isXmlChar(s[i].unicode()) && !s[i].isSurrogate())
        ++i;
    if (i == n)
        return text;
    QString clean(s, i);
    clean.reserve(n);
    for (; i < n; ++i) {
        const ushort c = s[i].unicode();
        if (QChar::isHighSurrogate(c) && i + 1 < n && QChar::isLowSurrogate(s[i + 1].unicode()))
            clean.append(s + i++, 2);
        else if (isXmlChar(c) && !QChar::isSurrogate(c))
            clean.append(s[i]);
    }
    return clean;
}

void DomWriter::writeStartElement(const QString &name)
{
    m_open.append(m_open.last().appendChild(m_document.createElement(name)));
}

void DomWriter::writeEndElement()
{
    m_open.removeLast();
}

void DomWriter::writeTextElement(const QString &name, const QString &text)
{
    writeStartElement(name);
    m_open.last().appendChild(m_document.createTextNode(text));
    writeEndElement();
}

void DomWriter::writeCDATA(const QString &text)
{
    // "]]>" cannot stand inside a section: the first section ends after "]]", the next one
    // starts with ">".
    static const QString end = QStringLiteral("]]>");
    int from = 0;
    for (int at = text.indexOf(end); at >= 0; at = text.indexOf(end, at + 1)) {
        m_open.last().appendChild(m_document.createCDATASection(text.mid(from, at + 2 - from)));
        from = at + 2;
    }
    m_open.last().appendChild(m_document.createCDATASection(text.mid(from)));
}
