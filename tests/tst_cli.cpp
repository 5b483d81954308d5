// The tirrel command-line tool, run as a program: every command on the demo project and on
// small broken fixtures, asserting on its output and exit status.
#include <QDir>
#include <QDirIterator>
#include <QDomDocument>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString Program = QStringLiteral(TIRREL_CLI);
const QString DemoDir = QStringLiteral(TIRREL_DEMO_DIR);
const QString FaultsDir = QStringLiteral(TIRREL_TEST_DATA "/cli/faults");
const QString AuditDir = QStringLiteral(TIRREL_TEST_DATA "/cli/audit");

struct Result
{
    int code = -1;          // -1: crashed, -2: did not finish
    QString out;
    QString err;

    // No crash, no time-out and no sanitizer report (whose exit status could pass for ours).
    bool clean() const
    {
        return code >= 0 && !err.contains(QLatin1String("Sanitizer"))
               && !err.contains(QLatin1String("runtime error:"));
    }
    QString describe() const
    {
        return QStringLiteral("exit %1\n--- stdout\n%2--- stderr\n%3").arg(code).arg(out, err);
    }
    QJsonDocument json() const { return QJsonDocument::fromJson(out.toUtf8()); }
    QStringList outLines() const { return out.split(QLatin1Char('\n'), Qt::SkipEmptyParts); }
    QStringList errLines() const { return err.split(QLatin1Char('\n'), Qt::SkipEmptyParts); }
};

Result run(const QStringList &args, const QString &workDir = QString(),
           const QString &home = QString(), const QString &program = Program)
{
    QProcess p;
    p.setProgram(program);
    p.setArguments(args);
    if (!workDir.isEmpty())
        p.setWorkingDirectory(workDir);
    if (!home.isEmpty()) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), home);
        p.setProcessEnvironment(env);
    }
    Result r;
    p.start();
    if (!p.waitForFinished(240000)) {
        p.kill();
        p.waitForFinished();
        r.code = -2;
    } else {
        r.code = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    }
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    // LeakSanitizer's list of the suppressions it applied (Qt's own, tests/lsan.supp) is no
    // output of the tool.
    static const QRegularExpression suppressions(
        QStringLiteral("-+\\nSuppressions used:\\n(?:.*\\n)*?-+\\n\\n?"));
    r.err.remove(suppressions);
    return r;
}

// Runs the tool and fails the test unless it ran to an end of its own.
#define TIRREL(result, ...)                                                                        \
    const Result result = run(__VA_ARGS__);                                                        \
    QVERIFY2(result.clean(), qPrintable(result.describe()))

#define EXPECT_EXIT(result, expected) QVERIFY2((result).code == (expected), qPrintable((result).describe()))

// Runs "defs show --json --list" on a definition file and names its JSON object.
#define DEFS_LIST(name, file, workDir)                                                             \
    TIRREL(name##Run, {"defs", "show", "--json", "--list", file}, workDir);                       \
    EXPECT_EXIT(name##Run, 0);                                                                     \
    const QJsonObject name = name##Run.json().object()

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeAll(const QString &path, const QByteArray &data)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.flush();
}

bool copyTree(const QString &from, const QString &to)
{
    QDirIterator it(from, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString source = it.next();
        const QString target = to + QLatin1Char('/') + QDir(from).relativeFilePath(source);
        QDir().mkpath(QFileInfo(target).absolutePath());
        if (!QFile::copy(source, target))
            return false;
    }
    return true;
}

// Every file of a folder with its bytes, to tell that nothing was touched.
QMap<QString, QByteArray> snapshot(const QString &dir)
{
    QMap<QString, QByteArray> files;
    QDirIterator it(dir, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        files.insert(QDir(dir).relativeFilePath(path), readAll(path));
    }
    return files;
}

bool writeFiles(const QString &dir, const QList<QPair<QString, QByteArray>> &files)
{
    for (const auto &file : files) {
        if (!writeAll(dir + QLatin1Char('/') + file.first, file.second))
            return false;
    }
    return true;
}

const QByteArray HalfWrittenPage("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ScadaFile>\n"
                                 "    <ItemList>\n        <Item>\n            <Prop");
const QByteArray SmallPage("<ScadaFile><ItemList><Item><Properties Name=\"P\" Uid=\"5\"/>"
                           "<TagIDs tagID_label=\"1\"/></Item></ItemList><PageProperties>"
                           "<pageName>Small</pageName><pageID>9</pageID></PageProperties>"
                           "</ScadaFile>");
const QByteArray SmallDefinitions("<CTDefinitions><ChannelList><Channel><Name>C</Name><Id>1</Id>"
                                  "</Channel></ChannelList><TagList><Tag><Name>T</Name><Id>1</Id>"
                                  "<VariableAddress>1</VariableAddress>"
                                  "<KanalName>C</KanalName><Kanal_Id>1</Kanal_Id></Tag></TagList>"
                                  "</CTDefinitions>");
const QByteArray Binary("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\xff\xfe", 18);

} // namespace

class tst_Cli : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void help_data();
    void help();
    void usageErrors_data();
    void usageErrors();
    void refusesOtherFiles_data();
    void refusesOtherFiles();

    void pageShowDemo();
    void pageShowJsonCoversEveryKind();
    void pageShowReportsFilesThatAreNotPages();
    void normalizeLeavesDemoUnchanged();
    void normalizeRewritesIntoCanonicalForm();
    void saveFailuresAreReported_data();
    void saveFailuresAreReported();
    void normalizeNeverReplacesNonPages_data();
    void normalizeNeverReplacesNonPages();
    void normalizeOutputFolder();
    void lossyPagesAreReported();
    void render_data();
    void render();
    void renderSeveralPages();

    void defsShowDemo();
    void importCsvThenShow();
    void importCsvAlternateTypeCodes();
    void importCsvInto();
    void importCsvReports_data();
    void importCsvReports();
    void importCsvWritesNothingOnError_data();
    void importCsvWritesNothingOnError();

    void checkDemo();
    void checkDemoFixed();
    void checkFindsEachFaultOnce_data();
    void checkFindsEachFaultOnce();
    void checkReportsNothingElse();
    void checkBrokenFiles();
    void checkUnusableInput_data();
    void checkUnusableInput();
    void checkWithoutDefinitions();
    void textIsSafeForTerminals();
    void outputErrorsAreErrors();

    void plugin();
    void libraryShow();
    void libraryShowWithoutFiles();

private:
    QTemporaryDir m_tmp;
    QJsonObject m_faults;   // check --json on the faults fixture, run once
    Result m_faultsRun;
};

void tst_Cli::initTestCase()
{
    QVERIFY(QFileInfo::exists(Program));
    QVERIFY(QFileInfo(DemoDir).isDir());
    m_faultsRun = run({"check", "--json", FaultsDir});
    QVERIFY2(m_faultsRun.clean(), qPrintable(m_faultsRun.describe()));
    m_faults = m_faultsRun.json().object();
    QVERIFY2(!m_faults.isEmpty(), qPrintable(m_faultsRun.describe()));
}

// ---- Help, usage and files of the wrong kind ----------------------------------------------------

void tst_Cli::help_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("usage");     // the first line
    QTest::addColumn<QStringList>("mentions");

    QTest::newRow("tirrel") << QStringList{"--help"}
                            << "Usage: tirrel [--verbose] <command> [options] [arguments]"
                            << QStringList{"page show", "page normalize", "page render",
                                           "defs show", "defs import-csv", "check", "diff",
                                           "plugin", "library show"};
    QTest::newRow("page") << QStringList{"page", "--help"}
                          << "Usage: tirrel page <command> [options] [arguments]"
                          << QStringList{"page show", "page normalize", "page render"};
    QTest::newRow("page render") << QStringList{"page", "render", "--help"}
                                 << "Usage: tirrel page render [options] PAGE... -o OUT"
                                 << QStringList{"--library <dir>", "--layers <which>", "--tags <what>"};
    QTest::newRow("page normalize") << QStringList{"page", "normalize", "-h"}
                                    << "Usage: tirrel page normalize [options] FILE..."
                                    << QStringList{"--output <dir>", "never written"};
}

