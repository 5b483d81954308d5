// tirrel check: the integrity check of a project folder.
#include "cliSupport.h"

#include <scaFileProcessor.h>

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QSet>

#include <QThread>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include <dirent.h>
#include <sys/stat.h>

using namespace cli;

namespace {

const QString Command = QStringLiteral("check");

// The checks, by the names findings carry in the JSON output.
const QString Unreadable = QStringLiteral("unreadable");
const QString Malformed = QStringLiteral("malformed");
const QString UndefinedTag = QStringLiteral("undefined-tag");
const QString DuplicateUid = QStringLiteral("duplicate-uid");
const QString DuplicatePageId = QStringLiteral("duplicate-page-id");
const QString MissingChannel = QStringLiteral("missing-channel");
const QString DuplicateTagName = QStringLiteral("duplicate-tag-name");
const QString DuplicateTagId = QStringLiteral("duplicate-tag-id");
const QString AlarmUndefinedTag = QStringLiteral("alarm-undefined-tag");
const QString EmptyTagName = QStringLiteral("empty-tag-name");
const QString EmptyTagAddress = QStringLiteral("empty-tag-address");
const QString FileName = QStringLiteral("file-name");

const int NoPageId = -1;
const int NoChannelId = -1;

struct Finding
{
    QString check;
    QString file;           // the file it is reported under (the first one, for several)
    QString message;        // plain words, without the file
    QString item;           // the item or record concerned, when there is one
    QStringList files;      // every file involved, for findings across files
    int line = 0;           // the parser's position, for malformed files
    int column = 0;
    int tagId = 0;
    bool hasTagId = false;
};

struct NotChecked
{
    QString file;
    QString reason;
    bool incomplete = false;    // a file the check could not read, not one of another kind
};

// A file or folder found in the project folder: its path as the file system holds it, and as
// text relative to the project folder.
struct Entry
{
    QByteArray native;
    QString shown;
};

struct DefinitionFile
{
    QString file;
    TreePtr tree;
};

// One occurrence of a value that must be unique: where it is and how to name it there.
struct Occurrence
{
    QString file;
    QString what;
};

// Values seen more than once, in the order they were first seen.
template <class Key>
class Occurrences
{
public:
    void add(const Key &key, const Occurrence &occurrence)
    {
        if (!m_seen.contains(key))
            m_order.append(key);
        m_seen[key].append(occurrence);
    }
    const QList<Key> &keys() const { return m_order; }
    const QList<Occurrence> &at(const Key &key) const { return m_seen.find(key).value(); }

private:
    QList<Key> m_order;
    QHash<Key, QList<Occurrence>> m_seen;
};

QString listOccurrences(const QList<Occurrence> &occurrences)
{
    QStringList parts;
    for (const Occurrence &o : occurrences)
        parts << QStringLiteral("%1 (%2)").arg(o.file, o.what);
    return parts.join(QLatin1String(", "));
}

QStringList filesOf(const QList<Occurrence> &occurrences)
{
    QStringList files;
    for (const Occurrence &o : occurrences) {
        if (!files.contains(o.file))
            files.append(o.file);
    }
    return files;
}

QString times(int n)
{
    return n == 2 ? QStringLiteral("twice") : QStringLiteral("%1 times").arg(n);
}

QString quote(const QString &text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

// What the checks need of a page: its tag bindings, its SCADA objects' Uids (with the objects
// named for a report), its id and name. Taken on the thread that read the page, which then
// deletes it.
struct PageSummary
{
    QList<TagBinding_t> bindings;
    QVector<QPair<int, QString>> objects;
    int pageId = NoPageId;
    QString pageName;
};

PageSummary summarise(const ScaFileData &page)
{
    PageSummary summary;
    summary.bindings = page.tagBindings();
    summary.objects.reserve(page.scadaObjects.size());
    for (int i = 0; i < page.scadaObjects.size(); ++i) {
        const ScadaObjectLoadData_t *o = page.scadaObjects.at(i);
        summary.objects.append({o->Uid, describeItem(QStringLiteral("ScadaObject"), i,
                                                     o->base->Name, -1)});
    }
    summary.pageId = page.pageProperties.pageID;
    summary.pageName = page.pageProperties.pageName;
    return summary;
}

// What checking one file gave, gathered apart from the other files' so that files can be read on
// several threads at once and their results taken in the order of the files.
struct FileResult
{
    QList<Finding> findings;
    QList<NotChecked> notChecked;
    bool incomplete = false;
    bool isPage = false;
    PageSummary page;
    TreePtr tree;

    void add(Finding f) { findings.append(std::move(f)); }
    // A file that could not be checked: the check is incomplete.
    void notCheckedFully(const QString &file, const QString &reason)
    {
        notChecked.append({file, reason, true});
        incomplete = true;
    }
};

class ProjectCheck
{
public:
    explicit ProjectCheck(const QString &root) : m_root(QFile::encodeName(root)) {}

    // Reads every file with `jobs` threads (1: on this thread alone); the result does not
    // depend on it.
    void scan(int jobs);
    void checkDefinitions();
    void checkPages();

    int status() const;
    bool complete() const { return !m_incomplete && !noProjectFiles(); }
    void printText(const QString &shownRoot) const;
    QJsonObject json(const QString &shownRoot) const;

private:
    void walk(const QByteArray &native, const QString &shown);
    static FileResult scanFile(const Entry &entry);
    void take(const Entry &entry, FileResult &result);
    void add(Finding f) { m_findings.append(std::move(f)); }
    // A file that could not be checked: the check is incomplete.
    void notChecked(const QString &file, const QString &reason)
    {
        m_notChecked.append({file, reason, true});
        m_incomplete = true;
    }
    bool noProjectFiles() const { return m_pages.isEmpty() && m_definitions.empty(); }
    QSet<int> definedTagIds() const;

    QByteArray m_root;
    std::vector<Entry> m_files;
    QList<Finding> m_findings;
    QList<NotChecked> m_notChecked;
    QStringList m_notes;
    bool m_incomplete = false;
    QMap<QString, PageSummary> m_pages; // by the path relative to the project folder
    std::vector<DefinitionFile> m_definitions;
};

// ---- Reading the folder -------------------------------------------------------------------------

// The folder is read with the names' own bytes, so that a name that is not valid text is
// visited (and reported) like any other.
void ProjectCheck::walk(const QByteArray &native, const QString &shown)
{
    DIR *dir = ::opendir(native.constData());
    if (!dir) {
        Finding f;
        f.check = Unreadable;
        f.file = shown;
        f.message = QStringLiteral("folder cannot be read: ") + qt_error_string(errno);
        add(f);
        m_incomplete = true;
        return;
    }
    QList<QByteArray> names;
    while (const dirent *e = ::readdir(dir)) {
        const QByteArray name(e->d_name);
        // Hidden entries (".git" and the like) are no part of a project.
        if (!name.startsWith('.'))
            names << name;
    }
    ::closedir(dir);
    std::sort(names.begin(), names.end());

    std::vector<Entry> folders;
    for (const QByteArray &name : qAsConst(names)) {
        const QString text = nameText(name);
        const Entry entry{native + '/' + name,
                          shown.isEmpty() ? text : shown + QLatin1Char('/') + text};
        struct stat st;
        const bool isLink = ::lstat(entry.native.constData(), &st) == 0 && S_ISLNK(st.st_mode);
        const bool isDir = ::stat(entry.native.constData(), &st) == 0 && S_ISDIR(st.st_mode);
        if (isLink && isDir)
            notChecked(entry.shown, QStringLiteral("link to a folder, not followed"));
        else if (isDir)
            folders.push_back(entry);
        else
            m_files.push_back(entry);
        if (!isValidUtf8(name)) {
            Finding f;
            f.check = FileName;
            f.file = entry.shown;
            f.message = QStringLiteral("the name is not valid UTF-8 (its other bytes are shown "
                                       "as \\xNN), so the editor cannot open it by that name");
            add(f);
        }
    }
    for (const Entry &folder : folders)
        walk(folder.native, folder.shown);
}

FileResult ProjectCheck::scanFile(const Entry &entry)
{
    FileResult r;
    const QString &rel = entry.shown;
    struct stat st;
    if (::lstat(entry.native.constData(), &st) == 0 && S_ISLNK(st.st_mode)
            && ::stat(entry.native.constData(), &st) != 0 && errno == ENOENT) {
        r.notCheckedFully(rel, QStringLiteral("broken symbolic link"));
        return r;
    }
    InputFile input;
    QString why;
    if (!readInput(entry.native, &input, &why)) {
        if (input.info.kind == ProjectFileInfo_t::TooLarge) {
            r.notCheckedFully(rel, input.info.errorMessage + QStringLiteral(", not read"));
        } else if (::stat(entry.native.constData(), &st) == 0 && !S_ISREG(st.st_mode)) {
            r.notCheckedFully(rel, input.info.errorMessage);
        } else {
            Finding f;
            f.check = Unreadable;
            f.file = rel;
            f.message = why;
            r.add(f);
            r.incomplete = true;
        }
        return r;
    }
    // Content decides what a file is; the name only tells that a file meant to be XML is broken.
    const bool xmlName = rel.endsWith(QLatin1String(".xml"), Qt::CaseInsensitive);
    const auto malformed = [&](const ProjectFileInfo_t &info) {
        Finding f;
        f.check = Malformed;
        f.file = rel;
        f.line = info.errorLine;
        f.column = info.errorColumn;
        if (info.kind == ProjectFileInfo_t::Empty) {
            f.message = QStringLiteral("is empty, not a well-formed XML document");
        } else {
            f.message = QStringLiteral("is not well-formed XML: ");
            if (info.errorLine > 0)
                f.message += QStringLiteral("line %1, column %2: ")
                                 .arg(info.errorLine)
                                 .arg(info.errorColumn);
            f.message += info.errorMessage;
        }
        r.add(f);
    };
    switch (input.info.kind) {
    case ProjectFileInfo_t::Unreadable:
    case ProjectFileInfo_t::TooLarge:
        break;
    case ProjectFileInfo_t::Empty:
    case ProjectFileInfo_t::NotXml:
        if (xmlName)
            malformed(input.info);
        else
            r.notChecked.append({rel, input.info.kind == ProjectFileInfo_t::Empty
                                          ? QStringLiteral("empty file")
                                          : QStringLiteral("not XML")});
        break;
    case ProjectFileInfo_t::Malformed:
        malformed(input.info);
        break;
    case ProjectFileInfo_t::ObjectLibraryFile:
        r.notChecked.append({rel, QStringLiteral("object library file")});
        break;
    case ProjectFileInfo_t::OtherXml:
        r.notChecked.append({rel, QStringLiteral("XML with the root element <%1>")
                                      .arg(input.info.rootElement)});
        break;
    case ProjectFileInfo_t::PageFile:
        if (const PagePtr page = loadPage(&input, rel, &why)) {
            r.isPage = true;
            r.page = summarise(*page);
        } else {
            malformed(input.info);
        }
        break;
    case ProjectFileInfo_t::DefinitionFile:
        r.tree = loadDefinitions(&input, &why);
        if (!r.tree)
            malformed(input.info);
        break;
    }
    return r;
}

void ProjectCheck::take(const Entry &entry, FileResult &result)
{
    m_findings += result.findings;
    m_notChecked += result.notChecked;
    m_incomplete = m_incomplete || result.incomplete;
    if (result.isPage)
        m_pages.insert(entry.shown, std::move(result.page));
    if (result.tree)
        m_definitions.push_back({entry.shown, std::move(result.tree)});
}

// Files are read and loaded on the worker threads, each on its own: the readers share only
// what is constant once made (field tables, names, the item kind table), and serialise the one
// thing they must (measuring texts in their fonts). Their results are taken here, on this
// thread, in the order of the files, as each is ready.
void ProjectCheck::scan(int jobs)
{
    walk(m_root, QString());
    const int count = int(m_files.size());
    Progress progress(QStringLiteral("checking"), count);
    jobs = std::max(1, std::min(jobs, count));
    if (jobs == 1) {
        for (const Entry &file : m_files) {
            progress.step(file.shown);
            FileResult result = scanFile(file);
            take(file, result);
        }
        return;
    }

    std::vector<FileResult> results(m_files.size());
    std::vector<char> ready(m_files.size(), 0);
    std::mutex mutex;
    std::condition_variable readyChanged;
    std::atomic<int> next{0};
    std::vector<std::thread> workers;
    for (int j = 0; j < jobs; ++j) {
        workers.emplace_back([&] {
            for (int i = next++; i < count; i = next++) {
                FileResult result = scanFile(m_files[std::size_t(i)]);
                const std::lock_guard<std::mutex> lock(mutex);
                results[std::size_t(i)] = std::move(result);
                ready[std::size_t(i)] = 1;
                readyChanged.notify_one();
            }
        });
    }
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        progress.step(m_files[i].shown);
        FileResult result;
        {
            std::unique_lock<std::mutex> lock(mutex);
            readyChanged.wait(lock, [&] { return ready[i] != 0; });
            result = std::move(results[i]);
        }
        take(m_files[i], result);
    }
    for (std::thread &worker : workers)
        worker.join();
}

// ---- The checks ---------------------------------------------------------------------------------

QSet<int> ProjectCheck::definedTagIds() const
{
    QSet<int> ids;
    for (const DefinitionFile &d : m_definitions) {
        for (const pEtiketDef_t *t : d.tree->TagList)
            ids.insert(t->Id);
    }
    return ids;
}

void ProjectCheck::checkDefinitions()
{
    const QSet<int> tagIds = definedTagIds();
    Occurrences<QString> names;
    Occurrences<int> ids;
    for (const DefinitionFile &d : m_definitions) {
        // A tag's channel is one of its own file's; the placeholder "None" (id -1) is among
        // them and stands for "no channel".
        QSet<QString> channelNames;
        QSet<int> channelIds;
        for (const pKanalDef_t *c : d.tree->ChannelList) {
            channelNames.insert(c->Name);
            channelIds.insert(c->Id);
        }
        for (const pEtiketDef_t *t : d.tree->TagList) {
            const QString tag =
                QStringLiteral("tag %1 (id %2)").arg(quote(t->Name), QString::number(t->Id));
            names.add(t->Name, {d.file, QStringLiteral("id %1").arg(t->Id)});
            ids.add(t->Id, {d.file, quote(t->Name)});
            for (const auto &field : {qMakePair(&EmptyTagName, t->Name.trimmed().isEmpty()),
                                      qMakePair(&EmptyTagAddress,
                                                t->VariableAddress.trimmed().isEmpty())}) {
                if (!field.second)
                    continue;
                Finding f;
                f.check = *field.first;
                f.file = d.file;
                f.item = tag;
                f.message = QStringLiteral("%1 has an empty %2")
                                .arg(tag, field.first == &EmptyTagName ? QStringLiteral("name")
                                                                       : QStringLiteral("address"));
                add(f);
            }

            const bool badName = !t->KanalName.isEmpty() && !channelNames.contains(t->KanalName);
            const bool badId = t->Kanal_Id != NoChannelId && !channelIds.contains(t->Kanal_Id);
            if (badName || badId) {
                QString channel;
                if (badName && badId)
                    channel = QStringLiteral("channel %1 (id %2)")
                                  .arg(quote(t->KanalName), QString::number(t->Kanal_Id));
                else if (badName)
                    channel = QStringLiteral("channel %1").arg(quote(t->KanalName));
                else
                    channel = QStringLiteral("channel id %1").arg(t->Kanal_Id);
                Finding f;
                f.check = MissingChannel;
                f.file = d.file;
                f.item = tag;
                f.message = QStringLiteral("%1 is read through %2, which this file does not define")
                                .arg(tag, channel);
                add(f);
            }
        }
        for (const pAlarmItem_t *a : d.tree->AlarmList) {
            if (tagIds.contains(a->tagID))
                continue;
            Finding f;
            f.check = AlarmUndefinedTag;
            f.file = d.file;
            f.item = QStringLiteral("alarm %1 (id %2)")
                         .arg(quote(a->alarm_name), QString::number(a->Id));
            f.message = QStringLiteral("%1 is on tag %2, which no definition file defines")
                            .arg(f.item, QString::number(a->tagID));
            f.tagId = a->tagID;
            f.hasTagId = true;
            add(f);
        }
    }
    for (const QString &name : names.keys()) {
        const QList<Occurrence> &o = names.at(name);
        if (o.size() < 2)
            continue;
        Finding f;
        f.check = DuplicateTagName;
        f.file = o.first().file;
        f.files = filesOf(o);
        f.item = QStringLiteral("tag %1").arg(quote(name));
        f.message = QStringLiteral("tag name %1 is defined %2: %3")
                        .arg(quote(name), times(o.size()), listOccurrences(o));
        add(f);
    }
    for (int id : ids.keys()) {
        const QList<Occurrence> &o = ids.at(id);
        if (o.size() < 2)
            continue;
        Finding f;
        f.check = DuplicateTagId;
        f.file = o.first().file;
        f.files = filesOf(o);
        f.item = QStringLiteral("tag id %1").arg(id);
        f.message = QStringLiteral("tag id %1 is defined %2: %3")
                        .arg(QString::number(id), times(o.size()), listOccurrences(o));
        f.tagId = id;
        f.hasTagId = true;
        add(f);
    }
}

void ProjectCheck::checkPages()
{
    const QSet<int> tagIds = definedTagIds();
    if (m_definitions.empty() && !m_pages.isEmpty())
        m_notes << QStringLiteral("no definition file found, so tag bindings were not checked");

    Occurrences<int> uids;
    Occurrences<int> pageIds;
    for (auto it = m_pages.cbegin(); it != m_pages.cend(); ++it) {
        const QString &key = it.key();
        const PageSummary &page = it.value();
        if (!m_definitions.empty()) {
            for (const TagBinding_t &b : page.bindings) {
                if (tagIds.contains(b.tagId))
                    continue;
                Finding f;
                f.check = UndefinedTag;
                f.file = key;
                f.item = describeItem(b.itemType, b.itemIndex, b.itemName, b.uid);
                f.message = QStringLiteral("%1 is bound to tag %2 (%3), which no definition file "
                                           "defines")
                                .arg(f.item, QString::number(b.tagId), describeSlot(b));
                f.tagId = b.tagId;
                f.hasTagId = true;
                add(f);
            }
        }
        for (const auto &object : page.objects)
            uids.add(object.first, {key, object.second});
        if (page.pageId != NoPageId)
            pageIds.add(page.pageId, {key, quote(page.pageName)});
    }
    for (int uid : uids.keys()) {
        const QList<Occurrence> &o = uids.at(uid);
        if (o.size() < 2)
            continue;
        // A Uid identifies one object in the whole project: twice on one page is as wrong as on
        // two pages.
        const QStringList files = filesOf(o);
        Finding f;
        f.check = DuplicateUid;
        f.file = files.first();
        f.files = files;
        f.item = QStringLiteral("SCADA object Uid %1").arg(uid);
        f.message = files.size() == 1
            ? QStringLiteral("SCADA object Uid %1 is used %2 on one page: %3")
                  .arg(QString::number(uid), times(o.size()), listOccurrences(o))
            : QStringLiteral("SCADA object Uid %1 is used on %2 pages: %3")
                  .arg(QString::number(uid), QString::number(files.size()), listOccurrences(o));
        add(f);
    }
    for (int id : pageIds.keys()) {
        const QList<Occurrence> &o = pageIds.at(id);
        if (o.size() < 2)
            continue;
        Finding f;
        f.check = DuplicatePageId;
        f.file = o.first().file;
        f.files = filesOf(o);
        f.item = QStringLiteral("page id %1").arg(id);
        f.message = QStringLiteral("page id %1 is used by %2 pages: %3")
                        .arg(QString::number(id), QString::number(o.size()), listOccurrences(o));
        add(f);
    }
    // Reported file by file, in the order the checks above found them within each file.
    std::stable_sort(m_findings.begin(), m_findings.end(),
                     [](const Finding &a, const Finding &b) { return a.file < b.file; });
}

// ---- Results ------------------------------------------------------------------------------------

int ProjectCheck::status() const
{
    if (!complete())
        return ExitUsage;
    return m_findings.isEmpty() ? ExitOk : ExitFindings;
}

QString plural(int n, const char *one, const char *many)
{
    return QStringLiteral("%1 %2").arg(n).arg(QLatin1String(n == 1 ? one : many));
}

void ProjectCheck::printText(const QString &shownRoot) const
{
    QTextStream &s = out();
    for (const Finding &f : m_findings)
        printLine(s, quoted(f.file) + QStringLiteral(": ") + f.message);
    for (const NotChecked &n : m_notChecked)
        printLine(s, QStringLiteral("not checked: %1 (%2)").arg(quoted(n.file), n.reason));
    for (const QString &note : m_notes)
        printLine(s, QStringLiteral("note: ") + note);

    QString summary = quoted(shownRoot) + QStringLiteral(": ");
    summary += m_findings.isEmpty() ? QStringLiteral("no findings")
                                    : plural(m_findings.size(), "finding", "findings");
    summary += QStringLiteral(" (%1 and %2 checked")
                   .arg(plural(m_pages.size(), "page file", "page files"),
                        plural(int(m_definitions.size()), "definition file", "definition files"));
    if (!m_notChecked.isEmpty())
        summary += QStringLiteral("; %1 not checked")
                       .arg(plural(m_notChecked.size(), "other file", "other files"));
    summary += QLatin1Char(')');
    printLine(s, summary);
    if (m_incomplete)
        printLine(s, QStringLiteral("the check is incomplete: some files or folders could not be "
                                    "checked"));
    else if (noProjectFiles())
        printLine(s, QStringLiteral("the check is incomplete: no page or definition file found"));
}

QJsonObject ProjectCheck::json(const QString &shownRoot) const
{
    QJsonArray findings;
    for (const Finding &f : m_findings) {
        QJsonObject o{{QStringLiteral("check"), f.check},
                      {QStringLiteral("file"), f.file},
                      {QStringLiteral("message"), f.message}};
        if (!f.item.isEmpty())
            o.insert(QStringLiteral("item"), f.item);
        if (!f.files.isEmpty())
            o.insert(QStringLiteral("files"), QJsonArray::fromStringList(f.files));
        if (f.check == Malformed && f.line > 0) {
            o.insert(QStringLiteral("line"), f.line);
            o.insert(QStringLiteral("column"), f.column);
        }
        if (f.hasTagId)
            o.insert(QStringLiteral("tagId"), f.tagId);
        findings.append(o);
    }
    QJsonArray notChecked;
    for (const NotChecked &n : m_notChecked) {
        QJsonObject o{{QStringLiteral("file"), n.file}, {QStringLiteral("reason"), n.reason}};
        if (n.incomplete)
            o.insert(QStringLiteral("incomplete"), true);
        notChecked.append(o);
    }
    const QStringList pages = m_pages.keys();
    QStringList definitions;
    for (const DefinitionFile &d : m_definitions)
        definitions << d.file;
    return {{QStringLiteral("directory"), shownRoot},
            {QStringLiteral("status"), status()},
            {QStringLiteral("complete"), complete()},
            {QStringLiteral("pageFiles"), QJsonArray::fromStringList(pages)},
            {QStringLiteral("definitionFiles"), QJsonArray::fromStringList(definitions)},
            {QStringLiteral("findings"), findings},
            {QStringLiteral("notChecked"), notChecked},
            {QStringLiteral("notes"), QJsonArray::fromStringList(m_notes)}};
}

} // namespace

