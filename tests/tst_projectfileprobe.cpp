// ProjectFileProbe: telling the files of a project apart by their content.
#include <projectFileProbe.h>
#include <scaFileProcessor.h>

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

#include <memory>

Q_DECLARE_METATYPE(ProjectFileInfo_t::Kind)

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

void writeFile(const QString &path, const QByteArray &data)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(data), qint64(data.size()));
}

} // namespace

class tst_ProjectFileProbe : public QObject
{
    Q_OBJECT

private slots:
    void probe_data();
    void probe();
    void probeFile_data();
    void probeFile();

private:
    QTemporaryDir m_dir;
};

void tst_ProjectFileProbe::probe_data()
{
    using K = ProjectFileInfo_t;
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("expected");

    const QString eof = QStringLiteral("unexpected end of file");
    const QString notXml = QStringLiteral("error occurred while parsing element");
    const QString limit = QStringLiteral(", the most the readers take");
    QTest::newRow("empty") << QByteArray() << summary(K::Empty);
    QTest::newRow("byte-order mark only") << QByteArray("\xEF\xBB\xBF\n") << summary(K::Empty);
    QTest::newRow("CSV text") << QByteArray("1;200;Pump1;WORD\n") << summary(K::NotXml, {}, 1, 1, notXml);
    QTest::newRow("text before the markup") << QByteArray("x<ScadaFile/>")
                                            << summary(K::NotXml, {}, 1, 1, notXml);
    QTest::newRow("page") << QByteArray("<?xml version=\"1.0\"?>\n<ScadaFile><ItemList/></ScadaFile>")
                          << summary(K::PageFile, "ScadaFile");
    QTest::newRow("page after a byte-order mark and blank lines")
        << QByteArray("\xEF\xBB\xBF\n\n  <ScadaFile/>") << summary(K::PageFile, "ScadaFile");
    QTest::newRow("page in UTF-16")
        << utf16le(QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-16\"?><ScadaFile/>"))
        << summary(K::PageFile, "ScadaFile");
    QTest::newRow("definition file") << QByteArray("<CTDefinitions><TagList/></CTDefinitions>")
                                     << summary(K::DefinitionFile, "CTDefinitions");
    QTest::newRow("exported definition file")
        << QByteArray("<!DOCTYPE ChannelAndTagDefinitions>\n<CTDefinitions/>")
        << summary(K::DefinitionFile, "CTDefinitions");
    QTest::newRow("object library") << QByteArray("<scadaObjectTypes><object name=\"P\"/></scadaObjectTypes>")
                                    << summary(K::ObjectLibraryFile, "scadaObjectTypes");
    QTest::newRow("root names count letter case") << QByteArray("<scadafile/>")
                                                  << summary(K::OtherXml, "scadafile");
    QTest::newRow("mismatched end tag") << QByteArray("<ScadaFile>\n<ItemList>\n</Items>\n</ScadaFile>")
                                        << summary(K::Malformed, {}, 3, 8, "tag mismatch");
    QTest::newRow("cut short") << QByteArray("<a>") << summary(K::Malformed, {}, 1, 4, eof);
    // Which of the readers' limits a document exceeds.
    QTest::newRow("nested beyond the readers' limit")
        << nested(1100)
        << summary(K::Malformed, {}, 0, 0, "the document nests elements more than 1024 deep" + limit);
    QTest::newRow("nested within the readers' limit")
        << nested(1000) << summary(K::PageFile, "ScadaFile");
    QTest::newRow("external entity")
        << QByteArray("<!DOCTYPE x [<!ENTITY e SYSTEM \"/etc/passwd\">]><ScadaFile>&e;</ScadaFile>")
        << summary(K::Malformed, {}, 0, 0,
                   "the document declares entities other than plain texts (external or parameter "
                   "entities, or entities holding markup or references), which the readers do not take");
    QTest::newRow("entities expanding too far")
        << "<!DOCTYPE x [<!ENTITY e \"" + QByteArray(1000, 'a') + "\">]><x>"
                  + QByteArray("&e;").repeated(1100) + "</x>"
        << summary(K::Malformed, {}, 0, 0,
                   "the document's entities expand to more than 1048576 characters" + limit);
}