void tst_Cli::help()
{
    QFETCH(QStringList, args);
    QFETCH(QString, usage);
    QFETCH(QStringList, mentions);
    TIRREL(r, args);
    EXPECT_EXIT(r, 0);
    QCOMPARE(r.outLines().value(0), usage);
    for (const QString &m : mentions)
        QVERIFY2(r.out.contains(m), qPrintable(m + QLatin1String(" missing in\n") + r.out));
    QCOMPARE(r.err, QString());
}

void tst_Cli::usageErrors_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("message");

    QTest::newRow("nothing") << QStringList() << "Usage: tirrel";
    QTest::newRow("unknown command") << QStringList{"frobnicate"} << "unknown command frobnicate";
    QTest::newRow("group without a command") << QStringList{"page"} << "a command is missing";
    QTest::newRow("unknown sub-command") << QStringList{"defs", "drop"} << "unknown command drop";
    QTest::newRow("unknown option") << QStringList{"page", "show", "--frob", "x.xml"}
                                    << "Unknown option 'frob'";
    QTest::newRow("no file") << QStringList{"page", "show"} << "missing argument";
    QTest::newRow("two folders") << QStringList{"check", "a", "b"} << "too many arguments";
    QTest::newRow("check on no thread") << QStringList{"check", "--jobs", "0", "a"}
                                        << "--jobs takes a whole number from 1";
    QTest::newRow("no output file") << QStringList{"defs", "import-csv", "x.csv"}
                                    << "the output file is missing";
    QTest::newRow("option without value") << QStringList{"defs", "import-csv", "x.csv", "-o"}
                                          << "Missing value after '-o'";
    QTest::newRow("render without output") << QStringList{"page", "render", "x.xml"}
                                           << "the output is missing";
    QTest::newRow("render, unknown format") << QStringList{"page", "render", "x.xml", "-o", "x.jpg"}
                                            << "cannot tell the format of x.jpg";
    QTest::newRow("render, several pages into one file")
        << QStringList{"page", "render", "x.xml", "y.xml", "-o", "x.png"}
        << "with several pages, -o names a folder";
    QTest::newRow("render, tag names without definitions")
        << QStringList{"page", "render", "x.xml", "-o", "x.png", "--tags", "names"}
        << "--tags names needs the definition file";
    QTest::newRow("render, scale") << QStringList{"page", "render", "x.xml", "-o", "x.png",
                                                  "--scale", "0"}
                                   << "the scale must be a number above 0";
}

void tst_Cli::usageErrors()
{
    QFETCH(QStringList, args);
    QFETCH(QString, message);
    TIRREL(r, args, m_tmp.path());
    EXPECT_EXIT(r, 2);
    QVERIFY2(r.err.contains(message), qPrintable(r.describe()));
    QCOMPARE(r.out, QString());
}

void tst_Cli::refusesOtherFiles_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("message");   // all of stderr
    const QString page = DemoDir + "/pages/intake.xml";
    const QString missing = m_tmp.filePath("missing.so");

    QTest::newRow("defs show, a page") << QStringList{"defs", "show", page}
        << "tirrel defs show: " + page + " is a page file, not a definition file\n";
    QTest::newRow("plugin, the tool itself") << QStringList{"plugin", Program}
        << "tirrel plugin: " + Program + " is not a Qt plug-in: it has no plug-in metadata\n";
    QTest::newRow("plugin, missing") << QStringList{"plugin", missing}
                                     << "tirrel plugin: " + missing + " does not exist\n";
    QTest::newRow("plugin, a folder") << QStringList{"plugin", DemoDir}
                                      << "tirrel plugin: " + DemoDir + " is not a file\n";
}

void tst_Cli::refusesOtherFiles()
{
    QFETCH(QStringList, args);
    QFETCH(QString, message);
    TIRREL(r, args);
    EXPECT_EXIT(r, 1);
    QCOMPARE(r.err, message);
    QCOMPARE(r.out, QString());
}

// ---- page show ----------------------------------------------------------------------------------

void tst_Cli::pageShowDemo()
{
    TIRREL(r, {"page", "show", "pages/overview.xml"}, DemoDir);
    EXPECT_EXIT(r, 0);
    QCOMPARE(r.err, QString());     // no debug chatter, no progress off a terminal
    const QStringList lines = r.outLines();
    QCOMPARE(lines.value(0), QStringLiteral("pages/overview.xml"));
    for (const char *expected :
         {"  page:         Plant overview (id 1, type 0)", "  size:         1280 x 800 (custom size)",
          "  scrolling:    on, 3 scroll tags", "  layers:       3", "    2  Process",
          "  items:        14", "    ScadaObject   9", "    ImageItem     1",
          "  tag bindings: 18 (13 tags)",
          "       105  ScadaObject #2 \"Pump P-102\" (Uid 2102), tagID_image",
          "       203  scroll tag #2 \"Chlorine residual\", TagID",
          "  tag ids:      101 102 103 104 105 106 107 203 207 208 211 212 301",
          "  not kept:     0", "  coerced:      0"}) {
        QVERIFY2(lines.contains(QString::fromUtf8(expected)), expected);
    }
}

void tst_Cli::pageShowJsonCoversEveryKind()
{
    const QStringList pages = QDir(DemoDir + "/pages").entryList({"*.xml"}, QDir::Files, QDir::Name);
    QStringList args{"page", "show", "--json"};
    for (const QString &p : pages)
        args << "pages/" + p;
    TIRREL(r, args, DemoDir);
    EXPECT_EXIT(r, 0);
    const QJsonArray array = r.json().array();
    QCOMPARE(array.size(), 5);

    QMap<QString, int> totals;
    QSet<int> pageIds;
    for (const QJsonValue &v : array) {
        const QJsonObject page = v.toObject();
        pageIds.insert(page.value("pageID").toInt());
        const QJsonObject items = page.value("items").toObject();
        int sum = 0;
        for (auto it = items.begin(); it != items.end(); ++it) {
            totals[it.key()] += it.value().toInt();
            sum += it.value().toInt();
        }
        QCOMPARE(page.value("itemCount").toInt(), sum);
    }
    QCOMPARE(pageIds, (QSet<int>{1, 2, 3, 4, 5}));
    QCOMPARE(totals.size(), 9);
    for (auto it = totals.begin(); it != totals.end(); ++it)
        QVERIFY2(it.value() > 0, qPrintable(it.key() + QLatin1String(" is on no demo page")));

    const QJsonObject overview = array.at(pages.indexOf("overview.xml")).toObject();
    QCOMPARE(overview.value("pageName").toString(), QStringLiteral("Plant overview"));
    QCOMPARE(overview.value("bindings").toArray().size(), 18);
    const QJsonObject first = overview.value("bindings").toArray().at(0).toObject();
    QCOMPARE(first.value("itemType").toString(), QStringLiteral("ScadaObject"));
    QCOMPARE(first.value("slot").toString(), QStringLiteral("tagID_image"));
    QCOMPARE(first.value("uid").toInt(), 1001);
}

void tst_Cli::pageShowReportsFilesThatAreNotPages()
{
    // Every kind of file that is not a page, each named with its reason.
    const QString dir = m_tmp.filePath("show");
    QVERIFY(writeFiles(dir, {{"good.xml", SmallPage}, {"defs.xml", SmallDefinitions},
                             {"half.xml", HalfWrittenPage}, {"empty.xml", QByteArray()},
                             {"picture.png", Binary}, {"lib.xml", "<scadaObjectTypes/>"},
                             {"other.xml", "<html/>"}}));
    TIRREL(r, {"page", "show", "defs.xml", "half.xml", "good.xml", "empty.xml", "picture.png",
               "lib.xml", "other.xml", "missing.xml", "."},
           dir);
    EXPECT_EXIT(r, 1);
    // The page among them is still shown.
    QVERIFY(r.out.startsWith(QLatin1String("good.xml\n  page:         Small (id 9, type 0)")));
    QCOMPARE(r.errLines(),
             (QStringList{
                 "tirrel page show: defs.xml is a definition file, not a page file",
                 "tirrel page show: half.xml is not well-formed XML: line 5, column 18: "
                 "unexpected end of file",
                 "tirrel page show: empty.xml is empty, not a page file",
                 "tirrel page show: picture.png is not XML, so not a page file",
                 "tirrel page show: lib.xml is an object library file, not a page file",
                 "tirrel page show: other.xml is not a page file: its root element is <html>",
                 "tirrel page show: missing.xml cannot be read: no such file",
                 "tirrel page show: . cannot be read: a folder, not a file"}));
}

