#pragma once

#include "../hostapi_global.h"

namespace Utils {

// Reports a failed soft assertion; the caller goes on. The report goes to Qt's debug output
// as "SOFT ASSERT: <msg>".
HOSTAPI_EXPORT void writeAssertLocation(const char *msg);

} // namespace Utils

#define QTC_ASSERT_STRINGIFY_HELPER(x) #x
#define QTC_ASSERT_STRINGIFY(x) QTC_ASSERT_STRINGIFY_HELPER(x)
#define QTC_ASSERT_STRING(cond) ::Utils::writeAssertLocation( \
    "\"" cond"\" in file " __FILE__ ", line " QTC_ASSERT_STRINGIFY(__LINE__))

// Usage: QTC_ASSERT(cond, action) -- runs action when cond is false.
#define QTC_ASSERT(cond, action) if (Q_LIKELY(cond)) {} else { QTC_ASSERT_STRING(#cond); action; } do {} while (0)
#define QTC_CHECK(cond) if (Q_LIKELY(cond)) {} else { QTC_ASSERT_STRING(#cond); } do {} while (0)
