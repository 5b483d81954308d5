// tirrel check: the integrity check of a project folder.
#include "cliSupport.h"

#include <projectDataTree.h>
#include <scaFileProcessor.h>

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QSet>

#include <algorithm>
#include <vector>

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

class ProjectCheck
{
public:
    explicit ProjectCheck(const QString &root) : m_root(QFileInfo(root).absoluteFilePath()) {}
    ~ProjectCheck() { m_pages.selfDestruct(); }

    void scan();
    void checkDefinitions();
    void checkPages();

    int status() const;
    void printText(const QString &shownRoot) const;
    QJsonObject json(const QString &shownRoot) const;

private:
    void walk(const QDir &dir);
    void scanFile(const QFileInfo &file);
    void add(Finding f) { m_findings.append(std::move(f)); }
    QString relative(const QString &path) const
    {
        return m_root.relativeFilePath(QFileInfo(path).absoluteFilePath());
    }
    QSet<int> definedTagIds() const;

    QDir m_root;
    QList<QFileInfo> m_files;
    QList<Finding> m_findings;
    QList<NotChecked> m_notChecked;
    QStringList m_notes;
    bool m_incomplete = false;
    ProjectDataTree m_pages;            // keyed by the path relative to the project folder
    std::vector<DefinitionFile> m_definitions;
};

// ---- Reading the folder -------------------------------------------------------------------------

void ProjectCheck::walk(const QDir &dir)
{
    // Hidden entries (".git" and the like) are no part of a project.
    const QFileInfoList entries = dir.entryInfoList(
        QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::Name | QDir::DirsLast);
    for (const QFileInfo &entry : entries) {
        if (entry.isSymLink() && entry.isDir()) {
            m_notChecked.append({relative(entry.filePath()),
                                 QStringLiteral("link to a folder, not followed")});
        } else if (entry.isDir()) {
            if (!entry.isReadable() || !entry.isExecutable()) {
                Finding f;
                f.check = Unreadable;
                f.file = relative(entry.filePath());
                f.message = QStringLiteral("folder cannot be read");
                add(f);
                m_incomplete = true;
                continue;
            }
            walk(QDir(entry.filePath()));
        } else {
            m_files.append(entry);
        }
    }
}

void ProjectCheck::scanFile(const QFileInfo &file)
{
    const QString rel = relative(file.filePath());
    if (file.isSymLink() && !file.exists()) {
        m_notChecked.append({rel, QStringLiteral("broken symbolic link")});
        return;
    }
    if (!file.isFile()) {
        m_notChecked.append({rel, QStringLiteral("not a regular file")});
        return;
    }
    const ProjectFileInfo_t info = ProjectFileProbe::probeFile(file.filePath());
    // Content decides what a file is; the name only tells that a file meant to be XML is broken.
    const bool xmlName = file.suffix().compare(QLatin1String("xml"), Qt::CaseInsensitive) == 0;
    Finding f;
    f.file = rel;
    switch (info.kind) {
    case ProjectFileInfo_t::Unreadable:
        f.check = Unreadable;
        f.message = QStringLiteral("cannot be read: ") + info.errorMessage;
        add(f);
        m_incomplete = true;
        return;
    case ProjectFileInfo_t::TooLarge:
        m_notChecked.append({rel, info.errorMessage + QStringLiteral(", not read")});
        return;
    case ProjectFileInfo_t::Empty:
        if (!xmlName) {
            m_notChecked.append({rel, QStringLiteral("empty file")});
            return;
        }
        f.check = Malformed;
        f.message = QStringLiteral("is empty, not a well-formed XML document");
        add(f);
        return;
    case ProjectFileInfo_t::NotXml:
        if (!xmlName) {
            m_notChecked.append({rel, QStringLiteral("not XML")});
            return;
        }
        Q_FALLTHROUGH();
    case ProjectFileInfo_t::Malformed:
        f.check = Malformed;
        f.line = info.errorLine;
        f.column = info.errorColumn;
        f.message = QStringLiteral("is not well-formed XML: ");
        if (info.errorLine > 0)
            f.message += QStringLiteral("line %1, column %2: ")
                             .arg(info.errorLine)
                             .arg(info.errorColumn);
        f.message += info.errorMessage;
        add(f);
        return;
    case ProjectFileInfo_t::ObjectLibraryFile:
        m_notChecked.append({rel, QStringLiteral("object library file")});
        return;
    case ProjectFileInfo_t::OtherXml:
        m_notChecked.append({rel, QStringLiteral("XML with the root element <%1>")
                                      .arg(info.rootElement)});
        return;
    case ProjectFileInfo_t::PageFile: {
        QByteArray data;
        QString why;
        ScaFileData *page = nullptr;
        if (readWholeFile(file.filePath(), &data, &why))
            page = ScaFileProcessor::loadFileData(data, rel);
        if (!page) {
            f.check = Unreadable;
            f.message = QStringLiteral("changed or vanished while it was read");
            add(f);
            m_incomplete = true;
            return;
        }
        m_pages.pages.insert(rel, page);
        return;
    }
    case ProjectFileInfo_t::DefinitionFile: {
        TreePtr tree(TgchFileProcessor::loadFileData(file.filePath()));
        if (!tree) {
            f.check = Unreadable;
            f.message = QStringLiteral("vanished while it was read");
            add(f);
            m_incomplete = true;
            return;
        }
        m_definitions.push_back({rel, std::move(tree)});
        return;
    }
    }
}