// ---- page normalize -----------------------------------------------------------------------------

void tst_Cli::normalizeLeavesDemoUnchanged()
{
    // The demo pages are in canonical form: normalizing them changes no byte.
    const QString dir = m_tmp.filePath("demo-normalize");
    QVERIFY(copyTree(DemoDir, dir));
    const auto before = snapshot(dir);
    const QStringList pages = QDir(dir + "/pages").entryList({"*.xml"}, QDir::Files, QDir::Name);
    TIRREL(r, QStringList{"page", "normalize"} + pages, dir + "/pages");
    EXPECT_EXIT(r, 0);
    QCOMPARE(r.outLines().size(), 5);
    QCOMPARE(r.outLines().filter(": unchanged").size(), 5);
    QCOMPARE(snapshot(dir), before);
}

void tst_Cli::normalizeRewritesIntoCanonicalForm()
{
    const QString dir = m_tmp.filePath("rewrite");
    QVERIFY(writeAll(dir + "/small.xml", SmallPage));
    // Run from elsewhere: the page's fileName becomes its own name all the same.
    TIRREL(first, {"page", "normalize", dir + "/small.xml"}, m_tmp.path());
    EXPECT_EXIT(first, 0);
    QCOMPARE(first.out, dir + "/small.xml: normalized\n");
    const QByteArray canonical = readAll(dir + "/small.xml");
    QVERIFY(canonical.contains("        <fileName>small.xml</fileName>\n"));

    QCOMPARE(first.err, QString());

    // A file given twice is normalized once; the library's debug lines show with --verbose,
    // each naming what it is.
    TIRREL(second, {"--verbose", "page", "normalize", "small.xml", "./small.xml"}, dir);
    EXPECT_EXIT(second, 0);
    QCOMPARE(second.out, QStringLiteral("small.xml: unchanged\n"));
    QVERIFY2(second.err.contains(QLatin1String(" debug: saveFiledata  start : ")),
             qPrintable(second.err));
    QCOMPARE(readAll(dir + "/small.xml"), canonical);
}

void tst_Cli::saveFailuresAreReported_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("file");      // the file the command must leave as it was

    QTest::newRow("page normalize") << QStringList{"page", "normalize", "page.xml"} << "page.xml";
    QTest::newRow("defs import-csv --into")
        << QStringList{"defs", "import-csv", "tags.csv", "--into", "defs.xml", "-o", "defs.xml"}
        << "defs.xml";
}

void tst_Cli::saveFailuresAreReported()
{
    // A file size limit below the new content: the save fails midway and must say so.
    QFETCH(QStringList, args);
    QFETCH(QString, file);
    if (QStandardPaths::findExecutable(QStringLiteral("prlimit")).isEmpty())
        QSKIP("no prlimit to set a file size limit with");
    QTemporaryDir dir;
    QVERIFY(writeFiles(dir.path(), {{"page.xml", SmallPage}, {"defs.xml", SmallDefinitions},
                                    {"tags.csv", "1;1;A;WORD\n"}}));
    const QByteArray before = readAll(dir.filePath(file));
    // The signal of the limit is ignored from the shell on, so that the write fails instead.
    TIRREL(r, QStringList{"-c", "trap '' XFSZ; exec prlimit --fsize=100 \"$@\"", "sh", Program}
                  + args, dir.path(), QString(), QStringLiteral("/bin/sh"));
    EXPECT_EXIT(r, 1);
    QVERIFY2(r.err.contains("cannot write " + file + ": the file size limit of the process is "
                            "reached (File too large); any file there is left as it was"),
             qPrintable(r.describe()));
    QCOMPARE(readAll(dir.filePath(file)), before);
}

void tst_Cli::normalizeNeverReplacesNonPages_data()
{
    // Well-formed XML of another kind, a page cut short, and nothing at all.
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("reason");

    QTest::newRow("definition file") << SmallDefinitions << "is a definition file, not a page file";
    QTest::newRow("half-written page") << HalfWrittenPage << "is not well-formed XML: line 5";
    QTest::newRow("empty") << QByteArray() << "is empty, not a page file";
}

void tst_Cli::normalizeNeverReplacesNonPages()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, reason);
    QTemporaryDir dir;
    QVERIFY(writeFiles(dir.path(), {{"target.xml", content}, {"page.xml", SmallPage}}));

    // In place: the page is normalized, the other file left alone.
    TIRREL(r, {"page", "normalize", "target.xml", "page.xml"}, dir.path());
    EXPECT_EXIT(r, 1);
    QCOMPARE(r.errLines().size(), 1);
    QVERIFY2(r.err.startsWith("tirrel page normalize: target.xml " + reason), qPrintable(r.err));
    QVERIFY(r.err.contains(QLatin1String("left as it is")));
    QCOMPARE(r.out, QStringLiteral("page.xml: normalized\n"));
    QCOMPARE(readAll(dir.filePath("target.xml")), content);

    // Into a folder where a file of that name is no page: the page is not written over it.
    QVERIFY(writeAll(dir.filePath("out/page.xml"), content));
    TIRREL(o, {"page", "normalize", "-o", "out", "page.xml"}, dir.path());
    EXPECT_EXIT(o, 1);
    QVERIFY2(o.err.contains("out/page.xml " + reason), qPrintable(o.err));
    QVERIFY(o.err.contains(QLatin1String("is not replaced")));
    QCOMPARE(readAll(dir.filePath("out/page.xml")), content);
}

void tst_Cli::normalizeOutputFolder()
{
    const QString dir = m_tmp.filePath("output-folder");
    QVERIFY(writeFiles(dir, {{"in/a.xml", SmallPage}, {"in/sub/a.xml", SmallPage}}));
    TIRREL(r, {"page", "normalize", "in/a.xml", "in/sub/a.xml", "--output", "out/new"}, dir);
    EXPECT_EXIT(r, 1);  // the second a.xml would land on the first
    QCOMPARE(r.out, QStringLiteral("out/new/a.xml: normalized\n"));
    QVERIFY(r.err.contains(QLatin1String("in/sub/a.xml not written:")));
    QVERIFY(r.err.contains(QLatin1String("was already written from another file")));
    QCOMPARE(readAll(dir + "/in/a.xml"), SmallPage);    // the source stays as it was
    QVERIFY(readAll(dir + "/out/new/a.xml").contains("<fileName>a.xml</fileName>"));
}

