#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <future>
#include <latch>
#include <stdexcept>
#include <thread>

#include "linux/base/call_queue.h"
#include "linux/base/delayed_tasks.h"
#include "linux/base/hang_watch.h"
#include "linux/base/mailbox.h"
#include "linux/base/steady_time.h"
#include "linux/base/thread_pool.h"
#include "linux/device/process_guard.h"
#include "linux/device/system_root.h"
#include "linux/log/log_share.h"
#include "linux/services/restart_pauses.h"
#include "tests/port/port_test.h"

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

TEST(Pool, RefusesWhatIsTooMuchOrTooLateOutlivesATaskThatThrowsAndEndsIdleThreads) {
    std::latch release(1);
    std::atomic<bool> ran{false};
    ThreadPool pool(1, 1ms);
    const auto fault = [&] {
        release.wait();
        throw std::runtime_error("a fault");
    };
    EXPECT_TRUE(pool.AddAsynTask(fault, PARAM));
    EXPECT_FALSE(pool.AddAsynTask([] { FAIL() << "a refused task ran"; }, PARAM));
    release.count_down();
    while (!pool.AddAsynTask([&] { ran = true; }, PARAM)) {
        std::this_thread::yield();
    }
    while (pool.ThreadCount() > 0) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(ran);
    pool.Stop();
    EXPECT_FALSE(pool.AddAsynTask([] { FAIL() << "a refused task ran"; }, PARAM));
}

TEST(Pool, KeepsHalfOfItsThreadsForTheDeviceAndRunsTasksForWhomTheyWerePosted) {
    const auto share = std::make_shared<LogShare>("peer");
    std::promise<std::shared_ptr<LogShare>> seen;
    std::latch release(1);
    ThreadPool pool(4);
    const auto postAnother = [&] {
        EXPECT_TRUE(pool.AddAsynTask([&] { seen.set_value(LogShareScope::Current()), release.wait(); }, PARAM));
        release.wait();
    };
    {
        const LogShareScope scope(share);
        EXPECT_TRUE(pool.AddAsynTask(postAnother, PARAM));
        EXPECT_EQ(seen.get_future().get(), share);
        EXPECT_FALSE(pool.AddAsynTask([] { FAIL() << "a refused task ran"; }, PARAM));
    }
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(pool.AddAsynTask([&] { EXPECT_EQ(LogShareScope::Current(), nullptr), release.wait(); }, PARAM));
    }
    release.count_down();
    const LogShareScope scope(share);
    while (!pool.AddAsynTask([] {}, PARAM)) {
        std::this_thread::yield();
    }
}

class Calls : public ::testing::Test {
protected:
    // A call of `client` to `target`.
    bool Enter(const std::string& target, const std::string& client, size_t bytes = 1) {
        CallQueue::Call call{target, client, bytes, [this, target, client] { journal += target + client + " "; }, {}};
        const bool isTaken = queue.Enter(call);
        EXPECT_EQ(isTaken, !call.run);
        return isTaken;
    }
    // Runs those whose turn it is now; what ran.
    std::string Run() {
        journal.clear();
        while (const auto call = queue.Next()) {
            call->run();
        }
        return journal;
    }
    std::string LeaveAndRun(const std::string& target) {
        queue.Leave(target);
        return Run();
    }

    CallQueue queue{{.atOnce = 3, .ofOneTarget = 2, .waiting = 5, .waitingBytes = 100}};
    std::string journal;
};

TEST_F(Calls, WaitForTheirTargetAndForAllOfThemAndTakeTurnsByTargetAndClient) {
    EXPECT_TRUE(Enter("A", "1") && Enter("A", "1") && Enter("A", "1") && Enter("A", "1") && Enter("A", "2"));
    EXPECT_EQ(Run(), "A1 A2 ");
    EXPECT_TRUE(Enter("B", "1") && Enter("C", "1"));
    EXPECT_EQ(Run(), "B1 ");
    EXPECT_EQ(LeaveAndRun("A"), "C1 ");
    EXPECT_EQ(LeaveAndRun("B"), "A1 ");
    EXPECT_TRUE(Enter("A", "2"));
    EXPECT_EQ(LeaveAndRun("C"), "");
    EXPECT_EQ(LeaveAndRun("A"), "A1 ");
    EXPECT_EQ(LeaveAndRun("A"), "A2 ");
    EXPECT_EQ(LeaveAndRun("A"), "A1 ");
    EXPECT_EQ(LeaveAndRun("A") + LeaveAndRun("A"), "");
    EXPECT_TRUE(Enter("A", "3"));
    EXPECT_EQ(Run(), "A3 ");
}

