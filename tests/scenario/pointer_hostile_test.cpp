// A program of the account that speaks to the phone's companion as if it were the PC's, and means no good.
#include <random>

#include <gmock/gmock.h>

#include "client/channels.h"
#include "companion/core/message.h"
#include "tests/scenario/pointer_scenario.h"

namespace ZYNE::Testing {
namespace {

using namespace std::chrono_literals;
using Client::ChannelKind;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr int A = 30;

// The channels, open.
struct Impostor {
    explicit Impostor(const TestDevice& device)
        : desk(Open(device, "desk", ChannelKind::RELIABLE)), motion(Open(device, "motion", ChannelKind::LATEST)),
          clipboard(Open(device, "clipboard", ChannelKind::BULK)) {}

    static Linux::UniqueFd Open(const TestDevice& device, const char* name, ChannelKind kind) {
        return device.Api().Channels().Open("com.talvex.peerdesk", "phone", name, kind, 30s);
    }

    void Say(const Companion::Message& message) const {
        Client::SendMessage(IsLatest(message) ? motion.Get() : desk.Get(), Write(message));
    }
    void Greet() const {
        Say(Companion::Hello{});
        Say(Companion::Status{true, false});
    }

    // Passes over all others.
    template <typename Wanted>
    Wanted Await() const {
        while (const auto bytes = Client::ReceiveMessage(desk.Get())) {
            const auto message = Companion::Read(*bytes);
            if (message && std::holds_alternative<Wanted>(*message)) {
                return std::get<Wanted>(*message);
            }
        }
        ADD_FAILURE() << "the channel has ended";
        return {};
    }
    // The pointer is let in, and what was said before has been heard.
    void Enter(Companion::Visit visit) const {
        Say(Companion::Enter{visit, {Companion::Side::RIGHT, "", 30000}, {}, {}, {}});
        EXPECT_EQ(Await<Companion::Entered>().visit, visit);
    }

    Linux::UniqueFd desk;
    Linux::UniqueFd motion;
    Linux::UniqueFd clipboard;
};

class PointerHostile : public PointerScenario {
protected:
    void SetUp() override { StartDesks({.hasPcCompanion = false}); }

