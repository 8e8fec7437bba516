#include "host/crossing_listeners.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "host/api_error.h"
#include "linux/bus/bus_wire.h"
#include "platform/host/global_variables.h"
#include "plugin/key_mouse/key_mouse_event_listener.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"

namespace ZYNE::Host {
namespace {

namespace GloableVariables = CollaborationFwk::GloableVariables;
using CollaborationFwk::KeyMouseEventListener;
using CollaborationFwk::KeyMouseServiceManager;
using Linux::BusClient;

// The names of an event for programs and for the library.
struct EventName {
    std::string_view word;
    const char* type;
};

constexpr std::array<EventName, 4> EVENTS{
    {{"keyboard", GloableVariables::KEY_KEYBOARD}, {"edge", GloableVariables::KEY_MOVE_TO_EDGE},
        {"screen", GloableVariables::KEY_SCREEN}, {"switch", GloableVariables::KEY_SWITCH}}};

std::string TypeOf(const std::string& event) {
    const auto* const found = std::ranges::find(EVENTS, event, &EventName::word);
    if (found == EVENTS.end()) {
        throw ApiError("NotFound", "there is no event \"" + event + "\"");
    }
    return found->type;
}

std::shared_ptr<BusClient> ClientOf(const Linux::DeviceBus& bus) {
    auto client = bus.GetClient();
    if (client == nullptr) {
        throw ApiError("Failed", "the device is ending");
    }
    return client;
}

// As the bus tells it.
int32_t ProcessOf(BusClient& bus, const std::string& connection) {
    IPCContext context;
    if (!bus.GetIdentity().Find(connection, context) || context.callingPid <= 0) {
        throw ApiError("Failed", "the bus does not know who \"" + connection + "\" is");
    }
    return context.callingPid;
}

// The object that the process serves on its connection. With a well-known name, which can change owners, the events
// could one day reach somebody else.
sptr<IRemoteObject> RemoteOf(BusClient& bus, int32_t process, const std::string& connection) {
    if (!connection.starts_with(':') || ProcessOf(bus, connection) != process) {
        throw ApiError("Failed", "\"" + connection + "\" is no connection of the calling process");
    }
    return bus.GetListener(connection, Linux::BusWire::DEFAULT_PATH);
}

}  // namespace

class CrossingListeners::Recipient final : public IRemoteObject::DeathRecipient {
public:
    Recipient(std::weak_ptr<CrossingListeners> listeners, Key key)
        : listeners_(std::move(listeners)), key_(std::move(key)) {}

    // The library forgets dead listeners by itself, but its monitors run until it is told that no listener is left.
    void OnRemoteDied(const wptr<IRemoteObject>& remote) override {
        if (const auto listeners = listeners_.lock()) {
            listeners->Forget(key_, remote.promote());
        }
    }

private:
    const std::weak_ptr<CrossingListeners> listeners_;
    const Key key_;
};

void CrossingListeners::Add(const std::string& caller, const std::string& event, const std::string& connection) {
    const std::string type = TypeOf(event);
    const auto bus = ClientOf(bus_);
    const Key key(type, ProcessOf(*bus, caller));
    const sptr<IRemoteObject> remote = RemoteOf(*bus, key.second, connection);
    const sptr<IRemoteObject::DeathRecipient> recipient = MakeSptr<Recipient>(weak_from_this(), key);
    const Linux::MutexLock lock(mutex_);
    if (const auto known = registrations_.find(key); known != registrations_.end()) {
        if (known->second.remote == remote) {
            return;
        }
        throw ApiError("Registered", "this process listens to that event already, over another connection");
    }
    KeyMouseServiceManager& library = KeyMouseServiceManager::GetInstance();
    library.AddKeyMouseEventListener(type, key.second, remote);
    if (IsFull(type)) {
        library.RemoveKeyMouseEventListener(type, key.second);  // the library may know already that one is dead
        throw ApiError("Full",
            std::to_string(KeyMouseEventListener::MAX_CALLBACKS) + " processes listen to \"" + event + "\" already");
    }
    if (!remote->AddDeathRecipient(recipient)) {
        library.RemoveKeyMouseEventListener(type, key.second);
        throw ApiError("Failed", "the calling process has left the bus");
    }
    registrations_.emplace(key, Registration{remote, recipient});
}

bool CrossingListeners::IsFull(const std::string& type) const {
    const auto listening =
        std::ranges::count_if(registrations_, [&](const auto& entry) { return entry.first.first == type; });
    return static_cast<size_t>(listening) >= KeyMouseEventListener::MAX_CALLBACKS;
}

void CrossingListeners::Remove(const std::string& caller, const std::string& event) {
    const Key key(TypeOf(event), ProcessOf(*ClientOf(bus_), caller));
    sptr<IRemoteObject> remote;
    {
        const Linux::MutexLock lock(mutex_);
        if (const auto found = registrations_.find(key); found != registrations_.end()) {
            remote = found->second.remote;
        }
    }
    Forget(key, remote);
}

void CrossingListeners::Forget(const Key& key, const sptr<IRemoteObject>& remote) {
    Registration registration;  // dropped without the lock: the remote may end with it
    const Linux::MutexLock lock(mutex_);
    const auto found = registrations_.find(key);
    if (found == registrations_.end() || found->second.remote != remote) {
        return;
    }
    registration = std::move(found->second);
    registrations_.erase(found);
    registration.remote->RemoveDeathRecipient(registration.recipient);
    KeyMouseServiceManager::GetInstance().RemoveKeyMouseEventListener(key.first, key.second);
}

}  // namespace ZYNE::Host