void tst_Cli::lossyPagesAreReported()
{
    // lossy.xml holds one of everything a page does not keep or coerces, undecodable.xml bytes
    // that are no UTF-8.
    const QString dir = m_tmp.filePath("audit");
    QVERIFY(copyTree(AuditDir, dir));
    const QString lossy = "not kept: 1 item of unknown kind, 1 ignored element, 1 duplicate "
                          "element, 1 ignored attribute, 1 root attribute, 1 comment; coerced: 1 "
                          "non-numeric value, 1 non-integer value, 2 out-of-range values, 1 NaN, 1 "
                          "invalid colour, 1 text with control characters";
    TIRREL(show, {"page", "show", "--strict", "lossy.xml", "undecodable.xml"}, dir);
    EXPECT_EXIT(show, 1);
    const QStringList lines = show.outLines();
    const int at = lines.indexOf("  not kept:     6");
    QCOMPARE(lines.mid(at, 16),
             (QStringList{"  not kept:     6", "    items of unknown kind          1",
                          "    ignored elements               1", "    duplicate elements             1",
                          "    ignored attributes             1", "    root attributes                1",
                          "    comments                       1", "  coerced:      7",
                          "    non-numeric values             1", "    non-integer values             1",
                          "    out-of-range values            2", "    NaNs                           1",
                          "    invalid colours                1", "    texts with control characters  1",
                          "undecodable.xml", "  page:         Caf\ufffd (id -1, type 0)"}));
    QCOMPARE(show.errLines(), (QStringList{"tirrel page show: lossy.xml: " + lossy,
                                           "tirrel page show: undecodable.xml: coerced: 1 text "
                                           "with undecodable bytes"}));

    // The list: kind, item, place and the text the file holds there.
    TIRREL(json, {"page", "show", "--json", "lossy.xml", "undecodable.xml"}, dir);
    EXPECT_EXIT(json, 0);
    QStringList found;
    for (const QJsonValue &page : json.json().array()) {
        for (const QJsonValue &v : page.toObject().value("findings").toArray()) {
            const QJsonObject f = v.toObject();
            found << QStringList{f.value("kind").toString(), f.value("itemType").toString(),
                                 QString::number(f.value("itemIndex").toInt(-1)),
                                 f.value("path").toString(), f.value("text").toString(),
                                 f.value("readAs").toString()}.join(' ');
        }
    }
    const QString pump = "ScadaObject 0 /ScadaFile/ItemList/Item[1]/";
    QCOMPARE(found,
             (QStringList{"comment  -1 /comment()  One of everything a loaded page does not keep or "
                          "reads as another value  ",
                          "rootAttribute  -1 /ScadaFile/@version 2 ",
                          "nan " + pump + "Geometry/@X nan int",
                          "outOfRange " + pump + "Geometry/@Y 1e12 int",
                          "notAnInteger " + pump + "Geometry/@W 12.5 int",
                          "notANumber " + pump + "Geometry/@H tall int",
                          "ignoredAttribute " + pump + "Properties/@Colour red ",
                          "outOfRange " + pump + "Properties/@Uid 99999999999 int",
                          "controlCharacters " + pump + "Tooltip Pump\x1b one ",
                          "ignoredElement " + pump + "Vendor <Vendor>Acme</Vendor> ",
                          "duplicateElement " + pump + "lofx[2] <lofx>2</lofx> ",
                          "invalidColor GaugeItem 0 /ScadaFile/ItemList/Item[2]/Foreground reddish colour",
                          "unknownItemKind TrendItem -1 /ScadaFile/ItemList/Item[3] <Item><ItemType>"
                          "TrendItem</ItemType><Geometry X=\"1\"/></Item> ",
                          "undecodableBytes  -1 /ScadaFile/PageProperties/pageName Caf\ufffd "}));

    // --strict writes nothing; without it the page is written with its counts, and what was
    // written holds nothing more to report.
    const QByteArray before = readAll(dir + "/lossy.xml");
    TIRREL(strict, {"page", "normalize", "--strict", "lossy.xml"}, dir);
    EXPECT_EXIT(strict, 1);
    QCOMPARE(strict.out, QString());
    QCOMPARE(strict.err, "tirrel page normalize: lossy.xml not written: " + lossy + "; left as it is\n");
    QCOMPARE(readAll(dir + "/lossy.xml"), before);
    TIRREL(normalize, {"page", "normalize", "lossy.xml"}, dir);
    EXPECT_EXIT(normalize, 0);
    QCOMPARE(normalize.out, "lossy.xml: normalized (" + lossy + ")\n");
    TIRREL(again, {"page", "normalize", "--strict", "--json", "lossy.xml"}, dir);
    EXPECT_EXIT(again, 0);
    const QJsonObject result = again.json().array().at(0).toObject();
    QCOMPARE(result.value("result").toString(), QStringLiteral("unchanged"));
    QCOMPARE(result.value("findings").toArray(), QJsonArray());
}

// ---- page render --------------------------------------------------------------------------------

void tst_Cli::render_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QByteArray>("start");

    QTest::newRow("PNG") << "overview.png" << QByteArray("\x89PNG\r\n");
    QTest::newRow("SVG") << "overview.svg" << QByteArray("<?xml");
    QTest::newRow("PDF") << "overview.pdf" << QByteArray("%PDF-");
}

void tst_Cli::render()
{
    QFETCH(QString, output);
    QFETCH(QByteArray, start);
    const QString target = m_tmp.filePath(output);
    QVERIFY(writeAll(target, "an older picture"));  // replaced
    TIRREL(r, {"page", "render", "pages/overview.xml", "--library", "library", "--defs",
               "definitions/plant.xml", "--scale", "0.5", "--json", "-o", target}, DemoDir);
    EXPECT_EXIT(r, 0);
    QCOMPARE(r.err, QString());
    const QJsonObject page = r.json().array().at(0).toObject();
    QCOMPARE(page.value("output").toString(), target);
    QCOMPARE(page.value("width").toInt(), 640);
    QCOMPARE(page.value("height").toInt(), 400);
    QStringList drawn;  // in drawing order: the site plan on the background layer first
    for (const QJsonValue &v : page.value("items").toArray())
        drawn << v.toObject().value("itemType").toString() + "-"
                     + QString::number(v.toObject().value("index").toInt());
    QCOMPARE(drawn.size(), 14);
    QCOMPARE(drawn.first(), QStringLiteral("ImageItem-0"));

    const QByteArray bytes = readAll(target);
    QVERIFY(bytes.startsWith(start));
    if (output.endsWith(".png"))
        QCOMPARE(QImage::fromData(bytes).size(), QSize(640, 400));
    if (output.endsWith(".svg")) {
        QDomDocument svg;
        QVERIFY(svg.setContent(bytes));
        QStringList groups;
        const QDomNodeList g = svg.elementsByTagName("g");
        for (int i = 0; i < g.size(); ++i) {
            if (g.at(i).toElement().attribute("class") == QLatin1String("item"))
                groups << g.at(i).toElement().attribute("id");
        }
        QCOMPARE(groups, drawn);
    }
}

void tst_Cli::renderSeveralPages()
{
    // One picture per page, a warning for the object type the library lacks, and a file that is
    // no page reported without stopping the others.
    const QString out = m_tmp.filePath("pictures");
    TIRREL(r, {"page", "render", "pages/intake.xml", "definitions/plant.xml", "pages/reservoir.xml",
               "--library", "library", "-o", out}, DemoDir);
    EXPECT_EXIT(r, 1);
    QCOMPARE(r.errLines(),
             (QStringList{"tirrel page render: definitions/plant.xml is a definition file, not a "
                          "page file",
                          "tirrel page render: pages/reservoir.xml: ScadaObject #4 \"RTU-301\": "
                          "object type 14 is not in the object library"}));
    QCOMPARE(r.outLines(), (QStringList{"wrote " + out + "/intake.png (1280 x 800, 10 items)",
                                        "wrote " + out + "/reservoir.png (1280 x 800, 9 items, 1 "
                                        "warning)"}));
    QCOMPARE(QDir(out).entryList(QDir::Files), (QStringList{"intake.png", "reservoir.png"}));
}

// ---- defs show and import-csv -------------------------------------------------------------------

void tst_Cli::defsShowDemo()
{
    TIRREL(r, {"defs", "show", "definitions/plant.xml"}, DemoDir);
    EXPECT_EXIT(r, 0);
    QCOMPARE(r.outLines(), (QStringList{"definitions/plant.xml", "  channels: 3", "  tags:     36",
                                        "  alarms:   15"}));

    TIRREL(list, {"defs", "show", "--list", "definitions/plant.xml"}, DemoDir);
    EXPECT_EXIT(list, 0);
    const QStringList lines = list.outLines();
    const QRegularExpression tcp(QStringLiteral("^    1 +PLC-Intake +1 +2 +10\\.20\\.1\\.11:502 "));
    const QRegularExpression serial(QStringLiteral("^    3 +RTU-Reservoir +2 +1 +- +COM3 19200 +yes$"));
    const QRegularExpression tag(QStringLiteral("^    310 +TT-301 Reservoir temperature +RTU-North \\(3\\) "));
    const QRegularExpression alarm(QStringLiteral("^    15 +RTU-301 battery +306 +Equipment +1 +11\\.5 +yes$"));
    for (const QRegularExpression &re : {tcp, serial, tag, alarm})
        QVERIFY2(!lines.filter(re).isEmpty(), qPrintable(re.pattern()));
    QCOMPARE(lines.filter(QRegularExpression("None")).size(), 0);  // the placeholder is no channel

    DEFS_LIST(o, "definitions/plant.xml", DemoDir);
    QCOMPARE(o.value("channels").toInt(), 3);
    QCOMPARE(o.value("tags").toInt(), 36);
    QCOMPARE(o.value("alarms").toInt(), 15);
    QCOMPARE(o.value("channelList").toArray().size(), 3);
    QCOMPARE(o.value("tagList").toArray().size(), 36);
    QCOMPARE(o.value("alarmList").toArray().size(), 15);
    const QJsonObject rtu = o.value("channelList").toArray().at(2).toObject();
    QCOMPARE(rtu.value("Name").toString(), QStringLiteral("RTU-Reservoir"));
    QCOMPARE(rtu.value("Comport").toInt(), 3);
    QCOMPARE(rtu.value("Baudrate").toInt(), 19200);
}

