// The library's use of one data-share URI.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/datashare/data_share_helper.h"

namespace ZYNE::CollaborationFwk {

// CreateDataShareHelper comes first and from one thread; after it, any thread.
class DataShareImp {
public:
    // Makes the helper for `uri` by the right of a system ability. Blocks while the ability and the provider start.
    // Whether there is a helper now; without one nothing else may be called.
    bool CreateDataShareHelper(const std::string& uri, int32_t systemAbilityId);

    // Has changes that the app announces published as this device's info. Doing it twice publishes twice.
    void RegisterObserver();

    // Announces a change with `data`.
    void NotifyDPChangedInfo(const std::string& data);

    // Adds a row with the column `key`, and announces it as {key:value}, without quotes of its own.
    void InsertDPChangedInfo(const std::string& key, const std::string& value);

private:
    void NotifyChange(DataShareObserver::ChangeType type, const std::string& data);

    std::string uri_;
    std::shared_ptr<DataShareHelper> helper_;
};

}  // namespace ZYNE::CollaborationFwk
