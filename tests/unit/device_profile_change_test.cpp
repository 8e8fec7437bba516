#include "platform/host/global_variables.h"
#include "plugin/device_profile/subscribe_dp_change_listener.h"
#include "tests/support/profile_listener.h"
#include "tests/support/second_thread.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

const std::string URI = "datashare:///com.varn.collaborationfwk.infocollection";
const std::string SWITCH_SERVICE = "SwitchStatus_Key_Mouse_Edge_Crossing";

// Changes of a peer's characteristics as its subscriber sees them.
class DeviceProfileChange : public Testing::LibraryTest {
protected:
    DeviceProfileChange() {
        LogService::minLevel = LogLevel::DEBUG;
        manager.SubscribeOnlineDevice(MakeSptr<DeviceInfo>("peer-udid-0001", "network", "desk", DeviceType::PC));
        manager.RegisterProfileChangeListener([this](CharacteristicProfile profile, SyncProfileChangeType type) {
            EXPECT_EQ(profile.GetDeviceId(), "peer-udid-0001");
            EXPECT_EQ(profile.GetServiceName() + " " + profile.GetCharacteristicKey(), expectedName);
            EXPECT_EQ(profile.GetUserId(), 100);
            device.journal.Call(
                "function(" + profile.GetCharacteristicValue() + ", " + std::to_string(static_cast<int>(type)) + ")");
        });
        manager.RegisterSuperDeviceProfileChangeListenerMap(GloableVariables::SUPER_DEVICE_DP_CHANGE_LISTENER_KEY,
            [this](int event) { device.journal.Call("super(" + std::to_string(event) + ")"); });
        device.journal.Clear();
    }
    ~DeviceProfileChange() override { LogService::minLevel = LogLevel::INFO; }

    CharacteristicProfile Switch(const std::string& value) { return Make(SWITCH_SERVICE, "SwitchStatus", value); }
    CharacteristicProfile Info(const std::string& value) {
        return Make("infoCollection", "infoCollectionCharacterKey", value);
    }
    // What the registered function expects to be told of next.
    CharacteristicProfile Make(const std::string& service, const std::string& key, const std::string& value) {
        expectedName = service + " " + key;
        CharacteristicProfile profile = Testing::ProfileOf("peer-udid-0001", service, key, value);
        profile.SetUserId(100);
        return profile;
    }

    DeviceProfileManager& manager = DeviceProfileManager::GetInstance();
    std::string expectedName;
};

// Does something whenever it is copied: whoever copies it under a lock can be watched there.
struct WatchedFunction {
    explicit WatchedFunction(std::shared_ptr<std::function<void()>> action) : onCopy(std::move(action)) {}
    WatchedFunction(const WatchedFunction& other) : onCopy(other.onCopy) {
        if (const auto once = std::exchange(*onCopy, nullptr)) {
            once();
        }
    }
    DeviceProfileManager::CollectedPairs operator()(const auto&...) const { return {}; }

    std::shared_ptr<std::function<void()>> onCopy;
};

TEST_F(DeviceProfileChange, OfTheSwitchReachesTheFunctionsAndIsNotHandledFurther) {
    const std::string super = "I Collection: ExecuteSuperDeviceProfileChangeListener start";
    const std::string check = "I Collection: deviceId: p**1 check IsContainServiceId";
    const std::string found = "I Collection: IsContainServiceId for " + SWITCH_SERVICE + " is true";
    const std::string status = "I Collection: deviceStatus change";
    const std::string types = "I Collection: local deviceType: 0, remote deviceType: 2607";
    const std::string told = "I Collection: local deviceType or remote deviceType is not supported";
    const std::string ends = "D Collection: not infoCollection change";
    const auto expectHandling = [&](const std::string& change, const std::string& function, int32_t result) {
        EXPECT_EQ(result, 1001);
        const std::string begins = "I Detect: CharacteristicProfile " + change + ", key: SwitchStatus";
        std::vector<std::string> own{begins, status, ends};
        std::vector<std::string> all{
            begins, function, super, "super(3)", check, found, status, types, told, check, ends};
        if (change == "delete") {
            own.insert(own.begin() + 1, "I Collection: OnCharacteristicProfileDelete start.");
            all.insert(all.begin() + 4, own[1]);
        }
        ExpectAll(all);
        const std::string name{static_cast<char>(std::toupper(change[0]))};
        ExpectLinesOf("OnCharacteristicProfile" + name + change.substr(1), own);
        device.journal.Clear();
    };
    expectHandling("add", "function(0, 0)", device.profiles.Publish(Switch("0")));
    expectHandling("update", "function(1, 1)", device.profiles.Publish(Switch("1")));
    expectHandling("delete", "function(1, 2)", device.profiles.Delete(Switch("1")));
}

