// What collabctl does about crossing of keyboard and mouse, and in place of the person at a device; see commands.h.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/commands.h"

namespace ZYNE::Cli {

// The crossing switch of `user`, or of the user in the foreground when there is none.
int PutSwitch(const DeviceChoice& choice, bool isOn, std::optional<int32_t> user, bool json);
// And the switches of the peers that are online.
int ShowSwitches(const DeviceChoice& choice, std::optional<int32_t> user, bool json);

// Prints the events, which are keyboard, edge, screen or switch, one line each, until the user interrupts. Throws when
// the device has ended.
int WatchCrossing(const DeviceChoice& choice, const std::vector<std::string>& events, bool json);

// The request "-" is what standard input has. Throws Refusal when the device takes it and answers with another code
// than 0.
int SendRequest(const DeviceChoice& choice, const std::string& request, bool json);

// Rule by rule why crossing with `peer` does or does not start. STATUS_OF_NO when it does not.
int ExplainCrossing(const DeviceChoice& choice, const std::string& peer, bool json);

// Has the device connect to the companion anew, with all attempts to reconnect.
int RestartCompanion(const DeviceChoice& choice, bool json);

int ListUsers(const DeviceChoice& choice, bool json);
int SwitchUser(const DeviceChoice& choice, int32_t user, bool json);

// Pointer and keyboard of a device without a display; see client/crossing_client.h.
int MovePointer(const DeviceChoice& choice, int32_t dx, int32_t dy, bool json);
int MovePointerTo(const DeviceChoice& choice, int32_t x, int32_t y, bool json);
int PressButton(const DeviceChoice& choice, int32_t button, bool isDown, bool json);
int PressKey(const DeviceChoice& choice, int32_t key, bool isDown, bool json);

// A status as client/crossing_client.h has it.
int SetScreen(const DeviceChoice& choice, int32_t status, bool json);

}  // namespace ZYNE::Cli
