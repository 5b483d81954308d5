// Hostile XML against the page, definition and object library readers: entity expansion,
// extreme nesting and a huge text node, all generated here. Documents past the input limits
// read as malformed ones do; documents within them read normally, however odd their markup.
//
// The readers parse with the library's XML tree first and give the DOM what the tree refuses.
// Which path answers matters here: documents with entities (any document type declaration with
// an internal subset) and documents nested past the limit are refused by the tree and reach
// the DOM path, where checkXmlLimits turns them away before the DOM parser sees them; the
// other documents, nesting at the limit, odd markup, other encodings and the huge text, are
// read by the tree, which keeps the same depth limit itself.
#include <scaFileProcessor.h>
#include <scadaEngine_p.h>
#include <tgchFileProcessor.h>

#include <QCoreApplication>
#include <QProcess>
#include <QTextCodec>
#include <QtTest>

#include <sys/resource.h>

namespace {

// Every reader finds something in this body: a page name, a tag and a library object "obj". A
// document the readers refuse therefore reads differently from one they take.
QByteArray document(const QByteArray &prolog, const QByteArray &name, const QByteArray &extra = {})
{
    return prolog + "<Root><ItemList/><PageProperties><pageName>" + name
           + "</pageName></PageProperties><TagList><Tag><Name>" + name
           + "</Name></Tag></TagList><object name=\"obj\"/>" + extra + "</Root>";
}

QByteArray nested(int depth, const QByteArray &open = "<a>", const QByteArray &close = "</a>")
{
    return open.repeated(depth) + close.repeated(depth);
}

// The body nested `depth` levels deeper, in another encoding than UTF-8: "UTF-16LE" with a
// byte-order mark, "UTF-16BE" without one, "windows-1252" declared.
QByteArray encodedDocument(const char *encoding, int depth)
{
    const QByteArray name = "Pump \xc3\xa7";
    QTextCodec *codec = QTextCodec::codecForName(encoding);
    if (qstrcmp(encoding, "windows-1252") == 0) {
        const QByteArray prolog = "<?xml version=\"1.0\" encoding=\"windows-1252\"?>";
        return codec->fromUnicode(QString::fromUtf8(document(prolog, name, nested(depth))));
    }
    const QString text = QString::fromUtf8(document({}, name, nested(depth)));
    if (qstrcmp(encoding, "UTF-16BE") == 0) {
        QScopedPointer<QTextEncoder> encoder(codec->makeEncoder(QTextCodec::IgnoreHeader));
        return encoder->fromUnicode(text);
    }
    return codec->fromUnicode(text);
}

// Billion laughs: ten entities, each made of ten of the one before.
QByteArray nestedEntities()
{
    QByteArray subset = "<!ENTITY lol0 \"lol\">\n";
    for (int i = 1; i <= 9; ++i) {
        subset += "<!ENTITY lol" + QByteArray::number(i) + " \"";
        subset += ("&lol" + QByteArray::number(i - 1) + ";").repeated(10);
        subset += "\">\n";
    }
    return document("<?xml version=\"1.0\"?>\n<!DOCTYPE Root [\n" + subset + "]>\n", "&lol9;");
}

// One plain entity of 4,000 characters, referenced 100,000 times: 400 million characters.
QByteArray repeatedEntity()
{
    return document("<!DOCTYPE Root [<!ENTITY big \"" + QByteArray(4000, 'x') + "\">]>",
                    "name", "<p>" + QByteArray("&big;").repeated(100000) + "</p>");
}

struct Read
{
    bool pageLoaded = false;
    QString pageName;
    QStringList tagNames;
    int channels = 0;
    bool libraryRead = false;
    QStringList objectNames;
};

Read readAll(const QByteArray &bytes)
{
    Read read;
    if (ScaFileData *page = ScaFileProcessor::loadFileData(bytes, QString())) {
        read.pageLoaded = true;
        read.pageName = page->pageProperties.pageName;
        page->deleteAllItems();
        delete page;
    }
    QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(bytes));
    read.channels = tree->ChannelList.size();
    for (const pEtiketDef_t *tag : qAsConst(tree->TagList))
        read.tagNames << tag->Name;
    QList<ScadaLibObject *> objects;
    read.libraryRead = readObjectLibrary(bytes, true, &objects);
    for (const ScadaLibObject *object : qAsConst(objects))
        read.objectNames << object->name;
    qDeleteAll(objects);
    return read;
}

