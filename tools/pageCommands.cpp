// tirrel page show / page normalize
#include "cliSupport.h"

#include <pageAudit.h>
#include <scaFileProcessor.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QSet>

#include <algorithm>

using namespace cli;

namespace {

const QString ShowCommand = QStringLiteral("page show");
const QString NormalizeCommand = QStringLiteral("page normalize");

// Layer ids are unsigned 64-bit; JSON numbers hold integers exactly up to 2^53 only.
QJsonValue layerIdValue(quint64 id)
{
    if (id <= (quint64(1) << 53))
        return QJsonValue(double(id));
    return QJsonValue(QString::number(id));
}

// ---- What a page does not keep ---------------------------------------------------------------

// Each kind of finding: its name in JSON and its words in the text output.
struct FindingKind
{
    const char *key;
    const char *one;
    const char *many;
};
const FindingKind findingKinds[PageFinding_t::KindCount] = {
    {"unknownItemKind", "item of unknown kind", "items of unknown kind"},
    {"ignoredElement", "ignored element", "ignored elements"},
    {"duplicateElement", "duplicate element", "duplicate elements"},
    {"ignoredAttribute", "ignored attribute", "ignored attributes"},
    {"rootAttribute", "root attribute", "root attributes"},
    {"ignoredText", "ignored text", "ignored texts"},
    {"comment", "comment", "comments"},
    {"processingInstruction", "processing instruction", "processing instructions"},
    {"documentType", "document type declaration", "document type declarations"},
    {"notANumber", "non-numeric value", "non-numeric values"},
    {"notAnInteger", "non-integer value", "non-integer values"},
    {"outOfRange", "out-of-range value", "out-of-range values"},
    {"nan", "NaN", "NaNs"},
    {"invalidColor", "invalid colour", "invalid colours"},
    {"undecodableBytes", "text with undecodable bytes", "texts with undecodable bytes"},
    {"controlCharacters", "text with control characters", "texts with control characters"},
};

// A loaded page with its findings, counted by kind.
struct AuditedPage
{
    PagePtr page;
    QList<PageFinding_t> findings;
    int counts[PageFinding_t::KindCount] = {};

