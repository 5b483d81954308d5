// The library's XML tree against Qt's DOM on the same bytes. A document the tree takes must be
// one the DOM and the stream reader take as well, within the input limits, and read the same
// through both kinds of node; a well-formed document without a document type declaration must
// be taken. The readers of pages, definition files and object libraries read through the tree
// where it takes a document and must give what they give through the DOM alone: on every one of
// these documents, on fixtures made awkward in every way the tree must follow the DOM in, and on
// hostile documents (entity expansion, extreme nesting), which past the input limits read as a
// malformed document does and within them as the plain document they stand for.
//
// The awkward documents are the files of data/xml, whose names state the tree's verdict:
// "accepted-", "malformed-", "doctype-", "deep-" (nested past the limit), "unsupported-" (left to
// the DOM on purpose). Every other XML file of the tests and the examples, and the generator's
// files, must be taken exactly when both Qt parsers take them.
#include "defsDump.h"
#include "pageDump.h"
#include "tirrelGen.h"
#include "xmlTreeDump.h"

#include <scaFileProcessor.h>
#include <scadaEngine_p.h>
#include <tgchFileProcessor.h>
#include <xmlLimits_p.h>
#include <xmlRead_p.h>
#include <xmlTree_p.h>

#include <QDirIterator>
#include <QDomDocument>
#include <QRegularExpression>
#include <QTextCodec>
#include <QXmlStreamReader>
#include <QtTest>

namespace {

const int AnyRefusal = -1;

bool streamReaderTakes(const QByteArray &bytes)
{
    QXmlStreamReader reader(bytes);
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd())
        reader.readNext();
    return !reader.hasError();
}

// The verdicts in the order of XmlTree::Verdict; a fixture without one fails.
int verdictFromName(const QString &fileName)
{
    const QRegularExpression prefix(QStringLiteral("^(accepted-|malformed-|doctype|deep-|unsupported-)"));
    const QStringList verdicts = {"accepted-", "malformed-", "doctype", "deep-", "unsupported-"};
    const int verdict = verdicts.indexOf(prefix.match(fileName).captured(1));
    return verdict >= 0 ? verdict : AnyRefusal - 1;
}

// What the three readers make of the bytes, through the tree where it takes them (dom false)
// or through the DOM alone.
QStringList readersDump(const QByteArray &bytes, bool dom)
{
    const bool before = setDomReaderForced(dom);
    QStringList out;
    ScaFileData *page = ScaFileProcessor::loadFileData(bytes, QString());
    out += page ? pagedump::dump(*page) : QStringList(QStringLiteral("(no page)"));
    pagedump::deletePage(page);
    const QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(bytes));
    out += defs::dump(tree.data());
    QList<ScadaLibObject *> objects;
    out << QStringLiteral("library read=%1").arg(readObjectLibrary(bytes, false, &objects));
    out += pagedump::dumpList(QStringLiteral("objects"), objects);
    qDeleteAll(objects);
    setDomReaderForced(before);
    return out;
}

constexpr int Accepted = int(XmlTree::Verdict::Accepted), Malformed = int(XmlTree::Verdict::Malformed);
const int EitherPath = AnyRefusal - 2;

// A text between two tags that is neither blank nor holds references or CDATA; a number alone;
// a start tag's name; the end of the root.
const char Text[] = ">([^<>&\\]\\s])([^<>&\\]]*)<";
const char Number[] = ">-?[0-9]+<";
const char Start[] = "(<[A-Za-z][A-Za-z0-9_]*)";
const char End[] = "(</[A-Za-z]+>\\s*)$";

