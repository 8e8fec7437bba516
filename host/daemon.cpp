#include "host/daemon.h"

#include <atomic>
#include <csignal>
#include <future>
#include <optional>
#include <utility>

#include <unistd.h>

#include "client/device_registry.h"
#include "host/device_api.h"
#include "host/device_identity.h"
#include "host/device_type_name.h"
#include "linux/account/credentials.h"
#include "linux/apps/ability_manager.h"
#include "linux/apps/bundle_manager.h"
#include "linux/base/device_notes.h"
#include "linux/base/log_domains.h"
#include "linux/base/log_share_scope.h"
#include "linux/base/own_directory.h"
#include "linux/base/steady_time.h"
#include "linux/base/thread_pool.h"
#include "linux/datashare/data_share_service.h"
#include "linux/datashare/share_limits.h"
#include "linux/desktop/input_service.h"
#include "linux/desktop/power_manager.h"
#include "linux/desktop/screen_state.h"
#include "linux/desktop/scripted_input.h"
#include "linux/device/system_root.h"
#include "linux/device/users.h"
#include "linux/log/linux_log.h"
#include "linux/network/fabric.h"
#include "linux/profile/profile_service.h"
#include "linux/services/common_events.h"
#include "linux/services/device_bus.h"
#include "linux/services/system_abilities.h"
#include "platform/device_manager/dm_device_state.h"
#include "platform/host/asyn_thread_pool.h"
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
using CollaborationFwk::AsynThreadPool;
using CollaborationFwk::DeviceProfileManager;
using CollaborationFwk::KeyMouseServiceManager;
using CollaborationFwk::PickerResult;
using CollaborationFwk::RequestSAManager;
using Linux::CommonEvents;
using Linux::DataShareService;
using Linux::Fabric;
using Linux::FabricOptions;
using Linux::ProfileService;

constexpr LogDomain LOG = Linux::LogDomains::DEVICE;

// How long programs that wait for an answer get it while the device stops. Answers that need the bus come no more when
// this is over.
constexpr auto LAST_ANSWERS_TIME = 250ms;

constexpr const char* PROFILE_FILE = "profiles.db";
constexpr const char* DATA_SHARE_FILE = "datashare.db";
constexpr const char* FOREGROUND_USER_FILE = "foreground_user";

// That the settings can be used, told in the name of the system service that keeps them elsewhere.
constexpr const char* DATA_SHARE_READY = "usual.event.DATA_SHARE_READY";
constexpr int32_t DATA_SHARE_UID = 3012;

// How long the start waits for the library to take over old settings. It takes a few milliseconds.
constexpr auto SETTINGS_TIME = 2s;

constexpr int32_t INFO_COLLECTION = 2;  // what the pool is told of a task

// What a peer publishes reaches an app whole.
static_assert(Linux::ShareLimits::VALUE == Linux::ProfileBounds::VALUE_BYTES);

std::string Masked(const std::string& id) {
    return PickerResult::StringToAnonymous(id);
}

bool IsOpen(const Config& config) {
    return config.fabric.trust == FabricOptions::Trust::OPEN;
}

std::vector<KnownPeer> KnownPeers() {
    std::vector<KnownPeer> peers;
    for (const Fabric::PeerStatus& peer : Fabric::GetInstance().ListPeers()) {
        const DmDeviceInfo& info = peer.info;
        peers.push_back({info.deviceId, info.networkId, info.deviceName, info.deviceTypeId, peer.online,
            info.authForm == DmDeviceInfo::IDENTICAL_ACCOUNT});
    }
    return peers;
}

// What the device notes of itself comes first.
Linux::NetworkStatus StatusWithNotes() {
    Linux::NetworkStatus status = Fabric::GetInstance().Status();
    std::vector<Linux::NetworkStatus::Note> notes;
    for (const Linux::DeviceNotes::Note& note : Linux::DeviceNotes::Get().All()) {
        notes.push_back({note.kind, note.text});
    }
    status.notes.insert(status.notes.begin(), notes.begin(), notes.end());
    return status;
}

