// Stands in for a desktop's screen saver on a session bus that has none, and prints who keeps the screen on. It has no
// screen, and does not heed programs that end without letting go.
//
//     DBUS_SESSION_BUS_ADDRESS=unix:path=/run/user/1000/bus screen_saver
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

#include <sdbus-c++/sdbus-c++.h>

#include "client/bus_library.h"
#include "samples/screen_saver/screen_saver_adaptor.h"

namespace {

constexpr char NAME[] = "org.freedesktop.ScreenSaver";
constexpr char PATH[] = "/org/freedesktop/ScreenSaver";

class ScreenSaver final : public sdbus::AdaptorInterfaces<org::freedesktop::ScreenSaver_adaptor> {
public:
    explicit ScreenSaver(sdbus::IConnection& connection) : AdaptorInterfaces(connection, sdbus::ObjectPath(PATH)) {
        registerAdaptor();
    }
    ScreenSaver(const ScreenSaver&) = delete;
    ScreenSaver& operator=(const ScreenSaver&) = delete;
    ~ScreenSaver() { unregisterAdaptor(); }

private:
    uint32_t Inhibit(const std::string& application, const std::string& reason) override {
        std::cout << "the screen stays on for " << application << ": " << reason << std::endl;
        return ++lastCookie_;
    }

    void UnInhibit(const uint32_t& cookie) override {
        std::cout << "request " << cookie << " to keep the screen on is taken back" << std::endl;
    }

    bool GetActive() override { return false; }

    uint32_t lastCookie_ = 0;
};

void Serve() {
    const auto connection = sdbus::createSessionBusConnection();
    const ScreenSaver screenSaver(*connection);
    connection->requestName(ZYNE::Client::BusName(NAME));
    std::cout << "watching the screen" << std::endl;
    connection->enterEventLoop();
}

}  // namespace

int main() {
    try {
        Serve();
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << "screen_saver: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
