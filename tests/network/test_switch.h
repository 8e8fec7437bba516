// A switch in user space, whose cables can be as bad as a network gets.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <utility>

#include "linux/base/unique_fd.h"
#include "tests/network/network_namespace.h"

namespace ZYNE::Testing {

// What happens to frames on the way from one port to another. Shares are in percent, each frame is tried by itself.
struct Way {
    std::chrono::milliseconds delay{0};
    double loss = 0;
    double duplicates = 0;
    double late = 0;  // come LATE after those that were sent with them
    static constexpr std::chrono::milliseconds LATE{10};
};

// How many frames have met with each trouble.
struct Troubles {
    size_t lost = 0;
    size_t repeated = 0;
    size_t late = 0;
};

// Learns which port an address is behind. Frames travel in order and at once, but for what their way does. Any thread.
class TestSwitch {
public:
    using Clock = std::chrono::steady_clock;

    // The ports are interfaces in `network`.
    explicit TestSwitch(const NetworkNamespace& network);
    TestSwitch(const TestSwitch&) = delete;
    TestSwitch& operator=(const TestSwitch&) = delete;
    ~TestSwitch();

    // The port is `interface`, which is up, until Unplug.
    void Plug(size_t port, const std::string& interface);
    void Unplug(size_t port);

    void SetWay(size_t from, size_t to, const Way& way);
    // Nothing gets from one port to the other until this time; the other direction is not concerned.
    void Cut(size_t from, size_t to, Clock::time_point until);
    Troubles CountTroubles();

private:
    using Frame = std::string;
    struct Cable {
        Way way;
        Clock::time_point cutUntil;
    };

    void Work();
    int TimeToNext();  // in milliseconds
    void TakeFrames(size_t port);
    void Forward(size_t from, const Frame& frame);
    void Carry(size_t from, size_t to, const Frame& frame);
    void SendDue();
    void Send(size_t to, const Frame& frame);
    bool Happens(double percent, size_t& count);

    const NetworkNamespace& network_;
    const Linux::UniqueFd stop_;
    const Linux::UniqueFd waiting_;  // for epoll
    std::mutex mutex_;               // guards what follows
    std::map<size_t, Linux::UniqueFd> ports_;
    std::map<std::string, size_t> learnt_;  // by hardware address
    std::map<std::pair<size_t, size_t>, Cable> cables_;
    std::multimap<Clock::time_point, std::pair<size_t, Frame>> onTheWay_;  // by arrival
    Troubles troubles_;
    std::mt19937 random_{20};  // the same choices in every run, as far as the devices send the same
    std::thread thread_;       // last: it uses the others
};

}  // namespace ZYNE::Testing
