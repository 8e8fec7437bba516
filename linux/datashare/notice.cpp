#include "linux/datashare/notice.h"

#include <algorithm>
#include <utility>

#include "linux/datashare/share_limits.h"

namespace ZYNE::Linux {
namespace {

using ChangeType = DataShareObserver::ChangeType;

constexpr size_t TEXT_OVERHEAD = sizeof(std::string);  // bytes that a text takes besides its own

bool IsValid(const Notice& notice) {
    const auto fits = [](const std::string& uri) {
        return uri.size() <= ShareLimits::URI;
    };
    return (notice.type == ChangeType::INSERT || notice.type == ChangeType::UPDATE) && !notice.uris.empty() &&
        notice.uris.size() <= ShareLimits::NOTICE_PARTS && notice.buckets.size() <= ShareLimits::NOTICE_PARTS &&
        std::all_of(notice.uris.begin(), notice.uris.end(), fits) &&
        (!notice.data || notice.data->size() <= ShareLimits::NOTICE) && notice.GetSize() <= Parcel::MAX_SIZE;
}

// A bucket as its columns and values in turn.
std::vector<std::string> Flatten(const DataShareValuesBucket& bucket) {
    std::vector<std::string> texts;
    for (const auto& [column, value] : bucket.GetValues()) {
        texts.push_back(column);
        texts.push_back(value);
    }
    return texts;
}

bool ReadBucket(MessageParcel& parcel, Notice& notice) {
    std::vector<std::string> texts;
    if (!parcel.ReadStringVector(texts) || texts.size() % 2 != 0) {
        return false;
    }
    DataShareValuesBucket& bucket = notice.buckets.emplace_back();
    for (size_t i = 0; i < texts.size(); i += 2) {
        bucket.Put(texts[i], texts[i + 1]);
    }
    return true;
}

}  // namespace

DataShareObserver::ChangeInfo Notice::GetInfo() const {
    DataShareObserver::ChangeInfo info;
    info.changeType = type;
    for (const std::string& uri : uris) {
        info.uris.emplace_back(uri);
    }
    if (data) {
        info.data = data->data();
        info.size = static_cast<uint32_t>(data->size());
    }
    info.valueBuckets = buckets;
    return info;
}

size_t Notice::GetSize() const {
    size_t size = sizeof(Notice) + (data ? data->size() : 0);
    for (const std::string& uri : uris) {
        size += TEXT_OVERHEAD + uri.size();
    }
    for (const DataShareValuesBucket& bucket : buckets) {
        for (const auto& [column, value] : bucket.GetValues()) {
            size += 2 * TEXT_OVERHEAD + column.size() + value.size();
        }
    }
    return size;
}

std::optional<Notice> CopyNotice(const DataShareObserver::ChangeInfo& info) {
    if (info.data != nullptr && info.size > ShareLimits::NOTICE) {
        return std::nullopt;
    }
    Notice notice;
    notice.type = info.changeType;
    for (const Uri& uri : info.uris) {
        notice.uris.push_back(uri.ToString());
    }
    if (info.data != nullptr) {
        notice.data.emplace(static_cast<const char*>(info.data), info.size);
    }
    notice.buckets = info.valueBuckets;
    return IsValid(notice) ? std::optional(std::move(notice)) : std::nullopt;
}

bool Write(const RowsChanged& change, MessageParcel& parcel) {
    return parcel.WriteString(change.share) && parcel.WriteStringVector(change.keys);
}

bool Write(const Notice& notice, MessageParcel& parcel) {
    const auto data = notice.data ? std::vector{*notice.data} : std::vector<std::string>();
    bool written = parcel.WriteUint32(static_cast<uint32_t>(notice.type)) && parcel.WriteStringVector(notice.uris) &&
        parcel.WriteStringVector(data) && parcel.WriteUint32(static_cast<uint32_t>(notice.buckets.size()));
    for (const DataShareValuesBucket& bucket : notice.buckets) {
        written = written && parcel.WriteStringVector(Flatten(bucket));
    }
    return written;
}

std::optional<RowsChanged> ReadRowsChanged(MessageParcel& parcel) {
    RowsChanged change{parcel.ReadString(), {}};
    const bool read = parcel.ReadStringVector(change.keys) && parcel.GetReadableBytes() == 0;
    const bool valid = change.share.size() <= ShareLimits::URI && change.keys.size() <= 2 * ShareLimits::ROWS;
    return read && valid ? std::optional(std::move(change)) : std::nullopt;
}

std::optional<Notice> ReadNotice(MessageParcel& parcel) {
    Notice notice;
    notice.type = static_cast<ChangeType>(parcel.ReadUint32());
    std::vector<std::string> data;
    if (!parcel.ReadStringVector(notice.uris) || !parcel.ReadStringVector(data) || data.size() > 1) {
        return std::nullopt;
    }
    if (!data.empty()) {
        notice.data = std::move(data.front());
    }
    uint32_t buckets = parcel.ReadUint32();
    while (buckets > 0 && notice.buckets.size() <= ShareLimits::NOTICE_PARTS && ReadBucket(parcel, notice)) {
        --buckets;
    }
    const bool whole = buckets == 0 && parcel.GetReadableBytes() == 0;
    return whole && IsValid(notice) ? std::optional(std::move(notice)) : std::nullopt;
}

}  // namespace ZYNE::Linux
