#pragma once

#include "tirrel_global.h"

#include <QBrush>
#include <QByteArray>
#include <QColor>
#include <QFont>
#include <QHash>
#include <QList>
#include <QPair>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QVariant>

// The common base record of every page item: geometry, stacking values, flips, group, layer,
// name and the kind code the item's reader sets (1 SCADA object and schedule, 2 text,
// 5 database-query text and real-time chart, 7 table, 8 image, 9 web frame, 10 gauge).
struct TIRREL_EXPORT ItemBaseData_t
{
    int X = 0;
    int Y = 0;
    int W = 0;
    int H = 0;
    int ZVAL = 0;
    int GZVAL = 0;
    int Rot = 0;
    bool HFlip = false;
    bool VFlip = false;
    quint64 GroupId = 0;
    quint64 LayerId = 0;
    QString Name;
    int itemKind = 0;
};

// What every item record (*LoadData_t) starts with: `base`, a pointer to the record's own base
// record. The base record is made with the item record (all zero) and deleted with it; it is
// never shared. Item records cannot be copy-constructed; assigning one record to another copies
// every field except `base`, so each keeps its own base record (the copy functions below rely on
// this). A record must not be given a base record that another record also holds.
struct TIRREL_EXPORT ItemRecord
{
    ItemBaseData_t *base;

    ItemRecord() : base(new ItemBaseData_t) {}
    ~ItemRecord() { delete base; }
    ItemRecord(const ItemRecord &) = delete;

protected:
    ItemRecord &operator=(const ItemRecord &) { return *this; }
};

// One layer of a page, held by value in ScaFileData::layers.
struct TIRREL_EXPORT LayerInfo
{
    QString name;       // never holds ";" or "," once the page has been saved
    quint64 id = 0;     // matched against the items' LayerId through its low 32 bits
    bool visible = true;
    int param4 = -1;
    int param5 = -1;
};

// One entry of a page's scrolling text band.
struct TIRREL_EXPORT ScrollTagInfo
{
    int TagID = 0;
    QString ScrollText;
};

// An entry that the host hangs on a SCADA object. Owns `data` (deleted with the entry), so
// entries are not copied; copyScadaObjectData makes new entries with copies of the data.
struct TIRREL_EXPORT AuxDataEntry
{
    QByteArray *data = nullptr;
    QString text;
    int value = 0;

    AuxDataEntry() = default;
    ~AuxDataEntry() { delete data; }
    AuxDataEntry(const AuxDataEntry &) = delete;
    AuxDataEntry &operator=(const AuxDataEntry &) = delete;
};

struct ScadaObjectLoadData_t;

// Makes target equal to source in every field except `base`, which is left as it is (the caller
// gives the copy its base record). Texts and lists are copied by value; auxEntries gets one new
// entry per source entry with a copy of its data; target's former entries are deleted.
TIRREL_EXPORT void copyScadaObjectData(ScadaObjectLoadData_t *target,
                                       const ScadaObjectLoadData_t *source);

// A SCADA object placed on a page and bound to tags. A new record holds the defaults listed
// here; the fields marked "host" are not carried by the page file. Deleting the record deletes
// its base record and its auxEntries with their data.
struct TIRREL_EXPORT ScadaObjectLoadData_t : ItemRecord
{
    int auxInt1 = 0;                // host
    int auxInt2 = 0;                // host
    int Type = 0;
    int Uid = 0;
    float auxFloat1 = 0;            // host
    float auxFloat2 = 0;            // host
    float auxFloat3 = 0;            // host
    int tagID_image = -1;
    int tagID_label = -1;
    int tagID_posx = -1;
    int tagID_posy = -1;
    int tagID_width = -1;
    int tagID_height = -1;
    int tagID_rotAng = -1;
    int tagID_txtColor = -1;
    int tagID_maskColor = -1;
    int tagID_maskOpac = -1;
    int tagID_cusProp1 = -1;
    int tagID_cusProp2 = -1;
    int tagID_cusProp3 = -1;
    int tagID_cusProp4 = -1;
    int tagID_cusProp5 = -1;
    int tagID_cusProp6 = -1;
    int tagID_cusProp7 = -1;
    int tagID_eventTarget = -1;
    int extraTagIds[18] = {-1, -1, -1, -1, -1, -1, -1, -1, -1,
                           -1, -1, -1, -1, -1, -1, -1, -1, -1};    // host
    int eventType = 0;
    int eventAction = 0;
    bool eventActionAck = false;
    int lofx = 0;
    int lofy = 0;
    QString labelText = QStringLiteral("%.3f");
    QString labelStyleSheet = QStringLiteral("font: 22px \"Arial\";");
    int userConst1 = 0;
    int userConst2 = 0;
    QString pageFunction;
    bool showChildAlarms = true;
    bool closeWindowOnClicked = false;
    QString auxText;                // host
    QString MacroText;
    QString Tooltip;
    bool weblinkActive = false;
    QString weblink;
    bool limitsActive = false;
    float lowLimit = 0;
    float highLimit = 100;
    QList<AuxDataEntry *> auxEntries;   // host; each entry owned by the record
    QString componentUid;
    QList<int> indexOrder;

