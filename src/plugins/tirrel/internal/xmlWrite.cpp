#include "xmlWrite_p.h"

namespace {

bool isXmlChar(ushort c)
{
    return c >= 0x20 ? c < 0xFFFE : (c == 0x9 || c == 0xA || c == 0xD);
}

} // namespace

QString xmlSafe(const QString &text)
{
    // Most texts are clean: the text is copied only once a character has to go.
    QString clean;
    const QChar *s = text.constData();
    const int n = text.size();
    int kept = 0; // the characters before this one are in `clean` or need no copy
    for (int i = 0; i < n; ++i) {
        const ushort c = s[i].unicode();
        if (QChar::isHighSurrogate(c) && i + 1 < n && QChar::isLowSurrogate(s[i + 1].unicode())) {
            ++i;
        } else if (QChar::isSurrogate(c) || !isXmlChar(c)) {
            clean.append(s + kept, i - kept);
            kept = i + 1;
        }
    }
    if (kept == 0 && clean.isNull())
        return text;
    return clean.append(s + kept, n - kept);
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
