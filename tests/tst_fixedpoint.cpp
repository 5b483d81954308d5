// Every fixture in tests/data/ saved, read back and saved again: from the second save on, saving
// what was read back gives the bytes of the save before (save1 -> load -> save2 -> load -> save3,
// save2 == save3). The same checks the fuzz harnesses make, so the inputs they found problems
// with (tests/data/fuzz/<harness>/) stay fixed.
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

QString dataPath(const QString &relative)
{
    return QStringLiteral(TIRREL_TEST_DATA "/") + relative;
}

// True when the saved bytes hold only characters XML 1.0 allows: no control characters but tab,
// line feed and carriage return, no U+FFFE or U+FFFF.
bool onlyXmlCharacters(const QByteArray &saved)
{
    for (int i = 0; i < saved.size(); ++i) {
        const uchar c = uchar(saved.at(i));
        if (c < 0x20 && c != '\t' && c != '\n' && c != '\r')
            return false;
        if (c == 0xef && (saved.mid(i, 3) == "\xef\xbf\xbe" || saved.mid(i, 3) == "\xef\xbf\xbf"))
            return false;
    }
    return true;
}

// ---- Pages -----------------------------------------------------------------------------------

QByteArray savePage(ScaFileData *page, const QString &path)
{
    return ScaFileProcessor::saveFileData(page, path) ? defs::readAll(path) : QByteArray();
}

// ---- Object library ------------------------------------------------------------------------

QStringList dumpObjects(const QList<ScadaLibObject *> &objects)
{
    QStringList lines;
    for (int i = 0; i < objects.size(); ++i)
        lines += pagedump::prefixed(QStringLiteral("object[%1].").arg(i),
                                    pagedump::lines(fieldsOf(*objects.at(i))));
    return lines;
}

QByteArray saveUserLibrary(const QList<ScadaLibObject *> &objects)
{
    ScadaEngine *engine = ScadaEngine::instance();
    if (!engine->saveUserLibraryFile(objects))
        return QByteArray();
    return defs::readAll(engine->getUserLibPath() + QStringLiteral("userlib.xml"));
}

// A text as it comes back from a definition file: without the characters XML cannot hold, line
// ends normalised by the parser, and a text of white space only dropped unless it was CDATA.
QString asReadBack(const QString &text, bool cdata)
{
    QString back;
    for (const QChar c : text) {
        if (c >= QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n')
                || c == QLatin1Char('\r'))
            back += c;
    }
    back.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    back.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    if (!cdata && back.trimmed().isEmpty())
        back.clear();
    return back;
}

// The folder of a fixture decides how it is read; fuzz findings sit in a folder per harness.
QString kindOf(const QString &relativePath)
{
    const QStringList parts = relativePath.split(QLatin1Char('/'));
    const QString folder = parts.first() == QLatin1String("fuzz") ? parts.value(1) : parts.first();
    if (folder == QLatin1String("pages") || folder == QLatin1String("page"))
        return QStringLiteral("page");
    if (folder == QLatin1String("defs") || folder == QLatin1String("definitions"))
        return QStringLiteral("definitions");
    return folder;  // "library", "csv"
}

} // namespace

class tst_FixedPoint : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void fixture_data();
    void fixture();
    void engineReadsLikeTheLibraryReader();

private:
    void checkPage(const QByteArray &bytes);
    void checkDefinitions(const QByteArray &bytes);
    void checkLibrary(const QByteArray &bytes);
    void checkCsv(const QString &path);

    QTemporaryDir m_dir;
};

void tst_FixedPoint::initTestCase()
{
    QVERIFY(m_dir.isValid());
    // The engine reads the user library of this process's own home folder on its creation.
    const QString userLibPath = QDir::homePath() + QStringLiteral("/Parvane/");
    QVERIFY(QDir().mkpath(userLibPath));
    QFile::remove(userLibPath + QStringLiteral("userlib.xml"));
    QVERIFY(QFile::copy(dataPath(QStringLiteral("library/userlib.xml")),
                        userLibPath + QStringLiteral("userlib.xml")));
}

