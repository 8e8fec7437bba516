// The state of screens: this device's own with a desktop that the test plays, and peers' with a played peer.
#include <chrono>
#include <functional>
#include <latch>
#include <memory>
#include <optional>

#include "linux/bus/bus_address.h"
#include "linux/desktop/screen_state.h"
#include "linux/network/fabric.h"
#include "linux/network/presence/announcement.h"
#include "linux/network/presence/fabric_code.h"
#include "platform/device_manager/device_manager.h"
#include "tests/port/played_device.h"

namespace ZYNE::Linux {
namespace {

// A desktop's screen saver, served whenever the test lets it.
class PlayedScreenSaver {
public:
    PlayedScreenSaver(const std::string& address, std::string path, bool isActive)
        : path_(std::move(path)), isActive_(isActive), bus_(OpenBus(address)) {
        static const sd_bus_vtable OBJECT[] = {SD_BUS_VTABLE_START(0),
            SD_BUS_METHOD("GetActive", "", "b", &PlayedScreenSaver::GetActive, SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_VTABLE_END};
        EXPECT_GE(sd_bus_add_object_vtable(bus_.get(), nullptr, path_.c_str(), NAME, OBJECT, this), 0);
        EXPECT_GE(sd_bus_request_name(bus_.get(), NAME, 0), 0);
    }
    void SetActive(bool isActive) {
        isActive_ = isActive;
        EXPECT_GE(sd_bus_emit_signal(bus_.get(), path_.c_str(), NAME, "ActiveChanged", "b", isActive ? 1 : 0), 0);
    }
    void Serve() {
        while (sd_bus_process(bus_.get(), nullptr) > 0) {
        }
    }

private:
    static constexpr char NAME[] = "org.freedesktop.ScreenSaver";

    static int GetActive(sd_bus_message* message, void* self, sd_bus_error*) {
        return sd_bus_reply_method_return(message, "b", static_cast<PlayedScreenSaver*>(self)->isActive_ ? 1 : 0);
    }

    const std::string path_;
    bool isActive_;
    BusHandle bus_;
};

TEST_F(DeviceTest, FollowsADesktopThatComesAndGoesUnlessItIsSetByHand) {
    const std::string address = BusAddress(directory / "run");
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    Told<int> told;
    std::optional<PlayedScreenSaver> saver;
    std::vector<int> expected;
    const auto tells = [&](int next) {
        expected.push_back(next);
        return Eventually([&] {
            if (saver) {
                saver->Serve();
            }
            return told.All() == expected;
        });
    };
    ScreenState screen(device.pool, std::chrono::milliseconds(20));
    EventLoop loop("test");
    screen.Start(loop, [&](ScreenStatus status) { told.Add(status); });

    device.bus.Start({directory / "run", {}, {}});
    saver.emplace(address, "/ScreenSaver", false);
    EXPECT_TRUE(tells(SCREEN_ON));
    saver->SetActive(true);
    EXPECT_TRUE(tells(SCREEN_OFF));
    screen.Set(SCREEN_LOCKED);
    EXPECT_TRUE(tells(SCREEN_LOCKED));
    screen.Set(SCREEN_UNKNOWN);
    EXPECT_TRUE(tells(SCREEN_OFF));
    saver.reset();
    EXPECT_TRUE(tells(SCREEN_UNKNOWN));
    saver.emplace(address, "/org/freedesktop/ScreenSaver", false);
    EXPECT_TRUE(tells(SCREEN_ON));
    saver.reset();
    device.bus.Stop();
    EXPECT_TRUE(tells(SCREEN_UNKNOWN));
    screen.Stop();
    screen.Set(SCREEN_OFF);
    EXPECT_EQ(told.All(), expected);
}

constexpr char PACKAGE[] = "test";
const std::string SELF(64, 'a');
const std::string DESK(64, 'b');

struct ScreenCallback final : DeviceScreenStatusCallback {
    explicit ScreenCallback(std::function<void(const DmDeviceInfo&)> each) : handler(std::move(each)) {}
    void OnDeviceScreenStatus(const DmDeviceInfo& device) override { handler(device); }

    const std::function<void(const DmDeviceInfo&)> handler;
};

class PeerScreen : public DeviceTest {
protected:
    PeerScreen() {
        Fabric& fabric = device.network;
        fabric.SetDeviceStateHandler([this](int state, const DmDeviceInfo&) { states.Add(state); });
        fabric.SetScreenStatus(SCREEN_ON);
        const FabricOptions options = OpenNetwork(directory, SELF);
        fabric.Start(options);
        peer.emplace(OpenIdentity(DESK, options.accountName));
    }
    ~PeerScreen() override {
        manager.UnRegisterDeviceScreenStatusCallback(PACKAGE);
        peer.reset();
        device.Stop();
    }

