#include "client/device.h"

#include "client/device_connection.h"

namespace ZYNE::Client {

Device::Device(const DeviceEntry& entry, std::chrono::milliseconds answerTime)
    : entry_(entry), connection_(std::make_unique<DeviceConnection>(entry, answerTime)) {}

Device::~Device() = default;

std::string Device::Name() {
    return connection_->Call(&DeviceProxy::Name);
}

std::string Device::Type() {
    return connection_->Call(&DeviceProxy::Type);
}

std::string Device::AccountMode() {
    return connection_->Call(&DeviceProxy::AccountMode);
}

Setup Device::GetSetup() {
    const auto [complete, settings] = connection_->Call(&DeviceProxy::GetSetup);
    return {complete, AsValues<SetupSetting>(settings)};
}

Network Device::GetNetwork() {
    const auto [state, interfaces, port, notes, links] = connection_->Call(&DeviceProxy::GetNetwork);
    return {state, AsValues<NetworkInterface>(interfaces), port, AsValues<NetworkNote>(notes),
        AsValues<NetworkLink>(links)};
}

bool Device::TakeRevocations(const std::string& document) {
    return connection_->Call(&DeviceProxy::TakeRevocations, document);
}

}  // namespace ZYNE::Client
