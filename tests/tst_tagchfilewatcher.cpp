// The definition file watcher against real files on disk.
#include "defsDump.h"

#include <tagChFileWatcher.h>

#include <QFileSystemWatcher>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>

using namespace defs;

namespace {

QByteArray definitions(const QStringList &tagNames)
{
    QByteArray xml = "<CTDefinitions><ChannelList/><TagList>";
    for (const QString &name : tagNames)
        xml += "<Tag><Name>" + name.toUtf8() + "</Name></Tag>";
    return xml + "</TagList></CTDefinitions>";
}

// The tag names of a tree, or "(null)".
QString tagNames(const FileDataTree *tree)
{
    if (!tree)
        return QStringLiteral("(null)");
    QStringList names;
    for (const pEtiketDef_t *tag : tree->TagList)
        names << tag->Name;
    return names.join(',');
}

// Writes a new file beside path and renames it over path, the way many editors save.
bool replaceByRename(const QString &path, const QByteArray &bytes)
{
    const QString fresh = path + QStringLiteral(".new");
    return writeAll(fresh, bytes)
           && std::rename(QFile::encodeName(fresh).constData(), QFile::encodeName(path).constData()) == 0;
}

QStringList watchedFiles(TagChFileWatcher &watcher)
{
    auto *fsw = watcher.findChild<QFileSystemWatcher *>();
    return fsw ? fsw->files() : QStringList{QStringLiteral("(no file-system watcher)")};
}

// Records what tagChData() holds each time the watcher signals.
struct Listener
{
    QSignalSpy spy;
    QStringList seen;
    explicit Listener(TagChFileWatcher &watcher)
        : spy(&watcher, &TagChFileWatcher::tgchFileUpdated)
    {
        QObject::connect(&watcher, &TagChFileWatcher::tgchFileUpdated, &watcher,
                         [this, &watcher] { seen << tagNames(watcher.tagChData()); });
    }
};

} // namespace

class tst_TagChFileWatcher : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void loadsOnConstruction_data();
    void loadsOnConstruction();
    void rewrittenInPlace();
    void replacedByRename();
    void deletedAndRecreated();
    void setFileSwitches();

private:
    // Changes a file watched by a second watcher and waits for that one's signal: by then the
    // file system has delivered what it had for the first watcher too.
    void settle();

    QScopedPointer<QTemporaryDir> m_dir;
    QString m_path;
};

void tst_TagChFileWatcher::init()
{
    m_dir.reset(new QTemporaryDir);
    QVERIFY(m_dir->isValid());
    m_path = m_dir->filePath("defs.xml");
    QVERIFY(writeAll(m_path, definitions({"A", "B"})));
}

void tst_TagChFileWatcher::settle()
{
    const QString other = m_dir->filePath("settle.xml");
    QVERIFY(writeAll(other, definitions({})));
    TagChFileWatcher control(other);
    QSignalSpy spy(&control, &TagChFileWatcher::tgchFileUpdated);
    QVERIFY(writeAll(other, definitions({"settled"})));
    QVERIFY(spy.wait());
}

void tst_TagChFileWatcher::loadsOnConstruction_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("names");
    QTest::newRow("present") << "defs.xml" << "A,B";
    // A missing file gives no tree and is not watched.
    QTest::newRow("missing") << "missing.xml" << "(null)";
    // An empty path is handed to the system watcher and the reader all the same.
    QTest::newRow("empty path") << "" << "(null)";
}

void tst_TagChFileWatcher::loadsOnConstruction()
{
    QFETCH(QString, file);
    QFETCH(QString, names);
    const QString path = file.isEmpty() ? QString() : m_dir->filePath(file);
    if (path.isEmpty())
        QTest::ignoreMessage(QtWarningMsg, "QFileSystemWatcher::addPath: path is empty");
    TagChFileWatcher watcher(path);
    Listener listener(watcher);
    QCOMPARE(tagNames(watcher.tagChData()), names);
    QCOMPARE(watchedFiles(watcher), QFileInfo::exists(path) ? QStringList{path} : QStringList());
    QCoreApplication::processEvents();
    QCOMPARE(listener.spy.count(), 0);
}

void tst_TagChFileWatcher::rewrittenInPlace()
{
    TagChFileWatcher watcher(m_path);
    Listener listener(watcher);
    // The last write is malformed: it still replaces the tree, with one holding no tags.
    const QList<QPair<QByteArray, QString>> writes{
        {definitions({"C"}), "C"}, {definitions({"D"}), "D"}, {"<CTDefinitions><TagList><Tag>", ""}};
    for (const auto &[bytes, names] : writes) {
        QVERIFY(writeAll(m_path, bytes));
        QVERIFY(listener.spy.wait());
        // Every signal came with the new tree in place.
        QCOMPARE(listener.seen.last(), names);
        QCOMPARE(tagNames(watcher.tagChData()), names);
        QCOMPARE(watchedFiles(watcher), QStringList{m_path});
        listener.seen.clear();
    }
}

void tst_TagChFileWatcher::replacedByRename()
{
    TagChFileWatcher watcher(m_path);
    Listener listener(watcher);
    // Twice: the second replacement is only seen if the new file was watched after the first.
    for (const QString &name : QStringList{"R1", "R2"}) {
        QVERIFY(replaceByRename(m_path, definitions({name})));
        QVERIFY(listener.spy.wait());
        while (listener.seen.last() != name && listener.spy.wait()) {}
        QCOMPARE(tagNames(watcher.tagChData()), name);
        QCOMPARE(watchedFiles(watcher), QStringList{m_path});
    }
}

void tst_TagChFileWatcher::deletedAndRecreated()
{
    TagChFileWatcher watcher(m_path);
    Listener listener(watcher);
    QVERIFY(QFile::remove(m_path));
    QVERIFY(listener.spy.wait());
    QVERIFY(!watcher.tagChData());
    QCOMPARE(watchedFiles(watcher), QStringList());

    // The path is no longer watched: a file created there again goes unnoticed.
    QVERIFY(writeAll(m_path, definitions({"again"})));
    settle();
    QVERIFY(!watcher.tagChData());
    for (const QString &seen : qAsConst(listener.seen))
        QCOMPARE(seen, QString("(null)"));

    // Until the host points the watcher at it again.
    watcher.setFile(m_path);
    QCOMPARE(tagNames(watcher.tagChData()), QString("again"));
    QCOMPARE(watchedFiles(watcher), QStringList{m_path});
}

void tst_TagChFileWatcher::setFileSwitches()
{
    const QString second = m_dir->filePath("second.xml");
    QVERIFY(writeAll(second, definitions({"S"})));
    TagChFileWatcher watcher(m_path);
    Listener listener(watcher);
    watcher.setFile(second);
    QCOMPARE(listener.spy.count(), 0);
    QCOMPARE(tagNames(watcher.tagChData()), QString("S"));
    QCOMPARE(watchedFiles(watcher), QStringList{second});

    // A change to the first file no longer reloads anything; one to the second does.
    QVERIFY(writeAll(m_path, definitions({"first changed"})));
    QVERIFY(writeAll(second, definitions({"second changed"})));
    QVERIFY(listener.spy.wait());
    settle();
    for (const QString &seen : qAsConst(listener.seen))
        QCOMPARE(seen, QString("second changed"));
}

QTEST_GUILESS_MAIN(tst_TagChFileWatcher)
#include "tst_tagchfilewatcher.moc"
