#include "client/profile_watch.h"

#include <utility>

#include "client/device_connection.h"

namespace ZYNE::Client {

class ProfileWatch::Signals final : public DeviceProxy {
public:
    Signals(Bus& bus, std::function<void(const ProfileChange&)> told) : DeviceProxy(bus), told_(std::move(told)) {}

private:
    void onProfileChanged(const std::string& change, const std::string& deviceName, const std::string& deviceId,
        const std::string& service, const std::string& key, const std::string& value, const bool& whole) override {
        told_({change, {deviceName, deviceId, service, "", key, value, whole}});
    }

    const std::function<void(const ProfileChange&)> told_;
};

ProfileWatch::ProfileWatch(Device& device, std::function<void(const ProfileChange&)> told)
    : connection_(*device.connection_), signals_(connection_.Listen<Signals>(std::move(told))) {}

ProfileWatch::~ProfileWatch() = default;

void ProfileWatch::Follow(int stop) {
    connection_.Follow(stop);
}

}  // namespace ZYNE::Client
