// Tells the host in order which devices come, change and go.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "linux/base/mailbox.h"
#include "linux/device/listener_registry.h"
#include "linux/network/presence/peer_shares.h"
#include "linux/network/presence/peer_table.h"
#include "platform/device_manager/dm_device_state.h"

namespace ZYNE::Linux {

// Any thread. Calls out on threads of the pool, of one device at a time, with no lock held. What is told is the
// difference between what was told last and what is, so a device that flickers while a callback runs fills no queue.
class DeviceEvents {
public:
    using Handler = std::function<void(int state, const DmDeviceInfo& device)>;

    // What it calls is done in the name of the device, see LogShareScope.
    DeviceEvents(ThreadPool& pool, const ListenerRegistry& listeners, const PeerTable& peers, PeerShares& shares,
        Handler handler);
    DeviceEvents(const DeviceEvents&) = delete;
    DeviceEvents& operator=(const DeviceEvents&) = delete;
    ~DeviceEvents() { Stop(); }

    // Something about the device may have changed. `ended` are the collaborations whose channel went with it.
    void Add(const std::string& udid, std::vector<std::string> ended);

    // Returns when the callback that runs has returned. What has not been told is not told any more.
    void Stop() { events_->CloseAndWait(); }

private:
    struct Event {
        std::string udid;
        std::vector<std::string> ended;
    };

    void Take(const Event& event);
    void TellState(const std::string& udid);
    void Call(DmDeviceState state, const Announcement& device) const;

    const ListenerRegistry& listeners_;
    const PeerTable& peers_;
    PeerShares& shares_;
    const Handler handler_;
    std::map<std::string, Announcement> told_;  // by udid, those told to be online; of Take alone
    const std::shared_ptr<Mailbox<Event>> events_;
};

}  // namespace ZYNE::Linux
