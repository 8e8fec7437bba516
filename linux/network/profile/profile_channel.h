// Carries the device profile over the links: publishes this device's, takes the others'.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "linux/network/link/link.h"
#include "linux/network/profile/profile_exchange.h"
#include "linux/profile/profile_service.h"

namespace ZYNE::Linux {

// Locks are taken in this order: the service's for publishing, the outbox's, a link's for sending. What arrives is
// handed to the service with none held.
class ProfileChannel final : public ProfileNetwork, public LinkUser {
public:
    using Hooks = ProfileExchange::Hooks;

    // For the device `ownUdid` in its run `ownRun`, 1 to 64 bytes.
    ProfileChannel(std::string ownUdid, std::string ownRun, ProfileService& profiles, Hooks hooks);
    ProfileChannel(const ProfileChannel&) = delete;
    ProfileChannel& operator=(const ProfileChannel&) = delete;
    ~ProfileChannel() { Stop({}); }

    // Joins the profile service. Once, before the first link: what arrives earlier is lost. When the service is not
    // open for this device, the device publishes nothing.
    void Begin();

    // Leaves it, after peers have been given `farewell` to take what was published last. Not on the loop's thread. What
    // links say later is not taken.
    void Stop(std::chrono::nanoseconds farewell);

    // Any thread. Does not wait for a peer.
    void Publish(const RecordPtr& record, bool isDeleted) override { exchange_.Publish(record, isDeleted); }

    // Of the stream PROFILE; the loop's thread.
    void OnLinkUp(const LinkPtr& link) override;
    bool OnLinkMessage(const LinkPtr& link, std::string_view message) override;
    void OnLinkDown(const LinkPtr& link) override;
    // Forgets what is kept for too long of peers that are away; now and then, every minute will do. The loop's thread.
    void DropOld();

private:
    const std::string udid_;
    ProfileService& profiles_;
    ProfileExchange exchange_;
    bool isJoined_ = false;
};

}  // namespace ZYNE::Linux
