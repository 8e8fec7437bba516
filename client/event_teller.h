// Tells a program of the events of crossing, one after another, so that whoever brings them need not wait for it.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <stop_token>
#include <thread>

#include "client/crossing_events.h"
#include "linux/base/mutex.h"

namespace ZYNE::Client {

// Any thread.
class EventTeller {
public:
    static constexpr size_t MOST_WAITING = 1024;  // events

    // `told` is called without a lock, on a thread of this object. An exception is printed on standard error.
    explicit EventTeller(std::function<void(const CrossingEvent&)> told);
    EventTeller(const EventTeller&) = delete;
    EventTeller& operator=(const EventTeller&) = delete;
    ~EventTeller();

    // False when so many wait that this one finds no room. Before Start, events wait.
    bool Add(CrossingEvent event);

    // Each once, by the owner. Stop returns when `told` has; what still waits is told to nobody.
    void Start();
    void Stop();

private:
    void TellAll(const std::stop_token& stop);
    std::optional<CrossingEvent> TakeNext(const std::stop_token& stop);
    void Tell(const CrossingEvent& event) const noexcept;

    const std::function<void(const CrossingEvent&)> told_;
    Linux::Mutex mutex_;
    std::condition_variable_any added_;
    std::deque<CrossingEvent> waiting_ GUARDED_BY(mutex_);
    std::jthread thread_;  // the owner's
};

}  // namespace ZYNE::Client
