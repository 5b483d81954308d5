// Text items measure their size with the font when the file gives none (a GUI application is
// needed for that), and a chart read writes a debug line. Every other reading and writing of the
// item kinds is in tst_scafileprocessor's cases.

#include "pageDump.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QProcess>
#include <QtTest>

#include <cstdio>

using namespace pagedump;

namespace {

QByteArray item(const QByteArray &type, const QByteArray &children = QByteArray())
{
    return "<Item><ItemType>" + type + "</ItemType>" + children + "</Item>";
}

// The size the reader gives a text item of the given children (no "Width", no "Height").
QSize measured(const QByteArray &children)
{
    const Page page(loadItems(item("TextItem", children)));
    if (!page || page->textItems.size() != 1)
        return QSize(-1, -1);
    return QSize(page->textItems.at(0)->base->W, page->textItems.at(0)->base->H);
}

const char GuilessArgument[] = "--guiless-text-size";

} // namespace

class tst_PageItems : public QObject
{
    Q_OBJECT

private slots:
    void textItemMeasuredSize();
    void textItemPixelSize_data();
    void textItemPixelSize();
    void textItemWithoutGuiApplication();
    void chartDebugLine();
};

void tst_PageItems::textItemMeasuredSize()
{
    // Twice the text's width, at most 800; four times the font's height.
    const QSize empty = measured("");
    QCOMPARE(empty.width(), 0);
    QVERIFY(empty.height() > 0);
    QCOMPARE(empty.height() % 4, 0);

    const QSize wide = measured("<ItemText>" + QByteArray(400, 'W') + "</ItemText><TextPixelSize>20</TextPixelSize>");
    QCOMPARE(wide.width(), 800);
    const QSize shortText = measured("<ItemText>Hi</ItemText><TextPixelSize>20</TextPixelSize>");
    QVERIFY2(shortText.width() > 0 && shortText.width() < 800, qPrintable(QString::number(shortText.width())));
    QCOMPARE(shortText.width() % 2, 0);
    QCOMPARE(measured("<ItemText>Hi</ItemText><TextPixelSize>20</TextPixelSize><Width>3</Width>").width(), 3);
    QCOMPARE(measured("<ItemText>Hi</ItemText><TextPixelSize>20</TextPixelSize><Height>3</Height>").height(), 3);

    // The pixel size counts: 40 pixels give a font at least 40 pixels high.
    const QSize big = measured("<ItemText>Hi</ItemText><TextPixelSize>40</TextPixelSize>");
    QVERIFY2(big.height() >= 4 * 40 && big.height() < 4 * 80, qPrintable(QString::number(big.height())));
    QVERIFY(big.width() > shortText.width());
    QVERIFY(big.height() > shortText.height());

    // Absurd sizes measure without trouble; the width stays capped.
    const QSize huge = measured("<ItemText>Hi</ItemText><TextPixelSize>2147483647</TextPixelSize>");
    QVERIFY(huge.width() >= 0 && huge.width() <= 800);
    QVERIFY(huge.height() >= 0);
}

void tst_PageItems::textItemPixelSize_data()
{
    // "TextSize" stands in for a missing, 0 or -1 "TextPixelSize", also for the measured size.
    QTest::addColumn<QByteArray>("children");
    QTest::addColumn<int>("pixelSize");
    QTest::newRow("missing: TextSize") << QByteArray("<TextSize>24</TextSize>") << 24;
    QTest::newRow("0: TextSize")
            << QByteArray("<TextPixelSize>0</TextPixelSize><TextSize>24</TextSize>") << 24;
    QTest::newRow("-1: TextSize")
            << QByteArray("<TextPixelSize>-1</TextPixelSize><TextSize>24</TextSize>") << 24;
    QTest::newRow("-2 kept")
            << QByteArray("<TextPixelSize>-2</TextPixelSize><TextSize>24</TextSize>") << -2;
    QTest::newRow("pixel size wins")
            << QByteArray("<TextPixelSize>9</TextPixelSize><TextSize>24</TextSize>") << 9;
    QTest::newRow("no size at all") << QByteArray("<TextPixelSize>x</TextPixelSize>") << 0;
}

void tst_PageItems::textItemPixelSize()
{
    QFETCH(QByteArray, children);
    QFETCH(int, pixelSize);
    const QByteArray text = "<ItemText>Measure me</ItemText>";
    // Without a size, the font's default size is measured; a negative size is ignored.
    if (pixelSize > 0)
        QVERIFY(measured(text + children) != measured(text));
    QCOMPARE(measured(text + children),
             measured(pixelSize > 0 ? text + "<TextPixelSize>" + QByteArray::number(pixelSize)
                                              + "</TextPixelSize>"
                                    : text));
}

void tst_PageItems::textItemWithoutGuiApplication()
{
    // Font metrics need a QGuiApplication; in a program without one the reader gives size 0
    // instead of crashing.
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(GuilessArgument)});
    QVERIFY(child.waitForFinished(60000));
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 0);
    QCOMPARE(child.readAllStandardOutput().trimmed(), QByteArray("0 0 120 30"));
}

void tst_PageItems::chartDebugLine()
{
    QLoggingCategory::setFilterRules(QStringLiteral("tirrel.page.debug=true"));
    QTest::ignoreMessage(QtDebugMsg, "2");
    QTest::ignoreMessage(QtDebugMsg, "0");
    const Page page(loadItems(item("RTChartItem", "<ChartOrientation>2</ChartOrientation>")
                         + item("RTChartItem") + item("DbqTextItem")));
    QLoggingCategory::setFilterRules(QStringLiteral("tirrel.page.debug=false"));
    QVERIFY(page);
}

namespace {

// Run by textItemWithoutGuiApplication in a process of its own: prints the measured size of a
// text item without "Width" and "Height", then the size of one with them.
int guilessTextSize(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const Page page(loadItems(item("TextItem", "<ItemText>Hello</ItemText><TextPixelSize>20</TextPixelSize>")
                         + item("TextItem", "<Width>120</Width><Height>30</Height>")));
    if (!page || page->textItems.size() != 2)
        return 1;
    const ItemBaseData_t *a = page->textItems.at(0)->base;
    const ItemBaseData_t *b = page->textItems.at(1)->base;
    std::printf("%d %d %d %d\n", a->W, a->H, b->W, b->H);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc > 1 && qstrcmp(argv[1], GuilessArgument) == 0)
        return guilessTextSize(argc, argv);
    QGuiApplication app(argc, argv);
    tst_PageItems test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_pageitems.moc"
