#include "linux/bus/signal_sender.h"

#include <exception>
#include <system_error>

#include "linux/bus/bus_address.h"

namespace ZYNE::Linux {

bool SignalSender::IsUp() {
    const std::scoped_lock lock(mutex_);
    return IsUpLocked();
}

bool SignalSender::IsUpLocked() {
    if (stopped_) {
        return false;
    }
    try {
        if (!bus_) {
            bus_ = OpenBus(address_);
        }
    } catch (const std::exception&) {
        return false;
    }
    return IsConnected(bus_.get());
}

std::string SignalSender::GetUniqueName() {
    const std::scoped_lock lock(mutex_);
    const char* name = nullptr;
    return IsUpLocked() && sd_bus_get_unique_name(bus_.get(), &name) >= 0 ? name : std::string();
}

bool SignalSender::Send(const std::string& path, const std::string& interface, const std::string& member,
    const std::function<int(sd_bus_message*)>& write, std::string& error) {
    const std::scoped_lock lock(mutex_);
    if (!IsUpLocked()) {
        error = "the bus is not there";
        return false;
    }
    sd_bus_message* raw = nullptr;
    int result = sd_bus_message_new_signal(bus_.get(), &raw, path.c_str(), interface.c_str(), member.c_str());
    const MessageHandle message(raw);
    if (result >= 0) {
        result = write(raw);
    }
    if (result >= 0) {
        result = sd_bus_send(bus_.get(), raw, nullptr);
    }
    if (result >= 0) {
        result = sd_bus_flush(bus_.get());
    }
    if (result < 0) {
        error = std::generic_category().message(-result);
    }
    return result >= 0;
}

}  // namespace ZYNE::Linux
