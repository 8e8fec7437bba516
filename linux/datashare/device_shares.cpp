#include "linux/datashare/device_shares.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <stdexcept>
#include <utility>

#include "linux/base/log_domains.h"
#include "linux/bus/bus_address.h"
#include "linux/datashare/notice_bus.h"
#include "linux/datashare/share_limits.h"
#include "linux/datashare/share_providers.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr LogDomain LOG = LogDomains::DATA_SHARE;

// The pause between attempts to reach the bus again.
constexpr auto FIRST_PAUSE = 100ms;
constexpr auto MAX_PAUSE = 2000ms;

}  // namespace

struct DeviceShares::Connection {
    Connection(const SharePlace& place, const ShareHost& host, const NoticeBus::Callbacks& callbacks)
        : table(place.databaseFile, host.notes), providers(table.GetProviders()),
          notices(host.connect(place), callbacks) {}

    ShareTable table;
    const ShareProviders providers;
    NoticeBus notices;  // the last to be built: its handlers call
};

DeviceShares::DeviceShares(const SharePlace& place, const ShareHost& host)
    : place_(place), host_(host), observers_(host.pool) {
    connection_ = Make(number_, false);
    if (!connection_) {
        throw std::runtime_error("the device's bus or its database cannot be reached");
    }
}

DeviceShares::~DeviceShares() {
    Shut();
}

void DeviceShares::Shut() {
    std::shared_ptr<Connection> connection;  // ended without the lock, as is the thread
    std::thread returning;
    {
        const MutexLock lock(mutex_);
        isClosed_ = true;
        connection.swap(connection_);
        returning.swap(returning_);
    }
    wake_.notify_all();
    if (returning.joinable()) {
        returning.join();
    }
    if (connection) {
        connection->notices.Stop();
    }
    observers_.Clear();
}

// Null while the device is not up. The lock is not held while the bus is asked.
std::shared_ptr<DeviceShares::Connection> DeviceShares::GetConnection() {
    std::shared_ptr<Connection> connection;
    uint64_t number = 0;
    {
        const MutexLock lock(mutex_);
        connection = connection_;
        number = number_;
    }
    if (!connection || connection->notices.IsUp()) {
        return connection;
    }
    OnLost(number);
    const MutexLock lock(mutex_);
    StartReturning();
    return nullptr;
}

// The end of a connection that was given up before is ignored.
void DeviceShares::OnLost(uint64_t number) {
    const MutexLock lock(mutex_);
    isLost_ = isLost_ || number == number_;
    wake_.notify_all();
}

void DeviceShares::StartReturning() {
    if (!returning_.joinable() && !isClosed_) {
        returning_ = std::thread([this] { RunReturning(); });
    }
    wake_.notify_all();
}

void DeviceShares::RunReturning() {
    std::shared_ptr<Connection> connection;  // ended without the lock
    MutexLock lock(mutex_);
    while (true) {
        wake_.wait(lock, [this]() REQUIRES(mutex_) { return isClosed_ || isLost_; });
        if (isClosed_) {
            return;
        }
        connection.swap(connection_);
        const uint64_t number = ++number_;
        isLost_ = false;
        lock.unlock();
        connection.reset();
        lock.lock();
        for (auto pause = FIRST_PAUSE; !isClosed_ && !connection_; pause = std::min(2 * pause, MAX_PAUSE)) {
            lock.unlock();
            connection = Make(number, true);
            lock.lock();
            if (!connection) {
                wake_.wait_for(lock, pause, [this]() REQUIRES(mutex_) { return isClosed_; });
            } else if (!isClosed_) {
                connection_.swap(connection);
            }
        }
        if (!isClosed_) {
            lock.unlock();
            observers_.TellAll();
            lock.lock();
        }
    }
}

// Null when the bus or the database cannot be reached.
std::shared_ptr<DeviceShares::Connection> DeviceShares::Make(uint64_t number, bool listens) {
    const NoticeBus::Callbacks callbacks{[this](const RowsChanged& change) { observers_.Tell(change); },
        [this](Notice notice) { observers_.Tell(std::move(notice)); },
        [this, number] {
            OnLost(number);
        }};
    try {
        auto made = std::make_shared<Connection>(place_, host_, callbacks);
        if (made->notices.IsUp() && (!listens || made->notices.Listen())) {
            return made;
        }
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "shared data cannot be reached: %{public}s", error.what());
    }
    return nullptr;
}

std::string DeviceShares::FindProvider(const std::string& path) {
    const std::shared_ptr<Connection> connection = GetConnection();
    return connection ? std::string(connection->providers.Find(path)) : std::string();
}

int32_t DeviceShares::Insert(const std::string& share, const ShareTable::Row& row) {
    const std::shared_ptr<Connection> connection = GetConnection();
    if (!connection) {
        return SHARE_NOT_UP;
    }
    const ShareChange change = connection->table.Insert(share, row);
    Tell(*connection, share, change);
    return change.result;
}

int32_t DeviceShares::Update(
    const std::string& share, const ShareTable::Conditions& conditions, const ShareTable::Row& values) {
    const std::shared_ptr<Connection> connection = GetConnection();
    if (!connection) {
        return SHARE_NOT_UP;
    }
    const ShareChange change = connection->table.Update(share, conditions, values);
    Tell(*connection, share, change);
    return change.result;
}

// The change is made whether or not others can be told.
void DeviceShares::Tell(Connection& connection, const std::string& share, const ShareChange& change) {
    if (change.result > 0) {
        connection.notices.Send(RowsChanged{share, change.keys});
    }
}

int32_t DeviceShares::Query(const std::string& share, const ShareTable::Conditions& conditions,
    const std::vector<std::string>& columns, std::vector<ShareTable::Row>& rows) {
    const std::shared_ptr<Connection> connection = GetConnection();
    return connection ? connection->table.Query(share, conditions, columns, rows) : SHARE_NOT_UP;
}

int32_t DeviceShares::Announce(const Notice& notice) {
    const std::shared_ptr<Connection> connection = GetConnection();
    return connection && connection->notices.Send(notice) ? SHARE_OK : SHARE_NOT_UP;
}

// From now on a lost connection is restored at once.
bool DeviceShares::Listens() {
    const std::shared_ptr<Connection> connection = GetConnection();
    if (!connection || !connection->notices.Listen()) {
        return false;
    }
    const MutexLock lock(mutex_);
    StartReturning();
    return !isClosed_;
}

int32_t DeviceShares::ObserveNotices(
    const void* owner, const ShareName& name, bool descendants, const std::shared_ptr<DataShareObserver>& observer) {
    if (!observer) {
        return SHARE_NO_OBSERVER;
    }
    if (!Listens()) {
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
    if (!Listens()) {
        return SHARE_NOT_UP;
    }
    observers_.AddForRows(name, observer);
    return SHARE_OK;
}

int32_t DeviceShares::EndRows(const ShareName& name, const sptr<IDataAbilityObserver>& observer) {
    if (observers_.RemoveForRows(name, observer)) {
        return SHARE_OK;
    }
    return GetConnection() ? SHARE_NO_OBSERVER : SHARE_NOT_UP;
}

}  // namespace ZYNE::Linux
