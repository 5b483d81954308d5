#pragma once

#include "tirrel_global.h"

#include <QDialog>
#include <QString>

namespace Ui {
class DebuggerWin;
}

// A non-modal dialog that shows running debug text: a text area ("textEdit_out") and a close
// button ("pushButton_close") that hides the dialog. The text accumulates for the life of the
// process.
class TIRREL_EXPORT DebuggerWin : public QDialog
{
    Q_OBJECT

public:
    // The one dialog, created hidden on the first call and never destroyed by the library.
    static DebuggerWin *instance();
    ~DebuggerWin() override;

    // Shows the dialog (again, if it was closed) and appends `text` as a new paragraph.
    void write(QString text);

private slots:
    void on_pushButton_close_clicked();

private:
    explicit DebuggerWin(QWidget *parent);

    Ui::DebuggerWin *ui;   // owned; the widgets it points to are children of the dialog

    static DebuggerWin *m_instance;
};
