// Saves that never lose a file: every writer (this program run with --child saves) against a
// folder that cannot take new files, a read-only file, a full disk (a small tmpfs where one can
// be mounted, else a file size limit), a size limit at the last byte and a writer killed
// midway.
#include "defsDump.h"
#include "pageDump.h"
#include "serviceTestSupport.h"
#include "tirrelGen.h"

#include <fileAccess.h>
#include <scaFileProcessor.h>
#include <scadaEngine.h>
#include <scadaEngine_p.h>
#include <tgchFileProcessor.h>

#include <QRegularExpression>
#include <QStandardItemModel>
#include <QTemporaryDir>

#include <csignal>

#include <grp.h>
#include <pwd.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

// How a child's save ended: not normally (killed by the size limit's signal), the writer
// returned false or true, the limit or the user could not be set, or as the unprivileged user
// the folder is out of reach.
enum ChildExit { Crashed = -1, SaveFailed, Saved, SetupFailed, CannotReach };

// The writers save to the user library file <HOME>/Parvane/userlib.xml, the image copy to the
// user image folder; both come from the engine's own paths.
QString targetOf(const QString &writer, const QString &home)
{
    return writer == QLatin1String("image") ? home + QLatin1String("/Parvane/images/source.png")
                                            : home + QLatin1String("/Parvane/userlib.xml");
}

// Saves content large enough to span several writes with `writer` to path.
bool save(const QString &writer, const QString &path)
{
    const TirrelGen::DefinitionData definitions = TirrelGen::definitionData(2000, 7);
    if (writer == QLatin1String("page")) {
        const std::unique_ptr<ScaFileData, void (*)(ScaFileData *)> page(
                ScaFileProcessor::loadFileData(TirrelGen::page({}).bytes, path), pagedump::deletePage);
        return ScaFileProcessor::saveFileData(page.get(), path);
    }
    const QScopedPointer<FileDataTree> tree(
            TgchFileProcessor::loadFileData(TirrelGen::definitionFile(definitions).bytes));
    if (writer == QLatin1String("definitions"))
        return TgchFileProcessor::writeToFile(tree.data(), path);
    if (writer == QLatin1String("export")) {
        QStandardItemModel models[2];
        const QVector<QStringList> rows[2] = {TirrelGen::channelModelRows(definitions),
                                              TirrelGen::tagModelRows(definitions)};
        for (int m = 0; m < 2; ++m) {
            for (int row = 0; row < rows[m].size(); ++row) {
                for (int column = 0; column < rows[m][row].size(); ++column)
                    models[m].setItem(row, column, new QStandardItem(rows[m][row][column]));
            }
        }
        return TgchFileProcessor::writeToFile(&models[0], &models[1], path);
    }
    if (writer == QLatin1String("image")) {
        // The image source lives beside the home folder; the copy's outcome shows in the file.
        const QString source = QFileInfo(path).absolutePath() + QLatin1String("/../../source.png");
        auto *object = new ScadaLibObject;
        object->images << source;
        BoxCloser closer;
        ScadaEngine::instance()->addUserObject(object);
        QFile in(source), out(path);
        return in.open(QIODevice::ReadOnly) && out.open(QIODevice::ReadOnly)
               && in.readAll() == out.readAll();
    }
    QList<ScadaLibObject *> objects;
    readObjectLibrary(TirrelGen::objectLibrary(2000, 7, 0, true).bytes, true, &objects);
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

// --child <writer> <size limit, 0 for none> <killed at the limit: 0 or 1> <drop root: 0 or 1>
// Prints why a failed save failed.
int runChild(const QStringList &args)
{
    if (args.size() != 4)
        return SetupFailed;
    const QString path = targetOf(args.at(0), QDir::homePath());
    if (args.at(3) == QLatin1String("1")) {
        if (!dropRootPrivileges())
            return SetupFailed;
        if (access(QFile::encodeName(QFileInfo(path).path()).constData(), X_OK) != 0)
            return CannotReach;
    }
    if (const rlim_t limit = args.at(1).toULongLong()) {
        // Ignored, writing past the limit fails with EFBIG; else the signal kills the writer.
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_CORE, &none);
        std::signal(SIGXFSZ, args.at(2) == QLatin1String("1") ? SIG_DFL : SIG_IGN);
        const rlimit fileSize = {limit, limit};
        if (setrlimit(RLIMIT_FSIZE, &fileSize) != 0)
            return SetupFailed;
    }
    // Saved by its bare name from within its folder, so that the page's "fileName" and with it
    // the content are the same in every home folder.
    QDir::setCurrent(QFileInfo(path).path());
    const bool saved = save(args.at(0), QFileInfo(path).fileName());
    QTextStream(stdout) << FileAccess::lastSaveError();
    return saved ? Saved : SaveFailed;
}

// ---- Test side -------------------------------------------------------------------------------

