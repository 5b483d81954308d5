// The definition records, the definition file reader, the record writer, the export from the
// editor's table models, the CSV tag import and the file watcher (against real files on disk).
#include "defsDump.h"
#include "tirrelGen.h"

#include <fileAccess.h>
#include <tagChFileWatcher.h>

#include <QDomDocument>
#include <QFileSystemWatcher>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QTextCodec>
#include <QtTest>

#include <cstdio>
#include <sys/stat.h>
#include <type_traits>

using namespace defs;

namespace {

const QString kData = QStringLiteral(TIRREL_TEST_DATA "/defs/");

QStringList golden(const QString &name)
{
    return QString::fromUtf8(readAll(kData + name)).split('\n', Qt::SkipEmptyParts);
}

// The rows of a table fixture: its lines but comments, split into columns at "|".
QList<QStringList> rows(const QString &path)
{
    QList<QStringList> table;
    for (const QString &line : QString::fromUtf8(readAll(path)).split('\n', Qt::SkipEmptyParts)) {
        if (!line.startsWith('#'))
            table << line.split(QRegularExpression("\\s*\\|\\s*"));
    }
    return table;
}

// A fixture's text with its \n, \r and \xNN escapes replaced, UTF-8 encoded.
QByteArray unescape(const QString &text)
{
    QByteArray bytes;
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i) == '\\' ? text.at(++i) : QChar();
        bytes += c.isNull() ? text.mid(i, 1).toUtf8() : c == 'n' ? "\n" : c == 'r' ? "\r"
                 : QByteArray(1, char(text.midRef(i + 1, 2).toInt(nullptr, 16)));
        i += c == 'x' ? 2 : 0;
    }
    return bytes;
}

QString filterOptionsJson(const pEtiketDef_t &tag)
{
    auto value = [](double d) { return qIsFinite(d) ? QJsonValue(d) : QJsonValue(); };
    QJsonObject options{{"filtertype", tag.filtertype},
                        {"refval1", value(tag.refval1)},
                        {"refval2", value(tag.refval2)}};
    return QString::fromUtf8(QJsonDocument(options).toJson(QJsonDocument::Indented));
}

// The table models the editor would hold for a tree's channels and tags: a cell holds the
// member's value as the dump shows it, unquoted, the filter options cell their JSON object.
template <class R, int N>
void fillModel(QStandardItemModel &model, const QList<R *> &records, const char *const (&cols)[N])
{
    model.setColumnCount(N);
    for (const R *record : records) {
        const QStringList lines = dump(*record);
        QList<QStandardItem *> row;
        for (const QString column : cols) {
            QString text = valueOf(lines, column);
            if constexpr (std::is_same_v<R, pEtiketDef_t>) {
                if (column == "LogFilterOptions")
                    text = filterOptionsJson(*record);
            }
            row << new QStandardItem(text.startsWith('"') ? text.mid(1, text.size() - 2) : text);
        }
        model.appendRow(row);
    }
}

struct Models
{
    QStandardItemModel channels;
    QStandardItemModel tags;
    explicit Models(const FileDataTree *tree)
    {
        fillModel(channels, tree->ChannelList, TirrelGen::channelModelColumns);
        fillModel(tags, tree->TagList, TirrelGen::tagModelColumns);
    }
};

QStringList withoutAlarms(const QStringList &lines)
{
    return lines.filter(QRegularExpression("^(?!Alarm\\[)"));
}

// "channels=None,A tags=1 alarms=0": enough to tell which records a document yields.
QString summary(const FileDataTree *tree)
{
    QStringList channels;
    for (const pKanalDef_t *c : tree->ChannelList)
        channels << c->Name;
    return QStringLiteral("channels=%1 tags=%2 alarms=%3")
        .arg(channels.join(',')).arg(tree->TagList.size()).arg(tree->AlarmList.size());
}

// "Name,VariableAddress,VariableType,VariableSize" per tag, joined by "; ".
QString tagSummary(const FileDataTree *tree)
{
    QStringList tags;
    for (const pEtiketDef_t *t : tree->TagList)
        tags << QStringLiteral("%1,%2,%3,%4").arg(t->Name, t->VariableAddress)
                    .arg(t->VariableType).arg(t->VariableSize);
    return tags.join(QLatin1String("; "));
}

