// The host's pool: keeps tasks until the test runs them.
#pragma once

#include <deque>
#include <functional>
#include <thread>

#include "platform/host/asyn_thread_pool.h"
#include "tests/support/journal.h"

namespace ZYNE::Testing {

// One thread.
class FakePool final : public CollaborationFwk::AsynThreadPool {
public:
    explicit FakePool(Journal& journal) : journal_(journal) {}

    bool AddAsynTask(std::function<void()> task, int32_t param) override {
        journal_.Call("AddAsynTask(" + std::to_string(param) + ")");
        if (!refuses && runsDuringPost) {
            std::thread(std::move(task)).join();
        } else if (!refuses) {
            tasks_.push_back(std::move(task));
        }
        return !refuses;
    }

    // Runs the oldest task.
    void RunNext() {
        const std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        task();
    }
    // Runs all tasks, also those that come up meanwhile.
    void RunAll() {
        while (!tasks_.empty()) {
            RunNext();
        }
    }
    size_t Size() const { return tasks_.size(); }

    bool refuses = false;
    bool runsDuringPost = false;  // a pool's thread may be faster than the one that posts

private:
    Journal& journal_;
    std::deque<std::function<void()>> tasks_;
};

}  // namespace ZYNE::Testing
