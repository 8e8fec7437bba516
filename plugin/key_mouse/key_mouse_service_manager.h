// Coordinates the crossing of keyboard and mouse between this device and its peers.
//
// The companion app carries crossing out. This class decides when its service extension runs: while the switch of the
// foreground user is on, and a trusted peer of the same account, of a supported type and with its own switch on, is
// there. It publishes the switch to the peers, and tells client processes of switches, screens, keys and the pointer's
// arrival at an edge.
//
//     KeyMouseServiceManager& manager = KeyMouseServiceManager::GetInstance();
//     manager.SubscribeCommonEvent();  // once, when the host starts
//     manager.OnDpStart();             // when the device profile service is up
//     manager.AddKeyMouseEventListener(GloableVariables::KEY_MOVE_TO_EDGE, pid, callback);
#pragma once

#include <json/json.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/datashare/settings_data.h"
#include "platform/device_manager/dm_device_info.h"
#include "platform/device_profile/characteristic_profile.h"
#include "platform/display/display.h"
#include "platform/host/device_info.h"
#include "platform/input/key_event.h"
#include "platform/input/pointer_event.h"
#include "platform/ipc/remote_object.h"
#include "platform/power/running_lock.h"
#include "plugin/device_profile/profile_names.h"
#include "plugin/export.h"
#include "plugin/key_mouse/crossing_rule.h"
#include "plugin/key_mouse/key_mouse_data_share_observer.h"
#include "plugin/key_mouse/key_mouse_device_screen_status_callback.h"
#include "plugin/key_mouse/key_mouse_move_to_edge_event.h"
#include "plugin/key_mouse/key_mouse_service_connection.h"
#include "plugin/utils/singleton.h"

namespace ZYNE::CollaborationFwk {

// Any thread. Decisions are not serialised: each takes what the flags say at that moment, and the last one wins.
//
// Locks: onlineDevicesMutex_ is held while switches are read from the device profile, and then udidMutex_ may follow;
// runningLockMutex_ and monitorMutex_ are held across the calls into the port whose order they keep. The rest are never
// held together with another or across a call.
class KeyMouseServiceManager {
public:
    static constexpr char KEY_MOUSE_SWITCH_STATUS_KEY[] = "peer_desk_state";
    static constexpr char KEY_MOUSE_EDGE_SWITCH_STATUS_KEY[] = "peer_desk_edge_state";
    static constexpr char KEY_MOUSE_SWITCH_OFF[] = "0";
    static constexpr const char* SETTINGS_DATA_FIELD_KEY = SettingsData::KEY_COLUMN;
    static constexpr const char* SETTINGS_DATA_FIELD_VAL = SettingsData::VALUE_COLUMN;
    static constexpr char SWITCH_DATA_MIGRATION_INVALID[] = "invalid";
    // The table of one user; the user's id follows.
    static constexpr const char* SETTINGS_SECURE_URI = SettingsData::USER_TABLE;
    // The table of all users, where older systems kept the switches.
    static constexpr const char* SETTINGS_DATA_URI = SettingsData::SHARED_TABLE;
    static constexpr char16_t KEY_MOUSE_SERVICE_DESCRIPTOR[] = u"com.talvex.peerdesk.KeyMouseManager";
    // The names of a switch's change. Nothing is published or subscribed under them here.
    static constexpr char KEY_MOUSE_SWITCH_ON_EVENT[] = "keymouse.event.switchon";
    static constexpr char KEY_MOUSE_SWITCH_OFF_EVENT[] = "keymouse.event.switchoff";
    static constexpr char KEY_MOUSE_SERVICE_ABILITY_NAME[] = "KeyMouseService";
    static constexpr char DEVICE_MANAGER_PKG_NAME[] = "varn.collaborationfwk.deviceDetect";
    static constexpr const char* KEY_MOUSE_EDGE_SERVICE_ID = ProfileNames::KEY_MOUSE_SERVICE;

    CFWK_EXPORT static KeyMouseServiceManager& GetInstance();

    struct ForegroundAccount {
        int32_t code;  // 0 it is known
        int32_t userId;
    };

    // Start-up and state

