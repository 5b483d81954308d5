#include "pageRenderer.h"

#include "projectFileProbe.h"
#include "scaFileData.h"
#include "scaItemKinds_p.h"
#include "scadaEngine.h"
#include "scadaEngine_p.h"
#include "tgchFileProcessor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFontMetricsF>
#include <QImageReader>
#include <QPainter>
#include <QRadialGradient>
#include <QRegularExpression>
#include <QSet>
#include <QtMath>

#include <algorithm>
#include <cmath>

namespace {

// The object library files of a library folder (see scadaEngine.h).
const char StandardLibraryFile[] = "objlib.xml";
const char UserLibraryFile[] = "userlib.xml";

const QSize DefaultPageSize(250, 150);

// Images are read only up to these sizes, pages drawn as images only up to the larger ones.
constexpr int MaxImageSide = 16384;
constexpr qint64 MaxImagePixels = 64LL * 1024 * 1024;
constexpr qint64 MaxPagePixels = 256LL * 1024 * 1024;
// Items placed or sized beyond this are not drawn: no page of a real plant comes near it, and
// the painter's fixed-point arithmetic does not reach much further.
constexpr qreal MaxCoordinate = 1e6;

// Colours of the renderer's own drawing: stand-in boxes, frames, axes.
const QColor InkColor(0x1d, 0x2b, 0x36);
const QColor FrameColor(0x5b, 0x67, 0x70);
const QColor StandInFill(0xe9, 0xee, 0xf2);
const QColor MissingColor(0xc0, 0x39, 0x2b);
const QColor GridColor(0xc8, 0xce, 0xd3);
const QColor ThresholdColor(0xd6, 0x27, 0x28);
const QColor LinkColor(0x1f, 0x5f, 0xa8);
const QColor BarFill(0xdf, 0xe4, 0xe8);

// The family of the renderer's own texts when no font family is imposed.
const char DefaultFamily[] = "Sans Serif";
constexpr int DefaultTextPixelSize = 12;

bool isFiniteValue(qreal v)
{
    return std::isfinite(v);
}

// A colour from the text of a page or a style sheet: "#rgb", "#rrggbb", "#aarrggbb", an SVG
// colour name, "rgb(r, g, b)" or "rgba(r, g, b, a)"; anything else gives the fallback.
QColor colorFrom(const QString &text, const QColor &fallback)
{
    const QString t = text.trimmed();
    static const QRegularExpression rgb(QStringLiteral(
        "^rgba?\\(\\s*(\\d+)\\s*,\\s*(\\d+)\\s*,\\s*(\\d+)\\s*(?:,\\s*(\\d+(?:\\.\\d+)?)\\s*)?\\)$"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch m = rgb.match(t);
    if (m.hasMatch()) {
        QColor c(qBound(0, m.captured(1).toInt(), 255), qBound(0, m.captured(2).toInt(), 255),
                 qBound(0, m.captured(3).toInt(), 255));
        if (!m.captured(4).isEmpty()) {
            const double a = m.captured(4).toDouble();
            c.setAlpha(a <= 1.0 ? qRound(a * 255) : qBound(0, int(a), 255));
        }
        return c;
    }
    const QColor c(t);
    return c.isValid() ? c : fallback;
}

// What the renderer takes from a Qt style sheet: the font, the text and background colours.
struct TextStyle
{
    QString family;
    qreal pixelSize = 0;        // 0: not given
    bool bold = false;
    bool italic = false;
    QColor color;               // invalid: not given
    QColor background;          // invalid: not given
};

qreal pixelsOf(const QString &size)
{
    static const QRegularExpression number(QStringLiteral("^(\\d+(?:\\.\\d+)?)(px|pt)?$"));
    const QRegularExpressionMatch m = number.match(size.trimmed().toLower());
    if (!m.hasMatch())
        return 0;
    const qreal value = m.captured(1).toDouble();
    return m.captured(2) == QLatin1String("pt") ? value * 96.0 / 72.0 : value;
}

TextStyle styleFrom(const QString &styleSheet)
{
    TextStyle style;
    static const QRegularExpression token(QStringLiteral("\"([^\"]*)\"|'([^']*)'|(\\S+)"));
    for (const QString &declaration : styleSheet.split(QLatin1Char(';'))) {
        const int colon = declaration.indexOf(QLatin1Char(':'));
        if (colon < 0)
            continue;
        const QString property = declaration.left(colon).trimmed().toLower();
        const QString value = declaration.mid(colon + 1).trimmed();
        if (property == QLatin1String("color")) {
            style.color = colorFrom(value, QColor());
        } else if (property == QLatin1String("background-color")
                   || property == QLatin1String("background")) {
            style.background = colorFrom(value, QColor());
        } else if (property == QLatin1String("font-size")) {
            style.pixelSize = pixelsOf(value);
        } else if (property == QLatin1String("font-family")) {
            style.family = value;
            style.family.remove(QLatin1Char('"')).remove(QLatin1Char('\''));
        } else if (property == QLatin1String("font-weight")) {
            style.bold = value == QLatin1String("bold") || value.toInt() >= 600;
        } else if (property == QLatin1String("font")) {
            QStringList family;
            auto it = token.globalMatch(value);
            while (it.hasNext()) {
                const QRegularExpressionMatch m = it.next();
                const QString word = m.captured(3);
                if (word.isEmpty()) {
                    family << m.captured(1) + m.captured(2);
                } else if (word == QLatin1String("bold")) {
                    style.bold = true;
                } else if (word == QLatin1String("italic") || word == QLatin1String("oblique")) {
                    style.italic = true;
                } else if (pixelsOf(word) > 0) {
                    style.pixelSize = pixelsOf(word);
                } else if (word != QLatin1String("normal")) {
                    family << word;
                }
            }
            if (!family.isEmpty())
                style.family = family.join(QLatin1Char(' '));
        }
    }
    return style;
}

// Alignment flags of an item: the horizontal and vertical parts, each with its default.
Qt::Alignment alignmentFrom(int code, Qt::Alignment horizontal, Qt::Alignment vertical)
{
    const Qt::Alignment flags(code);
    Qt::Alignment h = flags & Qt::AlignHorizontal_Mask;
    Qt::Alignment v = flags & Qt::AlignVertical_Mask;
    // One flag of each direction; combinations that contradict each other take the default.
    if (h != Qt::AlignLeft && h != Qt::AlignRight && h != Qt::AlignHCenter && h != Qt::AlignJustify)
        h = horizontal;
    if (v != Qt::AlignTop && v != Qt::AlignBottom && v != Qt::AlignVCenter)
        v = vertical;
    return h | v;
}

template <class Record>
const Record *recordAt(const QList<Record *> &list, int index, const ItemBaseData_t *base)
{
    const Record *record = index >= 0 && index < list.size() ? list.at(index) : nullptr;
    return record && record->base && record->base == base ? record : nullptr;
}

QRectF sizedRect(qreal w, qreal h)
{
    return QRectF(0, 0, qMax<qreal>(w, 0), qMax<qreal>(h, 0));
}

void drawElided(QPainter *p, const QRectF &rect, Qt::Alignment alignment, const QString &text)
{
    const QFontMetricsF metrics(p->font());
    p->drawText(rect, int(alignment) | Qt::TextSingleLine,
                metrics.elidedText(text, Qt::ElideRight, qMax<qreal>(rect.width(), 0)));
}

} // namespace

// ---- PageItemRef -----------------------------------------------------------------------------

QString PageItemRef::itemType(Kind kind)
{
    const int k = int(kind);
    return k >= 0 && k < ItemKindCount ? QString(pageItemKinds()[size_t(k)].itemType) : QString();
}

QString PageItemRef::describe() const
{
    QString text = QStringLiteral("%1 #%2").arg(itemType()).arg(index);
    if (base && !base->Name.isEmpty())
        text += QStringLiteral(" \"%1\"").arg(base->Name);
    return text;
}

// ---- Private ---------------------------------------------------------------------------------

class PageRenderer::Private
{
public:
    Options options;

    // The object library: records read here (owned) or given (not owned).
    QList<ScadaLibObject *> ownedLibrary;
    QHash<int, const ScadaLibObject *> byType;
    QHash<int, const ScadaLibObject *> byUserUid;
    bool haveLibrary = false;
    QString standardFolder;
    QString userFolder;

    // Images read so far by resolved path; a null image with the reason it could not be read.
    QHash<QString, QImage> images;
    QHash<QString, QString> imageErrors;

    QStringList warnings;
    QSet<QString> warned;
    QList<DrawnItem> drawn;

    // Set for one render by begin().
    QString folder;
    QHash<int, QString> tagNames;

    ~Private() { qDeleteAll(ownedLibrary); }

    void setLibrary(const QList<ScadaLibObject *> &objects)
    {
        byType.clear();
        byUserUid.clear();
        for (const ScadaLibObject *o : objects) {
            if (!o)
                continue;
            if (!byType.contains(o->objectType))
                byType.insert(o->objectType, o);
            if (o->isUserObject && o->objectType == 0 && !byUserUid.contains(o->objectUID))
                byUserUid.insert(o->objectUID, o);
        }
        haveLibrary = true;
    }

    const ScadaLibObject *libraryType(int type) const
    {
        if (const ScadaLibObject *o = byType.value(type))
            return o;
        return byUserUid.value(type);
    }

    void begin(const ScaFileData &page)
    {
        warnings.clear();
        warned.clear();
        folder = options.projectFolder.isEmpty() ? PageRenderer::projectFolder(page)
                                                 : options.projectFolder;
        tagNames.clear();
        if (options.tagText == TagNames && options.definitions) {
            for (const pEtiketDef_t *tag : options.definitions->TagList) {
                if (tag && !tagNames.contains(tag->Id))
                    tagNames.insert(tag->Id, tag->Name);
            }
        }
    }

    void warn(const QString &what, const QString &message)
    {
        const QString text = what + QStringLiteral(": ") + message;
        if (!warned.contains(text)) {
            warned.insert(text);
            warnings.append(text);
        }
    }

    QString resolve(const QString &base, const QString &path) const
    {
        if (path.isEmpty() || QDir::isAbsolutePath(path) || path.startsWith(QLatin1Char(':')))
            return path;
        return base.isEmpty() ? QDir::cleanPath(path) : QDir::cleanPath(base + QLatin1Char('/') + path);
    }

    // The image at path (resolved already), read once; null with *why set when it cannot be.
    QImage image(const QString &path, QString *why)
    {
        if (images.contains(path)) {
            *why = imageErrors.value(path);
            return images.value(path);
        }
        QImage result;
        QString error;
        // Only regular files are opened: a pipe or a device would block or never end.
        const QFileInfo info(path);
        if (path.isEmpty()) {
            error = QStringLiteral("no image file named");
        } else if (!info.isFile()) {
            error = info.exists() ? QStringLiteral("not a file") : QStringLiteral("no such file");
        } else {
            QImageReader reader(path);
            const QSize size = reader.size();
            if (size.isValid() && (size.width() > MaxImageSide || size.height() > MaxImageSide
                                   || qint64(size.width()) * size.height() > MaxImagePixels)) {
                error = QStringLiteral("%1 x %2 pixels, too large to draw")
                            .arg(size.width()).arg(size.height());
            } else if (!reader.read(&result) || result.isNull()) {
                error = reader.errorString();
                result = QImage();
            } else {
                result = result.convertToFormat(QImage::Format_ARGB32_Premultiplied);
            }
        }
        images.insert(path, result);
        imageErrors.insert(path, error);
        *why = error;
        return result;
    }

    QString tagText(int id) const
    {
        if (id == -1 || options.tagText == NoTagText)
            return QString();
        const QString name = tagNames.value(id);
        return name.isEmpty() ? QStringLiteral("#%1").arg(id) : name;
    }

    QFont font(const QString &family, qreal pixelSize, bool bold = false, bool italic = false,
               bool underline = false) const
    {
        QString f = options.fontFamily;
        if (f.isEmpty())
            f = family.isEmpty() ? QLatin1String(DefaultFamily) : family;
        QFont font(f);
        font.setStyleHint(QFont::SansSerif);
        font.setHintingPreference(QFont::PreferNoHinting);
        font.setPixelSize(qBound(1, isFiniteValue(pixelSize) ? qRound(pixelSize) : 1, 2000));
        font.setBold(bold);
        font.setItalic(italic);
        font.setUnderline(underline);
        return font;
    }

    QFont ownFont(qreal pixelSize, bool bold = false) const
    {
        return font(QString(), pixelSize, bold);
    }

    // ---- Per kind: the rectangle and what is drawn beyond it --------------------------------

    // A text item's font, alignment and the rectangle its text fills (local coordinates).
    struct TextLayout
    {
        QFont font;
        int flags = 0;
        QRectF rect;        // the item's rectangle
        QRectF textRect;    // where the text lands
    };

    TextLayout textLayout(const TextItemLoadData_t &t) const
    {
        TextLayout l;
        l.font = font(t.Family, t.TextPixelSize > 0 ? t.TextPixelSize : DefaultTextPixelSize,
                      t.IsBold, t.IsItalic, t.IsUnderlined);
        l.flags = int(alignmentFrom(t.Alignment, Qt::AlignLeft, Qt::AlignTop)) | Qt::TextDontClip;
        const QFontMetricsF metrics(l.font);
        if (t.base->W > 0 && t.base->H > 0) {
            l.flags |= Qt::TextWordWrap;
            l.rect = sizedRect(t.base->W, t.base->H);
            l.textRect = metrics.boundingRect(l.rect, l.flags, t.ItemText);
        } else {
            l.textRect = metrics.boundingRect(QRectF(0, 0, 0, 0), l.flags, t.ItemText);
            l.textRect.moveTopLeft(QPointF(0, 0));
            l.rect = l.textRect;
        }
        return l;
    }

    struct Label
    {
        QString text;
        QFont font;
        QColor color;
        QColor background;
        QRectF rect;
    };

    // A SCADA object's label: its tag below or beside the object at (lofx, lofy), centred on
    // the object's width.
    Label scadaLabel(const ScadaObjectLoadData_t &o, const QRectF &rect) const
    {
        Label label;
        label.text = tagText(o.tagID_label);
        if (label.text.isEmpty())
            return label;
        const TextStyle style = styleFrom(o.labelStyleSheet);
        label.font = font(style.family, style.pixelSize > 0 ? style.pixelSize : DefaultTextPixelSize,
                          style.bold, style.italic);
        label.color = style.color.isValid() ? style.color : InkColor;
        label.background = style.background;
        const QFontMetricsF metrics(label.font);
        const qreal width = metrics.horizontalAdvance(label.text) + 4;
        label.rect = QRectF(o.lofx + rect.width() / 2 - width / 2, o.lofy, width, metrics.height());
        return label;
    }

    struct DbqLayout
    {
        QString text;
        QFont font;
        QRectF textRect;
    };

    DbqLayout dbqLayout(const DbQueryTextItemLoadData_t &q, const QRectF &rect) const
    {
        DbqLayout l;
        const TextStyle style = styleFrom(q.labelStyleSheet);
        l.font = font(style.family, q.txtPixelSize > 0 ? q.txtPixelSize : 14, style.bold,
                      style.italic);
        l.text = q.labelText + tagText(q.reportTag);
        l.textRect = rect.adjusted(4, 0, -4, 0).translated(q.lofx, q.lofy);
        return l;
    }

    // The item's rectangle in its own coordinates (before the transform).
    QRectF itemRect(const ScaFileData &page, const PageItemRef &ref, QString *problem)
    {
        const ItemBaseData_t &b = *ref.base;
        QRectF rect = sizedRect(b.W, b.H);
        switch (ref.kind) {
        case PageItemRef::ScadaObject:
            if (rect.isEmpty()) {
                const ScadaObjectLoadData_t *o = recordAt(page.scadaObjects, ref.index, ref.base);
                if (const ScadaLibObject *type = o ? libraryType(o->Type) : nullptr)
                    rect = sizedRect(type->width, type->height);
            }
            break;
        case PageItemRef::TextItem:
            if (const TextItemLoadData_t *t = recordAt(page.textItems, ref.index, ref.base))
                rect = textLayout(*t).rect;
            break;
        case PageItemRef::TableItem:
            if (rect.isEmpty()) {
                if (const TableItemLoadData_t *t = recordAt(page.tableItems, ref.index, ref.base))
                    rect = sizedRect(t->TableWidth, t->TableHeight);
            }
            break;
        case PageItemRef::ImageItem:
            if (rect.isEmpty()) {
                if (const ImageItemLoadData_t *i = recordAt(page.imageItems, ref.index, ref.base)) {
                    QString why;
                    rect = QRectF(QPointF(0, 0), image(resolve(folder, i->ImageFile), &why).size());
                }
            }
            break;
        default:
            break;
        }
        if (rect.width() > MaxCoordinate || rect.height() > MaxCoordinate
                || qAbs(qreal(b.X)) > MaxCoordinate || qAbs(qreal(b.Y)) > MaxCoordinate)
            *problem = QStringLiteral("placed or sized beyond %1 units, not drawn").arg(MaxCoordinate);
        return rect;
    }

    // Mirror, then rotate clockwise, both about the centre of the item's rectangle.
    static QTransform itemTransform(const ItemBaseData_t &b, const QRectF &rect)
    {
        const QPointF centre = rect.center();
        QTransform t;
        t.translate(b.X + centre.x(), b.Y + centre.y());
        t.rotate(b.Rot % 360);
        t.scale(b.HFlip ? -1 : 1, b.VFlip ? -1 : 1);
        t.translate(-centre.x(), -centre.y());
        return t;
    }

    // What the item draws, in its own coordinates: its rectangle and what overflows it. Warns
    // about what it cannot draw.
    QRectF extent(const ScaFileData &page, const PageItemRef &ref, const QRectF &rect)
    {
        QRectF box = rect;
        const QString who = ref.describe();
        switch (ref.kind) {
        case PageItemRef::ScadaObject:
            if (const ScadaObjectLoadData_t *o = recordAt(page.scadaObjects, ref.index, ref.base)) {
                if (haveLibrary) {
                    const ScadaLibObject *type = libraryType(o->Type);
                    if (!type) {
                        warn(who, QStringLiteral("object type %1 is not in the object library")
                                      .arg(o->Type));
                    } else if (!type->images.isEmpty()) {
                        QString why;
                        const QString path = libraryImagePath(*type);
                        if (image(path, &why).isNull())
                            warn(who, QStringLiteral("cannot read image %1 (%2)").arg(path, why));
                    }
                }
                const Label label = scadaLabel(*o, rect);
                if (!label.text.isEmpty())
                    box |= label.rect;
            }
            break;
        case PageItemRef::TextItem:
            if (const TextItemLoadData_t *t = recordAt(page.textItems, ref.index, ref.base)) {
                const TextLayout l = textLayout(*t);
                if (!t->ItemText.isEmpty())
                    box |= l.textRect;
            }
            break;
        case PageItemRef::DbqTextItem:
            if (const DbQueryTextItemLoadData_t *q = recordAt(page.dbqTextItems, ref.index, ref.base))
                box |= dbqLayout(*q, rect).textRect;
            break;
        case PageItemRef::ImageItem:
            if (const ImageItemLoadData_t *i = recordAt(page.imageItems, ref.index, ref.base)) {
                QString why;
                const QString path = resolve(folder, i->ImageFile);
                if (image(path, &why).isNull())
                    warn(who, i->ImageFile.isEmpty()
                                  ? QStringLiteral("no image file named")
                                  : QStringLiteral("cannot read image %1 (%2)").arg(path, why));
            }
            break;
        default:
            break;
        }
        return box;
    }

    QString libraryImagePath(const ScadaLibObject &type) const
    {
        return resolve(type.isUserObject ? userFolder : standardFolder, type.images.value(0));
    }

    // ---- Per kind: drawing, in the item's own coordinates ------------------------------------

    // A framed box with a title and a name, in the largest size up to 14 pixels at which both fit.
    void drawStandIn(QPainter *p, const QRectF &rect, const QString &title, const QString &name)
    {
        p->setPen(QPen(FrameColor, 1));
        p->setBrush(StandInFill);
        p->drawRect(rect);
        const QRectF inner = rect.adjusted(3, 2, -3, -2);
        const bool twoLines = !name.isEmpty();
        qreal size = qBound<qreal>(7, inner.height() / (twoLines ? 2.6 : 1.4), 14);
        for (; size > 7; size -= 0.5) {
            const qreal widest = qMax(QFontMetricsF(ownFont(size, true)).horizontalAdvance(title),
                                      QFontMetricsF(ownFont(size)).horizontalAdvance(name));
            if (widest <= inner.width())
                break;
        }
        p->setPen(InkColor);
        if (!twoLines) {
            p->setFont(ownFont(size, true));
            drawElided(p, inner, Qt::AlignCenter, title);
            return;
        }
        const qreal half = inner.height() / 2;
        p->setFont(ownFont(size, true));
        drawElided(p, QRectF(inner.x(), inner.y(), inner.width(), half),
                   Qt::AlignHCenter | Qt::AlignBottom, title);
        p->setFont(ownFont(size));
        drawElided(p, QRectF(inner.x(), inner.y() + half, inner.width(), half),
                   Qt::AlignHCenter | Qt::AlignTop, name);
    }

    void drawCrossedFrame(QPainter *p, const QRectF &rect, const QString &text)
    {
        p->setPen(QPen(MissingColor, 1));
        p->setBrush(Qt::NoBrush);
        p->drawRect(rect);
        p->drawLine(rect.topLeft(), rect.bottomRight());
        p->drawLine(rect.topRight(), rect.bottomLeft());
        if (!text.isEmpty() && rect.height() >= 12) {
            p->setFont(ownFont(qBound<qreal>(8, rect.height() / 8, 13)));
            const QFontMetricsF metrics(p->font());
            const QString shown = metrics.elidedText(text, Qt::ElideMiddle, rect.width() - 8);
            QRectF textRect = metrics.boundingRect(shown).adjusted(-3, -1, 3, 1);
            textRect.moveCenter(rect.center());
            p->fillRect(textRect, QColor(0xff, 0xff, 0xff));
            p->setPen(MissingColor);
            p->drawText(textRect, Qt::AlignCenter | Qt::TextSingleLine, shown);
        }
    }

    void drawScadaObject(QPainter *p, const ScadaObjectLoadData_t &o, const QRectF &rect)
    {
        const ScadaLibObject *type = haveLibrary ? libraryType(o.Type) : nullptr;
        QString why;
        const QImage picture = type && !type->images.isEmpty()
                                   ? image(libraryImagePath(*type), &why) : QImage();
        if (!picture.isNull())
            p->drawImage(rect, picture);
        else
            drawStandIn(p, rect, type ? type->name : QStringLiteral("Type %1").arg(o.Type),
                        o.base->Name);
        const Label label = scadaLabel(o, rect);
        if (label.text.isEmpty())
            return;
        if (label.background.isValid())
            p->fillRect(label.rect, label.background);
        p->setFont(label.font);
        p->setPen(label.color);
        p->drawText(label.rect, Qt::AlignCenter | Qt::TextSingleLine, label.text);
    }

    void drawText(QPainter *p, const TextItemLoadData_t &t)
    {
        const TextLayout l = textLayout(t);
        if (t.DrawPaper)
            p->fillRect(l.rect, colorFrom(t.BgColor, QColor(0xff, 0xff, 0xff)));
        p->setFont(l.font);
        p->setPen(colorFrom(t.TextColor, QColor(0, 0, 0)));
        p->drawText(l.rect, l.flags, t.ItemText);
    }

    void drawDbQueryText(QPainter *p, const DbQueryTextItemLoadData_t &q, const QRectF &rect)
    {
        p->fillRect(rect, colorFrom(q.bgColor, QColor(0, 0, 0)));
        const DbqLayout l = dbqLayout(q, rect);
        p->setFont(l.font);
        p->setPen(colorFrom(q.txtColor, QColor(0xff, 0xff, 0xff)));
        drawElided(p, l.textRect, Qt::AlignLeft | Qt::AlignVCenter, l.text);
    }

    void drawChart(QPainter *p, const RealTimeChartItemLoadData_t &c, const QRectF &rect)
    {
        const QColor ink = colorFrom(c.TxtColor, QColor(0, 0, 0));
        p->setPen(QPen(ink, 1));
        p->setBrush(colorFrom(c.BgColor, QColor(0xff, 0xff, 0xff)));
        p->drawRect(rect);
        QRectF area = rect.adjusted(6, 6, -6, -6);
        const qreal axisSize = qBound(6, c.AxisFontSize, 48);
        const qreal legendSize = qBound(6, c.LegendFontSize, 48);

        if (!c.ChartTitle.isEmpty() && area.height() > axisSize * 3) {
            p->setFont(ownFont(axisSize + 2, true));
            const qreal h = QFontMetricsF(p->font()).height();
            drawElided(p, QRectF(area.x(), area.y(), area.width(), h), Qt::AlignHCenter | Qt::AlignTop,
                       c.ChartTitle);
            area.setTop(area.top() + h + 4);
        }

        if (c.ShowLegend && !c.TagIDs.isEmpty()) {
            p->setFont(ownFont(legendSize));
            const QFontMetricsF metrics(p->font());
            const qreal line = metrics.height() + 2;
            const Qt::Alignment at(c.LegendAlignment);
            const bool beside = at & (Qt::AlignLeft | Qt::AlignRight);
            QStringList entries;
            qreal widest = 0;
            for (const TagData &tag : c.TagIDs) {
                entries << (tag.Tag == -1 ? QStringLiteral("-") : tagText(tag.Tag));
                widest = qMax(widest, metrics.horizontalAdvance(entries.last()) + 22);
            }
            QRectF legend;
            if (beside) {
                const qreal w = qMin(widest, area.width() / 3);
                legend = QRectF(at & Qt::AlignLeft ? area.left() : area.right() - w, area.top(),
                                w, area.height());
                (at & Qt::AlignLeft) ? area.setLeft(legend.right() + 6)
                                     : area.setRight(legend.left() - 6);
            } else {
                const int perRow = qMax(1, int(area.width() / qMax<qreal>(widest, 1)));
                const qreal h = qMin(area.height() / 3,
                                     line * ((entries.size() + perRow - 1) / perRow));
                legend = QRectF(area.left(), at & Qt::AlignTop ? area.top() : area.bottom() - h,
                                area.width(), h);
                (at & Qt::AlignTop) ? area.setTop(legend.bottom() + 4)
                                    : area.setBottom(legend.top() - 4);
            }
            const qreal columnWidth = beside ? legend.width() : qMax<qreal>(widest, 1);
            const int perRow = beside ? 1 : qMax(1, int(legend.width() / columnWidth));
            for (int i = 0; i < entries.size(); ++i) {
                const QPointF origin(legend.left() + (i % perRow) * columnWidth,
                                     legend.top() + (i / perRow) * line);
                if (origin.y() + line > legend.bottom() + 0.5)
                    break;
                p->setPen(QPen(colorFrom(c.TagIDs.at(i).LineColor, QColor(0xff, 0, 0)), 2));
                p->drawLine(QPointF(origin.x() + 2, origin.y() + line / 2),
                            QPointF(origin.x() + 16, origin.y() + line / 2));
                p->setPen(ink);
                drawElided(p, QRectF(origin.x() + 20, origin.y(), columnWidth - 22, line),
                           Qt::AlignLeft | Qt::AlignVCenter, entries.at(i));
            }
        }

        // The plot area with its axes: values at the left, seconds below.
        p->setFont(ownFont(axisSize));
        const QFontMetricsF metrics(p->font());
        const bool limits = c.UpperLimit != c.LowerLimit;
        const qreal labelWidth = limits ? qMax(metrics.horizontalAdvance(QString::number(c.UpperLimit)),
                                               metrics.horizontalAdvance(QString::number(c.LowerLimit))) + 4
                                        : 0;
        QRectF plot = area.adjusted(labelWidth, 0, 0, -(metrics.height() + 2));
        if (plot.width() < 8 || plot.height() < 8)
            return;
        p->setPen(QPen(GridColor, 1));
        p->setBrush(colorFrom(c.PaColor, QColor(0xf9, 0xf3, 0xf7)));
        p->drawRect(plot);
        for (int i = 1; i < 4; ++i) {
            const qreal y = plot.top() + plot.height() * i / 4;
            p->drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
        }
        p->setPen(QPen(ink, 1));
        p->drawLine(plot.bottomLeft(), plot.bottomRight());
        p->drawLine(plot.bottomLeft(), plot.topLeft());
        if (limits) {
            const QRectF labels(area.left(), plot.top() - metrics.height() / 2, labelWidth - 4,
                                plot.height() + metrics.height());
            p->drawText(labels, Qt::AlignRight | Qt::AlignTop, QString::number(c.UpperLimit));
            p->drawText(labels, Qt::AlignRight | Qt::AlignBottom, QString::number(c.LowerLimit));
        }
        const QRectF times(plot.left(), plot.bottom() + 2, plot.width(), metrics.height());
        p->drawText(times, Qt::AlignLeft | Qt::AlignTop,
                    QStringLiteral("-%1 s").arg(qMax(0, c.ShowLastSeconds)));
        p->drawText(times, Qt::AlignRight | Qt::AlignTop, QStringLiteral("0 s"));
    }

    void drawGauge(QPainter *p, const GaugeItemLoadData_t &g, const QRectF &rect)
    {
        const qreal side = qMin(rect.width(), rect.height());
        if (side < 4)
            return;
        QRectF dial(0, 0, side, side);
        dial.moveCenter(rect.center());
        const QPointF centre = dial.center();
        const qreal r = side / 2;
        const QColor foreground = g.Foreground.isValid() ? g.Foreground : QColor(0xff, 0xff, 0xff);

        QRadialGradient face(centre, r);
        face.setColorAt(0, g.Background1.isValid() ? g.Background1 : QColor(0x78, 0x78, 0x78));
        face.setColorAt(1, g.Background2.isValid() ? g.Background2 : QColor(0x04, 0x04, 0x04));
        p->setPen(QPen(FrameColor, 1));
        p->setBrush(face);
        p->drawEllipse(dial.adjusted(0.5, 0.5, -0.5, -0.5));

        const qreal min = isFiniteValue(g.MinValue) ? g.MinValue : 0;
        const qreal max = isFiniteValue(g.MaxValue) ? g.MaxValue : 0;
        const qreal start = isFiniteValue(g.StartAngle) ? g.StartAngle : 225;
        const qreal end = isFiniteValue(g.EndAngle) ? g.EndAngle : -45;
        const auto angleOf = [&](qreal value) {
            const qreal f = max != min ? qBound<qreal>(0, (value - min) / (max - min), 1) : 0;
            return start + f * (end - start);
        };
        const auto pointAt = [&](qreal degrees, qreal radius) {
            const qreal a = qDegreesToRadians(degrees);
            return QPointF(centre.x() + radius * std::cos(a), centre.y() - radius * std::sin(a));
        };
        const qreal scaleRadius = r * 0.82;

        if (g.ThresholdEnabled && isFiniteValue(g.Threshold) && max != min) {
            const qreal from = angleOf(g.Threshold);
            const qreal to = angleOf(max);
            QRectF arc(0, 0, 2 * scaleRadius * 1.06, 2 * scaleRadius * 1.06);
            arc.moveCenter(centre);
            p->setPen(QPen(ThresholdColor, qMax<qreal>(1, side * 0.04), Qt::SolidLine, Qt::FlatCap));
            p->setBrush(Qt::NoBrush);
            p->drawArc(arc, qRound(from * 16), qRound((to - from) * 16));
        }

        // Divisions, labelled with as many decimals as the step needs when the scale's own
        // precision shows fewer (a scale of 0 to 2 in ten steps reads 0.2, 0.4, ...).
        const int steps = qBound(0, g.Steps, 100);
        int precision = qBound(0, g.Precision, 6);
        const qreal step = steps > 0 ? qAbs(max - min) / steps : 0;
        if (step > 0 && step < 1)
            precision = qMax(precision, qMin(6, int(std::ceil(-std::log10(step) - 1e-9))));
        const int labelEvery = steps > 12 ? (steps + 11) / 12 : 1;
        p->setFont(ownFont(qMax<qreal>(6, side * 0.055)));
        const QFontMetricsF metrics(p->font());
        for (int i = 0; i <= steps && steps > 0; ++i) {
            const qreal degrees = start + (end - start) * i / steps;
            p->setPen(QPen(foreground, qMax<qreal>(1, side * 0.012)));
            p->drawLine(pointAt(degrees, scaleRadius), pointAt(degrees, scaleRadius * 0.88));
            if (i % labelEvery != 0)
                continue;
            const QString text = QString::number(min + (max - min) * i / steps, 'f', precision);
            QRectF box(0, 0, metrics.horizontalAdvance(text) + 2, metrics.height());
            box.moveCenter(pointAt(degrees, scaleRadius * 0.70));
            p->drawText(box, Qt::AlignCenter | Qt::TextSingleLine, text);
        }

        p->setPen(foreground);
        p->setFont(ownFont(qMax<qreal>(6, side * 0.055), true));
        drawElided(p, QRectF(centre.x() - r * 0.5, centre.y() - r * 0.34, r, r * 0.14),
                   Qt::AlignCenter, g.Label);
        p->setFont(ownFont(qMax<qreal>(6, side * 0.05)));
        drawElided(p, QRectF(centre.x() - r * 0.4, centre.y() + r * 0.1, r * 0.8, r * 0.14),
                   Qt::AlignCenter, g.Units);
        // The indicator sits in the gap at the foot of the dial, below the scale's ends.
        if (g.NumericIndicatorEnabled) {
            const QRectF indicator(centre.x() - r * 0.36, centre.y() + r * 0.56, r * 0.72, r * 0.2);
            p->setPen(QPen(foreground, 1));
            p->setBrush(g.Background2.isValid() ? g.Background2 : QColor(0x04, 0x04, 0x04));
            p->drawRect(indicator);
            p->setPen(g.LedColor.isValid() ? g.LedColor : QColor(0xff, 0xff, 0xff));
            drawElided(p, indicator.adjusted(2, 0, -2, 0), Qt::AlignCenter, tagText(g.TagId));
        }
        p->setPen(Qt::NoPen);
        p->setBrush(foreground);
        p->drawEllipse(centre, r * 0.05, r * 0.05);
    }

    void drawTable(QPainter *p, const TableItemLoadData_t &t, const QRectF &rect)
    {
        const TextStyle style = styleFrom(t.StyleSheet);
        p->fillRect(rect, style.background.isValid() ? style.background : QColor(0xff, 0xff, 0xff));
        int columns = t.columnWidths.size();
        for (const QList<TableCell> &row : t.rows)
            columns = qMax(columns, row.size());
        // Given widths as fractions of the table; columns without one share what is left.
        QVector<qreal> widths(columns, 0);
        qreal given = 0;
        for (int i = 0; i < t.columnWidths.size(); ++i) {
            const qreal f = t.columnWidths.at(i);
            widths[i] = isFiniteValue(f) && f > 0 ? f : 0;
            given += widths.at(i);
        }
        const int rest = columns - t.columnWidths.size();
        for (int i = t.columnWidths.size(); i < columns; ++i)
            widths[i] = qMax<qreal>(0, 1 - given) / rest;
        QVector<qreal> lefts(columns + 1, rect.left());
        for (int i = 0; i < columns; ++i)
            lefts[i + 1] = qMin(rect.right(), lefts.at(i) + widths.at(i) * rect.width());

        const int rows = t.rows.size();
        const qreal rowHeight = rows > 0 ? rect.height() / rows : 0;
        p->setPen(QPen(GridColor, 1));
        p->setBrush(Qt::NoBrush);
        p->drawRect(rect);
        for (int c = 1; c < columns; ++c)
            p->drawLine(QPointF(lefts.at(c), rect.top()), QPointF(lefts.at(c), rect.bottom()));
        for (int r = 1; r < rows && rowHeight >= 1; ++r) {
            const qreal y = rect.top() + r * rowHeight;
            p->drawLine(QPointF(rect.left(), y), QPointF(rect.right(), y));
        }
        if (rowHeight < 4)
            return;
        for (int r = 0; r < rows; ++r) {
            const QList<TableCell> &row = t.rows.at(r);
            for (int c = 0; c < row.size(); ++c) {
                const TableCell &cell = row.at(c);
                const QRectF box(lefts.at(c) + 4, rect.top() + r * rowHeight,
                                 lefts.at(c + 1) - lefts.at(c) - 8, rowHeight);
                if (cell.cellText.isEmpty() || box.width() < 2)
                    continue;
                const QFont &f = cell.cellFont;
                const qreal size = f.pixelSize() > 0 ? f.pixelSize()
                                   : f.pointSizeF() > 0 ? f.pointSizeF() * 96.0 / 72.0
                                                        : DefaultTextPixelSize;
                p->setFont(font(f.family(), qMin(size, rowHeight), f.bold(), f.italic(),
                                f.underline()));
                p->setPen(cell.cellTextColor.isValid() ? cell.cellTextColor : QColor(0, 0, 0));
                drawElided(p, box, alignmentFrom(cell.cellTextAlignment, Qt::AlignLeft,
                                                 Qt::AlignVCenter), cell.cellText);
            }
        }
    }

    void drawImageItem(QPainter *p, const ImageItemLoadData_t &i, const QRectF &rect)
    {
        QString why;
        const QImage picture = image(resolve(folder, i.ImageFile), &why);
        if (picture.isNull())
            drawCrossedFrame(p, rect, i.ImageFile);
        else
            p->drawImage(rect, picture);
    }

    // A titled frame: a bar with the title, the body below it; returns the body.
    QRectF drawTitledFrame(QPainter *p, const QRectF &rect, const QString &title)
    {
        p->setPen(QPen(FrameColor, 1));
        p->setBrush(QColor(0xff, 0xff, 0xff));
        p->drawRect(rect);
        const qreal bar = qMin<qreal>(24, rect.height() / 4);
        const QRectF barRect(rect.x(), rect.y(), rect.width(), bar);
        p->fillRect(barRect.adjusted(1, 1, -1, 0), BarFill);
        p->setPen(QPen(FrameColor, 1));
        p->drawLine(barRect.bottomLeft(), barRect.bottomRight());
        if (bar >= 8) {
            p->setPen(InkColor);
            p->setFont(ownFont(qMin<qreal>(13, bar * 0.6), true));
            drawElided(p, barRect.adjusted(6, 0, -6, 0), Qt::AlignLeft | Qt::AlignVCenter, title);
        }
        return rect.adjusted(1, bar + 1, -1, -1);
    }

    void drawWebFrame(QPainter *p, const WebFrameItemLoadData_t &w, const QRectF &rect)
    {
        const QString name = w.base->Name.isEmpty() ? QStringLiteral("Web frame") : w.base->Name;
        const QRectF body = drawTitledFrame(p, rect, name);
        if (body.height() < 8)
            return;
        p->setPen(LinkColor);
        p->setFont(ownFont(qBound<qreal>(7, body.height() / 8, 13)));
        const QFontMetricsF metrics(p->font());
        p->drawText(body.adjusted(6, 0, -6, 0), Qt::AlignCenter | Qt::TextSingleLine,
                    metrics.elidedText(w.Weblink, Qt::ElideMiddle, body.width() - 12));
    }

    void drawSchedule(QPainter *p, const ScheduleItemLoadData_t &s, const QRectF &rect)
    {
        const QString name = s.base->Name.isEmpty() ? QStringLiteral("Schedule") : s.base->Name;
        const QRectF body = drawTitledFrame(p, rect, name);
        p->setFont(ownFont(12));
        const qreal line = QFontMetricsF(p->font()).height() + 6;
        const int fit = int(body.height() / line);
        const int shown = s.TagIDs.size() > fit ? qMax(0, fit - 1) : s.TagIDs.size();
        for (int i = 0; i < shown; ++i) {
            const QRectF row(body.x(), body.y() + i * line, body.width(), line);
            p->setPen(QPen(GridColor, 1));
            p->drawLine(row.bottomLeft(), row.bottomRight());
            p->setPen(InkColor);
            drawElided(p, row.adjusted(6, 0, -6, 0), Qt::AlignLeft | Qt::AlignVCenter,
                       tagText(s.TagIDs.at(i)));
        }
        if (shown < s.TagIDs.size() && fit > 0) {
            p->setPen(InkColor);
            drawElided(p, QRectF(body.x() + 6, body.y() + shown * line, body.width() - 12, line),
                       Qt::AlignLeft | Qt::AlignVCenter,
                       QStringLiteral("+%1 more").arg(s.TagIDs.size() - shown));
        }
    }

    void drawItem(QPainter *p, const ScaFileData &page, const PageItemRef &ref, const QRectF &rect)
    {
        switch (ref.kind) {
        case PageItemRef::ScadaObject:
            if (const auto *r = recordAt(page.scadaObjects, ref.index, ref.base))
                drawScadaObject(p, *r, rect);
            break;
        case PageItemRef::TextItem:
            if (const auto *r = recordAt(page.textItems, ref.index, ref.base))
                drawText(p, *r);
            break;
        case PageItemRef::ScheduleItem:
            if (const auto *r = recordAt(page.scheduleItems, ref.index, ref.base))
                drawSchedule(p, *r, rect);
            break;
        case PageItemRef::RTChartItem:
            if (const auto *r = recordAt(page.rtChartItems, ref.index, ref.base))
                drawChart(p, *r, rect);
            break;
        case PageItemRef::DbqTextItem:
            if (const auto *r = recordAt(page.dbqTextItems, ref.index, ref.base))
                drawDbQueryText(p, *r, rect);
            break;
        case PageItemRef::TableItem:
            if (const auto *r = recordAt(page.tableItems, ref.index, ref.base))
                drawTable(p, *r, rect);
            break;
        case PageItemRef::ImageItem:
            if (const auto *r = recordAt(page.imageItems, ref.index, ref.base))
                drawImageItem(p, *r, rect);
            break;
        case PageItemRef::GaugeItem:
            if (const auto *r = recordAt(page.gaugeItems, ref.index, ref.base))
                drawGauge(p, *r, rect);
            break;
        case PageItemRef::WebFrameItem:
            if (const auto *r = recordAt(page.webFrameItems, ref.index, ref.base))
                drawWebFrame(p, *r, rect);
            break;
        }
    }
};

// ---- PageRenderer ----------------------------------------------------------------------------

PageRenderer::PageRenderer()
    : d(new Private)
{
}

PageRenderer::PageRenderer(const Options &options)
    : d(new Private)
{
    d->options = options;
}

PageRenderer::~PageRenderer()
{
    delete d;
}

const PageRenderer::Options &PageRenderer::options() const
{
    return d->options;
}

void PageRenderer::setOptions(const Options &options)
{
    d->options = options;
}

int PageRenderer::loadObjectLibrary(const QString &folder)
{
    qDeleteAll(d->ownedLibrary);
    d->ownedLibrary.clear();
    int read = 0;
    for (const char *name : {StandardLibraryFile, UserLibraryFile}) {
        const QFileInfo info(QDir(folder).filePath(QLatin1String(name)));
        QFile file(info.filePath());
        if (!info.isFile() || info.size() > ProjectFileProbe::MaxFileSize
                || !file.open(QIODevice::ReadOnly))
            continue;
        if (readObjectLibrary(file.readAll(), name == UserLibraryFile, &d->ownedLibrary))
            ++read;
    }
    d->standardFolder = folder;
    d->userFolder = folder;
    d->setLibrary(d->ownedLibrary);
    return read;
}

void PageRenderer::setObjectLibrary(const QList<ScadaLibObject *> &objects,
                                    const QString &standardFolder, const QString &userFolder)
{
    qDeleteAll(d->ownedLibrary);
    d->ownedLibrary.clear();
    d->standardFolder = standardFolder;
    d->userFolder = userFolder;
    d->setLibrary(objects);
}

QSize PageRenderer::pageSize(const ScaFileData &page)
{
    const QSize size = page.pageProperties.pageGeometry;
    return size.width() > 0 && size.height() > 0 ? size : DefaultPageSize;
}

QString PageRenderer::projectFolder(const ScaFileData &page)
{
    const QString fileName = page.pageProperties.fileName;
    if (fileName.isEmpty())
        return QString();
    const QString file = QDir::cleanPath(QDir::fromNativeSeparators(fileName));
    QString relative = QDir::cleanPath(QDir::fromNativeSeparators(page.pageProperties.relativePath));
    while (relative.startsWith(QLatin1String("./")))
        relative.remove(0, 2);
    const bool usable = !relative.isEmpty() && relative != QLatin1String(".")
                        && !QDir::isAbsolutePath(relative) && !relative.startsWith(QLatin1String(".."));
    if (usable && file == relative)
        return QStringLiteral(".");
    if (usable && file.endsWith(QLatin1Char('/') + relative)) {
        const QString folder = file.left(file.size() - relative.size() - 1);
        return folder.isEmpty() ? QStringLiteral("/") : folder;
    }
    return QFileInfo(file).path();
}

std::function<bool(const LayerInfo &)> PageRenderer::visibleLayers()
{
    return [](const LayerInfo &layer) { return layer.visible; };
}

std::function<bool(const LayerInfo &)> PageRenderer::allLayers()
{
    return [](const LayerInfo &) { return true; };
}

std::function<bool(const LayerInfo &)> PageRenderer::chosenLayers(const QStringList &idsOrNames)
{
    const QSet<QString> chosen(idsOrNames.begin(), idsOrNames.end());
    return [chosen](const LayerInfo &layer) {
        return chosen.contains(QString::number(layer.id)) || chosen.contains(layer.name);
    };
}

QList<PageRenderer::DrawnItem> PageRenderer::layout(const ScaFileData &page)
{
    d->begin(page);
    const auto drawLayer = d->options.layerFilter ? d->options.layerFilter : visibleLayers();

    struct Entry
    {
        DrawnItem drawn;
        int layerRank;
        qint64 stackZ;
        quint64 group;
        int groupZ;
    };
    QVector<Entry> entries;
    const auto add = [&](PageItemRef::Kind kind, int index, const ItemRecord *record) {
        if (!record || !record->base)
            return;
        const ItemBaseData_t &b = *record->base;
        int rank = page.layers.size();
        LayerInfo unlisted;
        unlisted.id = b.LayerId;
        const LayerInfo *layer = &unlisted;
        for (int i = 0; i < page.layers.size(); ++i) {
            if (quint32(page.layers.at(i).id) == quint32(b.LayerId)) {
                rank = i;
                layer = &page.layers.at(i);
                break;
            }
        }
        if (!drawLayer(*layer))
            return;
        Entry e;
        e.drawn.item.kind = kind;
        e.drawn.item.index = index;
        e.drawn.item.base = &b;
        if (d->options.itemStyle)
            e.drawn.style = d->options.itemStyle(e.drawn.item);
        if (!e.drawn.style.visible)
            return;
        e.layerRank = rank;
        e.stackZ = b.GroupId ? b.GZVAL : b.ZVAL;
        e.group = b.GroupId;
        e.groupZ = b.GroupId ? b.ZVAL : 0;
        entries.append(e);
    };
    const auto addAll = [&](PageItemRef::Kind kind, const auto &list) {
        for (int i = 0; i < list.size(); ++i)
            add(kind, i, list.at(i));
    };
    addAll(PageItemRef::ScadaObject, page.scadaObjects);
    addAll(PageItemRef::TextItem, page.textItems);
    addAll(PageItemRef::ScheduleItem, page.scheduleItems);
    addAll(PageItemRef::RTChartItem, page.rtChartItems);
    addAll(PageItemRef::DbqTextItem, page.dbqTextItems);
    addAll(PageItemRef::TableItem, page.tableItems);
    addAll(PageItemRef::ImageItem, page.imageItems);
    addAll(PageItemRef::GaugeItem, page.gaugeItems);
    addAll(PageItemRef::WebFrameItem, page.webFrameItems);
    std::stable_sort(entries.begin(), entries.end(), [](const Entry &a, const Entry &b) {
        if (a.layerRank != b.layerRank)
            return a.layerRank < b.layerRank;
        if (a.stackZ != b.stackZ)
            return a.stackZ < b.stackZ;
        if (a.group != b.group)
            return a.group < b.group;
        return a.groupZ < b.groupZ;
    });

    if (d->options.drawBackground && !page.pageProperties.pageBgImage.isEmpty()) {
        QString why;
        const QString path = d->resolve(d->folder, page.pageProperties.pageBgImage);
        if (d->image(path, &why).isNull())
            d->warn(QStringLiteral("page background"),
                    QStringLiteral("cannot read image %1 (%2)").arg(path, why));
    }

    QList<DrawnItem> items;
    for (Entry &e : entries) {
        const PageItemRef &ref = e.drawn.item;
        QString problem;
        const QRectF rect = d->itemRect(page, ref, &problem);
        if (!problem.isEmpty()) {
            d->warn(ref.describe(), problem);
            continue;
        }
        const QRectF extent = d->extent(page, ref, rect);
        e.drawn.bounds = Private::itemTransform(*ref.base, rect).mapRect(extent);
        items.append(e.drawn);
    }
    d->drawn = items;
    return items;
}

void PageRenderer::renderBackground(const ScaFileData &page, QPainter *painter)
{
    const QRectF rect(QPointF(0, 0), pageSize(page));
    painter->fillRect(rect, d->options.backgroundColor.isValid() ? d->options.backgroundColor
                                                                 : QColor(0xff, 0xff, 0xff));
    if (page.pageProperties.pageBgImage.isEmpty())
        return;
    QString why;
    const QImage background = d->image(d->resolve(d->folder, page.pageProperties.pageBgImage), &why);
    if (!background.isNull())
        painter->drawImage(rect, background);
}

void PageRenderer::renderItem(const ScaFileData &page, const DrawnItem &item, QPainter *painter)
{
    const PageItemRef &ref = item.item;
    if (!ref.base)
        return;
    QString problem;
    const QRectF rect = d->itemRect(page, ref, &problem);
    if (!problem.isEmpty())
        return;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, true);
    painter->setRenderHint(QPainter::TextAntialiasing, true);
    painter->setRenderHint(QPainter::SmoothPixmapTransform, true);
    painter->setOpacity(painter->opacity() * qBound<qreal>(0, item.style.opacity, 1));
    painter->setTransform(Private::itemTransform(*ref.base, rect), true);
    d->drawItem(painter, page, ref, rect);
    painter->restore();
}

void PageRenderer::renderOutlines(const QList<DrawnItem> &items, QPainter *painter)
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, true);
    for (const DrawnItem &item : items) {
        if (item.style.highlight.style() != Qt::NoBrush)
            painter->fillRect(item.bounds, item.style.highlight);
        if (item.style.outline.style() != Qt::NoPen) {
            painter->setPen(item.style.outline);
            painter->setBrush(Qt::NoBrush);
            painter->drawRect(item.bounds);
        }
    }
    painter->restore();
}

