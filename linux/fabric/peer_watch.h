// Turns announcements and matched channels into devices that come, change and go.
#pragma once

#include <functional>
#include <string>
#include <unordered_map>

#include "linux/fabric/fabric_domain.h"
#include "linux/fabric/partitions.h"
#include "linux/fabric/peer_table.h"
#include "linux/fabric/presence.h"

namespace ZYNE::Linux {

// One thread, the one that reads.
//
// A device is online when it has announced itself and reads what this device writes to it: the first message to it
// arrives. It has gone when either ends.
class PeerWatch {
public:
    struct Events {
        std::function<void(const Peer&)> onChanged;  // came, or tells something else about itself
        std::function<void(const Peer&)> onGone;
        std::function<void(const Peer&)> onScreenChanged;  // tells something else of its screen, or something at all
    };

    // `isProved` is whether participants have proved who they are. Channels are attached to `waitset`, each with its
    // own handle.
    PeerWatch(const FabricDomain& domain, const Partitions& partitions, const Announcement& self, bool isProved,
        dds_entity_t waitset, PeerTable& peers, Events events);

    dds_entity_t Reader() const { return presence_.Get(); }

    void TakeAnnouncements();
    // Looks whether the channel with this handle has been matched, or is no longer. Passes over what is no channel.
    void CheckChannel(dds_attach_t channel);

private:
    void OnAnnounced(const PresenceReader::Arrival& arrival);
    void OnWithdrawn(const std::string& udid, dds_instance_handle_t writer);
    bool IsCredible(const Announcement& device, const dds_guid_t& participant) const;
    void Arrive(Peer peer);
    void CheckChannel(const PeerPtr& peer);
    void Leave(const Peer& peer);
    void Renew(const Peer& known, Peer renewed);
    void Tell(const Peer& peer);

    const FabricDomain& domain_;
    const Partitions partitions_;
    const Announcement self_;
    const bool isProved_;
    const dds_entity_t waitset_;
    PeerTable& peers_;
    const Events events_;
    PresenceReader presence_;
    std::unordered_map<dds_attach_t, std::string> channels_;  // the udid of each peer's channel, by handle
};

}  // namespace ZYNE::Linux