    // For the host to call when the device profile service is up. Returns at once; the switch is published when both
    // the profile and the settings can be used.
    CFWK_EXPORT void OnDpStart();
    // For the host to call when the settings database starts. Does nothing: that settings can be used is told by a
    // common event.
    CFWK_EXPORT void OnDbStart();
    // Asks the profile service once a second, ten times at most, until it is ready. Blocks meanwhile.
    void CheckDpInitAsync();
    // Publishes the local switch and has the companion's service looked at a second later; does nothing before the
    // profile and the settings are ready and this device is known.
    void CheckLocalSwitchState();
    // Learns this device's udid and type. 0; otherwise the device manager's code.
    int32_t SetLocalDeviceUdid();

    // Settings

    // The switch of the foreground user; off when it cannot be read.
    bool GetLocalSwitchStateFromSettings();
    // Changes the setting `key` of the foreground user in the table that `baseUri` begins to name. False when there is
    // no such setting: none is added.
    bool UpdateSwitchStateToSettings(const std::string& baseUri, const std::string& key, const std::string& value);
    // Moves the switches from the table of all users into the foreground user's, once.
    void SwitchDataMigration();
    // Makes the switches in the table of all users invalid without moving them. Whether the main one and the one for
    // the edge are so now.
    std::pair<bool, bool> RetireGlobalSwitches();
    void KeymouseRegisterObserver(int32_t userId);
    void KeymouseUnregisterObserver(int32_t userId);

    // Accounts and events

    // For the host to call once at start. False: the settings will never be ready for this library.
    CFWK_EXPORT bool SubscribeCommonEvent();
    // For the host to call when another user comes to the foreground. Blocks for up to eight seconds while the service
    // of the old one is told.
    CFWK_EXPORT void OnEventUserSwitched();
    void OnDataShareReady();
    // The foreground user; 100 when it is not known.
    int32_t GetLocalAccountId();
    // The same and the account manager's code, without a line in the log.
    static ForegroundAccount QueryForegroundAccount();

    // Switch propagation

    // Starts or stops the service as the local switch `state` asks and publishes it. 0; otherwise the profile's code.
    int32_t UpdateEdgeSwitchState(bool state);
    int32_t UpdateDeviceProfile(bool state);
    // Tells clients that the switch of the peer `udid` is now `status`.
    void onSwitchStatusChanged(const std::string& udid, bool status);

    // Eligibility. These are virtual so that they can be replaced; the order is kept.

    virtual bool IsNeedStopKeyMouse();
    // Whether the switch of the device `udid`, this one or a peer, is on.
    virtual bool CheckDeviceStatus(const std::string& udid);
    virtual bool IsPeerDeskInstalled();
    // Asks for the connection to the companion's service. 0; 2514.
    virtual int32_t ConnectKeyMouseService();
    virtual bool IsSurpportDevice(uint32_t deviceTypeId);
    // Whether no online peer has its switch on.
    virtual bool CheckIfNeedStopKeyMouse();
    virtual bool HasOnlineDeviceSwitchOn();

    // Whether the device runs the next-generation system.
    bool IsNextDevice(const DmDeviceInfo& info);
    bool IsNextDevice(const std::string& networkId);
    bool IsSameAccount(const std::string& networkId);
    // Whether `profile` is of the service `serviceId`.
    bool IsContainServiceId(const CharacteristicProfile& profile, const std::string& serviceId);
    // Adds the switch's service if both this device and one of type `remoteDeviceTypeId` support crossing.
    void AddServiceId(uint32_t remoteDeviceTypeId, std::vector<std::string>& serviceIds);
    void SetDeviceStatus(const std::string& udid, bool online);
    // Empty when the device is not trusted or not online.
    std::string getDeviceNetworkId(const std::string& udid);
    // The device's switch as it is published, false when it is not known, and the profile's code.
    std::pair<bool, int32_t> GetDeviceStatusFromDp(const std::string& udid);

    // Answers every rule of crossing for one peer, named by its network id or udid, in the order in which a decision
    // asks them. The service runs if the required ones hold for any peer; with "bind requested" the installed companion
    // is enough. Of a peer that is not trusted nothing is known: its own rules do not hold. Changes nothing; asks the
    // port the same questions as a decision, and logs their lines.
    CFWK_EXPORT std::vector<CrossingRule> ExplainCrossing(const std::string& device);

    // Peers as they come, go and change. A decision follows one second after a peer came, and five minutes after one
    // has gone.

    // 1 the decision was posted; 0 it was refused; 1001 there is no device.
    int32_t OnDeviceOnline(sptr<DeviceInfo> deviceInfo);
    void OnDeviceOffline(sptr<DeviceInfo> deviceInfo);
    void OnDeviceChanged(sptr<DeviceInfo> deviceInfo);
    // `profile` is the peer's switch.
    void OnDeviceStatusChanged(const CharacteristicProfile& profile, uint32_t remoteDeviceTypeId);

