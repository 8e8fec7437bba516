// Notices that a bus's socket has vanished: nobody new can reach the bus then, though those who are connected still do.
#pragma once

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <thread>

namespace ZYNE::Linux {

class SocketWatch {
public:
    static constexpr std::chrono::seconds STEP{1};

    // Looks at `socket`, which is there, at each `step`. `lost` is called once, on the watch's thread, when it is there no
    // more or is another one.
    SocketWatch(std::filesystem::path socket, std::function<void()> lost, std::chrono::milliseconds step = STEP);
    SocketWatch(const SocketWatch&) = delete;
    SocketWatch& operator=(const SocketWatch&) = delete;
    // Returns when `lost` is not called any more. Not in `lost`.
    ~SocketWatch();

private:
    bool WaitUntil(const std::function<bool()>& hasVanished, std::chrono::milliseconds step);

    std::mutex mutex_;
    std::condition_variable wake_;
    bool isStopping_ = false;  // guarded by mutex_
    std::thread thread_;
};

}  // namespace ZYNE::Linux
