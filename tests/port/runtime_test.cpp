#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <stdexcept>
#include <thread>

#include "linux/runtime/steady_time.h"
#include "linux/runtime/thread_pool.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr int32_t PARAM = 2;

TEST(Pool, RunsEveryTaskThoughAllTheOthersBlock) {
    constexpr int TASKS = 60;
    std::latch allRun(TASKS);
    ThreadPool pool;
    for (int i = 0; i < TASKS; ++i) {
        EXPECT_TRUE(pool.AddAsynTask([&] { allRun.arrive_and_wait(); }, PARAM));
    }
    allRun.wait();
}

TEST(Pool, RefusesWhatIsOverItsLimitAndWhatComesAfterItsStop) {
    std::latch release(1);
    ThreadPool pool(1);
    EXPECT_TRUE(pool.AddAsynTask([&] { release.wait(); }, PARAM));
    EXPECT_FALSE(pool.AddAsynTask([] { FAIL() << "a refused task ran"; }, PARAM));
    release.count_down();
    pool.Stop();
    EXPECT_FALSE(pool.AddAsynTask([] { FAIL() << "a refused task ran"; }, PARAM));
}

TEST(Pool, OutlivesATaskThatThrowsAndEndsIdleThreads) {
    std::atomic<bool> ran{false};
    ThreadPool pool(1, 1ms);
    EXPECT_TRUE(pool.AddAsynTask([] { throw std::runtime_error("a fault"); }, PARAM));
    while (!pool.AddAsynTask([&] { ran = true; }, PARAM)) {
        std::this_thread::yield();
    }
    while (pool.ThreadCount() > 0) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(ran);
}

TEST(TimeThatRunsOut, WakesSleepersAndWaitersAndLiesBehindEveryDeadline) {
    SteadyTime time;
    const TimeSource::TimePoint deadline = time.Now() + 100h;
    std::latch started(2);
    std::thread sleeper([&] {
        started.count_down();
        time.SleepUntil(deadline);
        EXPECT_GE(time.Now(), deadline);
    });
    std::thread waiter([&] {
        std::mutex mutex;
        std::condition_variable condition;
        std::unique_lock lock(mutex);
        started.count_down();
        while (time.Now() < deadline) {
            time.WaitUntil(condition, lock, deadline);
        }
    });
    started.wait();
    time.RunOut();
    sleeper.join();
    waiter.join();
    time.SleepFor(100h);
    EXPECT_GE(time.Now(), deadline + 100h);
}

}  // namespace
}  // namespace ZYNE::Linux
