#include "xmlTree_p.h"

#include "xmlLimits_p.h"

#include <QChar>
#include <QScopedPointer>
#include <QSet>
#include <QTextCodec>

#include <algorithm>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

const int Utf8Mib = 106;
// The DOM's input source reads and decodes its device in blocks of this many bytes.
const int DecodeBlock = 1024;

// Byte classes of the scanning loops; a loop runs over bytes without its stop class.
enum : quint8 {
    TextStop = 1,       // character data: '<', '&', ']' and bytes to check
    ValueStop = 2,      // attribute values: '<', '&', quotes and bytes to check
    MarkupStop = 4,     // comments, processing instructions, CDATA: '-', '?', ']' and bytes to check
    NameStart = 8,      // ASCII letters and '_'
    NameChar = 16,      // those, digits, '-' and '.'
    Space = 32,         // XML white space
};

constexpr quint8 byteClass(unsigned c)
{
    const bool space = c == ' ' || c == '\t' || c == '\n' || c == '\r';
    const bool check = (c < 0x20 && !space) || c >= 0x80;   // control characters, UTF-8
    quint8 k = 0;
    if (check || c == '<' || c == '&' || c == ']')
        k |= TextStop;
    if (check || c == '<' || c == '&' || c == '"' || c == '\'')
        k |= ValueStop;
    if (check || c == '-' || c == '?' || c == ']')
        k |= MarkupStop;
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_')
        k |= NameStart | NameChar;
    if ((c >= '0' && c <= '9') || c == '-' || c == '.')
        k |= NameChar;
    if (space)
        k |= Space;
    return k;
}

struct ByteClasses
{
    quint8 of[256];
    constexpr ByteClasses() : of()
    {
        for (unsigned c = 0; c < 256; ++c)
            of[c] = byteClass(c);
    }
};
constexpr ByteClasses kClasses;

inline quint8 classOf(uchar c)
{
    return kClasses.of[c];
}

#if defined(__SSE2__)
// The bytes of v in the class, as a 16-bit mask.
template <quint8 Class>
unsigned classMask(__m128i v)
{
    static_assert(Class == TextStop || Class == MarkupStop, "a class with a vector test");
    const auto is = [v](char c) { return _mm_cmpeq_epi8(v, _mm_set1_epi8(c)); };
    // Control characters but tab, line feed and carriage return, and bytes from 0x80 (negative).
    const __m128i check = _mm_andnot_si128(_mm_or_si128(is('\t'), _mm_or_si128(is('\n'), is('\r'))),
                                           _mm_cmplt_epi8(v, _mm_set1_epi8(0x20)));
    const __m128i stops = Class == TextStop ? _mm_or_si128(_mm_or_si128(is('<'), is('&')), is(']'))
                                            : _mm_or_si128(_mm_or_si128(is('-'), is('?')), is(']'));
    return unsigned(_mm_movemask_epi8(_mm_or_si128(stops, check)));
}
#endif

// The first byte from q on that is in the class, or end: runs of character data, which can be
// long, sixteen bytes at a time. (Names, values and white space are mostly too short for that
// to pay.)
template <quint8 Class>
inline const uchar *scanTo(const uchar *q, const uchar *end)
{
#if defined(__SSE2__)
    while (end - q >= 16) {
        const unsigned stop = classMask<Class>(_mm_loadu_si128(reinterpret_cast<const __m128i *>(q)));
        if (stop)
            return q + __builtin_ctz(stop);
        q += 16;
    }
#endif
    while (q < end && !(classOf(*q) & Class))
        ++q;
    return q;
}

bool isXmlChar(uint c)
{
    return c == 0x9 || c == 0xa || c == 0xd || (c >= 0x20 && c <= 0xd7ff)
            || (c >= 0xe000 && c <= 0xfffd) || (c >= 0x10000 && c <= 0x10ffff);
}

