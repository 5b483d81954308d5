// ProjectFileProbe: telling the files of a project apart by their content.
#include <projectFileProbe.h>
#include <scaFileProcessor.h>

#include "defsDump.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

#include <memory>

namespace {

QByteArray utf16le(const QString &text)
{
    return QByteArray("\xFF\xFE", 2)
           + QByteArray(reinterpret_cast<const char *>(text.utf16()), 2 * text.size());
}

QByteArray nested(int depth)
{
    return QByteArray("<ScadaFile>") + QByteArray("<a>").repeated(depth)
           + QByteArray("</a>").repeated(depth) + QByteArray("</ScadaFile>");
}

// "kind root line:column message" for one comparison that names every part.
QString summary(int kind, const QString &root = {}, int line = 0, int column = 0,
                const QString &message = {})
{
    return QStringLiteral("%1 %2 %3:%4 %5")
        .arg(kind)
        .arg(root.isEmpty() ? QStringLiteral("-") : root)
        .arg(line)
        .arg(column)
        .arg(message);
}

} // namespace

class tst_ProjectFileProbe : public QObject
{
    Q_OBJECT

private slots:
    void probe_data();
    void probe();

private:
    QTemporaryDir m_dir;
};

void tst_ProjectFileProbe::probe_data()
{
    using K = ProjectFileInfo_t;
    QTest::addColumn<QString>("file");          // empty: the bytes are probed
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("expected");

    const QString eof = QStringLiteral("unexpected end of file");
    const QString notXml = QStringLiteral("error occurred while parsing element");
    const QString limit = QStringLiteral(", the most the readers take");
    QTest::newRow("empty") << QString() << QByteArray() << summary(K::Empty);
    QTest::newRow("byte-order mark only") << QString() << QByteArray("\xEF\xBB\xBF\n") << summary(K::Empty);
    QTest::newRow("CSV text") << QString() << QByteArray("1;200;Pump1;WORD\n") << summary(K::NotXml, {}, 1, 1, notXml);
    QTest::newRow("text before the markup") << QString() << QByteArray("x<ScadaFile/>")
                                            << summary(K::NotXml, {}, 1, 1, notXml);
    QTest::newRow("page") << QString() << QByteArray("<?xml version=\"1.0\"?>\n<ScadaFile><ItemList/></ScadaFile>")
                          << summary(K::PageFile, "ScadaFile");
    QTest::newRow("page after a byte-order mark and blank lines") << QString()
        << QByteArray("\xEF\xBB\xBF\n\n  <ScadaFile/>") << summary(K::PageFile, "ScadaFile");
    QTest::newRow("page in UTF-16") << QString()
        << utf16le(QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-16\"?><ScadaFile/>"))
        << summary(K::PageFile, "ScadaFile");
    QTest::newRow("definition file") << QString() << QByteArray("<CTDefinitions><TagList/></CTDefinitions>")
                                     << summary(K::DefinitionFile, "CTDefinitions");
    QTest::newRow("exported definition file") << QString()
        << QByteArray("<!DOCTYPE ChannelAndTagDefinitions>\n<CTDefinitions/>")
        << summary(K::DefinitionFile, "CTDefinitions");
    QTest::newRow("object library") << QString() << QByteArray("<scadaObjectTypes><object name=\"P\"/></scadaObjectTypes>")
                                    << summary(K::ObjectLibraryFile, "scadaObjectTypes");
    QTest::newRow("root names count letter case") << QString() << QByteArray("<scadafile/>")
                                                  << summary(K::OtherXml, "scadafile");
    QTest::newRow("mismatched end tag") << QString() << QByteArray("<ScadaFile>\n<ItemList>\n</Items>\n</ScadaFile>")
                                        << summary(K::Malformed, {}, 3, 8, "tag mismatch");
    QTest::newRow("cut short") << QString() << QByteArray("<a>") << summary(K::Malformed, {}, 1, 4, eof);
    // Which of the readers' limits a document exceeds.
    QTest::newRow("nested beyond the readers' limit") << QString()
        << nested(1100)
        << summary(K::Malformed, {}, 0, 0, "the document nests elements more than 1024 deep" + limit);
    QTest::newRow("nested within the readers' limit") << QString()
        << nested(1000) << summary(K::PageFile, "ScadaFile");
    QTest::newRow("external entity") << QString()
        << QByteArray("<!DOCTYPE x [<!ENTITY e SYSTEM \"/etc/passwd\">]><ScadaFile>&e;</ScadaFile>")
        << summary(K::Malformed, {}, 0, 0,
                   "the document declares entities other than plain texts (external or parameter "
                   "entities, or entities holding markup or references), which the readers do not take");
    QTest::newRow("entities expanding too far") << QString()
        << "<!DOCTYPE x [<!ENTITY e \"" + QByteArray(1000, 'a') + "\">]><x>"
                  + QByteArray("&e;").repeated(1100) + "</x>"
        << summary(K::Malformed, {}, 0, 0,
                   "the document's entities expand to more than 1048576 characters" + limit);
    // A file: the name never counts (a page called .csv is a page, a CSV called .xml is no XML).
    QTest::newRow("page named .csv") << "page.csv" << QByteArray("<ScadaFile/>")
                                     << summary(K::PageFile, "ScadaFile");
    QTest::newRow("text named .xml") << "tags.xml" << QByteArray("a;b;c;d")
                                     << summary(K::NotXml, {}, 1, 1, notXml);
    QTest::newRow("missing file") << "missing.xml" << QByteArray() << summary(K::Unreadable, {}, 0, 0, "no such file");
    QTest::newRow("folder") << "folder" << QByteArray() << summary(K::Unreadable, {}, 0, 0, "a folder, not a file");
    // A pipe without a writer would block a reader for ever; it is never opened.
    QTest::newRow("pipe") << "pipe" << QByteArray() << summary(K::Unreadable, {}, 0, 0, "not a regular file");
    QTest::newRow("unreadable") << "locked.xml" << QByteArray("<ScadaFile/>")
                                << summary(K::Unreadable, {}, 0, 0, "Permission denied");
    // A sparse file: its size counts, not the space it takes.
    QTest::newRow("too large") << "huge.xml" << QByteArray("<ScadaFile>") << summary(K::TooLarge, {}, 0, 0,
            "larger than 536870912 bytes, the most that is read (536870913 bytes)");
}


