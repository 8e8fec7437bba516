// What a configuration says of the network, of users and of the desk.
#include "host/config.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

class Configured : public PortTest {
protected:
    // What is written of the configuration with that text at its end, or what is wrong with it.
    std::string Read(const std::string& text, std::string (*write)(const Host::Config& config)) const {
        Write(directory / "device.toml",
            "[device]\nname = 'a'\ntype = 'pc'\nstate_directory = 's'\n[account]\nmode = 'open'\nname = 'b'\n" + text);
        try {
            return write(Host::ReadConfig(directory / "device.toml"));
        } catch (const Host::ConfigError& error) {
            return error.what();
        }
    }
    std::string ReadNetwork(const std::string& text) const { return Read("[network]\n" + text, &WriteNetwork); }

    // "INTERFACES; PEERS; PORT, which may be another; BEACON PORT".
    static std::string WriteNetwork(const Host::Config& config) {
        const FabricOptions& fabric = config.fabric;
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
    }
    // "ID NAME TYPE;" of each.
    static std::string WriteUsers(const Host::Config& config) {
        std::string all;
        for (const User& user : config.users) {
            all += std::to_string(user.id) + " " + user.name + " " + std::to_string(int32_t(user.type)) + ";";
        }
        return all;
    }
    // "PUSH CORNER drags clipboard; MODIFIER; HOME KEYS".
    static std::string WriteDesk(const Host::Config& config) {
        const Host::DeskOptions& desk = config.desk;
        std::string all = std::to_string(desk.push) + " " + std::to_string(desk.corner);
        all += std::string(desk.drags ? " drags" : "") + (desk.clipboard ? " clipboard" : "");
        for (const std::vector<int32_t>& keys : {desk.modifier, desk.homeKeys}) {
            all += ";";
            for (const int32_t key : keys) {
                all += " " + std::to_string(key);
            }
        }
        return all;
    }
};

TEST_F(Configured, DeskIsReadOrRefusedWithAReason) {
    const std::pair<const char*, const char*> cases[] = {{"", "0 0 clipboard;; 29 56 1"},
        {"[desk]\npush = 30\ncorner = 5\nmodifier = 'super'\ndrags = true\nclipboard = false\nhome_keys = "
         "'shift+f12+p'",
            "30 5 drags; 125 126; 42 88 25"},
        {"[desk]\nhome_keys = 'escape'", "device.toml:9: desk.home_keys must be two keys or more"},
        {"[desk]\nhome_keys = 'ctrl+'", "must be two keys"}, {"[desk]\nhome_keys = 'ctrl+hyper'", "must be two keys"},
        {"[desk]\nmodifier = 'a'", "desk.modifier must be shift, ctrl, alt or super"},
        {"[desk]\npush = 32768", "must be a number from 0 to 32767"}, {"[desk]\npull = 1", "pull"}};
    for (const auto& [text, outcome] : cases) {
        EXPECT_THAT(Read(text, &WriteDesk), HasSubstr(outcome)) << text;
    }
}

TEST_F(Configured, UsersAreReadOrRefusedWithAReason) {
    const std::pair<const char*, const char*> cases[] = {{"", "100 User 0;"},
        {"[[user]]\nid = 100\nname = 'Anna'\n[[user]]\nid = 2147483647\nname = 'G'\ntype = 'private'",
            "100 Anna 0;2147483647 G 1024;"},
        {"[[user]]\nid = 1\nname = 'A'\n[[user]]\nid = 1\nname = 'B'", "device.toml:12: user.id 1 is another user's"},
        {"[[user]]\nname = 'A'", "device.toml:8: user.id is missing"},
        {"[[user]]\nid = 2147483648\nname = 'A'", "user.id must be a number"},
        {"[[user]]\nid = 1\nname = 'A'\ntype = 'x'", "is none of: normal, private"},
        {"[user]\nid = 1\nname = 'A'", "device.toml:8: user must be written as [[user]]"}};
    for (const auto& [text, outcome] : cases) {
        EXPECT_THAT(Read(text, &WriteUsers), HasSubstr(outcome));
    }
}

TEST_F(Configured, NetworkIsReadOrRefusedWithAReason) {
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
        EXPECT_THAT(ReadNetwork(text), HasSubstr(expected)) << text;
    }
}

TEST_F(Configured, PeerIsRefusedWithAReason) {
    const std::pair<const char*, const char*> cases[] = {{"", "names no host"}, {":1", "names no host"},
        {"desk:", "has no port"}, {"desk:0", "has no port"}, {"desk:65536", "has no port"}, {"desk:1x", "has no port"},
        {"a b", "is no name of a host"}, {"a/b", "is no name of a host"}, {"fe80::1%", "is no IPv6 address"},
        {"192.0.2.300", "is no IPv4 address"}, {"fe80::1::2", "is no IPv6 address"}, {"[192.0.2.1]:1", "is no IPv6"},
        {"[::1", "has no closing bracket"}, {"[::1]7", "has something other than a port"}, {"[::1]:", "has no port"}};
    for (const auto& [peer, expected] : cases) {
        const std::string what = ReadNetwork("peers = ['good', '" + std::string(peer) + "']");
        EXPECT_THAT(what, HasSubstr("network.peers has \"" + std::string(peer) + "\", which " + expected));
    }
}

}  // namespace
}  // namespace ZYNE::Linux
