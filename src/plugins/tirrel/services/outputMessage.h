#pragma once

#include "tirrel_global.h"

#include <QObject>
#include <QString>

// The numbered standard message boxes shown to the operator.
class TIRREL_EXPORT OutputMessage : public QObject
{
    Q_OBJECT

public:
    // The one object, created on the first call and never destroyed by the library.
    // message() does not need it.
    static OutputMessage *instance();
    ~OutputMessage() override;

    // Shows the parentless modal box for `code` with one OK button and returns when it is
    // closed. Codes 0 to 7 are warnings, 8 an information; every code but 8 has ". Code: <code>"
    // appended to its main text, and a code outside 0 to 8 shows only that suffix, with no icon.
    // `text` is read only for code 7 ("File is broken: <text>"); it may be null otherwise, and a
    // null text for code 7 reads as empty.
    static void message(int code, QString *text);

private:
    explicit OutputMessage(QObject *parent);

    static OutputMessage *m_instance;
};
