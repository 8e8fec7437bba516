// The key of one direction of a channel's datagrams.
#pragma once

#include <array>
#include <cstddef>

namespace ZYNE::Linux {

inline constexpr size_t DATAGRAM_KEY_BYTES = 32;
using DatagramKey = std::array<unsigned char, DATAGRAM_KEY_BYTES>;

}  // namespace ZYNE::Linux
