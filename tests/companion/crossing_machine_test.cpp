// One machine, as its peers and its display system meet it: "a" between "b" on its right and "c" on its left.
#include "companion/core/crossing_machine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <utility>

#include "companion/core/crossing_times.h"
#include "tests/companion/simulated_desktop.h"

namespace ZYNE::Companion {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;
using State = CrossingMachine::State;

constexpr KeyCode ESCAPE = 1;
constexpr KeyCode CTRL = 29;
constexpr KeyCode LETTER = 30;
constexpr KeyCode ALT = 56;
constexpr Gate FROM_LEFT{Side::LEFT, "", 32768};

std::string Say(const Total& total) {
    return " +" + std::to_string(total.x / PIXEL) + "," + std::to_string(total.y / PIXEL);
}

std::string Say(const Gate& gate) {
    return " " + SideName(gate.side) + " " + std::to_string(gate.place);
}

template <typename Code>
std::string Say(const std::set<Code>& held) {
    std::string said;
    for (const Code code : held) {
        said += " " + std::to_string(code);
    }
    return said;
}

// A message in a few words; totals in whole pixels.
struct Telling {
    std::string operator()(const Hello&) const { return "Hello"; }
    std::string operator()(const Status& status) const {
        return std::string("Status") + (status.hasScreens ? " screens" : "") + (status.isLocked ? " locked" : "");
    }
    std::string operator()(const Enter& enter) const {
        return "Enter" + Say(enter.gate) + (enter.locks.caps ? " caps" : "") + Say(enter.keys) + Say(enter.buttons);
    }
    std::string operator()(const Entered&) const { return "Entered"; }
    std::string operator()(const Refused& refused) const { return "Refused: " + Words(refused.reason); }
    std::string operator()(const Key& key) const {
        return "Key" + Say(key.total) + " " + std::to_string(key.key.code) + (key.key.isDown ? " down" : " up");
    }
    std::string operator()(const Click& click) const {
        return "Click" + Say(click.total) + " " + std::to_string(click.button.button) +
            (click.button.isDown ? " down" : " up");
    }
    std::string operator()(const Wheel& wheel) const {
        return "Wheel" + Say(wheel.total) + " " + std::to_string(wheel.scroll.dx) + " " +
            std::to_string(wheel.scroll.dy);
    }
    std::string operator()(const Left& left) const {
        return "Left" + Say(left.total) + " for " + left.device + Say(left.gate);
    }
    std::string operator()(const Ended& ended) const { return "Ended: " + Words(ended.reason); }
    std::string operator()(const Copied&) const { return "Copied"; }
    std::string operator()(const Move& move) const { return "Move" + Say(move.total); }
    std::string operator()(const Alive& alive) const { return "Alive" + Say(alive.total); }
    std::string operator()(const Echo&) const { return "Echo"; }
};

class MachineTest : public testing::Test, public Peers, public PassageWatch {
protected:
    MachineTest() {
        desktop.screens = {{"one", 0, 0, 1000, 500}};
        desktop.position = CentreOf({990, 250});
        rules.homeKeys = {ESCAPE, CTRL, ALT};
        machine.SetRules(rules);
        machine.SetPlacements({{"b", Side::RIGHT, "", {}, "", {}}, {"c", Side::LEFT, "", {}, "", {}}});
        machine.OnScreens(desktop.screens, now);
        for (const char* peer : {"b", "c"}) {
            machine.OnPeerUp(peer, now);
            Hear(peer, Hello{});
            Hear(peer, Status{true, false});
        }
        journal.clear();
    }

    bool Send(const std::string& peer, const Message& message) override {
        if (const auto* enter = std::get_if<Enter>(&message)) {
            visit = enter->visit;
        }
        journal.push_back(peer + " " + std::visit(Telling(), message));
        return !isDeaf;
    }
    void OnPassage(const Passage& passage) override {
        static const char* const NAMES[] = {"entered", "came home", "guest came", "guest left", "refused"};
        journal.push_back(std::string(NAMES[static_cast<int>(passage.kind)]) + " " + passage.peer + ": " +
            (passage.words.empty() ? Words(passage.reason) : passage.words));
    }

