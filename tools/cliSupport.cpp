#include "cliSupport.h"

#include <scaFileProcessor.h>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QVector>

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

void printJson(const QJsonDocument &document)
{
    out() << QString::fromUtf8(document.toJson(QJsonDocument::Indented));
    out().flush();
}

void reportError(const QString &command, const QString &message)
{
    out().flush();
    err() << "tirrel " << command << ": " << message << "\n";
    err().flush();
}

QString quoted(const QString &path)
{
    if (path.isEmpty() || path.contains(QLatin1Char(' ')))
        return QLatin1Char('"') + path + QLatin1Char('"');
    return path;
}

// ---- CommandParser -----------------------------------------------------------------------------

CommandParser::CommandParser(const QString &usage, const QString &description)
    : m_usage(usage)
{
    m_parser.setApplicationDescription(description);
    m_parser.addHelpOption();
    m_parser.addOption(QCommandLineOption(QStringLiteral("verbose"),
                                          QStringLiteral("Also show the library's debug output.")));
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
        err() << "See 'tirrel " << command << " --help'.\n";
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
        err() << "See 'tirrel " << command << " --help'.\n";
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
    QString line = QStringLiteral("%1 %2/%3: %4").arg(m_what).arg(m_current).arg(m_total).arg(name);
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

bool readWholeFile(const QString &path, QByteArray *data, QString *why)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *why = file.errorString();
        return false;
    }
    *data = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        *why = file.errorString();
        return false;
    }
    return true;
}

void PageDeleter::operator()(ScaFileData *page) const
{
    if (page) {
        page->deleteAllItems();
        delete page;
    }
}

PagePtr loadPageFile(const QString &path, QString *why)
{
    const ProjectFileInfo_t info = ProjectFileProbe::probeFile(path);
    if (info.kind != ProjectFileInfo_t::PageFile) {
        *why = describeProbe(info, ProjectFileInfo_t::PageFile);
        return nullptr;
    }
    QByteArray data;
    if (!readWholeFile(path, &data, why)) {
        *why = QStringLiteral("cannot be read: ") + *why;
        return nullptr;
    }
    PagePtr page(ScaFileProcessor::loadFileData(data, path));
    if (!page)  // changed on disk since it was probed
        *why = QStringLiteral("is not well-formed XML");
    return page;
}

TreePtr loadDefinitionFile(const QString &path, QString *why)
{
    const ProjectFileInfo_t info = ProjectFileProbe::probeFile(path);
    if (info.kind != ProjectFileInfo_t::DefinitionFile) {
        *why = describeProbe(info, ProjectFileInfo_t::DefinitionFile);
        return nullptr;
    }
    TreePtr tree(TgchFileProcessor::loadFileData(path));
    if (!tree)
        *why = QStringLiteral("cannot be read");
    return tree;
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

void printTable(QTextStream &stream, const QStringList &header, const QList<QStringList> &rows,
                int indent)
{
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
