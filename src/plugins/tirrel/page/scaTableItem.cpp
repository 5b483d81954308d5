// Table items: the cell record, the field tables, reader and copy. The item
// uses the common envelope; its own content is one "TableData" element whose cells are JSON
// objects in CDATA sections.

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <limits>

using namespace PageXml;

namespace {

using R = TableItemLoadData_t;
using F = FieldRows<R>;

const int TableItemKind = 7;

// "TableData": "TableWidth", "TableHeight", "StyleSheet", "ColumnGroup" with one "Column" per
// column (attribute "width"), one "Row" per row with one "CellText" per cell.
const XmlName TableData("TableData");
const XmlName TableWidth("TableWidth");
const XmlName ColumnGroup("ColumnGroup");
const XmlName Column("Column");
const XmlName ColumnWidth("width");
const QString DefaultColumnWidth = QStringLiteral("0.3");
const XmlName Row("Row");
const XmlName CellText("CellText");

// Members of a cell's JSON object, all strings, named as the cell's members. A missing
// "cellFont" reads as this description, which has too few fields for the font parser: the cell
// keeps the font it had.
const QString TextKey = QStringLiteral("cellText");
const QString FontKey = QStringLiteral("cellFont");
const QString DefaultFontDescription = QStringLiteral("Arial,-1,10");
const QString ColorKey = QStringLiteral("cellTextColor");
const struct
{
    QString key;
    int TableCell::*field;
} intMembers[] = {
    {QStringLiteral("cellTextAlignment"), &TableCell::cellTextAlignment},
    {QStringLiteral("cellRowSpan"), &TableCell::cellRowSpan},
    {QStringLiteral("cellColumnSpan"), &TableCell::cellColumnSpan},
};

// A new cell's font and colour
const QString DefaultCellFamily = QStringLiteral("Arial");
const int DefaultCellPixelSize = 18;

const FieldTable<TableCell> &cellTable()
{
    using C = FieldRows<TableCell>;
    static const FieldTable<TableCell> rows = {
        C::member<&TableCell::cellText>("cellText"),
        C::member<&TableCell::cellFont>("cellFont"),
        C::member<&TableCell::cellTextColor>("cellTextColor"),
        C::member<&TableCell::cellRowSpan>("cellRowSpan"),
        C::member<&TableCell::cellColumnSpan>("cellColumnSpan"),
        C::member<&TableCell::cellTextAlignment>("cellTextAlignment"),
    };
    return rows;
}

// Members that are missing or not strings count as empty strings, and so as 0 for numbers.
void readTableCell(TableCell *cell, const QJsonObject &object)
{
    cell->cellText = object.value(TextKey).toString();
    const QString font = object.value(FontKey).toString();
    cell->cellFont.fromString(font.isEmpty() ? DefaultFontDescription : font);
    cell->cellTextColor = Fields::Color::parse(XmlValue(object.value(ColorKey).toString()));
    for (const auto &member : intMembers)
        cell->*member.field = XmlValue(object.value(member.key).toString()).toInt();
}

QString cellText(const TableCell &cell)
{
    QJsonObject object;
    object.insert(TextKey, cell.cellText);
    object.insert(FontKey, cell.cellFont.toString());
    object.insert(ColorKey, cell.cellTextColor.name());
    for (const auto &member : intMembers)
        object.insert(member.key, QString::number(cell.*member.field));
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented));
}

// Each row starts from a new cell, and every "CellText" of the row refines the cell the one
// before it left: what an object does not set carries over to the next cell. A "CellText" is a
// JSON object, or else plain text for cellText alone.
template <class Node>
void readRows(const Node &tableData, QList<QList<TableCell>> *rows)
{
    for (Node rowElement = tableData.firstChildElement(Row); !rowElement.isNull();
         rowElement = rowElement.nextSiblingElement(Row)) {
        QList<TableCell> row;
        TableCell cell;
        for (Node text = rowElement.firstChildElement(CellText); !text.isNull();
             text = text.nextSiblingElement(CellText)) {
            const QString json = text.text().toString();
            const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8());
            if (document.isObject())
                readTableCell(&cell, document.object());
            else
                cell.cellText = json;
            row.append(cell);
        }
        rows->append(row);
    }
}

// A table without "TableWidth" holds its column widths in pixels: its width is the sum of the
// truncated widths, and each width becomes its share of that sum. When the sum is 0 no share can
// be formed; the widths then stay as read (in such files they are fractions already, or missing)
// and the width is 0.
void pixelWidthsToFractions(R *r)
{
    qint64 sum = 0;
    for (double width : qAsConst(r->columnWidths))
        sum += truncatedToInt(width);
    r->TableWidth = int(std::clamp<qint64>(sum, std::numeric_limits<int>::min(),
                                           std::numeric_limits<int>::max()));
    if (sum == 0)
        return;
    for (double &width : r->columnWidths)
        width /= double(sum);
}

