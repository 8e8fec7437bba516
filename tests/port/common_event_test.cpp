// Common events on a real bus. What comes over a connection other than the daemon's own stands for another process.
#include <unistd.h>

#include <latch>
#include <stdexcept>

#include "linux/bus/bus_address.h"
#include "linux/bus/bus_connection.h"
#include "linux/services/common_events.h"
#include "linux/services/event_subscribers.h"
#include "platform/event/common_event_manager.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

constexpr int32_t SYSTEM_SERVICE = 3012;
constexpr char PATH[] = "/com/zyne/CommonEvent";
constexpr char INTERFACE[] = "com.zyne.CommonEvent";
constexpr char PUBLISHED[] = "Published";

class Recorder final : public CommonEventSubscriber {
public:
    using CommonEventSubscriber::CommonEventSubscriber;

    void OnReceiveEvent(const CommonEventData& data) override {
        events.Add(data.GetWant().GetAction());
        if (gate != nullptr) {
            gate->wait();
        }
        throw std::runtime_error("a subscriber's own trouble");
    }
    Told<std::string> events;
    std::latch* gate = nullptr;
};

std::shared_ptr<Recorder> NewRecorder(
    const std::set<std::string>& names, int32_t publisher = CommonEventSubscribeInfo::ANY_PUBLISHER) {
    MatchingSkills skills;
    for (const std::string& name : names) {
        skills.AddEvent(name);
    }
    CommonEventSubscribeInfo info(skills);
    info.SetPublisherUid(publisher);
    return std::make_shared<Recorder>(info);
}

class CommonEvent : public BusTest {
protected:
    CommonEvent() {
        address = device.bus.GetAddress();
        events.Start(device.bus.GetClient());
        stranger = BusConnection::Make(loop, OpenBus(address));
    }
    ~CommonEvent() override { events.Stop(); }

    static std::shared_ptr<Recorder> Subscribe(
        const std::set<std::string>& names, int32_t publisher = CommonEventSubscribeInfo::ANY_PUBLISHER) {
        auto recorder = NewRecorder(names, publisher);
        EXPECT_TRUE(CommonEventManager::SubscribeCommonEvent(recorder));
        return recorder;
    }
    void Emit(const std::string& event) const {
        EmitWith([&](sd_bus_message* message) { return sd_bus_message_append(message, "s", event.c_str()); });
    }
    void EmitWith(const std::function<int(sd_bus_message*)>& write) const {
        std::string error;
        EXPECT_TRUE(stranger->Send(PATH, INTERFACE, PUBLISHED, write, error)) << error;
    }

    CommonEvents& events = device.events;
    std::string address;
    EventLoop loop{"test"};
    std::shared_ptr<BusConnection> stranger;
};

TEST_F(CommonEvent, OfAnotherProcessIsItsRealUsersAndOfTheDaemonThatOfTheServiceItStandsFor) {
    const auto ofService = Subscribe({"ready", "end"}, SYSTEM_SERVICE);
    const auto ofUser = Subscribe({"ready", "end"}, static_cast<int32_t>(getuid()));
    const auto ofAnyone = Subscribe({"ready", "end"});
    const auto ofOthers = Subscribe({"other"});
    EmitWith([](sd_bus_message* message) { return sd_bus_message_append(message, "si", "ready", SYSTEM_SERVICE); });
    ASSERT_TRUE(ofAnyone->events.Reaches(1));
    EXPECT_TRUE(events.Publish("ready", SYSTEM_SERVICE));
    EXPECT_TRUE(events.Publish("end", SYSTEM_SERVICE));
    Emit("end");
    Emit("other");

    EXPECT_TRUE(ofOthers->events.Reaches(1) && ofAnyone->events.Reaches(4) && ofService->events.Reaches(2) &&
        ofUser->events.Reaches(2));
    EXPECT_THAT(ofService->events.All(), ElementsAre("ready", "end"));
    EXPECT_THAT(ofUser->events.All(), ElementsAre("ready", "end"));
    EXPECT_THAT(ofAnyone->events.All(), ElementsAre("ready", "ready", "end", "end"));
    Emit("ready");
    stranger.reset();
    EXPECT_TRUE(ofAnyone->events.Reaches(5)) << "a process that has left is nobody in particular";
}

