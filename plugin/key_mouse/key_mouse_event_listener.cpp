#include "plugin/key_mouse/key_mouse_event_listener.h"

#include <algorithm>
#include <utility>

#include "platform/host/global_variables.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::DEVICE_DETECT;
constexpr LogDomain EVENT_LOG = LogDomains::COLLECTION;

}  // namespace

KeyMouseEventListener::KeyMouseEventListener(std::string type) : type_(std::move(type)) {}

KeyMouseEventListener::~KeyMouseEventListener() {
    Clear();
}

void KeyMouseEventListener::On(int32_t pid, const sptr<IRemoteObject>& callback) {
    CFWK_LOGI(LOG, "On cb %{public}s", type_);
    std::lock_guard lock(sourceMutex_);
    if (AddCallback(__func__, pid, callback)) {
        StartSource();
    }
}

bool KeyMouseEventListener::AddCallback(const char* operation, int32_t pid, const sptr<IRemoteObject>& callback) {
    std::unique_lock lock(callbacksMutex_);
    if (callbacks_.size() >= MAX_CALLBACKS) {
        CFWK_LOG_AS(ERROR, LOG, operation, "On cb exceed maximum size");
        return false;
    }
    if (!callback) {
        CFWK_LOG_AS(ERROR, LOG, operation, "callback is null");
        return false;
    }
    if (callbacks_.contains(pid)) {
        return true;  // its first callback stays, and is watched already
    }
    if (!deathRecipient_) {
        deathRecipient_ = MakeSptr<KeyMouseCallbackDeathRecipient>(weak_from_this());
    }
    // Under the lock, so that a death which is told at once finds the entry: the port never tells it inline.
    if (!callback->AddDeathRecipient(deathRecipient_)) {
        CFWK_LOG_AS(ERROR, LOG, operation, "callback is dead");
        return false;
    }
    callbacks_.emplace(pid, callback);
    pids_.push_back(pid);
    return true;
}

void KeyMouseEventListener::Off(int32_t pid) {
    CFWK_LOGI(LOG, "Off the cb %{public}d", pid);
    std::lock_guard lock(sourceMutex_);
    const bool isRemoved = RemoveCallbackByPid(pid);
    CFWK_LOGE(LOG, "remove callback result %{public}lu", isRemoved);
    // Held while the source is stopped; shared, so that an event which is on its way can still be sent. The port does
    // not wait for it.
    std::shared_lock callbacksLock(callbacksMutex_);
    if (callbacks_.empty()) {
        StopSource();
    }
}

void KeyMouseEventListener::Off(const sptr<IRemoteObject>& callback) {
    RemoveCallback(callback);
}

bool KeyMouseEventListener::RemoveCallback(const sptr<IRemoteObject>& callback) {
    sptr<KeyMouseCallbackDeathRecipient> recipient;
    {
        std::unique_lock lock(callbacksMutex_);
        const auto found = std::find_if(
            callbacks_.begin(), callbacks_.end(), [&](const auto& entry) { return entry.second == callback; });
        if (found == callbacks_.end()) {
            return false;
        }
        CFWK_LOGI(LOG, "remove callback pid %{public}d, type %{public}s", found->first, type_);
        Erase(found->first);
        recipient = deathRecipient_;
    }
    return callback->RemoveDeathRecipient(recipient);
}

bool KeyMouseEventListener::RemoveCallbackByPid(int32_t pid) {
    sptr<IRemoteObject> callback;
    sptr<KeyMouseCallbackDeathRecipient> recipient;
    {
        std::unique_lock lock(callbacksMutex_);
        const auto found = callbacks_.find(pid);
        if (found == callbacks_.end()) {
            return false;
        }
        callback = found->second;
        recipient = deathRecipient_;
        Erase(pid);
    }
    callback->RemoveDeathRecipient(recipient);
    return true;
}

void KeyMouseEventListener::Erase(int32_t pid) {
    callbacks_.erase(pid);
    std::erase(pids_, pid);
}

void KeyMouseEventListener::Clear() {
    std::unordered_map<int32_t, sptr<IRemoteObject>> callbacks;
    sptr<KeyMouseCallbackDeathRecipient> recipient;
    {
        std::unique_lock lock(callbacksMutex_);
        callbacks.swap(callbacks_);
        pids_.clear();
        recipient = deathRecipient_;
    }
    for (const auto& [pid, callback] : callbacks) {
        callback->RemoveDeathRecipient(recipient);
    }
}

std::vector<sptr<IRemoteObject>> KeyMouseEventListener::GetCallbacks() const {
    std::vector<sptr<IRemoteObject>> callbacks;
    std::shared_lock lock(callbacksMutex_);
    callbacks.reserve(pids_.size());
    for (const int32_t pid : pids_) {
        callbacks.push_back(callbacks_.at(pid));
    }
    return callbacks;
}

void KeyMouseEventListener::Send(
    const char* operation, const std::function<void(IKeyMouseCallback& client)>& send) const {
    for (const sptr<IRemoteObject>& callback : GetCallbacks()) {
        const sptr<IKeyMouseCallback> client = iface_cast<IKeyMouseCallback>(callback);
        if (!client) {
            CFWK_LOG_AS(ERROR, EVENT_LOG, operation, "failed to cast remoteObject callback");
            continue;
        }
        send(*client);
    }
}

void KeyMouseEventListener::StartSource() const {
    KeyMouseServiceManager& manager = KeyMouseServiceManager::GetInstance();
    if (type_ == GloableVariables::KEY_SCREEN) {
        manager.RegisterDeviceScreenStatusCallback();
    } else if (type_ == GloableVariables::KEY_KEYBOARD) {
        manager.AddKeyMonitor();
    } else if (type_ == GloableVariables::KEY_MOVE_TO_EDGE) {
        manager.AddMouseMonitor();
    }
}

void KeyMouseEventListener::StopSource() const {
    KeyMouseServiceManager& manager = KeyMouseServiceManager::GetInstance();
    if (type_ == GloableVariables::KEY_SCREEN) {
        manager.UnRegisterDeviceScreenStatusCallback();
    } else if (type_ == GloableVariables::KEY_KEYBOARD) {
        manager.RemoveKeyMonitor();
    } else if (type_ == GloableVariables::KEY_MOVE_TO_EDGE) {
        manager.RemoveMouseMonitor();
    }
}

}  // namespace ZYNE::CollaborationFwk
