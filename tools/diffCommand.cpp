// tirrel diff: what changed between two pages, two definition files or two project folders.
#include "cliSupport.h"
#include "recordDiff.h"

#include <fileAccess.h>
#include <pageRenderer.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QImage>
#include <QJsonArray>
#include <QJsonObject>
#include <QSet>
#include <QPainter>

#include <algorithm>
#include <cerrno>
#include <cmath>

#include <dirent.h>
#include <sys/stat.h>

using namespace cli;
using namespace recorddiff;

namespace {

const QString DiffCommand = QStringLiteral("diff");

// The picture: changed items outlined in orange, added ones in green, removed ones drawn faintly
// at their old place inside a dashed red outline.
const QColor ChangedColor(0xff, 0x8c, 0x00);
const QColor AddedColor(0x00, 0xa0, 0x00);
const QColor RemovedColor(0xe0, 0x00, 0x00);
constexpr qreal OutlineWidth = 3;
constexpr qreal GhostOpacity = 0.3;

// Texts longer than this are shown in part.
constexpr int MaxShownText = 60;

bool comparable(ProjectFileInfo_t::Kind kind)
{
    return kind == ProjectFileInfo_t::PageFile || kind == ProjectFileInfo_t::DefinitionFile;
}

// ---- Describing changes ------------------------------------------------------------------------

QString recordLabel(const RecordChange &c)
{
    switch (c.section) {
    case RecordChange::PageProperties:
        return QStringLiteral("page properties");
    case RecordChange::Layer:
        return QStringLiteral("layer %1 \"%2\"").arg(c.id.toULongLong()).arg(c.name);
    case RecordChange::Item:
        return describeItem(c.itemType, c.index, c.name, c.id.isValid() ? c.id.toInt() : -1);
    case RecordChange::Channel:
        return QStringLiteral("channel %1 \"%2\"").arg(c.id.toInt()).arg(c.name);
    case RecordChange::Tag:
        return QStringLiteral("tag %1 \"%2\"").arg(c.id.toInt()).arg(c.name);
    case RecordChange::Alarm:
        return QStringLiteral("alarm \"%1\" (id %2)").arg(c.name, QString::number(c.id.toInt()));
    }
    return QString();
}

QString sectionName(RecordChange::Section section)
{
    switch (section) {
    case RecordChange::PageProperties: return QStringLiteral("pageProperties");
    case RecordChange::Layer: return QStringLiteral("layer");
    case RecordChange::Item: return QStringLiteral("item");
    case RecordChange::Channel: return QStringLiteral("channel");
    case RecordChange::Tag: return QStringLiteral("tag");
    case RecordChange::Alarm: return QStringLiteral("alarm");
    }
    return QString();
}

QString changeName(RecordChange::Change change)
{
    return change == RecordChange::Added     ? QStringLiteral("added")
           : change == RecordChange::Removed ? QStringLiteral("removed")
                                             : QStringLiteral("changed");
}

QChar changeSign(RecordChange::Change change)
{
    return change == RecordChange::Added     ? QLatin1Char('+')
           : change == RecordChange::Removed ? QLatin1Char('-')
                                             : QLatin1Char('~');
}

// A text as the text output shows it: whole when short, else MaxShownText characters of it from
// `from` on, in quotes, with "..." where it goes on and its whole length after it.
QString textPart(const QString &text, int from)
{
    if (text.size() <= MaxShownText)
        return valueText(text);
    from = qBound(0, from, text.size() - MaxShownText);
    QString shown = valueText(text.mid(from, MaxShownText));
    if (from > 0)
        shown.prepend(QLatin1String("..."));
    if (from + MaxShownText < text.size())
        shown += QLatin1String("...");
    return shown + QStringLiteral(" (%1 characters)").arg(text.size());
}

// Both values of a field as the text output shows them; long texts from a little before the
// first character in which they differ.
QPair<QString, QString> shownValues(const FieldChange &f)
{
    const auto isText = [](const QVariant &v) { return v.userType() == QMetaType::QString; };
    int from = 0;
    if (f.inOld && f.inNew && isText(f.oldValue) && isText(f.newValue)) {
        const QString a = f.oldValue.toString();
        const QString b = f.newValue.toString();
        while (from < a.size() && from < b.size() && a.at(from) == b.at(from))
            ++from;
        from = qMax(0, from - MaxShownText / 3);
    }
    const auto shown = [&](bool present, const QVariant &v) {
        if (!present)
            return QStringLiteral("(none)");
        return isText(v) ? textPart(v.toString(), from) : valueText(v);
    };
    return {shown(f.inOld, f.oldValue), shown(f.inNew, f.newValue)};
}

void printChanges(const QVector<RecordChange> &changes, int indent)
{
    const QString pad(indent, QLatin1Char(' '));
    for (const RecordChange &c : changes) {
        printLine(out(), pad + changeSign(c.change) + QLatin1Char(' ') + recordLabel(c));
        for (const FieldChange &f : c.fields) {
            const QPair<QString, QString> values = shownValues(f);
            printLine(out(), pad + QStringLiteral("    %1: %2 -> %3")
                                       .arg(f.name, values.first, values.second));
        }
    }
}

// A value in JSON: numbers as numbers while a double holds them exactly, NaN, infinities and
// other types as their text (a colour "#ff0000", a font, a list "{1,2}").
QJsonValue jsonValue(const QVariant &v)
{
    switch (v.userType()) {
    case QMetaType::UnknownType:
        return QJsonValue();
    case QMetaType::Bool:
        return v.toBool();
    case QMetaType::QString:
        return v.toString();
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Long:
    case QMetaType::ULong: {
        const double d = v.toDouble();
        if (std::fabs(d) <= 9007199254740992.0)
            return d;
        return valueText(v);
    }
    case QMetaType::Float:
    case QMetaType::Double:
        if (std::isfinite(v.toDouble()))
            return valueText(v).toDouble();     // 0.1 for the float 0.1
        return valueText(v);
    }
    return valueText(v);
}

QJsonArray changesJson(const QVector<RecordChange> &changes)
{
    QJsonArray array;
    for (const RecordChange &c : changes) {
        QJsonObject o{{QStringLiteral("change"), changeName(c.change)},
                      {QStringLiteral("record"), sectionName(c.section)},
                      {QStringLiteral("label"), recordLabel(c)}};
        if (c.section != RecordChange::PageProperties) {
            o.insert(QStringLiteral("index"), c.index);
            o.insert(QStringLiteral("name"), c.name);
        }
        if (c.section == RecordChange::Item)
            o.insert(QStringLiteral("itemType"), c.itemType);
        if (c.id.isValid())
            o.insert(c.section == RecordChange::Item ? QStringLiteral("uid") : QStringLiteral("id"),
                     jsonValue(c.id));
        if (c.change == RecordChange::Changed) {
            QJsonArray fields;
            for (const FieldChange &f : c.fields) {
                QJsonObject field{{QStringLiteral("field"), f.name}};
                if (f.inOld)
                    field.insert(QStringLiteral("old"), jsonValue(f.oldValue));
                if (f.inNew)
                    field.insert(QStringLiteral("new"), jsonValue(f.newValue));
                fields.append(field);
            }
            o.insert(QStringLiteral("fields"), fields);
        }
        array.append(o);
    }
    return array;
}

// ---- The picture ---------------------------------------------------------------------------------

QString itemKey(const QString &itemType, int index)
{
    return itemType + QLatin1Char('#') + QString::number(index);
}

// Draws newPage with its changed and added items outlined and, over it, the items removed from
// oldPage (null: none) faded at their old place; writes it as PNG to target through a safe save.
bool drawChanges(PageRenderer &renderer, const ScaFileData *oldPage, const ScaFileData &newPage,
                 const QVector<RecordChange> &changes, const QString &target, QString *why)
{
    QHash<QString, RecordChange::Change> current;   // changed and added items of the new page
    QHash<QString, RecordChange::Change> removed;   // removed items of the old page
    for (const RecordChange &c : changes) {
        if (c.section == RecordChange::Item)
            (c.change == RecordChange::Removed ? removed : current)
                .insert(itemKey(c.itemType, c.index), c.change);
    }
    PageRenderer::Options options;
    // Every change shows, also on a layer the page hides.
    options.layerFilter = PageRenderer::allLayers();
    options.itemStyle = [&current](const PageItemRef &item) {
        PageItemStyle style;
        const auto it = current.constFind(itemKey(item.itemType(), item.index));
        if (it != current.cend())
            style.outline = QPen(*it == RecordChange::Added ? AddedColor : ChangedColor,
                                 OutlineWidth);
        return style;
    };
    renderer.setOptions(options);
    QImage image = renderer.renderImage(newPage);
    if (image.isNull()) {
        *why = QStringLiteral("cannot be drawn: ") + renderer.warnings().value(
                   renderer.warnings().size() - 1);
        return false;
    }
    if (oldPage && !removed.isEmpty()) {
        options.drawBackground = false;
        options.itemStyle = [&removed](const PageItemRef &item) {
            PageItemStyle style;
            style.visible = removed.contains(itemKey(item.itemType(), item.index));
            style.opacity = GhostOpacity;
            style.outline = QPen(RemovedColor, OutlineWidth, Qt::DashLine);
            return style;
        };
        renderer.setOptions(options);
        QPainter painter(&image);
        renderer.render(*oldPage, &painter);
    }
    if (FileAccess::saveFile(target, [&image](QIODevice &d) { return image.save(&d, "PNG"); }))
        return true;
    *why = FileAccess::lastSaveError();
    return false;
}

// ---- Files -------------------------------------------------------------------------------------

struct Options
{
    bool json = false;
    QString render;                 // the picture, or the folder of pictures; empty: none
    PageRenderer *renderer = nullptr;   // with the object library, when there is one
};

// One file of a comparison, read and loaded by its kind.
struct Loaded
{
    ProjectFileInfo_t info;
    PagePtr page;
    TreePtr tree;

