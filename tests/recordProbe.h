#pragma once
// Tells whether item records (or pages) still exist without touching them: the probe's string is
// handed to a record's base Name (or a page's fileName), which shares the string's data with the
// probe for as long as the record and its base record live. Once they are deleted the probe's
// string is the only holder again. Works in every build; the sanitizer build adds its own leak
// and use-after-free checks on top.
#include <scaFileData.h>

#include <QList>
#include <QString>

class RecordProbe
{
public:
    // Marks the record (through its base record) and returns it.
    template <class Record>
    Record *mark(Record *record)
    {
        record->base->Name = token(m_tokens.size());
        m_tokens << record->base->Name;
        return record;
    }
    // Marks the page through its fileName and returns it.
    ScaFileData *markPage(ScaFileData *page)
    {
        page->pageProperties.fileName = token(m_tokens.size());
        m_tokens << page->pageProperties.fileName;
        return page;
    }
    int count() const { return m_tokens.size(); }
    // How many of the marked records and pages are still alive.
    int alive() const
    {
        int n = 0;
        for (const QString &t : m_tokens)
            n += t.isDetached() ? 0 : 1;
        return n;
    }

private:
    static QString token(int i) { return QStringLiteral("probe-%1").arg(i); }
    QList<QString> m_tokens;
};
