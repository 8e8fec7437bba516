// What the network works with on its device.
#pragma once

#include <functional>
#include <string>

#include "linux/base/thread_pool.h"
#include "linux/device/listener_registry.h"
#include "linux/device/plugin_registry.h"
#include "linux/network/channel/channel_room.h"
#include "linux/network/presence/screen_callbacks.h"
#include "linux/profile/profile_service.h"

namespace ZYNE::Linux {

// All of it outlives the network.
struct FabricHost {
    ThreadPool& pool;
    ProfileService& profiles;
    ScreenCallbacks& screens;
    PluginRegistry& plugins;
    ListenerRegistry& listeners;
    // Any thread, quick.
    std::function<ChannelDeclaration(const std::string& app, const std::string& name)> declares;
};

}  // namespace ZYNE::Linux
