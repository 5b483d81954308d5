#pragma once

#include "scaFileData.h"
#include "tirrel_global.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

// The pages of the open project, keyed by file name, with look-ups across them.
//
// The host fills `pages` itself. The tree holds its pages by pointer: constructing, copying,
// moving, assigning or destroying a tree never creates or deletes a page, so copies list the
// same page objects. Only selfDestruct() deletes pages.
//
// Every look-up is a walk over `pages` in the hash's own iteration order (not insertion order)
// and, within a page, over scadaObjects in list order; where several pages could answer, the
// first in that order wins. Look-ups by name compare each key in turn (exact, case-sensitive).
// A look-up that finds nothing returns null, an empty string, list or set. Null pages are passed
// over, and so are null SCADA object entries everywhere but in getAllBlocks(). The tree keeps no
// state derived from its pages.
//
// Who deletes what: the host owns the pages and their item records; selfDestruct() deletes the
// pages and their SCADA object records, and nothing else.
//
// Not a QObject: the host copies and moves trees like values.
class TIRREL_EXPORT ProjectDataTree
{
public:
    bool auxFlag1 = false;                  // host
    QHash<QString, ScaFileData *> pages;    // not owned, but see selfDestruct()
    QString auxText1;                       // host
    QString auxText2;                       // host
    QString auxText3;                       // host
    QString auxText4;                       // host
    QString auxText5;                       // host
    int auxValue1 = 0;                      // host
    int auxValue2 = 0;                      // host
    bool auxFlag2 = false;                  // host
    bool auxFlag3 = false;                  // host
    bool auxFlag4 = false;                  // host
    bool auxFlag5 = false;                  // host

    ProjectDataTree();
    ProjectDataTree(const ProjectDataTree &other);
    ProjectDataTree(ProjectDataTree &&other) noexcept;          // leaves other.pages empty
    ProjectDataTree &operator=(const ProjectDataTree &other);
    ProjectDataTree &operator=(ProjectDataTree &&other) noexcept;  // leaves other.pages empty
    ~ProjectDataTree();

    // True when some key of `pages` equals name. A hash look-up: keys are unique, so the answer
    // is the walk's.
    bool containsFileName(QString name) const;
    // The page whose key equals name, or null (a hash look-up, as above).
    ScaFileData *getFiledataWithName(QString name) const;
    // The first page whose pageProperties.pageID is pageId, or null.
    ScaFileData *getFiledataWithPageId(int pageId) const;
    // The pageProperties.fileName (the page's own field, not its key) of the first page whose
    // pageProperties.pageID is pageId, or an empty string.
    QString getFileNameWithPageId(int pageId) const;
    // Every entry of every page's scadaObjects, page by page, as it stands: the records themselves,
    // not copies, null entries included.
    QList<ScadaObjectLoadData_t *> getAllBlocks() const;
    // The first SCADA object whose Uid is uid, or null.
    ScadaObjectLoadData_t *getBlock(int uid) const;
    // The key of the first page holding a SCADA object whose Uid is uid, or an empty string.
    QString getFileNameContainingBlock(int uid) const;
    // The componentUid texts of all SCADA objects; holds the empty text when any object has no
    // component.
    QSet<QString> getProjectComponents() const;

    // A new SCADA object identifier, for the caller to give to a new object (nothing is stored).
    // Draws a number with qrand() (never seeded here, so the host's seeding decides the
    // sequence) and walks every SCADA object once, drawing again whenever the object's Uid equals
    // the current number. The walk is not restarted, so the answer differs from every Uid after
    // the last redraw but may equal one passed before it.
    int requestUniqueId() const;

    // Ends the life of every page: erase() on each (deleting its SCADA object records), then the
    // page itself; `pages` is emptied first, so no entry refers to a deleted page. A page listed
    // under several keys is deleted once; null entries are skipped. The records of the other
    // eight item kinds are not deleted: they stay the host's (ScaFileData::deleteAllItems()
    // deletes them, if the host wants that, before this call).
    void selfDestruct();
};
