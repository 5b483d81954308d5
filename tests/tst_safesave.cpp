// Saves that never lose a file: every writer against a real full disk (a file size limit in a
// child process, this program run with --child) and a folder that cannot take new files, and
// the definition watcher following files replaced by a save.
#include <scaFileProcessor.h>
#include <scadaEngine.h>
#include <tagChFileWatcher.h>
#include <tgchFileProcessor.h>

#include <QCoreApplication>
#include <QFileSystemWatcher>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

#include <grp.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// How a child's save ended.
enum ChildExit {
    Crashed = -1,       // the child did not end normally
    SaveFailed = 0,     // the writer returned false
    Saved = 1,          // the writer returned true
    SetupFailed = 2,    // the limit or the user could not be set
    CannotReach = 3,    // as the unprivileged user, the file is out of reach
};

// Every writer saves to the object library's file name, in a folder named as the user library
// folder under the child's HOME.
const char TargetName[] = "userlib.xml";

// Saves content large enough to span several writes with `writer` to path.
bool save(const QString &writer, const QString &path)
{
    if (writer == QLatin1String("page")) {
        QByteArray xml = "<ScadaFile><ItemList>";
        for (int i = 0; i < 500; ++i) {
            const QByteArray n = QByteArray::number(i);
            xml += "<Item><ItemType>ScadaObject</ItemType><Geometry X=\"" + n + "\" Y=\"2\""
                   " W=\"30\" H=\"40\"/><Properties Name=\"object " + n + "\" Uid=\"" + n
                   + "\" Type=\"1\" LayerId=\"1\"/></Item>";
        }
        xml += "</ItemList><PageProperties><pageName>big</pageName>"
               "<layerOrder>1,Base,1,-1,-1;</layerOrder></PageProperties></ScadaFile>";
        ScaFileData *page = ScaFileProcessor::loadFileData(xml, path);
        const bool saved = page && ScaFileProcessor::saveFileData(page, path);
        if (page)
            page->deleteAllItems();
        delete page;
        return saved;
    }
    if (writer == QLatin1String("definitions")) {
        QByteArray xml = "<CTDefinitions><ChannelList><Channel><Name>Line</Name><Id>1</Id>"
                         "</Channel></ChannelList><TagList>";
        for (int i = 0; i < 2000; ++i)
            xml += "<Tag><Name>tag " + QByteArray::number(i) + "</Name><Id>"
                   + QByteArray::number(i) + "</Id><KanalName>Line</KanalName></Tag>";
        xml += "</TagList><AlarmList><Alarm><Id>1</Id><subscribers>{1,2}</subscribers></Alarm>"
               "</AlarmList></CTDefinitions>";
        QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(xml));
        return TgchFileProcessor::writeToFile(tree.data(), path);
    }
    if (writer == QLatin1String("export")) {
        QStandardItemModel models[2];
        const int rows[2] = {10, 2000}, columns[2] = {22, 31};
        for (int m = 0; m < 2; ++m) {
            models[m].setRowCount(rows[m]);
            models[m].setColumnCount(columns[m]);
            for (int row = 0; row < rows[m]; ++row) {
                for (int column = 0; column < columns[m]; ++column)
                    models[m].setItem(row, column, new QStandardItem(
                            QStringLiteral("%1 %2.%3").arg(m).arg(row).arg(column)));
            }
        }
        return TgchFileProcessor::writeToFile(&models[0], &models[1], path);
    }
    // The user library: the engine writes <HOME>/Parvane/userlib.xml, which is path.
    QList<ScadaLibObject *> objects;
    for (int i = 0; i < 2000; ++i) {
        auto *object = new ScadaLibObject;
        object->name = QStringLiteral("object %1").arg(i);
        object->objectCategory = QStringLiteral("category %1").arg(i % 7);
        object->objectUID = i;
        object->images << QStringLiteral("images/a%1.png").arg(i);
        objects << object;
    }
    const bool saved = ScadaEngine::instance()->saveUserLibraryFile(objects);
    qDeleteAll(objects);
    return saved;
}

bool dropRootPrivileges()
{
    if (geteuid() != 0)
        return true;
    const passwd *nobody = getpwnam("nobody");
    const uid_t uid = nobody ? nobody->pw_uid : 65534;
    const gid_t gid = nobody ? nobody->pw_gid : 65534;
    return setgroups(0, nullptr) == 0 && setgid(gid) == 0 && setuid(uid) == 0 && geteuid() == uid;
}

// --child <writer> <folder> <file size limit, 0 for none> <drop root: 0 or 1>
int runChild(const QStringList &args)
{
    if (args.size() != 4)
        return SetupFailed;
    const QString path = args.at(1) + QLatin1Char('/') + QLatin1String(TargetName);
    if (args.at(3) == QLatin1String("1")) {
        if (!dropRootPrivileges())
            return SetupFailed;
        if (access(QFile::encodeName(path).constData(), W_OK) != 0)
            return CannotReach;
    }
    if (const rlim_t limit = args.at(2).toULongLong()) {
        // Writing past the limit then fails with EFBIG instead of killing the process.
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit fileSize = {limit, limit};
        if (setrlimit(RLIMIT_FSIZE, &fileSize) != 0)
            return SetupFailed;
    }
    return save(args.at(0), path) ? Saved : SaveFailed;
}

// ---- Test side -------------------------------------------------------------------------------

const QByteArray OldContent = QByteArray("the file as it was before the save\n").repeated(40);

