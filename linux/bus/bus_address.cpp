#include "linux/bus/bus_address.h"

#include <cctype>
#include <cerrno>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "linux/bus/bus_names.h"

namespace ZYNE::Linux {
namespace {

// Only these characters need no escape in an address.
bool IsPlain(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 ||
        std::string_view("-_/.\\*").find(character) != std::string_view::npos;
}

int WaitUntilReady(sd_bus* bus, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        int result = sd_bus_process(bus, nullptr);
        if (result < 0 || sd_bus_is_ready(bus) != 0) {
            return result < 0 ? result : sd_bus_is_ready(bus);
        }
        const std::chrono::microseconds left =
            std::chrono::ceil<std::chrono::microseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return -ETIMEDOUT;
        }
        if (result == 0) {
            result = sd_bus_wait(bus, static_cast<uint64_t>(left.count()));
        }
        if (result < 0 && result != -EINTR) {
            return result;
        }
    }
}

int Connect(sd_bus* bus, const std::string& address, std::chrono::milliseconds limit) {
    int result = sd_bus_set_address(bus, address.c_str());
    if (result >= 0) {
        result = sd_bus_set_bus_client(bus, 1);
    }
    if (result >= 0) {
        result = sd_bus_start(bus);
    }
    return result >= 0 ? WaitUntilReady(bus, limit) : result;
}

int BecomeService(sd_bus* bus) {
    sd_id128_t id{};
    const int result = sd_id128_randomize(&id);
    return result >= 0 ? sd_bus_set_server(bus, 1, id) : result;
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

BusHandle OpenBus(const std::string& address, std::chrono::milliseconds limit) {
    sd_bus* raw = nullptr;
    int result = sd_bus_new(&raw);
    BusHandle bus(raw);
    if (result >= 0) {
        result = Connect(bus.get(), address, limit);
    }
    if (result < 0) {
        throw std::runtime_error(
            "cannot connect to the bus " + address + ": " + std::generic_category().message(-result));
    }
    return bus;
}

BusHandle OpenLine(UniqueFd socket, LineEnd end, std::chrono::milliseconds limit) {
    sd_bus* raw = nullptr;
    int result = sd_bus_new(&raw);
    BusHandle bus(raw);
    if (result >= 0) {
        result = sd_bus_set_fd(bus.get(), socket.Get(), socket.Get());
    }
    if (result >= 0) {
        socket.Release();
        result = end == LineEnd::SERVICE ? BecomeService(bus.get()) : 0;
    }
    if (result >= 0) {
        result = sd_bus_start(bus.get());
    }
    if (result >= 0) {
        result = WaitUntilReady(bus.get(), limit);
    }
    if (result < 0) {
        throw std::runtime_error("no direct line: " + std::generic_category().message(-result));
    }
    return bus;
}

bool IsConnected(sd_bus* bus) {
    int result = 1;
    while (result > 0) {
        result = sd_bus_process(bus, nullptr);
    }
    return result == 0 && sd_bus_is_open(bus) > 0;
}

std::string AskOwner(sd_bus* bus, const char* name) {
    sd_bus_message* raw = nullptr;
    const char* owner = nullptr;
    const int result = sd_bus_call_method(
        bus, MessageBus::NAME, MessageBus::PATH, MessageBus::NAME, "GetNameOwner", nullptr, &raw, "s", name);
    const MessageHandle reply(raw);
    return result >= 0 && sd_bus_message_read(raw, "s", &owner) > 0 ? owner : std::string();
}

}  // namespace ZYNE::Linux
