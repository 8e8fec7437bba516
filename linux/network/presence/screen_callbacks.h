// Keeps the callbacks that are told of peers' screens, and tells them.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "linux/base/mailbox.h"
#include "linux/base/mutex.h"
#include "linux/network/presence/fabric_code.h"
#include "platform/device_manager/device_screen_status_callback.h"

namespace ZYNE::Linux {

// Any thread. No operation calls a callback or waits for one. Each is called on a thread of the pool, one change after
// the other, with no lock held; one that blocks holds up no other.
class ScreenCallbacks {
public:
    explicit ScreenCallbacks(ThreadPool& pool) : pool_(pool) {}

    // One a package: a second one takes the place of the first.
    FabricCode Put(const std::string& pkgName, const std::shared_ptr<DeviceScreenStatusCallback>& callback);
    FabricCode Remove(const std::string& pkgName);

    // The screen of `device` has changed, as its extra data says. While a callback blocks, the last change of each
    // device waits for it.
    void Tell(const DmDeviceInfo& device);

private:
    using Changes = Mailbox<DmDeviceInfo>;

    ThreadPool& pool_;
    Mutex mutex_;
    std::map<std::string, std::shared_ptr<Changes>> callbacks_ GUARDED_BY(mutex_);  // by package
};

}  // namespace ZYNE::Linux
