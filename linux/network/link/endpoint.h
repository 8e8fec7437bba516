// An address with a port, IPv4 or IPv6.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <netinet/in.h>
#include <sys/socket.h>

namespace ZYNE::Linux {

// A value. An IPv4 address that comes mapped into IPv6 is kept as IPv4. Only a link-local address has a scope.
class Endpoint {
public:
    Endpoint() = default;
    // Throws std::runtime_error when the family is neither, or `size` is too small for it.
    Endpoint(const sockaddr* address, socklen_t size);

    // "192.0.2.1", "fe80::1%3" (the scope as a number or an interface's name); no host names. Nothing when it is not an
    // address.
    static std::optional<Endpoint> FromText(const std::string& address, uint16_t port);
    // Of a socket's own end and of its other end. Throws std::runtime_error.
    static Endpoint OfSocket(int descriptor);
    static Endpoint OfPeer(int descriptor);

    const sockaddr* Get() const { return &address_.any; }
    socklen_t Size() const;
    int Family() const { return address_.any.sa_family; }  // AF_UNSPEC of one made without arguments
    bool IsIpv6() const { return Family() == AF_INET6; }
    bool IsLinkLocal() const;
    uint16_t Port() const;
    void SetPort(uint16_t port);
    // Which interface a link-local IPv6 address is of. Nothing changes for other addresses.
    void SetScope(uint32_t interface);

    // "192.0.2.1:4321", "[fe80::1%eth0]:4321"; empty of one made without arguments.
    std::string Text() const;
    // Without the port.
    std::string AddressText() const;

    bool HasSameAddress(const Endpoint& other) const;
    bool operator==(const Endpoint& other) const;

private:
    union Address {
        sockaddr_in6 v6;  // the largest
        sockaddr_in v4;
        sockaddr any;
    };
    Address address_{};
};

}  // namespace ZYNE::Linux
