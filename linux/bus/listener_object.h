// An object of another process that is told of events, none of which may hold up those who hear of it after.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "linux/base/mailbox.h"
#include "linux/bus/remote_object.h"

namespace ZYNE::Linux {

// Any thread. BusClient makes these. A request waits for its answer, as one to any object does, but not for long. From
// the first that is not answered in time all wait here, in their order, and hold up nobody; the result is then that of
// queueing. A process that still does not answer, or lets too many gather, counts as dead.
class ListenerObject final : public RemoteObject {
public:
    // How long one is waited for before it is found slow. A listener that answers takes a thousandth of it.
    static constexpr std::chrono::milliseconds PATIENCE{100};
    static constexpr size_t MOST_WAITING = 256;  // requests

    // `dropped` is told when it counts as dead though its process lives.
    ListenerObject(std::shared_ptr<BusCaller> caller, Post post, std::string uniqueName, std::string path,
        std::function<void()> dropped);

    int32_t SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

private:
    struct Request {
        sptr<ListenerObject> listener;  // this one, which lives as long
        uint32_t code;
        MessageParcel data;
        std::chrono::milliseconds wait;
    };

    void SendQueued(Request& request);
    void Drop();

    const std::function<void()> dropped_;
    const std::shared_ptr<Mailbox<Request>> queue_;  // of one that is slow
    std::atomic<bool> isSlow_ = false;               // stays so
};

}  // namespace ZYNE::Linux
