#include "linux/bus/remote_object.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "linux/bus/bus_wire.h"

namespace ZYNE::Linux {
namespace {

int ReadReply(sd_bus_message* message, int32_t& status, MessageParcel& reply) {
    std::vector<uint8_t> bytes;
    if (sd_bus_message_read(message, "i", &status) <= 0) {
        return -EBADMSG;
    }
    const int result = BusWire::ReadBytes(message, bytes);
    if (result >= 0) {
        reply = MessageParcel(std::move(bytes));
    }
    return result;
}

}  // namespace

RemoteObject::RemoteObject(std::shared_ptr<BusCaller> caller, Post post, std::string uniqueName, std::string path,
    std::shared_ptr<DirectLines> lines)
    : MortalObject(std::move(post)), caller_(std::move(caller)),
      lines_(std::move(lines)), method_{
                                    std::move(uniqueName), std::move(path), BusWire::OBJECT_INTERFACE, BusWire::CALL} {}

int32_t RemoteObject::SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) {
    return Send(code, data, reply, std::chrono::seconds(std::max(option.GetWaitTime(), 1)));
}

int32_t RemoteObject::Send(
    uint32_t code, const MessageParcel& data, MessageParcel& reply, std::chrono::milliseconds timeout) {
    if (IsDead()) {
        return DEAD;
    }
    int32_t status = 0;
    const auto write = [&](sd_bus_message* message) {
        const int result = sd_bus_message_append(message, "u", code);
        return result >= 0 ? BusWire::AppendBytes(message, data.GetBytes()) : result;
    };
    const auto read = [&](sd_bus_message* message) {
        return ReadReply(message, status, reply);
    };
    const auto deadline = BusCaller::Clock::now() + timeout;
    std::optional<int> result;
    if (lines_) {
        result = lines_->Call(method_, deadline, std::ref(write), std::ref(read));
    }
    if (!result) {
        const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline - BusCaller::Clock::now());
        result = caller_->Call(method_, left, std::ref(write), std::ref(read));
    }
    return *result == OK && status != 0 ? REFUSED : *result;
}

}  // namespace ZYNE::Linux
