#include <initializer_list>
#include <utility>

#include <json/value.h>

#include "cli/crossing_commands.h"
#include "cli/json_output.h"
#include "client/crossing_client.h"

namespace ZYNE::Cli {
namespace {

// There is nothing to tell but what was done.
int Conclude(bool json, std::initializer_list<std::pair<const char*, Json::Value>> done) {
    if (json) {
        Json::Value root(Json::objectValue);
        for (const auto& [name, value] : done) {
            root[name] = value;
        }
        PrintJson(root);
    }
    return 0;
}

}  // namespace

int MovePointer(const DeviceChoice& choice, int32_t dx, int32_t dy, bool json) {
    Client::CrossingClient(ChooseDevice(choice, false)).MovePointer(dx, dy);
    return Conclude(json, {{"dx", dx}, {"dy", dy}});
}

int MovePointerTo(const DeviceChoice& choice, int32_t x, int32_t y, bool json) {
    Client::CrossingClient(ChooseDevice(choice, false)).MovePointerTo(x, y);
    return Conclude(json, {{"x", x}, {"y", y}});
}

int PressButton(const DeviceChoice& choice, int32_t button, bool isDown, bool json) {
    Client::CrossingClient(ChooseDevice(choice, false)).PressButton(button, isDown);
    return Conclude(json, {{"button", button}, {"pressed", isDown}});
}

int PressKey(const DeviceChoice& choice, int32_t key, bool isDown, bool json) {
    Client::CrossingClient(ChooseDevice(choice, false)).PressKey(key, isDown);
    return Conclude(json, {{"key", key}, {"pressed", isDown}});
}

int SetScreen(const DeviceChoice& choice, int32_t status, bool json) {
    Client::CrossingClient(ChooseDevice(choice, false)).SetScreen(status);
    return Conclude(json, {{"status", status}});
}

}  // namespace ZYNE::Cli
