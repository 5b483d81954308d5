#include "cliSupport.h"

#include <scaFileProcessor.h>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QVector>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace cli {

namespace {

QTextStream *makeStream(FILE *file)
{
    auto *stream = new QTextStream(file);
    stream->setCodec("UTF-8");
    return stream;
}

} // namespace

QTextStream &out()
{
    static QTextStream *stream = makeStream(stdout);
    return *stream;
}

QTextStream &err()
{
    static QTextStream *stream = makeStream(stderr);
    return *stream;
}

bool outputWritten(QString *why)
{
    out().flush();
    err().flush();
    auto *device = qobject_cast<QFileDevice *>(out().device());
    const bool failed = out().status() != QTextStream::Ok
                        || (device && device->error() != QFileDevice::NoError);
    if (!failed && std::fflush(stdout) == 0 && !std::ferror(stdout))
        return true;
    *why = device && device->error() != QFileDevice::NoError ? device->errorString()
                                                             : qt_error_string(errno);
    return false;
}

void printJson(const QJsonDocument &document)
{
    out() << QString::fromUtf8(document.toJson(QJsonDocument::Indented));
    out().flush();
}

void printLine(QTextStream &stream, const QString &text)
{
    stream << printable(text) << '\n';
}

void reportError(const QString &command, const QString &message)
{
    out().flush();
    printLine(err(), QStringLiteral("tirrel ") + command + QStringLiteral(": ") + message);
    err().flush();
}

namespace {

bool escaped(ushort u)
{
    return u < 0x20 || u == 0x7f || (u >= 0x80 && u < 0xa0)
           || u == 0x2028 || u == 0x2029                    // line and paragraph separators
           || (u >= 0x202a && u <= 0x202e)                  // direction embeddings, overrides
           || (u >= 0x2066 && u <= 0x2069);                 // direction isolates
}

} // namespace

QString printable(const QString &text)
{
    if (std::none_of(text.cbegin(), text.cend(), [](QChar c) { return escaped(c.unicode()); }))
        return text;
    QString shown;
    shown.reserve(text.size() + 8);
    for (const QChar c : text) {
        const ushort u = c.unicode();
        if (!escaped(u))
            shown += c;
        else if (u == '\n')
            shown += QLatin1String("\\n");
        else if (u == '\r')
            shown += QLatin1String("\\r");
        else if (u == '\t')
            shown += QLatin1String("\\t");
        else if (u < 0x100)
            shown += QStringLiteral("\\x%1").arg(u, 2, 16, QLatin1Char('0'));
        else
            shown += QStringLiteral("\\u%1").arg(u, 4, 16, QLatin1Char('0'));
    }
    return shown;
}

QString quoted(const QString &path)
{
    const bool plain = !path.isEmpty() && std::none_of(path.cbegin(), path.cend(), [](QChar c) {
        return c.isSpace() || c == QLatin1Char('"') || c == QLatin1Char('\'')
               || c == QLatin1Char('\\') || escaped(c.unicode());
    });
    if (plain)
        return path;
    QString inner = path;
    inner.replace(QLatin1Char('"'), QLatin1String("\\\""));
    return QLatin1Char('"') + printable(inner) + QLatin1Char('"');
}

namespace {

// The length of the valid UTF-8 sequence at data[i], or 0.
int utf8Sequence(const uchar *data, int size, int i)
{
    const uchar c = data[i];
    if (c < 0x80)
        return 1;
    int length = 0;
    uchar low = 0x80, high = 0xbf;  // the range of the second byte
    if (c >= 0xc2 && c <= 0xdf) {
        length = 2;
    } else if (c >= 0xe0 && c <= 0xef) {
        length = 3;
        if (c == 0xe0)
            low = 0xa0;             // no overlong forms
        else if (c == 0xed)
            high = 0x9f;            // no surrogates
    } else if (c >= 0xf0 && c <= 0xf4) {
        length = 4;
        if (c == 0xf0)
            low = 0x90;
        else if (c == 0xf4)
            high = 0x8f;            // nothing beyond U+10FFFF
    } else {
        return 0;
    }
    if (i + length > size || data[i + 1] < low || data[i + 1] > high)
        return 0;
    for (int k = 2; k < length; ++k) {
        if (data[i + k] < 0x80 || data[i + k] > 0xbf)
            return 0;
    }
    return length;
}

} // namespace

