// Text items: the record's reader, content writer and copy. A text item does not use the common
// envelope: its position, size, rotation and stacking value are elements of their own, and its
// "Properties" carries "Name", "LayerId", "GroupId" and "GZVAL" in that order.

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"
#include "scaItemKinds_p.h"

#include <QFontMetrics>
#include <QGuiApplication>

#include <algorithm>
#include <limits>

using namespace PageXml;

namespace {

const int TextItemKind = 2;

// Children of "Item" that the reader looks for; the enum indexes childName. The first ones are
// in writing order; "TextSize" and "GZVal" are only read.
enum Child {
    ItemText, TextColor, BgColor, TextPixelSize, Alignment, ZVal, DrawPaper, IsItalic,
    IsUnderlined, Family, IsBold, SvgElement, Width, Height, RotChild, ItemPosX, ItemPosY,
    PropertiesChild, TextSize, GZVal, ChildCount
};
const QString childName[] = {
    QStringLiteral("ItemText"), QStringLiteral("TextColor"), QStringLiteral("BgColor"),
    QStringLiteral("TextPixelSize"), QStringLiteral("Alignment"), QStringLiteral("ZVal"),
    QStringLiteral("DrawPaper"), QStringLiteral("IsItalic"), QStringLiteral("IsUnderlined"),
    QStringLiteral("Family"), QStringLiteral("IsBold"), QStringLiteral("SvgElement"),
    QStringLiteral("Width"), QStringLiteral("Height"), Rot, QStringLiteral("ItemPosX"),
    QStringLiteral("ItemPosY"), Properties, QStringLiteral("TextSize"), QStringLiteral("GZVal"),
};
static_assert(sizeof(childName) / sizeof(childName[0]) == ChildCount, "one name per Child");

const ElementNames &childNames()
{
    static const ElementNames names(childName, ChildCount);
    return names;
}

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
QSize measuredSize(const TextItemLoadData_t &r)
{
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return QSize(0, 0);
    QFont font(r.Family);
    font.setStyleHint(QFont::Decorative, QFont::PreferDefault);
    if (r.TextPixelSize > 0) // 0, -1 and other sizes below 1 leave the font's default size
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

TextItemLoadData_t *ScaFileProcessor::textItemFromXML(QDomElement *item)
{
    auto *r = new TextItemLoadData_t;
    ItemBaseData_t &b = *r->base;
    const ChildElements c(item ? *item : QDomElement(), childNames());

    r->ItemText = textOf(c[ItemText]);
    b.X = truncatedToInt(floatOf(c[ItemPosX], 0));
    b.Y = truncatedToInt(floatOf(c[ItemPosY], 0));
    // An empty colour text, like a missing one, leaves the new record's colour.
    const QString textColor = textOf(c[TextColor]);
    if (!textColor.isEmpty())
        r->TextColor = textColor;
    const QString bgColor = textOf(c[BgColor]);
    if (!bgColor.isEmpty())
        r->BgColor = bgColor;
    r->DrawPaper = flagOf(c[DrawPaper], false);
    r->Alignment = intOf(c[Alignment], 0);
    b.ZVAL = intOf(c[ZVal], 0);
    // The writer keeps the group stacking value in the "GZVAL" attribute of "Properties"; a
    // "GZVal" element, where a file has one, takes precedence.
    b.GZVAL = c[GZVal].isNull() ? intAttr(c[PropertiesChild], GZVAL, 0) : intOf(c[GZVal], 0);
    r->SvgElement = textOf(c[SvgElement]);
    r->TextPixelSize = intOf(c[TextPixelSize], 0);
    if (noPixelSize(r->TextPixelSize))
        r->TextPixelSize = intOf(c[TextSize], 0);
    r->Family = textOf(c[Family], r->Family); // only a missing element gives "Arial"
    r->IsBold = flagOf(c[IsBold], false);
    r->IsItalic = flagOf(c[IsItalic], false);
    r->IsUnderlined = flagOf(c[IsUnderlined], false);

    // The font is built only when a size is missing.
    const QSize measured = c[Width].isNull() || c[Height].isNull() ? measuredSize(*r) : QSize();
    b.W = c[Width].isNull() ? measured.width() : intOf(c[Width], 0);
    b.H = c[Height].isNull() ? measured.height() : intOf(c[Height], 0);
    b.Rot = intOf(c[RotChild], 0);

    readItemProperties(c[PropertiesChild], &b);
    b.HFlip = false;
    b.VFlip = false;
    b.itemKind = TextItemKind;
    return r;
}

void writeTextItem(QXmlStreamWriter &w, const TextItemLoadData_t &r)
{
    const ItemBaseData_t &b = *r.base;
    writeCData(w, childName[ItemText], r.ItemText);
    writeText(w, childName[TextColor], r.TextColor);
    writeText(w, childName[BgColor], r.BgColor);
    writeInt(w, childName[TextPixelSize], r.TextPixelSize);
    writeInt(w, childName[Alignment], r.Alignment);
    writeInt(w, childName[ZVal], b.ZVAL);
    writeFlag(w, childName[DrawPaper], r.DrawPaper);
    writeFlag(w, childName[IsItalic], r.IsItalic);
    writeFlag(w, childName[IsUnderlined], r.IsUnderlined);
    writeText(w, childName[Family], r.Family);
    writeFlag(w, childName[IsBold], r.IsBold);
    writeText(w, childName[SvgElement], r.SvgElement);
    writeInt(w, childName[Width], b.W);
    writeInt(w, childName[Height], b.H);
    writeInt(w, childName[RotChild], b.Rot);
    writeInt(w, childName[ItemPosX], b.X);
    writeInt(w, childName[ItemPosY], b.Y);
    w.writeEmptyElement(Properties);
    writeAttr(w, Name, b.Name);
    writeAttr(w, LayerId, b.LayerId);
    writeAttr(w, GroupId, b.GroupId);
    writeAttr(w, GZVAL, b.GZVAL);
}

void copyTextItemData(TextItemLoadData_t *target, const TextItemLoadData_t *source)
{
    copyRecordFields(target, source);
}
