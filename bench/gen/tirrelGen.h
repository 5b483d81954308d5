#pragma once

// Generated project files for the benchmarks and the tests: page files, definition files, object
// library files, CSV tag lists and whole projects, of any size, the same bytes for the same seed
// on every machine (std::mt19937's sequence is fixed by the C++ standard; no other source of
// randomness is used).
//
// The XML files are written with QXmlStreamWriter exactly as the library's writers write them
// (element and attribute order, number forms, CDATA sections, auto-formatting), with values that
// survive a load and a save unchanged, so loading a generated file and saving it again gives the
// same bytes. Every call to the stream writer can be recorded on an XmlTape, whose replay is the
// least that writing the same file can cost.

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QVector>

#include <random>

class QXmlStreamWriter;

namespace TirrelGen {

// The calls made on a QXmlStreamWriter, with every name and text made in advance (identical texts
// share one string), so that replay() costs the writer's own work and nothing else.
class XmlTape
{
public:
    enum Op : quint8 {
        StartDocument, EndDocument, Dtd, StartElement, EndElement, EmptyElement, Attribute,
        Characters, CData, TextElement
    };

    void record(Op op, const QString &name = QString(), const QString &text = QString());
    // Makes the same calls on w, in the same order.
    void replay(QXmlStreamWriter &w) const;
    int size() const { return m_ops.size(); }
    bool isEmpty() const { return m_ops.isEmpty(); }
    void clear();

private:
    struct Entry
    {
        Op op;
        QString name;
        QString text;
    };
    QString intern(const QString &s);

    QVector<Entry> m_ops;
    QHash<QString, QString> m_strings;
};

// A file's bytes and, when asked for, the tape of the writer calls that produced them.
struct Output
{
    QByteArray bytes;
    XmlTape tape;
};

// Kinds of page items, in the order the page writer groups them.
enum ItemKind {
    ScadaObject, TextItem, ScheduleItem, RTChartItem, DbqTextItem, TableItem, ImageItem,
    GaugeItem, WebFrameItem, KindCount
};
const char *itemTypeName(ItemKind kind);

struct PageRequest
{
    int items = 1000;
    quint32 seed = 1;
    int pageId = 1;
    // Uids of the SCADA objects are uidBase, uidBase + 1, ... (distinct within a project when
    // each page gets its own range).
    int uidBase = 1000;
    int layers = 6;         // at most items; every layer carries at least one item
    QString pageName;       // empty: "Page <pageId>"
    QString fileName;       // the "fileName" text; the page writer writes the path it saves to
    QString relativePath;
};

// How many items of each kind a page of `items` items holds: mostly SCADA objects, then texts,
// gauges, images ...; every kind at least once when items >= KindCount.
QVector<int> kindCounts(int items);

// A page file of request.items items spread over every kind.
Output page(const PageRequest &request, bool withTape = false);

// One record of a definition file: its value elements in the record writer's order.
struct Field
{
    QString element;
    QString text;
};
using Record = QVector<Field>;

// Channels (the placeholder "None" first, as the reader puts it), tags and alarms of a definition
// file with `tags` tags: one channel per 250 tags (at least 2 besides the placeholder) and one
// alarm per 4 tags. Values are in the text forms of the file.
struct DefinitionData
{
    QVector<Record> channels;
    QVector<Record> tags;
    QVector<Record> alarms;
};
DefinitionData definitionData(int tags, quint32 seed = 1);

// The definition file as the record writer writes it (XML declaration, 4-space indentation,
// channels, tags and alarms).
Output definitionFile(const DefinitionData &data, bool withTape = false);
// The same definitions as the export from the editor's two table models writes them: the text
// of a document model (XML declaration, document type, 1-space indentation), model element
// order, no alarms; the tape writes the same elements with a stream writer. The placeholder
// channel is not part of the models.
Output definitionModelFile(const DefinitionData &data, bool withTape = false);
// The cells of the channel and tag models, one string list per row in model column order; the
// placeholder channel is left out.
QVector<QStringList> channelModelRows(const DefinitionData &data);
QVector<QStringList> tagModelRows(const DefinitionData &data);
extern const char *const channelModelColumns[22];
extern const char *const tagModelColumns[31];

// An object library file of `objects` objects with the identifiers firstUid, firstUid + 1, ...
// userForm: only the fields the user library writer writes (name, category, uid, images);
// otherwise every field, as in the standard library file.
Output objectLibrary(int objects, quint32 seed = 1, int firstUid = 0, bool userForm = false,
                     bool withTape = false);

// A ";"-separated tag list of `lines` four-field lines, each ending in a line feed.
QByteArray csvTagList(int lines, quint32 seed = 1);

// The pages of a project of `pages` pages of itemsPerPage items each: file names
// "pages/page<n>.xml" (n from 00001), page ids 1.., SCADA object uids 1 + index * itemsPerPage
// onwards, so distinct across the project.
struct ProjectPage
{
    QString fileName;
    QByteArray bytes;
};
QVector<ProjectPage> project(int pages, int itemsPerPage = 24, quint32 seed = 1);
// Page `index` (from 0) of such a project, on its own.
ProjectPage projectPage(int index, int itemsPerPage = 24, quint32 seed = 1);

} // namespace TirrelGen
