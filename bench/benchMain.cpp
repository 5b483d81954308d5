// The benchmark program: Google Benchmark's runner inside a headless Qt application.
//
//   tirrel_bench [--benchmark_filter=...] [--benchmark_format=json] ...
//
// Debug output of the library (a line per save, a line per chart read) is dropped so that the
// figures do not depend on where stderr goes; warnings still reach stderr.

#include "benchEngine.h"

#include <benchmark/benchmark.h>

#include <QApplication>

#include <cstdio>

namespace {

void messageHandler(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtDebugMsg || type == QtInfoMsg)
        return;
    std::fprintf(stderr, "%s\n", qPrintable(message));
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

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
