// What one process tells the others of shared data: that rows have changed, or what somebody announces.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/datashare/data_share_observer.h"
#include "platform/ipc/message_parcel.h"

namespace ZYNE::Linux {

// Rows were inserted or updated.
struct RowsChanged {
    std::string share;
    std::vector<std::string> keys;  // the KEYWORD of each row that has one
};

// What NotifyChangeExt announced, as a copy of its own.
struct Notice {
    DataShareObserver::ChangeType type = DataShareObserver::ChangeType::INSERT;
    std::vector<std::string> uris;
    std::optional<std::string> data;
    std::vector<DataShareValuesBucket> buckets;

    // Points into this notice.
    DataShareObserver::ChangeInfo GetInfo() const;

    // Of everything in it, in bytes.
    size_t GetSize() const;
};

// A copy of `info`; empty when it is not within ShareLimits.
std::optional<Notice> CopyNotice(const DataShareObserver::ChangeInfo& info);

// False when it does not fit a parcel.
bool Write(const RowsChanged& change, MessageParcel& parcel);
bool Write(const Notice& notice, MessageParcel& parcel);

// What a stranger wrote; empty when it is not what Write writes, or not within ShareLimits.
std::optional<RowsChanged> ReadRowsChanged(MessageParcel& parcel);
std::optional<Notice> ReadNotice(MessageParcel& parcel);

}  // namespace ZYNE::Linux
