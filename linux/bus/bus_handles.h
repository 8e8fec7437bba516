// Owners of what sd-bus counts by hand. Nothing of it is thread-safe, not even the counts: threads that share a
// connection must hold one lock over every call that touches it or one of its messages.
#pragma once

#include <memory>
#include <string>

#include <systemd/sd-bus.h>

namespace ZYNE::Linux {

struct BusCloser {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using BusHandle = std::unique_ptr<sd_bus, BusCloser>;

struct MessageDropper {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using MessageHandle = std::unique_ptr<sd_bus_message, MessageDropper>;

// What went wrong with a call, as sd-bus fills it in.
class BusError {
public:
    BusError() = default;
    BusError(const BusError&) = delete;
    BusError& operator=(const BusError&) = delete;
    ~BusError() { sd_bus_error_free(&error_); }

    sd_bus_error* Get() { return &error_; }
    bool Is(const char* name) const { return sd_bus_error_has_name(&error_, name) != 0; }
    std::string GetText() const {
        if (error_.name == nullptr) {
            return "no answer";
        }
        return std::string(error_.name) + ": " + (error_.message != nullptr ? error_.message : "");
    }

private:
    sd_bus_error error_{nullptr, nullptr, 0};
};

}  // namespace ZYNE::Linux
