// A device that crossing starts on: the companion is installed, the foreground user's switch is on, and one peer, which
// is eligible in every way, is there. Each test takes away what it is about.
#pragma once

#include <string>
#include <vector>

#include "platform/host/picker_result.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "tests/support/profile_listener.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::Testing {

class KeyMouseTest : public LibraryTest {
protected:
    static inline const std::string USER_TABLE =
        "datashare:///com.zyne.settingsdata/entry/settingsdata/USER_SETTINGSDATA_SECURE_";
    static inline const std::string GLOBAL_TABLE = "datashare:///com.zyne.settingsdata/entry/settingsdata/SETTINGSDATA";
    static inline const std::string SWITCH_SERVICE = "SwitchStatus_Key_Mouse_Edge_Crossing";
    static inline const std::string CONNECT =
        "ConnectServiceExtensionAbility(com.talvex.peerdesk, KeyMouseService, isSelfStart=false, null, -1)";
    static inline const std::string QUALIFIED = "I Collection: trust and same acconut device switch on.";
    static inline const std::string SWITCH_OFF = "I Collection: LocalDevice switch off";
    static inline const std::string CONNECTED = "I Collection: Connect Key mouse service ret:0";
    static inline const std::string STOPPED = "I Collection: StopKeyMouseService ret = 0 ";

    KeyMouseTest() {
        device.apps.applications["com.talvex.peerdesk"] = {"com.talvex.peerdesk", true};
        AddPeer("peer");
        device.dataShare.SetSetting(USER_TABLE + "101", "peer_desk_state", "1");
    }

    // A peer "name-network" with the udid "name-udid" and its switch on.
    void AddPeer(const std::string& name) {
        device.deviceManager.trusted.push_back({name + "-id", name + "-network", name, R"({"OS_TYPE":10})",
            CollaborationFwk::DeviceType::PHONE, DmDeviceInfo::IDENTICAL_ACCOUNT});
        device.host.udids[name + "-network"] = name + "-udid";
        SetPeerSwitch(name, "1");
    }
    void SetPeerSwitch(const std::string& name, const std::string& value) {
        device.profiles.Publish(ProfileOf(name + "-udid", SWITCH_SERVICE, "SwitchStatus", value));
    }
    sptr<CollaborationFwk::DeviceInfo> Peer(uint32_t type = CollaborationFwk::DeviceType::PHONE) {
        return MakeSptr<CollaborationFwk::DeviceInfo>("peer-udid", "peer-network", "peer", type);
    }

    // Everything is ready and has been looked at; the journal is empty.
    void StartUp() {
        manager.OnDpStart();
        manager.OnDataShareReady();
        device.pool.RunAll();
        device.journal.Clear();
    }
    void ExpectDecision(const std::string& line, const std::string& outcome, const Place& place = Place::Current()) {
        EXPECT_TRUE(device.journal.Has(line)) << line;
        ExpectCount(CONNECTED, outcome == CONNECTED ? 1 : 0, place);
        ExpectCount(STOPPED, outcome == STOPPED ? 1 : 0, place);
        device.journal.Clear();
    }
    std::string Setting(const std::string& table, const std::string& key) {
        std::string value;
        device.dataShare.QueryStringValue(table, key, value);
        return value;
    }
    static std::string Masked(const std::string& id) { return CollaborationFwk::PickerResult::StringToAnonymous(id); }

    CollaborationFwk::KeyMouseServiceManager& manager = CollaborationFwk::KeyMouseServiceManager::GetInstance();
};

}  // namespace ZYNE::Testing
