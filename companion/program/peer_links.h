// The channels to the companions of peers: opens them, reads them, opens them again.
//
// A peer is up while all three of its channels are open: "desk" and "motion" for messages, "clipboard" for contents.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "client/channel_requests.h"
#include "companion/core/crossing_machine.h"
#include "linux/base/event_loop.h"
#include "linux/base/unique_fd.h"

namespace ZYNE::Companion {

// Called on the loop's thread.
class PeerLinksUser {
public:
    virtual void OnPeerUp(const std::string& peer) = 0;
    virtual void OnPeerDown(const std::string& peer) = 0;
    virtual void OnMessage(const std::string& peer, const Message& message) = 0;
    // What came on "desk" or "motion" and is no message.
    virtual void OnNonsense(const std::string& peer) = 0;
    // A message of the channel "clipboard", and room for more to be sent on it after SendContent had none.
    virtual void OnContent(const std::string& peer, std::string_view message) = 0;
    virtual void OnContentRoom(const std::string& peer) = 0;
    // All that was waiting has been told.
    virtual void OnRead() = 0;

protected:
    ~PeerLinksUser() = default;
};

// The loop's thread alone.
class PeerLinks final : public Peers {
public:
    PeerLinks(Linux::EventLoop& loop, Client::ChannelRequests& requests, std::string app, PeerLinksUser& user);
    PeerLinks(const PeerLinks&) = delete;
    PeerLinks& operator=(const PeerLinks&) = delete;
    ~PeerLinks();

    // The peers that are there, by their ids. Channels with others are closed, and their user told.
    void SetPeers(const std::set<std::string>& peers);

    // Closes the channels with a peer, and opens them anew.
    void Drop(const std::string& peer);

    bool Send(const std::string& peer, const Message& message) override;

    enum class Sent { DONE, NO_ROOM, GONE };
    // Of "clipboard". After NO_ROOM, OnContentRoom says when to try again.
    Sent SendContent(const std::string& peer, std::string_view message);

private:
    enum Lane : size_t { DESK, MOTION, CLIPBOARD, LANES };
    struct Channel {
        Linux::UniqueFd socket;
        Linux::EventLoop::Source source;  // of the socket; ends first
    };
    struct Peer {
        uint64_t attempt = 0;  // of opening the channels
        size_t open = 0;       // so many channels are
        std::array<Channel, LANES> channels;
        Linux::EventLoop::Source again;  // the next attempt

        bool IsUp() const { return open == LANES; }
    };

    void Open(const std::string& id, Peer& peer);
    void OnOpened(const std::string& id, uint64_t attempt, Linux::UniqueFd socket);
    void Watch(const std::string& id, Lane lane);
    void OnReadable(const std::string& id, Lane lane, uint32_t events);
    void TakeOne(const std::string& id, Lane lane, std::string_view message);
    void Close(const std::string& id, Peer& peer);
    void Retry(const std::string& id, std::chrono::milliseconds delay);
    Peer* FindUp(const std::string& id);

    Linux::EventLoop& loop_;
    Client::ChannelRequests& requests_;
    const std::string app_;
    PeerLinksUser& user_;
    const std::shared_ptr<int> life_ = std::make_shared<int>();  // answers that come later are not for us
    std::map<std::string, Peer> peers_;
    uint64_t lastAttempt_ = 0;
};

}  // namespace ZYNE::Companion
