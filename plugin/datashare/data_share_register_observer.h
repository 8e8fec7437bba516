// Publishes what an app announces on its data-share URI as this device's info.
#pragma once

#include "platform/datashare/data_share_observer.h"

namespace ZYNE::CollaborationFwk {

// Any thread, several at once. Holds no lock.
class DataShareRegisterObserver final : public DataShareObserver {
public:
    // Changes without data, and data that is not JSON, are logged only.
    void OnChange(const ChangeInfo& changeInfo) override;
};

}  // namespace ZYNE::CollaborationFwk
