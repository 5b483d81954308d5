#include <debuggerWin.h>

#include <QApplication>
#include <QGridLayout>
#include <QMetaMethod>
#include <QPointer>
#include <QPushButton>
#include <QTextEdit>
#include <QtTest>

// The slots run in declaration order on the one dialog of the process: it is created hidden,
// written to, closed and written to again.
class tst_DebuggerWin : public QObject
{
    Q_OBJECT

private slots:
    void instanceIsHiddenSingleton();
    void form();
    void metaObject();
    void writeShowsAndAppends();
    void closeButtonHides();
    void writeAfterCloseShowsAgain();
    void windowCloseHides();

private:
    static QTextEdit *textEdit() { return DebuggerWin::instance()->findChild<QTextEdit *>("textEdit_out"); }
    static QPushButton *closeButton()
    {
        return DebuggerWin::instance()->findChild<QPushButton *>("pushButton_close");
    }
    static QStringList paragraphs() { return textEdit()->toPlainText().split(QLatin1Char('\n')); }
};

void tst_DebuggerWin::instanceIsHiddenSingleton()
{
    DebuggerWin *first = DebuggerWin::instance();
    QVERIFY(first);
    QCOMPARE(DebuggerWin::instance(), first);
    QVERIFY(!first->isVisible());
    QVERIFY(!first->parentWidget());
    QVERIFY(!first->isModal());
}

void tst_DebuggerWin::form()
{
    DebuggerWin *dialog = DebuggerWin::instance();
    QCOMPARE(dialog->objectName(), QStringLiteral("DebuggerWin"));
    QCOMPARE(dialog->windowTitle(), QStringLiteral("Dialog"));
    QCOMPARE(dialog->size(), QSize(400, 300));

    auto *grid = qobject_cast<QGridLayout *>(dialog->layout());
    QVERIFY(grid);
    QCOMPARE(grid->objectName(), QStringLiteral("gridLayout"));
    QCOMPARE(grid->count(), 2);

    struct Place { QWidget *widget; int row, column, rowSpan, columnSpan; };
    const Place places[] = {{textEdit(), 0, 0, 1, 2}, {closeButton(), 1, 1, 1, 1}};
    for (const Place &place : places) {
        QVERIFY(place.widget);
        QCOMPARE(place.widget->parentWidget(), dialog);
        int row = -1, column = -1, rowSpan = -1, columnSpan = -1;
        grid->getItemPosition(grid->indexOf(place.widget), &row, &column, &rowSpan, &columnSpan);
        QCOMPARE(row, place.row);
        QCOMPARE(column, place.column);
        QCOMPARE(rowSpan, place.rowSpan);
        QCOMPARE(columnSpan, place.columnSpan);
    }
    QCOMPARE(closeButton()->text(), QStringLiteral("Close"));
    QCOMPARE(textEdit()->toPlainText(), QString());
    QVERIFY(!textEdit()->isReadOnly());
}

void tst_DebuggerWin::metaObject()
{
    const QMetaObject &mo = DebuggerWin::staticMetaObject;
    QCOMPARE(mo.className(), "DebuggerWin");
    QCOMPARE(mo.methodCount() - mo.methodOffset(), 1);
    const QMetaMethod slot = mo.method(mo.methodOffset());
    QCOMPARE(slot.methodSignature(), QByteArray("on_pushButton_close_clicked()"));
    QCOMPARE(slot.access(), QMetaMethod::Private);
    QCOMPARE(mo.propertyCount() - mo.propertyOffset(), 0);
}

void tst_DebuggerWin::writeShowsAndAppends()
{
    DebuggerWin *dialog = DebuggerWin::instance();
    dialog->write(QStringLiteral("a"));
    QVERIFY(dialog->isVisible());
    dialog->write(QStringLiteral("b"));
    QCOMPARE(paragraphs(), QStringList({"a", "b"}));
    QCOMPARE(textEdit()->document()->blockCount(), 2);
}

void tst_DebuggerWin::closeButtonHides()
{
    QPointer<DebuggerWin> dialog = DebuggerWin::instance();
    QVERIFY(dialog->isVisible());
    QTest::mouseClick(closeButton(), Qt::LeftButton);
    QVERIFY(!dialog->isVisible());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!dialog.isNull());
    QCOMPARE(DebuggerWin::instance(), dialog.data());
}

void tst_DebuggerWin::writeAfterCloseShowsAgain()
{
    DebuggerWin *dialog = DebuggerWin::instance();
    dialog->write(QStringLiteral("c"));
    QVERIFY(dialog->isVisible());
    QCOMPARE(paragraphs(), QStringList({"a", "b", "c"}));
}

void tst_DebuggerWin::windowCloseHides()
{
    QPointer<DebuggerWin> dialog = DebuggerWin::instance();
    QVERIFY(dialog->close());
    QVERIFY(!dialog->isVisible());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!dialog.isNull());
    dialog->write(QStringLiteral("d"));
    QCOMPARE(paragraphs(), QStringList({"a", "b", "c", "d"}));
}

QTEST_MAIN(tst_DebuggerWin)
#include "tst_debuggerwin.moc"
