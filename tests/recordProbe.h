#pragma once
// Tells whether item records (or pages) still exist without touching them: the probe's string is
// handed to a record's base Name (or a page's fileName), which shares the string's data with the
// probe for as long as the record and its base record live. Once they are deleted the probe's
// string is the only holder again. Works in every build; the sanitizer build adds its own leak
// and use-after-free checks on top.
#include <scaFileData.h>

#include <QList>
#include <QString>

#include <algorithm>

class RecordProbe
{
public:
    // Marks the record (through its base record) and returns it.
    template <class Record>
    Record *mark(Record *record) { record->base->Name = next(); return record; }
    // Marks the page through its fileName and returns it.
    ScaFileData *markPage(ScaFileData *page) { page->pageProperties.fileName = next(); return page; }
    int count() const { return m_tokens.size(); }
    // How many of the marked records and pages are still alive.
    int alive() const
    {
        return int(std::count_if(m_tokens.cbegin(), m_tokens.cend(),
                                 [](const QString &t) { return !t.isDetached(); }));
    }

private:
    QString next()
    {
        m_tokens << QStringLiteral("probe-%1").arg(m_tokens.size());
        return m_tokens.last();
    }
    QList<QString> m_tokens;
};
