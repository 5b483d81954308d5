#pragma once
// One line per member of the definition records ("Tag[1].Macro=..."), so that a whole tree is
// compared in one go and a failure names the member that differs.
#include <tgchFileProcessor.h>

#include <QStringList>
#include <QtTest>

namespace defs {

inline QString num(double v) { return QString::number(v, 'g', 17); }
inline QString num(qint64 v) { return QString::number(v); }
inline QString text(const QString &s) { return QLatin1Char('"') + s + QLatin1Char('"'); }

inline QStringList dump(const pKanalDef_t &c)
{
    return {
        "Name=" + text(c.Name), "Id=" + num(qint64(c.Id)), "MediaType=" + num(qint64(c.MediaType)),
        "SocketType=" + num(qint64(c.SocketType)), "ProtokolType=" + num(qint64(c.ProtokolType)),
        "ServerIP=" + text(c.ServerIP), "ServerPORT=" + num(qint64(c.ServerPORT)),
        "ListenPORT=" + num(qint64(c.ListenPORT)), "FilterIP=" + text(c.FilterIP),
        "Comport=" + num(qint64(c.Comport)), "Baudrate=" + num(qint64(c.Baudrate)),
        "Databit=" + num(qint64(c.Databit)), "Stopbit=" + num(qint64(c.Stopbit)),
        "Paritybit=" + num(qint64(c.Paritybit)),
        "ResponseTimeout=" + num(qint64(c.ResponseTimeout)),
        "ConnectionTimeout=" + num(qint64(c.ConnectionTimeout)),
        "FrameTimeout=" + num(qint64(c.FrameTimeout)), "GroupID=" + num(qint64(c.GroupID)),
        "Station=" + text(c.Station), "Enabled=" + num(qint64(c.Enabled)),
        "KestrinPath=" + text(c.KestrinPath), "Description=" + text(c.Description),
    };
}

inline QStringList dump(const pEtiketDef_t &t)
{
    return {
        "Name=" + text(t.Name), "Id=" + num(qint64(t.Id)),
        "PollFrequency=" + num(qint64(t.PollFrequency)), "DeviceAddress=" + text(t.DeviceAddress),
        "VariableAddress=" + text(t.VariableAddress), "KanalName=" + text(t.KanalName),
        "Kanal_Id=" + num(qint64(t.Kanal_Id)), "VariableSize=" + num(qint64(t.VariableSize)),
        "Macro=" + text(t.Macro), "VariableType=" + num(qint64(t.VariableType)),
        "IsLogging=" + num(qint64(t.IsLogging)), "PriLevel=" + num(qint64(t.PriLevel)),
        "TagType=" + num(qint64(t.TagType)), "SchedulerIndex=" + num(qint64(t.SchedulerIndex)),
        "LoggingFreq=" + num(t.LoggingFreq), "LoggingMethod=" + num(qint64(t.LoggingMethod)),
        "ReadRight1=" + num(t.ReadRight1), "ReadRight2=" + num(t.ReadRight2),
        "WriteRight1=" + num(t.WriteRight1), "WriteRight2=" + num(t.WriteRight2),
        "Keywords=" + text(t.Keywords), "Enabled=" + num(qint64(t.Enabled)),
        "Description=" + text(t.Description), "UnitName=" + text(t.UnitName),
        "Protocolobjecttype=" + num(qint64(t.Protocolobjecttype)), "Option=" + num(t.Option),
        "filtertype=" + num(qint64(t.filtertype)), "refval1=" + num(t.refval1),
        "refval2=" + num(t.refval2), "Equipment=" + text(t.Equipment),
        "Measuredentity=" + text(t.Measuredentity), "Location=" + text(t.Location),
        "Formula=" + text(t.Formula),
    };
}

inline QStringList dump(const pAlarmItem_t &a)
{
    QStringList subscribers;
    for (qint32 s : a.subscribers)
        subscribers << QString::number(s);
    return {
        "Id=" + num(qint64(a.Id)), "alarm_name=" + text(a.alarm_name),
        "alarm_desc=" + text(a.alarm_desc), "alarm_class=" + text(a.alarm_class),
        "enabled=" + num(qint64(a.enabled)), "ackrequired=" + num(qint64(a.ackrequired)),
        "islogging=" + num(qint64(a.islogging)), "tagID=" + num(qint64(a.tagID)),
        "alarm_type=" + num(qint64(a.alarm_type)), "alarm_level=" + num(qint64(a.alarm_level)),
        "comp_type=" + num(qint64(a.comp_type)), "limitVal=" + num(a.limitVal),
        "checkVal1=" + num(a.checkVal1), "checkVal2=" + num(a.checkVal2),
        "limit_tag_id=" + num(qint64(a.limit_tag_id)),
        "limit_tag2_id=" + num(qint64(a.limit_tag2_id)), "readRight1=" + num(a.readRight1),
        "readRight2=" + num(a.readRight2), "subscribers={" + subscribers.join(',') + '}',
        "currentState=" + num(qint64(a.currentState)),
    };
}

template <class R>
QStringList dumpList(const char *kind, const QList<R *> &records)
{
    QStringList lines;
    for (int i = 0; i < records.size(); ++i) {
        const QString prefix = QStringLiteral("%1[%2].").arg(QLatin1String(kind)).arg(i);
        for (const QString &line : dump(*records.at(i)))
            lines << prefix + line;
    }
    return lines;
}

inline QStringList dump(const FileDataTree *tree)
{
    if (!tree)
        return {QStringLiteral("(null tree)")};
    return dumpList("Channel", tree->ChannelList) + dumpList("Tag", tree->TagList)
           + dumpList("Alarm", tree->AlarmList);
}

// The value part of the line "key=value" of a dump, or a note that the key is missing.
inline QString valueOf(const QStringList &lines, const QString &key)
{
    for (const QString &line : lines) {
        if (line.startsWith(key + '='))
            return line.mid(key.size() + 1);
    }
    return QStringLiteral("(no %1)").arg(key);
}

inline QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

inline bool writeAll(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

} // namespace defs

// Compares two dumps line by line, so that a failure shows the first member that differs.
#define COMPARE_DUMPS(actual, expected)                                                          \
    do {                                                                                         \
        const QStringList actual_ = (actual);                                                    \
        const QStringList expected_ = (expected);                                                \
        for (int i_ = 0; i_ < qMax(actual_.size(), expected_.size()); ++i_)                      \
            QCOMPARE(actual_.value(i_, QStringLiteral("(missing)")),                             \
                     expected_.value(i_, QStringLiteral("(missing)")));                          \
    } while (false)
