// tirrel plugin / library show
#include "cliSupport.h"

#include <scadaEngine.h>

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QPluginLoader>

using namespace cli;

namespace {

const QString PluginCommand = QStringLiteral("plugin");
const QString LibraryCommand = QStringLiteral("library show");

// The interface of the host's plug-in objects.
const char HostPluginClass[] = "ExtensionSystem::IPlugin";

// The Qt version stamped into a plug-in's metadata, as "major.minor.patch".
QString versionText(int version)
{
    return QStringLiteral("%1.%2.%3")
        .arg((version >> 16) & 0xff).arg((version >> 8) & 0xff).arg(version & 0xff);
}

// A metadata value as one line of text.
QString jsonText(const QJsonValue &value)
{
    if (value.isObject())
        return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    if (value.isArray())
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    return value.toVariant().toString();
}

} // namespace

int runPlugin(const QStringList &args)
{
    CommandParser cp(
        QStringLiteral("plugin [options] FILE"),
        QStringLiteral("Loads a built plug-in library the way the host's plug-in manager does: "
                       "reads its\nmetadata, loads it, creates its plug-in object and tells "
                       "whether that is a host\nplug-in. The object is deleted again; nothing "
                       "of it is initialised."));
    cp.parser().addOption({QStringLiteral("json"), QStringLiteral("Write JSON instead.")});
    cp.parser().addPositionalArgument(QStringLiteral("FILE"),
                                      QStringLiteral("A plug-in library (a .so, .dll or .dylib)."));
    int code = ExitOk;
    if (!cp.parse(args, 1, 1, &code))
        return code;
    const QString path = cp.parser().positionalArguments().constFirst();
    const QFileInfo info(path);
    if (!info.exists() || !info.isFile()) {
        reportError(PluginCommand,
                    quoted(path) + (info.exists() ? QStringLiteral(" is not a file")
                                                  : QStringLiteral(" does not exist")));
        return ExitFailed;
    }

    // QPluginLoader takes a bare name for a library to look up; a path makes it this file.
    QPluginLoader loader(info.absoluteFilePath());
    const QJsonObject meta = loader.metaData();
    if (meta.isEmpty()) {
        reportError(PluginCommand, quoted(path) + QStringLiteral(" is not a Qt plug-in: it has no "
                                                                 "plug-in metadata"));
        return ExitFailed;
    }
    const bool loaded = loader.load();
    const QString loadError = loaded ? QString() : loader.errorString();
    QString instanceClass;
    bool hostPlugin = false;
    if (loaded) {
        if (QObject *instance = loader.instance()) {
            instanceClass = QLatin1String(instance->metaObject()->className());
            hostPlugin = instance->inherits(HostPluginClass);
        }
        // Deletes the plug-in object, as the host does at shut-down.
        loader.unload();
    }

    const QJsonObject custom = meta.value(QStringLiteral("MetaData")).toObject();
    if (cp.parser().isSet(QStringLiteral("json"))) {
        QJsonObject o{{QStringLiteral("file"), path},
                      {QStringLiteral("IID"), meta.value(QStringLiteral("IID"))},
                      {QStringLiteral("className"), meta.value(QStringLiteral("className"))},
                      {QStringLiteral("qtVersion"),
                       versionText(meta.value(QStringLiteral("version")).toInt())},
                      {QStringLiteral("debug"), meta.value(QStringLiteral("debug"))},
                      {QStringLiteral("MetaData"), custom},
                      {QStringLiteral("loads"), loaded},
                      {QStringLiteral("instanceClass"), instanceClass},
                      {QStringLiteral("hostPlugin"), hostPlugin}};
        if (!loaded)
            o.insert(QStringLiteral("loadError"), loadError);
        printJson(QJsonDocument(o));
    } else {
        QTextStream &s = out();
        printLine(s, quoted(path));
        printLine(s,
                  QStringLiteral("  IID:         ") + meta.value(QStringLiteral("IID")).toString());
        printLine(s, QStringLiteral("  class name:  ")
                         + meta.value(QStringLiteral("className")).toString());
        printLine(s, QStringLiteral("  Qt version:  %1, %2 build")
                         .arg(versionText(meta.value(QStringLiteral("version")).toInt()),
                              meta.value(QStringLiteral("debug")).toBool()
                                  ? QStringLiteral("debug")
                                  : QStringLiteral("release")));
        printLine(s, QStringLiteral("  metadata:"));
        for (auto it = custom.constBegin(); it != custom.constEnd(); ++it)
            printLine(s, QStringLiteral("    %1%2").arg(it.key(), -13).arg(jsonText(it.value())));
        if (loaded) {
            printLine(s, QStringLiteral("  loads:       yes, plug-in object %1 (%2)")
                             .arg(instanceClass, hostPlugin
                                                     ? QStringLiteral("a host plug-in")
                                                     : QStringLiteral("not a host plug-in")));
        } else {
            printLine(s, QStringLiteral("  loads:       no: ") + loadError);
        }
    }
    if (!loaded) {
        reportError(PluginCommand,
                    quoted(path) + QStringLiteral(" cannot be loaded: ") + loadError);
        return ExitFailed;
    }
    return ExitOk;
}

