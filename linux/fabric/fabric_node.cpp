#include "linux/fabric/fabric_node.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "linux/fabric/device_id.h"
#include "linux/fabric/endpoint_owner.h"
#include "linux/fabric/guarded_call.h"
#include "linux/fabric/screen_callbacks.h"

namespace ZYNE::Linux {
namespace {

// How often what has become too old is thrown away.
constexpr std::chrono::seconds HOUSEKEEPING{1};
// How long a device that leaves waits until the others have what it sent them last.
constexpr std::chrono::milliseconds FAREWELL{200};
// A send that takes longer was held back.
constexpr std::chrono::milliseconds NOTICEABLE{50};
// How many things that have happened are looked at in one go.
constexpr size_t MOST_SOURCES = 64;

}  // namespace

FabricNode::FabricNode(const FabricOptions& options, DeviceEvents::Handler handler)
    : FabricNode(options, FabricIdentity(options), std::move(handler)) {}

FabricNode::FabricNode(const FabricOptions& options, const FabricIdentity& identity, DeviceEvents::Handler handler)
    : self_{identity.udid, NewNetworkId(), options.deviceName, options.deviceType, OS_TYPE},
      partitions_(identity.partitions), domain_(options, identity.credentials),
      waitset_(dds_create_waitset(domain_.Participant()), "no waitset"),
      stopSignal_(dds_create_guardcondition(domain_.Participant()), "no guard condition"),
      events_(peers_, std::move(handler)),
      watch_(domain_, partitions_, self_, identity.credentials.has_value(), waitset_.Get(), peers_,
          {[this](const Peer& peer) { OnPeerChanged(peer); }, [this](const Peer& peer) { OnPeerGone(peer); },
              [](const Peer& peer) {
                  ScreenCallbacks::Get().Tell(ToScreenInfo(peer.device, peer.screenStatus));
              }}),
      inbox_(domain_, partitions_.To(self_.udid, self_.networkId), peers_, sessions_),
      presence_(domain_, partitions_, self_),
      profiles_(domain_, partitions_, self_.udid, identity.credentials.has_value(), ProfileService::Get()),
      announcementArrived_(dds_create_readcondition(watch_.Reader(), DDS_ANY_STATE), "no read condition"),
      messageArrived_(dds_create_readcondition(inbox_.Reader(), DDS_ANY_STATE), "no read condition") {
    for (const DdsEntity* condition : {&stopSignal_, &announcementArrived_, &messageArrived_}) {
        MustDds(dds_waitset_attach(waitset_.Get(), condition->Get(), condition->Get()), "no waitset");
    }
}

void FabricNode::Begin() {
    reader_ = std::thread([this] { Read(); });
    profiles_.Begin();
    presence_.Announce();
}

void FabricNode::SetScreenStatus(ScreenStatus status) {
    GuardedCall("announcing the screen", [&] { presence_.SetScreenStatus(status); });
}

void FabricNode::Read() {
    auto nextHousekeeping = SessionTable::Clock::now() + HOUSEKEEPING;
    while (!stopping_) {
        const std::vector<dds_attach_t> sources = WaitForArrivals();
        GuardedCall("reading from the network", [&] {
            // Messages first: those of a device that has left are still its own, and those of one that is new are held.
            inbox_.TakeMessages();
            watch_.TakeAnnouncements();
            for (const dds_attach_t source : sources) {
                watch_.CheckChannel(source);
            }
            if (const auto now = SessionTable::Clock::now(); now >= nextHousekeeping) {
                nextHousekeeping = now + HOUSEKEEPING;
                inbox_.DropOldHeld();
                sessions_->EndOld();
            }
        });
    }
}

// What has arrived, or changed, somewhere: what does not fit is there again the next time.
std::vector<dds_attach_t> FabricNode::WaitForArrivals() {
    std::vector<dds_attach_t> sources(MOST_SOURCES);
    const dds_return_t count = dds_waitset_wait(
        waitset_.Get(), sources.data(), sources.size(), std::chrono::nanoseconds(HOUSEKEEPING).count());
    sources.resize(std::min(static_cast<size_t>(std::max(count, 0)), sources.size()));
    return sources;
}

void FabricNode::OnPeerChanged(const Peer& peer) {
    events_.Add(peer.device.udid, {});
    inbox_.ReleaseHeld(peer);
}

void FabricNode::OnPeerGone(const Peer& peer) {
    events_.Add(peer.device.udid, sessions_->EndAllWith(peer.device.networkId));
}

FabricCode FabricNode::SendRequest(const std::string& networkId, const std::string& callerString,
    const std::string& sessionName, const CollaborationFwk::ServiceInfo& service, int32_t& session) {
    const std::shared_lock sending(leaveMutex_);
    if (hasLeft_) {
        return FABRIC_NOT_RUNNING;
    }
    const PeerPtr peer = peers_.FindOnline(networkId);
    if (!peer) {
        return FABRIC_PEER_OFFLINE;
    }
    // Opened before the request is sent: the answer may be here before the send returns.
    session = sessions_->Open(networkId, service.collaborationIdStr);
    const auto before = SessionTable::Clock::now();
    FabricCode code = peer->channel->SendRequest(session, callerString, sessionName, service);
    if (code == FABRIC_OK && SessionTable::Clock::now() - before > NOTICEABLE &&
        !IsReadBy(peer->channel->Get(), peer->participant)) {
        // It froze, and the transport took the message when it gave the device up.
        code = FABRIC_PEER_OFFLINE;
    }
    if (code != FABRIC_OK) {
        sessions_->End(session);
    }
    return code;
}

FabricCode FabricNode::SendAnswer(int32_t session, uint32_t type, std::string_view payload) {
    const std::shared_lock sending(leaveMutex_);
    if (hasLeft_) {
        return FABRIC_NOT_RUNNING;
    }
    const auto served = sessions_->FindServed(session);
    if (!served) {
        return FABRIC_SESSION_UNKNOWN;
    }
    const auto& [networkId, openersNumber] = *served;
    const PeerPtr peer = peers_.FindOnline(networkId);
    if (!peer) {
        return FABRIC_PEER_OFFLINE;
    }
    const FabricCode code = peer->channel->SendMessage(openersNumber, type, payload);
    if (code == FABRIC_OK) {
        sessions_->End(session);
    }
    return code;
}

void FabricNode::Stop() {
    if (stopping_.exchange(true)) {
        return;
    }
    dds_set_guardcondition(stopSignal_.Get(), true);
    if (reader_.joinable()) {
        reader_.join();
    }
    events_.Stop();
    const auto end = SessionTable::Clock::now() + FAREWELL;
    for (const PeerPtr& peer : peers_.All()) {
        const std::chrono::nanoseconds left = end - SessionTable::Clock::now();
        if (peer->online && left.count() > 0) {
            peer->channel->WaitForDelivery(left.count());
        }
    }
    profiles_.Stop(std::chrono::nanoseconds(end - SessionTable::Clock::now()));
    presence_.Withdraw();
    const std::scoped_lock leaving(leaveMutex_);
    hasLeft_ = true;
    domain_.Delete();
}

}  // namespace ZYNE::Linux