// The length of the UTF-8 sequence at p and its code point, or 0 for anything but the shortest
// form of a scalar value.
int utf8Sequence(const uchar *p, const uchar *end, uint *code)
{
    const uint c = p[0];
    const auto continuation = [&](int i) { return p + i < end && (p[i] & 0xc0) == 0x80; };
    if (c < 0xc2)
        return 0;
    if (c < 0xe0) {
        if (!continuation(1))
            return 0;
        *code = ((c & 0x1f) << 6) | (p[1] & 0x3f);
        return 2;
    }
    if (c < 0xf0) {
        if (!continuation(1) || !continuation(2))
            return 0;
        const uint u = ((c & 0x0f) << 12) | (uint(p[1] & 0x3f) << 6) | (p[2] & 0x3f);
        if (u < 0x800 || (u >= 0xd800 && u <= 0xdfff))
            return 0;
        *code = u;
        return 3;
    }
    if (c < 0xf5) {
        if (!continuation(1) || !continuation(2) || !continuation(3))
            return 0;
        const uint u = ((c & 0x07) << 18) | (uint(p[1] & 0x3f) << 12) | (uint(p[2] & 0x3f) << 6)
                | (p[3] & 0x3f);
        if (u < 0x10000 || u > 0x10ffff)
            return 0;
        *code = u;
        return 4;
    }
    return 0;
}

// Writes c as UTF-8 at out and returns the end.
uchar *putUtf8(uint c, uchar *out)
{
    if (c < 0x80) {
        *out++ = uchar(c);
    } else if (c < 0x800) {
        *out++ = uchar(0xc0 | (c >> 6));
        *out++ = uchar(0x80 | (c & 0x3f));
    } else if (c < 0x10000) {
        *out++ = uchar(0xe0 | (c >> 12));
        *out++ = uchar(0x80 | ((c >> 6) & 0x3f));
        *out++ = uchar(0x80 | (c & 0x3f));
    } else {
        *out++ = uchar(0xf0 | (c >> 18));
        *out++ = uchar(0x80 | ((c >> 12) & 0x3f));
        *out++ = uchar(0x80 | ((c >> 6) & 0x3f));
        *out++ = uchar(0x80 | (c & 0x3f));
    }
    return out;
}

