#include "xmlWrite_p.h"

namespace {

bool isXmlChar(ushort c)
{
    return c >= 0x20 ? c < 0xFFFE : (c == 0x9 || c == 0xA || c == 0xD);
}

bool isPairAt(const QChar *s, int i, int n)
{
    return QChar::isHighSurrogate(s[i].unicode()) && i + 1 < n
            && QChar::isLowSurrogate(s[i + 1].unicode());
}

} // namespace

QString xmlSafe(const QString &text)
{
    // Most texts are clean: scan first and copy only when something has to go.
    const int n = text.size();
    const QChar *s = text.constData();
    int i = 0;
    for (; i < n; ++i) {
        const ushort c = s[i].unicode();
        if (QChar::isSurrogate(c)) {
            if (!isPairAt(s, i, n))
                break;
            ++i;
        } else if (!isXmlChar(c)) {
            break;
        }
    }
    if (i == n)
        return text;

    QString clean;
    clean.reserve(n);
    clean.append(s, i);
    for (; i < n; ++i) {
        const ushort c = s[i].unicode();
        if (QChar::isSurrogate(c)) {
            if (isPairAt(s, i, n)) {
                clean.append(s + i, 2);
                ++i;
            }
        } else if (isXmlChar(c)) {
            clean.append(s[i]);
        }
    }
    return clean;
}

void DomWriter::writeStartElement(const QString &name)
{
    QDomElement element = m_document.createElement(name);
    if (m_open.isEmpty())
        m_document.appendChild(element);
    else
        m_open.last().appendChild(element);
    m_open.append(element);
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
