// Loads a page file, prints its properties, layers and item counts by kind, and saves it back
// to the given output path (or a temporary file), as a host plug-in would.
#include <tirrel.h>

#include <QGuiApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <cstdio>

// The library reports progress through Qt's debug output; like a host, this program decides
// where that goes: debug lines are dropped, warnings still reach stderr.
static void quietHandler(QtMsgType type, const QMessageLogContext &, const QString &msg)
{
    if (type != QtDebugMsg)
        fprintf(stderr, "%s\n", qPrintable(msg));
}

int main(int argc, char **argv)
{
    // Text items without a size are measured with their font, which needs a GUI application;
    // without a display it runs on the offscreen platform.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY")
        && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    qInstallMessageHandler(quietHandler);
    QTextStream out(stdout);
    QTextStream err(stderr);
    const QStringList args = app.arguments();
    if (args.size() < 2 || args.size() > 3) {
        err << "usage: page-info PAGEFILE [OUTFILE]\n";
        return 2;
    }
    QFile file(args.at(1));
    if (!file.open(QIODevice::ReadOnly)) {
        err << "cannot read " << args.at(1) << ": " << file.errorString() << "\n";
        return 1;
    }
    ScaFileData *page = ScaFileProcessor::loadFileData(file.readAll(), args.at(1));
    if (!page) {
        err << args.at(1) << " is not a well-formed page file\n";
        return 1;
    }

    const ScaFileData::PageProperties &p = page->pageProperties;
    out << "page:       " << p.pageName << " (id " << p.pageID << ", type " << p.pageType << ")\n"
        << "size:       " << p.pageGeometry.width() << " x " << p.pageGeometry.height()
        << (p.customPageSize ? " (custom)" : "") << "\n"
        << "background: " << (p.pageBgImage.isEmpty() ? QStringLiteral("-") : p.pageBgImage) << "\n"
        << "scrolling:  " << (p.addScrollingText ? "on" : "off") << ", "
        << p.scrollTags.size() << " scroll tags\n";
    out << "layers:     " << page->layers.size() << "\n";
    for (const LayerInfo &layer : page->layers)
        out << "  " << layer.id << "  " << layer.name << (layer.visible ? "" : " (hidden)") << "\n";

    out << "items:\n";
    for (const auto &count : page->itemCounts())
        out << "  " << qSetFieldWidth(14) << Qt::left << count.first << qSetFieldWidth(0)
            << count.second << "\n";

    QTemporaryDir tmp;
    const QString target = args.size() == 3 ? args.at(2) : tmp.filePath(QStringLiteral("saved.xml"));
    const bool saved = ScaFileProcessor::saveFileData(page, target);
    out << "saved to:   " << (args.size() == 3 ? target : QStringLiteral("a temporary file"))
        << (saved ? "" : " FAILED") << "\n";
    out.flush();

    // The page holds its item records by pointer; the holder deletes them.
    page->deleteAllItems();
    delete page;
    return saved ? 0 : 1;
}