    ProjectFileInfo_t::Kind kind() const { return info.kind; }
};

// Reads the file at `native` and loads it when it is a page or definition file (`path` becomes
// a page's fileName). False with *why set ("<why>", to follow the file's name) when it cannot be
// read or loaded, or is not well-formed XML.
bool load(const QByteArray &native, const QString &path, Loaded *loaded, QString *why)
{
    InputFile file;
    const bool read = readInput(native, &file, why);
    loaded->info = file.info;
    if (!read)
        return false;
    if (file.info.kind == ProjectFileInfo_t::Malformed) {
        *why = describeProbe(file.info, ProjectFileInfo_t::PageFile);
        return false;
    }
    if (file.info.kind == ProjectFileInfo_t::PageFile)
        loaded->page = loadPage(&file, path, why);
    else if (file.info.kind == ProjectFileInfo_t::DefinitionFile)
        loaded->tree = loadDefinitions(&file, why);
    else
        return true;
    return loaded->page || loaded->tree;
}

QVector<RecordChange> compareLoaded(const Loaded &a, const Loaded &b)
{
    return a.page ? comparePages(*a.page, *b.page) : compareDefinitions(*a.tree, *b.tree);
}

// Loads both files; false after reporting the first that cannot be used.
bool loadPair(const QString &oldPath, const QString &newPath, Loaded *a, Loaded *b)
{
    QString why;
    for (const auto &side : {qMakePair(&oldPath, a), qMakePair(&newPath, b)}) {
        if (!load(QFile::encodeName(*side.first), *side.first, side.second, &why)) {
            reportError(DiffCommand, quoted(*side.first) + QLatin1Char(' ') + why);
            return false;
        }
    }
    return true;
}

int diffFiles(const QString &oldPath, const QString &newPath, const Options &options)
{
    Loaded a, b;
    if (!loadPair(oldPath, newPath, &a, &b))
        return ExitUsage;
    if (!comparable(a.kind()) || !comparable(b.kind())) {
        const bool oldOff = !comparable(a.kind());
        const ProjectFileInfo_t::Kind other = oldOff ? b.kind() : a.kind();
        reportError(DiffCommand, quoted(oldOff ? oldPath : newPath) + QLatin1Char(' ')
                                     + describeProbe(oldOff ? a.info : b.info,
                                                     comparable(other) ? other
                                                                       : ProjectFileInfo_t::PageFile));
        return ExitUsage;
    }
    if (a.kind() != b.kind()) {
        reportError(DiffCommand, QStringLiteral("%1 is a %2 and %3 a %4: only files of one kind "
                                                "are compared")
                                     .arg(quoted(oldPath), kindName(a.kind()), quoted(newPath),
                                          kindName(b.kind())));
        return ExitUsage;
    }
    if (!options.render.isEmpty() && !b.page) {
        reportError(DiffCommand, QStringLiteral("--render draws pages, and these are definition "
                                                "files"));
        return ExitUsage;
    }

    const QVector<RecordChange> changes = compareLoaded(a, b);
    int code = changes.isEmpty() ? ExitOk : ExitFindings;
    if (!options.render.isEmpty()) {
        QString why;
        if (!drawChanges(*options.renderer, a.page.get(), *b.page, changes, options.render, &why)) {
            reportError(DiffCommand, QStringLiteral("cannot write ") + quoted(options.render)
                                         + QStringLiteral(": ") + why);
            code = ExitUsage;
        }
    }
    if (options.json) {
        printJson(QJsonDocument(QJsonObject{{QStringLiteral("old"), oldPath},
                                            {QStringLiteral("new"), newPath},
                                            {QStringLiteral("kind"), kindName(b.kind())},
                                            {QStringLiteral("equal"), changes.isEmpty()},
                                            {QStringLiteral("changes"), changesJson(changes)}}));
    } else {
        printChanges(changes, 0);
    }
    return code;
}

// ---- Folders -----------------------------------------------------------------------------------

// Appends the files under root/within by their path within root, with the names' own bytes, so
// that a name that is not valid UTF-8 is compared like any other: no hidden files or folders (a
// save's temporary files among them), no links to folders, no pipes or devices. False after
// reporting a folder that cannot be read.
bool listFiles(const QByteArray &root, const QByteArray &within, QList<QByteArray> *files)
{
    const QByteArray folder = within.isEmpty() ? root : root + '/' + within;
    DIR *dir = ::opendir(folder.constData());
    if (!dir) {
        const int error = errno;
        reportError(DiffCommand, quoted(nameText(folder)) + QStringLiteral(" cannot be read: ")
                                     + qt_error_string(error));
        return false;
    }
    QList<QByteArray> names;
    while (const dirent *e = ::readdir(dir)) {
        if (e->d_name[0] != '.')
            names << QByteArray(e->d_name);
    }
    ::closedir(dir);
    bool complete = true;
    for (const QByteArray &name : qAsConst(names)) {
        const QByteArray path = within.isEmpty() ? name : within + '/' + name;
        const QByteArray native = root + '/' + path;
        struct stat st;
        if (::lstat(native.constData(), &st) == 0 && S_ISDIR(st.st_mode))
            complete = listFiles(root, path, files) && complete;
        else if (::stat(native.constData(), &st) == 0 && S_ISREG(st.st_mode))
            files->append(path);
    }
    return complete;
}

struct FileChange
{
    QString path;       // within the folders, as text (nameText)
    ProjectFileInfo_t::Kind kind;
    RecordChange::Change change;
    QVector<RecordChange> changes;
    QString picture;
};

int diffFolders(const QString &oldDir, const QString &newDir, const Options &options)
{
    const QByteArray oldRoot = QFile::encodeName(oldDir);
    const QByteArray newRoot = QFile::encodeName(newDir);
    QList<QByteArray> paths;
    bool complete = listFiles(oldRoot, QByteArray(), &paths);
    const int oldCount = paths.size();
    complete = listFiles(newRoot, QByteArray(), &paths) && complete;
    const QSet<QByteArray> inOld(paths.cbegin(), paths.cbegin() + oldCount);
    const QSet<QByteArray> inNew(paths.cbegin() + oldCount, paths.cend());
    std::sort(paths.begin(), paths.end());
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());