const QByteArray OldContent = QByteArray("the file as it was before the save\n").repeated(40);

// How the child's save ended and why it failed, in words.
QPair<int, QString> runSave(const QString &writer, const QString &home, qint64 limit, bool killed,
                            bool dropRoot)
{
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), home);
    // A child that runs as the user nobody may not read LeakSanitizer's suppressions file in a
    // private checkout (and then fails at exit): it reads a copy in its home folder.
    static const QRegularExpression suppressions(QStringLiteral("suppressions=([^:]+)"));
    QString lsan = env.value(QStringLiteral("LSAN_OPTIONS"));
    const QRegularExpressionMatch file = suppressions.match(lsan);
    if (dropRoot && file.hasMatch()) {
        const QString copy = home + QLatin1String("/lsan.supp");
        QFile::copy(file.captured(1), copy);
        QFile::setPermissions(copy, QFile::permissions(copy) | QFileDevice::ReadOther);
        env.insert(QStringLiteral("LSAN_OPTIONS"),
                   lsan.replace(file.capturedStart(1), file.capturedLength(1), copy));
    }
    child.setProcessEnvironment(env);
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--child"), writer, QString::number(limit),
                 QString::number(int(killed)), QString::number(int(dropRoot))});
    const bool ended = child.waitForFinished(240000) && child.exitStatus() == QProcess::NormalExit;
    return {ended ? child.exitCode() : int(Crashed), QString::fromUtf8(child.readAllStandardOutput())};
}

void setMode(const QString &path, mode_t mode)
{
    chmod(QFile::encodeName(path).constData(), mode);
}

// Gives the paths to the user nobody, for a child that runs as that user.
void giveToNobody(const QStringList &paths)
{
    if (const passwd *nobody = getpwnam("nobody")) {
        for (const QString &path : paths)
            (void)chown(QFile::encodeName(path).constData(), nobody->pw_uid, nobody->pw_gid);
    }
}

// A home folder that other users may pass through, so that a child without root's privileges
// reaches it; on a small tmpfs of its own where asked and allowed.
struct Home
{
    explicit Home(bool ownFileSystem)
    {
        mounted = ownFileSystem && geteuid() == 0
                  && mount("tirrel-test", QFile::encodeName(base.path()).constData(), "tmpfs", 0,
                           "size=8m") == 0;
        setMode(base.path(), 0755);
        QDir().mkpath(base.path() + QLatin1String("/Parvane/images"));
        QFile source(base.filePath(QStringLiteral("source.png")));
        sourceWritten = source.open(QIODevice::WriteOnly)
                && source.write(QByteArray("\x89PNG image bytes ").repeated(20000)) > 0;
    }
    ~Home()
    {
        if (mounted)
            umount2(QFile::encodeName(base.path()).constData(), MNT_DETACH);
    }
    // Leaves about `bytes` free on the tmpfs.
    bool fill(qint64 bytes)
    {
        struct statvfs fs;
        if (statvfs(QFile::encodeName(base.path()).constData(), &fs) != 0)
            return false;
        QFile filler(base.path() + QLatin1String("/filler"));
        const qint64 size = qint64(fs.f_bavail) * qint64(fs.f_frsize) - bytes;
        return filler.open(QIODevice::WriteOnly)
               && filler.write(QByteArray(int(size), 'x')) == size && filler.flush();
    }
    QTemporaryDir base;
    bool mounted = false;
    bool sourceWritten = false;
};

} // namespace

class tst_SafeSave : public QObject
{
    Q_OBJECT

private slots:
    void save_data();
    void save();
    void failedWriterLeavesFile();
};

enum Condition { UnwritableFolder, UnwritableFolderSameContent, ReadOnlyFile, DiskFull, LastByte,
                 Killed, KeepsModeAndOwner };

void tst_SafeSave::save_data()
{
    QTest::addColumn<QString>("writer");
    QTest::addColumn<int>("condition");
    for (const char *writer : {"page", "definitions", "export", "library", "image"}) {
        // The size limit at the last byte: that byte sits in a buffer until the end.
        const char *names[] = {"unwritable folder", "unwritable folder, same content",
                               "read-only file", "disk full", "size limit at the last byte",
                               "killed midway", "keeps mode and owner"};
        for (int condition = UnwritableFolder; condition <= KeepsModeAndOwner; ++condition)
            QTest::addRow("%s %s", writer, names[condition]) << QString::fromLatin1(writer) << condition;
    }
}

