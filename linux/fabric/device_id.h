// How devices are named on the network.
#pragma once

#include <string>
#include <string_view>

#include <dds/dds.h>

namespace ZYNE::Linux {

// 32 random hexadecimal digits: where a device is reached in one run of it.
std::string NewNetworkId();
bool IsNetworkId(std::string_view text);

// Whether the participant `participant`, which has been authenticated, holds the certificate of the device `udid`. The
// first six bytes of an authenticated participant's key are made of its certificate's subject.
bool IsParticipantOf(const std::string& udid, const dds_guid_t& participant);

}  // namespace ZYNE::Linux
