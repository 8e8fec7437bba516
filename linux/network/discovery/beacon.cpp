#include "linux/network/discovery/beacon.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "linux/network/link/network_log.h"
#include "linux/network/link/run_id.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr auto AGAIN_TIME = 120ms;
constexpr auto SPARSE_TIME = 30s;
constexpr auto PAUSE_TIME = 100ms;

// What is sealed: the version, the network id's digits, the port (high byte first), zeros for what is to come.
constexpr size_t TEXT_BYTES = 64;
constexpr size_t ID_AT = 1;
constexpr size_t ID_BYTES = 32;
constexpr size_t PORT_AT = ID_AT + ID_BYTES;
constexpr char VERSION = 1;
static_assert(TEXT_BYTES + MeetingKey::SEAL_BYTES < BeaconSocket::MAX_BYTES, "a longer datagram must be told apart");

std::string Write(const std::string& networkId, uint16_t port) {
    std::string text(1, VERSION);
    text += networkId;
    text += static_cast<char>(port >> 8U);
    text += static_cast<char>(port & 0xffU);
    text.resize(TEXT_BYTES, '\0');
    return text;
}

std::optional<Beacon::Heard> Read(std::string_view text, const Endpoint& from, int interface) {
    if (text.size() != TEXT_BYTES || text[0] != VERSION) {
        return std::nullopt;
    }
    Beacon::Heard heard{std::string(text.substr(ID_AT, ID_BYTES)), from, interface};
    const auto high = static_cast<unsigned char>(text[PORT_AT]);
    const auto low = static_cast<unsigned char>(text[PORT_AT + 1]);
    heard.where.SetPort(static_cast<uint16_t>(high << 8U | low));
    if (!IsNetworkId(heard.networkId) || heard.where.Port() == 0) {
        return std::nullopt;
    }
    return heard;
}

}  // namespace

Beacon::Beacon(EventLoop& loop, const MeetingKey& key, Options options, Handler handler)
    : loop_(loop), key_(key), options_(std::move(options)), handler_(std::move(handler)), lastToken_(Clock::now()),
      sparse_(loop.Every(SPARSE_TIME, [this] { Send(); })) {
    if (!IsNetworkId(options_.networkId)) {
        throw std::runtime_error("a beacon without a network id");
    }
}

void Beacon::Follow(const std::vector<NetworkInterface>& interfaces, uint16_t listeningPort) {
    std::erase_if(places_, [&](const Place& place) {
        return std::find(interfaces.begin(), interfaces.end(), place.interface) == interfaces.end();
    });
    bool isNew = std::exchange(listeningPort_, listeningPort) != listeningPort;
    for (const NetworkInterface& each : interfaces) {
        const bool isKnown =
            std::any_of(places_.begin(), places_.end(), [&](const Place& place) { return place.interface == each; });
        if (!isKnown) {
            places_.push_back(Open(each));
            isNew = true;
        }
    }
    if (isNew) {
        Announce();
    }
}

Beacon::Place Beacon::Open(const NetworkInterface& interface) {
    Place place{interface, {}};
    for (const int family : {AF_INET, AF_INET6}) {
        if (!interface.Has(family) || (interface.isLoopback && family == AF_INET6)) {
            continue;
        }
        std::string problem;
        try {
            place.sockets.push_back(std::make_unique<BeaconSocket>(loop_, interface, family, options_.beaconPort,
                [this, index = interface.index](
                    std::string_view datagram, const Endpoint& from) { return Take(datagram, from, index); }));
            problem = place.sockets.back()->Problem();
        } catch (const std::system_error& error) {
            problem = interface.name + " cannot be used: " + error.code().message();
        }
        if (!problem.empty() && warnings_.insert(problem).second) {
            NetworkPrint(LogLevel::WARN, "the beacon is limited: %{public}s", problem);
        }
    }
    return place;
}

void Beacon::Announce() {
    if (!again_) {
        Send();
        again_ = loop_.After(AGAIN_TIME, [this] {
            again_ = {};
            Send();
        });
    }
}

void Beacon::Send() {
    if (listeningPort_ == 0 || places_.empty()) {
        return;
    }
    const std::string datagram = key_.Seal(Write(options_.networkId, listeningPort_));
    for (const Place& place : places_) {
        for (const auto& socket : place.sockets) {
            socket->Send(datagram);
        }
    }
}

bool Beacon::Take(std::string_view datagram, const Endpoint& from, int interface) {
    if (!TakeToken()) {
        if (!resume_) {
            resume_ = loop_.After(PAUSE_TIME, [this] { Resume(); });
        }
        return false;
    }
    if (datagram.size() == TEXT_BYTES + MeetingKey::SEAL_BYTES) {
        const std::optional<std::string> text = key_.Open(datagram);
        const std::optional<Heard> heard = text ? Read(*text, from, interface) : std::nullopt;
        if (heard && heard->networkId != options_.networkId && IsNews(*heard)) {
            handler_(*heard);
        }
    }
    return true;
}

bool Beacon::TakeToken() {
    const Clock::time_point now = Clock::now();
    const std::chrono::duration<double> passed = now - std::exchange(lastToken_, now);
    tokens_ = std::min<double>(MAX_PER_SECOND, tokens_ + passed.count() * MAX_PER_SECOND);
    if (tokens_ < 1) {
        return false;
    }
    --tokens_;
    return true;
}

// As they are forgotten together, MAX_PER_SECOND bounds their number.
bool Beacon::IsNews(const Heard& heard) {
    const Clock::time_point now = Clock::now();
    if (now - second_ >= 1s) {
        told_.clear();
        second_ = now;
    }
    const std::string_view where(reinterpret_cast<const char*>(heard.where.Get()), heard.where.Size());
    return told_.insert(heard.networkId + std::string(where)).second;
}

void Beacon::Resume() {
    resume_ = {};
    for (const Place& place : places_) {
        for (const auto& socket : place.sockets) {
            socket->Resume();
        }
    }
}

}  // namespace ZYNE::Linux
