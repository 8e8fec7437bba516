// What a configuration says of the network.
#include "host/config.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

class ConfiguredNetwork : public PortTest {
protected:
    // "INTERFACES; PEERS; PORT, which may be another; BEACON PORT", or what is wrong.
    std::string Read(const std::string& text) const {
        Write(directory / "device.toml",
            "[device]\nname = 'a'\ntype = 'pc'\nstate_directory = 's'\n[account]\nmode = 'open'\nname = "
            "'b'\n[network]\n" +
                text);
        try {
            const FabricOptions fabric = Host::ReadConfig(directory / "device.toml").fabric;
            std::string all;
            for (const std::string& name : fabric.interfaces) {
                all += name + " ";
            }
            all += "; ";
            for (const PeerAddress& peer : fabric.peers) {
                all += peer.host + " " + std::to_string(peer.port) + " ";
            }
            return all + "; " + std::to_string(fabric.port) + (fabric.mayUseOtherPort ? " or another" : "") + "; " +
                (fabric.hasBeacon ? std::to_string(fabric.beaconPort) : "none");
        } catch (const Host::ConfigError& error) {
            return error.what();
        }
    }
};

TEST_F(ConfiguredNetwork, IsReadOrRefusedWithAReason) {
    const std::pair<const char*, const char*> cases[] = {{"", "lo ; ; 47020 or another; 47021"},
        {"interface = 'auto'\nport = 47020", "auto ; ; 47020; 47021"},
        {"interface = ['eth0', 'wlan0']\nport = 0\nbeacon_port = 65535", "eth0 wlan0 ; ; 0; 65535"},
        {"beacon = false\npeers = ['desk', 'desk.home:1', '192.0.2.1:65535', '[fe80::1%eth0]:7', '[::1]', 'fd00::1',"
         "'fe80::1%wlp3s0']",
            "lo ; desk 47020 desk.home 1 192.0.2.1 65535 fe80::1%eth0 7 ::1 47020 fd00::1 47020 fe80::1%wlp3s0 47020 ; "
            "47020 or another; none"},
        {"interface = []", "device.toml:9: network.interface must name an interface"},
        {"interface = ['lo', '']", "must name an interface"},
        {"interface = 7", "must be a string or a list of strings"},
        {"interface = ['lo', 'auto']", "may be \"auto\" alone"}, {"interface = ['lo', 'lo']", "names lo twice"},
        {"interface = 'sixteencharacter'", "at most 15"}, {"port = 65536", "must be a number from 0 to 65535"},
        {"beacon_port = 0", "must be at least 1"}, {"beacon = false", "network.peers must name a host, or beacon"},
        {"domain = 1", "network.domain has gone: port"},
        {"tag = 'x'", "network.tag has gone: only devices of one account"},
        {"multicast = true", "device.toml:9: network.multicast has gone: beacon"}};
    for (const auto& [text, expected] : cases) {
        EXPECT_THAT(Read(text), HasSubstr(expected)) << text;
    }
}

TEST_F(ConfiguredNetwork, NamesWhatIsWrongWithAPeer) {
    const std::pair<const char*, const char*> cases[] = {{"", "names no host"}, {":1", "names no host"},
        {"desk:", "has no port"}, {"desk:0", "has no port"}, {"desk:65536", "has no port"}, {"desk:1x", "has no port"},
        {"a b", "is no name of a host"}, {"a/b", "is no name of a host"}, {"fe80::1%", "is no IPv6 address"},
        {"192.0.2.300", "is no IPv4 address"}, {"fe80::1::2", "is no IPv6 address"}, {"[192.0.2.1]:1", "is no IPv6"},
        {"[::1", "has no closing bracket"}, {"[::1]7", "has something other than a port"}, {"[::1]:", "has no port"}};
    for (const auto& [peer, expected] : cases) {
        const std::string what = Read("peers = ['good', '" + std::string(peer) + "']");
        EXPECT_THAT(what, HasSubstr("network.peers has \"" + std::string(peer) + "\", which " + expected));
    }
}

}  // namespace
}  // namespace ZYNE::Linux
