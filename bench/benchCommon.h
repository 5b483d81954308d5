#pragma once

// Shared pieces of the benchmarks: the generated data (made once per size and kept for the
// process), the scratch folder, timing, the floors, and the loops that measure an operation (and
// its floor, in alternation, so that both see the same machine load).
//
// Every run starts with cold caches, as an operation of the editor does after whatever the user
// did before; otherwise the smaller sizes, whose data stays in the cache between runs, would be
// measured hot and the larger ones cold, and the linearity figures would measure the cache size.
// The runs of an operation and its floor also start from a trimmed heap, so that neither is
// slowed or sped up by what the other freed before it (see settleHeap() in benchCommon.cpp);
// the runs of an operation without a floor start where its previous run left the heap.

#include "tirrelGen.h"

#include <benchmark/benchmark.h>

#include <QByteArray>
#include <QIODevice>
#include <QString>

#include <ctime>
#include <functional>

namespace Bench {

// Page, definition, object library and CSV sizes; project sizes (pages).
#define TIRREL_BENCH_SIZES ->Arg(1000)->Arg(10000)->Arg(100000)
#define TIRREL_BENCH_PROJECT_SIZES ->Arg(100)->Arg(1000)->Arg(10000)
// Registers a benchmark whose runs paired() or single() make: one framework iteration, in
// which they make as many runs as they need, timed by hand.
#define TIRREL_BENCHMARK(fn, name, sizes, unit)                                                  \
    BENCHMARK(fn)->Name(name) sizes->Iterations(1)->UseManualTime()->Unit(unit)

// Items per page of the generated projects.
constexpr int kProjectPageItems = 24;

// Sends the library's loads to the DOM only while it lives, for the "_dom" variants of the
// load benchmarks (the library's own setting, as TIRREL_XML_READER=dom sets it for a process).
class ForcedDomReader
{
public:
    explicit ForcedDomReader(bool forced);
    ~ForcedDomReader();
    ForcedDomReader(const ForcedDomReader &) = delete;
    ForcedDomReader &operator=(const ForcedDomReader &) = delete;

private:
    bool m_before;
};

// Scratch folder of this run (removed at exit); files written by the benchmarks go there.
QString scratchPath(const QString &name);

// The generated page of `items` items (with its writer tape). Its "fileName" is
// pageSavePath(items), the path the save benchmarks write to, so a save gives the same bytes.
const TirrelGen::Output &pageFile(int items);
QString pageSavePath(int items);

const TirrelGen::DefinitionData &definitionData(int tags);
const TirrelGen::Output &definitionFile(int tags);        // with tape
const TirrelGen::Output &definitionModelFile(int tags);   // with tape
// definitionFile(tags) written to the scratch folder; its path.
QString definitionFilePath(int tags);

// CPU seconds (user and system) this thread has used so far. Times are taken in CPU time, not
// wall time: on a machine shared with other work the thread is often descheduled, and that
// waiting would land in whichever run happened to be under way. Nothing measured waits for
// anything else (files go to memory), so on an idle machine the two are the same.
inline double threadSeconds()
{
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

// Evicts the data caches by walking a buffer twice the size of the largest cache.
void evictCaches();

// Runs f once and returns its seconds.
template<typename F>
double timed(F &&f)
{
    const double t0 = threadSeconds();
    f();
    return threadSeconds() - t0;
}

// The floors. DOM: QDomDocument::setContent on the bytes, and the document's destruction (the
// readers destroy theirs too). Writer: the tape replayed on a QXmlStreamWriter writing a file
// through QSaveFile, opened and committed like the library's writers do.
double domFloor(const QByteArray &bytes);
double writerFloor(const TirrelGen::XmlTape &tape, const QString &path, int indent = 4,
                   QIODevice::OpenMode extraMode = QIODevice::NotOpen);

// How many runs a benchmark makes: at least minRuns and until the operation has taken
// minSeconds in all, but no more than maxRuns. TIRREL_BENCH_RUNS=<n> caps both counts at n
// (the test suite's smoke run uses 1).
struct Runs
{
    int minRuns = 5;
    int maxRuns = 50;
    double minSeconds = 1.0;
};

// Each run measures op and then floor, or floor and then op (alternating), each after evicting
// the caches; both return the seconds of their own timed part (through timed()). Reports the
// iteration time (op's mean) and the counters "median" (op's median run, seconds), "floor" (the
// floor's median run), "ratio" (the median over the runs of op / floor, each pair measured back
// to back) and "runs". bytes: processed
// per run, for the throughput. Sizes up to 10,000 get one untimed warm-up run of each first
// (first-use costs such as the font database).
void paired(benchmark::State &state, const std::function<double()> &op,
            const std::function<double()> &floor, qint64 bytes, Runs runs = Runs());
// The same without a floor.
void single(benchmark::State &state, const std::function<double()> &op, qint64 bytes = 0,
            Runs runs = Runs{5, 50, 0.2});

} // namespace Bench
