// The streams of a link. Each carries messages in order; a large message of one does not hold up those of another.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ZYNE::Linux {

enum class Stream : uint8_t {
    LINK = 0,     // the link itself: who is there, whether it stays
    CONTROL = 1,  // requests and answers
    PROFILE = 2,  // the device profile
    CHANNEL = 3,  // channels of apps, but for the next
    BULK = 4      // their large content: everything else goes first
};

inline constexpr size_t STREAMS = 5;

// What one message of a stream may have, in bytes. A peer that sends more loses its link.
constexpr size_t MaxBytes(Stream stream) {
    constexpr std::array<size_t, STREAMS> MAX_BYTES{size_t{256} << 10U, (size_t{5} << 20U) + 4096,
        (size_t{4} << 20U) + 4096, size_t{16} << 10U, (size_t{64} << 10U) + 64};
    return MAX_BYTES.at(static_cast<size_t>(stream));
}

}  // namespace ZYNE::Linux
