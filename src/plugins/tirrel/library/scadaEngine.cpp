#include "scadaEngine.h"
#include "scadaEngine_p.h"
#include "safeSave_p.h"
#include "xmlWrite_p.h"
#include "xmlLimits_p.h"

#include <QCoreApplication>
#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMessageBox>
#include <QSaveFile>
#include <QVarLengthArray>
#include <QVector>
#include <QXmlStreamWriter>

namespace {

const char StandardLibraryFolder[] = "scdLib";
const char StandardLibraryFile[] = "objlib.xml";
const char UserLibraryFolder[] = "Parvane";
const char UserLibraryFile[] = "userlib.xml";
const char ImagesFolder[] = "images";
const char ImagePathPrefix[] = "images/";
const char OpenErrorText[] = "dosya acilamadi";

// Object library file
const char RootElement[] = "scadaObjectTypes";
const char ObjectElement[] = "object";
const char NameAttribute[] = "name";
const char ImageElementPrefix[] = "image";   // image1, image2, ...

// The child elements of "object" other than the images, each read as its text.
enum Field {
    CategoryField, UidField, TypeField, RtuField, RegisterField, WidthField, HeightField,
    LofXField, LofYField, MValField, AValField, FieldCount
};
const char *const FieldElements[FieldCount] = {
    "objectCategory", "objectUID", "objectType", "rtuID", "registerID", "width", "height",
    "lofX", "lofY", "m_val", "a_val"
};

int fieldOf(const QString &element)
{
    static const QHash<QString, int> fields = [] {
        QHash<QString, int> table;
        for (int field = 0; field < FieldCount; ++field)
            table.insert(QLatin1String(FieldElements[field]), field);
        return table;
    }();
    return fields.value(element, -1);
}

QString imageElementName(int number)
{
    return QLatin1String(ImageElementPrefix) + QString::number(number);
}

// n for an element named exactly as imageElementName(n) names it (no sign, no leading zero),
// else 0.
int imageNumber(const QString &element)
{
    const int prefixLength = int(sizeof ImageElementPrefix) - 1;
    if (!element.startsWith(QLatin1String(ImageElementPrefix)))
        return 0;
    const QStringRef digits = element.midRef(prefixLength);
    if (digits.isEmpty() || digits.size() > 9 || digits.at(0) == QLatin1Char('0'))
        return 0;
    for (const QChar c : digits) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return 0;
    }
    return digits.toInt();
}

// The texts of an "object" element's children, the first child of each name winning, gathered
// in one pass over the children.
class ObjectFields
{
public:
    explicit ObjectFields(const QDomElement &object)
    {
        QVarLengthArray<QPair<int, QString>, 4> images;
        for (QDomElement child = object.firstChildElement(); !child.isNull();
             child = child.nextSiblingElement()) {
            const QString name = child.nodeName();
            const int field = fieldOf(name);
            if (field >= 0) {
                if (!m_present[field]) {
                    m_texts[field] = child.text();
                    m_present[field] = true;
                }
            } else if (const int number = imageNumber(name)) {
                images.append(qMakePair(number, child.text()));
            }
        }
        // The images run from image1 to the first missing number; numbers beyond the count of
        // image elements can never be reached.
        QVector<const QString *> byNumber(images.size(), nullptr);
        for (const auto &image : images) {
            if (image.first <= byNumber.size() && !byNumber[image.first - 1])
                byNumber[image.first - 1] = &image.second;
        }
        for (const QString *text : qAsConst(byNumber)) {
            if (!text)
                break;
            m_images << *text;
        }
    }

    QString readText(Field field) const { return m_texts[field]; }
    int readInt(Field field) const { return m_texts[field].toInt(nullptr, 10); }
    // Whole numbers only: a fraction does not parse and reads as 0.
    float readIntAsFloat(Field field) const { return float(readInt(field)); }
    QStringList images() const { return m_images; }

private:
    QString m_texts[FieldCount];
    bool m_present[FieldCount] = {};
    QStringList m_images;
};

