// The part of a device's interface that tells how the device is: whether its set-up is complete, and its network.
#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include <sdbus-c++/Types.h>

#include "linux/network/network_status.h"

namespace ZYNE::Host {

struct Setup {
    using Setting = sdbus::Struct<std::string, bool, std::string, bool>;  // name, is set, value, is in the way

    bool complete;
    std::vector<Setting> settings;
};

// As GetSetup in device_api.xml. Blocks while the settings are read. Throws ApiError when they cannot be.
Setup ReadSetup();

// Of what GetNetwork in device_api.xml answers.
struct NetworkAnswer {
    using Interface = sdbus::Struct<std::string, std::vector<std::string>>;  // name, addresses
    using Pair = sdbus::Struct<std::string, std::string>;  // kind and text of a note; id and address of a link
    // State, interfaces, port, notes, links.
    using All = std::tuple<std::string, std::vector<Interface>, uint16_t, std::vector<Pair>, std::vector<Pair>>;
};

NetworkAnswer::All DescribeNetwork(const Linux::NetworkStatus& status);

}  // namespace ZYNE::Host