    int count(bool coerced) const
    {
        int n = 0;
        for (const PageFinding_t &f : findings)
            n += f.isCoercion() == coerced ? 1 : 0;
        return n;
    }
};

// Loads a file read by readInput as a page, with its findings; tells why not as loadPage does
// (by the root element, or after a refusal by a second parse, which explains it).
AuditedPage loadAuditedPage(InputFile *input, const QString &path, QString *why)
{
    const ProjectFileInfo_t::Kind page = ProjectFileInfo_t::PageFile;
    AuditedPage audited;
    if (input->info.kind != page) {
        *why = describeProbe(input->info, page);
        return audited;
    }
    audited.page.reset(PageAudit::loadFileData(input->data, path, &audited.findings));
    if (!audited.page) {
        input->info = ProjectFileProbe::probe(input->data);
        *why = input->info.kind == page ? QStringLiteral("could not be loaded")
                                        : describeProbe(input->info, page);
    }
    for (const PageFinding_t &f : qAsConst(audited.findings))
        ++audited.counts[f.kind];
    return audited;
}

// "not kept: 1 comment, 2 ignored elements; coerced: 1 non-numeric value", or empty.
QString findingSummary(const AuditedPage &audited)
{
    QStringList parts[2];
    for (int k = 0; k < PageFinding_t::KindCount; ++k) {
        const int n = audited.counts[k];
        if (n > 0)
            parts[k >= PageFinding_t::NotANumber].append(
                QStringLiteral("%1 %2").arg(n).arg(QLatin1String(n == 1 ? findingKinds[k].one
                                                                        : findingKinds[k].many)));
    }
    QStringList groups;
    if (!parts[0].isEmpty())
        groups << QStringLiteral("not kept: ") + parts[0].join(QStringLiteral(", "));
    if (!parts[1].isEmpty())
        groups << QStringLiteral("coerced: ") + parts[1].join(QStringLiteral(", "));
    return groups.join(QStringLiteral("; "));
}

void insertFindings(QJsonObject *o, const AuditedPage &audited)
{
    o->insert(QStringLiteral("notKept"), audited.count(false));
    o->insert(QStringLiteral("coerced"), audited.count(true));
    QJsonArray list;
    for (const PageFinding_t &f : audited.findings) {
        QJsonObject entry{{QStringLiteral("kind"), QLatin1String(findingKinds[f.kind].key)},
                          {QStringLiteral("path"), f.path},
                          {QStringLiteral("text"), f.text}};
        if (!f.itemType.isEmpty()) {
            entry.insert(QStringLiteral("itemType"), f.itemType);
            if (f.itemIndex >= 0)
                entry.insert(QStringLiteral("itemIndex"), f.itemIndex);
            entry.insert(QStringLiteral("itemName"), f.itemName);
        }
        if (!f.readAs.isEmpty())
            entry.insert(QStringLiteral("readAs"), f.readAs);
        list.append(entry);
    }
    o->insert(QStringLiteral("findings"), list);
}

QList<int> distinctTagIds(const QList<TagBinding_t> &bindings)
{
    QSet<int> seen;
    QList<int> ids;
    for (const TagBinding_t &b : bindings) {
        if (!seen.contains(b.tagId)) {
            seen.insert(b.tagId);
            ids.append(b.tagId);
        }
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

QJsonObject pageJson(const QString &path, const AuditedPage &audited)
{
    const ScaFileData &page = *audited.page;
    const ScaFileData::PageProperties &p = page.pageProperties;
    QJsonObject o;
    o.insert(QStringLiteral("file"), path);
    o.insert(QStringLiteral("pageName"), p.pageName);
    o.insert(QStringLiteral("pageID"), p.pageID);
    o.insert(QStringLiteral("pageType"), p.pageType);
    o.insert(QStringLiteral("width"), p.pageGeometry.width());
    o.insert(QStringLiteral("height"), p.pageGeometry.height());
    o.insert(QStringLiteral("customPageSize"), p.customPageSize);
    o.insert(QStringLiteral("pageBgImage"), p.pageBgImage);
    o.insert(QStringLiteral("addScrollingText"), p.addScrollingText);
    o.insert(QStringLiteral("geoView"), p.geoView);

    QJsonArray layers;
    for (const LayerInfo &layer : page.layers) {
        layers.append(QJsonObject{{QStringLiteral("id"), layerIdValue(layer.id)},
                                  {QStringLiteral("name"), layer.name},
                                  {QStringLiteral("visible"), layer.visible}});
    }
    o.insert(QStringLiteral("layers"), layers);

    QJsonObject items;
    int total = 0;
    for (const auto &count : itemCounts(page)) {
        items.insert(count.first, count.second);
        total += count.second;
    }
    o.insert(QStringLiteral("items"), items);
    o.insert(QStringLiteral("itemCount"), total);

    const QList<TagBinding_t> bindings = page.tagBindings();
    QJsonArray ids;
    for (int id : distinctTagIds(bindings))
        ids.append(id);
    o.insert(QStringLiteral("tagIds"), ids);
    QJsonArray list;
    for (const TagBinding_t &b : bindings) {
        QJsonObject entry{{QStringLiteral("tagId"), b.tagId},
                          {QStringLiteral("itemType"), b.itemType},
                          {QStringLiteral("itemIndex"), b.itemIndex},
                          {QStringLiteral("itemName"), b.itemName},
                          {QStringLiteral("slot"), describeSlot(b)}};
        if (b.uid != -1)
            entry.insert(QStringLiteral("uid"), b.uid);
        list.append(entry);
    }
    o.insert(QStringLiteral("bindings"), list);
    insertFindings(&o, audited);
    return o;
}

void printPage(const QString &path, const AuditedPage &audited)
{
    const ScaFileData &page = *audited.page;
    const ScaFileData::PageProperties &p = page.pageProperties;
    QTextStream &s = out();
    printLine(s, quoted(path));
    printLine(s, QStringLiteral("  page:         %1 (id %2, type %3)")
                     .arg(p.pageName.isEmpty() ? QStringLiteral("(no name)") : p.pageName,
                          QString::number(p.pageID), QString::number(p.pageType)));
    printLine(s, QStringLiteral("  size:         %1 x %2%3")
                     .arg(p.pageGeometry.width())
                     .arg(p.pageGeometry.height())
                     .arg(p.customPageSize ? QStringLiteral(" (custom size)") : QString()));
    printLine(s, QStringLiteral("  background:   ")
                     + (p.pageBgImage.isEmpty() ? QStringLiteral("-") : p.pageBgImage));
    printLine(s, QStringLiteral("  scrolling:    %1, %2 %3")
                     .arg(p.addScrollingText ? QStringLiteral("on") : QStringLiteral("off"))
                     .arg(p.scrollTags.size())
                     .arg(p.scrollTags.size() == 1 ? QStringLiteral("scroll tag")
                                                   : QStringLiteral("scroll tags")));
    printLine(s, QStringLiteral("  layers:       %1").arg(page.layers.size()));
    for (const LayerInfo &layer : page.layers) {
        printLine(s, QStringLiteral("    %1  %2%3")
                         .arg(QString::number(layer.id), layer.name,
                              layer.visible ? QString() : QStringLiteral(" (hidden)")));
    }

    const auto counts = itemCounts(page);
    int total = 0;
    for (const auto &count : counts)
        total += count.second;
    printLine(s, QStringLiteral("  items:        %1").arg(total));
    for (const auto &count : counts)
        printLine(s, QStringLiteral("    %1%2").arg(count.first, -14).arg(count.second));

    const QList<TagBinding_t> bindings = page.tagBindings();
    const QList<int> ids = distinctTagIds(bindings);
    printLine(s, QStringLiteral("  tag bindings: %1 (%2 %3)")
                     .arg(bindings.size())
                     .arg(ids.size())
                     .arg(ids.size() == 1 ? QStringLiteral("tag") : QStringLiteral("tags")));
    for (const TagBinding_t &b : bindings) {
        printLine(s, QStringLiteral("    %1  %2, %3")
                         .arg(b.tagId, 6)
                         .arg(describeItem(b.itemType, b.itemIndex, b.itemName, b.uid),
                              describeSlot(b)));
    }
    QStringList idTexts;
    for (int id : ids)
        idTexts << QString::number(id);
    printLine(s, QStringLiteral("  tag ids:      ")
                     + (idTexts.isEmpty() ? QStringLiteral("-") : idTexts.join(' ')));

    for (const bool coerced : {false, true}) {
        printLine(s, QStringLiteral("  %1%2")
                         .arg(coerced ? QStringLiteral("coerced:") : QStringLiteral("not kept:"), -14)
                         .arg(audited.count(coerced)));
        for (int k = 0; k < PageFinding_t::KindCount; ++k) {
            if (audited.counts[k] > 0 && (k >= PageFinding_t::NotANumber) == coerced)
                printLine(s, QStringLiteral("    %1%2")
                                 .arg(QLatin1String(findingKinds[k].many), -31)
                                 .arg(audited.counts[k]));
        }
    }
}

} // namespace

int runPageShow(const QStringList &args)
{
    CommandParser cp(QStringLiteral("page show [options] FILE..."),
                     QStringLiteral("Shows each page file's properties, layers, item counts by "
                                    "kind and the tag ids\nits items and scroll tags are bound to, "
                                    "and what a save of the page would lose\nor change: what the "
                                    "page does not keep (items of unknown kinds, elements and\n"
                                    "attributes it does not read, comments) and the values it "
                                    "coerces (numbers that\ndo not parse or are out of range, "
                                    "invalid colours, undecodable bytes, control\ncharacters). "
                                    "Files that are not pages are reported."));
    cp.parser().addOption({QStringLiteral("json"), QStringLiteral("Write JSON (an array, one "
                                                                   "object per page) instead.")});
    cp.parser().addOption({QStringLiteral("strict"),
                           QStringLiteral("Report a page that holds anything not kept or coerced "
                                          "as an error (exit 1).")});
    cp.parser().addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Page files."),
                                      QStringLiteral("FILE..."));
    int code = ExitOk;
    if (!cp.parse(args, 1, -1, &code))
        return code;
    const bool json = cp.parser().isSet(QStringLiteral("json"));
    const bool strict = cp.parser().isSet(QStringLiteral("strict"));

    const QStringList files = cp.parser().positionalArguments();
    Progress progress(QStringLiteral("reading"), files.size());
    QJsonArray pages;
    bool first = true;
    for (const QString &path : files) {
        progress.step(path);
        QString why;
        InputFile input;
        AuditedPage audited;
        if (readInput(QFile::encodeName(path), &input, &why))
            audited = loadAuditedPage(&input, path, &why);
        if (!audited.page) {
            progress.done();
            reportError(ShowCommand, quoted(path) + QLatin1Char(' ') + why);
            code = ExitFailed;
            continue;
        }
        if (json) {
            pages.append(pageJson(path, audited));
        } else {
            progress.done();
            if (!first)
                out() << '\n';
            first = false;
            printPage(path, audited);
            out().flush();
        }
        if (strict && !audited.findings.isEmpty()) {
            progress.done();
            reportError(ShowCommand, quoted(path) + QStringLiteral(": ") + findingSummary(audited));
            code = ExitFailed;
        }
    }
    progress.done();
    if (json)
        printJson(QJsonDocument(pages));
    return code;
}

// ---- page normalize -----------------------------------------------------------------------------

namespace {

// Saves the page as folder/name. The page writer puts the path it is given into the file's
// "fileName" element; saving by the bare name from within the folder keeps that element the
// file's own name, so the result does not depend on where the tool was run from.
bool savePageAs(ScaFileData *page, const QString &folder, const QString &name, QString *why)
{
    const QString previous = QDir::currentPath();
    if (!QDir::setCurrent(folder)) {
        *why = QStringLiteral("the folder cannot be entered");
        return false;
    }
    const bool saved = ScaFileProcessor::saveFileData(page, name);
    QDir::setCurrent(previous);
    *why = FileAccess::lastSaveError();
    return saved;
}

} // namespace

int runPageNormalize(const QStringList &args)
{
    CommandParser cp(
        QStringLiteral("page normalize [options] FILE..."),
        QStringLiteral("Loads each page file and saves it again through the library, which gives "
                       "it its\ncanonical form: items grouped by kind, every value written, "
                       "layers without items\ndropped. The page's \"fileName\" element becomes the "
                       "file's own name.\nFiles are replaced unless -o is given: whole, or not at "
                       "all when the save fails,\nand not written when already canonical. A file "
                       "that is not a page (by its root\nelement) is reported and never written. "
                       "What a page does not keep and the values\nit coerces (see page show) are "
                       "counted for each file written."));
    cp.parser().addOption({{QStringLiteral("o"), QStringLiteral("output")},
                           QStringLiteral("Write the pages into <dir> (created if missing) instead "
                                          "of replacing them."),
                           QStringLiteral("dir")});
    cp.parser().addOption({QStringLiteral("strict"),
                           QStringLiteral("Do not write a page that holds anything not kept or "
                                          "coerced; report it as an error (exit 1).")});
    cp.parser().addOption({QStringLiteral("json"),
                           QStringLiteral("Write JSON (an array, one object per page loaded, with "
                                          "what it does not keep) instead.")});
    cp.parser().addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Page files."),
                                      QStringLiteral("FILE..."));
    int code = ExitOk;
    if (!cp.parse(args, 1, -1, &code))
        return code;

