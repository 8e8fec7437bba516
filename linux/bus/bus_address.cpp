#include "linux/bus/bus_address.h"

#include <cctype>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace ZYNE::Linux {
namespace {

// Only these may stand in an address as they are.
bool IsPlain(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 ||
        std::string_view("-_/.\\*").find(character) != std::string_view::npos;
}

int Connect(sd_bus* bus, const std::string& address) {
    int result = sd_bus_set_address(bus, address.c_str());
    if (result >= 0) {
        result = sd_bus_set_bus_client(bus, 1);
    }
    if (result >= 0) {
        result = sd_bus_start(bus);
    }
    const char* name = nullptr;
    return result >= 0 ? sd_bus_get_unique_name(bus, &name) : result;  // waits until the bus has let us in
}

}  // namespace

std::filesystem::path BusSocket(const std::filesystem::path& directory) {
    return directory / "bus";
}

std::string BusAddress(const std::filesystem::path& directory) {
    static constexpr char DIGITS[] = "0123456789abcdef";
    const std::string socket = BusSocket(directory).native();
    std::string address = "unix:path=";
    for (const char character : socket) {
        if (IsPlain(character)) {
            address += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            address += {'%', DIGITS[byte >> 4], DIGITS[byte & 0xF]};
        }
    }
    return address;
}

BusHandle OpenBus(const std::string& address) {
    sd_bus* raw = nullptr;
    int result = sd_bus_new(&raw);
    BusHandle bus(raw);
    if (result >= 0) {
        result = Connect(bus.get(), address);
    }
    if (result < 0) {
        throw std::runtime_error(
            "cannot connect to the bus " + address + ": " + std::generic_category().message(-result));
    }
    return bus;
}

}  // namespace ZYNE::Linux
