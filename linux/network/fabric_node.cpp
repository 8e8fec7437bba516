#include "linux/network/fabric_node.h"

#include <algorithm>
#include <exception>
#include <thread>
#include <utility>

#include <netdb.h>

#include "linux/base/guarded_call.h"
#include "linux/network/link/run_id.h"
#include "linux/network/presence/fabric_log.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr auto HOUSEKEEPING = 10s;
// How long a device that leaves waits until the others have what it published last, and what it said last.
constexpr auto FAREWELL = 200ms;
constexpr auto LAST_WORDS = 100ms;
// From then on the status tells of the end of the device's certificate.
constexpr auto RENEWAL_TIME = std::chrono::hours(24 * 30);
constexpr int32_t NETWORK_TASK = 2;
constexpr const char* REVOCATION_FILE = "revoked.p7s";

std::shared_ptr<RevocationFile> OpenRevocations(const FabricOptions& options, const FabricIdentity& identity) {
    if (!identity.credentials) {
        return nullptr;
    }
    auto file = std::make_shared<RevocationFile>(
        options.stateDirectory / REVOCATION_FILE, identity.credentials->authority, identity.credentials->directory);
    if (const std::string problem = file->Problem(); !problem.empty()) {
        FabricPrint(LogLevel::WARN, "revoked devices: %{public}s", problem);
    }
    return file;
}

std::vector<Endpoint> AddressesOf(const PeerAddress& peer) {
    std::vector<Endpoint> addresses;
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* all = nullptr;
    if (getaddrinfo(peer.host.c_str(), std::to_string(peer.port).c_str(), &hints, &all) != 0) {
        return addresses;
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(all, freeaddrinfo);
    for (const addrinfo* each = all; each != nullptr; each = each->ai_next) {
        addresses.emplace_back(each->ai_addr, each->ai_addrlen);
    }
    return addresses;
}

}  // namespace

FabricNode::Doors::Doors(FabricNode& node, const FabricOptions& options)
    : listeners(*node.loop_, options.port, options.mayUseOtherPort,
          [&node](UniqueFd connection, const Endpoint& from, const NetworkInterface&) {
              node.links_.Accept(std::move(connection), from);
          }),
      dialer(*node.loop_, node.links_, node.links_.Identity(), options.peers,
          [&pool = node.host_.pool, loop = node.loop_](const PeerAddress& peer,
              std::function<void(std::vector<Endpoint>)> done) { Resolve(pool, loop, peer, std::move(done)); }),
      wake(*node.loop_, [&node] { node.OnWake(); }),
      interfaces(*node.loop_, options.interfaces,
          [&node](const std::vector<NetworkInterface>& found) { node.Follow(found); }) {
    if (options.hasBeacon) {
        beacon.emplace(*node.loop_, node.links_.Identity().key,
            Beacon::Options{options.beaconPort, node.self_.networkId},
            [this](const Beacon::Heard& heard) { dialer.OnHeard(heard.networkId, heard.where, heard.interface); });
    }
    housekeeping = node.loop_->Every(HOUSEKEEPING, [&node] {
        node.control_->EndOld();
        node.profiles_.DropOld();
        node.TellWhereWeListen();
    });
}

FabricNode::FabricNode(const FabricHost& host, const FabricOptions& options, DeviceEvents::Handler handler)
    : FabricNode(host, options, FabricIdentity(options), std::move(handler)) {}

FabricNode::FabricNode(
    const FabricHost& host, const FabricOptions& options, FabricIdentity identity, DeviceEvents::Handler handler)
    : host_(host), options_(options), self_{identity.link.udid, identity.link.networkId, options.deviceName,
                                          options.deviceType, OS_TYPE},
      loop_(std::make_shared<EventLoop>("collabd-net")), revocations_(OpenRevocations(options, identity)),
      control_(std::make_shared<ControlChannel>(
          ControlChannel::Host{host.pool, host.plugins, host.listeners}, peers_, shares_, ExcessHandler())),
      channels_(
          std::make_shared<ChannelRoom>(ChannelRoom::Host{loop_, self_.udid, host.declares, peers_, ExcessHandler()})),
      profiles_(self_.udid, identity.link.run, host.profiles,
          {ExcessHandler(),
              [this](const std::string& udid) {
                  loop_->Post([this, udid] { links_.EndLink(udid, LinkRefusal::OTHER, "it takes nothing"); });
              }}),
      events_(host.pool, host.listeners, *peers_, *shares_, std::move(handler)), facts_{options.deviceName,
                                                                                     options.deviceType, OS_TYPE,
                                                                                     SCREEN_UNKNOWN},
      links_(*loop_, std::move(identity.link), *this) {}

void FabricNode::Begin() {
    profiles_.Begin();
    std::exception_ptr problem;
    loop_->Run([&] {
        try {
            links_.SetFacts(facts_);
            doors_ = std::make_unique<Doors>(*this, options_);
        } catch (...) {
            problem = std::current_exception();
        }
    });
    if (problem) {
        std::rethrow_exception(problem);
    }
}

