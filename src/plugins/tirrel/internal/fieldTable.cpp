#include "fieldTable_p.h"

#include <algorithm>
#include <cmath>
#include <limits>

int truncatedToInt(double value, const XmlValue *text)
{
    if (std::isnan(value)) {
        if (text)
            XmlAudit::coerced(PageFinding_t::NaN, text->toString(), XmlAudit::Int);
        return 0;
    }
    // The ends themselves are values of the range.
    const double low = std::numeric_limits<int>::min();
    const double high = std::numeric_limits<int>::max();
    if (value <= low || value >= high) {
        if (text && (value <= low - 1 || value >= high + 1))
            XmlAudit::coerced(PageFinding_t::OutOfRange, text->toString(), XmlAudit::Int);
        return value <= low ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
    }
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
