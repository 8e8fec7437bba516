#include "linux/linux_device.h"

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <utility>

#include "linux/base/log_domains.h"
#include "linux/device/loaded_library.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr LogDomain LOG = LogDomains::DEVICE;

// How long answers are still sent to programs that wait for one while the device stops. After that the bus ends, and no
// answer can be sent.
constexpr auto LAST_ANSWERS_TIME = 250ms;

constexpr const char* PROFILE_FILE = "profiles.db";
constexpr const char* DATA_SHARE_FILE = "datashare.db";
constexpr const char* FOREGROUND_USER_FILE = "foreground_user";

std::atomic<LinuxDevice*> current{nullptr};

ChannelDeclaration FindChannel(const BundleManager& bundles, const std::string& app, const std::string& name) {
    const auto catalogue = bundles.GetCatalogue();
    const Bundle* const bundle = catalogue->Find(app);
    if (bundle == nullptr || !bundle->enabled) {
        return ChannelDeclaration::NO_APP;
    }
    return std::ranges::count(bundle->channels, name) > 0 ? ChannelDeclaration::DECLARED
                                                          : ChannelDeclaration::NO_CHANNEL;
}

}  // namespace

LinuxDevice::LinuxDevice() : LinuxDevice(Unreached()) {
    LinuxDevice* none = nullptr;
    if (!current.compare_exchange_strong(none, this)) {
        throw std::logic_error("a process has one device at a time");
    }
}

LinuxDevice::LinuxDevice(Unreached)
    : network({pool, profiles, peerScreens, LoadedLibrary::Get().plugins, LoadedLibrary::Get().listeners,
          [this](const std::string& app, const std::string& name) {
              return FindChannel(*bundles, app, name);
          }}) {}

LinuxDevice::~LinuxDevice() {
    Stop();
    LinuxDevice* self = this;
    current.compare_exchange_strong(self, nullptr);
}

LinuxDevice& LinuxDevice::Current() {
    static LinuxDevice& none = *[] {
        auto* device = new LinuxDevice(Unreached());
        device->Stop();
        return device;
    }();
    LinuxDevice* device = current;
    return device != nullptr ? *device : none;
}

void LinuxDevice::OpenLog(const LogOptions& options) {
    LinuxLog::Get().Open(options, notes);
    isLogging_ = true;
}

void LinuxDevice::Open(const DeviceOptions& options) {
    stateDirectory_ = options.stateDirectory;
    systemRoot.Set(options.systemRoot);
    StartBus(options);
    dataShare->Start(stateDirectory_ / DATA_SHARE_FILE, bundles->GetCatalogue()->GetDataShares());
    profiles.Open(stateDirectory_ / PROFILE_FILE, options.udid);
}

void LinuxDevice::StartBus(const DeviceOptions& options) {
    if (!options.serviceTable.empty()) {
        abilities->LoadTable(options.serviceTable);
    }
    if (!options.appsDirectory.empty()) {
        bundles->LoadDirectory(options.appsDirectory);
    }
    apps.SetAnswerTime(options.answerTime);
    abilities->AddLocalAbility(BundleManager::SYSTEM_ABILITY_ID, bundles->AsObject());
    abilities->AddLocalAbility(DataShareService::SYSTEM_ABILITY_ID, dataShare->AsObject());

    BusOptions busOptions{options.runtimeDirectory, abilities->GetServices(), options.busLost};
    for (BusService& service : bundles->GetCatalogue()->GetServices()) {
        busOptions.services.push_back(std::move(service));
    }
    bus.Start(busOptions);
}

void LinuxDevice::StartDesktop(const DesktopOptions& options) {
    users.Start({options.users, stateDirectory_ / FOREGROUND_USER_FILE, options.userSwitched});
    events.Start(bus.GetClient());
    input.Start(options.input);
    scriptedInput.Configure(options.scriptedDisplays);
    screen.Start(*bus.GetLoop(), [this, tell = options.screenChanged](ScreenStatus status) {
        network.SetScreenStatus(status);
        if (tell) {
            tell(status);
        }
    });
}

void LinuxDevice::JoinNetwork(const FabricOptions& options, Fabric::DeviceStateHandler handler) {
    network.SetDeviceStateHandler(std::move(handler));
    network.Start(options);
}

void LinuxDevice::Leave() {
    network.Stop();
    screen.Stop();
    input.Stop();
    events.Stop();
    users.Stop();
    time.RunOut();
}

void LinuxDevice::Stop() {
    Leave();
    pool.Drain(LAST_ANSWERS_TIME);
    power->Stop();
    profiles.Close();
    dataShare->Stop();
    bus.Stop();  // ends the calls that tasks still wait in
    pool.Stop();
    if (std::exchange(isLogging_, false)) {
        LogPrint(LogType::CORE, LogLevel::INFO, LOG, "the device has stopped");
        LinuxLog::Get().Close();
    }
}

EventLoop::Clock::time_point LinuxDevice::LastRound() const {
    return std::min(network.LastRound(), bus.LastRound());
}

}  // namespace ZYNE::Linux