TEST_F(DeviceProfileChange, OfInfoIsWrittenForTheAppsWhichAreThenTold) {
    const std::string announce = "NotifyChangeExt(2, " + URI + ", {datashareChanged:true})";
    EXPECT_EQ(device.profiles.Publish(Info("{\"a\":1}")), 0);
    ExpectCalls({"function({\"a\":1}, 0)", "super(3)", "GetSystemAbility(70635)", "Creator(" + URI + ", , 2)",
        "Insert(" + URI + ", peer-udid-0001={\"a\":1})", "NotifyChangeExt(0, " + URI + ", {peer-udid-0001:{\"a\":1}})",
        announce});
    ExpectLinesOf("OnCharacteristicProfileAdd",
        {"I Detect: CharacteristicProfile add, key: infoCollectionCharacterKey",
            "I Collection: OnCharacteristicProfileAdd start datashare",
            "I Collection: OnCharacteristicProfileAdd load datashare success"});

    device.journal.Clear();
    device.dataShare.codes["Insert"] = -3;
    EXPECT_EQ(device.profiles.Publish(Info("new")), 0);
    ExpectCalls({"function(new, 1)", "super(3)", "Insert(" + URI + ", peer-udid-0001=new)",
        "NotifyChangeExt(0, " + URI + ", {peer-udid-0001:new})", announce});
    ExpectLinesOf("OnCharacteristicProfileUpdate",
        {"I Detect: CharacteristicProfile update, key: infoCollectionCharacterKey",
            "I Collection: OnCharacteristicProfileUpdate start datashare",
            "I Collection: OnCharacteristicProfileUpdate load datashare success"});

    device.journal.Clear();
    EXPECT_EQ(device.profiles.Delete(Info("new")), 0);
    ExpectCalls({"function(new, 2)", "super(3)"});
}

TEST_F(DeviceProfileChange, OfInfoIsNotHandledWithoutAWayToTheApps) {
    device.dataShare.codes["Creator"] = 1;
    EXPECT_EQ(device.profiles.Publish(Info("1")), 1001);
    ExpectLast("E Collection: OnCharacteristicProfileAdd CreateDataShareHelper failed");
    EXPECT_EQ(device.profiles.Publish(Info("2")), 1001);
    ExpectLast("E Collection: OnCharacteristicProfileUpdate CreateDataShareHelper failed");
}

TEST_F(DeviceProfileChange, MayReplaceTheFunctionThatItReaches) {
    auto kept = std::make_shared<std::string>("first");
    manager.RegisterProfileChangeListener([this, kept](CharacteristicProfile, SyncProfileChangeType) {
        manager.RegisterProfileChangeListener(nullptr);
        device.journal.Call(*kept);
    });
    manager.RegisterSuperDeviceProfileChangeListenerMap(
        GloableVariables::SUPER_DEVICE_DP_CHANGE_LISTENER_KEY, [this](int) { device.journal.Call("second"); });
    device.profiles.Publish(Switch("0"));
    device.profiles.Publish(Switch("1"));
    ExpectCalls({"first", "super(3)", "super(3)"});
    EXPECT_EQ(kept.use_count(), 1);
}

