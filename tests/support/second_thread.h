// Whether a call of another thread gets through or waits: which locks are held.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <future>
#include <utility>

namespace ZYNE::Testing {

// A call that waits goes on when it can: what the test calls next need not wait for it.
class SecondThread {
public:
    // Whether the call ends while this thread waits for it.
    bool Ends(std::function<void()> call) {
        return Start(std::move(call)).wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    }

    // Whether the call still waits after a while. One that must wait always does: only a fault is missed when the while
    // is too short.
    bool Waits(std::function<void()> call) {
        return Start(std::move(call)).wait_for(std::chrono::milliseconds(50)) != std::future_status::ready;
    }

    // Until all calls have ended.
    void Join() { calls_.clear(); }

private:
    std::future<void>& Start(std::function<void()> call) {
        return calls_.emplace_back(std::async(std::launch::async, std::move(call)));
    }

    std::deque<std::future<void>> calls_;
};

}  // namespace ZYNE::Testing