// Ways to make a file awkward that the tree must read as the DOM does, or leave to it: what to
// put before the root element, every match of a pattern replaced (elements nested `deep` levels
// before the root's end), the encoding ("+": with a byte-order mark) and the tree's verdict.
const struct Way
{
    const char *name, *prolog, *pattern, *with, *codec;
    int deep, verdict;
} awkward[] = {
    {"UTF-8 with a byte-order mark", "", "", "", "UTF-8+", 0, Accepted},
    {"UTF-16LE with a mark", "", "encoding=\"UTF-8\"", "encoding=\"UTF-16\"", "UTF-16LE+", 0, Accepted},
    {"UTF-16BE without a mark or declaration", "", "^<\\?xml[^>]*>\\s*", "", "UTF-16BE", 0, Accepted},
    {"ISO-8859-1", "", "encoding=\"UTF-8\"", "encoding=\"ISO-8859-1\"", "ISO-8859-1", 0, Accepted},
    {"windows-1252", "", "encoding=\"UTF-8\"", "encoding=\"windows-1252\"", "windows-1252", 0, Accepted},
    {"comments and instructions after every start tag", "", "(<[A-Za-z][^<>]*[^/]>)",
     "\\1<!-- c --><?pi x?>", "", 0, Accepted},
    {"comments inside texts", "", Text, ">\\1<!--x-->\\2<", "", 0, Accepted},
    {"mixed content", "", Text, ">\\1<e>in</e>\\2 after<", "", 0, Accepted},
    {"numbers as white space", "", Number, "> \t\r\n <", "", 0, Accepted},
    {"numbers as white space references", "", Number, ">&#32;&#x9;&#10;<", "", 0, Accepted},
    {"numbers as no-break spaces", "", Number, ">\u00a0<", "", 0, Accepted},
    {"texts as CDATA", "", Text, "><![CDATA[\\1\\2]]><", "", 0, Accepted},
    {"references", "", Text, ">&#65;&#x42;&lt;&amp;&quot;&apos;&gt;\\1\\2<", "", 0, Accepted},
    // Taken, or left to the DOM when a mark lies where its decoder drops one (the start of a
    // block of the input).
    {"byte-order marks inside texts", "", Text, ">\ufeff\\1\ufeff\\2<", "", 0, EitherPath},
    {"carriage returns", "", "\n", "\r\n", "", 0, Accepted},
    {"a bare document type", "<!DOCTYPE x>", "", "", "", 0, Accepted},
    {"1,000 deep inside", "", End, "\\1", "", 1000, Accepted},
    {"prefixed attributes", "", Start, "\\1 xmlns:p=\"u\" p:q=\"1\"", "", 0, Accepted},
    // Left to the DOM: entities, names outside ASCII, nesting past the limit, malformed ones.
    {"an entity", "<!DOCTYPE x [<!ENTITY e \"&#60;b&#62;\">]>", Text, ">&e;\\1\\2<", "", 0,
     int(XmlTree::Verdict::DocumentType)},
    {"a name outside ASCII", "", Start, "\\1 \u00e9=\"1\"", "", 0, int(XmlTree::Verdict::Unsupported)},
    {"1,100 deep inside", "", End, "\\1", "", 1100, int(XmlTree::Verdict::TooDeep)},
    {"cut short", "", "[\\s\\S]{300}$", "", "", 0, Malformed},
    {"an undefined entity", "", Text, ">&undefined;\\1\\2<", "", 0, Malformed},
    {"a duplicate attribute", "", Start, "\\1 a=\"1\" a=\"2\"", "", 0, Malformed},
    {"text after the root", "", "$", "x", "", 0, Malformed},
};

QByteArray made(const Way &way, const QByteArray &bytes)
{
    QString text = QString::fromUtf8(bytes);
    const QString depth = QStringLiteral("<d>").repeated(way.deep) + QStringLiteral("</d>").repeated(way.deep);
    text.replace(QRegularExpression(QStringLiteral("^([\\s\\S]*?)(<[A-Za-z])")),
                 QStringLiteral("\\1") + QString::fromUtf8(way.prolog) + QStringLiteral("\\2"));
    if (*way.pattern)
        text.replace(QRegularExpression(QString::fromUtf8(way.pattern)), depth + QString::fromUtf8(way.with));
    const QByteArray codec(way.codec);
    if (codec.isEmpty())
        return text.toUtf8();
    const bool mark = codec.endsWith('+');
    const QScopedPointer<QTextEncoder> encoder(QTextCodec::codecForName(mark ? codec.chopped(1) : codec)
            ->makeEncoder(mark ? QTextCodec::DefaultConversion : QTextCodec::IgnoreHeader));
    return encoder->fromUnicode(text);
}

// Every reader finds something in this body: a page name, a tag and a library object "obj".
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

QByteArray entities(const QByteArray &declarations, const QByteArray &name,
                    const QByteArray &extra = {})
{
    return document("<!DOCTYPE Root [" + declarations + "]>", name, extra);
}

} // namespace

