#include "benchCommon.h"

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QXmlStreamWriter>

#include <memory>

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
        TirrelGen::PageSpec spec;
        spec.items = items;
        spec.seed = kSeed;
        spec.fileName = pageSavePath(items);
        spec.relativePath = QStringLiteral("pages/page-%1.xml").arg(items);
        return TirrelGen::page(spec, true);
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

void paired(benchmark::State &state, const std::function<double()> &op,
            const std::function<double()> &floor, qint64 bytes)
{
    if (state.range(0) <= 10000) {
        op();
        floor();
    }
    double floorTotal = 0;
    qint64 n = 0;
    for (auto _ : state) {
        double opSeconds;
        if (n % 2 == 0) {
            opSeconds = op();
            floorTotal += floor();
        } else {
            floorTotal += floor();
            opSeconds = op();
        }
        state.SetIterationTime(opSeconds);
        ++n;
    }
    state.counters["floor"] = n ? floorTotal / double(n) : 0.0;
    state.SetBytesProcessed(bytes * n);
    state.SetItemsProcessed(state.range(0) * n);
}

void single(benchmark::State &state, const std::function<double()> &op, qint64 bytes)
{
    if (state.range(0) <= 10000)
        op();
    qint64 n = 0;
    for (auto _ : state) {
        state.SetIterationTime(op());
        ++n;
    }
    if (bytes)
        state.SetBytesProcessed(bytes * n);
    state.SetItemsProcessed(state.range(0) * n);
}

} // namespace Bench
