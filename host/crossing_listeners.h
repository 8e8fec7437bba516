// The processes that listen to the events of crossing, as the device registers them with the library.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "linux/base/mutex.h"
#include "linux/services/device_bus.h"
#include "platform/ipc/remote_object.h"

namespace ZYNE::Host {

// Any thread; made by std::make_shared. Blocks while the bus is asked about a connection. Throws ApiError.
class CrossingListeners : public std::enable_shared_from_this<CrossingListeners> {
public:
    explicit CrossingListeners(Linux::DeviceBus& bus) : bus_(bus) {}

    // Registers the process behind the connection `caller` for `event`, as AddListener in device_api.xml.
    void Add(const std::string& caller, const std::string& event, const std::string& connection);
    // Removes its registration, if there is one.
    void Remove(const std::string& caller, const std::string& event);

private:
    using Key = std::pair<std::string, int32_t>;  // the library's name of the event, the process
    struct Registration {
        sptr<IRemoteObject> remote;
        sptr<IRemoteObject::DeathRecipient> recipient;
    };
    class Recipient;

    bool IsFull(const std::string& type) const REQUIRES(mutex_);
    // Does nothing when `remote` is not the one that is registered.
    void Forget(const Key& key, const sptr<IRemoteObject>& remote);

    Linux::DeviceBus& bus_;
    // Held while the library is told, so that both agree: it never calls back meanwhile.
    Linux::Mutex mutex_;
    std::map<Key, Registration> registrations_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Host
