// An open channel at one of its two devices: between the app's socket and the link.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

#include "linux/network/channel/app_socket.h"
#include "linux/network/channel/channel_kind.h"
#include "linux/network/channel/channel_message.h"
#include "linux/network/link/link.h"

namespace ZYNE::Linux {

class AppChannel;

// Whose the channels are. On the loop's thread.
class AppChannelOwner {
public:
    // Once, unless the link broke: forget it.
    virtual void OnChannelEnd(const AppChannel& channel) = 0;
    // The peer does what a channel does not: a line for the log.
    virtual void OnChannelFault(const AppChannel& channel, const std::string& fault) = 0;

protected:
    ~AppChannelOwner() = default;
};

// The loop's thread; made by std::make_shared.
//
// It ends when the app here has closed its end and the peer has all that it sent, when the peer says so and the app has
// all that came, or at once with the link.
class AppChannel : public AppSocketUser, public std::enable_shared_from_this<AppChannel> {
public:
    struct Ends {
        EventLoop& loop;
        AppChannelOwner& owner;  // outlives it
        LinkPtr link;
        ChannelName name;
        uint32_t own;   // its number here
        uint32_t peer;  // its number there
    };

    // The app's end is put into `app`. Throws std::runtime_error.
    AppChannel(Ends ends, UniqueFd& app);
    AppChannel(const AppChannel&) = delete;
    AppChannel& operator=(const AppChannel&) = delete;
    virtual ~AppChannel() = default;

    const ChannelName& Name() const { return ends_.name; }
    const LinkPtr& OwnLink() const { return ends_.link; }
    uint32_t Own() const { return ends_.own; }
    uint32_t PeersNumber() const { return ends_.peer; }

    virtual void Start();
    // What has come on the link. False when it is nothing that a channel of its kind gets.
    bool OnPart(const ChannelPart& part);
    virtual bool OnCredit(uint32_t /*bytes*/) { return false; }
    // The link takes more again.
    virtual void OnLinkRoom() { Resume(); }
    // The link has gone: the app reads the end.
    void Break();

protected:
    // A whole message of the peer. False when it is none.
    virtual bool OnMessage(std::string_view message) = 0;
    // The app has taken a message of so many bytes, or takes none any more.
    virtual void OnDelivered(size_t /*bytes*/) {}
    // A message waits in `waiting` for the app to have room.
    virtual void OnWaiting(std::deque<std::string>& /*waiting*/) {}

    void Deliver(std::string_view message);
    // One message of the app, in one piece or in several. The channel ends when the link does not take it.
    void SendOnLink(std::string_view message);
    size_t WaitingOnLink() const { return ends_.link->Waiting(StreamOf(ends_.name.kind)); }
    void Resume() { socket_.Resume(); }
    void End();
    void OnFault(const std::string& fault);
    bool HasPeer() const { return hasPeer_; }

private:
    void OnAppRoom() final;
    void OnAppGone(const char* fault) final;
    void OnPeerEnd();

    const Ends ends_;
    AppSocket socket_;
    std::string parts_;                // of a message that is coming
    std::deque<std::string> waiting_;  // for room at the app
    bool hasPeer_ = true;              // until the peer has told of the end
    bool hasEnded_ = false;
};

}  // namespace ZYNE::Linux
