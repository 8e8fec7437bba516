// This device on the network while the fabric runs.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "linux/fabric/control_inbox.h"
#include "linux/fabric/device_events.h"
#include "linux/fabric/fabric_code.h"
#include "linux/fabric/fabric_domain.h"
#include "linux/fabric/fabric_identity.h"
#include "linux/fabric/fabric_options.h"
#include "linux/fabric/partitions.h"
#include "linux/fabric/peer_table.h"
#include "linux/fabric/peer_watch.h"
#include "linux/fabric/presence.h"
#include "linux/fabric/profile_channel.h"
#include "linux/fabric/session_table.h"

namespace ZYNE::Linux {

// Any thread. Two threads of its own: one reads announcements and messages, one tells the host of devices. Changes of
// peers' screens are told on the pool. Profiles are read on the threads of the profile service, which is joined for as
// long as the device is on the network.
class FabricNode {
public:
    // Joins the network, unseen as yet. Throws std::runtime_error with one line.
    FabricNode(const FabricOptions& options, DeviceEvents::Handler handler);
    FabricNode(const FabricNode&) = delete;
    FabricNode& operator=(const FabricNode&) = delete;
    ~FabricNode() { Stop(); }

    // Announces this device and begins to read. Once. Throws like the constructor.
    void Begin();

    // What is announced of this device's screen. Before Begin as well, and after Stop in vain.
    void SetScreenStatus(ScreenStatus status);

    const Announcement& Self() const { return self_; }
    const PeerTable& Peers() const { return peers_; }

    // Opens a session with the device `networkId` and sends a request on it. `session` is its number when that
    // succeeds.
    FabricCode SendRequest(const std::string& networkId, const std::string& callerString,
        const std::string& sessionName, const CollaborationFwk::ServiceInfo& service, int32_t& session);
    // Answers on a session that another device opened, which ends it.
    FabricCode SendAnswer(int32_t session, uint32_t type, std::string_view payload);

    // Leaves the network: other devices see it at once. Later sends fail; no callback comes any more but from tasks
    // that the pool holds already. Once, and not by a callback.
    void Stop();

private:
    FabricNode(const FabricOptions& options, const FabricIdentity& identity, DeviceEvents::Handler handler);

    void Read();
    std::vector<dds_attach_t> WaitForArrivals();
    void OnPeerChanged(const Peer& peer);
    void OnPeerGone(const Peer& peer);

    const Announcement self_;
    const Partitions partitions_;
    FabricDomain domain_;
    DdsEntity waitset_;
    DdsEntity stopSignal_;
    PeerTable peers_;
    const std::shared_ptr<SessionTable> sessions_ = std::make_shared<SessionTable>();
    DeviceEvents events_;
    PeerWatch watch_;
    ControlInbox inbox_;
    PresenceWriter presence_;
    ProfileChannel profiles_;
    DdsEntity announcementArrived_;
    DdsEntity messageArrived_;
    std::atomic<bool> stopping_{false};
    std::shared_mutex leaveMutex_;  // shared while a message is sent, exclusive while the domain is deleted
    bool hasLeft_ = false;          // guarded by leaveMutex_
    std::thread reader_;
};

}  // namespace ZYNE::Linux
