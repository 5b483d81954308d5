// The library's own XML tree: a whole parse (and the tree's destruction) of the generated page
// and definition file, against the DOM parse of the same bytes.

#include "benchCommon.h"

#include <xmlTree_p.h>

namespace {

double treeParse(const QByteArray &bytes)
{
    return Bench::timed([&] {
        XmlTree tree;
        const XmlTree::Result result = tree.parse(bytes);
        benchmark::DoNotOptimize(result);
    });
}

void measureTree(benchmark::State &state, const QByteArray &bytes)
{
    XmlTree tree;
    if (!tree.parse(bytes).accepted()) {
        state.SkipWithError("the tree refused the generated file");
        return;
    }
    Bench::paired(state, [&] { return treeParse(bytes); },
                  [&] { return Bench::domFloor(bytes); }, bytes.size());
}

void xmlTreeParsePage(benchmark::State &state)
{
    measureTree(state, Bench::pageFile(int(state.range(0))).bytes);
}

void xmlTreeParseDefinitions(benchmark::State &state)
{
    measureTree(state, Bench::definitionFile(int(state.range(0))).bytes);
}

} // namespace

TIRREL_BENCHMARK(xmlTreeParsePage, "xml_tree_parse", TIRREL_BENCH_SIZES, benchmark::kMillisecond);
TIRREL_BENCHMARK(xmlTreeParseDefinitions, "xml_tree_parse_definitions", TIRREL_BENCH_SIZES,
                 benchmark::kMillisecond);
