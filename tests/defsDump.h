#pragma once
// One line per member of the definition records ("Tag[1].Macro=..."), taken from the library's
// field tables, so that a whole tree is compared in one go and a failure names the member that
// differs.
#include <recordFields_p.h>

#include <QFile>
#include <QStringList>

namespace defs {

inline QString valueText(const QVariant &v)
{
    switch (v.userType()) {
    case QMetaType::Double: return QString::number(v.toDouble(), 'g', 17);
    case QMetaType::QString: return QLatin1Char('"') + v.toString() + QLatin1Char('"');
    }
    if (v.userType() == qMetaTypeId<QList<int>>()) {
        QStringList numbers;
        for (int n : v.value<QList<int>>())
            numbers << QString::number(n);
        return '{' + numbers.join(',') + '}';
    }
    return QString::number(v.toLongLong());
}

template <class R, class = decltype(fieldsOf(std::declval<const R &>()))>
QStringList dump(const R &record)
{
    QStringList lines;
    for (const RecordField &f : fieldsOf(record))
        lines << f.name + '=' + valueText(f.value);
    return lines;
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

// A file's lines, for COMPARE_DUMPS.
inline QStringList lines(const QByteArray &bytes)
{
    return QString::fromUtf8(bytes).split('\n');
}

inline bool writeAll(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

} // namespace defs

// Compares two dumps line by line, so that a failure shows the first member that differs (in a
// Qt Test program).
#define COMPARE_DUMPS(actual, expected)                                                          \
    do {                                                                                         \
        const QStringList actual_ = (actual);                                                    \
        const QStringList expected_ = (expected);                                                \
        for (int i_ = 0; i_ < qMax(actual_.size(), expected_.size()); ++i_)                      \
            QCOMPARE(actual_.value(i_, QStringLiteral("(missing)")),                             \
                     expected_.value(i_, QStringLiteral("(missing)")));                          \
    } while (false)