// Not of the device's share of the log: it comes and goes seldom, or is left alone.
void LogDeviceState(int state, const DmDeviceInfo& device) {
    const Linux::LogShareScope own(nullptr);
    const char* what = state == DEVICE_STATE_ONLINE ? "online" : state == DEVICE_STATE_OFFLINE ? "offline" : "changed";
    LogPrint(LogType::CORE, LogLevel::INFO, LOG, "device %{public}s, udid %{public}s, is %{public}s", device.deviceName,
        Masked(device.deviceId), what);
}

// The identity that the network will know the device by.
std::string OwnUdid(const Config& config) {
    return IsOpen(config) ? KeptUdid(config.stateDirectory) : Linux::LoadCredentials(config.fabric.credentials).udid;
}

void FindApps() {
    AppInfoCollection::GetInstance()->Init();
}

}  // namespace

struct Daemon::Parts {
    std::optional<Client::DeviceRegistration> registration;
    std::optional<DeviceApi> api;
    std::atomic<bool> busLost{false};
};

Daemon::Daemon(Config config) : config_(std::move(config)), parts_(std::make_unique<Parts>()) {}

Daemon::~Daemon() {
    Stop();
}

void Daemon::Start() {
    Linux::EnsureOwnDirectory(config_.stateDirectory);
    parts_->registration.emplace(config_.fabric.deviceName, config_.stateDirectory);
    StartLog();
    Linux::SystemRoot::Set(config_.systemRoot);
    udid_ = OwnUdid(config_);
    StartBus();
    StartStores();
    // Before other threads use the bus library: at its first use it sets up what all its connections share, unguarded.
    StartApi();
    StartDesktop();
    StartLibrary();
    StartFabric();
    StartCrossing();
    parts_->registration->Announce(Linux::DeviceBus::GetInstance().GetAddress());
    LogPrint(LogType::CORE, LogLevel::INFO, LOG, "the device is up");
}

void Daemon::StartLog() {
    Linux::LogOptions options = config_.log;
    options.file = parts_->registration->Entry().LogFile();
    options.device = config_.fabric.deviceName;
    Linux::LinuxLog::Get().Open(options);
    LogPrint(LogType::CORE, LogLevel::INFO, LOG, "collabd %{public}s starts the device %{public}s, process %{public}d",
        COLLAB_VERSION, config_.fabric.deviceName, getpid());
    if (IsOpen(config_)) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG,
            "open mode: nothing that devices say of themselves is proved; for one machine only");
    }
}

void Daemon::StartBus() {
    auto& abilities = *Linux::SystemAbilities::GetInstance();
    auto& bundles = *Linux::BundleManager::GetInstance();
    if (!config_.serviceTable.empty()) {
        abilities.LoadTable(config_.serviceTable);
    }
    if (!config_.appsDirectory.empty()) {
        bundles.LoadDirectory(config_.appsDirectory);
    }
    Linux::AbilityManager::GetInstance().SetAnswerTime(config_.answerTime);
    abilities.AddLocalAbility(Linux::BundleManager::SYSTEM_ABILITY_ID, bundles.AsObject());
    abilities.AddLocalAbility(DataShareService::SYSTEM_ABILITY_ID, DataShareService::GetInstance()->AsObject());

    Linux::BusOptions options;
    options.directory = parts_->registration->Entry().runtimeDirectory;
    options.services = abilities.GetServices();
    for (Linux::BusService& service : bundles.GetCatalogue()->GetServices()) {
        options.services.push_back(std::move(service));
    }
    options.lost = [this] {
        OnBusLost();
    };
    Linux::DeviceBus::GetInstance().Start(options);
}

void Daemon::StartStores() {
    DataShareService::GetInstance()->Start(
        config_.stateDirectory / DATA_SHARE_FILE, Linux::BundleManager::GetInstance()->GetCatalogue()->GetDataShares());
    ProfileService::Get().Open(config_.stateDirectory / PROFILE_FILE, udid_);
}

void Daemon::StartDesktop() {
    Linux::Users::Options users;
    users.users = config_.users;
    users.file = config_.stateDirectory / FOREGROUND_USER_FILE;
    users.switched = [](int32_t, int32_t) {
        KeyMouseServiceManager::GetInstance().OnEventUserSwitched();
    };
    Linux::Users::GetInstance().Start(std::move(users));
    CommonEvents::GetInstance().Start(Linux::DeviceBus::GetInstance().GetClient());
    Linux::InputService::Get().Start(config_.input);
    Linux::ScriptedInput::Get().Configure({config_.scriptedDisplay});
    Linux::ScreenState::Get().Start(*Linux::DeviceBus::GetInstance().GetLoop(),
        [](Linux::ScreenStatus status) { Fabric::GetInstance().SetScreenStatus(status); });
}

