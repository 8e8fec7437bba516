// What a device tells about one of its services.
#pragma once

#include <string>

namespace ZYNE {

class ServiceProfile {
public:
    // The udid, or "LOCAL" for this device.
    void SetDeviceId(const std::string& deviceId) { deviceId_ = deviceId; }
    void SetServiceName(const std::string& serviceName) { serviceName_ = serviceName; }
    void SetServiceType(const std::string& serviceType) { serviceType_ = serviceType; }

    const std::string& GetDeviceId() const { return deviceId_; }
    const std::string& GetServiceName() const { return serviceName_; }
    const std::string& GetServiceType() const { return serviceType_; }

private:
    std::string deviceId_;
    std::string serviceName_;
    std::string serviceType_;
};

}  // namespace ZYNE
