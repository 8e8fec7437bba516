// The thread that tells listeners of changes.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace ZYNE::Linux {

// Any thread, unless said otherwise.
class Teller {
public:
    // `tellOne` tells of one thing that waits; false when there is none. It is called on the thread alone.
    explicit Teller(std::function<bool()> tellOne) : tellOne_(std::move(tellOne)) {}
    Teller(const Teller&) = delete;
    Teller& operator=(const Teller&) = delete;
    ~Teller() { Stop(); }

    // Start and Stop are for one thread. Stop waits for what is being told, and until nothing waits: it is not for the
    // thread itself.
    void Start();
    void Stop();

    // Something waits to be told. Does not block.
    void Wake();

private:
    void Run();

    const std::function<bool()> tellOne_;

    std::mutex mutex_;  // not held while something is told
    std::condition_variable wake_;
    bool isStopping_ = false;  // guarded by mutex_
    bool isWaiting_ = false;   // guarded by mutex_; something may wait to be told
    std::thread thread_;
};

}  // namespace ZYNE::Linux
