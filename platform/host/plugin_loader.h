// Where plug-ins make themselves known.
#pragma once

#include <cstdint>

#include "platform/host/ability_plugin.h"

namespace ZYNE::CollaborationFwk {

// What a plug-in is for; the host routes requests of a type to the plug-in that registered it.
enum class PluginType : int32_t { INFO_COLLECTION = 5 };

// Any thread; usable while libraries are loaded.
class PLATFORM_API PluginLoader {
public:
    static PluginLoader& GetLoader();  // defined by the port

    // Keeps `instance`, which must live until the library is unloaded. Returns without calling it and without waiting
    // for another thread. False when it is null or the type is taken.
    virtual bool RegisterInstance(PluginType type, AbilityPlugin* instance) = 0;

protected:
    ~PluginLoader() = default;
};

}  // namespace ZYNE::CollaborationFwk