    QVector<FileChange> files;
    Progress progress(QStringLiteral("comparing"), paths.size());
    for (const QByteArray &native : qAsConst(paths)) {
        const QString path = nameText(native);
        progress.step(path);
        Loaded a, b;
        bool usable = true;
        for (const auto &side : {qMakePair(&oldDir, &a), qMakePair(&newDir, &b)}) {
            const bool isOld = side.first == &oldDir;
            if (!(isOld ? inOld : inNew).contains(native))
                continue;
            const QString file = QDir(*side.first).filePath(path);
            QString why;
            if (!load((isOld ? oldRoot : newRoot) + '/' + native, file, side.second, &why)) {
                progress.done();
                reportError(DiffCommand, quoted(file) + QLatin1Char(' ') + why);
                usable = false;
            }
        }
        if (!usable) {
            complete = false;
            continue;
        }
        if (a.kind() == b.kind() && comparable(a.kind())) {
            FileChange f{path, a.kind(), RecordChange::Changed, compareLoaded(a, b), QString()};
            if (f.changes.isEmpty())
                continue;
            files.append(f);
        } else {
            if (comparable(a.kind()))
                files.append({path, a.kind(), RecordChange::Removed, {}, QString()});
            if (comparable(b.kind()))
                files.append({path, b.kind(), RecordChange::Added, {}, QString()});
        }
        if (options.render.isEmpty() || !b.page || files.isEmpty() || files.last().path != path
                || files.last().change == RecordChange::Removed)
            continue;
        FileChange &f = files.last();
        const QFileInfo name(path);
        f.picture = QDir(options.render).filePath(
            (name.path() == QLatin1String(".") ? QString() : name.path() + QLatin1Char('/'))
            + name.completeBaseName() + QStringLiteral(".png"));
        QString why;
        const QVector<RecordChange> drawn =
            a.page ? f.changes : comparePages(ScaFileData(), *b.page);
        if (!QDir().mkpath(QFileInfo(f.picture).path())
                || !drawChanges(*options.renderer, a.page.get(), *b.page, drawn, f.picture, &why)) {
            progress.done();
            reportError(DiffCommand, QStringLiteral("cannot write ") + quoted(f.picture)
                                         + (why.isEmpty() ? QString() : QStringLiteral(": ") + why));
            f.picture.clear();
            complete = false;
        }
    }
    progress.done();