QByteArray definitions(const QString &tagName)
{
    return "<CTDefinitions><TagList><Tag><Name>" + tagName.toUtf8()
           + "</Name></Tag></TagList></CTDefinitions>";
}

// The tag names of the watcher's tree, or "(null)", and the files its system watcher watches.
QString state(TagChFileWatcher &watcher)
{
    QStringList names;
    for (const pEtiketDef_t *tag : watcher.tagChData() ? watcher.tagChData()->TagList
                                                       : QList<pEtiketDef_t *>())
        names << tag->Name;
    return (watcher.tagChData() ? names.join(',') : QStringLiteral("(null)")) + " watching "
           + watcher.findChild<QFileSystemWatcher *>()->files().join(',');
}

// Records the watcher's state each time it signals.
struct Listener
{
    QSignalSpy spy;
    QStringList seen;
    explicit Listener(TagChFileWatcher &watcher)
        : spy(&watcher, &TagChFileWatcher::tgchFileUpdated)
    {
        QObject::connect(&watcher, &TagChFileWatcher::tgchFileUpdated, &watcher,
                         [this, &watcher] { seen << state(watcher); });
    }
};

} // namespace

class tst_TgchFileProcessor : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void fullFile();
    void documents_data();
    void documents();
    void filterOptionsLayout_data();
    void filterOptionsLayout();
    void roundTrips_data();
    void roundTrips();
    void modelExportCells();
    void writeFailures();
    void csvImport_data();
    void csvImport();
    void unreadable();
    void watcherLoads();
    void watcherRewritten();
    void watcherSetFile();

private:
    // A file holding one tag "A", for a watcher.
    QString watchedFile();
    // Changes a file watched by a second watcher and waits for that one's signal: by then the
    // file system has delivered what it had for the first watcher too.
    void settle();
    QTemporaryDir m_dir;
};

void tst_TgchFileProcessor::initTestCase()
{
    // A single-byte system encoding, so that text decoded as anything else shows.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
}

// The record defaults, what the readers make of an element without value elements, a file with
// every member set as the record writer and the export write it, and values the file cannot
// hold as they are.
void tst_TgchFileProcessor::fullFile()
{
    FileDataTree defaults;
    defaults.ChannelList << new pKanalDef_t;
    defaults.TagList << new pEtiketDef_t;
    defaults.AlarmList << new pAlarmItem_t;
    COMPARE_DUMPS(dump(&defaults), golden("defaults.dump"));
    // Zero and empty rather than the record defaults, but for the -1 of some ids and the
    // untouched filter references; the same for a null element.
    QDomDocument doc;
    QVERIFY(doc.setContent(QByteArray("<Record Id=\"5\"><Unknown>3</Unknown></Record>")));
    QDomElement element = doc.documentElement();
    for (QDomElement *e : {&element, static_cast<QDomElement *>(nullptr)}) {
        FileDataTree absent;
        absent.ChannelList << TgchFileProcessor::channelDataFromXML(e);
        absent.TagList << TgchFileProcessor::tagDataFromXml(e);
        absent.AlarmList << TgchFileProcessor::alarmDataFromXml(e);
        COMPARE_DUMPS(dump(&absent), golden("absent.dump"));
    }

    QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(kData + "full.xml"));
    QVERIFY(tree);
    COMPARE_DUMPS(dump(tree.data()), golden("full.dump"));
    const QString path = m_dir.filePath("written.xml");
    QVERIFY(TgchFileProcessor::writeToFile(tree.data(), path));
    QCOMPARE(readAll(path), readAll(kData + "written.xml"));
    QScopedPointer<FileDataTree> reread(TgchFileProcessor::loadFileData(path));
    COMPARE_DUMPS(dump(reread.data()), golden("full.dump"));

    Models models(tree.data());
    OpenedFile file{0, path, 0, &models.channels, &models.tags};
    QVERIFY(TgchFileProcessor::writeToFile(&file));
    QCOMPARE(readAll(path), readAll(kData + "exported.xml"));
    reread.reset(TgchFileProcessor::loadFileData(path));
    COMPARE_DUMPS(dump(reread.data()), withoutAlarms(golden("full.dump")));

    // Lossy values come back as lossy.dump says (against full.dump).
    pKanalDef_t *channel = tree->ChannelList.at(1);
    pEtiketDef_t *tag = tree->TagList.at(0);
    pAlarmItem_t *alarm = tree->AlarmList.at(0);
    channel->Station = " ";
    channel->Description = "\t \n";
    tag->PollFrequency = -5;
    tag->VariableSize = -2;
    tag->LoggingFreq = 1234567.891;
    tag->refval1 = qQNaN();
    tag->refval2 = -qInf();
    tree->TagList.at(1)->LoggingFreq = qQNaN();
    alarm->limitVal = 0.1;
    alarm->checkVal1 = qInf();
    alarm->checkVal2 = 123456789.0;
    alarm->subscribers = {-1, 0, 2147483647};

    QVERIFY(TgchFileProcessor::writeToFile(tree.data(), path));
    QCOMPARE(readAll(path), readAll(kData + "lossy.xml"));
    reread.reset(TgchFileProcessor::loadFileData(path));
    COMPARE_DUMPS(dump(reread.data()), golden("lossy.dump"));
}

