#pragma once

#include <QtCore/qglobal.h>

#if defined(TIRREL_LIBRARY)
#  define TIRREL_EXPORT Q_DECL_EXPORT
#else
#  define TIRREL_EXPORT Q_DECL_IMPORT
#endif
