// The key that the devices of an account share for meeting each other, and for nothing else.
//
// It keeps strangers from learning anything: what is sealed with it looks like noise to them, and a device speaks TLS,
// in which it shows its certificate, only with whoever has proved to know the key. It proves no device's identity, and
// whoever knows it learns no more than which addresses devices have.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ZYNE::Linux {

// Immutable; any thread.
class MeetingKey {
public:
    static constexpr size_t BYTES = 32;
    static constexpr size_t PROOF_BYTES = 32;
    static constexpr size_t SEAL_BYTES = 12 + 16;  // what sealing adds: a nonce and a tag

    // `secret` has BYTES bytes. Throws std::runtime_error.
    explicit MeetingKey(std::string_view secret);

    // Open mode: a key that whoever knows the account's name can make.
    static MeetingKey OfName(const std::string& accountName);

    // Authenticated encryption under a random nonce. Seal throws std::runtime_error when there are no random bytes.
    // Open: nothing when it was not sealed with this key.
    std::string Seal(std::string_view text) const;
    std::optional<std::string> Open(std::string_view sealed) const;

    // The proof of knowing the key, for these bytes: PROOF_BYTES of them. Compared in constant time.
    std::string Prove(std::string_view challenge, std::string_view text) const;
    bool IsProof(std::string_view proof, std::string_view challenge, std::string_view text) const;

private:
    using Key = std::array<unsigned char, 32>;
    Key sealing_{};
    Key proving_{};
};

}  // namespace ZYNE::Linux