    // Service connection

    // With `bind` the service runs whatever the switches and peers; without it the rules decide again.
    CFWK_EXPORT void BindKeymouseServiceReq(bool bind);
    // The decision: connects to the service or lets it go.
    void StartOrStopKeyMouseService(bool isSwitchOn);
    // 0; 2514 the companion is not installed, or could not be connected.
    int32_t StartKeyMouseService();
    void StopKeyMouseService();
    // After a connection was lost: three attempts in all since the last bind request.
    void RetryConnectKeyMouseService();
    // Waits a second, then pulls.
    void TryToPullKeyMouseServiceAsync();
    // Takes all trusted devices of supported types as online, subscribes them, and decides.
    void TryToPullKeyMouseService();
    int32_t TryConnectKeyMouseService(const DeviceInfo& deviceInfo);
    // The Timer operations post a task that waits and then decides; the Async ones are that task. Delays are
    // milliseconds.
    int32_t ConnectKeyMouseServiceTimer(uint32_t delayMs, const std::string& remoteUdid, const std::string& localUdid);
    void ConnectKeyMouseServiceAsync(uint32_t delayMs, const std::string& remoteUdid, const std::string& localUdid);
    void StopKeyMouseServiceTimer(uint32_t delayMs);
    void StopKeyMouseServiceAsync(uint32_t delayMs);
    // Tells the service of that user that it is let go. Blocks for up to eight seconds. False when there is none, or it
    // did not answer.
    bool DisconnectKeyMouseService(int32_t userId);
    void UpdateKeyMouseServiceBinder(int32_t userId, const sptr<IRemoteObject>& remoteObject);
    // Null when there is none; it may be dead.
    sptr<IRemoteObject> QueryKeyMouseServiceBinder(int32_t userId);
    void EraseKeyMouseServiceBinder(int32_t userId);
    void SetServiceConnected(bool isConnected);

    // Clients

    // Registers the callback of the client process `pid` for events of `type`, a KEY_ name of GloableVariables; a type
    // that is not known is passed over. Ten processes a type; the first callback of a process stays.
    CFWK_EXPORT void AddKeyMouseEventListener(
        const std::string& type, int32_t pid, const sptr<IRemoteObject>& callback);
    // Takes it away and, when nobody is left, stops the monitor or registration behind the type. A callback whose
    // process died is gone by itself, but the monitor goes on until this is called, for any pid.
    CFWK_EXPORT void RemoveKeyMouseEventListener(const std::string& type, int32_t pid);

    // Input relay

    // The id of the monitor that is active then; negative when none could be added.
    int32_t AddKeyMonitor();
    int32_t AddMouseMonitor();
    void RemoveKeyMonitor();
    void RemoveMouseMonitor();
    // 0; 1001 no event.
    int32_t OnKeyEvent(std::shared_ptr<KeyEvent> event);
    void OnMouseEvent(std::shared_ptr<PointerEvent> event);
    int32_t OnMoveToEdgeEvent(const KeyMouseMoveToEdgeEvent& event);
    // Carries out a client's request, {"action": "sendKeyMouseEvent", "event": 1}. 0, and the answer, {"result": 0}, is
    // in `result`; 1001 the request is malformed; 2451 its action is not known.
    CFWK_EXPORT int32_t ProcessKeyMouseRequest(const std::string& request, std::string& result);
    // That action: events 1 and 3 lock the screen on, 2 and 4 release it. 0, and the code of that, or 1005 for other
    // events, is in `result`; 1001 there is no event.
    CFWK_EXPORT int32_t OnKeyMouseEvent(Json::Value& request, std::string& result);
    // How much the pointer is slowed down towards `direction`. The port's code.
    CFWK_EXPORT int32_t KeymouseSetDamplingCoefficient(uint32_t direction, double coefficient);

    // Screen and power

    // The device manager's code.
    int32_t RegisterDeviceScreenStatusCallback();
    int32_t UnRegisterDeviceScreenStatusCallback();
    // 0; 1001 it is not known, `screenStatus` is untouched.
    int32_t GetDeviceScreenStatus(const std::string& networkId, int32_t& screenStatus);
    // Keeps the screen on for a minute. 0; 1023 no lock could be made; otherwise the port's code.
    int32_t ScreenPowerLock();
    // 0; 1023 it was never locked; otherwise the port's code.
    int32_t ScreenPowerUnLock();

protected:
    KeyMouseServiceManager();
    virtual ~KeyMouseServiceManager() = default;

private:
    friend class Singleton<KeyMouseServiceManager>;