    if (options.json) {
        QJsonArray array;
        for (const FileChange &f : files) {
            QJsonObject o{{QStringLiteral("path"), f.path},
                          {QStringLiteral("kind"), kindName(f.kind)},
                          {QStringLiteral("change"), changeName(f.change)}};
            if (f.change == RecordChange::Changed)
                o.insert(QStringLiteral("changes"), changesJson(f.changes));
            if (!f.picture.isEmpty())
                o.insert(QStringLiteral("picture"), f.picture);
            array.append(o);
        }
        printJson(QJsonDocument(QJsonObject{{QStringLiteral("old"), oldDir},
                                            {QStringLiteral("new"), newDir},
                                            {QStringLiteral("equal"), files.isEmpty()},
                                            {QStringLiteral("complete"), complete},
                                            {QStringLiteral("files"), array}}));
    } else {
        for (const FileChange &f : files) {
            printLine(out(), QStringLiteral("%1 %2 (%3)")
                                 .arg(changeSign(f.change)).arg(quoted(f.path), kindName(f.kind)));
            printChanges(f.changes, 4);
        }
    }
    if (!complete)
        return ExitUsage;
    return files.isEmpty() ? ExitOk : ExitFindings;
}

} // namespace

int runDiff(const QStringList &args)
{
    CommandParser cp(
        QStringLiteral("diff [options] OLD NEW"),
        QStringLiteral(
            "Shows what changed from OLD to NEW: two page files, two definition files or two\n"
            "project folders. Each record added (+), removed (-) or changed (~) is listed, a\n"
            "changed one with every field that differs and both values (base.X: 40 -> 60).\n"
            "Records are paired by key: SCADA objects by Uid, other items by kind and name,\n"
            "then by place (X, Y); layers by id; channels and tags by Id; alarms by\n"
            "alarm_name. Two files are equal when they load to the same records, however\n"
            "their bytes differ. A file's kind comes from its root element; two folders are\n"
            "compared file by file, paired by their path within the folder (page and\n"
            "definition files; other files, hidden ones and links to folders are not\n"
            "compared).\n"
            "Exit status: 0 equal, 1 different, 2 trouble (a file that cannot be read or\n"
            "loaded, files of different kinds, a picture that cannot be written)."));
    QCommandLineParser &p = cp.parser();
    p.addOption({QStringLiteral("json"), QStringLiteral("Write the changes as JSON.")});
    p.addOption({QStringLiteral("render"),
                 QStringLiteral("Draw the new page as a PNG file with changed items outlined in "
                                "orange, added ones in green and removed ones faded at their old "
                                "place in a dashed red outline, items of every layer. For two "
                                "folders <out> is a folder (created if missing) that gets one "
                                "picture per changed or added page, at the page's path within "
                                "the folder with the extension .png."),
                 QStringLiteral("out")});
    p.addOption({QStringLiteral("library"),
                 QStringLiteral("Draw SCADA objects with the images of the object library in "
                                "<dir> (objlib.xml, userlib.xml and their images)."),
                 QStringLiteral("dir")});
    p.addPositionalArgument(QStringLiteral("OLD"), QStringLiteral("The file or folder before."));
    p.addPositionalArgument(QStringLiteral("NEW"), QStringLiteral("The file or folder after."));
    int code = ExitOk;
    if (!cp.parse(args, 2, 2, &code))
        return code;
    const auto usage = [](const QString &message) {
        reportError(DiffCommand, message);
        err() << "See 'tirrel " << DiffCommand << " --help'.\n";
        err().flush();
        return ExitUsage;
    };

    Options options;
    options.json = p.isSet(QStringLiteral("json"));
    options.render = p.value(QStringLiteral("render"));
    const QString library = p.value(QStringLiteral("library"));
    if (p.isSet(QStringLiteral("library")) && !p.isSet(QStringLiteral("render")))
        return usage(QStringLiteral("--library is for the picture (--render)"));
    if (p.isSet(QStringLiteral("render")) && options.render.isEmpty())
        return usage(QStringLiteral("--render needs a file name"));
    PageRenderer renderer;
    options.renderer = &renderer;
    if (p.isSet(QStringLiteral("library")) && renderer.loadObjectLibrary(library) == 0) {
        reportError(DiffCommand, quoted(library) + QStringLiteral(" holds no object library "
                                                                  "(objlib.xml or userlib.xml)"));
        return ExitUsage;
    }

    const QString oldPath = p.positionalArguments().at(0);
    const QString newPath = p.positionalArguments().at(1);
    const bool oldDir = QFileInfo(oldPath).isDir();
    const bool newDir = QFileInfo(newPath).isDir();
    if (oldDir != newDir)
        return usage(QStringLiteral("%1 is a folder and %2 is not: compare two files or two "
                                    "folders").arg(quoted(oldDir ? oldPath : newPath),
                                                   quoted(oldDir ? newPath : oldPath)));
    const QFileInfo picture(options.render);
    if (!options.render.isEmpty() && picture.exists()
            && (picture == QFileInfo(oldPath) || picture == QFileInfo(newPath)))
        return usage(QStringLiteral("--render would write over ") + quoted(options.render)
                     + QStringLiteral(", which is compared"));
    return oldDir ? diffFolders(oldPath, newPath, options)
                  : diffFiles(oldPath, newPath, options);
}
