#pragma once

// Field tables: every format describes each record kind as one table with one row per field.
// A row names where the field sits in the file (the text of a child element of the record's
// element, an attribute of such a child, or an attribute of the record's element itself), the
// member that holds it, its text form and what a missing value reads as. One table drives the
// reader (FieldReader::read, a template over the node type), the writer (writeFields, in table
// order) and the record's fields for dumps and comparisons (collectFields). Members that no row
// can describe (lists of sub-records, values spread over several places) are read by small
// functions of their kind and still have a row, which writes them in their place and gives
// their fields.
//
//   using G = GaugeItemLoadData_t;
//   using F = FieldRows<G>;
//   F::element<&G::MaxValue>("MaxValue", "100"),     // <MaxValue>, a missing one reads as 100
//   F::attribute<&ItemBaseData_t::X, Fields::Truncated>(Geometry, X),
//   F::member<&G::auxBrush>("auxBrush"),              // the host's; not in the file
//
// A name used by one row only is written in the row; names several rows or functions share
// are XmlName constants of the format.

#include "recordFields_p.h"
#include "xmlAudit_p.h"
#include "xmlNode_p.h"
#include "xmlWrite_p.h"

#include <QColor>
#include <QVector>
#include <QXmlStreamWriter>

#include <algorithm>
#include <cstring>
#include <type_traits>

// A number read as floating point and truncated toward zero; NaN gives 0, values beyond the int
// range give its nearest end. With `text`, the text the number was read from, an audited read
// is told of those two (xmlAudit_p.h).
int truncatedToInt(double value, const XmlValue *text = nullptr);

// ---- Text forms ----------------------------------------------------------------------------
// parse() gives a member's value from the text in the file, text() the text written for it.
// Numbers follow XmlValue (QString's conversions: base 10, what does not parse gives 0).

namespace Fields {

struct Form { static bool missing(const XmlValue &v) { return v.isMissing(); } };

struct Text : Form
{
    static QString parse(const XmlValue &v) { return v.toString(); }
    static QString text(const QString &value) { return xmlSafe(value); }
};
// Texts that share the document's strings (XmlValue::toSharedString).
struct SharedText : Text { static QString parse(const XmlValue &v) { return v.toSharedString(); } };
// A present but empty text reads as a missing one.
struct NonEmptyText : Text { static bool missing(const XmlValue &v) { return v.isEmpty(); } };

struct Number : Form
{
    template <class V>
    static QString text(V value) { return QString::number(value); }
};
// Also the 8-bit members, which keep the low 8 bits of the int.
struct Int : Number { static int parse(const XmlValue &v) { return v.toInt(); } };
struct UInt : Number { static uint parse(const XmlValue &v) { return v.toUInt(); } };
struct Int64 : Number { static qint64 parse(const XmlValue &v) { return v.toInt64(); } };
struct UInt64 : Number { static quint64 parse(const XmlValue &v) { return v.toUInt64(); } };
// Read as floating point (single precision for TruncatedFloat), truncated toward zero.
template <class Real, Real (XmlValue::*toReal)() const>
struct TruncatedReal : Number
{
    static int parse(const XmlValue &v) { return truncatedToInt((v.*toReal)(), &v); }
};
using Truncated = TruncatedReal<double, &XmlValue::toDouble>;
using TruncatedFloat = TruncatedReal<float, &XmlValue::toFloat>;

// "0" or "1"; any int other than 0 reads as true.
struct Flag : Form
{
    static bool parse(const XmlValue &v) { return v.toInt() != 0; }
    static QString text(bool value) { return value ? QStringLiteral("1") : QStringLiteral("0"); }
};

// General format with six significant digits (12.5, 1.23457e+06, nan, inf).
struct Real : Form { static QString text(double value) { return QString::number(value, 'g', 6); } };
struct Double : Real { static double parse(const XmlValue &v) { return v.toDouble(); } };
struct Float : Real { static float parse(const XmlValue &v) { return v.toFloat(); } };
// Parsed at single precision, held as a double.
struct SingleReal : Real { static double parse(const XmlValue &v) { return v.toFloat(); } };

// Qt's colour names (#rgb, #rrggbb, SVG names); other text gives an invalid colour. Written as
// #rrggbb, an invalid colour as #000000.
struct Color : Form
{
    static QColor parse(const XmlValue &v)
    {
        QColor color;
        color.setNamedColor(v.toString());
        if (!color.isValid())
            XmlAudit::coerced(PageFinding_t::InvalidColor, v.toString(), XmlAudit::Color);
        return color;
    }
    static QString text(const QColor &value) { return value.name(); }
};

// The form a member of type V has unless its row names another.
template <class V> struct FormFor;
template <> struct FormFor<QString> { using type = Text; };
template <> struct FormFor<int> { using type = Int; };
template <> struct FormFor<qint8> { using type = Int; };
template <> struct FormFor<quint8> { using type = Int; };
template <> struct FormFor<uint> { using type = UInt; };
template <> struct FormFor<qint64> { using type = Int64; };
template <> struct FormFor<quint64> { using type = UInt64; };
template <> struct FormFor<bool> { using type = Flag; };
template <> struct FormFor<double> { using type = Double; };
template <> struct FormFor<float> { using type = Float; };
template <> struct FormFor<QColor> { using type = Color; };

} // namespace Fields

