// The CSV tag import.
#include "defsDump.h"

#include <fileAccess.h>

#include <QTemporaryDir>
#include <QTextCodec>
#include <QtTest>

#include <sys/stat.h>

using namespace defs;

namespace {

// "Name|VariableAddress|VariableType|VariableSize" per tag, joined by "; ".
QString tagSummary(const FileDataTree *tree)
{
    QStringList tags;
    for (const pEtiketDef_t *t : tree->TagList) {
        tags << QStringLiteral("%1|%2|%3|%4")
                    .arg(t->Name, t->VariableAddress)
                    .arg(t->VariableType)
                    .arg(t->VariableSize);
    }
    return tags.join(QLatin1String("; "));
}

} // namespace

class tst_CsvImport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void lines_data();
    void lines();
    void untouchedMembers();
    void unopenable();
    void skippedLines_data();
    void skippedLines();

private:
    FileDataTree *import(const QByteArray &bytes, bool alternate);

    QTemporaryDir m_dir;
};

void tst_CsvImport::initTestCase()
{
    // A single-byte system encoding, so that text decoded as anything else shows.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
}

FileDataTree *tst_CsvImport::import(const QByteArray &bytes, bool alternate)
{
    const QString path = m_dir.filePath("tags.csv");
    if (!writeAll(path, bytes))
        return nullptr;
    return TgchFileProcessor::loadTagsFromCSV(path, alternate);
}

void tst_CsvImport::lines_data()
{
    QTest::addColumn<QByteArray>("csv");
    QTest::addColumn<bool>("alternate");
    QTest::addColumn<QString>("expected");

    QTest::newRow("WORD") << QByteArray("1;200;Pump1;WORD\n") << false << "Pump1|200|1|2";
    QTest::newRow("FLOAT") << QByteArray("x;7;F;FLOAT") << false << "F|7|6|4";
    QTest::newRow("FLOAT alternate") << QByteArray("x;7;F;FLOAT") << true << "F|7|14|4";
    QTest::newRow("LONG alternate") << QByteArray("x;8;L;LONG") << true << "L|8|11|4";
    QTest::newRow("contained: DWORD, ULONG")
        << QByteArray("a;1;D;DWORD\na;2;U;ULONG\n") << false << "D|1|1|2; U|2|3|4";
    QTest::newRow("WORD tested before FLOAT") << QByteArray("a;1;B;FLOATWORD") << true
                                              << "B|1|9|2";
    QTest::newRow("LOGIC tested first") << QByteArray("a;1;B;WORD LOGIC LONG") << true
                                        << "B|1|16|1";
    QTest::newRow("lower case matches nothing")
        << QByteArray("a;1;f;float\na;2;w;Word\n") << true << "f|1|2|4; w|2|2|4";
    QTest::newRow("unknown type") << QByteArray("a;1;S;STRING") << true << "S|1|2|4";
    QTest::newRow("fields not trimmed") << QByteArray("1; 40001 ; Pump 1 ;W O R D ") << false
                                        << " Pump 1 | 40001 |1|2";
    QTest::newRow("empty fields") << QByteArray(";;;") << false << "||2|4";
    QTest::newRow("CRLF") << QByteArray("1;200;Pump1;WORD\r\n1;100;Valve;LOGIC\r\n") << false
                          << "Pump1|200|1|2; Valve|100|16|1";
    QTest::newRow("duplicates kept") << QByteArray("1;1;A;WORD\n1;1;A;WORD") << false
                                     << "A|1|1|2; A|1|1|2";

    const QString pump = QString::fromUtf8("Pompa-ü|400|1|2");
    QTest::newRow("UTF-8 with byte-order mark")
        << QByteArray("\xEF\xBB\xBF" "1;400;Pompa-\xC3\xBC;WORD\n") << false << pump;
    const QString utf16Line = QString::fromUtf8("1;400;Pompa-ü;WORD\r\n");
    QTest::newRow("UTF-16LE with byte-order mark")
        << QByteArray("\xFF\xFE")
               + QByteArray(reinterpret_cast<const char *>(utf16Line.utf16()), 2 * utf16Line.size())
        << false << pump;
    QTest::newRow("no mark: system encoding")
        << QByteArray("1;400;Pompa-\xFC;WORD\n") << false << pump;
    QTest::newRow("no mark: UTF-8 bytes read in the system encoding")
        << QByteArray("1;400;Pompa-\xC3\xBC;WORD\n") << false << QString::fromUtf8("Pompa-Ã¼|400|1|2");
}

void tst_CsvImport::lines()
{
    QFETCH(QByteArray, csv);
    QFETCH(bool, alternate);
    QFETCH(QString, expected);

    QScopedPointer<FileDataTree> tree(import(csv, alternate));
    QVERIFY(tree);
    QCOMPARE(tagSummary(tree.data()), expected);
    QVERIFY(tree->ChannelList.isEmpty());   // no placeholder channel
    QVERIFY(tree->AlarmList.isEmpty());
}

void tst_CsvImport::untouchedMembers()
{
    // Apart from the four members the line sets and PollFrequency, a tag holds the record defaults.
    QScopedPointer<FileDataTree> tree(import("1;200;Pump1;DWORD\r\n", true));
    QCOMPARE(tree->TagList.size(), 1);
    pEtiketDef_t expected;
    expected.Name = "Pump1";
    expected.VariableAddress = "200";
    expected.VariableType = 9;
    expected.VariableSize = 2;
    expected.PollFrequency = 3;
    COMPARE_DUMPS(dump(*tree->TagList.first()), dump(expected));
}

