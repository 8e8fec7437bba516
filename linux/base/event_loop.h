// A thread that waits for everything of one kind, such as the network or the bus: sockets, timers, and what other
// threads post.
//
//     EventLoop loop("collabd-net");
//     loop.Run([&] { tick = loop.Every(200ms, [] { ... }); });   // on the loop's thread; returns when done
//     loop.Post([] { ... });                                     // later, on the loop's thread
//
// Nothing that it calls may block: while one callback runs, no other does.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "linux/base/mutex.h"

struct sd_event;
struct sd_event_source;

namespace ZYNE::Linux {

class EventLoop {
public:
    using Clock = std::chrono::steady_clock;
    // Gets what poll(2) reports: POLLIN, POLLOUT, POLLHUP ...
    using IoHandler = std::function<void(uint32_t events)>;
    using Handler = std::function<void()>;

    // Watches a source until this object is destroyed. Used, moved and destroyed on the loop's thread, or when the loop
    // has stopped. May be destroyed inside its own callback.
    class Source {
    public:
        Source() = default;
        Source(Source&& other) noexcept = default;
        Source& operator=(Source&& other) noexcept;
        ~Source() { End(); }

        explicit operator bool() const { return state_ != nullptr; }
        // For a source made by Watch: what is waited for from now on.
        void SetEvents(uint32_t events) const;

    private:
        friend class EventLoop;
        struct State;
        explicit Source(std::shared_ptr<State> state) : state_(std::move(state)) {}
        void End();
        std::shared_ptr<State> state_;
    };

    // Starts the thread, named `name` (at most 15 characters). Throws std::runtime_error.
    explicit EventLoop(const std::string& name);
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;
    // Stops.
    ~EventLoop();

    // Any thread. Runs `handler` on the loop's thread, after those posted before. Dropped when the loop has stopped.
    void Post(Handler handler);

    // Any thread but the loop's. Returns true when `handler` has run, or false at once when the loop has stopped.
    bool Run(const Handler& handler);

    // Ends the thread when the current callback has returned; what is still posted is dropped. Not on the loop's
    // thread. Does nothing the second time.
    void Stop();

    bool IsLoopThread() const { return std::this_thread::get_id() == thread_.get_id(); }

    // The loop's thread only. The descriptor stays the caller's and outlives the source.
    Source Watch(int descriptor, uint32_t events, IoHandler handler);
    // After runs once, Every repeats. The loop may be late by a tenth of the time, so that it wakes up less often.
    Source After(std::chrono::milliseconds time, Handler handler);
    Source Every(std::chrono::milliseconds time, Handler handler);

    // Any thread. When the loop last went round; it does at least every two seconds unless a callback hangs.
    Clock::time_point LastRound() const;

private:
    void Work();
    void TakePosted();

    struct EventDeleter {
        void operator()(sd_event* event) const;
    };
    const std::string name_;
    std::unique_ptr<sd_event, EventDeleter> event_;
    int wakeUp_ = -1;  // an eventfd
    std::atomic<Clock::rep> lastRound_;
    Mutex mutex_;
    std::vector<Handler> posted_ GUARDED_BY(mutex_);
    bool isStopped_ GUARDED_BY(mutex_) = false;
    std::thread thread_;  // last: it uses the others
};

}  // namespace ZYNE::Linux