    static constexpr int32_t NO_USER = -1;

    using EventHandler = int32_t (KeyMouseServiceManager::*)(Json::Value& request, std::string& result);

    // What the rules say of a trusted device as such.
    struct PeerAnswers {
        std::string udid;
        bool isSupportDevice;
        bool isNextDevice;
        bool isAccountAuth;
    };
    // What became of a switch in the table of all users.
    struct SwitchMove {
        bool isCopied;   // to the foreground user
        bool isRetired;  // it is invalid now
    };
    struct DisplaySize {
        int32_t width;  // pixels
        int32_t height;
    };

    std::string GetLocalDeviceUdid();

    // Nothing when there is nothing to move.
    std::optional<SwitchMove> MoveSwitch(
        const std::string& key, const std::string& value, std::atomic<bool>& isMigrated);
    void RetireSwitch(const std::string& key, std::atomic<bool>& isMigrated);

    // Lines of the following are logged as those of `operation`.

    // False, and logged, when there are none or more than 10000.
    static bool GetTrustedDevices(const char* operation, std::vector<DmDeviceInfo>& devices);
    // False, and logged, when the device manager fails or there are none.
    static bool FetchTrustedDevices(const char* operation, std::vector<DmDeviceInfo>& devices);
    // The first with that network id.
    static std::optional<DmDeviceInfo> FindTrustedDevice(const char* operation, const std::string& networkId);
    bool IsEligible(const char* operation, const DmDeviceInfo& device);
    // Nothing, and logged, when there is no such display.
    std::optional<DisplaySize> GetDisplaySize(const char* operation, int32_t displayId);

    PeerAnswers CheckPeer(const DmDeviceInfo& device);
    // With onlineDevicesMutex_ held.
    bool IsAnyOnlineSwitchOn();
    void DecideByLocalSwitch();
    DisplaySize CacheDisplay(const Display& display);

    std::atomic<bool> switchDataMigrated_{false};
    std::atomic<bool> edgeDataMigrated_{false};
    std::mutex onlineDevicesMutex_;
    std::map<std::string, bool> onlineDevices_;  // by udid: whether it is online; guarded by onlineDevicesMutex_
    std::mutex udidMutex_;
    std::string localDeviceUdid_;  // guarded by udidMutex_; empty while this device is not known
    std::atomic<uint32_t> localDeviceType_{0};
    std::atomic<bool> stopTaskStarted_{false};
    const sptr<KeyMouseServiceConnection> keyMouseServiceConnection_;
    std::atomic<bool> dpInitDone_{false};
    std::atomic<bool> dbReady_{false};
    std::atomic<bool> localEdgeSwitchState_{false};
    std::atomic<int32_t> dpRetryTimes_{0};
    std::atomic<int32_t> currentUserId_{NO_USER};  // whose settings are observed; NO_USER before the first switch
    const std::shared_ptr<KeyMouseDeviceScreenStatusCallback> screenStatusCallback_;
    const sptr<KeyMouseDataShareObserver> dataShareObserver_;
    const std::unordered_map<std::string, EventHandler> eventHandlers_;  // by action
    std::shared_ptr<RunningLock> runningLock_;                           // guarded by runningLockMutex_
    std::mutex runningLockMutex_;
    std::mutex binderMutex_;
    std::map<int32_t, sptr<IRemoteObject>> binderMap_;  // by user; guarded by binderMutex_
    std::mutex monitorMutex_;
    int32_t keyMonitorId_ = -1;    // guarded by monitorMutex_; negative when there is none
    int32_t mouseMonitorId_ = -1;  // the same
    std::atomic<int32_t> connectCount_{0};
    std::atomic<bool> isNeedStopKeyMouse_{false};
    std::atomic<bool> bindKeymouseServiceReq_{false};
    std::atomic<bool> isServiceConnected_{false};
    std::mutex displayMutex_;
    uint64_t displayId_ = std::numeric_limits<uint64_t>::max();  // guarded by displayMutex_; no event is on that one
    int32_t displayWidth_ = 0;                                   // of that display, pixels; guarded by displayMutex_
    int32_t displayHeight_ = 0;                                  // the same
    std::atomic<bool> isAtEdge_{false};
};

}  // namespace ZYNE::CollaborationFwk
