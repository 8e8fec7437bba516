// Tells whether the device has been set up, which the settings know: see setup_conditions.h.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/datashare/data_share_helper.h"
#include "plugin/export.h"
#include "plugin/utils/singleton.h"

namespace ZYNE::CollaborationFwk {

// What one setting says about the set-up.
struct SetupFinding {
    const char* setting;
    int32_t code;       // 0 it was read; otherwise that of DataShareUtils::QueryStringValue
    std::string value;  // empty when it was not read
    bool isInTheWay;    // the device is not set up as long as this stays so
};

// Any thread.
class OobeStatusDependency {
public:
    CFWK_EXPORT static OobeStatusDependency& GetInstance();

    // Reads the settings until the device is set up, and remembers that. Blocks while the settings provider starts and
    // answers; false also while it cannot be had.
    CFWK_EXPORT bool IsOobeReady();

    // What each setting that the decision asks for says now, in the order in which it asks. Blocks likewise, and
    // changes nothing that is remembered.
    CFWK_EXPORT static std::vector<SetupFinding> ExplainSetup();

private:
    friend class Singleton<OobeStatusDependency>;

    OobeStatusDependency() = default;
    virtual ~OobeStatusDependency() = default;

    // The value of one setting; empty when it cannot be read.
    std::string GetOobeStatus(const std::string& key);
    std::string GetOobeStatusByUri(const std::string& key, const std::string& uri);
    // Null on failure.
    std::shared_ptr<DataShareHelper> GetDataShareHelper(const std::string& uri, int32_t systemAbilityId);

    std::mutex mutex_;  // held across queries: who asks meanwhile waits for their outcome
    std::shared_ptr<DataShareHelper> dataShareHelper_;  // guarded by mutex_; null until it could be made
    std::string oobeStatus_;                            // guarded by mutex_; empty until the first query
};

}  // namespace ZYNE::CollaborationFwk
