#include "host/daemon.h"

#include <csignal>
#include <cstdlib>
#include <future>
#include <utility>

#include <unistd.h>

#include "host/device_identity.h"
#include "host/device_type_name.h"
#include "linux/account/credentials.h"
#include "linux/base/log_domains.h"
#include "linux/base/log_share_scope.h"
#include "linux/base/own_directory.h"
#include "linux/datashare/share_limits.h"
#include "platform/device_manager/dm_device_state.h"
#include "platform/host/picker_result.h"
#include "platform/log/log_print.h"
#include "plugin/device_profile/device_profile_manager.h"
#include "plugin/info_collection/app_info_collection.h"
#include "plugin/info_collection/request_sa_manager.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"

namespace ZYNE::Host {
namespace {

using namespace std::chrono_literals;
using CollaborationFwk::AppInfoCollection;
using CollaborationFwk::DeviceProfileManager;
using CollaborationFwk::KeyMouseServiceManager;
using CollaborationFwk::PickerResult;
using CollaborationFwk::RequestSAManager;
using Linux::Fabric;
using Linux::FabricOptions;

constexpr LogDomain LOG = Linux::LogDomains::DEVICE;

// The event that the settings can be used, and the user of the system service that publishes it elsewhere.
constexpr const char* DATA_SHARE_READY = "usual.event.DATA_SHARE_READY";
constexpr int32_t DATA_SHARE_UID = 3012;

// How long the start waits until the library has taken over old settings. That takes a few milliseconds.
constexpr auto SETTINGS_TIME = 2s;

constexpr int32_t INFO_COLLECTION = 2;  // what the pool is told of a task

// So that whatever a peer can publish reaches an app.
static_assert(Linux::ShareLimits::VALUE == Linux::ProfileBounds::VALUE_BYTES);

std::string Masked(const std::string& id) {
    return PickerResult::StringToAnonymous(id);
}

bool IsOpen(const Config& config) {
    return config.fabric.trust == FabricOptions::Trust::OPEN;
}

std::vector<KnownPeer> KnownPeers(const Fabric& network) {
    std::vector<KnownPeer> peers;
    for (const Fabric::PeerStatus& peer : network.ListPeers()) {
        const DmDeviceInfo& info = peer.info;
        peers.push_back({info.deviceId, info.networkId, info.deviceName, info.deviceTypeId, peer.online,
            info.authForm == DmDeviceInfo::IDENTICAL_ACCOUNT});
    }
    return peers;
}

// The device's notes on itself come first.
Linux::NetworkStatus StatusWithNotes(const Linux::LinuxDevice& device) {
    Linux::NetworkStatus status = device.network.Status();
    std::vector<Linux::NetworkStatus::Note> notes;
    for (const Linux::DeviceNotes::Note& note : device.notes.All()) {
        notes.push_back({note.kind, note.text});
    }
    status.notes.insert(status.notes.begin(), notes.begin(), notes.end());
    return status;
}

// Logged for the device itself and not out of the peer's share: peers come and go rarely, or are ignored.
void LogDeviceState(int state, const DmDeviceInfo& device) {
    const Linux::LogShareScope own(nullptr);
    const char* what = state == DEVICE_STATE_ONLINE ? "online" : state == DEVICE_STATE_OFFLINE ? "offline" : "changed";
    LogPrint(LogType::CORE, LogLevel::INFO, LOG, "device %{public}s, udid %{public}s, is %{public}s", device.deviceName,
        Masked(device.deviceId), what);
}

// The identity of this device on the network.
std::string OwnUdid(const Config& config) {
    return IsOpen(config) ? KeptUdid(config.stateDirectory) : Linux::LoadCredentials(config.fabric.credentials).udid;
}

// Empty when no display server is used.
std::string DisplayName(const Linux::InputOptions& input) {
    const char* display = std::getenv("DISPLAY");
    return input.scripted ? "" : !input.display.empty() ? input.display : display == nullptr ? "" : display;
}

void FindApps() {
    AppInfoCollection::GetInstance()->Init();
}

}  // namespace

Daemon::Daemon(Config config) : config_(std::move(config)) {}

Daemon::~Daemon() {
    Stop();
}

void Daemon::Start() {
    Linux::EnsureOwnDirectory(config_.stateDirectory);
    registration_.emplace(config_.fabric.deviceName, config_.stateDirectory);
    OpenLog();
    OpenDevice();
    // Before other threads use the bus library: its first use sets up what all connections share, without a lock.
    StartApi();
    StartDesktop();
    StartLibrary();
    JoinNetwork();
    StartCrossing();
    registration_->Announce(device_.bus.GetAddress());
    LogPrint(LogType::CORE, LogLevel::INFO, LOG, "the device is up");
}

void Daemon::OpenLog() {
    Linux::LogOptions options = config_.log;
    options.file = registration_->Entry().LogFile();
    options.device = config_.fabric.deviceName;
    device_.OpenLog(options);
    LogPrint(LogType::CORE, LogLevel::INFO, LOG, "collabd %{public}s starts the device %{public}s, process %{public}d",
        COLLAB_VERSION, config_.fabric.deviceName, getpid());
    if (IsOpen(config_)) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG,
            "open mode: nothing that devices say of themselves is proved; for one machine only");
    }
}