    ScadaObjectLoadData_t() = default;
    ~ScadaObjectLoadData_t();

private:
    // Memberwise, sharing auxEntries: only copyScadaObjectData uses it, and then replaces them.
    ScadaObjectLoadData_t &operator=(const ScadaObjectLoadData_t &) = default;
    friend void copyScadaObjectData(ScadaObjectLoadData_t *target,
                                    const ScadaObjectLoadData_t *source);
};

// ---- Text and database-query text items ----------------------------------------------------

// A free text label (itemKind 2). Its geometry lies in elements of its own, not in the common
// envelope, and its flips are not carried by the page file. A new record holds the values the
// reader stores when the file gives nothing; TextPixelSize 0 means the font's default size.
struct TIRREL_EXPORT TextItemLoadData_t : ItemRecord
{
    QString ItemText;
    QString TextColor = QStringLiteral("#000000");  // colour text as in the file, not parsed
    QString BgColor = QStringLiteral("#FFFFFF");    // the same
    QString SvgElement;
    int Alignment = 0;
    int TextPixelSize = 0;
    QString Family = QStringLiteral("Arial");
    bool IsBold = false;
    bool IsItalic = false;
    bool IsUnderlined = false;
    bool DrawPaper = false;
};

// A label showing the value of a report query on a tag (itemKind 5). A new record holds the
// values the reader stores for missing elements; the fields marked "host" are not carried by
// the page file.
struct TIRREL_EXPORT DbQueryTextItemLoadData_t : ItemRecord
{
    QString bgColor = QStringLiteral("#000");       // colour texts as in the file, not parsed
    QString txtColor = QStringLiteral("#FFF");
    QString labelText = QStringLiteral("Val is ");
    QString labelStyleSheet = QStringLiteral("font: 12px \"Arial\"; color: rgb(0, 0, 0);");
    int lofx = 0;
    int lofy = 0;
    int txtPixelSize = 14;
    bool auxFlag1 = false;          // host
    bool auxFlag2 = false;          // host
    bool auxFlag3 = false;          // host
    int auxValue = 0;               // host
    int reportUnit = 1;
    int reportType = 0;
    int timeFactor = 100;
    int updateInterval = 100;
    int reportTag = -1;             // -1: none
};

// Makes target equal to source in every field except `base`, which is left as it is (the caller
// gives the copy its base record). Null or identical arguments change nothing.
TIRREL_EXPORT void copyTextItemData(TextItemLoadData_t *target, const TextItemLoadData_t *source);
TIRREL_EXPORT void copyDbQueryTextItemData(DbQueryTextItemLoadData_t *target,
                                           const DbQueryTextItemLoadData_t *source);

// ---- Real-time chart and gauge items -------------------------------------------------------

// One plotted line of a real-time chart, held by value; the defaults are the reader's.
struct TIRREL_EXPORT TagData
{
    int Tag = -1;                   // tag id, -1: none
    int auxValue1 = 0;              // host; not in the page file
    int auxValue2 = 0;              // host; not in the page file
    QString LineColor = QStringLiteral("#FF0000");  // colour text as in the file
    int LineStyle = 0;
};

