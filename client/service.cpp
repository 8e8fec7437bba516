#include "client/service.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

#include "linux/apps/extension_name.h"
#include "linux/bus/bus_server.h"
#include "linux/bus/bus_wire.h"

namespace ZYNE::Client {
namespace {

constexpr char ADDRESS_VARIABLE[] = "DBUS_STARTER_ADDRESS";
constexpr int32_t REFUSED = -1;

int32_t Guard(const RequestHandler& handler, uint32_t code, MessageParcel& data, MessageParcel& reply,
    const IPCContext& context) noexcept {
    try {
        return handler(code, data, reply, context);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "request %u refused: %s\n", code, error.what());
    } catch (...) {
        std::fprintf(stderr, "request %u refused: exception of unknown type\n", code);
    }
    return REFUSED;
}

void Tell(const std::function<void()>& event) noexcept {
    try {
        if (event) {
            event();
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    } catch (...) {
        std::fprintf(stderr, "exception of unknown type\n");
    }
}

void Serve(const std::string& busName, const RequestHandler& handler, const ExtensionEvents& events) {
    const char* address = std::getenv(ADDRESS_VARIABLE);
    if (address == nullptr) {
        throw std::runtime_error(
            std::string("a device's bus starts this program; ") + ADDRESS_VARIABLE + " is not set");
    }
    Linux::BusServer server(address);
    server.Serve(Linux::BusWire::DEFAULT_PATH,
        [&handler](uint32_t code, MessageParcel& data, MessageParcel& reply, const IPCContext& context) {
            return Guard(handler, code, data, reply, context);
        });
    server.ServeStop(Linux::BusWire::DEFAULT_PATH);
    server.ServeLines(Linux::BusWire::DEFAULT_PATH);
    server.OwnName(busName);
    Tell(events.connected);
    server.Run();
    Tell(events.disconnected);
}

int Run(const std::string& busName, const RequestHandler& handler, const ExtensionEvents& events) {
    try {
        Serve(busName, handler, events);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", busName.c_str(), error.what());
        return EXIT_FAILURE;
    }
}

}  // namespace

int RunService(const std::string& busName, const RequestHandler& handler) {
    return Run(busName, handler, {});
}

int RunExtension(const std::string& bundleName, const std::string& extensionName, const RequestHandler& handler,
    const ExtensionEvents& events) {
    return Run(Linux::ExtensionBusName(bundleName, extensionName), handler, events);
}

}  // namespace ZYNE::Client
