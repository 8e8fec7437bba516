// Who in this process is to be told of common events.
//
// Each subscriber is called on threads of the pool, one event at a time, in the order in which the events arrived. A
// subscriber that blocks holds up no other. An exception that leaves a subscriber is logged.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/base/thread_pool.h"
#include "platform/event/common_event_subscriber.h"

namespace ZYNE::Linux {

// Any thread. No operation calls a subscriber or waits for one.
class EventSubscribers {
public:
    // How many events may wait for one subscriber; it misses those beyond.
    static constexpr size_t MAX_WAITING = 1000;

    explicit EventSubscribers(ThreadPool& pool);
    EventSubscribers(const EventSubscribers&) = delete;
    EventSubscribers& operator=(const EventSubscribers&) = delete;
    ~EventSubscribers();

    void Add(std::shared_ptr<CommonEventSubscriber> subscriber);

    // After this no new call starts.
    void Clear();

    // Whether anybody wants `event` of some publisher.
    bool IsWanted(const std::string& event);

    // Tells the subscribers that accept `event` of user `uid`. When each of them has been told or has missed it, `told`
    // is called on a thread of the pool, or inside this call when there is no such subscriber; not after Clear. It must
    // not throw.
    void Tell(const std::string& event, int32_t uid, std::function<void()> told = {});

private:
    struct Event;
    struct Entry;
    class Delivery;

    ThreadPool& pool_;
    Mutex mutex_;
    std::vector<std::shared_ptr<Entry>> entries_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
