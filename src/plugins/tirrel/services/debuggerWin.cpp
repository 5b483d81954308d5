#include "debuggerWin.h"

#include "ui_debuggerWin.h"

DebuggerWin *DebuggerWin::m_instance = nullptr;

DebuggerWin *DebuggerWin::instance()
{
    if (!m_instance)
        m_instance = new DebuggerWin(nullptr);
    return m_instance;
}

DebuggerWin::DebuggerWin(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::DebuggerWin)
{
    ui->setupUi(this);
    setModal(false);
}

DebuggerWin::~DebuggerWin()
{
    delete ui;
    if (m_instance == this)
        m_instance = nullptr;
}

void DebuggerWin::write(QString text)
{
    show();
    ui->textEdit_out->append(text);
}

void DebuggerWin::on_pushButton_close_clicked()
{
    close();
}
