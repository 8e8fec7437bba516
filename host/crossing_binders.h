// Which programs want the companion's service to run whatever the rules say.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "linux/base/mutex.h"
#include "linux/services/device_bus.h"
#include "platform/ipc/remote_object.h"

namespace ZYNE::Host {

// Any thread; made by std::make_shared. Blocks while the library decides. Throws ApiError.
class CrossingBinders : public std::enable_shared_from_this<CrossingBinders> {
public:
    explicit CrossingBinders(Linux::DeviceBus& bus) : bus_(bus) {}

    // For the connection `caller`, as BindService in device_api.xml.
    void Bind(const std::string& caller, bool bind);

private:
    using Binder = std::pair<sptr<IRemoteObject>, sptr<IRemoteObject::DeathRecipient>>;
    class Recipient;

    void Add(const std::string& caller) REQUIRES(mutex_);
    void Forget(const std::string& caller);

    Linux::DeviceBus& bus_;
    Linux::Mutex mutex_;                                        // held while the library is told, so that both agree
    std::map<std::string, Binder> binders_ GUARDED_BY(mutex_);  // by connection
};

}  // namespace ZYNE::Host
