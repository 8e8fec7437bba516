// Running locks, seen from a desktop that the test plays on a bus of its own; and the damping of the pointer.
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <thread>

#include "linux/bus/bus_address.h"
#include "linux/bus/bus_poller.h"
#include "linux/desktop/linux_interaction_manager.h"
#include "linux/desktop/power_manager.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr int32_t MINUTE = 60'000;  // milliseconds
constexpr char SCREEN_SAVER[] = "org.freedesktop.ScreenSaver";
constexpr char LOGIN_MANAGER[] = "org.freedesktop.login1";

// Passes when the test says so.
class TestTime final : public TimeSource {
public:
    TimePoint Now() override { return TimePoint(now_.load()); }
    void SleepFor(Clock::duration) override { FAIL(); }
    void SleepUntil(TimePoint) override { FAIL(); }
    bool WaitUntil(
        std::condition_variable& condition, std::unique_lock<std::mutex>& lock, TimePoint deadline) override {
        condition.wait_for(lock, 1ms);
        return Now() < deadline;
    }
    void Pass(Clock::duration duration) { now_ = now_.load() + duration; }

private:
    std::atomic<Clock::duration> now_{1h};
};

// Whoever answers Inhibit and UnInhibit on a bus.
class Desktop {
public:
    Desktop(const std::string& address, const char* name, const char* path) : bus_(OpenBus(address)) {
        sd_bus_add_object(bus_.get(), nullptr, path, &Desktop::OnCall, this);
        sd_bus_request_name(bus_.get(), name, 0);
        thread_ = std::thread([this] {
            int result = 0;
            while (!ended_ && result >= 0) {
                result = sd_bus_process(bus_.get(), nullptr);
                if (result == 0) {
                    poller_.Wait({sd_bus_get_fd(bus_.get()), sd_bus_get_events(bus_.get())});
                }
            }
        });
    }
    ~Desktop() {
        ended_ = true;
        poller_.Wake();
        thread_.join();
    }
    std::vector<std::string> Calls() const { return calls_.All(); }
    bool Sees(const std::string& call) {
        return Eventually([&] { return std::ranges::count(Calls(), call) == 1; });
    }
    // Whether the login manager's caller has closed its end.
    bool IsLetGo() const {
        pollfd file{fd_.Get(), 0, 0};
        return poll(&file, 1, 0) > 0;
    }

    std::atomic<bool> hangs = false;

private:
    static int OnCall(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
        return static_cast<Desktop*>(self)->Answer(message);
    }
    int Answer(sd_bus_message* message) {
        if (hangs) {
            return 1;
        }
        if (sd_bus_message_is_method_call(message, SCREEN_SAVER, "Inhibit") > 0) {
            const char* application = nullptr;
            const char* reason = nullptr;
            sd_bus_message_read(message, "ss", &application, &reason);
            calls_.Add(std::string("on for ") + reason);
            return sd_bus_reply_method_return(message, "u", static_cast<uint32_t>(calls_.All().size()));
        }
        if (sd_bus_message_is_method_call(message, SCREEN_SAVER, "UnInhibit") > 0) {
            uint32_t cookie = 0;
            sd_bus_message_read(message, "u", &cookie);
            calls_.Add("off " + std::to_string(cookie));
            return sd_bus_reply_method_return(message, "");
        }
        const char* what = nullptr;
        const char* mode = nullptr;
        sd_bus_message_read(message, "ssss", &what, nullptr, nullptr, &mode);
        calls_.Add(std::string(mode) + " " + what);
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        fd_ = UniqueFd(ends[0]);
        const UniqueFd passed(ends[1]);
        return sd_bus_reply_method_return(message, "h", passed.Get());
    }

    BusHandle bus_;
    BusPoller poller_;
    std::atomic<bool> ended_ = false;
    Told<std::string> calls_;
    UniqueFd fd_;
    std::thread thread_;
};

class RunningLocks : public BusTest {
protected:
    RunningLocks() {
        address = BusAddress(directory / "run");  // whichever bus is there, unlike with the present one's guid
        manager = std::make_shared<PowerManager>(device.pool, time, PowerBuses{address, address});
        lock = manager->CreateRunningLock("runningLock", RunningLockType::SCREEN);
    }
    ~RunningLocks() override {
        manager->Stop();
        lock.reset();
        const std::weak_ptr<PowerManager> left = manager;
        manager.reset();
        EXPECT_TRUE(Eventually([&] { return left.expired(); })) << "something still waits";
    }

    std::unique_ptr<Desktop> NewScreenSaver(const char* path = "/org/freedesktop/ScreenSaver") const {
        return std::make_unique<Desktop>(address, SCREEN_SAVER, path);
    }

    std::string address;
    TestTime time;
    std::shared_ptr<PowerManager> manager;
    std::shared_ptr<RunningLock> lock;
};

TEST_F(RunningLocks, EndByTheirOwnTimeOutCountedFromTheLastLock) {
    const auto desktop = NewScreenSaver();
    EXPECT_EQ(lock->Lock(MINUTE), 0);
    time.Pass(59s);
    EXPECT_EQ(lock->Lock(MINUTE), 0);
    const auto shorter = manager->CreateRunningLock("shorter", RunningLockType::SCREEN);
    EXPECT_EQ(shorter->Lock(1000), 0);
    time.Pass(59s);
    EXPECT_TRUE(desktop->Sees("off 2"));
    EXPECT_THAT(desktop->Calls(), ElementsAre("on for runningLock", "on for shorter", "off 2"));
    time.Pass(1s);
    EXPECT_TRUE(desktop->Sees("off 1"));
    EXPECT_EQ(lock->Lock(MINUTE), 0);
    EXPECT_EQ(desktop->Calls().size(), 5U);
}

