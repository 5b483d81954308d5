// tirrel: inspect, check and convert the files of a SCADA project without the editor.
#include "cliSupport.h"

#include <QGuiApplication>
#include <QLoggingCategory>

using namespace cli;

int runPageRender(const QStringList &args);    // renderCommand.cpp
int runDiff(const QStringList &args);          // diffCommand.cpp

namespace {

// The library reports what it does through its logging categories (tirrel.page,
// tirrel.definitions, tirrel.library, tirrel.project, tirrel.services) and Qt's default one; a
// command-line tool keeps their debug lines out of its output unless asked for them. So are the
// warnings of the platform's start-up (a missing runtime folder on a headless machine), which
// say nothing about the files at hand.
QString loggingRules(bool verbose, bool starting)
{
    const QString debug = verbose ? QStringLiteral("true") : QStringLiteral("false");
    QString rules = QStringLiteral("tirrel.*.debug=%1\ntirrel.*.info=%1\n"
                                   "default.debug=%1\ndefault.info=%1\n").arg(debug);
    if (starting && !verbose)
        rules += QStringLiteral("default.warning=false\nqt.*.warning=false\n");
    return rules;
}

struct Command
{
    const char *group;      // "page", or the command itself for commands without sub-commands
    const char *name;       // "show", or null
    const char *summary;
    int (*run)(const QStringList &args);
};

const Command commands[] = {
    {"page", "show", "Show page properties, layers, item counts and tag bindings", runPageShow},
    {"page", "normalize", "Load and save pages through the library (canonical form)",
     runPageNormalize},
    {"page", "render", "Draw pages as PNG, SVG or PDF files", runPageRender},
    {"defs", "show", "Show the channels, tags and alarms of a definition file", runDefsShow},
    {"defs", "import-csv", "Turn CSV tag lists into a definition file", runDefsImportCsv},
    {"check", nullptr, "Check the integrity of a project folder", runCheck},
    {"diff", nullptr, "Show what changed between two pages, definition files or folders",
     runDiff},
    {"plugin", nullptr, "Load a built plug-in as the host does and show its metadata", runPlugin},
    {"library", "show", "Show the object library catalogue as the library finds it",
     runLibraryShow},
};

QString commandLine(const Command &c)
{
    return c.name ? QStringLiteral("%1 %2").arg(QLatin1String(c.group), QLatin1String(c.name))
                  : QLatin1String(c.group);
}

void printUsage(QTextStream &stream, const QString &group = QString())
{
    if (group.isEmpty()) {
        stream << "Usage: tirrel [--verbose] <command> [options] [arguments]\n\n"
                  "Inspect, check and convert the pages, definition files and object library of\n"
                  "a SCADA project.\n\nCommands:\n";
    } else {
        stream << "Usage: tirrel " << group << " <command> [options] [arguments]\n\nCommands:\n";
    }
    for (const Command &c : commands) {
        if (!group.isEmpty() && group != QLatin1String(c.group))
            continue;
        stream << "  " << qSetFieldWidth(20) << Qt::left << commandLine(c) << qSetFieldWidth(0)
               << c.summary << "\n";
    }
    stream << "\nEvery command takes --help. Options for all commands:\n"
              "  --verbose           Also show the library's debug output (tirrel.* logging\n"
              "                      categories); each line names its category.\n"
              "  --help              Show this help.\n"
              "  --version           Show the version.\n";
    stream.flush();
}

int dispatch(const QStringList &args)
{
    // args: program, then the command words and their options.
    if (args.size() < 2) {
        printUsage(err());
        return ExitUsage;
    }
    const QString first = args.at(1);
    if (first == QLatin1String("--help") || first == QLatin1String("-h")
            || first == QLatin1String("help")) {
        printUsage(out());
        return ExitOk;
    }
    if (first == QLatin1String("--version")) {
        out() << "tirrel " << QCoreApplication::applicationVersion() << "\n";
        return ExitOk;
    }

    bool knownGroup = false;
    for (const Command &c : commands) {
        if (first != QLatin1String(c.group))
            continue;
        knownGroup = true;
        if (!c.name) {
            QStringList rest = args.mid(2);
            rest.prepend(commandLine(c));
            return c.run(rest);
        }
        if (args.size() > 2 && args.at(2) == QLatin1String(c.name)) {
            QStringList rest = args.mid(3);
            rest.prepend(commandLine(c));
            return c.run(rest);
        }
    }
    if (!knownGroup) {
        printLine(err(), QStringLiteral("tirrel: unknown command ") + quoted(first));
        printLine(err(), QStringLiteral("See 'tirrel --help'."));
        return ExitUsage;
    }
    const QString sub = args.size() > 2 ? args.at(2) : QString();
    if (sub == QLatin1String("--help") || sub == QLatin1String("-h")) {
        printUsage(out(), first);
        return ExitOk;
    }
    if (sub.isEmpty())
        printLine(err(), QStringLiteral("tirrel %1: a command is missing").arg(printable(first)));
    else
        printLine(err(),
                  QStringLiteral("tirrel %1: unknown command %2").arg(printable(first), quoted(sub)));
    printUsage(err(), first);
    return ExitUsage;
}

} // namespace

int main(int argc, char **argv)
{
    // Text items without a size are measured in their font, which takes a GUI application; on a
    // machine without a display it runs on the offscreen platform.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY")
            && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    bool verbose = false;
    for (int i = 1; i < argc; ++i) {
        if (qstrcmp(argv[i], "--") == 0)
            break;
        if (qstrcmp(argv[i], "--verbose") == 0)
            verbose = true;
    }
    // Each line says what it is: "tirrel.page debug: ...".
    qSetMessagePattern(QStringLiteral("%{category} %{type}: %{message}"));
    QLoggingCategory::setFilterRules(loggingRules(verbose, true));

    QGuiApplication app(argc, argv);
    QLoggingCategory::setFilterRules(loggingRules(verbose, false));
    QCoreApplication::setApplicationName(QStringLiteral("tirrel"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TIRREL_VERSION));

    QStringList args = app.arguments();
    // The global form "tirrel --verbose page show ..." puts the option before the command.
    while (args.size() > 1 && args.at(1) == QLatin1String("--verbose"))
        args.removeAt(1);
    const int code = dispatch(args);
    QString why;
    if (!outputWritten(&why)) {
        printLine(err(), QStringLiteral("tirrel: the output could not be written: ") + why);
        err().flush();
        return ExitOutput;
    }
    return code;
}
