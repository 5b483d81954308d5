// The page reader on arbitrary bytes, through both of its paths (the XML tree and the DOM
// alone), which must give the same page or both none. What it reads is saved and read again:
// from the second save on, saving what was read back must give the bytes of the save before.
// The audited load must read the same page, and find nothing in a saved one.
#include "fuzzSupport.h"
#include "pageDump.h"

#include <pageAudit.h>
#include <scaFileProcessor.h>

namespace {

void destroy(ScaFileData *page)
{
    page->deleteAllItems();
    delete page;
}

// Saves the page to the scratch file, deletes it, and returns the bytes written.
QByteArray saveAndDestroy(ScaFileData *page, const QString &path)
{
    const bool saved = ScaFileProcessor::saveFileData(page, path);
    destroy(page);
    if (!saved)
        fuzz::fail("saving a page failed");
    const QByteArray bytes = fuzz::readAll(path);
    fuzz::checkXmlCharacters(bytes);
    return bytes;
}

ScaFileData *loadSaved(const QByteArray &bytes, const QString &path)
{
    ScaFileData *page = ScaFileProcessor::loadFileData(bytes, path);
    if (!page)
        fuzz::fail("a saved page does not load", bytes);
    return page;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::silenceQt();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString &path = fuzz::scratchFile("page.xml");
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    fuzz::readWithBothPaths(bytes, [&path](const QByteArray &b) {
        ScaFileData *page = ScaFileProcessor::loadFileData(b, path);
        const QStringList dump = page ? pagedump::dump(*page) : QStringList(QStringLiteral("null"));
        pagedump::deletePage(page);
        return dump;
    });
    ScaFileData *page = ScaFileProcessor::loadFileData(bytes, path);
    QList<PageFinding_t> findings;
    ScaFileData *audited = PageAudit::loadFileData(bytes, path, &findings);
    if (!page != !audited)
        fuzz::fail("the audited load and the load disagree on loading");
    if (!page)
        return 0;
    const QByteArray save1 = saveAndDestroy(page, path);
    if (saveAndDestroy(audited, path) != save1)
        fuzz::fail("the audited load read another page", save1);
    ScaFileData *second = PageAudit::loadFileData(save1, path, &findings);
    if (!second)
        fuzz::fail("a saved page does not load", save1);
    if (!findings.isEmpty())
        fuzz::fail("a saved page holds what a page does not keep", save1,
                   findings.first().path.toUtf8());
    const QByteArray save2 = saveAndDestroy(second, path);
    const QByteArray save3 = saveAndDestroy(loadSaved(save2, path), path);
    if (save2 != save3)
        fuzz::fail("saving a page read back changed the bytes", save2, save3);
    return 0;
}
