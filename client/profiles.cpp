#include "client/profiles.h"

#include "client/device_connection.h"

namespace ZYNE::Client {

std::optional<std::string> Profiles::Get(
    const std::string& device, const std::string& service, const std::string& serviceType, const std::string& key) {
    try {
        return connection_.Call(&DeviceProxy::GetProfile, device, service, serviceType, key);
    } catch (const NotFound&) {
        return std::nullopt;
    }
}

int32_t Profiles::Put(
    const std::string& service, const std::string& serviceType, const std::string& key, const std::string& value) {
    return connection_.Call(&DeviceProxy::PutProfile, service, serviceType, key, value);
}

int32_t Profiles::Delete(const std::string& service, const std::string& key) {
    return connection_.Call(&DeviceProxy::DeleteProfile, service, key);
}

std::vector<ProfileEntry> Profiles::List(const std::string& device) {
    return AsValues<ProfileEntry>(connection_.Call(&DeviceProxy::ListProfiles, device));
}

}  // namespace ZYNE::Client