// A chart plotting one line per tag over the last seconds (itemKind 5). A new record holds the
// values the reader stores for missing elements. Its colours are kept as the file's texts.
struct TIRREL_EXPORT RealTimeChartItemLoadData_t : ItemRecord
{
    QList<TagData> TagIDs;
    QString BgColor = QStringLiteral("#FFF");
    QString TxtColor = QStringLiteral("#000");
    QString PaColor = QStringLiteral("#F9F3F7");
    QString ChartTitle;
    int ChartViewType = 0;
    int ChartType = 0;
    int ChartOrientation = 0;
    int LegendAlignment = 2;
    bool ShowDescription = false;
    bool IsAnimated = true;
    bool ShowLegend = true;
    bool FollowLastVal = true;
    bool RescaleValAxis = true;
    int ShowLastSeconds = 300;
    int UpperLimit = 0;
    int LowerLimit = 0;
    int LegendFontSize = 11;
    int AxisFontSize = 11;
};

// A dial showing one tag's value (itemKind 10). A new record starts from the values below; the
// reader replaces every field the file carries, missing elements taking the reader's own
// defaults (maximum 100, angles 225 to -45, threshold 70 shown, foreground #FFF, ...). Colours
// are parsed on reading and written as #rrggbb names; an invalid colour is written as #000000.
struct TIRREL_EXPORT GaugeItemLoadData_t : ItemRecord
{
    int auxValue = 0;               // host; not in the page file
    int GaugeStyle = 0;
    double MaxValue = 0;
    double MinValue = 0;
    int Precision = 0;
    int PrecisionNumeric = 0;
    QString Tooltip;
    QString Units;
    QString Label;
    int Steps = 0;
    double StartAngle = 0;          // degrees
    double EndAngle = 0;            // degrees
    double Threshold = 0;
    bool ThresholdEnabled = false;
    bool NumericIndicatorEnabled = false;
    QColor Foreground;              // invalid until read
    QBrush auxBrush;                // host; not in the page file
    QColor Background1 = QColor(0x78, 0x78, 0x78);
    QColor Background2 = QColor(0x04, 0x04, 0x04);
    QColor LedColor = QColor(0xFF, 0xFF, 0xFF);
    QColor LedGlowColor = QColor(0x00, 0x00, 0xFF);
    int TagId = -1;                 // -1: none
};

// Copies as copyTextItemData does: every field but `base`.
TIRREL_EXPORT void copyRealTimeChartItemData(RealTimeChartItemLoadData_t *target,
                                             const RealTimeChartItemLoadData_t *source);
TIRREL_EXPORT void copyGaugeItemData(GaugeItemLoadData_t *target,
                                     const GaugeItemLoadData_t *source);

// ---- Table items ---------------------------------------------------------------------------

// One cell of a table, held by value in its row. A new cell holds the values a cell being read
// starts from: font "Arial" at 18 pixels, colour #1F272E, spans 1, alignment 129 (Qt::AlignLeft
// | Qt::AlignVCenter). Spans are stored as read, never applied.
struct TIRREL_EXPORT TableCell
{
    QString cellText;
    QFont cellFont;
    QColor cellTextColor;
    int cellRowSpan;
    int cellColumnSpan;
    int cellTextAlignment;          // Qt::Alignment bits

    TableCell();
};

// A table of text cells (itemKind 7). Rows may hold different numbers of cells; column widths
// are fractions of TableWidth. A new record is empty with width and height 0.
struct TIRREL_EXPORT TableItemLoadData_t : ItemRecord
{
    QList<QList<TableCell>> rows;
    int TableWidth = 0;
    int TableHeight = 0;
    QString StyleSheet;
    QList<double> columnWidths;
    QList<int> auxList;             // host; not in the page file
};

// Copies as copyTextItemData does: every field but `base` (rows and cells by value).
TIRREL_EXPORT void copyTableItemData(TableItemLoadData_t *target,
                                     const TableItemLoadData_t *source);

// ---- Image, web frame and schedule items ---------------------------------------------------

// A picture shown from an image file (itemKind 8). Only ImageFile is carried by the page file;
// a file without it reads as "placeholder_image.png".
struct TIRREL_EXPORT ImageItemLoadData_t : ItemRecord
{
    int auxValue1 = 0;              // host
    int auxValue2 = 0;              // host
    int auxValue3 = 0;              // host
    bool auxFlag = false;           // host
    QString auxText1;               // host
    int auxValue4 = 0;              // host
    QString auxText2;               // host
    QString ImageFile;
};