void ProjectCheck::scan()
{
    walk(m_root);
    Progress progress(QStringLiteral("checking"), m_files.size());
    for (const QFileInfo &file : qAsConst(m_files)) {
        progress.step(relative(file.filePath()));
        scanFile(file);
    }
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
            const QString tag = QStringLiteral("tag %1 (id %2)").arg(quote(t->Name)).arg(t->Id);
            names.add(t->Name, {d.file, QStringLiteral("id %1").arg(t->Id)});
            ids.add(t->Id, {d.file, quote(t->Name)});

            const bool badName = !t->KanalName.isEmpty() && !channelNames.contains(t->KanalName);
            const bool badId = t->Kanal_Id != NoChannelId && !channelIds.contains(t->Kanal_Id);
            if (badName || badId) {
                QString channel;
                if (badName && badId)
                    channel = QStringLiteral("channel %1 (id %2)")
                                  .arg(quote(t->KanalName))
                                  .arg(t->Kanal_Id);
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
            f.item = QStringLiteral("alarm %1 (id %2)").arg(quote(a->alarm_name)).arg(a->Id);
            f.message = QStringLiteral("%1 is on tag %2, which no definition file defines")
                            .arg(f.item).arg(a->tagID);
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
                        .arg(id).arg(times(o.size()), listOccurrences(o));
        f.tagId = id;
        f.hasTagId = true;
        add(f);
    }
}

void ProjectCheck::checkPages()
{
    QStringList keys = m_pages.pages.keys();
    std::sort(keys.begin(), keys.end());

    const QSet<int> tagIds = definedTagIds();
    if (m_definitions.empty() && !keys.isEmpty())
        m_notes << QStringLiteral("no definition file found, so tag bindings were not checked");

    Occurrences<int> uids;
    Occurrences<int> pageIds;
    for (const QString &key : qAsConst(keys)) {
        const ScaFileData *page = m_pages.getFiledataWithName(key);
        if (!m_definitions.empty()) {
            for (const TagBinding_t &b : page->tagBindings()) {
                if (tagIds.contains(b.tagId))
                    continue;
                Finding f;
                f.check = UndefinedTag;
                f.file = key;
                f.item = describeItem(b.itemType, b.itemIndex, b.itemName, b.uid);
                f.message = QStringLiteral("%1 is bound to tag %2 (%3), which no definition file "
                                           "defines")
                                .arg(f.item).arg(b.tagId).arg(describeSlot(b));
                f.tagId = b.tagId;
                f.hasTagId = true;
                add(f);
            }
        }
        QSet<int> uidsOfPage;
        for (int i = 0; i < page->scadaObjects.size(); ++i) {
            const ScadaObjectLoadData_t *o = page->scadaObjects.at(i);
            uids.add(o->Uid, {key, describeItem(QStringLiteral("ScadaObject"), i, o->base->Name,
                                                -1)});
        }
        if (page->pageProperties.pageID != NoPageId) {
            pageIds.add(page->pageProperties.pageID,
                        {key, quote(page->pageProperties.pageName)});
        }
    }
    for (int uid : uids.keys()) {
        const QList<Occurrence> &o = uids.at(uid);
        const QStringList files = filesOf(o);
        // The same Uid twice on one page is the page's own affair; across pages it is not.
        if (files.size() < 2)
            continue;
        Finding f;
        f.check = DuplicateUid;
        f.file = files.first();
        f.files = files;
        f.item = QStringLiteral("SCADA object Uid %1").arg(uid);
        f.message = QStringLiteral("SCADA object Uid %1 is used on %2 pages: %3")
                        .arg(uid).arg(files.size()).arg(listOccurrences(o));
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
                        .arg(id).arg(o.size()).arg(listOccurrences(o));
        add(f);
    }
    // Reported file by file, in the order the checks above found them within each file.
    std::stable_sort(m_findings.begin(), m_findings.end(),
                     [](const Finding &a, const Finding &b) { return a.file < b.file; });
}

