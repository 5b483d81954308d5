#include "xmlRead_p.h"

#include <atomic>

namespace {

// -1 until a process sets it: the environment decides.
std::atomic<int> forcedByProcess{-1};

bool forcedByEnvironment()
{
    static const bool dom = qgetenv("TIRREL_XML_READER") == "dom";
    return dom;
}

} // namespace

bool domReaderForced()
{
    const int forced = forcedByProcess.load(std::memory_order_relaxed);
    return forced < 0 ? forcedByEnvironment() : forced != 0;
}

bool setDomReaderForced(bool forced)
{
    const bool before = domReaderForced();
    forcedByProcess.store(forced ? 1 : 0, std::memory_order_relaxed);
    return before;
}
