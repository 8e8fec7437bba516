#include "linux/network/presence/screen_callbacks.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace ZYNE::Linux {
namespace {

// In place of an earlier change of the device.
bool Replace(std::deque<DmDeviceInfo>& waiting, DmDeviceInfo& next) {
    const auto earlier = std::ranges::find(waiting, next.deviceId, &DmDeviceInfo::deviceId);
    if (earlier == waiting.end()) {
        return false;
    }
    *earlier = std::move(next);
    return true;
}

}  // namespace

FabricCode ScreenCallbacks::Put(
    const std::string& pkgName, const std::shared_ptr<DeviceScreenStatusCallback>& callback) {
    if (!callback) {
        return FABRIC_INVALID_ARGUMENT;
    }
    std::shared_ptr<Changes> changes = Changes::Make(
        pool_, [callback](const DmDeviceInfo& device) { callback->OnDeviceScreenStatus(device); }, {.join = &Replace});
    const MutexLock lock(mutex_);
    std::swap(callbacks_[pkgName], changes);
    if (changes) {
        changes->Close();
    }
    return FABRIC_OK;
}

FabricCode ScreenCallbacks::Remove(const std::string& pkgName) {
    std::map<std::string, std::shared_ptr<Changes>>::node_type removed;
    const MutexLock lock(mutex_);
    removed = callbacks_.extract(pkgName);
    if (removed.empty()) {
        return FABRIC_INVALID_ARGUMENT;
    }
    removed.mapped()->Close();
    return FABRIC_OK;
}

void ScreenCallbacks::Tell(const DmDeviceInfo& device) {
    const MutexLock lock(mutex_);
    for (const auto& [pkgName, changes] : callbacks_) {
        changes->Post(device);
    }
}

}  // namespace ZYNE::Linux