// A frame showing the content at a web address (itemKind 9). Only Weblink is carried by the page
// file; a new record, and one read from a file without it, shows defaultWeblink().
struct TIRREL_EXPORT WebFrameItemLoadData_t : ItemRecord
{
    int auxValue1 = 0;              // host
    int auxValue2 = 0;              // host
    int auxValue3 = 0;              // host
    bool auxFlag = false;           // host
    QString auxText1;               // host
    int auxValue4 = 0;              // host
    QString Weblink = defaultWeblink();
    QString auxText2;               // host

    // The built-in address of a small default image.
    static QString defaultWeblink();
};

// A schedule bound to a list of tags (itemKind 1, the code of a SCADA object: the page's list,
// not the code, tells them apart).
struct TIRREL_EXPORT ScheduleItemLoadData_t : ItemRecord
{
    QList<int> TagIDs;              // in file order, duplicates kept
};

// Copies as copyTextItemData does: every field but `base`.
TIRREL_EXPORT void copyImageItemData(ImageItemLoadData_t *target,
                                     const ImageItemLoadData_t *source);
TIRREL_EXPORT void copyWebFrameItemData(WebFrameItemLoadData_t *target,
                                        const WebFrameItemLoadData_t *source);
TIRREL_EXPORT void copyScheduleItemData(ScheduleItemLoadData_t *target,
                                        const ScheduleItemLoadData_t *source);

// One tag id that a page is bound to, with the item that binds it (ScaFileData::tagBindings).
struct TIRREL_EXPORT TagBinding_t
{
    int tagId = -1;
    // The binding item's "ItemType" text ("ScadaObject", "ScheduleItem", "RTChartItem",
    // "DbqTextItem", "GaugeItem"), or "ScrollTags" for an entry of the page's scrolling text.
    QString itemType;
    // Position of the item in the page's list of its kind (scrollTags for a scroll tag).
    int itemIndex = -1;
    // The item's name (base->Name); a scroll tag's ScrollText.
    QString itemName;
    // The SCADA object's Uid; -1 for every other kind.
    int uid = -1;
    // The record member that holds the id: a SCADA object's tag slot ("tagID_image", ...,
    // "extraTagIds[3]"), "TagIDs" (a chart line or a schedule entry), "TagId" (gauge),
    // "reportTag" (database-query text) or "TagID" (scroll tag).
    QString slot;
    // For list members ("TagIDs"): position of the entry in the list; -1 otherwise.
    int slotIndex = -1;
};

// One page (operator screen) in memory.
//
// The page holds its item records by pointer and its constructors, assignments and destructor
// never create or delete one: copying or moving a page copies or moves the pointers, so a copy
// lists the very same records as its source, and destroying a page leaves its records alive.
// Records are deleted by erase() (the SCADA objects), by deleteAllItems() (every kind) and
// otherwise by whoever holds the page; clone() makes a page with records of its own. `layers`
// and `scrollTags` hold their records by value. A moved-from page has empty lists.
class TIRREL_EXPORT ScaFileData
{
public:
    struct TIRREL_EXPORT PageProperties
    {
        int auxValue = 0;           // host; not in the page file
        QString pageName;
        QString fileName;
        QString relativePath;
        int pageID = -1;            // -1: none
        int auxPageId = -1;         // host; the reader sets it to -1
        QSize pageGeometry;         // invalid (-1 x -1) until read
        QString pageBgImage;
        QString pageIcon;
        int pageType = 0;
        bool geoView = false;
        QString geoData;
        QString markerCategories;
        QString geoCenterPos;
        bool customPageSize = false;
        bool addScrollingText = false;
        qint64 pageAccessRights = 0;
        qint64 pageAccessRights2 = 0;
        int scaleToWindow = 0;
        QList<ScrollTagInfo> scrollTags;
        QList<int> auxPageList;     // host; not in the page file
    };

