#include "plugin/info_collection/info_collection_process.h"

#include "plugin/info_collection/info_collection_service.h"
#include "tests/support/library_renewer.h"
#include "tests/support/second_thread.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

TEST(Loading, RegistersTheListenerAndThenThePlugin) {
    std::vector<std::string> registrations;
    for (const std::string& call : Testing::SimulatedDevice::Boot().journal.Calls()) {
        if (call.starts_with("Register")) {
            registrations.push_back(call);
        }
    }
    EXPECT_THAT(registrations, ElementsAre("RegisterEventListener(3)", "RegisterInstance(5)"));
    EXPECT_TRUE(Testing::SimulatedDevice::Boot().host.plugin);
    EXPECT_THAT(Testing::SimulatedDevice::Boot().journal.Lines(),
        IsSupersetOf({"I Collection: create InfoCollectionProcess", "I Collection: create InfoCollectionService"}));
}

class Process : public Testing::LibraryTest {};

TEST_F(Process, IsMadeOnceThoughTwoThreadsAreFirstAndIsWhatTheHostGets) {
    Testing::SecondThread second;
    InfoCollectionProcess* other = nullptr;
    device.host.onRegisterListener = [&] {
        device.host.onRegisterListener = nullptr;
        EXPECT_TRUE(second.Waits([&other] { other = InfoCollectionProcess::GetInstance(); }));
    };
    LibraryRenewer::RenewAll();
    second.Join();
    EXPECT_EQ(other, InfoCollectionProcess::GetInstance());
    EXPECT_EQ(device.host.plugin, other);
    EXPECT_EQ(device.journal.Count("I Collection: create InfoCollectionProcess"), 1U);
    EXPECT_EQ(device.journal.Count("I Collection: destroy InfoCollectionProcess"), 1U);
}

class ChannelListener : public Testing::LibraryTest {
protected:
    void Deliver(const std::string& id, const CollaborationFwkProtocol& message) {
        const auto protocol = std::make_shared<CollaborationFwkProtocol>(message);
        device.host.listeners.back()->OnDataReceived(id, protocol, 4194305);
    }
};

TEST_F(ChannelListener, IsRegisteredAfreshWhenTheHostAsksAndNeverWithoutAManager) {
    InfoCollectionProcess::GetInstance()->InitEventListener();
    ASSERT_EQ(device.host.listeners.size(), 2U);
    EXPECT_NE(device.host.listeners[0], device.host.listeners[1]);

    device.host.hasListenerManager = false;
    InfoCollectionProcess::GetInstance()->InitEventListener();
    EXPECT_THAT(device.journal.All(), ElementsAre("RegisterEventListener(3)"));
    Deliver("00000000042-me", CollaborationFwkProtocol("{}"));
    EXPECT_EQ(device.journal.Lines().back(), "E CFWKService: FetchCollaborationId fail");
    EXPECT_FALSE(device.host.listeners.back()->IsIdExist("00000000042-me"));
}

TEST_F(ChannelListener, PassesAMessageOnUnderItsIdAndWithItsOwnLengthUnlessItLacksPayloadOrId) {
    device.host.unknownIdCode = -1;
    Deliver("nobody", CollaborationFwkProtocol("{}"));
    EXPECT_EQ(device.journal.Lines().back(), "E CFWKService: FetchCollaborationId fail");
    device.journal.Clear();
    device.host.unknownIdCode = 1;
    device.host.listeners.back()->OnDataReceived("nobody", nullptr, 5);
    Deliver("nobody", CollaborationFwkProtocol());
    Deliver("nobody", CollaborationFwkProtocol("{}"));
    EXPECT_THAT(device.journal.Lines(),
        ElementsAre("E CFWKService: rawData is null", "E CFWKService: rawData is null",
            "E CFWKService: FetchCollaborationId fail"));
    Deliver("00000000042-me", CollaborationFwkProtocol("{}"));
    EXPECT_TRUE(device.journal.Has("I Collection: SetDynamicInfo, collaborationId: 42"));
    Deliver("00000000043-me", CollaborationFwkProtocol(std::string(4194306, ' ')));
    EXPECT_EQ(device.journal.Lines().back(), "E Collection: OnDataReceived rawDataLen:4194306 is oversize");
}

TEST_F(ChannelListener, KnowsAnIdOnlyWhileItsRequestWaitsWhichOutlivesItsChannel) {
    EventListener& listener = *device.host.listeners.back();
    EXPECT_FALSE(listener.IsIdExist("00000000042-me"));
    device.time.At(std::chrono::seconds(1), [&listener] {
        EXPECT_TRUE(listener.IsIdExist("00000000042-me"));
        EXPECT_FALSE(listener.IsIdExist("nobody"));
        listener.OnCtrlChannelShutDown("00000000042-me");
        listener.OnWiFiShutDown();
        EXPECT_FALSE(listener.IsIdExist(42));
    });
    device.time.At(
        std::chrono::seconds(4), [this] { Deliver("00000000042-me", CollaborationFwkProtocol(R"({"a":""})")); });
    DeviceInfo peer("udid", "network", "desk", DeviceType::PC);
    std::vector<DeviceDynamicInfo> records;
    EXPECT_EQ(InfoCollectionService::GetInstance().GetRemoteDeviceDynamicInfo(peer, "me", {"a"}, records), 0);
    EXPECT_EQ(device.time.Elapsed(), std::chrono::seconds(4));
    EXPECT_FALSE(listener.IsIdExist("00000000042-me"));
    EXPECT_THAT(device.journal.Lines(),
        IsSupersetOf({"I CFWKService: on ctrl channel shutDown", "I CFWKService: on wifi shutDown"}));
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
