// Whether a call of another thread gets through or waits: which locks are held.
#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <utility>

namespace ZYNE::Testing {

// For one call at a time.
class SecondThread {
public:
    // Whether the call ends while this thread waits for it.
    bool Ends(std::function<void()> call) {
        Start(std::move(call));
        return running_.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    }

    // Whether the call still waits after a while; it goes on. One that must wait always does: only a fault is missed when
    // the while is too short.
    bool Waits(std::function<void()> call) {
        Start(std::move(call));
        return running_.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready;
    }

    void Join() { running_.get(); }

private:
    void Start(std::function<void()> call) { running_ = std::async(std::launch::async, std::move(call)); }

    std::future<void> running_;
};

}  // namespace ZYNE::Testing
