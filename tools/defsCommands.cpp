// tirrel defs show / defs import-csv
#include "cliSupport.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace cli;

namespace {

const QString ShowCommand = QStringLiteral("defs show");
const QString ImportCommand = QStringLiteral("defs import-csv");

// Every tree read from a definition file starts with the placeholder channel "None", which
// stands for "no channel"; it is no channel of the project.
const QString PlaceholderChannel = QStringLiteral("None");

QList<const pKanalDef_t *> realChannels(const FileDataTree &tree)
{
    QList<const pKanalDef_t *> channels;
    for (const pKanalDef_t *c : tree.ChannelList) {
        if (c && c->Name != PlaceholderChannel)
            channels.append(c);
    }
    return channels;
}

QString flag(bool on)
{
    return on ? QStringLiteral("yes") : QStringLiteral("no");
}

QString number(double v)
{
    return std::isfinite(v) ? QString::number(v, 'g', 6) : QStringLiteral("-");
}

QString tagChannel(const pEtiketDef_t &t)
{
    const QString name = t.KanalName.isEmpty() ? QStringLiteral("-") : t.KanalName;
    return QStringLiteral("%1 (%2)").arg(name, QString::number(t.Kanal_Id));
}

QJsonObject channelJson(const pKanalDef_t &c)
{
    return {{QStringLiteral("Id"), c.Id},
            {QStringLiteral("Name"), c.Name},
            {QStringLiteral("MediaType"), c.MediaType},
            {QStringLiteral("ProtokolType"), c.ProtokolType},
            {QStringLiteral("ServerIP"), c.ServerIP},
            {QStringLiteral("ServerPORT"), double(c.ServerPORT)},
            {QStringLiteral("Comport"), double(c.Comport)},
            {QStringLiteral("Baudrate"), double(c.Baudrate)},
            {QStringLiteral("Enabled"), c.Enabled},
            {QStringLiteral("Description"), c.Description}};
}

QJsonObject tagJson(const pEtiketDef_t &t)
{
    return {{QStringLiteral("Id"), t.Id},
            {QStringLiteral("Name"), t.Name},
            {QStringLiteral("KanalName"), t.KanalName},
            {QStringLiteral("Kanal_Id"), t.Kanal_Id},
            {QStringLiteral("DeviceAddress"), t.DeviceAddress},
            {QStringLiteral("VariableAddress"), t.VariableAddress},
            {QStringLiteral("VariableType"), t.VariableType},
            {QStringLiteral("VariableSize"), t.VariableSize},
            {QStringLiteral("UnitName"), t.UnitName},
            {QStringLiteral("Enabled"), t.Enabled},
            {QStringLiteral("Description"), t.Description}};
}

QJsonObject alarmJson(const pAlarmItem_t &a)
{
    return {{QStringLiteral("Id"), a.Id},
            {QStringLiteral("alarm_name"), a.alarm_name},
            {QStringLiteral("tagID"), a.tagID},
            {QStringLiteral("alarm_class"), a.alarm_class},
            {QStringLiteral("alarm_level"), a.alarm_level},
            {QStringLiteral("comp_type"), a.comp_type},
            {QStringLiteral("limitVal"), std::isfinite(a.limitVal) ? QJsonValue(a.limitVal)
                                                                    : QJsonValue()},
            {QStringLiteral("enabled"), a.enabled != 0}};
}

void printLists(const FileDataTree &tree)
{
    QTextStream &s = out();
    QList<QStringList> rows;
    for (const pKanalDef_t *c : realChannels(tree)) {
        rows << QStringList{QString::number(c->Id), c->Name, QString::number(c->MediaType),
                            QString::number(c->ProtokolType),
                            c->ServerIP.isEmpty()
                                ? QStringLiteral("-")
                                : c->ServerIP + QLatin1Char(':') + QString::number(c->ServerPORT),
                            QStringLiteral("COM%1 %2").arg(c->Comport).arg(c->Baudrate),
                            flag(c->Enabled)};
    }
    printLine(s, QStringLiteral("  channels:"));
    printTable(s, {"Id", "Name", "MediaType", "ProtokolType", "ServerIP:PORT", "Serial", "Enabled"},
               rows, 4);
    rows.clear();
    for (const pEtiketDef_t *t : tree.TagList) {
        if (!t)
            continue;
        rows << QStringList{QString::number(t->Id), t->Name, tagChannel(*t), t->DeviceAddress,
                            t->VariableAddress, QString::number(t->VariableType),
                            QString::number(t->VariableSize), t->UnitName, flag(t->Enabled)};
    }
    printLine(s, QStringLiteral("  tags:"));
    printTable(s, {"Id", "Name", "Channel (Id)", "Device", "Address", "Type", "Size", "Unit",
                   "Enabled"},
               rows, 4);
    rows.clear();
    for (const pAlarmItem_t *a : tree.AlarmList) {
        if (!a)
            continue;
        rows << QStringList{QString::number(a->Id), a->alarm_name, QString::number(a->tagID),
                            a->alarm_class, QString::number(a->alarm_level),
                            number(a->limitVal), flag(a->enabled != 0)};
    }
    printLine(s, QStringLiteral("  alarms:"));
    printTable(s, {"Id", "Name", "Tag", "Class", "Level", "Limit", "Enabled"}, rows, 4);
}

} // namespace

