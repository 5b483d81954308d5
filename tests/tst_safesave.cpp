// Saves that never lose a file: every writer against a real full disk (a file size limit in a
// child process), a folder that cannot take new files, and the definition watcher following
// files replaced by a save.
//
// Each save runs in a child process (this program run with --child), which may lower its file
// size limit or drop root's privileges first without touching the test process.
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
#include <unistd.h>

namespace {

// How a child's save ended.
enum ChildExit {
    SaveFailed = 0,     // the writer returned false
    Saved = 1,          // the writer returned true
    SetupFailed = 2,    // the limit or the user could not be set
    CannotReach = 3,    // as the unprivileged user, the file is out of reach
};

// Every writer saves to this file name, the one the object library's writer uses; its folder
// is named as the user library folder under the child's HOME.
const char TargetName[] = "userlib.xml";
const char FolderName[] = "Parvane";

// ---- Content, large enough to span several writes -------------------------------------------

ScaFileData *bigPage(const QString &path)
{
    QByteArray xml = "<ScadaFile><ItemList>";
    for (int i = 0; i < 500; ++i) {
        const QByteArray n = QByteArray::number(i);
        xml += "<Item><ItemType>ScadaObject</ItemType><Geometry X=\"" + n + "\" Y=\"2\" W=\"30\""
               " H=\"40\"/><Properties Name=\"object " + n + "\" Uid=\"" + n + "\" Type=\"1\""
               " LayerId=\"1\"/></Item>";
    }
    xml += "</ItemList><PageProperties><pageName>big</pageName>"
           "<layerOrder>1,Base,1,-1,-1;</layerOrder></PageProperties></ScadaFile>";
    return ScaFileProcessor::loadFileData(xml, path);
}

FileDataTree *bigTree()
{
    QByteArray xml = "<CTDefinitions><ChannelList><Channel><Name>Line</Name><Id>1</Id></Channel>"
                     "</ChannelList><TagList>";
    for (int i = 0; i < 2000; ++i)
        xml += "<Tag><Name>tag " + QByteArray::number(i) + "</Name><Id>" + QByteArray::number(i)
               + "</Id><KanalName>Line</KanalName></Tag>";
    xml += "</TagList><AlarmList><Alarm><Id>1</Id><subscribers>{1,2}</subscribers></Alarm>"
           "</AlarmList></CTDefinitions>";
    return TgchFileProcessor::loadFileData(xml);
}

void fillModel(QStandardItemModel &model, int rows, int columns, const QString &prefix)
{
    model.setRowCount(rows);
    model.setColumnCount(columns);
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column)
            model.setItem(row, column, new QStandardItem(QStringLiteral("%1 %2.%3")
                                                         .arg(prefix).arg(row).arg(column)));
    }
}

bool save(const QString &writer, const QString &path)
{
    if (writer == QLatin1String("page")) {
        ScaFileData *page = bigPage(path);
        const bool saved = page && ScaFileProcessor::saveFileData(page, path);
        if (page)
            page->deleteAllItems();
        delete page;
        return saved;
    }
    if (writer == QLatin1String("definitions")) {
        QScopedPointer<FileDataTree> tree(bigTree());
        return TgchFileProcessor::writeToFile(tree.data(), path);
    }
    if (writer == QLatin1String("export")) {
        QStandardItemModel channels;
        QStandardItemModel tags;
        fillModel(channels, 10, 22, QStringLiteral("channel"));
        fillModel(tags, 2000, 31, QStringLiteral("tag"));
        return TgchFileProcessor::writeToFile(&channels, &tags, path);
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

struct ChildResult
{
    int exit = -1;
    QString problem;    // set when the child did not end normally
};

ChildResult runSave(const QString &writer, const QString &folder, qint64 limit, bool dropRoot)
{
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), QFileInfo(folder).path());
    child.setProcessEnvironment(env);
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--child"), writer, folder, QString::number(limit),
                 dropRoot ? QStringLiteral("1") : QStringLiteral("0")});
    ChildResult result;
    if (!child.waitForFinished(240000) || child.exitStatus() != QProcess::NormalExit)
        result.problem = QStringLiteral("the child did not end normally: ") + child.errorString();
    else
        result.exit = child.exitCode();
    return result;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

bool writeContents(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate)
           && file.write(bytes) == bytes.size()
           && file.flush();
}

// The files of a folder (no subfolders: the engine makes its images folder there).
QStringList filesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
}

// A folder named as the user library folder inside a temporary folder that other users may
// pass through, so that a child without root's privileges reaches it.
class SaveFolder
{
public:
    SaveFolder()
        : m_path(m_base.path() + QLatin1Char('/') + QLatin1String(FolderName))
    {
        QFile::setPermissions(m_base.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner
                              | QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther
                              | QFile::ExeOther);
        QDir().mkpath(m_path);
    }
    ~SaveFolder() { setWritable(true); }

    QString path() const { return m_path; }
    QString target() const { return m_path + QLatin1Char('/') + QLatin1String(TargetName); }
    bool isValid() const { return m_base.isValid() && QFileInfo(m_path).isDir(); }