// ---- library show -------------------------------------------------------------------------------

int runLibraryShow(const QStringList &args)
{
    CommandParser cp(
        QStringLiteral("library show [options]"),
        QStringLiteral(
            "Shows the object library catalogue as the library finds it: the standard library\n"
            "objlib.xml in the folder \"scdLib\" beside the folder of this program, then the\n"
            "user library userlib.xml in the folder \"Parvane\" of the home directory. Like the\n"
            "editor, this creates the user image folder Parvane/images when it is missing."));
    cp.parser().addOption({QStringLiteral("json"), QStringLiteral("Write JSON instead.")});
    int code = ExitOk;
    if (!cp.parse(args, 0, 0, &code))
        return code;

    ScadaEngine *engine = ScadaEngine::instance();
    const QString standardFile = engine->getLibPath() + QStringLiteral("objlib.xml");
    const QString userFile = engine->getUserLibPath() + QStringLiteral("userlib.xml");
    const QList<ScadaLibObject *> objects = *engine->getLibObjects();

    if (cp.parser().isSet(QStringLiteral("json"))) {
        QJsonArray list;
        for (const ScadaLibObject *o : objects) {
            list.append(QJsonObject{{QStringLiteral("name"), o->name},
                                    {QStringLiteral("objectCategory"), o->objectCategory},
                                    {QStringLiteral("objectUID"), o->objectUID},
                                    {QStringLiteral("objectType"), o->objectType},
                                    {QStringLiteral("width"), o->width},
                                    {QStringLiteral("height"), o->height},
                                    {QStringLiteral("images"),
                                     QJsonArray::fromStringList(o->images)},
                                    {QStringLiteral("isUserObject"), o->isUserObject}});
        }
        printJson(QJsonDocument(QJsonObject{
            {QStringLiteral("standardLibrary"), standardFile},
            {QStringLiteral("standardLibraryFound"), QFileInfo::exists(standardFile)},
            {QStringLiteral("userLibrary"), userFile},
            {QStringLiteral("userLibraryFound"), QFileInfo::exists(userFile)},
            {QStringLiteral("objects"), list}}));
        return ExitOk;
    }

    int standard = 0;
    for (const ScadaLibObject *o : objects)
        standard += o->isUserObject ? 0 : 1;
    const int user = objects.size() - standard;
    QTextStream &s = out();
    const auto library = [](const QString &file, int count) {
        return QStringLiteral("%1%2, %3")
            .arg(file, QFileInfo::exists(file) ? QString() : QStringLiteral(" (not found)"),
                 count == 1 ? QStringLiteral("1 object") : QStringLiteral("%1 objects").arg(count));
    };
    printLine(s, QStringLiteral("standard library: ") + library(standardFile, standard));
    printLine(s, QStringLiteral("user library:     ") + library(userFile, user));
    QList<QStringList> rows;
    for (const ScadaLibObject *o : objects) {
        rows << QStringList{QString::number(o->objectUID), o->name, o->objectCategory,
                            QString::number(o->objectType),
                            QStringLiteral("%1 x %2").arg(o->width).arg(o->height),
                            o->isUserObject ? QStringLiteral("user") : QStringLiteral("standard"),
                            o->images.join(QLatin1String(", "))};
    }
    if (!rows.isEmpty())
        printTable(s, {"UID", "Name", "Category", "Type", "Size", "Library", "Images"}, rows, 2);
    return ExitOk;
}
