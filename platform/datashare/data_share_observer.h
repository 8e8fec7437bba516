// Is told of changes of shared data together with what has changed.
#pragma once

#include <cstdint>
#include <list>
#include <vector>

#include "platform/datashare/data_share_values_bucket.h"
#include "platform/datashare/uri.h"
#include "platform/export.h"

namespace ZYNE {

class PLATFORM_API DataShareObserver {
public:
    enum class ChangeType : uint32_t { INSERT = 0, UPDATE = 2 };

    struct ChangeInfo {
        ChangeType changeType = ChangeType::INSERT;
        std::list<Uri> uris;
        const void* data = nullptr;  // any bytes, not terminated; null when the notice carries none
        uint32_t size = 0;           // of `data`, in bytes
        std::vector<DataShareValuesBucket> valueBuckets;
    };

    virtual ~DataShareObserver() = default;

    // On any thread of the port, several at once, never inside an operation of DataShareHelper. What `changeInfo`
    // points to lives until the call returns. Its content comes from whoever announced the change and is not to be
    // trusted.
    virtual void OnChange(const ChangeInfo& changeInfo) = 0;
};

}  // namespace ZYNE
