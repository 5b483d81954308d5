// tirrel page render: pages drawn as PNG, SVG or PDF files.
#include "cliSupport.h"

#include <pageRenderer.h>
#include <fileAccess.h>

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QPainter>
#include <QPdfWriter>
#include <QRegularExpression>
#include <QSet>
#include <QSvgGenerator>

#include <cmath>
#include <functional>

using namespace cli;

namespace {

const QString RenderCommand = QStringLiteral("page render");
const QStringList Formats{QStringLiteral("png"), QStringLiteral("svg"), QStringLiteral("pdf")};

// ---- SVG: one group per item ---------------------------------------------------------------------

// The SVG generator writes what a painter draws as one flat run of elements. To give every item
// a group of its own, each item is drawn by a generator of its own and the documents are joined,
// one after the other, straight into the file: the drawing of each (all between its description
// and its end) becomes one <g>, its ids (gradients) prefixed so that they stay unique.
QByteArray svgOf(const QSize &size, qreal scale, const std::function<void(QPainter *)> &paint)
{
    QBuffer buffer;
    QSvgGenerator generator;
    generator.setOutputDevice(&buffer);
    generator.setSize(size);
    generator.setViewBox(QRect(QPoint(0, 0), size));
    generator.setResolution(96);
    QPainter painter(&generator);
    painter.scale(scale, scale);
    paint(&painter);
    painter.end();
    return buffer.data();
}

QByteArray svgGroup(const QByteArray &document, const QString &id, const QString &title,
                    bool item)
{
    const int descEnd = document.indexOf("</desc>");
    const int from = descEnd < 0 ? document.indexOf('>', document.indexOf("<svg")) + 1
                                 : descEnd + int(qstrlen("</desc>"));
    QString body = QString::fromUtf8(document.mid(from, document.lastIndexOf("</svg>") - from));
    static const QRegularExpression ids(QStringLiteral("\\bid=\"([^\"]+)\""));
    QStringList found;
    for (auto it = ids.globalMatch(body); it.hasNext();)
        found << it.next().captured(1);
    const QString prefix = id + QLatin1Char('-');
    for (const QString &old : qAsConst(found)) {
        body.replace(QStringLiteral("id=\"%1\"").arg(old), QStringLiteral("id=\"%1%2\"").arg(prefix, old));
        body.replace(QStringLiteral("url(#%1)").arg(old), QStringLiteral("url(#%1%2)").arg(prefix, old));
        body.replace(QStringLiteral("href=\"#%1\"").arg(old), QStringLiteral("href=\"#%1%2\"").arg(prefix, old));
    }
    QString group = QStringLiteral("<g id=\"%1\"%2>\n").arg(id.toHtmlEscaped(),
                                                          item ? QStringLiteral(" class=\"item\"")
                                                               : QString());
    if (!title.isEmpty())
        group += QStringLiteral("<title>%1</title>\n").arg(title.toHtmlEscaped());
    return (group + body.trimmed() + QStringLiteral("\n</g>\n")).toUtf8();
}

bool writeSvgPage(PageRenderer &renderer, const ScaFileData &page, const QSize &size, qreal scale,
                  QIODevice &device)
{
    const QList<PageRenderer::DrawnItem> items = renderer.layout(page);
    const auto write = [&device](const QByteArray &bytes) {
        return device.write(bytes) == bytes.size();
    };
    // The generator's own XML declaration and <svg> start tag, then the page's name.
    const QByteArray empty = svgOf(size, scale, [](QPainter *) {});
    bool ok = write(empty.left(empty.indexOf('>', empty.indexOf("<svg")) + 1) + '\n')
              && write(QStringLiteral("<title>%1</title>\n")
                           .arg(page.pageProperties.pageName.toHtmlEscaped()).toUtf8());
    if (ok && renderer.options().drawBackground) {
        ok = write(svgGroup(svgOf(size, scale, [&](QPainter *p) {
                                renderer.renderBackground(page, p);
                            }), QStringLiteral("page-background"), QString(), false));
    }
    for (int i = 0; ok && i < items.size(); ++i) {
        const PageRenderer::DrawnItem &item = items.at(i);
        ok = write(svgGroup(svgOf(size, scale, [&](QPainter *p) {
                                renderer.renderItem(page, item, p);
                            }),
                            QStringLiteral("%1-%2").arg(item.item.itemType()).arg(item.item.index),
                            item.item.describe(), true));
    }
    return ok && write(svgGroup(svgOf(size, scale, [&](QPainter *p) {
                                    renderer.renderOutlines(items, p);
                                }), QStringLiteral("outlines"), QString(), false))
           && write("</svg>\n");
}

// ---- Writing -------------------------------------------------------------------------------------

// Renders the page in the format and writes it to path through the library's safe save, so an
// existing file is replaced whole or not at all. False with *why set otherwise.
bool writePage(PageRenderer &renderer, const ScaFileData &page, const QString &format,
               qreal scale, const QString &path, QSize *outputSize, QString *why)
{
    const QSize pageSize = PageRenderer::pageSize(page);
    const QSize size(int(std::ceil(pageSize.width() * scale)),
                     int(std::ceil(pageSize.height() * scale)));
    *outputSize = size;
    std::function<bool(QIODevice &)> write;
    QImage image;
    if (format == QLatin1String("png")) {
        image = renderer.renderImage(page, scale);
        if (image.isNull()) {
            *why = QStringLiteral("cannot be drawn as an image: ") + renderer.warnings().value(
                       renderer.warnings().size() - 1);
            return false;
        }
        write = [&image](QIODevice &device) { return image.save(&device, "PNG"); };
    } else if (format == QLatin1String("svg")) {
        write = [&](QIODevice &device) { return writeSvgPage(renderer, page, size, scale, device); };
    } else {
        write = [&](QIODevice &device) {
            QPdfWriter pdf(&device);
            pdf.setResolution(72);
            pdf.setPageSize(QPageSize(QSizeF(size), QPageSize::Point, QString(),
                                      QPageSize::ExactMatch));
            pdf.setPageMargins(QMarginsF(0, 0, 0, 0));
            pdf.setCreator(QStringLiteral("tirrel"));
            pdf.setTitle(page.pageProperties.pageName);
            QPainter painter;
            if (!painter.begin(&pdf))
                return false;
            painter.scale(scale, scale);
            renderer.render(page, &painter);
            return painter.end();
        };
    }
    if (FileAccess::saveFile(path, write))
        return true;
    *why = FileAccess::lastSaveError();
    return false;
}

QJsonObject boundsJson(const QRectF &r)
{
    return QJsonObject{{QStringLiteral("x"), r.x()}, {QStringLiteral("y"), r.y()},
                       {QStringLiteral("width"), r.width()}, {QStringLiteral("height"), r.height()}};
}

} // namespace