int runCheck(const QStringList &args)
{
    CommandParser cp(
        QStringLiteral("check [options] DIR"),
        QStringLiteral(
            "Checks a project folder. Every file under DIR (hidden ones aside) is read once,\n"
            "whatever bytes its name holds, pages and definition files recognised by their\n"
            "root element, and reported:\n"
            "  - files that cannot be read, XML files (by content, or named *.xml) that are\n"
            "    not well-formed, with the parser's line and column, and names that are not\n"
            "    valid UTF-8;\n"
            "  - bindings to tag ids no definition file defines (SCADA object tag slots,\n"
            "    chart, gauge, schedule, database-query report and scroll tags);\n"
            "  - SCADA objects with the same Uid, on one page or on different pages;\n"
            "  - pages with the same page id;\n"
            "  - tags whose channel (by name or by id) their file does not define;\n"
            "  - tag names or tag ids defined more than once, tags without a name or address;\n"
            "  - alarms on tags no definition file defines.\n"
            "Exit status: 0 no findings, 1 findings, 2 the check is incomplete: the folder\n"
            "cannot be used (missing, no page or definition file at all), or some file in it\n"
            "could not be checked (unreadable, larger than the size limit, not a regular\n"
            "file, a link to a folder); JSON then says \"complete\": false.\n"
            "Files are read on as many threads as the machine has cores (--jobs to choose);\n"
            "the output is the same for any number."));
    cp.parser().addOption({QStringLiteral("json"), QStringLiteral("Write JSON instead.")});
    cp.parser().addOption({QStringLiteral("jobs"),
                           QStringLiteral("Read files on N threads (1: one after another)."),
                           QStringLiteral("N")});
    cp.parser().addPositionalArgument(QStringLiteral("DIR"), QStringLiteral("The project folder."));
    int code = ExitOk;
    if (!cp.parse(args, 1, 1, &code))
        return code;
    const QString dir = cp.parser().positionalArguments().constFirst();
    const bool json = cp.parser().isSet(QStringLiteral("json"));
    int jobs = QThread::idealThreadCount();
    if (cp.parser().isSet(QStringLiteral("jobs"))) {
        bool ok = false;
        jobs = cp.parser().value(QStringLiteral("jobs")).toInt(&ok);
        if (!ok || jobs < 1) {
            reportError(Command, QStringLiteral("--jobs takes a whole number from 1"));
            return ExitUsage;
        }
    }

    // The folder itself: opened, so that the reason is the system's ("Permission denied").
    QString error;
    struct stat st;
    const QByteArray native = QFile::encodeName(dir);
    if (::stat(native.constData(), &st) != 0)
        error = errno == ENOENT ? QStringLiteral("does not exist") : qt_error_string(errno);
    else if (!S_ISDIR(st.st_mode))
        error = QStringLiteral("is not a folder");
    else if (DIR *d = ::opendir(native.constData()))
        ::closedir(d);
    else
        error = QStringLiteral("cannot be read: ") + qt_error_string(errno);
    if (!error.isEmpty()) {
        reportError(Command, quoted(dir) + QLatin1Char(' ') + error);
        if (json) {
            printJson(QJsonDocument(QJsonObject{
                {QStringLiteral("directory"), dir},
                {QStringLiteral("status"), ExitUsage},
                {QStringLiteral("complete"), false},
                {QStringLiteral("error"), dir + QLatin1Char(' ') + error},
                {QStringLiteral("pageFiles"), QJsonArray()},
                {QStringLiteral("definitionFiles"), QJsonArray()},
                {QStringLiteral("findings"), QJsonArray()},
                {QStringLiteral("notChecked"), QJsonArray()},
                {QStringLiteral("notes"), QJsonArray()}}));
        }
        return ExitUsage;
    }

    ProjectCheck check(dir);
    check.scan(jobs);
    check.checkDefinitions();
    check.checkPages();
    if (json)
        printJson(QJsonDocument(check.json(dir)));
    else
        check.printText(dir);
    return check.status();
}
