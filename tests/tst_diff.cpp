// tirrel diff, run as a program: each kind of change on a page and a definition file (the new
// file made from the fixture by one edit), folders, the JSON form, the picture and the errors.
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>

namespace {

const QString Data = QStringLiteral(TIRREL_TEST_DATA "/diff/");

struct Result
{
    int code = -1;
    QString out;
    QString err;
};

Result diff(const QStringList &args)
{
    QProcess p;
    p.start(QStringLiteral(TIRREL_CLI), QStringList{"diff"} + args);
    Result r;
    if (p.waitForFinished(120000) && p.exitStatus() == QProcess::NormalExit)
        r.code = p.exitCode();
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeAll(const QString &path, const QByteArray &data)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

// The fixture with `from` replaced by `to` (which must be there).
QByteArray edited(const QString &fixture, const QString &from, const QString &to)
{
    const QString text = QString::fromUtf8(readAll(Data + fixture));
    return text.contains(from) ? QString(text).replace(from, to).toUtf8() : QByteArray();
}

const QString Logo = QStringLiteral("<Geometry X=\"300\" Y=\"20\" W=\"60\"");
const QString Images = QStringLiteral("            <ImageFile>images/missing.png</ImageFile>\n        </Item>\n");
const QString Badge = Images + QStringLiteral(
    "<Item><ItemType>ImageItem</ItemType><Geometry X=\"20\" Y=\"150\" W=\"50\" H=\"50\"/>"
    "<Properties Name=\"Badge\" LayerId=\"1\"/></Item>\n");

#define EXPECT_EXIT(r, expected)                                                                   \
    QVERIFY2((r).code == (expected), qPrintable(QStringLiteral("exit %1\n%2%3").arg((r).code)      \
                                                    .arg((r).out, (r).err)))

} // namespace

class tst_Diff : public QObject
{
    Q_OBJECT

private slots:
    void changes_data();
    void changes();
    void folders();
    void render();
    void errors_data();
    void errors();

private:
    QTemporaryDir m_tmp;
};

void tst_Diff::changes_data()
{
    QTest::addColumn<QString>("fixture");
    QTest::addColumn<QString>("from");      // empty: the new file is page-compact.xml
    QTest::addColumn<QString>("to");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("same records, other bytes") << "page.xml" << "" << "" << QStringList();
    QTest::newRow("moved") << "page.xml" << "X=\"140\"" << "X=\"180\""
        << QStringList{"~ ScadaObject #1 \"Valve\" (Uid 12)", "    base.X: 140 -> 180"};
    QTest::newRow("new Uid: another object") << "page.xml" << "Uid=\"12\"" << "Uid=\"13\""
        << QStringList{"+ ScadaObject #1 \"Valve\" (Uid 13)", "- ScadaObject #1 \"Valve\" (Uid 12)"};
    QTest::newRow("renamed: paired by place") << "page.xml" << "Name=\"Title\"" << "Name=\"Heading\""
        << QStringList{"~ TextItem #0 \"Heading\"", "    base.Name: \"Title\" -> \"Heading\""};
    QTest::newRow("list entry") << "page.xml" << "#0000FF" << "#00FF00"
        << QStringList{"~ RTChartItem #0 \"Trend\"", "    TagIDs[1].LineColor: \"#0000FF\" -> \"#00FF00\""};
    QTest::newRow("added") << "page.xml" << Images << Badge
        << QStringList{"+ ImageItem #1 \"Badge\""};
    QTest::newRow("removed") << "page.xml" << "<ItemType>ImageItem<" << "<ItemType>Unknown<"
        << QStringList{"- ImageItem #0 \"Logo\""};
    QTest::newRow("long text, control characters") << "page.xml" << "[CDATA[note]]"
        << "[CDATA[no\tte" + QString(70, 'a') + "]]"
        << QStringList{"~ TextItem #1", "    ItemText: \"note\" -> \"no\\tte" + QString(55, 'a')
                                            + "\"... (75 characters)"};
    QTest::newRow("page property") << "page.xml" << ">Pumps<" << ">Pump house<"
        << QStringList{"~ page properties", "    pageName: \"Pumps\" -> \"Pump house\""};
    QTest::newRow("scroll tag") << "page.xml" << "ScrollText=\"Level\"" << "ScrollText=\"Well\""
        << QStringList{"~ page properties", "    scrollTags[0].ScrollText: \"Level\" -> \"Well\""};
    QTest::newRow("layer") << "page.xml" << "2,Labels,1" << "2,Labels,0"
        << QStringList{"~ layer 2 \"Labels\"", "    visible: true -> false"};

    const QString flow = "<Tag><Name>Flow</Name><Id>102</Id><PollFrequency>1000</PollFrequency>";
    QTest::newRow("tag changed") << "defs.xml" << flow << QString(flow).replace("1000", "500")
        << QStringList{"~ tag 102 \"Flow\"", "    PollFrequency: 1000 -> 500"};
    QTest::newRow("8-bit field") << "defs.xml" << flow << flow + "<TagType>-56</TagType>"
        << QStringList{"~ tag 102 \"Flow\"", "    TagType: 0 -> -56"};
    QTest::newRow("tag added") << "defs.xml" << "</TagList>"
                               << "<Tag><Name>Spare</Name><Id>103</Id></Tag></TagList>"
        << QStringList{"+ tag 103 \"Spare\""};
    QTest::newRow("tag removed") << "defs.xml" << flow + "<KanalName>PLC</KanalName>"
                                                       "<Kanal_Id>1</Kanal_Id></Tag>" << ""
        << QStringList{"- tag 102 \"Flow\""};
    QTest::newRow("tag renumbered: another tag") << "defs.xml" << "<Id>102</Id>" << "<Id>104</Id>"
        << QStringList{"+ tag 104 \"Flow\"", "- tag 102 \"Flow\""};
    QTest::newRow("channel") << "defs.xml" << "<ServerIP>10.0.0.2<" << "<ServerIP>10.0.0.3<"
        << QStringList{"~ channel 1 \"PLC\"", "    ServerIP: \"10.0.0.2\" -> \"10.0.0.3\""};
    QTest::newRow("alarm: keyed by name") << "defs.xml" << "<Id>2</Id><alarm_name>FAL"
                                          << "<Id>7</Id><alarm_name>FAL"
        << QStringList{"~ alarm \"FAL\" (id 7)", "    Id: 2 -> 7"};
}

void tst_Diff::changes()
{
    QFETCH(QString, fixture);
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QStringList, expected);
    QString newFile = Data + "page-compact.xml";
    if (!from.isEmpty()) {
        newFile = m_tmp.filePath(QString(QTest::currentDataTag()) + ".xml");
        const QByteArray bytes = edited(fixture, from, to);
        QVERIFY(!bytes.isEmpty() && writeAll(newFile, bytes));
    }
    const Result r = diff({Data + fixture, newFile});
    EXPECT_EXIT(r, expected.isEmpty() ? 0 : 1);
    QCOMPARE(r.out.split('\n', Qt::SkipEmptyParts), expected);
    QCOMPARE(r.err, QString());
}