void tst_Cli::importCsvThenShow()
{
    const QString dir = m_tmp.filePath("import");
    QVERIFY(writeFiles(dir, {{"a.csv", "Tag list of PLC 1\r\n"
                                       "1;40001;Level;FLOAT\r\n"
                                       "1;10001;Pump run;LOGIC\r\n"
                                       "1;40003;Speed;WORD;spare\r\n"
                                       "\r\n"
                                       "1;40005;Hours;LONG\r\n"},
                             {"b.csv", "2;7;Level;WORD\n2;8;Valve;DWORD\n2;9\n"}}));
    TIRREL(r, {"defs", "import-csv", "a.csv", "b.csv", "-o", "tags.xml"}, dir);
    EXPECT_EXIT(r, 0);
    QCOMPARE(r.errLines(),
             (QStringList{"tirrel defs import-csv: a.csv:1: line skipped: 1 field, a tag line has 4",
                          "tirrel defs import-csv: a.csv:4: line skipped: 5 fields, a tag line has 4",
                          "tirrel defs import-csv: a.csv:5: line skipped: empty line",
                          "tirrel defs import-csv: b.csv:1: tag \"Level\" already exists; not added",
                          "tirrel defs import-csv: b.csv:3: line skipped: 2 fields, a tag line has 4"}));
    QCOMPARE(r.outLines(), (QStringList{"a.csv: 3 tags imported, 3 lines skipped",
                                        "b.csv: 1 tag imported, 1 line skipped, 1 already defined",
                                        "wrote tags.xml: 0 channels, 4 tags, 0 alarms (new tag ids 1 "
                                        "to 4)"}));

    DEFS_LIST(o, "tags.xml", dir);
    QCOMPARE(o.value("channels").toInt(), 0);
    QCOMPARE(o.value("alarms").toInt(), 0);
    QStringList tags;
    for (const QJsonValue &v : o.value("tagList").toArray()) {
        const QJsonObject t = v.toObject();
        tags << QStringLiteral("%1 %2 %3 %4/%5").arg(t.value("Id").toInt())
                    .arg(t.value("Name").toString(), t.value("VariableAddress").toString())
                    .arg(t.value("VariableType").toInt()).arg(t.value("VariableSize").toInt());
    }
    QCOMPARE(tags, (QStringList{"1 Level 40001 6/4", "2 Pump run 10001 16/1", "3 Hours 40005 3/4",
                                "4 Valve 8 1/2"}));
}

void tst_Cli::importCsvAlternateTypeCodes()
{
    const QString dir = m_tmp.filePath("alternate");
    QVERIFY(writeAll(dir + "/a.csv", "1;1;A;FLOAT\n1;2;B;LOGIC\n1;3;C;WORD\n"));
    TIRREL(r, {"defs", "import-csv", "--alternate-type-codes", "a.csv", "-o", "t.xml"}, dir);
    EXPECT_EXIT(r, 0);
    DEFS_LIST(show, "t.xml", dir);
    QList<int> codes;
    for (const QJsonValue &v : show.value("tagList").toArray())
        codes << v.toObject().value("VariableType").toInt();
    QCOMPARE(codes, (QList<int>{14, 16, 9}));
}

void tst_Cli::importCsvInto()
{
    const QString dir = m_tmp.filePath("into");
    QVERIFY(copyTree(DemoDir + "/definitions", dir));
    QVERIFY(writeAll(dir + "/extra.csv", "1;1;New tag;FLOAT\n1;2;P-101 Speed;WORD\n"));
    const QByteArray before = readAll(dir + "/plant.xml");

    // Into a new file: the existing one stays as it was.
    TIRREL(r, {"defs", "import-csv", "chemical-building.csv", "extra.csv", "--into", "plant.xml",
               "-o", "merged.xml"}, dir);
    EXPECT_EXIT(r, 0);
    QCOMPARE(readAll(dir + "/plant.xml"), before);
    QCOMPARE(r.errLines(),
             (QStringList{"tirrel defs import-csv: chemical-building.csv:1: line skipped: 1 field, "
                          "a tag line has 4",
                          "tirrel defs import-csv: extra.csv:2: tag \"P-101 Speed\" already "
                          "exists; not added"}));
    QVERIFY(r.out.endsWith(QLatin1String("wrote merged.xml: 3 channels, 48 tags, 15 alarms (new "
                                         "tag ids 311 to 322)\n")));

    DEFS_LIST(merged, "merged.xml", dir);
    DEFS_LIST(plant, "plant.xml", dir);
    QCOMPARE(merged.value("channelList"), plant.value("channelList"));
    QCOMPARE(merged.value("alarmList"), plant.value("alarmList"));
    const QJsonArray tags = merged.value("tagList").toArray();
    const QJsonArray kept = plant.value("tagList").toArray();
    for (int i = 0; i < kept.size(); ++i)
        QCOMPARE(tags.at(i), kept.at(i));
    QCOMPARE(tags.last().toObject().value("Name").toString(), QStringLiteral("New tag"));
    QCOMPARE(tags.last().toObject().value("Id").toInt(), 322);

    // Into the same file: allowed, and the result is that file.
    TIRREL(same, {"defs", "import-csv", "extra.csv", "--into", "plant.xml", "-o", "plant.xml"}, dir);
    EXPECT_EXIT(same, 0);
    TIRREL(after, {"defs", "show", "plant.xml"}, dir);
    QVERIFY(after.out.contains(QLatin1String("tags:     37")));
}

void tst_Cli::importCsvReports_data()
{
    QTest::addColumn<QByteArray>("csv");
    QTest::addColumn<int>("exit");
    QTest::addColumn<QStringList>("errors");    // after "tirrel defs import-csv: "
    QTest::addColumn<QString>("summary");

    const QString quotes = "line skipped: quoted fields are not supported (every \";\" separates "
                           "fields, and quotes would stay in names)";
    QTest::newRow("each kind of line")
        << QByteArray("Nr;Address;Name;Type\n1;40001;Pump;WORD\n1;;NoAddress;WORD\n1;40003;;WORD\n"
                      "1;40004;\"Quoted\";WORD\n1;40005;\"a;b\";WORD\n1;40006;Flag;BOOL\n"
                      "1;40007;Text;STRING\n1;40008;Flag2;BOOL\n")
        << 0
        << QStringList{"t.csv:1: note: header row skipped: Nr;Address;Name;Type",
                       "t.csv:3: line skipped: the address is empty",
                       "t.csv:4: line skipped: the tag name is empty", "t.csv:5: " + quotes,
                       "t.csv:6: " + quotes,
                       "t.csv: unknown type names, imported with type code 2 and size 4: "
                       "\"BOOL\" (lines 7, 9), \"STRING\" (line 8)"}
        << "t.csv: 4 tags imported, 5 lines skipped";
    QStringList capped;
    for (int line = 1; line <= 20; ++line)
        capped << QStringLiteral("t.csv:%1: line skipped: 2 fields, a tag line has 4").arg(line);
    QTest::newRow("reports capped at 20")
        << QByteArray("1;2\n").repeated(25) + "1;2;A;WORD\n" << 0
        << capped + QStringList{"t.csv: 5 more reports not shown"}
        << "t.csv: 1 tag imported, 25 lines skipped";
    QTest::newRow("no usable line")
        << QByteArray("Nr;Address;Name;Type\n\n1;;B;WORD\n") << 1
        << QStringList{"t.csv:1: note: header row skipped: Nr;Address;Name;Type",
                       "t.csv:2: line skipped: empty line",
                       "t.csv:3: line skipped: the address is empty",
                       "t.csv has no usable line", "t.xml not written"}
        << "t.csv: 0 tags imported, 3 lines skipped";
}

