#include "client/crossing_watch.h"

#include <array>
#include <cerrno>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>

#include "client/crossing_client.h"
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
    Server(const std::string& busAddress, std::function<void(const CrossingEvent&)> told)
        : told_(std::move(told)), ended_(eventfd(0, EFD_CLOEXEC)), bus_(busAddress) {
        if (!ended_) {
            throw std::system_error(errno, std::generic_category(), "the end of the device cannot be waited for");
        }
        bus_.Serve(Linux::BusWire::DEFAULT_PATH,
            [this](uint32_t code, MessageParcel& data, MessageParcel&, const IPCContext&) { return Take(code, data); });
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
    // Can be read once the bus is gone.
    int EndDescriptor() const { return ended_.Get(); }

private:
    int32_t Take(uint32_t code, MessageParcel& data) {
        const std::optional<CrossingEvent> event = ReadCrossingEvent(code, data);
        if (!event) {
            return REFUSED;
        }
        const std::scoped_lock lock(mutex_);  // held while telling, which makes it one event at a time
        told_(*event);
        return 0;
    }

    std::mutex mutex_;
    const std::function<void(const CrossingEvent&)> told_;  // called under mutex_
    const Linux::UniqueFd ended_;
    Linux::BusServer bus_;
    std::thread thread_;
};

CrossingWatch::CrossingWatch(
    const DeviceEntry& device, std::vector<std::string> events, std::function<void(const CrossingEvent&)> told)
    : device_(device), events_(std::move(events)) {
    CrossingClient client(device_);
    try {
        server_ = std::make_unique<Server>(device_.busAddress, std::move(told));
    } catch (const std::runtime_error& error) {
        throw DeviceError("the device \"" + device_.name + "\" cannot be listened to: " + error.what());
    }
    for (const std::string& event : events_) {
        client.AddListener(event, server_->GetUniqueName());
    }
}

CrossingWatch::~CrossingWatch() {
    Unregister();
}

// What cannot be taken away ends with the connection.
void CrossingWatch::Unregister() {
    try {
        CrossingClient client(device_);
        for (const std::string& event : events_) {
            client.RemoveListener(event);
        }
    } catch (const DeviceError&) {
        return;
    }
}

void CrossingWatch::Follow(int stop) {
    std::array<pollfd, 2> polled{{{stop, POLLIN, 0}, {server_->EndDescriptor(), POLLIN, 0}}};
    while (polled[0].revents == 0 && polled[1].revents == 0) {
        poll(polled.data(), polled.size(), -1);
    }
    if (polled[0].revents == 0) {
        throw DeviceError("the device \"" + device_.name + "\" has ended");
    }
}

}  // namespace ZYNE::Client