int hexDigit(uchar c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// The character a reference at '&' stands for, and the position after its ';'. `p` points to
// a reference the parser has checked already.
uint resolveReference(const uchar *&p)
{
    ++p;
    uint c = 0;
    if (*p == '#') {
        ++p;
        if (*p == 'x') {
            for (++p; *p != ';'; ++p)
                c = c * 16 + uint(hexDigit(*p));
        } else {
            for (; *p != ';'; ++p)
                c = c * 10 + uint(*p - '0');
        }
    } else {
        const uchar *name = p;
        while (*p != ';')
            ++p;
        switch (p - name) {
        case 2:
            c = name[0] == 'l' ? '<' : '>';
            break;
        case 3:
            c = '&';
            break;
        default:
            c = name[0] == 'a' ? '\'' : '"';
            break;
        }
    }
    ++p;
    return c;
}

// Line and column (in characters) of `at`.
void locateIn(const uchar *begin, const uchar *at, XmlTree::Result *result)
{
    int line = 1;
    const uchar *lineStart = begin;
    for (const uchar *q = begin; q < at; ++q) {
        if (*q == '\n') {
            ++line;
            lineStart = q + 1;
        }
    }
    int column = 1;
    for (const uchar *q = lineStart; q < at; ++q)
        column += (*q & 0xc0) != 0x80;
    result->line = line;
    result->column = column;
}

bool isAsciiLetter(uchar c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool startsWith(const uchar *p, const uchar *end, const char *literal)
{
    const std::size_t n = std::strlen(literal);
    return std::size_t(end - p) >= n && std::memcmp(p, literal, n) == 0;
}

} // namespace

// One pass over the UTF-8 bytes of a document, filling the tree's arrays. Every step either
// moves on or stops with the verdict.
class XmlTree::Parser
{
public:
    Parser(XmlTree &tree, int start, int mib)
        : t(tree),
          begin(reinterpret_cast<const uchar *>(tree.m_base)),
          p(begin + start),
          end(begin + tree.m_inputSize),
          mib(mib)
    {
    }

    XmlTree::Result run()
    {
        reserve();
        if (document())
            result.verdict = Verdict::Accepted;
        else
            locate();
        return result;
    }

private:
    // Room for the arrays, counted ahead in one quick pass, so that they are not copied while
    // they grow: every start tag is a '<' not followed by '/', '!' or '?', every attribute has
    // its '=', and a text mostly ends at an end tag or is a CDATA section.
    struct Counts
    {
        std::size_t tags = 0;
        std::size_t equals = 0;
        std::size_t texts = 0;
    };

    // The bytes [from, to), with the byte after `to` readable.
    static void count(const uchar *from, const uchar *to, Counts *counts)
    {
        for (const uchar *q = from; q < to; ++q) {
            counts->equals += *q == '=';
            if (*q == '<') {
                const uchar next = q[1];
                counts->tags += next != '/' && next != '!' && next != '?';
                counts->texts += next == '/' || next == '!';
            }
        }
    }

    void reserve()
    {
        Counts counts;
        const uchar *q = begin;
#if defined(__SSE2__)
        // Per-byte counters (a matching lane is -1, subtracted), added up every 255 rounds.
        const auto bytes = [](char c) { return _mm_set1_epi8(c); };
        const auto total = [](__m128i lanes) {
            const __m128i sums = _mm_sad_epu8(lanes, _mm_setzero_si128());
            return std::size_t(_mm_cvtsi128_si32(sums)) + std::size_t(_mm_extract_epi16(sums, 4));
        };
        while (end - q >= 17) {
            __m128i equals = _mm_setzero_si128();
            __m128i tags = _mm_setzero_si128();
            __m128i texts = _mm_setzero_si128();
            for (int round = 0; round < 255 && end - q >= 17; ++round, q += 16) {
                const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(q));
                const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i *>(q + 1));
                const __m128i lt = _mm_cmpeq_epi8(v, bytes('<'));
                const __m128i closing = _mm_or_si128(_mm_cmpeq_epi8(next, bytes('/')),
                                                     _mm_cmpeq_epi8(next, bytes('!')));
                const __m128i notTag = _mm_or_si128(closing, _mm_cmpeq_epi8(next, bytes('?')));
                equals = _mm_sub_epi8(equals, _mm_cmpeq_epi8(v, bytes('=')));
                tags = _mm_sub_epi8(tags, _mm_andnot_si128(notTag, lt));
                texts = _mm_sub_epi8(texts, _mm_and_si128(closing, lt));
            }
            counts.equals += total(equals);
            counts.tags += total(tags);
            counts.texts += total(texts);
        }
#endif
        if (end - q >= 1)
            count(q, end - 1, &counts);
        counts.tags += 1;                       // a '<' in the last byte
        // No more than a well-formed document of this size can hold ("<a/>", ' a=""', "x<a>"),
        // however many '<' a malformed one has.
        const std::size_t size = std::size_t(end - begin);
        t.m_elements.reserve(std::min(counts.tags, size / 4 + 1));
        t.m_attributes.reserve(std::min(counts.equals, size / 5 + 1));
        t.m_texts.reserve(std::min(counts.texts, size / 4 + 1));
    }

    struct Open
    {
        quint32 element;
        quint32 lastChild;      // 0: none yet
    };

    bool fail(Verdict verdict, const char *message, const uchar *at = nullptr)
    {
        result.verdict = verdict;
        result.message = message;
        failedAt = at ? at : std::min(p, end);
        return false;
    }
    bool malformed(const char *message, const uchar *at = nullptr)
    {
        return fail(Verdict::Malformed, message, at);
    }
    bool unexpectedEnd() { return malformed("unexpected end of document", end); }

    void locate() { locateIn(begin, failedAt, &result); }

    bool skipSpace()
    {
        const uchar *from = p;
        while (p < end && (classOf(*p) & Space))
            ++p;
        return p != from;
    }

    Span span(const uchar *from, const uchar *to) const
    {
        return Span{quint32(from - begin), quint32(to - from)};
    }

    // The bytes with their references resolved, in the arena.
    Span decoded(const uchar *from, const uchar *to)
    {
        const quint32 offset = t.m_inputSize + quint32(t.m_arena.size());
        const uchar *q = from;
        while (q < to) {
            const void *hit = std::memchr(q, '&', std::size_t(to - q));
            const uchar *amp = hit ? static_cast<const uchar *>(hit) : to;
            t.m_arena.insert(t.m_arena.end(), q, amp);
            q = amp;
            if (q < to) {
                uchar character[4];
                t.m_arena.insert(t.m_arena.end(), character, putUtf8(resolveReference(q), character));
            }
        }
        return Span{offset, quint32(t.m_inputSize + t.m_arena.size() - offset)};
    }

    // A character at p that the scanning loops stop at for checking: a control character or
    // the first byte of a UTF-8 sequence. Moves past it.
    bool character(uint *code)
    {
        if (*p < 0x80)
            return malformed("control character");
        const int n = utf8Sequence(p, end, code);
        if (n == 0)
            return fail(Verdict::Unsupported, "invalid UTF-8");
        if (*code == 0xfffe || *code == 0xffff)
            return malformed("character not allowed in XML");
        p += n;
        return true;
    }

    // A character or entity reference at '&'; moves past it.
    bool reference(uint *code)
    {
        const uchar *at = p++;
        if (p < end && *p == '#') {
            ++p;
            const bool hex = p < end && *p == 'x';
            if (hex)
                ++p;
            uint c = 0;
            int digits = 0;
            for (; p < end; ++p, ++digits) {
                const int d = hex ? hexDigit(*p) : (*p >= '0' && *p <= '9' ? *p - '0' : -1);
                if (d < 0)
                    break;
                c = std::min(c * (hex ? 16 : 10) + uint(d), 0x110000u);
            }
            if (digits == 0 || p >= end || *p != ';')
                return malformed("invalid character reference", at);
            ++p;
            if (!isXmlChar(c))
                return malformed("reference to a character not allowed in XML", at);
            if (c > 0xffff) {
                // The DOM keeps only the low 16 bits of these.
                return fail(Verdict::Unsupported, "reference to a character past U+FFFF", at);
            }
            *code = c;
            return true;
        }
        const uchar *name = p;
        while (p < end && (classOf(*p) & NameChar))
            ++p;
        if (p >= end || *p != ';' || p == name)
            return malformed("invalid entity reference", at);
        const std::size_t n = std::size_t(p - name);
        const auto is = [&](const char *entity) {
            return std::strlen(entity) == n && std::memcmp(name, entity, n) == 0;
        };
        if (is("lt"))
            *code = '<';
        else if (is("gt"))
            *code = '>';
        else if (is("amp"))
            *code = '&';
        else if (is("apos"))
            *code = '\'';
        else if (is("quot"))
            *code = '"';
        else
            return malformed("undefined entity", at);
        ++p;
        return true;
    }

    // A name of ASCII characters, with at most one ':' inside.
    bool qualifiedName(Span *out, bool colon = true)
    {
        const uchar *from = p;
        if (p < end && (classOf(*p) & NameStart)) {
            ++p;
            for (;;) {
                while (p < end && (classOf(*p) & NameChar))
                    ++p;
                if (colon && p + 1 < end && *p == ':' && (classOf(p[1]) & NameStart)) {
                    colon = false;
                    p += 2;
                    continue;
                }
                break;
            }
            if (p >= end || (*p != ':' && *p < 0x80)) {
                *out = span(from, p);
                return true;
            }
        }
        if (p >= end)
            return unexpectedEnd();
        if (*p == ':' || *p >= 0x80)
            return fail(Verdict::Unsupported, "name with characters other than ASCII ones");
        return malformed("invalid name");
    }

    bool xmlDeclaration()
    {
        const uchar *at = p;
        p += 5;                                 // "<?xml"
        const auto eq = [this] {
            skipSpace();
            if (p >= end || *p != '=')
                return false;
            ++p;
            skipSpace();
            return true;
        };
        const auto quoted = [this](const uchar **from, const uchar **to) {
            if (p >= end || (*p != '"' && *p != '\''))
                return false;
            const uchar quote = *p++;
            *from = p;
            while (p < end && *p != quote && *p != '<')
                ++p;
            if (p >= end || *p != quote)
                return false;
            *to = p++;
            return true;
        };
        const uchar *from = nullptr;
        const uchar *to = nullptr;
        if (!skipSpace() || !startsWith(p, end, "version") || !(p += 7, eq())
                || !quoted(&from, &to) || to - from != 3 || std::memcmp(from, "1.0", 3) != 0)
            return malformed("invalid XML declaration", at);
        bool spaced = skipSpace();
        if (spaced && startsWith(p, end, "encoding")) {
            p += 8;
            if (!eq() || !quoted(&from, &to) || from == to || !isAsciiLetter(*from)
                    || std::find_if(from, to, [](uchar c) {
                           return !isAsciiLetter(c) && !(c >= '0' && c <= '9') && c != '.'
                                   && c != '_' && c != '-';
                       }) != to)
                return malformed("invalid encoding declaration", at);
            // The encoding the DOM reads with comes from the first block only; where that is not
            // the one declared here, the stream reader and the DOM may read different texts.
            QTextCodec *declared = QTextCodec::codecForName(
                    QByteArray(reinterpret_cast<const char *>(from), int(to - from)));
            if (!declared || declared->mibEnum() != mib)
                return fail(Verdict::Unsupported, "declared encoding not the one read", at);
            spaced = skipSpace();
        }
        if (spaced && startsWith(p, end, "standalone")) {
            p += 10;
            if (!eq() || !quoted(&from, &to)
                    || !((to - from == 3 && std::memcmp(from, "yes", 3) == 0)
                         || (to - from == 2 && std::memcmp(from, "no", 2) == 0)))
                return malformed("invalid standalone declaration", at);
            skipSpace();
        }
        if (!startsWith(p, end, "?>"))
            return malformed("invalid XML declaration", at);
        p += 2;
        return true;
    }

    // The content of a comment, processing instruction or CDATA section up to and past its
    // terminator ("-->", "?>", "]]>"), with its characters checked; the content ends at
    // *contentEnd.
    bool markupContent(const char *terminator, const uchar **contentEnd = nullptr)
    {
        for (;;) {
            p = scanTo<MarkupStop>(p, end);
            if (p >= end)
                return unexpectedEnd();
            if (*p == uchar(terminator[0]) && startsWith(p, end, terminator)) {
                if (contentEnd)
                    *contentEnd = p;
                p += std::strlen(terminator);
                return true;
            }
            if (terminator[0] == '-' && *p == '-' && p + 1 < end && p[1] == '-')
                return malformed("'--' in a comment");
            if (*p == '?' || *p == '-' || *p == ']') {
                ++p;
            } else {
                uint c;
                if (!character(&c))
                    return false;
            }
        }
    }

    bool comment()
    {
        p += 4;                                 // "<!--"
        return markupContent("-->");
    }

    bool processingInstruction()
    {
        const uchar *at = p;
        p += 2;                                 // "<?"
        Span target;
        if (!qualifiedName(&target, false))
            return false;
        if (target.size == 3 && (begin[target.offset] | 0x20) == 'x'
                && (begin[target.offset + 1] | 0x20) == 'm'
                && (begin[target.offset + 2] | 0x20) == 'l')
            return malformed("reserved processing instruction target", at);
        if (startsWith(p, end, "?>")) {
            p += 2;
            return true;
        }
        if (!skipSpace())
            return malformed("white space expected after the target");
        return markupContent("?>");
    }

    bool cdata()
    {
        p += 9;                                 // "<![CDATA["
        const uchar *from = p;
        const uchar *to = nullptr;
        if (!markupContent("]]>", &to))
            return false;
        // A CDATA section is kept even when it is empty or all white space.
        t.m_texts.push_back(span(from, to));
        return true;
    }

    // Character data up to the next '<' or the end. Data that is all white space is dropped,
    // as the DOM's builder drops it; references to white space count as white space.
    bool text()
    {
        const uchar *from = p;
        bool references = false;
        uint c;
        for (;;) {
            while (p < end && (classOf(*p) & Space))
                ++p;
            if (p >= end || *p == '<')
                return true;
            if (*p == '&') {
                if (!reference(&c))
                    return false;
                references = true;
            } else if (*p >= 0x80) {
                if (!character(&c))
                    return false;
            } else {
                break;
            }
            if (!QChar::isSpace(c))
                break;
        }
        for (;;) {
            p = scanTo<TextStop>(p, end);
            if (p >= end || *p == '<')
                break;
            if (*p == '&') {
                if (!reference(&c))
                    return false;
                references = true;
            } else if (*p == ']') {
                if (end - p >= 3 && p[1] == ']' && p[2] == '>')
                    return malformed("']]>' in text");
                ++p;
            } else if (!character(&c)) {
                return false;
            }
        }
        t.m_texts.push_back(references ? decoded(from, p) : span(from, p));
        return true;
    }

    bool attributeValue(Span *out)
    {
        if (p >= end || (*p != '"' && *p != '\''))
            return malformed("quoted attribute value expected");
        const uchar quote = *p++;
        const uchar *from = p;
        bool references = false;
        for (;;) {
            while (p < end && !(classOf(*p) & ValueStop))
                ++p;
            if (p >= end)
                return unexpectedEnd();
            if (*p == quote)
                break;
            uint c;
            if (*p == '"' || *p == '\'') {
                ++p;
            } else if (*p == '<') {
                return malformed("'<' in an attribute value");
            } else if (*p == '&') {
                if (!reference(&c))
                    return false;
                references = true;
            } else if (!character(&c)) {
                return false;
            }
        }
        *out = references ? decoded(from, p) : span(from, p);
        ++p;
        return true;
    }

    // Whether the attribute just added repeats a name before it on the element. Names go into
    // a small open-addressing table per element, keyed by their length and a few bytes; an
    // element with many attributes keeps a set of them instead, so that hostile input stays
    // linear.
    bool duplicateAttribute(std::size_t first)
    {
        const std::size_t count = t.m_attributes.size() - first;
        const quint32 attribute = quint32(t.m_attributes.size() - 1);
        const Span name = t.m_attributes[attribute].name;
        const uchar *n = begin + name.offset;
        if (count > MaxSlotted) {
            const auto key = [this](const Span &s) {
                return QByteArray::fromRawData(t.m_base + s.offset, int(s.size));
            };
            if (count == MaxSlotted + 1) {
                names.clear();
                for (std::size_t i = first; i < attribute; ++i)
                    names.insert(key(t.m_attributes[i].name));
            }
            const int before = names.size();
            names.insert(key(name));
            return names.size() == before;
        }
        if (count == 1)
            ++slotRound;                        // a new element: the table is empty
        const quint64 key = quint64(name.size) | quint64(n[0]) << 32 | quint64(n[name.size - 1]) << 40
                | quint64(n[name.size / 2]) << 48 | quint64(n[(name.size - 1) / 2]) << 56;
        for (unsigned h = unsigned((key * 0x9e3779b97f4a7c15ull) >> 58);; h = (h + 1) % Slots) {
            Slot &slot = slots[h];
            if (slot.round != slotRound) {
                slot.key = key;
                slot.round = slotRound;
                slot.attribute = attribute;
                return false;
            }
            if (slot.key == key
                    && std::memcmp(begin + t.m_attributes[slot.attribute].name.offset, n, name.size) == 0)
                return true;
        }
    }

    bool startTag()
    {
        const uchar *at = p++;                  // '<'
        Span name;
        if (!qualifiedName(&name))
            return false;
        const quint32 index = quint32(t.m_elements.size());
        if (!open.empty()) {
            Open &parent = open.back();
            if (parent.lastChild)
                t.m_elements[parent.lastChild].next = index;
            else
                t.m_elements[parent.element].name.size |= HasChildren;
            parent.lastChild = index;
        }
        // Filled in place: a record copied in whole right after its fields were written costs
        // a stall on every element.
        const std::size_t firstAttribute = t.m_attributes.size();
        {
            Element &element = t.m_elements.emplace_back();
            element.name = name;
            element.attributes = quint32(firstAttribute);
            element.textBegin = element.textEnd = quint32(t.m_texts.size());
        }
        for (;;) {
            const bool spaced = skipSpace();
            if (p >= end)
                return unexpectedEnd();
            if (*p == '>') {
                ++p;
                Open &opened = open.emplace_back();
                opened.element = index;
                if (open.size() > std::size_t(XmlLimits::MaxDepth))
                    return fail(Verdict::TooDeep, "elements nested too deep", at);
                return true;
            }
            if (*p == '/') {
                if (p + 1 >= end || p[1] != '>')
                    return malformed("'>' expected");
                p += 2;
                return true;
            }
            if (!spaced)
                return malformed("white space expected before an attribute");
            Attribute &attribute = t.m_attributes.emplace_back();
            if (!qualifiedName(&attribute.name))
                return false;
            const uchar *nameAt = begin + attribute.name.offset;
            skipSpace();
            if (p >= end || *p != '=')
                return malformed("'=' expected");
            ++p;
            skipSpace();
            if (!attributeValue(&attribute.value))
                return false;
            if (duplicateAttribute(firstAttribute))
                return malformed("duplicate attribute", nameAt);
        }
    }

    bool endTag()
    {
        const uchar *at = p;
        p += 2;                                 // "</"
        Span name;
        if (!qualifiedName(&name))
            return false;
        const Element &element = t.m_elements[open.back().element];
        const quint32 size = element.name.size & ~HasChildren;
        if (name.size != size || std::memcmp(begin + name.offset, begin + element.name.offset, size) != 0)
            return malformed("end tag does not match the start tag", at);
        skipSpace();
        if (p >= end || *p != '>')
            return malformed("'>' expected");
        ++p;
        t.m_elements[open.back().element].textEnd = quint32(t.m_texts.size());
        open.pop_back();
        return true;
    }

    // A document type declaration that only names the root element declares nothing, and the
    // DOM reads the document as it would without it; any other is refused.
    bool documentType()
    {
        const uchar *at = p;
        p += 9;                                 // "<!DOCTYPE"
        if (seenDocumentType)
            return malformed("second document type declaration", at);
        seenDocumentType = true;
        Span name;
        if (!skipSpace())
            return malformed("white space expected after DOCTYPE");
        if (!qualifiedName(&name))
            return false;
        skipSpace();
        if (p < end && *p == '>') {
            ++p;
            return true;
        }
        return fail(Verdict::DocumentType, "document type declaration", at);
    }

    // Comments, processing instructions and white space before the root element (prolog) or
    // after it.
    bool misc(bool prolog)
    {
        for (;;) {
            skipSpace();
            if (p >= end)
                return prolog ? malformed("no root element") : true;
            if (*p != '<')
                return malformed(prolog ? "text before the root element" : "text after the root element");
            if (startsWith(p, end, "<!--")) {
                if (!comment())
                    return false;
            } else if (startsWith(p, end, "<?")) {
                if (!processingInstruction())
                    return false;
            } else if (prolog && startsWith(p, end, "<!DOCTYPE")) {
                if (!documentType())
                    return false;
            } else if (prolog) {
                return true;
            } else {
                return malformed("markup after the root element");
            }
        }
    }

    bool document()
    {
        if (startsWith(p, end, "<?xml") && end - p > 5 && ((classOf(p[5]) & Space) || p[5] == '?')) {
            if (!xmlDeclaration())
                return false;
        }
        if (!misc(true) || !startTag())
            return false;
        while (!open.empty()) {
            if (!text())
                return false;
            if (end - p < 2)
                return unexpectedEnd();
            bool ok;
            switch (p[1]) {
            case '/':
                ok = endTag();
                break;
            case '?':
                ok = processingInstruction();
                break;
            case '!':
                if (startsWith(p, end, "<!--"))
                    ok = comment();
                else if (startsWith(p, end, "<![CDATA["))
                    ok = cdata();
                else
                    ok = malformed("invalid markup");
                break;
            default:
                ok = startTag();
                break;
            }
            if (!ok)
                return false;
        }
        return misc(false);
    }

    XmlTree &t;
    const uchar *const begin;
    const uchar *p;
    const uchar *const end;
    const int mib;
    std::vector<Open> open;
    // The attribute names of the current element (see duplicateAttribute).
    struct Slot
    {
        quint64 key = 0;
        quint32 round = 0;              // the slot is taken when this is slotRound
        quint32 attribute = 0;
    };
    static constexpr unsigned Slots = 64;
    static constexpr std::size_t MaxSlotted = Slots / 2;
    Slot slots[Slots];
    quint32 slotRound = 0;
    QSet<QByteArray> names;             // past MaxSlotted attributes
    bool seenDocumentType = false;
    XmlTree::Result result;
    const uchar *failedAt = nullptr;
};

