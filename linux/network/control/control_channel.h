// Requests to other devices and theirs to this one, with their answers, over the links.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "linux/base/mailbox.h"
#include "linux/device/listener_registry.h"
#include "linux/device/plugin_registry.h"
#include "linux/network/control/control_message.h"
#include "linux/network/control/request_gate.h"
#include "linux/network/control/session_table.h"
#include "linux/network/presence/fabric_code.h"
#include "linux/network/presence/peer_shares.h"
#include "linux/network/presence/peer_table.h"

namespace ZYNE::Linux {

// Any thread, unless said otherwise. What a peer's message makes this device do is done in that peer's name, see
// LogShareScope. Small messages are handled on the loop's thread; large ones on a thread of the pool, one after the
// other, so that what parsing them takes is taken once.
class ControlChannel : public std::enable_shared_from_this<ControlChannel> {
public:
    // What the channel hands messages to, and the pool on which it does so; all of it outlives the channel.
    struct Host {
        ThreadPool& pool;
        const PluginRegistry& plugins;
        const ListenerRegistry& listeners;
    };

    // `onExcess` gets the udid of a peer for each message by which it is over its share.
    ControlChannel(const Host& host, std::shared_ptr<const PeerTable> peers, std::shared_ptr<PeerShares> shares,
        std::function<void(const std::string& udid)> onExcess);

    // Opens a session with the device `networkId` and sends a request on it. On success `session` is its number.
    FabricCode SendRequest(const std::string& networkId, const std::string& callerString,
        const std::string& sessionName, const CollaborationFwk::ServiceInfo& service, int32_t& session);
    // Answers on a session that another device opened, which ends it.
    FabricCode SendAnswer(int32_t session, uint32_t type, std::string_view payload);

    // The loop's thread. False when it is no message.
    bool OnMessage(const LinkPtr& link, std::string_view message);
    // The loop's thread. The collaboration ids of the sessions that end with the link.
    std::vector<std::string> OnDown(const LinkPtr& link);

    // Ends what has become too old; every second or so.
    void EndOld();

private:
    struct Large {
        std::shared_ptr<ControlChannel> channel;  // this one, which lives as long
        LinkPtr link;
        ControlMessage message;
    };

    void Handle(const LinkPtr& link, ControlMessage message);
    void HandleLater(const LinkPtr& link, ControlMessage message);
    void TakeRequest(const LinkPtr& link, ControlMessage request);
    void Serve(const std::string& networkId, ControlMessage request);
    void ServeNext(const std::string& networkId);

    const Host host_;
    const std::shared_ptr<const PeerTable> peers_;
    const std::shared_ptr<PeerShares> shares_;
    const std::function<void(const std::string& udid)> onExcess_;
    SessionTable sessions_;
    RequestGate gate_;
    const std::shared_ptr<Mailbox<Large>> largeOnes_;
};

}  // namespace ZYNE::Linux
