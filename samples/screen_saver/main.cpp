// Stands in for a desktop's screen saver on a session bus that has none, and prints who keeps the screen on. It has no
// screen, and does not heed programs that end without letting go.
//
//     DBUS_SESSION_BUS_ADDRESS=unix:path=/run/user/1000/bus screen_saver
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

#include <sdbus-c++/sdbus-c++.h>

namespace {

constexpr char NAME[] = "org.freedesktop.ScreenSaver";
constexpr char PATH[] = "/org/freedesktop/ScreenSaver";

void Serve() {
    const auto connection = sdbus::createSessionBusConnection(NAME);
    const auto object = sdbus::createObject(*connection, PATH);
    uint32_t lastCookie = 0;
    object->registerMethod("Inhibit").onInterface(NAME).implementedAs(
        [&lastCookie](const std::string& application, const std::string& reason) {
            std::cout << "the screen stays on for " << application << ": " << reason << std::endl;
            return ++lastCookie;
        });
    object->registerMethod("UnInhibit").onInterface(NAME).implementedAs([](const uint32_t& cookie) {
        std::cout << "request " << cookie << " to keep the screen on is taken back" << std::endl;
    });
    object->registerMethod("GetActive").onInterface(NAME).implementedAs([] { return false; });
    object->finishRegistration();
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
