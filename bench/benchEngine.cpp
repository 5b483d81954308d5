// The object library: creating the engine (reading a standard library of N objects and a user
// library of N/10 objects, identifiers 0 .. 1.1 N - 1 all in use), against the DOM parse of the
// same two files, also with every load through the DOM only (library_load_dom), and adding one
// user object to it (a fresh identifier, two images copied, the user library file rewritten, the
// confirmation box shown and closed at once).

#include "benchEngine.h"

#include "benchCommon.h"

#include <fileAccess.h>
#include <scadaEngine.h>

#include <QApplication>
#include <QDir>
#include <QDomDocument>
#include <QFileInfo>
#include <QHash>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <QWidget>

#include <cstdio>
#include <memory>

namespace Bench {

const char kEngineProbeArgument[] = "--engine-probe";

namespace {

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// Closes the confirmation box as soon as it is up.
void closeModalBoxSoon()
{
    auto *timer = new QTimer;
    timer->setInterval(0);
    QObject::connect(timer, &QTimer::timeout, timer, [timer] {
        if (QWidget *box = QApplication::activeModalWidget()) {
            box->close();
            timer->stop();
            timer->deleteLater();
        }
    });
    timer->start();
}

// The folders of one size: <dir>/bin/<copy of this program>, <dir>/scdLib/objlib.xml,
// <dir>/home/Parvane/userlib.xml (rewritten before every run, as adding changes it).
struct EngineSetup
{
    QString dir;
    QString program;
    QByteArray userLibrary;
    int objects = 0;
    bool ok = false;
};

const EngineSetup &engineSetup(int objects)
{
    static QHash<int, std::shared_ptr<EngineSetup>> cache;
    std::shared_ptr<EngineSetup> &s = cache[objects];
    if (s)
        return *s;
    s = std::make_shared<EngineSetup>();
    s->objects = objects;
    // Under the temporary folder rather than the scratch folder, which may not allow running
    // programs from it.
    static QTemporaryDir root(QDir::tempPath() + QStringLiteral("/tirrel-bench-engine-XXXXXX"));
    s->dir = root.filePath(QStringLiteral("engine-%1").arg(objects));
    s->program = s->dir + QStringLiteral("/bin/tirrel_bench");
    QDir().mkpath(s->dir + QStringLiteral("/bin"));
    QDir().mkpath(s->dir + QStringLiteral("/work"));
    s->userLibrary = TirrelGen::objectLibrary(objects / 10, 7, objects, true).bytes;
    s->ok = QFile::copy(QCoreApplication::applicationFilePath(), s->program)
            && writeFile(s->dir + QStringLiteral("/scdLib/objlib.xml"),
                         TirrelGen::objectLibrary(objects, 5, 0, false).bytes)
            && writeFile(s->dir + QStringLiteral("/images/valve_open.png"), QByteArray(2048, 'v'))
            && writeFile(s->dir + QStringLiteral("/images/valve_closed.png"), QByteArray(2048, 'c'));
    return *s;
}

struct ProbeResult
{
    double construct = -1;
    double add = -1;
    int catalogue = -1;
    int uid = -1;
};

// adds: user objects to add after creating the engine, or FloorProbe for the DOM parse of the
// two library files instead of the engine. dom: every load through the DOM only.
const int FloorProbe = -1;

ProbeResult runProbe(const EngineSetup &s, int adds, bool dom = false)
{
    ProbeResult result;
    QDir(s.dir + QStringLiteral("/home")).removeRecursively();
    if (!writeFile(s.dir + QStringLiteral("/home/Parvane/userlib.xml"), s.userLibrary))
        return result;
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), s.dir + QStringLiteral("/home"));
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    if (dom)
        env.insert(QStringLiteral("TIRREL_XML_READER"), QStringLiteral("dom"));
    else
        env.remove(QStringLiteral("TIRREL_XML_READER"));
    child.setProcessEnvironment(env);
    child.setWorkingDirectory(s.dir + QStringLiteral("/work"));
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(s.program, {QLatin1String(kEngineProbeArgument), QString::number(adds),
                            s.dir + QStringLiteral("/images")});
    if (!child.waitForFinished(600000) || child.exitCode() != 0)
        return result;
    QTextStream in(child.readAllStandardOutput());
    in >> result.construct >> result.add >> result.catalogue >> result.uid;
    return result;
}

