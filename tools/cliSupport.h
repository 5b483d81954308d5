#pragma once
// What every command of the tirrel tool shares: output streams and their errors, exit codes,
// option parsing with --help, progress on a terminal, text made safe for a terminal, reading a
// file once, and the plain-words descriptions of files that are not what a command wants.

#include <fileAccess.h>
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
    ExitUsage = 2,      // bad command line; for check also: the check is incomplete
    ExitOutput = 3,     // what the command printed did not reach its destination (a full disk)
};

// UTF-8 streams on standard output and standard error.
QTextStream &out();
QTextStream &err();

// Flushes both streams; false when anything written to standard output since the start was
// lost (a full disk, a closed file), with *why set.
bool outputWritten(QString *why);

// Writes one JSON document to standard output.
void printJson(const QJsonDocument &document);

// One line of text on stream: the text with its control characters escaped (printable), then a
// line feed. Every line of text output goes through here, so that no byte of the data reaches a
// terminal as a control sequence.
void printLine(QTextStream &stream, const QString &text);

// An error about one input, on standard error: "tirrel <command>: <message>", escaped.
void reportError(const QString &command, const QString &message);

// The text with its control characters (C0, DEL, C1, line and paragraph separators, the
// direction overrides) shown as escapes: \n, \r, \t, \x1b, \u202e.
QString printable(const QString &text);

// A file name as the user should read it: quoted, with " as \" and control characters
// escaped, when it is empty or holds blanks, quotes, backslashes or control characters.
QString quoted(const QString &path);

// A file name as the file system holds it, as text: bytes that are not valid UTF-8 become \xNN.
QString nameText(const QByteArray &nativeName);
bool isValidUtf8(const QByteArray &bytes);

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

// Why FileAccess::readFile refused a file, as the end of "<file> <why>": "cannot be read: no
// such file", "is not read: larger than ...".
QString describeRead(FileAccess::ReadResult result, const QString &reason);

// A page together with its item records: the page holds them by pointer without owning them,
// so whoever drops a loaded page deletes them with it.
struct PageDeleter
{
    void operator()(ScaFileData *page) const;
};
using PagePtr = std::unique_ptr<ScaFileData, PageDeleter>;
using TreePtr = std::unique_ptr<FileDataTree>;

// A file read once and told apart by its root element.
struct InputFile
{
    QByteArray data;
    ProjectFileInfo_t info;     // probeRoot's, or after a failure probe's, which explains it
};

// Reads the file at nativePath once (FileAccess::readFile) and tells its kind by the root
// element; false with *why set ("<file> <why>") when it cannot be read.
bool readInput(const QByteArray &nativePath, InputFile *file, QString *why);

// Loads a file read by readInput as a page, or as a definition file, after making sure by its
// root element that it is one (the readers themselves take any well-formed XML). A full parse
// runs only to load the file, and a second one only to explain why it does not load. Null with
// *why set (in plain words, for "<file> <why>") otherwise; file->info then tells the kind.
PagePtr loadPage(InputFile *file, const QString &fileName, QString *why);
TreePtr loadDefinitions(InputFile *file, QString *why);
// readInput and loadPage or loadDefinitions in one.
PagePtr loadPageFile(const QString &path, QString *why);
TreePtr loadDefinitionFile(const QString &path, QString *why);

// The item and slot of a binding in plain words: 'ScadaObject #2 "Feed pump" (Uid 1002)',
// 'scroll tag #0 "Pressure"'; 'tagID_label', 'TagIDs[1]'.
QString describeItem(const QString &itemType, int index, const QString &name, int uid);
QString describeSlot(const TagBinding_t &binding);

// Rows under a header line, columns padded to their widest cell, indented by `indent` blanks;
// cells are escaped (printable) before they are measured.
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
