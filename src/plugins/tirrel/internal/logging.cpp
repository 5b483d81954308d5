#include "logging_p.h"

Q_LOGGING_CATEGORY(tirrelPage, "tirrel.page")
Q_LOGGING_CATEGORY(tirrelDefinitions, "tirrel.definitions")
Q_LOGGING_CATEGORY(tirrelLibrary, "tirrel.library")
Q_LOGGING_CATEGORY(tirrelProject, "tirrel.project")
Q_LOGGING_CATEGORY(tirrelServices, "tirrel.services")