int runPageRender(const QStringList &args)
{
    CommandParser cp(
        QStringLiteral("page render [options] PAGE... -o OUT"),
        QStringLiteral(
            "Draws page files as pictures: PNG, SVG (one group per item) or PDF, by the\n"
            "extension of OUT or --format. With several pages OUT is a folder (created if\n"
            "missing) that gets one file per page, named after the page file. Tag-bound values\n"
            "show the tag (no live data). What cannot be drawn as the page has it (a missing\n"
            "image, an object type the object library lacks) is drawn as a stand-in and\n"
            "reported on standard error; it does not fail the command. An existing output\n"
            "file is replaced whole, or left as it was when writing fails."));
    QCommandLineParser &p = cp.parser();
    p.addOption({{QStringLiteral("o"), QStringLiteral("output")},
                 QStringLiteral("The file to write, or the folder for several pages."),
                 QStringLiteral("out")});
    p.addOption({QStringLiteral("format"),
                 QStringLiteral("png, svg or pdf (default: OUT's extension, else png)."),
                 QStringLiteral("format")});
    p.addOption({QStringLiteral("scale"),
                 QStringLiteral("Output units per page unit (default 1)."), QStringLiteral("factor"),
                 QStringLiteral("1")});
    p.addOption({QStringLiteral("library"),
                 QStringLiteral("Draw SCADA objects with the images of the object library in "
                                "<dir> (objlib.xml, userlib.xml and their images)."),
                 QStringLiteral("dir")});
    p.addOption({QStringLiteral("layers"),
                 QStringLiteral("visible (default), all, or a comma-separated list of layer ids "
                                "or names."),
                 QStringLiteral("which"), QStringLiteral("visible")});
    p.addOption({QStringLiteral("tags"),
                 QStringLiteral("What tag-bound values show: names (needs --defs), ids or none "
                                "(default: names with --defs, else ids)."),
                 QStringLiteral("what")});
    p.addOption({QStringLiteral("defs"), QStringLiteral("The definition file that names the tags."),
                 QStringLiteral("file")});
    p.addOption({QStringLiteral("font"),
                 QStringLiteral("Draw every text in this font family (output that does not "
                                "depend on the fonts of the machine)."),
                 QStringLiteral("family")});
    p.addOption({QStringLiteral("json"),
                 QStringLiteral("Write a JSON summary (an array, one object per page: output, "
                                "size, items drawn with their bounding boxes, warnings).")});
    p.addPositionalArgument(QStringLiteral("PAGE"), QStringLiteral("Page files."),
                            QStringLiteral("PAGE..."));
    int code = ExitOk;
    if (!cp.parse(args, 1, -1, &code))
        return code;
    const auto usage = [](const QString &message) {
        reportError(RenderCommand, message);
        err() << "See 'tirrel " << RenderCommand << " --help'.\n";
        err().flush();
        return ExitUsage;
    };

    // ---- Options
    const QStringList files = p.positionalArguments();
    const QString output = p.value(QStringLiteral("output"));
    if (output.isEmpty())
        return usage(QStringLiteral("the output is missing (-o FILE, or -o DIR for several pages)"));
    bool scaleOk = false;
    const qreal scale = p.value(QStringLiteral("scale")).toDouble(&scaleOk);
    if (!scaleOk || !std::isfinite(scale) || scale <= 0)
        return usage(QStringLiteral("the scale must be a number above 0, not ")
                     + quoted(p.value(QStringLiteral("scale"))));

    const bool toFolder = files.size() > 1 || QFileInfo(output).isDir()
                          || output.endsWith(QLatin1Char('/'));
    const QString suffix = QFileInfo(output).suffix().toLower();
    QString format = p.value(QStringLiteral("format")).toLower();
    if (p.isSet(QStringLiteral("format")) && !Formats.contains(format))
        return usage(QStringLiteral("unknown format ") + quoted(format)
                     + QStringLiteral(" (png, svg or pdf)"));
    if (!toFolder && format.isEmpty()) {
        if (!Formats.contains(suffix))
            return usage(QStringLiteral("cannot tell the format of ") + quoted(output)
                         + QStringLiteral(": give it the extension .png, .svg or .pdf, or use "
                                          "--format"));
        format = suffix;
    }
    if (format.isEmpty())
        format = QStringLiteral("png");
    if (toFolder && !QFileInfo(output).isDir() && Formats.contains(suffix))
        return usage(QStringLiteral("with several pages, -o names a folder, not ") + quoted(output));

    PageRenderer::Options options;
    const QString layers = p.value(QStringLiteral("layers"));
    QStringList chosenLayers;
    if (layers == QLatin1String("all")) {
        options.layerFilter = PageRenderer::allLayers();
    } else if (layers != QLatin1String("visible")) {
        for (const QString &entry : layers.split(QLatin1Char(','), Qt::SkipEmptyParts))
            chosenLayers << entry.trimmed();
        options.layerFilter = PageRenderer::chosenLayers(chosenLayers);
    }

    const QString tags = p.value(QStringLiteral("tags"));
    const bool haveDefs = p.isSet(QStringLiteral("defs"));
    if (tags == QLatin1String("names") || (tags.isEmpty() && haveDefs)) {
        if (!haveDefs)
            return usage(QStringLiteral("--tags names needs the definition file (--defs FILE)"));
        options.tagText = PageRenderer::TagNames;
    } else if (tags == QLatin1String("ids") || tags.isEmpty()) {
        options.tagText = PageRenderer::TagIds;
    } else if (tags == QLatin1String("none")) {
        options.tagText = PageRenderer::NoTagText;
    } else {
        return usage(QStringLiteral("--tags takes names, ids or none, not ") + quoted(tags));
    }
    TreePtr definitions;
    if (haveDefs) {
        QString why;
        const QString defs = p.value(QStringLiteral("defs"));
        definitions = loadDefinitionFile(defs, &why);
        if (!definitions) {
            reportError(RenderCommand, quoted(defs) + QLatin1Char(' ') + why
                                           + QStringLiteral("; nothing drawn"));
            return ExitFailed;
        }
        options.definitions = definitions.get();
    }
    options.fontFamily = p.value(QStringLiteral("font"));

    PageRenderer renderer(options);
    if (p.isSet(QStringLiteral("library"))) {
        const QString library = p.value(QStringLiteral("library"));
        if (renderer.loadObjectLibrary(library) == 0) {
            reportError(RenderCommand, quoted(library)
                                           + QStringLiteral(" holds no object library (objlib.xml "
                                                            "or userlib.xml); nothing drawn"));
            return ExitFailed;
        }
    }
    if (toFolder && !QDir().mkpath(output)) {
        reportError(RenderCommand, QStringLiteral("cannot create the output folder ") + quoted(output));
        return ExitFailed;
    }

    // ---- Pages
    const bool json = p.isSet(QStringLiteral("json"));
    Progress progress(QStringLiteral("drawing"), files.size());
    QHash<QString, QString> written;    // target path -> the page drawn there
    QJsonArray summary;
    for (const QString &path : files) {
        progress.step(path);
        const auto fail = [&](const QString &message) {
            progress.done();
            reportError(RenderCommand, message);
            code = ExitFailed;
        };
        QString why;
        const PagePtr page = loadPageFile(path, &why);
        if (!page) {
            fail(quoted(path) + QLatin1Char(' ') + why);
            continue;
        }
        const QString target = toFolder ? QDir(output).filePath(QFileInfo(path).completeBaseName()
                                                                 + QLatin1Char('.') + format)
                                        : output;
        const QString targetKey = QFileInfo(target).absoluteFilePath();
        if (written.contains(targetKey)) {
            if (QFileInfo(written.value(targetKey)) != QFileInfo(path))
                fail(quoted(path) + QStringLiteral(" not drawn: ") + quoted(target)
                     + QStringLiteral(" was already written from another page"));
            continue;
        }

        QSize size;
        const bool ok = writePage(renderer, *page, format, scale, target, &size, &why);
        QStringList warnings = renderer.warnings();
        for (const QString &layer : chosenLayers) {
            bool found = false;
            for (const LayerInfo &info : page->layers)
                found = found || QString::number(info.id) == layer || info.name == layer;
            if (!found)
                warnings << QStringLiteral("layer %1 is not on this page").arg(quoted(layer));
        }
        progress.done();
        for (const QString &warning : warnings)
            reportError(RenderCommand, path + QStringLiteral(": ") + warning);
        if (!ok) {
            fail(QStringLiteral("cannot write ") + quoted(target) + QStringLiteral(": ") + why
                 + QStringLiteral("; any file there is left as it was"));
            continue;
        }
        written.insert(targetKey, path);
        const QList<PageRenderer::DrawnItem> items = renderer.drawnItems();
        if (json) {
            QJsonArray drawn;
            for (const PageRenderer::DrawnItem &item : items) {
                drawn.append(QJsonObject{{QStringLiteral("itemType"), item.item.itemType()},
                                         {QStringLiteral("index"), item.item.index},
                                         {QStringLiteral("name"), item.item.base->Name},
                                         {QStringLiteral("bounds"), boundsJson(item.bounds)}});
            }
            summary.append(QJsonObject{{QStringLiteral("file"), path},
                                       {QStringLiteral("output"), target},
                                       {QStringLiteral("format"), format},
                                       {QStringLiteral("width"), size.width()},
                                       {QStringLiteral("height"), size.height()},
                                       {QStringLiteral("scale"), scale},
                                       {QStringLiteral("items"), drawn},
                                       {QStringLiteral("warnings"),
                                        QJsonArray::fromStringList(warnings)}});
        } else {
            out() << "wrote " << target << " (" << size.width() << " x " << size.height() << ", "
                  << items.size() << (items.size() == 1 ? " item" : " items");
            if (!warnings.isEmpty())
                out() << ", " << warnings.size() << (warnings.size() == 1 ? " warning" : " warnings");
            out() << ")\n";
            out().flush();
        }
    }
    progress.done();
    if (json)
        printJson(QJsonDocument(summary));
    return code;
}