TEST_F(CommonEvent, ReachesOtherProcessesAsASignal) {
    std::latch heard(1);
    const auto hear = [&](sd_bus_message*) {
        heard.count_down();
    };
    const BusSlot listening = stranger->Listen(PATH, INTERFACE, PUBLISHED, hear);
    EXPECT_TRUE(events.Publish("ready", SYSTEM_SERVICE));
    heard.wait();
}

TEST_F(CommonEvent, ComesInOrderAndOneWhoBlocksHoldsUpNobodyAndLosesWhatIsTooMuch) {
    constexpr size_t MAX_WAITING = EventSubscribers::MAX_WAITING;
    std::latch gate(1);
    const auto blocked = NewRecorder({"first", "more", "last"});
    blocked->gate = &gate;
    ASSERT_TRUE(CommonEventManager::SubscribeCommonEvent(blocked));
    Emit("first");
    ASSERT_TRUE(blocked->events.Reaches(1));
    const auto free = Subscribe({"even", "odd"});
    std::vector<std::string> expected;
    for (int i = 0; i < 100; ++i) {
        expected.emplace_back(i % 2 == 0 ? "even" : "odd");
        Emit(expected.back());
    }
    EXPECT_TRUE(free->events.Reaches(expected.size()));
    EXPECT_EQ(free->events.All(), expected);

    for (size_t i = 0; i < MAX_WAITING - 1; ++i) {
        events.Publish("more", SYSTEM_SERVICE);
    }
    events.Publish("last", SYSTEM_SERVICE);
    bool isTold = false;
    events.Publish("more", SYSTEM_SERVICE, [&] { isTold = true; });
    EXPECT_TRUE(isTold);  // to all whom it has not been lost to
    EXPECT_EQ(blocked->events.All().size(), 1U);
    gate.count_down();
    EXPECT_EQ(blocked->events.Until("last").size(), 1 + MAX_WAITING);
}

TEST_F(CommonEvent, WithoutAProperNameIsPassedOver) {
    const std::string longest(CommonEvents::MAX_NAME_BYTES, 'x');
    const auto recorder = Subscribe({"", longest, longest + 'x', "end"});
    EXPECT_FALSE(events.Publish("", SYSTEM_SERVICE));
    EXPECT_FALSE(events.Publish(longest + 'x', SYSTEM_SERVICE));
    EXPECT_FALSE(events.Publish("end", -1));
    EmitWith([](sd_bus_message* message) { return sd_bus_message_append(message, "u", 7U); });
    EmitWith([](sd_bus_message*) { return 0; });
    Emit("");
    Emit(longest + 'x');
    Emit(longest);
    Emit("end");
    EXPECT_THAT(recorder->events.Until("end"), ElementsAre(longest, "end"));
}

TEST_F(CommonEvent, NeedsAStartAndIsOverWithTheStop) {
    std::latch gate(1);
    std::weak_ptr<Recorder> recorder = Subscribe({"ready"});
    recorder.lock()->gate = &gate;
    EXPECT_THROW(events.Start(device.bus.GetClient()), std::runtime_error);
    EXPECT_FALSE(events.Subscribe(nullptr));
    std::atomic<int> told = 0;
    auto held = std::make_shared<int>();
    const std::weak_ptr<int> watch = held;
    events.Publish("ready", SYSTEM_SERVICE, [&] { ++told; });
    ASSERT_TRUE(recorder.lock()->events.Reaches(1));
    events.Publish("ready", SYSTEM_SERVICE, [&, held = std::move(held)] { ++told; });
    EXPECT_EQ(told, 0);
    events.Stop();
    gate.count_down();
    EXPECT_TRUE(Eventually([&] { return recorder.expired() && watch.expired(); }));
    EXPECT_EQ(told, 1);  // the other came too late
    EXPECT_FALSE(CommonEventManager::SubscribeCommonEvent(NewRecorder({"ready"})));
    EXPECT_FALSE(events.Publish("ready", SYSTEM_SERVICE));
    events.Start(device.bus.GetClient());
    const auto late = Subscribe({"ready"});
    events.Publish("ready", SYSTEM_SERVICE);
    EXPECT_TRUE(late->events.Reaches(1));
}

}  // namespace
}  // namespace ZYNE::Linux
