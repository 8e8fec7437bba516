// A phone and, to the right of it, a PC, each with somebody who sits at it, with crossing on.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

#include "client/desk.h"
#include "tests/scenario/scenario.h"
#include "tests/scenario/seat.h"

namespace ZYNE::Testing {

struct DesksSetup {
    std::string phoneDesk{};  // the lines of [desk]
    std::string pcDesk{};
    bool hasPcCompanion = true;  // else only the channels, for the test itself to open
};

class PointerScenario : public Scenario {
protected:
    static constexpr const char* APP = "com.talvex.peerdesk";
    static constexpr int PHONE_WIDTH = 1000;
    static constexpr int PHONE_HEIGHT = 800;
    static constexpr int PC_WIDTH = 800;
    static constexpr int PC_HEIGHT = 600;

    // And waits until the pointer may cross either way.
    void StartDesks(const DesksSetup& setup = {});

    // Where its pointer is: home, leaving, away, host; or "none" while the companion does not answer.
    static std::string Where(const TestDevice& device);
    static bool Comes(const TestDevice& device, const std::string& where);
    // All that must hold for crossing to the peer comes to hold, but what is held.
    static bool IsReady(const TestDevice& device, const TestDevice& peer);
    // Whether crossing from the device to the peer needs that, and has it, sooner or later.
    static bool ComesToSay(const TestDevice& device, const TestDevice& peer, const std::string& fact, bool holds);
    bool AreReady() { return IsReady(*phone, *pc) && IsReady(*pc, *phone); }

    // Until the phone's pointer leaves over an edge.
    bool PushOver(Spot from, Spot by);
    // It goes over the middle of the right edge, and is on the PC's left half then.
    void Cross();
    // On the PC, while it is away.
    void Steer(Spot to);
    // What one more device, beside these, is made of.
    static DeviceSetup SetupOf(const Seat& seat, const std::string& type, const std::string& desk);
    // Each has its pointer, nothing is pressed and nothing is captured. Who sits at the phone lets go of the key and of
    // the button that are named.
    void ExpectAllAtHome(int key = 0, int button = 0);
    // The companion has seen what was done at its display before.
    static void Settle(const TestDevice& device);

    // The process of a device's companion.
    static pid_t Companion(const TestDevice& device);

    // What `watch desk` has printed at the phone since the start: "entered pc", "home pc" ..., and why.
    std::vector<std::string> Passages() const;

    std::unique_ptr<Seat> phones;  // whoever sits there
    std::unique_ptr<Seat> pcs;
    std::unique_ptr<Process> watch;
};

}  // namespace ZYNE::Testing
