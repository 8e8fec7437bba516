#include "client/profile_watch.h"

#include <array>
#include <utility>

#include <poll.h>
#include <sdbus-c++/sdbus-c++.h>

#include "client/device_api_proxy.h"
#include "client/device_connection.h"

namespace ZYNE::Client {

// Whoever follows is the event loop, so that changes come on that thread.
class ProfileWatch::Proxy final : private sdbus::ProxyObjectHolder, public io::collaborationfwk::Device1_proxy {
public:
    Proxy(sdbus::IConnection& connection, std::function<void(const ProfileChange&)> told)
        : ProxyObjectHolder(sdbus::createProxy(connection, DEVICE_BUS_NAME, DEVICE_OBJECT_PATH)),
          Device1_proxy(getProxy()), told_(std::move(told)) {
        getProxy().finishRegistration();
    }
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;
    ~Proxy() { getProxy().unregister(); }

private:
    void onDevicesChanged() override {}

    void onProfileChanged(const std::string& change, const std::string& deviceName, const std::string& deviceId,
        const std::string& service, const std::string& key, const std::string& value, const bool& whole) override {
        told_({change, {deviceName, deviceId, service, "", key, value, whole}});
    }

    const std::function<void(const ProfileChange&)> told_;
};

ProfileWatch::ProfileWatch(const DeviceEntry& device, std::function<void(const ProfileChange&)> told)
    : name_(device.name), connection_(ConnectToDevice(device, DeviceClient::ANSWER_TIME)) {
    try {
        proxy_ = std::make_unique<Proxy>(*connection_, std::move(told));
    } catch (const sdbus::Error& error) {
        throw DeviceError(ExplainBusError(name_, error));
    }
}

ProfileWatch::~ProfileWatch() = default;

void ProfileWatch::Follow(int stop) {
    try {
        for (;;) {
            while (connection_->processPendingRequest()) {
            }
            const auto bus = connection_->getEventLoopPollData();
            std::array<pollfd, 2> polled{{{bus.fd, bus.events, 0}, {stop, POLLIN, 0}}};
            poll(polled.data(), polled.size(), bus.getPollTimeout());
            if (polled[1].revents != 0) {
                return;
            }
        }
    } catch (const sdbus::Error&) {
        throw DeviceError("the device \"" + name_ + "\" has ended");
    }
}

}  // namespace ZYNE::Client