TEST_F(Calls, AreRefusedWhenTooManyWaitUnlessTheyNeedNotAndWhenClosed) {
    EXPECT_TRUE(Enter("A", "1", 40) && Enter("A", "1", 1));
    EXPECT_EQ(Run(), "A1 A1 ");
    EXPECT_TRUE(Enter("A", "1", 60) && Enter("A", "1", 40));
    EXPECT_FALSE(Enter("A", "2"));
    EXPECT_TRUE(Enter("B", "2", 1000));
    EXPECT_FALSE(Enter("C", "2"));
    EXPECT_EQ(Run(), "B2 ");
    EXPECT_FALSE(Enter("B", "2"));
    EXPECT_EQ(LeaveAndRun("A"), "A1 ");
    EXPECT_TRUE(Enter("A", "2", 0) && Enter("A", "2", 0) && Enter("A", "2", 0) && Enter("A", "2", 0));
    EXPECT_FALSE(Enter("A", "2", 0));
    EXPECT_EQ(queue.Close().size(), 5U);
    EXPECT_EQ(LeaveAndRun("A") + LeaveAndRun("A") + LeaveAndRun("B"), "");
    EXPECT_FALSE(Enter("A", "1"));
}

TEST(TasksInARow, RunForWhomTheyWerePostedWhoeverPostedTheFirst) {
    const auto share = std::make_shared<LogShare>("peer");
    ThreadPool pool;
    const auto tasks = MakeSerialTasks(pool);
    std::latch posted(1);
    std::promise<std::shared_ptr<LogShare>> seen;
    tasks->Post(PostedTask([&] { posted.wait(); }));
    {
        const LogShareScope scope(share);
        tasks->Post(PostedTask([&] { seen.set_value(LogShareScope::Current()); }));
    }
    posted.count_down();
    EXPECT_EQ(seen.get_future().get(), share);
}

TEST(AMailbox, KeepsOrderAndBoundJoinsWhatWaitsAndIsClosedFromAnywhere) {
    ThreadPool pool(1);  // one thread: a second one finds none until the first lets go
    Told<int> told;
    std::latch entered(1);
    std::latch release(1);
    const auto blocked = Mailbox<int>::Make(pool,
        [&](int event) {
            told.Add(event);
            entered.count_down();
            release.wait();
        },
        {.most = 6, .weigh = [](int event) {
             return static_cast<size_t>(event);
         }});
    EXPECT_FALSE(blocked->Post(7));
    EXPECT_TRUE(blocked->Post(1));
    entered.wait();
    EXPECT_TRUE(blocked->Post(2) && blocked->Post(4));
    EXPECT_FALSE(blocked->Post(1));
    const auto joined = Mailbox<int>::Make(
        pool, [&](int event) { told.Add(event); }, {.most = 2, .join = [](std::deque<int>& waiting, int next) {
                                                        const bool fits = !waiting.empty() && waiting.back() >= 10;
                                                        if (fits) {
                                                            waiting.back() += next;
                                                        }
                                                        return fits;
                                                    }});
    EXPECT_TRUE(joined->Post(10) && joined->Post(20));
    const auto closed = Mailbox<int>::Make(pool, [&](int) { FAIL() << "a closed mailbox"; });
    EXPECT_TRUE(closed->Post(1));
    closed->Close();
    EXPECT_FALSE(closed->Post(1));
    release.count_down();
    EXPECT_THAT(told.Until(30), ElementsAre(1, 2, 4, 30));
    blocked->CloseAndWait();
}

