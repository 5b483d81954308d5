#include <tirrelPlugin.h>
#include <coreplugin/icore.h>

#include <QApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <QLibrary>
#include <QMessageBox>
#include <QMetaMethod>
#include <QPluginLoader>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

namespace {

QStringList g_messages;
QtMessageHandler g_previousHandler = nullptr;

void recordingHandler(QtMsgType type, const QMessageLogContext &ctx, const QString &msg)
{
    g_messages << msg;
    g_previousHandler(type, ctx, msg);
}

struct MessageRecorder
{
    MessageRecorder() { g_messages.clear(); g_previousHandler = qInstallMessageHandler(recordingHandler); }
    ~MessageRecorder() { qInstallMessageHandler(g_previousHandler); }
};

} // namespace

class tst_TirrelPlugin : public QObject
{
    Q_OBJECT

private slots:
    void metadata();
    void pluginInstance();
    void instanceLifetime();
    void initialize_data();
    void initialize();
    void slotsOfMetaObject();
    void aboutBox_data();
    void aboutBox();
};

void tst_TirrelPlugin::metadata()
{
    QPluginLoader loader(QStringLiteral(TIRREL_PLUGIN_FILE));
    const QJsonObject meta = loader.metaData();
    QVERIFY2(!meta.isEmpty(), qPrintable(loader.errorString()));
    QCOMPARE(meta.value("IID").toString(), QStringLiteral("org.qt-project.Qt.OrvidePlugin"));
    QCOMPARE(meta.value("className").toString(), QStringLiteral("TirrelPlugin"));
    QCOMPARE(meta.value("debug").toBool(), false);
    // Stamped with the Qt version the library is built against.
    const int version = meta.value("version").toInt();
    QCOMPARE(version >> 16, QT_VERSION_MAJOR);
    QCOMPARE((version >> 8) & 0xff, QT_VERSION_MINOR);

    const QJsonObject keys = meta.value("MetaData").toObject();
    QCOMPARE(keys.keys(), QStringList({"Category", "Description", "Url", "Vendor"}));
    QCOMPARE(keys.value("Category").toString(), QStringLiteral("Orvide"));
    QCOMPARE(keys.value("Description").toString(), QStringLiteral("Tirrel"));
    QVERIFY(keys.value("Url").toString().startsWith("https://"));
    QVERIFY(!keys.value("Vendor").toString().isEmpty());
}

void tst_TirrelPlugin::pluginInstance()
{
    QPluginLoader loader(QStringLiteral(TIRREL_PLUGIN_FILE));
    QObject *first = loader.instance();
    QVERIFY2(first, qPrintable(loader.errorString()));
    QVERIFY(qobject_cast<ExtensionSystem::IPlugin *>(first));
    QCOMPARE(first->metaObject()->className(), "TirrelPlugin");

    // The exported entry point hands out the same object until the host deletes it.
    QLibrary lib(QStringLiteral(TIRREL_PLUGIN_FILE));
    using InstanceFunction = QObject *(*)();
    auto qtPluginInstance = reinterpret_cast<InstanceFunction>(lib.resolve("qt_plugin_instance"));
    QVERIFY(qtPluginInstance);
    QVERIFY(lib.resolve("qt_plugin_query_metadata"));
    QCOMPARE(qtPluginInstance(), first);
    QCOMPARE(qtPluginInstance(), first);

    QPointer<QObject> guard(first);
    delete first;
    QVERIFY(guard.isNull());
    QObject *second = qtPluginInstance();
    QVERIFY(second);
    QCOMPARE(qtPluginInstance(), second);
    QCOMPARE(static_cast<QObject *>(TirrelPlugin::instance()), second);
    delete second;
    QCOMPARE(TirrelPlugin::instance(), nullptr);
}

void tst_TirrelPlugin::instanceLifetime()
{
    QCOMPARE(TirrelPlugin::instance(), nullptr);
    auto *plugin = new TirrelPlugin;
    QCOMPARE(TirrelPlugin::instance(), plugin);
    // A child is destroyed by ~QObject, after ~TirrelPlugin has begun.
    auto *probe = new QObject;
    TirrelPlugin *seen = reinterpret_cast<TirrelPlugin *>(1);
    connect(probe, &QObject::destroyed, this, [&seen] { seen = TirrelPlugin::instance(); });
    probe->setParent(plugin);
    delete plugin;
    QCOMPARE(seen, nullptr);
    QCOMPARE(TirrelPlugin::instance(), nullptr);
}

