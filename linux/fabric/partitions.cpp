#include "linux/fabric/partitions.h"

#include <string_view>

#include "linux/account/policy.h"

namespace ZYNE::Linux {
namespace {

// A name's wildcard characters must not reach other accounts.
std::string Hexadecimal(const std::string& text) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    std::string digits;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        digits += DIGITS[byte >> 4U];
        digits += DIGITS[byte & 0x0fU];
    }
    return digits;
}

}  // namespace

Partitions::Partitions(const std::string& openAccountName) : prefix_("open." + Hexadecimal(openAccountName) + ".") {}

std::string Partitions::Of(const std::string& udid) const {
    return prefix_ + PartitionOf(udid);
}

std::string Partitions::OfAll() const {
    return prefix_ + PartitionOfAll();
}

std::string Partitions::To(const std::string& udid, const std::string& networkId) const {
    return prefix_ + PartitionTo(udid, networkId);
}

}  // namespace ZYNE::Linux
