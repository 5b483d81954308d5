#include "recordDiff.h"

#include <QBrush>
#include <QColor>
#include <QFont>
#include <QHash>
#include <QLocale>
#include <QSize>
#include <QStringList>

#include <algorithm>
#include <cmath>

namespace recorddiff {

namespace {

QString realText(double value)
{
    if (std::isnan(value))
        return QStringLiteral("nan");
    if (std::isinf(value))
        return value < 0 ? QStringLiteral("-inf") : QStringLiteral("inf");
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

// The shortest text that reads back as the same float (0.1, not 0.100000001490116).
QString floatText(float value)
{
    if (!std::isfinite(value))
        return realText(value);
    for (int precision = 1; precision < 9; ++precision) {
        const QString text = QString::number(double(value), 'g', precision);
        if (text.toFloat() == value)
            return text;
    }
    return QString::number(double(value), 'g', 9);
}

QString colorText(const QColor &color)
{
    if (!color.isValid())
        return QStringLiteral("invalid");
    return color.name(color.alpha() == 255 ? QColor::HexRgb : QColor::HexArgb);
}

template <class T>
QString listText(const QList<T> &values, QString (*text)(T))
{
    QStringList parts;
    for (const T &value : values)
        parts << text(value);
    return QLatin1Char('{') + parts.join(QLatin1Char(',')) + QLatin1Char('}');
}

QString intText(int value) { return QString::number(value); }

bool sameValue(const QVariant &a, const QVariant &b)
{
    return a.userType() == b.userType() && valueText(a) == valueText(b);
}

QVariant valueOf(const RecordFields &fields, const QString &name, bool *found = nullptr)
{
    for (const RecordField &field : fields) {
        if (field.name == name) {
            if (found)
                *found = true;
            return field.value;
        }
    }
    if (found)
        *found = false;
    return QVariant();
}

// One record as the pairing sees it.
struct Entry
{
    QString itemType;
    int index = -1;
    QString name;
    QVariant id;
    QString key;            // records with the same key are the same record
    QString place;          // where it stands, preferred among records of the same key
    bool byPlace = false;   // may be paired by place alone when no record has its key
    RecordFields fields;
};

// For each new entry, the old entry it pairs with (-1: none): same key and place first, then
// same key, then (entries that allow it) same place; within each, in list order.
QVector<int> pairEntries(const QVector<Entry> &olds, const QVector<Entry> &news)
{
    QVector<int> oldOf(news.size(), -1);
    QVector<bool> taken(olds.size(), false);
    const auto pass = [&](QString (*keyOf)(const Entry &)) {
        struct Bucket
        {
            QVector<int> olds;
            int next = 0;
        };
        QHash<QString, Bucket> buckets;
        for (int i = 0; i < olds.size(); ++i) {
            const QString key = keyOf(olds.at(i));
            if (!taken.at(i) && !key.isNull())
                buckets[key].olds.append(i);
        }
        for (int j = 0; j < news.size(); ++j) {
            if (oldOf.at(j) >= 0)
                continue;
            const QString key = keyOf(news.at(j));
            const auto it = key.isNull() ? buckets.end() : buckets.find(key);
            if (it == buckets.end() || it->next == it->olds.size())
                continue;
            const int i = it->olds.at(it->next++);
            taken[i] = true;
            oldOf[j] = i;
        }
    };
    pass([](const Entry &e) { return e.key + QChar(0) + e.place; });
    pass([](const Entry &e) { return e.key; });
    pass([](const Entry &e) { return e.byPlace ? e.place : QString(); });
    return oldOf;
}

RecordChange changeOf(RecordChange::Change change, RecordChange::Section section, const Entry &e)
{
    RecordChange c;
    c.change = change;
    c.section = section;
    c.itemType = e.itemType;
    c.index = e.index;
    c.name = e.name;
    c.id = e.id;
    return c;
}

// Changed and added records in the new list's order, then the removed ones in the old list's.
void compareEntries(RecordChange::Section section, const QVector<Entry> &olds,
                    const QVector<Entry> &news, QVector<RecordChange> *changes)
{
    const QVector<int> oldOf = pairEntries(olds, news);
    QVector<bool> paired(olds.size(), false);
    for (int j = 0; j < news.size(); ++j) {
        const int i = oldOf.at(j);
        if (i < 0) {
            changes->append(changeOf(RecordChange::Added, section, news.at(j)));
            continue;
        }
        paired[i] = true;
        const QVector<FieldChange> fields = compareFields(olds.at(i).fields, news.at(j).fields);
        if (!fields.isEmpty()) {
            RecordChange c = changeOf(RecordChange::Changed, section, news.at(j));
            c.fields = fields;
            changes->append(c);
        }
    }
    for (int i = 0; i < olds.size(); ++i) {
        if (!paired.at(i))
            changes->append(changeOf(RecordChange::Removed, section, olds.at(i)));
    }
}

QVector<Entry> itemEntries(const ScaFileData &page)
{
    const QString uidField = QStringLiteral("Uid");
    QVector<Entry> entries;
    for (const PageItemFields &kind : itemFieldsOf(page)) {
        for (int i = 0; i < kind.records.size(); ++i) {
            const RecordFields &fields = kind.records.at(i);
            if (fields.isEmpty())
                continue;
            Entry e;
            e.itemType = kind.itemType;
            e.index = i;
            e.name = valueOf(fields, QStringLiteral("base.Name")).toString();
            bool hasUid = false;
            const QVariant uid = valueOf(fields, uidField, &hasUid);
            const QString kindKey = kind.itemType + QChar(0);
            if (hasUid) {
                e.id = uid;
                e.key = kindKey + QStringLiteral("Uid ") + valueText(uid);
            } else {
                e.key = kindKey + QStringLiteral("name ") + e.name;
                e.byPlace = true;
            }
            e.place = kindKey + valueText(valueOf(fields, QStringLiteral("base.X"))) + QLatin1Char(',')
                      + valueText(valueOf(fields, QStringLiteral("base.Y")));
            e.fields = fields;
            entries.append(e);
        }
    }
    return entries;
}

QVector<Entry> layerEntries(const ScaFileData &page)
{
    QVector<Entry> entries;
    for (int i = 0; i < page.layers.size(); ++i) {
        const LayerInfo &layer = page.layers.at(i);
        Entry e;
        e.index = i;
        e.name = layer.name;
        e.id = layer.id;
        e.key = QString::number(layer.id);
        e.fields = fieldsOf(layer);
        entries.append(e);
    }
    return entries;
}

// Channels and tags by Id, alarms by name.
template <class R>
QVector<Entry> definitionEntries(const QList<R *> &records, QString (*keyOf)(const R &),
                                 QString (*nameOf)(const R &))
{
    QVector<Entry> entries;
    for (int i = 0; i < records.size(); ++i) {
        if (!records.at(i))
            continue;
        const R &r = *records.at(i);
        Entry e;
        e.index = i;
        e.name = nameOf(r);
        e.id = r.Id;
        e.key = keyOf(r);
        e.fields = fieldsOf(r);
        entries.append(e);
    }
    return entries;
}

template <class R>
QString idKey(const R &record) { return QString::number(record.Id); }
template <class R>
QString nameOf(const R &record) { return record.Name; }
QString alarmName(const pAlarmItem_t &alarm) { return alarm.alarm_name; }

// The page's properties without fileName, which holds the path the page was read from.
RecordFields propertyFields(const ScaFileData &page)
{
    RecordFields fields = fieldsOf(page.pageProperties);
    fields.erase(std::remove_if(fields.begin(), fields.end(), [](const RecordField &f) {
                     return f.name == QLatin1String("fileName");
                 }), fields.end());
    return fields;
}

} // namespace

QString valueText(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
        return QStringLiteral("null");
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QMetaType::Char:       // the 8-bit members, numbers like the others
    case QMetaType::SChar:
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return QString::number(value.toLongLong());
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return QString::number(value.toULongLong());
    case QMetaType::Float:
        return floatText(value.toFloat());
    case QMetaType::Double:
        return realText(value.toDouble());
    case QMetaType::QString: {
        QString text = value.toString();
        text.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
        text.replace(QLatin1Char('"'), QLatin1String("\\\""));
        return QLatin1Char('"') + text + QLatin1Char('"');
    }
    case QMetaType::QByteArray:
        return QString::fromLatin1(value.toByteArray().toHex());
    case QMetaType::QColor:
        return colorText(value.value<QColor>());
    case QMetaType::QFont:
        return value.value<QFont>().toString();
    case QMetaType::QBrush: {
        const QBrush brush = value.value<QBrush>();
        return QStringLiteral("style %1 %2").arg(int(brush.style())).arg(colorText(brush.color()));
    }
    case QMetaType::QSize:
        return QStringLiteral("%1x%2").arg(value.toSize().width()).arg(value.toSize().height());
    case QMetaType::QStringList: {
        QStringList texts;
        for (const QString &text : value.toStringList())
            texts << valueText(text);
        return QLatin1Char('{') + texts.join(QLatin1Char(',')) + QLatin1Char('}');
    }
    }
    if (value.userType() == qMetaTypeId<QList<int>>())
        return listText(value.value<QList<int>>(), intText);
    if (value.userType() == qMetaTypeId<QList<double>>())
        return listText(value.value<QList<double>>(), realText);
    return value.toString();
}

QVector<FieldChange> compareFields(const RecordFields &oldFields, const RecordFields &newFields)
{
    QHash<QString, int> oldAt;
    for (int i = 0; i < oldFields.size(); ++i)
        oldAt.insert(oldFields.at(i).name, i);
    QHash<QString, int> newAt;
    for (int j = 0; j < newFields.size(); ++j)
        newAt.insert(newFields.at(j).name, j);

    QVector<FieldChange> changes;
    int nextOld = 0;
    // The old listing's fields that the new one lacks, up to (not including) position end.
    const auto removedUpTo = [&](int end) {
        for (; nextOld < end; ++nextOld) {
            const RecordField &f = oldFields.at(nextOld);
            if (!newAt.contains(f.name))
                changes.append({f.name, f.value, QVariant(), true, false});
        }
    };
    for (const RecordField &f : newFields) {
        const auto old = oldAt.constFind(f.name);
        if (old == oldAt.cend()) {
            changes.append({f.name, QVariant(), f.value, false, true});
            continue;
        }
        removedUpTo(*old);
        nextOld = qMax(nextOld, *old + 1);
        const QVariant &oldValue = oldFields.at(*old).value;
        if (!sameValue(oldValue, f.value))
            changes.append({f.name, oldValue, f.value, true, true});
    }
    removedUpTo(oldFields.size());
    return changes;
}

QVector<RecordChange> comparePages(const ScaFileData &oldPage, const ScaFileData &newPage)
{
    QVector<RecordChange> changes;
    const QVector<FieldChange> properties =
            compareFields(propertyFields(oldPage), propertyFields(newPage));
    if (!properties.isEmpty()) {
        RecordChange c;
        c.section = RecordChange::PageProperties;
        c.fields = properties;
        changes.append(c);
    }
    compareEntries(RecordChange::Layer, layerEntries(oldPage), layerEntries(newPage), &changes);
    compareEntries(RecordChange::Item, itemEntries(oldPage), itemEntries(newPage), &changes);
    return changes;
}

QVector<RecordChange> compareDefinitions(const FileDataTree &oldTree, const FileDataTree &newTree)
{
    QVector<RecordChange> changes;
    compareEntries(RecordChange::Channel,
                   definitionEntries(oldTree.ChannelList, idKey, nameOf),
                   definitionEntries(newTree.ChannelList, idKey, nameOf), &changes);
    compareEntries(RecordChange::Tag, definitionEntries(oldTree.TagList, idKey, nameOf),
                   definitionEntries(newTree.TagList, idKey, nameOf), &changes);
    compareEntries(RecordChange::Alarm, definitionEntries(oldTree.AlarmList, alarmName, alarmName),
                   definitionEntries(newTree.AlarmList, alarmName, alarmName), &changes);
    return changes;
}

} // namespace recorddiff
