// Where a person sits: a display, a program with a window on it, and hands on keyboard and mouse.
#pragma once

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "linux/desktop/x_link.h"
#include "tests/companion_x11/x_program.h"
#include "tests/scenario/x_server.h"

namespace ZYNE::Testing {

struct Spot {
    int x = 0;
    int y = 0;

    bool operator==(const Spot&) const = default;
};

class Seat {
public:
    // As for XServer. The window is in the middle and has the focus.
    Seat(const std::filesystem::path& directory, const std::string& size, const std::string& display = "");

    // Keys by the kernel's codes.
    void Press(int key, bool isDown);
    void Type(int key);
    void PressButton(int button, bool isDown);
    void Click(int button);

    Spot At();                // the pointer
    bool ComesTo(Spot spot);  // or a pixel beside it
    std::set<int> Keys();     // that are down
    uint16_t Modifiers();     // of the core protocol, with the buttons 1 to 5
    bool HoldsNothing();      // no key and no button, sooner or later

    // That the window hears of just these keys and buttons next: "+30" is the server's key 30, or the button 30, that
    // goes down.
    void ExpectHeard(const std::vector<std::string>& wanted);
    // Whether another program could take keyboard and pointer for itself.
    bool IsFree();

    XServer server;
    XProgram program;

private:
    Linux::XLink link_;
    std::vector<std::string> heard_;
};

}  // namespace ZYNE::Testing
