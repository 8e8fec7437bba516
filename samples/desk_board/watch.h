// Shows what the apps of other devices publish.
#pragma once

#include <string>

#include "client/device_registry.h"

namespace Sample {

// A line for a thing that has happened, with the time.
void PrintEvent(const std::string& what, const std::string& text);

// Prints what peers of `device` publish, from now on, until SIGINT or SIGTERM. The exit status.
int WatchPeers(const ZYNE::Client::DeviceEntry& device);

}  // namespace Sample
