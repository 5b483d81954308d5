#pragma once

// The library's debug output, one category per domain. Every category is on by default, so
// the lines appear as they always have; a host or a test turns them off with filter rules
// (QLoggingCategory::setFilterRules, QT_LOGGING_RULES), for example "tirrel.page.debug=false".

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(tirrelPage)          // "tirrel.page"
Q_DECLARE_LOGGING_CATEGORY(tirrelDefinitions)   // "tirrel.definitions"
Q_DECLARE_LOGGING_CATEGORY(tirrelLibrary)       // "tirrel.library"
Q_DECLARE_LOGGING_CATEGORY(tirrelProject)       // "tirrel.project"
Q_DECLARE_LOGGING_CATEGORY(tirrelServices)      // "tirrel.services"
