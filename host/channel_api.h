// The interface of channels, a part of a device's object on its bus: see device_api.xml.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/known_peer.h"
#include "linux/linux_device.h"

namespace sdbus {
class IConnection;
}

namespace ZYNE::Host {

class ChannelApi {
public:
    struct Options {
        Linux::LinuxDevice& device;
        std::function<std::vector<KnownPeer>()> peers;  // any thread
        std::function<void()> answered;                 // an answer has been sent, not by the connection's own thread
    };

    // Serves on the object `objectPath` of `connection`, which must outlive it, as must the device.
    ChannelApi(sdbus::IConnection& connection, const std::string& objectPath, Options options);
    ChannelApi(const ChannelApi&) = delete;
    ChannelApi& operator=(const ChannelApi&) = delete;
    // The network must have stopped before, and the bus's loop.
    ~ChannelApi();

private:
    class Adaptor;

    std::unique_ptr<Adaptor> adaptor_;
};

}  // namespace ZYNE::Host
