// Crossing of keyboard and mouse on a device, and what a program does instead of a person on a device that nobody sits
// at. CrossingWatch tells of its events.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "client/info.h"

namespace ZYNE::Client {

struct RequestAnswer {
    int32_t code;        // 0; 1001 the request is malformed; 2451 its action is not known
    std::string result;  // JSON; empty unless the code is 0
};

struct CrossingRule {
    std::string name;
    bool holds;
    bool isRequired;  // the others tell how far crossing has got
};

struct User {
    int32_t id;
    std::string name;
    bool isPrivate;  // crossing is off each time that it comes to the foreground
    bool isForeground;
};

struct PeerSwitch {
    PeerName peer;
    std::string state;  // on, off, unknown
};

struct Switches {
    int32_t user;  // whose it is
    bool isOn;
    std::vector<PeerSwitch> peers;  // those that are online, in the order of names
};

// How the pointer crosses, as the device's configuration has it.
struct DeskOptions {
    std::string display;            // the display server's name; empty when the device uses none
    int32_t push;                   // pixels
    int32_t corner;                 // pixels
    std::vector<int32_t> modifier;  // key codes, one of which must be held; empty for none
    bool drags;
    std::vector<int32_t> homeKeys;  // key codes
    bool clipboard;
};

// Part of a Device; see there for threads and errors.
class Crossing {
public:
    explicit Crossing(DeviceConnection& connection) : connection_(connection) {}

    // Registers this process for `event`: keyboard, edge, screen or switch. The device then sends what
    // crossing_events.h describes to `connection`, a connection of this process to the device's bus. CrossingWatch does
    // all of this.
    void AddListener(const std::string& event, const std::string& connection);
    void RemoveListener(const std::string& event);

    // Sends a key-mouse request, a JSON object.
    RequestAnswer SendRequest(const std::string& request);

    // Every rule of crossing with `peer`, which is named as for Info, in the order in which a decision asks them.
    std::vector<CrossingRule> Explain(const std::string& peer);
    // With `bind` the companion's service runs whatever the rules say.
    void BindService(bool bind);

    // The switch for crossing of `user`, or of the user in the foreground. SetSwitch returns whose it is.
    Switches GetSwitch(std::optional<int32_t> user);
    int32_t SetSwitch(bool isOn, std::optional<int32_t> user);

    // In the order of the device's configuration.
    std::vector<User> ListUsers();
    // Brings a user to the foreground. What depends on the user may change a moment later.
    void SwitchUser(int32_t user);

    // Pointer and keyboard of a device without a display; a device with one refuses. Pixels; buttons 1 left, 2 middle,
    // 3 right; key codes of the kernel's input-event-codes.h.
    void MovePointer(int32_t dx, int32_t dy);
    void MovePointerTo(int32_t x, int32_t y);
    void PressButton(int32_t button, bool isDown);
    void PressKey(int32_t key, bool isDown);

    // Sets the state of the device's screen: on (1), off (0), locked (2), or as the desktop says (-1).
    void SetScreen(int32_t status);
    // Likewise; DeviceWatch tells of changes.
    int32_t GetScreen();

    // For the companion.
    DeskOptions GetDeskOptions();

private:
    DeviceConnection& connection_;
};

}  // namespace ZYNE::Client