int runSave(const QString &writer, const QString &folder, qint64 limit, bool dropRoot)
{
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), QFileInfo(folder).path());
    child.setProcessEnvironment(env);
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--child"), writer, folder, QString::number(limit),
                 QString::number(int(dropRoot))});
    const bool ended = child.waitForFinished(240000) && child.exitStatus() == QProcess::NormalExit;
    return ended ? child.exitCode() : int(Crashed);
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

// A folder named as the user library folder inside a temporary folder that other users may
// pass through, so that a child without root's privileges reaches it.
struct SaveFolder
{
    SaveFolder() { chmod(QFile::encodeName(base.path()).constData(), 0755); QDir().mkpath(path); }
    ~SaveFolder() { setWritable(true); }
    // Not writable: a folder nobody may add files to around a file everybody may write.
    void setWritable(bool writable)
    {
        chmod(QFile::encodeName(path).constData(), writable ? 0755 : 0555);
        if (!writable)
            chmod(QFile::encodeName(target).constData(), 0666);
    }
    QTemporaryDir base;
    const QString path = base.path() + QLatin1String("/Parvane");
    const QString target = path + QLatin1Char('/') + QLatin1String(TargetName);
};

} // namespace

class tst_SafeSave : public QObject
{
    Q_OBJECT

private slots:
    void failedSave_data();
    void failedSave();
    void watcherFollowsSafeSaves();
};

enum Limit { NoLimit, Midway, LastBytes };

void tst_SafeSave::failedSave_data()
{
    QTest::addColumn<QString>("writer");
    QTest::addColumn<int>("limit");
    QTest::addColumn<bool>("unwritable");
    for (const char *writer : {"page", "definitions", "export", "library"}) {
        const auto row = [writer](const char *name) -> QTestData & {
            return QTest::newRow(QByteArray(writer).append(name).constData())
                    << QString::fromLatin1(writer);
        };
        row(" disk full midway") << int(Midway) << false;
        // The disk fills up with the very last bytes, which sit in a buffer until the end.
        row(" disk full last bytes") << int(LastBytes) << false;
        row(" unwritable folder") << int(NoLimit) << true;
        row(" unwritable folder disk full") << int(Midway) << true;
    }
}

void tst_SafeSave::failedSave()
{
    QFETCH(QString, writer);
    QFETCH(int, limit);
    QFETCH(bool, unwritable);
    SaveFolder folder;
    QVERIFY(folder.base.isValid() && QFileInfo(folder.path).isDir());
    QCOMPARE(runSave(writer, folder.path, 0, false), int(Saved));
    const QByteArray reference = contents(folder.target);
    QVERIFY2(reference.size() > 256 * 1024, "the content is meant to span several writes");

    QFile old(folder.target);
    QVERIFY(old.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(old.write(OldContent), qint64(OldContent.size()));
    old.close();
    folder.setWritable(!unwritable);
    // Root passes any permission bits; the child then saves as the user nobody.
    const qint64 bytes = limit == NoLimit ? 0 : limit == Midway ? 64 * 1024 : reference.size() - 1;
    const int exit = runSave(writer, folder.path, bytes, unwritable && geteuid() == 0);
    folder.setWritable(true);
    if (exit == SetupFailed && unwritable)
        QSKIP("running as root, and root's privileges cannot be dropped to obey permission bits");
    if (exit == CannotReach)
        QSKIP("the user nobody cannot reach the temporary folder");

    // No file is left beside the target (the engine's images folder is not a file).
    QCOMPARE(QDir(folder.path).entryList(QDir::Files | QDir::Hidden | QDir::System),
             QStringList{QLatin1String(TargetName)});
    if (unwritable && limit == NoLimit) {
        QCOMPARE(exit, int(Saved));
        QCOMPARE(contents(folder.target), reference);
    } else {
        // Written in place into an unwritable folder, the file cannot stay as it was; it must
        // still be there, and the failure must be reported.
        QCOMPARE(exit, int(SaveFailed));
        if (!unwritable)
            QCOMPARE(contents(folder.target), OldContent);
    }
}

void tst_SafeSave::watcherFollowsSafeSaves()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("definitions.xml"));
    const auto saveTags = [&path](const QByteArray &names) {
        FileDataTree tree;
        for (const QByteArray &name : names.split(',')) {
            tree.TagList << new pEtiketDef_t;
            tree.TagList.last()->Name = QString::fromLatin1(name);
        }
        return TgchFileProcessor::writeToFile(&tree, path);
    };
    const auto tagNames = [](const FileDataTree *tree) {
        QStringList names;
        for (const pEtiketDef_t *tag : tree ? tree->TagList : QList<pEtiketDef_t *>())
            names << tag->Name;
        return names.join(QLatin1Char(','));
    };

    QVERIFY(saveTags("first"));
    TagChFileWatcher watcher(path, nullptr);
    QCOMPARE(tagNames(watcher.tagChData()), QStringLiteral("first"));
    QSignalSpy updated(&watcher, &TagChFileWatcher::tgchFileUpdated);

    // Every save puts a new file in place of the watched one; the watcher keeps following.
    for (const QByteArray &names : {QByteArray("second"), QByteArray("third,fourth"),
                                    QByteArray("fifth")}) {
        const int before = updated.count();
        QVERIFY(saveTags(names));
        QTRY_VERIFY(updated.count() > before);
        QTRY_COMPARE(tagNames(watcher.tagChData()), QString::fromLatin1(names));
        auto *fileWatcher = watcher.findChild<QFileSystemWatcher *>();
        QVERIFY(fileWatcher);
        QCOMPARE(fileWatcher->files(), QStringList{path});
    }
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc > 1 && qstrcmp(argv[1], "--child") == 0)
        return runChild(app.arguments().mid(2));
    tst_SafeSave test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_safesave.moc"