TEST(ALoop, HangsWhenItDoesNotComeRoundUnlessTheWholeProcessWasStopped) {
    const HangWatch::Clock::time_point start;
    HangWatch watch(2s, 10s, start);
    for (const auto& [at, lastRound, hangs] : std::vector<std::tuple<std::chrono::seconds, std::chrono::seconds, bool>>{
             {2s, 1s, false}, {30s, 1s, false}, {34s, 1s, false}, {38s, 1s, false}, {40s, 1s, true}, {42s, 41s, false},
             {45s, 41s, false}, {48s, 41s, false}, {51s, 41s, true}}) {
        EXPECT_EQ(watch.Look(start + lastRound, start + at), hangs) << at.count();
    }
}

// A process that ignores the signal, when it gets one.
[[noreturn]] void RunGuarded(const ProcessGuard::Options& options, bool isTold) {
    const ProcessGuard guard(options);
    if (isTold) {
        kill(getpid(), SIGTERM);
    }
    guard.WaitForStop();
    for (;;) {
        pause();
    }
}

TEST(AProcess, IsEndedWhenItDoesNotStopAndWhenItsLoopHangs) {
    const ProcessGuard::Options stuck{.lastRound = HangWatch::Clock::now, .stopTime = 20ms};
    EXPECT_EXIT(RunGuarded(stuck, true), ::testing::ExitedWithCode(1), "did not end in time");
    const ProcessGuard::Options hanging{
        .lastRound = [] { return HangWatch::Clock::time_point(); }, .patience = 20ms, .step = 5ms};
    EXPECT_EXIT(RunGuarded(hanging, false), ::testing::KilledBySignal(SIGABRT), "has not come round");
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

// A FIFO would be waited for.
TEST_F(PortTest, TakesForSystemFilesRegularOnesOrThoseNotThereYet) {
    SystemRoot root;
    root.Set(directory);
    Write(directory / "file", "text");
    fs::create_symlink("file", directory / "link");
    EXPECT_EQ(mkfifo((directory / "fifo").c_str(), S_IRUSR | S_IWUSR), 0);
    for (const char* path : {"/file", "/link", "/missing"}) {
        EXPECT_EQ(root.Locate(path), directory.string() + path);
    }
    EXPECT_EQ(root.Locate("/fifo"), "");
    EXPECT_EQ(root.Locate("/"), "");
}

TEST(LaterTasks, RunWhenTheyAreDueAndNotAfterTheStop) {
    Told<int> ran;
    const auto held = std::make_shared<int>(0);
    ThreadPool pool;
    DelayedTasks tasks(pool);
    EXPECT_TRUE(tasks.Post(1h, [held] { FAIL() << "a dropped task ran"; }));
    EXPECT_TRUE(tasks.Post(100ms, [&] { ran.Add(2); }));
    EXPECT_TRUE(tasks.Post(0ms, [&] { ran.Add(1); }));
    EXPECT_THAT(ran.Until(2), ElementsAre(1, 2));
    tasks.Stop();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_FALSE(tasks.Post(0ms, [] { FAIL() << "a refused task ran"; }));
}

TEST(AServiceThatDies, IsStartedAgainAtOnceThenLaterAndLaterUntilItLivesForAMinute) {
    RestartPauses pauses;
    for (const auto last : {59s, 60s}) {
        for (const auto pause : {0s, 1s, 3s, 10s}) {
            EXPECT_EQ(pauses.TakeDeath(0s), pause);
            EXPECT_FALSE(pauses.IsSteady());
        }
        EXPECT_EQ(pauses.TakeDeath(0s), 30s);
        EXPECT_TRUE(pauses.HasBecomeSteady());
        for (int more = 0; more < 3; ++more) {
            EXPECT_EQ(pauses.TakeDeath(59s), 30s);
            EXPECT_TRUE(pauses.IsSteady());
            EXPECT_FALSE(pauses.HasBecomeSteady());
        }
        EXPECT_EQ(pauses.TakeDeath(last), last == 60s ? 0s : 30s);
        pauses = RestartPauses();
    }
}

}  // namespace
}  // namespace ZYNE::Linux
