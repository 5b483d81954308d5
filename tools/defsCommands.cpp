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
    QString name = t.KanalName.isEmpty() ? QStringLiteral("-") : t.KanalName;
    return QStringLiteral("%1 (%2)").arg(name).arg(t.Kanal_Id);
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
                                : QStringLiteral("%1:%2").arg(c->ServerIP).arg(c->ServerPORT),
                            QStringLiteral("COM%1 %2").arg(c->Comport).arg(c->Baudrate),
                            flag(c->Enabled)};
    }
    s << "  channels:\n";
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
    s << "  tags:\n";
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
    s << "  alarms:\n";
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
    s << path << "\n"
      << "  channels: " << channels.size() << "\n"
      << "  tags:     " << tree->TagList.size() << "\n"
      << "  alarms:   " << tree->AlarmList.size() << "\n";
    if (list)
        printLists(*tree);
    return ExitOk;
}

// ---- defs import-csv ----------------------------------------------------------------------------

namespace {

// The line number of each imported tag: the CSV import makes one tag per line it does not skip,
// in file order.
QList<int> tagLineNumbers(int tagCount, const QList<CsvSkippedLine_t> &skipped)
{
    QSet<int> skippedLines;
    for (const CsvSkippedLine_t &s : skipped)
        skippedLines.insert(s.lineNumber);
    QList<int> lines;
    int line = 1;
    for (int i = 0; i < tagCount; ++i) {
        while (skippedLines.contains(line))
            ++line;
        lines.append(line++);
    }
    return lines;
}

QString skipReason(const CsvSkippedLine_t &line)
{
    if (line.text.trimmed().isEmpty())
        return QStringLiteral("empty line");
    return QStringLiteral("%1 %2, a tag line has 4")
        .arg(line.fieldCount)
        .arg(line.fieldCount == 1 ? QStringLiteral("field") : QStringLiteral("fields"));
}

} // namespace

int runDefsImportCsv(const QStringList &args)
{
    CommandParser cp(
        QStringLiteral("defs import-csv [options] CSV... -o FILE"),
        QStringLiteral(
            "Turns CSV tag lists (lines \"unused;address;name;type\") into a definition file.\n"
            "Every line without exactly four fields is skipped and reported with its file,\n"
            "line number and field count. Imported tags get the ids after the highest id\n"
            "already there, no channel, and a poll frequency of 3. A tag whose name is\n"
            "already defined is reported and not added.\n"
            "An existing output file is only replaced with --into (adding to it) or --force."));
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
        QList<CsvSkippedLine_t> skipped;
        const TreePtr imported(TgchFileProcessor::loadTagsFromCSV(csv, alternate, &skipped));
        if (!imported) {
            QString why;
            QByteArray ignored;
            readWholeFile(csv, &ignored, &why);
            reportError(ImportCommand,
                        QStringLiteral("cannot read the CSV file ") + quoted(csv)
                            + (why.isEmpty() ? QString() : QStringLiteral(": ") + why));
            failed = true;
            continue;
        }
        // Reported in line order: skipped lines and tags that are not added alike.
        QMap<int, QString> reports;
        for (const CsvSkippedLine_t &line : skipped) {
            reports.insert(line.lineNumber,
                           QStringLiteral("line skipped: %1").arg(skipReason(line)));
        }
        const QList<pEtiketDef_t *> tags = qExchange(imported->TagList, {});
        const QList<int> lines = tagLineNumbers(tags.size(), skipped);
        int added = 0;
        int existing = 0;
        for (int i = 0; i < tags.size(); ++i) {
            pEtiketDef_t *tag = tags.at(i);
            if (names.contains(tag->Name)) {
                reports.insert(lines.at(i), QStringLiteral("tag \"%1\" already exists; not added")
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
        for (auto it = reports.cbegin(); it != reports.cend(); ++it)
            reportError(ImportCommand,
                        QStringLiteral("%1:%2: %3").arg(csv).arg(it.key()).arg(it.value()));
        out() << csv << ": " << added << (added == 1 ? " tag" : " tags") << " imported";
        if (!skipped.isEmpty())
            out() << ", " << skipped.size() << (skipped.size() == 1 ? " line" : " lines")
                  << " skipped";
        if (existing)
            out() << ", " << existing << " already defined";
        out() << "\n";
    }
    if (failed) {
        reportError(ImportCommand, quoted(output) + QStringLiteral(" not written"));
        return ExitFailed;
    }
    if (!TgchFileProcessor::writeToFile(tree.get(), output)) {
        reportError(ImportCommand, QStringLiteral("cannot write ") + quoted(output)
                                       + QStringLiteral("; any file there is left as it was"));
        return ExitFailed;
    }
    out() << "wrote " << output << ": " << realChannels(*tree).size() << " channels, "
          << tree->TagList.size() << " tags, " << tree->AlarmList.size() << " alarms";
    if (nextId > firstId)
        out() << " (new tag ids " << firstId << " to " << nextId - 1 << ")";
    out() << "\n";
    return ExitOk;
}
