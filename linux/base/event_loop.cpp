#include "linux/base/event_loop.h"

#include <cerrno>
#include <future>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <systemd/sd-event.h>
#include <unistd.h>

#include "linux/base/guarded_call.h"

namespace ZYNE::Linux {
namespace {

// How long the loop waits when nothing happens.
constexpr uint64_t MAX_WAIT_US = 2000000;

void Must(int result, const char* what) {
    if (result < 0) {
        throw std::runtime_error(std::string(what) + ": " + std::generic_category().message(-result));
    }
}

uint64_t Microseconds(std::chrono::milliseconds time) {
    return static_cast<uint64_t>(std::chrono::microseconds(time).count());
}

}  // namespace

struct EventLoop::Source::State : std::enable_shared_from_this<State> {
    State() = default;
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() { End(); }

    void End() { source = sd_event_source_disable_unref(source); }

    static int OnIo(sd_event_source* /*source*/, int /*fd*/, uint32_t events, void* self) {
        const auto state = static_cast<State*>(self)->shared_from_this();
        GuardedCall("an event", [&] { state->onIo(events); });
        return 0;
    }
    static int OnTime(sd_event_source* source, uint64_t /*due*/, void* self) {
        const auto state = static_cast<State*>(self)->shared_from_this();
        if (state->period != 0) {
            sd_event_source_set_time_relative(source, state->period);
            sd_event_source_set_enabled(source, SD_EVENT_ONESHOT);
        }
        GuardedCall("a timer", [&] { state->onTime(); });
        return 0;
    }

    sd_event_source* source = nullptr;
    IoHandler onIo;
    Handler onTime;
    uint64_t period = 0;  // microseconds; 0 for once
};

EventLoop::Source& EventLoop::Source::operator=(Source&& other) noexcept {
    if (this != &other) {
        End();
        state_ = std::move(other.state_);
    }
    return *this;
}

// Stops watching at once, even inside its own callback, which keeps the state alive: the descriptor may be closed next
// and its number reused.
void EventLoop::Source::End() {
    if (state_) {
        state_->End();
        state_.reset();
    }
}

void EventLoop::Source::SetEvents(uint32_t events) const {
    sd_event_source_set_io_events(state_->source, events);
}

void EventLoop::EventDeleter::operator()(sd_event* event) const {
    sd_event_unref(event);
}

EventLoop::EventLoop(const std::string& name) : name_(name), lastRound_(Clock::now().time_since_epoch().count()) {
    sd_event* event = nullptr;
    Must(sd_event_new(&event), "no event loop");
    event_.reset(event);
    wakeUp_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    Must(wakeUp_ < 0 ? -errno : 0, "no event loop");
    thread_ = std::thread([this] { Work(); });
    pthread_setname_np(thread_.native_handle(), name_.c_str());
}

EventLoop::~EventLoop() {
    Stop();
    close(wakeUp_);
}

void EventLoop::Work() {
    const Source wakeUp = Watch(wakeUp_, POLLIN, [this](uint32_t) { TakePosted(); });
    for (;;) {
        lastRound_ = Clock::now().time_since_epoch().count();
        {
            const MutexLock lock(mutex_);
            if (isStopped_) {
                return;
            }
        }
        sd_event_run(event_.get(), MAX_WAIT_US);
    }
}

void EventLoop::TakePosted() {
    eventfd_t count = 0;
    eventfd_read(wakeUp_, &count);
    std::vector<Handler> posted;
    {
        const MutexLock lock(mutex_);
        posted.swap(posted_);
    }
    for (Handler& handler : posted) {
        GuardedCall("a task", handler);
        handler = nullptr;
    }
}

void EventLoop::Post(Handler handler) {
    {
        const MutexLock lock(mutex_);
        if (isStopped_) {
            return;
        }
        posted_.push_back(std::move(handler));
    }
    eventfd_write(wakeUp_, 1);
}

bool EventLoop::Run(const Handler& handler) {
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> future = done->get_future();
    // If the task is dropped, so is its promise: that tells that the loop has stopped.
    Post([&handler, promise = std::move(done)] {
        GuardedCall("a task", handler);
        promise->set_value();
    });
    try {
        future.get();
        return true;
    } catch (const std::future_error&) {
        return false;
    }
}

void EventLoop::Stop() {
    std::vector<Handler> dropped;
    {
        const MutexLock lock(mutex_);
        isStopped_ = true;
        dropped.swap(posted_);
    }
    dropped.clear();
    eventfd_write(wakeUp_, 1);
    if (thread_.joinable()) {
        thread_.join();
    }
}

EventLoop::Source EventLoop::Watch(int descriptor, uint32_t events, IoHandler handler) {
    auto state = std::make_shared<Source::State>();
    state->onIo = std::move(handler);
    Must(sd_event_add_io(event_.get(), &state->source, descriptor, events, &Source::State::OnIo, state.get()),
        "a descriptor cannot be watched");
    return Source(std::move(state));
}

EventLoop::Source EventLoop::After(std::chrono::milliseconds time, Handler handler) {
    auto state = std::make_shared<Source::State>();
    state->onTime = std::move(handler);
    Must(sd_event_add_time_relative(event_.get(), &state->source, CLOCK_MONOTONIC, Microseconds(time),
             Microseconds(time) / 10 + 1, &Source::State::OnTime, state.get()),
        "no timer");
    return Source(std::move(state));
}

EventLoop::Source EventLoop::Every(std::chrono::milliseconds time, Handler handler) {
    Source source = After(time, std::move(handler));
    source.state_->period = Microseconds(time);
    return source;
}

EventLoop::Clock::time_point EventLoop::LastRound() const {
    return Clock::time_point(Clock::duration(lastRound_.load()));
}

}  // namespace ZYNE::Linux
