// The CSV tag import of TgchFileProcessor.
#include "tgchFileProcessor.h"

#include "fileAccess.h"

#include <QTextStream>
#include <QVector>

#include <algorithm>

namespace {

const QChar kFieldSeparator = QLatin1Char(';');
const QChar kQuote = QLatin1Char('"');
const int kFieldCount = 4;
const qint32 kPollFrequency = 3;

// Type names, tested for containment in this order (so DWORD is a WORD, ULONG a LONG, and a
// type naming both WORD and FLOAT a WORD).
struct CsvType
{
    QLatin1String name;
    qint32 code;
    qint32 alternateCode;
    qint32 size;
};

const CsvType csvTypes[] = {
    {QLatin1String("LOGIC"), 16, 16, 1},
    {QLatin1String("WORD"), 1, 9, 2},
    {QLatin1String("FLOAT"), 6, 14, 4},
    {QLatin1String("LONG"), 3, 11, 4},
};

} // namespace

FileDataTree *TgchFileProcessor::loadTagsFromCSV(const QString &path, bool alternateTypeCodes)
{
    return loadTagsFromCSV(path, alternateTypeCodes, nullptr);
}

FileDataTree *TgchFileProcessor::loadTagsFromCSV(const QString &path, bool alternateTypeCodes,
                                                 QList<CsvSkippedLine_t> *skipped)
{
    QByteArray data;
    if (FileAccess::readFile(path, &data) != FileAccess::Read)
        return nullptr;
    // The system's text encoding, or the one a byte-order mark names. Binary mode: a line that
    // ends in CR LF keeps the CR in its last field, where the type test does not mind it.
    QString text;
    {
        QTextStream in(&data, QIODevice::ReadOnly);
        text = in.readAll();
    }
    data = QByteArray();

    auto *tree = new FileDataTree;
    bool tagLineSeen = false;
    const QVector<QStringRef> lines = text.splitRef(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        const QStringRef &line = lines.at(i);
        const QVector<QStringRef> fields = line.split(kFieldSeparator);
        const auto note = [&](CsvSkippedLine_t::Problem problem) {
            if (!skipped)
                return;
            CsvSkippedLine_t s;
            s.lineNumber = i + 1;
            s.fieldCount = fields.size();
            s.text = line.endsWith(QLatin1Char('\r')) ? line.chopped(1).toString()
                                                      : line.toString();
            s.problem = problem;
            skipped->append(s);
        };
        const bool quoted = std::any_of(fields.cbegin(), fields.cend(), [](const QStringRef &f) {
            return f.trimmed().startsWith(kQuote);
        });
        if (fields.size() != kFieldCount) {
            const bool endOfFile = i == lines.size() - 1 && line.isEmpty();
            if (!endOfFile) {
                note(CsvSkippedLine_t::FieldCount);
                if (quoted)
                    note(CsvSkippedLine_t::Quoted);
            }
            continue;
        }
        auto *tag = new pEtiketDef_t;
        const QString type = fields.at(3).toString().remove(QLatin1Char(' '));
        const CsvType *known = nullptr;
        for (const CsvType &t : csvTypes) {
            if (type.contains(t.name)) {
                known = &t;
                tag->VariableType = alternateTypeCodes ? t.alternateCode : t.code;
                tag->VariableSize = t.size;
                break;
            }
        }
        tag->Name = fields.at(2).toString();
        tag->VariableAddress = fields.at(1).toString();
        tag->PollFrequency = kPollFrequency;
        tree->TagList.append(tag);

        if (!tagLineSeen && !known
                && std::none_of(tag->VariableAddress.cbegin(), tag->VariableAddress.cend(),
                                [](QChar c) { return c.isDigit(); }))
            note(CsvSkippedLine_t::Header);
        tagLineSeen = true;
        if (tag->Name.trimmed().isEmpty())
            note(CsvSkippedLine_t::EmptyName);
        if (tag->VariableAddress.trimmed().isEmpty())
            note(CsvSkippedLine_t::EmptyAddress);
        if (!known)
            note(CsvSkippedLine_t::UnknownType);
        if (quoted)
            note(CsvSkippedLine_t::Quoted);
    }
    return tree;
}
