// Whatever happens while the pointer is away: it comes home, nothing stays pressed or captured, and it can go again.
#include <csignal>

#include <gmock/gmock.h>

#include "tests/scenario/pointer_scenario.h"

namespace ZYNE::Testing {
namespace {

constexpr int A = 30;

class PointerStranded : public PointerScenario {
protected:
    void CrossWithKeyAndButton() {
        ASSERT_TRUE(AreReady());
        Cross();
        phones->Press(A, true);
        phones->PressButton(1, true);
        ASSERT_TRUE(Eventually([this] { return pcs->Keys().count(A) == 1; }));
        ASSERT_TRUE(Eventually([this] { return (pcs->Modifiers() & XCB_BUTTON_MASK_1) != 0; }));
    }

    // All that a device consists of.
    static void SignalAll(const TestDevice& device, pid_t companion, int signal) {
        kill(companion, signal);
        device.Signal(signal);
    }

    // Without its peer a device may go on with the companion for a while, or let it go.
    static bool HasNoVisit(const TestDevice& device) {
        return Eventually([&] {
            const std::string where = Where(device);
            return where == "home" || where == "none";
        });
    }

    void ExpectLastPassage(const std::string& passage) {
        EXPECT_TRUE(Eventually([&] { return !Passages().empty() && Passages().back() == passage; }))
            << ::testing::PrintToString(Passages());
    }
};

TEST_F(PointerStranded, ComesHomeWhenACompanionOrADaemonIsKilledOnEitherSide) {
    StartDesks();
    CrossWithKeyAndButton();
    kill(Companion(*pc), SIGKILL);
    EXPECT_TRUE(Comes(*phone, "home"));
    ExpectLastPassage("home pc: the peer is gone");
    ExpectAllAtHome(A, 1);
    EXPECT_EQ(pc->Ctl({"companion", "restart"}).status, 0);

    CrossWithKeyAndButton();
    kill(Companion(*phone), SIGKILL);
    EXPECT_TRUE(Comes(*pc, "home"));
    ExpectAllAtHome(A, 1);
    EXPECT_EQ(phone->Ctl({"companion", "restart"}).status, 0);

    CrossWithKeyAndButton();
    pc->Kill();
    EXPECT_TRUE(HasNoVisit(*phone));
    ExpectAllAtHome(A, 1);
    pc->Start();

    CrossWithKeyAndButton();
    phone->Kill();
    EXPECT_TRUE(HasNoVisit(*pc));
    ExpectAllAtHome(A, 1);
    phone->Start();
    CrossWithKeyAndButton();
    EXPECT_EQ(phone->Stop(), 0);
    EXPECT_TRUE(HasNoVisit(*pc));
    ExpectAllAtHome(A, 1);
}

TEST_F(PointerStranded, ComesHomeWhenASideFallsSilentAndGoesAgainWhenItWakesUp) {
    StartDesks();
    CrossWithKeyAndButton();
    const pid_t pcCompanion = Companion(*pc);
    const pid_t phoneCompanion = Companion(*phone);
    SignalAll(*pc, pcCompanion, SIGSTOP);
    EXPECT_TRUE(Comes(*phone, "home"));
    ExpectLastPassage("home pc: nothing heard for too long");
    EXPECT_TRUE(phones->IsFree());
    SignalAll(*pc, pcCompanion, SIGCONT);
    EXPECT_TRUE(Comes(*pc, "home"));
    ExpectAllAtHome(A, 1);

    CrossWithKeyAndButton();
    SignalAll(*phone, phoneCompanion, SIGSTOP);
    EXPECT_TRUE(pcs->HoldsNothing());
    EXPECT_TRUE(Comes(*pc, "home"));
    // What is done meanwhile goes nowhere once it wakes up.
    phones->program.MoveBy(50, 0);
    phones->Type(A + 1);
    pcs->program.Heard();
    SignalAll(*phone, phoneCompanion, SIGCONT);
    EXPECT_TRUE(Comes(*phone, "home"));
    ExpectLastPassage("home pc: nothing heard for too long");
    pcs->ExpectHeard({});
    ExpectAllAtHome(A, 1);

    // Only the companion of one side, or only the daemon: the person there is not at its mercy.
    for (const TestDevice* device : {pc, phone}) {
        const pid_t companion = device == pc ? pcCompanion : phoneCompanion;
        for (const pid_t process : {companion, device->Pid()}) {
            CrossWithKeyAndButton();
            kill(process, SIGSTOP);
            EXPECT_TRUE(Comes(*(device == pc ? phone : pc), "home"));
            kill(process, SIGCONT);
            EXPECT_TRUE(Comes(*device, "home"));
            ExpectAllAtHome(A, 1);
        }
    }
    CrossWithKeyAndButton();
    EXPECT_EQ(pc->Ctl({"desk", "return"}).status, 0);
    EXPECT_TRUE(Comes(*phone, "home"));
    ExpectAllAtHome(A, 1);
    EXPECT_EQ(Companion(*pc), pcCompanion) << "nobody started it anew";
    EXPECT_EQ(Companion(*phone), phoneCompanion);
}

TEST_F(PointerStranded, ComesHomeWhenADeviceMayNotBeUsedAnyMore) {
    StartDesks();
    for (const TestDevice* device : {pc, phone}) {
        CrossWithKeyAndButton();
        EXPECT_EQ(device->Ctl({"switch", "off"}).status, 0);
        EXPECT_TRUE(Comes(*phone, "none") && Comes(*pc, "none"));
        ExpectAllAtHome(A, 1);
        EXPECT_EQ(device->Ctl({"switch", "on"}).status, 0);
    }
    for (const TestDevice* device : {pc, phone}) {
        for (const char* screen : {"locked", "off"}) {
            CrossWithKeyAndButton();
            EXPECT_EQ(device->Ctl({"screen", screen}).status, 0);
            EXPECT_TRUE(Comes(*phone, "home") && Comes(*pc, "home"));
            ExpectLastPassage("home pc: a screen is locked");
            ExpectAllAtHome(A, 1);
            phones->program.MoveTo(PHONE_WIDTH - 100, 300);
            phones->program.MoveBy(200, 0);
            Settle(*phone);
            EXPECT_EQ(Where(*phone), "home") << screen;
            EXPECT_EQ(device->Ctl({"screen", "on"}).status, 0);
        }
    }
    for (const TestDevice* device : {pc, phone}) {
        CrossWithKeyAndButton();
        EXPECT_EQ(device->Ctl({"user", "switch", "101"}).status, 0);
        EXPECT_TRUE(HasNoVisit(*phone) && HasNoVisit(*pc));
        ExpectAllAtHome(A, 1);
        EXPECT_EQ(device->Ctl({"user", "switch", "100"}).status, 0);
    }
    CrossWithKeyAndButton();
    EXPECT_EQ(pc->Stop(), 0);
    EXPECT_TRUE(HasNoVisit(*phone));
    ExpectAllAtHome(A, 1);
}

}  // namespace
}  // namespace ZYNE::Testing