void tst_FixedPoint::fixture_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("path");
    const QDir data(dataPath(QString()));
    QStringList files;
    QDirIterator it(data.path(), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext())
        files << data.relativeFilePath(it.next());
    files.sort();
    int rows = 0;
    for (const QString &file : qAsConst(files)) {
        const QString kind = kindOf(file);
        const bool fuzzFinding = file.startsWith(QLatin1String("fuzz/"));
        const QString suffix = QFileInfo(file).suffix();
        if (kind == QLatin1String("page") || kind == QLatin1String("definitions")
                || kind == QLatin1String("library")) {
            if (!fuzzFinding && suffix != QLatin1String("xml"))
                continue;   // dumps and golden texts
        } else if (kind != QLatin1String("csv")) {
            continue;       // settings files have no writer that reads them back
        }
        QTest::newRow(qPrintable(file)) << kind << data.filePath(file);
        ++rows;
    }
    QVERIFY(rows >= 10);
}

void tst_FixedPoint::fixture()
{
    QFETCH(QString, kind);
    QFETCH(QString, path);
    if (kind == QLatin1String("csv"))
        return checkCsv(path);
    const QByteArray bytes = defs::readAll(path);
    if (kind == QLatin1String("page"))
        checkPage(bytes);
    else if (kind == QLatin1String("definitions"))
        checkDefinitions(bytes);
    else
        checkLibrary(bytes);
}

void tst_FixedPoint::checkPage(const QByteArray &bytes)
{
    const QString path = m_dir.filePath(QStringLiteral("page.xml"));
    ScaFileData *page = ScaFileProcessor::loadFileData(bytes, path);
    // The audited load reads the same page.
    ScaFileData *audited = PageAudit::loadFileData(bytes, path, nullptr);
    QCOMPARE(audited != nullptr, page != nullptr);
    if (!page)
        return;     // malformed: nothing to save
    COMPARE_DUMPS(pagedump::dump(*audited), pagedump::dump(*page));
    pagedump::deletePage(audited);
    const QByteArray save1 = savePage(page, path);
    pagedump::deletePage(page);
    QVERIFY(!save1.isEmpty());
    QVERIFY(onlyXmlCharacters(save1));

    // A saved page holds nothing that a page does not keep.
    QList<PageFinding_t> findings;
    ScaFileData *second = PageAudit::loadFileData(save1, path, &findings);
    QVERIFY2(second, "a saved page does not load");
    for (const PageFinding_t &f : qAsConst(findings))
        QFAIL(qPrintable(QStringLiteral("%1: %2 (%3)").arg(f.path, f.text).arg(f.kind)));
    const QStringList secondDump = pagedump::dump(*second);
    const QByteArray save2 = savePage(second, path);
    pagedump::deletePage(second);

    ScaFileData *third = ScaFileProcessor::loadFileData(save2, path);
    QVERIFY(third);
    const QStringList thirdDump = pagedump::dump(*third);
    const QByteArray save3 = savePage(third, path);
    pagedump::deletePage(third);

    COMPARE_DUMPS(thirdDump, secondDump);
    QCOMPARE(save3, save2);
}

void tst_FixedPoint::checkDefinitions(const QByteArray &bytes)
{
    const QString path = m_dir.filePath(QStringLiteral("definitions.xml"));
    QScopedPointer<FileDataTree> first(TgchFileProcessor::loadFileData(bytes));
    QVERIFY(TgchFileProcessor::writeToFile(first.data(), path));
    const QByteArray save1 = defs::readAll(path);
    QVERIFY(onlyXmlCharacters(save1));

    QScopedPointer<FileDataTree> second(TgchFileProcessor::loadFileData(save1));
    QVERIFY(TgchFileProcessor::writeToFile(second.data(), path));
    const QByteArray save2 = defs::readAll(path);

    QScopedPointer<FileDataTree> third(TgchFileProcessor::loadFileData(save2));
    QVERIFY(TgchFileProcessor::writeToFile(third.data(), path));
    const QByteArray save3 = defs::readAll(path);

    // A saved file keeps every record: the placeholder and the file's own records.
    QCOMPARE(second->ChannelList.size(), first->ChannelList.size());
    QCOMPARE(second->TagList.size(), first->TagList.size());
    QCOMPARE(second->AlarmList.size(), first->AlarmList.size());
    COMPARE_DUMPS(defs::dump(third.data()), defs::dump(second.data()));
    QCOMPARE(save3, save2);
}

