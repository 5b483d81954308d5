#pragma once

#include "tirrel_global.h"

#include <QByteArray>
#include <QtGlobal>

class QTextCodec;

// Limits that every XML file the library reads must keep before it reaches the DOM parser.
// The parser itself would overflow the stack on deep nesting, slows down with the square of the
// depth long before that, and expands entities without bound on the total, so such documents
// are refused up front and read as malformed ones do. No file the library writes comes near
// these limits: pages nest about six levels deep, definition files four, and neither declares
// entities.
namespace XmlLimits {

// Elements nested deeper than this.
constexpr int MaxDepth = 1024;
// Characters that references to declared entities may add to the document in total.
constexpr qint64 MaxEntityExpansion = 1024 * 1024;

// Which rule a refused document breaks.
enum Exceeded {
    None,
    Depth,              // elements nested deeper than MaxDepth
    Entities,           // entities other than plain texts, or references inside declarations
    EntityExpansion,    // entity references adding more than MaxEntityExpansion characters
    Markup              // markup that no well-formed document holds (an end tag without its
                        // start tag, a declaration out of place): malformed
};

} // namespace XmlLimits

// False when `data`, read as the DOM parser reads it (encoding from the byte-order mark or the
// XML declaration), nests elements deeper than XmlLimits::MaxDepth, declares entities other
// than plain text ones (parameter entities, external entities, entity texts with references or
// markup), or expands its entities to more than XmlLimits::MaxEntityExpansion characters. True
// otherwise, also for malformed documents, which the parser then refuses. One pass over the
// bytes; documents in an encoding other than UTF-8 are decoded first.
TIRREL_AUTOTEST_EXPORT bool checkXmlLimits(const QByteArray &data);
// The same check, telling which rule the document breaks first.
XmlLimits::Exceeded xmlLimitExceeded(const QByteArray &data);

// The codec the DOM parser decodes `data` with, or null for UTF-8: from a byte-order mark or the
// first bytes, then from an XML declaration in the first block the parser reads (1,024 bytes).
// The parser decodes the bytes block by block with one decoder of this codec.
QTextCodec *xmlParserCodec(const QByteArray &data);
