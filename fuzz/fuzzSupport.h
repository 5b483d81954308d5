#pragma once
// Shared by the harnesses: a quiet Qt, a scratch file per process, the check that stops a run
// with a crash report when a property does not hold, and the comparison of the readers' two
// paths.
#include <xmlRead_p.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

namespace fuzz {

// The readers and writers talk on the debug output; thousands of runs a second would drown
// the fuzzer's own report.
inline void silenceQt()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
}

// A file of this process in the temporary folder, removed at exit. One per harness.
inline const QString &scratchFile(const char *name)
{
    static const QString path = QDir::tempPath()
            + QStringLiteral("/tirrel-fuzz-%1-%2").arg(getpid()).arg(QLatin1String(name));
    std::atexit([] { QFile::remove(path); });
    return path;
}

inline QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline bool writeAll(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate)
           && file.write(bytes) == bytes.size() && file.flush();
}

// Aborts, so that libFuzzer keeps the input as a crash, when a property fails.
[[noreturn]] inline void fail(const char *what, const QByteArray &a = {}, const QByteArray &b = {})
{
    std::fprintf(stderr, "property failed: %s\n", what);
    if (!a.isNull())
        std::fprintf(stderr, "--- first\n%s\n", a.constData());
    if (!b.isNull())
        std::fprintf(stderr, "--- second\n%s\n", b.constData());
    std::abort();
}

// Saved files hold only characters XML 1.0 allows: no control characters other than tab, line
// feed and carriage return, and no U+FFFE or U+FFFF (an unpaired surrogate cannot even be
// encoded, and would leave a broken file behind).
inline void checkXmlCharacters(const QByteArray &saved)
{
    for (int i = 0; i < saved.size(); ++i) {
        const uchar c = uchar(saved.at(i));
        if (c < 0x20 && c != '\t' && c != '\n' && c != '\r')
            fail("a saved file holds a control character", saved);
        if (c == 0xef && i + 2 < saved.size() && uchar(saved.at(i + 1)) == 0xbf
                && (uchar(saved.at(i + 2)) == 0xbe || uchar(saved.at(i + 2)) == 0xbf))
            fail("a saved file holds U+FFFE or U+FFFF", saved);
    }
}

// Reads the bytes with both of the library's paths (through its XML tree where the tree takes
// them, and through the DOM alone) and fails when the dumps of what they read differ; returns
// the first path's. read(bytes) gives the dump of what a reader makes of them.
template <class Read>
QStringList readWithBothPaths(const QByteArray &bytes, Read read)
{
    setDomReaderForced(false);
    const QStringList fromTree = read(bytes);
    setDomReaderForced(true);
    const QStringList fromDom = read(bytes);
    setDomReaderForced(false);
    if (fromTree != fromDom)
        fail("the reader gives another result through the XML tree than through the DOM",
             fromTree.join(QLatin1Char('\n')).toUtf8(), fromDom.join(QLatin1Char('\n')).toUtf8());
    return fromTree;
}

} // namespace fuzz
