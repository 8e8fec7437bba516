#include "linux/datashare/device_shares.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "linux/datashare/share_limits.h"

namespace ZYNE::Linux {
namespace {

// Every one that this process has opened. They stay when they are no longer up, so that the last reference is never let
// go of on a thread that it would have to wait for; a process uses one device, rarely more.
struct Opened {
    std::mutex mutex;
    std::vector<std::pair<SharePlace, std::shared_ptr<DeviceShares>>> shares;  // guarded by mutex
};

Opened& TheOpened() {
    static auto& opened = *new Opened();
    return opened;
}

}  // namespace

std::shared_ptr<DeviceShares> DeviceShares::Open(const SharePlace& place) {
    Opened& opened = TheOpened();
    const std::scoped_lock lock(opened.mutex);
    for (const auto& [other, shares] : opened.shares) {
        if (other == place && shares->IsOpen()) {
            return shares;
        }
    }
    auto made = std::make_shared<DeviceShares>(place);
    if (!made->notices_.IsUp()) {
        throw std::runtime_error("the device's bus cannot be reached");
    }
    opened.shares.emplace_back(place, made);
    return made;
}

void DeviceShares::Close(const SharePlace& place) {
    std::vector<std::shared_ptr<DeviceShares>> closing;
    {
        Opened& opened = TheOpened();
        const std::scoped_lock lock(opened.mutex);
        for (const auto& [other, shares] : opened.shares) {
            if (other == place) {
                closing.push_back(shares);
            }
        }
    }
    for (const std::shared_ptr<DeviceShares>& shares : closing) {
        shares->Shut();
        shares->notices_.Stop();
        shares->observers_.Clear();
    }
}

DeviceShares::DeviceShares(const SharePlace& place)
    : place_(place), table_(std::make_shared<ShareTable>(place.databaseFile)), providers_(table_->GetProviders()),
      notices_(place.busAddress,
          {[this](const RowsChanged& change) { observers_.Tell(change); },
              [this](Notice notice) { observers_.Tell(std::move(notice)); },
              [this] {
                  Shut();
              }}) {}

void DeviceShares::Shut() {
    std::shared_ptr<ShareTable> table;  // closed without the lock
    {
        const std::scoped_lock lock(mutex_);
        table.swap(table_);
    }
    observers_.Clear();
}

// Null when it is no longer up.
std::shared_ptr<ShareTable> DeviceShares::GetTable() {
    if (!notices_.IsUp()) {
        Shut();
    }
    const std::scoped_lock lock(mutex_);
    return table_;
}

bool DeviceShares::IsOpen() {
    return GetTable() != nullptr;
}

int32_t DeviceShares::Insert(const std::string& share, const ShareTable::Row& row) {
    const std::shared_ptr<ShareTable> table = GetTable();
    return table ? Tell(share, table->Insert(share, row)) : SHARE_NOT_UP;
}

int32_t DeviceShares::Update(
    const std::string& share, const ShareTable::Conditions& conditions, const ShareTable::Row& values) {
    const std::shared_ptr<ShareTable> table = GetTable();
    return table ? Tell(share, table->Update(share, conditions, values)) : SHARE_NOT_UP;
}

// The change is made whether or not others can be told.
int32_t DeviceShares::Tell(const std::string& share, ShareChange change) {
    if (change.result > 0) {
        notices_.Send(RowsChanged{share, std::move(change.keys)});
    }
    return change.result;
}

int32_t DeviceShares::Query(
    const std::string& share, const ShareTable::Conditions& conditions, std::vector<ShareTable::Row>& rows) {
    const std::shared_ptr<ShareTable> table = GetTable();
    return table ? table->Query(share, conditions, rows) : SHARE_NOT_UP;
}

int32_t DeviceShares::Announce(const Notice& notice) {
    return IsOpen() && notices_.Send(notice) ? SHARE_OK : SHARE_NOT_UP;
}

int32_t DeviceShares::ObserveNotices(
    const void* owner, const ShareName& name, bool descendants, const std::shared_ptr<DataShareObserver>& observer) {
    if (!observer) {
        return SHARE_NO_OBSERVER;
    }
    if (!IsOpen() || !notices_.Listen()) {
        return SHARE_NOT_UP;
    }
    observers_.AddForNotices(owner, name, descendants, observer);
    return SHARE_OK;
}

void DeviceShares::EndNotices(const void* owner) {
    observers_.RemoveForNotices(owner);
}

int32_t DeviceShares::ObserveRows(const ShareName& name, const sptr<IDataAbilityObserver>& observer) {
    if (!observer) {
        return SHARE_NO_OBSERVER;
    }
    if (!IsOpen() || !notices_.Listen()) {
        return SHARE_NOT_UP;
    }
    observers_.AddForRows(name, observer);
    return SHARE_OK;
}

int32_t DeviceShares::EndRows(const ShareName& name, const sptr<IDataAbilityObserver>& observer) {
    if (!IsOpen()) {
        return SHARE_NOT_UP;
    }
    return observers_.RemoveForRows(name, observer) ? SHARE_OK : SHARE_NO_OBSERVER;
}

}  // namespace ZYNE::Linux
