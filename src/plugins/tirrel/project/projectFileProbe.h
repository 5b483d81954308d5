#pragma once

#include "fileAccess.h"
#include "tirrel_global.h"

#include <QObject>
#include <QString>

class QByteArray;

// What a file of a project holds, as ProjectFileProbe tells it from the file's content alone
// (never from its name).
struct TIRREL_EXPORT ProjectFileInfo_t
{
    enum Kind {
        Unreadable,         // the file could not be opened or read; errorMessage says why
        TooLarge,           // larger than ProjectFileProbe::MaxFileSize; not read
        Empty,              // no bytes, or white space only
        NotXml,             // content that does not start with markup: a CSV list, a picture...
        Malformed,          // starts like XML but is not a well-formed document the readers take
        PageFile,           // well-formed, root element "ScadaFile"
        DefinitionFile,     // well-formed, root element "CTDefinitions"
        ObjectLibraryFile,  // well-formed, root element "scadaObjectTypes"
        OtherXml            // well-formed, any other root element
    };

    Kind kind = Empty;
    // The document element's name; set for the four well-formed kinds only.
    QString rootElement;
    // Unreadable, TooLarge: the reason. Malformed: the parser's message, or a sentence saying
    // which of the readers' limits the document exceeds (nesting depth, entities, their
    // expansion). NotXml: the parser's message, as for a malformed document (the readers refuse
    // such content in the same way). probeRoot leaves it empty for NotXml.
    QString errorMessage;
    // Malformed and NotXml: the parser's line and column (from 1); both 0 when the document was
    // refused for the readers' limits before parsing, since no single position is to blame then.
    int errorLine = 0;
    int errorColumn = 0;
};

// Tells page files, definition files and object library files apart by their root element, and
// reports why a file is none of them, with the parser's position for one that is not
// well-formed. The readers themselves do not look at the root element (a definition file read as
// a page gives an empty page), so callers that take files from a folder probe them first.
//
// probe parses a document the way the readers parse it (the same parser, the same limits on
// nesting and entities), so a PageFile loads with ScaFileProcessor::loadFileData and a
// DefinitionFile with TgchFileProcessor::loadFileData, and a Malformed document is one they
// refuse. probeRoot reads no further than the root element's start tag: cheap enough to run
// before loading a file, and followed by a full parse only to load the file or to explain why
// it does not load. Nothing is kept between calls.
class TIRREL_EXPORT ProjectFileProbe : public QObject
{
    Q_OBJECT

public:
    // Files larger than this are not read by probeFile: the one limit of every reader and
    // writer of the library (FileAccess::MaxFileSize).
    static constexpr qint64 MaxFileSize = FileAccess::MaxFileSize;

    explicit ProjectFileProbe(QObject *parent = nullptr);
    ~ProjectFileProbe() override;

    // The kind of the document held in data. Never fails.
    static ProjectFileInfo_t probe(const QByteArray &data);
    // The kind of the document held in data by its root element alone: the four well-formed
    // kinds when the root's start tag is well-formed (what follows it is not looked at), Empty,
    // NotXml (without message or position), or Malformed with the parser's message and position
    // when no root element can be read. Never fails.
    static ProjectFileInfo_t probeRoot(const QByteArray &data);
    // Reads the whole file at path (FileAccess::readFile) and probes it: Unreadable when the path
    // names no readable regular file (a missing file, a folder, a pipe or device, which is never
    // opened, a file without read permission), TooLarge above MaxFileSize. The file is only read.
    static ProjectFileInfo_t probeFile(const QString &path);
};
