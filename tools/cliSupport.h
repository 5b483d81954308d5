#pragma once
// What every command of the tirrel tool shares: output streams, exit codes, option parsing with
// --help, progress on a terminal, and the plain-words descriptions of files that are not what a
// command wants.

#include <projectFileProbe.h>
#include <scaFileData.h>
#include <tgchFileProcessor.h>

#include <QCommandLineParser>
#include <QJsonDocument>
#include <QString>
#include <QStringList>
#include <QTextStream>

#include <memory>

namespace cli {

// Exit codes of every command (check gives ExitFindings its own meaning: findings, not errors).
enum ExitCode {
    ExitOk = 0,
    ExitFailed = 1,     // some input could not be used; the rest was processed
    ExitFindings = 1,
    ExitUsage = 2,      // bad command line; for check also: the folder cannot be used
};

// UTF-8 streams on standard output and standard error.
QTextStream &out();
QTextStream &err();

// Writes one JSON document to standard output.
void printJson(const QJsonDocument &document);

// An error about one input, on standard error: "tirrel <command>: <message>".
void reportError(const QString &command, const QString &message);

// A file path as the user should read it: quoted when it holds blanks or is empty.
QString quoted(const QString &path);

// One command's parser: "--help" and "--verbose" are added, `usage` is the synopsis shown on
// the first line of the help ("page show [options] FILE..."), `description` the text under it.
class CommandParser
{
public:
    CommandParser(const QString &usage, const QString &description);

    QCommandLineParser &parser() { return m_parser; }

    // Parses args (the command's own, the program name first). Returns true when the command
    // is to run; otherwise *exitCode is set: ExitOk after printing the help, ExitUsage after a
    // bad option or a wrong number of positional arguments (outside minArgs..maxArgs; -1 means
    // no upper bound).
    bool parse(const QStringList &args, int minArgs, int maxArgs, int *exitCode);

    QString helpText() const;

private:
    QString m_usage;
    QCommandLineParser m_parser;
};

// Shows "what n/total: name" on standard error, rewritten in place, when standard error is a
// terminal and there is more than one thing to do; shows nothing otherwise. The line is cleared
// when the object is done or destroyed.
class Progress
{
public:
    Progress(const QString &what, int total);
    ~Progress();

    void step(const QString &name);
    void done();

private:
    QString m_what;
    int m_total;
    int m_current = 0;
    bool m_enabled;
    bool m_shown = false;
};

// Why a probed file is not of the kind a command wants, in plain words ("is a definition file,
// not a page file", "is not well-formed XML: line 3, column 7: unexpected end of file").
QString describeProbe(const ProjectFileInfo_t &info, ProjectFileInfo_t::Kind wanted);

// The name of a kind, for reports ("page file", "definition file", ...).
QString kindName(ProjectFileInfo_t::Kind kind);

// Whole file contents, or false with *why set.
bool readWholeFile(const QString &path, QByteArray *data, QString *why);

// A page together with its item records: the page holds them by pointer without owning them,
// so whoever drops a loaded page deletes them with it.
struct PageDeleter
{
    void operator()(ScaFileData *page) const;
};
using PagePtr = std::unique_ptr<ScaFileData, PageDeleter>;
using TreePtr = std::unique_ptr<FileDataTree>;

// Loads the file at path as a page, or as a definition file, after making sure by its root
// element that it is one (the readers themselves take any well-formed XML). Null with *why set
// (in plain words, for "<file> <why>") otherwise.
PagePtr loadPageFile(const QString &path, QString *why);
TreePtr loadDefinitionFile(const QString &path, QString *why);

// The item and slot of a binding in plain words: 'ScadaObject #2 "Feed pump" (Uid 1002)',
// 'scroll tag #0 "Pressure"'; 'tagID_label', 'TagIDs[1]'.
QString describeItem(const QString &itemType, int index, const QString &name, int uid);
QString describeSlot(const TagBinding_t &binding);

// Rows under a header line, columns padded to their widest cell, indented by `indent` blanks.
void printTable(QTextStream &stream, const QStringList &header, const QList<QStringList> &rows,
                int indent);

// The nine item kinds of a page with their counts, in the page file's order.
QList<QPair<QString, int>> itemCounts(const ScaFileData &page);

} // namespace cli

// The commands; each takes its own arguments (program name first) and returns the exit code.
int runPageShow(const QStringList &args);
int runPageNormalize(const QStringList &args);
int runDefsShow(const QStringList &args);
int runDefsImportCsv(const QStringList &args);
int runCheck(const QStringList &args);
int runPlugin(const QStringList &args);
int runLibraryShow(const QStringList &args);