void tst_Diff::folders()
{
    // Pages paired by their path within the folder, other files left out; the JSON form once.
    const QString oldDir = m_tmp.filePath("folders/old");
    const QString newDir = m_tmp.filePath("folders/new");
    const QByteArray page = readAll(Data + "page.xml");
    QVERIFY(writeAll(oldDir + "/pages/a.xml", page) && writeAll(oldDir + "/pages/b.xml", page)
            && writeAll(oldDir + "/defs.xml", readAll(Data + "defs.xml"))
            && writeAll(oldDir + "/logo.png", "\x89PNG old"));
    QVERIFY(writeAll(newDir + "/pages/a.xml", edited("page.xml", ">Pumps<", ">Pump house<"))
            && writeAll(newDir + "/pages/c.xml", page)
            && writeAll(newDir + "/defs.xml", readAll(Data + "page-compact.xml"))
            && writeAll(newDir + "/logo.png", "\x89PNG new"));

    // A name that is not valid UTF-8 is compared by its bytes.
    const auto removeOdd = qScopeGuard([&] {   // QTemporaryDir cannot remove that name
        for (const QString &dir : {oldDir, newDir})
            std::remove(QFile::encodeName(dir) + "/odd\xff.xml");
    });
    for (const QString &dir : {oldDir, newDir}) {
        std::FILE *f = std::fopen(QFile::encodeName(dir) + "/odd\xff.xml", "wb");
        const QByteArray bytes = dir == oldDir ? page : edited("page.xml", ">Pumps<", ">Odd<");
        QVERIFY(f && std::fwrite(bytes.constData(), 1, bytes.size(), f) == size_t(bytes.size()));
        std::fclose(f);
    }

    const Result text = diff({oldDir, newDir});
    EXPECT_EXIT(text, 1);
    QCOMPARE(text.out.split('\n', Qt::SkipEmptyParts),
             (QStringList{"- defs.xml (definition file)", "+ defs.xml (page file)",
                          "~ \"odd\\xff.xml\" (page file)", "    ~ page properties",
                          "        pageName: \"Pumps\" -> \"Odd\"",
                          "~ pages/a.xml (page file)", "    ~ page properties",
                          "        pageName: \"Pumps\" -> \"Pump house\"",
                          "- pages/b.xml (page file)", "+ pages/c.xml (page file)"}));

    const QString pictures = m_tmp.filePath("folders/pictures");
    const Result json = diff({"--json", "--render", pictures, oldDir, newDir});
    EXPECT_EXIT(json, 1);
    const QJsonObject o = QJsonDocument::fromJson(json.out.toUtf8()).object();
    QCOMPARE(o.value("equal"), QJsonValue(false));
    QCOMPARE(o.value("complete"), QJsonValue(true));
    const QJsonArray files = o.value("files").toArray();
    QCOMPARE(files.size(), 6);
    const QJsonObject a = files.at(3).toObject();
    QCOMPARE(a.value("path").toString(), QStringLiteral("pages/a.xml"));
    QCOMPARE(a.value("change").toString(), QStringLiteral("changed"));
    QCOMPARE(a.value("picture").toString(), pictures + "/pages/a.png");
    const QJsonObject change = a.value("changes").toArray().at(0).toObject();
    QCOMPARE(change.value("record").toString(), QStringLiteral("pageProperties"));
    QCOMPARE(change.value("fields").toArray().at(0).toObject(),
             (QJsonObject{{"field", "pageName"}, {"old", "Pumps"}, {"new", "Pump house"}}));
    QCOMPARE(files.at(4).toObject().value("change").toString(), QStringLiteral("removed"));
    QCOMPARE(QDir(pictures + "/pages").entryList(QDir::Files),
             (QStringList{"a.png", "c.png"}));
}

