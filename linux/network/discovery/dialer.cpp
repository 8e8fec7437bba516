#include "linux/network/discovery/dialer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <tuple>
#include <utility>

#include "linux/base/guarded_call.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

// Of two devices that hear of each other, one goes first, so that they do not both connect.
constexpr auto HEAD_START = 150ms;

// How long a connection may take: short, so that the next attempt follows soon after the network has healed, and now
// and then longer, for networks that are slow.
constexpr std::array<Milliseconds, 3> LIMITS{700ms, 700ms, 1400ms};

// Pauses between attempts, by how long they have been in vain.
constexpr auto SHORT_TIME = 10s;
constexpr auto LONG_TIME = 60s;
constexpr auto SHORT_PAUSE = 250ms;
constexpr auto MEDIUM_PAUSE = 700ms;
constexpr auto LONG_PAUSE = 2500ms;
constexpr auto AGAIN_PAUSE = 300ms;
constexpr auto CLONE_PAUSE = 1000ms;
constexpr auto REFUSED_PAUSE = 20s;

// What was found, and not listed, is given up then.
constexpr auto MAX_UNHEARD = std::chrono::minutes(10);
// A device of the account could tell of any number. Where nobody has been met yet, so many are tried at a time.
constexpr size_t MAX_PLACES = 2048;
constexpr size_t MAX_TRIED_AT_ONCE = 64;

bool IsLoopback(const Endpoint& endpoint) {
    const std::string address = endpoint.AddressText();
    return address.starts_with("127.") || address == "::1";
}

