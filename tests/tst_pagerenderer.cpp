// The page renderer: each item kind against a committed picture, where items land when rotated
// and mirrored, stacking and layers, and item styles. Pictures are compared by pixels with a
// tolerance, in the DejaVu Sans font the set-up script installs. To make new pictures, set
// TIRREL_RENDER_OUT to a folder: each kind's picture is written there to be looked at and
// copied into tests/data/render/golden/.
#include <pageRenderer.h>
#include <scaFileData.h>
#include <scaFileProcessor.h>
#include <tgchFileProcessor.h>

#include <QPainter>
#include <QtTest>

#include <memory>

namespace {

const QString Data = QStringLiteral(TIRREL_TEST_DATA "/render");
const QString Font = QStringLiteral("DejaVu Sans");

struct PageDeleter
{
    void operator()(ScaFileData *page) const
    {
        page->deleteAllItems();
        delete page;
    }
};
using PagePtr = std::unique_ptr<ScaFileData, PageDeleter>;

PagePtr loadPage(const QString &name)
{
    QFile file(Data + QLatin1Char('/') + name);
    return PagePtr(file.open(QIODevice::ReadOnly)
                       ? ScaFileProcessor::loadFileData(file.readAll(), file.fileName())
                       : nullptr);
}

bool differs(QRgb a, QRgb b, int tolerance)
{
    return qAbs(qRed(a) - qRed(b)) > tolerance || qAbs(qGreen(a) - qGreen(b)) > tolerance
           || qAbs(qBlue(a) - qBlue(b)) > tolerance || qAbs(qAlpha(a) - qAlpha(b)) > tolerance;
}

// Pixels of `area` that differ from the same pixels of `other`.
int countDifferent(const QImage &image, const QImage &other, const QRect &area, int tolerance)
{
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x)
            count += differs(image.pixel(x, y), other.pixel(x, y), tolerance) ? 1 : 0;
    }
    return count;
}

// A page of one text item per entry, each filling the page with its paper colour.
struct Paper
{
    quint64 layer;
    quint64 group;
    int groupZ;
    int z;
    QString color;
};

} // namespace

Q_DECLARE_METATYPE(Paper)

class tst_PageRenderer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void kinds_data();
    void kinds();
    void placement_data();
    void placement();
    void stacking_data();
    void stacking();
    void itemStyles();

private:
    std::unique_ptr<FileDataTree> m_defs;
};

void tst_PageRenderer::initTestCase()
{
    m_defs.reset(TgchFileProcessor::loadFileData(Data + QStringLiteral("/defs.xml")));
    QVERIFY(m_defs && m_defs->TagList.size() == 2);
}

void tst_PageRenderer::kinds_data()
{
    QTest::addColumn<QString>("page");
    QTest::addColumn<QStringList>("warnings");  // DATA: the test data folder

    QTest::newRow("SCADA objects") << "scadaobject.xml" << QStringList{
        "ScadaObject #1 \"Mystery\": object type 99 is not in the object library",
        "ScadaObject #2 \"No image\": cannot read image DATA/library/images/tank.png (no such file)"};
    QTest::newRow("texts") << "text.xml" << QStringList();
    QTest::newRow("database-query texts") << "dbqtext.xml" << QStringList();
    QTest::newRow("schedule") << "schedule.xml" << QStringList();
    QTest::newRow("real-time charts") << "rtchart.xml" << QStringList();
    QTest::newRow("table") << "table.xml" << QStringList();
    QTest::newRow("gauges") << "gauge.xml" << QStringList();
    QTest::newRow("images") << "image.xml" << QStringList{
        "ImageItem #1 \"Missing\": cannot read image DATA/images/missing.png (no such file)"};
    QTest::newRow("web frame") << "webframe.xml" << QStringList();
    QTest::newRow("blank page") << "blank.xml" << QStringList{
        "page background: cannot read image DATA/images/missing-background.png (no such file)"};
    QTest::newRow("hostile values") << "hostile.xml" << QStringList{
        "ScadaObject #0 \"Far away\": placed or sized beyond 1e+06 units, not drawn",
        "ScadaObject #1 \"Too wide\": placed or sized beyond 1e+06 units, not drawn",
        "ScadaObject #2 \"No size\": cannot read image DATA/library/images/tank.png (no such file)"};
}

