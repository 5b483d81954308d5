// Text items: the record's table, reader and copy. A text item does not use the
// common envelope: its position, size, rotation and stacking value are elements of its own, and
// its "Properties" carries "Name", "LayerId", "GroupId" and "GZVAL" in that order.

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QMutex>

#include <algorithm>
#include <limits>

using namespace PageXml;

namespace {

using R = TextItemLoadData_t;
using B = ItemBaseData_t;
using F = FieldRows<R>;

const int TextItemKind = 2;

// Read only: the size used when "TextPixelSize" is 0 or -1, and the group stacking value that
// takes precedence over the "GZVAL" attribute the writer puts on "Properties".
const XmlName TextSize("TextSize");
const XmlName GZVal("GZVal");
// Without these, the size is measured from the text.
const XmlName Width("Width");
const XmlName Height("Height");

// "TextPixelSize" values that mean "none": the reader then takes "TextSize".
bool noPixelSize(int size)
{
    return size == 0 || size == -1;
}

// The measured default width is the doubled text width, at most this.
const qint64 MaxMeasuredWidth = 800;

int clampedToInt(qint64 value)
{
    return int(std::clamp<qint64>(value, std::numeric_limits<int>::min(),
                                  std::numeric_limits<int>::max()));
}

// The size of a text item without "Width" or "Height": twice the text's width in the item's
// font (at most 800) and four times the font's height. Font metrics need the font database of
// a QGuiApplication, and touching it without one crashes, so without one the size is 0.
//
// Pages may be read on several threads at once (tirrel check). QFont and QFontMetrics are
// reentrant and Qt 5 measures text off the GUI thread (each thread gets font engines of its
// own from the shared font database), but the platform's font configuration behind that
// database is not ours to trust with concurrent look-ups, so measurements are made one at a
// time. They are rare: the writer always writes the size.
QSize measuredSize(const R &r)
{
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return QSize(0, 0);
    static QMutex fontMutex;
    const QMutexLocker lock(&fontMutex);
    QFont font(r.Family);
    font.setStyleHint(QFont::Decorative, QFont::PreferDefault);
    // Sizes below 1 (0, -1) leave the font's default size; Qt says so with a warning.
    font.setPixelSize(r.TextPixelSize);
    font.setBold(r.IsBold);
    font.setItalic(r.IsItalic);
    font.setUnderline(r.IsUnderlined);
    const QFontMetrics metrics(font);
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    const qint64 textWidth = metrics.width(r.ItemText);
    QT_WARNING_POP
    return QSize(clampedToInt(std::min(2 * textWidth, MaxMeasuredWidth)),
                 clampedToInt(4 * qint64(metrics.height())));
}

} // namespace

// Writing order.
const FieldTable<R> &textItemTable()
{
    static const FieldTable<R> rows = {
        F::cdata<&R::ItemText>("ItemText"),
        F::element<&R::TextColor, Fields::NonEmptyText>("TextColor"),
        F::element<&R::BgColor, Fields::NonEmptyText>("BgColor"),
        F::element<&R::TextPixelSize>("TextPixelSize"),
        F::element<&R::Alignment>("Alignment"),
        F::element<&B::ZVAL>("ZVal"),
        F::element<&R::DrawPaper>("DrawPaper"),
        F::element<&R::IsItalic>("IsItalic"),
        F::element<&R::IsUnderlined>("IsUnderlined"),
        F::element<&R::Family>("Family"),
        F::element<&R::IsBold>("IsBold"),
        F::element<&R::SvgElement>("SvgElement"),
        F::element<&B::W>(Width),
        F::element<&B::H>(Height),
        F::element<&B::Rot>("Rot"),
        F::element<&B::X, Fields::TruncatedFloat>("ItemPosX"),
        F::element<&B::Y, Fields::TruncatedFloat>("ItemPosY"),
        F::attribute<&B::Name>(Properties, Name),
        F::attribute<&B::LayerId>(Properties, LayerId),
        F::attribute<&B::GroupId>(Properties, GroupId),
        F::attribute<&B::GZVAL>(Properties, GZVAL),
    };
    return rows;
}

template <class Node>
TextItemLoadData_t *readTextItem(const Node &item)
{
    static const FieldReader<R> fields(textItemTable(), {&TextSize, &GZVal, &Width, &Height});
    R *r = newItem<R>(TextItemKind);
    const ChildElements<Node> children = fields.read(item, *r);
    if (noPixelSize(r->TextPixelSize))
        r->TextPixelSize = children[fields.indexOf(TextSize)].text().toInt();
    const Node &gzVal = children[fields.indexOf(GZVal)];
    if (!gzVal.isNull())
        r->base->GZVAL = gzVal.text().toInt();
    // The font is built only when a size is missing.
    const bool noWidth = children[fields.indexOf(Width)].isNull();
    const bool noHeight = children[fields.indexOf(Height)].isNull();
    if (noWidth || noHeight) {
        const QSize measured = measuredSize(*r);
        if (noWidth)
            r->base->W = measured.width();
        if (noHeight)
            r->base->H = measured.height();
    }
    return r;
}
template TextItemLoadData_t *readTextItem(const AuditNode &);
template TextItemLoadData_t *readTextItem(const DomNode &);
template TextItemLoadData_t *readTextItem(const TreeNode &);

TextItemLoadData_t *ScaFileProcessor::textItemFromXML(QDomElement *item)
{
    return readTextItem(item ? DomNode(*item) : DomNode());
}

void copyTextItemData(TextItemLoadData_t *target, const TextItemLoadData_t *source)
{
    copyRecordFields(target, source);
}

RecordFields fieldsOf(const TextItemLoadData_t &item)
{
    return itemFields(item, textItemTable());
}