class TestXmlTree : public QObject
{
    Q_OBJECT

private slots:
    void documents_data();
    void documents();
    void readers_data();
    void readers();
    void hostile_data();
    void hostile();
};

void TestXmlTree::documents_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("verdict");
    const QString data = QStringLiteral(TIRREL_TEST_DATA);
    const auto add = [](const QString &name, const QByteArray &bytes, int verdict = AnyRefusal) {
        QDomDocument document;
        if (verdict == AnyRefusal && document.setContent(bytes, false) && streamReaderTakes(bytes))
            verdict = Accepted;
        QTest::newRow(qPrintable(name)) << bytes << verdict;
    };
    int named = 0;
    for (const QString &root : {data, QFileInfo(data + "/../../examples").canonicalFilePath()}) {
        QDirIterator it(root, {"*.xml", "*.page"}, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QFileInfo file(it.next());
            const bool verdictInName = file.dir() == QDir(data + "/xml");
            named += verdictInName;
            add(QDir(root).relativeFilePath(file.filePath()), defs::readAll(file.filePath()),
                verdictInName ? verdictFromName(file.fileName()) : AnyRefusal);
        }
    }
    QVERIFY(named > 50);
    TirrelGen::PageRequest page;
    page.items = 900;               // every item kind, several times over
    const TirrelGen::DefinitionData definitions = TirrelGen::definitionData(300, 7);
    add("generated page", TirrelGen::page(page).bytes);
    add("generated definitions", TirrelGen::definitionFile(definitions).bytes);
    add("generated model export", TirrelGen::definitionModelFile(definitions).bytes);
    add("generated object library", TirrelGen::objectLibrary(200, 7).bytes);
    add("generated user library", TirrelGen::objectLibrary(200, 7, 5000, true).bytes);
}

void TestXmlTree::documents()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, verdict);
    XmlTree tree;
    const XmlTree::Result result = tree.parse(bytes);
    if (verdict == AnyRefusal)
        QVERIFY2(!result.accepted(), "taken, though Qt's parsers refuse it");
    else
        QVERIFY2(int(result.verdict) == verdict, qPrintable(QStringLiteral("%1 at %2:%3").arg(
                result.message).arg(result.line).arg(result.column)));
    QCOMPARE(tree.documentElement().isNull(), !result.accepted());
    if (!result.accepted())
        return;
    QDomDocument document;
    QVERIFY(document.setContent(bytes, false));
    QVERIFY(streamReaderTakes(bytes));
    QVERIFY(checkXmlLimits(bytes));
    COMPARE_DUMPS(XmlTreeDump::dump(tree.documentElement()).split('\n'),
                  XmlTreeDump::dump(DomNode(document.documentElement())).split('\n'));
}

void TestXmlTree::readers_data()
{
    documents_data();
    for (const char *fixture : {"pages/items.xml", "defs/full.xml", "library/objlib.xml"}) {
        const QByteArray bytes = defs::readAll(QStringLiteral(TIRREL_TEST_DATA "/") + fixture);
        for (const auto &way : awkward)
            QTest::addRow("%s, %s", fixture, way.name) << made(way, bytes) << way.verdict;
    }
}

void TestXmlTree::readers()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, verdict);
    // The rows that the tree is to read must reach it.
    if (verdict >= 0)
        QCOMPARE(int(XmlTree().parse(bytes).verdict), verdict);
    COMPARE_DUMPS(readersDump(bytes, false), readersDump(bytes, true));
}

