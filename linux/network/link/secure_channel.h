// One encrypted connection between two devices, with streams of messages on it.
//
// Before TLS, whoever opened it proves to know the account's meeting key: the other end sends a random challenge, and
// gets the proof, made of the challenge and of the first bytes of TLS, in front of them. Without it the other end says
// nothing more. So a stranger sees no certificate, whether it connects itself or relays what others send.
//
// A message is cut into frames of at most 16 KiB. Small messages go before the next frame of a large one, and of large
// ones of several streams each gets its turn; messages of one stream of one size class keep their order. On the
// stream BULK all messages are large, and go when no other stream has one.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "linux/base/event_loop.h"
#include "linux/base/mutex.h"
#include "linux/base/unique_fd.h"
#include "linux/network/link/endpoint.h"
#include "linux/network/link/meeting_key.h"
#include "linux/network/link/stream.h"
#include "linux/network/link/tls_context.h"

namespace ZYNE::Linux {

// Made and ended on the loop's thread; Send is for any thread, and writes on it where the socket has room.
class SecureChannel : public std::enable_shared_from_this<SecureChannel> {
public:
    using Clock = EventLoop::Clock;

    // A message of more than this is large.
    static constexpr size_t LARGE_BYTES = size_t{16} << 10U;
    // As many bytes may wait to be sent on one stream; then Send refuses.
    static constexpr size_t MAX_WAITING = size_t{9} << 20U;

    enum class Role { OPENER, ACCEPTOR };

    // On the loop's thread, with no lock held. A view is valid during the call.
    struct Handlers {
        std::function<void()> onKnown;  // the acceptor's: the other end knows the meeting key
        // The peer has proved who it is: its certificate's common name, and when the certificate ends.
        std::function<void(const std::string& udid, std::time_t validUntil)> onOpen;
        std::function<void(Stream stream, std::string_view message)> onMessage;
        // Once, unless End was called first. The reason is one line.
        std::function<void(const std::string& reason)> onEnd;
        // Whether large messages are taken as yet; without it they are.
        std::function<bool()> takesLarge{};
        // Less waits than before, now that the socket has room again.
        std::function<void()> onRoom{};
    };

    // `socket` is connected, or connecting, and does not block. `handlers` are destroyed when it ends.
    static std::shared_ptr<SecureChannel> Start(
        EventLoop& loop, const TlsContext& tls, const MeetingKey& key, Role role, UniqueFd socket, Handlers handlers);

    // Any thread. Takes the message or refuses it: the channel is not open, has ended, or holds too much of that
    // stream. True does not mean that it arrived.
    bool Send(Stream stream, std::string message);

    // Ends it without a word; what the socket has taken may still arrive. No handler is called any more.
    void End();
    // Sends what waits, for a moment, then ends it.
    void EndWhenSent();

    // Any thread: when something came, or went, last.
    Clock::time_point LastReceived() const { return Clock::time_point(Clock::duration(lastReceived_.load())); }
    Clock::time_point LastSent() const { return Clock::time_point(Clock::duration(lastSent_.load())); }
    // Any thread. Bytes that wait on the stream.
    size_t Waiting(Stream stream) const;
    // The loop's thread. Whether something has arrived that has not been read yet.
    bool HasUnread() const;
    // The loop's thread; now and then. Where segments are lost, it changes to what copes with that, if the kernel has
    // it and lets us.
    void AdaptToLoss();
    // Whether they are.
    bool IsLossy() const { return hasAdapted_; }
    // The loop's thread. Whether anything has come at all.
    bool HasHeard() const { return state_ != State::CONNECTING && (hasHeard_ || HasUnread()); }
    // The loop's thread. This device's end; nothing sensible once it has ended.
    Endpoint LocalEnd() const;
    // Likewise the other end.
    Endpoint RemoteEnd() const;

    // Use Start.
    SecureChannel(EventLoop& loop, TlsContext::Ssl ssl, const MeetingKey& key, Role role, UniqueFd socket,
        std::shared_ptr<const Handlers> handlers);
    SecureChannel(const SecureChannel&) = delete;
    SecureChannel& operator=(const SecureChannel&) = delete;
    ~SecureChannel() = default;

private:
    enum class State {
        CONNECTING,   // the opener's socket
        AT_THE_GATE,  // the proof of knowing the meeting key is under way
        HANDSHAKE,
        OPEN,
        CLOSING,  // what waits is still sent
        ENDED
    };
    struct Large {
        std::deque<std::string> messages;
        size_t sent = 0;  // of the first
    };

    void Watch();
    void OnEvents(uint32_t events);
    void OnRoom();
    void OnConnected();
    bool Receive();
    bool TakeAtTheGate(std::string_view& bytes);
    bool TakeChallenge(std::string_view& bytes);
    bool TakeProof(std::string_view& bytes);
    void Decrypt(std::string_view bytes);
    bool DoHandshake(std::string& problem) REQUIRES(mutex_);
    void TellOpen();
    bool TakeFrames();
    bool TakeFrame(Stream stream, uint8_t flags, std::string_view content);
    void Fail(const std::string& reason);
    void FailSoon(std::string reason);

    void Pump() REQUIRES(mutex_);
    bool SendCiphertext() REQUIRES(mutex_);
    bool EncryptSmall() REQUIRES(mutex_);
    bool EncryptLargeFrames() REQUIRES(mutex_);
    size_t NextLarge() REQUIRES(mutex_);
    bool EncryptFrameOf(size_t stream) REQUIRES(mutex_);
    bool Encrypt(std::string_view text) REQUIRES(mutex_);
    void TakeCiphertext() REQUIRES(mutex_);
    bool HasToSend() const REQUIRES(mutex_);
    void WaitForRoom() REQUIRES(mutex_);

    EventLoop& loop_;
    const MeetingKey key_;
    const Role role_;

    // The loop's thread alone.
    std::shared_ptr<const Handlers> handlers_;
    EventLoop::Source source_;
    EventLoop::Source closing_;
    std::string gate_;                        // what came before TLS
    std::string challenge_;                   // the acceptor's own
    std::string received_;                    // decrypted, not a whole frame yet
    std::array<std::string, STREAMS> parts_;  // of a large message

    bool hasHeard_ = false;

    std::atomic<bool> hasAdapted_{false};  // to a network that loses much
    std::atomic<Clock::rep> lastReceived_{0};
    std::atomic<Clock::rep> lastSent_{0};

    mutable Mutex mutex_;  // a leaf; held while the socket takes bytes, which it does at once or not
    State state_;          // written on the loop's thread under mutex_
    UniqueFd socket_;      // changed on the loop's thread under mutex_
    TlsContext::Ssl ssl_ GUARDED_BY(mutex_);
    std::deque<std::string> small_ GUARDED_BY(mutex_);  // frames
    std::array<Large, STREAMS> large_ GUARDED_BY(mutex_);
    std::array<size_t, STREAMS> waiting_ GUARDED_BY(mutex_){};  // bytes of messages that are not encrypted yet
    size_t turn_ GUARDED_BY(mutex_) = 0;                        // whose large message comes next
    std::string ciphertext_ GUARDED_BY(mutex_);                 // not sent yet
    bool waitsForRoom_ GUARDED_BY(mutex_) = false;              // the loop waits until the socket takes more
    bool isBroken_ GUARDED_BY(mutex_) = false;
};

}  // namespace ZYNE::Linux
