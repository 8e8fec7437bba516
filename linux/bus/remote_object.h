// An object of another process on the bus.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "linux/bus/bus_caller.h"
#include "linux/bus/direct_lines.h"
#include "linux/bus/mortal_object.h"

namespace ZYNE::Linux {

// Any thread. BusClient makes these, one for each object.
class RemoteObject : public MortalObject {
public:
    // `uniqueName` is the process's connection, so nothing reaches another process that takes over its well-known name.
    // Requests go by `lines` where those lead to it.
    RemoteObject(std::shared_ptr<BusCaller> caller, Post post, std::string uniqueName, std::string path,
        std::shared_ptr<DirectLines> lines = nullptr);

    int32_t SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
    // The same, for callers that wait less than a second. A process that did not answer in time may still have taken
    // the request.
    int32_t Send(uint32_t code, const MessageParcel& data, MessageParcel& reply, std::chrono::milliseconds timeout);

    const std::string& GetUniqueName() const { return method_.busName; }
    const std::string& GetPath() const { return method_.path; }

private:
    const std::shared_ptr<BusCaller> caller_;
    const std::shared_ptr<DirectLines> lines_;
    const BusMethod method_;
};

}  // namespace ZYNE::Linux
