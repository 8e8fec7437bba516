#include "host/peer_address.h"

#include <arpa/inet.h>
#include <charconv>
#include <stdexcept>
#include <string_view>

#include "linux/network/fabric_options.h"

namespace ZYNE::Host {
namespace {

using Linux::DEFAULT_PORT;
using Linux::PeerAddress;

constexpr size_t MAX_HOST_BYTES = 253;
constexpr std::string_view NAME_CHARACTERS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";

bool Has(int family, const std::string& address) {
    in6_addr binary{};
    return inet_pton(family, address.c_str(), &binary) == 1;
}

void CheckIpv6(const std::string& host) {
    const size_t percent = host.find('%');
    const bool hasScope = percent != std::string::npos;
    const std::string scope = hasScope ? host.substr(percent + 1) : "eth0";
    if (!Has(AF_INET6, host.substr(0, percent)) || scope.empty() ||
        scope.find_first_not_of(NAME_CHARACTERS) != std::string::npos) {
        throw std::invalid_argument("is no IPv6 address");
    }
}

void CheckName(const std::string& host) {
    if (host.empty()) {
        throw std::invalid_argument("names no host");
    }
    if (host.size() > MAX_HOST_BYTES || host.find_first_not_of(NAME_CHARACTERS) != std::string::npos) {
        throw std::invalid_argument("is no name of a host");
    }
    if (host.find_first_not_of("0123456789.") == std::string::npos && !Has(AF_INET, host)) {
        throw std::invalid_argument("is no IPv4 address");
    }
}

uint16_t ReadPort(std::string_view text) {
    uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size() || port == 0) {
        throw std::invalid_argument("has no port from 1 to 65535 behind its colon");
    }
    return port;
}

PeerAddress ReadBracketed(const std::string& text) {
    const size_t close = text.find(']');
    if (close == std::string::npos) {
        throw std::invalid_argument("has no closing bracket");
    }
    PeerAddress address{text.substr(1, close - 1), DEFAULT_PORT};
    CheckIpv6(address.host);
    const std::string_view rest = std::string_view(text).substr(close + 1);
    if (!rest.empty() && rest.front() != ':') {
        throw std::invalid_argument("has something other than a port behind its bracket");
    }
    if (!rest.empty()) {
        address.port = ReadPort(rest.substr(1));
    }
    return address;
}

}  // namespace

PeerAddress ReadPeerAddress(const std::string& text) {
    if (text.starts_with('[')) {
        return ReadBracketed(text);
    }
    const size_t colon = text.find(':');
    if (colon != text.rfind(':')) {
        CheckIpv6(text);
        return {text, DEFAULT_PORT};
    }
    PeerAddress address{text.substr(0, colon), DEFAULT_PORT};
    CheckName(address.host);
    if (colon != std::string::npos) {
        address.port = ReadPort(std::string_view(text).substr(colon + 1));
    }
    return address;
}

}  // namespace ZYNE::Host
