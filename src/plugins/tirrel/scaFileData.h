#pragma once
// Placeholder: the page document model is being written.
#include "tirrel_global.h"
#include <QString>
class TIRREL_EXPORT ScaFileData
{
public:
    struct PageProperties { QString pageName; int pageID = -1; } pageProperties;
};