// ---- The 200 MB text node, read in a process of its own -------------------------------------

const int HugeTextSize = 200 * 1024 * 1024;

long peakMegabytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

// --huge-text page|definitions: prints the length of the text read and the peak memory before
// and after, in MB.
int readHugeText(const QString &reader)
{
    const bool page = reader == QLatin1String("page");
    const long before = peakMegabytes();
    QByteArray bytes;
    bytes.reserve(HugeTextSize + 100);
    bytes += page ? "<Root><PageProperties><pageName>" : "<Root><TagList><Tag><Description>";
    bytes += QByteArray(HugeTextSize, 'x');
    bytes += page ? "</pageName></PageProperties></Root>" : "</Description></Tag></TagList></Root>";
    int length = -1;
    if (page) {
        if (ScaFileData *loaded = ScaFileProcessor::loadFileData(bytes, QString())) {
            length = loaded->pageProperties.pageName.size();
            delete loaded;
        }
    } else {
        QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(bytes));
        if (!tree->TagList.isEmpty())
            length = tree->TagList.first()->Description.size();
    }
    std::printf("%d %ld %ld\n", length, before, peakMegabytes());
    return 0;
}

} // namespace

class tst_HostileXml : public QObject
{
    Q_OBJECT

private slots:
    void refused_data();
    void refused();
    void withinLimits_data();
    void withinLimits();
    void hugeTextNode_data();
    void hugeTextNode();
};

void tst_HostileXml::refused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray deep = nested(100000);
    QTest::newRow("nested entities") << nestedEntities();
    QTest::newRow("one entity repeated") << repeatedEntity();
    QTest::newRow("entity in an attribute, repeated")
            << document("<!DOCTYPE Root [<!ENTITY big \"" + QByteArray(4000, 'x') + "\">]>", "n",
                        QByteArray("<p a=\"&big;\"/>").repeated(300));
    QTest::newRow("parameter entity")
            << document("<!DOCTYPE Root [<!ENTITY % p \"<!ENTITY e 'x'>\"> %p;]>", "n");
    QTest::newRow("external entity")
            << document("<!DOCTYPE Root [<!ENTITY e SYSTEM \"/etc/passwd\">]>", "&e;");
    QTest::newRow("entity holding markup")
            << document("<!DOCTYPE Root [<!ENTITY e \"<a><a></a></a>\">]>", "&e;");
    QTest::newRow("entity holding a character reference")
            << document("<!DOCTYPE Root [<!ENTITY e \"&#60;a>\">]>", "n");
    QTest::newRow("100,000 deep") << document({}, "n", deep);
    QTest::newRow("100,000 deep, with attributes")
            << document({}, "n", nested(100000, "<a b=\"/>\" c='>'>"));
    QTest::newRow("1025 deep") << document({}, "n", nested(1024));
    // In other encodings too: refused by the tree for their depth, then by the DOM path's limits.
    for (const char *encoding : {"UTF-16LE", "UTF-16BE", "windows-1252"}) {
        QTest::newRow(QByteArray("100,000 deep, ").append(encoding).constData())
                << encodedDocument(encoding, 100000);
    }
    // A comment may begin with ">" and hold anything up to its "-->"; the end tags in it must
    // not make up for the nesting after it.
    QTest::newRow("deep after a comment opening with >")
            << document({}, "n", "<!--> " + QByteArray("</a>").repeated(2000) + " -->"
                        + nested(1100));
    QTest::newRow("deep after CDATA holding end tags")
            << document({}, "n", "<![CDATA[" + QByteArray("</a>").repeated(2000) + "]]>"
                        + nested(1100));
}