int runDefsShow(const QStringList &args)
{
    CommandParser cp(QStringLiteral("defs show [options] FILE"),
                     QStringLiteral("Shows how many channels, tags and alarms a definition file "
                                    "holds, and with --list\ntheir main fields. The placeholder "
                                    "channel \"None\" that stands for \"no channel\" is\nnot "
                                    "counted."));
    cp.parser().addOption({QStringLiteral("list"),
                           QStringLiteral("List every channel, tag and alarm.")});
    cp.parser().addOption({QStringLiteral("json"), QStringLiteral("Write JSON instead.")});
    cp.parser().addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("A definition file."));
    int code = ExitOk;
    if (!cp.parse(args, 1, 1, &code))
        return code;
    const QString path = cp.parser().positionalArguments().constFirst();
    const bool list = cp.parser().isSet(QStringLiteral("list"));

    QString why;
    const TreePtr tree = loadDefinitionFile(path, &why);
    if (!tree) {
        reportError(ShowCommand, quoted(path) + QLatin1Char(' ') + why);
        return ExitFailed;
    }
    const QList<const pKanalDef_t *> channels = realChannels(*tree);

    if (cp.parser().isSet(QStringLiteral("json"))) {
        QJsonObject o{{QStringLiteral("file"), path},
                      {QStringLiteral("channels"), channels.size()},
                      {QStringLiteral("tags"), tree->TagList.size()},
                      {QStringLiteral("alarms"), tree->AlarmList.size()}};
        if (list) {
            QJsonArray c, t, a;
            for (const pKanalDef_t *channel : channels)
                c.append(channelJson(*channel));
            for (const pEtiketDef_t *tag : tree->TagList)
                t.append(tagJson(*tag));
            for (const pAlarmItem_t *alarm : tree->AlarmList)
                a.append(alarmJson(*alarm));
            o.insert(QStringLiteral("channelList"), c);
            o.insert(QStringLiteral("tagList"), t);
            o.insert(QStringLiteral("alarmList"), a);
        }
        printJson(QJsonDocument(o));
        return ExitOk;
    }

    QTextStream &s = out();
    printLine(s, quoted(path));
    printLine(s, QStringLiteral("  channels: %1").arg(channels.size()));
    printLine(s, QStringLiteral("  tags:     %1").arg(tree->TagList.size()));
    printLine(s, QStringLiteral("  alarms:   %1").arg(tree->AlarmList.size()));
    if (list)
        printLists(*tree);
    return ExitOk;
}

// ---- defs import-csv ----------------------------------------------------------------------------

