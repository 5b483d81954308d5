#pragma once

// Umbrella header: every public header of the library.
#include "tirrel_global.h"
#include "tirrelPlugin.h"
#include "scaFileData.h"
#include "scaFileProcessor.h"
