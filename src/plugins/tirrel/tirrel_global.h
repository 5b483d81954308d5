#pragma once

#include <QtCore/qglobal.h>

#if defined(TIRREL_LIBRARY)
#  define TIRREL_EXPORT Q_DECL_EXPORT
#else
#  define TIRREL_EXPORT Q_DECL_IMPORT
#endif

// Internal functions that the project's own tests, benchmarks, fuzz harnesses and tool call
// (the tool compares records through their field listing). They are declared in private headers
// only and exported just in builds made with those programs.
#if defined(TIRREL_LIBRARY) && defined(TIRREL_WITH_TESTS)
#  define TIRREL_AUTOTEST_EXPORT TIRREL_EXPORT
#else
#  define TIRREL_AUTOTEST_EXPORT
#endif
