#include "linux/network/profile/profile_channel.h"

#include <utility>

#include "linux/base/guarded_call.h"
#include "linux/network/presence/fabric_log.h"

namespace ZYNE::Linux {

ProfileChannel::ProfileChannel(std::string ownUdid, std::string ownRun, ProfileService& profiles, Hooks hooks)
    : udid_(std::move(ownUdid)), profiles_(profiles),
      exchange_(std::move(ownRun), profiles, std::move(hooks), ProfileExchange::Clock::now) {}

void ProfileChannel::Begin() {
    isJoined_ = profiles_.Join(*this, udid_);
    if (!isJoined_) {
        FabricPrint(LogLevel::WARN, "the device profile is not open: nothing is published");
    }
}

void ProfileChannel::Stop(std::chrono::nanoseconds farewell) {
    if (std::exchange(isJoined_, false)) {
        exchange_.WaitUntilTaken(farewell);
        profiles_.Leave();
    }
}

void ProfileChannel::OnLinkUp(const LinkPtr& link) {
    GuardedCall("opening profiles", [&] {
        exchange_.OnUp(
            link->Udid(), [link](std::string message) { return link->Send(Stream::PROFILE, std::move(message)); });
    });
}

bool ProfileChannel::OnLinkMessage(const LinkPtr& link, std::string_view message) {
    bool isValid = false;
    GuardedCall("reading profiles", [&] { isValid = exchange_.OnMessage(link->Udid(), message); });
    return isValid;
}

void ProfileChannel::OnLinkDown(const LinkPtr& link) {
    GuardedCall("closing profiles", [&] { exchange_.OnDown(link->Udid()); });
}

void ProfileChannel::DropOld() {
    GuardedCall("forgetting profiles", [&] { exchange_.DropOld(); });
}

}  // namespace ZYNE::Linux