void writeColumns(QXmlStreamWriter &w, const R &r)
{
    w.writeStartElement(ColumnGroup);
    for (double width : r.columnWidths) {
        w.writeEmptyElement(Column);
        w.writeAttribute(ColumnWidth, Fields::Double::text(width));
    }
    w.writeEndElement(); // </ColumnGroup>
}

void writeRows(QXmlStreamWriter &w, const R &r)
{
    for (const QList<TableCell> &row : r.rows) {
        w.writeStartElement(Row);
        for (const TableCell &cell : row)
            writeCData(w, CellText, cellText(cell));
        w.writeEndElement(); // </Row>
    }
}

// "rows.size", "rows[i].size", "rows[i][j].<cell field>"
void rowFields(const Field<R> &, const R &r, FieldCollector &out)
{
    out.add(&r.rows, QStringLiteral("rows.size"), r.rows.size());
    for (int i = 0; i < r.rows.size(); ++i) {
        const QList<TableCell> &row = r.rows.at(i);
        out.add(&r.rows, QStringLiteral("rows[%1].size").arg(i), row.size());
        for (int j = 0; j < row.size(); ++j)
            out.add(&r.rows, QStringLiteral("rows[%1][%2]").arg(i).arg(j),
                    collectFields(row.at(j), cellTable()));
    }
}

// The children of "TableData", in writing order.
const FieldTable<R> &dataTable()
{
    static const FieldTable<R> rows = {
        F::element<&R::TableWidth>(TableWidth),
        F::element<&R::TableHeight>("TableHeight"),
        F::element<&R::StyleSheet>("StyleSheet"),
        F::member<&R::columnWidths>("columnWidths", &writeColumns),
        F::member(&rowFields, &writeRows),
    };
    return rows;
}

void writeTableData(QXmlStreamWriter &w, const R &r)
{
    w.writeStartElement(TableData);
    writeFields(w, r, dataTable());
    w.writeEndElement(); // </TableData>
}

} // namespace

const FieldTable<R> &tableItemTable()
{
    static const FieldTable<R> rows = envelopeTable<R>({}, {
        F::member(nullptr, &writeTableData),
        F::member<&R::auxList>("auxList"),
    });
    return rows;
}

TableCell::TableCell()
    : cellFont(DefaultCellFamily),
      cellTextColor(0x1F, 0x27, 0x2E),
      cellRowSpan(1),
      cellColumnSpan(1),
      cellTextAlignment(Qt::AlignLeft | Qt::AlignVCenter)
{
    cellFont.setPixelSize(DefaultCellPixelSize);
}

template <class Node>
TableItemLoadData_t *readTableItem(const Node &item)
{
    static const FieldReader<R> reader(tableItemTable(), {&TableData});
    static const FieldReader<R> dataReader(dataTable(), {&TableWidth, &ColumnGroup});
    R *r = newItem<R>(TableItemKind);
    const Node data = reader.read(item, *r)[reader.indexOf(TableData)];
    const ChildElements<Node> dataChildren = dataReader.read(data, *r);
    // Without a "TableWidth" text, "TableHeight" is not read and the widths are in pixels.
    const bool pixelWidths = dataChildren[dataReader.indexOf(TableWidth)].text().isEmpty();
    if (pixelWidths)
        r->TableHeight = 0;
    const Node columnGroup = dataChildren[dataReader.indexOf(ColumnGroup)];
    for (Node column = columnGroup.firstChildElement(Column); !column.isNull();
         column = column.nextSiblingElement(Column)) {
        const XmlValue width = column.attribute(ColumnWidth);
        r->columnWidths.append((width.isMissing() ? XmlValue(DefaultColumnWidth) : width).toFloat());
    }
    if (pixelWidths)
        pixelWidthsToFractions(r);
    readRows(data, &r->rows);
    return r;
}
template TableItemLoadData_t *readTableItem(const AuditNode &);
template TableItemLoadData_t *readTableItem(const DomNode &);
template TableItemLoadData_t *readTableItem(const TreeNode &);

TableItemLoadData_t *ScaFileProcessor::tableItemFromXML(QDomElement *item)
{
    return readTableItem(item ? DomNode(*item) : DomNode());
}

void copyTableItemData(TableItemLoadData_t *target, const TableItemLoadData_t *source)
{
    copyRecordFields(target, source);
}

RecordFields fieldsOf(const TableItemLoadData_t &item)
{
    return itemFields(item, tableItemTable(), dataTable());
}

RecordFields fieldsOf(const TableCell &cell)
{
    return collectFields(cell, cellTable());
}
