#include "client/device_client.h"

#include <algorithm>

#include <sdbus-c++/sdbus-c++.h>

#include "client/device_api_proxy.h"
#include "client/device_connection.h"

namespace ZYNE::Client {

// Without an event loop of its own: the calling thread waits for its answer on the socket itself. The price is that it
// is told of no signals.
class DeviceClient::Proxy final : private sdbus::ProxyObjectHolder, public io::collaborationfwk::Device1_proxy {
public:
    explicit Proxy(sdbus::IConnection& connection)
        : ProxyObjectHolder(sdbus::createProxy(connection, DEVICE_BUS_NAME, DEVICE_OBJECT_PATH)),
          Device1_proxy(getProxy()) {}

private:
    void onDevicesChanged() override {}
    void onProfileChanged(const std::string&, const std::string&, const std::string&, const std::string&,
        const std::string&, const std::string&, const bool&) override {}
};

DeviceClient::DeviceClient(const DeviceEntry& device, std::chrono::milliseconds answerTime)
    : name_(device.name), connection_(ConnectToDevice(device, answerTime)),
      proxy_(std::make_unique<Proxy>(*connection_)) {}

DeviceClient::~DeviceClient() = default;

std::string DeviceClient::Name() {
    return Ask(name_, [&] { return proxy_->Name(); });
}

std::string DeviceClient::Type() {
    return Ask(name_, [&] { return proxy_->Type(); });
}

std::string DeviceClient::AccountMode() {
    return Ask(name_, [&] { return proxy_->AccountMode(); });
}

std::vector<Peer> DeviceClient::ListPeers() {
    std::vector<Peer> peers;
    for (const auto& peer : Ask(name_, [&] { return proxy_->ListDevices(); })) {
        peers.push_back(
            {std::get<0>(peer), std::get<1>(peer), std::get<2>(peer), std::get<3>(peer), std::get<4>(peer)});
    }
    return peers;
}

InfoAnswer DeviceClient::GetInfo(const std::string& peer, const std::vector<std::string>& names) {
    CheckTexts({peer});
    std::ranges::for_each(names, [](const std::string& name) { CheckTexts({name}); });
    const auto [code, records] = Ask(name_, [&] { return proxy_->GetInfo(peer, names); });
    InfoAnswer answer{code, {}};
    for (const auto& record : records) {
        answer.records.emplace_back(std::get<0>(record), std::get<1>(record));
    }
    return answer;
}

std::optional<std::string> DeviceClient::GetProfile(
    const std::string& device, const std::string& service, const std::string& serviceType, const std::string& key) {
    CheckTexts({device, service, serviceType, key});
    try {
        return Ask(name_, [&] { return proxy_->GetProfile(device, service, serviceType, key); });
    } catch (const NotFound&) {
        return std::nullopt;
    }
}

int32_t DeviceClient::PutProfile(
    const std::string& service, const std::string& serviceType, const std::string& key, const std::string& value) {
    CheckTexts({service, serviceType, key, value});
    return Ask(name_, [&] { return proxy_->PutProfile(service, serviceType, key, value); });
}

int32_t DeviceClient::DeleteProfile(const std::string& service, const std::string& key) {
    CheckTexts({service, key});
    return Ask(name_, [&] { return proxy_->DeleteProfile(service, key); });
}

std::vector<ProfileEntry> DeviceClient::ListProfiles(const std::string& device) {
    CheckTexts({device});
    std::vector<ProfileEntry> entries;
    for (const auto& entry : Ask(name_, [&] { return proxy_->ListProfiles(device); })) {
        entries.push_back({std::get<0>(entry), std::get<1>(entry), std::get<2>(entry), std::get<3>(entry),
            std::get<4>(entry), std::get<5>(entry), std::get<6>(entry)});
    }
    return entries;
}

Setup DeviceClient::GetSetup() {
    const auto [complete, settings] = Ask(name_, [&] { return proxy_->GetSetup(); });
    Setup setup{complete, {}};
    for (const auto& setting : settings) {
        setup.settings.push_back(
            {std::get<0>(setting), std::get<1>(setting), std::get<2>(setting), std::get<3>(setting)});
    }
    return setup;
}

Network DeviceClient::GetNetwork() {
    const auto [state, interfaces, port, notes, links] = Ask(name_, [&] { return proxy_->GetNetwork(); });
    Network network{state, {}, port, {}, {}};
    for (const auto& interface : interfaces) {
        network.interfaces.push_back({std::get<0>(interface), std::get<1>(interface)});
    }
    for (const auto& note : notes) {
        network.notes.push_back({std::get<0>(note), std::get<1>(note)});
    }
    for (const auto& link : links) {
        network.links.push_back({std::get<0>(link), std::get<1>(link)});
    }
    return network;
}

std::string DeviceClient::GetSetting(const std::string& key, int32_t user) {
    CheckTexts({key});
    return Ask(name_, [&] { return proxy_->GetSetting(key, user); });
}

void DeviceClient::PutSetting(const std::string& key, const std::string& value, int32_t user) {
    CheckTexts({key, value});
    Ask(name_, [&] { proxy_->PutSetting(key, value, user); });
}

bool DeviceClient::TakeRevocations(const std::string& document) {
    CheckTexts({document});
    return Ask(name_, [&] { return proxy_->TakeRevocations(document); });
}

}  // namespace ZYNE::Client
