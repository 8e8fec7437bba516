// Keeps the callbacks that are told of peers' screens, and tells them.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "linux/network/presence/fabric_code.h"
#include "platform/device_manager/device_screen_status_callback.h"

namespace ZYNE::Linux {

// Any thread. No operation calls a callback or waits for one. They are called on a thread of the pool, one change after
// the other, with no lock held.
class ScreenCallbacks {
public:
    // The process's callbacks; never destroyed.
    static ScreenCallbacks& Get();

    // One a package: a second one takes the place of the first.
    FabricCode Put(const std::string& pkgName, std::shared_ptr<DeviceScreenStatusCallback> callback);
    FabricCode Remove(const std::string& pkgName);

    // The screen of `device` has changed, as its extra data says. While a callback blocks, the last change of each
    // device waits; where the pool refuses to tell of it, it waits for the next one.
    void Tell(DmDeviceInfo device);

private:
    using Callback = std::shared_ptr<DeviceScreenStatusCallback>;

    void TellAll();
    std::optional<DmDeviceInfo> TakeNext();
    std::vector<Callback> All() const;

    mutable std::mutex mutex_;                   // held while the pool is asked, which does not call back
    std::map<std::string, Callback> callbacks_;  // guarded by mutex_; by package
    std::deque<DmDeviceInfo> changes_;           // guarded by mutex_; to be told, at most one of a device
    bool telling_ = false;                       // guarded by mutex_; TellAll is posted or runs
};

}  // namespace ZYNE::Linux
