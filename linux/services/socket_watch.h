// Notices when a bus's socket has vanished: nobody new can reach the bus then, though connections that are there last.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <utility>

#include <sys/types.h>

#include "linux/base/event_loop.h"
#include "linux/base/unique_fd.h"

namespace ZYNE::Linux {

class SocketWatch {
public:
    // Changes to the directories above are noticed after this time at the latest.
    static constexpr std::chrono::seconds STEP{4};

    // `socket` must be there. It is checked whenever something happens to its directory, and at each `step`. `lost` is
    // called once, on the thread of `loop`, when it is gone or is another one.
    SocketWatch(EventLoop& loop, std::filesystem::path socket, std::function<void()> lost,
        std::chrono::milliseconds step = STEP);
    SocketWatch(const SocketWatch&) = delete;
    SocketWatch& operator=(const SocketWatch&) = delete;
    // Once this has returned, `lost` is not called. Not inside `lost`.
    ~SocketWatch();

private:
    using Identity = std::optional<std::pair<dev_t, ino_t>>;

    static Identity IdentityOf(const std::filesystem::path& file);
    void Begin(std::chrono::milliseconds step);
    void Look();

    EventLoop& loop_;
    const std::filesystem::path socket_;
    const std::function<void()> lost_;
    const Identity identity_;

    // The loop's thread alone.
    UniqueFd changes_;
    EventLoop::Source change_;
    EventLoop::Source timer_;
};

}  // namespace ZYNE::Linux
