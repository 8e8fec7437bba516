// This device on the network while the fabric runs.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux/account/revocation_file.h"
#include "linux/base/mutex.h"
#include "linux/network/channel/channel_room.h"
#include "linux/network/control/control_channel.h"
#include "linux/network/device_events.h"
#include "linux/network/discovery/beacon.h"
#include "linux/network/discovery/dialer.h"
#include "linux/network/discovery/interface_watch.h"
#include "linux/network/discovery/listeners.h"
#include "linux/network/discovery/wake_watch.h"
#include "linux/network/fabric_host.h"
#include "linux/network/fabric_identity.h"
#include "linux/network/fabric_options.h"
#include "linux/network/network_notes.h"
#include "linux/network/presence/peer_shares.h"
#include "linux/network/presence/peer_table.h"
#include "linux/network/profile/profile_channel.h"

namespace ZYNE::Linux {

// Any thread. Two threads of its own: the loop, on which everything of the network happens, and one that tells the host
// of devices. Changes of peers' screens are told on the pool.
class FabricNode final : private LinksUser {
public:
    // Throws std::runtime_error with one line.
    FabricNode(const FabricHost& host, const FabricOptions& options, DeviceEvents::Handler handler);
    FabricNode(const FabricNode&) = delete;
    FabricNode& operator=(const FabricNode&) = delete;
    ~FabricNode() { Stop(); }

    // Joins the network as soon as there is one. Once. Throws like the constructor.
    void Begin();

    // What is announced of this device's screen. Before Begin as well, and after Stop in vain.
    void SetScreenStatus(ScreenStatus status);

    const Announcement& Self() const { return self_; }
    const PeerTable& Peers() const { return *peers_; }
    ControlChannel& Control() { return *control_; }
    ChannelRoom& Channels() { return *channels_; }

    NetworkStatus Status();
    EventLoop::Clock::time_point LastRound() const { return loop_->LastRound(); }
    // Takes a list of revoked devices that the account's authority has signed. False when it is no news. Throws
    // std::runtime_error with words when it is not one.
    bool TakeRevocations(const std::string& document);

    // Leaves the network: other devices see it at once. Later sends fail; no callback comes any more but from tasks
    // that the pool holds already. Once, and not by a callback.
    void Stop();

private:
    // What Begin makes and Stop ends, on the loop's thread: the way in and out.
    struct Doors {
        Doors(FabricNode& node, const FabricOptions& options);

        Listeners listeners;
        std::optional<Beacon> beacon;
        Dialer dialer;
        WakeWatch wake;
        InterfaceWatch interfaces;  // last: it calls the others
        EventLoop::Source housekeeping;
    };

    FabricNode(
        const FabricHost& host, const FabricOptions& options, FabricIdentity identity, DeviceEvents::Handler handler);

    // LinksUser
    void OnUp(const LinkPtr& link, const DeviceFacts& facts) override;
    void OnFacts(const LinkPtr& link, const DeviceFacts& facts) override;
    bool OnMessage(const LinkPtr& link, Stream stream, std::string_view message) override;
    void OnDown(const LinkPtr& link, const std::string& reason) override;
    void OnRoom(const LinkPtr& link) override { channels_->OnRoom(link); }
    void OnDialled(uint64_t dial, const std::string& udid, bool isLink, LinkRefusal refusal) override;
    void OnFailed(const std::string& udid, LinkRefusal refusal) override;
    void OnPlace(const std::string& udid, const Endpoint& place) override;
    LinkRefusal Check(const std::string& udid) override;
    uint64_t RevocationNumber() override;
    std::string RevocationDocument() override;
    void OnRevocations(const std::string& document) override;
    void OnNote(const std::string& kind, const std::string& text) override { notes_.Add(kind, text); }

    void Follow(const std::vector<NetworkInterface>& interfaces);
    void TellWhereWeListen();
    void OnWake();
    std::function<void(const std::string& udid)> ExcessHandler();
    void LeaveAlone(const std::string& udid);
    void OnRevocationsChanged();
    Announcement Announced(const LinkPtr& link, const DeviceFacts& facts) const;
    static void Resolve(ThreadPool& pool, const std::shared_ptr<EventLoop>& loop, const PeerAddress& peer,
        std::function<void(std::vector<Endpoint> addresses)> done);

    const FabricHost host_;
    const FabricOptions options_;
    const std::optional<std::time_t> validUntil_;  // the end of this device's certificate, in account mode
    const Announcement self_;
    const std::shared_ptr<EventLoop> loop_;
    NetworkNotes notes_;
    const std::shared_ptr<PeerShares> shares_ = std::make_shared<PeerShares>();
    const std::shared_ptr<PeerTable> peers_ = std::make_shared<PeerTable>();
    const std::shared_ptr<RevocationFile> revocations_;  // in account mode
    const std::shared_ptr<ControlChannel> control_;
    const std::shared_ptr<ChannelRoom> channels_;
    ProfileChannel profiles_;
    DeviceEvents events_;
    Mutex statusMutex_;
    std::vector<NetworkInterface> interfaces_;  // written on the loop's thread under statusMutex_
    uint16_t port_ GUARDED_BY(statusMutex_) = 0;
    std::string problem_ GUARDED_BY(statusMutex_);

    // The loop's thread alone.
    DeviceFacts facts_;
    Links links_;
    std::unique_ptr<Doors> doors_;
};

}  // namespace ZYNE::Linux