void tst_PageRenderer::kinds()
{
    QFETCH(QString, page);
    QFETCH(QStringList, warnings);
    const PagePtr p = loadPage(page);
    QVERIFY(p);
    PageRenderer::Options options;
    options.fontFamily = Font;
    options.tagText = PageRenderer::TagNames;
    options.definitions = m_defs.get();
    PageRenderer renderer(options);
    QCOMPARE(renderer.loadObjectLibrary(Data + QStringLiteral("/library")), 1);
    const QImage image = renderer.renderImage(*p);
    QCOMPARE(image.size(), PageRenderer::pageSize(*p));
    QCOMPARE(renderer.warnings().replaceInStrings(Data, QStringLiteral("DATA")), warnings);

    // Every item's box that lies on the page has ink, and there is none outside the boxes.
    QImage background(image.size(), image.format());
    background.fill(Qt::transparent);
    QPainter painter(&background);
    renderer.renderBackground(*p, &painter);
    painter.end();
    QRegion boxes;
    for (const PageRenderer::DrawnItem &item : renderer.drawnItems()) {
        const QRect box = item.bounds.toAlignedRect().adjusted(-1, -1, 1, 1) & image.rect();
        boxes += box;
        if (!item.bounds.isEmpty() && image.rect().contains(item.bounds.toAlignedRect()))
            QVERIFY2(countDifferent(image, background, box, 0) > 0, qPrintable(item.item.describe()));
    }
    int stray = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            stray += !boxes.contains(QPoint(x, y)) && image.pixel(x, y) != background.pixel(x, y);
    }
    QCOMPARE(stray, 0);

    // The committed picture, give or take what another build of the font library makes of the
    // glyphs' edges.
    const QString name = QFileInfo(page).completeBaseName() + QStringLiteral(".png");
    if (qEnvironmentVariableIsSet("TIRREL_RENDER_OUT"))
        image.save(qEnvironmentVariable("TIRREL_RENDER_OUT") + QLatin1Char('/') + name);
    const QImage golden = QImage(Data + QStringLiteral("/golden/") + name)
                              .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QCOMPARE(golden.size(), image.size());
    const int different = countDifferent(image, golden, image.rect(), 40);
    QVERIFY2(different <= image.width() * image.height() / 1000,
             qPrintable(QStringLiteral("%1 pixels differ").arg(different)));
}

void tst_PageRenderer::placement_data()
{
    // An image whose top-left quarter alone is opaque, in a 60 x 20 item at (20, 40): the box it
    // lands in and the quarter of that box that shows the opaque quarter (0 top left, 1 top
    // right, 2 bottom left, 3 bottom right).
    QTest::addColumn<int>("rot");
    QTest::addColumn<bool>("hflip");
    QTest::addColumn<bool>("vflip");
    QTest::addColumn<QRectF>("bounds");
    QTest::addColumn<int>("quarter");

    QTest::newRow("as placed") << 0 << false << false << QRectF(20, 40, 60, 20) << 0;
    QTest::newRow("mirrored") << 0 << true << false << QRectF(20, 40, 60, 20) << 1;
    QTest::newRow("upside down") << 0 << false << true << QRectF(20, 40, 60, 20) << 2;
    QTest::newRow("turned 90") << 90 << false << false << QRectF(40, 20, 20, 60) << 1;
    QTest::newRow("turned -270") << -270 << false << false << QRectF(40, 20, 20, 60) << 1;
    QTest::newRow("turned 180") << 180 << false << false << QRectF(20, 40, 60, 20) << 3;
    QTest::newRow("mirrored, then turned 90") << 90 << true << false << QRectF(40, 20, 20, 60) << 3;
}

void tst_PageRenderer::placement()
{
    QFETCH(int, rot);
    QFETCH(bool, hflip);
    QFETCH(bool, vflip);
    QFETCH(QRectF, bounds);
    QFETCH(int, quarter);
    PagePtr page(new ScaFileData);
    page->pageProperties.pageGeometry = QSize(100, 100);
    auto *item = new ImageItemLoadData_t;
    item->ImageFile = Data + QStringLiteral("/images/quadrant.png");
    *item->base = ItemBaseData_t{20, 40, 60, 20, 0, 0, rot, hflip, vflip, 0, 0, QString(), 8};
    page->imageItems << item;

    PageRenderer::Options options;
    options.drawBackground = false;
    PageRenderer renderer(options);
    const QImage image = renderer.renderImage(*page);
    QCOMPARE(renderer.drawnItems().size(), 1);
    QCOMPARE(renderer.drawnItems().first().bounds, bounds);
    const QSizeF half = bounds.size() / 2;
    for (int q = 0; q < 4; ++q) {
        const QPointF centre = bounds.topLeft() + QPointF(half.width() * (q % 2 + 0.5),
                                                          half.height() * (q / 2 + 0.5));
        const bool opaque = qAlpha(image.pixel(centre.toPoint())) == 255;
        QVERIFY2(opaque == (q == quarter), qPrintable(QStringLiteral("quarter %1").arg(q)));
    }
}

