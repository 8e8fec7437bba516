// The settings that tell whether a device has been set up. The decision and its explanation ask the same ones.
#pragma once

#include <string_view>

namespace ZYNE::CollaborationFwk {

struct SetupCondition {
    const char* setting;
    const char* value;
    bool mustBe;  // otherwise anything but the value will do

    // `found` is empty where the setting does not exist.
    constexpr bool Holds(std::string_view found) const { return (found == value) == mustBe; }
};

// All of them hold for a device that has been set up. One that was never updated has no "is_ota_finished".
inline constexpr SetupCondition SETUP_CONDITIONS[] = {
    {"device_provisioned", "1", true}, {"user_setup_complete", "1", true}, {"is_ota_finished", "0", false}};

}  // namespace ZYNE::CollaborationFwk
