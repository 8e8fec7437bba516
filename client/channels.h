// Channels between an app of a device and the same app of a peer.
//
//     ZYNE::Client::Device phone(*ZYNE::Client::FindDevice("phone"));
//     const ZYNE::Linux::UniqueFd channel =
//         phone.Channels().Open("org.example.chat", "desk-pc", "talk", ZYNE::Client::ChannelKind::RELIABLE, 30s);
//     ZYNE::Client::SendMessage(channel.Get(), "hello");
//     while (const auto message = ZYNE::Client::ReceiveMessage(channel.Get())) {
//         std::cout << *message << '\n';
//     }
//
// The program on the peer does the same, naming the phone. docs/channels.md says more.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "linux/base/unique_fd.h"

namespace ZYNE::Client {

class DeviceConnection;

enum class ChannelKind {
    RELIABLE,  // every message arrives, in order
    BULK,      // likewise, but everything else between the two devices goes first: for large content
    LATEST     // what is lost or late is not waited for, and never comes out of order
};

// Of one message; the least is one byte.
inline constexpr size_t MAX_MESSAGE_BYTES = size_t{64} << 10U;

// Part of a Device; see there for threads and errors.
class Channels {
public:
    explicit Channels(DeviceConnection& connection) : connection_(connection) {}

    // Opens the channel `name` of `app`, which the app's manifest declares, to the same app on `peer`, which is named as
    // for Info. Blocks until it is asked for there as well, for `time` at most. A socket of type SOCK_SEQPACKET, which
    // blocks, and lasts longer than the Device. It reads the end when the other end, its device or the way to it has
    // gone.
    Linux::UniqueFd Open(const std::string& app, const std::string& peer, const std::string& name, ChannelKind kind,
        std::chrono::milliseconds time);

private:
    DeviceConnection& connection_;
};

// Sends one message on a channel. Blocks while the other end does not take it, unless the socket was made not to. False
// when it was not sent: errno says why, EPIPE that the channel has ended.
bool SendMessage(int channel, std::string_view message);

// The next message of a channel. Blocks until there is one, unless the socket was made not to. Nothing when the channel
// has ended, or none is there.
std::optional<std::string> ReceiveMessage(int channel);

}  // namespace ZYNE::Client
