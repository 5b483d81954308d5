#include "scaFileData.h"

#include "scaItemKinds_p.h"

#include <QDebug>

ScaFileData::ScaFileData() = default;
ScaFileData::ScaFileData(const ScaFileData &other) = default;
ScaFileData::ScaFileData(ScaFileData &&other) noexcept = default;
ScaFileData &ScaFileData::operator=(const ScaFileData &other) = default;
ScaFileData &ScaFileData::operator=(ScaFileData &&other) noexcept = default;
ScaFileData::~ScaFileData() = default;

ScaFileData *ScaFileData::clone()
{
    // The page-level members come with the copy; every item list is then replaced by copies of
    // its records, kind by kind.
    auto *copy = new ScaFileData(*this);
    for (const ItemKind &kind : itemKinds())
        kind.copy(*this, copy);
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
            qDebug() << "getTemplateTagIdsInUse" << it.key() << ": " << it.value();
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
