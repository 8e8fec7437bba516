// What one process tells the others about shared data: that rows have changed, or something that an app announces.
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

// What NotifyChangeExt announced, as a copy.
struct Notice {
    DataShareObserver::ChangeType type = DataShareObserver::ChangeType::INSERT;
    std::vector<std::string> uris;
    std::optional<std::string> data;
    std::vector<DataShareValuesBucket> buckets;

    // Points into this notice.
    DataShareObserver::ChangeInfo GetInfo() const;

    // The size of everything in it, in bytes.
    size_t GetSize() const;
};

// A copy of `info`; empty when it is not within ShareLimits.
std::optional<Notice> CopyNotice(const DataShareObserver::ChangeInfo& info);

// False when it does not fit a parcel.
bool Write(const RowsChanged& change, MessageParcel& parcel);
bool Write(const Notice& notice, MessageParcel& parcel);

// Reads what another process wrote. Empty when it is not in the form of Write, or not within ShareLimits.
std::optional<RowsChanged> ReadRowsChanged(MessageParcel& parcel);
std::optional<Notice> ReadNotice(MessageParcel& parcel);

}  // namespace ZYNE::Linux
