#include "projectDataTree.h"

#include <QtGlobal>

#include <type_traits>

namespace {

// qrand() is deprecated, but the identifiers must follow the sequence of the host's qsrand().
QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED
int drawId()
{
    return qrand();
}
QT_WARNING_POP

// The walks over records chase pointers spread over the heap, so in a project larger than the
// cache every step would wait for memory. What a step will read is asked for a few records
// ahead (and a text's characters half way), which makes a walk over texts about a fifth
// faster.
inline void prefetch(const void *address)
{
#if defined(__GNUC__)
    __builtin_prefetch(address);
#else
    Q_UNUSED(address);
#endif
}

const int ObjectsAhead = 8;

// Calls f(key, page) for every non-null page in walking order until f returns true; returns
// whether it did. (Asking for pages ahead made no measurable difference: the hash's nodes are
// read in order.)
template <typename F>
bool walkPages(const QHash<QString, ScaFileData *> &pages, F f)
{
    for (auto it = pages.cbegin(); it != pages.cend(); ++it) {
        if (it.value() && f(it.key(), it.value()))
            return true;
    }
    return false;
}

// Calls f(key, object) for every non-null SCADA object of every page, in walking order, until f
// returns true; returns whether it did. Field is the member f reads, fetched ahead.
template <auto Field, typename F>
bool walkObjects(const QHash<QString, ScaFileData *> &pages, F f)
{
    return walkPages(pages, [&](const QString &key, const ScaFileData *page) {
        const QList<ScadaObjectLoadData_t *> &objects = page->scadaObjects;
        const int count = objects.size();
        for (int i = -ObjectsAhead; i < count; ++i) {
            const int next = i + ObjectsAhead;
            if (next < count && objects.at(next))
                prefetch(&(objects.at(next)->*Field));
            // A text's characters lie behind one more pointer: asked for once the record that
            // holds it has arrived, half way.
            if constexpr (std::is_same_v<std::decay_t<decltype(objects.at(0)->*Field)>, QString>) {
                const int half = i + ObjectsAhead / 2;
                if (half >= 0 && half < count && objects.at(half))
                    prefetch((objects.at(half)->*Field).constData());
            }
            if (i < 0)
                continue;
            ScadaObjectLoadData_t *object = objects.at(i);
            if (object && f(key, object))
                return true;
        }
        return false;
    });
}

// The first page whose pageID is pageId, or null.
ScaFileData *pageWithId(const QHash<QString, ScaFileData *> &pages, int pageId)
{
    ScaFileData *found = nullptr;
    walkPages(pages, [&](const QString &, ScaFileData *page) {
        if (page->pageProperties.pageID != pageId)
            return false;
        found = page;
        return true;
    });
    return found;
}

} // namespace

ProjectDataTree::ProjectDataTree() = default;
ProjectDataTree::ProjectDataTree(const ProjectDataTree &other) = default;
ProjectDataTree::ProjectDataTree(ProjectDataTree &&other) noexcept = default;
ProjectDataTree &ProjectDataTree::operator=(const ProjectDataTree &other) = default;
ProjectDataTree &ProjectDataTree::operator=(ProjectDataTree &&other) noexcept = default;
ProjectDataTree::~ProjectDataTree() = default;

// Keys are unique, so the entry a walk comparing every key would find is the one the hash finds.
bool ProjectDataTree::containsFileName(QString name) const
{
    return pages.contains(name);
}

ScaFileData *ProjectDataTree::getFiledataWithName(QString name) const
{
    return pages.value(name);
}

ScaFileData *ProjectDataTree::getFiledataWithPageId(int pageId) const
{
    return pageWithId(pages, pageId);
}

QString ProjectDataTree::getFileNameWithPageId(int pageId) const
{
    const ScaFileData *page = pageWithId(pages, pageId);
    return page ? page->pageProperties.fileName : QString();
}

QList<ScadaObjectLoadData_t *> ProjectDataTree::getAllBlocks() const
{
    QList<ScadaObjectLoadData_t *> blocks;
    walkPages(pages, [&](const QString &, const ScaFileData *page) {
        blocks += page->scadaObjects;
        return false;
    });
    return blocks;
}

ScadaObjectLoadData_t *ProjectDataTree::getBlock(int uid) const
{
    ScadaObjectLoadData_t *found = nullptr;
    walkObjects<&ScadaObjectLoadData_t::Uid>(
        pages, [&](const QString &, ScadaObjectLoadData_t *object) {
        if (object->Uid != uid)
            return false;
        found = object;
        return true;
    });
    return found;
}

QString ProjectDataTree::getFileNameContainingBlock(int uid) const
{
    QString found;
    walkObjects<&ScadaObjectLoadData_t::Uid>(
        pages, [&](const QString &key, ScadaObjectLoadData_t *object) {
        if (object->Uid != uid)
            return false;
        found = key;
        return true;
    });
    return found;
}

QSet<QString> ProjectDataTree::getProjectComponents() const
{
    QSet<QString> components;
    walkObjects<&ScadaObjectLoadData_t::componentUid>(
        pages, [&](const QString &, ScadaObjectLoadData_t *object) {
        components.insert(object->componentUid);
        return false;
    });
    return components;
}

int ProjectDataTree::requestUniqueId() const
{
    int id = drawId();
    walkObjects<&ScadaObjectLoadData_t::Uid>(
        pages, [&](const QString &, ScadaObjectLoadData_t *object) {
        if (object->Uid == id)
            id = drawId();
        return false;
    });
    return id;
}

void ProjectDataTree::selfDestruct()
{
    // Emptied first, so that the tree never lists a deleted page.
    const QHash<QString, ScaFileData *> destroyed = qExchange(pages, {});
    QSet<ScaFileData *> deleted;
    for (ScaFileData *page : destroyed) {
        if (!page || deleted.contains(page))
            continue;
        deleted.insert(page);
        page->erase();
        delete page;
    }
}
