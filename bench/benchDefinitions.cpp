// Channel, tag and alarm definitions: the definition file reader, both writers, the CSV import
// and the watcher's reload, for 1,000 to 100,000 tags (with their channels and alarms). The
// loads are measured as the library makes them and through the DOM only ("_dom").

#include "benchCommon.h"

#include <tagChFileWatcher.h>
#include <tgchFileProcessor.h>

#include <QFile>
#include <QHash>
#include <QStandardItemModel>

#include <memory>

namespace {

bool treeMatches(FileDataTree *tree, const TirrelGen::DefinitionData &data)
{
    const bool ok = tree && tree->ChannelList.size() == data.channels.size()
            && tree->TagList.size() == data.tags.size()
            && tree->AlarmList.size() == data.alarms.size();
    delete tree;
    return ok;
}

FileDataTree *loadedTree(int tags)
{
    static QHash<int, std::shared_ptr<FileDataTree>> trees;
    std::shared_ptr<FileDataTree> &tree = trees[tags];
    if (!tree)
        tree.reset(TgchFileProcessor::loadFileData(Bench::definitionFile(tags).bytes));
    return tree.get();
}

struct Models
{
    QStandardItemModel channels;
    QStandardItemModel tags;
};

void fill(QStandardItemModel *model, const QVector<QStringList> &rows)
{
    model->setRowCount(rows.size());
    model->setColumnCount(rows.isEmpty() ? 0 : rows.first().size());
    for (int row = 0; row < rows.size(); ++row)
        for (int column = 0; column < rows.at(row).size(); ++column)
            model->setItem(row, column, new QStandardItem(rows.at(row).at(column)));
}

Models &models(int tags)
{
    static QHash<int, std::shared_ptr<Models>> cache;
    std::shared_ptr<Models> &m = cache[tags];
    if (!m) {
        m = std::make_shared<Models>();
        fill(&m->channels, TirrelGen::channelModelRows(Bench::definitionData(tags)));
        fill(&m->tags, TirrelGen::tagModelRows(Bench::definitionData(tags)));
    }
    return *m;
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The load as the library makes it, or (dom) through the DOM only.
void measureDefinitionLoad(benchmark::State &state, bool dom)
{
    const Bench::ForcedDomReader reader(dom);
    const int tags = int(state.range(0));
    const TirrelGen::Output &file = Bench::definitionFile(tags);
    if (!treeMatches(TgchFileProcessor::loadFileData(file.bytes), Bench::definitionData(tags))) {
        state.SkipWithError("the generated definitions did not load completely");
        return;
    }
    Bench::paired(state, [&] {
        FileDataTree *tree = nullptr;
        const double t = Bench::timed([&] { tree = TgchFileProcessor::loadFileData(file.bytes); });
        delete tree;
        return t;
    }, [&] { return Bench::domFloor(file.bytes); }, file.bytes.size());
}

void definitionLoad(benchmark::State &state) { measureDefinitionLoad(state, false); }
void definitionLoadDom(benchmark::State &state) { measureDefinitionLoad(state, true); }

void definitionSave(benchmark::State &state)
{
    const int tags = int(state.range(0));
    const TirrelGen::Output &file = Bench::definitionFile(tags);
    const QString path = Bench::scratchPath(QStringLiteral("saved-definitions-%1.xml").arg(tags));
    FileDataTree *tree = loadedTree(tags);
    TgchFileProcessor::writeToFile(tree, path);
    const QByteArray bytes = readAll(path);
    state.counters["identical"] = bytes == file.bytes ? 1 : 0;
    Bench::paired(state, [&] {
        QFile::remove(path);    // a file holding the same bytes would not be written again
        return Bench::timed([&] { TgchFileProcessor::writeToFile(tree, path); });
    }, [&] { return Bench::writerFloor(file.tape, path, 4, QIODevice::Text); }, bytes.size());
}

void definitionModelSave(benchmark::State &state)
{
    const int tags = int(state.range(0));
    const TirrelGen::Output &file = Bench::definitionModelFile(tags);
    const QString path = Bench::scratchPath(QStringLiteral("exported-definitions-%1.xml").arg(tags));
    Models &m = models(tags);
    TgchFileProcessor::writeToFile(&m.channels, &m.tags, path);
    const QByteArray bytes = readAll(path);
    state.counters["identical"] = bytes == file.bytes ? 1 : 0;
    Bench::paired(state, [&] {
        QFile::remove(path);
        return Bench::timed([&] { TgchFileProcessor::writeToFile(&m.channels, &m.tags, path); });
    }, [&] { return Bench::writerFloor(file.tape, path, 1, QIODevice::Text); }, bytes.size());
}

void csvImport(benchmark::State &state)
{
    const int lines = int(state.range(0));
    const QString path = Bench::scratchPath(QStringLiteral("tags-%1.csv").arg(lines));
    const QByteArray bytes = TirrelGen::csvTagList(lines, 20240601);
    {
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(bytes);
    }
    FileDataTree *check = TgchFileProcessor::loadTagsFromCSV(path, false);
    const bool complete = check && check->TagList.size() == lines;
    delete check;
    if (!complete) {
        state.SkipWithError("the generated CSV did not import completely");
        return;
    }
    Bench::single(state, [&] {
        FileDataTree *tree = nullptr;
        const double t = Bench::timed([&] { tree = TgchFileProcessor::loadTagsFromCSV(path, false); });
        delete tree;
        return t;
    }, bytes.size());
}

// The watcher's reload of the file on disk, against the DOM parse of its bytes.
void measureWatcherReload(benchmark::State &state, bool dom)
{
    const Bench::ForcedDomReader reader(dom);
    const int tags = int(state.range(0));
    const QString path = Bench::definitionFilePath(tags);
    TagChFileWatcher watcher(path);
    if (!treeMatches(TgchFileProcessor::loadFileData(path), Bench::definitionData(tags))
        || !watcher.tagChData() || watcher.tagChData()->TagList.size() != tags) {
        state.SkipWithError("the watcher did not load the generated definitions");
        return;
    }
    const QByteArray &bytes = Bench::definitionFile(tags).bytes;
    Bench::paired(state, [&] {
        return Bench::timed([&] { watcher.setFile(path); });
    }, [&] { return Bench::domFloor(bytes); }, bytes.size());
}

void watcherReload(benchmark::State &state) { measureWatcherReload(state, false); }
void watcherReloadDom(benchmark::State &state) { measureWatcherReload(state, true); }

} // namespace

TIRREL_BENCHMARK(definitionLoad, "definition_load", TIRREL_BENCH_SIZES, benchmark::kMillisecond);
TIRREL_BENCHMARK(definitionLoadDom, "definition_load_dom", TIRREL_BENCH_SIZES, benchmark::kMillisecond);
TIRREL_BENCHMARK(definitionSave, "definition_save", TIRREL_BENCH_SIZES, benchmark::kMillisecond);
TIRREL_BENCHMARK(definitionModelSave, "definition_model_save", TIRREL_BENCH_SIZES, benchmark::kMillisecond);
TIRREL_BENCHMARK(csvImport, "csv_import", TIRREL_BENCH_SIZES, benchmark::kMillisecond);
TIRREL_BENCHMARK(watcherReload, "watcher_reload", TIRREL_BENCH_SIZES, benchmark::kMillisecond);
TIRREL_BENCHMARK(watcherReloadDom, "watcher_reload_dom", TIRREL_BENCH_SIZES, benchmark::kMillisecond);