void tst_Cli::importCsvReports()
{
    QFETCH(QByteArray, csv);
    QFETCH(int, exit);
    QFETCH(QStringList, errors);
    QFETCH(QString, summary);
    QTemporaryDir dir;
    QVERIFY(writeAll(dir.filePath("t.csv"), csv));
    TIRREL(r, {"defs", "import-csv", "t.csv", "-o", "t.xml"}, dir.path());
    EXPECT_EXIT(r, exit);
    QStringList expected;
    for (const QString &e : errors)
        expected << "tirrel defs import-csv: " + e;
    QCOMPARE(r.errLines(), expected);
    QCOMPARE(r.outLines().value(0), summary);
    QCOMPARE(QFileInfo::exists(dir.filePath("t.xml")), exit == 0);
}

void tst_Cli::importCsvWritesNothingOnError_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("message");

    QTest::newRow("missing CSV") << QStringList{"good.csv", "missing.csv", "-o", "new.xml"}
                                 << "cannot read the CSV file missing.csv";
    QTest::newRow("--into a page") << QStringList{"good.csv", "--into", "page.xml", "-o", "new.xml"}
                                   << "page.xml is a page file, not a definition file; nothing written";
    QTest::newRow("--into a broken file")
        << QStringList{"good.csv", "--into", "halfdefs.xml", "-o", "new.xml"}
        << "halfdefs.xml is not well-formed XML: line 1, column 30: unexpected end of file";
    QTest::newRow("a pipe") << QStringList{"good.csv", "pipe.csv", "-o", "new.xml"}
                            << "cannot read the CSV file pipe.csv: not a regular file";
    QTest::newRow("a device") << QStringList{"/dev/zero", "-o", "new.xml"}
                              << "cannot read the CSV file /dev/zero: not a regular file";
    // Outside the folder, which is read whole to tell that nothing changed.
    QTest::newRow("over the size limit") << QStringList{m_tmp.filePath("huge.csv"), "-o", "new.xml"}
        << "huge.csv: larger than 536870912 bytes, the most that is read (536870913 bytes)";
    QTest::newRow("output exists") << QStringList{"good.csv", "-o", "existing.xml"}
                                   << "existing.xml already exists; give --into existing.xml";
    QTest::newRow("output exists, --into another file")
        << QStringList{"good.csv", "--into", "defs.xml", "-o", "existing.xml"}
        << "existing.xml already exists";
}

void tst_Cli::importCsvWritesNothingOnError()
{
    QFETCH(QStringList, args);
    QFETCH(QString, message);
    QTemporaryDir dir;
    QVERIFY(writeFiles(dir.path(), {{"good.csv", "1;1;A;WORD\n"}, {"page.xml", SmallPage},
                                    {"halfdefs.xml", "<CTDefinitions><TagList><Tag>"},
                                    {"defs.xml", SmallDefinitions}, {"existing.xml", "keep me"}}));
    QCOMPARE(::mkfifo(QFile::encodeName(dir.filePath("pipe.csv")).constData(), 0600), 0);
    QFile huge(m_tmp.filePath("huge.csv"));
    QVERIFY(huge.open(QIODevice::WriteOnly) && huge.resize(512 * 1024 * 1024 + 1));
    huge.close();
    const auto before = snapshot(dir.path());
    TIRREL(r, QStringList{"defs", "import-csv"} + args, dir.path());
    EXPECT_EXIT(r, 1);
    QVERIFY2(r.err.contains(message), qPrintable(r.describe()));
    QCOMPARE(snapshot(dir.path()), before);

    // --force replaces an existing output file.
    if (args.contains("existing.xml") && !args.contains("--into")) {
        TIRREL(forced, QStringList{"defs", "import-csv", "--force"} + args, dir.path());
        EXPECT_EXIT(forced, 0);
        QVERIFY(readAll(dir.filePath("existing.xml")).contains("<CTDefinitions>"));
    }
}

// ---- check --------------------------------------------------------------------------------------

void tst_Cli::checkDemo()
{
    TIRREL(r, {"check", "plant-demo"}, QFileInfo(DemoDir).absolutePath());
    EXPECT_EXIT(r, 1);
    QCOMPARE(r.err, QString());
    QCOMPARE(r.outLines(),
             (QStringList{
                 "definitions/plant.xml: tag \"TT-301 Reservoir temperature\" (id 310) is read "
                 "through channel \"RTU-North\", which this file does not define",
                 "pages/intake.xml: SCADA object Uid 2102 is used on 2 pages: pages/intake.xml "
                 "(ScadaObject #2 \"Pump P-102\"), pages/overview.xml (ScadaObject #2 \"Pump P-102\")",
                 "not checked: README.md (not XML)",
                 "not checked: overview-rendered.png (not XML)",
                 "not checked: definitions/chemical-building.csv (not XML)",
                 "not checked: images/overview-background.png (not XML)",
                 "not checked: images/riverside-logo.png (not XML)",
                 "not checked: images/site-plan.png (not XML)",
                 "not checked: library/objlib.xml (object library file)",
                 "not checked: library/userlib.xml (object library file)",
                 "not checked: library/images/analyzer.png (not XML)",
                 "not checked: library/images/button.png (not XML)",
                 "not checked: library/images/dosing_stopped.png (not XML)",
                 "not checked: library/images/filter.png (not XML)",
                 "not checked: library/images/pump_stopped.png (not XML)",
                 "not checked: library/images/tank.png (not XML)",
                 "not checked: library/images/transmitter.png (not XML)",
                 "not checked: library/images/valve_closed.png (not XML)",
                 "plant-demo: 2 findings (5 page files and 1 definition file checked; 16 other "
                 "files not checked)"}));
}

void tst_Cli::checkDemoFixed()
{
    // The demo's README tells how to fix its two faults; with them fixed the project is clean.
    const QString dir = m_tmp.filePath("plant-fixed");
    QVERIFY(copyTree(DemoDir, dir));
    QByteArray overview = readAll(dir + "/pages/overview.xml");
    QCOMPARE(overview.count("Uid=\"2102\""), 1);
    overview.replace("Uid=\"2102\"", "Uid=\"1003\"");
    QVERIFY(writeAll(dir + "/pages/overview.xml", overview));
    QByteArray plant = readAll(dir + "/definitions/plant.xml");
    QCOMPARE(plant.count("RTU-North"), 1);
    plant.replace("RTU-North", "RTU-Reservoir");
    QVERIFY(writeAll(dir + "/definitions/plant.xml", plant));

    TIRREL(r, {"check", dir});
    EXPECT_EXIT(r, 0);
    QVERIFY(r.out.endsWith(dir + QStringLiteral(": no findings (5 page files and 1 definition "
                                                "file checked; 16 other files not checked)\n")));
}

