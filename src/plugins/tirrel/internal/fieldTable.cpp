#include "fieldTable_p.h"

#include <algorithm>
#include <cmath>
#include <limits>

int truncatedToInt(double value)
{
    if (std::isnan(value))
        return 0;
    if (value <= double(std::numeric_limits<int>::min()))
        return std::numeric_limits<int>::min();
    if (value >= double(std::numeric_limits<int>::max()))
        return std::numeric_limits<int>::max();
    return int(value);
}

void FieldCollector::add(const void *member, const QString &name, const QVariant &value)
{
    m_entries.append(Entry{member, RecordField{name, value}});
}

void FieldCollector::add(const void *member, const QString &prefix, const RecordFields &fields)
{
    for (const RecordField &field : fields)
        add(member, prefix + QLatin1Char('.') + field.name, field.value);
}

RecordFields FieldCollector::take()
{
    std::stable_sort(m_entries.begin(), m_entries.end(), [](const Entry &a, const Entry &b) {
        return std::less<const void *>()(a.member, b.member);
    });
    RecordFields fields;
    fields.reserve(m_entries.size());
    for (const Entry &entry : qAsConst(m_entries))
        fields.append(entry.field);
    m_entries.clear();
    return fields;
}
