#include "linux/network/channel/datagram_socket.h"

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <netinet/in.h>
#include <netinet/ip.h>
#include <poll.h>
#include <sys/socket.h>

#include "linux/network/channel/sealed_datagram.h"

namespace ZYNE::Linux {
namespace {

constexpr size_t MAX_READ = 8;
// What networks that tell traffic apart send first.
constexpr int EXPEDITED = 0xb8;

// One byte more than the greatest tells of a greater one.
struct Batch {
    std::array<std::array<char, SealedDatagram::MAX_SEALED_BYTES + 1>, MAX_READ> slots;
    std::array<iovec, MAX_READ> parts{};
    std::array<mmsghdr, MAX_READ> headers{};

    Batch() {
        for (size_t i = 0; i < MAX_READ; ++i) {
            parts.at(i) = {slots.at(i).data(), slots.at(i).size()};
            headers.at(i).msg_hdr.msg_iov = &parts.at(i);
            headers.at(i).msg_hdr.msg_iovlen = 1;
        }
    }
};

[[noreturn]] void Fail() {
    throw std::runtime_error("no socket: " + std::generic_category().message(errno));
}

}  // namespace

DatagramSocket::DatagramSocket(EventLoop& loop, Endpoint local)
    : loop_(loop), socket_(socket(local.Family(), SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    if (!socket_) {
        Fail();
    }
    local.SetPort(0);
    if (bind(socket_.Get(), local.Get(), local.Size()) != 0) {
        Fail();
    }
    setsockopt(socket_.Get(), local.IsIpv6() ? IPPROTO_IPV6 : IPPROTO_IP, local.IsIpv6() ? IPV6_TCLASS : IP_TOS,
        &EXPEDITED, sizeof(EXPEDITED));
}

void DatagramSocket::Connect(
    const Endpoint& peer, std::weak_ptr<void> owner, std::function<void(std::string_view)> handler) {
    if (connect(socket_.Get(), peer.Get(), peer.Size()) != 0) {
        return;  // the stream carries all
    }
    handler_ = std::move(handler);
    source_ = loop_.Watch(socket_.Get(), POLLIN, [this, owner = std::move(owner)](uint32_t) {
        if (const auto keeper = owner.lock()) {
            Receive();
        }
    });
}

void DatagramSocket::Receive() const {
    static thread_local Batch batch;
    const int count = recvmmsg(socket_.Get(), batch.headers.data(), MAX_READ, MSG_DONTWAIT, nullptr);
    for (int i = 0; i < count; ++i) {
        const auto at = static_cast<size_t>(i);
        handler_({batch.slots.at(at).data(), batch.headers.at(at).msg_len});
    }
}

void DatagramSocket::Send(std::string_view datagram) const {
    send(socket_.Get(), datagram.data(), datagram.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

}  // namespace ZYNE::Linux
