#include "linux/device/plugin_registry.h"

namespace ZYNE::Linux {

using CollaborationFwk::AbilityPlugin;
using CollaborationFwk::PluginType;

bool PluginRegistry::RegisterInstance(PluginType type, AbilityPlugin* instance) {
    const MutexLock lock(mutex_);
    return instance != nullptr && plugins_.emplace(type, instance).second;
}

AbilityPlugin* PluginRegistry::Find(PluginType type) const {
    const MutexLock lock(mutex_);
    const auto plugin = plugins_.find(type);
    return plugin == plugins_.end() ? nullptr : plugin->second;
}

}  // namespace ZYNE::Linux