// Bound to the interface's address and not to the interface itself: of a socket that is bound to a device the kernel
// forgets, when it gives another one a port, that its pair of addresses is taken. Two connections would then have the
// same, and the end of one would be that of the other.
UniqueFd OpenSocket(const Endpoint& to, const NetworkInterface& interface) {
    UniqueFd socket(::socket(to.Family(), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int laterPort = 1;
    setsockopt(socket.Get(), IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, &laterPort, sizeof(laterPort));
    const auto from = std::ranges::find_if(interface.addresses, [&](const Endpoint& address) {
        return address.Family() == to.Family() && address.IsLinkLocal() == to.IsLinkLocal();
    });
    if (from != interface.addresses.end() && bind(socket.Get(), from->Get(), from->Size()) != 0) {
        socket.Reset();
    }
    return socket;
}

}  // namespace

Dialer::Dialer(
    EventLoop& loop, Links& links, const LinkIdentity& own, const std::vector<PeerAddress>& listed, Resolver resolve)
    : loop_(loop), links_(links), ownUdid_(own.udid), ownNetworkId_(own.networkId), resolve_(std::move(resolve)) {
    for (const PeerAddress& peer : listed) {
        Place& place = places_.emplace_back();
        place.id = ++lastId_;
        place.listed = peer;
    }
}

void Dialer::Follow(const std::vector<NetworkInterface>& interfaces) {
    interfaces_ = interfaces;
    for (Place& place : places_) {
        place.isOurs = false;
        if (std::ranges::find(interfaces, place.interface, &NetworkInterface::index) == interfaces.end()) {
            place.interface = 0;
        }
    }
    TryAll();
}

void Dialer::TryAll() {
    for (Place& place : places_) {
        TrySoon(place, 0ms);
    }
    Schedule();
}

// Forgets that it was tried in vain.
void Dialer::TrySoon(Place& place, Milliseconds wait) {
    place.attempts = 0;
    place.since = Clock::now();
    place.next = place.since + wait;
}

void Dialer::OnHeard(const std::string& networkId, const Endpoint& where, int interface) {
    if (linked_.contains(networkId)) {
        return;
    }
    Place& place = FindOrAdd(where, "", networkId);
    const bool isNews = place.networkId != networkId;
    place.networkId = networkId;
    place.interface = interface;
    place.heard = Clock::now();
    if (isNews || !place.isTrying) {
        TrySoon(place, ownNetworkId_ < networkId ? 0ms : HEAD_START);
        Schedule();
    }
}

void Dialer::OnPlace(const std::string& udid, const Endpoint& where) {
    Place& place = FindOrAdd(where, udid, "");
    place.udid = udid;
    place.heard = Clock::now();
}

Dialer::Place& Dialer::FindOrAdd(const Endpoint& where, const std::string& udid, const std::string& networkId) {
    const auto isIt = [&](const Place& place) {
        const bool isSameDevice = (!udid.empty() && place.udid == udid) ||
            (!networkId.empty() && place.networkId == networkId && place.listed.host.empty());
        return std::ranges::find(place.addresses, where) != place.addresses.end() ||
            (isSameDevice && place.listed.host.empty());
    };
    if (const auto found = std::ranges::find_if(places_, isIt); found != places_.end()) {
        if (found->listed.host.empty()) {
            found->addresses = {where};
        }
        return *found;
    }
    if (places_.size() >= MAX_PLACES) {
        const auto eldest = std::ranges::min_element(places_, {},
            [](const Place& place) { return std::tuple(!IsUncertain(place), place.isTrying, place.heard); });
        places_.erase(eldest);
    }
    Place& place = places_.emplace_back();
    place.id = ++lastId_;
    place.addresses = {where};
    place.next = place.since = Clock::now() + MAX_UNHEARD;
    return place;
}

void Dialer::OnUp(const std::string& networkId) {
    linked_.insert(networkId);
}

void Dialer::OnDown(const std::string& udid, const std::string& networkId) {
    linked_.erase(networkId);
    for (Place& place : places_) {
        if (place.udid == udid) {
            place.heard = Clock::now();
            TrySoon(place, ownUdid_ < udid ? 0ms : HEAD_START);
        }
    }
    Schedule();
}

void Dialer::OnDialled(uint64_t dial, const std::string& udid, bool isLink, LinkRefusal refusal) {
    Place* const place = Find(dial);
    if (place == nullptr) {
        return;
    }
    place->isTrying = false;
    place->isOurs = udid == ownUdid_ && refusal == LinkRefusal::OTHER;
    place->udid = udid.empty() ? place->udid : udid;
    place->next = Clock::now() + Pause(*place, refusal);
    if (isLink) {
        place->attempts = 0;
    }
    Schedule();
}

void Dialer::OnFailed(const std::string& udid, LinkRefusal refusal) {
    if (refusal == LinkRefusal::DUPLICATE) {
        return;
    }
    for (Place& place : places_) {
        if (place.udid == udid && !place.isTrying) {
            place.heard = Clock::now();
            place.next = place.heard + Pause(place, refusal);
        }
    }
    Schedule();
}

Milliseconds Dialer::Pause(const Place& place, LinkRefusal refusal) {
    switch (refusal) {
    case LinkRefusal::VERSION:
    case LinkRefusal::REVOKED:
    case LinkRefusal::OVERLOAD:
    case LinkRefusal::FULL:
        return REFUSED_PAUSE;
    case LinkRefusal::CLONE:
        return CLONE_PAUSE;
    case LinkRefusal::AGAIN:
        return AGAIN_PAUSE;
    default:
        break;
    }
    const auto inVain = Clock::now() - place.since;
    return inVain < SHORT_TIME ? SHORT_PAUSE : inVain < LONG_TIME ? MEDIUM_PAUSE : LONG_PAUSE;
}

bool Dialer::IsSatisfied(const Place& place) const {
    return place.isOurs || place.isTrying || (!place.udid.empty() && links_.HasLink(place.udid)) ||
        linked_.contains(place.networkId);
}

bool Dialer::IsUncertain(const Place& place) {
    return place.udid.empty() && place.listed.host.empty();
}

size_t Dialer::UncertainTries() const {
    return static_cast<size_t>(
        std::ranges::count_if(places_, [](const Place& place) { return place.isTrying && IsUncertain(place); }));
}

// Sets the timer for what is due next. An attempt that ends makes room for another, and calls this.
void Dialer::Schedule() {
    const bool hasRoom = UncertainTries() < MAX_TRIED_AT_ONCE;
    std::optional<Clock::time_point> next;
    for (const Place& place : places_) {
        const bool mayBeTried = !IsSatisfied(place) && (hasRoom || !IsUncertain(place));
        if (mayBeTried && (!next || place.next < *next)) {
            next = place.next;
        }
    }
    if (!next || interfaces_.empty()) {
        timer_ = {};
        return;
    }
    const auto wait = std::max(std::chrono::ceil<Milliseconds>(*next - Clock::now()), Milliseconds(0));
    timer_ = loop_.After(wait, [this] { Work(); });
}

void Dialer::Work() {
    const auto now = Clock::now();
    std::erase_if(places_, [&](const Place& place) {
        return place.listed.host.empty() && !IsSatisfied(place) && now - place.heard > MAX_UNHEARD;
    });
    size_t tries = UncertainTries();
    for (Place& place : places_) {
        const bool isUncertain = IsUncertain(place);
        if (!IsSatisfied(place) && place.next <= now && (!isUncertain || tries < MAX_TRIED_AT_ONCE)) {
            Try(place);
            tries += isUncertain ? 1 : 0;
        }
    }
    Schedule();
}

void Dialer::Try(Place& place) {
    place.isTrying = true;
    if (place.listed.host.empty()) {
        Connect(place);
    } else {
        Resolve(place);
    }
}

// A name may have another address each time.
void Dialer::Resolve(Place& place) {
    resolve_(place.listed, [this, alive = std::weak_ptr<void>(alive_), id = place.id](std::vector<Endpoint> addresses) {
        Place* const resolved = alive.expired() ? nullptr : Find(id);
        if (resolved != nullptr) {
            resolved->addresses = std::move(addresses);
            Connect(*resolved);
            Schedule();
        }
    });
}

void Dialer::Connect(Place& place) {
    const unsigned attempt = place.attempts++;
    place.next = Clock::now() + Pause(place, LinkRefusal::OTHER);
    if (!place.addresses.empty()) {
        const Endpoint& to = place.addresses[attempt % place.addresses.size()];
        const NetworkInterface* const interface = InterfaceFor(place, to);
        UniqueFd socket = interface == nullptr ? UniqueFd() : OpenSocket(to, *interface);
        const bool connects = socket && (connect(socket.Get(), to.Get(), to.Size()) == 0 || errno == EINPROGRESS);
        if (connects && GuardedCall("connecting", [&] {
                links_.Dial(place.id, std::move(socket), to, LIMITS.at(attempt % LIMITS.size()));
            })) {
            return;
        }
    }
    place.isTrying = false;
}

// Those that fit take turns: which one leads to the address, the attempt shows.
const NetworkInterface* Dialer::InterfaceFor(const Place& place, const Endpoint& to) const {
    std::vector<const NetworkInterface*> fitting;
    for (const NetworkInterface& interface : interfaces_) {
        const bool isHeardThere = place.interface == 0 || place.interface == interface.index;
        if (isHeardThere && interface.Has(to.Family()) && (interface.isLoopback || !IsLoopback(to))) {
            fitting.push_back(&interface);
        }
    }
    return fitting.empty() ? nullptr : fitting[place.attempts % fitting.size()];
}

Dialer::Place* Dialer::Find(uint64_t id) {
    const auto found = std::ranges::find(places_, id, &Place::id);
    return found == places_.end() ? nullptr : &*found;
}

}  // namespace ZYNE::Linux