void FabricNode::Follow(const std::vector<NetworkInterface>& interfaces) {
    doors_->listeners.Follow(interfaces);
    {
        const MutexLock lock(statusMutex_);
        interfaces_ = interfaces;
    }
    TellWhereWeListen();
    links_.KeepOnly([&](const Endpoint& local) {
        return std::ranges::any_of(interfaces, [&](const NetworkInterface& interface) {
            return interface.isLoopback || std::ranges::any_of(interface.addresses, [&](const Endpoint& address) {
                return address.HasSameAddress(local);
            });
        });
    });
    doors_->dialer.Follow(interfaces);
}

// The listeners try again by themselves what has failed.
void FabricNode::TellWhereWeListen() {
    const uint16_t port = doors_->listeners.Port();
    links_.SetPort(port);
    if (doors_->beacon) {
        doors_->beacon->Follow(interfaces_, port);
    }
    const MutexLock lock(statusMutex_);
    port_ = port;
    problem_ = doors_->listeners.Problem();
}

void FabricNode::OnWake() {
    FabricPrint(LogLevel::INFO, "the machine has woken up: looking for the devices again");
    doors_->dialer.TryAll();
    if (doors_->beacon) {
        doors_->beacon->Announce();
    }
}

void FabricNode::SetScreenStatus(ScreenStatus status) {
    loop_->Post([this, status] {
        facts_.screenStatus = status;
        links_.SetFacts(facts_);
    });
}

Announcement FabricNode::Announced(const LinkPtr& link, const DeviceFacts& facts) const {
    return {link->Udid(), link->NetworkId(), facts.name, facts.type, facts.osType};
}

void FabricNode::OnUp(const LinkPtr& link, const DeviceFacts& facts) {
    // Not of the peer's share of the log: it makes few links, or is left alone.
    FabricPrint(LogLevel::INFO, "device %{public}s is online", Anonymous(link->Udid()));
    const LogShareScope scope(shares_->LogOf(link->Udid()));
    if (doors_) {
        doors_->dialer.OnUp(link->NetworkId());
    }
    const ScreenStatus screen = ToScreenStatus(facts.screenStatus);
    const auto peer = std::make_shared<const Peer>(Peer{Announced(link, facts), screen, link});
    peers_->Put(peer);
    profiles_.OnLinkUp(link);
    events_.Add(link->Udid(), {});
    if (screen != SCREEN_UNKNOWN) {
        host_.screens.Tell(ToScreenInfo(peer->device, screen));
    }
    if (shares_->OnNewLink(link->Udid())) {
        LeaveAlone(link->Udid());
    }
}

void FabricNode::OnFacts(const LinkPtr& link, const DeviceFacts& facts) {
    const LogShareScope scope(shares_->LogOf(link->Udid()));
    const PeerPtr known = peers_->FindByUdid(link->Udid());
    const ScreenStatus screen = ToScreenStatus(facts.screenStatus);
    const auto peer = std::make_shared<const Peer>(Peer{Announced(link, facts), screen, link});
    peers_->Put(peer);
    if (peer->device != known->device) {
        events_.Add(link->Udid(), {});
    }
    if (screen != known->screenStatus) {
        host_.screens.Tell(ToScreenInfo(peer->device, screen));
    }
}

bool FabricNode::OnMessage(const LinkPtr& link, Stream stream, std::string_view message) {
    switch (stream) {
    case Stream::CONTROL:
        return control_->OnMessage(link, message);
    case Stream::PROFILE: {
        const LogShareScope scope(shares_->LogOf(link->Udid()));
        return profiles_.OnLinkMessage(link, message);
    }
    case Stream::CHANNEL:
    case Stream::BULK: {
        const LogShareScope scope(shares_->LogOf(link->Udid()));
        return channels_->OnMessage(link, stream, message);
    }
    default:
        return false;
    }
}

void FabricNode::OnDown(const LinkPtr& link, const std::string& reason) {
    FabricPrint(LogLevel::INFO, "device %{public}s is offline: %{public}s", Anonymous(link->Udid()), reason);
    const LogShareScope scope(shares_->LogOf(link->Udid()));
    Peer gone = *peers_->FindByUdid(link->Udid());
    gone.link = nullptr;
    peers_->Put(std::make_shared<const Peer>(std::move(gone)));
    profiles_.OnLinkDown(link);
    channels_->OnDown(link);
    events_.Add(link->Udid(), control_->OnDown(link));
    if (doors_) {
        doors_->dialer.OnDown(link->Udid(), link->NetworkId());
        if (doors_->beacon) {
            doors_->beacon->Announce();
        }
    }
}

void FabricNode::OnDialled(uint64_t dial, const std::string& udid, bool isLink, LinkRefusal refusal) {
    if (doors_) {
        doors_->dialer.OnDialled(dial, udid, isLink, refusal);
    }
}

