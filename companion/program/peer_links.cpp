#include "companion/program/peer_links.h"

#include <cerrno>
#include <utility>

#include <sys/epoll.h>
#include <sys/socket.h>

namespace ZYNE::Companion {
namespace {

using namespace std::chrono_literals;
using Client::ChannelKind;
using Linux::UniqueFd;

struct LaneKind {
    const char* name;
    ChannelKind kind;
    std::chrono::milliseconds patience;  // for the peer's companion to ask as well
};

// The first one waits until the peer's companion is there at all; then the others follow at once.
constexpr std::array<LaneKind, 3> LANES_BY_NUMBER{
    {{"desk", ChannelKind::RELIABLE, 60s}, {"motion", ChannelKind::LATEST, 5s}, {"clipboard", ChannelKind::BULK, 5s}}};

constexpr auto RETRY_TIME = 500ms;
constexpr auto REOPEN_TIME = 50ms;  // after all were open

// So many messages of one channel are read before others have their turn.
constexpr int MAX_AT_ONCE = 64;

}  // namespace

PeerLinks::PeerLinks(Linux::EventLoop& loop, Client::ChannelRequests& requests, std::string app, PeerLinksUser& user)
    : loop_(loop), requests_(requests), app_(std::move(app)), user_(user) {}

PeerLinks::~PeerLinks() = default;

void PeerLinks::SetPeers(const std::set<std::string>& peers) {
    for (auto peer = peers_.begin(); peer != peers_.end();) {
        if (peers.contains(peer->first)) {
            ++peer;
            continue;
        }
        Close(peer->first, peer->second);
        peer = peers_.erase(peer);
    }
    for (const std::string& id : peers) {
        const auto [peer, isNew] = peers_.try_emplace(id);
        if (isNew) {
            Open(id, peer->second);
        }
    }
}

void PeerLinks::Drop(const std::string& id) {
    if (Peer* const peer = FindUp(id)) {
        Close(id, *peer);
        Retry(id, RETRY_TIME);
    }
}

// Asks for the next channel that is missing.
void PeerLinks::Open(const std::string& id, Peer& peer) {
    const LaneKind& lane = LANES_BY_NUMBER.at(peer.open);
    peer.attempt = ++lastAttempt_;
    requests_.Open(app_, id, lane.name, lane.kind, lane.patience,
        [this, &loop = loop_, life = std::weak_ptr(life_), id, attempt = peer.attempt](
            UniqueFd socket, const std::string& /*problem*/) {
            loop.Post([this, life, id, attempt, held = std::make_shared<UniqueFd>(std::move(socket))] {
                if (!life.expired()) {
                    OnOpened(id, attempt, std::move(*held));
                }
            });
        });
}

void PeerLinks::OnOpened(const std::string& id, uint64_t attempt, UniqueFd socket) {
    const auto found = peers_.find(id);
    if (found == peers_.end() || found->second.attempt != attempt) {
        return;
    }
    Peer& peer = found->second;
    if (!socket) {
        Close(id, peer);
        Retry(id, RETRY_TIME);
        return;
    }
    peer.channels.at(peer.open).socket = std::move(socket);
    ++peer.open;
    if (!peer.IsUp()) {
        Open(id, peer);
        return;
    }
    for (const Lane lane : {DESK, MOTION, CLIPBOARD}) {
        Watch(id, lane);
    }
    user_.OnPeerUp(id);
}

void PeerLinks::Watch(const std::string& id, Lane lane) {
    Channel& channel = peers_.at(id).channels.at(lane);
    channel.source =
        loop_.Watch(channel.socket.Get(), EPOLLIN, [this, id, lane](uint32_t events) { OnReadable(id, lane, events); });
}

void PeerLinks::OnReadable(const std::string& id, Lane lane, uint32_t events) {
    if ((events & EPOLLOUT) != 0) {
        peers_.at(id).channels.at(lane).source.SetEvents(EPOLLIN);
        user_.OnContentRoom(id);
    }
    std::array<char, Client::MAX_MESSAGE_BYTES> buffer;  // not cleared: it is large
    for (int count = 0; count < MAX_AT_ONCE; ++count) {
        Peer* const peer = FindUp(id);
        if (peer == nullptr) {
            return;
        }
        const ssize_t size = recv(peer->channels.at(lane).socket.Get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
            break;
        }
        if (size <= 0) {
            Close(id, *peer);
            Retry(id, REOPEN_TIME);
            return;
        }
        TakeOne(id, lane, {buffer.data(), static_cast<size_t>(size)});
    }
    user_.OnRead();
}

void PeerLinks::TakeOne(const std::string& id, Lane lane, std::string_view bytes) {
    if (lane == CLIPBOARD) {
        user_.OnContent(id, bytes);
        return;
    }
    const std::optional<Message> message = Read(bytes);
    if (message && IsLatest(*message) == (lane == MOTION)) {
        user_.OnMessage(id, *message);
    } else {
        user_.OnNonsense(id);
    }
}

void PeerLinks::Close(const std::string& id, Peer& peer) {
    const bool wasUp = peer.IsUp();
    peer.attempt = 0;
    peer.open = 0;
    for (Channel& channel : peer.channels) {
        channel.source = {};
        channel.socket.Reset();
    }
    if (wasUp) {
        user_.OnPeerDown(id);
    }
}

void PeerLinks::Retry(const std::string& id, std::chrono::milliseconds delay) {
    const auto found = peers_.find(id);
    if (found != peers_.end()) {
        found->second.again = loop_.After(delay, [this, id] {
            const auto peer = peers_.find(id);
            if (peer != peers_.end()) {
                Open(id, peer->second);
            }
        });
    }
}

PeerLinks::Peer* PeerLinks::FindUp(const std::string& id) {
    const auto found = peers_.find(id);
    return found == peers_.end() || !found->second.IsUp() ? nullptr : &found->second;
}

bool PeerLinks::Send(const std::string& id, const Message& message) {
    Peer* const peer = FindUp(id);
    if (peer == nullptr) {
        return false;
    }
    const std::string bytes = Write(message);
    const Lane lane = IsLatest(message) ? MOTION : DESK;
    return send(peer->channels.at(lane).socket.Get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL) >= 0;
}

PeerLinks::Sent PeerLinks::SendContent(const std::string& id, std::string_view message) {
    Peer* const peer = FindUp(id);
    if (peer == nullptr) {
        return Sent::GONE;
    }
    Channel& channel = peer->channels.at(CLIPBOARD);
    if (send(channel.socket.Get(), message.data(), message.size(), MSG_DONTWAIT | MSG_NOSIGNAL) >= 0) {
        return Sent::DONE;
    }
    if (errno != EAGAIN && errno != EINTR) {
        return Sent::GONE;
    }
    channel.source.SetEvents(EPOLLIN | EPOLLOUT);
    return Sent::NO_ROOM;
}

}  // namespace ZYNE::Companion
