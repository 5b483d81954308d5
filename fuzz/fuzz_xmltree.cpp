// The library's XML tree against Qt's DOM on arbitrary bytes: a document the tree takes must be
// one the DOM takes as well, within the input limits, and read the same through both kinds of
// node.
#include "fuzzSupport.h"
#include "xmlTreeDump.h"

#include <xmlLimits_p.h>
#include <xmlTree_p.h>

#include <QDomDocument>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::silenceQt();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    XmlTree tree;
    if (!tree.parse(bytes).accepted())
        return 0;
    if (!checkXmlLimits(bytes))
        fuzz::fail("the tree takes a document past the input limits", bytes);
    QDomDocument document;
    if (!document.setContent(bytes, false))
        fuzz::fail("the tree takes a document the DOM refuses", bytes);
    const QString fromTree = XmlTreeDump::dump(tree.documentElement());
    const QString fromDom = XmlTreeDump::dump(DomNode(document.documentElement()));
    if (fromTree != fromDom)
        fuzz::fail("the tree and the DOM read the document differently", fromTree.toUtf8(),
                   fromDom.toUtf8());
    return 0;
}
