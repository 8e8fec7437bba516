#include "tests/network/network_lab.h"

#include <algorithm>
#include <thread>

namespace ZYNE::Testing {
namespace {

constexpr const char* SERVICE = "network";
constexpr const char* TYPE = "test";

bool HasIpv4(Addresses addresses) {
    return addresses == Addresses::IPV4 || addresses == Addresses::BOTH;
}

bool HasIpv6(Addresses addresses) {
    return addresses == Addresses::IPV6 || addresses == Addresses::BOTH;
}

std::string Value(const Machine& machine, const std::string& round) {
    return round + " of " + machine.device->Name();
}

bool Knows(const Machine& asker, const Machine& owner, const std::string& round) {
    return asker.device->Api().Profiles().Get(owner.device->Name(), SERVICE, TYPE, "round") == Value(owner, round);
}

bool Answers(const Machine& owner, const Machine& asker) {
    return asker.device->Ask(owner.device->Name(), {"service.hello"}).code == 0;
}

}  // namespace

bool Until(Clock::time_point deadline, const std::function<bool()>& condition) {
    while (!condition()) {
        if (Clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(milliseconds(20));
    }
    return true;
}

std::string Machine::SetIpv4(const std::string& address) {
    return "ip -4 address flush dev eth0; ip address add " + address + "/24 broadcast + dev eth0;";
}

void NetworkLab::SetUp() {
    if (!NetworkNamespace::Problem().empty()) {
        GTEST_SKIP() << "network namespaces are not allowed here: " << NetworkNamespace::Problem();
    }
    endTime = seconds(5);
    switchNetwork_ = std::make_unique<NetworkNamespace>();
    switch_ = std::make_unique<TestSwitch>(*switchNetwork_);
}

Machine& NetworkLab::AddMachine(const std::string& name, const std::string& account, Addresses addresses) {
    Machine& machine = *machines_.emplace_back(std::make_unique<Machine>());
    machine.port = machines_.size();
    Plug(machine, addresses);
    machine.device = &Add(name,
        {.account = account,
            .hasTestProvider = true,
            .network = "interface = \"eth0\"\n",
            .launcher = machine.network.Launcher()});
    return machine;
}

Pair NetworkLab::AddPair(const std::string& account, Addresses addresses) {
    Pair pair{&AddMachine(account + "-a", account, addresses), &AddMachine(account + "-b", account, addresses)};
    if (pair.larger->device->Udid() < pair.smaller->device->Udid()) {
        std::swap(pair.smaller, pair.larger);
    }
    return pairs_.emplace_back(pair);
}

// One after the other, for a device ends with the thread that started it.
void NetworkLab::StartPairs() {
    for (const Pair& pair : pairs_) {
        pair.smaller->device->Start();
        pair.larger->device->Start();
    }
    for (const Pair& pair : pairs_) {
        ASSERT_TRUE(Eventually([&] { return SeeEachOther(pair); })) << pair.smaller->device->Name();
    }
}

void NetworkLab::Plug(Machine& machine, Addresses addresses) {
    const std::string port = "port" + std::to_string(machine.port);
    RunOnSwitch("ip link add " + port + " type veth peer name eth0 netns " + machine.network.Path() +
        "; echo 1 > /proc/sys/net/ipv6/conf/" + port + "/disable_ipv6; ip link set " + port + " up");
    switchNetwork_->SwitchOffloadsOff(port);
    machine.network.SwitchOffloadsOff("eth0");
    switch_->Plug(machine.port, port);
    std::string script;
    if (addresses == Addresses::NONE || addresses == Addresses::IPV4) {
        script += "echo 1 > /proc/sys/net/ipv6/conf/eth0/disable_ipv6;";
    }
    script += "ip link set eth0 up;";
    if (HasIpv4(addresses)) {
        script += Machine::SetIpv4(machine.Ipv4());
    }
    if (HasIpv6(addresses)) {
        script += "ip address add fd00:77::" + std::to_string(machine.port) + "/64 dev eth0;";
    }
    machine.network.Run(script);
}

void NetworkLab::Unplug(Machine& machine) {
    switch_->Unplug(machine.port);
    machine.network.Run("ip link delete eth0");
}

void NetworkLab::SetWays(const Pair& pair, const Way& way) {
    switch_->SetWay(pair.smaller->port, pair.larger->port, way);
    switch_->SetWay(pair.larger->port, pair.smaller->port, way);
}

void NetworkLab::PutValue(const Machine& machine, const std::string& round) {
    EXPECT_EQ(machine.device->Api().Profiles().Put(SERVICE, TYPE, "round", Value(machine, round)), 0);
}

void NetworkLab::PutValues(const Pair& pair, const std::string& round) {
    PutValue(*pair.smaller, round);
    PutValue(*pair.larger, round);
}

void NetworkLab::ExpectWhole(const Pair& pair, const std::string& round, Clock::time_point deadline) {
    SCOPED_TRACE(pair.smaller->device->Name() + " and " + pair.larger->device->Name());
    ASSERT_TRUE(Until(deadline, [&] { return SeeEachOther(pair) && AreEqual(pair, round); }))
        << (SeeEachOther(pair) ? "a value is missing" : "a device is missing");
    EXPECT_TRUE(AnswerEachOther(pair));
}

bool NetworkLab::AreEqual(const Pair& pair, const std::string& round) {
    return Knows(*pair.smaller, *pair.larger, round) && Knows(*pair.larger, *pair.smaller, round);
}

bool NetworkLab::AnswerEachOther(const Pair& pair) {
    const bool isAnswered = Answers(*pair.smaller, *pair.larger);
    return Answers(*pair.larger, *pair.smaller) && isAnswered;
}

bool NetworkLab::SeeEachOther(const Pair& pair) {
    return pair.smaller->device->Sees(pair.larger->device->Name()) &&
        pair.larger->device->Sees(pair.smaller->device->Name());
}

bool NetworkLab::MissEachOther(const Pair& pair) {
    return pair.smaller->device->MissesPeer(pair.larger->device->Name()) &&
        pair.larger->device->MissesPeer(pair.smaller->device->Name());
}

size_t NetworkLab::TimesOffline(const Pair& pair) {
    return pair.smaller->device->CountInLog(" is offline: ") + pair.larger->device->CountInLog(" is offline: ");
}

}  // namespace ZYNE::Testing
