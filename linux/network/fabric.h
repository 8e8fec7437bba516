// The network half of a device: presence, and the control channel between devices of one account.
//
// The daemon starts and stops it; the library reaches it through the seam (SessionManager, DeviceManager, …), whose
// operations fail with FABRIC_NOT_RUNNING before the start and after the stop.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/desktop/screen_status.h"
#include "linux/network/channel/channel_room.h"
#include "linux/network/fabric_host.h"
#include "linux/network/fabric_options.h"
#include "linux/network/network_status.h"
#include "platform/device_manager/dm_device_info.h"

namespace ZYNE::Linux {

class FabricNode;

// Any thread.
class Fabric {
public:
    // Tells that a device has come online (0), gone offline (1) or tells something else about itself (2). Comes on one
    // thread, in order, with no lock held; it may block. A device that restarts goes offline under its old network id
    // first.
    using DeviceStateHandler = std::function<void(int state, const DmDeviceInfo& device)>;

    struct PeerStatus {
        DmDeviceInfo info;  // as it was last
        bool online;
        ScreenStatus screenStatus;  // likewise
    };

    explicit Fabric(const FabricHost& host) : host_(host) {}
    Fabric(const Fabric&) = delete;
    Fabric& operator=(const Fabric&) = delete;
    ~Fabric() { Stop(); }

    // Takes effect with the next start.
    void SetDeviceStateHandler(DeviceStateHandler handler);

    // What this device announces of its screen, from the next start on as well: a ScreenStatus; any other value is
    // SCREEN_UNKNOWN, as is what nobody has set.
    void SetScreenStatus(int32_t status);

    // Joins the network, as soon as there is one. Throws std::runtime_error with one line when that cannot be: the
    // credentials do not hold, it runs already …
    void Start(const FabricOptions& options);

    // Leaves the network: other devices see it at once. When it returns, both of its threads have ended and no callback
    // comes any more, except from large messages and changes of peers' screens that the thread pool has accepted. Does
    // nothing when it does not run. Not in a callback. Takes half a second at most unless a callback hangs.
    void Stop();

    // This device; nothing while it is not started.
    std::optional<DmDeviceInfo> LocalDevice() const;

    // The udid of the device that has, or has had since the start, the network id; this device's as well. Empty when
    // nobody had it.
    std::string UdidOf(const std::string& networkId) const;

    // All devices of the account that announced themselves since the start, those that have gone included.
    std::vector<PeerStatus> ListPeers() const;

    // How the device is connected. "not running" while it is not started.
    NetworkStatus Status() const;

    // When the thread of the network came round last, which it does every two seconds at least; now while it is not
    // started.
    std::chrono::steady_clock::time_point LastRound() const;

    // Takes a list of revoked devices that the account's authority has signed, obeys it and passes it on. False when it
    // is no news. Throws std::runtime_error with one line when it is not such a list, or the fabric does not run.
    bool TakeRevocations(const std::string& document);

    // Opens a channel of an app; see ChannelRoom. The wish's number; 0 when the network does not run, which the answer
    // tells before this returns.
    uint32_t OpenChannel(ChannelWish wish, ChannelAnswer answer);
    void WithdrawChannel(uint32_t number);

    // What the seam's operations work on; null while it does not run.
    std::shared_ptr<FabricNode> Node() const;

private:
    // The node that was there before.
    std::shared_ptr<FabricNode> SetNode(std::shared_ptr<FabricNode> node);

    const FabricHost host_;
    Mutex startMutex_;  // one start or stop at a time; taken before the others
    // Held while the status is announced: the last one that was set is the one that is announced last. Taken before
    // mutex_.
    Mutex screenMutex_;
    ScreenStatus screenStatus_ GUARDED_BY(screenMutex_) = SCREEN_UNKNOWN;
    mutable Mutex mutex_;
    DeviceStateHandler handler_ GUARDED_BY(mutex_);
    std::shared_ptr<FabricNode> node_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
