// Text in the form that the bus accepts.
#pragma once

#include <cstddef>
#include <string>

namespace ZYNE::Host {

// The bus takes messages of 16 MiB and disconnects whoever sends a larger one: no answer is longer than this.
inline constexpr size_t MAX_REPLY_BYTES = size_t{15} << 20U;

// Others may send any bytes, but the bus takes only UTF-8 without zero bytes and disconnects whoever sends anything
// else.
std::string BusText(const std::string& text);

// A text, and whether it is complete.
struct BusExtract {
    std::string text;
    bool whole;
};

// The beginning of `text`, at most `most` bytes.
BusExtract BusTextOfAtMost(const std::string& text, size_t most);

}  // namespace ZYNE::Host
