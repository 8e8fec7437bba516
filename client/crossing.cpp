#include "client/crossing.h"

#include "client/device_connection.h"

namespace ZYNE::Client {
namespace {

constexpr int32_t FOREGROUND = -1;

}  // namespace

void Crossing::AddListener(const std::string& event, const std::string& connection) {
    connection_.Call(&DeviceProxy::AddListener, event, connection);
}

void Crossing::RemoveListener(const std::string& event) {
    connection_.Call(&DeviceProxy::RemoveListener, event);
}

RequestAnswer Crossing::SendRequest(const std::string& request) {
    const auto [code, result] = connection_.Call(&DeviceProxy::SendRequest, request);
    return {code, result};
}

std::vector<CrossingRule> Crossing::Explain(const std::string& peer) {
    return AsValues<CrossingRule>(connection_.Call(&DeviceProxy::Explain, peer));
}

void Crossing::BindService(bool bind) {
    connection_.Call(&DeviceProxy::BindService, bind);
}

Switches Crossing::GetSwitch(std::optional<int32_t> user) {
    const auto [owner, isOn, peers] = connection_.Call(&DeviceProxy::GetSwitch, user.value_or(FOREGROUND));
    return {owner, isOn, AsValues<PeerSwitch>(peers)};
}

int32_t Crossing::SetSwitch(bool isOn, std::optional<int32_t> user) {
    return connection_.Call(&DeviceProxy::SetSwitch, isOn, user.value_or(FOREGROUND));
}

std::vector<User> Crossing::ListUsers() {
    return AsValues<User>(connection_.Call(&DeviceProxy::ListUsers));
}

void Crossing::SwitchUser(int32_t user) {
    connection_.Call(&DeviceProxy::SwitchUser, user);
}

void Crossing::MovePointer(int32_t dx, int32_t dy) {
    connection_.Call(&DeviceProxy::MovePointer, dx, dy);
}

void Crossing::MovePointerTo(int32_t x, int32_t y) {
    connection_.Call(&DeviceProxy::MovePointerTo, x, y);
}

void Crossing::PressButton(int32_t button, bool isDown) {
    connection_.Call(&DeviceProxy::PressButton, button, isDown);
}

void Crossing::PressKey(int32_t key, bool isDown) {
    connection_.Call(&DeviceProxy::PressKey, key, isDown);
}

void Crossing::SetScreen(int32_t status) {
    connection_.Call(&DeviceProxy::SetScreen, status);
}

int32_t Crossing::GetScreen() {
    return connection_.Call(&DeviceProxy::GetScreen);
}

DeskOptions Crossing::GetDeskOptions() {
    const auto [display, push, corner, modifier, drags, homeKeys, clipboard] =
        connection_.Call(&DeviceProxy::GetDeskOptions);
    return {display, push, corner, modifier, drags, homeKeys, clipboard};
}

}  // namespace ZYNE::Client
