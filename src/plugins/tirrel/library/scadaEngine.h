#pragma once

#include "tirrel_global.h"

#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

// One object type of the object library.
struct TIRREL_EXPORT ScadaLibObject
{
    QString name;
    QString objectCategory;
    int objectUID = 0;
    int rtuID = 0;
    int registerID = 0;
    int objectType = 0;
    // "images/<file name>", relative to the folder of the library file the record came from
    // (ScadaEngine::getLibPath() for standard objects, getUserLibPath() for user objects).
    QStringList images;
    int width = 0;
    int height = 0;
    float m_val = 0;
    float a_val = 0;
    int lofX = 0;
    int lofY = 0;
    int reserved = 0;   // kept for the record's layout; never set or read by the library
    bool isUserObject = false;
};

// The object library: the catalogue of SCADA object types the editor builds pages from.
//
// Two files are read when the engine is created:
//   - the standard library <libPath>objlib.xml, libPath being the folder "scdLib" beside the
//     program's folder (for a program in /opt/x/bin: /opt/x/scdLib/);
//   - the user library <userLibPath>userlib.xml, userLibPath being <home>/Parvane/, whose
//     images live in <userLibPath>images/ (created with the engine when missing).
//
// File format (both files):
//
//   <?xml version="1.0" encoding="UTF-8"?>
//   <scadaObjectTypes>
//       <object name="Valve">
//           <objectCategory>Valves</objectCategory>
//           <objectUID>12</objectUID>
//           <objectType>3</objectType>   also rtuID, registerID, width, height, lofX, lofY,
//                                        m_val, a_val: decimal integers
//           <image1>valve_open.png</image1>
//           <image2>valve_closed.png</image2>
//       </object>
//   </scadaObjectTypes>
//
// The root's name is not checked and its children other than "object" are ignored. Each field
// is the first child element of its name, in any order; a missing field or a text that is not
// a decimal integer reads as empty or 0 ("m_val" 2.5 reads as 0). Images are read from image1
// upwards and stop at the first missing number. Records read from a file whose name contains
// "objlib.xml" are standard objects, all others user objects. A file that cannot be opened
// (missing, unreadable, not a regular file, or larger than FileAccess::MaxFileSize) reports
// "dosya acilamadi" on the debug output; one that is not well-formed XML, or that nests elements
// more than 1024 deep or declares entities other than plain texts, is skipped silently. Either
// way its list stays empty.
class TIRREL_EXPORT ScadaEngine : public QObject
{
    Q_OBJECT

public:
    // The one engine, created (and both library files read) on the first call. It is never
    // destroyed by the library; the first call must not race another.
    static ScadaEngine *instance();
    // Deletes the records it owns.
    ~ScadaEngine() override;

    // The catalogue itself, not a copy: the standard objects in file order, then the user
    // objects in the order they were read or added. Records are owned by the engine.
    QList<ScadaLibObject *> *getLibObjects();
    // Folders ending in a separator.
    QString getLibPath() const;
    QString getUserLibPath() const;

    // Adds a user object type and takes ownership of `object` (null is ignored). The object gets
    // a fresh objectUID, each of its images (paths of files anywhere) is copied into the user
    // image folder and becomes "images/<file name>", the whole user library file is rewritten,
    // and a modal box confirms the addition, even when the file could not be written. An image
    // already in the folder under the same file name is replaced, even when it is read-only (as
    // if removed first), but only once its source has been copied completely beside it: a source
    // that is missing, cannot be read, or is that very file leaves it as it was. The copy takes
    // the source's permission bits. Other fields, isUserObject included, are kept as the caller
    // set them.
    void addUserObject(ScadaLibObject *object);

    // Writes `objects`, in list order, as the user library file: each with its name, category,
    // identifier and image file names only, texts without the characters XML cannot hold. The
    // file is replaced whole or left as it was (FileAccess in fileAccess.h). Returns false,
    // leaving any earlier file in place, when the file cannot be opened ("dosya acilamadi" on the
    // debug output: read-only, or its folder cannot take a new file) or written (a full disk, a
    // quota); FileAccess::lastSaveError() tells why. Null entries are skipped.
    bool saveUserLibraryFile(QList<ScadaLibObject *> objects);

private:
    ScadaEngine();
    bool readLibDir(QString path);
    // The smallest non-negative identifier not in use; it is in use from then on.
    int chooseaUID();
    void markUidUsed(int uid);

    QList<ScadaLibObject *> libObjects;
    QList<ScadaLibObject *> userLibObjects;
    QList<ScadaLibObject *> allLibObjects;
    QString libPath;
    QString userLibPath;
    QString imagesPath;
    QList<int> usedUIDs;   // every identifier read or issued, repeats included

    // Look-up side of usedUIDs, and the point below which every identifier is taken.
    QSet<int> m_usedUidSet;
    int m_firstFreeCandidate = 0;
    // Shares its data with allLibObjects as long as nobody has changed the catalogue through
    // getLibObjects(), so that adding to it need not rebuild it.
    QList<ScadaLibObject *> m_builtCatalogue;

    static ScadaEngine *m_Instance;
};