    void ExpectUntouched() {
        EXPECT_TRUE(Comes(*phone, "home"));
        EXPECT_TRUE(phones->HoldsNothing());
        EXPECT_TRUE(phones->IsFree());
    }
    bool PushOut() { return PushOver({PHONE_WIDTH - 100, 400}, {200, 0}); }
    size_t LogSize() const { return ReadAll(phone->Directory() / "state" / "device.log").size(); }
};

TEST_F(PointerHostile, PressesAndTakesNothingByLies) {
    const Impostor impostor(*pc);
    impostor.Greet();
    const Companion::Total far{7, Companion::MAX_TOTAL, -Companion::MAX_TOTAL};
    const std::vector<Companion::Message> lies{Companion::Key{1, far, {A, true}}, Companion::Click{1, far, {1, true}},
        Companion::Wheel{1, far, {0, Companion::MAX_SCROLL}}, Companion::Left{1, far, "", {}}, Companion::Entered{1},
        Companion::Refused{1, Companion::Reason::BUSY}, Companion::Ended{1, Companion::Reason::ASKED},
        Companion::Move{1, far}, Companion::Alive{1, ~0ULL, far}, Companion::Echo{1, 1}};
    const Spot before = phones->At();
    for (const Companion::Message& lie : lies) {
        impostor.Say(lie);
    }
    impostor.Enter(2);
    for (const Companion::Message& lie : lies) {
        impostor.Say(lie);
    }
    impostor.Say(Companion::Ended{2, Companion::Reason::ASKED});
    impostor.Enter(4);
    impostor.Say(Companion::Ended{4, Companion::Reason::ASKED});
    ExpectUntouched();
    phones->ExpectHeard({});
    EXPECT_NE(phones->At(), before) << "it was there";

    // What it presses as a guest comes up: after a second visit in the first one, when it ends, falls silent or goes.
    const auto press = [&](Companion::Visit visit) {
        for (Companion::KeyCode key = 1; key <= Companion::MAX_KEY_CODE; ++key) {
            impostor.Say(Companion::Key{visit, {key, 0, 0}, {key, true}});
        }
        for (const Companion::Button button : {1, 2, 3, 8, 31}) {
            impostor.Say(Companion::Click{visit, {999, -Companion::MAX_TOTAL, -Companion::MAX_TOTAL}, {button, true}});
        }
        impostor.Say(Companion::Wheel{visit, {1000, 0, 0}, {Companion::MAX_SCROLL, -Companion::MAX_SCROLL}});
    };
    impostor.Enter(6);
    press(6);
    impostor.Enter(8);
    press(8);
    EXPECT_TRUE(Eventually([&] { return phones->Keys().count(A) == 1; }));
    EXPECT_EQ(phone->Ctl({"desk", "return"}).status, 0);
    ExpectUntouched();
    impostor.Enter(10);
    press(10);
    ExpectUntouched();
    EXPECT_THAT(Passages(), Not(Contains(HasSubstr("entered"))));
}

TEST_F(PointerHostile, GetsThePointerBackToItsOwnerWhateverItAnswers) {
    Impostor impostor(*pc);
    impostor.Say(Companion::Hello{2});
    impostor.Say(Companion::Status{true, false});
    EXPECT_TRUE(Eventually([&] { return !Passages().empty(); }));
    EXPECT_THAT(Passages().back(), HasSubstr("refused pc"));
    phones->program.MoveTo(PHONE_WIDTH - 100, 400);
    phones->program.MoveBy(200, 0);
    Settle(*phone);
    ExpectUntouched();
    impostor.Greet();
    ASSERT_TRUE(IsReady(*phone, *pc));

    // It never answers; answers something else; then says yes, and no more.
    EXPECT_TRUE(PushOut());
    impostor.Await<Companion::Enter>();
    ExpectUntouched();
    const auto letIn = [&] {
        EXPECT_TRUE(PushOut());
        const Companion::Visit visit = impostor.Await<Companion::Enter>().visit;
        impostor.Say(Companion::Entered{visit + 2});
        impostor.Say(Companion::Entered{visit});
        return visit;
    };
    letIn();
    ExpectUntouched();
    // It sends the pointer where nobody is, or to a place that is not there.
    impostor.Say(Companion::Left{letIn(), {5, Companion::MAX_TOTAL, 0}, "nobody", {}});
    ExpectUntouched();
    const std::string phoneId = pc->Api().Info().FindPeer("phone").id;
    impostor.Say(Companion::Left{letIn(), {0xffffffff, -Companion::MAX_TOTAL, Companion::MAX_TOTAL}, phoneId,
        {Companion::Side::TOP, std::string(64, 'x'), 65535}});
    ExpectUntouched();
    // It does all to keep it, and then is gone.
    for (const bool isGone : {false, true}) {
        const Companion::Visit visit = letIn();
        for (int times = 0; times < 3; ++times) {
            impostor.Say(Companion::Alive{visit, 0, {}});
            Settle(*phone);
        }
        if (isGone) {
            impostor.desk.Reset();
        } else {
            EXPECT_EQ(phone->Ctl({"desk", "return"}).status, 0);
        }
        ExpectUntouched();
    }
}

TEST_F(PointerHostile, FloodsNothing) {
    const Impostor impostor(*pc);
    impostor.Greet();
    const size_t before = LogSize();
    std::mt19937 random(1);
    for (int message = 0; message < 20'000; ++message) {
        std::string bytes(1 + random() % 200, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random());
        }
        for (const auto* channel : {&impostor.desk, &impostor.motion, &impostor.clipboard}) {
            Client::SendMessage(channel->Get(), bytes);
        }
    }
    impostor.Greet();  // some of it was a greeting of another version
    for (uint32_t visit = 2; visit < 2000; visit += 2) {
        impostor.Say(Companion::Copied{visit, 0xff});
        impostor.Enter(visit);
    }
    impostor.Say(Companion::Ended{1998, Companion::Reason::ASKED});
    ExpectUntouched();
    EXPECT_LT(LogSize(), before + 20'000U) << "a bounded log";
    EXPECT_EQ(phone->Ask("pc", {"nobody.knows"}).code, 0);
}

}  // namespace
}  // namespace ZYNE::Testing
