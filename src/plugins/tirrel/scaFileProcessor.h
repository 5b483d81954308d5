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
    // bytes are not well-formed XML. Anything else loads: missing values take their defaults,
    // items of unknown kinds are skipped. The page's fileName is the fileName argument, or the
    // file's own "fileName" text when the argument is a null string.
    static ScaFileData *loadFileData(const QByteArray &data, QString fileName);

    // Writes the page to fileName, replacing the file: items grouped by kind, then the page
    // properties (with fileName as "fileName"), layers and scroll tags. Removes ";" and "," from
    // the page's layer names, in the page too. Returns false, leaving any existing file as it
    // was, when the file cannot be opened for writing (or page is null); the new content
    // replaces the old file only once it has been written completely.
    static bool saveFileData(ScaFileData *page, QString fileName);

    // Item readers: each reads one "Item" element and returns a new record, with its own base
    // record, that the caller owns. They never fail: missing values take the kind's defaults.
    static ScadaObjectLoadData_t *scadaObjectFromXML(QDomElement *item);
};