    // The first time, the peer comes online.
    void Announce(const std::string& name, int32_t screenStatus) {
        peer->SetFacts({name, 0, OS_TYPE, screenStatus});
        if (!peer->HasLink(SELF)) {
            EXPECT_TRUE(Eventually([this] { return device.network.Status().port != 0; }));
            peer->Dial(device.network.Status().port);
            EXPECT_TRUE(Eventually([this] { return peer->HasLink(SELF); }));
        }
    }
    // Whether the peer is told that this device's screen is so.
    bool IsTold(int32_t status) const {
        return Eventually([&] {
            const auto told = peer->told.All();
            return !told.empty() && told.back() == "facts self " + std::to_string(status);
        });
    }
    void Register(std::function<void(const DmDeviceInfo&)> handler) const {
        EXPECT_EQ(
            manager.RegisterDeviceScreenStatusCallback(PACKAGE, std::make_shared<ScreenCallback>(std::move(handler))),
            FABRIC_OK);
    }
    // The peer's status, or the code of the failure from 100 up.
    int Status() const {
        int32_t status = SCREEN_UNKNOWN;
        const int32_t code = manager.GetDeviceScreenStatus(PACKAGE, peer->identity.networkId, status);
        return code == FABRIC_OK ? status : 100 + code;
    }
    bool Becomes(int status) const {
        return Eventually([&] { return Status() == status; });
    }

    DeviceManager& manager = DeviceManager::GetInstance();
    Told<int> states;
    std::optional<PlayedDevice> peer;
};

TEST_F(PeerScreen, IsKnownToBothWhileTheyAreOnlineAndItsChangesAreToldAndAreNoDeviceState) {
    Told<std::string> told;
    Register([&](const DmDeviceInfo& desk) { told.Add(desk.deviceName + desk.extraData); });
    EXPECT_EQ(Status(), 100 + FABRIC_PEER_OFFLINE);
    Announce("desk", SCREEN_UNKNOWN);
    EXPECT_TRUE(Becomes(100 + FABRIC_NOT_KNOWN));
    EXPECT_TRUE(states.Reaches(1));
    EXPECT_TRUE(IsTold(SCREEN_ON)) << "as it was set before the start";
    device.network.SetScreenStatus(SCREEN_LOCKED);
    EXPECT_TRUE(IsTold(SCREEN_LOCKED));
    device.network.SetScreenStatus(4);
    EXPECT_TRUE(IsTold(SCREEN_UNKNOWN));
    Announce("desk", SCREEN_OFF);
    EXPECT_TRUE(told.Reaches(1));
    EXPECT_EQ(Status(), SCREEN_OFF);
    Announce("table", SCREEN_OFF);
    EXPECT_TRUE(states.Reaches(2));
    Announce("table", SCREEN_LOCKED);
    EXPECT_TRUE(told.Reaches(2));
    EXPECT_EQ(Status(), SCREEN_LOCKED);
    Announce("table", 77);
    EXPECT_TRUE(told.Reaches(3));
    EXPECT_EQ(Status(), 100 + FABRIC_NOT_KNOWN);
    EXPECT_THAT(told.All(),
        ElementsAre(R"(desk{"OS_TYPE":10,"DEVICE_SCREEN_STATUS":0})", R"(table{"OS_TYPE":10,"DEVICE_SCREEN_STATUS":2})",
            R"(table{"OS_TYPE":10,"DEVICE_SCREEN_STATUS":-1})"));
    peer->Do([this] { peer->links.Leave(); });
    EXPECT_TRUE(Becomes(100 + FABRIC_PEER_OFFLINE));
    EXPECT_TRUE(states.Reaches(3));
    EXPECT_THAT(states.All(), ElementsAre(0, 2, 1));
}

TEST_F(PeerScreen, IsReadOnWhileACallbackBlocksWhichIsToldTheLastChangeAfterwards) {
    std::latch blocked(1);
    std::latch release(1);
    Told<std::string> told;
    bool isFirst = true;
    Register([&](const DmDeviceInfo& desk) {
        told.Add(desk.extraData.substr(desk.extraData.size() - 2));
        if (std::exchange(isFirst, false)) {
            blocked.count_down();
            release.wait();
        }
    });
    Announce("desk", SCREEN_ON);
    blocked.wait();
    for (const int32_t status : {SCREEN_OFF, SCREEN_ON, SCREEN_LOCKED}) {
        Announce("desk", status);
        EXPECT_TRUE(Becomes(status));
    }
    EXPECT_THAT(told.All(), ElementsAre("1}"));
    release.count_down();
    EXPECT_TRUE(told.Reaches(2));
    EXPECT_THAT(told.All(), ElementsAre("1}", "2}"));
    EXPECT_EQ(manager.UnRegisterDeviceScreenStatusCallback(PACKAGE), FABRIC_OK);
    Announce("desk", SCREEN_ON);
    EXPECT_TRUE(Becomes(SCREEN_ON));
    EXPECT_EQ(told.All().size(), 2U);
}

}  // namespace
}  // namespace ZYNE::Linux
