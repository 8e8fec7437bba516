#include "linux/network/link/secure_channel.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include <netinet/tcp.h>
#include <openssl/err.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/ioctl.h>

#include "linux/account/certificate.h"

namespace ZYNE::Linux {
namespace {

constexpr size_t CHALLENGE_BYTES = 32;

// A frame: its length in two bytes, the greater first, its stream, its flags; then the content.
constexpr size_t HEADER_BYTES = 4;
// With its header it fills one record of TLS.
constexpr size_t PART_BYTES = SecureChannel::LARGE_BYTES - HEADER_BYTES;
constexpr uint8_t PART_OF_LARGE = 1;
constexpr uint8_t LAST_PART = 2;

// What a small message that waits takes beside its bytes, about.
constexpr size_t WAITING_COST = 64;

// The first bytes of TLS: one record.
constexpr size_t RECORD_HEADER_BYTES = 5;
constexpr size_t MAX_HELLO_BYTES = 2048;

// A socket is read from for so long, or so many times, before others get their turn: many small messages take longer
// than one large one. So many bytes are read at once.
constexpr std::chrono::milliseconds MAX_TURN{2};
constexpr int MAX_READS = 16;
constexpr size_t READ_BYTES = size_t{32} << 10U;
// Of memory for what is read, between turns.
constexpr size_t MAX_KEPT_BYTES = 2 * READ_BYTES;

// So much may lie in the kernel unsent before the next frame of a large message follows: what a small message has to
// wait for.
constexpr int UNSENT_BYTES = 16 << 10;

constexpr std::chrono::milliseconds MAX_CLOSING{200};

void SetOption(int socket, int level, int option, int value) {
    setsockopt(socket, level, option, &value, sizeof(value));
}

// What the kernel takes of a large message at once: it need not be woken up for each of its frames.
constexpr int SEND_BUFFER_BYTES = 256 << 10;
constexpr int FRAMES_AT_ONCE = 4;

// So many segments sent again are no accident.
constexpr uint32_t LOSSY = 3;

// A lost segment must not hold a link back for long: a thin stream is sent again without the pauses growing.
void Tune(int socket) {
    SetOption(socket, IPPROTO_TCP, TCP_NODELAY, 1);
    SetOption(socket, SOL_SOCKET, SO_SNDBUF, SEND_BUFFER_BYTES);
    SetOption(socket, IPPROTO_TCP, TCP_NOTSENT_LOWAT, UNSENT_BYTES);
    SetOption(socket, IPPROTO_TCP, TCP_THIN_LINEAR_TIMEOUTS, 1);
}

std::string Frame(Stream stream, uint8_t flags, std::string_view content) {
    std::string frame;
    frame.reserve(HEADER_BYTES + content.size());
    frame += static_cast<char>(content.size() >> 8U);
    frame += static_cast<char>(content.size() & 0xffU);
    frame += static_cast<char>(stream);
    frame += static_cast<char>(flags);
    return frame.append(content);
}

bool IsLarge(Stream stream, size_t bytes) {
    return bytes > SecureChannel::LARGE_BYTES || stream == Stream::BULK;
}

size_t Number(std::string_view bytes, size_t at) {
    return (static_cast<size_t>(static_cast<uint8_t>(bytes[at])) << 8U) | static_cast<uint8_t>(bytes[at + 1]);
}

// Moves up to `count` bytes from the front of `from` to the end of `to`.
void MoveBytes(std::string_view& from, std::string& to, size_t count) {
    to.append(from.substr(0, count));
    from.remove_prefix(std::min(count, from.size()));
}

std::string TlsProblem(ssl_st* ssl) {
    const long verified = SSL_get_verify_result(ssl);
    if (verified != X509_V_OK) {
        ERR_clear_error();
        return std::string("certificate refused: ") + X509_verify_cert_error_string(verified);
    }
    const unsigned long error = ERR_get_error();
    ERR_clear_error();
    const char* reason = ERR_reason_error_string(error);
    return std::string("TLS failed: ") + (reason == nullptr ? "cut off" : reason);
}

}  // namespace

std::shared_ptr<SecureChannel> SecureChannel::Start(
    EventLoop& loop, const TlsContext& tls, const MeetingKey& key, Role role, UniqueFd socket, Handlers handlers) {
    auto channel = std::make_shared<SecureChannel>(loop, tls.NewConnection(role == Role::OPENER), key, role,
        std::move(socket), std::make_shared<const Handlers>(std::move(handlers)));
    channel->Watch();
    return channel;
}

SecureChannel::SecureChannel(EventLoop& loop, TlsContext::Ssl ssl, const MeetingKey& key, Role role, UniqueFd socket,
    std::shared_ptr<const Handlers> handlers)
    : loop_(loop), key_(key), role_(role), handlers_(std::move(handlers)),
      state_(role == Role::OPENER ? State::CONNECTING : State::AT_THE_GATE), socket_(std::move(socket)),
      ssl_(std::move(ssl)) {
    Tune(socket_.Get());
    BioHandle incoming = MustHave<BioHandle>(BIO_new(BIO_s_mem()), "no memory");
    BioHandle outgoing = MustHave<BioHandle>(BIO_new(BIO_s_mem()), "no memory");
    SSL_set_bio(ssl_.get(), incoming.release(), outgoing.release());
    lastReceived_ = lastSent_ = Clock::now().time_since_epoch().count();
}

void SecureChannel::Watch() {
    const auto isOpener = role_ == Role::OPENER;
    source_ = loop_.Watch(socket_.Get(), isOpener ? POLLOUT : POLLIN, [self = weak_from_this()](uint32_t events) {
        if (const auto channel = self.lock()) {
            channel->OnEvents(events);
        }
    });
    if (!isOpener) {
        challenge_.resize(CHALLENGE_BYTES);
        Must(RAND_bytes(reinterpret_cast<unsigned char*>(challenge_.data()), CHALLENGE_BYTES), "no random numbers");
        const MutexLock lock(mutex_);
        ciphertext_ = challenge_;
        Pump();
    }
}

void SecureChannel::OnEvents(uint32_t events) {
    if (state_ == State::CONNECTING) {
        OnConnected();
        return;
    }
    if ((events & POLLOUT) != 0) {
        OnRoom();
    }
    if (state_ != State::ENDED && (events & ~static_cast<uint32_t>(POLLOUT)) != 0) {
        const auto end = Clock::now() + MAX_TURN;
        for (int reads = 0; reads < MAX_READS && Receive() && Clock::now() < end; ++reads) {
        }
    }
}

void SecureChannel::OnRoom() {
    {
        const MutexLock lock(mutex_);
        waitsForRoom_ = false;
        source_.SetEvents(POLLIN);
        Pump();
        if (state_ == State::CLOSING && !HasToSend()) {
            shutdown(socket_.Get(), SHUT_WR);
        }
    }
    const auto handlers = handlers_;
    if (handlers->onRoom) {
        handlers->onRoom();
    }
}

void SecureChannel::OnConnected() {
    int error = 0;
    socklen_t size = sizeof(error);
    getsockopt(socket_.Get(), SOL_SOCKET, SO_ERROR, &error, &size);
    if (error != 0) {
        Fail(std::generic_category().message(error));
        return;
    }
    const MutexLock lock(mutex_);
    state_ = State::AT_THE_GATE;
    source_.SetEvents(POLLIN);
}

// Whether there may be more.
bool SecureChannel::Receive() {
    static thread_local std::array<char, READ_BYTES> buffer;
    const ssize_t count = recv(socket_.Get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count < 0) {
        if (errno != EAGAIN && errno != EINTR) {
            Fail(std::generic_category().message(errno));
        }
        return false;
    }
    if (count == 0) {
        Fail("closed by the other end");
        return false;
    }
    hasHeard_ = true;
    lastReceived_ = Clock::now().time_since_epoch().count();
    std::string_view bytes(buffer.data(), static_cast<size_t>(count));
    if (state_ == State::AT_THE_GATE && !TakeAtTheGate(bytes)) {
        return state_ != State::ENDED;
    }
    Decrypt(bytes);
    return state_ != State::ENDED && static_cast<size_t>(count) == buffer.size();
}

// Whether the gate is passed; then `bytes` is what came for TLS.
bool SecureChannel::TakeAtTheGate(std::string_view& bytes) {
    return role_ == Role::OPENER ? TakeChallenge(bytes) : TakeProof(bytes);
}

bool SecureChannel::TakeChallenge(std::string_view& bytes) {
    MoveBytes(bytes, gate_, CHALLENGE_BYTES - gate_.size());
    if (gate_.size() < CHALLENGE_BYTES) {
        return false;
    }
    const MutexLock lock(mutex_);
    state_ = State::HANDSHAKE;
    SSL_do_handshake(ssl_.get());
    TakeCiphertext();
    ciphertext_ = key_.Prove(gate_, ciphertext_) + ciphertext_;
    Pump();
    return true;
}

bool SecureChannel::TakeProof(std::string_view& bytes) {
    constexpr size_t BEFORE_HELLO = MeetingKey::PROOF_BYTES + RECORD_HEADER_BYTES;
    if (gate_.size() < BEFORE_HELLO) {
        MoveBytes(bytes, gate_, BEFORE_HELLO - gate_.size());
    }
    if (gate_.size() < BEFORE_HELLO) {
        return false;
    }
    const size_t hello = Number(gate_, BEFORE_HELLO - 2);
    if (hello > MAX_HELLO_BYTES) {
        Fail("not a device of the account");
        return false;
    }
    MoveBytes(bytes, gate_, BEFORE_HELLO + hello - gate_.size());
    if (gate_.size() < BEFORE_HELLO + hello) {
        return false;
    }
    const std::string_view gate = gate_;
    const std::string_view tls = gate.substr(MeetingKey::PROOF_BYTES);
    if (!key_.IsProof(gate.substr(0, MeetingKey::PROOF_BYTES), challenge_, tls)) {
        Fail("not a device of the account");
        return false;
    }
    {
        const MutexLock lock(mutex_);
        state_ = State::HANDSHAKE;
    }
    const auto handlers = handlers_;
    if (handlers->onKnown) {
        handlers->onKnown();
    }
    Decrypt(tls);
    return state_ != State::ENDED;
}

void SecureChannel::Decrypt(std::string_view bytes) {
    static thread_local std::array<char, LARGE_BYTES> buffer;
    std::string problem;
    bool hasOpened = false;
    {
        const MutexLock lock(mutex_);
        ERR_clear_error();
        if (!bytes.empty()) {
            BIO_write(SSL_get_rbio(ssl_.get()), bytes.data(), static_cast<int>(bytes.size()));
        }
        if (state_ == State::HANDSHAKE) {
            hasOpened = DoHandshake(problem);
        }
        if (state_ == State::OPEN || state_ == State::CLOSING) {
            int count = 0;
            while ((count = SSL_read(ssl_.get(), buffer.data(), buffer.size())) > 0) {
                received_.append(buffer.data(), static_cast<size_t>(count));
            }
            const int error = SSL_get_error(ssl_.get(), count);
            if (error == SSL_ERROR_ZERO_RETURN) {
                problem = "closed by the other end";
            } else if (error != SSL_ERROR_WANT_READ) {
                problem = TlsProblem(ssl_.get());
            }
        }
    }
    if (hasOpened) {
        TellOpen();
    }
    if (TakeFrames() && !problem.empty()) {
        Fail(problem);
    }
}

// Whether it is done now.
bool SecureChannel::DoHandshake(std::string& problem) {
    const int result = SSL_do_handshake(ssl_.get());
    // An alert that says why it has failed is sent as well.
    TakeCiphertext();
    Pump();
    if (result == 1) {
        state_ = State::OPEN;
        return true;
    }
    if (SSL_get_error(ssl_.get(), result) != SSL_ERROR_WANT_READ) {
        problem = TlsProblem(ssl_.get());
    }
    return false;
}

void SecureChannel::TellOpen() {
    CertificateHandle certificate;
    {
        const MutexLock lock(mutex_);
        certificate.reset(SSL_get1_peer_certificate(ssl_.get()));
    }
    const auto handlers = handlers_;
    if (certificate && handlers->onOpen) {
        handlers->onOpen(CommonName(*certificate), EndOfValidity(*certificate));
    }
}

// False when it has ended.
bool SecureChannel::TakeFrames() {
    std::string_view rest = received_;
    bool goesOn = state_ != State::ENDED;
    while (goesOn && rest.size() >= HEADER_BYTES) {
        const size_t length = Number(rest, 0);
        const auto stream = static_cast<uint8_t>(rest[2]);
        if (length == 0 || length > LARGE_BYTES || stream >= STREAMS) {
            Fail("not a frame");
            return false;
        }
        if (rest.size() < HEADER_BYTES + length) {
            break;
        }
        goesOn =
            TakeFrame(static_cast<Stream>(stream), static_cast<uint8_t>(rest[3]), rest.substr(HEADER_BYTES, length));
        rest.remove_prefix(HEADER_BYTES + length);
    }
    if (goesOn) {
        received_.erase(0, received_.size() - rest.size());
        if (received_.empty() && received_.capacity() > MAX_KEPT_BYTES) {
            received_.shrink_to_fit();
        }
    }
    return goesOn;
}

bool SecureChannel::TakeFrame(Stream stream, uint8_t flags, std::string_view content) {
    if (state_ == State::CLOSING) {
        return true;  // whatever it says
    }
    const auto handlers = handlers_;
    if ((flags & PART_OF_LARGE) == 0) {
        handlers->onMessage(stream, content);
        return state_ != State::ENDED;
    }
    std::string& parts = parts_.at(static_cast<size_t>(stream));
    const bool isWelcome = !handlers->takesLarge || handlers->takesLarge();
    if (!isWelcome || parts.size() + content.size() > MaxBytes(stream)) {
        Fail("a message is too large");
        return false;
    }
    parts.append(content);
    if ((flags & LAST_PART) != 0) {
        const std::string message = std::exchange(parts, {});
        handlers->onMessage(stream, message);
    }
    return state_ != State::ENDED;
}

bool SecureChannel::Send(Stream stream, std::string message) {
    const auto at = static_cast<size_t>(stream);
    const MutexLock lock(mutex_);
    if (state_ != State::OPEN || isBroken_ || message.empty() || message.size() > MaxBytes(stream) ||
        waiting_.at(at) + message.size() > MAX_WAITING) {
        return false;
    }
    waiting_.at(at) += message.size();
    if (!IsLarge(stream, message.size())) {
        waiting_.at(at) += WAITING_COST;
        small_.push_back(Frame(stream, 0, message));
    } else {
        large_.at(at).messages.push_back(std::move(message));
    }
    Pump();
    return true;
}

void SecureChannel::Pump() {
    while (SendCiphertext() && !isBroken_) {
        if (!EncryptSmall() && !EncryptLargeFrames()) {
            return;
        }
    }
}

// Whether all that there was has been sent.
bool SecureChannel::SendCiphertext() {
    size_t sent = 0;
    while (sent < ciphertext_.size()) {
        const ssize_t count =
            send(socket_.Get(), ciphertext_.data() + sent, ciphertext_.size() - sent, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count > 0) {
            sent += static_cast<size_t>(count);
        } else if (errno != EINTR) {
            break;
        }
    }
    const bool isDone = sent == ciphertext_.size();
    if (!isDone && errno != EAGAIN) {
        isBroken_ = true;
        FailSoon(std::generic_category().message(errno));
    }
    if (sent > 0) {
        ciphertext_.erase(0, sent);
        lastSent_ = Clock::now().time_since_epoch().count();
    }
    if (!isDone && !isBroken_) {
        WaitForRoom();
    }
    return isDone;
}

// As many as fit one record. Whether there was one.
bool SecureChannel::EncryptSmall() {
    std::string record;
    while (!small_.empty() && (record.empty() || record.size() + small_.front().size() <= LARGE_BYTES)) {
        const std::string& frame = small_.front();
        waiting_.at(static_cast<uint8_t>(frame[2])) -= frame.size() - HEADER_BYTES + WAITING_COST;
        record += frame;
        small_.pop_front();
    }
    return !record.empty() && Encrypt(record);
}

// Whether there was one, and room for it.
bool SecureChannel::EncryptLargeFrames() {
    const auto isWaiting = [](const Large& large) {
        return !large.messages.empty();
    };
    if (std::ranges::none_of(large_, isWaiting)) {
        return false;
    }
    pollfd room{socket_.Get(), POLLOUT, 0};
    if (poll(&room, 1, 0) == 0) {
        WaitForRoom();
        return false;
    }
    // On a network that loses much, and so is slow, a small message has less before it.
    const int most = hasAdapted_ ? 1 : FRAMES_AT_ONCE;
    for (int frames = 0; frames < most && std::ranges::any_of(large_, isWaiting); ++frames) {
        if (!EncryptFrameOf(NextLarge())) {
            return false;
        }
    }
    return true;
}

// Of the streams that have a large message, the one whose turn it is; BULK when it is the only one.
size_t SecureChannel::NextLarge() {
    for (size_t tried = 0; tried < STREAMS; ++tried) {
        const size_t stream = turn_++ % STREAMS;
        if (stream != static_cast<size_t>(Stream::BULK) && !large_.at(stream).messages.empty()) {
            return stream;
        }
    }
    return static_cast<size_t>(Stream::BULK);
}

bool SecureChannel::EncryptFrameOf(size_t stream) {
    Large& large = large_.at(stream);
    const std::string& message = large.messages.front();
    const std::string_view part = std::string_view(message).substr(large.sent, PART_BYTES);
    const bool isLast = large.sent + part.size() == message.size();
    const auto flags = static_cast<uint8_t>(PART_OF_LARGE | (isLast ? LAST_PART : 0));
    const bool isEncrypted = Encrypt(Frame(static_cast<Stream>(stream), flags, part));
    waiting_.at(stream) -= part.size();
    large.sent += part.size();
    if (isLast) {
        large.messages.pop_front();
        large.sent = 0;
    }
    return isEncrypted;
}

bool SecureChannel::Encrypt(std::string_view text) {
    ERR_clear_error();
    if (SSL_write(ssl_.get(), text.data(), static_cast<int>(text.size())) <= 0) {
        isBroken_ = true;
        FailSoon(TlsProblem(ssl_.get()));
        return false;
    }
    TakeCiphertext();
    return true;
}

void SecureChannel::TakeCiphertext() {
    BIO* const outgoing = SSL_get_wbio(ssl_.get());
    const size_t before = ciphertext_.size();
    const size_t count = BIO_ctrl_pending(outgoing);
    ciphertext_.resize(before + count);
    if (count > 0) {
        BIO_read(outgoing, ciphertext_.data() + before, static_cast<int>(count));
    }
}

bool SecureChannel::HasToSend() const {
    return !ciphertext_.empty() || !small_.empty() ||
        std::ranges::any_of(large_, [](const Large& large) { return !large.messages.empty(); });
}

void SecureChannel::WaitForRoom() {
    if (std::exchange(waitsForRoom_, true)) {
        return;
    }
    const auto wait = [self = weak_from_this()] {
        const auto channel = self.lock();
        if (channel && channel->source_) {
            channel->source_.SetEvents(POLLIN | POLLOUT);
        }
    };
    if (loop_.IsLoopThread()) {
        wait();
    } else {
        loop_.Post(wait);
    }
}

size_t SecureChannel::Waiting(Stream stream) const {
    const MutexLock lock(mutex_);
    return waiting_.at(static_cast<size_t>(stream));
}

bool SecureChannel::HasUnread() const {
    int count = 0;
    return socket_ && ioctl(socket_.Get(), FIONREAD, &count) == 0 && count > 0;
}

// BBR does not take loss for congestion; but it paces what it sends, which costs time where nothing is lost.
void SecureChannel::AdaptToLoss() {
    constexpr char CONGESTION[] = "bbr";
    tcp_info info{};
    socklen_t size = sizeof(info);
    if (!hasAdapted_ && socket_ && getsockopt(socket_.Get(), IPPROTO_TCP, TCP_INFO, &info, &size) == 0 &&
        info.tcpi_total_retrans >= LOSSY) {
        hasAdapted_ = true;
        setsockopt(socket_.Get(), IPPROTO_TCP, TCP_CONGESTION, CONGESTION, sizeof(CONGESTION) - 1);
    }
}

Endpoint SecureChannel::LocalEnd() const {
    return socket_ ? Endpoint::OfSocket(socket_.Get()) : Endpoint();
}

Endpoint SecureChannel::RemoteEnd() const {
    return socket_ ? Endpoint::OfPeer(socket_.Get()) : Endpoint();
}

// The failure of a send, which may be on any thread.
void SecureChannel::FailSoon(std::string reason) {
    loop_.Post([self = weak_from_this(), reason = std::move(reason)] {
        if (const auto channel = self.lock()) {
            channel->Fail(reason);
        }
    });
}

void SecureChannel::Fail(const std::string& reason) {
    const auto handlers = handlers_;
    const bool isFirst = state_ != State::ENDED;
    End();
    if (isFirst && handlers->onEnd) {
        handlers->onEnd(reason);
    }
}

void SecureChannel::End() {
    source_ = {};
    closing_ = {};
    handlers_ = std::make_shared<const Handlers>();
    const MutexLock lock(mutex_);
    state_ = State::ENDED;
    socket_.Reset();
    small_.clear();
    large_ = {};
    waiting_ = {};
}

void SecureChannel::EndWhenSent() {
    bool isOpen = false;
    {
        const MutexLock lock(mutex_);
        isOpen = state_ == State::OPEN && !isBroken_;
        if (isOpen) {
            state_ = State::CLOSING;
            Pump();
            // Whoever closes with something unread takes back what was sent last: the other end closes first.
            if (!HasToSend()) {
                shutdown(socket_.Get(), SHUT_WR);
            }
        }
    }
    if (!isOpen) {
        End();
        return;
    }
    handlers_ = std::make_shared<const Handlers>(Handlers{});
    closing_ = loop_.After(MAX_CLOSING, [self = shared_from_this()] { self->End(); });
}

}  // namespace ZYNE::Linux
