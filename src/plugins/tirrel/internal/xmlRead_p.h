#pragma once

// How every reader of the library gets from the bytes of a file to its root element.
//
// The bytes go to the library's own XML tree first (xmlTree_p.h). When the tree takes them, the
// reader reads the tree, and no DOM document is built. Whatever the tree refuses (malformed
// bytes, a document type declaration beyond the root's name, nesting past the limit, what it
// leaves to the DOM on purpose) goes to the DOM exactly as it always has: checkXmlLimits, then
// QDomDocument::setContent. The tree reads every document it takes as the DOM does, so a
// reader gives the same records either way, and null (or nothing) exactly where the DOM path
// does. A document the tree takes keeps the input limits already: it nests no deeper than
// XmlLimits::MaxDepth, and without a document type declaration it has no entities.
//
// TIRREL_XML_READER=dom in the environment (read at the first load) sends every load to the
// DOM; setDomReaderForced switches the same within a process, for tests, benchmarks and fuzzers.

#include "tirrel_global.h"
#include "xmlLimits_p.h"
#include "xmlTree_p.h"

#include <QByteArray>
#include <QDomDocument>

// True when loads go to the DOM only.
TIRREL_AUTOTEST_EXPORT bool domReaderForced();
// Sends every later load to the DOM only (true) or to the tree first (false), overriding the
// environment; returns what was in force before.
TIRREL_AUTOTEST_EXPORT bool setDomReaderForced(bool forced);

// Calls read(root) once with the root element of `data`, a TreeNode or a DomNode (read is a
// generic callable: the reader's template is instantiated for both node types), and returns
// true; returns false without calling it when the document does not load.
template <class Read>
bool readXmlDocument(const QByteArray &data, Read &&read)
{
    if (!domReaderForced()) {
        XmlTree tree;
        if (tree.parse(data).accepted()) {
            read(tree.documentElement());
            return true;
        }
    }
    QDomDocument document;
    if (!checkXmlLimits(data) || !document.setContent(data, false))
        return false;
    read(DomNode(document.documentElement()));
    return true;
}
