// One device on Linux: everything that the library reaches through the seam, in the order in which it starts.
//
//     LinuxDevice device;                       // the library reaches it from now on; nothing runs yet
//     device.OpenLog(log);
//     device.Open(options);                     // bus, services, apps, shared data, profiles
//     device.StartDesktop(desktop);             // users, common events, input, screen
//     device.JoinNetwork(network, handler);
//     ...
//     device.Leave();                           // the network and the desktop, in reverse
//     device.Stop();                            // and the rest
//
// A process has one device at a time, and may have one after another. What the library was given by a device it must
// not use when that has ended, but for letting go of it.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "linux/apps/ability_manager.h"
#include "linux/apps/bundle_manager.h"
#include "linux/base/device_notes.h"
#include "linux/base/steady_time.h"
#include "linux/base/thread_pool.h"
#include "linux/datashare/data_share_service.h"
#include "linux/datashare/open_shares.h"
#include "linux/desktop/input_service.h"
#include "linux/desktop/linux_interaction_manager.h"
#include "linux/desktop/power_manager.h"
#include "linux/desktop/screen_state.h"
#include "linux/desktop/scripted_input.h"
#include "linux/device/system_root.h"
#include "linux/device/users.h"
#include "linux/log/linux_log.h"
#include "linux/network/fabric.h"
#include "linux/network/fabric_device_manager.h"
#include "linux/network/fabric_session_manager.h"
#include "linux/profile/profile_service.h"
#include "linux/services/common_events.h"
#include "linux/services/device_bus.h"
#include "linux/services/system_abilities.h"

namespace ZYNE::Linux {

struct DeviceOptions {
    std::string udid;
    std::filesystem::path stateDirectory;                        // what the device keeps over restarts is in it
    std::filesystem::path runtimeDirectory;                      // of its bus
    std::filesystem::path systemRoot;                            // of the read-only system partition; may be empty
    std::filesystem::path serviceTable;                          // of the system services; may be empty
    std::filesystem::path appsDirectory;                         // of the installed apps; may be empty
    std::chrono::milliseconds answerTime = DEFAULT_ANSWER_TIME;  // of an app that is asked for a fact
    std::function<void()> busLost;                               // see BusOptions
};

struct DesktopOptions {
    std::vector<User> users;                                        // at least one
    std::function<void(int32_t before, int32_t now)> userSwitched;  // see Users
    InputOptions input;
    std::function<void(ScreenStatus status)> screenChanged;  // on the pool; may be empty
    std::vector<DisplayArea> scriptedDisplays;               // stand in while there is no display server
};

// Built, started and stopped by the process's main thread. Its parts are for any thread, and are there until it is
// destroyed; who uses them does not start or stop them. Before its start and after its stop each of them refuses.
class LinuxDevice {
public:
    LinuxDevice();
    LinuxDevice(const LinuxDevice&) = delete;
    LinuxDevice& operator=(const LinuxDevice&) = delete;
    // Stops.
    ~LinuxDevice();

    // The one that the library reaches: the process's, or while it has none one that has stopped. Any thread.
    static LinuxDevice& Current();

    // In this order. Each throws std::exception with one line; the device is then to be stopped.
    void OpenLog(const LogOptions& options);
    void Open(const DeviceOptions& options);
    void StartDesktop(const DesktopOptions& options);
    void JoinNetwork(const FabricOptions& options, Fabric::DeviceStateHandler handler);

    // Ends the network and the desktop, and lets the time run out: what waits or sleeps gives up.
    void Leave();

    // Leaves, and ends every thread. Requests under way have a moment for their answers. Does nothing the second time.
    void Stop();

    // When that one of its loops came round last which has not done so for longest. Any thread.
    EventLoop::Clock::time_point LastRound() const;

    DeviceNotes notes;
    SystemRoot systemRoot;
    SteadyTime time;
    ThreadPool pool;
    DeviceBus bus{pool};
    const sptr<SystemAbilities> abilities = MakeSptr<SystemAbilities>(pool, bus);
    const sptr<BundleManager> bundles = MakeSptr<BundleManager>();
    AbilityManager apps{pool, bus, bundles};
    OpenShares shares{{pool, notes, DataShareService::ConnectTo(bus)}};
    const sptr<DataShareService> dataShare = MakeSptr<DataShareService>(bus, shares, notes);
    ProfileService profiles{pool, notes};
    Users users{pool};
    CommonEvents events{pool};
    InputService input{pool};
    ScriptedInput scriptedInput{input};
    LinuxInteractionManager interaction;
    const std::shared_ptr<PowerManager> power = std::make_shared<PowerManager>(pool, time, PowerBuses::OfUser());
    ScreenState screen{pool};
    ScreenCallbacks peerScreens{pool};
    Fabric network;
    FabricDeviceManager deviceManager{network, peerScreens};
    FabricSessionManager sessions{network};

private:
    struct Unreached {};
    explicit LinuxDevice(Unreached);

    void StartBus(const DeviceOptions& options);

    std::filesystem::path stateDirectory_;
    bool isLogging_ = false;  // the log is open
};

}  // namespace ZYNE::Linux
