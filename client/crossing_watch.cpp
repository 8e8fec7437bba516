#include "client/crossing_watch.h"

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>

#include "linux/base/unique_fd.h"
#include "linux/bus/bus_server.h"
#include "linux/bus/bus_wire.h"

namespace ZYNE::Client {
namespace {

constexpr int32_t REFUSED = -1;

}  // namespace

// The object that the device sends the events to, and the thread that serves it.
class CrossingWatch::Server {
public:
    Server(const std::string& busAddress, Linux::Mailbox<CrossingEvent>& mailbox)
        : mailbox_(mailbox), ended_(eventfd(0, EFD_CLOEXEC)), bus_(busAddress) {
        if (!ended_) {
            throw std::system_error(errno, std::generic_category(), "the end of the device cannot be waited for");
        }
        bus_.Serve(Linux::BusWire::DEFAULT_PATH,
            [this](uint32_t code, MessageParcel& data, MessageParcel&, const IPCContext&) { return Take(code, data); });
        bus_.ServeLines(Linux::BusWire::DEFAULT_PATH);
        thread_ = std::thread([this] {
            bus_.Run();
            eventfd_write(ended_.Get(), 1);
        });
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server() {
        bus_.Stop();
        thread_.join();
    }

    const std::string& GetUniqueName() const { return bus_.GetUniqueName(); }
    // Becomes readable when the bus is gone.
    int EndDescriptor() const { return ended_.Get(); }

private:
    // The device sends the next event after the answer to this one, which keeps their order.
    int32_t Take(uint32_t code, MessageParcel& data) {
        std::optional<CrossingEvent> event = ReadCrossingEvent(code, data);
        return event && mailbox_.Post(std::move(*event)) ? 0 : REFUSED;
    }

    Linux::Mailbox<CrossingEvent>& mailbox_;
    const Linux::UniqueFd ended_;
    Linux::BusServer bus_;
    std::thread thread_;
};

CrossingWatch::CrossingWatch(
    Device& device, std::vector<std::string> events, std::function<void(const CrossingEvent&)> told)
    : device_(device), events_(std::move(events)), mailbox_(Linux::Mailbox<CrossingEvent>::Make(pool_,
                                                       [this, told = std::move(told)](const CrossingEvent& event) {
                                                           { const Linux::MutexLock registered(registering_); }
                                                           told(event);
                                                       },
                                                       {MAX_WAITING})) {
    const Linux::MutexLock registering(registering_);  // `told` may use the device
    const DeviceEntry& entry = device_.Entry();
    try {
        server_ = std::make_unique<Server>(entry.busAddress, *mailbox_);
    } catch (const std::runtime_error& error) {
        throw DeviceError("the device \"" + entry.name + "\" cannot be listened to: " + error.what());
    }
    for (const std::string& event : events_) {
        device_.Crossing().AddListener(event, server_->GetUniqueName());
    }
}

CrossingWatch::~CrossingWatch() {
    mailbox_->CloseAndWait();
    try {
        for (const std::string& event : events_) {
            device_.Crossing().RemoveListener(event);
        }
    } catch (const DeviceError&) {
        return;  // the registration ends with the connection
    }
}

void CrossingWatch::Follow(int stop) {
    std::array<pollfd, 2> polled{{{stop, POLLIN, 0}, {server_->EndDescriptor(), POLLIN, 0}}};
    while (polled[0].revents == 0 && polled[1].revents == 0) {
        poll(polled.data(), polled.size(), -1);
    }
    if (polled[0].revents == 0) {
        throw DeviceError("the device \"" + device_.Entry().name + "\" has ended");
    }
}

}  // namespace ZYNE::Client
