// What hostile peers are made of: connections that say what they like, and one that passes on what others say.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "linux/network/link/link.pb.h"
#include "linux/network/link/links.h"

namespace ZYNE::Testing {

// A connection of TCP to a port of this machine. Blocks, at a read for two seconds at most; leaves nothing behind when
// closed.
Linux::UniqueFd ConnectAndBlock(uint16_t port);
// False when the other end has closed.
bool SendAll(const Linux::UniqueFd& socket, std::string_view bytes);
// Whether the other end closes within two seconds. Reads what it says until then.
bool IsClosed(const Linux::UniqueFd& socket);

// A field of a message, whose numbers are in the .proto files, as it is sent. A message is its fields in a row.
std::string Field(unsigned number, uint64_t value);
std::string Field(unsigned number, const std::string& content);
// Adds to a message a field that nobody knows, and everyone has to pass over, so that it has `size` bytes.
std::string Padded(std::string message, size_t size);

// Some bytes of `segment` are others.
std::string Mutated(std::string segment);

// A device that has proved who it is, and then says what it likes on its connection.
class RawPeer {
public:
    // Throws std::runtime_error when the other end does not want it.
    RawPeer(const Linux::LinkIdentity& who, uint16_t port);

    // One frame, whose header says that it has `length` bytes. False when the connection has ended.
    bool SendFrame(uint8_t stream, uint8_t flags, const std::string& content, size_t length);
    bool SendFrame(uint8_t stream, uint8_t flags, const std::string& content) {
        return SendFrame(stream, flags, content, content.size());
    }
    // What a device says first, with a run of its own; `more` are further fields of it.
    static std::string Hello(const std::string& more = "");
    // A message in parts, of as many bytes, or its beginning. False when the connection ends over it.
    bool SendInParts(Linux::Stream stream, size_t bytes, bool isWhole);

    // What the other end says next on the stream of the link; nothing when it closes.
    std::optional<Linux::Wire::LinkMessage> Next();
    // Says Hello, and is ready when told to begin. Its udid is the greater one.
    bool Join();

private:
    bool Read(std::string& bytes, size_t count);

    Linux::UniqueFd socket_;
    Linux::TlsContext::Ssl ssl_;
};

// Stands between whoever connects to it, one at a time, and a device.
class Relay {
public:
    explicit Relay(uint16_t to);

    uint16_t Port() const { return port_; }
    // From now on every so many segments, of either direction, are mutated.
    void MutateOneIn(unsigned segments) { oneIn_ = segments; }
    size_t CountMutated() const { return mutated_; }
    // What whoever connected last has sent, in order.
    std::vector<std::string> Captured() const;

private:
    void Run(const std::stop_token& stop);
    void Carry(const std::stop_token& stop, const Linux::UniqueFd& opener);
    bool CarrySegment(const Linux::UniqueFd& from, const Linux::UniqueFd& to, bool isOpeners);

    const uint16_t to_;
    Linux::UniqueFd listener_;
    uint16_t port_ = 0;
    std::atomic<unsigned> oneIn_{0};
    std::atomic<size_t> mutated_{0};
    mutable std::mutex mutex_;
    std::vector<std::string> captured_;  // guarded by mutex_
    std::jthread thread_;
};

}  // namespace ZYNE::Testing
