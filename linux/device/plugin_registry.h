// Keeps the plug-ins that made themselves known.
#pragma once

#include <map>

#include "linux/base/mutex.h"
#include "platform/host/plugin_loader.h"

namespace ZYNE::Linux {

// Any thread, also while libraries are loaded.
class PluginRegistry final : public CollaborationFwk::PluginLoader {
public:
    bool RegisterInstance(CollaborationFwk::PluginType type, CollaborationFwk::AbilityPlugin* instance) override;

    // Null when there is none.
    CollaborationFwk::AbilityPlugin* Find(CollaborationFwk::PluginType type) const;

private:
    mutable Mutex mutex_;
    std::map<CollaborationFwk::PluginType, CollaborationFwk::AbilityPlugin*> plugins_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