namespace {

// The DOM decodes UTF-8 in blocks, and its decoder drops a byte-order mark that is the first
// character it decodes from a block, wherever the block lies in the document. The position of a
// mark that may be that (near the start of a block other than the first), or null.
const char *markAtBlockStart(const QByteArray &bytes)
{
    const char *const data = bytes.constData();
    for (int block = DecodeBlock; block - 2 < bytes.size(); block += DecodeBlock) {
        const int last = qMin(block + 3, bytes.size() - 3);   // after a character of 4 bytes
        for (int i = block - 2; i <= last; ++i) {
            if (std::memcmp(data + i, "\xef\xbb\xbf", 3) == 0)
                return data + i;
        }
    }
    return nullptr;
}

// UTF-16 to UTF-8; false at an unpaired surrogate, with `out` holding the text before it.
bool toUtf8(const QString &text, QByteArray *out)
{
    out->resize(text.size() * 3);           // the caller makes sure this fits
    uchar *o = reinterpret_cast<uchar *>(out->data());
    const ushort *u = text.utf16();
    const ushort *const end = u + text.size();
    bool ok = true;
    for (; u < end; ++u) {
        uint c = *u;
        if (c >= 0xd800 && c <= 0xdfff) {
            if (c >= 0xdc00 || u + 1 >= end || u[1] < 0xdc00 || u[1] > 0xdfff) {
                ok = false;
                break;
            }
            c = QChar::surrogateToUcs4(ushort(c), u[1]);
            ++u;
        }
        o = putUtf8(c, o);
    }
    out->resize(int(o - reinterpret_cast<uchar *>(out->data())));
    return ok;
}

} // namespace

