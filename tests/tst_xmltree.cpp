// The library's own XML tree against Qt's DOM on the same bytes. A document the tree takes must
// be one the DOM and the stream reader take as well, within the input limits, and read the same
// through both kinds of node; a well-formed document without a document type declaration must
// be taken.
//
// The awkward documents are the files of data/xml, whose names state the tree's verdict:
// "accepted-", "malformed-", "doctype-", "deep-" (nested past the limit), "unsupported-" (left to
// the DOM on purpose). Every other XML file of the tests and the examples, and the generator's
// files, must be taken exactly when both Qt parsers take them.
#include "tirrelGen.h"
#include "xmlTreeDump.h"

#include <xmlLimits_p.h>
#include <xmlTree_p.h>

#include <QDirIterator>
#include <QDomDocument>
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

int verdictFromName(const QString &fileName)
{
    const QPair<const char *, XmlTree::Verdict> prefixes[] = {
        {"accepted-", XmlTree::Verdict::Accepted}, {"malformed-", XmlTree::Verdict::Malformed},
        {"doctype", XmlTree::Verdict::DocumentType}, {"deep-", XmlTree::Verdict::TooDeep},
        {"unsupported-", XmlTree::Verdict::Unsupported}};
    for (const auto &prefix : prefixes) {
        if (fileName.startsWith(QLatin1String(prefix.first)))
            return int(prefix.second);
    }
    return AnyRefusal - 1;      // a fixture without a verdict fails
}

// The first line where two dumps differ, so that a failure shows just that.
#define COMPARE_DUMPS(actual, expected)                                                          \
    do {                                                                                         \
        const QStringList a_ = (actual).split(QLatin1Char('\n'));                               \
        const QStringList e_ = (expected).split(QLatin1Char('\n'));                             \
        for (int i_ = 0; i_ < qMax(a_.size(), e_.size()); ++i_)                                  \
            QCOMPARE(a_.value(i_, QStringLiteral("(missing)")),                                  \
                     e_.value(i_, QStringLiteral("(missing)")));                                 \
    } while (false)

} // namespace

class TestXmlTree : public QObject
{
    Q_OBJECT

private slots:
    void documents_data();
    void documents();
    void nullNodesAndReuse();
};

void TestXmlTree::documents_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("verdict");

    const QString data = QStringLiteral(TIRREL_TEST_DATA);
    QDir awkward(data + QStringLiteral("/xml"));
    const QStringList fixtures = awkward.entryList({QStringLiteral("*.xml")}, QDir::Files);
    QVERIFY(fixtures.size() > 50);
    for (const QString &name : fixtures) {
        QFile file(awkward.filePath(name));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QTest::newRow(qPrintable(name)) << file.readAll() << verdictFromName(name);
    }

    const auto addWithQtsVerdict = [](const QString &name, const QByteArray &bytes) {
        QDomDocument document;
        const bool wellFormed = document.setContent(bytes, false) && streamReaderTakes(bytes);
        QTest::newRow(qPrintable(name))
                << bytes << (wellFormed ? int(XmlTree::Verdict::Accepted) : AnyRefusal);
    };
    const QString examples = QFileInfo(data + QStringLiteral("/../../examples")).canonicalFilePath();
    for (const QString &root : {data, examples}) {
        QDirIterator it(root, {QStringLiteral("*.xml"), QStringLiteral("*.page")}, QDir::Files,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            if (QFileInfo(path).dir() == awkward)
                continue;
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadOnly));
            addWithQtsVerdict(QDir(root).relativeFilePath(path), file.readAll());
        }
    }

    TirrelGen::PageRequest page;
    page.items = 900;               // every item kind, several times over
    addWithQtsVerdict(QStringLiteral("generated page"), TirrelGen::page(page).bytes);
    const TirrelGen::DefinitionData definitions = TirrelGen::definitionData(300, 7);
    addWithQtsVerdict(QStringLiteral("generated definitions"),
                      TirrelGen::definitionFile(definitions).bytes);
    addWithQtsVerdict(QStringLiteral("generated model export"),
                      TirrelGen::definitionModelFile(definitions).bytes);
    addWithQtsVerdict(QStringLiteral("generated object library"),
                      TirrelGen::objectLibrary(200, 7).bytes);
    addWithQtsVerdict(QStringLiteral("generated user library"),
                      TirrelGen::objectLibrary(200, 7, 5000, true).bytes);
}

void TestXmlTree::documents()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, verdict);

    XmlTree tree;
    const XmlTree::Result result = tree.parse(bytes);
    const QString why = QStringLiteral("%1 at %2:%3")
                                .arg(QLatin1String(result.message))
                                .arg(result.line)
                                .arg(result.column);
    if (verdict == AnyRefusal)
        QVERIFY2(!result.accepted(), "taken, though Qt's parsers refuse it");
    else
        QVERIFY2(int(result.verdict) == verdict, qPrintable(why));
    QCOMPARE(tree.documentElement().isNull(), !result.accepted());
    if (!result.accepted())
        return;

    QDomDocument document;
    QVERIFY(document.setContent(bytes, false));
    QVERIFY(streamReaderTakes(bytes));
    QVERIFY(checkXmlLimits(bytes));
    COMPARE_DUMPS(XmlTreeDump::dump(tree.documentElement()),
                  XmlTreeDump::dump(DomNode(document.documentElement())));
}

void TestXmlTree::nullNodesAndReuse()
{
    // What the readers get past the end of a list or for a missing element: nothing, as from
    // a null DomNode.
    XmlTree tree;
    QVERIFY(tree.parse("<a b=''><c/>text</a>").accepted());
    const XmlName b("b");
    const XmlName c("c");
    const TreeNode a = tree.documentElement();
    const TreeNode none = a.firstChildElement(c).nextSiblingElement();
    const XmlNames names{&b, &c};
    for (const TreeNode &node : {none, a.firstChildElement(b), a.firstChildElement(c).firstChildElement()}) {
        QVERIFY(node.isNull());
        QVERIFY(node.name().isNull());
        QVERIFY(!node.hasName(c));
        QCOMPARE(node.nameIndex(names), -1);
        QVERIFY(node.text().isMissing());
        QVERIFY(node.attribute(b).isMissing());
        QVERIFY(node.firstChildElement().isNull() && node.nextSiblingElement(c).isNull());
        QCOMPARE(node.attributeCount(), 0);
    }
    // A tree parsed again holds the new document only, and nothing after a refusal.
    QVERIFY(tree.parse("<b x='1'>y</b>").accepted());
    QCOMPARE(XmlTreeDump::dump(tree.documentElement()), QStringLiteral("b x=\"1\" text=\"y\"\n"));
    QVERIFY(!tree.parse("<b>").accepted());
    QVERIFY(tree.documentElement().isNull());
}

QTEST_GUILESS_MAIN(TestXmlTree)
#include "tst_xmltree.moc"
