// A set of device types.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "platform/ipc/ref_base.h"

namespace ZYNE::CollaborationFwk {

class PLATFORM_API DeviceFilter : public RefBase {
public:
    // `capabilities` is kept for the host; {0} asks for none.
    DeviceFilter(std::vector<uint32_t> deviceTypes, std::vector<uint32_t> capabilities)
        : deviceTypes_(std::move(deviceTypes)), capabilities_(std::move(capabilities)) {}

    bool isDeviceTypeMatch(uint32_t deviceType) const {
        return std::find(deviceTypes_.begin(), deviceTypes_.end(), deviceType) != deviceTypes_.end();
    }
    const std::vector<uint32_t>& GetCapabilities() const { return capabilities_; }

private:
    std::vector<uint32_t> deviceTypes_;
    std::vector<uint32_t> capabilities_;
};

}  // namespace ZYNE::CollaborationFwk