namespace {

// Warnings shown for one CSV file; the rest are counted.
const int MaxWarnings = 20;
// Lines listed for one unknown type name; the rest are counted.
const int MaxTypeLines = 5;

// The line number of each imported tag: the CSV import makes one tag per line it does not leave
// out, in file order.
QList<int> tagLineNumbers(int tagCount, const QList<CsvSkippedLine_t> &notes)
{
    QSet<int> skippedLines;
    for (const CsvSkippedLine_t &n : notes) {
        if (n.problem == CsvSkippedLine_t::FieldCount)
            skippedLines.insert(n.lineNumber);
    }
    QList<int> lines;
    int line = 1;
    for (int i = 0; i < tagCount; ++i) {
        while (skippedLines.contains(line))
            ++line;
        lines.append(line++);
    }
    return lines;
}

QString fieldCountReason(const CsvSkippedLine_t &line)
{
    if (line.text.trimmed().isEmpty())
        return QStringLiteral("empty line");
    return QStringLiteral("%1 %2, a tag line has 4")
        .arg(line.fieldCount)
        .arg(line.fieldCount == 1 ? QStringLiteral("field") : QStringLiteral("fields"));
}

// What the tool makes of one CSV file's lines: the imported lines it refuses, and its reports
// by line number.
struct CsvReview
{
    QSet<int> refused;              // lines the tool does not take
    QMap<int, QStringList> reports; // line -> messages, in line order
    QMap<QString, QList<int>> unknownTypes;

    void report(int line, const QString &message) { reports[line] << message; }
};

// One report per line: a header row is skipped with a note; lines with quotes, without four
// fields, without a name or without an address are skipped; unknown type names of the lines
// taken are gathered.
CsvReview reviewCsv(const QList<CsvSkippedLine_t> &notes)
{
    CsvReview review;
    for (int i = 0, next = 0; i < notes.size(); i = next) {
        const CsvSkippedLine_t &first = notes.at(i);
        QSet<int> problems;
        for (next = i; next < notes.size() && notes.at(next).lineNumber == first.lineNumber;
             ++next)
            problems.insert(notes.at(next).problem);
        const auto has = [&problems](CsvSkippedLine_t::Problem problem) {
            return problems.contains(problem);
        };
        QString reason;
        if (has(CsvSkippedLine_t::Quoted))
            reason = QStringLiteral("quoted fields are not supported (every \";\" separates "
                                    "fields, and quotes would stay in names)");
        else if (has(CsvSkippedLine_t::FieldCount))
            reason = fieldCountReason(first);
        else if (has(CsvSkippedLine_t::EmptyName))
            reason = QStringLiteral("the tag name is empty");
        else if (has(CsvSkippedLine_t::EmptyAddress))
            reason = QStringLiteral("the address is empty");

        if (has(CsvSkippedLine_t::Header)) {
            review.refused.insert(first.lineNumber);
            review.report(first.lineNumber,
                          QStringLiteral("note: header row skipped: ") + first.text);
        } else if (!reason.isEmpty()) {
            review.refused.insert(first.lineNumber);
            review.report(first.lineNumber, QStringLiteral("line skipped: ") + reason);
        } else if (has(CsvSkippedLine_t::UnknownType)) {
            review.unknownTypes[first.text.section(QLatin1Char(';'), 3).trimmed()]
                << first.lineNumber;
        }
    }
    return review;
}

// "\"STRING\" (lines 3, 7)", "\"X\" (lines 1, 2, 3, 4, 5 and 9 more)"
QString unknownTypeList(const QMap<QString, QList<int>> &types)
{
    QStringList parts;
    for (auto it = types.cbegin(); it != types.cend(); ++it) {
        QStringList lines;
        for (int i = 0; i < it.value().size() && i < MaxTypeLines; ++i)
            lines << QString::number(it.value().at(i));
        QString part = QStringLiteral("\"%1\" (%2 %3").arg(it.key(), it.value().size() == 1
                                                                  ? QStringLiteral("line")
                                                                  : QStringLiteral("lines"),
                                                         lines.join(QLatin1String(", ")));
        if (it.value().size() > MaxTypeLines)
            part += QStringLiteral(" and %1 more").arg(it.value().size() - MaxTypeLines);
        parts << part + QLatin1Char(')');
    }
    return parts.join(QLatin1String(", "));
}

} // namespace