void tst_TgchFileProcessor::modelExportCells()
{
    // Cells are written as they stand: a real keeps every digit, a missing cell is an empty
    // element (so Id and GroupID read 0, not an absent element's -1), further columns are
    // ignored, carriage returns come back.
    QStandardItemModel channels(1, 0);
    QStandardItemModel tags;
    tags.setItem(0, 1, new QStandardItem("Tag"));
    tags.setItem(0, 13, new QStandardItem("1234567.891"));
    tags.setItem(0, 21, new QStandardItem("a\r\nb\rc"));
    tags.setItem(0, 31, new QStandardItem("x"));
    const QString path = m_dir.filePath("cells.xml");
    QVERIFY(TgchFileProcessor::writeToFile(&channels, &tags, path));
    QScopedPointer<FileDataTree> reread(TgchFileProcessor::loadFileData(path));
    QCOMPARE(summary(reread.data()), QString("channels=None, tags=1 alarms=0"));
    const QStringList lines = dump(reread.data());
    QCOMPARE(QStringList({valueOf(lines, "Channel[1].Id"), valueOf(lines, "Channel[1].GroupID"),
                          valueOf(lines, "Tag[0].LoggingFreq"), valueOf(lines, "Tag[0].Name"),
                          valueOf(lines, "Tag[0].Description")}),
             QStringList({"0", "0", "1234567.8910000001", "\"Tag\"", "\"a\r\nb\rc\""}));
}

void tst_TgchFileProcessor::documents_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("expected");
    for (const QStringList &row : rows(kData + "documents.txt"))
        QTest::newRow(qPrintable(row.value(0))) << row.value(1).toUtf8() << row.value(2);
}

void tst_TgchFileProcessor::documents()
{
    QFETCH(QByteArray, xml);
    QFETCH(QString, expected);
    QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadFileData(xml));
    const QString key = expected.section('=', 0, 0);
    QCOMPARE(expected.startsWith("channels=") ? summary(tree.data())
                                              : key + '=' + valueOf(dump(tree.data()), key),
             expected);
    // The placeholder always holds the channel defaults, whatever a "None" element held.
    pKanalDef_t placeholder;
    placeholder.Name = "None";
    COMPARE_DUMPS(dump(*tree->ChannelList.first()), dump(placeholder));
}

void tst_TgchFileProcessor::filterOptionsLayout_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<double>("ref1");
    QTest::addColumn<double>("ref2");
    for (const QStringList &row : rows(kData + "filters.txt")) {
        QTest::newRow(qPrintable(row.value(0))) << row.value(1).toInt() << row.value(2).toDouble()
                                                << row.value(3).toDouble();
    }
}

