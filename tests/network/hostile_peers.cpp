#include "tests/network/hostile_peers.h"

#include <openssl/ssl.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <random>
#include <stdexcept>

#include "linux/network/link/run_id.h"

namespace ZYNE::Testing {

using Linux::Endpoint;
using Linux::UniqueFd;
using Linux::Wire::LinkMessage;

namespace {

constexpr size_t CHALLENGE_BYTES = 32;
constexpr uint8_t PART_OF_LARGE = 1;
constexpr uint8_t LAST_PART = 2;

unsigned Random() {
    static thread_local std::mt19937 engine{1};  // the same in each run
    return engine();
}

// Seven bits in each byte, the least first.
std::string Number(uint64_t value) {
    std::string bytes;
    for (; value >= 0x80U; value >>= 7U) {
        bytes += static_cast<char>(value | 0x80U);
    }
    return bytes + static_cast<char>(value);
}

Endpoint Loopback(uint16_t port) {
    return *Endpoint::FromText("127.0.0.1", port);
}

}  // namespace

UniqueFd ConnectAndBlock(uint16_t port) {
    UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const linger none{1, 0};
    const timeval longest{2, 0};
    setsockopt(socket.Get(), SOL_SOCKET, SO_LINGER, &none, sizeof(none));
    setsockopt(socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof(longest));
    const Endpoint to = Loopback(port);
    static_cast<void>(connect(socket.Get(), to.Get(), to.Size()));  // then what is sent fails
    return socket;
}

bool SendAll(const UniqueFd& socket, std::string_view bytes) {
    return send(socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

bool IsClosed(const UniqueFd& socket) {
    std::array<char, 4096> buffer{};
    ssize_t count = 0;
    while ((count = recv(socket.Get(), buffer.data(), buffer.size(), 0)) > 0) {
    }
    return count == 0 || errno != EAGAIN;
}

std::string Field(unsigned number, uint64_t value) {
    return Number(uint64_t{number} << 3U) + Number(value);
}

std::string Field(unsigned number, const std::string& content) {
    return Number(uint64_t{number} << 3U | 2U) + Number(content.size()) + content;
}

std::string Padded(std::string message, size_t size) {
    constexpr unsigned UNKNOWN = 1000;
    const size_t about = size - message.size() - 4;
    const size_t header = Field(UNKNOWN, std::string(about, 'x')).size() - about;
    return message += Field(UNKNOWN, std::string(size - message.size() - header, 'x'));
}

std::string Mutated(std::string segment) {
    for (unsigned changes = 1 + Random() % 3; changes > 0; --changes) {
        char& byte = segment[Random() % segment.size()];
        byte = static_cast<char>(byte ^ static_cast<char>(1 + Random() % 255));
    }
    return segment;
}

RawPeer::RawPeer(const Linux::LinkIdentity& who, uint16_t port)
    : socket_(ConnectAndBlock(port)), ssl_(who.tls->NewConnection(true)) {
    std::string challenge(CHALLENGE_BYTES, '\0');
    recv(socket_.Get(), challenge.data(), challenge.size(), MSG_WAITALL);
    SSL_set_bio(ssl_.get(), BIO_new(BIO_s_mem()), BIO_new(BIO_s_mem()));
    SSL_do_handshake(ssl_.get());
    std::string hello(BIO_ctrl_pending(SSL_get_wbio(ssl_.get())), '\0');
    BIO_read(SSL_get_wbio(ssl_.get()), hello.data(), static_cast<int>(hello.size()));
    SendAll(socket_, who.key.Prove(challenge, hello) + hello);
    SSL_set_fd(ssl_.get(), socket_.Get());
    if (SSL_do_handshake(ssl_.get()) != 1) {
        throw std::runtime_error("no TLS");
    }
}

bool RawPeer::SendFrame(uint8_t stream, uint8_t flags, const std::string& content, size_t length) {
    std::string frame{static_cast<char>(length >> 8U), static_cast<char>(length & 0xffU), static_cast<char>(stream),
        static_cast<char>(flags)};
    frame += content;
    return SSL_write(ssl_.get(), frame.data(), static_cast<int>(frame.size())) > 0;
}

std::string RawPeer::Hello(const std::string& more) {
    return Field(1, Field(1, Linux::Links::VERSION) + Field(2, Linux::NewRun()) + more);
}

bool RawPeer::SendInParts(Linux::Stream stream, size_t bytes, bool isWhole) {
    bool isTaken = true;
    while (isTaken && bytes > 0) {
        const size_t count = std::min(bytes, Linux::SecureChannel::LARGE_BYTES);
        bytes -= count;
        isTaken = SendFrame(static_cast<uint8_t>(stream), PART_OF_LARGE | (isWhole && bytes == 0 ? LAST_PART : 0),
            std::string(count, 'x'));
    }
    return isTaken;
}

bool RawPeer::Read(std::string& bytes, size_t count) {
    bytes.resize(count);
    for (size_t done = 0; done < count;) {
        const int more = SSL_read(ssl_.get(), bytes.data() + done, static_cast<int>(count - done));
        if (more <= 0) {
            return false;
        }
        done += static_cast<size_t>(more);
    }
    return true;
}

std::optional<LinkMessage> RawPeer::Next() {
    std::string header;
    std::string content;
    while (Read(header, 4)) {
        const auto high = static_cast<uint8_t>(header[0]);
        const auto low = static_cast<uint8_t>(header[1]);
        LinkMessage message;
        if (!Read(content, static_cast<size_t>(high << 8U | low))) {
            break;
        }
        if (header[2] == 0 && message.ParseFromString(content)) {
            return message;
        }
    }
    return std::nullopt;
}

bool RawPeer::Join() {
    SendFrame(0, 0, Hello());
    auto heard = Next();
    while (heard && !heard->has_begin()) {
        heard = Next();
    }
    return heard && SendFrame(0, 0, Field(3, Field(1, heard->begin().number())));
}

Relay::Relay(uint16_t to) : to_(to), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const Endpoint any = Loopback(0);
    if (bind(listener_.Get(), any.Get(), any.Size()) != 0 || listen(listener_.Get(), SOMAXCONN) != 0) {
        throw std::runtime_error("no relay");
    }
    port_ = Endpoint::OfSocket(listener_.Get()).Port();
    thread_ = std::jthread([this](const std::stop_token& stop) { Run(stop); });
}

std::vector<std::string> Relay::Captured() const {
    const std::scoped_lock lock(mutex_);
    return captured_;
}

void Relay::Run(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        pollfd waiting{listener_.Get(), POLLIN, 0};
        if (poll(&waiting, 1, 50) == 1) {
            Carry(stop, UniqueFd(accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC)));
        }
    }
}

