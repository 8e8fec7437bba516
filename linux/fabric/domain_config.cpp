#include "linux/fabric/domain_config.h"

#include "linux/fabric/domain_ports.h"

namespace ZYNE::Linux {
namespace {

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '<':
            escaped += "&lt;";
            break;
        case '&':
            escaped += "&amp;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

std::string General(const FabricOptions& options, const NetworkInterface& interface) {
    const std::string multicast = options.multicast ? "true" : "false";
    // Datagrams of nearly the greatest size: a message of megabytes in as few of them as can be.
    return "<General><Interfaces><NetworkInterface address=\"" + interface.AddressText() + "\" multicast=\"" +
        multicast + "\"/></Interfaces><AllowMulticast>" + multicast +
        "</AllowMulticast><MaxMessageSize>65500B</MaxMessageSize><FragmentSize>64000B</FragmentSize></General>";
}

// A device that is killed is missed after LeaseDuration; one that runs is heard of twice in that time.
std::string Discovery(const FabricOptions& options) {
    std::string peers;
    for (const std::string& peer : options.peers) {
        peers += "<Peer Address=\"" + Escaped(peer) + "\"/>";
    }
    return "<Discovery><Tag>" + Escaped(options.tag) +
        "</Tag><ParticipantIndex>auto</ParticipantIndex><MaxAutoParticipantIndex>" +
        std::to_string(MOST_DEVICES_ON_A_MACHINE) + "</MaxAutoParticipantIndex><Peers>" + peers +
        "</Peers><LeaseDuration>1s</LeaseDuration><SPDPInterval>400ms</SPDPInterval></Discovery>";
}

}  // namespace

std::string DomainConfig(const FabricOptions& options, const NetworkInterface& interface) {
    // A lost datagram of a large message is asked for again within milliseconds. Whoever deletes a writer has waited
    // for its peer already, if it wants to.
    return "<CycloneDDS><Domain id=\"any\">" + General(options, interface) + Discovery(options) +
        "<Internal><SocketReceiveBufferSize max=\"8MB\"/><NackDelay>1 ms</NackDelay>"
        "<HeartbeatInterval min=\"5 ms\" minsched=\"5 ms\">20 ms</HeartbeatInterval>"
        "<WriterLingerDuration>0s</WriterLingerDuration></Internal></Domain></CycloneDDS>";
}

}  // namespace ZYNE::Linux
