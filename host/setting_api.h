// The part of a device's interface that reads and writes its settings.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ZYNE::Host {

inline constexpr int32_t ALL_USERS = -1;  // the settings that all users share

// The value of the setting `key` of `user`, before it is made fit for the bus; nothing when there is no such setting.
// Throws ApiError when the settings cannot be read.
std::optional<std::string> ReadSetting(const std::string& key, int32_t user);

// Gives the setting `key` of `user` a value; it need not be there yet. Throws ApiError.
void WriteSetting(const std::string& key, const std::string& value, int32_t user);

}  // namespace ZYNE::Host
