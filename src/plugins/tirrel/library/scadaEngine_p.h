#pragma once

#include "scadaEngine.h"

#include <QByteArray>
#include <QList>

// Parses the bytes of one object library file (format in scadaEngine.h). Appends a new record
// for each "object" element, in file order, to `objects` (the caller owns them) and returns
// true; returns false and appends nothing when the bytes are not well-formed XML or exceed the
// limits of checkXmlLimits(). isUserLibrary goes to every record's isUserObject.
// ScadaEngine reads both of its files through this; it is exported for the fuzz harness and
// the tests only.
TIRREL_AUTOTEST_EXPORT bool readObjectLibrary(const QByteArray &data, bool isUserLibrary,
                                     QList<ScadaLibObject *> *objects);
