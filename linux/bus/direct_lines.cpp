#include "linux/bus/direct_lines.h"

#include <sys/socket.h>

#include <array>
#include <exception>

#include "linux/base/unique_fd.h"
#include "linux/bus/bus_address.h"
#include "linux/bus/bus_wire.h"
#include "platform/ipc/remote_object.h"

namespace ZYNE::Linux {
namespace {

// Ours and the service's; without descriptors when there are none left.
std::pair<UniqueFd, UniqueFd> SocketPair() {
    std::array<int, 2> ends{-1, -1};
    socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data());
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

}  // namespace

std::optional<int> DirectLines::Call(const BusMethod& method, BusCaller::Clock::time_point deadline,
    const BusCaller::Access& write, const BusCaller::Access& read) noexcept {
    try {
        const Key key(method.busName, method.path);
        BusHandle line = Borrow(key, deadline);
        if (!line) {
            return std::nullopt;
        }
        const int result =
            BusCaller::CallOn(line.get(), {"", method.path, method.interface, method.name}, deadline, write, read);
        if (result == IRemoteObject::TIMED_OUT || result == IRemoteObject::DEAD) {
            line.reset();  // a late answer must not meet the next request
        }
        GiveBack(key, std::move(line));
        // A line that breaks says nothing of the process; the bus does.
        return result == IRemoteObject::DEAD ? std::nullopt : std::optional(result);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

BusHandle DirectLines::Borrow(const Key& key, BusCaller::Clock::time_point deadline) {
    {
        const MutexLock lock(mutex_);
        if (isClosed_) {
            return nullptr;
        }
        Service& service = services_[key];
        if (!service.idle.empty()) {
            BusHandle line = std::move(service.idle.back());
            service.idle.pop_back();
            return line;
        }
        if (service.isWithout || service.open >= MAX_OPEN) {
            return nullptr;
        }
        ++service.open;
    }
    BusHandle line = Open(key, deadline);
    if (!line) {
        GiveBack(key, nullptr);
    }
    return line;
}

BusHandle DirectLines::Open(const Key& key, BusCaller::Clock::time_point deadline) {
    auto [own, others] = SocketPair();
    const int result = own ? Offer(key, others.Get(), deadline) : IRemoteObject::TOO_LARGE;
    others.Reset();  // or its end would not show
    if (result != IRemoteObject::OK) {
        const MutexLock lock(mutex_);
        if (result == IRemoteObject::DEAD) {
            services_.erase(key);
        } else if (result == IRemoteObject::REFUSED && services_.contains(key)) {
            services_[key].isWithout = true;
        }
        return nullptr;
    }
    try {
        return OpenLine(std::move(own), LineEnd::CALLER,
            std::chrono::ceil<std::chrono::milliseconds>(deadline - BusCaller::Clock::now()));
    } catch (const std::exception&) {
        return nullptr;
    }
}

int DirectLines::Offer(const Key& key, int socket, BusCaller::Clock::time_point deadline) {
    const auto& [uniqueName, path] = key;
    return caller_->Call(
        {uniqueName, path, BusWire::LINES_INTERFACE, BusWire::CONNECT},
        std::chrono::ceil<std::chrono::microseconds>(deadline - BusCaller::Clock::now()),
        [&](sd_bus_message* message) { return sd_bus_message_append(message, "h", socket); },
        [](sd_bus_message*) { return 0; });
}

// None: the line has ended.
void DirectLines::GiveBack(const Key& key, BusHandle line) {
    if (line && !BusCaller::IsFitForNext(line.get())) {
        line.reset();
    }
    const MutexLock lock(mutex_);
    const auto found = services_.find(key);
    if (found == services_.end()) {
        return;  // and with the process the line
    }
    if (line) {
        found->second.idle.push_back(std::move(line));
    } else {
        --found->second.open;
    }
}

void DirectLines::Forget(const std::string& uniqueName) {
    std::map<Key, Service> gone;
    const MutexLock lock(mutex_);
    for (auto at = services_.lower_bound(Key(uniqueName, ""));
         at != services_.end() && at->first.first == uniqueName;) {
        gone.insert(services_.extract(at++));
    }
}

void DirectLines::Close() {
    std::map<Key, Service> ended;
    const MutexLock lock(mutex_);
    isClosed_ = true;
    ended.swap(services_);
}

}  // namespace ZYNE::Linux