void tst_CsvImport::unopenable()
{
    // A folder, a pipe without a writer, a device without end, a file over the size limit: none
    // is read (nor waited for).
    QVERIFY(!TgchFileProcessor::loadTagsFromCSV(m_dir.path(), true));
    const QString pipe = m_dir.filePath("pipe.csv");
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QVERIFY(!TgchFileProcessor::loadTagsFromCSV(pipe, true));
    QVERIFY(!TgchFileProcessor::loadTagsFromCSV(QStringLiteral("/dev/zero"), true));
    QFile huge(m_dir.filePath("huge.csv"));
    QVERIFY(huge.open(QIODevice::WriteOnly) && huge.resize(FileAccess::MaxFileSize + 1));
    QVERIFY(!TgchFileProcessor::loadTagsFromCSV(huge.fileName(), true));
    huge.remove();
    // A file that cannot be opened leaves the skipped-line list as it was.
    QList<CsvSkippedLine_t> lines;
    lines.append(CsvSkippedLine_t{1, 2, QStringLiteral("before")});
    QVERIFY(!TgchFileProcessor::loadTagsFromCSV(m_dir.filePath("missing.csv"), true, &lines));
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines.first().text, QStringLiteral("before"));
}

void tst_CsvImport::skippedLines_data()
{
    QTest::addColumn<QByteArray>("csv");
    QTest::addColumn<QStringList>("skipped");    // "line:fields:problem:text"
    QTest::addColumn<QString>("tags");

    QTest::newRow("no final line feed") << QByteArray("1;2;A;WORD") << QStringList() << "A|2|1|2";
    QTest::newRow("empty file") << QByteArray() << QStringList() << "";
    QTest::newRow("one line feed: one empty line")
        << QByteArray("\n") << QStringList{"1:1:F:"} << "";
    QTest::newRow("title, short and long lines")
        << QByteArray("Tag list\n1;2;A;WORD\n1;3;Short\n1;4;Long;WORD;x\n1;5;B;FLOAT\n")
        << QStringList{"1:1:F:Tag list", "3:3:F:1;3;Short", "4:5:F:1;4;Long;WORD;x"}
        << "A|2|1|2; B|5|6|4";
    QTest::newRow("empty lines inside and at the end")
        << QByteArray("\n1;2;A;WORD\n\n\n") << QStringList{"1:1:F:", "3:1:F:", "4:1:F:"}
        << "A|2|1|2";
    QTest::newRow("CR LF: the CR is not part of the text")
        << QByteArray("bad line\r\n1;2;A;WORD\r\n\r\n")
        << QStringList{"1:1:F:bad line", "3:1:F:"} << "A|2|1|2";
    QTest::newRow("CR alone is no line end")
        << QByteArray("1;2;A;WORD\r1;3;B;WORD\n") << QStringList{"1:7:F:1;2;A;WORD\r1;3;B;WORD"}
        << "";
    // Lines imported although they look wrong: the tags are those of any other line.
    QTest::newRow("header row, after a title")
        << QByteArray("PLC 1\nNr;Address;Name;Type\n1;5;T;WORD\nNr;Address;Name;Type\n")
        << QStringList{"1:1:F:PLC 1", "2:4:H:Nr;Address;Name;Type", "2:4:T:Nr;Address;Name;Type",
                       "4:4:T:Nr;Address;Name;Type"}
        << "Name|Address|2|4; T|5|1|2; Name|Address|2|4";
    QTest::newRow("unknown type with an address: no header")
        << QByteArray("1;400;Flag;BOOL\n") << QStringList{"1:4:T:1;400;Flag;BOOL"}
        << "Flag|400|2|4";
    QTest::newRow("empty name and address") << QByteArray("1; ;;WORD\n")
        << QStringList{"1:4:N:1; ;;WORD", "1:4:A:1; ;;WORD"} << "| |1|2";
    QTest::newRow("quotes are plain text")
        << QByteArray("1;\"2\";\"a;b\";WORD\n1;2; \"c\";WORD")
        << QStringList{"1:5:F:1;\"2\";\"a;b\";WORD", "1:5:Q:1;\"2\";\"a;b\";WORD",
                       "2:4:Q:1;2; \"c\";WORD"}
        << " \"c\"|2|1|2";
}

void tst_CsvImport::skippedLines()
{
    QFETCH(QByteArray, csv);
    QFETCH(QStringList, skipped);
    QFETCH(QString, tags);

    const QString path = m_dir.filePath("skipped.csv");
    QVERIFY(writeAll(path, csv));
    QList<CsvSkippedLine_t> lines;
    lines.append(CsvSkippedLine_t{99, 9, QStringLiteral("kept")});   // appended to, not replaced
    QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadTagsFromCSV(path, false, &lines));
    QVERIFY(tree);
    QCOMPARE(lines.takeFirst().lineNumber, 99);
    QStringList got;
    for (const CsvSkippedLine_t &l : lines) {
        got << QStringLiteral("%1:%2:%3:%4").arg(l.lineNumber).arg(l.fieldCount)
                   .arg(QChar::fromLatin1("FHNATQ"[l.problem])).arg(l.text);
    }
    QCOMPARE(got, skipped);
    QCOMPARE(tagSummary(tree.data()), tags);

    // The import itself is the same with or without the list, and with a null one.
    QScopedPointer<FileDataTree> plain(TgchFileProcessor::loadTagsFromCSV(path, false));
    QScopedPointer<FileDataTree> nullList(TgchFileProcessor::loadTagsFromCSV(path, false, nullptr));
    QCOMPARE(tagSummary(plain.data()), tags);
    QCOMPARE(tagSummary(nullList.data()), tags);
}

QTEST_GUILESS_MAIN(tst_CsvImport)
#include "tst_csvimport.moc"