void PageRenderer::render(const ScaFileData &page, QPainter *painter)
{
    const QList<DrawnItem> items = layout(page);
    painter->save();
    if (d->options.drawBackground)
        renderBackground(page, painter);
    for (const DrawnItem &item : items)
        renderItem(page, item, painter);
    renderOutlines(items, painter);
    painter->restore();
}

QImage PageRenderer::renderImage(const ScaFileData &page, qreal scale)
{
    const QSize size = pageSize(page);
    const qreal w = std::ceil(size.width() * scale);
    const qreal h = std::ceil(size.height() * scale);
    if (!isFiniteValue(scale) || scale <= 0 || w > MaxImageSide || h > MaxImageSide || w * h > MaxPagePixels) {
        layout(page);
        d->warn(QStringLiteral("page"),
                QStringLiteral("%1 x %2 at scale %3 is too large to draw as an image")
                    .arg(size.width()).arg(size.height()).arg(scale));
        return QImage();
    }
    QImage image(int(w), int(h), QImage::Format_ARGB32_Premultiplied);
    if (image.isNull()) {
        layout(page);
        d->warn(QStringLiteral("page"), QStringLiteral("not enough memory for the image"));
        return image;
    }
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.scale(scale, scale);
    render(page, &painter);
    painter.end();
    return image;
}

QStringList PageRenderer::warnings() const
{
    return d->warnings;
}

QList<PageRenderer::DrawnItem> PageRenderer::drawnItems() const
{
    return d->drawn;
}
