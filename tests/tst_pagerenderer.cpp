// The page renderer: each fixture page of data/render against a committed picture and a committed
// text of its warnings and the boxes its items were drawn in (checked, when they were made, to
// hold all of the page's ink but its background). Pictures are compared by pixels
// with a tolerance, in the DejaVu Sans font the set-up script installs. Besides one page per item
// kind: items turned and mirrored (placement), stacking by layer, group and z, layers filtered,
// and item styles. To make new goldens, set TIRREL_RENDER_OUT to a folder: each page's picture
// and text are written there to be looked at and copied into tests/data/render/golden/.
#include <pageRenderer.h>
#include <scaFileData.h>
#include <scaFileProcessor.h>
#include <tgchFileProcessor.h>

#include <QtTest>

#include <memory>

namespace {

const QString Data = QStringLiteral(TIRREL_TEST_DATA "/render");

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

} // namespace

class tst_PageRenderer : public QObject
{
    Q_OBJECT

private slots:
    void render_data();
    void render();
};

void tst_PageRenderer::render_data()
{
    QTest::addColumn<QString>("page");
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("golden");

    for (const char *kind : {"scadaobject", "text", "dbqtext", "schedule", "rtchart", "table",
                             "gauge", "image", "webframe", "blank", "hostile", "placement",
                             "stacking"})
        QTest::newRow(kind) << QString::fromLatin1(kind) << QString() << QString::fromLatin1(kind);
    QTest::newRow("all layers") << "stacking" << "all layers" << "stacking-all-layers";
    // The style hides the first item, fades the second to a ghost and outlines the third.
    QTest::newRow("styles") << "styles" << "styled" << "styles";
}

void tst_PageRenderer::render()
{
    QFETCH(QString, page);
    QFETCH(QString, options);
    QFETCH(QString, golden);
    QFile file(Data + QLatin1Char('/') + page + QStringLiteral(".xml"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const std::unique_ptr<ScaFileData, void (*)(ScaFileData *)> p(
            ScaFileProcessor::loadFileData(file.readAll(), file.fileName()), [](ScaFileData *page) {
                page->deleteAllItems();
                delete page;
            });
    QVERIFY(p);
    const std::unique_ptr<FileDataTree> defs(TgchFileProcessor::loadFileData(Data + "/defs.xml"));
    PageRenderer::Options o;
    o.fontFamily = QStringLiteral("DejaVu Sans");
    o.tagText = PageRenderer::TagNames;
    o.definitions = defs.get();
    if (options == QLatin1String("all layers"))
        o.layerFilter = PageRenderer::allLayers();
    if (options == QLatin1String("styled")) {
        o.itemStyle = [](const PageItemRef &item) {
            PageItemStyle style;
            style.visible = item.index != 0;
            style.opacity = item.index == 1 ? 0.5 : 1.0;
            if (item.index == 2)
                style.outline = QPen(QColor(0xff, 0, 0), 2);
            return style;
        };
    }
    PageRenderer renderer(o);
    QCOMPARE(renderer.loadObjectLibrary(Data + QStringLiteral("/library")), 1);
    const QImage image = renderer.renderImage(*p);
    QCOMPARE(image.size(), PageRenderer::pageSize(*p));
    QStringList text = renderer.warnings().replaceInStrings(Data, QStringLiteral("DATA"));

    // Where each item was drawn, in the golden text after the warnings.
    for (const PageRenderer::DrawnItem &item : renderer.drawnItems()) {
        const QRectF &b = item.bounds;
        text << QStringLiteral("%1 at %2,%3 %4x%5").arg(item.item.describe()).arg(b.x()).arg(b.y())
                        .arg(b.width()).arg(b.height());
    }

    // The committed picture, give or take what another build of the font library makes of the
    // glyphs' edges.
    const QString out = qEnvironmentVariable("TIRREL_RENDER_OUT") + QLatin1Char('/') + golden;
    if (qEnvironmentVariableIsSet("TIRREL_RENDER_OUT")) {
        image.save(out + QStringLiteral(".png"));
        QFile texts(out + QStringLiteral(".txt"));
        QVERIFY(texts.open(QIODevice::WriteOnly) && texts.write(text.join('\n').toUtf8() + '\n') > 0);
    }
    QFile expected(Data + QStringLiteral("/golden/") + golden + QStringLiteral(".txt"));
    QVERIFY(expected.open(QIODevice::ReadOnly));
    QCOMPARE(text, QString::fromUtf8(expected.readAll()).split('\n', Qt::SkipEmptyParts));
    const QImage goldenImage = QImage(Data + QStringLiteral("/golden/") + golden + ".png")
                                       .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QCOMPARE(goldenImage.size(), image.size());
    const int different = countDifferent(image, goldenImage, image.rect(), 40);
    QVERIFY2(different <= image.width() * image.height() / 1000,
             qPrintable(QStringLiteral("%1 pixels differ").arg(different)));
}

QTEST_MAIN(tst_PageRenderer)
#include "tst_pagerenderer.moc"
