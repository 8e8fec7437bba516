#include "linux/network/device_events.h"

#include <algorithm>
#include <utility>

#include <pthread.h>

#include "linux/base/log_share_scope.h"
#include "linux/network/control/answer_delivery.h"
#include "linux/network/link/guarded_call.h"

namespace ZYNE::Linux {

DeviceEvents::DeviceEvents(const PeerTable& peers, PeerShares& shares, Handler handler)
    : peers_(peers), shares_(shares), handler_(std::move(handler)), thread_([this] { Run(); }) {
    pthread_setname_np(thread_.native_handle(), "collabd-devices");
}

void DeviceEvents::Add(const std::string& udid, std::vector<std::string> ended) {
    const std::scoped_lock lock(mutex_);
    const bool isWaiting = std::ranges::any_of(events_, [&](const Event& event) { return event.udid == udid; });
    if (!isWaiting || !ended.empty()) {
        events_.push_back({udid, std::move(ended)});
        wake_.notify_one();
    }
}

void DeviceEvents::Stop() {
    {
        const std::scoped_lock lock(mutex_);
        stopping_ = true;
        wake_.notify_one();
    }
    if (thread_.joinable()) {
        thread_.join();
    }
}

void DeviceEvents::Run() {
    for (;;) {
        Event event;
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return stopping_ || !events_.empty(); });
            if (stopping_) {
                return;
            }
            event = std::move(events_.front());
            events_.pop_front();
        }
        const LogShareScope scope(shares_.LogOf(event.udid));
        GuardedCall("telling of a device", [&] {
            TellChannelShutDown(event.ended);
            TellState(event.udid);
        });
    }
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
