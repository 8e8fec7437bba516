// Devices on machines of their own, whose network the test makes good or bad.
#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/network/network_namespace.h"
#include "tests/network/test_switch.h"
#include "tests/scenario/scenario.h"

namespace ZYNE::Testing {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Clock = TestSwitch::Clock;

enum class Addresses { NONE, IPV4, IPV6, LINK_LOCAL, BOTH };

// A machine with an interface eth0 towards the switch.
struct Machine {
    size_t port;
    NetworkNamespace network;
    TestDevice* device;  // made, not started

    std::string Ipv4() const { return "10.77.0." + std::to_string(port); }
    std::string OtherIpv4() const { return "10.77.0." + std::to_string(100 + port); }
    // Commands of the shell: eth0 gets this address as its only one of its family.
    static std::string SetIpv4(const std::string& address);
};

// Two devices of an account of their own.
struct Pair {
    Machine* smaller;  // by udid, which decides what each has to do for the other
    Machine* larger;
};

class NetworkLab : public Scenario {
protected:
    void SetUp() override;

    // A machine with a device that has the test provider.
    Machine& AddMachine(
        const std::string& name, const std::string& account = "home", Addresses addresses = Addresses::BOTH);
    // The two are named `account`-a and `account`-b.
    Pair AddPair(const std::string& account, Addresses addresses = Addresses::BOTH);
    // Starts the devices of all pairs, and waits until the two of each see each other.
    void StartPairs();

    // The interface eth0 is made anew, or deleted.
    void Plug(Machine& machine, Addresses addresses);
    void Unplug(Machine& machine);
    // Commands of the shell on the switch's side, such as for the end of a cable, which is "port" with the number.
    void RunOnSwitch(const std::string& script) { switchNetwork_->Run(script); }
    TestSwitch& Switch() { return *switch_; }
    void SetWays(const Pair& pair, const Way& way);

    // The device's profile has a value of this round.
    static void PutValue(const Machine& machine, const std::string& round);
    static void PutValues(const Pair& pair, const std::string& round);
    // By this time both see each other and know the other's value of this round; then they answer each other.
    static void ExpectWhole(const Pair& pair, const std::string& round, Clock::time_point deadline);
    // Whether each knows the other's value of this round; each must see the other, or have seen it.
    static bool AreEqual(const Pair& pair, const std::string& round);
    // Whether each gets an answer of the other; blocks for five seconds where there is none.
    static bool AnswerEachOther(const Pair& pair);
    static bool SeeEachOther(const Pair& pair);
    static bool MissEachOther(const Pair& pair);
    // In the eyes of either.
    static size_t TimesOffline(const Pair& pair);

private:
    std::unique_ptr<NetworkNamespace> switchNetwork_;
    std::unique_ptr<TestSwitch> switch_;
    std::vector<std::unique_ptr<Machine>> machines_;
    std::vector<Pair> pairs_;
};

// Whether `condition` comes true until then.
bool Until(Clock::time_point deadline, const std::function<bool()>& condition);

// Runs `work` for each of `items` at the same time, and waits for all.
template <typename Items, typename Work>
void ForAll(Items& items, const Work& work) {
    std::vector<std::jthread> threads;
    for (auto& item : items) {
        threads.emplace_back([&] {
            try {
                work(item);
            } catch (const std::exception& error) {
                ADD_FAILURE() << error.what();
            }
        });
    }
}

}  // namespace ZYNE::Testing