void tst_TgchFileProcessor::filterOptionsLayout()
{
    QFETCH(int, type);
    QFETCH(double, ref1);
    QFETCH(double, ref2);
    FileDataTree tree;
    auto *tag = new pEtiketDef_t;
    tag->filtertype = type;
    tag->refval1 = ref1;
    tag->refval2 = ref2;
    tree.TagList << tag;
    const QString path = m_dir.filePath("filter.xml");
    QVERIFY(TgchFileProcessor::writeToFile(&tree, path));

    // Exactly what QJsonDocument writes for the object, non-finite values as null.
    QDomDocument doc;
    QVERIFY(doc.setContent(readAll(path)));
    QCOMPARE(doc.elementsByTagName("LogFilterOptions").at(0).toElement().text(),
             filterOptionsJson(*tag));
    QScopedPointer<FileDataTree> reread(TgchFileProcessor::loadFileData(path));
    const pEtiketDef_t *back = reread->TagList.first();
    QCOMPARE(back->filtertype, type);
    QCOMPARE(back->refval1, qIsFinite(ref1) ? ref1 : 0.0);
    QCOMPARE(back->refval2, qIsFinite(ref2) ? ref2 : 0.0);
}

void tst_TgchFileProcessor::roundTrips_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("count");
    QTest::newRow("ampersand") << "x & y; &amp;" << 1;
    QTest::newRow("CDATA ends mixed") << "p]]>q<&r]]]]>>s]]" << 1;
    QTest::newRow("markup") << "<![CDATA[x]]><!-- c --><Name>" << 1;
    QTest::newRow("non-ASCII") << QString::fromUtf8("Ünïcødé 漢字 \xF0\x9F\x98\x80") << 1;
    QTest::newRow("surrounding spaces") << "  padded  " << 1;
    // Over a megabyte (1024 bytes a tag), so that the record writer passes its output on in more
    // than one block. The tree deletes its records; the sanitizer build's leak checker reports
    // any it misses.
    QTest::newRow("large") << "large" << 1100;
}

// Texts in every text member of each kind of record, written with the record writer and, as
// table models, with the export: each file reads back as the tree (the export without alarms).
void tst_TgchFileProcessor::roundTrips()
{
    QFETCH(QString, text);
    QFETCH(int, count);
    FileDataTree tree;
    auto *channel = new pKanalDef_t;
    channel->Name = channel->ServerIP = channel->FilterIP = channel->Station = text;
    channel->KestrinPath = channel->Description = text;
    tree.ChannelList << new pKanalDef_t << channel;
    tree.ChannelList.first()->Name = "None";
    for (int i = 0; i < count; ++i) {
        auto *tag = new pEtiketDef_t;
        tag->Name = tag->DeviceAddress = tag->VariableAddress = tag->KanalName = tag->Macro = text;
        tag->Keywords = tag->UnitName = tag->Equipment = tag->Measuredentity = text;
        tag->Location = tag->Formula = text;
        tag->Description = text + QString(i % 50, QLatin1Char('d'));
        tag->Id = tag->refval1 = tag->refval2 = i;
        auto *alarm = new pAlarmItem_t;
        alarm->alarm_name = alarm->alarm_desc = alarm->alarm_class = text;
        alarm->tagID = i;
        alarm->subscribers << i;
        tree.TagList << tag;
        tree.AlarmList << alarm;
    }
    const QString written = m_dir.filePath("written.xml");
    QVERIFY(TgchFileProcessor::writeToFile(&tree, written));
    QScopedPointer<FileDataTree> fromRecords(TgchFileProcessor::loadFileData(written));
    COMPARE_DUMPS(dump(fromRecords.data()), dump(&tree));
    Models models(&tree);
    const QString exported = m_dir.filePath("exported.xml");
    QVERIFY(TgchFileProcessor::writeToFile(&models.channels, &models.tags, exported));
    QScopedPointer<FileDataTree> fromModels(TgchFileProcessor::loadFileData(exported));
    COMPARE_DUMPS(dump(fromModels.data()), withoutAlarms(dump(&tree)));
    QVERIFY(QFileInfo(written).size() > count * 1024 && QFileInfo(exported).size() > count * 1024);
}

