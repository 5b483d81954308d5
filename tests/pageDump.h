#pragma once
// One line per field of a page and its item records ("scadaObjects[1].Tooltip=..."), taken from
// the library's field tables, so that a whole page is compared in one go and a failure names
// the field that differs; and the page tests' loading, saving and comparing helpers.
#include <recordFields_p.h>
#include <scaFileProcessor.h>

#include <QBrush>
#include <QFile>
#include <QScopedPointer>
#include <QFont>
#include <QRegularExpression>
#include <QSize>
#include <QStringList>

#include <algorithm>

namespace pagedump {

inline QString text(const QString &s) { return QLatin1Char('"') + s + QLatin1Char('"'); }
inline QString color(const QColor &c)
{
    return c.isValid() ? c.name(QColor::HexArgb) : QStringLiteral("invalid");
}
template <class T>
QString list(const QList<T> &values, QString (*format)(T))
{
    QStringList parts;
    for (T v : values)
        parts << format(v);
    return QLatin1Char('{') + parts.join(QLatin1Char(',')) + QLatin1Char('}');
}
inline QString real(double v) { return QString::number(v, 'g', 9); }
inline QString integer(int v) { return QString::number(v); }

inline QString valueText(const QVariant &v)
{
    switch (v.userType()) {
    case QMetaType::UnknownType: return QStringLiteral("null");
    case QMetaType::Bool: return v.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QMetaType::Float:
    case QMetaType::Double: return real(v.toDouble());
    case QMetaType::QString: return text(v.toString());
    case QMetaType::QByteArray: return text(QString::fromLatin1(v.toByteArray().toHex()));
    case QMetaType::QStringList: return '{' + v.toStringList().join('|') + '}';
    case QMetaType::QColor: return color(v.value<QColor>());
    case QMetaType::QFont: return text(v.value<QFont>().toString());
    case QMetaType::QBrush:
        return QString::number(v.value<QBrush>().style()) + '/' + color(v.value<QBrush>().color());
    case QMetaType::QSize:
        return QString::number(v.toSize().width()) + 'x' + QString::number(v.toSize().height());
    }
    if (v.userType() == qMetaTypeId<QList<int>>())
        return list(v.value<QList<int>>(), integer);
    if (v.userType() == qMetaTypeId<QList<double>>())
        return list(v.value<QList<double>>(), real);
    return v.toString();
}

// "name=value" per field; a chart line and a scroll tag take one line each.
inline QStringList lines(const RecordFields &fields)
{
    static const QRegularExpression entry("^(.*(?:TagIDs|scrollTags)\\[\\d+\\])\\.\\w+$");
    QStringList out;
    QString group;
    QStringList values;
    const auto flush = [&] {
        if (values.size() == 5)
            out << QStringLiteral("%1=Tag %2,aux %3/%4,LineColor %5,LineStyle %6")
                           .arg(group, values[0], values[1], values[2], values[3], values[4]);
        else if (!values.isEmpty())
            out << group + '=' + values.join(',');
        values.clear();
    };
    for (const RecordField &f : fields) {
        const QRegularExpressionMatch m = entry.match(f.name);
        if (!m.hasMatch() || m.captured(1) != group)
            flush();
        group = m.captured(1);
        if (m.hasMatch())
            values << valueText(f.value);
        else
            out << f.name + '=' + valueText(f.value);
    }
    flush();
    return out;
}

inline QStringList prefixed(const QString &prefix, const QStringList &lines)
{
    QStringList out;
    for (const QString &line : lines)
        out << prefix + line;
    return out;
}

template <class Record>
QStringList dump(const Record &r)
{
    return lines(fieldsOf(r));
}
// Every field but `base`.
template <class Record>
QStringList dumpFields(const Record &r)
{
    return dump(r).filter(QRegularExpression("^(?!base\\.)"));
}

template <class Record>
QStringList dumpList(const QString &name, const QList<Record *> &records)
{
    QStringList out = {name + ".size=" + QString::number(records.size())};
    for (int i = 0; i < records.size(); ++i) {
        const QString p = QStringLiteral("%1[%2].").arg(name).arg(i);
        out += records.at(i) ? prefixed(p, dump(*records.at(i))) : QStringList(p + "null");
    }
    return out;
}

inline QStringList dump(const ScaFileData &page)
{
    QStringList out;
    out += dumpList("scadaObjects", page.scadaObjects);
    out += dumpList("textItems", page.textItems);
    out += dumpList("scheduleItems", page.scheduleItems);
    out += dumpList("rtChartItems", page.rtChartItems);
    out += dumpList("dbqTextItems", page.dbqTextItems);
    out += dumpList("tableItems", page.tableItems);
    out += dumpList("gaugeItems", page.gaugeItems);
    out += dumpList("imageItems", page.imageItems);
    out += dumpList("webFrameItems", page.webFrameItems);
    out << "labelTagIds=" + valueText(QVariant::fromValue(page.labelTagIds));
    QStringList keys = page.templateTagIdsInUse.keys();
    std::sort(keys.begin(), keys.end());
    for (const QString &key : keys) {
        QStringList ids;
        for (const QVariant &id : page.templateTagIdsInUse.value(key).toList())
            ids << id.toString();
        out << "templateTagIdsInUse[" + key + "]={" + ids.join(',') + '}';
    }
    out << "pageFunctionLinks=" + valueText(page.pageFunctionLinks)
        << "auxList=" + valueText(QVariant::fromValue(page.auxList))
        << "layerIds=" + valueText(QVariant::fromValue(page.layerIds));
    for (int i = 0; i < page.layers.size(); ++i)
        out += prefixed(QStringLiteral("layers[%1].").arg(i), dump(page.layers.at(i)));
    out << "auxFlag1=" + valueText(page.auxFlag1) << "auxFlag2=" + valueText(page.auxFlag2);
    out += prefixed("pageProperties.", dump(page.pageProperties));
    out << "auxFlag3=" + valueText(page.auxFlag3) << "auxFlag4=" + valueText(page.auxFlag4);
    return out;
}

// Deletes a page together with every item record it holds.
inline void deletePage(ScaFileData *page)
{
    if (page)
        page->deleteAllItems();
    delete page;
}

struct PageDeleter
{
    static void cleanup(ScaFileData *page) { deletePage(page); }
};
using Page = QScopedPointer<ScaFileData, PageDeleter>;

inline QByteArray fileContent(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

#ifdef TIRREL_TEST_DATA // the tests' fixtures; the fuzz harnesses share the rest of this header
inline QString fixture(const QString &name)
{
    return QStringLiteral(TIRREL_TEST_DATA "/pages/") + name;
}
#endif

// The page of a file holding the given items ("Item" elements).
inline ScaFileData *loadItems(const QByteArray &items)
{
    return ScaFileProcessor::loadFileData("<ScadaFile><ItemList>" + items + "</ItemList></ScadaFile>",
                                          QString());
}

// Saves the page and loads it again; the new page's fileName is `path`.
inline ScaFileData *saveAndLoad(ScaFileData *page, const QString &path = QStringLiteral("page.xml"))
{
    if (!ScaFileProcessor::saveFileData(page, path))
        return nullptr;
    return ScaFileProcessor::loadFileData(fileContent(path), path);
}

// One line per tag binding: "tag itemType#index "name" uid slot[slotIndex]".
inline QStringList bindingLines(const ScaFileData &page)
{
    QStringList lines;
    for (const TagBinding_t &b : page.tagBindings()) {
        lines << QStringLiteral("%1 %2#%3 \"%4\" %5 %6[%7]")
                     .arg(b.tagId).arg(b.itemType).arg(b.itemIndex).arg(b.itemName).arg(b.uid)
                     .arg(b.slot).arg(b.slotIndex);
    }
    return lines;
}

} // namespace pagedump

// Compares two texts line by line, so that a failure shows the first line that differs.
#define PAGE_COMPARE_LINES(actual, expected)                                                     \
    do {                                                                                         \
        const QList<QByteArray> a_ = (actual).split('\n');                                       \
        const QList<QByteArray> e_ = (expected).split('\n');                                     \
        for (int i_ = 0; i_ < qMax(a_.size(), e_.size()); ++i_) {                                \
            const QByteArray line_ = QByteArray::number(i_ + 1) + ": ";                          \
            QCOMPARE(line_ + a_.value(i_, "(missing)"), line_ + e_.value(i_, "(missing)"));      \
        }                                                                                        \
    } while (false)
