#pragma once

// Shared pieces of the benchmarks: the generated data (made once per size and kept for the
// process), the scratch folder, timing, the floors, and the loop that measures an operation and
// its floor in alternation so that both see the same machine load.

#include "tirrelGen.h"

#include <benchmark/benchmark.h>

#include <QByteArray>
#include <QIODevice>
#include <QString>

#include <chrono>
#include <functional>

namespace Bench {

// Page, definition, object library and CSV sizes; project sizes (pages).
#define TIRREL_BENCH_SIZES ->Arg(1000)->Arg(10000)->Arg(100000)
#define TIRREL_BENCH_PROJECT_SIZES ->Arg(100)->Arg(1000)->Arg(10000)

// Items per page of the generated projects.
constexpr int kProjectPageItems = 24;

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

using Clock = std::chrono::steady_clock;
inline double secondsSince(Clock::time_point t0)
{
    return std::chrono::duration<double>(Clock::now() - t0).count();
}
template<typename F>
double timed(F &&f)
{
    const Clock::time_point t0 = Clock::now();
    f();
    return secondsSince(t0);
}

// The floors. DOM: QDomDocument::setContent on the bytes, and the document's destruction (the
// readers destroy theirs too). Writer: the tape replayed on a QXmlStreamWriter writing a file
// through QSaveFile, opened and committed like the library's writers do.
double domFloor(const QByteArray &bytes);
double writerFloor(const TirrelGen::XmlTape &tape, const QString &path, int indent = 4,
                   QIODevice::OpenMode extraMode = QIODevice::NotOpen);

// Each iteration runs op and floor once, in alternating order; both return the seconds of
// their own timed part. The iteration time is op's (manual time); the mean floor goes to the
// counter "floor" (seconds). bytes: processed per iteration, for the throughput. Sizes up to
// 10,000 get one untimed warm-up run first (first-use costs such as the font database).
void paired(benchmark::State &state, const std::function<double()> &op,
            const std::function<double()> &floor, qint64 bytes);
// The same without a floor.
void single(benchmark::State &state, const std::function<double()> &op, qint64 bytes = 0);

} // namespace Bench