// Without a tree, a model or a folder to write to, nothing is written and the file at the path
// stays as it was and alone (the safe save's own failures are tst_safesave's).
void tst_TgchFileProcessor::writeFailures()
{
    const QString path = m_dir.filePath("kept.xml");
    const QString unreachable = m_dir.filePath("no/dir/defs.xml");
    QVERIFY(writeAll(path, "<CTDefinitions/>"));
    const QStringList before = QDir(m_dir.path()).entryList(QDir::Files);
    FileDataTree tree;
    QStandardItemModel model;
    OpenedFile file{0, path, 0, nullptr, &model};
    QVERIFY(!TgchFileProcessor::writeToFile(static_cast<FileDataTree *>(nullptr), path));
    QVERIFY(!TgchFileProcessor::writeToFile(nullptr, &model, path));
    QVERIFY(!TgchFileProcessor::writeToFile(&model, nullptr, path));
    QVERIFY(!TgchFileProcessor::writeToFile(&file));
    QVERIFY(!TgchFileProcessor::writeToFile(static_cast<OpenedFile *>(nullptr)));
    QVERIFY(!TgchFileProcessor::writeToFile(&tree, unreachable));
    QVERIFY(!TgchFileProcessor::writeToFile(&model, &model, unreachable));
    QCOMPARE(readAll(path), QByteArray("<CTDefinitions/>"));
    QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files), before);
}

void tst_TgchFileProcessor::csvImport_data()
{
    QTest::addColumn<QByteArray>("csv");
    QTest::addColumn<bool>("alternate");
    QTest::addColumn<QString>("tags");
    QTest::addColumn<QStringList>("skipped");
    for (const QStringList &row : rows(TIRREL_TEST_DATA "/csv/import.txt")) {
        QTest::newRow(qPrintable(row.value(0))) << unescape(row.value(2)) << (row.value(1) == "1")
            << QString::fromUtf8(unescape(row.value(3)))
            << QString::fromUtf8(unescape(row.value(4))).split(" / ", Qt::SkipEmptyParts);
    }
}

void tst_TgchFileProcessor::csvImport()
{
    QFETCH(QByteArray, csv);
    QFETCH(bool, alternate);
    QFETCH(QString, tags);
    QFETCH(QStringList, skipped);
    const QString path = m_dir.filePath("tags.csv");
    QVERIFY(writeAll(path, csv));
    QList<CsvSkippedLine_t> lines{CsvSkippedLine_t{99, 9, "kept"}};   // appended to, not replaced
    QScopedPointer<FileDataTree> tree(TgchFileProcessor::loadTagsFromCSV(path, alternate, &lines));
    QVERIFY(tree);
    QCOMPARE(lines.takeFirst().lineNumber, 99);
    QStringList got;
    for (const CsvSkippedLine_t &l : lines) {
        got << QStringLiteral("%1:%2:%3:%4").arg(l.lineNumber).arg(l.fieldCount)
                   .arg(QChar::fromLatin1("FHNATQ"[l.problem])).arg(l.text);
    }
    QCOMPARE(got, skipped);
    QCOMPARE(tagSummary(tree.data()), tags);
    QVERIFY(tree->ChannelList.isEmpty() && tree->AlarmList.isEmpty());   // no placeholder channel
    // Apart from the four members a line sets and PollFrequency, a tag holds the record defaults.
    pEtiketDef_t defaults;
    defaults.PollFrequency = 3;
    const QRegularExpression others("^(?!(Name|VariableAddress|VariableType|VariableSize)=)");
    for (const pEtiketDef_t *tag : tree->TagList)
        COMPARE_DUMPS(dump(*tag).filter(others), dump(defaults).filter(others));

    // The import itself is the same without the list.
    QScopedPointer<FileDataTree> plain(TgchFileProcessor::loadTagsFromCSV(path, alternate));
    QCOMPARE(tagSummary(plain.data()), tags);
}

void tst_TgchFileProcessor::unreadable()
{
    // A missing file, a folder, an empty path, a pipe without a writer, a device without end, a
    // file over the size limit: none is read (nor waited for), and the skipped-line list stays
    // as it was.
    const QString pipe = m_dir.filePath("pipe");
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QFile huge(m_dir.filePath("huge"));
    QVERIFY(huge.open(QIODevice::WriteOnly) && huge.resize(FileAccess::MaxFileSize + 1));
    QList<CsvSkippedLine_t> lines{CsvSkippedLine_t{1, 2, QStringLiteral("before")}};
    for (const QString &path : {m_dir.filePath("missing"), m_dir.path(), QString(), pipe,
                                QStringLiteral("/dev/zero"), huge.fileName()}) {
        QVERIFY(!TgchFileProcessor::loadFileData(path));
        QVERIFY(!TgchFileProcessor::loadTagsFromCSV(path, true, &lines));
    }
    // An empty file is no different from empty bytes.
    QVERIFY(writeAll(huge.fileName(), {}));
    QScopedPointer<FileDataTree> empty(TgchFileProcessor::loadFileData(huge.fileName()));
    QCOMPARE(empty ? summary(empty.data()) : "(null)", QString("channels=None tags=0 alarms=0"));
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines.first().text, QStringLiteral("before"));
}