void tst_Diff::render()
{
    // The moved logo outlined in orange at its new place, the added badge in green.
    QString page = QString::fromUtf8(edited("page.xml", Images, Badge));
    page.replace(Logo, "<Geometry X=\"320\" Y=\"20\" W=\"60\"");
    const QString newFile = m_tmp.filePath("render.xml");
    const QString picture = m_tmp.filePath("render.png");
    QVERIFY(writeAll(newFile, page.toUtf8()));
    const Result r = diff({Data + "page.xml", newFile, "--render", picture});
    EXPECT_EXIT(r, 1);
    const QImage image(picture);
    QCOMPARE(image.size(), QSize(400, 300));
    QCOMPARE(image.pixelColor(320, 40), QColor(0xff, 0x8c, 0x00));     // left edge of the logo
    QCOMPARE(image.pixelColor(300, 40), QColor(Qt::white));             // its old place
    QCOMPARE(image.pixelColor(20, 175), QColor(0x00, 0xa0, 0x00));     // left edge of the badge
}

void tst_Diff::errors_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("message");
    const QString page = Data + "page.xml";
    const QString defs = Data + "defs.xml";

    QTest::newRow("two kinds") << QStringList{page, defs} << "a page file and " + defs
                                                               + " a definition file";
    QTest::newRow("folder and file") << QStringList{Data, page} << "is a folder and";
    QTest::newRow("missing") << QStringList{page, Data + "none.xml"} << "cannot be read";
    QTest::newRow("not a page") << QStringList{page, Data + "../csv/tags.csv"}
                                << "is not XML, so not a page file";
    const QString copy = m_tmp.filePath("compared.xml");    // kept if the check fails
    QVERIFY(writeAll(copy, readAll(page)));
    QTest::newRow("picture over an input") << QStringList{page, copy, "--render", copy}
                                           << "--render would write over";
    QTest::newRow("picture of definitions") << QStringList{defs, defs, "--render", "x.png"}
                                            << "--render draws pages";
}

void tst_Diff::errors()
{
    QFETCH(QStringList, args);
    QFETCH(QString, message);
    const Result r = diff(args);
    EXPECT_EXIT(r, 2);
    QVERIFY2(r.err.contains(message), qPrintable(r.err));
    QCOMPARE(r.out, QString());
}

QTEST_GUILESS_MAIN(tst_Diff)
#include "tst_diff.moc"