void tst_ProjectFileProbe::probe()
{
    QFETCH(QByteArray, data);
    QFETCH(QString, expected);
    const ProjectFileInfo_t info = ProjectFileProbe::probe(data);
    QCOMPARE(summary(info.kind, info.rootElement, info.errorLine, info.errorColumn, info.errorMessage),
             expected);
    // The root element alone tells the same kind of every well-formed document, and what the
    // probe calls well-formed the page reader loads, and nothing else.
    const ProjectFileInfo_t root = ProjectFileProbe::probeRoot(data);
    if (!info.rootElement.isEmpty() || info.errorMessage.isEmpty())
        QCOMPARE(summary(root.kind, root.rootElement), summary(info.kind, info.rootElement));
    const std::unique_ptr<ScaFileData> page(ScaFileProcessor::loadFileData(data, QString()));
    QCOMPARE(bool(page), !info.rootElement.isEmpty());
    if (page)
        page->deleteAllItems();
}

void tst_ProjectFileProbe::probeFile_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<ProjectFileInfo_t::Kind>("kind");
    QTest::addColumn<QString>("message");

    // The name never counts: a page called .csv is a page, a CSV called .xml is no XML.
    QTest::newRow("page named .csv") << "page.csv" << QByteArray("<ScadaFile/>")
                                     << ProjectFileInfo_t::PageFile << QString();
    QTest::newRow("text named .xml") << "tags.xml" << QByteArray("a;b;c;d")
                                     << ProjectFileInfo_t::NotXml
                                     << "error occurred while parsing element";
    QTest::newRow("missing file") << "missing.xml" << QByteArray() << ProjectFileInfo_t::Unreadable
                                  << "no such file";
    QTest::newRow("folder") << "folder" << QByteArray() << ProjectFileInfo_t::Unreadable
                            << "a folder, not a file";
    // A pipe without a writer would block a reader for ever; it is never opened.
    QTest::newRow("pipe") << "pipe" << QByteArray() << ProjectFileInfo_t::Unreadable
                          << "not a regular file";
    QTest::newRow("unreadable") << "locked.xml" << QByteArray("<ScadaFile/>")
                                << ProjectFileInfo_t::Unreadable << "Permission denied";
    // A sparse file: its size counts, not the space it takes.
    QTest::newRow("too large") << "huge.xml" << QByteArray("<ScadaFile>")
                               << ProjectFileInfo_t::TooLarge
                               << "larger than 536870912 bytes, the most that is read (536870913 bytes)";
}

void tst_ProjectFileProbe::probeFile()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, data);
    QFETCH(ProjectFileInfo_t::Kind, kind);
    QFETCH(QString, message);
    const QString path = m_dir.filePath(name);
    if (name == QLatin1String("folder"))
        QVERIFY(QDir(m_dir.path()).mkpath(name));
    else if (name == QLatin1String("pipe"))
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    else if (name != QLatin1String("missing.xml"))
        writeFile(path, data);
    if (name == QLatin1String("locked.xml")) {
        if (geteuid() == 0)
            QSKIP("file permissions do not bind the superuser");
        QVERIFY(QFile::setPermissions(path, QFileDevice::WriteOwner));
    }
    if (name == QLatin1String("huge.xml") && !QFile(path).resize(ProjectFileProbe::MaxFileSize + 1))
        QSKIP("this file system cannot hold a sparse file of that size");
    const ProjectFileInfo_t info = ProjectFileProbe::probeFile(path);
    QFile::remove(path);
    QCOMPARE(info.kind, kind);
    QCOMPARE(info.errorMessage, message);
}

QTEST_GUILESS_MAIN(tst_ProjectFileProbe)
#include "tst_projectfileprobe.moc"
