#include "linux/network/link/endpoint.h"

#include <arpa/inet.h>
#include <net/if.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace ZYNE::Linux {
namespace {

// An interface's number or name. 0 when there is none.
uint32_t ScopeOf(const std::string& text) {
    uint32_t index = 0;
    const char* end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, index);
    return error == std::errc() && stopped == end ? index : if_nametoindex(text.c_str());
}

std::string ScopeText(uint32_t index) {
    std::array<char, IF_NAMESIZE> name{};
    return if_indextoname(index, name.data()) == nullptr ? std::to_string(index) : name.data();
}

template <auto ask>
Endpoint Ask(int descriptor) {
    sockaddr_storage address{};
    socklen_t size = sizeof(address);
    auto* any = reinterpret_cast<sockaddr*>(&address);
    if (ask(descriptor, any, &size) != 0) {
        throw std::runtime_error(
            "a socket does not say its address: " + std::error_code(errno, std::system_category()).message());
    }
    return {any, size};
}

}  // namespace

Endpoint::Endpoint(const sockaddr* address, socklen_t size) {
    if (address->sa_family == AF_INET && size >= sizeof(sockaddr_in)) {
        std::memcpy(&address_.v4, address, sizeof(sockaddr_in));
        std::memset(&address_.v4.sin_zero, 0, sizeof(address_.v4.sin_zero));
        return;
    }
    if (address->sa_family != AF_INET6 || size < sizeof(sockaddr_in6)) {
        throw std::runtime_error("an address that is neither IPv4 nor IPv6");
    }
    sockaddr_in6 given{};
    std::memcpy(&given, address, sizeof(given));
    if (IN6_IS_ADDR_V4MAPPED(&given.sin6_addr)) {
        address_.v4.sin_family = AF_INET;
        address_.v4.sin_port = given.sin6_port;
        std::memcpy(&address_.v4.sin_addr, &given.sin6_addr.s6_addr[12], sizeof(in_addr));
        return;
    }
    address_.v6.sin6_family = AF_INET6;
    address_.v6.sin6_port = given.sin6_port;
    address_.v6.sin6_addr = given.sin6_addr;
    SetScope(given.sin6_scope_id);
}

std::optional<Endpoint> Endpoint::FromText(const std::string& address, uint16_t port) {
    sockaddr_in v4{};
    if (inet_pton(AF_INET, address.c_str(), &v4.sin_addr) == 1) {
        v4.sin_family = AF_INET;
        v4.sin_port = htons(port);
        return Endpoint(reinterpret_cast<const sockaddr*>(&v4), sizeof(v4));
    }
    const size_t percent = address.find('%');
    sockaddr_in6 v6{};
    if (inet_pton(AF_INET6, address.substr(0, percent).c_str(), &v6.sin6_addr) != 1) {
        return std::nullopt;
    }
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    Endpoint made(reinterpret_cast<const sockaddr*>(&v6), sizeof(v6));
    if (percent != std::string::npos) {
        const uint32_t scope = ScopeOf(address.substr(percent + 1));
        if (scope == 0 || !made.IsLinkLocal()) {
            return std::nullopt;
        }
        made.SetScope(scope);
    }
    return made;
}

Endpoint Endpoint::OfSocket(int descriptor) {
    return Ask<getsockname>(descriptor);
}

Endpoint Endpoint::OfPeer(int descriptor) {
    return Ask<getpeername>(descriptor);
}

socklen_t Endpoint::Size() const {
    switch (Family()) {
    case AF_INET:
        return sizeof(sockaddr_in);
    case AF_INET6:
        return sizeof(sockaddr_in6);
    default:
        return 0;
    }
}

bool Endpoint::IsLinkLocal() const {
    return IsIpv6() && IN6_IS_ADDR_LINKLOCAL(&address_.v6.sin6_addr);
}

uint16_t Endpoint::Port() const {
    return ntohs(IsIpv6() ? address_.v6.sin6_port : address_.v4.sin_port);
}

void Endpoint::SetPort(uint16_t port) {
    (IsIpv6() ? address_.v6.sin6_port : address_.v4.sin_port) = htons(port);
}

void Endpoint::SetScope(uint32_t interface) {
    if (IsLinkLocal()) {
        address_.v6.sin6_scope_id = interface;
    }
}

std::string Endpoint::Text() const {
    std::string address = AddressText();
    if (address.empty()) {
        return address;
    }
    return (IsIpv6() ? "[" + address + "]" : address) + ":" + std::to_string(Port());
}

std::string Endpoint::AddressText() const {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const void* address =
        IsIpv6() ? static_cast<const void*>(&address_.v6.sin6_addr) : static_cast<const void*>(&address_.v4.sin_addr);
    if (inet_ntop(Family(), address, text.data(), text.size()) == nullptr) {
        return {};
    }
    const bool hasScope = IsIpv6() && address_.v6.sin6_scope_id != 0;
    return hasScope ? std::string(text.data()) + "%" + ScopeText(address_.v6.sin6_scope_id) : text.data();
}

bool Endpoint::HasSameAddress(const Endpoint& other) const {
    if (Family() != other.Family()) {
        return false;
    }
    if (IsIpv6()) {
        return IN6_ARE_ADDR_EQUAL(&address_.v6.sin6_addr, &other.address_.v6.sin6_addr) &&
            address_.v6.sin6_scope_id == other.address_.v6.sin6_scope_id;
    }
    return address_.v4.sin_addr.s_addr == other.address_.v4.sin_addr.s_addr;
}

bool Endpoint::operator==(const Endpoint& other) const {
    return HasSameAddress(other) && Port() == other.Port();
}

}  // namespace ZYNE::Linux
