// The object library reader on arbitrary bytes, through both of its paths (the XML tree and
// the DOM alone), which must give the same records or both refuse the file. The records it reads
// are saved as the user library file and read again: from the second save on, saving what was
// read back must give the bytes of the save before.
#include "fuzzSupport.h"
#include "pageDump.h"

#include <scadaEngine.h>
#include <scadaEngine_p.h>

#include <QCoreApplication>

#include <cstdlib>

namespace {

QList<ScadaLibObject *> read(const QByteArray &bytes, bool isUserLibrary)
{
    QList<ScadaLibObject *> objects;
    if (!readObjectLibrary(bytes, isUserLibrary, &objects) && !objects.isEmpty())
        fuzz::fail("a refused file gave records", bytes);
    return objects;
}

// Saves the records as the user library file, deletes them and returns the bytes written.
QByteArray saveAndDestroy(QList<ScadaLibObject *> objects)
{
    ScadaEngine *engine = ScadaEngine::instance();
    const bool saved = engine->saveUserLibraryFile(objects);
    qDeleteAll(objects);
    if (!saved)
        fuzz::fail("saving the user library failed");
    const QString path = engine->getUserLibPath() + QStringLiteral("userlib.xml");
    const QByteArray bytes = fuzz::readAll(path);
    fuzz::checkXmlCharacters(bytes);
    return bytes;
}

QList<ScadaLibObject *> readSaved(const QByteArray &bytes)
{
    QList<ScadaLibObject *> objects;
    if (!readObjectLibrary(bytes, true, &objects))
        fuzz::fail("a saved user library does not read", bytes);
    return objects;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    fuzz::silenceQt();
    // The engine keeps its user library in the home folder: a folder of this run's own.
    static QByteArray home = QDir::tempPath().toLocal8Bit() + "/tirrel-fuzz-home-XXXXXX";
    if (!mkdtemp(home.data()))
        return 1;
    qputenv("HOME", home);
    std::atexit([] { QDir(QString::fromLocal8Bit(home)).removeRecursively(); });
    static QCoreApplication app(*argc, *argv);
    ScadaEngine::instance();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    const bool isUserLibrary = size > 0 && (data[size - 1] & 1);
    fuzz::readWithBothPaths(bytes, [isUserLibrary](const QByteArray &b) {
        QList<ScadaLibObject *> objects;
        const bool read = readObjectLibrary(b, isUserLibrary, &objects);
        const QStringList dump = QStringList(QStringLiteral("read=%1").arg(read))
                + pagedump::dumpList(QStringLiteral("objects"), objects);
        qDeleteAll(objects);
        return dump;
    });
    const QList<ScadaLibObject *> objects = read(bytes, isUserLibrary);
    for (const ScadaLibObject *object : objects) {
        if (object->isUserObject != isUserLibrary)
            fuzz::fail("a record of the wrong library", bytes);
    }
    const QByteArray save1 = saveAndDestroy(objects);
    const QByteArray save2 = saveAndDestroy(readSaved(save1));
    const QByteArray save3 = saveAndDestroy(readSaved(save2));
    if (save2 != save3)
        fuzz::fail("saving a user library read back changed the bytes", save2, save3);
    return 0;
}
