#include "linux/fabric/fabric_domain.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "linux/fabric/dds_log.h"
#include "linux/fabric/domain_config.h"
#include "linux/fabric/domain_ports.h"
#include "linux/fabric/network_interface.h"
#include "linux/fabric/security_properties.h"
#include "linux/fabric/socket_restriction.h"
#include "linux/fabric/wire.h"

namespace ZYNE::Linux {
namespace {

// The library's codes say little; what it has just printed says more.
template <typename Make>
DdsEntity MakeOrExplain(const std::string& what, Make make) {
    TakeLastDdsError();
    try {
        return DdsEntity(make(), what);
    } catch (const std::runtime_error& error) {
        const std::string reason = TakeLastDdsError();
        throw std::runtime_error(reason.empty() ? error.what() : what + ": " + reason);
    }
}

DdsEntity MakeDomain(const FabricOptions& options) {
    if (options.domain > LAST_DOMAIN) {
        throw std::runtime_error("the network domain is a number from 0 to " + std::to_string(LAST_DOMAIN));
    }
    const NetworkInterface interface = FindNetworkInterface(options.interface);
    RouteDdsLog();
    DdsEntity domain = MakeOrExplain("no network domain " + std::to_string(options.domain),
        [&] { return dds_create_domain(options.domain, DomainConfig(options, interface).c_str()); });
    RestrictSockets(options.domain, interface, options.multicast);
    return domain;
}

DdsEntity MakeParticipant(uint32_t domain, const std::optional<Credentials>& credentials) {
    const QosHandle qos = NewQos();
    if (credentials) {
        SetSecurityProperties(qos.get(), *credentials);
    }
    return MakeOrExplain(credentials ? "the credentials in " + credentials->directory.string() + " are refused"
                                     : "no way into the network domain",
        [&] { return dds_create_participant(domain, qos.get(), nullptr); });
}

DdsEntity MakeTopic(dds_entity_t participant, const dds_topic_descriptor_t& type, const std::string& name) {
    return {dds_create_topic(participant, &type, name.c_str(), nullptr, nullptr), "no topic"};
}

}  // namespace

FabricDomain::FabricDomain(const FabricOptions& options, const std::optional<Credentials>& credentials)
    : domain_(MakeDomain(options)), participant_(MakeParticipant(options.domain, credentials)),
      presenceTopic_(MakeTopic(Participant(), ZYNE_Linux_Wire_Presence_desc, "Presence")),
      profileTopic_(MakeTopic(Participant(), ZYNE_Linux_Wire_Profile_desc, "Profile")) {}

DdsEntity FabricDomain::MakeControlTopic(const std::string& partition) const {
    std::string name = "Control_" + partition;
    // A topic's name has letters, digits and "_" alone. Two partitions may get one name: they are still told apart.
    std::ranges::replace_if(
        name, [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return MakeTopic(Participant(), ZYNE_Linux_Wire_ControlMessage_desc, name);
}

}  // namespace ZYNE::Linux
