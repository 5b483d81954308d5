#include "scaFileData.h"

#include "scaItemKinds_p.h"

#include "logging_p.h"

ScaFileData::ScaFileData() = default;
ScaFileData::ScaFileData(const ScaFileData &other) = default;
ScaFileData::ScaFileData(ScaFileData &&other) noexcept = default;
ScaFileData &ScaFileData::operator=(const ScaFileData &other) = default;
ScaFileData &ScaFileData::operator=(ScaFileData &&other) noexcept = default;
ScaFileData::~ScaFileData() = default;

ScaFileData *ScaFileData::clone()
{
    // Starts empty rather than as a copy of this page, so that no item list of the clone can
    // ever share a record with the source.
    auto *copy = new ScaFileData;
    for (const auto &kind : pageItemKinds())
        kind.copy(*this, copy);

    copy->labelTagIds = labelTagIds;
    copy->templateTagIdsInUse = templateTagIdsInUse;
    copy->pageFunctionLinks = pageFunctionLinks;
    copy->auxList = auxList;
    copy->layerIds = layerIds;
    copy->layers = layers;
    copy->auxFlag1 = auxFlag1;
    copy->auxFlag2 = auxFlag2;
    copy->pageProperties = pageProperties;
    copy->auxFlag3 = auxFlag3;
    copy->auxFlag4 = auxFlag4;
    return copy;
}

void ScaFileData::clear()
{
    scadaObjects.clear();
}

void ScaFileData::erase()
{
    while (!scadaObjects.isEmpty())
        delete scadaObjects.takeFirst();
}

void ScaFileData::deleteAllItems()
{
    for (const auto &kind : pageItemKinds())
        kind.deleteAll(this);
}

QList<QPair<QString, int>> ScaFileData::itemCounts() const
{
    QList<QPair<QString, int>> counts;
    for (const auto &kind : pageItemKinds())
        counts.append({kind.itemType, kind.count(*this)});
    return counts;
}

ScadaObjectLoadData_t *ScaFileData::getBlock(int uid)
{
    for (ScadaObjectLoadData_t *object : qAsConst(scadaObjects)) {
        if (object && object->Uid == uid)
            return object;
    }
    return nullptr;
}

QList<QVariant> ScaFileData::getTemplateTagIdsInUse(QString templateName)
{
    for (auto it = templateTagIdsInUse.cbegin(); it != templateTagIdsInUse.cend(); ++it) {
        if (it.key() == templateName) {
            qCDebug(tirrelPage) << "getTemplateTagIdsInUse" << it.key() << ": " << it.value();
            return it.value().toList();
        }
    }
    return QList<QVariant>();
}

BlockLoadData_t::BlockLoadData_t()
    : head(0), value1(0), value2(0), value3(0), value4(0), tail(0), initialized(false)
{
}

BlockLoadData_t::BlockLoadData_t(const BlockLoadData_t &other) = default;
BlockLoadData_t::BlockLoadData_t(BlockLoadData_t &&other) noexcept = default;
BlockLoadData_t &BlockLoadData_t::operator=(const BlockLoadData_t &other) = default;
BlockLoadData_t &BlockLoadData_t::operator=(BlockLoadData_t &&other) noexcept = default;
BlockLoadData_t::~BlockLoadData_t() = default;

void BlockLoadData_t::init()
{
    if (!initialized)
        initialized = true;
}
