#include "linux/datashare/notice_bus.h"

#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "linux/bus/bus_address.h"
#include "linux/bus/bus_wire.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG{0xD004635, "DataShare"};

constexpr char PATH[] = "/com/zyne/DataShare";
constexpr char INTERFACE[] = "com.zyne.DataShare";
constexpr char ROWS_CHANGED[] = "RowsChanged";
constexpr char NOTICE[] = "Notice";

void Check(int result) {
    if (result < 0) {
        throw std::runtime_error(std::generic_category().message(-result));
    }
}

void AddMatch(sd_bus* bus, const char* member, sd_bus_message_handler_t handler, void* self) {
    Check(sd_bus_match_signal(bus, nullptr, nullptr, PATH, INTERFACE, member, handler, self));
}

// Reads what a stranger sent and hands it on. Whatever is wrong with it costs a log line.
template <typename Read, typename Tell>
int Receive(sd_bus_message* message, Read read, const Tell& tell) {
    try {
        std::vector<uint8_t> bytes;
        if (BusWire::ReadBytes(message, bytes) >= 0) {
            MessageParcel parcel(std::move(bytes));
            if (auto content = read(parcel)) {
                tell(std::move(*content));
                return 0;
            }
        }
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "a malformed notice is passed over");
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "a notice is lost: %{public}s", error.what());
    }
    return 0;
}

}  // namespace

NoticeBus::NoticeBus(std::string address, Callbacks callbacks)
    : address_(std::move(address)), callbacks_(std::move(callbacks)) {}

NoticeBus::~NoticeBus() {
    Stop();
}

bool NoticeBus::IsUp() {
    const std::scoped_lock lock(sendMutex_);
    return IsUpLocked();
}

// Takes in whatever was sent to the connection, as sd-bus notices its end by reading.
bool NoticeBus::IsUpLocked() {
    if (stopping_) {
        return false;
    }
    try {
        if (!sender_) {
            sender_ = OpenBus(address_);
        }
    } catch (const std::exception&) {
        return false;
    }
    int result = 1;
    while (result > 0) {
        result = sd_bus_process(sender_.get(), nullptr);
    }
    return result == 0 && sd_bus_is_open(sender_.get()) > 0;
}

bool NoticeBus::Listen() {
    const std::scoped_lock lock(listenMutex_);
    if (stopping_ || thread_.joinable()) {
        return !stopping_;
    }
    try {
        listener_ = OpenBus(address_);
        AddMatch(listener_.get(), ROWS_CHANGED, &NoticeBus::OnRowsChanged, this);
        AddMatch(listener_.get(), NOTICE, &NoticeBus::OnNotice, this);
        thread_ = std::thread([this] { Run(); });
        return true;
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "cannot listen for notices: %{public}s", error.what());
        return false;
    }
}

bool NoticeBus::Send(const RowsChanged& change) {
    MessageParcel parcel;
    return Write(change, parcel) && SendParcel(ROWS_CHANGED, parcel);
}

bool NoticeBus::Send(const Notice& notice) {
    MessageParcel parcel;
    return Write(notice, parcel) && SendParcel(NOTICE, parcel);
}

bool NoticeBus::SendParcel(const char* member, const MessageParcel& parcel) {
    const std::scoped_lock lock(sendMutex_);
    if (!IsUpLocked()) {
        return false;
    }
    sd_bus_message* raw = nullptr;
    int result = sd_bus_message_new_signal(sender_.get(), &raw, PATH, INTERFACE, member);
    const MessageHandle message(raw);
    if (result >= 0) {
        result = BusWire::AppendBytes(raw, parcel.GetBytes());
    }
    if (result >= 0) {
        result = sd_bus_send(sender_.get(), raw, nullptr);
    }
    if (result >= 0) {
        result = sd_bus_flush(sender_.get());
    }
    if (result < 0) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "a notice is not sent: %{public}s",
            std::generic_category().message(-result));
    }
    return result >= 0;
}

void NoticeBus::Stop() {
    stopping_ = true;
    poller_.Wake();
    const std::scoped_lock lock(listenMutex_);
    if (thread_.joinable()) {
        thread_.join();
    }
}

void NoticeBus::Run() {
    while (!stopping_ && poller_.Process(listener_.get())) {
    }
    if (!stopping_) {
        callbacks_.lost();
    }
}

int NoticeBus::OnRowsChanged(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    return Receive(message, ReadRowsChanged, static_cast<NoticeBus*>(self)->callbacks_.rowsChanged);
}

int NoticeBus::OnNotice(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    return Receive(message, ReadNotice, static_cast<NoticeBus*>(self)->callbacks_.notice);
}

}  // namespace ZYNE::Linux
