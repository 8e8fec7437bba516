// A channel of the kind LATEST: a LatestFlow on a socket of UDP and on the link.
#pragma once

#include <memory>
#include <optional>

#include "linux/network/channel/app_channel.h"
#include "linux/network/channel/datagram_socket.h"
#include "linux/network/channel/latest_flow.h"

namespace ZYNE::Linux {

// As AppChannel.
class LatestChannel final : public AppChannel {
public:
    // Where one end takes datagrams, and the key of those that it sends.
    struct OwnDatagrams {
        std::unique_ptr<DatagramSocket> socket;  // null where there is none
        DatagramKey key{};
    };
    struct PeersDatagrams {
        uint16_t port = 0;  // 0: nowhere
        DatagramKey key{};
    };

    LatestChannel(Ends ends, OwnDatagrams own, const PeersDatagrams& peers, UniqueFd& app);

    void Start() override;
    void OnLinkRoom() override { flow_.OnRoom(); }

private:
    size_t MayRead() override { return HasPeer() ? AppSocket::MAX_READ : 0; }
    void OnAppMessage(std::string_view message) override;
    bool OnMessage(std::string_view message) override { return flow_.OnStream(message); }
    void OnWaiting(std::deque<std::string>& waiting) override { KeepNewest(waiting); }

    LatestFlow::Ways Ways();

    const std::unique_ptr<DatagramSocket> socket_;
    const uint16_t peersPort_;
    LatestFlow flow_;
};

}  // namespace ZYNE::Linux