    const QString outputDir = cp.parser().value(QStringLiteral("output"));
    if (cp.parser().isSet(QStringLiteral("output"))) {
        if (outputDir.isEmpty() || !QDir().mkpath(outputDir)) {
            reportError(NormalizeCommand,
                        QStringLiteral("cannot create the output folder ") + quoted(outputDir));
            return ExitFailed;
        }
    }

    const bool strict = cp.parser().isSet(QStringLiteral("strict"));
    const bool json = cp.parser().isSet(QStringLiteral("json"));

    const QStringList files = cp.parser().positionalArguments();
    Progress progress(QStringLiteral("normalizing"), files.size());
    QHash<QString, QString> written;    // target path -> the source written there
    QJsonArray results;
    for (const QString &path : files) {
        progress.step(path);
        const QFileInfo source(path);
        const QString folder = outputDir.isEmpty() ? source.absolutePath()
                                                   : QFileInfo(outputDir).absoluteFilePath();
        const QString target = QDir(folder).filePath(source.fileName());
        const auto fail = [&](const QString &message) {
            progress.done();
            reportError(NormalizeCommand, message);
            code = ExitFailed;
        };

        QString why;
        InputFile input;
        AuditedPage audited;
        if (readInput(QFile::encodeName(path), &input, &why))
            audited = loadAuditedPage(&input, path, &why);
        ScaFileData *page = audited.page.get();
        if (!page) {
            fail(quoted(path) + QLatin1Char(' ') + why + QStringLiteral("; left as it is"));
            continue;
        }
        const QString shown =
            outputDir.isEmpty() ? path : QDir(outputDir).filePath(source.fileName());
        const QString summary = findingSummary(audited);
        const auto report = [&](const char *result) {
            QJsonObject o{{QStringLiteral("file"), path},
                          {QStringLiteral("output"), shown},
                          {QStringLiteral("result"), QLatin1String(result)}};
            insertFindings(&o, audited);
            results.append(o);
        };
        const auto refuse = [&](const QString &message) {
            report("not written");
            fail(message);
        };
        if (strict && !audited.findings.isEmpty()) {
            refuse(quoted(path) + QStringLiteral(" not written: ") + summary
                   + QStringLiteral("; left as it is"));
            continue;
        }
        if (written.contains(target)) {
            if (QFileInfo(written.value(target)) == source)
                continue;   // the same file given twice
            refuse(quoted(path) + QStringLiteral(" not written: ") + quoted(target)
                   + QStringLiteral(" was already written from another file"));
            continue;
        }
        // Never replace a file in the output folder that is not a well-formed page itself: a
        // broken one may be somebody's work in progress. Parsed whole for that.
        if (QFileInfo::exists(target) && QFileInfo(target) != source) {
            const ProjectFileInfo_t existing = ProjectFileProbe::probeFile(target);
            if (existing.kind != ProjectFileInfo_t::PageFile) {
                refuse(quoted(path) + QStringLiteral(" not written: ") + quoted(target)
                       + QLatin1Char(' ') + describeProbe(existing, ProjectFileInfo_t::PageFile)
                       + QStringLiteral(", and is not replaced"));
                continue;
            }
        }
        if (!savePageAs(page, folder, source.fileName(), &why)) {
            refuse(QStringLiteral("cannot write ") + quoted(shown) + QStringLiteral(": ") + why
                   + QStringLiteral("; any file there is left as it was"));
            continue;
        }
        written.insert(target, source.absoluteFilePath());
        // In place, a page already in canonical form leaves its file untouched; written
        // elsewhere, the new file is compared with the source.
        bool unchanged = FileAccess::lastSaveOutcome() == FileAccess::Unchanged;
        if (!outputDir.isEmpty()) {
            QByteArray after;
            unchanged = FileAccess::readFile(target, &after) == FileAccess::Read
                        && after == input.data;
        }
        progress.done();
        report(unchanged ? "unchanged" : "normalized");
        if (!json) {
            printLine(out(), quoted(shown) + (unchanged ? QStringLiteral(": unchanged")
                                                        : QStringLiteral(": normalized"))
                                 + (summary.isEmpty() ? QString() : " (" + summary + ')'));
            out().flush();
        }
    }
    progress.done();
    if (json)
        printJson(QJsonDocument(results));
    return code;
}
