// What the operations of this library throw.
#pragma once

#include <stdexcept>

namespace ZYNE::Client {

// Why a device could not be asked, as one line for people.
class DeviceError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What was asked for does not exist on the device.
class NotFound : public DeviceError {
public:
    using DeviceError::DeviceError;
};

}  // namespace ZYNE::Client
