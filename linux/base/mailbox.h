// Events for one receiver, on their way to it.
//
//     const auto mailbox = Mailbox<Event>::Make(pool, [receiver](Event& event) { receiver->Take(event); }, {1000});
//     mailbox->Post(event);   // any thread, at once
//     mailbox->Close();       // the receiver goes
//
// The receiver is called on threads of the pool, with one event at a time, in the order in which they were posted. If
// it is slow or blocks, nobody else is held up. How much may wait is limited, and where only the newest counts, waiting
// events are joined.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <utility>

#include "linux/base/mutex.h"
#include "linux/base/posted_task.h"
#include "linux/base/thread_pool.h"

namespace ZYNE::Linux {

// Any thread. Lives until the events that it took have been handled, even when nobody refers to it any more. No lock is
// held while the receiver is called.
template <typename Event>
class Mailbox final : public std::enable_shared_from_this<Mailbox<Event>> {
public:
    // Called under the mailbox's lock: must be quick and must not call out.
    struct Rules {
        size_t most = SIZE_MAX;                          // how much may wait
        std::function<size_t(const Event&)> weigh = {};  // how much an event counts; 1 if empty
        // Whether `next` was merged into `waiting`, which may be empty. Not together with `weigh`.
        std::function<bool(std::deque<Event>& waiting, Event& next)> join = {};
    };

    // An exception of `receive` is logged.
    static std::shared_ptr<Mailbox> Make(ThreadPool& pool, std::function<void(Event&)> receive, Rules rules = {}) {
        return Make([&pool](const std::function<void()>& task) { return pool.AddTaskSoon(task); }, std::move(receive),
            std::move(rules));
    }

    // On the threads that `post` finds; it is called under the mailbox's lock, and calls nothing back.
    static std::shared_ptr<Mailbox> Make(Linux::Post post, std::function<void(Event&)> receive, Rules rules = {}) {
        return std::shared_ptr<Mailbox>(new Mailbox(std::move(post), std::move(receive), std::move(rules)));
    }

    // Never calls the receiver inline. The event waits until the pool has a thread for it. False, and the event is
    // lost, when too much waits already, when the mailbox is closed, and when the pool has stopped.
    bool Post(Event event) {
        const MutexLock lock(mutex_);
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

    // The receiver is not called again, though a call may still run; what waits is dropped. Does not wait.
    void Close() {
        std::deque<Event> dropped;  // destroyed without the lock: what they hold may end with them
        const MutexLock lock(mutex_);
        isClosed_ = true;
        dropped.swap(waiting_);
    }

    // The same, and waits for a call that still runs. Not inside the receiver.
    void CloseAndWait() {
        Close();
        MutexLock lock(mutex_);
        handled_.wait(lock, [this]() REQUIRES(mutex_) { return !isHandling_; });
    }

private:
    Mailbox(Linux::Post post, std::function<void(Event&)> receive, Rules rules)
        : post_(std::move(post)), receive_(std::move(receive)), rules_(std::move(rules)) {}

    size_t Weigh(const Event& event) const { return rules_.weigh ? rules_.weigh(event) : 1; }
    size_t Weight() const REQUIRES(mutex_) { return rules_.weigh ? weight_ : waiting_.size(); }

    bool Schedule() {
        return post_([self = this->shared_from_this()] { self->Run(); });
    }

    void Run() {
        MutexLock lock(mutex_);
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

    const Linux::Post post_;
    const std::function<void(Event&)> receive_;
    const Rules rules_;
    Mutex mutex_;  // held while `post_` is asked
    std::condition_variable handled_;
    std::deque<Event> waiting_ GUARDED_BY(mutex_);
    size_t weight_ GUARDED_BY(mutex_) = 0;        // of `waiting_`
    bool isPosted_ GUARDED_BY(mutex_) = false;    // Run is posted or runs
    bool isHandling_ GUARDED_BY(mutex_) = false;  // Run runs
    bool isClosed_ GUARDED_BY(mutex_) = false;
};

// Tasks that run one after another, each for the peer that it was posted for.
using SerialTasks = Mailbox<PostedTask>;

inline std::shared_ptr<SerialTasks> MakeSerialTasks(ThreadPool& pool) {
    return SerialTasks::Make(pool, [](PostedTask& task) { task.Run(); });
}

}  // namespace ZYNE::Linux
