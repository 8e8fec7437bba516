#include "tests/network/test_switch.h"

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace ZYNE::Testing {
namespace {

using Linux::UniqueFd;

constexpr size_t ADDRESS_BYTES = 6;
constexpr uint64_t STOP = UINT64_MAX;  // among the numbers of ports

void WaitFor(const UniqueFd& epoll, const UniqueFd& descriptor, uint64_t name) {
    epoll_event event{EPOLLIN, {}};
    event.data.u64 = name;
    if (epoll_ctl(epoll.Get(), EPOLL_CTL_ADD, descriptor.Get(), &event) != 0) {
        throw std::runtime_error("the switch cannot wait for a port");
    }
}

UniqueFd OpenPort(const std::string& interface) {
    UniqueFd descriptor(socket(AF_PACKET, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    constexpr int YES = 1;
    constexpr int BUFFER = 16 << 20;  // bytes
    setsockopt(descriptor.Get(), SOL_PACKET, PACKET_IGNORE_OUTGOING, &YES, sizeof YES);
    setsockopt(descriptor.Get(), SOL_SOCKET, SO_RCVBUFFORCE, &BUFFER, sizeof BUFFER);
    setsockopt(descriptor.Get(), SOL_SOCKET, SO_SNDBUFFORCE, &BUFFER, sizeof BUFFER);
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = static_cast<int>(if_nametoindex(interface.c_str()));
    if (address.sll_ifindex == 0 ||
        bind(descriptor.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::runtime_error("the switch has no port " + interface);
    }
    return descriptor;
}

}  // namespace

TestSwitch::TestSwitch(const NetworkNamespace& network)
    : network_(network), stop_(eventfd(0, EFD_CLOEXEC)), waiting_(epoll_create1(EPOLL_CLOEXEC)) {
    WaitFor(waiting_, stop_, STOP);
    thread_ = std::thread([this] { Work(); });
}

TestSwitch::~TestSwitch() {
    eventfd_write(stop_.Get(), 1);
    thread_.join();
}

void TestSwitch::Plug(size_t port, const std::string& interface) {
    UniqueFd descriptor;
    network_.Within([&] { descriptor = OpenPort(interface); });
    std::lock_guard lock(mutex_);
    WaitFor(waiting_, descriptor, port);
    ports_[port] = std::move(descriptor);
}

void TestSwitch::Unplug(size_t port) {
    std::lock_guard lock(mutex_);
    ports_.erase(port);
    std::erase_if(learnt_, [&](const auto& entry) { return entry.second == port; });
}

void TestSwitch::SetWay(size_t from, size_t to, const Way& way) {
    std::lock_guard lock(mutex_);
    cables_[{from, to}].way = way;
}

void TestSwitch::Cut(size_t from, size_t to, Clock::time_point until) {
    std::lock_guard lock(mutex_);
    cables_[{from, to}].cutUntil = until;
}

Troubles TestSwitch::CountTroubles() {
    std::lock_guard lock(mutex_);
    return troubles_;
}

void TestSwitch::Work() {
    std::array<epoll_event, 64> events{};
    while (true) {
        const int count = epoll_wait(waiting_.Get(), events.data(), events.size(), TimeToNext());
        std::lock_guard lock(mutex_);
        for (int i = 0; i < count; ++i) {
            const uint64_t name = events.at(static_cast<size_t>(i)).data.u64;
            if (name == STOP) {
                return;
            }
            TakeFrames(name);
        }
        SendDue();
    }
}

int TestSwitch::TimeToNext() {
    std::lock_guard lock(mutex_);
    if (onTheWay_.empty()) {
        return -1;
    }
    const auto time = std::chrono::ceil<std::chrono::milliseconds>(onTheWay_.begin()->first - Clock::now());
    return static_cast<int>(std::max(time, std::chrono::milliseconds(0)).count());
}

void TestSwitch::TakeFrames(size_t port) {
    constexpr int AT_ONCE = 64;  // then others have their turn
    std::array<char, 65536> buffer;
    for (int i = 0; i < AT_ONCE; ++i) {
        const auto found = ports_.find(port);
        const ssize_t size = found == ports_.end() ? -1 : recv(found->second.Get(), buffer.data(), buffer.size(), 0);
        if (size < ETH_HLEN) {
            return;
        }
        Forward(port, Frame(buffer.data(), static_cast<size_t>(size)));
    }
}

void TestSwitch::Forward(size_t from, const Frame& frame) {
    learnt_[frame.substr(ADDRESS_BYTES, ADDRESS_BYTES)] = from;
    const auto behind = learnt_.find(frame.substr(0, ADDRESS_BYTES));
    for (const auto& [port, descriptor] : ports_) {
        if (port != from && (behind == learnt_.end() || behind->second == port)) {
            Carry(from, port, frame);
        }
    }
}

void TestSwitch::Carry(size_t from, size_t to, const Frame& frame) {
    const Cable& cable = cables_[{from, to}];
    const Clock::time_point now = Clock::now();
    if (now < cable.cutUntil || Happens(cable.way.loss, troubles_.lost)) {
        return;
    }
    for (int copies = Happens(cable.way.duplicates, troubles_.repeated) ? 2 : 1; copies > 0; --copies) {
        const auto time =
            cable.way.delay + (Happens(cable.way.late, troubles_.late) ? Way::LATE : std::chrono::milliseconds(0));
        if (time.count() == 0) {
            Send(to, frame);
        } else {
            onTheWay_.emplace(now + time, std::pair(to, frame));
        }
    }
}

void TestSwitch::SendDue() {
    const Clock::time_point now = Clock::now();
    while (!onTheWay_.empty() && onTheWay_.begin()->first <= now) {
        const auto& [to, frame] = onTheWay_.begin()->second;
        Send(to, frame);
        onTheWay_.erase(onTheWay_.begin());
    }
}

// A port that does not take it, such as one that is down, loses it.
void TestSwitch::Send(size_t to, const Frame& frame) {
    const auto found = ports_.find(to);
    if (found != ports_.end()) {
        send(found->second.Get(), frame.data(), frame.size(), 0);
    }
}

bool TestSwitch::Happens(double percent, size_t& count) {
    const bool happens = std::uniform_real_distribution<>(0, 100)(random_) < percent;
    count += happens ? 1 : 0;
    return happens;
}

}  // namespace ZYNE::Testing