int runDefsImportCsv(const QStringList &args)
{
    CommandParser cp(
        QStringLiteral("defs import-csv [options] CSV... -o FILE"),
        QStringLiteral(
            "Turns CSV tag lists (lines \"unused;address;name;type\") into a definition file.\n"
            "Lines it cannot use are reported with their file and line number and skipped:\n"
            "lines without exactly four fields, lines with quoted fields (there is no quoting:\n"
            "every \";\" separates), lines without a name or an address. A header row is\n"
            "skipped with a note; unknown type names are listed, their tags get type code 2\n"
            "and size 4. The first 20 reports of a file are shown, the rest counted.\n"
            "Imported tags get the ids after the highest id already there, no channel, and a\n"
            "poll frequency of 3. A tag whose name is already defined is reported and not\n"
            "added. Nothing is written when a CSV file cannot be read or has no usable line.\n"
            "An existing output file is only replaced with --into (adding to it) or --force,\n"
            "and then whole or not at all."));
    cp.parser().addOptions({
        {{QStringLiteral("o"), QStringLiteral("output")},
         QStringLiteral("The definition file to write."), QStringLiteral("file")},
        {QStringLiteral("into"),
         QStringLiteral("Add the tags to this definition file, keeping its channels, tags and "
                        "alarms (the result goes to -o, which may be the same file)."),
         QStringLiteral("existing")},
        {QStringLiteral("alternate-type-codes"),
         QStringLiteral("Use the alternate type codes (8 more for every type but LOGIC).")},
        {QStringLiteral("force"), QStringLiteral("Replace an existing output file.")},
    });
    cp.parser().addPositionalArgument(QStringLiteral("CSV"), QStringLiteral("CSV tag lists."),
                                      QStringLiteral("CSV..."));
    int code = ExitOk;
    if (!cp.parse(args, 1, -1, &code))
        return code;
    const QCommandLineParser &p = cp.parser();
    const QString output = p.value(QStringLiteral("output"));
    const QString into = p.value(QStringLiteral("into"));
    if (output.isEmpty()) {
        reportError(ImportCommand, QStringLiteral("the output file is missing (-o FILE)"));
        return ExitUsage;
    }

    TreePtr tree;
    if (p.isSet(QStringLiteral("into"))) {
        QString why;
        tree = loadDefinitionFile(into, &why);
        if (!tree) {
            reportError(ImportCommand, quoted(into) + QLatin1Char(' ') + why
                                           + QStringLiteral("; nothing written"));
            return ExitFailed;
        }
    } else {
        tree.reset(new FileDataTree);
        auto *placeholder = new pKanalDef_t;
        placeholder->Name = PlaceholderChannel;
        tree->ChannelList.append(placeholder);
    }
    const bool replacesInto =
        p.isSet(QStringLiteral("into")) && QFileInfo(output) == QFileInfo(into);
    if (QFileInfo::exists(output) && !replacesInto && !p.isSet(QStringLiteral("force"))) {
        reportError(ImportCommand,
                    quoted(output) + QStringLiteral(" already exists; give --into ")
                        + quoted(output)
                        + QStringLiteral(" to add to it, or --force to replace it; nothing "
                                         "written"));
        return ExitFailed;
    }

    QSet<QString> names;
    // 64 bits, so that counting on past the largest id cannot wrap around.
    qint64 nextId = 1;
    for (const pEtiketDef_t *t : tree->TagList) {
        if (!t)
            continue;
        names.insert(t->Name);
        nextId = qMax(nextId, qint64(t->Id) + 1);
    }
    const qint64 firstId = nextId;

    const bool alternate = p.isSet(QStringLiteral("alternate-type-codes"));
    bool failed = false;
    for (const QString &csv : p.positionalArguments()) {
        QList<CsvSkippedLine_t> notes;
        const TreePtr imported(TgchFileProcessor::loadTagsFromCSV(csv, alternate, &notes));
        if (!imported) {
            // Why the import could not read it: looked up again only now that it failed.
            QString why;
            QByteArray ignored;
            FileAccess::readFile(csv, &ignored, &why);
            reportError(ImportCommand,
                        QStringLiteral("cannot read the CSV file ") + quoted(csv)
                            + (why.isEmpty() ? QString() : QStringLiteral(": ") + why));
            failed = true;
            continue;
        }
        CsvReview review = reviewCsv(notes);
        const QList<pEtiketDef_t *> tags = qExchange(imported->TagList, {});
        const QList<int> lines = tagLineNumbers(tags.size(), notes);
        int added = 0;
        int existing = 0;
        int refused = 0;
        for (int i = 0; i < tags.size(); ++i) {
            pEtiketDef_t *tag = tags.at(i);
            if (review.refused.contains(lines.at(i))) {
                delete tag;
                ++refused;
                continue;
            }
            if (names.contains(tag->Name)) {
                review.report(lines.at(i), QStringLiteral("tag \"%1\" already exists; not added")
                                               .arg(tag->Name));
                delete tag;
                ++existing;
                continue;
            }
            names.insert(tag->Name);
            // Past the largest id there is no free one left: such tags keep the "none" id -1.
            tag->Id = nextId <= std::numeric_limits<qint32>::max() ? qint32(nextId++) : -1;
            tree->TagList.append(tag);
            ++added;
        }

        int shown = 0;
        for (auto it = review.reports.cbegin(); it != review.reports.cend(); ++it) {
            for (const QString &message : it.value()) {
                if (shown++ < MaxWarnings) {
                    reportError(ImportCommand,
                                QStringLiteral("%1:%2: %3").arg(csv, QString::number(it.key()),
                                                                message));
                }
            }
        }
        if (shown > MaxWarnings) {
            reportError(ImportCommand, QStringLiteral("%1: %2 more reports not shown")
                                           .arg(csv, QString::number(shown - MaxWarnings)));
        }
        if (!review.unknownTypes.isEmpty()) {
            reportError(ImportCommand,
                        QStringLiteral("%1: unknown type names, imported with type code 2 and "
                                       "size 4: %2")
                            .arg(csv, unknownTypeList(review.unknownTypes)));
        }
        const auto leftOut = [](const CsvSkippedLine_t &n) {
            return n.problem == CsvSkippedLine_t::FieldCount;
        };
        const int skipped = int(std::count_if(notes.cbegin(), notes.cend(), leftOut)) + refused;
        QString summary = QStringLiteral("%1: %2 %3 imported")
                              .arg(quoted(csv), QString::number(added),
                                   added == 1 ? QStringLiteral("tag") : QStringLiteral("tags"));
        if (skipped)
            summary += QStringLiteral(", %1 %2 skipped")
                           .arg(skipped)
                           .arg(skipped == 1 ? QStringLiteral("line") : QStringLiteral("lines"));
        if (existing)
            summary += QStringLiteral(", %1 already defined").arg(existing);
        printLine(out(), summary);
        if (added + existing == 0) {
            reportError(ImportCommand, quoted(csv) + QStringLiteral(" has no usable line"));
            failed = true;
        }
    }
    if (failed) {
        reportError(ImportCommand, quoted(output) + QStringLiteral(" not written"));
        return ExitFailed;
    }
    if (!TgchFileProcessor::writeToFile(tree.get(), output)) {
        reportError(ImportCommand, QStringLiteral("cannot write ") + quoted(output)
                                       + QStringLiteral(": ") + FileAccess::lastSaveError()
                                       + QStringLiteral("; any file there is left as it was"));
        return ExitFailed;
    }
    QString summary = QStringLiteral("wrote %1: %2 channels, %3 tags, %4 alarms")
                          .arg(quoted(output), QString::number(realChannels(*tree).size()),
                               QString::number(tree->TagList.size()),
                               QString::number(tree->AlarmList.size()));
    if (nextId > firstId)
        summary += QStringLiteral(" (new tag ids %1 to %2)").arg(firstId).arg(nextId - 1);
    printLine(out(), summary);
    return ExitOk;
}
