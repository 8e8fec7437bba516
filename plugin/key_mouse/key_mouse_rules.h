// The plain rules of crossing, each as one question. Decisions and explanations ask the same ones.
#pragma once

#include <cstdint>
#include <string>

#include "platform/device_manager/dm_device_info.h"
#include "platform/device_profile/characteristic_profile.h"
#include "plugin/device_profile/profile_names.h"

namespace ZYNE::CollaborationFwk::KeyMouseRules {

inline constexpr int32_t NEXT_OS_TYPE = 10;
inline constexpr int32_t MAX_CONNECT_ATTEMPTS = 3;
inline constexpr char SWITCH_ON[] = "1";

// Whether the pointer is in the band along the edges of a display of that size, all in pixels: two wide on the left and
// at the top, one wide on the right and at the bottom.
constexpr bool IsAtEdge(int32_t x, int32_t y, int32_t width, int32_t height) {
    return x < 2 || x >= width - 1 || y < 2 || y >= height - 1;
}

// Whether a switch with this stored value is on.
inline bool IsSwitchOn(const std::string& value) {
    return value == SWITCH_ON;
}

// Whether `profile` is a device's crossing switch, and on.
inline bool IsSwitchOn(const CharacteristicProfile& profile) {
    return profile.GetServiceName() == ProfileNames::KEY_MOUSE_SERVICE &&
        profile.GetCharacteristicKey() == ProfileNames::KEY_MOUSE_CHARACTERISTIC &&
        IsSwitchOn(profile.GetCharacteristicValue());
}

constexpr bool IsNextOsType(int32_t osType) {
    return osType == NEXT_OS_TYPE;
}

inline bool IsIdenticalAccount(const DmDeviceInfo& device) {
    return device.authForm == DmDeviceInfo::IDENTICAL_ACCOUNT;
}

// Whether a lost connection is worth another attempt.
constexpr bool HasAttemptsLeft(int32_t connectCount) {
    return connectCount < MAX_CONNECT_ATTEMPTS;
}

}  // namespace ZYNE::CollaborationFwk::KeyMouseRules
