// What the library makes known of itself while it is being loaded.
#pragma once

#include "linux/device/listener_registry.h"
#include "linux/device/plugin_registry.h"

namespace ZYNE::Linux {

// The process's one, never destroyed: it is loaded before there is a device, and outlasts each.
struct LoadedLibrary {
    static LoadedLibrary& Get() {
        static auto& library = *new LoadedLibrary();
        return library;
    }

    PluginRegistry plugins;
    ListenerRegistry listeners;
};

}  // namespace ZYNE::Linux