    void Hear(const std::string& peer, const Message& message) { machine.OnMessage(peer, message, now); }
    void Shove(double dx, double dy = 0) { machine.OnMotion(desktop.Move(dx, dy), now); }
    void Press(KeyCode code, bool isDown = true) {
        isDown ? (void)desktop.keys.insert(code) : (void)desktop.keys.erase(code);
        machine.OnKey({code, isDown}, now);
    }
    void Wait(std::chrono::milliseconds time) {
        now += time;
        machine.OnTime(now);
    }
    // To b, with nothing in the journal of that.
    void GoAway() {
        Shove(20);
        Hear("b", Entered{visit});
        ASSERT_EQ(machine.GetState(), State::AWAY);
        journal.clear();
    }
    void BeVisited(const Enter& enter = {1, FROM_LEFT, {}, {}, {}}) {
        Hear("b", enter);
        ASSERT_EQ(machine.GetState(), State::HOST);
        journal.clear();
    }
    // What the journal says of ends.
    std::vector<std::string> Endings() {
        std::erase_if(journal, [](const std::string& line) { return line.find(": ") == std::string::npos; });
        return Journal();
    }
    // What happened since the last time.
    std::vector<std::string> Journal() { return std::exchange(journal, {}); }

    SimulatedDesktop desktop;
    CrossingRules rules;
    std::vector<std::string> journal;
    CrossingMachine::TimePoint now{std::chrono::hours(1)};
    CrossingMachine machine{"a", desktop, *this, *this};
    Visit visit = 0;      // that was asked for last
    bool isDeaf = false;  // nothing can be sent
};

using PointerAway = MachineTest;
using PointerHere = MachineTest;
using Companions = MachineTest;

TEST_F(PointerAway, TakesItsModifiersAlongAndWhatIsDoneMeanwhile) {
    desktop.locks.caps = true;
    Press(CTRL);
    Press(LETTER);
    Shove(20);
    EXPECT_TRUE(desktop.isCaptured);
    Shove(0.5, 2);
    Press(31);
    Hear("b", Entered{visit + 2});
    EXPECT_EQ(machine.GetState(), State::LEAVING) << "another visit";
    Hear("b", Entered{visit});
    EXPECT_THAT(Journal(),
        ElementsAre(
            "b Enter left 32833 caps 29", "b Key +0,2 31 down", "entered b: moved over the edge", "b Move +0,2"));
    Shove(0.5, -1);
    Press(LETTER);
    Press(LETTER, false);
    Press(LETTER);
    Press(LETTER);
    Press(CTRL, false);
    machine.OnButton({1, true}, now);
    machine.OnScroll({-120, 1 << 20}, now);
    EXPECT_THAT(Journal(),
        ElementsAre(
            "b Move +1,1", "b Key +1,1 30 down", "b Key +1,1 29 up", "b Click +1,1 1 down", "b Wheel +1,1 -120 12000"));
}

TEST_F(PointerAway, ComesHomeOverTheEdgeWithWhatWasMovedSince) {
    GoAway();
    Shove(-300, 10);
    Hear("c", Left{visit, {}, "a", {Side::RIGHT, "", 0}});
    EXPECT_EQ(machine.GetState(), State::AWAY) << "another peer";
    Hear("b", Left{visit, {1, -200 * PIXEL, 0}, "a", {Side::RIGHT, "", 32768}});
    EXPECT_THAT(Journal(), ElementsAre("b Move +-300,10", "came home b: moved over the edge"));
    EXPECT_EQ(desktop.At(), (Point{897, 260}));
    EXPECT_FALSE(desktop.isCaptured);
    Shove(200);
    EXPECT_EQ(machine.GetState(), State::LEAVING) << "nothing holds it back";
}

TEST_F(PointerAway, GoesOnToAThirdDeviceOrHome) {
    GoAway();
    Press(CTRL);
    Press(LETTER);
    Shove(7);
    journal.clear();
    const Visit first = visit;
    Hear("b", Left{visit, {1, 5 * PIXEL, 0}, "c", FROM_LEFT});
    EXPECT_NE(visit, first);
    EXPECT_TRUE(desktop.isCaptured);
    Press(LETTER, false);
    Hear("c", Entered{visit});
    EXPECT_THAT(Journal(), ElementsAre("c Enter left 32768 29", "entered c: moved over the edge", "c Move +2,0"));
    Hear("c", Left{visit, {}, "d", FROM_LEFT});
    EXPECT_THAT(Journal(), ElementsAre("came home c: no neighbour there"));
    EXPECT_EQ(desktop.At(), (Point{999, 250}));
}

TEST_F(PointerAway, WaitsForAnAnswerAndThenForAnotherPush) {
    Shove(20);
    EXPECT_EQ(machine.NextTime(), now + ALIVE_PERIOD);
    Wait(250ms);
    Wait(149ms);
    EXPECT_EQ(machine.GetState(), State::LEAVING);
    Wait(1ms);
    EXPECT_THAT(Journal(),
        ElementsAre("b Enter left 32833", "b Alive +0,0", "refused b: nothing heard for too long",
            "b Ended: nothing heard for too long"));
    EXPECT_EQ(machine.NextTime(), std::nullopt);
    Shove(9);
    EXPECT_THAT(Journal(), IsEmpty()) << "held off";
    Wait(500ms);
    Shove(9);
    EXPECT_EQ(visit, 5U) << "odd, so that no visit of b to a has the same number";
    Hear("b", Refused{visit, Reason::BUSY});
    EXPECT_THAT(Journal(), ElementsAre("b Enter left 32833")) << "a refusal in the same second is not told";
    Shove(-9);
    Shove(9);
    EXPECT_EQ(machine.GetState(), State::LEAVING) << "it has left the edge";
    Wait(600ms);
    EXPECT_FALSE(desktop.isCaptured);
}

TEST_F(PointerAway, DoesNotLeaveAgainstTheRules) {
    const auto leaves = [this](const std::function<void()>& before, const std::function<void()>& after) {
        before();
        Shove(-30);
        Shove(60);
        const bool hasLeft = machine.GetState() != State::HOME;
        machine.Return(now);
        after();
        return hasLeft || desktop.isCaptured;
    };
    const auto nothing = [] {
    };
    EXPECT_FALSE(leaves([this] { machine.OnLocked(true, now); }, [this] { machine.OnLocked(false, now); }));
    EXPECT_FALSE(
        leaves([this] { machine.OnPeerLocked("b", true, now); }, [this] { machine.OnPeerLocked("b", false, now); }));
    EXPECT_FALSE(leaves([this] { Hear("b", Status{true, true}); }, nothing));
    EXPECT_FALSE(leaves([this] { Hear("b", Status{false, false}); }, [this] { Hear("b", Status{true, false}); }));
    EXPECT_FALSE(leaves([this] { desktop.buttons = {1}; }, [this] { desktop.buttons = {}; }));
    EXPECT_FALSE(leaves([this] { Hear("b", Hello{2}); }, [this] { Hear("b", Hello{}); }));
    EXPECT_FALSE(leaves([this] { machine.OnPeerDown("b", now); }, [this] { machine.OnPeerUp("b", now); }));
    EXPECT_FALSE(leaves(nothing, [this] { Hear("b", Hello{}), Hear("b", Status{true, false}); })) << "says nothing yet";
    EXPECT_TRUE(leaves(nothing, nothing));
    rules.drags = true;
    machine.SetRules(rules);
    EXPECT_TRUE(leaves([this] { desktop.buttons = {1}; }, nothing));
    machine.Stop(Reason::SWITCHED_OFF, now);
    EXPECT_FALSE(leaves(nothing, nothing));
}

TEST_F(PointerAway, StaysWhereAWindowKeepsItAndSaysSoOnceASecond) {
    desktop.refusal = "a window fills the screen";
    Shove(20);
    Wait(600ms);
    Shove(20);
    EXPECT_EQ(desktop.captures, 2);
    EXPECT_THAT(Journal(), ElementsAre("refused b: a window fills the screen"));
    Wait(400ms);
    Shove(20);
    EXPECT_EQ(desktop.captures, 2) << "held off";
    Wait(200ms);
    Shove(20);
    EXPECT_THAT(Journal(), ElementsAre("refused b: a window fills the screen"));
}

// What ends a visit, on both sides of it, and what the peer is told of that.
struct Ending {
    const char* what;
    std::function<void(CrossingMachine&, CrossingMachine::TimePoint, Visit)> happens;
    Reason reason;
    bool isTold = true;
};

void PrintTo(const Ending& ending, std::ostream* out) {
    *out << ending.what;
}

class VisitEnds : public MachineTest, public testing::WithParamInterface<Ending> {};

TEST_P(VisitEnds, OnTheSideOfThePointer) {
    GoAway();
    Press(LETTER);
    journal.clear();
    GetParam().happens(machine, now, visit);
    EXPECT_FALSE(desktop.isCaptured);
    EXPECT_EQ(desktop.At(), (Point{999, 250}));
    EXPECT_EQ(machine.GetState(), State::HOME);
    std::vector<std::string> expected{"came home b: " + Words(GetParam().reason)};
    if (GetParam().isTold) {
        expected.push_back("b Ended: " + Words(GetParam().reason));
    }
    EXPECT_EQ(Endings(), expected);
    Press(LETTER, false);
    EXPECT_THAT(Journal(), IsEmpty());
}

TEST_P(VisitEnds, OnTheSideOfTheGuest) {
    BeVisited({1, FROM_LEFT, {true, false, false}, {CTRL}, {1}});
    EXPECT_TRUE(desktop.HasPressed() && desktop.locks.caps);
    GetParam().happens(machine, now, 1);
    EXPECT_FALSE(desktop.HasPressed() || desktop.locks.caps);
    EXPECT_EQ(machine.GetState(), State::HOME);
    std::vector<std::string> expected{"guest left b: " + Words(GetParam().reason)};
    if (GetParam().isTold) {
        expected.push_back("b Ended: " + Words(GetParam().reason));
    }
    EXPECT_EQ(Endings(), expected);
    Hear("b", Key{1, {}, {LETTER, true}});
    EXPECT_FALSE(desktop.HasPressed());
}

INSTANTIATE_TEST_SUITE_P(Reasons, VisitEnds,
    testing::Values(Ending{"asked", [](auto& machine, auto now, Visit) { machine.Return(now); }, Reason::ASKED},
        Ending{"the keys",
            [](auto& machine, auto now, Visit) {
                for (const KeyCode code : {97, 100}) {  // the right ones count alike
                    machine.OnKey({code, true}, now);
                }
                EXPECT_NE(machine.GetState(), State::HOME);
                machine.OnKey({ESCAPE, true}, now);
            },
            Reason::ASKED},
        Ending{"locked", [](auto& machine, auto now, Visit) { machine.OnLocked(true, now); }, Reason::LOCKED},
        Ending{"the peer is said to be locked",
            [](auto& machine, auto now, Visit) { machine.OnPeerLocked("b", true, now); }, Reason::LOCKED},
        Ending{"the peer says that it is locked",
            [](auto& machine, auto now, Visit) {
                machine.OnMessage("b", Status{true, true}, now);
            },
            Reason::LOCKED},
        Ending{"stopped", [](auto& machine, auto now, Visit) { machine.Stop(Reason::SWITCHED_OFF, now); },
            Reason::SWITCHED_OFF},
        Ending{"gone", [](auto& machine, auto now, Visit) { machine.OnPeerDown("b", now); }, Reason::GONE, false},
        Ending{"begun anew", [](auto& machine, auto now, Visit) { machine.OnPeerUp("b", now); }, Reason::GONE, false},
        Ending{"the peer's word",
            [](auto& machine, auto now, Visit visit) {
                machine.OnMessage("c", Ended{visit, Reason::ASKED}, now);
                machine.OnMessage("b", Ended{visit + 2, Reason::ASKED}, now);
                EXPECT_NE(machine.GetState(), State::HOME);
                machine.OnMessage("b", Ended{visit, Reason::SWITCHED_OFF}, now);
            },
            Reason::SWITCHED_OFF, false},
        Ending{"silence",
            [](auto& machine, auto now, Visit visit) {
                machine.OnMessage("b", Alive{visit + 2, 0, {}}, now + 799ms);  // of another visit
                EXPECT_NE(machine.GetState(), State::HOME);
                machine.OnMessage("b", Alive{visit, 0, {}}, now + 800ms);  // it has waited while this was stopped
            },
            Reason::SILENT}));

TEST_F(PointerAway, IsKeptByWhatIsHeardAndComesHomeWhenNothingCanBeSent) {
    GoAway();
    for (int round = 0; round < 8; ++round) {
        Wait(250ms);
        Hear("b", Echo{visit, Micros(now - 3ms)});
    }
    EXPECT_EQ(machine.GetCounters().roundTrip, std::chrono::milliseconds(3));
    Hear("b", Echo{visit, Micros(now + 3ms)});
    Hear("b", Echo{visit, 0});
    EXPECT_EQ(machine.GetCounters().roundTrip, std::chrono::milliseconds(3)) << "that makes no sense";
    EXPECT_EQ(Journal(), std::vector<std::string>(8, "b Alive +0,0"));
    isDeaf = true;
    Shove(1);
    EXPECT_EQ(machine.GetState(), State::AWAY) << "a motion is made good by the next";
    Press(LETTER);
    EXPECT_THAT(Journal(),
        ElementsAre("b Move +1,0", "b Key +1,0 30 down", "came home b: the peer is gone", "b Ended: the peer is gone"));
}

TEST_F(PointerAway, ComesHomeToTheScreensThatAreLeft) {
    GoAway();
    desktop.screens = {{"two", 0, 0, 100, 100}};
    machine.OnScreens(desktop.screens, now);
    Hear("b", Status{false, false});
    EXPECT_THAT(Journal(), ElementsAre("came home b: no display", "b Ended: no display"));
    EXPECT_EQ(desktop.At(), (Point{99, 99}));
    EXPECT_EQ(desktop.fault, "");
}

TEST_F(PointerHere, DoesWhatThePeerDoesOnceAndInOrder) {
    Hear("b", Enter{1, FROM_LEFT, {}, {CTRL}, {}});
    EXPECT_EQ(desktop.At(), (Point{2, 250}));
    const int flushes = desktop.flushes;
    Hear("b", Move{1, {2, 100 * PIXEL, PIXEL / 2}});
    Hear("b", Move{1, {1, 5 * PIXEL, 0}});
    EXPECT_EQ(desktop.At(), (Point{102, 251}));
    EXPECT_EQ(desktop.flushes, flushes + 1) << "a late motion does nothing";
    Hear("b", Key{1, {3, 200 * PIXEL, 0}, {LETTER, true}});
    Hear("b", Key{1, {3, 200 * PIXEL, 0}, {LETTER, true}});
    EXPECT_EQ(desktop.At(), (Point{202, 250}));
    Hear("b", Click{1, {3, 0, 0}, {3, true}});
    Hear("b", Wheel{1, {}, {7, -120}});
    Hear("b", Key{1, {}, {CTRL, false}});
    Hear("b", Key{1, {}, {CTRL, false}});
    Hear("b", Alive{1, 5, {4, 201 * PIXEL, 0}});
    EXPECT_EQ(desktop.pressedKeys, std::set<KeyCode>{LETTER});
    EXPECT_EQ(desktop.pressedButtons, std::set<Button>{3});
    EXPECT_EQ(desktop.scrolled.dy, -120);
    EXPECT_EQ(desktop.At(), (Point{203, 250}));
    EXPECT_EQ(desktop.fault, "");
    EXPECT_THAT(Journal(), ElementsAre("guest came b: moved over the edge", "b Entered", "b Echo"));
    EXPECT_EQ(machine.GetCounters().dropped, 3U);
    for (const Visit other : {2, 3}) {
        Hear("b", Key{other, {9, 0, 0}, {31, true}});
        Hear("c", Click{1, {9, 0, 0}, {1, true}});
        Hear("c", Move{1, {9, 0, 0}});
    }
    EXPECT_EQ(desktop.pressedKeys, std::set<KeyCode>{LETTER});
    EXPECT_EQ(desktop.At(), (Point{203, 250}));
    EXPECT_EQ(machine.GetCounters().dropped, 9U);
}

TEST_F(PointerHere, LeavesOverItsEdgesByTheRulesOfThisDevice) {
    rules.push = 10;
    rules.modifier = {CTRL};
    machine.SetRules(rules);
    BeVisited();
    Hear("b", Move{1, {1, 2000 * PIXEL, 0}});
    EXPECT_EQ(machine.GetState(), State::HOST) << "without the modifier";
    Hear("b", Key{1, {1, 2000 * PIXEL, 0}, {CTRL, true}});
    Hear("b", Move{1, {2, 2001 * PIXEL, 0}});
    EXPECT_THAT(Journal(), ElementsAre("guest left b: moved over the edge", "b Left +2001,0 for b left 32833"));
    EXPECT_FALSE(desktop.HasPressed());
    EXPECT_EQ(machine.GetState(), State::HOME);
}

TEST_F(PointerHere, LeavesForAThirdDeviceOnlyWhenThatIsThere) {
    machine.OnPeerLocked("c", true, now);
    BeVisited();
    Hear("b", Click{1, {1, 0, 0}, {1, true}});
    Hear("b", Move{1, {2, -50 * PIXEL, 0}});
    EXPECT_THAT(Journal(), IsEmpty());
    machine.OnPeerLocked("c", false, now);
    Hear("b", Move{1, {3, -51 * PIXEL, 0}});
    EXPECT_THAT(Journal(), IsEmpty()) << "a drag";
    Hear("b", Click{1, {3, -51 * PIXEL, 0}, {1, false}});
    Hear("b", Key{1, {4, -52 * PIXEL, 0}, {LETTER, true}});
    EXPECT_THAT(Journal(), ElementsAre("guest left b: moved over the edge", "b Left +-52,0 for c right 32833"));
    EXPECT_FALSE(desktop.HasPressed()) << "a key that comes with the leave";
}

TEST_F(PointerHere, IsMovedByWhoSitsHereToo) {
    BeVisited();
    desktop.position = CentreOf({500, 100});
    Shove(10);
    Hear("b", Move{1, {1, 3 * PIXEL, 0}});
    EXPECT_EQ(desktop.At(), (Point{513, 100}));
    desktop.screens = {{"one", 0, 0, 300, 500}};
    machine.OnScreens(desktop.screens, now);
    EXPECT_EQ(desktop.At(), (Point{299, 100}));
    Shove(-10);
    Shove(20);
    EXPECT_THAT(Journal(), ElementsAre("guest left b: moved over the edge", "b Left +3,0 for b left 13173"));
    BeVisited({3, FROM_LEFT, {}, {}, {}});
    machine.OnScreens({}, now);
    EXPECT_THAT(Journal(), ElementsAre("b Status", "c Status", "guest left b: no display", "b Ended: no display"));
}

TEST_F(PointerHere, IsRefusedWhereItCannotBe) {
    const auto answer = [this](const std::string& peer) {
        journal.clear();
        Hear(peer, Enter{9, FROM_LEFT, {}, {CTRL}, {}});
        return journal.back();
    };
    GoAway();
    EXPECT_EQ(answer("b"), "b Refused: another pointer is there");
    machine.Return(now);
    BeVisited();
    EXPECT_EQ(answer("c"), "c Refused: another pointer is there");
    EXPECT_EQ(answer("b"), "b Entered") << "it has forgotten its old visit";
    EXPECT_EQ(desktop.pressedKeys, std::set<KeyCode>{CTRL});
    machine.OnLocked(true, now);
    EXPECT_EQ(answer("b"), "b Refused: a screen is locked");
    machine.OnLocked(false, now);
    machine.OnScreens({}, now);
    EXPECT_EQ(answer("b"), "b Refused: no display");
    machine.OnScreens(desktop.screens, now);
    machine.Stop(Reason::SWITCHED_OFF, now);
    EXPECT_EQ(answer("b"), "b Refused: switched off");
    EXPECT_FALSE(desktop.HasPressed());
}

TEST_F(PointerHere, ComesWhenBothLeaveForEachOtherAndThePeerHasTheSmallerId) {
    machine.SetPlacements({{"b", Side::RIGHT, "", {}, "", {}}, {"0", Side::LEFT, "", {}, "", {}}});
    machine.OnPeerUp("0", now);
    Hear("0", Hello{});
    Hear("0", Status{true, false});
    Shove(20);
    Hear("0", Enter{1, FROM_LEFT, {}, {}, {}});
    Hear("b", Enter{2, FROM_LEFT, {}, {}, {}});
    EXPECT_EQ(machine.GetState(), State::LEAVING) << "a goes first";
    Hear("b", Refused{visit, Reason::BUSY});
    Shove(-2000);
    EXPECT_EQ(machine.Peer(), "0");
    journal.clear();
    Hear("0", Enter{1, FROM_LEFT, {}, {}, {}});
    EXPECT_EQ(machine.GetState(), State::HOST);
    EXPECT_FALSE(desktop.isCaptured);
    EXPECT_EQ(Journal().back(), "0 Entered");
}

TEST_F(Companions, AreToldWhoseIsOlderInWords) {
    Hear("b", Hello{2});
    Hear("c", Hello{0});
    EXPECT_THAT(Journal(),
        ElementsAre(
            "refused b: this device's companion is older than the peer's: it speaks version 2, this device version 1",
            "refused c: the peer's companion is older: it speaks version 0, this device version 1"));
    machine.OnPeerUp("d", now);
    EXPECT_THAT(Journal(), ElementsAre("d Hello", "d Status screens"));
    Hear("d", Enter{1, FROM_LEFT, {}, {}, {}});
    Hear("e", Enter{1, FROM_LEFT, {}, {}, {}});
    EXPECT_EQ(machine.GetState(), State::HOME) << "no Hello, and no companion at all";
    const auto holds = [this](const std::string& peer) {
        std::vector<std::string> missing;
        for (const CrossingFact& fact : machine.Explain(peer)) {
            if (!fact.holds) {
                missing.push_back(fact.name);
            }
        }
        return missing;
    };
    EXPECT_THAT(holds("b"), ElementsAre("peer's companion of the same version"));
    EXPECT_THAT(holds("e"),
        ElementsAre("neighbour at an edge", "peer's companion running", "peer's companion of the same version",
            "peer has a display"));
}

// What a peer of the account may say that lies in every way: afterwards nothing is pressed, and the pointer is its own.
TEST_F(Companions, HaveNoPowerBeyondTheVisitThatWasAgreedTo) {
    std::mt19937 random(1);
    const auto any = [&random](uint32_t sides) {
        return static_cast<uint32_t>(random() % sides);
    };
    for (int round = 0; round < 100000; ++round) {
        const std::string peer = any(2) == 0 ? "b" : "c";
        const Visit number = 1 + any(4);
        const Total total{any(100), (int64_t{any(5)} - 2) * MAX_TOTAL / 2, (int64_t{any(5)} - 2) * PIXEL};
        const Gate gate{static_cast<Side>(any(4)), any(2) == 0 ? "" : "one", static_cast<uint16_t>(any(65536))};
        const std::vector<Message> lies{Status{true, any(9) == 0}, Enter{number, gate, {}, {CTRL}, {1}},
            Entered{number}, Refused{number, Reason::BUSY}, Key{number, total, {LETTER, any(2) == 0}},
            Click{number, total, {3, any(2) == 0}}, Wheel{number, total, {1, 1}},
            Left{number, total, any(2) == 0 ? "a" : "c", gate}, Ended{number, Reason::ASKED}, Move{number, total},
            Alive{number, any(2), total}, Echo{number, ~uint64_t{0}}};
        Hear(peer, lies[any(static_cast<uint32_t>(lies.size()))]);
        Shove(any(200) - 100.0);
        Wait(std::chrono::milliseconds(any(20)));
        const bool isOut = machine.GetState() == State::LEAVING || machine.GetState() == State::AWAY;
        ASSERT_EQ(desktop.isCaptured, isOut);
        ASSERT_TRUE(machine.GetState() == State::HOST || !desktop.HasPressed());
        ASSERT_EQ(desktop.fault, "");
        journal.clear();
    }
    machine.OnPeerDown("b", now);
    machine.OnPeerDown("c", now);
    EXPECT_EQ(machine.GetState(), State::HOME);
    EXPECT_FALSE(desktop.HasPressed() || desktop.isCaptured);
}

}  // namespace
}  // namespace ZYNE::Companion
