#include "linux/network/channel/latest_channel.h"

#include <utility>

namespace ZYNE::Linux {
namespace {

// So much may wait on the link's stream for another message to be sent there.
constexpr size_t MAX_WAITING = size_t{16} << 10U;

}  // namespace

LatestChannel::LatestChannel(Ends ends, OwnDatagrams own, const PeersDatagrams& peers, UniqueFd& app)
    : AppChannel(std::move(ends), app), socket_(std::move(own.socket)), peersPort_(peers.port),
      flow_(DatagramSealer(own.key, PeersNumber()), DatagramOpener(peers.key, Own()), Ways()) {}

LatestFlow::Ways LatestChannel::Ways() {
    LatestFlow::Ways ways;
    ways.sendDatagram = [this](std::string_view datagram) {
        if (socket_) {
            socket_->Send(datagram);
        }
    };
    ways.sendByStream = [this](std::string_view numbered) {
        if (WaitingOnLink() >= MAX_WAITING) {
            return false;
        }
        SendOnLink(numbered);
        return true;
    };
    ways.deliver = [this](std::string_view message) {
        Deliver(message);
    };
    return ways;
}

void LatestChannel::Start() {
    AppChannel::Start();
    if (socket_ && peersPort_ != 0) {
        Endpoint peer = OwnLink()->Channel()->RemoteEnd();
        peer.SetPort(peersPort_);
        socket_->Connect(peer, weak_from_this(), [this](std::string_view datagram) { flow_.OnDatagram(datagram); });
    }
}

void LatestChannel::OnAppMessage(std::string_view message) {
    if (!flow_.Send(message)) {
        End();
    }
}

}  // namespace ZYNE::Linux