// ---- Collecting fields ---------------------------------------------------------------------

// Gathers a record's fields from its rows and orders them as the record declares its members
// (the order of the members' addresses): tables follow the file's order, dumps the record's.
class FieldCollector
{
public:
    void add(const void *member, const QString &name, const QVariant &value);
    // Every field of `fields` under "prefix." (a sub-record at `member`).
    void add(const void *member, const QString &prefix, const RecordFields &fields);
    // "name.size", then each entry's fields under "name[i].".
    template <class List, class FieldsOf>
    void addList(const void *member, const QString &name, const List &list, FieldsOf fieldsOf)
    {
        add(member, name + QStringLiteral(".size"), list.size());
        for (int i = 0; i < list.size(); ++i)
            add(member, QStringLiteral("%1[%2]").arg(name).arg(i), fieldsOf(list.at(i)));
    }

    RecordFields take();

private:
    struct Entry
    {
        const void *member;
        RecordField field;
    };
    QVector<Entry> m_entries;
};

// A member's value for collectFields.
template <class V>
QVariant fieldValue(const V &value)
{
    return QVariant::fromValue(value);
}
template <std::size_t N>
QVariant fieldValue(const int (&values)[N])
{
    return QVariant::fromValue(QList<int>(values, values + N));
}

// ---- Rows ------------------------------------------------------------------------------------

template <class R>
struct Field
{
    // Where the value sits: the text of the child element `element`, its attribute
    // `attribute`, or (element null) the attribute of the record's own element. Both null: the
    // file carries no such field.
    XmlName element;
    XmlName attribute;
    // The text a missing value reads as; null: the new record's value stays.
    const char *missingText;
    bool cdata;
    // The member's name when it is not the element's or attribute's.
    const char *name;
    void (*read)(const Field &row, R &record, const XmlValue &value);   // null: not read
    QString (*text)(const R &record);                                  // null: not written
    void (*fields)(const Field &row, const R &record, FieldCollector &out);
    // Writes what the row stands for in its place, instead of text (sub-records, values
    // spread over several places).
    void (*write)(QXmlStreamWriter &w, const R &record);

    QString fieldName() const
    {
        if (name)
            return QLatin1String(name);
        return attribute.isNull() ? element.string() : attribute.string();
    }
};

// What a format's rows do unless they say otherwise: a missing value keeps the new record's
// value and texts get memory of their own (pages, the object library), or a missing value reads
// as an empty text and texts share the document's strings (definitions).
struct KeepMissing
{
    static constexpr const char *missing = nullptr;
    using Text = Fields::Text;
};
struct EmptyWhenMissing
{
    static constexpr const char *missing = "";
    using Text = Fields::SharedText;
};

// The rows of record R. The member may be one of R's or, for the rows of a page item, one of
// its base record's (ItemBaseData_t), reached through `base`; those rows give no fields of the
// item (the base record has its own).
template <class C, class V>
V *memberPointee(V C::*); // only for the type