void tst_HostileXml::refused()
{
    QFETCH(QByteArray, bytes);
    const Read read = readAll(bytes);
    QVERIFY(!read.pageLoaded);
    QCOMPARE(read.channels, 1);     // the placeholder only
    QCOMPARE(read.tagNames, QStringList());
    QVERIFY(!read.libraryRead);
    QCOMPARE(read.objectNames, QStringList());
}

void tst_HostileXml::withinLimits_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("name");
    const QString plain = QStringLiteral("Pump");
    QTest::newRow("1024 deep") << document({}, "Pump", nested(1023)) << plain;
    QTest::newRow("1024 deep in empty elements")
            << document({}, "Pump", nested(1023) + QByteArray("<b/>").repeated(5000)) << plain;
    QTest::newRow("markup in comments, instructions, CDATA and attributes")
            << document("<?xml version=\"1.0\"?><!-- <a><a><a> -->",
                        "Pump<!-- </Root> --><?x </Root> ?><![CDATA[ and <a> ]]>",
                        "<p a=\"&gt;/>]]>\" b='\"--'>" + QByteArray("<q></q>").repeated(10)
                        + "</p><![CDATA[<a><a>]]]]><!--]]>-->")
            << QStringLiteral("Pump and <a> ");
    // The only one the DOM path reads: it has a document type declaration.
    QTest::newRow("plain entities")
            << document("<!DOCTYPE Root SYSTEM \"x[y]>.dtd\" [\n"
                        "  <!-- declarations ]> -->\n"
                        "  <?note ]> ?>\n"
                        "  <!ELEMENT Root ANY>\n"
                        "  <!ATTLIST Root a CDATA \"v>w\">\n"
                        "  <!ENTITY site \"Pump\">\n"
                        "  <!ENTITY unused 'never referenced'>\n"
                        "]>", "&site;",
                        QByteArray("<p a=\"&site;\">&site;&amp;&#65;</p>").repeated(50))
            << plain;
    for (const char *encoding : {"UTF-16LE", "UTF-16BE", "windows-1252"}) {
        QTest::newRow(QByteArray("100 deep, ").append(encoding).constData())
                << encodedDocument(encoding, 100) << QStringLiteral("Pump \u00e7");
    }
    QTest::newRow("declared ISO-8859-1")
            << document("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>", "Pump \xe7")
            << QStringLiteral("Pump \u00e7");
    QTest::newRow("declared UTF-8 with byte-order mark")
            << QByteArray("\xef\xbb\xbf")
                       + document("<?xml version='1.0' encoding='utf-8'?>", "Pump")
            << plain;
}

void tst_HostileXml::withinLimits()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, name);
    const Read read = readAll(bytes);
    QVERIFY(read.pageLoaded);
    QCOMPARE(read.pageName, name);
    QCOMPARE(read.tagNames, QStringList{name});
    QVERIFY(read.libraryRead);
    QCOMPARE(read.objectNames, QStringList{QStringLiteral("obj")});
}

void tst_HostileXml::hugeTextNode_data()
{
    QTest::addColumn<QString>("reader");
    QTest::newRow("page") << QStringLiteral("page");
    QTest::newRow("definitions") << QStringLiteral("definitions");
}

void tst_HostileXml::hugeTextNode()
{
    QFETCH(QString, reader);
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--huge-text"), reader});
    QVERIFY2(child.waitForFinished(280000), "the reader did not finish");
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 0);
    const QList<QByteArray> figures = child.readAllStandardOutput().simplified().split(' ');
    QCOMPARE(figures.size(), 3);
    QCOMPARE(figures.at(0).toInt(), HugeTextSize);
#if !defined(__SANITIZE_ADDRESS__)
    // The document, its text in memory and the parser's copies: a fixed multiple of the input,
    // nothing that grows faster.
    const long used = figures.at(2).toLong() - figures.at(1).toLong();
    const long input = HugeTextSize / (1024 * 1024);
    QVERIFY2(used < 8 * input,
             qPrintable(QStringLiteral("%1 MB for a %2 MB text").arg(used).arg(input)));
#endif
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc > 2 && qstrcmp(argv[1], "--huge-text") == 0)
        return readHugeText(QString::fromLatin1(argv[2]));
    tst_HostileXml test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_hostilexml.moc"
