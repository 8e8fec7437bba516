// Takes connections on the interfaces that the device uses, and on no other.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "linux/base/event_loop.h"
#include "linux/base/unique_fd.h"
#include "linux/network/discovery/network_interface.h"

namespace ZYNE::Linux {

// The loop's thread only. One listening socket for each interface, bound to it in the kernel (SO_BINDTODEVICE), for
// both families, all with one port.
class Listeners {
public:
    // `connection` does not block, and sends at once what is written (TCP_NODELAY). Called from the loop; it must
    // neither call Follow nor end the object.
    using Handler = std::function<void(UniqueFd connection, const Endpoint& from, const NetworkInterface& interface)>;

    // `port` 0: a free one is taken with the first interface and kept. `mayBeOther`: when `port` is taken on one of the
    // interfaces, a free one is used on all instead.
    Listeners(EventLoop& loop, uint16_t port, bool mayBeOther, Handler handler);
    Listeners(const Listeners&) = delete;
    Listeners& operator=(const Listeners&) = delete;
    ~Listeners();

    // Opens and closes sockets until they fit. An interface whose index has changed is another one. What cannot be
    // opened is logged, and tried again every five seconds.
    void Follow(const std::vector<NetworkInterface>& interfaces);

    // The port that is to be told to others: 0 while it is not known yet. It changes in Follow, and by itself only
    // while there is a problem.
    uint16_t Port() const;
    // Why connections are not taken on one of the interfaces, as one line; empty when they are.
    const std::string& Problem() const { return problem_; }

private:
    class Socket;

    struct Outcome {
        std::string problem;   // as Problem
        bool isTaken = false;  // the port, on one of the interfaces
    };

    Outcome OpenMissing(const std::vector<NetworkInterface>& interfaces);
    void Open(const NetworkInterface& interface);
    void SetProblem(std::string problem);

    EventLoop& loop_;
    const uint16_t wantedPort_;
    const bool mayBeOther_;
    const Handler handler_;
    uint16_t port_;  // 0: any
    std::vector<std::unique_ptr<Socket>> sockets_;
    std::string problem_;
    EventLoop::Source retry_;
};

}  // namespace ZYNE::Linux
