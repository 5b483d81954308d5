#pragma once

#include <QtCore/qglobal.h>

#if defined(HOSTAPI_LIBRARY)
#  define HOSTAPI_EXPORT Q_DECL_EXPORT
#else
#  define HOSTAPI_EXPORT Q_DECL_IMPORT
#endif
