// Addresses and interfaces that change, go and come while devices run.
#include "tests/network/network_lab.h"

namespace ZYNE::Testing {
namespace {

using ::testing::HasSubstr;

class Changes : public NetworkLab {
protected:
    // What happens to the machine of one device of a pair.
    struct Change {
        std::string name;
        milliseconds away;
        std::function<void(Machine&)> leave;
        std::function<void(Machine&)> back;
    };

    static std::function<void(Machine&)> Run(const std::string& script) {
        return [script](Machine& machine) {
            machine.network.Run(script);
        };
    }

    std::vector<Change> All() {
        const auto sameAddress = [](Machine& machine) {
            machine.network.Run(Machine::SetIpv4(machine.Ipv4()));
        };
        const auto otherAddress = [](Machine& machine) {
            machine.network.Run(Machine::SetIpv4(machine.OtherIpv4()));
        };
        const auto setCable = [this](const Machine& machine, const std::string& state) {
            RunOnSwitch("ip link set port" + std::to_string(machine.port) + " " + state);
        };
        const auto unplug = [this](Machine& machine) {
            Unplug(machine);
        };
        return {
            {"new-address", seconds(0), [](Machine&) {}, otherAddress},
            {"address-away", seconds(5), Run("ip -4 address flush dev eth0"), sameAddress},
            {"interface-down", seconds(2), Run("ip link set eth0 down"), Run("ip link set eth0 up")},
            {"cable-away", seconds(3), [=](Machine& machine) { setCable(machine, "down"); },
                [=](Machine& machine) {
                    setCable(machine, "up");
                }},
            {"interface-away", seconds(2), unplug,
                [this](Machine& machine) {
                    Plug(machine, Addresses::IPV4);
                }},
            {"other-interface", seconds(2), unplug,
                [=, this](Machine& machine) {
                    Plug(machine, Addresses::NONE);
                    otherAddress(machine);
                }},
        };
    }

    static void Suffer(const Change& change, const Pair& pair, Machine& machine) {
        change.leave(machine);
        PutValue(*pair.smaller, "change");
        std::this_thread::sleep_for(change.away);
        change.back(machine);
        PutValue(*pair.larger, "change");  // comes on a link that is there, not one whose end nobody has noticed
        ExpectWhole(pair, "change", Clock::now() + seconds(2));
    }
};

// Whether it is the device with the smaller udid to which it happens.
class ChangesOfOne : public Changes, public ::testing::WithParamInterface<bool> {};

TEST_P(ChangesOfOne, LeaveThePairWholeSoonAfterwards) {
    std::vector<std::pair<Change, Pair>> cases;
    for (const Change& change : All()) {
        cases.emplace_back(change, AddPair(change.name, Addresses::IPV4));
    }
    StartPairs();
    ForAll(cases, [](const auto& each) {
        Suffer(each.first, each.second, GetParam() ? *each.second.smaller : *each.second.larger);
    });
}

INSTANTIATE_TEST_SUITE_P(Network, ChangesOfOne, ::testing::Bool(),
    [](const auto& row) { return std::string(row.param ? "Smaller" : "Larger"); });

TEST_F(Changes, ADeviceThatStartsBeforeItsNetworkSaysSoAndJoinsWhenItIsThere) {
    const Pair pair = AddPair("early", Addresses::IPV4);
    for (Machine* machine : {pair.smaller, pair.larger}) {
        Unplug(*machine);
        machine->device->Start();
        EXPECT_THAT(machine->device->Ctl({"status"}).out, HasSubstr("waiting for interface eth0"));
        PutValue(*machine, "early");
        Plug(*machine, Addresses::NONE);
    }
    for (Machine* machine : {pair.smaller, pair.larger}) {
        machine->network.Run(Machine::SetIpv4(machine->Ipv4()));
    }
    ExpectWhole(pair, "early", Clock::now() + seconds(2));
    EXPECT_THAT(pair.larger->device->Ctl({"status"}).out, HasSubstr(pair.larger->Ipv4()));
}

TEST_F(Changes, Ipv6AloneWillDoEvenWithoutAnAddressOfTheNetwork) {
    const std::vector<Pair> pairs{AddPair("ipv6", Addresses::IPV6), AddPair("link-local", Addresses::LINK_LOCAL)};
    StartPairs();
    for (const Pair& pair : pairs) {
        PutValues(pair, "ipv6");
        ExpectWhole(pair, "ipv6", Clock::now() + seconds(2));
    }
}

}  // namespace
}  // namespace ZYNE::Testing
