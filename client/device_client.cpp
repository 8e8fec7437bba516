#include "client/device_client.h"

#include <sdbus-c++/sdbus-c++.h>

#include "client/device_api_proxy.h"

namespace ZYNE::Client {
namespace {

constexpr const char* BUS_NAME = "io.collaborationfwk.Device1";
constexpr const char* OBJECT_PATH = "/io/collaborationfwk/Device1";

std::string Explain(const std::string& device, const sdbus::Error& error) {
    const std::string& name = error.getName();
    if (name.starts_with("io.collaborationfwk.Error.")) {
        return error.getMessage();
    }
    if (name == "org.freedesktop.DBus.Error.Timeout" || name == "org.freedesktop.DBus.Error.NoReply") {
        return "the device \"" + device + "\" did not answer in time, or ended";
    }
    if (name == "org.freedesktop.DBus.Error.ServiceUnknown") {
        return "the device \"" + device + "\" is not ready yet, or is ending";
    }
    return "the device \"" + device + "\" cannot be asked: " + error.getMessage();
}

std::unique_ptr<sdbus::IConnection> Connect(const DeviceEntry& device, std::chrono::milliseconds answerTime) {
    if (!device.running) {
        throw DeviceError("the device \"" + device.name + "\" is not running");
    }
    if (device.busAddress.empty()) {
        throw DeviceError("the device \"" + device.name + "\" is starting");
    }
    try {
        auto connection = sdbus::createSessionBusConnectionWithAddress(device.busAddress);
        connection->setMethodCallTimeout(answerTime);
        return connection;
    } catch (const sdbus::Error& error) {
        throw DeviceError("the device \"" + device.name + "\" cannot be reached: " + error.getMessage());
    }
}

}  // namespace

// Without an event loop of its own: the calling thread waits for its answer on the socket itself. The price is that it
// is told of no signals.
class DeviceClient::Proxy final : private sdbus::ProxyObjectHolder, public io::collaborationfwk::Device1_proxy {
public:
    explicit Proxy(sdbus::IConnection& connection)
        : ProxyObjectHolder(sdbus::createProxy(connection, BUS_NAME, OBJECT_PATH)), Device1_proxy(getProxy()) {}

private:
    void onDevicesChanged() override {}
};

DeviceClient::DeviceClient(const DeviceEntry& device, std::chrono::milliseconds answerTime)
    : name_(device.name), connection_(Connect(device, answerTime)), proxy_(std::make_unique<Proxy>(*connection_)) {}

DeviceClient::~DeviceClient() = default;

template <typename Operation>
auto DeviceClient::Ask(Operation operation) {
    try {
        return operation();
    } catch (const sdbus::Error& error) {
        throw DeviceError(Explain(name_, error));
    }
}

std::string DeviceClient::Name() {
    return Ask([&] { return proxy_->Name(); });
}

std::string DeviceClient::Type() {
    return Ask([&] { return proxy_->Type(); });
}

std::string DeviceClient::AccountMode() {
    return Ask([&] { return proxy_->AccountMode(); });
}

std::vector<Peer> DeviceClient::ListPeers() {
    std::vector<Peer> peers;
    for (const auto& peer : Ask([&] { return proxy_->ListDevices(); })) {
        peers.push_back(
            {std::get<0>(peer), std::get<1>(peer), std::get<2>(peer), std::get<3>(peer), std::get<4>(peer)});
    }
    return peers;
}

InfoAnswer DeviceClient::GetInfo(const std::string& peer, const std::vector<std::string>& names) {
    const auto [code, records] = Ask([&] { return proxy_->GetInfo(peer, names); });
    InfoAnswer answer{code, {}};
    for (const auto& record : records) {
        answer.records.emplace_back(std::get<0>(record), std::get<1>(record));
    }
    return answer;
}

}  // namespace ZYNE::Client