// ---- Results ------------------------------------------------------------------------------------

int ProjectCheck::status() const
{
    if (m_incomplete)
        return ExitUsage;
    if (!m_findings.isEmpty())
        return ExitFindings;
    if (m_pages.pages.isEmpty() && m_definitions.empty())
        return ExitUsage;
    return ExitOk;
}

QString plural(int n, const char *one, const char *many)
{
    return QStringLiteral("%1 %2").arg(n).arg(QLatin1String(n == 1 ? one : many));
}

void ProjectCheck::printText(const QString &shownRoot) const
{
    QTextStream &s = out();
    for (const Finding &f : m_findings)
        s << f.file << ": " << f.message << "\n";
    for (const NotChecked &n : m_notChecked)
        s << "not checked: " << n.file << " (" << n.reason << ")\n";
    for (const QString &note : m_notes)
        s << "note: " << note << "\n";

    QString summary = shownRoot + QStringLiteral(": ");
    summary += m_findings.isEmpty() ? QStringLiteral("no findings")
                                    : plural(m_findings.size(), "finding", "findings");
    summary += QStringLiteral(" (%1 and %2 checked")
                   .arg(plural(m_pages.pages.size(), "page file", "page files"),
                        plural(int(m_definitions.size()), "definition file", "definition files"));
    if (!m_notChecked.isEmpty())
        summary += QStringLiteral("; %1 not checked")
                       .arg(plural(m_notChecked.size(), "other file", "other files"));
    summary += QLatin1Char(')');
    s << summary << "\n";
    if (m_incomplete)
        s << "the check is incomplete: some files or folders could not be read\n";
    else if (m_pages.pages.isEmpty() && m_definitions.empty())
        s << "no page or definition file found\n";
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
    for (const NotChecked &n : m_notChecked)
        notChecked.append(QJsonObject{{QStringLiteral("file"), n.file},
                                      {QStringLiteral("reason"), n.reason}});
    QStringList pages = m_pages.pages.keys();
    std::sort(pages.begin(), pages.end());
    QStringList definitions;
    for (const DefinitionFile &d : m_definitions)
        definitions << d.file;
    return {{QStringLiteral("directory"), shownRoot},
            {QStringLiteral("status"), status()},
            {QStringLiteral("complete"), !m_incomplete},
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
            "Checks a project folder. Every file under DIR (hidden ones aside) is read, pages\n"
            "and definition files recognised by their root element, and reported:\n"
            "  - files that cannot be read, and XML files (by content, or named *.xml) that\n"
            "    are not well-formed, with the parser's line and column;\n"
            "  - bindings to tag ids no definition file defines (SCADA object tag slots,\n"
            "    chart, gauge, schedule, database-query report and scroll tags);\n"
            "  - SCADA objects with the same Uid on different pages;\n"
            "  - pages with the same page id;\n"
            "  - tags whose channel (by name or by id) their file does not define;\n"
            "  - tag names or tag ids defined more than once;\n"
            "  - alarms on tags no definition file defines.\n"
            "Exit status: 0 no findings, 1 findings, 2 the folder cannot be used (missing,\n"
            "unreadable files or folders, or no page or definition file at all)."));
    cp.parser().addOption({QStringLiteral("json"), QStringLiteral("Write JSON instead.")});
    cp.parser().addPositionalArgument(QStringLiteral("DIR"), QStringLiteral("The project folder."));
    int code = ExitOk;
    if (!cp.parse(args, 1, 1, &code))
        return code;
    const QString dir = cp.parser().positionalArguments().constFirst();
    const QFileInfo info(dir);
    if (!info.exists() || !info.isDir()) {
        reportError(Command, quoted(dir) + (info.exists() ? QStringLiteral(" is not a folder")
                                                          : QStringLiteral(" does not exist")));
        return ExitUsage;
    }
    if (!info.isReadable() || !info.isExecutable()) {
        reportError(Command, QStringLiteral("the folder ") + quoted(dir)
                                 + QStringLiteral(" cannot be read"));
        return ExitUsage;
    }

    ProjectCheck check(dir);
    check.scan();
    check.checkDefinitions();
    check.checkPages();
    if (cp.parser().isSet(QStringLiteral("json")))
        printJson(QJsonDocument(check.json(dir)));
    else
        check.printText(dir);
    return check.status();
}