template <class R, class Style = KeepMissing>
struct FieldRows
{
    static constexpr const char *missingDefault = Style::missing;
    template <auto M>
    using ValueOf = std::remove_pointer_t<decltype(memberPointee(M))>;
    template <auto M>
    using FormOf = std::conditional_t<std::is_same_v<ValueOf<M>, QString>, typename Style::Text,
                                      typename Fields::FormFor<ValueOf<M>>::type>;

    // The text of child element `element`; cdata: written as a CDATA section.
    template <auto M, class F = FormOf<M>>
    static Field<R> element(const XmlName &element, const char *missing = missingDefault)
    {
        return row<M, F>(element, XmlName(), missing, false);
    }
    template <auto M, class F = FormOf<M>>
    static Field<R> cdata(const XmlName &element, const char *missing = missingDefault)
    {
        return row<M, F>(element, XmlName(), missing, true);
    }
    // Attribute `attribute` of child element `element`.
    template <auto M, class F = FormOf<M>>
    static Field<R> attribute(const XmlName &element, const XmlName &attribute,
                              const char *missing = missingDefault)
    {
        return row<M, F>(element, attribute, missing, false);
    }
    // Attribute of the record's own element.
    template <auto M, class F = FormOf<M>>
    static Field<R> ownAttribute(const XmlName &attribute, const char *missing = missingDefault)
    {
        return row<M, F>(XmlName(), attribute, missing, false);
    }
    // A member that no row of the file carries: the host's, or one that functions of the kind
    // read and, with `write`, write in the row's place.
    template <auto M>
    static Field<R> member(const char *name, void (*write)(QXmlStreamWriter &, const R &) = nullptr)
    {
        return {XmlName(), XmlName(), nullptr, false, name, nullptr, nullptr, &memberFields<M>,
                write};
    }
    // The same for a member whose fields a function of the kind gives (lists of sub-records).
    static Field<R> member(void (*fields)(const Field<R> &, const R &, FieldCollector &),
                           void (*write)(QXmlStreamWriter &, const R &) = nullptr)
    {
        return {XmlName(), XmlName(), nullptr, false, nullptr, nullptr, nullptr, fields, write};
    }
    // A row read as it says and written by `write` (null: not written).
    static Field<R> writtenBy(Field<R> row, void (*write)(QXmlStreamWriter &, const R &))
    {
        row.text = nullptr;
        row.write = write;
        return row;
    }

private:
    template <auto M>
    static constexpr bool onBase = !std::is_invocable_v<decltype(M), R &>;

    template <auto M, class T> // T: R or const R
    static auto &memberOf(T &record)
    {
        if constexpr (onBase<M>)
            return (*record.base).*M;
        else
            return record.*M;
    }

    template <auto M, class F>
    static void read(const Field<R> &row, R &record, const XmlValue &value)
    {
        using V = std::remove_reference_t<decltype(memberOf<M>(record))>;
        if (!F::missing(value))
            memberOf<M>(record) = static_cast<V>(F::parse(value));
        else if (row.missingText)
            memberOf<M>(record) = static_cast<V>(F::parse(
                    XmlValue(row.missingText, int(std::strlen(row.missingText)))));
    }
    template <auto M, class F>
    static QString text(const R &record)
    {
        return F::text(memberOf<M>(record));
    }
    template <auto M>
    static void memberFields(const Field<R> &row, const R &record, FieldCollector &out)
    {
        const auto &value = memberOf<M>(record);
        out.add(&value, row.fieldName(), fieldValue(value));
    }

    template <auto M, class F>
    static Field<R> row(const XmlName &element, const XmlName &attribute, const char *missing,
                        bool cdata)
    {
        return {element, attribute, missing, cdata, nullptr, &read<M, F>, &text<M, F>,
                onBase<M> ? nullptr : &memberFields<M>, nullptr};
    }
};

template <class R>
using FieldTable = QVector<Field<R>>;

// ---- Reading ---------------------------------------------------------------------------------

// What a table reads from a record's element, worked out once per table: the child elements
// it looks at (with `more`, children that the kind's own functions look up) and the rows each of
// them holds.
template <class R>
class FieldReader
{
public:
    FieldReader(const FieldTable<R> &table, std::initializer_list<const XmlName *> more = {})
        : m_table(table), m_names(elementNames(table, more))
    {
        m_rowsOf.resize(m_names.size());
        for (int row = 0; row < table.size(); ++row) {
            const Field<R> &field = table.at(row);
            if (!field.read)
                continue;
            if (field.element.isNull())
                m_ownRows.append(row);
            else
                m_rowsOf[m_names.indexOf(field.element.string())].append(row);
        }
        m_kept.fill(false, m_names.size());
        for (const XmlName *name : more)
            m_kept[m_names.indexOf(name->string())] = true;
    }

