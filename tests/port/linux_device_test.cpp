// Whole devices without the library, one after another in one process.
#include <algorithm>

#include "linux/datashare/linux_data_share_helper.h"
#include "platform/ability/ability_manager_client.h"
#include "platform/event/common_event_manager.h"
#include "platform/host/asyn_thread_pool.h"
#include "platform/host/collaboration_fwk_service_utils.h"
#include "platform/host/device_profile_client.h"
#include "platform/host/session_manager.h"
#include "platform/input/input_manager.h"
#include "platform/power/power_mgr_client.h"
#include "platform/system_ability/system_ability_manager_client.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

const std::string SELF(64, 'a');
constexpr char SHARE[] = "datashare:///org.example.desk";

// What a device may leave behind in its process.
struct Left {
    size_t threads;
    size_t files;
    bool operator==(const Left&) const = default;

    static Left Count() {
        const auto entries = [](const char* directory) {
            return static_cast<size_t>(std::ranges::distance(fs::directory_iterator(directory)));
        };
        return {entries("/proc/self/task"), entries("/proc/self/fd")};
    }
};

struct Observer final : DataShareObserver {
    void OnChange(const ChangeInfo&) override {}
};

class Devices : public PortTest {
protected:
    Devices() {
        Write(directory / "apps/desk/manifest.json",
            R"({"bundleName": "desk", "dataShares": [")" + std::string(SHARE) + "\"]}");
    }

    void Start(LinuxDevice& device) const {
        LogOptions log;
        log.file = directory / "device.log";
        log.target = LogTarget::STDERR;
        log.level = LogLevel::WARN;
        device.OpenLog(log);
        DeviceOptions options;
        options.udid = SELF;
        options.stateDirectory = directory;
        options.runtimeDirectory = directory / "run";
        options.appsDirectory = directory / "apps";
        device.Open(options);
        DesktopOptions desktop;
        desktop.users = {{100, "Anna"}};
        desktop.input.scripted = true;
        device.StartDesktop(desktop);
        device.JoinNetwork(OpenNetwork(directory, SELF), {});
    }
    static std::shared_ptr<DataShareHelper> Helper(LinuxDevice& device) {
        return MakeDataShareHelper(device.shares, device.dataShare->AsObject(), SHARE, "", 2);
    }
};

TEST_F(Devices, FollowEachOtherAHundredTimesAndLeaveNothing) {
    DataShareValuesBucket row;
    row.Put("KEYWORD", "song");
    std::shared_ptr<DataShareHelper> last;
    Left before = Left::Count();
    for (int i = 0; i <= 100; ++i) {
        LinuxDevice device;
        Start(device);
        device.pool.AddLaterTask(std::chrono::hours(1), [] {});
        EXPECT_TRUE(Eventually([&] { return device.network.Status().port != 0; }));
        last = Helper(device);
        last->RegisterObserverExt(Uri(SHARE), std::make_shared<Observer>(), true);
        EXPECT_EQ(last->Insert(Uri(SHARE), row), 1);
        device.Stop();
        EXPECT_LT(last->Insert(Uri(SHARE), row), 0);
        if (i == 0) {
            before.files = Left::Count().files;  // what libraries keep from their first use stays
        }
    }
    EXPECT_TRUE(Eventually([&] { return Left::Count() == before; }));  // a thread is listed a moment longer
}

TEST_F(Devices, AreReachedThroughTheSeamAndLeaveItRefusingEverythingWhenTheyEnd) {
    std::shared_ptr<RunningLock> lock;
    sptr<ISystemAbilityManager> abilities;
    {
        LinuxDevice device;
        EXPECT_THROW(LinuxDevice(), std::logic_error);
        Start(device);
        EXPECT_EQ(CollaborationFwk::AsynThreadPool::GetInstance(), &device.pool);
        EXPECT_EQ(CollaborationFwk::CollaborationFwkServiceUtils::GetLocalDeviceInfo()->GetDeviceUdid(), SELF);
        lock = PowerMgrClient::GetInstance().CreateRunningLock("test", RunningLockType::SCREEN);
        abilities = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
        EXPECT_NE(abilities, nullptr);
    }
    EXPECT_EQ(lock->Lock(1000), POWER_STOPPED);
    EXPECT_EQ(CollaborationFwk::CollaborationFwkServiceUtils::GetLocalDeviceInfo(), nullptr);
    EXPECT_EQ(SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager(), nullptr);
    EXPECT_FALSE(CollaborationFwk::AsynThreadPool::GetInstance()->AddAsynTask([] {}, 0));
    EXPECT_LT(InputManager::GetInstance()->AddMonitor([](std::shared_ptr<KeyEvent>) {}), 0);
    CharacteristicProfile profile;
    EXPECT_NE(
        CollaborationFwk::DeviceProfileClient::GetInstance().GetCharacteristicProfile(SELF, "a", "b", profile), 0);
    EXPECT_NE(CollaborationFwk::SessionManager::GetInstance()->TransmitMsg(1, "", 0, 1, false), 0);
}

}  // namespace
}  // namespace ZYNE::Linux
