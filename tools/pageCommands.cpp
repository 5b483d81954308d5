// tirrel page show / page normalize
#include "cliSupport.h"

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

QJsonObject pageJson(const QString &path, const ScaFileData &page)
{
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
    return o;
}

void printPage(const QString &path, const ScaFileData &page)
{
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
}

} // namespace

int runPageShow(const QStringList &args)
{
    CommandParser cp(QStringLiteral("page show [options] FILE..."),
                     QStringLiteral("Shows each page file's properties, layers, item counts by "
                                    "kind and the tag ids\nits items and scroll tags are bound to. "
                                    "Files that are not pages are reported."));
    cp.parser().addOption({QStringLiteral("json"), QStringLiteral("Write JSON (an array, one "
                                                                   "object per page) instead.")});
    cp.parser().addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Page files."),
                                      QStringLiteral("FILE..."));
    int code = ExitOk;
    if (!cp.parse(args, 1, -1, &code))
        return code;
    const bool json = cp.parser().isSet(QStringLiteral("json"));

    const QStringList files = cp.parser().positionalArguments();
    Progress progress(QStringLiteral("reading"), files.size());
    QJsonArray pages;
    bool first = true;
    for (const QString &path : files) {
        progress.step(path);
        QString why;
        const PagePtr page = loadPageFile(path, &why);
        if (!page) {
            progress.done();
            reportError(ShowCommand, quoted(path) + QLatin1Char(' ') + why);
            code = ExitFailed;
            continue;
        }
        if (json) {
            pages.append(pageJson(path, *page));
        } else {
            progress.done();
            if (!first)
                out() << '\n';
            first = false;
            printPage(path, *page);
            out().flush();
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
                       "that is not a page (by its root\nelement) is reported and never written."));
    cp.parser().addOption({{QStringLiteral("o"), QStringLiteral("output")},
                           QStringLiteral("Write the pages into <dir> (created if missing) instead "
                                          "of replacing them."),
                           QStringLiteral("dir")});
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

    const QStringList files = cp.parser().positionalArguments();
    Progress progress(QStringLiteral("normalizing"), files.size());
    QHash<QString, QString> written;    // target path -> the source written there
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
        PagePtr page;
        if (readInput(QFile::encodeName(path), &input, &why))
            page = loadPage(&input, path, &why);
        if (!page) {
            fail(quoted(path) + QLatin1Char(' ') + why + QStringLiteral("; left as it is"));
            continue;
        }
        if (written.contains(target)) {
            if (QFileInfo(written.value(target)) == source)
                continue;   // the same file given twice
            fail(quoted(path) + QStringLiteral(" not written: ") + quoted(target)
                 + QStringLiteral(" was already written from another file"));
            continue;
        }
        // Never replace a file in the output folder that is not a well-formed page itself: a
        // broken one may be somebody's work in progress. Parsed whole for that.
        if (QFileInfo::exists(target) && QFileInfo(target) != source) {
            const ProjectFileInfo_t existing = ProjectFileProbe::probeFile(target);
            if (existing.kind != ProjectFileInfo_t::PageFile) {
                fail(quoted(path) + QStringLiteral(" not written: ") + quoted(target)
                     + QLatin1Char(' ') + describeProbe(existing, ProjectFileInfo_t::PageFile)
                     + QStringLiteral(", and is not replaced"));
                continue;
            }
        }
        const QString shown =
            outputDir.isEmpty() ? path : QDir(outputDir).filePath(source.fileName());
        if (!savePageAs(page.get(), folder, source.fileName(), &why)) {
            fail(QStringLiteral("cannot write ") + quoted(shown) + QStringLiteral(": ") + why
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
        printLine(out(), quoted(shown) + (unchanged ? QStringLiteral(": unchanged")
                                                    : QStringLiteral(": normalized")));
        out().flush();
    }
    return code;
}
