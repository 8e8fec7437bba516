// What the device offers to programs of its user on its own bus, see device_api.xml.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/desk_options.h"
#include "host/known_peer.h"
#include "linux/bus/bus_pump.h"
#include "linux/linux_device.h"
#include "linux/network/network_status.h"
#include "platform/device_profile/characteristic_profile.h"

namespace sdbus {
class IConnection;
}

namespace ZYNE::Host {

class ChannelApi;
class CrossingApi;
class ProgramCalls;

// Any thread. Requests that may block run on the pool, each in its turn, see ProgramCalls.
class DeviceApi {
public:
    struct Options {
        Linux::LinuxDevice& device;  // its bus is up and stays so until Stop; its loop reads the connection
        std::string deviceName;
        std::string deviceType;
        std::string accountMode;
        std::function<std::vector<KnownPeer>()> peers;  // any thread
        std::function<Linux::NetworkStatus()> network;  // any thread
        std::string display;                            // as for CrossingApi, as is the next
        DeskOptions desk;
        std::function<void()> onLost;  // the bus is gone; on the loop's thread
    };

    // Serves from now on. Throws std::runtime_error when the bus cannot be reached.
    explicit DeviceApi(Options options);
    DeviceApi(const DeviceApi&) = delete;
    DeviceApi& operator=(const DeviceApi&) = delete;
    // All requests must have ended: drain the pool before.
    ~DeviceApi();

    // Takes no further request and refuses those that wait for their turn.
    void Stop();

    // Tells programs that the peers have changed.
    void TellDevicesChanged();

    // Tells programs of the state of this device's screen.
    void TellScreenChanged(Linux::ScreenStatus status);

    // Tells programs of a change in a profile, of a peer or of this device. Changes of one characteristic must be told
    // one after another.
    void TellProfileChanged(Linux::ProfileChange change, const CharacteristicProfile& profile);

private:
    class Adaptor;

    int Process();
    void Emit(const char* signal, const std::function<void()>& emit);
    Linux::BusInterest GetInterest() const;
    void Wake();

    const Options options_;
    const std::unique_ptr<ProgramCalls> calls_;
    std::unique_ptr<sdbus::IConnection> connection_;
    std::unique_ptr<Adaptor> adaptor_;
    std::unique_ptr<CrossingApi> crossing_;
    std::unique_ptr<ChannelApi> channels_;
    std::atomic<bool> stopping_{false};
    std::unique_ptr<Linux::BusPump> pump_;  // the loop's thread alone
};

}  // namespace ZYNE::Host
