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

QByteArray definitions(const QString &tagName)
{
    return "<CTDefinitions><TagList><Tag><Name>" + tagName.toUtf8() + "</Name></Tag></TagList></CTDefinitions>";
}

// The tag names of the watcher's tree, or "(null)", and the files its system watcher watches.
QString state(TagChFileWatcher &watcher)
{
    QStringList names;
    for (const pEtiketDef_t *tag : watcher.tagChData() ? watcher.tagChData()->TagList
                                                       : QList<pEtiketDef_t *>())
        names << tag->Name;
    auto *fsw = watcher.findChild<QFileSystemWatcher *>();
    return (watcher.tagChData() ? names.join(',') : QStringLiteral("(null)")) + " watching "
           + (fsw ? fsw->files().join(',') : QStringLiteral("(no watcher)"));
}

// Records the watcher's state each time it signals.
struct Listener
{
    QSignalSpy spy;
    QStringList seen;
    explicit Listener(TagChFileWatcher &watcher)
        : spy(&watcher, &TagChFileWatcher::tgchFileUpdated)
    {
        QObject::connect(&watcher, &TagChFileWatcher::tgchFileUpdated, &watcher,
                         [this, &watcher] { seen << state(watcher); });
    }
};

} // namespace

class tst_TagChFileWatcher : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void loadsOnConstruction();
    void rewritten();
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
    m_path = m_dir->filePath("defs.xml");
    QVERIFY(writeAll(m_path, definitions("A")));
}

void tst_TagChFileWatcher::settle()
{
    const QString other = m_dir->filePath("settle.xml");
    QVERIFY(writeAll(other, definitions("")));
    TagChFileWatcher control(other);
    QSignalSpy spy(&control, &TagChFileWatcher::tgchFileUpdated);
    QVERIFY(writeAll(other, definitions("settled")));
    QVERIFY(spy.wait());
}

void tst_TagChFileWatcher::loadsOnConstruction()
{
    // A missing file gives no tree and is not watched; an empty path is handed to the system
    // watcher and the reader all the same.
    QTest::ignoreMessage(QtWarningMsg, "QFileSystemWatcher::addPath: path is empty");
    for (const QString &path : {m_path, m_dir->filePath("missing.xml"), QString()}) {
        TagChFileWatcher watcher(path);
        Listener listener(watcher);
        QCOMPARE(state(watcher), path == m_path ? "A watching " + m_path : "(null) watching ");
        QCoreApplication::processEvents();
        QCOMPARE(listener.spy.count(), 0);
    }
}

void tst_TagChFileWatcher::rewritten()
{
    TagChFileWatcher watcher(m_path);
    Listener listener(watcher);
    // Written in place and replaced by a rename the way many editors save, twice: the second
    // replacement is only seen if the new file was watched after the first. The last write is
    // malformed: it still replaces the tree, with one holding no tags.
    const QList<QPair<QByteArray, QString>> writes{
        {definitions("C"), "C"}, {definitions("R1"), "R1"}, {definitions("R2"), "R2"},
        {"<CTDefinitions><TagList><Tag>", ""}};
    for (const auto &[bytes, names] : writes) {
        const QString fresh = names.startsWith('R') ? m_path + ".new" : m_path;
        QVERIFY(writeAll(fresh, bytes));
        QVERIFY(std::rename(QFile::encodeName(fresh), QFile::encodeName(m_path)) == 0);
        // Every signal comes with the new tree in place.
        QVERIFY(listener.spy.wait());
        while (!listener.seen.last().startsWith(names + " watching") && listener.spy.wait()) {}
        QCOMPARE(listener.seen.last(), names + " watching " + m_path);
    }
}

void tst_TagChFileWatcher::deletedAndRecreated()
{
    TagChFileWatcher watcher(m_path);
    Listener listener(watcher);
    QVERIFY(QFile::remove(m_path));
    QVERIFY(listener.spy.wait());
    // The path is no longer watched: a file created there again goes unnoticed.
    QVERIFY(writeAll(m_path, definitions("again")));
    settle();
    QCOMPARE(QSet<QString>(listener.seen.begin(), listener.seen.end()), {"(null) watching "});
    QCOMPARE(state(watcher), QString("(null) watching "));

    // Until the host points the watcher at it again.
    watcher.setFile(m_path);
    QCOMPARE(state(watcher), "again watching " + m_path);
}

void tst_TagChFileWatcher::setFileSwitches()
{
    const QString second = m_dir->filePath("second.xml");
    QVERIFY(writeAll(second, definitions("S")));
    TagChFileWatcher watcher(m_path);
    Listener listener(watcher);
    watcher.setFile(second);
    QCOMPARE(listener.spy.count(), 0);
    QCOMPARE(state(watcher), "S watching " + second);

    // A change to the first file no longer reloads anything; one to the second does.
    QVERIFY(writeAll(m_path, definitions("first changed")));
    QVERIFY(writeAll(second, definitions("second changed")));
    QVERIFY(listener.spy.wait());
    settle();
    QCOMPARE(QSet<QString>(listener.seen.begin(), listener.seen.end()),
             {"second changed watching " + second});
}

QTEST_GUILESS_MAIN(tst_TagChFileWatcher)
#include "tst_tagchfilewatcher.moc"
