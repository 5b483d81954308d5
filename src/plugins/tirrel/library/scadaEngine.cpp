#include "scadaEngine.h"
#include "scadaEngine_p.h"

#include "fieldTable_p.h"
#include "fileAccess.h"
#include "logging_p.h"
#include "safeSave_p.h"
#include "scadaLibFormat_p.h"
#include "xmlRead_p.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QVarLengthArray>
#include <QMessageBox>
#include <QXmlStreamWriter>

#include <limits>

#include <sys/stat.h>

namespace {

const char StandardLibraryFolder[] = "scdLib";
const char StandardLibraryFile[] = "objlib.xml";
const char UserLibraryFolder[] = "Parvane";
const char UserLibraryFile[] = "userlib.xml";
const char ImagesFolder[] = "images";
const char ImagePathPrefix[] = "images/";
const char OpenErrorText[] = "dosya acilamadi";

// Object library file
const XmlName ObjectElement("object");
const char ImageElementPrefix[] = "image";   // image1, image2, ...

QString imageElementName(int number)
{
    return QLatin1String(ImageElementPrefix) + QString::number(number);
}

// n for an element named exactly as imageElementName(n) names it (no sign, no leading zero),
// else 0.
int imageNumber(const QString &element)
{
    bool ok = false;
    const int number = element.midRef(int(sizeof ImageElementPrefix) - 1).toInt(&ok);
    return ok && number > 0 && imageElementName(number) == element ? number : 0;
}

// The images run from image1 to the first missing number; the first element of a number counts.
template <class Node>
QStringList readImages(const Node &object)
{
    QVarLengthArray<QPair<int, Node>, 4> images;
    for (Node child = object.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        if (const int number = imageNumber(child.name()))
            images.append({number, child});
    }
    QStringList paths;
    for (int number = 1;; ++number) {
        const auto image = std::find_if(images.cbegin(), images.cend(),
                                        [number](const auto &i) { return i.first == number; });
        if (image == images.cend())
            return paths;
        paths << QLatin1String(ImagePathPrefix) + image->second.text().toString();
    }
}

// Each image by its file name: images/a.png is written as a.png.
void writeImages(QXmlStreamWriter &w, const ScadaLibObject &object)
{
    for (int i = 0; i < object.images.size(); ++i)
        writeText(w, imageElementName(i + 1), QFileInfo(object.images.at(i)).fileName());
}

// "m_val" and "a_val" are whole numbers: a fraction does not parse and reads as 0.
struct IntAsFloat : Fields::Real
{
    static float parse(const XmlValue &value) { return float(value.toInt()); }
};

// Writing order: the user library keeps only the rows up to the images.
using O = ScadaLibObject;
using FO = FieldRows<O>;
const FieldTable<O> &objectTable()
{
    static const FieldTable<O> rows = {
        FO::ownAttribute<&O::name>("name"),
        FO::element<&O::objectCategory>("objectCategory"),
        FO::element<&O::objectUID>("objectUID"),
        FO::member<&O::images>("images", &writeImages),
        FO::writtenBy(FO::element<&O::objectType>("objectType"), nullptr),
        FO::writtenBy(FO::element<&O::rtuID>("rtuID"), nullptr),
        FO::writtenBy(FO::element<&O::registerID>("registerID"), nullptr),
        FO::writtenBy(FO::element<&O::width>("width"), nullptr),
        FO::writtenBy(FO::element<&O::height>("height"), nullptr),
        FO::writtenBy(FO::element<&O::lofX>("lofX"), nullptr),
        FO::writtenBy(FO::element<&O::lofY>("lofY"), nullptr),
        FO::writtenBy(FO::element<&O::m_val, IntAsFloat>("m_val"), nullptr),
        FO::writtenBy(FO::element<&O::a_val, IntAsFloat>("a_val"), nullptr),
        FO::member<&O::reserved>("reserved"),
        FO::member<&O::isUserObject>("isUserObject"),
    };
    return rows;
}

// Every "object" child of the root (whatever its name), in file order.
template <class Node>
void readObjects(const Node &root, bool isUserLibrary, QList<ScadaLibObject *> *objects)
{
    static const FieldReader<O> reader(objectTable());
    for (Node element = root.firstChildElement(ObjectElement); !element.isNull();
         element = element.nextSiblingElement(ObjectElement)) {
        auto *object = new ScadaLibObject;
        reader.read(element, *object);
        object->images = readImages(element);
        object->isUserObject = isUserLibrary;
        objects->append(object);
    }
}

// Puts a copy of `source` at `destination`, replacing a file there even when it is read-only (as
// removing it first would). The copy is written beside the destination and renamed over it, so
// a source that cannot be read leaves the file already there in place; a source that already is
// the destination is left alone. The copy takes the source's permission bits, as a plain copy
// does.
void copyImage(const QString &source, const QString &destination)
{
    const QFileInfo sourceInfo(source);
    if (!sourceInfo.isFile())
        return;
    const QFileInfo destinationInfo(destination);
    if (destinationInfo.exists()
            && sourceInfo.canonicalFilePath() == destinationInfo.canonicalFilePath())
        return;

    QFile in(source);
    if (!in.open(QIODevice::ReadOnly))
        return;
    struct stat st;
    SaveOptions options;
    options.replaceReadOnly = true;
    options.permissions = ::fstat(in.handle(), &st) == 0 ? int(st.st_mode & 0777) : -1;
    // Images are not read by the library; their size is the source's affair.
    options.sizeLimit = std::numeric_limits<qint64>::max();
    saveFileSafely(destination, options, [&in](QIODevice &out) {
        char buffer[64 * 1024];
        for (;;) {
            const qint64 n = in.read(buffer, sizeof buffer);
            if (n == 0)
                return true;
            if (n < 0 || out.write(buffer, n) != n)
                return false;
        }
    });
}

} // namespace

