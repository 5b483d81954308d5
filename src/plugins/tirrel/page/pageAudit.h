#pragma once

#include "scaFileData.h"
#include "tirrel_global.h"

#include <QList>
#include <QObject>
#include <QString>

// One thing a page file holds that a loaded page does not keep (a save then drops it), or one
// value that its reading did not take as the file has it (a save then writes another text).
struct TIRREL_EXPORT PageFinding_t
{
    enum Kind {
        // Not kept
        UnknownItemKind,        // an "Item" whose "ItemType" no item kind has
        IgnoredElement,         // an element the reader does not read in that place
        DuplicateElement,       // a second element of a name of which only the first is read
        IgnoredAttribute,
        RootAttribute,          // an attribute of the root element, which has none
        IgnoredText,            // text of an element that holds no text
        Comment,
        ProcessingInstruction,
        DocumentType,
        // Coerced
        NotANumber,             // read as 0 (or false)
        NotAnInteger,           // a number with a fraction or exponent where an integer goes: 0
        OutOfRange,             // beyond its type: an integer reads as 0, a real as an infinity
                                // or 0, a position read as a real is clamped
        NaN,                    // "nan" for a position read as a real: 0
        InvalidColor,           // no colour name (also an empty one): written as #000000
        UndecodableBytes,       // bytes of no character in the file's encoding: U+FFFD
        ControlCharacters,      // characters XML cannot hold, which a save removes
    };
    static constexpr int KindCount = ControlCharacters + 1;

    Kind kind = IgnoredElement;
    // Where in the file: "/ScadaFile/ItemList/Item[3]/Geometry/@X", "/ScadaFile/comment()";
    // "/" for the document type. A position counts the siblings of the same name, from 1, and
    // is left out when the name is the only one of its kind among its siblings.
    QString path;
    // The item it lies in: its "ItemType" text (unknown kinds too), its place in the page's list
    // of its kind (-1 for unknown kinds), its "Name". Empty and -1 outside items.
    QString itemType;
    int itemIndex = -1;
    QString itemName;
    // What the file holds there: an element or item as markup, an attribute's value, a
    // comment's text; for a coerced value, the text that was converted.
    QString text;
    // Coerced values: what the text was read as ("int", "unsigned 64-bit int", "float",
    // "colour", ...); empty for texts.
    QString readAs;

    bool isCoercion() const { return kind >= NotANumber; }
};

// Loads a page file as ScaFileProcessor::loadFileData does and lists what the file holds that
// the page does not keep, and the values that were not taken as they stand: what a save, and
// `tirrel page normalize`, would change beyond the layout of the file. The same reader runs over
// the parsed document and records what it touches; everything it never touched is reported.
class TIRREL_EXPORT PageAudit : public QObject
{
    Q_OBJECT

public:
    explicit PageAudit(QObject *parent = nullptr);
    ~PageAudit() override;

    // The page that ScaFileProcessor::loadFileData(data, fileName) returns (null for the same
    // bytes), owned by the caller with its item records. *findings (when not null) receives the
    // findings in document order. Slower than loadFileData and with more memory: for tools, not
    // for the editor's loading.
    static ScaFileData *loadFileData(const QByteArray &data, QString fileName,
                                     QList<PageFinding_t> *findings);
};