QString nameText(const QByteArray &nativeName)
{
    const auto *data = reinterpret_cast<const uchar *>(nativeName.constData());
    const int size = nativeName.size();
    QString text;
    for (int i = 0; i < size;) {
        const int length = utf8Sequence(data, size, i);
        if (length > 0) {
            text += QString::fromUtf8(nativeName.constData() + i, length);
            i += length;
        } else {
            text += QStringLiteral("\\x%1").arg(data[i], 2, 16, QLatin1Char('0'));
            ++i;
        }
    }
    return text;
}

bool isValidUtf8(const QByteArray &bytes)
{
    const auto *data = reinterpret_cast<const uchar *>(bytes.constData());
    for (int i = 0; i < bytes.size();) {
        const int length = utf8Sequence(data, bytes.size(), i);
        if (length == 0)
            return false;
        i += length;
    }
    return true;
}

// ---- CommandParser -----------------------------------------------------------------------------

CommandParser::CommandParser(const QString &usage, const QString &description)
    : m_usage(usage)
{
    m_parser.setApplicationDescription(description);
    m_parser.addHelpOption();
    m_parser.addOption(QCommandLineOption(
        QStringLiteral("verbose"),
        QStringLiteral("Also show the library's debug output (logging categories tirrel.*).")));
}

QString CommandParser::helpText() const
{
    // The parser's first line names the program by the path it was started with; the command's
    // own synopsis reads better.
    QString text = m_parser.helpText();
    const int lineEnd = text.indexOf(QLatin1Char('\n'));
    text.replace(0, lineEnd < 0 ? text.size() : lineEnd,
                 QStringLiteral("Usage: tirrel ") + m_usage);
    return text;
}

bool CommandParser::parse(const QStringList &args, int minArgs, int maxArgs, int *exitCode)
{
    const QString command = m_usage.section(QLatin1String(" ["), 0, 0);
    if (!m_parser.parse(args)) {
        reportError(command, m_parser.errorText());
        printLine(err(), QStringLiteral("See 'tirrel %1 --help'.").arg(command));
        err().flush();
        *exitCode = ExitUsage;
        return false;
    }
    if (m_parser.isSet(QStringLiteral("help")) || m_parser.isSet(QStringLiteral("help-all"))) {
        out() << helpText();
        out().flush();
        *exitCode = ExitOk;
        return false;
    }
    const int count = m_parser.positionalArguments().size();
    if (count < minArgs || (maxArgs >= 0 && count > maxArgs)) {
        reportError(command, count < minArgs ? QStringLiteral("missing argument")
                                             : QStringLiteral("too many arguments"));
        printLine(err(), QStringLiteral("See 'tirrel %1 --help'.").arg(command));
        err().flush();
        *exitCode = ExitUsage;
        return false;
    }
    return true;
}

// ---- Progress ----------------------------------------------------------------------------------

Progress::Progress(const QString &what, int total)
    : m_what(what), m_total(total), m_enabled(total > 1 && isatty(fileno(stderr)))
{
}

Progress::~Progress()
{
    done();
}

void Progress::step(const QString &name)
{
    ++m_current;
    if (!m_enabled)
        return;
    QString line = printable(
        QStringLiteral("%1 %2/%3: %4").arg(m_what).arg(m_current).arg(m_total).arg(name));
    if (line.size() > 78)
        line = line.left(75) + QStringLiteral("...");
    err() << "\r\x1b[K" << line;
    err().flush();
    m_shown = true;
}

void Progress::done()
{
    if (m_shown) {
        err() << "\r\x1b[K";
        err().flush();
        m_shown = false;
    }
}

// ---- Descriptions ------------------------------------------------------------------------------

