#include "xmlLimits_p.h"

#include <QHash>
#include <QString>
#include <QTextCodec>

#include <algorithm>
#include <cstring>

namespace {

const int Utf8Mib = 106;

bool isSpace(unsigned c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

const uchar *findUnit(const uchar *p, const uchar *end, unsigned c)
{
    const void *hit = std::memchr(p, int(c), std::size_t(end - p));
    return hit ? static_cast<const uchar *>(hit) : end;
}

const ushort *findUnit(const ushort *p, const ushort *end, unsigned c)
{
    return std::find(p, end, ushort(c));
}

QString entityKey(const uchar *begin, const uchar *end)
{
    return QString::fromLatin1(reinterpret_cast<const char *>(begin), int(end - begin));
}

QString entityKey(const ushort *begin, const ushort *end)
{
    return QString::fromUtf16(begin, int(end - begin));
}

// Follows the markup of a document held as code units (the bytes of UTF-8, or UTF-16),
// counting the element depth and what entity references add. It has to follow well-formed
// documents exactly as the parser does: each construct ends at the first terminator after its
// opening. Whatever it cannot follow is either refused here or malformed, and then refused by
// the parser.
template <class Char>
class Scanner
{
public:
    Scanner(const Char *begin, const Char *end)
        : p(begin), e(end)
    {
    }

    bool withinLimits()
    {
        while (text()) {
            if (p >= e || ++p >= e)     // past '<'
                return true;
            const unsigned c = *p;
            if (c == '/') {
                if (--depth < 0)
                    return refuse(XmlLimits::Markup);   // an end tag without its start tag
                p = findUnit(p + 1, e, '>');
            } else if (c == '?') {
                skipPast(1, "?>");
            } else if (c != '!') {
                if (!startTag())
                    return false;
            } else if (startsWith("!--")) {
                skipPast(3, "-->");
            } else if (startsWith("![CDATA[")) {
                skipPast(8, "]]>");
            } else if (startsWith("!DOCTYPE")) {
                if (!doctype())
                    return false;
            } else {
                return refuse(XmlLimits::Markup);   // no other declaration is allowed here
            }
        }
        return false;
    }

    XmlLimits::Exceeded exceeded() const { return m_exceeded; }

private:
    bool startsWith(const char *literal) const
    {
        const std::size_t n = std::strlen(literal);
        if (std::size_t(e - p) < n)
            return false;
        for (std::size_t i = 0; i < n; ++i) {
            if (unsigned(p[i]) != uchar(literal[i]))
                return false;
        }
        return true;
    }

    // Moves past the first `terminator` that begins `offset` units on; to the end without one.
    void skipPast(std::size_t offset, const char *terminator)
    {
        p = std::size_t(e - p) > offset ? p + offset : e;
        const unsigned first = uchar(terminator[0]);
        for (;;) {
            p = findUnit(p, e, first);
            if (p >= e)
                return;
            if (startsWith(terminator)) {
                p += std::strlen(terminator);
                return;
            }
            ++p;
        }
    }

    void skipSpace()
    {
        while (p < e && isSpace(*p))
            ++p;
    }

    // Character data up to the next '<'.
    bool text()
    {
        if (entities.isEmpty()) {
            p = findUnit(p, e, '<');
            return true;
        }
        while (p < e && unsigned(*p) != '<') {
            if (unsigned(*p) == '&') {
                if (!reference())
                    return false;
            } else {
                ++p;
            }
        }
        return true;
    }

    // An entity reference at '&': adds the length of a declared entity's text.
    bool reference()
    {
        const Char *name = ++p;
        while (p < e && unsigned(*p) != ';' && !isSpace(*p) && unsigned(*p) != '<'
               && unsigned(*p) != '&' && unsigned(*p) != '"' && unsigned(*p) != '\'')
            ++p;
        if (p >= e || unsigned(*p) != ';')
            return true;                // no reference; the parser decides
        const auto found = entities.constFind(entityKey(name, p));
        ++p;
        if (found == entities.constEnd())
            return true;
        expanded += *found;
        return expanded <= XmlLimits::MaxEntityExpansion || refuse(XmlLimits::EntityExpansion);
    }

    // An attribute value from its opening quote on.
    bool attributeValue(unsigned quote)
    {
        ++p;
        if (entities.isEmpty()) {
            p = findUnit(p, e, quote);
        } else {
            while (p < e && unsigned(*p) != quote) {
                if (unsigned(*p) == '&') {
                    if (!reference())
                        return false;
                } else {
                    ++p;
                }
            }
        }
        if (p < e)
            ++p;
        return true;
    }

    static bool inTagSpecial(unsigned c)
    {
        return c == '"' || c == '\'' || c == '>' || c == '/';
    }

    bool startTag()
    {
        while (p < e) {
            while (p < e && !inTagSpecial(*p))
                ++p;
            if (p >= e)
                break;
            const unsigned c = *p;
            if (c == '"' || c == '\'') {
                if (!attributeValue(c))
                    return false;
            } else if (c == '>') {
                ++p;
                return ++depth <= XmlLimits::MaxDepth || refuse(XmlLimits::Depth);
            } else if (e - p > 1 && unsigned(p[1]) == '>') {
                p += 2;                 // an empty element
                return true;
            } else {
                ++p;
            }
        }
        return true;
    }

    bool doctype()
    {
        p += 8;                         // "!DOCTYPE"
        while (p < e) {
            const unsigned c = *p;
            if (c == '"' || c == '\'') {
                p = findUnit(p + 1, e, c);
                if (p < e)
                    ++p;
            } else if (c == '[') {
                ++p;
                if (!internalSubset())
                    return false;
            } else if (c == '>') {
                ++p;
                return true;
            } else {
                ++p;
            }
        }
        return true;
    }

    // Declarations up to the closing ']'. Parameter entity references and anything else that
    // no plain declaration list holds are refused.
    bool internalSubset()
    {
        for (;;) {
            skipSpace();
            if (p >= e)
                return true;
            if (unsigned(*p) == ']') {
                ++p;
                return true;
            }
            if (startsWith("<!--")) {
                skipPast(4, "-->");
            } else if (startsWith("<?")) {
                skipPast(2, "?>");
            } else if (startsWith("<!ENTITY")) {
                if (!entityDeclaration())
                    return false;
            } else if (startsWith("<!")) {
                if (!markupDeclaration())
                    return false;
            } else {
                return refuse(XmlLimits::Markup);
            }
        }
    }

    // <!ENTITY name "text">: only general entities whose text holds no reference and no markup.
    bool entityDeclaration()
    {
        p += 8;                         // "<!ENTITY"
        skipSpace();
        if (p < e && unsigned(*p) == '%')
            return refuse(XmlLimits::Entities);     // a parameter entity
        const Char *name = p;
        while (p < e && !isSpace(*p) && unsigned(*p) != '"' && unsigned(*p) != '\''
               && unsigned(*p) != '>')
            ++p;
        const Char *nameEnd = p;
        skipSpace();
        if (p >= e)
            return true;
        const unsigned quote = *p;
        if (quote != '"' && quote != '\'')
            return refuse(XmlLimits::Entities);     // an external entity
        const Char *value = ++p;
        p = findUnit(p, e, quote);
        if (p >= e)
            return true;
        for (const Char *c = value; c < p; ++c) {
            if (unsigned(*c) == '&' || unsigned(*c) == '%' || unsigned(*c) == '<')
                return refuse(XmlLimits::Entities);
        }
        const QString key = entityKey(name, nameEnd);
        if (!entities.contains(key))    // the first declaration of a name counts
            entities.insert(key, p - value);
        ++p;
        skipSpace();
        if (p < e && unsigned(*p) != '>')
            return refuse(XmlLimits::Markup);
        if (p < e)
            ++p;
        return true;
    }

    // <!ELEMENT ...>, <!ATTLIST ...>, <!NOTATION ...>, without references of any kind.
    bool markupDeclaration()
    {
        p += 2;
        while (p < e) {
            const unsigned c = *p;
            if (c == '&' || c == '%')
                return refuse(XmlLimits::Entities);
            if (c == '"' || c == '\'') {
                const Char *end = findUnit(p + 1, e, c);
                if (std::find_if(p + 1, end, [](Char u) {
                        return unsigned(u) == '&' || unsigned(u) == '%';
                    }) != end)
                    return refuse(XmlLimits::Entities);
                p = end < e ? end + 1 : e;
            } else if (c == '>') {
                ++p;
                return true;
            } else {
                ++p;
            }
        }
        return true;
    }

    bool refuse(XmlLimits::Exceeded why)
    {
        m_exceeded = why;
        return false;
    }

    const Char *p;
    const Char *const e;
    XmlLimits::Exceeded m_exceeded = XmlLimits::None;
    int depth = 0;
    QHash<QString, qint64> entities;    // declared name to the length of its text
    qint64 expanded = 0;
};

// The encoding named by an XML declaration at the start of text, found the way the DOM
// parser's input source finds it: in "<?xml ... encoding='name' ...>" up to the first '>'.
template <class Text>
Text declaredEncoding(const Text &text)
{
    const int end = text.indexOf('>');
    int pos = text.indexOf("encoding");
    if (!text.startsWith("<?xml") || end < 0 || pos < 0 || pos >= end)
        return Text();
    while (pos < end && text.at(pos) != '"' && text.at(pos) != '\'')
        ++pos;
    const int first = pos + 1;
    while (++pos < end && text.at(pos) != '"' && text.at(pos) != '\'')
        ;
    return first < end ? text.mid(first, pos - first) : Text();
}

} // namespace

QTextCodec *xmlParserCodec(const QByteArray &data)
{
    const int firstBlock = 1024;
    int mib = Utf8Mib;
    const auto b = [&data](int i) { return uchar(data.at(i)); };
    if (data.size() >= 4) {
        if ((b(0) == 0 && b(1) == 0 && b(2) == 0xfe && b(3) == 0xff)
                || (b(0) == 0xff && b(1) == 0xfe && b(2) == 0 && b(3) == 0))
            mib = 1017;                 // UTF-32 with byte-order mark
        else if (b(0) == 0x3c && b(1) == 0 && b(2) == 0 && b(3) == 0)
            mib = 1019;                 // UTF-32LE
        else if (b(0) == 0 && b(1) == 0 && b(2) == 0 && b(3) == 0x3c)
            mib = 1018;                 // UTF-32BE
    }
    if (mib == Utf8Mib && data.size() >= 2) {
        if ((b(0) == 0xfe && b(1) == 0xff) || (b(0) == 0xff && b(1) == 0xfe))
            mib = 1015;                 // UTF-16 with byte-order mark
        else if (b(0) == 0x3c && b(1) == 0)
            mib = 1014;                 // UTF-16LE
        else if (b(0) == 0 && b(1) == 0x3c)
            mib = 1013;                 // UTF-16BE
    }

    QByteArray encoding;
    if (mib == Utf8Mib) {
        // The declaration is ASCII: read it from the bytes, after a UTF-8 byte-order mark, which
        // the decoder drops. Most files declare UTF-8 or nothing.
        const int bom = data.startsWith("\xef\xbb\xbf") ? 3 : 0;
        encoding = declaredEncoding(QByteArray::fromRawData(data.constData() + bom,
                                                            qMin(data.size(), firstBlock) - bom));
        if (encoding.isEmpty() || encoding.compare("UTF-8", Qt::CaseInsensitive) == 0)
            return nullptr;
    } else {
        QTextCodec *initial = QTextCodec::codecForMib(mib);
        if (!initial)
            return nullptr;
        encoding = declaredEncoding(initial->toUnicode(data.constData(),
                                                       qMin(data.size(), firstBlock)))
                           .toLatin1();
        if (encoding.isEmpty())
            return initial;
    }
    QTextCodec *declared = QTextCodec::codecForName(encoding);
    if (!declared)
        return mib == Utf8Mib ? nullptr : QTextCodec::codecForMib(mib);
    return declared->mibEnum() == Utf8Mib ? nullptr : declared;
}

XmlLimits::Exceeded xmlLimitExceeded(const QByteArray &data)
{
    QTextCodec *codec = xmlParserCodec(data);
    if (!codec) {
        // UTF-8 keeps every markup character as its own byte: the bytes can be followed as they
        // are.
        const auto *bytes = reinterpret_cast<const uchar *>(data.constData());
        Scanner<uchar> scanner(bytes, bytes + data.size());
        return scanner.withinLimits() ? XmlLimits::None : scanner.exceeded();
    }
    const QString text = codec->toUnicode(data);
    const ushort *units = text.utf16();
    Scanner<ushort> scanner(units, units + text.size());
    return scanner.withinLimits() ? XmlLimits::None : scanner.exceeded();
}

bool checkXmlLimits(const QByteArray &data)
{
    return xmlLimitExceeded(data) == XmlLimits::None;
}
