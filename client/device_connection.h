// The way to a device's interfaces on its bus, for the parts of this library.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <sdbus-c++/sdbus-c++.h>

#include "client/bus_library.h"
#include "client/device_api_proxy.h"
#include "client/device_error.h"
#include "client/device_registry.h"

namespace ZYNE::Client {

// The interfaces of the device's object. It has no event loop: the calling thread itself waits for its answer on the
// socket.
class DeviceProxy : public sdbus::ProxyInterfaces<io::collaborationfwk::Device1_proxy,
                        io::collaborationfwk::Crossing1_proxy, io::collaborationfwk::Channels1_proxy> {
public:
    using Bus = sdbus::IConnection;

    explicit DeviceProxy(Bus& bus);

    DeviceProxy(const DeviceProxy&) = delete;
    DeviceProxy& operator=(const DeviceProxy&) = delete;
    virtual ~DeviceProxy() = default;

private:
    // Only proxies made by Listen get signals; the bus sends none for others.
    void onDevicesChanged() override {}
    void onProfileChanged(const std::string& /*change*/, const std::string& /*deviceName*/,
        const std::string& /*deviceId*/, const std::string& /*service*/, const std::string& /*key*/,
        const std::string& /*value*/, const bool& /*whole*/) override {}
    void onScreenChanged(const int32_t& /*status*/) override {}
};

// One thread at a time.
class DeviceConnection {
public:
    // Connects to a running device. An answer may take `answerTime`. Throws DeviceError.
    DeviceConnection(const DeviceEntry& device, std::chrono::milliseconds answerTime);
    DeviceConnection(const DeviceConnection&) = delete;
    DeviceConnection& operator=(const DeviceConnection&) = delete;

    // What the device answers to `method`, one of DeviceProxy. Throws DeviceError, or NotFound.
    template <typename Interface, typename Answer, typename... Parameters, typename... Arguments>
    Answer Call(Answer (Interface::*method)(Parameters...), const Arguments&... arguments) {
        (CheckText(arguments), ...);
        try {
            return (proxy_.*method)(arguments...);
        } catch (const sdbus::Error& error) {
            Throw(error);
        }
    }

    // The same, where the device may wait for so much longer before it answers.
    template <typename Interface, typename Answer, typename... Parameters, typename... Arguments>
    Answer CallFor(
        std::chrono::milliseconds longer, Answer (Interface::*method)(Parameters...), const Arguments&... arguments) {
        connection_->setMethodCallTimeout(answerTime_ + longer);
        const RestoredTime restored{*connection_, answerTime_};
        return Call(method, arguments...);
    }

    // Makes a `Signals`, a DeviceProxy that gets signals during Follow. Throws DeviceError.
    template <typename Signals, typename Handler>
    std::unique_ptr<Signals> Listen(Handler handler) {
        try {
            auto signals = std::make_unique<Signals>(*connection_, std::move(handler));
            signals->registerProxy();
            return signals;
        } catch (const sdbus::Error& error) {
            Throw(error);
        }
    }

    // Delivers signals until the descriptor `stop` can be read. Throws DeviceError when the device has ended.
    void Follow(int stop);

private:
    // The bus disconnects whoever sends anything but UTF-8 without zero bytes, or a message of 16 MiB.
    static void CheckText(const std::string& text);
    static void CheckText(const std::vector<std::string>& texts);
    static void CheckText(int32_t /*number*/) {}
    static void CheckText(uint32_t /*number*/) {}

    struct RestoredTime {
        sdbus::IConnection& connection;
        const std::chrono::milliseconds time;
        ~RestoredTime() { connection.setMethodCallTimeout(time); }
    };

    [[noreturn]] void Throw(const sdbus::Error& error) const;

    const std::string name_;  // of the device
    const std::chrono::milliseconds answerTime_;
    const std::unique_ptr<sdbus::IConnection> connection_;
    DeviceProxy proxy_;
};

// An answer's structures as values of this library: field by field, in their order.
template <typename Value, typename... Fields>
std::vector<Value> AsValues(const std::vector<sdbus::Struct<Fields...>>& structures) {
    std::vector<Value> values;
    values.reserve(structures.size());
    for (const std::tuple<Fields...>& structure : structures) {
        values.push_back(std::apply([](const Fields&... fields) { return Value{fields...}; }, structure));
    }
    return values;
}

}  // namespace ZYNE::Client
