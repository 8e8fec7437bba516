// The part of a device's interface that is about crossing of keyboard and mouse: io.collaborationfwk.Crossing1 in
// device_api.xml.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/desk_options.h"
#include "host/known_peer.h"
#include "linux/linux_device.h"

namespace sdbus {
class IConnection;
}

namespace ZYNE::Host {

class ProgramCalls;

class CrossingApi {
public:
    struct Options {
        Linux::LinuxDevice& device;
        std::function<std::vector<KnownPeer>()> peers;  // any thread
        ProgramCalls& calls;
        std::string display;  // the display server's name; empty when none is used
        DeskOptions desk;
    };

    // Serves on the object `objectPath` of `connection`, which must outlive it, as must the device and the calls.
    CrossingApi(sdbus::IConnection& connection, const std::string& objectPath, Options options);
    CrossingApi(const CrossingApi&) = delete;
    CrossingApi& operator=(const CrossingApi&) = delete;
    // All requests must have ended before.
    ~CrossingApi();

    // Tells programs that the state of this device's screen has changed. Any thread.
    void TellScreenChanged(Linux::ScreenStatus status);

private:
    class Adaptor;

    std::unique_ptr<Adaptor> adaptor_;
};

}  // namespace ZYNE::Host
