#include "linux/network/presence/screen_callbacks.h"

#include <algorithm>
#include <utility>

#include "linux/network/link/guarded_call.h"
#include "linux/network/presence/fabric_log.h"
#include "platform/host/asyn_thread_pool.h"

namespace ZYNE::Linux {
namespace {

constexpr int32_t SCREEN_TASK = 0;

}  // namespace

ScreenCallbacks& ScreenCallbacks::Get() {
    static auto& callbacks = *new ScreenCallbacks();
    return callbacks;
}

FabricCode ScreenCallbacks::Put(const std::string& pkgName, Callback callback) {
    if (!callback) {
        return FABRIC_INVALID_ARGUMENT;
    }
    // What it replaces is destroyed when the lock has been let go of.
    const std::scoped_lock lock(mutex_);
    std::swap(callbacks_[pkgName], callback);
    return FABRIC_OK;
}

FabricCode ScreenCallbacks::Remove(const std::string& pkgName) {
    std::map<std::string, Callback>::node_type removed;
    const std::scoped_lock lock(mutex_);
    removed = callbacks_.extract(pkgName);
    return removed.empty() ? FABRIC_INVALID_ARGUMENT : FABRIC_OK;
}

void ScreenCallbacks::Tell(DmDeviceInfo device) {
    const std::scoped_lock lock(mutex_);
    if (callbacks_.empty()) {
        return;
    }
    const auto waiting = std::ranges::find(changes_, device.deviceId, &DmDeviceInfo::deviceId);
    if (waiting != changes_.end()) {
        *waiting = std::move(device);
    } else {
        changes_.push_back(std::move(device));
    }
    if (!telling_) {
        telling_ = CollaborationFwk::AsynThreadPool::GetInstance()->AddAsynTask([this] { TellAll(); }, SCREEN_TASK);
        if (!telling_) {
            FabricPrint(LogLevel::WARN, "the change of a device's screen is told later: the pool refuses it");
        }
    }
}

void ScreenCallbacks::TellAll() {
    while (const std::optional<DmDeviceInfo> device = TakeNext()) {
        for (const Callback& callback : All()) {
            GuardedCall("a screen status callback", [&] { callback->OnDeviceScreenStatus(*device); });
        }
    }
}

std::optional<DmDeviceInfo> ScreenCallbacks::TakeNext() {
    const std::scoped_lock lock(mutex_);
    telling_ = !changes_.empty();
    if (!telling_) {
        return std::nullopt;
    }
    DmDeviceInfo next = std::move(changes_.front());
    changes_.pop_front();
    return next;
}

std::vector<ScreenCallbacks::Callback> ScreenCallbacks::All() const {
    const std::scoped_lock lock(mutex_);
    std::vector<Callback> all;
    for (const auto& [pkgName, callback] : callbacks_) {
        all.push_back(callback);
    }
    return all;
}

}  // namespace ZYNE::Linux