void Daemon::StartApi() {
    DeviceApi::Options options;
    options.loop = Linux::DeviceBus::GetInstance().GetLoop();
    options.busAddress = Linux::DeviceBus::GetInstance().GetAddress();
    options.deviceName = config_.fabric.deviceName;
    options.deviceType = DeviceTypeName(config_.fabric.deviceType);
    options.accountMode = IsOpen(config_) ? "open" : "account";
    options.peers = KnownPeers;
    options.network = &StatusWithNotes;
    options.takeRevocations = [](const std::string& document) {
        return Fabric::GetInstance().TakeRevocations(document);
    };
    options.onLost = [this] {
        OnBusLost();
    };
    parts_->api.emplace(std::move(options));
    ProfileService::Get().SetWatcher([this](Linux::ProfileChange change, const CharacteristicProfile& profile) {
        parts_->api->TellProfileChanged(change, profile);
    });
}

// Before other devices can see this one: requests find the library with its providers. The scan of apps is over long
// before the network is up; but then each app is asked for its values, and one that is slow must not hold up the device.
void Daemon::StartLibrary() {
    if (!AsynThreadPool::GetInstance()->AddAsynTask(&FindApps, INFO_COLLECTION)) {
        FindApps();
    }
    RequestSAManager::GetInstance()->StartRequestSa();
}

void Daemon::StartFabric() {
    FabricOptions options = config_.fabric;
    options.udid = udid_;
    options.stateDirectory = config_.stateDirectory;
    Fabric& fabric = Fabric::GetInstance();
    fabric.SetDeviceStateHandler([this](int state, const DmDeviceInfo& device) {
        LogDeviceState(state, device);
        DeviceProfileManager::GetInstance().HandleDeviceProfileChange(state, device);
        parts_->api->TellDevicesChanged();
    });
    fabric.Start(options);
}

// On the network: the library asks who this device is. Old settings are moved to the user in the foreground before the
// library hears who that is, which switches crossing off for a private one, and before anything is published.
void Daemon::StartCrossing() {
    KeyMouseServiceManager& crossing = KeyMouseServiceManager::GetInstance();
    crossing.SubscribeCommonEvent();
    const auto moved = std::make_shared<std::promise<void>>();
    CommonEvents::GetInstance().Publish(DATA_SHARE_READY, DATA_SHARE_UID, [moved] { moved->set_value(); });
    if (moved->get_future().wait_for(SETTINGS_TIME) != std::future_status::ready) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "the settings are slow: crossing may start with older ones");
    }
    crossing.OnEventUserSwitched();  // the first tells who is there; only those after it are switches
    crossing.OnDpStart();
    crossing.OnDbStart();
}

// Any thread. The main thread waits for this signal.
void Daemon::OnBusLost() {
    if (!parts_->busLost.exchange(true)) {
        kill(getpid(), SIGTERM);
    }
}

bool Daemon::Stop() {
    const bool busLost = parts_->busLost;
    Fabric::GetInstance().Stop();
    StopDesktop();
    Linux::SteadyTime::Get().RunOut();
    if (parts_->api) {
        parts_->api->Stop();
    }
    Linux::ThreadPool::Get().Drain(LAST_ANSWERS_TIME);
    Linux::PowerManager::Get().Stop();
    ProfileService::Get().Close();
    DataShareService::GetInstance()->Stop();
    // Ends the calls that tasks still wait in.
    Linux::DeviceBus::GetInstance().Stop();
    Linux::ThreadPool::Get().Stop();
    parts_->api.reset();
    if (parts_->registration) {
        LogPrint(LogType::CORE, LogLevel::INFO, LOG, "the device has stopped");
    }
    Linux::LinuxLog::Get().Close();
    parts_->registration.reset();
    return !busLost;
}

void Daemon::StopDesktop() {
    Linux::ScreenState::Get().Stop();
    Linux::InputService::Get().Stop();
    CommonEvents::GetInstance().Stop();
    Linux::Users::GetInstance().Stop();
}

}  // namespace ZYNE::Host
