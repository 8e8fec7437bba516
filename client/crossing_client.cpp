#include "client/crossing_client.h"

#include <sdbus-c++/sdbus-c++.h>

#include "client/device_api_proxy.h"
#include "client/device_connection.h"

namespace ZYNE::Client {
namespace {

constexpr int32_t FOREGROUND = -1;

}  // namespace

// Without an event loop of its own: the calling thread waits for its answer on the socket itself.
class CrossingClient::Proxy final : private sdbus::ProxyObjectHolder, public io::collaborationfwk::Crossing1_proxy {
public:
    explicit Proxy(sdbus::IConnection& connection)
        : ProxyObjectHolder(sdbus::createProxy(connection, DEVICE_BUS_NAME, DEVICE_OBJECT_PATH)),
          Crossing1_proxy(getProxy()) {}
};

CrossingClient::CrossingClient(const DeviceEntry& device)
    : name_(device.name), connection_(ConnectToDevice(device, DeviceClient::ANSWER_TIME)),
      proxy_(std::make_unique<Proxy>(*connection_)) {}

CrossingClient::~CrossingClient() = default;

void CrossingClient::AddListener(const std::string& event, const std::string& connection) {
    CheckTexts({event, connection});
    Ask(name_, [&] { proxy_->AddListener(event, connection); });
}

void CrossingClient::RemoveListener(const std::string& event) {
    CheckTexts({event});
    Ask(name_, [&] { proxy_->RemoveListener(event); });
}

RequestAnswer CrossingClient::SendRequest(const std::string& request) {
    CheckTexts({request});
    const auto [code, result] = Ask(name_, [&] { return proxy_->SendRequest(request); });
    return {code, result};
}

std::vector<CrossingRule> CrossingClient::Explain(const std::string& peer) {
    CheckTexts({peer});
    std::vector<CrossingRule> rules;
    for (const auto& rule : Ask(name_, [&] { return proxy_->Explain(peer); })) {
        rules.push_back({std::get<0>(rule), std::get<1>(rule), std::get<2>(rule)});
    }
    return rules;
}

void CrossingClient::BindService(bool bind) {
    Ask(name_, [&] { proxy_->BindService(bind); });
}

PeerName CrossingClient::FindPeer(const std::string& peer) {
    CheckTexts({peer});
    const auto [name, id] = Ask(name_, [&] { return proxy_->FindPeer(peer); });
    return {name, id};
}

Switches CrossingClient::GetSwitch(std::optional<int32_t> user) {
    const auto [owner, isOn, peers] = Ask(name_, [&] { return proxy_->GetSwitch(user.value_or(FOREGROUND)); });
    Switches switches{owner, isOn, {}};
    for (const auto& peer : peers) {
        switches.peers.push_back({{std::get<0>(peer), std::get<1>(peer)}, std::get<2>(peer)});
    }
    return switches;
}

int32_t CrossingClient::SetSwitch(bool isOn, std::optional<int32_t> user) {
    return Ask(name_, [&] { return proxy_->SetSwitch(isOn, user.value_or(FOREGROUND)); });
}

std::vector<User> CrossingClient::ListUsers() {
    std::vector<User> users;
    for (const auto& user : Ask(name_, [&] { return proxy_->ListUsers(); })) {
        users.push_back({std::get<0>(user), std::get<1>(user), std::get<2>(user), std::get<3>(user)});
    }
    return users;
}

void CrossingClient::SwitchUser(int32_t user) {
    Ask(name_, [&] { proxy_->SwitchUser(user); });
}

void CrossingClient::MovePointer(int32_t dx, int32_t dy) {
    Ask(name_, [&] { proxy_->MovePointer(dx, dy); });
}

void CrossingClient::MovePointerTo(int32_t x, int32_t y) {
    Ask(name_, [&] { proxy_->MovePointerTo(x, y); });
}

void CrossingClient::PressButton(int32_t button, bool isDown) {
    Ask(name_, [&] { proxy_->PressButton(button, isDown); });
}

void CrossingClient::PressKey(int32_t key, bool isDown) {
    Ask(name_, [&] { proxy_->PressKey(key, isDown); });
}

void CrossingClient::SetScreen(int32_t status) {
    Ask(name_, [&] { proxy_->SetScreen(status); });
}

}  // namespace ZYNE::Client
