#include "linux/network/discovery/listeners.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include "linux/network/link/network_log.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr int BACKLOG = 128;
constexpr int MAX_AT_ONCE = 16;     // connections taken before others on the loop get their turn
constexpr auto PAUSE_TIME = 100ms;  // while no descriptor is left
constexpr auto RETRY_TIME = 5s;
constexpr int MAX_PORTS = 5;  // tried, when each turns out to be taken on one of the interfaces

void Must(bool succeeded) {
    if (!succeeded) {
        throw std::system_error(errno, std::generic_category());
    }
}

void Set(int socket, int level, int option, int value) {
    Must(setsockopt(socket, level, option, &value, sizeof(value)) == 0);
}

UniqueFd ListenOn(const NetworkInterface& interface, int family, uint16_t port) {
    UniqueFd socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    Must(static_cast<bool>(socket));
    Must(setsockopt(socket.Get(), SOL_SOCKET, SO_BINDTODEVICE, interface.name.c_str(),
             static_cast<socklen_t>(interface.name.size())) == 0);
    Set(socket.Get(), SOL_SOCKET, SO_REUSEADDR, 1);
    if (family == AF_INET6) {
        Set(socket.Get(), IPPROTO_IPV6, IPV6_V6ONLY, 0);
    }
    const Endpoint any = family == AF_INET6 ? *Endpoint::FromText("::", port) : *Endpoint::FromText("0.0.0.0", port);
    Must(bind(socket.Get(), any.Get(), any.Size()) == 0);
    Must(listen(socket.Get(), BACKLOG) == 0);
    return socket;
}

// Throws std::system_error.
UniqueFd ListenOn(const NetworkInterface& interface, uint16_t port) {
    try {
        return ListenOn(interface, AF_INET6, port);
    } catch (const std::system_error& error) {
        // The machine may have IPv6 switched off.
        if (error.code() != std::errc::address_family_not_supported &&
            error.code() != std::errc::address_not_available) {
            throw;
        }
    }
    return ListenOn(interface, AF_INET, port);
}

bool IsSame(const NetworkInterface& one, const NetworkInterface& other) {
    return one.index == other.index && one.name == other.name;
}

}  // namespace

// Listens on one interface.
class Listeners::Socket {
public:
    Socket(EventLoop& loop, NetworkInterface interface, uint16_t port, const Handler& handler)
        : loop_(loop), interface_(std::move(interface)), handler_(handler), socket_(ListenOn(interface_, port)),
          arrival_(loop.Watch(socket_.Get(), POLLIN, [this](uint32_t) { Accept(); })) {}

    const NetworkInterface& Interface() const { return interface_; }
    void SetInterface(const NetworkInterface& interface) { interface_ = interface; }
    uint16_t Port() const { return Endpoint::OfSocket(socket_.Get()).Port(); }

private:
    void Accept() {
        for (int i = 0; i < MAX_AT_ONCE; ++i) {
            sockaddr_storage address{};
            socklen_t size = sizeof(address);
            auto* from = reinterpret_cast<sockaddr*>(&address);
            UniqueFd connection(accept4(socket_.Get(), from, &size, SOCK_CLOEXEC | SOCK_NONBLOCK));
            if (connection) {
                const int on = 1;
                setsockopt(connection.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
                handler_(std::move(connection), Endpoint(from, size), interface_);
            } else if (!MayGoOn(errno)) {
                return;
            }
        }
    }

    // After accept4 has failed.
    bool MayGoOn(int error) {
        switch (error) {
        case EAGAIN:
            return false;
        case EMFILE:
        case ENFILE:
        case ENOBUFS:
        case ENOMEM:
            // The connection that waits would wake the loop up again and again.
            arrival_.SetEvents(0);
            pause_ = loop_.After(PAUSE_TIME, [this] { arrival_.SetEvents(POLLIN); });
            return false;
        default:
            return true;  // that connection has failed already
        }
    }

    EventLoop& loop_;
    NetworkInterface interface_;
    const Handler& handler_;
    UniqueFd socket_;
    EventLoop::Source arrival_;
    EventLoop::Source pause_;
};

Listeners::Listeners(EventLoop& loop, uint16_t port, bool mayBeOther, Handler handler)
    : loop_(loop), wantedPort_(port), mayBeOther_(mayBeOther || port == 0), handler_(std::move(handler)), port_(port) {}

Listeners::~Listeners() = default;

void Listeners::Follow(const std::vector<NetworkInterface>& interfaces) {
    std::erase_if(sockets_, [&](const std::unique_ptr<Socket>& socket) {
        return std::none_of(interfaces.begin(), interfaces.end(),
            [&](const NetworkInterface& each) { return IsSame(each, socket->Interface()); });
    });
    Outcome outcome = OpenMissing(interfaces);
    for (int tries = 1; outcome.isTaken && mayBeOther_ && tries < MAX_PORTS; ++tries) {
        sockets_.clear();
        port_ = 0;
        outcome = OpenMissing(interfaces);
    }
    SetProblem(std::move(outcome.problem));
    retry_ = {};
    if (!problem_.empty()) {
        retry_ = loop_.After(RETRY_TIME, [this, interfaces] { Follow(interfaces); });
    }
}

uint16_t Listeners::Port() const {
    return sockets_.empty() && mayBeOther_ ? 0 : port_;
}

Listeners::Outcome Listeners::OpenMissing(const std::vector<NetworkInterface>& interfaces) {
    Outcome outcome;
    for (const NetworkInterface& each : interfaces) {
        try {
            Open(each);
        } catch (const std::system_error& error) {
            outcome.isTaken = outcome.isTaken || error.code() == std::errc::address_in_use;
            outcome.problem = "port " + std::to_string(port_) + " of " + each.name + ": " + error.code().message();
        }
    }
    return outcome;
}

void Listeners::Open(const NetworkInterface& interface) {
    for (const auto& socket : sockets_) {
        if (IsSame(socket->Interface(), interface)) {
            socket->SetInterface(interface);
            return;
        }
    }
    sockets_.push_back(std::make_unique<Socket>(loop_, interface, port_, handler_));
    if (port_ == 0) {
        port_ = sockets_.back()->Port();
        if (wantedPort_ != 0) {
            NetworkPrint(LogLevel::INFO, "port %{public}u is taken; using %{public}u", wantedPort_, port_);
        }
    }
}

void Listeners::SetProblem(std::string problem) {
    if (!problem.empty() && problem != problem_) {
        NetworkPrint(LogLevel::WARN, "no connections are taken on %{public}s", problem);
    }
    problem_ = std::move(problem);
}

}  // namespace ZYNE::Linux