void TestXmlTree::hostile_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("plain");      // a document that reads the same
    // Billion laughs: ten entities, each made of ten of the one before.
    QByteArray laughs = "<!ENTITY lol0 \"lol\">\n";
    for (int i = 1; i <= 9; ++i) {
        laughs += "<!ENTITY lol" + QByteArray::number(i) + " \""
                  + ("&lol" + QByteArray::number(i - 1) + ";").repeated(10) + "\">\n";
    }
    const QByteArray big = "<!ENTITY big \"" + QByteArray(4000, 'x') + "\">";
    // Refused: read as a malformed document is. A comment may begin with ">" and hold anything
    // up to its "-->": the end tags in it, or in CDATA, do not make up for the nesting after it.
    const QPair<const char *, QByteArray> refused[] = {
        {"nested entities", entities(laughs, "&lol9;")},
        {"one entity repeated", entities(big, "n", "<p>" + QByteArray("&big;").repeated(100000) + "</p>")},
        {"entity in an attribute, repeated", entities(big, "n", QByteArray("<p a=\"&big;\"/>").repeated(300))},
        {"parameter entity", entities("<!ENTITY % p \"<!ENTITY e 'x'>\"> %p;", "n")},
        {"external entity", entities("<!ENTITY e SYSTEM \"/etc/passwd\">", "&e;")},
        {"entity holding markup", entities("<!ENTITY e \"<a><a></a></a>\">", "&e;")},
        {"entity holding a character reference", entities("<!ENTITY e \"&#60;a>\">", "n")},
        {"100,000 deep", document({}, "n", nested(100000))},
        {"100,000 deep, with attributes", document({}, "n", nested(100000, "<a b=\"/>\" c='>'>"))},
        {"1025 deep", document({}, "n", nested(1024))},
        {"deep after a comment opening with >",
         document({}, "n", "<!--> " + QByteArray("</a>").repeated(2000) + " -->" + nested(1100))},
        {"deep after CDATA holding end tags",
         document({}, "n", "<![CDATA[" + QByteArray("</a>").repeated(2000) + "]]>" + nested(1100))},
    };
    for (const auto &row : refused)
        QTest::newRow(row.first) << row.second << QByteArray("<");
    // Refused by the tree for their depth, then by the DOM path's limits, in any encoding.
    for (const Way &way : {Way{"UTF-16LE", "", "", "", "UTF-16LE+", 0, 0}, Way{"UTF-16BE", "", "", "", "UTF-16BE", 0, 0},
                           Way{"windows-1252", "<?xml version=\"1.0\" encoding=\"windows-1252\"?>", "", "",
                               "windows-1252", 0, 0}}) {
        QTest::addRow("100 deep, %s", way.name) << made(way, document({}, "Pump \xc3\xa7", nested(100)))
                                                << document({}, "Pump \xc3\xa7");
        QTest::addRow("100,000 deep, %s", way.name)
                << made(way, document({}, "Pump \xc3\xa7", nested(100000))) << QByteArray("<");
    }

    const QByteArray pump = document({}, "Pump");
    QTest::newRow("1024 deep") << document({}, "Pump", nested(1023)) << pump;
    QTest::newRow("1024 deep in empty elements")
            << document({}, "Pump", nested(1023) + QByteArray("<b/>").repeated(5000)) << pump;
    QTest::newRow("markup in comments, instructions, CDATA and attributes")
            << document("<?xml version=\"1.0\"?><!-- <a><a><a> -->",
                        "Pump<!-- </Root> --><?x </Root> ?><![CDATA[ and <a> ]]>",
                        "<p a=\"&gt;/>]]>\" b='\"--'>" + QByteArray("<q></q>").repeated(10)
                        + "</p><![CDATA[<a><a>]]]]><!--]]>-->")
            << document({}, "Pump and &lt;a> ");
    // Read by the DOM path: it has a document type declaration.
    QTest::newRow("plain entities")
            << document("<!DOCTYPE Root SYSTEM \"x[y]>.dtd\" [\n  <!-- declarations ]> -->\n"
                        "  <?note ]> ?>\n  <!ELEMENT Root ANY>\n  <!ATTLIST Root a CDATA \"v>w\">\n"
                        "  <!ENTITY site \"Pump\">\n  <!ENTITY unused 'never referenced'>\n]>",
                        "&site;", QByteArray("<p a=\"&site;\">&site;&amp;&#65;</p>").repeated(50))
            << pump;
    QTest::newRow("declared ISO-8859-1")
            << document("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>", "Pump \xe7")
            << document({}, "Pump \xc3\xa7");
    QTest::newRow("declared UTF-8 with byte-order mark")
            << "\xef\xbb\xbf" + document("<?xml version='1.0' encoding='utf-8'?>", "Pump") << pump;
}

void TestXmlTree::hostile()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, plain);
    const QStringList viaTree = readersDump(bytes, false);
    COMPARE_DUMPS(viaTree, readersDump(bytes, true));
    COMPARE_DUMPS(viaTree, readersDump(plain, false));
}

QTEST_GUILESS_MAIN(TestXmlTree)
#include "tst_xmltree.moc"
