#include "iplugin.h"

namespace ExtensionSystem {

IPlugin::IPlugin() = default;
IPlugin::~IPlugin() = default;

} // namespace ExtensionSystem