TEST_F(DeviceProfileChange, LetsWhatAReplacedFunctionCapturedDieOutsideTheLock) {
    Testing::SecondThread second;
    int died = 0;
    const auto mortal = [&] {
        return std::shared_ptr<int>(&died, [&](int* count) {
            ++*count;
            EXPECT_TRUE(second.Ends([this] { manager.RegisterSuperDeviceProfileChangeListenerMap("other", nullptr); }));
        });
    };
    manager.RegisterProfileChangeListener([kept = mortal()](CharacteristicProfile, SyncProfileChangeType) {});
    manager.RegisterProfileChangeListener(nullptr);
    manager.RegisterSubscribeInfoListener([kept = mortal()] { return DeviceProfileManager::CollectedPairs(); });
    manager.RegisterSubscribeInfoListener(nullptr);
    manager.RegisterSuperDeviceProfileChangeListenerMap(
        GloableVariables::SUPER_DEVICE_DP_CHANGE_LISTENER_KEY, [kept = mortal()](int) {});
    EXPECT_EQ(died, 3);
}

TEST_F(DeviceProfileChange, TakesAFunctionWhileNobodyExchangesIt) {
    const auto onCopy = std::make_shared<std::function<void()>>();
    const std::string name = GloableVariables::SUPER_DEVICE_DP_CHANGE_LISTENER_KEY;
    LibraryRenewer::RenewAll();
    manager.RegisterProfileChangeListener(WatchedFunction(onCopy));
    manager.RegisterSubscribeInfoListener(WatchedFunction(onCopy));
    manager.RegisterSuperDeviceProfileChangeListenerMap(name, WatchedFunction(onCopy));
    Testing::SecondThread second;
    const auto exchangeWaits = [&](const std::function<void()>& exchange) {
        *onCopy = [&second, exchange] {
            EXPECT_TRUE(second.Waits(exchange));
        };
    };
    const sptr<DeviceInfo> peer = MakeSptr<DeviceInfo>("peer-udid-0001", "network", "desk", DeviceType::PC);
    exchangeWaits([this] { manager.RegisterSubscribeInfoListener(nullptr); });
    manager.SubscribeOnlineDevice(peer);
    exchangeWaits([this] { manager.RegisterProfileChangeListener(nullptr); });
    device.profiles.Publish(Switch("1"));
    second.Join();
    exchangeWaits([this] { manager.RegisterSuperDeviceProfileChangeListenerMap("other", nullptr); });
    device.profiles.Publish(Switch("1"));
    EXPECT_EQ(*onCopy, nullptr);  // each was copied
}

TEST_F(DeviceProfileChange, MissesTheSuperDeviceListenerInTheLog) {
    LibraryRenewer::RenewAll();
    const std::string name = GloableVariables::SUPER_DEVICE_DP_CHANGE_LISTENER_KEY;
    for (const auto& [key, line] : std::vector<std::pair<std::string, std::string>>{
             {"other", "E Collection: deviceProfileChangeListenerMap_ not found"},
             {name, "E Collection: ExecuteSuperDeviceProfileChangeListener listener not found"}}) {
        manager.RegisterSuperDeviceProfileChangeListenerMap(key, nullptr);
        manager.ExecuteSuperDeviceProfileChangeListener();
        ExpectLast(line);
    }
}

TEST_F(DeviceProfileChange, OfAnythingButCharacteristicsIsOnlyLogged) {
    const sptr<IProfileChangeListener> listener = MakeSptr<DeviceProfileManager::SubscribeDPChangeListener>();
    EXPECT_EQ(listener->OnTrustDeviceProfileAdd({}) + listener->OnTrustDeviceProfileDelete({}) +
            listener->OnTrustDeviceProfileUpdate({}, {}) + listener->OnDeviceProfileAdd({}) +
            listener->OnDeviceProfileDelete({}) + listener->OnDeviceProfileUpdate({}, {}) +
            listener->OnServiceProfileAdd({}) + listener->OnServiceProfileDelete({}) +
            listener->OnServiceProfileUpdate({}, {}),
        0);
    std::vector<std::string> expected;
    for (const std::string kind : {"TrustDevice", "Device", "Service"}) {
        for (const std::string change : {"Add", "Delete", "Update"}) {
            expected.push_back("I Collection: On" + kind + "Profile" + change + " start.");
        }
    }
    ExpectAll(expected);
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
