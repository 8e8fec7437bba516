// One monitor and the events that it is to be told.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "linux/desktop/input_event.h"

namespace ZYNE::Linux {

// Any thread. Calls on threads of the pool, one after the other; an exception of the monitor is logged.
class MonitorQueue : public std::enable_shared_from_this<MonitorQueue> {
public:
    // How many motions wait at most. One more is added to the last of them.
    static constexpr size_t MOST_MOTIONS = 256;
    // How many events wait at most. For one more the oldest is dropped: the monitor has not returned for thousands of
    // keys.
    static constexpr size_t MOST_EVENTS = 4096;

    using Call = std::function<void(const InputEvent& event)>;

    explicit MonitorQueue(Call call) : call_(std::move(call)) {}

    // Never calls inline.
    void Push(const InputEvent& event);

    // No call begins after it returns. Never waits for one.
    void Close();

private:
    bool JoinLast(const InputEvent& event);  // under mutex_
    void Run();

    const Call call_;
    std::mutex mutex_;               // held while the pool is asked, which does not call back
    std::deque<InputEvent> events_;  // guarded by mutex_
    bool isRunning_ = false;         // guarded by mutex_; Run is posted or runs
    bool isClosed_ = false;          // guarded by mutex_
};

}  // namespace ZYNE::Linux