QString kindName(ProjectFileInfo_t::Kind kind)
{
    switch (kind) {
    case ProjectFileInfo_t::Unreadable:
        return QStringLiteral("unreadable file");
    case ProjectFileInfo_t::TooLarge:
        return QStringLiteral("file too large to read");
    case ProjectFileInfo_t::Empty:
        return QStringLiteral("empty file");
    case ProjectFileInfo_t::NotXml:
        return QStringLiteral("file that is not XML");
    case ProjectFileInfo_t::Malformed:
        return QStringLiteral("malformed XML file");
    case ProjectFileInfo_t::PageFile:
        return QStringLiteral("page file");
    case ProjectFileInfo_t::DefinitionFile:
        return QStringLiteral("definition file");
    case ProjectFileInfo_t::ObjectLibraryFile:
        return QStringLiteral("object library file");
    case ProjectFileInfo_t::OtherXml:
        return QStringLiteral("XML file");
    }
    return QString();
}

namespace {

// "a page file", "an object library file"
QString withArticle(const QString &name)
{
    const bool vowel = !name.isEmpty() && QStringLiteral("aeiou").contains(name.at(0));
    return (vowel ? QStringLiteral("an ") : QStringLiteral("a ")) + name;
}

} // namespace

QString describeProbe(const ProjectFileInfo_t &info, ProjectFileInfo_t::Kind wanted)
{
    const QString want = kindName(wanted);
    const auto position = [&info]() {
        if (info.errorLine <= 0)
            return info.errorMessage;
        return QStringLiteral("line %1, column %2: %3")
            .arg(info.errorLine).arg(info.errorColumn).arg(info.errorMessage);
    };
    switch (info.kind) {
    case ProjectFileInfo_t::Unreadable:
        return QStringLiteral("cannot be read: ") + info.errorMessage;
    case ProjectFileInfo_t::TooLarge:
        return QStringLiteral("is not read: ") + info.errorMessage;
    case ProjectFileInfo_t::Empty:
        return QStringLiteral("is empty, not ") + withArticle(want);
    case ProjectFileInfo_t::NotXml:
        return QStringLiteral("is not XML, so not ") + withArticle(want);
    case ProjectFileInfo_t::Malformed:
        return QStringLiteral("is not well-formed XML: ") + position();
    case ProjectFileInfo_t::OtherXml:
        return QStringLiteral("is not %1: its root element is <%2>")
            .arg(withArticle(want), info.rootElement);
    default:
        return QStringLiteral("is %1, not %2")
            .arg(withArticle(kindName(info.kind)), withArticle(want));
    }
}

QString describeRead(FileAccess::ReadResult result, const QString &reason)
{
    return (result == FileAccess::TooLarge ? QStringLiteral("is not read: ")
                                           : QStringLiteral("cannot be read: "))
           + reason;
}

void PageDeleter::operator()(ScaFileData *page) const
{
    if (page) {
        page->deleteAllItems();
        delete page;
    }
}

namespace {

bool wellFormedKind(ProjectFileInfo_t::Kind kind)
{
    return kind == ProjectFileInfo_t::PageFile || kind == ProjectFileInfo_t::DefinitionFile
           || kind == ProjectFileInfo_t::ObjectLibraryFile || kind == ProjectFileInfo_t::OtherXml;
}

} // namespace

bool readInput(const QByteArray &nativePath, InputFile *file, QString *why)
{
    QString reason;
    const FileAccess::ReadResult result = FileAccess::readFile(nativePath, &file->data, &reason);
    if (result != FileAccess::Read) {
        file->info = ProjectFileInfo_t();
        file->info.kind = result == FileAccess::TooLarge ? ProjectFileInfo_t::TooLarge
                                                         : ProjectFileInfo_t::Unreadable;
        file->info.errorMessage = reason;
        *why = describeRead(result, reason);
        return false;
    }
    file->info = ProjectFileProbe::probeRoot(file->data);
    // Without a root element the file is no project file; the parser tells why.
    if (!wellFormedKind(file->info.kind))
        file->info = ProjectFileProbe::probe(file->data);
    return true;
}