TEST_F(RunningLocks, EndWhenTheyAreUnlockedOrDroppedOrStoppedAndAreRefusedWithoutATimeOutOrOfAnUnknownType) {
    const auto desktop = NewScreenSaver("/ScreenSaver");
    EXPECT_EQ(lock->Lock(0), POWER_BAD_TIMEOUT);
    EXPECT_EQ(lock->Lock(-1), POWER_BAD_TIMEOUT);
    EXPECT_EQ(manager->CreateRunningLock("x", static_cast<RunningLockType>(1)), nullptr);
    EXPECT_EQ(lock->UnLock(), 0);
    EXPECT_EQ(lock->Lock(MINUTE), 0);
    EXPECT_EQ(lock->UnLock(), 0);
    EXPECT_EQ(lock->UnLock(), 0);
    EXPECT_EQ(lock->Lock(MINUTE), 0);
    lock = manager->CreateRunningLock("next", RunningLockType::SCREEN);
    EXPECT_EQ(lock->Lock(MINUTE), 0);
    manager->Stop();
    EXPECT_THAT(desktop->Calls(),
        ElementsAre("on for runningLock", "off 1", "on for runningLock", "off 3", "on for next", "off 5"));
    EXPECT_EQ(lock->Lock(MINUTE), POWER_STOPPED);
}

TEST_F(RunningLocks, AreTheLoginManagersWhereThereIsNoScreenSaver) {
    Desktop loginManager(address, LOGIN_MANAGER, "/org/freedesktop/login1");
    EXPECT_EQ(lock->Lock(MINUTE), 0);
    EXPECT_EQ(lock->Lock(MINUTE), 0);
    EXPECT_THAT(loginManager.Calls(), ElementsAre("block idle"));
    EXPECT_FALSE(loginManager.IsLetGo());
    time.Pass(1min);
    EXPECT_TRUE(Eventually([&] { return loginManager.IsLetGo(); }));
}

TEST_F(RunningLocks, AreTakenAnewFromTheNextScreenSaverAndRefusedByOneThatHangs) {
    auto desktop = NewScreenSaver();
    EXPECT_EQ(lock->Lock(MINUTE), 0);
    desktop.reset();
    EXPECT_EQ(lock->Lock(MINUTE), POWER_NO_INHIBITOR);
    desktop = NewScreenSaver();
    EXPECT_EQ(lock->Lock(MINUTE), 0);
    EXPECT_THAT(desktop->Calls(), ElementsAre("on for runningLock"));
    desktop.reset();
    EXPECT_EQ(lock->UnLock(), 0);

    desktop = NewScreenSaver();
    desktop->hangs = true;
    EXPECT_EQ(lock->Lock(MINUTE), POWER_NO_INHIBITOR);
    desktop->hangs = false;
    EXPECT_EQ(lock->Lock(MINUTE), 0);
    desktop->hangs = true;
    EXPECT_EQ(lock->UnLock(), 0);
    desktop->hangs = false;
    EXPECT_THAT(desktop->Calls(), ElementsAre("on for runningLock"));
}

TEST_F(RunningLocks, SayOnceThatThereIsNoBusAndGoOnWhenItComesBack) {
    device.bus.Stop();
    testing::internal::CaptureStderr();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(lock->Lock(MINUTE), POWER_NO_INHIBITOR);
    }
    EXPECT_EQ(lock->UnLock(), 0);
    const std::string logged = testing::internal::GetCapturedStderr();
    const size_t first = logged.find("the screen cannot be kept on");
    EXPECT_NE(first, std::string::npos);
    EXPECT_EQ(logged.rfind("the screen cannot be kept on"), first);

    StartBus();
    const auto desktop = NewScreenSaver();
    EXPECT_EQ(lock->Lock(MINUTE), 0);
}

TEST(Interaction, KeepsADampingForEachSideThatIsANumberFromZeroToOne) {
    LinuxInteractionManager manager;
    EXPECT_EQ(manager.GetDamplingCoefficient(3), std::nullopt);
    EXPECT_EQ(manager.SetDamplingCoefficient(3, 0.25), INTERACTION_OK);
    EXPECT_EQ(manager.SetDamplingCoefficient(0, 0), INTERACTION_OK);
    EXPECT_EQ(manager.SetDamplingCoefficient(0, 1), INTERACTION_OK);
    for (const double bad : {-0.001, 1.001, double(NAN), double(INFINITY)}) {
        EXPECT_EQ(manager.SetDamplingCoefficient(3, bad), INTERACTION_BAD_COEFFICIENT) << bad;
    }
    EXPECT_EQ(manager.SetDamplingCoefficient(4, 0.5), INTERACTION_UNKNOWN_DIRECTION);
    EXPECT_EQ(manager.GetDamplingCoefficient(0), 1.0);
    EXPECT_EQ(manager.GetDamplingCoefficient(3), 0.25);
    EXPECT_EQ(manager.GetDamplingCoefficient(4), std::nullopt);
}

}  // namespace
}  // namespace ZYNE::Linux
