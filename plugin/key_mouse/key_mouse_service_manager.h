// Coordinates the crossing of keyboard and mouse between this device and its peers.
#pragma once

#include <string>

#include "platform/device_profile/characteristic_profile.h"

namespace ZYNE::CollaborationFwk {

class LibraryRenewer;

// Any thread.
class KeyMouseServiceManager {
public:
    static KeyMouseServiceManager& GetInstance();

    // Whether `profile` is of the service `serviceId`.
    bool IsContainServiceId(const CharacteristicProfile& profile, const std::string& serviceId);

private:
    friend class LibraryRenewer;  // tests start each case with a fresh library

    KeyMouseServiceManager() = default;
    ~KeyMouseServiceManager() = default;
};

}  // namespace ZYNE::CollaborationFwk
