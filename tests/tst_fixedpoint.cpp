// Every fixture in tests/data/ saved, read back and saved again: from the second save on, saving
// what was read back gives the bytes of the save before (save1 -> load -> save2 -> load -> save3,
// save2 == save3), and the first save keeps every record. The same checks the fuzz harnesses
// make, so the inputs they found problems with (tests/data/fuzz/<harness>/) stay fixed.
#include "defsDump.h"
#include "pageDump.h"

#include <pageAudit.h>
#include <scaFileProcessor.h>
#include <scadaEngine.h>
#include <scadaEngine_p.h>
#include <tgchFileProcessor.h>

#include <QDirIterator>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// True when the saved bytes hold only characters XML 1.0 allows: no control characters but tab,
// line feed and carriage return, no U+FFFE or U+FFFF.
bool onlyXmlCharacters(const QByteArray &saved)
{
    static const QRegularExpression other(QStringLiteral("[\\x00-\\x08\\x0b\\x0c\\x0e-\\x1f\\x{fffe}\\x{ffff}]"));
    return !QString::fromUtf8(saved).contains(other);
}

// One load and save: what was read, the records it holds, what the audited load of a page read
// and found, and the bytes saved (none when nothing was read).
struct Pass
{
    QStringList dump, audited, findings;
    QString records;
    QByteArray saved;
};

// `input` is the bytes, or for "csv" and "csv alternate" the path of the file to import.
Pass pass(const QString &kind, const QByteArray &input, const QString &dir)
{
    Pass p;
    if (kind == QLatin1String("page")) {
        const QString path = dir + QStringLiteral("/page.xml");
        ScaFileData *page = ScaFileProcessor::loadFileData(input, path);
        QList<PageFinding_t> findings;
        ScaFileData *audited = PageAudit::loadFileData(input, path, &findings);
        for (const PageFinding_t &f : qAsConst(findings))
            p.findings << QStringLiteral("%1: %2 (%3)").arg(f.path, f.text).arg(f.kind);
        p.dump = page ? pagedump::dump(*page) : QStringList();
        p.audited = audited ? pagedump::dump(*audited) : QStringList();
        if (page && ScaFileProcessor::saveFileData(page, path))
            p.saved = defs::readAll(path);
        pagedump::deletePage(page);
        pagedump::deletePage(audited);
    } else if (kind == QLatin1String("library")) {
        QList<ScadaLibObject *> objects;
        const bool read = readObjectLibrary(input, true, &objects);
        const QStringList dump = pagedump::dumpList(QStringLiteral("object"), objects);
        p.records = dump.first();
        p.dump = read ? dump : QStringList();
        if (ScadaEngine::instance()->saveUserLibraryFile(objects))
            p.saved = defs::readAll(ScadaEngine::instance()->getUserLibPath() + "userlib.xml");
        qDeleteAll(objects);
    } else {
        const QString path = dir + QStringLiteral("/definitions.xml");
        QScopedPointer<FileDataTree> tree(
                kind == QLatin1String("definitions")
                        ? TgchFileProcessor::loadFileData(input)
                        : TgchFileProcessor::loadTagsFromCSV(QString::fromUtf8(input),
                                                             kind.endsWith("alternate")));
        p.records = QStringLiteral("%1 channels, %2 tags, %3 alarms")
                            .arg(tree->ChannelList.size())
                            .arg(tree->TagList.size())
                            .arg(tree->AlarmList.size());
        p.dump = defs::dump(tree.data());
        if (TgchFileProcessor::writeToFile(tree.data(), path))
            p.saved = defs::readAll(path);
    }
    return p;
}

} // namespace

class tst_FixedPoint : public QObject
{
    Q_OBJECT

private slots:
    void fixture_data();
    void fixture();

private:
    QTemporaryDir m_dir;
};

void tst_FixedPoint::fixture_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QByteArray>("input");
    const QDir data(QStringLiteral(TIRREL_TEST_DATA));
    QStringList files;
    QDirIterator it(data.path(), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext())
        files << data.relativeFilePath(it.next());
    files.sort();
    for (const QString &file : qAsConst(files)) {
        // The folder of a fixture decides how it is read; fuzz findings sit in a folder per
        // harness. Dumps, golden texts and settings files have no writer that reads them back.
        const QStringList parts = file.split(QLatin1Char('/'));
        QString kind = parts.first() == QLatin1String("fuzz") ? parts.value(1) : parts.first();
        kind = kind == "pages" ? "page" : kind == "defs" ? "definitions" : kind;
        const bool xml = parts.first() == QLatin1String("fuzz") || file.endsWith(".xml");
        if (kind == QLatin1String("csv")) {
            // Imported tags written as a definition file, in both of the import's layouts.
            for (const char *layout : {"csv", "csv alternate"})
                QTest::addRow("%s, %s", qPrintable(file), layout) << layout << data.filePath(file).toUtf8();
        } else if (xml && (kind == "page" || kind == "definitions" || kind == "library")) {
            QTest::newRow(qPrintable(file)) << kind << defs::readAll(data.filePath(file));
        }
    }
    QVERIFY(files.size() >= 10);
}

void tst_FixedPoint::fixture()
{
    QFETCH(QString, kind);
    QFETCH(QByteArray, input);
    const QString again = kind.startsWith(QLatin1String("csv")) ? QStringLiteral("definitions") : kind;
    const Pass first = pass(kind, input, m_dir.path());
    if (kind == QLatin1String("page"))
        COMPARE_DUMPS(first.audited, first.dump);   // the audited load reads the same page
    if (first.saved.isEmpty() && kind == QLatin1String("page") && first.dump.isEmpty())
        return;     // malformed: nothing to save
    QVERIFY(!first.saved.isEmpty());
    QVERIFY(onlyXmlCharacters(first.saved));
    const Pass second = pass(again, first.saved, m_dir.path());
    QVERIFY2(!second.dump.isEmpty(), "a saved file does not read");
    // A saved page holds nothing that a page does not keep; a saved file keeps every record.
    QCOMPARE(second.findings, QStringList());
    // (Imported tags come without the placeholder channel that a definition file always has.)
    const auto kept = [&](const QString &r) { return again == kind ? r : r.section(", ", 1); };
    QCOMPARE(kept(second.records), kept(first.records));
    const Pass third = pass(again, second.saved, m_dir.path());
    COMPARE_DUMPS(third.dump, second.dump);
    QCOMPARE(third.saved, second.saved);
}

QTEST_GUILESS_MAIN(tst_FixedPoint)
#include "tst_fixedpoint.moc"
