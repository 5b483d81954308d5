#pragma once

// Umbrella header: every public header of the library.
#include "tirrel_global.h"
#include "tirrelPlugin.h"
#include "scaFileData.h"
#include "scaFileProcessor.h"
#include "pageRenderer.h"
#include "pageAudit.h"
#include "projectDataTree.h"
#include "programSettings.h"
#include "eventLogger.h"
#include "outputMessage.h"
#include "debuggerWin.h"
#include "fileAccess.h"
#include "scadaEngine.h"
#include "tgchFileProcessor.h"
#include "tagChFileWatcher.h"
#include "projectFileProbe.h"