    // A folder nobody may add files to (0555) around a file everybody may write (0666).
    void setWritable(bool writable)
    {
        const QFile::Permissions readAndPass = QFile::ReadOwner | QFile::ExeOwner | QFile::ReadGroup
                | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
        QFile::setPermissions(m_path, writable ? readAndPass | QFile::WriteOwner : readAndPass);
        if (!writable)
            QFile::setPermissions(target(), QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup
                                  | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther);
    }

private:
    QTemporaryDir m_base;
    QString m_path;
};

} // namespace

class tst_SafeSave : public QObject
{
    Q_OBJECT

private slots:
    void fullDisk_data();
    void fullDisk();
    void unwritableFolder_data();
    void unwritableFolder();
    void watcherFollowsSafeSaves();

private:
    // The bytes a save of `writer` writes into `folder`, saved without any limit.
    QByteArray referenceSave(const QString &writer, SaveFolder &folder);
};

QByteArray tst_SafeSave::referenceSave(const QString &writer, SaveFolder &folder)
{
    const ChildResult result = runSave(writer, folder.path(), 0, false);
    if (!result.problem.isEmpty() || result.exit != Saved)
        return QByteArray();
    return contents(folder.target());
}

void tst_SafeSave::fullDisk_data()
{
    QTest::addColumn<QString>("writer");
    QTest::addColumn<bool>("lastBytesOnly");
    for (const char *writer : {"page", "definitions", "export", "library"}) {
        QTest::newRow(QByteArray(writer).append(" midway").constData())
                << QString::fromLatin1(writer) << false;
        // The disk fills up with the very last bytes, which sit in a buffer until the end.
        QTest::newRow(QByteArray(writer).append(" last bytes").constData())
                << QString::fromLatin1(writer) << true;
    }
}

void tst_SafeSave::fullDisk()
{
    QFETCH(QString, writer);
    QFETCH(bool, lastBytesOnly);
    SaveFolder folder;
    QVERIFY(folder.isValid());
    const QByteArray reference = referenceSave(writer, folder);
    QVERIFY2(reference.size() > 256 * 1024, "the content is meant to span several writes");

    QVERIFY(writeContents(folder.target(), OldContent));
    const qint64 limit = lastBytesOnly ? reference.size() - 1 : 64 * 1024;
    const ChildResult result = runSave(writer, folder.path(), limit, false);
    QVERIFY2(result.problem.isEmpty(), qPrintable(result.problem));
    QVERIFY(result.exit != SetupFailed);
    QCOMPARE(result.exit, int(SaveFailed));
    QCOMPARE(contents(folder.target()), OldContent);
    QCOMPARE(filesIn(folder.path()), QStringList{QLatin1String(TargetName)});
}

void tst_SafeSave::unwritableFolder_data()
{
    QTest::addColumn<QString>("writer");
    QTest::addColumn<bool>("diskFull");
    for (const char *writer : {"page", "definitions", "export", "library"}) {
        QTest::newRow(writer) << QString::fromLatin1(writer) << false;
        QTest::newRow(QByteArray(writer).append(" disk full").constData())
                << QString::fromLatin1(writer) << true;
    }
}

void tst_SafeSave::unwritableFolder()
{
    QFETCH(QString, writer);
    QFETCH(bool, diskFull);
    SaveFolder folder;
    QVERIFY(folder.isValid());
    const QByteArray reference = referenceSave(writer, folder);
    QVERIFY(!reference.isEmpty());

    // Root passes any permission bits; the child then saves as the user nobody.
    const bool asRoot = geteuid() == 0;
    QVERIFY(writeContents(folder.target(), OldContent));
    folder.setWritable(false);
    const ChildResult result = runSave(writer, folder.path(), diskFull ? 64 * 1024 : 0, asRoot);
    folder.setWritable(true);
    QVERIFY2(result.problem.isEmpty(), qPrintable(result.problem));
    if (result.exit == SetupFailed)
        QSKIP("running as root, and root's privileges cannot be dropped to obey permission bits");
    if (result.exit == CannotReach)
        QSKIP("the user nobody cannot reach the temporary folder");

    QCOMPARE(filesIn(folder.path()), QStringList{QLatin1String(TargetName)});
    if (diskFull) {
        // Written in place, the file cannot stay as it was; it must still be there, and the
        // failure must be reported.
        QCOMPARE(result.exit, int(SaveFailed));
    } else {
        QCOMPARE(result.exit, int(Saved));
        QCOMPARE(contents(folder.target()), reference);
    }
}

void tst_SafeSave::watcherFollowsSafeSaves()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("definitions.xml"));
    const auto saveTags = [&path](const QByteArray &names) {
        QByteArray xml = "<CTDefinitions><TagList>";
        for (const QByteArray &name : names.split(','))
            xml += "<Tag><Name>" + name + "</Name></Tag>";
        xml += "</TagList></CTDefinitions>";
        QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(xml));
        return TgchFileProcessor::writeToFile(tree.data(), path);
    };
    const auto tagNames = [](const FileDataTree *tree) {
        QStringList names;
        if (tree) {
            for (const pEtiketDef_t *tag : tree->TagList)
                names << tag->Name;
        }
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
