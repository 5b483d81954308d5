// The project data tree's look-ups over projects of 100 to 10,000 pages of 24 items each. Every
// look-up searches for something that is not there, so it walks the whole project (the look-ups
// walk the pages and compare each key, also for names, by design).

#include "benchCommon.h"
#include "benchPages.h"

#include <projectDataTree.h>
#include <scaFileProcessor.h>

#include <QHash>

#include <memory>

namespace {

constexpr int kMissing = -7;

struct Project
{
    ProjectDataTree tree;
    int scadaObjects = 0;
    // The tree does not own its pages; the editor closes a project with selfDestruct(), which
    // deletes the pages and their SCADA objects only.
    ~Project()
    {
        for (ScaFileData *page : qAsConst(tree.pages))
            page->deleteAllItems();
        tree.selfDestruct();
    }
};

Project &project(int pages)
{
    static QHash<int, std::shared_ptr<Project>> cache;
    std::shared_ptr<Project> &p = cache[pages];
    if (!p) {
        p = std::make_shared<Project>();
        for (int i = 0; i < pages; ++i) {
            const TirrelGen::ProjectPage page = TirrelGen::projectPage(i, Bench::kProjectPageItems, 20240601);
            ScaFileData *data = ScaFileProcessor::loadFileData(page.bytes, page.fileName);
            if (!data)
                continue;
            p->scadaObjects += data->scadaObjects.size();
            p->tree.pages.insert(page.fileName, data);
        }
    }
    return *p;
}

// Checks the project once, then measures the look-up.
template<typename F>
void lookup(benchmark::State &state, F f)
{
    const int pages = int(state.range(0));
    Project &p = project(pages);
    const int expected = pages * TirrelGen::kindCounts(Bench::kProjectPageItems).at(TirrelGen::ScadaObject);
    if (p.tree.pages.size() != pages || p.scadaObjects != expected
        || p.tree.getAllBlocks().size() != expected || !p.tree.getBlock(1)) {
        state.SkipWithError("the generated project did not load completely");
        return;
    }
    // Each run evicts a cache of 64 MiB first; the runs of a look-up take a millisecond or so
    // each, so it takes many of them for a median that a busy neighbour does not move.
    Bench::single(state, [&] { return Bench::timed([&] { benchmark::DoNotOptimize(f(p.tree)); }); },
                  0, Bench::Runs{41, 81, 0.3});
}

const QString missingName = QStringLiteral("pages/missing.xml");

void containsFileName(benchmark::State &s) { lookup(s, [](ProjectDataTree &t) { return t.containsFileName(missingName); }); }
void getFiledataWithName(benchmark::State &s) { lookup(s, [](ProjectDataTree &t) { return t.getFiledataWithName(missingName); }); }
void getFiledataWithPageId(benchmark::State &s) { lookup(s, [](ProjectDataTree &t) { return t.getFiledataWithPageId(kMissing); }); }
void getFileNameWithPageId(benchmark::State &s) { lookup(s, [](ProjectDataTree &t) { return t.getFileNameWithPageId(kMissing); }); }
void getAllBlocks(benchmark::State &s) { lookup(s, [](ProjectDataTree &t) { return t.getAllBlocks(); }); }
void getBlock(benchmark::State &s) { lookup(s, [](ProjectDataTree &t) { return t.getBlock(kMissing); }); }
void getFileNameContainingBlock(benchmark::State &s) { lookup(s, [](ProjectDataTree &t) { return t.getFileNameContainingBlock(kMissing); }); }
void getProjectComponents(benchmark::State &s) { lookup(s, [](ProjectDataTree &t) { return t.getProjectComponents(); }); }
void requestUniqueId(benchmark::State &s) { lookup(s, [](ProjectDataTree &t) { return t.requestUniqueId(); }); }

} // namespace

#define TIRREL_PROJECT_BENCH(fn, name) \
    TIRREL_BENCHMARK(fn, name, TIRREL_BENCH_PROJECT_SIZES, benchmark::kMicrosecond)

TIRREL_PROJECT_BENCH(containsFileName, "project_contains_file_name");
TIRREL_PROJECT_BENCH(getFiledataWithName, "project_get_filedata_with_name");
TIRREL_PROJECT_BENCH(getFiledataWithPageId, "project_get_filedata_with_page_id");
TIRREL_PROJECT_BENCH(getFileNameWithPageId, "project_get_file_name_with_page_id");
TIRREL_PROJECT_BENCH(getAllBlocks, "project_get_all_blocks");
TIRREL_PROJECT_BENCH(getBlock, "project_get_block");
TIRREL_PROJECT_BENCH(getFileNameContainingBlock, "project_get_file_name_containing_block");
TIRREL_PROJECT_BENCH(getProjectComponents, "project_get_project_components");
TIRREL_PROJECT_BENCH(requestUniqueId, "project_request_unique_id");