void libraryAddObject(benchmark::State &state)
{
    const int objects = int(state.range(0));
    const EngineSetup &s = engineSetup(objects);
    if (!s.ok) {
        state.SkipWithError("could not set up the object library folders");
        return;
    }
    const int inUse = objects + objects / 10;
    bool failed = false;
    Bench::single(state, [&] {
        const ProbeResult r = runProbe(s, 1);
        // Every object read, and the new one given the smallest free identifier.
        if (r.catalogue != inUse + 1 || r.uid != inUse)
            failed = true;
        return r.add;
    }, 0, Bench::Runs{5, 5, 0});
    if (failed)
        state.SkipWithError("the engine did not read or add the objects as expected");
}

// Creating the engine, each run paired with the DOM parse of its two files in a child of its own.
void libraryLoadBenchmark(benchmark::State &state, bool dom)
{
    const int objects = int(state.range(0));
    const EngineSetup &s = engineSetup(objects);
    if (!s.ok) {
        state.SkipWithError("could not set up the object library folders");
        return;
    }
    const int inUse = objects + objects / 10;
    bool failed = false;
    Bench::paired(state, [&] {
        const ProbeResult r = runProbe(s, 0, dom);
        if (r.catalogue != inUse)
            failed = true;
        return r.construct;
    }, [&] {
        const ProbeResult r = runProbe(s, FloorProbe);
        if (r.catalogue != 2)
            failed = true;
        return r.construct;
    }, 0, Bench::Runs{5, 5, 0});
    if (failed)
        state.SkipWithError("the engine did not read the objects as expected");
}

void libraryLoad(benchmark::State &state) { libraryLoadBenchmark(state, false); }
void libraryLoadDom(benchmark::State &state) { libraryLoadBenchmark(state, true); }

} // namespace

namespace {

// The floor of creating the engine: its two files read and parsed by the DOM, as the engine
// finds them. Prints the seconds as the engine's and 2 for the catalogue, when both parsed.
int libraryFloorProbe()
{
    const QString standard = QCoreApplication::applicationDirPath()
            + QStringLiteral("/../scdLib/objlib.xml");
    const QString user = QDir::homePath() + QStringLiteral("/Parvane/userlib.xml");
    int parsed = 0;
    const double seconds = timed([&] {
        for (const QString &path : {standard, user}) {
            QByteArray data;
            QDomDocument document;
            if (FileAccess::readFile(path, &data) == FileAccess::Read && document.setContent(data))
                ++parsed;
        }
    });
    std::printf("%.9f 0 %d -1\n", seconds, parsed);
    return 0;
}

} // namespace

// argv: kEngineProbeArgument, adds (FloorProbe: the floor instead), image folder. Prints the
// seconds of creating the engine, the seconds of all adds, the catalogue's size and the last
// identifier issued.
int engineProbe(int argc, char **argv)
{
    if (argc < 4)
        return 2;
    const int adds = QByteArray(argv[2]).toInt();
    if (adds == FloorProbe)
        return libraryFloorProbe();
    const QString images = QString::fromLocal8Bit(argv[3]);
    ScadaEngine *engine = nullptr;
    const double construct = timed([&] { engine = ScadaEngine::instance(); });
    double add = 0;
    int uid = -1;
    for (int i = 0; i < adds; ++i) {
        auto *object = new ScadaLibObject;
        object->name = QStringLiteral("Bench valve %1").arg(i);
        object->objectCategory = QStringLiteral("Valves");
        object->images << images + QStringLiteral("/valve_open.png")
                       << images + QStringLiteral("/valve_closed.png");
        object->isUserObject = true;
        closeModalBoxSoon();
        add += timed([&] { engine->addUserObject(object); });
        uid = object->objectUID;
    }
    std::printf("%.9f %.9f %d %d\n", construct, add, int(engine->getLibObjects()->size()), uid);
    return 0;
}

} // namespace Bench

TIRREL_BENCHMARK(Bench::libraryLoad, "library_load", TIRREL_BENCH_SIZES, benchmark::kMillisecond);
TIRREL_BENCHMARK(Bench::libraryLoadDom, "library_load_dom", TIRREL_BENCH_SIZES, benchmark::kMillisecond);
TIRREL_BENCHMARK(Bench::libraryAddObject, "library_add_object", TIRREL_BENCH_SIZES, benchmark::kMillisecond);
