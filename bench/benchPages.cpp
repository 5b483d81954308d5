#include "benchPages.h"

#include "benchCommon.h"

#include <scaFileProcessor.h>

#include <QHash>

namespace Bench {

void deletePage(ScaFileData *page)
{
    if (!page)
        return;
    page->deleteAllItems();
    delete page;
}

bool pageHasAllItems(ScaFileData *page, int items)
{
    if (!page)
        return false;
    const QVector<int> expected = TirrelGen::kindCounts(items);
    const QVector<int> found = {page->scadaObjects.size(), page->textItems.size(),
                                page->scheduleItems.size(), page->rtChartItems.size(),
                                page->dbqTextItems.size(), page->tableItems.size(),
                                page->imageItems.size(), page->gaugeItems.size(),
                                page->webFrameItems.size()};
    deletePage(page);
    return found == expected;
}

ScaFileData *loadedPage(int items)
{
    // Deleted with every item record at exit, like any page the editor closes.
    struct Cache
    {
        QHash<int, ScaFileData *> pages;
        ~Cache() { for (ScaFileData *page : qAsConst(pages)) deletePage(page); }
    };
    static Cache cache;
    ScaFileData *&page = cache.pages[items];
    if (!page)
        page = ScaFileProcessor::loadFileData(pageFile(items).bytes, pageSavePath(items));
    return page;
}

} // namespace Bench
