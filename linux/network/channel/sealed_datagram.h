// The datagrams of one direction of a channel: encrypted and authenticated with a key that only its two ends have.
//
// A datagram is its number, in eight bytes, then the sealed bytes and the tag of AES-256-GCM. The number is the nonce:
// no key sees one twice. The channel's number at the receiver is authenticated as well.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <openssl/evp.h>

#include "linux/network/channel/datagram_key.h"

namespace ZYNE::Linux {

namespace SealedDatagram {
inline constexpr size_t NUMBER_BYTES = 8;
inline constexpr size_t TAG_BYTES = 16;
// Of what is sealed: with the headers it fits a packet of any usual network.
inline constexpr size_t MAX_BYTES = 1200;
inline constexpr size_t MAX_SEALED_BYTES = NUMBER_BYTES + MAX_BYTES + TAG_BYTES;
// The last number. A channel that has used it ends.
inline constexpr uint64_t LAST_NUMBER = (uint64_t{1} << 48U) - 1;
}  // namespace SealedDatagram

struct CipherContextFree {
    void operator()(evp_cipher_ctx_st* context) const { EVP_CIPHER_CTX_free(context); }
};
using CipherContext = std::unique_ptr<evp_cipher_ctx_st, CipherContextFree>;

// One thread. Throws std::runtime_error when libcrypto does.
class DatagramSealer {
public:
    // `channel` is the receiver's number.
    DatagramSealer(const DatagramKey& key, uint32_t channel);

    // The datagram number `number`, each greater than the one before; valid until the next one.
    std::string_view Seal(uint64_t number, std::string_view bytes);

private:
    CipherContext context_;
    const uint32_t channel_;
    std::string datagram_;
};

// One thread. Takes datagrams in rising order alone: one that has been overtaken would be too late, and so none is taken
// twice.
class DatagramOpener {
public:
    // `channel` is this side's number.
    DatagramOpener(const DatagramKey& key, uint32_t channel);

    struct Opened {
        uint64_t number;
        std::string_view bytes;  // valid until the next one
    };
    // Nothing when it was not sealed by the other end for this channel, or comes again or late.
    std::optional<Opened> Open(std::string_view datagram);

private:
    CipherContext context_;
    const uint32_t channel_;
    uint64_t last_ = 0;
    std::string bytes_;
};

}  // namespace ZYNE::Linux