void tst_ProjectFileProbe::probe()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, data);
    QFETCH(QString, expected);
    ProjectFileInfo_t info;
    if (file.isEmpty()) {
        info = ProjectFileProbe::probe(data);
        // The root element alone tells the same kind of every well-formed document, and what
        // the probe calls well-formed the page reader loads, and nothing else.
        const ProjectFileInfo_t root = ProjectFileProbe::probeRoot(data);
        if (!info.rootElement.isEmpty() || info.errorMessage.isEmpty())
            QCOMPARE(summary(root.kind, root.rootElement), summary(info.kind, info.rootElement));
        const std::unique_ptr<ScaFileData> page(ScaFileProcessor::loadFileData(data, QString()));
        QCOMPARE(bool(page), !info.rootElement.isEmpty());
        if (page)
            page->deleteAllItems();
    } else {
        const QString path = m_dir.filePath(file);
        if (file == QLatin1String("folder"))
            QVERIFY(QDir(m_dir.path()).mkpath(file));
        else if (file == QLatin1String("pipe"))
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        else if (file != QLatin1String("missing.xml"))
            QVERIFY(defs::writeAll(path, data));
        if (file == QLatin1String("locked.xml") && geteuid() == 0)
            QSKIP("file permissions do not bind the superuser");
        if (file == QLatin1String("locked.xml"))
            QVERIFY(QFile::setPermissions(path, QFileDevice::WriteOwner));
        if (file == QLatin1String("huge.xml") && !QFile(path).resize(ProjectFileProbe::MaxFileSize + 1))
            QSKIP("this file system cannot hold a sparse file of that size");
        info = ProjectFileProbe::probeFile(path);
        QFile::remove(path);
    }
    QCOMPARE(summary(info.kind, info.rootElement, info.errorLine, info.errorColumn, info.errorMessage),
             expected);
}

QTEST_GUILESS_MAIN(tst_ProjectFileProbe)
#include "tst_projectfileprobe.moc"