namespace {

// After a reader refused a file its root element promised: the parser tells why.
QString explainRefusal(InputFile *file, ProjectFileInfo_t::Kind wanted)
{
    file->info = ProjectFileProbe::probe(file->data);
    if (file->info.kind == wanted)
        return QStringLiteral("could not be loaded");
    return describeProbe(file->info, wanted);
}

} // namespace

PagePtr loadPage(InputFile *file, const QString &fileName, QString *why)
{
    if (file->info.kind != ProjectFileInfo_t::PageFile) {
        *why = describeProbe(file->info, ProjectFileInfo_t::PageFile);
        return nullptr;
    }
    PagePtr page(ScaFileProcessor::loadFileData(file->data, fileName));
    if (!page)
        *why = explainRefusal(file, ProjectFileInfo_t::PageFile);
    return page;
}

TreePtr loadDefinitions(InputFile *file, QString *why)
{
    if (file->info.kind != ProjectFileInfo_t::DefinitionFile) {
        *why = describeProbe(file->info, ProjectFileInfo_t::DefinitionFile);
        return nullptr;
    }
    TreePtr tree(TgchFileProcessor::loadFileData(file->data));
    // A document the reader refuses reads as a tree holding just the placeholder channel.
    if (tree->ChannelList.size() <= 1 && tree->TagList.isEmpty() && tree->AlarmList.isEmpty()) {
        const ProjectFileInfo_t info = ProjectFileProbe::probe(file->data);
        if (info.kind != ProjectFileInfo_t::DefinitionFile) {
            file->info = info;
            *why = describeProbe(info, ProjectFileInfo_t::DefinitionFile);
            return nullptr;
        }
    }
    return tree;
}

PagePtr loadPageFile(const QString &path, QString *why)
{
    InputFile file;
    if (!readInput(QFile::encodeName(path), &file, why))
        return nullptr;
    return loadPage(&file, path, why);
}

TreePtr loadDefinitionFile(const QString &path, QString *why)
{
    InputFile file;
    if (!readInput(QFile::encodeName(path), &file, why))
        return nullptr;
    return loadDefinitions(&file, why);
}

QString describeItem(const QString &itemType, int index, const QString &name, int uid)
{
    if (itemType == QLatin1String("ScrollTags"))
        return QStringLiteral("scroll tag #%1 \"%2\"").arg(index).arg(name);
    QString text = QStringLiteral("%1 #%2").arg(itemType).arg(index);
    if (!name.isEmpty())
        text += QStringLiteral(" \"%1\"").arg(name);
    if (uid != -1)
        text += QStringLiteral(" (Uid %1)").arg(uid);
    return text;
}

QString describeSlot(const TagBinding_t &binding)
{
    if (binding.slotIndex < 0)
        return binding.slot;
    return QStringLiteral("%1[%2]").arg(binding.slot).arg(binding.slotIndex);
}

void printTable(QTextStream &stream, const QStringList &header, const QList<QStringList> &dataRows,
                int indent)
{
    QList<QStringList> rows;
    for (const QStringList &row : dataRows) {
        QStringList cells;
        for (const QString &cell : row)
            cells << printable(cell);
        rows << cells;
    }
    QVector<int> widths(header.size());
    for (int c = 0; c < header.size(); ++c)
        widths[c] = header.at(c).size();
    for (const QStringList &row : rows) {
        for (int c = 0; c < row.size() && c < widths.size(); ++c)
            widths[c] = qMax(widths.at(c), row.at(c).size());
    }
    const auto printRow = [&](const QStringList &row) {
        QString line(indent, QLatin1Char(' '));
        for (int c = 0; c < widths.size(); ++c) {
            const QString cell = c < row.size() ? row.at(c) : QString();
            line += c + 1 < widths.size() ? cell.leftJustified(widths.at(c) + 2) : cell;
        }
        while (line.endsWith(QLatin1Char(' ')))
            line.chop(1);
        stream << line << "\n";
    };
    printRow(header);
    for (const QStringList &row : rows)
        printRow(row);
}

QList<QPair<QString, int>> itemCounts(const ScaFileData &page)
{
    return page.itemCounts();
}

} // namespace cli
