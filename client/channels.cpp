#include "client/channels.h"

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
    auto [descriptor, peerId] = connection_.CallFor(
        time, &DeviceProxy::Open, app, peer, name, TextOf(kind), static_cast<uint32_t>(time.count()));
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
    std::string message(MAX_MESSAGE_BYTES, '\0');
    ssize_t count = -1;
    do {
        count = recv(channel, message.data(), message.size(), 0);
    } while (count < 0 && errno == EINTR);
    if (count <= 0) {
        return std::nullopt;
    }
    message.resize(static_cast<size_t>(count));
    return message;
}

}  // namespace ZYNE::Client
