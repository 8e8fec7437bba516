// The part of a device's interface that is about its users.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <sdbus-c++/Types.h>

#include "linux/device/users.h"

namespace ZYNE::Host {

using User = sdbus::Struct<int32_t, std::string, bool, bool>;  // number, name, is private, is in the foreground

// As in device_api.xml.
std::vector<User> ListUsers(const Linux::Users& users);

}  // namespace ZYNE::Host