void Daemon::OpenDevice() {
    udid_ = OwnUdid(config_);
    Linux::DeviceOptions options;
    options.udid = udid_;
    options.stateDirectory = config_.stateDirectory;
    options.runtimeDirectory = registration_->Entry().runtimeDirectory;
    options.systemRoot = config_.systemRoot;
    options.serviceTable = config_.serviceTable;
    options.appsDirectory = config_.appsDirectory;
    options.answerTime = config_.answerTime;
    options.busLost = [this] {
        OnBusLost();
    };
    device_.Open(options);
}

void Daemon::StartApi() {
    api_.emplace(DeviceApi::Options{.device = device_,
        .deviceName = config_.fabric.deviceName,
        .deviceType = DeviceTypeName(config_.fabric.deviceType),
        .accountMode = IsOpen(config_) ? "open" : "account",
        .peers = [this] { return KnownPeers(device_.network); },
        .network = [this] { return StatusWithNotes(device_); },
        .display = DisplayName(config_.input),
        .desk = config_.desk,
        .onLost =
            [this] {
                OnBusLost();
            }});
    device_.profiles.SetWatcher([this](Linux::ProfileChange change, const CharacteristicProfile& profile) {
        api_->TellProfileChanged(change, profile);
    });
}

void Daemon::StartDesktop() {
    Linux::DesktopOptions options;
    options.users = config_.users;
    options.userSwitched = [](int32_t, int32_t) {
        KeyMouseServiceManager::GetInstance().OnEventUserSwitched();
    };
    options.input = config_.input;
    options.scriptedDisplays = {config_.scriptedDisplay};
    options.screenChanged = [this](Linux::ScreenStatus status) {
        api_->TellScreenChanged(status);
    };
    device_.StartDesktop(options);
}

// Before other devices can see this one, so that requests find the library with its providers. The scan of apps ends
// long before the network is up; but then each app is asked for its values, and a slow one must not hold up the device.
void Daemon::StartLibrary() {
    if (!device_.pool.AddAsynTask(&FindApps, INFO_COLLECTION)) {
        FindApps();
    }
    RequestSAManager::GetInstance()->StartRequestSa();
}

void Daemon::JoinNetwork() {
    FabricOptions options = config_.fabric;
    options.udid = udid_;
    options.stateDirectory = config_.stateDirectory;
    device_.JoinNetwork(options, [this](int state, const DmDeviceInfo& device) {
        LogDeviceState(state, device);
        DeviceProfileManager::GetInstance().HandleDeviceProfileChange(state, device);
        api_->TellDevicesChanged();
    });
}

// Once the device is on the network, as the library asks who this device is. Old settings are moved to the user in the
// foreground before anything is published, and before the library is told who that is, which switches crossing off for
// a private user.
void Daemon::StartCrossing() {
    KeyMouseServiceManager& crossing = KeyMouseServiceManager::GetInstance();
    crossing.SubscribeCommonEvent();
    const auto moved = std::make_shared<std::promise<void>>();
    device_.events.Publish(DATA_SHARE_READY, DATA_SHARE_UID, [moved] { moved->set_value(); });
    if (moved->get_future().wait_for(SETTINGS_TIME) != std::future_status::ready) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "the settings are slow: crossing may start with older ones");
    }
    crossing.OnEventUserSwitched();  // the first call tells who is there; only later ones are switches
    crossing.OnDpStart();
    crossing.OnDbStart();
}

// Any thread. The main thread waits for the signal.
void Daemon::OnBusLost() {
    if (!busLost_.exchange(true)) {
        kill(getpid(), SIGTERM);
    }
}

bool Daemon::Stop() {
    const bool busLost = busLost_;
    device_.Leave();
    if (api_) {
        api_->Stop();
    }
    device_.Stop();
    api_.reset();
    registration_.reset();
    return !busLost;
}

}  // namespace ZYNE::Host