void tst_TirrelPlugin::initialize_data()
{
    QTest::addColumn<bool>("withCore");
    QTest::newRow("no host core") << false;
    QTest::newRow("host core") << true;
}

void tst_TirrelPlugin::initialize()
{
    QFETCH(bool, withCore);
    QScopedPointer<Core::ICore> core(withCore ? new Core::ICore : nullptr);
    TirrelPlugin plugin;
    QString error = QStringLiteral("untouched");
    bool ok = false;
    {
        MessageRecorder recorder;
        ok = plugin.initialize({"-arg", "x"}, &error);
        plugin.extensionsInitialized();
        plugin.shutdown();
    }
    QVERIFY(ok);
    QCOMPARE(error, QStringLiteral("untouched"));
    const QStringList asserts = g_messages.filter(QStringLiteral("SOFT ASSERT"));
    if (withCore) {
        QVERIFY(asserts.isEmpty());
    } else {
        QCOMPARE(asserts.size(), 1);
        QVERIFY(asserts.first().contains(QLatin1String("\"core\"")));
        QVERIFY(asserts.first().contains(QLatin1String("tirrelPlugin")));
        QVERIFY(asserts.first().contains(QLatin1String("line 50")));
    }
    // The inherited life-cycle calls keep the base behaviour.
    QCOMPARE(plugin.delayedInitialize(), false);
    QCOMPARE(plugin.aboutToShutdown(), ExtensionSystem::IPlugin::SynchronousShutdown);
    QCOMPARE(plugin.remoteCommand({}, QString(), {}), nullptr);
}

void tst_TirrelPlugin::slotsOfMetaObject()
{
    const QMetaObject &mo = TirrelPlugin::staticMetaObject;
    QCOMPARE(mo.className(), "TirrelPlugin");
    QCOMPARE(mo.methodCount() - mo.methodOffset(), 2);
    QCOMPARE(mo.propertyCount() - mo.propertyOffset(), 0);
    QCOMPARE(mo.classInfoCount() - mo.classInfoOffset(), 0);
    const QMetaMethod about = mo.method(mo.methodOffset());
    const QMetaMethod added = mo.method(mo.methodOffset() + 1);
    QCOMPARE(about.methodSignature(), QByteArray("about()"));
    QCOMPARE(about.access(), QMetaMethod::Private);
    QCOMPARE(added.methodSignature(), QByteArray("objectAdded(QObject*)"));
    QCOMPARE(added.parameterNames(), QList<QByteArray>{"obj"});
    QCOMPARE(added.methodType(), QMetaMethod::Slot);

    TirrelPlugin plugin;
    QVERIFY(QMetaObject::invokeMethod(&plugin, "objectAdded", Q_ARG(QObject *, this)));
}

void tst_TirrelPlugin::aboutBox_data()
{
    QTest::addColumn<bool>("withMainWindow");
    QTest::newRow("no host core") << false;
    QTest::newRow("host main window") << true;
}

void tst_TirrelPlugin::aboutBox()
{
    QFETCH(bool, withMainWindow);
    QWidget mainWindow;
    QScopedPointer<Core::ICore> core(withMainWindow ? new Core::ICore(&mainWindow) : nullptr);
    TirrelPlugin plugin;

    int boxes = -1;
    QString title, text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons;
    QWidget *parent = nullptr;
    bool modal = false;
    QTimer::singleShot(0, [&] {
        const auto all = QApplication::topLevelWidgets();
        boxes = 0;
        QMessageBox *box = nullptr;
        for (QWidget *w : all) {
            if (auto *b = qobject_cast<QMessageBox *>(w); b && b->isVisible()) {
                ++boxes;
                box = b;
            }
        }
        if (!box)
            return;
        title = box->windowTitle();
        text = box->text();
        icon = box->icon();
        buttons = box->standardButtons();
        parent = box->parentWidget();
        modal = box->isModal();
        box->button(QMessageBox::Ok)->click();
    });
    QVERIFY(QMetaObject::invokeMethod(&plugin, "about"));
    QCOMPARE(boxes, 1);
    QCOMPARE(title, QStringLiteral("TirrelPlugin Hakkinda"));
    QCOMPARE(text, QStringLiteral("TirrelPlugin"));
    QCOMPARE(icon, QMessageBox::Information);
    QCOMPARE(buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(parent, withMainWindow ? &mainWindow : nullptr);
    QVERIFY(modal);
    QTRY_VERIFY(QApplication::topLevelWidgets().count() <= 1);
}

QTEST_MAIN(tst_TirrelPlugin)
#include "tst_tirrelplugin.moc"
