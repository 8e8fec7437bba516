#include "client/settings.h"

#include "client/device_connection.h"

namespace ZYNE::Client {

std::string Settings::Get(const std::string& key, int32_t user) {
    return connection_.Call(&DeviceProxy::GetSetting, key, user);
}

void Settings::Put(const std::string& key, const std::string& value, int32_t user) {
    connection_.Call(&DeviceProxy::PutSetting, key, value, user);
}

}  // namespace ZYNE::Client
