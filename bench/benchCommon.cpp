#include "benchCommon.h"

#include <xmlRead_p.h>

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QXmlStreamWriter>

#include <malloc.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace Bench {

namespace {

constexpr quint32 kSeed = 20240601;

// In memory where possible (/dev/shm), so that the saves measure the writers and not the disk:
// the library's writers sync the file to disk when they commit it.
QTemporaryDir &scratch()
{
    static QTemporaryDir dir([] {
        QString base = qEnvironmentVariable("TIRREL_BENCH_DIR");
        if (base.isEmpty())
            base = QFileInfo(QStringLiteral("/dev/shm")).isWritable() ? QStringLiteral("/dev/shm")
                                                                      : QDir::tempPath();
        return base + QStringLiteral("/tirrel-bench-XXXXXX");
    }());
    // TIRREL_BENCH_KEEP=1 keeps the files written, to look at them afterwards.
    dir.setAutoRemove(qEnvironmentVariableIntValue("TIRREL_BENCH_KEEP") == 0);
    return dir;
}

template<typename T, typename Make>
const T &cached(QHash<int, std::shared_ptr<T>> &cache, int key, Make make)
{
    auto it = cache.find(key);
    if (it == cache.end())
        it = cache.insert(key, std::make_shared<T>(make()));
    return *it.value();
}

} // namespace

QString scratchPath(const QString &name)
{
    return scratch().filePath(name);
}

QString pageSavePath(int items)
{
    return scratchPath(QStringLiteral("page-%1.xml").arg(items));
}

const TirrelGen::Output &pageFile(int items)
{
    static QHash<int, std::shared_ptr<TirrelGen::Output>> cache;
    return cached(cache, items, [items] {
        TirrelGen::PageRequest request;
        request.items = items;
        request.seed = kSeed;
        request.fileName = pageSavePath(items);
        request.relativePath = QStringLiteral("pages/page-%1.xml").arg(items);
        return TirrelGen::page(request, true);
    });
}

const TirrelGen::DefinitionData &definitionData(int tags)
{
    static QHash<int, std::shared_ptr<TirrelGen::DefinitionData>> cache;
    return cached(cache, tags, [tags] { return TirrelGen::definitionData(tags, kSeed); });
}

const TirrelGen::Output &definitionFile(int tags)
{
    static QHash<int, std::shared_ptr<TirrelGen::Output>> cache;
    return cached(cache, tags, [tags] { return TirrelGen::definitionFile(definitionData(tags), true); });
}

const TirrelGen::Output &definitionModelFile(int tags)
{
    static QHash<int, std::shared_ptr<TirrelGen::Output>> cache;
    return cached(cache, tags, [tags] { return TirrelGen::definitionModelFile(definitionData(tags), true); });
}

QString definitionFilePath(int tags)
{
    const QString path = scratchPath(QStringLiteral("definitions-%1.xml").arg(tags));
    if (!QFile::exists(path)) {
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(definitionFile(tags).bytes);
    }
    return path;
}

ForcedDomReader::ForcedDomReader(bool forced)
    : m_before(setDomReaderForced(forced))
{
}

ForcedDomReader::~ForcedDomReader()
{
    setDomReaderForced(m_before);
}

double domFloor(const QByteArray &bytes)
{
    return timed([&] {
        QDomDocument doc;
        QString message;
        int line = 0;
        int column = 0;
        doc.setContent(bytes, false, &message, &line, &column);
        benchmark::DoNotOptimize(doc);
    });
}

double writerFloor(const TirrelGen::XmlTape &tape, const QString &path, int indent,
                   QIODevice::OpenMode extraMode)
{
    return timed([&] {
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly | extraMode))
            return;
        QXmlStreamWriter w(&file);
        w.setAutoFormatting(true);
        w.setAutoFormattingIndent(indent);
        tape.replay(w);
        file.commit();
    });
}

namespace {

double median(std::vector<double> v)
{
    if (v.empty())
        return 0;
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

Runs capped(Runs runs)
{
    const int cap = qEnvironmentVariableIntValue("TIRREL_BENCH_RUNS");
    if (cap > 0) {
        runs.minRuns = qMin(runs.minRuns, cap);
        runs.maxRuns = qMin(runs.maxRuns, cap);
    }
    return runs;
}

bool moreRuns(const Runs &runs, int done, double seconds)
{
    return done < runs.minRuns || (done < runs.maxRuns && seconds < runs.minSeconds);
}

// Where the previous run left the C library's allocator matters a great deal: a DOM parse right
// after another DOM tree was freed runs up to 1.7 times slower than one after a page and its
// records were freed (its millions of small blocks come back scattered over the freed ones). So
// every run starts from the same state: all free blocks merged and the free memory returned to
// the system. Each run then pays for fresh pages from the system, the floors as much as the
// operations.
void settleHeap()
{
    malloc_trim(0);
}

double measure(const std::function<double()> &f, bool settle)
{
    if (settle)
        settleHeap();
    evictCaches();
    return f();
}

} // namespace

void evictCaches()
{
    // Twice the 32 MiB last-level cache of the machines this runs on, written so that dirty
    // lines of the measured data are pushed out too.
    static std::vector<char> buffer(64 << 20);
    static char round = 0;
    ++round;
    for (size_t i = 0; i < buffer.size(); i += 64)
        buffer[i] = char(buffer[i] + round);
    benchmark::DoNotOptimize(buffer.data());
    benchmark::ClobberMemory();
}

void paired(benchmark::State &state, const std::function<double()> &op,
            const std::function<double()> &floor, qint64 bytes, Runs runs)
{
    runs = capped(runs);
    if (state.range(0) <= 10000 && runs.maxRuns > 1) {
        op();
        floor();
    }
    std::vector<double> opTimes, floorTimes, ratios;
    double total = 0;
    for (auto _ : state) {
        while (moreRuns(runs, int(opTimes.size()), total)) {
            double a;
            double b;
            if (opTimes.size() % 2 == 0) {
                a = measure(op, true);
                b = measure(floor, true);
            } else {
                b = measure(floor, true);
                a = measure(op, true);
            }
            opTimes.push_back(a);
            floorTimes.push_back(b);
            ratios.push_back(b > 0 ? a / b : 0);
            total += a;
        }
        state.SetIterationTime(total / double(opTimes.size()));
    }
    const qint64 n = qint64(opTimes.size());
    state.counters["median"] = median(opTimes);
    state.counters["floor"] = median(floorTimes);
    state.counters["ratio"] = median(ratios);
    state.counters["runs"] = double(n);
    // Per iteration, whose time is the mean run.
    state.SetBytesProcessed(bytes);
    state.SetItemsProcessed(state.range(0));
}

void single(benchmark::State &state, const std::function<double()> &op, qint64 bytes, Runs runs)
{
    runs = capped(runs);
    if (state.range(0) <= 10000 && runs.maxRuns > 1)
        op();
    std::vector<double> opTimes;
    double total = 0;
    for (auto _ : state) {
        while (moreRuns(runs, int(opTimes.size()), total)) {
            const double a = measure(op, false);
            opTimes.push_back(a);
            total += a;
        }
        state.SetIterationTime(total / double(opTimes.size()));
    }
    const qint64 n = qint64(opTimes.size());
    state.counters["median"] = median(opTimes);
    state.counters["runs"] = double(n);
    if (bytes)
        // Per iteration, whose time is the mean run.
    state.SetBytesProcessed(bytes);
    state.SetItemsProcessed(state.range(0));
}

} // namespace Bench
