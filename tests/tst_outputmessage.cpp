#include <outputMessage.h>

#include "serviceTestSupport.h"

Q_DECLARE_METATYPE(QMessageBox::Icon)

class tst_OutputMessage : public QObject
{
    Q_OBJECT

private slots:
    void instance();
    void message_data();
    void message();
};

void tst_OutputMessage::instance()
{
    OutputMessage *first = OutputMessage::instance();
    QVERIFY(first);
    QCOMPARE(OutputMessage::instance(), first);
    QVERIFY(!first->parent());
    QCOMPARE(OutputMessage::staticMetaObject.className(), "OutputMessage");
}

void tst_OutputMessage::message_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("withText");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("informativeText");
    QTest::addColumn<QMessageBox::Icon>("icon");

    const auto warning = QMessageBox::Warning;
    QTest::newRow("0") << 0 << false << "Component Not Exists. Code: 0"
        << "The component is not available for current project. Switch active project to see available components"
        << warning;
    QTest::newRow("1") << 1 << false << "Cannot Create Database. Code: 1"
        << "Cannot create database structure. Check your server settings." << warning;
    QTest::newRow("2") << 2 << false << "Database Error. Code: 2"
        << "Cannot connect to database. Check your server settings." << warning;
    QTest::newRow("3") << 3 << false << "Tagname Used. Code: 3"
        << "This tagname is used before. Please select another one." << warning;
    QTest::newRow("4") << 4 << false << "Channel Name Used. Code: 4"
        << "This channel name is used before. Please select another one." << warning;
    QTest::newRow("5") << 5 << false << "Alarmname Used. Code: 5"
        << "This alarmname is used before. Please select another one." << warning;
    QTest::newRow("6") << 6 << false << "SQL Query. Code: 6" << "Error with SQL query" << warning;
    QTest::newRow("7 with path") << 7 << true << "File Error. Code: 7"
        << "File is broken: C:/p/page1" << warning;
    QTest::newRow("7 without text") << 7 << false << "File Error. Code: 7" << "File is broken: "
        << warning;
    QTest::newRow("8 no suffix") << 8 << false << "Database Init Ok"
        << "Project database is created succesfully" << QMessageBox::Information;
    QTest::newRow("3 ignores text") << 3 << true << "Tagname Used. Code: 3"
        << "This tagname is used before. Please select another one." << warning;
    QTest::newRow("-1") << -1 << false << ". Code: -1" << "" << QMessageBox::NoIcon;
    QTest::newRow("9") << 9 << false << ". Code: 9" << "" << QMessageBox::NoIcon;
    QTest::newRow("12") << 12 << true << ". Code: 12" << "" << QMessageBox::NoIcon;
}

void tst_OutputMessage::message()
{
    QFETCH(int, code);
    QFETCH(bool, withText);
    QFETCH(QString, text);
    QFETCH(QString, informativeText);
    QFETCH(QMessageBox::Icon, icon);

    QString path = QStringLiteral("C:/p/page1");
    QList<SeenBox> boxes;
    {
        BoxCloser closer;
        OutputMessage::message(code, withText ? &path : nullptr);
        boxes = closer.boxes;
    }
    QCOMPARE(boxes.size(), 1);
    const SeenBox &box = boxes.first();
    QCOMPARE(box.visibleBoxes, 1);
    QCOMPARE(box.text, text);
    QCOMPARE(box.informativeText, informativeText);
    QCOMPARE(box.icon, icon);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(box.title, QString());
    QCOMPARE(box.parent, nullptr);
    QVERIFY(box.modal);
    QCOMPARE(path, QStringLiteral("C:/p/page1"));
    QCOMPARE(messageBoxesAlive(), 0);
}

QTEST_MAIN(tst_OutputMessage)
#include "tst_outputmessage.moc"
