#include "scaFileProcessor.h"
