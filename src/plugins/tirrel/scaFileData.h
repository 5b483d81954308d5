#pragma once

#include "tirrel_global.h"

#include <QByteArray>
#include <QHash>
#include <QList>
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

// The other item kinds. Each record owns its base record as ItemRecord tells; the rest of the
// fields come with the kind's reader, writer and copy function.
struct TIRREL_EXPORT TextItemLoadData_t : ItemRecord
{
};
struct TIRREL_EXPORT DbQueryTextItemLoadData_t : ItemRecord
{
};
struct TIRREL_EXPORT RealTimeChartItemLoadData_t : ItemRecord
{
};
struct TIRREL_EXPORT GaugeItemLoadData_t : ItemRecord
{
};
struct TIRREL_EXPORT TableItemLoadData_t : ItemRecord
{
};
struct TIRREL_EXPORT ImageItemLoadData_t : ItemRecord
{
};
struct TIRREL_EXPORT WebFrameItemLoadData_t : ItemRecord
{
};
struct TIRREL_EXPORT ScheduleItemLoadData_t : ItemRecord
{
};

// One page (operator screen) in memory.
//
// The page holds its item records by pointer and never creates or deletes one: copying or
// moving a page copies or moves the pointers, so a copy lists the very same records as its
// source, and destroying a page leaves its records alive. Records are deleted by erase() (the
// SCADA objects) and otherwise by whoever holds the page. `layers` and `scrollTags` hold their
// records by value. A moved-from page has empty lists.
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

    // A deep copy, owned by the caller: every item record and base record is new, with equal
    // field values; all page-level members are copied. Issues no new identifiers.
    ScaFileData *clone();
    // Empties scadaObjects without deleting the records.
    void clear();
    // Deletes the SCADA object records and empties scadaObjects; other lists are left alone.
    void erase();
    // The first SCADA object whose Uid is uid, or null.
    ScadaObjectLoadData_t *getBlock(int uid);
    // The stored list of tag ids for the template, or an empty list when there is none.
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