void tst_PageRenderer::stacking_data()
{
    // Two items covering the whole page; which one shows. Layers 1 and 2 are visible, in that
    // order, layer 3 is hidden.
    QTest::addColumn<QList<Paper>>("items");
    QTest::addColumn<bool>("allLayers");
    QTest::addColumn<QString>("shown");

    const QString red = QStringLiteral("#ff0000");
    const QString blue = QStringLiteral("#0000ff");
    QTest::newRow("higher z on top") << QList<Paper>{{1, 0, 0, 2, red}, {1, 0, 0, 1, blue}}
                                     << false << red;
    QTest::newRow("equal z: file order") << QList<Paper>{{1, 0, 0, 1, red}, {1, 0, 0, 1, blue}}
                                         << false << blue;
    QTest::newRow("group z over item z") << QList<Paper>{{1, 0, 0, 5, red}, {1, 7, 6, 0, blue}}
                                         << false << blue;
    QTest::newRow("within a group by item z")
        << QList<Paper>{{1, 7, 6, 3, red}, {1, 7, 6, 2, blue}} << false << red;
    QTest::newRow("later layer over higher z")
        << QList<Paper>{{2, 0, 0, 0, red}, {1, 0, 0, 9, blue}} << false << red;
    QTest::newRow("unlisted layer last") << QList<Paper>{{4, 0, 0, 0, red}, {2, 0, 0, 9, blue}}
                                         << false << red;
    QTest::newRow("hidden layer left out") << QList<Paper>{{1, 0, 0, 0, red}, {3, 0, 0, 9, blue}}
                                           << false << red;
    QTest::newRow("hidden layer drawn on request")
        << QList<Paper>{{1, 0, 0, 0, red}, {3, 0, 0, 9, blue}} << true << blue;
}

void tst_PageRenderer::stacking()
{
    QFETCH(QList<Paper>, items);
    QFETCH(bool, allLayers);
    QFETCH(QString, shown);
    PagePtr page(new ScaFileData);
    page->pageProperties.pageGeometry = QSize(20, 20);
    for (quint64 id : {1, 2, 3}) {
        LayerInfo layer;
        layer.id = id;
        layer.visible = id != 3;
        page->layers << layer;
        page->layerIds << int(id);
    }
    for (const Paper &paper : items) {
        auto *text = new TextItemLoadData_t;
        *text->base = ItemBaseData_t{0, 0, 20, 20, paper.z, paper.groupZ, 0, false, false,
                                     paper.group, paper.layer, QString(), 2};
        text->DrawPaper = true;
        text->BgColor = paper.color;
        page->textItems << text;
    }
    PageRenderer::Options options;
    if (allLayers)
        options.layerFilter = PageRenderer::allLayers();
    PageRenderer renderer(options);
    QCOMPARE(QColor(renderer.renderImage(*page).pixel(10, 10)).name(), shown);
}

void tst_PageRenderer::itemStyles()
{
    // A style hides the first item, fades the second to a ghost and outlines the third.
    PagePtr page(new ScaFileData);
    page->pageProperties.pageGeometry = QSize(60, 20);
    for (int i = 0; i < 3; ++i) {
        auto *text = new TextItemLoadData_t;
        *text->base = ItemBaseData_t{i * 20 + 4, 4, 12, 12, 0, 0, 0, false, false, 0, 0,
                                     QString(), 2};
        text->DrawPaper = true;
        text->BgColor = QStringLiteral("#000000");
        page->textItems << text;
    }
    PageRenderer::Options options;
    options.itemStyle = [](const PageItemRef &item) {
        PageItemStyle style;
        style.visible = item.index != 0;
        style.opacity = item.index == 1 ? 0.5 : 1.0;
        if (item.index == 2)
            style.outline = QPen(QColor(0xff, 0, 0), 2);
        return style;
    };
    PageRenderer renderer(options);
    const QImage image = renderer.renderImage(*page);
    QCOMPARE(renderer.drawnItems().size(), 2);
    QCOMPARE(QColor(image.pixel(10, 10)).name(), QStringLiteral("#ffffff"));
    QVERIFY(qAbs(qGray(image.pixel(30, 10)) - 128) < 8);
    QCOMPARE(QColor(image.pixel(50, 10)).name(), QStringLiteral("#000000"));
    QCOMPARE(QColor(image.pixel(44, 10)).name(), QStringLiteral("#ff0000"));
}

QTEST_MAIN(tst_PageRenderer)
#include "tst_pagerenderer.moc"