void tst_Cli::checkFindsEachFaultOnce_data()
{
    // Which item kinds carry bindings is the library's affair; here, how each finding reads.
    QTest::addColumn<QString>("check");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("message");

    QTest::newRow("SCADA object tag slot") << "undefined-tag" << "pages/a.xml"
        << "ScadaObject #0 \"Pump\" (Uid 10) is bound to tag 999 (tagID_label), which no "
           "definition file defines";
    QTest::newRow("chart tag") << "undefined-tag" << "pages/a.xml"
        << "RTChartItem #0 \"Trend\" is bound to tag 998 (TagIDs[1])";
    QTest::newRow("scroll tag") << "undefined-tag" << "pages/a.xml"
        << "scroll tag #1 \"Missing\" is bound to tag 994 (TagID)";
    QTest::newRow("Uid on two pages") << "duplicate-uid" << "pages/a.xml"
        << "SCADA object Uid 20 is used on 2 pages: pages/a.xml (ScadaObject #1 \"Valve\"), "
           "pages/b.xml (ScadaObject #0 \"Valve copy\")";
    QTest::newRow("page id on two pages") << "duplicate-page-id" << "pages/a.xml"
        << "page id 1 is used by 2 pages: pages/a.xml (\"Page A\"), pages/b.xml (\"Page B\")";
    QTest::newRow("channel by name") << "missing-channel" << "defs/plant.xml"
        << "tag \"T3\" (id 3) is read through channel \"PLC-Z\", which this file does not define";
    QTest::newRow("channel by id") << "missing-channel" << "defs/plant.xml"
        << "tag \"T4\" (id 4) is read through channel id 7, which this file does not define";
    QTest::newRow("tag name twice") << "duplicate-tag-name" << "defs/plant.xml"
        << "tag name \"T1\" is defined twice: defs/plant.xml (id 1), defs/plant.xml (id 5)";
    QTest::newRow("tag id twice") << "duplicate-tag-id" << "defs/plant.xml"
        << "tag id 2 is defined twice: defs/plant.xml (\"T2\"), defs/plant.xml (\"T6\")";
    QTest::newRow("alarm on an undefined tag") << "alarm-undefined-tag" << "defs/plant.xml"
        << "alarm \"Orphan\" (id 2) is on tag 950, which no definition file defines";
    QTest::newRow("Uid twice on one page") << "duplicate-uid" << "pages/c.page"
        << "SCADA object Uid 30 is used twice on one page: pages/c.page (ScadaObject #0 "
           "\"Twin 1\"), pages/c.page (ScadaObject #1 \"Twin 2\")";
    QTest::newRow("tag without a name") << "empty-tag-name" << "defs/plant.xml"
        << "tag \"\" (id 7) has an empty name";
    QTest::newRow("tag without an address") << "empty-tag-address" << "defs/plant.xml"
        << "tag \"T8\" (id 8) has an empty address";
    QTest::newRow("half-written file") << "malformed" << "pages/half-written.xml"
        << "is not well-formed XML: line 6, column 42: unexpected end of file";
}

void tst_Cli::checkFindsEachFaultOnce()
{
    QFETCH(QString, check);
    QFETCH(QString, file);
    QFETCH(QString, message);
    int found = 0;
    for (const QJsonValue &v : m_faults.value("findings").toArray()) {
        const QJsonObject f = v.toObject();
        if (f.value("check").toString() == check && f.value("file").toString() == file
                && f.value("message").toString().startsWith(message))
            ++found;
    }
    QVERIFY2(found == 1, qPrintable(QStringLiteral("found %1 times in\n%2")
                                        .arg(found).arg(m_faultsRun.out)));
}

void tst_Cli::checkReportsNothingElse()
{
    EXPECT_EXIT(m_faultsRun, 1);
    QCOMPARE(m_faults.value("status").toInt(), 1);
    const QJsonArray findings = m_faults.value("findings").toArray();
    QCOMPARE(findings.size(), 17);
    for (const QJsonValue &v : findings) {
        if (v.toObject().value("item") == QLatin1String("SCADA object Uid 20"))
            QCOMPARE(v.toObject().value("files").toArray(), (QJsonArray{"pages/a.xml", "pages/b.xml"}));
    }
    QCOMPARE(m_faults.value("complete").toBool(), true);
    QCOMPARE(m_faults.value("pageFiles").toArray(),
             (QJsonArray{"pages/a.xml", "pages/b.xml", "pages/c.page", "pages/d.page"}));
    QCOMPARE(m_faults.value("notChecked").toArray(),
             (QJsonArray{QJsonObject{{"file", "notes.txt"}, {"reason", "not XML"}}}));
    const QJsonObject malformed = findings.last().toObject();
    QCOMPARE(malformed.value("line").toInt(), 6);
    QCOMPARE(malformed.value("column").toInt(), 42);

    // The text form: one line per finding, file first, in file order.
    TIRREL(text, {"check", "."}, FaultsDir);
    EXPECT_EXIT(text, 1);
    const QStringList lines = text.outLines();
    QCOMPARE(lines.size(), 17 + 2);
    QStringList files;
    for (int i = 0; i < 17; ++i)
        files << lines.at(i).section(QLatin1Char(':'), 0, 0);
    QStringList sorted = files;
    std::sort(sorted.begin(), sorted.end());
    QCOMPARE(files, sorted);
    QCOMPARE(lines.last(), QStringLiteral(".: 17 findings (4 page files and 1 definition file "
                                          "checked; 1 other file not checked)"));

    // Read on one thread or on several, the report is the same.
    for (const char *jobs : {"1", "5"}) {
        TIRREL(r, {"check", "--json", "--jobs", jobs, FaultsDir});
        QCOMPARE(r.out, m_faultsRun.out);
    }
}

