#include "bench/bus_floor.h"

#include <stdexcept>
#include <utility>

#include "linux/bus/bus_address.h"
#include "linux/bus/bus_wire.h"

namespace ZYNE::Bench {

BusEnd::BusEnd(const std::string& address, std::string busName)
    : bus_(Linux::OpenBus(address)), busName_(std::move(busName)) {}

void BusEnd::Call(uint32_t code, const std::vector<uint8_t>& request) {
    sd_bus_message* raw = nullptr;
    sd_bus_message_new_method_call(bus_.get(), &raw, busName_.c_str(), Linux::BusWire::DEFAULT_PATH,
        Linux::BusWire::OBJECT_INTERFACE, Linux::BusWire::CALL);
    const Linux::MessageHandle message(raw);
    sd_bus_message_append(raw, "u", code);
    Linux::BusWire::AppendBytes(raw, request);
    sd_bus_message* answer = nullptr;
    const int result = sd_bus_call(bus_.get(), raw, 0, nullptr, &answer);
    const Linux::MessageHandle reply(answer);
    int32_t status = -1;
    if (result < 0 || sd_bus_message_read(answer, "i", &status) < 0 || status != 0) {
        throw std::runtime_error("the service does not answer");
    }
}

}  // namespace ZYNE::Bench
