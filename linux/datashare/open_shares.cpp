#include "linux/datashare/open_shares.h"

#include <algorithm>
#include <iterator>

namespace ZYNE::Linux {

std::shared_ptr<DeviceShares> OpenShares::Open(const SharePlace& place) {
    const MutexLock lock(mutex_);
    for (const std::shared_ptr<DeviceShares>& shares : shares_) {
        if (shares->GetPlace() == place && shares->IsUp()) {
            return shares;
        }
    }
    return shares_.emplace_back(std::make_shared<DeviceShares>(place, host_));
}

void OpenShares::Close(const SharePlace& place) {
    std::vector<std::shared_ptr<DeviceShares>> closing;
    {
        const MutexLock lock(mutex_);
        std::ranges::copy_if(
            shares_, std::back_inserter(closing), [&](const auto& shares) { return shares->GetPlace() == place; });
    }
    for (const std::shared_ptr<DeviceShares>& shares : closing) {
        shares->Shut();
    }
}

}  // namespace ZYNE::Linux
