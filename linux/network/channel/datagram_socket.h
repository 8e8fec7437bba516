// A UDP socket of a channel: from this device's end of the link to the other's.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "linux/base/event_loop.h"
#include "linux/base/unique_fd.h"
#include "linux/network/link/endpoint.h"

namespace ZYNE::Linux {

// The loop's thread.
class DatagramSocket {
public:
    // On a free port of the address of `local`. Throws std::runtime_error.
    DatagramSocket(EventLoop& loop, Endpoint local);

    uint16_t Port() const { return Endpoint::OfSocket(socket_.Get()).Port(); }
    // From now on `handler` gets what comes from `peer`, and nothing comes from elsewhere. `owner` owns this.
    void Connect(const Endpoint& peer, std::weak_ptr<void> owner, std::function<void(std::string_view)> handler);
    // Sends, or loses it.
    void Send(std::string_view datagram) const;

private:
    void Receive() const;

    EventLoop& loop_;
    UniqueFd socket_;
    std::function<void(std::string_view)> handler_;
    EventLoop::Source source_;
};

}  // namespace ZYNE::Linux