bool readObjectLibrary(const QByteArray &data, bool isUserLibrary,
                       QList<ScadaLibObject *> *objects)
{
    return readXmlDocument(data, [&](const auto &root) {
        readObjects(root, isUserLibrary, objects);
    });
}

RecordFields fieldsOf(const ScadaLibObject &object)
{
    return collectFields(object, objectTable());
}

ScadaEngine *ScadaEngine::m_Instance = nullptr;

ScadaEngine *ScadaEngine::instance()
{
    if (!m_Instance)
        m_Instance = new ScadaEngine();
    return m_Instance;
}

ScadaEngine::ScadaEngine()
{
    const QChar sep = QDir::separator();
    QDir programParent(QCoreApplication::applicationDirPath());
    programParent.cdUp();
    libPath = QDir::toNativeSeparators(programParent.path()) + sep
            + QLatin1String(StandardLibraryFolder) + sep;
    userLibPath = QDir::homePath() + sep + QLatin1String(UserLibraryFolder) + sep;

    readLibDir(libPath + QLatin1String(StandardLibraryFile));
    readLibDir(userLibPath + QLatin1String(UserLibraryFile));
    allLibObjects = libObjects + userLibObjects;
    m_builtCatalogue = allLibObjects;

    imagesPath = userLibPath + QLatin1String(ImagesFolder) + sep;
    if (!QDir(imagesPath).exists())
        QDir().mkpath(imagesPath);
}

ScadaEngine::~ScadaEngine()
{
    // A record added twice is in the user list twice; delete each once.
    QSet<ScadaLibObject *> owned;
    for (ScadaLibObject *object : qAsConst(libObjects))
        owned.insert(object);
    for (ScadaLibObject *object : qAsConst(userLibObjects))
        owned.insert(object);
    qDeleteAll(owned);
    if (m_Instance == this)
        m_Instance = nullptr;
}

QList<ScadaLibObject *> *ScadaEngine::getLibObjects()
{
    return &allLibObjects;
}

QString ScadaEngine::getLibPath() const
{
    return libPath;
}

QString ScadaEngine::getUserLibPath() const
{
    return userLibPath;
}

bool ScadaEngine::readLibDir(QString path)
{
    QByteArray data;
    if (FileAccess::readFile(path, &data) != FileAccess::Read) {
        qCDebug(tirrelLibrary, "%s", OpenErrorText);
        return false;
    }
    const bool isUserLibrary = !path.contains(QLatin1String(StandardLibraryFile));
    QList<ScadaLibObject *> objects;
    if (!readObjectLibrary(data, isUserLibrary, &objects))
        return false;
    for (ScadaLibObject *object : qAsConst(objects))
        markUidUsed(object->objectUID);
    (isUserLibrary ? userLibObjects : libObjects) += objects;
    return true;
}

bool ScadaEngine::saveUserLibraryFile(QList<ScadaLibObject *> objects)
{
    const SaveResult result = saveFileSafely(userLibPath + QLatin1String(UserLibraryFile),
                                             QIODevice::NotOpen, [&objects](QIODevice &file) {
        QXmlStreamWriter writer(&file);
        writer.setAutoFormatting(true);
        writer.writeStartDocument();
        writer.writeStartElement(LibraryXml::Root);
        for (const ScadaLibObject *object : qAsConst(objects)) {
            if (!object)
                continue;
            writer.writeStartElement(ObjectElement);
            writeFields(writer, *object, objectTable());
            writer.writeEndElement(); // </object>
        }
        writer.writeEndElement(); // </scadaObjectTypes>
        writer.writeEndDocument();
        return !writer.hasError();
    });
    if (result == SaveResult::OpenFailed)
        qCDebug(tirrelLibrary, "%s", OpenErrorText);
    return succeeded(result);
}

void ScadaEngine::markUidUsed(int uid)
{
    usedUIDs.append(uid);
    m_usedUidSet.insert(uid);
}

int ScadaEngine::chooseaUID()
{
    // Identifiers are only ever added, so the smallest free one never goes down: the search
    // goes on from where the last one stopped, which keeps a run of calls linear overall.
    while (m_usedUidSet.contains(m_firstFreeCandidate))
        ++m_firstFreeCandidate;
    const int uid = m_firstFreeCandidate;
    markUidUsed(uid);
    return uid;
}

void ScadaEngine::addUserObject(ScadaLibObject *object)
{
    if (!object)
        return;

    // The catalogue is the standard objects followed by the user objects. While it is still the
    // list built here last time, the new object is simply appended to it; a catalogue changed
    // through getLibObjects() is rebuilt whole.
    const bool catalogueUntouched = allLibObjects.isSharedWith(m_builtCatalogue);
    m_builtCatalogue = QList<ScadaLibObject *>();

    userLibObjects.append(object);
    object->objectUID = chooseaUID();

    for (QString &image : object->images) {
        const QString fileName = QFileInfo(image).fileName();
        copyImage(image, imagesPath + fileName);
        image = QLatin1String(ImagePathPrefix) + fileName;
    }

    saveUserLibraryFile(userLibObjects);

    if (catalogueUntouched) {
        allLibObjects.append(object);
    } else {
        allLibObjects = libObjects;
        allLibObjects += userLibObjects;
    }
    m_builtCatalogue = allLibObjects;

    QMessageBox box;
    box.setText(tr("Object %1 is succesfully added under %2 category")
                .arg(object->name, object->objectCategory));
    box.exec();
}
