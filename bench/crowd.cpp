#include "bench/crowd.h"

#include <optional>

#include "linux/account/udid.h"
#include "linux/fabric/control_reader.h"
#include "linux/fabric/device_id.h"
#include "linux/fabric/presence.h"
#include "platform/host/device_info.h"

namespace ZYNE::Bench {
namespace {

Linux::FabricOptions Options(const std::string& account, const std::string& tag) {
    Linux::FabricOptions options;
    options.trust = Linux::FabricOptions::Trust::OPEN;
    options.accountName = account;
    options.peers = {"127.0.0.1"};
    options.tag = tag;
    return options;
}

}  // namespace

struct Crowd::Member {
    Member(const Linux::FabricDomain& domain, const Linux::Partitions& partitions, const Linux::Announcement& device)
        : inbox(domain, partitions.To(device.udid, device.networkId)), presence(domain, partitions, device) {
        presence.Announce();
    }

    Linux::ControlReader inbox;
    Linux::PresenceWriter presence;
};

Crowd::Crowd(const std::string& account, const std::string& tag)
    : domain_(Options(account, tag), std::nullopt), partitions_(account) {}

Crowd::~Crowd() = default;

void Crowd::Add(size_t devices) {
    for (size_t i = 0; i < devices; ++i) {
        const std::string name = "member-" + std::to_string(members_.size());
        const Linux::Announcement device{
            Linux::NewUdid(), Linux::NewNetworkId(), name, CollaborationFwk::DeviceType::PHONE, Linux::OS_TYPE};
        members_.push_back(std::make_unique<Member>(domain_, partitions_, device));
    }
}

}  // namespace ZYNE::Bench
