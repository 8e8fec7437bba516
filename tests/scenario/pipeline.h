// A program that sends its calls to a device without waiting for the answers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

#include <systemd/sd-bus.h>

#include "linux/bus/bus_address.h"
#include "tests/scenario/test_device.h"

namespace ZYNE::Testing {

// One thread.
class Pipeline {
public:
    // `onAnswer` is told each answer, errors too.
    explicit Pipeline(
        const TestDevice& device, std::function<void(sd_bus_message*)> onAnswer = [](sd_bus_message*) {})
        : bus_(Linux::OpenBus(device.Entry()->busAddress)), onAnswer_(std::move(onAnswer)) {}

    template <typename... Arguments>
    void Send(const char* method, const char* types, const Arguments&... arguments) {
        SendTo("io.collaborationfwk.Device1", method, types, arguments...);
    }
    template <typename... Arguments>
    void SendTo(const char* interface, const char* method, const char* types, const Arguments&... arguments) {
        ++sent_;
        Must(sd_bus_call_method_async(bus_.get(), nullptr, "io.collaborationfwk.Device1",
            "/io/collaborationfwk/Device1", interface, method, &OnAnswer, this, types, arguments...));
    }
    void Flush() { Must(sd_bus_flush(bus_.get())); }

    std::string Name() const {
        const char* name = nullptr;
        Must(sd_bus_get_unique_name(bus_.get(), &name));
        return name;
    }

    size_t InFlight() const { return sent_ - came_; }
    // Waits until there is something to do, and does it.
    void Work() {
        Must(sd_bus_wait(bus_.get(), UINT64_MAX));
        while (Must(sd_bus_process(bus_.get(), nullptr)) > 0) {
        }
    }
    // Waits for all answers; how many of those that ever came were no errors.
    size_t Await() {
        while (InFlight() > 0) {
            Work();
        }
        return answered_;
    }

private:
    static int Must(int result) {
        if (result < 0) {
            throw std::runtime_error("the bus does not serve the program");
        }
        return result;
    }
    static int OnAnswer(sd_bus_message* answer, void* self, sd_bus_error* /*error*/) {
        auto* pipeline = static_cast<Pipeline*>(self);
        ++pipeline->came_;
        pipeline->answered_ += sd_bus_message_is_method_error(answer, nullptr) > 0 ? 0 : 1;
        pipeline->onAnswer_(answer);
        return 0;
    }

    const Linux::BusHandle bus_;
    const std::function<void(sd_bus_message*)> onAnswer_;
    size_t sent_ = 0;
    size_t came_ = 0;
    size_t answered_ = 0;
};

}  // namespace ZYNE::Testing
