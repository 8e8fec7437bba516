#include "host/crossing_binders.h"

#include "host/api_error.h"
#include "linux/bus/bus_wire.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"

namespace ZYNE::Host {

using CollaborationFwk::KeyMouseServiceManager;

class CrossingBinders::Recipient final : public IRemoteObject::DeathRecipient {
public:
    Recipient(std::weak_ptr<CrossingBinders> binders, std::string caller)
        : binders_(std::move(binders)), caller_(std::move(caller)) {}

    void OnRemoteDied(const wptr<IRemoteObject>& /*remote*/) override {
        if (const auto binders = binders_.lock()) {
            binders->Forget(caller_);
        }
    }

private:
    const std::weak_ptr<CrossingBinders> binders_;
    const std::string caller_;
};

void CrossingBinders::Bind(const std::string& caller, bool bind) {
    const Linux::MutexLock lock(mutex_);
    if (bind) {
        Add(caller);
    } else {
        for (const auto& [connection, binder] : binders_) {
            binder.first->RemoveDeathRecipient(binder.second);
        }
        binders_.clear();
    }
    KeyMouseServiceManager::GetInstance().BindKeymouseServiceReq(bind);
}

void CrossingBinders::Add(const std::string& caller) {
    if (binders_.contains(caller)) {
        return;
    }
    const auto bus = bus_.GetClient();
    const sptr<IRemoteObject> remote =
        bus == nullptr ? nullptr : sptr<IRemoteObject>(bus->GetRemote(caller, Linux::BusWire::DEFAULT_PATH));
    const sptr<IRemoteObject::DeathRecipient> recipient = MakeSptr<Recipient>(weak_from_this(), caller);
    if (!remote || !remote->AddDeathRecipient(recipient)) {
        throw ApiError("Failed", "the calling program has left the bus, or the device is ending");
    }
    binders_.emplace(caller, Binder(remote, recipient));
}

void CrossingBinders::Forget(const std::string& caller) {
    const Linux::MutexLock lock(mutex_);
    if (binders_.erase(caller) > 0 && binders_.empty()) {
        KeyMouseServiceManager::GetInstance().BindKeymouseServiceReq(false);
    }
}

}  // namespace ZYNE::Host
