// Peak heap of loading a page, against the bare DOM parse of the same bytes, and what a load
// leaves behind once the page and its records are deleted. One measurement per process:
//
//   tirrel_memprobe dom  <items | page file>    QDomDocument::setContent on the bytes
//   tirrel_memprobe tree <items | page file>    the library's XML tree (XmlTree::parse)
//   tirrel_memprobe load <items | page file>    ScaFileProcessor::loadFileData, then deletion
//   tirrel_memprobe load_dom <items | page file>   the same with every load through the DOM only
//
// A number of items stands for the generated page of that size (the benchmarks' generator and
// seed). Prints one JSON object: bytes of the file, peak heap growth over the start of the
// operation, heap still held after it (load: with the page alive, and after deleting it; tree:
// with the tree alive under "heap_with_page"), and
// the peak resident-set growth as the kernel saw it.
//
// The heap is counted by this program's own malloc family, which forwards to the C library's
// and adds up malloc_usable_size of every block, so the figures are exact and include Qt's
// allocations. Both operations are warmed up first on a small page, so that one-time set-up
// (the font database, codecs) counts for neither.

#include "benchCommon.h"
#include "benchPages.h"
#include "tirrelGen.h"

#include <scaFileProcessor.h>
#include <xmlRead_p.h>
#include <xmlTree_p.h>

#include <QDomDocument>
#include <QFile>
#include <QGuiApplication>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <malloc.h>

extern "C" {
void *__libc_malloc(size_t size);
void __libc_free(void *p);
void *__libc_calloc(size_t n, size_t size);
void *__libc_realloc(void *p, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
}

namespace {

std::atomic<long long> g_live{0};
std::atomic<long long> g_peak{0};

void account(long long delta)
{
    const long long now = g_live.fetch_add(delta, std::memory_order_relaxed) + delta;
    long long peak = g_peak.load(std::memory_order_relaxed);
    while (now > peak && !g_peak.compare_exchange_weak(peak, now, std::memory_order_relaxed)) {
    }
}

void *counted(void *p)
{
    if (p)
        account(static_cast<long long>(malloc_usable_size(p)));
    return p;
}

} // namespace

extern "C" {

void *malloc(size_t size) { return counted(__libc_malloc(size)); }
void *calloc(size_t n, size_t size) { return counted(__libc_calloc(n, size)); }
void *memalign(size_t alignment, size_t size) { return counted(__libc_memalign(alignment, size)); }
void *aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }
void *valloc(size_t size) { return memalign(4096, size); }
void *pvalloc(size_t size) { return memalign(4096, (size + 4095) & ~size_t(4095)); }

int posix_memalign(void **out, size_t alignment, size_t size)
{
    void *p = memalign(alignment, size);
    if (!p)
        return 12; // ENOMEM
    *out = p;
    return 0;
}

void free(void *p)
{
    if (!p)
        return;
    account(-static_cast<long long>(malloc_usable_size(p)));
    __libc_free(p);
}

void *realloc(void *p, size_t size)
{
    const long long before = p ? static_cast<long long>(malloc_usable_size(p)) : 0;
    void *q = __libc_realloc(p, size);
    if (q)
        account(static_cast<long long>(malloc_usable_size(q)) - before);
    else if (p && size == 0)
        account(-before);
    return q;
}

} // extern "C"

namespace {

long long procStatusKb(const char *key)
{
    FILE *f = std::fopen("/proc/self/status", "r");
    if (!f)
        return -1;
    char line[256];
    long long value = -1;
    const size_t len = std::strlen(key);
    while (std::fgets(line, sizeof line, f)) {
        if (std::strncmp(line, key, len) == 0) {
            value = std::atoll(line + len);
            break;
        }
    }
    std::fclose(f);
    return value;
}

void resetPeakRss()
{
    if (FILE *f = std::fopen("/proc/self/clear_refs", "w")) {
        std::fputs("5", f);
        std::fclose(f);
    }
}

QByteArray pageBytes(const QString &source)
{
    bool isNumber = false;
    const int items = source.toInt(&isNumber);
    if (isNumber) {
        TirrelGen::PageRequest request;
        request.items = items;
        request.seed = 20240601;
        request.fileName = QStringLiteral("page-%1.xml").arg(items);
        return TirrelGen::page(request).bytes;
    }
    QFile file(source);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void parse(const QByteArray &bytes)
{
    QDomDocument doc;
    QString message;
    int line = 0;
    int column = 0;
    doc.setContent(bytes, false, &message, &line, &column);
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    if (argc < 3
            || (qstrcmp(argv[1], "dom") != 0 && qstrcmp(argv[1], "load") != 0
                && qstrcmp(argv[1], "load_dom") != 0 && qstrcmp(argv[1], "tree") != 0)) {
        std::fprintf(stderr, "usage: %s dom|tree|load|load_dom <items | page file>\n", argv[0]);
        return 2;
    }
    const bool load = qstrncmp(argv[1], "load", 4) == 0;
    setDomReaderForced(qstrcmp(argv[1], "load_dom") == 0);
    const bool tree = qstrcmp(argv[1], "tree") == 0;
    const QByteArray bytes = pageBytes(QString::fromLocal8Bit(argv[2]));
    if (bytes.isEmpty()) {
        std::fprintf(stderr, "no page bytes\n");
        return 1;
    }

    // Warm-up on a small page.
    {
        TirrelGen::PageRequest request;
        request.items = 200;
        const QByteArray small = TirrelGen::page(request).bytes;
        if (load)
            Bench::deletePage(ScaFileProcessor::loadFileData(small, QStringLiteral("warm-up.xml")));
        else if (tree)
            XmlTree().parse(small);
        else
            parse(small);
    }

    const long long rssBefore = procStatusKb("VmRSS:");
    resetPeakRss();
    const long long base = g_live.load();
    g_peak.store(base);
    long long withPage = 0;
    long long retained = 0;
    if (load) {
        ScaFileData *page = ScaFileProcessor::loadFileData(bytes, QStringLiteral("page.xml"));
        if (!page) {
            std::fprintf(stderr, "the page did not load\n");
            return 1;
        }
        withPage = g_live.load() - base;
        Bench::deletePage(page);
        retained = g_live.load() - base;
    } else if (tree) {
        {
            XmlTree parsed;
            if (!parsed.parse(bytes).accepted()) {
                std::fprintf(stderr, "the tree refused the page\n");
                return 1;
            }
            withPage = g_live.load() - base;
        }
        retained = g_live.load() - base;
    } else {
        parse(bytes);
        retained = g_live.load() - base;
    }
    const long long peak = g_peak.load() - base;
    const long long rssPeak = procStatusKb("VmHWM:");

    std::printf("{\"mode\": \"%s\", \"bytes\": %lld, \"peak_heap\": %lld, \"heap_with_page\": %lld, "
                "\"retained\": %lld, \"rss_peak_growth\": %lld}\n",
                argv[1], static_cast<long long>(bytes.size()), peak, withPage, retained,
                rssPeak >= 0 && rssBefore >= 0 ? (rssPeak - rssBefore) * 1024 : -1);
    return 0;
}
