#include "client/device_bus.h"

#include <array>
#include <poll.h>

#include "client/bus_library.h"
#include "client/device_error.h"

namespace ZYNE::Client {

std::unique_ptr<sdbus::IConnection> ConnectTo(const DeviceEntry& device, std::chrono::milliseconds answerTime) {
    if (!device.running) {
        throw DeviceError("the device \"" + device.name + "\" is not running");
    }
    if (device.busAddress.empty()) {
        throw DeviceError("the device \"" + device.name + "\" is starting");
    }
    try {
        auto connection = sdbus::createSessionBusConnectionWithAddress(device.busAddress);
        connection->setMethodCallTimeout(answerTime);
        return connection;
    } catch (const sdbus::Error& error) {
        throw DeviceError("the device \"" + device.name + "\" cannot be reached: " + error.getMessage());
    }
}

void FollowBus(sdbus::IConnection& connection, const std::string& device, int stop) {
    try {
        for (;;) {
            while (ProcessPending(connection)) {
            }
            const auto bus = connection.getEventLoopPollData();
            std::array<pollfd, 2> polled{{{bus.fd, bus.events, 0}, {stop, POLLIN, 0}}};
            poll(polled.data(), polled.size(), bus.getPollTimeout());
            if (polled[1].revents != 0) {
                return;
            }
        }
    } catch (const sdbus::Error&) {
        throw DeviceError("the device \"" + device + "\" has ended");
    }
}

}  // namespace ZYNE::Client