void tst_Cli::checkBrokenFiles()
{
    const QString dir = m_tmp.filePath("broken");
    QVERIFY(writeFiles(dir, {{"good/page.xml", SmallPage}, {"good/defs.xml", SmallDefinitions},
                             {"empty.xml", QByteArray()}, {"empty.txt", QByteArray()},
                             {"image.xml", Binary}, {"image.png", Binary},
                             {"half.xml", HalfWrittenPage}, {".hidden.xml", HalfWrittenPage}}));
    QCOMPARE(::mkfifo(QFile::encodeName(dir + "/pipe").constData(), 0600), 0);
    QVERIFY(QFile::link(dir + "/nowhere.xml", dir + "/dangling.xml"));
    // A name that is not valid UTF-8 is visited all the same, and a file over the size limit
    // is not read.
    const QByteArray latin1Name = QFile::encodeName(dir) + "/caf\xe9.xml";
    const int fd = ::open(latin1Name.constData(), O_WRONLY | O_CREAT, 0644);
    const QByteArray otherPage = QByteArray(SmallPage).replace("9</pageID>", "10</pageID>")
                                                      .replace("Uid=\"5\"", "Uid=\"6\"");
    QVERIFY(fd >= 0 && ::write(fd, otherPage.constData(), size_t(otherPage.size())) > 0);
    ::close(fd);
    QFile huge(dir + "/huge.xml");
    QVERIFY(huge.open(QIODevice::WriteOnly) && huge.resize(512 * 1024 * 1024 + 1));
    huge.close();
    const bool root = geteuid() == 0;
    if (!root) {
        QVERIFY(writeAll(dir + "/locked.xml", SmallPage));
        QVERIFY(QFile::setPermissions(dir + "/locked.xml", QFileDevice::WriteOwner));
    }

    TIRREL(r, {"check", "--json", "broken"}, m_tmp.path());
    TIRREL(serial, {"check", "--json", "--jobs", "1", "broken"}, m_tmp.path());
    QCOMPARE(serial.out, r.out);
    ::unlink(latin1Name.constData());   // a name QDir could not remove
    if (!root)
        QFile::setPermissions(dir + "/locked.xml", QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    // Files that were not checked (a pipe, a broken link, one too large) leave it incomplete.
    EXPECT_EXIT(r, 2);
    const QJsonObject o = r.json().object();
    QCOMPARE(o.value("complete").toBool(true), false);
    QMap<QString, QString> reported;
    for (const QJsonValue &v : o.value("findings").toArray())
        reported.insert(v.toObject().value("file").toString(), v.toObject().value("message").toString());
    for (const QJsonValue &v : o.value("notChecked").toArray()) {
        const QJsonObject n = v.toObject();
        reported.insert(n.value("file").toString(),
                        QLatin1String(n.value("incomplete").toBool()
                                          ? "not checked, incomplete: " : "not checked: ")
                            + n.value("reason").toString());
    }

    QMap<QString, QString> expected{
        {"empty.xml", "is empty, not a well-formed XML document"},
        {"image.xml", "is not well-formed XML: line 1, column 1: error occurred while parsing element"},
        {"half.xml", "is not well-formed XML: line 5, column 18: unexpected end of file"},
        {"empty.txt", "not checked: empty file"},
        {"image.png", "not checked: not XML"},
        {"pipe", "not checked, incomplete: not a regular file"},
        {"dangling.xml", "not checked, incomplete: broken symbolic link"},
        {"caf\\xe9.xml", "the name is not valid UTF-8 (its other bytes are shown as \\xNN), so the "
                         "editor cannot open it by that name"},
        {"huge.xml", "not checked, incomplete: larger than 536870912 bytes, the most that is "
                     "read (536870913 bytes), not read"},
    };
    if (!root)
        expected.insert("locked.xml", "cannot be read: Permission denied");
    QCOMPARE(reported, expected);
    QCOMPARE(o.value("pageFiles").toArray(), (QJsonArray{"caf\\xe9.xml", "good/page.xml"}));
    QCOMPARE(o.value("definitionFiles").toArray(), QJsonArray{"good/defs.xml"});
}

void tst_Cli::checkUnusableInput_data()
{
    QTest::addColumn<QString>("setup");     // what the folder "input" is
    QTest::addColumn<QString>("message");

    QTest::newRow("missing") << "missing" << "tirrel check: input does not exist";
    QTest::newRow("a file") << "file" << "tirrel check: input is not a folder";
    QTest::newRow("no project files") << "readme" << "no page or definition file found";
    QTest::newRow("empty folder") << "empty" << "no page or definition file found";
}

void tst_Cli::checkUnusableInput()
{
    QFETCH(QString, setup);
    QFETCH(QString, message);
    QTemporaryDir dir;
    const QString input = dir.filePath("input");
    if (setup == QLatin1String("file"))
        QVERIFY(writeAll(input, SmallPage));
    else if (setup == QLatin1String("readme"))
        QVERIFY(writeAll(input + "/README.md", "# nothing here\n"));
    else if (setup == QLatin1String("empty"))
        QVERIFY(QDir().mkpath(input));
    TIRREL(r, {"check", "input"}, dir.path());
    EXPECT_EXIT(r, 2);
    QVERIFY2((r.out + r.err).contains(message), qPrintable(r.describe()));
    // JSON says so too, even of a folder that is not there.
    TIRREL(json, {"check", "--json", "input"}, dir.path());
    EXPECT_EXIT(json, 2);
    QCOMPARE(json.json().object().value("complete").toBool(true), false);
    QCOMPARE(json.json().object().value("status").toInt(), 2);
}

void tst_Cli::textIsSafeForTerminals()
{
    // Control characters of the data are shown escaped; a file name with a line feed is quoted.
    QTemporaryDir dir;
    QByteArray page = SmallPage;
    page.replace("<pageName>Small</pageName>", "<pageName>Sm&#x1b;[2Jall&#x9b;</pageName>");
    QVERIFY(writeAll(dir.filePath("a\nb.xml"), page));
    TIRREL(show, {"page", "show", "a\nb.xml"}, dir.path());
    EXPECT_EXIT(show, 0);
    QCOMPARE(show.outLines().mid(0, 2),
             (QStringList{"\"a\\nb.xml\"", "  page:         Sm\\x1b[2Jall\\x9b (id 9, type 0)"}));
    TIRREL(check, {"check", "."}, dir.path());
    QVERIFY2(check.out.startsWith("note: no definition file found"), qPrintable(check.out));
    QVERIFY(!check.out.contains(QChar(0x1b)));

    QVERIFY(writeAll(dir.filePath("x.xml"), "<CTDefinitions><TagList><Tag><Name>"
                                            "T\xc2\x9b\xe2\x80\xae</Name></Tag></TagList>"
                                            "</CTDefinitions>"));
    TIRREL(list, {"defs", "show", "--list", "x.xml"}, dir.path());
    QVERIFY2(list.out.contains("T\\x9b\\u202e"), qPrintable(list.out));
}

void tst_Cli::outputErrorsAreErrors()
{
    QProcess p;
    p.setStandardOutputFile(QStringLiteral("/dev/full"));
    p.start(Program, {"check", "--json", DemoDir});
    QVERIFY(p.waitForFinished(240000));
    QCOMPARE(p.exitStatus(), QProcess::NormalExit);
    QCOMPARE(p.exitCode(), 3);
    QVERIFY(p.readAllStandardError().contains(
        "tirrel: the output could not be written: No space left on device"));
}

void tst_Cli::checkWithoutDefinitions()
{
    QTemporaryDir dir;
    QVERIFY(writeAll(dir.filePath("page.xml"), SmallPage));
    TIRREL(r, {"check", "."}, dir.path());
    EXPECT_EXIT(r, 0);
    QCOMPARE(r.outLines(), (QStringList{
                               "note: no definition file found, so tag bindings were not checked",
                               ".: no findings (1 page file and 0 definition files checked)"}));
}

// ---- plugin and library show --------------------------------------------------------------------

void tst_Cli::plugin()
{
    const QString library = QStringLiteral(TIRREL_PLUGIN_FILE);
    TIRREL(r, {"plugin", library});
    EXPECT_EXIT(r, 0);
    const QStringList lines = r.outLines();
    QCOMPARE(lines.value(0), library);
    for (const char *expected :
         {"  IID:         org.qt-project.Qt.OrvidePlugin", "  class name:  TirrelPlugin",
          "    Category     Orvide", "    Description  Tirrel",
          "  loads:       yes, plug-in object TirrelPlugin (a host plug-in)"}) {
        QVERIFY2(lines.contains(QString::fromUtf8(expected)), qPrintable(r.out));
    }

    TIRREL(json, {"plugin", "--json", library});
    EXPECT_EXIT(json, 0);
    const QJsonObject o = json.json().object();
    QCOMPARE(o.value("IID").toString(), QStringLiteral("org.qt-project.Qt.OrvidePlugin"));
    QCOMPARE(o.value("className").toString(), QStringLiteral("TirrelPlugin"));
    QCOMPARE(o.value("hostPlugin").toBool(), true);
    QCOMPARE(o.value("MetaData").toObject().keys(),
             (QStringList{"Category", "Description", "Url", "Vendor"}));
}

void tst_Cli::libraryShow()
{
    // The engine reads the standard library beside the program's folder and the user library in
    // the home directory: a copy of the program in a folder of its own, and a home of its own.
    QTemporaryDir root;
    QVERIFY(QDir().mkpath(root.filePath("bin")));
    const QString program = root.filePath("bin/tirrel");
    QVERIFY(QFile::copy(Program, program));
    QVERIFY(writeAll(root.filePath("scdLib/objlib.xml"), readAll(DemoDir + "/library/objlib.xml")));
    QVERIFY(writeAll(root.filePath("home/Parvane/userlib.xml"),
                     readAll(DemoDir + "/library/userlib.xml")));

    TIRREL(r, {"library", "show"}, root.path(), root.filePath("home"), program);
    EXPECT_EXIT(r, 0);
    const QStringList lines = r.outLines();
    QCOMPARE(lines.value(0), "standard library: " + root.filePath("scdLib/objlib.xml") + ", 9 objects");
    QCOMPARE(lines.value(1), "user library:     " + root.filePath("home/Parvane/userlib.xml") + ", 1 object");
    QVERIFY(!lines.filter(QRegularExpression("^  1 +Centrifugal pump +Pumps +4 +64 x 64 +standard +"
                                             "images/pump_stopped.png, images/pump_running.png")).isEmpty());
    QVERIFY(!lines.filter(QRegularExpression("^  10 +Reservoir RTU +Telemetry +0 +0 x 0 +user ")).isEmpty());

    TIRREL(json, {"library", "show", "--json"}, root.path(), root.filePath("home"), program);
    const QJsonArray objects = json.json().object().value("objects").toArray();
    QCOMPARE(objects.size(), 10);
    QCOMPARE(objects.last().toObject().value("isUserObject").toBool(), true);
    QCOMPARE(objects.first().toObject().value("isUserObject").toBool(), false);
}

void tst_Cli::libraryShowWithoutFiles()
{
    QTemporaryDir home;
    TIRREL(r, {"library", "show", "--json"}, home.path(), home.path());
    EXPECT_EXIT(r, 0);
    const QJsonObject o = r.json().object();
    QCOMPARE(o.value("standardLibraryFound").toBool(), false);
    QCOMPARE(o.value("userLibraryFound").toBool(), false);
    QCOMPARE(o.value("objects").toArray().size(), 0);
    // Like the editor, the engine makes the user image folder.
    QVERIFY(QFileInfo(home.filePath("Parvane/images")).isDir());
}

QTEST_GUILESS_MAIN(tst_Cli)
#include "tst_cli.moc"
