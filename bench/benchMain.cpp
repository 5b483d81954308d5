// The benchmark program: Google Benchmark's runner inside a headless Qt application.
//
//   tirrel_bench [--benchmark_filter=...] [--benchmark_format=json] ...
//   tirrel_bench --write-project DIR PAGES    the generated project of PAGES pages, into DIR
//                                            (for timing tirrel check, see checkjobs.py)
//
// Debug output of the library (a line per save, a line per chart read) is dropped so that the
// figures do not depend on where stderr goes; warnings still reach stderr.

#include "benchCommon.h"
#include "benchEngine.h"

#include <benchmark/benchmark.h>

#include "tirrelGen.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

namespace {

void messageHandler(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtDebugMsg || type == QtInfoMsg)
        return;
    std::fprintf(stderr, "%s\n", qPrintable(message));
}

// The pages of the generated project of `pages` pages, with the benchmarks' items per page and
// seed, written under dir.
int writeProject(const QString &dir, int pages)
{
    for (int i = 0; i < pages; ++i) {
        const TirrelGen::ProjectPage page =
                TirrelGen::projectPage(i, Bench::kProjectPageItems, 20240601);
        const QString path = dir + QLatin1Char('/') + page.fileName;
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(page.bytes) != page.bytes.size())
            return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    qInstallMessageHandler(messageHandler);

    // A child run by the object library benchmarks, in a home folder of its own.
    if (argc > 1 && qstrcmp(argv[1], Bench::kEngineProbeArgument) == 0)
        return Bench::engineProbe(argc, argv);

    if (argc > 3 && qstrcmp(argv[1], "--write-project") == 0)
        return writeProject(QString::fromLocal8Bit(argv[2]), QByteArray(argv[3]).toInt());

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
