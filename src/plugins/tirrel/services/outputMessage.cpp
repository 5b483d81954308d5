#include "outputMessage.h"

#include <QMessageBox>

namespace {

struct MessageEntry
{
    const char *text;
    const char *informativeText;
    QMessageBox::Icon icon;
};

// Indexed by message code.
const MessageEntry Messages[] = {
    { QT_TRANSLATE_NOOP("OutputMessage", "Component Not Exists"),
      QT_TRANSLATE_NOOP("OutputMessage", "The component is not available for current project. "
                                         "Switch active project to see available components"),
      QMessageBox::Warning },
    { QT_TRANSLATE_NOOP("OutputMessage", "Cannot Create Database"),
      QT_TRANSLATE_NOOP("OutputMessage", "Cannot create database structure. Check your server settings."),
      QMessageBox::Warning },
    { QT_TRANSLATE_NOOP("OutputMessage", "Database Error"),
      QT_TRANSLATE_NOOP("OutputMessage", "Cannot connect to database. Check your server settings."),
      QMessageBox::Warning },
    { QT_TRANSLATE_NOOP("OutputMessage", "Tagname Used"),
      QT_TRANSLATE_NOOP("OutputMessage", "This tagname is used before. Please select another one."),
      QMessageBox::Warning },
    { QT_TRANSLATE_NOOP("OutputMessage", "Channel Name Used"),
      QT_TRANSLATE_NOOP("OutputMessage", "This channel name is used before. Please select another one."),
      QMessageBox::Warning },
    { QT_TRANSLATE_NOOP("OutputMessage", "Alarmname Used"),
      QT_TRANSLATE_NOOP("OutputMessage", "This alarmname is used before. Please select another one."),
      QMessageBox::Warning },
    { QT_TRANSLATE_NOOP("OutputMessage", "SQL Query"),
      QT_TRANSLATE_NOOP("OutputMessage", "Error with SQL query"),
      QMessageBox::Warning },
    { QT_TRANSLATE_NOOP("OutputMessage", "File Error"),
      QT_TRANSLATE_NOOP("OutputMessage", "File is broken: %1"),
      QMessageBox::Warning },
    { QT_TRANSLATE_NOOP("OutputMessage", "Database Init Ok"),
      QT_TRANSLATE_NOOP("OutputMessage", "Project database is created succesfully"),
      QMessageBox::Information },
};

const int FileErrorCode = 7;
const int DatabaseInitOkCode = 8;   // the one message without a code suffix

} // namespace

OutputMessage *OutputMessage::m_instance = nullptr;

OutputMessage *OutputMessage::instance()
{
    if (!m_instance)
        m_instance = new OutputMessage(nullptr);
    return m_instance;
}

OutputMessage::OutputMessage(QObject *parent)
    : QObject(parent)
{
}

OutputMessage::~OutputMessage()
{
    if (m_instance == this)
        m_instance = nullptr;
}

void OutputMessage::message(int code, QString *text)
{
    QMessageBox box;
    if (code >= 0 && code < int(sizeof(Messages) / sizeof(Messages[0]))) {
        const MessageEntry &entry = Messages[code];
        box.setText(tr(entry.text));
        QString informative = tr(entry.informativeText);
        if (code == FileErrorCode)
            informative = informative.arg(text ? *text : QString());
        box.setInformativeText(informative);
        box.setIcon(entry.icon);
    }
    if (code != DatabaseInitOkCode)
        box.setText(box.text() + tr(". Code: ") + QString::number(code));
    box.setStandardButtons(QMessageBox::Ok);
    box.exec();
}
