// The host's thread pool: as many threads as there are tasks under way, within a limit.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <thread>
#include <vector>

#include "linux/base/delayed_tasks.h"
#include "linux/base/mutex.h"
#include "linux/base/posted_task.h"
#include "platform/host/asyn_thread_pool.h"

namespace ZYNE::Linux {

// Any thread. A task gets the thread that became idle last, or a new one when all are busy, so a task that sleeps or
// blocks never keeps another from running. A thread that has been idle for a while ends. An exception that leaves a
// task is logged. A task runs for the peer that it was posted for (LogShareScope): tasks for peers get at most half of
// the threads, the rest are for the device itself.
class ThreadPool final : public CollaborationFwk::AsynThreadPool {
public:
    // Each idle close of an app connection holds a thread for five minutes, so the limit is far above the number of
    // cores.
    static constexpr size_t MAX_THREADS = 512;
    static constexpr std::chrono::seconds IDLE_TIME{10};

    explicit ThreadPool(size_t mostThreads = MAX_THREADS, std::chrono::milliseconds idleTime = IDLE_TIME);
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;
    // Stops.
    ~ThreadPool();

    // Refuses when as many threads as the limit allows are busy; for a peer, when half of them work for peers; when the
    // system gives no further thread; and once stopped.
    bool AddAsynTask(std::function<void()> task, int32_t param) override;

    // Runs `task` after `delay`, or later if there is no thread for it then. False once stopped; stopping also drops
    // the tasks that are not due yet.
    bool AddLaterTask(std::chrono::milliseconds delay, std::function<void()> task);

    // Runs `task` as soon as there is a thread for it. False once stopped.
    bool AddTaskSoon(const std::function<void()>& task);

    // What has tasks run by this pool as AddAsynTask does, for those who need no more of it. It must outlive the use.
    Post Poster();

    // Refuses new tasks from now on and waits, for `limit` at most, until those accepted have ended. Returns whether
    // they have. Not to be called by a task.
    bool Drain(std::chrono::milliseconds limit);

    // Refuses new tasks from now on and returns when those accepted have ended and every thread is joined. Not to be
    // called by a task.
    void Stop();

    size_t ThreadCount() const;

private:
    struct Worker {
        std::thread thread;
        std::condition_variable wake;  // it was given a task, or the pool stops
        PostedTask task;  // guarded by mutex_ of the pool; given while the worker waits, or before it starts
    };

    bool Give(PostedTask task) REQUIRES(mutex_);
    bool StartWorker(PostedTask task) REQUIRES(mutex_);
    void Close() REQUIRES(mutex_);
    void Run(std::list<Worker>::iterator self);
    bool WaitForTask(MutexLock& lock, Worker& self) REQUIRES(mutex_);
    std::list<Worker> Retire(std::list<Worker>::iterator self) REQUIRES(mutex_);
    static void Join(std::list<Worker>& ended);

    const size_t mostThreads_;
    const std::chrono::milliseconds idleTime_;

    mutable Mutex mutex_;
    std::condition_variable allGone_;  // workers_ has become empty
    bool stopped_ GUARDED_BY(mutex_) = false;
    size_t peerTasks_ GUARDED_BY(mutex_) = 0;  // tasks for peers under way
    std::list<Worker> workers_ GUARDED_BY(mutex_);
    std::vector<Worker*> idle_ GUARDED_BY(mutex_);  // the one that became idle last is at the back
    std::list<Worker> retired_ GUARDED_BY(mutex_);  // left workers_, not joined yet: at most one
    DelayedTasks later_{*this};                     // last: its thread uses the others
};

}  // namespace ZYNE::Linux
