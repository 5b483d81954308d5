#include "scaFileData.h"
