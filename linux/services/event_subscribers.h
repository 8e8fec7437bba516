// Who in this process is to be told of common events.
//
// Each subscriber is called on threads of the pool, one event at a time, in the order in which the events arrived; one
// that blocks holds up no other. An exception that leaves a subscriber is logged.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "linux/base/thread_pool.h"
#include "platform/event/common_event_subscriber.h"

namespace ZYNE::Linux {

// Any thread. No operation calls a subscriber or waits for one.
class EventSubscribers {
public:
    // What one subscriber has not been told yet; events beyond that are lost to it.
    static constexpr size_t MOST_WAITING = 1000;

    explicit EventSubscribers(ThreadPool& pool);
    EventSubscribers(const EventSubscribers&) = delete;
    EventSubscribers& operator=(const EventSubscribers&) = delete;
    ~EventSubscribers();

    void Add(std::shared_ptr<CommonEventSubscriber> subscriber);

    // From now on nobody is called anew.
    void Clear();

    // Whether anybody wants `event` of some publisher.
    bool IsWanted(const std::string& event);

    // Tells those who accept `event`, published by a process of user `uid`. When each of them has been told or has lost
    // it, and Clear has not come before that, `told` is called: on a thread of the pool, or in here when there is
    // nobody. It throws nothing.
    void Tell(const std::string& event, int32_t uid, std::function<void()> told = {});

private:
    struct Event;
    struct Entry;
    class Delivery;

    ThreadPool& pool_;
    std::mutex mutex_;
    std::vector<std::shared_ptr<Entry>> entries_;  // guarded by mutex_
};

}  // namespace ZYNE::Linux
