// Which peer a thread is working for, if any.
#pragma once

#include <memory>
#include <utility>

namespace ZYNE::Linux {

class LogShare;

// While it lives, the calling thread works for a peer: what it logs comes out of the peer's share, and the tasks that
// it posts to the pool, and those that they post, are the peer's too. Null stands for the device itself. The scopes of
// a thread nest.
class LogShareScope {
public:
    explicit LogShareScope(std::shared_ptr<LogShare> share) : share_(std::move(share)), outer_(current_) {
        current_ = &share_;
    }
    LogShareScope(const LogShareScope&) = delete;
    LogShareScope& operator=(const LogShareScope&) = delete;
    ~LogShareScope() { current_ = outer_; }

    // Of the calling thread; null when it works for the device itself.
    static std::shared_ptr<LogShare> Current() { return current_ != nullptr ? *current_ : nullptr; }

private:
    using Share = std::shared_ptr<LogShare>;

    // A pointer, so that threads may log while they are torn down.
    static constinit inline thread_local const Share* current_ = nullptr;

    const Share share_;
    const Share* const outer_;
};

}  // namespace ZYNE::Linux