QString tst_TgchFileProcessor::watchedFile()
{
    const QString path = m_dir.filePath(QTest::currentTestFunction() + QStringLiteral(".xml"));
    return writeAll(path, definitions("A")) ? path : QString();
}

void tst_TgchFileProcessor::settle()
{
    const QString other = m_dir.filePath("settle.xml");
    QVERIFY(writeAll(other, definitions("")));
    TagChFileWatcher control(other);
    QSignalSpy spy(&control, &TagChFileWatcher::tgchFileUpdated);
    QVERIFY(writeAll(other, definitions("settled")));
    QVERIFY(spy.wait());
}

void tst_TgchFileProcessor::watcherLoads()
{
    // A missing file gives no tree and is not watched; an empty path is handed to the system
    // watcher and the reader all the same.
    const QString path = watchedFile();
    QTest::ignoreMessage(QtWarningMsg, "QFileSystemWatcher::addPath: path is empty");
    for (const QString &p : {path, m_dir.filePath("missing.xml"), QString()}) {
        TagChFileWatcher watcher(p);
        Listener listener(watcher);
        QCOMPARE(state(watcher), p == path ? "A watching " + path : "(null) watching ");
        QCoreApplication::processEvents();
        QCOMPARE(listener.spy.count(), 0);
    }
}

void tst_TgchFileProcessor::watcherRewritten()
{
    const QString path = watchedFile();
    TagChFileWatcher watcher(path);
    Listener listener(watcher);
    // Written in place and replaced by a rename the way many editors save, twice: the second
    // replacement is only seen if the new file was watched after the first. The last write is
    // malformed: it still replaces the tree, with one holding no tags.
    const QList<QPair<QByteArray, QString>> writes{
        {definitions("C"), "C"}, {definitions("R1"), "R1"}, {definitions("R2"), "R2"},
        {"<CTDefinitions><TagList><Tag>", ""}};
    for (const auto &[bytes, names] : writes) {
        const QString fresh = names.startsWith('R') ? path + ".new" : path;
        QVERIFY(writeAll(fresh, bytes));
        QVERIFY(std::rename(QFile::encodeName(fresh), QFile::encodeName(path)) == 0);
        // Every signal comes with the new tree in place.
        QVERIFY(listener.spy.wait());
        while (!listener.seen.last().startsWith(names + " watching") && listener.spy.wait()) {}
        QCOMPARE(listener.seen.last(), names + " watching " + path);
    }
}

void tst_TgchFileProcessor::watcherSetFile()
{
    const QString first = watchedFile();
    const QString second = m_dir.filePath("second.xml");
    QVERIFY(writeAll(second, definitions("S")));
    TagChFileWatcher watcher(first);
    Listener listener(watcher);
    watcher.setFile(second);
    QCOMPARE(listener.spy.count(), 0);
    QCOMPARE(state(watcher), "S watching " + second);

    // A change to the first file no longer reloads anything; one to the second does.
    QVERIFY(writeAll(first, definitions("first changed")));
    QVERIFY(writeAll(second, definitions("second changed")));
    QVERIFY(listener.spy.wait());
    settle();
    QCOMPARE(QSet<QString>(listener.seen.begin(), listener.seen.end()),
             {"second changed watching " + second});

    // Deleted, the file is no longer watched: one created there again goes unnoticed ...
    listener.seen.clear();
    QVERIFY(QFile::remove(second));
    QVERIFY(listener.spy.wait());
    QVERIFY(writeAll(second, definitions("again")));
    settle();
    QCOMPARE(QSet<QString>(listener.seen.begin(), listener.seen.end()), {"(null) watching "});
    QCOMPARE(state(watcher), QString("(null) watching "));
    // ... until the host points the watcher at it again.
    watcher.setFile(second);
    QCOMPARE(state(watcher), "again watching " + second);
}

QTEST_GUILESS_MAIN(tst_TgchFileProcessor)
#include "tst_tgchfileprocessor.moc"
