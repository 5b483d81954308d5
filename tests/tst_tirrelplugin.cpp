#include <tirrelPlugin.h>
#include <coreplugin/icore.h>

#include <QApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <QMessageBox>
#include <QPluginLoader>
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
    void loadPlugin();
    void instanceLifetime();
    void initialize_data();
    void initialize();
    void aboutBox_data();
    void aboutBox();
};

void tst_TirrelPlugin::loadPlugin()
{
    QPluginLoader loader(QStringLiteral(TIRREL_PLUGIN_FILE));
    const QJsonObject meta = loader.metaData();
    QVERIFY2(!meta.isEmpty(), qPrintable(loader.errorString()));
    QCOMPARE(meta.value("IID").toString(), QStringLiteral("org.qt-project.Qt.OrvidePlugin"));
    QCOMPARE(meta.value("className").toString(), QStringLiteral("TirrelPlugin"));
    const QJsonObject keys = meta.value("MetaData").toObject();
    QCOMPARE(keys.keys(), QStringList({"Category", "Description", "Url", "Vendor"}));
    QCOMPARE(keys.value("Category").toString(), QStringLiteral("Orvide"));
    QCOMPARE(keys.value("Description").toString(), QStringLiteral("Tirrel"));
    QVERIFY(keys.value("Url").toString().startsWith("https://"));
    QVERIFY(!keys.value("Vendor").toString().isEmpty());

    QObject *object = loader.instance();
    QVERIFY2(object, qPrintable(loader.errorString()));
    QVERIFY(qobject_cast<ExtensionSystem::IPlugin *>(object));
    QCOMPARE(static_cast<QObject *>(TirrelPlugin::instance()), object);
    delete object;
    QCOMPARE(TirrelPlugin::instance(), nullptr);
}

void tst_TirrelPlugin::instanceLifetime()
{
    auto *plugin = new TirrelPlugin;
    QCOMPARE(TirrelPlugin::instance(), plugin);
    // A child is destroyed by ~QObject, after ~TirrelPlugin has begun.
    auto *probe = new QObject;
    TirrelPlugin *seen = reinterpret_cast<TirrelPlugin *>(1);
    connect(probe, &QObject::destroyed, this, [&seen] { seen = TirrelPlugin::instance(); });
    probe->setParent(plugin);
    delete plugin;
    QCOMPARE(seen, nullptr);
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

    // "boxes|title|text|icon|buttons|modality" of the visible message box, closed at once.
    QString seen;
    QWidget *parent = nullptr;
    QTimer::singleShot(0, [&] {
        QList<QMessageBox *> boxes;
        for (QWidget *w : QApplication::topLevelWidgets()) {
            if (auto *b = qobject_cast<QMessageBox *>(w); b && b->isVisible())
                boxes << b;
        }
        seen = QString::number(boxes.size());
        if (boxes.isEmpty())
            return;
        QMessageBox *box = boxes.last();
        seen += QStringLiteral("|%1|%2|%3|%4|%5")
                    .arg(box->windowTitle(), box->text())
                    .arg(int(box->icon()))
                    .arg(int(box->standardButtons()))
                    .arg(box->isModal() ? "modal" : "modeless");
        parent = box->parentWidget();
        box->button(QMessageBox::Ok)->click();
    });
    QVERIFY(QMetaObject::invokeMethod(&plugin, "about"));
    QCOMPARE(seen, QStringLiteral("1|TirrelPlugin Hakkinda|TirrelPlugin|%1|%2|modal")
                       .arg(int(QMessageBox::Information))
                       .arg(int(QMessageBox::Ok)));
    QCOMPARE(parent, withMainWindow ? &mainWindow : nullptr);
    QTRY_VERIFY(QApplication::topLevelWidgets().count() <= 1);
}

QTEST_MAIN(tst_TirrelPlugin)
#include "tst_tirrelplugin.moc"
