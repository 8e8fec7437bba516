// The words for kinds of devices.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "platform/host/device_info.h"

namespace ZYNE::Host {

inline constexpr std::array<std::pair<std::string_view, uint32_t>, 4> DEVICE_TYPES{
    {{"phone", CollaborationFwk::DeviceType::PHONE}, {"tablet", CollaborationFwk::DeviceType::TABLET},
        {"pc", CollaborationFwk::DeviceType::PC}, {"tv", CollaborationFwk::DeviceType::TV}}};

// The number itself for a kind without a word.
inline std::string DeviceTypeName(uint32_t type) {
    for (const auto& [name, number] : DEVICE_TYPES) {
        if (number == type) {
            return std::string(name);
        }
    }
    return std::to_string(type);
}

}  // namespace ZYNE::Host
