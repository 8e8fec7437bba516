// A lock that clang knows: what it guards is stated in the code, and scripts/check_locks holds it.
//
//     int32_t Next() REQUIRES(mutex_);                           // its callers hold mutex_
//     Mutex mutex_;
//     std::condition_variable changed_;
//     int32_t last_ GUARDED_BY(mutex_) = 0;                      // touched by who holds mutex_
//     ...
//     MutexLock lock(mutex_);                                    // to the end of the block, or to lock.unlock()
//     changed_.wait(lock, [this]() REQUIRES(mutex_) { return last_ > 0; });
//
// Seen function by function: a lambda that runs under the lock says REQUIRES itself, and who unlocks has made the
// MutexLock itself. What a pointer or a reference leads to is not seen, nor is a constructor or a destructor.
#pragma once

#include <mutex>

#ifdef __clang__
#define CFWK_LOCK_RULE(rule) __attribute__((rule))
#else
#define CFWK_LOCK_RULE(rule)
#endif

#define CAPABILITY(kind) CFWK_LOCK_RULE(capability(kind))
#define SCOPED_CAPABILITY CFWK_LOCK_RULE(scoped_lockable)
#define GUARDED_BY(mutex) CFWK_LOCK_RULE(guarded_by(mutex))
#define REQUIRES(...) CFWK_LOCK_RULE(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) CFWK_LOCK_RULE(acquire_capability(__VA_ARGS__))
#define RELEASE(...) CFWK_LOCK_RULE(release_capability(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS CFWK_LOCK_RULE(no_thread_safety_analysis)

namespace ZYNE::Linux {

// Locked by a MutexLock alone.
class CAPABILITY("mutex") Mutex {
public:
    // Whether nobody held it just now.
    bool IsFree() { return std::unique_lock(mutex_, std::try_to_lock).owns_lock(); }

private:
    friend class MutexLock;
    std::mutex mutex_;
};

// Holds `mutex` while it lives. One thread. Stands for the std::unique_lock in it where something waits.
class SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : lock_(mutex.mutex_) {}
    ~MutexLock() RELEASE() = default;
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void lock() ACQUIRE() { lock_.lock(); }
    void unlock() RELEASE() { lock_.unlock(); }
    operator std::unique_lock<std::mutex>&() { return lock_; }

private:
    std::unique_lock<std::mutex> lock_;
};

}  // namespace ZYNE::Linux
