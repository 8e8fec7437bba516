#include "linux/bus/signal_listener.h"

#include <cerrno>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "linux/bus/bus_address.h"

namespace ZYNE::Linux {

SignalListener::SignalListener(std::string address, std::vector<Signal> signals, std::function<void()> lost)
    : address_(std::move(address)), signals_(std::move(signals)), lost_(std::move(lost)) {}

SignalListener::~SignalListener() {
    Stop();
}

bool SignalListener::Listen() {
    const std::scoped_lock lock(mutex_);
    if (stopping_ || thread_.joinable()) {
        return !stopping_;
    }
    bus_ = OpenBus(address_);
    for (const Signal& signal : signals_) {
        const int result = sd_bus_match_signal(bus_.get(), nullptr, nullptr, signal.path.c_str(),
            signal.interface.c_str(), signal.member.c_str(), &SignalListener::OnSignal,
            const_cast<Signal*>(&signal));  // handed back as it is
        if (result < 0) {
            throw std::runtime_error(std::generic_category().message(-result));
        }
    }
    thread_ = std::thread([this] { Run(); });
    return true;
}

void SignalListener::Stop() {
    stopping_ = true;
    poller_.Wake();
    const std::scoped_lock lock(mutex_);
    if (thread_.joinable()) {
        thread_.join();
    }
}

void SignalListener::Run() {
    while (!stopping_ && poller_.Process(bus_.get())) {
    }
    if (!stopping_) {
        lost_();
    }
}

int SignalListener::OnSignal(sd_bus_message* message, void* signal, sd_bus_error* /*error*/) {
    try {
        static_cast<const Signal*>(signal)->tell(message);
        return 0;
    } catch (const std::exception&) {
        return -ENOMEM;
    }
}

}  // namespace ZYNE::Linux