void XmlTree::clear()
{
    m_input = QByteArray();
    m_base = nullptr;
    m_inputSize = 0;
    std::vector<char>().swap(m_arena);
    std::vector<Element>().swap(m_elements);
    std::vector<Attribute>().swap(m_attributes);
    std::vector<Span>().swap(m_texts);
}

XmlTree::Result XmlTree::parse(const QByteArray &bytes)
{
    clear();
    Result result;
    const auto refuse = [this, &result](Verdict verdict, const char *message, const char *at) {
        result.verdict = verdict;
        result.message = message;
        const auto *text = reinterpret_cast<const uchar *>(m_input.constData());
        locateIn(text, at ? text + (at - m_input.constData()) : text, &result);
        clear();
        return result;
    };
    int start = 0;
    int mib = Utf8Mib;
    if (QTextCodec *codec = xmlParserCodec(bytes)) {
        // Decoded as the DOM's input source decodes: block by block, through one decoder.
        mib = codec->mibEnum();
        QScopedPointer<QTextDecoder> decoder(codec->makeDecoder());
        QString text;
        for (int i = 0; i < bytes.size(); i += DecodeBlock)
            text += decoder->toUnicode(bytes.constData() + i, qMin(DecodeBlock, bytes.size() - i));
        if (text.size() > std::numeric_limits<int>::max() / 3)
            return refuse(Verdict::Unsupported, "document too large to decode", nullptr);
        if (!toUtf8(text, &m_input))
            return refuse(Verdict::Malformed, "unpaired surrogate", m_input.constEnd());
    } else {
        m_input = bytes;
        if (bytes.startsWith("\xef\xbb\xbf"))
            start = 3;                  // the decoder drops a byte-order mark
        if (const char *mark = markAtBlockStart(m_input))
            return refuse(Verdict::Unsupported, "byte-order mark where the DOM's decoder drops it", mark);
    }
    m_base = m_input.constData();
    m_inputSize = quint32(m_input.size());
    result = Parser(*this, start, mib).run();
    if (!result.accepted())
        clear();
    return result;
}

