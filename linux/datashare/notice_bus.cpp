#include "linux/datashare/notice_bus.h"

#include <exception>
#include <optional>
#include <utility>
#include <vector>

#include "linux/base/log_domains.h"
#include "linux/bus/bus_wire.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::DATA_SHARE;

constexpr char PATH[] = "/com/zyne/DataShare";
constexpr char INTERFACE[] = "com.zyne.DataShare";
constexpr char ROWS_CHANGED[] = "RowsChanged";
constexpr char NOTICE[] = "Notice";

// Reads what another process sent and passes it on. What is not valid is logged and dropped.
template <typename Content>
void Receive(
    sd_bus_message* message, std::optional<Content> (*read)(MessageParcel&), const std::function<void(Content)>& tell) {
    try {
        std::vector<uint8_t> bytes;
        if (BusWire::ReadBytes(message, bytes) >= 0) {
            MessageParcel parcel(std::move(bytes));
            if (auto content = read(parcel)) {
                tell(std::move(*content));
                return;
            }
        }
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "a malformed notice is passed over");
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "a notice is lost: %{public}s", error.what());
    }
}

}  // namespace

NoticeBus::NoticeBus(std::shared_ptr<BusConnection> connection, Callbacks callbacks)
    : connection_(std::move(connection)), callbacks_(std::move(callbacks)) {}

bool NoticeBus::Listen() {
    const MutexLock lock(mutex_);
    if (isStopped_ || !listening_.empty()) {
        return !isStopped_;
    }
    try {
        std::vector<BusSlot> slots;
        slots.push_back(connection_->Listen(PATH, INTERFACE, ROWS_CHANGED, [this](sd_bus_message* message) {
            Receive<RowsChanged>(message, ReadRowsChanged, callbacks_.rowsChanged);
        }));
        slots.push_back(connection_->Listen(PATH, INTERFACE, NOTICE,
            [this](sd_bus_message* message) { Receive<Notice>(message, ReadNotice, callbacks_.notice); }));
        slots.push_back(connection_->ListenForEnd(callbacks_.lost));
        listening_ = std::move(slots);
        return true;
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "cannot listen for notices: %{public}s", error.what());
        return false;
    }
}

bool NoticeBus::Send(const RowsChanged& change) {
    MessageParcel parcel;
    return Write(change, parcel) && Send(ROWS_CHANGED, parcel);
}

bool NoticeBus::Send(const Notice& notice) {
    MessageParcel parcel;
    return Write(notice, parcel) && Send(NOTICE, parcel);
}

bool NoticeBus::Send(const char* member, const MessageParcel& parcel) {
    std::string error;
    const bool sent = !isStopped_ &&
        connection_->Send(
            PATH, INTERFACE, member,
            [&](sd_bus_message* message) { return BusWire::AppendBytes(message, parcel.GetBytes()); }, error);
    if (!sent) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "a notice is not sent: %{public}s", error);
    }
    return sent;
}

void NoticeBus::Stop() {
    isStopped_ = true;
    std::vector<BusSlot> ended;  // without the lock: a handler that runs is waited for
    const MutexLock lock(mutex_);
    ended.swap(listening_);
}

}  // namespace ZYNE::Linux