    const XmlNames &names() const { return m_names; }
    // The index in names() of a child element named in the table or in `more`.
    int indexOf(const XmlName &name) const { return m_names.indexOf(name.string()); }

    // Fills `record` from `element`, in one pass over its children (a row whose element is
    // missing reads a missing value), and returns the children named in `more` (the other
    // entries are null).
    template <class Node>
    ChildElements<Node> read(const Node &element, R &record) const
    {
        for (int row : m_ownRows)
            readRow(row, record, element);
        ChildElements<Node> kept(m_kept.contains(true) ? m_names.size() : 0);
        forFirstChildElements(element, m_names, [&](int i, const Node &child) {
            for (int row : m_rowsOf.at(i))
                readRow(row, record, child);
            if (m_kept.at(i))
                kept[i] = child;
        });
        return kept;
    }

private:
    template <class Node>
    void readRow(int row, R &record, const Node &holder) const
    {
        const Field<R> &field = m_table.at(row);
        field.read(field, record,
                   field.attribute.isNull() ? holder.text() : holder.attribute(field.attribute));
    }

    static XmlNames elementNames(const FieldTable<R> &table,
                                 std::initializer_list<const XmlName *> more)
    {
        QVector<const XmlName *> names;
        const auto add = [&names](const XmlName &name) {
            const auto same = [&name](const XmlName *n) { return n->string() == name.string(); };
            if (std::none_of(names.cbegin(), names.cend(), same))
                names.append(&name);
        };
        for (const Field<R> &row : table) {
            if (!row.element.isNull() && row.read)
                add(row.element);
        }
        for (const XmlName *name : more)
            add(*name);
        return XmlNames(names.constData(), names.size());
    }

    const FieldTable<R> &m_table;
    XmlNames m_names;
    QVector<QVector<int>> m_rowsOf;     // per child element, the rows it holds
    QVector<int> m_ownRows;             // rows holding attributes of the record's element
    QVector<bool> m_kept;               // children returned by read()
};

// ---- Writing ---------------------------------------------------------------------------------

// Writes the rows of `table` from `begin` to `end` that have a text or a writer, in table
// order: an attribute of the record's own element (which the caller has started), one empty
// element per run of rows holding attributes of the same child, or one element per element text.
template <class R>
void writeFields(QXmlStreamWriter &w, const R &record, const Field<R> *begin, const Field<R> *end)
{
    const XmlName *open = nullptr; // the empty element taking the attributes that follow
    for (const Field<R> *row = begin; row != end; ++row) {
        if (!row->text && !row->write)
            continue;
        const bool attribute = !row->write && !row->attribute.isNull();
        if (!attribute)
            open = nullptr;
        else if (!row->element.isNull() && (!open || (open->latin1() != row->element.latin1()
                                                      && open->string() != row->element.string())))
            w.writeEmptyElement(*(open = &row->element));
        if (row->write) {
            row->write(w, record);
        } else if (attribute) {
            w.writeAttribute(row->attribute, row->text(record));
        } else if (row->cdata) { // the text is XML-safe already
            w.writeStartElement(row->element);
            w.writeCDATA(row->text(record));
            w.writeEndElement();
        } else {
            w.writeTextElement(row->element, row->text(record));
        }
    }
}
template <class R>
void writeFields(QXmlStreamWriter &w, const R &record, const FieldTable<R> &table)
{
    writeFields(w, record, table.cbegin(), table.cend());
}

// ---- Fields ----------------------------------------------------------------------------------

template <class R>
void collectFields(const R &record, const FieldTable<R> &table, FieldCollector &out)
{
    for (const Field<R> &row : table) {
        if (row.fields)
            row.fields(row, record, out);
    }
}
template <class R>
RecordFields collectFields(const R &record, const FieldTable<R> &table)
{
    FieldCollector out;
    collectFields(record, table, out);
    return out.take();
}
