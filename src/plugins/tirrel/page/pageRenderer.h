#pragma once

#include "tirrel_global.h"

#include <QBrush>
#include <QColor>
#include <QHash>
#include <QImage>
#include <QList>
#include <QPen>
#include <QRectF>
#include <QSize>
#include <QString>
#include <QStringList>

#include <functional>

class QPainter;
class QPaintDevice;
class ScaFileData;
struct FileDataTree;
struct ItemBaseData_t;
struct LayerInfo;
struct ScadaLibObject;

// One item of a page as the renderer names it: its kind, its position in the page's list of that
// kind and its base record. Valid while the page's lists are not changed.
struct TIRREL_EXPORT PageItemRef
{
    // The item kinds, in the order the page file lists them.
    enum Kind {
        ScadaObject,
        TextItem,
        ScheduleItem,
        RTChartItem,
        DbqTextItem,
        TableItem,
        ImageItem,
        GaugeItem,
        WebFrameItem,
    };

    Kind kind = ScadaObject;
    int index = -1;
    const ItemBaseData_t *base = nullptr;

    // The kind's "ItemType" text ("ScadaObject", "TextItem", ...).
    static QString itemType(Kind kind);
    QString itemType() const { return itemType(kind); }
    // The item in plain words for reports: 'ImageItem #0 "Site plan"'.
    QString describe() const;
};

// How one item is drawn; chosen per item by PageRenderer::Options::itemStyle. The default style
// draws the item as it is.
struct TIRREL_EXPORT PageItemStyle
{
    bool visible = true;            // false: not drawn, not listed among the drawn items
    qreal opacity = 1.0;            // below 1: faded, e.g. a removed item shown as a ghost
    QPen outline = QPen(Qt::NoPen); // drawn around the item's bounding box, above every item
    QBrush highlight;               // filled over the item's bounding box, above every item
};

// Draws a page (ScaFileData) onto any paint device: images, SVG and PDF generators, widgets.
// No editor, no live data: what the page's files say, drawn the same way for the same page,
// fonts and images.
//
// What is drawn, bottom to top:
//   - the page's background: Options::backgroundColor over the page rectangle (the page's
//     pageGeometry, 250 x 150 when that is not a valid size), then the page's pageBgImage
//     stretched over it;
//   - every item of the page's layers in layer order (the first layer at the bottom; items on a
//     layer the page does not list come last), within a layer by stacking value: an item outside
//     a group by its ZVAL, an item of a group by the group's GZVAL and within the group by its
//     ZVAL; items of equal standing in the page file's order. Each item is drawn in its rectangle
//     (X, Y, W, H), mirrored (HFlip, VFlip) and then rotated clockwise by Rot degrees about the
//     rectangle's centre:
//       SCADA object: the first image of its object library type (matched by Type against
//         objectType; a user library type without a type code by its objectUID), else a framed
//         box with the type's name or number and the item's name; the label tag below it at
//         (lofx, lofy) in the label's style sheet font and colour;
//       text: its text in its font, colour and alignment (Qt::Alignment bits), word-wrapped in
//         its rectangle, on its paper (BgColor) when DrawPaper is set;
//       database-query text: label text and report tag on its background;
//       real-time chart: framed plot area with title, value and time axes, and a legend of its
//         lines (colour and tag);
//       gauge: a dial from StartAngle to EndAngle (degrees, counter-clockwise from three o'clock)
//         with Steps divisions labelled from MinValue to MaxValue, the threshold range, label,
//         units and the numeric indicator showing the tag;
//       table: its columns (width fractions of the table), rows and cell texts in each cell's
//         font, colour and alignment; spans are not applied;
//       image: the image file stretched over the rectangle, or a crossed frame when it cannot be
//         read;
//       web frame: a labelled frame with the address;
//       schedule: a framed list of its tags;
//   - last, each item's outline and highlight from Options::itemStyle.
// The scrolling text band, SVG elements of texts and the host's own fields are not drawn.
// Image paths (pageBgImage, ImageFile) are taken relative to the project folder; object library
// images relative to the folder of their library file.
//
// Tag-bound values (no live data) show the tag's name or id, as Options::tagText says.
//
// What cannot be drawn as the page has it is drawn as a stand-in and reported in warnings(): an
// image that cannot be read, a SCADA object whose type the object library lacks, an item placed
// or sized beyond a million units (not drawn). Nothing in a page is an error; images larger
// than 16384 pixels a side (or 64 million pixels) are not read.
//
// Ownership: the renderer owns nothing it is given (pages, definitions, library records); it
// owns the library it reads itself (loadObjectLibrary) and the images it has read, which it
// keeps for later renders. Not copyable. Needs a QGuiApplication (fonts); GUI thread only.
class TIRREL_EXPORT PageRenderer
{
public:
    // What tag-bound values show.
    enum TagText {
        TagIds,         // "#101"
        TagNames,       // the tag's Name in Options::definitions; "#101" for a tag not found there
        NoTagText,      // nothing
    };

