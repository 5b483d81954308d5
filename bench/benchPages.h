#pragma once

// Loaded pages shared by the page and project benchmarks.

#include <QString>

class ScaFileData;

namespace Bench {

// Deletes a page with every item record in it (null is ignored).
void deletePage(ScaFileData *page);
// True when page holds as many items of each kind as the generator wrote for `items` items;
// deletes the page.
bool pageHasAllItems(ScaFileData *page, int items);
// The generated page of `items` items, loaded once and kept for the process.
ScaFileData *loadedPage(int items);

} // namespace Bench
