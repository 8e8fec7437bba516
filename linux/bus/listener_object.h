// An object of another process that is told of events, and must not hold up the listeners after it.
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

// Any thread. BusClient makes these. A request waits for its answer, as with any object, but not for long. After the
// first one that is not answered in time, all requests are queued here, in order, and hold up nobody; the result is
// then that of queueing. A process that still does not answer, or lets too many gather, counts as dead.
class ListenerObject final : public RemoteObject {
public:
    // How long an answer may take before the listener counts as slow. A healthy listener needs a thousandth of it.
    static constexpr std::chrono::milliseconds PATIENCE{100};
    static constexpr size_t MAX_WAITING = 256;  // requests

    // `dropped` is called when it counts as dead although its process lives.
    ListenerObject(std::shared_ptr<BusCaller> caller, Post post, std::string uniqueName, std::string path,
        std::function<void()> dropped, std::shared_ptr<DirectLines> lines = nullptr);

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
