#include <tirrelPlugin.h>
#include <coreplugin/icore.h>

#include "serviceTestSupport.h"

#include <QJsonObject>
#include <QPluginLoader>

namespace {
QStringList g_messages;
void recordMessage(QtMsgType, const QMessageLogContext &, const QString &msg) { g_messages << msg; }
} // namespace

class tst_TirrelPlugin : public QObject
{
    Q_OBJECT

private slots:
    void loadPlugin()
    {
        QPluginLoader loader(QStringLiteral(TIRREL_PLUGIN_FILE));
        const QJsonObject meta = loader.metaData();
        QCOMPARE(meta.value("IID").toString() + '|' + meta.value("className").toString(),
                 QStringLiteral("org.qt-project.Qt.OrvidePlugin|TirrelPlugin"));
        const QJsonObject keys = meta.value("MetaData").toObject();
        QCOMPARE(keys.keys(), QStringList({"Category", "Description", "Url", "Vendor"}));
        QCOMPARE(keys.value("Category").toString() + '|' + keys.value("Description").toString(),
                 QStringLiteral("Orvide|Tirrel"));
        QVERIFY(keys.value("Url").toString().startsWith("https://")
                && !keys.value("Vendor").toString().isEmpty());
        QObject *object = loader.instance();
        QVERIFY2(qobject_cast<ExtensionSystem::IPlugin *>(object),
                 qPrintable(loader.errorString()));
        QCOMPARE(static_cast<QObject *>(TirrelPlugin::instance()), object);
        delete object;
        QCOMPARE(TirrelPlugin::instance(), nullptr);
    }

    void instanceLifetime()
    {
        auto *plugin = new TirrelPlugin;
        QCOMPARE(TirrelPlugin::instance(), plugin);
        // A child is destroyed by ~QObject, after ~TirrelPlugin has begun.
        auto *probe = new QObject(plugin);
        TirrelPlugin *seen = plugin;
        connect(probe, &QObject::destroyed, this, [&seen] { seen = TirrelPlugin::instance(); });
        delete plugin;
        QCOMPARE(seen, nullptr);
    }

    void hostCore_data()
    {
        QTest::addColumn<bool>("withCore");
        QTest::newRow("no host core") << false;
        QTest::newRow("host core with main window") << true;
    }

    void hostCore()
    {
        QFETCH(bool, withCore);
        QWidget mainWindow;
        QScopedPointer<Core::ICore> core(withCore ? new Core::ICore(&mainWindow) : nullptr);
        TirrelPlugin plugin;
        QString error = QStringLiteral("untouched");
        g_messages.clear();
        const QtMessageHandler previous = qInstallMessageHandler(recordMessage);
        const bool ok = plugin.initialize({"-arg", "x"}, &error);
        plugin.extensionsInitialized();
        plugin.shutdown();
        qInstallMessageHandler(previous);
        QVERIFY(ok);
        QCOMPARE(error, QStringLiteral("untouched"));
        QCOMPARE(g_messages.filter("SOFT ASSERT"), withCore ? QStringList() : QStringList(
                     "SOFT ASSERT: \"core\" in file tirrelPlugin.cpp, line 50"));

        BoxCloser closer;
        QVERIFY(QMetaObject::invokeMethod(&plugin, "about"));
        QCOMPARE(closer.boxes.join('\n'), QStringLiteral("1|TirrelPlugin Hakkinda|TirrelPlugin||1|"
                 "1024|") + (withCore ? "parent" : "none") + "|modal");
        QVERIFY(noMessageBoxLeft());
    }
};

QTEST_MAIN(tst_TirrelPlugin)
#include "tst_tirrelplugin.moc"
