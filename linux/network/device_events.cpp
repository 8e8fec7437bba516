#include "linux/network/device_events.h"

#include <algorithm>
#include <deque>
#include <utility>

#include "linux/base/guarded_call.h"
#include "linux/base/log_share_scope.h"
#include "linux/network/control/answer_delivery.h"

namespace ZYNE::Linux {

// At most one waits of a device that ended nothing.
DeviceEvents::DeviceEvents(
    ThreadPool& pool, const ListenerRegistry& listeners, const PeerTable& peers, PeerShares& shares, Handler handler)
    : listeners_(listeners), peers_(peers), shares_(shares), handler_(std::move(handler)),
      events_(Mailbox<Event>::Make(pool, [this](const Event& event) { Take(event); },
          {.join = [](const std::deque<Event>& waiting, const Event& next) {
              return next.ended.empty() && std::ranges::find(waiting, next.udid, &Event::udid) != waiting.end();
          }})) {}

void DeviceEvents::Add(const std::string& udid, std::vector<std::string> ended) {
    events_->Post({udid, std::move(ended)});
}

void DeviceEvents::Take(const Event& event) {
    const LogShareScope scope(shares_.LogOf(event.udid));
    TellChannelShutDown(listeners_, event.ended);
    TellState(event.udid);
}

void DeviceEvents::TellState(const std::string& udid) {
    const PeerPtr peer = peers_.FindByUdid(udid);
    if (!peer) {
        return;
    }
    const auto told = told_.find(udid);
    const bool wasOnline = told != told_.end();
    const bool isSameRun = wasOnline && told->second.networkId == peer->device.networkId;
    if (wasOnline && !(peer->IsOnline() && isSameRun)) {
        const Announcement gone = std::move(told->second);
        told_.erase(told);
        Call(DEVICE_STATE_OFFLINE, gone);
    }
    if (peer->IsOnline() && !isSameRun) {
        told_.insert_or_assign(udid, peer->device);
        Call(DEVICE_STATE_ONLINE, peer->device);
    } else if (peer->IsOnline() && told->second != peer->device) {
        told->second = peer->device;
        Call(DEVICE_INFO_CHANGED, peer->device);
    }
}

void DeviceEvents::Call(DmDeviceState state, const Announcement& device) const {
    if (handler_) {
        GuardedCall("the device state handler", [&] { handler_(state, ToDeviceInfo(device)); });
    }
}

}  // namespace ZYNE::Linux
