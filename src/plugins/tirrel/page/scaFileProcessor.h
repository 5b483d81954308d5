#pragma once

#include "scaFileData.h"
#include "tirrel_global.h"

#include <QObject>

class QDomElement;

// Reads and writes page files (XML, root "ScadaFile"). All operations are static and keep no
// state between calls.
class TIRREL_EXPORT ScaFileProcessor : public QObject
{
    Q_OBJECT

public:
    explicit ScaFileProcessor(QObject *parent = nullptr);
    ~ScaFileProcessor() override;

    // Parses the bytes of a page file into a new page that the caller owns, together with the
    // item records in it (see ScaFileData). Returns null, with nothing left allocated, when the
    // bytes are not well-formed XML, and likewise for documents that nest elements more than
    // 1024 deep, declare entities other than plain texts, or expand entities to more than
    // 1,048,576 characters: no page comes near that, and the parser could not take them safely.
    // Anything else loads: missing values take their defaults, items of unknown kinds are
    // skipped. The page's fileName is the fileName argument, or the file's own "fileName" text
    // when the argument is a null string. Several threads may load pages at once (each its own
    // bytes and page); text items measured in their fonts are measured one at a time.
    static ScaFileData *loadFileData(const QByteArray &data, QString fileName);

    // Writes the page to fileName, replacing the file: items grouped by kind, then the page
    // properties (with fileName as "fileName"), layers and scroll tags. Removes ";" and "," from
    // the page's layer names, in the page too; texts lose the characters XML cannot hold. The
    // file is replaced whole or left as it was, and not touched when it already holds the new
    // content (FileAccess in fileAccess.h). Returns false, leaving any existing file as it was,
    // when page is null, when the file cannot be written (read-only, its folder cannot take a
    // new file) or when writing fails (a full disk, a quota, the size limit);
    // FileAccess::lastSaveError() tells why.
    static bool saveFileData(ScaFileData *page, QString fileName);

    // Item readers: each reads one "Item" element and returns a new record, with its own base
    // record, that the caller owns. They never fail: missing values take the kind's defaults.
    static ScadaObjectLoadData_t *scadaObjectFromXML(QDomElement *item);
    // A text item keeps its geometry in elements of its own. Without "Width" or "Height" the size
    // is measured from the text in the item's font, which needs a QGuiApplication; without one
    // the measured size is 0.
    static TextItemLoadData_t *textItemFromXML(QDomElement *item);
    static DbQueryTextItemLoadData_t *dbqTextItemFromXML(QDomElement *item);
    // Also writes the chart's ChartOrientation as one line of debug output.
    static RealTimeChartItemLoadData_t *rtchartItemFromXML(QDomElement *item);
    static GaugeItemLoadData_t *gaugeItemFromXML(QDomElement *item);
    // A cell without a font description the font parser accepts keeps the font of the cell
    // before it in its row; the parser itself prints a warning then.
    static TableItemLoadData_t *tableItemFromXML(QDomElement *item);
    static ImageItemLoadData_t *imageItemFromXML(QDomElement *item);
    static WebFrameItemLoadData_t *webFrameItemFromXML(QDomElement *item);
    static ScheduleItemLoadData_t *schItemFromXML(QDomElement *item);
};
