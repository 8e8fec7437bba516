// Follows which network interfaces there are to use, and their addresses.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "linux/base/event_loop.h"
#include "linux/base/unique_fd.h"
#include "linux/network/discovery/network_interface.h"

namespace ZYNE::Linux {

// The loop's thread only. It listens to the kernel (rtnetlink); nothing is polled.
class InterfaceWatch {
public:
    // What ReadNetworkInterfaces gives; perhaps none.
    using Handler = std::function<void(const std::vector<NetworkInterface>& interfaces)>;

    // Interfaces with one of these names, whether or not they exist yet; NetworkInterface::AUTOMATIC stands for
    // several. `handler` is called from the loop, first soon after the construction, then whenever something has
    // changed; several changes in quick succession are told as one (after about 50 ms). It must not end the watch.
    // Throws std::runtime_error when the kernel cannot be listened to.
    InterfaceWatch(EventLoop& loop, std::vector<std::string> names, Handler handler);
    InterfaceWatch(const InterfaceWatch&) = delete;
    InterfaceWatch& operator=(const InterfaceWatch&) = delete;

private:
    void TakeNotices();
    void LookSoon(std::chrono::milliseconds wait);
    void Look();

    EventLoop& loop_;
    const std::vector<std::string> names_;
    const Handler handler_;
    std::optional<std::vector<NetworkInterface>> told_;
    UniqueFd notices_;  // a netlink socket
    EventLoop::Source arrival_;
    EventLoop::Source look_;  // set while a look is due
};

}  // namespace ZYNE::Linux
