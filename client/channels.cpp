#include "client/channels.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <tuple>

#include <fcntl.h>
#include <sys/socket.h>

#include "client/channel_kind_text.h"
#include "client/device_connection.h"

namespace ZYNE::Client {
Linux::UniqueFd Channels::Open(const std::string& app, const std::string& peer, const std::string& name,
    ChannelKind kind, std::chrono::milliseconds time) {
    const auto milliseconds = std::clamp<int64_t>(time.count(), 0, UINT32_MAX);
    auto [descriptor, peerId] = connection_.CallFor(
        time, &DeviceProxy::Open, app, peer, name, TextOf(kind), static_cast<uint32_t>(milliseconds));
    return Linux::UniqueFd(descriptor.release());
}

bool SendMessage(int channel, std::string_view message) {
    ssize_t sent = -1;
    do {
        sent = send(channel, message.data(), message.size(), MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent >= 0;
}

std::optional<std::string> ReceiveMessage(int channel) {
    static thread_local std::array<char, MAX_MESSAGE_BYTES> message;
    ssize_t count = -1;
    do {
        count = recv(channel, message.data(), message.size(), 0);
    } while (count < 0 && errno == EINTR);
    if (count <= 0) {
        return std::nullopt;
    }
    return std::string(message.data(), static_cast<size_t>(count));
}

}  // namespace ZYNE::Client
