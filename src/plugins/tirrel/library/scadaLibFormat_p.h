#pragma once

// The names of the object library file (format in scadaEngine.h) that more than the reader and
// writer use.

#include "xmlNode_p.h"

namespace LibraryXml {

inline const XmlName Root("scadaObjectTypes");

} // namespace LibraryXml