void tst_SafeSave::save()
{
    QFETCH(QString, writer);
    QFETCH(int, condition);
    Home home(condition == DiskFull);
    QVERIFY(home.base.isValid() && home.sourceWritten);
    const QString target = targetOf(writer, home.base.path());
    const QString folder = QFileInfo(target).path();
    const bool image = writer == QLatin1String("image");
    // What each writer saves, the same in every home folder: made once.
    static QHash<QString, QByteArray> references;
    if (!references.contains(writer)) {
        Home scratch(false);
        QCOMPARE(runSave(writer, scratch.base.path(), 0, false, false).first, int(Saved));
        references.insert(writer, defs::readAll(targetOf(writer, scratch.base.path())));
    }
    const QByteArray reference = references.value(writer);
    QVERIFY2(reference.size() > 256 * 1024, "the content is meant to span several writes");

    const bool sameContent = condition == UnwritableFolderSameContent;
    const bool unwritableFolder = condition == UnwritableFolder || sameContent;
    QVERIFY(defs::writeAll(target, sameContent ? reference : OldContent));
    // Root passes any permission bits: such a child saves as the user nobody.
    const bool asNobody = geteuid() == 0 && (unwritableFolder || condition == ReadOnlyFile);
    if (asNobody)
        giveToNobody({folder, target});
    if (unwritableFolder)
        setMode(folder, 0555);
    setMode(target, condition == ReadOnlyFile ? 0444 : condition == KeepsModeAndOwner ? 0640 : 0666);
    if (condition == KeepsModeAndOwner && geteuid() == 0)
        giveToNobody({target});
    if (home.mounted)
        QVERIFY(home.fill(64 * 1024));
    struct stat before, after;
    QCOMPARE(stat(QFile::encodeName(target).constData(), &before), 0);
    const bool midway = condition == Killed || (condition == DiskFull && !home.mounted);
    const qint64 limit = condition == LastByte ? reference.size() - 1 : midway ? 64 * 1024 : 0;
    const auto run = runSave(writer, home.base.path(), limit, condition == Killed, asNobody);
    setMode(folder, 0755);
    if (run.first == SetupFailed && asNobody)
        QSKIP("running as root, and root's privileges cannot be dropped to obey permission bits");
    if (run.first == CannotReach)
        QSKIP("the user nobody cannot reach the temporary folder");

    QCOMPARE(stat(QFile::encodeName(target).constData(), &after), 0);
    if (condition == KeepsModeAndOwner || sameContent || (condition == ReadOnlyFile && image)) {
        QCOMPARE(run.first, int(Saved));
        QVERIFY(defs::readAll(target) == reference);
        QCOMPARE(after.st_ino == before.st_ino, sameContent);
        if (sameContent)
            QCOMPARE(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
        // An image copy takes the source's permissions, as a plain copy does.
        struct stat expected = before;
        if (image && !sameContent)
            QCOMPARE(stat(QFile::encodeName(home.base.filePath("source.png")), &expected), 0);
        QCOMPARE(after.st_mode & 07777, expected.st_mode & 07777);
        QVERIFY(image || (after.st_uid == before.st_uid && after.st_gid == before.st_gid));
    } else {
        QCOMPARE(run.first, condition == Killed ? int(Crashed) : int(SaveFailed));
        QVERIFY(defs::readAll(target) == OldContent);
        QCOMPARE(after.st_ino, before.st_ino);
        // Why it failed, in words (the image copy has no result of its own to tell it by).
        const char *reason = condition == UnwritableFolder ? "is not writable"
                             : condition == ReadOnlyFile ? "cannot be written (Permission denied)"
                             : condition == DiskFull && home.mounted ? "the disk is full"
                             : condition == Killed ? "" : "the file size limit";
        QVERIFY2(image || run.second.contains(QLatin1String(reason)), qPrintable(run.second));
    }
    // No file is left beside the target but by a writer that was killed.
    QStringList beside = QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System);
    beside.removeOne(QFileInfo(target).fileName());
    QVERIFY(condition == Killed || beside.isEmpty());
}

// A writer that gives up after writing part of the content leaves the old file as it was.
void tst_SafeSave::failedWriterLeavesFile()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("page.xml"));
    QVERIFY(defs::writeAll(path, OldContent));
    QVERIFY(!FileAccess::saveFile(path, [](QIODevice &device) {
        return device.write(QByteArray(300 * 1024, 'x')) > 0 && false;
    }));
    QCOMPARE(FileAccess::lastSaveOutcome(), FileAccess::Failed);
    QVERIFY(!FileAccess::lastSaveError().isEmpty());
    QCOMPARE(defs::readAll(path), OldContent);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList{"page.xml"});
}

int main(int argc, char **argv)
{
    if (argc > 2 && qstrcmp(argv[1], "--child") == 0) {
        // The image copy runs within addUserObject, whose confirmation is a message box.
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        QScopedPointer<QCoreApplication> app(qstrcmp(argv[2], "image") == 0
                                                 ? new QApplication(argc, argv)
                                                 : new QCoreApplication(argc, argv));
        return runChild(app->arguments().mid(2));
    }
    QCoreApplication app(argc, argv);
    tst_SafeSave test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_safesave.moc"