ScadaLibObject *readObject(const QDomElement &element, bool isUserObject)
{
    auto *object = new ScadaLibObject;
    const ObjectFields fields(element);
    object->name = element.attribute(QLatin1String(NameAttribute));
    object->objectCategory = fields.readText(CategoryField);
    object->objectUID = fields.readInt(UidField);
    object->objectType = fields.readInt(TypeField);
    object->rtuID = fields.readInt(RtuField);
    object->registerID = fields.readInt(RegisterField);
    object->width = fields.readInt(WidthField);
    object->height = fields.readInt(HeightField);
    object->lofX = fields.readInt(LofXField);
    object->lofY = fields.readInt(LofYField);
    object->m_val = fields.readIntAsFloat(MValField);
    object->a_val = fields.readIntAsFloat(AValField);
    const QStringList images = fields.images();
    for (const QString &image : images)
        object->images << QLatin1String(ImagePathPrefix) + image;
    object->isUserObject = isUserObject;
    return object;
}

void writeText(QXmlStreamWriter &writer, Field field, const QString &text)
{
    writer.writeTextElement(QLatin1String(FieldElements[field]), xmlSafe(text));
}

// Only these fields are kept for user objects; the others read back as 0. Texts lose the
// characters XML cannot hold (as in page files), so that the file always reads again.
void writeObject(QXmlStreamWriter &writer, const ScadaLibObject &object)
{
    writer.writeStartElement(QLatin1String(ObjectElement));
    writer.writeAttribute(QLatin1String(NameAttribute), xmlSafe(object.name));
    writeText(writer, CategoryField, object.objectCategory);
    writeText(writer, UidField, QString::number(object.objectUID));
    for (int i = 0; i < object.images.size(); ++i)
        writer.writeTextElement(imageElementName(i + 1),
                                xmlSafe(QFileInfo(object.images.at(i)).fileName()));
    writer.writeEndElement(); // </object>
}

// Puts a copy of `source` at `destination`, replacing a file there. The copy is written beside
// the destination and renamed over it, so a source that cannot be read leaves the file already
// there in place; a source that already is the destination is left alone.
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
    QSaveFile out(destination);
    if (!out.open(QIODevice::WriteOnly))
        return;
    char buffer[64 * 1024];
    bool copied = true;
    for (;;) {
        const qint64 n = in.read(buffer, sizeof buffer);
        if (n == 0)
            break;
        if (n < 0 || out.write(buffer, n) != n) {
            copied = false;
            break;
        }
    }
    if (finishSave(out, copied) == SaveResult::Saved)
        QFile::setPermissions(destination, in.permissions());
}

} // namespace

bool readObjectLibrary(const QByteArray &data, bool isUserLibrary,
                       QList<ScadaLibObject *> *objects)
{
    QDomDocument document;
    QString errorMessage;
    int errorLine = 0;
    int errorColumn = 0;
    if (!checkXmlLimits(data)
            || !document.setContent(data, &errorMessage, &errorLine, &errorColumn)
            || !errorMessage.isEmpty())
        return false;

    const QDomElement root = document.documentElement();
    for (QDomElement element = root.firstChildElement(QLatin1String(ObjectElement));
         !element.isNull(); element = element.nextSiblingElement(QLatin1String(ObjectElement)))
        objects->append(readObject(element, isUserLibrary));
    return true;
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
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qDebug("%s", OpenErrorText);
        return false;
    }
    const bool isUserLibrary = !file.fileName().contains(QLatin1String(StandardLibraryFile));
    QList<ScadaLibObject *> objects;
    if (!readObjectLibrary(file.readAll(), isUserLibrary, &objects))
        return false;
    for (ScadaLibObject *object : qAsConst(objects))
        markUidUsed(object->objectUID);
    (isUserLibrary ? userLibObjects : libObjects) += objects;
    file.close();
    return true;
}

bool ScadaEngine::saveUserLibraryFile(QList<ScadaLibObject *> objects)
{
    const SaveResult result = saveFileSafely(userLibPath + QLatin1String(UserLibraryFile),
                                             QIODevice::Truncate, [&objects](QIODevice &file) {
        QXmlStreamWriter writer(&file);
        writer.setAutoFormatting(true);
        writer.writeStartDocument();
        writer.writeStartElement(QLatin1String(RootElement));
        for (const ScadaLibObject *object : qAsConst(objects)) {
            if (object)
                writeObject(writer, *object);
        }
        writer.writeEndElement(); // </scadaObjectTypes>
        writer.writeEndDocument();
        return !writer.hasError();
    });
    if (result == SaveResult::OpenFailed)
        qDebug("%s", OpenErrorText);
    return result == SaveResult::Saved;
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
