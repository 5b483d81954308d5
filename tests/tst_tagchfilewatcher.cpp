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
    void metaObject();
    void loadsOnConstruction();
    void rewrittenInPlace();
    void replacedByRename();
    void savedByTheWriter();
    void deletedAndRecreated();
    void malformedAfterChange();
    void setFileSwitches();
    void setFileSamePath();
    void missingAtConstruction();

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

void tst_TagChFileWatcher::metaObject()
{
    const QMetaObject &mo = TagChFileWatcher::staticMetaObject;
    QCOMPARE(mo.className(), "TagChFileWatcher");
    QCOMPARE(mo.methodCount() - mo.methodOffset(), 2);
    QCOMPARE(mo.propertyCount() - mo.propertyOffset(), 0);
    const QMetaMethod signal = mo.method(mo.methodOffset());
    QCOMPARE(signal.methodSignature(), QByteArray("tgchFileUpdated()"));
    QCOMPARE(signal.methodType(), QMetaMethod::Signal);
    const QMetaMethod slot = mo.method(mo.methodOffset() + 1);
    QCOMPARE(slot.methodSignature(), QByteArray("onFileChanged(QString)"));
    QCOMPARE(slot.methodType(), QMetaMethod::Slot);
    QCOMPARE(slot.access(), QMetaMethod::Private);

    TagChFileWatcher child(m_path, this);
    QCOMPARE(child.parent(), this);
}

void tst_TagChFileWatcher::loadsOnConstruction()
{
    TagChFileWatcher watcher(m_path);
    Listener listener(watcher);
    FileDataTree *tree = watcher.tagChData();
    QVERIFY(tree);
    QCOMPARE(tree->ChannelList.size(), 1);
    QCOMPARE(tree->ChannelList.first()->Name, QString("None"));
    QCOMPARE(tagNames(tree), QString("A,B"));
    QCOMPARE(watchedFiles(watcher), QStringList{m_path});
    QCoreApplication::processEvents();
    QCOMPARE(listener.spy.count(), 0);
}

void tst_TagChFileWatcher::rewrittenInPlace()
{
    TagChFileWatcher watcher(m_path);
    Listener listener(watcher);
    for (const QString &name : QStringList{"C", "D"}) {
        QVERIFY(writeAll(m_path, definitions({name})));
        QVERIFY(listener.spy.wait());
        // Every signal came with the new tree in place.
        QCOMPARE(listener.seen.last(), name);
        QCOMPARE(tagNames(watcher.tagChData()), name);
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

void tst_TagChFileWatcher::savedByTheWriter()
{
    TagChFileWatcher watcher(m_path);
    Listener listener(watcher);
    FileDataTree tree;
    tree.TagList << new pEtiketDef_t << new pEtiketDef_t;
    tree.TagList.last()->Name = "Saved";
    QVERIFY(TgchFileProcessor::writeToFile(&tree, m_path));
    QVERIFY(listener.spy.wait());
    while (listener.seen.last() != "Tag,Saved" && listener.spy.wait()) {}
    QCOMPARE(tagNames(watcher.tagChData()), QString("Tag,Saved"));
    QCOMPARE(watchedFiles(watcher), QStringList{m_path});
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

void tst_TagChFileWatcher::malformedAfterChange()
{
    TagChFileWatcher watcher(m_path);
    Listener listener(watcher);
    QVERIFY(writeAll(m_path, "<CTDefinitions><TagList><Tag>"));
    QVERIFY(listener.spy.wait());
    QVERIFY(watcher.tagChData());
    QCOMPARE(watcher.tagChData()->ChannelList.size(), 1);
    QCOMPARE(tagNames(watcher.tagChData()), QString());
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

void tst_TagChFileWatcher::setFileSamePath()
{
    TagChFileWatcher watcher(m_path);
    Listener listener(watcher);
    QVERIFY(writeAll(m_path, definitions({"reloaded"})));
    watcher.setFile(m_path);    // before the change notification is delivered
    QCOMPARE(tagNames(watcher.tagChData()), QString("reloaded"));
    QCOMPARE(listener.spy.count(), 0);
    QCOMPARE(watchedFiles(watcher), QStringList{m_path});
}

void tst_TagChFileWatcher::missingAtConstruction()
{
    const QString missing = m_dir->filePath("missing.xml");
    TagChFileWatcher watcher(missing);
    Listener listener(watcher);
    QVERIFY(!watcher.tagChData());
    QCOMPARE(watchedFiles(watcher), QStringList());
    QVERIFY(writeAll(missing, definitions({"late"})));
    settle();
    QCOMPARE(listener.spy.count(), 0);
    watcher.setFile(missing);
    QCOMPARE(tagNames(watcher.tagChData()), QString("late"));
}

QTEST_GUILESS_MAIN(tst_TagChFileWatcher)
#include "tst_tagchfilewatcher.moc"
