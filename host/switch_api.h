// The part of a device's interface that is about the switches for crossing of keyboard and mouse.
#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include <sdbus-c++/Types.h>

#include "host/known_peer.h"
#include "linux/device/users.h"

namespace ZYNE::Host {

using PeerSwitch = sdbus::Struct<std::string, std::string, std::string>;  // name, id, state

// As in device_api.xml. Throw ApiError.
std::tuple<int32_t, bool, std::vector<PeerSwitch>> GetSwitch(
    const Linux::Users& users, int32_t user, std::vector<KnownPeer> peers);
int32_t SetSwitch(const Linux::Users& users, bool isOn, int32_t user);

}  // namespace ZYNE::Host
