// Events for one receiver, on their way to it.
//
//     const auto mailbox = Mailbox<Event>::Make(pool, [receiver](Event& event) { receiver->Take(event); }, {1000});
//     mailbox->Post(event);   // any thread, at once
//     mailbox->Close();       // the receiver goes
//
// The receiver is called on threads of the pool, with one event at a time and in the order in which they were posted, so
// one that is slow or blocks holds up nobody else. How much may wait for it has a bound, and where the newest counts,
// events that wait are joined.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "linux/base/posted_task.h"
#include "linux/base/thread_pool.h"

namespace ZYNE::Linux {

// Any thread. Lives until what was taken has been handled, whoever lets go of it. No lock is held while the receiver is
// called.
template <typename Event>
class Mailbox final : public std::enable_shared_from_this<Mailbox<Event>> {
public:
    // Called under the mailbox's lock: quick, and calling nobody.
    struct Rules {
        size_t most = SIZE_MAX;                          // of what may wait
        std::function<size_t(const Event&)> weigh = {};  // what an event counts; 1 where this is empty
        // Whether `next` is part of what waits now; `waiting` may be empty. Not together with `weigh`.
        std::function<bool(std::deque<Event>& waiting, Event& next)> join = {};
    };

    // An exception of `receive` is logged.
    static std::shared_ptr<Mailbox> Make(ThreadPool& pool, std::function<void(Event&)> receive, Rules rules = {}) {
        return Make([&pool](const std::function<void()>& task) { return pool.AddTaskSoon(task); }, std::move(receive),
            std::move(rules));
    }

    // On the threads that `post` finds; it calls nothing back, and gives false when it does not take the task.
    using Poster = std::function<bool(std::function<void()> task)>;
    static std::shared_ptr<Mailbox> Make(Poster post, std::function<void(Event&)> receive, Rules rules = {}) {
        return std::shared_ptr<Mailbox>(new Mailbox(std::move(post), std::move(receive), std::move(rules)));
    }

    // Never calls the receiver inline. While the pool has no thread for it the event waits. False, and the event is lost,
    // when too much waits, when the mailbox is closed, and when the pool has stopped.
    bool Post(Event event) {
        const std::scoped_lock lock(mutex_);
        if (isClosed_) {
            return false;
        }
        if (rules_.join && rules_.join(waiting_, event)) {
            return true;
        }
        const size_t weight = Weigh(event);
        if (weight > rules_.most || Weight() > rules_.most - weight) {
            return false;
        }
        isPosted_ = isPosted_ || Schedule();
        if (isPosted_) {
            waiting_.push_back(std::move(event));
            weight_ += weight;
        }
        return isPosted_;
    }

    // The receiver is called no more, but for a call that runs; what waits is dropped. Never waits.
    void Close() {
        std::deque<Event> dropped;  // destroyed without the lock: with it may end what they hold
        const std::scoped_lock lock(mutex_);
        isClosed_ = true;
        dropped.swap(waiting_);
    }

    // The same, and returns when a call that runs has returned. Not for the receiver itself.
    void CloseAndWait() {
        Close();
        std::unique_lock lock(mutex_);
        handled_.wait(lock, [this] { return !isHandling_; });
    }

private:
    Mailbox(Poster post, std::function<void(Event&)> receive, Rules rules)
        : post_(std::move(post)), receive_(std::move(receive)), rules_(std::move(rules)) {}

    size_t Weigh(const Event& event) const { return rules_.weigh ? rules_.weigh(event) : 1; }
    size_t Weight() const { return rules_.weigh ? weight_ : waiting_.size(); }

    bool Schedule() {
        return post_([self = this->shared_from_this()] { self->Run(); });
    }

    void Run() {
        std::unique_lock lock(mutex_);
        isHandling_ = true;
        while (!waiting_.empty()) {
            Event event = std::move(waiting_.front());
            waiting_.pop_front();
            weight_ -= Weigh(event);
            lock.unlock();
            RunTask([this, event = std::move(event)]() mutable { receive_(event); });
            lock.lock();
        }
        isPosted_ = false;
        isHandling_ = false;
        handled_.notify_all();
    }

    const Poster post_;
    const std::function<void(Event&)> receive_;
    const Rules rules_;
    std::mutex mutex_;  // held while `post_` is asked
    std::condition_variable handled_;
    std::deque<Event> waiting_;  // guarded by mutex_
    size_t weight_ = 0;          // guarded by mutex_; of `waiting_`
    bool isPosted_ = false;      // guarded by mutex_; Run is posted or runs
    bool isHandling_ = false;    // guarded by mutex_; Run runs
    bool isClosed_ = false;      // guarded by mutex_
};

// Tasks that run one after another, each for whom it was posted.
using SerialTasks = Mailbox<PostedTask>;

inline std::shared_ptr<SerialTasks> MakeSerialTasks(ThreadPool& pool) {
    return SerialTasks::Make(pool, [](PostedTask& task) { task.Run(); });
}

}  // namespace ZYNE::Linux
