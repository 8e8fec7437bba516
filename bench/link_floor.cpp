#include "bench/link_floor.h"

#include <fcntl.h>

#include <stdexcept>
#include <utility>

namespace ZYNE::Bench {
namespace {

using Linux::Endpoint;
using Linux::SecureChannel;
using Linux::Stream;
using Linux::UniqueFd;

Endpoint Loopback(uint16_t port) {
    return *Endpoint::FromText("127.0.0.1", port);
}

void Must(bool holds, const char* what) {
    if (!holds) {
        throw std::runtime_error(std::string(what) + " fails");
    }
}

UniqueFd TcpSocket() {
    UniqueFd made(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    Must(static_cast<bool>(made), "socket");
    return made;
}

UniqueFd Connect(uint16_t port) {
    UniqueFd made = TcpSocket();
    const Endpoint to = Loopback(port);
    Must(connect(made.Get(), to.Get(), to.Size()) == 0, "connect");
    Must(fcntl(made.Get(), F_SETFL, O_NONBLOCK) == 0, "fcntl");
    return made;
}

}  // namespace

LinkPort::LinkPort() : socket_(TcpSocket()) {
    const Endpoint any = Loopback(0);
    Must(bind(socket_.Get(), any.Get(), any.Size()) == 0 && listen(socket_.Get(), 1) == 0, "listen");
}

uint16_t LinkPort::Number() const {
    return Endpoint::OfSocket(socket_.Get()).Port();
}

UniqueFd LinkPort::Accept() const {
    UniqueFd accepted(accept4(socket_.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    Must(static_cast<bool>(accepted), "accept");
    return accepted;
}

LinkEnd::LinkEnd(const std::filesystem::path& credentials, const LinkPort& port)
    : LinkEnd(Linux::LoadCredentials(credentials), Role::ACCEPTOR, port.Accept()) {}

LinkEnd::LinkEnd(const std::filesystem::path& credentials, uint16_t port)
    : LinkEnd(Linux::LoadCredentials(credentials), Role::OPENER, Connect(port)) {}

LinkEnd::LinkEnd(const Linux::Credentials& credentials, Role role, UniqueFd socket)
    : tls_({credentials.certificate, credentials.key, credentials.authority}), key_(credentials.meetingKey),
      loop_("floor") {
    loop_.Run([&] { channel_ = SecureChannel::Start(loop_, tls_, key_, role, std::move(socket), Handlers()); });
    WaitFor(isOpen_);
}

LinkEnd::~LinkEnd() {
    loop_.Run([this] { channel_->End(); });
}

SecureChannel::Handlers LinkEnd::Handlers() {
    const auto set = [this](bool& state) {
        const std::scoped_lock lock(mutex_);
        state = true;
        changed_.notify_one();
    };
    SecureChannel::Handlers handlers;
    handlers.onOpen = [this, set](const std::string&, std::time_t) {
        set(isOpen_);
    };
    handlers.onMessage = [this](Stream, std::string_view message) {
        Take(message);
    };
    handlers.onEnd = [this, set](const std::string&) {
        set(hasEnded_);
    };
    return handlers;
}

void LinkEnd::Take(std::string_view message) {
    const std::scoped_lock lock(mutex_);
    if (isEcho_) {
        channel_->Send(Stream::CONTROL, std::string(message));
    } else {
        isAnswered_ = message.size() == size_;
        changed_.notify_one();
    }
}

void LinkEnd::WaitFor(const bool& state) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return state || hasEnded_; });
    if (!state) {
        throw std::runtime_error("the other end is gone");
    }
}

void LinkEnd::RoundTrip(size_t size) {
    {
        const std::scoped_lock lock(mutex_);
        size_ = size;
        isAnswered_ = false;
    }
    channel_->Send(Stream::CONTROL, std::string(size, 'x'));
    WaitFor(isAnswered_);
}

void LinkEnd::Echo() {
    {
        const std::scoped_lock lock(mutex_);
        isEcho_ = true;
    }
    WaitFor(hasEnded_);
}

}  // namespace ZYNE::Bench
