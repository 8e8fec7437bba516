#include "linux/network/channel/app_socket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/socket.h>

namespace ZYNE::Linux {
namespace {

// What the kernel holds for each direction, in its own measure, which is twice that of the messages. Of the latest no
// more than it takes for one of the greatest: what lies there is old.
constexpr int BUFFER_BYTES = 128 << 10;
constexpr int LATEST_BUFFER_BYTES = (MAX_MESSAGE_BYTES >> 1U) + 2048;

// Room for what is read at once. One byte more than the greatest message tells of a greater one.
struct Batch {
    using Slot = std::array<char, MAX_MESSAGE_BYTES + 1>;
    std::array<Slot, AppSocket::MAX_READ> slots;
    std::array<iovec, AppSocket::MAX_READ> parts{};
    std::array<mmsghdr, AppSocket::MAX_READ> headers{};

    Batch() {
        for (size_t i = 0; i < slots.size(); ++i) {
            parts.at(i) = {slots.at(i).data(), slots.at(i).size()};
            headers.at(i).msg_hdr.msg_iov = &parts.at(i);
            headers.at(i).msg_hdr.msg_iovlen = 1;
        }
    }
    std::string_view Message(size_t at) const { return {slots.at(at).data(), headers.at(at).msg_len}; }
};

Batch& OwnBatch() {
    static thread_local const auto batch = std::make_unique<Batch>();
    return *batch;
}

bool HasHungUp(int socket) {
    pollfd state{socket, 0, 0};
    return poll(&state, 1, 0) > 0 && (state.revents & POLLHUP) != 0;
}

}  // namespace

AppSocket::AppSocket(EventLoop& loop, ChannelKind kind, UniqueFd& app) : loop_(loop) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::runtime_error("no socket: " + std::generic_category().message(errno));
    }
    const int bytes = kind == ChannelKind::LATEST ? LATEST_BUFFER_BYTES : BUFFER_BYTES;
    setsockopt(ends[0], SOL_SOCKET, SO_SNDBUF, &bytes, sizeof(bytes));
    setsockopt(ends[1], SOL_SOCKET, SO_SNDBUF, &BUFFER_BYTES, sizeof(BUFFER_BYTES));
    socket_ = UniqueFd(ends[0]);
    app = UniqueFd(ends[1]);
}

void AppSocket::Start(std::weak_ptr<AppSocketUser> user) {
    user_ = std::move(user);
    Watch();
}

void AppSocket::Watch() {
    source_ = loop_.Watch(socket_.Get(), Wanted(), [this, owner = user_](uint32_t events) {
        if (const auto user = owner.lock()) {
            OnEvents(*user, events);
        }
    });
}

uint32_t AppSocket::Wanted() const {
    return (isPaused_ ? 0U : static_cast<uint32_t>(POLLIN)) | (waitsForRoom_ ? static_cast<uint32_t>(POLLOUT) : 0U);
}

void AppSocket::OnEvents(AppSocketUser& user, uint32_t events) {
    if ((events & POLLOUT) != 0 && std::exchange(waitsForRoom_, false)) {
        source_.SetEvents(Wanted());
        user.OnAppRoom();
    }
    if (socket_ && (events & ~static_cast<uint32_t>(POLLOUT)) != 0) {
        Read(user, (events & POLLHUP) != 0);
    }
}

void AppSocket::Read(AppSocketUser& user, bool hasEnded) {
    const size_t most = std::min(user.MayRead(), MAX_READ);
    if (most == 0) {
        isPaused_ = true;
        // The loop tells of the other end's end again and again.
        if (hasEnded) {
            source_ = {};
        } else {
            source_.SetEvents(Wanted());
        }
        return;
    }
    Batch& batch = OwnBatch();
    const int count = recvmmsg(socket_.Get(), batch.headers.data(), static_cast<unsigned>(most), MSG_DONTWAIT, nullptr);
    if (count <= 0) {
        // That the app has closed with something unread is told once, before what it has sent.
        if (errno != EAGAIN && errno != EINTR && errno != ECONNRESET) {
            user.OnAppGone(nullptr);
        }
        return;
    }
    for (size_t i = 0; i < static_cast<size_t>(count) && socket_; ++i) {
        const std::string_view message = batch.Message(i);
        if (message.size() > MAX_MESSAGE_BYTES) {
            user.OnAppGone("it sends a message of more than 64 KiB");
        } else if (!message.empty()) {
            user.OnAppMessage(message);
        }
    }
    // Where nothing comes any more, it comes without bytes.
    if (socket_ && batch.Message(static_cast<size_t>(count) - 1).empty() && HasHungUp(socket_.Get())) {
        user.OnAppGone(nullptr);
    }
}

AppSocket::Sent AppSocket::Send(std::string_view message) {
    if (!socket_) {
        return Sent::GONE;
    }
    if (send(socket_.Get(), message.data(), message.size(), MSG_DONTWAIT | MSG_NOSIGNAL) >= 0) {
        return Sent::YES;
    }
    if (errno != EAGAIN && errno != EINTR && errno != ENOBUFS && errno != ENOMEM) {
        return Sent::GONE;
    }
    waitsForRoom_ = true;
    if (source_) {
        source_.SetEvents(Wanted());
    }
    return Sent::NO_ROOM;
}

void AppSocket::Resume() {
    if (!socket_ || !std::exchange(isPaused_, false)) {
        return;
    }
    if (source_) {
        source_.SetEvents(Wanted());
    } else {
        Watch();
    }
}

// Who closes with something unread has the other end read an error instead of the end.
void AppSocket::Close() {
    source_ = {};
    if (socket_) {
        shutdown(socket_.Get(), SHUT_RDWR);
        char byte = 0;
        while (recv(socket_.Get(), &byte, sizeof(byte), MSG_DONTWAIT) > 0) {
        }
        socket_.Reset();
    }
}

}  // namespace ZYNE::Linux