void Relay::Carry(const std::stop_token& stop, const UniqueFd& opener) {
    const UniqueFd device = ConnectAndBlock(to_);
    {
        const std::scoped_lock lock(mutex_);
        captured_.clear();
    }
    for (bool goesOn = true; goesOn && !stop.stop_requested();) {
        std::array<pollfd, 2> ends{pollfd{opener.Get(), POLLIN, 0}, pollfd{device.Get(), POLLIN, 0}};
        poll(ends.data(), ends.size(), 50);
        goesOn = (ends[0].revents == 0 || CarrySegment(opener, device, true)) &&
            (ends[1].revents == 0 || CarrySegment(device, opener, false));
    }
}

bool Relay::CarrySegment(const UniqueFd& from, const UniqueFd& to, bool isOpeners) {
    std::string segment(4096, '\0');
    const ssize_t count = recv(from.Get(), segment.data(), segment.size(), 0);
    if (count <= 0) {
        return false;
    }
    segment.resize(static_cast<size_t>(count));
    if (isOpeners) {
        const std::scoped_lock lock(mutex_);
        captured_.push_back(segment);
    }
    if (const unsigned oneIn = oneIn_; oneIn > 0 && Random() % oneIn == 0) {
        ++mutated_;
        segment = Mutated(segment);
    }
    return SendAll(to, segment);
}

}  // namespace ZYNE::Testing