void tst_FixedPoint::checkLibrary(const QByteArray &bytes)
{
    QList<ScadaLibObject *> first;
    if (!readObjectLibrary(bytes, true, &first))
        QCOMPARE(first.size(), 0);
    const QByteArray save1 = saveUserLibrary(first);
    const int records = first.size();
    qDeleteAll(first);
    QVERIFY(!save1.isEmpty());
    QVERIFY(onlyXmlCharacters(save1));

    QList<ScadaLibObject *> second;
    QVERIFY2(readObjectLibrary(save1, true, &second), "a saved user library does not read");
    QCOMPARE(second.size(), records);
    const QStringList secondDump = dumpObjects(second);
    const QByteArray save2 = saveUserLibrary(second);
    qDeleteAll(second);

    QList<ScadaLibObject *> third;
    QVERIFY(readObjectLibrary(save2, true, &third));
    const QStringList thirdDump = dumpObjects(third);
    const QByteArray save3 = saveUserLibrary(third);
    qDeleteAll(third);

    COMPARE_DUMPS(thirdDump, secondDump);
    QCOMPARE(save3, save2);
}

// Imported tags written as a definition file come back, all of them and with what the import
// gave them; the written file is a fixed point from the first save on.
void tst_FixedPoint::checkCsv(const QString &csvPath)
{
    const QString path = m_dir.filePath(QStringLiteral("imported.xml"));
    for (const bool alternate : {false, true}) {
        QScopedPointer<FileDataTree> imported(
                TgchFileProcessor::loadTagsFromCSV(csvPath, alternate));
        QVERIFY(imported);
        QVERIFY(TgchFileProcessor::writeToFile(imported.data(), path));
        const QByteArray save1 = defs::readAll(path);
        QVERIFY(onlyXmlCharacters(save1));

        QScopedPointer<FileDataTree> back(TgchFileProcessor::loadFileData(save1));
        QCOMPARE(back->TagList.size(), imported->TagList.size());
        for (int i = 0; i < back->TagList.size(); ++i) {
            const pEtiketDef_t *was = imported->TagList.at(i);
            const pEtiketDef_t *is = back->TagList.at(i);
            QCOMPARE(is->Name, asReadBack(was->Name, true));
            QCOMPARE(is->VariableAddress, asReadBack(was->VariableAddress, false));
            QCOMPARE(is->VariableType, was->VariableType);
            QCOMPARE(is->VariableSize, was->VariableSize);
            QCOMPARE(is->PollFrequency, was->PollFrequency);
        }
        QVERIFY(TgchFileProcessor::writeToFile(back.data(), path));
        const QByteArray save2 = defs::readAll(path);
        QScopedPointer<FileDataTree> again(TgchFileProcessor::loadFileData(save2));
        QVERIFY(TgchFileProcessor::writeToFile(again.data(), path));
        QCOMPARE(defs::readAll(path), save2);
    }
}

// The engine reads its files through readObjectLibrary(): both give the same records.
void tst_FixedPoint::engineReadsLikeTheLibraryReader()
{
    // initTestCase put the fixture in place before anything created the engine.
    const QList<ScadaLibObject *> catalogue = *ScadaEngine::instance()->getLibObjects();
    QList<ScadaLibObject *> read;
    QVERIFY(readObjectLibrary(defs::readAll(dataPath(QStringLiteral("library/userlib.xml"))), true,
                              &read));
    QVERIFY(!read.isEmpty());
    const QStringList expected = dumpObjects(read);
    qDeleteAll(read);
    COMPARE_DUMPS(dumpObjects(catalogue), expected);
}

QTEST_GUILESS_MAIN(tst_FixedPoint)
#include "tst_fixedpoint.moc"