void FabricNode::OnFailed(const std::string& udid, LinkRefusal refusal) {
    if (doors_) {
        doors_->dialer.OnFailed(udid, refusal);
    }
}

void FabricNode::OnPlace(const std::string& udid, const Endpoint& place) {
    if (doors_) {
        doors_->dialer.OnPlace(udid, place);
    }
}

LinkRefusal FabricNode::Check(const std::string& udid) {
    if (revocations_ && revocations_->Current()->Has(udid)) {
        notes_.Add("revoked", "device " + Anonymous(udid) + " has been revoked, and is refused");
        return LinkRefusal::REVOKED;
    }
    if (shares_->IsLeftAlone(udid)) {
        return LinkRefusal::OVERLOAD;
    }
    return peers_->MayPut(udid) ? LinkRefusal::NONE : LinkRefusal::FULL;
}

uint64_t FabricNode::RevocationNumber() {
    return revocations_ ? revocations_->Current()->number : 0;
}

std::string FabricNode::RevocationDocument() {
    return revocations_ ? revocations_->Document() : "";
}

// The file is written on the pool: the loop does not wait for the disk.
void FabricNode::OnRevocations(const std::string& document) {
    if (!revocations_) {
        return;
    }
    const auto take = [this, revocations = revocations_, loop = loop_, document] {
        try {
            if (revocations->Take(document)) {
                loop->Post([this] { OnRevocationsChanged(); });
            }
        } catch (const std::exception& error) {
            loop->Post([this, why = std::string(error.what())] { notes_.Add("refused", "of a device: " + why); });
        }
    };
    host_.pool.AddAsynTask(take, NETWORK_TASK);
}

bool FabricNode::TakeRevocations(const std::string& document) {
    if (!revocations_) {
        throw std::runtime_error("in open mode no device can be revoked");
    }
    if (!revocations_->Take(document)) {
        return false;
    }
    loop_->Post([this] { OnRevocationsChanged(); });
    return true;
}

void FabricNode::OnRevocationsChanged() {
    FabricPrint(LogLevel::INFO, "a new list of revoked devices, number %{public}s",
        std::to_string(revocations_->Current()->number));
    links_.OfferRevocations();
    links_.CheckAll();
}

// Also for tasks that outlive this object: what they post is dropped then.
std::function<void(const std::string& udid)> FabricNode::ExcessHandler() {
    return [this, shares = shares_, loop = loop_](const std::string& udid) {
        if (shares->OnExcess(udid)) {
            loop->Post([this, udid] { LeaveAlone(udid); });
        }
    };
}

void FabricNode::LeaveAlone(const std::string& udid) {
    notes_.Add("overload", "device " + Anonymous(udid) + " takes more than its share and is left alone for a minute");
    links_.EndLink(udid, LinkRefusal::OVERLOAD, "it takes more than its share");
}

void FabricNode::Resolve(ThreadPool& pool, const std::shared_ptr<EventLoop>& loop, const PeerAddress& peer,
    std::function<void(std::vector<Endpoint> addresses)> done) {
    if (const auto address = Endpoint::FromText(peer.host, peer.port)) {
        done({*address});
        return;
    }
    const auto lookUp = [loop, peer, done] {
        loop->Post([done, addresses = AddressesOf(peer)] { done(addresses); });
    };
    if (!pool.AddAsynTask(lookUp, NETWORK_TASK)) {
        loop->Post([done] { done({}); });
    }
}

NetworkStatus FabricNode::Status() {
    NetworkStatus status;
    status.notes = notes_.Recent();
    if (validUntil_ && std::chrono::seconds(*validUntil_ - std::time(nullptr)) < RENEWAL_TIME) {
        status.notes.push_back({"expires", "this device's certificate ends soon: see collabctl device renew"});
    }
    for (const PeerPtr& peer : peers_->All()) {
        if (peer->IsOnline()) {
            status.links.push_back({peer->device.udid, peer->link->Address()});
        }
    }
    std::string wanted;
    for (const std::string& name : options_.interfaces) {
        wanted += (wanted.empty() ? "" : ", ") + name;
    }
    const MutexLock lock(statusMutex_);
    status.port = port_;
    for (const NetworkInterface& interface : interfaces_) {
        NetworkStatus::Interface& shown = status.interfaces.emplace_back();
        shown.name = interface.name;
        for (const Endpoint& address : interface.addresses) {
            shown.addresses.push_back(address.AddressText());
        }
    }
    status.state = interfaces_.empty() ? "waiting for interface " + wanted : problem_.empty() ? "up" : problem_;
    return status;
}

void FabricNode::Stop() {
    profiles_.Stop(FAREWELL);
    bool hasLinks = false;
    loop_->Run([&] {
        doors_.reset();
        channels_->Stop();
        hasLinks = !links_.All().empty();
        links_.Leave();
    });
    if (hasLinks) {
        std::this_thread::sleep_for(LAST_WORDS);
    }
    loop_->Run([this] { links_.EndAll(); });
    loop_->Stop();
    events_.Stop();
}

}  // namespace ZYNE::Linux