QString TreeNode::name() const
{
    if (!m_tree)
        return QString();
    return QString::fromLatin1(m_tree->m_base + m_tree->m_elements[m_index].name.offset,
                               int(m_tree->nameSize(m_index)));
}

XmlValue TreeNode::text() const
{
    if (!m_tree)
        return XmlValue();
    const XmlTree::Element &element = m_tree->m_elements[m_index];
    const quint32 count = element.textEnd - element.textBegin;
    if (count == 0)
        return XmlValue(m_tree->m_base, 0);
    if (count == 1)
        return m_tree->value(m_tree->m_texts[element.textBegin]);
    // Text split by markup: joined, in memory of its own.
    std::size_t size = 0;
    for (quint32 i = element.textBegin; i < element.textEnd; ++i)
        size += m_tree->m_texts[i].size;
    QByteArray joined;
    joined.reserve(int(size));
    for (quint32 i = element.textBegin; i < element.textEnd; ++i) {
        const XmlTree::Span &piece = m_tree->m_texts[i];
        joined.append(m_tree->at(piece.offset), int(piece.size));
    }
    return XmlValue(XmlValue::fromUtf8(joined.constData(), joined.size()));
}

XmlValue TreeNode::attribute(const XmlName &name) const
{
    if (!m_tree)
        return XmlValue();
    const quint32 last = m_tree->attributeEnd(m_index);
    for (quint32 i = m_tree->m_elements[m_index].attributes; i < last; ++i) {
        const XmlTree::Attribute &a = m_tree->m_attributes[i];
        if (a.name.size == quint32(name.size())
                && std::memcmp(m_tree->m_base + a.name.offset, name.latin1(), a.name.size) == 0)
            return m_tree->value(a.value);
    }
    return XmlValue();
}

int TreeNode::attributeCount() const
{
    return m_tree ? int(m_tree->attributeEnd(m_index) - m_tree->m_elements[m_index].attributes) : 0;
}

QString TreeNode::attributeName(int index) const
{
    const XmlTree::Span &name =
            m_tree->m_attributes[m_tree->m_elements[m_index].attributes + quint32(index)].name;
    return QString::fromLatin1(m_tree->m_base + name.offset, int(name.size));
}

XmlValue TreeNode::attributeValue(int index) const
{
    return m_tree->value(
            m_tree->m_attributes[m_tree->m_elements[m_index].attributes + quint32(index)].value);
}
