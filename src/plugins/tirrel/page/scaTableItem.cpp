// Table items: the cell record, the table's reader, content writer and copy. The item uses the
// common envelope; its own content is one "TableData" element whose cells are JSON objects in
// CDATA sections.

#include "scaFileFormat_p.h"
#include "scaFileProcessor.h"
#include "scaItemKinds_p.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <limits>

using namespace PageXml;

namespace {

const int TableItemKind = 7;

// "TableData" and its children
const QString TableData = QStringLiteral("TableData");
const QString TableWidth = QStringLiteral("TableWidth");
const QString TableHeight = QStringLiteral("TableHeight");
const QString StyleSheet = QStringLiteral("StyleSheet");
const QString ColumnGroup = QStringLiteral("ColumnGroup");
const QString Column = QStringLiteral("Column");
const QString ColumnWidth = QStringLiteral("width");
const QString DefaultColumnWidth = QStringLiteral("0.3");
const QString Row = QStringLiteral("Row");
const QString CellText = QStringLiteral("CellText");

// Members of a cell's JSON object, all strings. A missing "cellFont" reads as this description,
// which has too few fields for the font parser: the cell keeps the font it had.
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

// Members that are missing or not strings count as empty strings, and so as 0 for numbers.
void readTableCell(TableCell *cell, const QJsonObject &object)
{
    cell->cellText = object.value(TextKey).toString();
    const QString font = object.value(FontKey).toString();
    cell->cellFont.fromString(font.isEmpty() ? DefaultFontDescription : font);
    cell->cellTextColor.setNamedColor(object.value(ColorKey).toString());
    for (const auto &member : intMembers)
        cell->*member.field = parseInt(object.value(member.key).toString());
}

void writeTableCell(const TableCell &cell, QJsonObject *object)
{
    object->insert(TextKey, cell.cellText);
    object->insert(FontKey, cell.cellFont.toString());
    object->insert(ColorKey, cell.cellTextColor.name());
    for (const auto &member : intMembers)
        object->insert(member.key, QString::number(cell.*member.field));
}

// A cell's "CellText": a JSON object, or else plain text for cellText alone.
void readCellText(const QDomElement &element, TableCell *cell)
{
    const QString text = elementText(element);
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (document.isObject())
        readTableCell(cell, document.object());
    else
        cell->cellText = text;
}

QString cellText(const TableCell &cell)
{
    QJsonObject object;
    writeTableCell(cell, &object);
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented));
}

// Each row starts from a new cell, and every "CellText" of the row refines the cell the one
// before it left: what an object does not set carries over to the next cell.
void readRows(const QDomElement &tableData, QList<QList<TableCell>> *rows)
{
    for (QDomElement rowElement = tableData.firstChildElement(Row); !rowElement.isNull();
         rowElement = rowElement.nextSiblingElement(Row)) {
        QList<TableCell> row;
        TableCell cell;
        for (QDomElement text = rowElement.firstChildElement(CellText); !text.isNull();
             text = text.nextSiblingElement(CellText)) {
            readCellText(text, &cell);
            row.append(cell);
        }
        rows->append(row);
    }
}

void readColumnWidths(const QDomElement &columnGroup, QList<double> *widths)
{
    for (QDomElement column = columnGroup.firstChildElement(Column); !column.isNull();
         column = column.nextSiblingElement(Column))
        widths->append(parseFloat(textAttr(column, ColumnWidth, DefaultColumnWidth)));
}

// A table without "TableWidth" holds its column widths in pixels: its width is the sum of the
// truncated widths, and each width becomes its share of that sum. When the sum is 0 no share can
// be formed; the widths then stay as read (in such files they are fractions already, or missing)
// and the width is 0.
void pixelWidthsToFractions(TableItemLoadData_t *r)
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

} // namespace

TableCell::TableCell()
    : cellFont(DefaultCellFamily),
      cellTextColor(0x1F, 0x27, 0x2E),
      cellRowSpan(1),
      cellColumnSpan(1),
      cellTextAlignment(Qt::AlignLeft | Qt::AlignVCenter)
{
    cellFont.setPixelSize(DefaultCellPixelSize);
}

TableItemLoadData_t *ScaFileProcessor::tableItemFromXML(QDomElement *item)
{
    auto *r = new TableItemLoadData_t;
    const QDomElement e = item ? *item : QDomElement();
    readEnvelope(e, r->base, TableItemKind);

    const QDomElement data = e.firstChildElement(TableData);
    const QString width = readText(data, TableWidth);
    const bool pixelWidths = width.isEmpty(); // missing or empty
    if (!pixelWidths) {
        r->TableWidth = parseInt(width);
        r->TableHeight = readInt(data, TableHeight, 0);
    }
    r->StyleSheet = readText(data, StyleSheet);
    readColumnWidths(data.firstChildElement(ColumnGroup), &r->columnWidths);
    if (pixelWidths)
        pixelWidthsToFractions(r);
    readRows(data, &r->rows);
    return r;
}

void writeTableItem(QXmlStreamWriter &w, const TableItemLoadData_t &r)
{
    writeEnvelope(w, *r.base);
    w.writeStartElement(TableData);
    writeInt(w, TableWidth, r.TableWidth);
    writeInt(w, TableHeight, r.TableHeight);
    writeText(w, StyleSheet, r.StyleSheet);
    w.writeStartElement(ColumnGroup);
    for (double width : r.columnWidths) {
        w.writeEmptyElement(Column);
        w.writeAttribute(ColumnWidth, doubleText(width));
    }
    w.writeEndElement(); // </ColumnGroup>
    for (const QList<TableCell> &row : r.rows) {
        w.writeStartElement(Row);
        for (const TableCell &cell : row)
            writeCData(w, CellText, cellText(cell));
        w.writeEndElement(); // </Row>
    }
    w.writeEndElement(); // </TableData>
}

void copyTableItemData(TableItemLoadData_t *target, const TableItemLoadData_t *source)
{
    copyRecordFields(target, source);
}