    struct TIRREL_EXPORT Options
    {
        // Base of relative image paths; empty: the project folder of the page itself (see
        // projectFolder()).
        QString projectFolder;
        // The scene colour under the page (the editor's ProgramSettings::getBgColor()).
        QColor backgroundColor = QColor(0xff, 0xff, 0xff);
        // False: neither colour nor background image, only the items (to draw a page's items
        // over another drawing, e.g. ghosts of removed items).
        bool drawBackground = true;
        // Which layers' items are drawn; null: the visible layers (see visibleLayers()). The
        // page file knows no lock flag, but a host that keeps one in a layer's param4 or param5
        // leaves locked layers out with a filter of its own. Items on a layer the page does not
        // list are given to the filter as a visible layer of that id without a name.
        std::function<bool(const LayerInfo &)> layerFilter;
        TagText tagText = TagIds;
        // Tag names for TagNames; not owned, must outlive the renders.
        const FileDataTree *definitions = nullptr;
        // Not empty: every text in this font family instead of the item's own, so that the
        // output does not depend on which fonts a machine has.
        QString fontFamily;
        // The style of each item; null: every item as it is.
        std::function<PageItemStyle(const PageItemRef &)> itemStyle;
    };

    // One item as drawn: its bounding box in page coordinates (rotation and flips applied,
    // labels and texts that overflow included).
    struct TIRREL_EXPORT DrawnItem
    {
        PageItemRef item;
        QRectF bounds;
        PageItemStyle style;
    };

    PageRenderer();
    explicit PageRenderer(const Options &options);
    ~PageRenderer();
    PageRenderer(const PageRenderer &) = delete;
    PageRenderer &operator=(const PageRenderer &) = delete;

    const Options &options() const;
    void setOptions(const Options &options);

    // Reads the object library files "objlib.xml" (standard objects) and "userlib.xml" (user
    // objects) of `folder` with the library's own reader; their images are looked up in that
    // folder. Replaces any library given before. Returns the number of files read (0: neither
    // exists or can be read as a library).
    int loadObjectLibrary(const QString &folder);
    // Uses records that the caller keeps (not owned; they must outlive the renders), e.g. the
    // editor's ScadaEngine::getLibObjects() with getLibPath() and getUserLibPath(): standard
    // objects' images are looked up in standardFolder, user objects' in userFolder.
    void setObjectLibrary(const QList<ScadaLibObject *> &objects, const QString &standardFolder,
                          const QString &userFolder);

    // The page's size in page units: pageGeometry, or 250 x 150 when that is not a valid size.
    static QSize pageSize(const ScaFileData &page);
    // The folder a page's relative paths start from: the page file's path (pageProperties
    // fileName) less its path within the project (relativePath) when it ends with it, else the
    // page file's folder; the current folder for a page without a file name.
    static QString projectFolder(const ScaFileData &page);

    // Layer filters for Options::layerFilter.
    static std::function<bool(const LayerInfo &)> visibleLayers();
    static std::function<bool(const LayerInfo &)> allLayers();
    // The layers whose id or name is in `idsOrNames` (ids in decimal).
    static std::function<bool(const LayerInfo &)> chosenLayers(const QStringList &idsOrNames);

    // The items that a render draws, in drawing order, with their bounding boxes; paints nothing.
    // Sets warnings() as a render would, images included.
    QList<DrawnItem> layout(const ScaFileData &page);

    // Draws the whole page onto the painter in page units (the painter's transform maps them to
    // the device: scale it for another resolution). The painter is left as it was.
    void render(const ScaFileData &page, QPainter *painter);
    // The same, in parts, for devices that group what is drawn: the background (drawn whatever
    // Options::drawBackground says), one item of layout() (with its style's opacity), and the
    // outlines and highlights of the given items. Each follows a layout() of the same page.
    void renderBackground(const ScaFileData &page, QPainter *painter);
    void renderItem(const ScaFileData &page, const DrawnItem &item, QPainter *painter);
    void renderOutlines(const QList<DrawnItem> &items, QPainter *painter);
    // The page as an image of pageSize() times scale (ARGB32 premultiplied); a null image with a
    // warning when that would exceed 16384 pixels a side or 256 million pixels.
    QImage renderImage(const ScaFileData &page, qreal scale = 1.0);

    // What the last layout or render could not draw as the page has it, each once, in drawing
    // order: 'ImageItem #0 "Site plan": cannot read image /p/images/site-plan.png (no such
    // file)'.
    QStringList warnings() const;
    // The items the last render or layout drew, as layout() gives them.
    QList<DrawnItem> drawnItems() const;

private:
    class Private;
    Private *d;
};
