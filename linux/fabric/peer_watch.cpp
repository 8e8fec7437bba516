#include "linux/fabric/peer_watch.h"

#include <exception>
#include <utility>

#include "linux/account/udid.h"
#include "linux/fabric/device_id.h"
#include "linux/fabric/endpoint_owner.h"
#include "linux/fabric/fabric_log.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Linux {
namespace {

// Names are shown on terminals.
std::string Printable(const std::string& name) {
    std::string printable;
    AppendPrintable(printable, name);
    return printable;
}

}  // namespace

PeerWatch::PeerWatch(const FabricDomain& domain, const Partitions& partitions, const Announcement& self, bool isProved,
    dds_entity_t waitset, PeerTable& peers, Events events)
    : domain_(domain), partitions_(partitions), self_(self), isProved_(isProved), waitset_(waitset), peers_(peers),
      events_(std::move(events)), presence_(domain, partitions) {}

void PeerWatch::TakeAnnouncements() {
    presence_.Take([this](const PresenceReader::Arrival& arrival) {
        if (arrival.isThere) {
            OnAnnounced(arrival);
        } else {
            OnWithdrawn(arrival.device.udid, arrival.writer);
        }
    });
}

bool PeerWatch::IsCredible(const Announcement& device, const dds_guid_t& participant) const {
    if (!IsUdid(device.udid) || !IsNetworkId(device.networkId)) {
        FabricPrint(LogLevel::WARN, "an announcement without a proper id is ignored");
        return false;
    }
    if (isProved_ && !IsParticipantOf(device.udid, participant)) {
        FabricPrint(LogLevel::WARN, "a device that claims the udid %{public}s is ignored: its certificate is another's",
            Anonymous(device.udid));
        return false;
    }
    const std::string holder = peers_.UdidOf(device.networkId);
    if (device.udid == self_.udid || device.networkId == self_.networkId ||
        (!holder.empty() && holder != device.udid)) {
        FabricPrint(
            LogLevel::WARN, "a device with an id of another is ignored, udid %{public}s", Anonymous(device.udid));
        return false;
    }
    return true;
}

void PeerWatch::OnAnnounced(const PresenceReader::Arrival& arrival) {
    const Announcement& announced = arrival.device;
    const auto participant = OwnerOfWriter(presence_.Get(), arrival.writer);
    if (!participant || !IsCredible(announced, *participant)) {
        return;
    }
    Peer peer{announced, arrival.screenStatus, *participant, arrival.writer, nullptr, false};
    peer.device.deviceName = Printable(announced.deviceName);
    const PeerPtr known = peers_.FindByUdid(announced.udid);
    const bool isSameRun = known && known->channel && known->device.networkId == announced.networkId &&
        IsSame(known->participant, *participant);
    if (isSameRun) {
        Renew(*known, std::move(peer));
        return;
    }
    if (known && known->channel) {
        Leave(*known);
    }
    Arrive(std::move(peer));
}

void PeerWatch::Renew(const Peer& known, Peer renewed) {
    renewed.channel = known.channel;
    renewed.online = known.online;
    peers_.Put(std::make_shared<const Peer>(renewed));
    if (!renewed.online) {
        return;
    }
    if (renewed.device != known.device) {
        events_.onChanged(renewed);
    }
    if (renewed.screenStatus != known.screenStatus) {
        events_.onScreenChanged(renewed);
    }
}

// The channel may be matched already by the time that the waitset knows it.
void PeerWatch::Arrive(Peer peer) {
    try {
        peer.channel =
            std::make_shared<const ControlWriter>(domain_, partitions_.To(peer.device.udid, peer.device.networkId));
        const dds_entity_t channel = peer.channel->Get();
        MustDds(dds_waitset_attach(waitset_, channel, channel), "no control channel");
        channels_[channel] = peer.device.udid;
    } catch (const std::exception& error) {
        FabricPrint(LogLevel::ERROR, "device %{public}s cannot be reached: %{public}s", Anonymous(peer.device.udid),
            error.what());
        return;
    }
    const auto arrived = std::make_shared<const Peer>(std::move(peer));
    if (!peers_.Put(arrived)) {
        FabricPrint(LogLevel::WARN, "too many devices, %{public}s is ignored", Anonymous(arrived->device.udid));
        channels_.erase(arrived->channel->Get());
        return;
    }
    CheckChannel(arrived);
}

void PeerWatch::OnWithdrawn(const std::string& udid, dds_instance_handle_t writer) {
    const PeerPtr peer = peers_.FindByUdid(udid);
    if (peer && peer->channel && peer->presenceWriter == writer) {
        Leave(*peer);
    }
}

void PeerWatch::CheckChannel(dds_attach_t channel) {
    const auto found = channels_.find(channel);
    const PeerPtr peer = found != channels_.end() ? peers_.FindByUdid(found->second) : nullptr;
    if (peer && peer->channel) {
        CheckChannel(peer);
    }
}

void PeerWatch::CheckChannel(const PeerPtr& peer) {
    // Asking for the status is what lets the waitset sleep again.
    dds_publication_matched_status_t status{};
    dds_get_publication_matched_status(peer->channel->Get(), &status);
    const bool isRead = IsReadBy(peer->channel->Get(), peer->participant);
    if (isRead == peer->online) {
        return;
    }
    Peer changed = *peer;
    changed.online = isRead;
    peers_.Put(std::make_shared<const Peer>(changed));
    Tell(changed);
}

// The device may be announced again later, and is then met as a new one.
void PeerWatch::Leave(const Peer& peer) {
    Peer gone = peer;
    gone.channel = nullptr;
    gone.online = false;
    dds_waitset_detach(waitset_, peer.channel->Get());
    channels_.erase(peer.channel->Get());
    peers_.Put(std::make_shared<const Peer>(gone));
    if (peer.online) {
        Tell(gone);
    }
}

void PeerWatch::Tell(const Peer& peer) {
    FabricPrint(LogLevel::INFO, "device %{public}s is %{public}s", Anonymous(peer.device.udid),
        peer.online ? "online" : "offline");
    (peer.online ? events_.onChanged : events_.onGone)(peer);
    if (peer.online && peer.screenStatus != SCREEN_UNKNOWN) {
        events_.onScreenChanged(peer);
    }
}

}  // namespace ZYNE::Linux