    QList<ScadaObjectLoadData_t *> scadaObjects;
    QList<TextItemLoadData_t *> textItems;
    QList<ScheduleItemLoadData_t *> scheduleItems;
    QList<RealTimeChartItemLoadData_t *> rtChartItems;
    QList<DbQueryTextItemLoadData_t *> dbqTextItems;
    QList<TableItemLoadData_t *> tableItems;
    QList<GaugeItemLoadData_t *> gaugeItems;
    QList<ImageItemLoadData_t *> imageItems;
    QList<WebFrameItemLoadData_t *> webFrameItems;
    // Filled while loading only (one tagID_label per SCADA object, and "pageFunction:userConst1"
    // for each one with a page function); not kept in step with later edits, not saved.
    QList<int> labelTagIds;
    // Template name to a QVariantList of tag ids; filled by the host.
    QHash<QString, QVariant> templateTagIdsInUse;
    QStringList pageFunctionLinks;
    QList<int> auxList;             // host
    // Parallel lists: layerIds[i] is the low 32 bits of layers[i].id.
    QList<int> layerIds;
    QList<LayerInfo> layers;
    bool auxFlag1 = false;          // host
    bool auxFlag2 = false;          // host
    PageProperties pageProperties;
    bool auxFlag3 = true;           // host
    bool auxFlag4 = false;          // host

    ScaFileData();
    ScaFileData(const ScaFileData &other);
    ScaFileData(ScaFileData &&other) noexcept;
    ScaFileData &operator=(const ScaFileData &other);
    ScaFileData &operator=(ScaFileData &&other) noexcept;
    ~ScaFileData();

    // A deep copy that the caller owns together with its item records: every item record and
    // base record is new, with the field values of the source's (a SCADA object's auxEntries
    // are new entries with copies of the data); lists keep their order and all page-level
    // members are copied. Issues no new identifiers: Uid, pageID, pageName and fileName stay.
    // A null entry in an item list stays null in the copy.
    ScaFileData *clone();
    // Empties scadaObjects without deleting the records, which stay valid for whoever holds
    // them (and are theirs to delete). Nothing else changes.
    void clear();
    // Deletes the SCADA object records, one by one from the front, and empties scadaObjects.
    // The other item lists and members are left alone; their records are not deleted.
    void erase();
    // Deletes every item record of every kind (with its base record) and empties the nine item
    // lists; no other member changes. For holders of a page that are done with it: the page
    // itself is not deleted. Copies of the page that list the same records are left holding
    // dangling pointers, so only one holder of shared records may call it.
    void deleteAllItems();
    // The first SCADA object in scadaObjects whose Uid is uid, or null when there is none.
    ScadaObjectLoadData_t *getBlock(int uid);
    // Every tag id the page is bound to, one entry per binding (an item binding the same tag
    // twice gives two): the SCADA objects' tag slots (the eighteen of the page file in its
    // order, then extraTagIds), then the schedules' tags, the charts' lines, the
    // database-query texts' report tags, the gauges' tags, each kind in list order, and last
    // the scroll tags. Slots holding -1 ("none") are left out; null records are passed over.
    // Computed from the records as they are now, not from labelTagIds.
    QList<TagBinding_t> tagBindings() const;
    // The "ItemType" text of each item kind with the number of the page's records of that kind,
    // in the order the page file groups the kinds ("ScadaObject", "TextItem", ...).
    QList<QPair<QString, int>> itemCounts() const;
    // The value stored in templateTagIdsInUse under exactly that template name, as a list (an
    // empty list when the name is not a key). A found entry is also written to the debug output.
    QList<QVariant> getTemplateTagIdsInUse(QString templateName);
};

// A record kept for the host; the library only constructs, copies and destroys it.
class TIRREL_EXPORT BlockLoadData_t
{
public:
    quint64 head;
    QString text1;
    QString text2;
    QString text3;
    QString text4;
    QString text5;
    QString text6;
    int value1;
    int value2;
    int value3;
    int value4;
    quint64 tail;
    bool initialized;

    BlockLoadData_t();
    BlockLoadData_t(const BlockLoadData_t &other);
    BlockLoadData_t(BlockLoadData_t &&other) noexcept;
    BlockLoadData_t &operator=(const BlockLoadData_t &other);
    BlockLoadData_t &operator=(BlockLoadData_t &&other) noexcept;
    ~BlockLoadData_t();

    // Marks the record initialized; nothing else.
    void init();
};
